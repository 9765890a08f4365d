#include "transport/wire/responsereader.h"

#include <algorithm>

#include "transport/text.h"

namespace CorvixTransport {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

int HexDigit(char c) {
    if (IsDigit(c)) return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// More digits than this hold no size that a limit could let through, whatever leading zeros were written.
constexpr size_t maximumSizeDigits = 18;
constexpr size_t maximumSizeHexDigits = 15;

// Bytes of a line of a chunk's frame that are not counted against the limit of the head.
constexpr size_t maximumFreeFrame = 64;

bool ParseDecimal(std::string_view text, uint64_t& value) {
    if (text.empty() || text.size() > maximumSizeDigits) return false;
    uint64_t parsed = 0;
    for (const char c : text) {
        if (!IsDigit(c)) return false;
        parsed = parsed * 10 + static_cast<uint64_t>(c - '0');
    }
    value = parsed;
    return true;
}

}  // namespace

size_t ResponseReader::Feed(std::string_view bytes) {
    size_t taken = 0;
    while (taken < bytes.size() && !IsComplete() && !IsFaulty()) {
        const std::string_view rest = bytes.substr(taken);
        const bool isBody =
            state_ == State::LengthBody || state_ == State::EndBody || state_ == State::ChunkData;
        taken += isBody ? FeedBody(rest) : FeedLine(rest);
    }
    begun_ = begun_ || taken > 0;
    return taken;
}

void ResponseReader::End() {
    if (IsComplete() || IsFaulty()) return;
    if (state_ == State::EndBody) {
        state_ = State::Complete;
    } else {
        Fail(ResponseFault::Truncated);
    }
}

bool ResponseReader::KeepsConnection() const {
    if (!IsComplete() || !selfDelimiting_ || ambiguous_) return false;
    if (head_.headers.HasToken("Connection", "close")) return false;
    return head_.minorVersion >= 1 || head_.headers.HasToken("Connection", "keep-alive");
}

size_t ResponseReader::FeedLine(std::string_view bytes) {
    const size_t lineFeed = bytes.find('\n');
    const size_t count = lineFeed == std::string_view::npos ? bytes.size() : lineFeed + 1;
    headBytes_ += count;
    if (headBytes_ > limits_.headBytes) {
        Fail(ResponseFault::HeadTooLong);
        return count;
    }
    line_.append(bytes.substr(0, std::min(count, lineFeed)));
    if (lineFeed == std::string_view::npos) return count;
    std::string_view line = line_;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    TakeLine(line);
    line_.clear();
    return count;
}

size_t ResponseReader::FeedBody(std::string_view bytes) {
    if (state_ == State::EndBody) {
        if (bytes.size() > limits_.bodyBytes - body_.size()) Fail(ResponseFault::BodyTooLong);
        if (!IsFaulty()) body_.append(bytes);
        return bytes.size();
    }
    const auto count = static_cast<size_t>(std::min<uint64_t>(bytes.size(), left_));
    body_.append(bytes.substr(0, count));
    left_ -= count;
    if (left_ == 0) state_ = state_ == State::ChunkData ? State::ChunkEnd : State::Complete;
    return count;
}

void ResponseReader::TakeLine(std::string_view line) {
    switch (state_) {
        case State::StatusLine:
            return TakeStatusLine(line);
        case State::HeaderLine:
            return TakeHeaderLine(line);
        case State::ChunkSize:
            return TakeChunkSize(line);
        case State::ChunkEnd:
            return TakeChunkEnd(line);
        default:
            return TakeTrailerLine(line);
    }
}

// "HTTP/1.1 200 OK"; the reason, and even the blank before it, may be missing.
void ResponseReader::TakeStatusLine(std::string_view line) {
    if (line.empty()) return;  // some devices end the response before with one line end too many
    constexpr std::string_view version = "HTTP/1.";
    const bool isStatusLine = line.size() >= 12 && line.substr(0, version.size()) == version &&
                              IsDigit(line[7]) && line[8] == ' ' && line[9] >= '1' && line[9] <= '5' &&
                              IsDigit(line[10]) && IsDigit(line[11]) &&
                              (line.size() == 12 || line[12] == ' ');
    if (!isStatusLine) return Fail(ResponseFault::BadStatusLine);
    head_ = {};
    head_.minorVersion = static_cast<unsigned>(line[7] - '0');
    head_.status = static_cast<unsigned>((line[9] - '0') * 100 + (line[10] - '0') * 10 + (line[11] - '0'));
    if (line.size() > 13) head_.reason = Trim(line.substr(13));
    state_ = State::HeaderLine;
}

void ResponseReader::TakeHeaderLine(std::string_view line) {
    if (line.empty()) return EndHead();
    if (line.front() == ' ' || line.front() == '\t') {
        if (head_.headers.IsEmpty()) return Fail(ResponseFault::BadHeader);
        return head_.headers.Continue(Trim(line));
    }
    const size_t colon = line.find(':');
    if (colon == std::string_view::npos) return Fail(ResponseFault::BadHeader);
    const std::string_view name = Trim(line.substr(0, colon));
    const std::string_view value = Trim(line.substr(colon + 1));
    if (!IsToken(name) || value.find_first_of(std::string_view("\0\r", 2)) != std::string_view::npos)
        return Fail(ResponseFault::BadHeader);
    head_.headers.Add(name, value);
}

void ResponseReader::EndHead() {
    if (head_.status >= 200) return BeginBody();
    // Nobody asked to switch protocols, so what follows 101 could not be read.
    if (head_.status == 101) return Fail(ResponseFault::BadStatusLine);
    continued_ = continued_ || head_.status == 100;
    state_ = State::StatusLine;
}

bool ResponseReader::HasNoBody() const { return toHead_ || head_.status == 204 || head_.status == 304; }

void ResponseReader::BeginBody() {
    if (HasNoBody()) return BeginLengthBody(0);
    const auto codings = head_.headers.FindAll("Transfer-Encoding");
    const bool hasLength = head_.headers.Find("Content-Length") != nullptr;
    if (!codings.empty()) {
        if (codings.size() > 1 || !EqualsIgnoringCase(codings.front(), "chunked"))
            return Fail(ResponseFault::UnknownTransferCoding);
        // Chunks win over a length, but such a connection is not to be trusted any further.
        ambiguous_ = hasLength;
        selfDelimiting_ = true;
        state_ = State::ChunkSize;
        return;
    }
    if (!hasLength) {
        state_ = State::EndBody;
        return;
    }
    uint64_t length = 0;
    if (!ParseContentLength(length)) return Fail(ResponseFault::BadLength);
    BeginLengthBody(length);
}

void ResponseReader::BeginLengthBody(uint64_t length) {
    if (length > limits_.bodyBytes) return Fail(ResponseFault::BodyTooLong);
    selfDelimiting_ = true;
    left_ = length;
    state_ = length == 0 ? State::Complete : State::LengthBody;
}

// One length, or the same one several times.
bool ResponseReader::ParseContentLength(uint64_t& length) {
    bool first = true;
    for (const std::string_view line : head_.headers.FindAll("Content-Length")) {
        for (const std::string_view text : SplitList(line)) {
            uint64_t value = 0;
            if (!ParseDecimal(text, value) || (!first && value != length)) return false;
            length = value;
            first = false;
        }
    }
    return !first;
}

// The size in hexadecimal; a chunk extension after ";" means nothing to us.
void ResponseReader::TakeChunkSize(std::string_view line) {
    const std::string_view digits = Trim(line.substr(0, line.find(';')));
    if (digits.empty() || digits.size() > maximumSizeHexDigits) return Fail(ResponseFault::BadChunk);
    uint64_t size = 0;
    for (const char c : digits) {
        const int digit = HexDigit(c);
        if (digit < 0) return Fail(ResponseFault::BadChunk);
        size = size * 16 + static_cast<uint64_t>(digit);
    }
    if (size > limits_.bodyBytes - body_.size()) return Fail(ResponseFault::BodyTooLong);
    ForgiveFrame();
    left_ = size;
    state_ = size == 0 ? State::TrailerLine : State::ChunkData;
}

void ResponseReader::TakeChunkEnd(std::string_view line) {
    if (!line.empty()) return Fail(ResponseFault::BadChunk);
    ForgiveFrame();
    state_ = State::ChunkSize;
}

// The frames of many small chunks are no reason to take a long body for a long head; long extensions are.
void ResponseReader::ForgiveFrame() { headBytes_ -= std::min(line_.size() + 1, maximumFreeFrame); }

void ResponseReader::TakeTrailerLine(std::string_view line) {
    if (line.empty()) state_ = State::Complete;
}

}  // namespace CorvixTransport
