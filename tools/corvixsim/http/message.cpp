#include "http/message.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "base/text.h"

namespace CorvixSim {
namespace {

constexpr size_t kMaxLine = 16384;
constexpr size_t kMaxHeaders = 200;

struct Reason {
    int status;
    const char* text;
};

constexpr Reason kReasons[] = {
    {100, "Continue"},
    {200, "OK"},
    {201, "Created"},
    {204, "No Content"},
    {301, "Moved Permanently"},
    {302, "Found"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {408, "Request Timeout"},
    {411, "Length Required"},
    {413, "Content Too Large"},
    {415, "Unsupported Media Type"},
    {426, "Upgrade Required"},
    {431, "Request Header Fields Too Large"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {503, "Service Unavailable"},
    {505, "HTTP Version Not Supported"},
};

void SplitTarget(std::string_view target, HttpRequest& request) {
    // A client that takes us for a proxy sends the whole URI.
    if (const size_t scheme = target.find("://"); scheme != std::string_view::npos && target[0] != '/') {
        const size_t slash = target.find('/', scheme + 3);
        target = slash == std::string_view::npos ? "/" : target.substr(slash);
    }
    const size_t question = target.find('?');
    request.path = PercentDecode(target.substr(0, question));
    if (question != std::string_view::npos) request.query = target.substr(question + 1);
}

std::string_view ParseRequestLine(std::string_view line, HttpRequest& request) {
    const std::vector<std::string_view> words = Split(line, ' ');
    if (words.size() != 3 || words[0].empty() || words[1].empty()) {
        throw HttpError(400, "not a request line");
    }
    if (!StartsWith(words[2], "HTTP/1.")) throw HttpError(505, "only HTTP/1 is spoken here");
    request.method = words[0];
    SplitTarget(words[1], request);
    return words[2];
}

void ReadHeaders(HttpChannel& channel, HttpRequest& request) {
    for (;;) {
        const std::optional<std::string> line = channel.ReadLine();
        if (!line) throw HttpError(400, "the head breaks off");
        if (line->empty()) return;
        const size_t colon = line->find(':');
        if (colon == std::string::npos || colon == 0) throw HttpError(400, "not a header line");
        if (request.headers.size() == kMaxHeaders) throw HttpError(431, "too many header lines");
        request.headers.emplace_back(line->substr(0, colon), Trim(std::string_view(*line).substr(colon + 1)));
    }
}

bool WantsKeepAlive(std::string_view version, const std::string& connection) {
    if (version == "HTTP/1.0") return EqualsIgnoringCase(connection, "keep-alive");
    return !EqualsIgnoringCase(connection, "close");
}

uint64_t ParseChunkSize(std::string_view line) {
    const std::string_view digits = Trim(line.substr(0, line.find(';')));
    uint64_t size = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, size, 16);
    if (digits.empty() || error != std::errc() || stop != end) throw HttpError(400, "not a chunk size");
    return size;
}

}  // namespace

std::string HttpRequest::Header(std::string_view name) const {
    for (const auto& [known, value] : headers) {
        if (EqualsIgnoringCase(known, name)) return value;
    }
    return {};
}

const char* ReasonOf(int status) {
    for (const Reason& reason : kReasons) {
        if (reason.status == status) return reason.text;
    }
    return "Status";
}

HttpResponse PlainResponse(int status, const std::string& text) {
    HttpResponse response;
    response.status = status;
    response.body = (text.empty() ? ReasonOf(status) : text) + std::string("\n");
    return response;
}

bool HttpChannel::Fill() {
    next_ = 0;
    end_ = ReceiveSome(socket_, buffer_.data(), buffer_.size());
    return end_ != 0;
}

std::optional<std::string> HttpChannel::ReadLine() {
    std::string line;
    for (;;) {
        if (next_ == end_ && !Fill()) {
            if (line.empty()) return std::nullopt;
            throw HttpError(400, "a line breaks off");
        }
        const char* begin = buffer_.data() + next_;
        const size_t available = end_ - next_;
        const auto* newline = static_cast<const char*>(std::memchr(begin, '\n', available));
        const size_t length = newline ? static_cast<size_t>(newline - begin) : available;
        if (line.size() + length > kMaxLine) throw HttpError(431, "a line is too long");
        line.append(begin, length);
        next_ += length;
        if (newline) break;
    }
    ++next_;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

size_t HttpChannel::Read(char* buffer, size_t size) {
    if (next_ == end_) {
        if (size >= buffer_.size()) return ReceiveSome(socket_, buffer, size);
        if (!Fill()) return 0;
    }
    const size_t piece = std::min(size, end_ - next_);
    std::memcpy(buffer, buffer_.data() + next_, piece);
    next_ += piece;
    return piece;
}

std::optional<HttpRequest> ReadRequestHead(HttpChannel& channel) {
    std::optional<std::string> line = channel.ReadLine();
    // Some clients send an empty line after a body.
    if (line && line->empty()) line = channel.ReadLine();
    if (!line) return std::nullopt;
    HttpRequest request;
    const std::string version(ParseRequestLine(*line, request));
    ReadHeaders(channel, request);
    request.keepAlive = WantsKeepAlive(version, request.Header("Connection"));
    return request;
}

HttpBody::HttpBody(HttpChannel& channel, const HttpRequest& request) : channel_(channel) {
    const std::string encoding = request.Header("Transfer-Encoding");
    const std::string length = request.Header("Content-Length");
    expectsContinue_ = EqualsIgnoringCase(request.Header("Expect"), "100-continue");
    chunked_ = EqualsIgnoringCase(encoding, "chunked");
    if (!encoding.empty() && !chunked_) throw HttpError(501, "an unknown transfer encoding");
    // WinINet adds a length of 0 to a chunked request; any other length beside chunks is an attack.
    if (chunked_ && !length.empty() && length != "0") throw HttpError(400, "both a length and chunks");
    if (!chunked_ && !length.empty()) {
        const auto number = ParseNumber(length, INT64_MAX);
        if (!number) throw HttpError(400, "not a content length");
        left_ = *number;
    }
    ended_ = !chunked_ && left_ == 0;
}

void HttpBody::Continue() {
    if (!expectsContinue_) return;
    expectsContinue_ = false;
    channel_.Write("HTTP/1.1 100 Continue\r\n\r\n");
}

void HttpBody::NextChunk() {
    std::optional<std::string> line = channel_.ReadLine();
    if (!firstChunk_ && line) {
        if (!line->empty()) throw HttpError(400, "a chunk is longer than it said");
        line = channel_.ReadLine();
    }
    firstChunk_ = false;
    if (!line) throw HttpError(400, "the body breaks off");
    left_ = ParseChunkSize(*line);
    if (left_ != 0) return;
    for (size_t trailers = 0; line && (trailers == 0 || !line->empty()); ++trailers) {
        if (trailers > kMaxHeaders) throw HttpError(431, "too many trailers");
        line = channel_.ReadLine();
    }
    ended_ = true;
}

size_t HttpBody::ReadPiece(char* buffer, size_t size) {
    const uint64_t wanted = std::min<uint64_t>({left_, size, dropAfter_ - read_});
    const size_t piece = channel_.Read(buffer, static_cast<size_t>(wanted));
    if (piece == 0) throw HttpError(400, "the body breaks off");
    left_ -= piece;
    read_ += piece;
    if (left_ == 0 && !chunked_) ended_ = true;
    return piece;
}

size_t HttpBody::Read(char* buffer, size_t size) {
    if (read_ >= dropAfter_) throw ConnectionDropped();
    if (ended_ || size == 0) return 0;
    Continue();
    if (chunked_ && left_ == 0) NextChunk();
    return ended_ ? 0 : ReadPiece(buffer, size);
}

std::string HttpBody::ReadAll(size_t limit) {
    std::string body;
    char piece[16384];
    while (const size_t length = Read(piece, sizeof piece)) {
        if (body.size() + length > limit) throw HttpError(413, "the body is too large");
        body.append(piece, length);
    }
    return body;
}

bool HttpBody::Discard(uint64_t limit) {
    // The client still waits for leave to send: it will not, now that it has its answer.
    if (expectsContinue_ && !ended_) return false;
    char piece[16384];
    for (uint64_t total = 0;;) {
        const size_t length = Read(piece, sizeof piece);
        if (length == 0) return true;
        total += length;
        if (total > limit) return false;
    }
}

}  // namespace CorvixSim
