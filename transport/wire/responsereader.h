// Reads one HTTP/1.x response from the bytes that come in, however they are cut.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "transport/wire/headers.h"

namespace CorvixTransport {

struct ResponseHead {
    unsigned status = 0;
    unsigned minorVersion = 1;
    std::string reason;
    Headers headers;
};

enum class ResponseFault {
    None,
    BadStatusLine,
    BadHeader,
    HeadTooLong,
    BadLength,
    UnknownTransferCoding,
    BadChunk,
    BodyTooLong,
    // The device ended the connection before the response was complete.
    Truncated,
};

struct ResponseLimits {
    // All bytes that are no body: interim responses, status line, headers, trailers.
    size_t headBytes = 64 * 1024;
    uint64_t bodyBytes = 16 * 1024 * 1024;
};

// Takes bytes until the response is complete or faulty. Interim (1xx) responses are passed over. Devices that
// end lines with a bare line feed, fold headers or repeat the same length are understood; what could be read
// in two ways is a fault.
class ResponseReader {
public:
    // `toHead` tells that the request's method was HEAD, whose response never has a body.
    ResponseReader(const ResponseLimits& limits, bool toHead) : limits_(limits), toHead_(toHead) {}

    // Takes in up to all the bytes; stops where the response is complete or faulty.
    // \return how many were taken.
    size_t Feed(std::string_view bytes);
    // The connection has ended: completes a response that is delimited by that, else it is truncated.
    void End();

    // The final status and all headers are there.
    bool HasHead() const { return state_ >= State::LengthBody; }
    bool IsComplete() const { return state_ == State::Complete; }
    bool IsFaulty() const { return fault_ != ResponseFault::None; }
    // Whether anything at all, an interim response too, has come.
    bool HasBegun() const { return begun_; }
    bool WasContinued() const { return continued_; }
    ResponseFault Fault() const { return fault_; }

    const ResponseHead& Head() const { return head_; }
    const std::string& Body() const { return body_; }
    std::string TakeBody() { return std::move(body_); }
    // Whether the connection may carry another exchange, going by the complete response.
    bool KeepsConnection() const;

private:
    // In the order in which a response goes through them: HasHead() compares.
    enum class State {
        StatusLine,
        HeaderLine,
        LengthBody,
        EndBody,
        ChunkSize,
        ChunkData,
        ChunkEnd,
        TrailerLine,
        Complete
    };

    size_t FeedLine(std::string_view bytes);
    size_t FeedBody(std::string_view bytes);
    void TakeLine(std::string_view line);
    void TakeStatusLine(std::string_view line);
    void TakeHeaderLine(std::string_view line);
    void TakeChunkSize(std::string_view line);
    void TakeChunkEnd(std::string_view line);
    void TakeTrailerLine(std::string_view line);
    void ForgiveFrame();
    void EndHead();
    void BeginBody();
    void BeginLengthBody(uint64_t length);
    bool HasNoBody() const;
    bool ParseContentLength(uint64_t& length);
    void Fail(ResponseFault fault) { fault_ = fault; }

    ResponseLimits limits_;
    bool toHead_;
    State state_ = State::StatusLine;
    ResponseFault fault_ = ResponseFault::None;
    bool begun_ = false;
    bool continued_ = false;
    bool selfDelimiting_ = false;
    bool ambiguous_ = false;
    size_t headBytes_ = 0;
    uint64_t left_ = 0;
    std::string line_;
    ResponseHead head_;
    std::string body_;
};

}  // namespace CorvixTransport
