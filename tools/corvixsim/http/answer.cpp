#include "http/answer.h"

#include <algorithm>

#include "base/text.h"

namespace CorvixSim {
namespace {

using namespace std::string_view_literals;

// A length that no body reaches stands for a body without an end.
constexpr uint64_t kEndless = UINT64_MAX;
constexpr size_t kFillerPiece = 65536;

/// A body with room for filler in its middle, which is never held in memory.
struct BodyPlan {
    std::string before;
    uint64_t filler = 0;
    std::string after;
};

/// Where content may be put in: behind the root element's start tag, or at the end of what is not XML.
size_t InsideRoot(const std::string& body) {
    size_t tag = body.find('<');
    while (tag != std::string::npos && tag + 1 < body.size() &&
           (body[tag + 1] == '?' || body[tag + 1] == '!')) {
        tag = body.find('<', tag + 1);
    }
    const size_t end = tag == std::string::npos ? tag : body.find('>', tag);
    if (end == std::string::npos || body[end - 1] == '/') return body.size();
    return end + 1;
}

// Filler goes into a comment, so that the document stays well-formed and only its size is wrong.
bool LooksLikeXml(const std::string& body) { return InsideRoot(body) != body.size(); }

void DropLastClosingTag(std::string& body) { body.erase(std::min(body.rfind("</"), body.size())); }

void AddDocumentType(std::string& body) {
    // Refers to a file and multiplies an entity: whoever resolves entities shows it by what the text becomes.
    constexpr std::string_view declaration =
        "\n<!DOCTYPE device [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\">"
        "<!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;\"><!ENTITY file SYSTEM "
        "\"file:///c:/windows/win.ini\">]>";
    body.insert(InsideRoot(body), "&c;&file;");
    const size_t end = StartsWith(body, "<?xml") ? body.find("?>") : std::string::npos;
    body.insert(end == std::string::npos ? 0 : end + 2, declaration);
}

void AddDepth(std::string& body, uint64_t levels) {
    std::string nested;
    for (uint64_t i = 0; i < levels; ++i)
        nested += "<d>";
    for (uint64_t i = 0; i < levels; ++i)
        nested += "</d>";
    body.insert(InsideRoot(body), nested);
}

BodyPlan PlanBody(std::string body, const FaultSet& faults) {
    // The last closing tag is dropped last, so that it is that of the document whatever was put in.
    if (faults.Has(FaultKind::Deep)) AddDepth(body, faults.Number(FaultKind::Deep));
    if (faults.Has(FaultKind::Doctype)) AddDocumentType(body);
    if (faults.Has(FaultKind::Malformed)) DropLastClosingTag(body);
    BodyPlan plan;
    plan.filler = faults.Has(FaultKind::Endless) ? kEndless : faults.Number(FaultKind::Megabytes) << 20;
    if (plan.filler == 0) return {std::move(body), 0, {}};
    const bool xml = LooksLikeXml(body);
    const size_t place = InsideRoot(body);
    plan.before = body.substr(0, place) + (xml ? "<!--" : "");
    plan.after = (xml ? "-->" : "") + body.substr(place);
    return plan;
}

/// Sends the pieces of a body up to the length at which it is to be cut, as slowly as wanted.
class BodySender {
public:
    BodySender(const Socket& socket, const FaultSet& faults, Stopper& stopper)
        : socket_(socket), stopper_(stopper), drip_(faults.Number(FaultKind::Drip)) {
        if (faults.Has(FaultKind::Truncate)) left_ = faults.Number(FaultKind::Truncate);
    }

    void Send(std::string_view data) {
        // The length was announced in full: stopping short of it is what truncates the body.
        cut_ = cut_ || data.size() > left_;
        data = data.substr(0, static_cast<size_t>(std::min<uint64_t>(data.size(), left_)));
        left_ -= data.size();
        if (drip_ == 0) return SendAll(socket_, data);
        for (size_t i = 0; i < data.size() && stopper_.Sleep(std::chrono::milliseconds(drip_)); ++i) {
            SendAll(socket_, data.substr(i, 1));
        }
    }

    void SendFiller(uint64_t length) {
        std::string piece(kFillerPiece, 'x');
        for (size_t i = 99; i < piece.size(); i += 100)
            piece[i] = '\n';
        while (length != 0 && left_ != 0 && !stopper_.Stopped()) {
            const size_t size = static_cast<size_t>(std::min<uint64_t>(length, piece.size()));
            Send(std::string_view(piece).substr(0, size));
            if (length != kEndless) length -= size;
        }
    }

    bool WasCut() const { return cut_; }

private:
    const Socket& socket_;
    Stopper& stopper_;
    uint64_t drip_;
    uint64_t left_ = UINT64_MAX;
    bool cut_ = false;
};

bool HasBody(int status) { return status >= 200 && status != 204 && status != 304; }

std::string HeadOf(const HttpResponse& response, const BodyPlan& plan, bool keepAlive) {
    Corvix::Http::ResponseHead head{static_cast<unsigned>(response.status), {}, response.headers};
    head.headers.Add("Server", "corvixsim");
    if (HasBody(response.status)) {
        head.headers.Add("Content-Type", response.contentType);
        const uint64_t length = plan.before.size() + plan.filler + plan.after.size();
        if (plan.filler != kEndless) head.headers.Add("Content-Length", std::to_string(length));
    }
    head.headers.Add("Connection", keepAlive ? "keep-alive" : "close");
    return Corvix::Http::WriteHead(head);
}

}  // namespace

AfterAnswer WriteAnswer(const Socket& socket, const HttpRequest& request, HttpResponse response,
                        const FaultSet& faults, Stopper& stopper) {
    // Delays and drips sleep against the stopper: the end of the program does not wait for them.
    if (!stopper.Sleep(std::chrono::milliseconds(faults.Number(FaultKind::Delay)))) return AfterAnswer::Close;
    if (faults.Has(FaultKind::Reset)) return AfterAnswer::Reset;
    if (faults.Has(FaultKind::CloseUnanswered)) return AfterAnswer::Close;
    if (faults.Has(FaultKind::Garbage)) {
        SendAll(socket, "\x15\x03\x01\0\x02\x02garbage\xff\xfe\r\n\r\n"sv);
        return AfterAnswer::Close;
    }
    if (faults.Has(FaultKind::Status)) {
        response = PlainResponse(static_cast<int>(faults.Number(FaultKind::Status)));
    }
    const BodyPlan plan = PlanBody(std::move(response.body), faults);
    // A body that is cut or endless ends with the connection; nothing can follow it.
    const bool keepAlive = request.keepAlive && plan.filler != kEndless && !faults.Has(FaultKind::Truncate);
    SendAll(socket, HeadOf(response, plan, keepAlive));
    if (request.method == "HEAD" || !HasBody(response.status)) {
        return keepAlive ? AfterAnswer::KeepOpen : AfterAnswer::Close;
    }
    BodySender sender(socket, faults, stopper);
    sender.Send(plan.before);
    sender.SendFiller(plan.filler);
    sender.Send(plan.after);
    return keepAlive && !sender.WasCut() ? AfterAnswer::KeepOpen : AfterAnswer::Close;
}

}  // namespace CorvixSim
