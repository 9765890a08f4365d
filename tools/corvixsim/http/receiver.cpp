#include "http/receiver.h"

#include <algorithm>
#include <cstring>

#include "base/text.h"

namespace CorvixSim {
namespace {

namespace Http = Corvix::Http;

// Heads are short. Bodies are handed on as they come, so that their length is no matter here.
constexpr Http::Limits kLimits = {16384, UINT64_MAX};

void SplitTarget(std::string_view target, HttpRequest& request) {
    // A client that takes us for a proxy sends the whole URI.
    if (const size_t scheme = target.find("://"); scheme != std::string_view::npos && target[0] != '/') {
        const size_t slash = target.find('/', scheme + 3);
        target = slash == std::string_view::npos ? "/" : target.substr(slash);
    }
    request.path = PercentDecode(target.substr(0, target.find('?')));
}

}  // namespace

bool HttpReceiver::Feed() {
    // What came behind the message before is the beginning of this one.
    if (received_.empty()) {
        received_ = {buffer_.data(), ReceiveSome(socket_, buffer_.data(), buffer_.size())};
        if (received_.empty()) return false;
    }
    received_.remove_prefix(reader_->Feed(received_));
    if (reader_->IsFaulty()) throw HttpError(static_cast<int>(Http::StatusOf(reader_->Fault())));
    return true;
}

std::optional<HttpRequest> HttpReceiver::ReadHead() {
    reader_.emplace(kLimits);
    while (!reader_->HasHead()) {
        if (Feed()) continue;
        // The end between two requests is in order.
        if (!reader_->HasBegun()) return std::nullopt;
        throw HttpError(400);
    }
    body_.clear();
    next_ = 0;
    read_ = 0;
    dropAfter_ = UINT64_MAX;
    expectsContinue_ = reader_->ExpectsContinue();
    HttpRequest request;
    request.method = reader_->Head().method;
    request.headers = reader_->Head().headers;
    request.keepAlive = reader_->KeepsConnection();
    SplitTarget(reader_->Head().target, request);
    return request;
}

void HttpReceiver::Continue() {
    // Said only when somebody wants the body: a refusal that comes first spares the client sending it.
    if (!expectsContinue_) return;
    expectsContinue_ = false;
    SendAll(socket_, "HTTP/1.1 100 Continue\r\n\r\n");
}

size_t HttpReceiver::Read(char* buffer, size_t size) {
    if (read_ >= dropAfter_) throw ConnectionDropped();
    while (next_ == body_.size()) {
        body_ = reader_->TakeBody();
        next_ = 0;
        if (!body_.empty()) break;
        if (reader_->IsComplete()) return 0;
        Continue();
        if (!Feed()) throw HttpError(400);
    }
    // Cut where a fault drops the connection, so that exactly so many bytes arrive.
    const size_t piece = std::min({size, body_.size() - next_, static_cast<size_t>(dropAfter_ - read_)});
    std::memcpy(buffer, body_.data() + next_, piece);
    next_ += piece;
    read_ += piece;
    return piece;
}

std::string HttpReceiver::ReadAll(size_t limit) {
    std::string body;
    char piece[16384];
    while (const size_t length = Read(piece, sizeof piece)) {
        if (body.size() + length > limit) throw HttpError(413);
        body.append(piece, length);
    }
    return body;
}

bool HttpReceiver::Discard(uint64_t limit) {
    // The client still waits for leave to send: it will not, now that it has its answer.
    if (expectsContinue_ && !reader_->IsComplete()) return false;
    char piece[16384];
    for (uint64_t total = 0;;) {
        const size_t length = Read(piece, sizeof piece);
        if (length == 0) return true;
        total += length;
        if (total > limit) return false;
    }
}

}  // namespace CorvixSim
