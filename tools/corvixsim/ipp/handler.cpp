#include "ipp/handler.h"

#include <algorithm>

#include "base/text.h"
#include "http/receiver.h"

namespace CorvixSim {
namespace {

constexpr char kContentType[] = "application/ipp";

void Omit(IppMessage& message, const std::string& name) {
    for (IppGroup& group : message.groups) {
        const auto unwanted = [&name](const IppAttribute& attribute) { return attribute.name == name; };
        group.attributes.erase(std::remove_if(group.attributes.begin(), group.attributes.end(), unwanted),
                               group.attributes.end());
    }
}

/// What the client calls us: it comes back in our URIs, so only what may stand in one is taken over.
std::string HostOf(const HttpRequest& request) {
    std::string host = request.Header("Host");
    const bool clean = std::all_of(host.begin(), host.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.' ||
               c == '-' || c == ':' || c == '[' || c == ']';
    });
    return clean && !host.empty() ? host : "localhost";
}

}  // namespace

IppMessage IppHandler::Carry(const HttpRequest& http, IppSource& source, const IppMessage& request,
                             const FaultSet& faults) {
    // Told to fail: the printer is not even asked, so nothing changes.
    if (faults.Has(FaultKind::IppStatus)) {
        return AnswerTo(request, static_cast<IppStatus>(faults.Number(FaultKind::IppStatus)), "as told");
    }
    try {
        return printer_.Carry({request, source, HostOf(http)});
    } catch (const IppError& error) {
        return AnswerTo(request, error.Status(), error.what());
    } catch (const std::invalid_argument& error) {
        return AnswerTo(request, IppStatus::InternalError, error.what());
    }
}

HttpResponse IppHandler::Handle(const HttpRequest& http, HttpReceiver& body) {
    if (http.method != "POST") return documents_.Handle(http, body);
    if (!http.HasContentType(kContentType)) return PlainResponse(415);

    IppSource source(body);
    IppMessage request;
    IppMessage answer;
    HttpResponse response;
    FaultSet faults = http.faults;
    try {
        source.ReadRequest(request);
        const std::string operation = IppPrinter::OperationName(request.header.code);
        device_.counters.CountOperation("ipp", operation);
        response.faults = device_.faults.Match({"ipp", http.path, operation});
        faults.Merge(response.faults);
        answer = Carry(http, source, request, faults);
    } catch (const IppError& error) {
        answer = AnswerTo(request, error.Status(), error.what());
    }
    // A refused document is on its way already: without reading it, its sender would never see the answer.
    char dropped[16384];
    while (source.ReadDocument(dropped, sizeof dropped) != 0) {
    }
    // From whatever the answer became: clients cope with attributes that are missing from refusals, too.
    if (faults.Has(FaultKind::Omit)) Omit(answer, faults.Text(FaultKind::Omit));
    response.contentType = kContentType;
    response.body = EncodeIppMessage(answer);
    return response;
}

}  // namespace CorvixSim
