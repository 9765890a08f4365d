#include "wire/http/messagereader.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "wire/ascii.h"

namespace Corvix::Http {
namespace {

/// Bytes of a line of a chunk's frame that are not counted against the limit of the head.
constexpr size_t maximumFreeFrame = 64;

struct FaultStatus {
    MessageFault fault;
    unsigned status;
};

constexpr FaultStatus faultStatuses[] = {
    {MessageFault::UnknownVersion, 505},
    {MessageFault::HeadTooLong, 431},
    {MessageFault::UnknownTransferCoding, 501},
    {MessageFault::BodyTooLong, 413},
};

/// One length, or the same one several times.
std::optional<uint64_t> LengthOf(const Headers& headers) {
    std::optional<uint64_t> length;
    for (const std::string_view line : headers.FindAll("Content-Length")) {
        for (const std::string_view text : SplitList(line)) {
            const std::optional<uint64_t> value = Ascii::ParseNumber(text);
            if (!value || (length && *length != *value)) return std::nullopt;
            length = value;
        }
    }
    return length;
}

}  // namespace

unsigned StatusOf(MessageFault fault) {
    for (const FaultStatus& known : faultStatuses) {
        if (known.fault == fault) return known.status;
    }
    return 400;
}

/// Lines are collected until their end has come; the bytes of a body go straight on.
size_t MessageReader::Feed(std::string_view bytes) {
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

void MessageReader::End() {
    if (IsComplete() || IsFaulty()) return;
    if (state_ == State::EndBody) {
        state_ = State::Complete;
    } else {
        Fail(MessageFault::Truncated);
    }
}

std::string MessageReader::TakeBody() { return std::exchange(body_, {}); }

size_t MessageReader::FeedLine(std::string_view bytes) {
    const size_t lineFeed = bytes.find('\n');
    const size_t count = lineFeed == std::string_view::npos ? bytes.size() : lineFeed + 1;
    headBytes_ += count;
    // Checked before anything is stored, so that an endless line costs no memory.
    if (headBytes_ > limits_.headBytes) {
        Fail(MessageFault::HeadTooLong);
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

void MessageReader::Append(std::string_view bytes) {
    received_ += bytes.size();
    body_.append(bytes);
}

size_t MessageReader::FeedBody(std::string_view bytes) {
    // Nothing announced this body's length: the limit is all that bounds it.
    if (state_ == State::EndBody) {
        if (bytes.size() > BodyAllowance()) Fail(MessageFault::BodyTooLong);
        if (!IsFaulty()) Append(bytes);
        return bytes.size();
    }
    const auto count = static_cast<size_t>(std::min<uint64_t>(bytes.size(), left_));
    Append(bytes.substr(0, count));
    left_ -= count;
    if (left_ == 0) state_ = state_ == State::ChunkData ? State::ChunkEnd : State::Complete;
    return count;
}

void MessageReader::TakeLine(std::string_view line) {
    switch (state_) {
        case State::StartLine:
            return TakeFirstLine(line);
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

void MessageReader::TakeFirstLine(std::string_view line) {
    if (line.empty()) return;  // some peers end the message before with one line end too many
    headers_ = {};
    state_ = State::HeaderLine;
    TakeStartLine(line);
}

void MessageReader::TakeHeaderLine(std::string_view line) {
    if (line.empty()) return EndHead(std::exchange(headers_, {}));
    // Obsolete, but devices still fold long headers: the line goes on with the header before it.
    if (line.front() == ' ' || line.front() == '\t') {
        if (headers_.IsEmpty()) return Fail(MessageFault::BadHeader);
        return headers_.Continue(Ascii::Trim(line));
    }
    const size_t colon = line.find(':');
    if (colon == std::string_view::npos) return Fail(MessageFault::BadHeader);
    const std::string_view name = Ascii::Trim(line.substr(0, colon));
    const std::string_view value = Ascii::Trim(line.substr(colon + 1));
    // A carriage return inside a line is where two readers could see two lines.
    if (!IsToken(name) || value.find_first_of(std::string_view("\0\r", 2)) != std::string_view::npos)
        return Fail(MessageFault::BadHeader);
    headers_.Add(name, value);
}

bool MessageReader::BeginAnnouncedBody(const Headers& headers) {
    const auto codings = headers.FindAll("Transfer-Encoding");
    // Compressed or repeated codings are not understood, and guessing where such a body ends is not safe.
    if (codings.size() > 1 || (!codings.empty() && !Ascii::EqualsIgnoringCase(codings.front(), "chunked"))) {
        Fail(MessageFault::UnknownTransferCoding);
    } else if (!codings.empty()) {
        selfDelimiting_ = true;
        state_ = State::ChunkSize;
    } else if (!headers.Find("Content-Length")) {
        return false;
    } else if (const std::optional<uint64_t> length = LengthOf(headers)) {
        BeginLengthBody(*length);
    } else {
        Fail(MessageFault::BadLength);
    }
    return true;
}

/// Refused before the body is received: its sender has said that it is too long.
void MessageReader::BeginLengthBody(uint64_t length) {
    if (length > limits_.bodyBytes) return Fail(MessageFault::BodyTooLong);
    selfDelimiting_ = true;
    left_ = length;
    state_ = length == 0 ? State::Complete : State::LengthBody;
}

// The size in hexadecimal; a chunk extension after ";" means nothing to us.
void MessageReader::TakeChunkSize(std::string_view line) {
    const auto size = Ascii::ParseNumber(Ascii::Trim(line.substr(0, line.find(';'))), 16);
    if (!size) return Fail(MessageFault::BadChunk);
    if (*size > BodyAllowance()) return Fail(MessageFault::BodyTooLong);
    ForgiveFrame();
    left_ = *size;
    state_ = *size == 0 ? State::TrailerLine : State::ChunkData;
}

void MessageReader::TakeChunkEnd(std::string_view line) {
    if (!line.empty()) return Fail(MessageFault::BadChunk);
    ForgiveFrame();
    state_ = State::ChunkSize;
}

// The frames of many small chunks must not count as a long head; long chunk extensions do.
void MessageReader::ForgiveFrame() { headBytes_ -= std::min(line_.size() + 1, maximumFreeFrame); }

/// Trailers are passed over: nothing here needs one, and they count against the limit of the head.
void MessageReader::TakeTrailerLine(std::string_view line) {
    if (line.empty()) state_ = State::Complete;
}

}  // namespace Corvix::Http
