/// What reading a request and reading a response have in common: header lines, lengths, chunks, limits.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "wire/http/headers.h"

namespace Corvix::Http {

enum class MessageFault {
    None,
    BadStartLine,
    UnknownVersion,
    BadHeader,
    HeadTooLong,
    BadLength,
    UnknownTransferCoding,
    BadChunk,
    BodyTooLong,
    /// The peer ended the connection before the message was complete.
    Truncated,
};

/// The status that a server answers a faulty request with.
unsigned StatusOf(MessageFault fault);

struct Limits {
    /// All bytes that are no body: interim responses, start line, headers, trailers.
    size_t headBytes = 64 * 1024;
    uint64_t bodyBytes = 16 * 1024 * 1024;
};

/// Takes bytes until one message is complete or faulty, however the network cuts them. Peers that end lines with
/// a bare line feed, fold headers or repeat the same length are understood; what could be read in two ways is a
/// fault. The two kinds of messages derive from it and read their first line.
class MessageReader {
public:
    /// Takes in up to all the bytes; stops where the message is complete or faulty.
    /// \return how many were taken.
    size_t Feed(std::string_view bytes);
    /// The connection has ended: completes a message that is delimited by that, else it is truncated.
    void End();

    /// The final start line and all headers are there.
    bool HasHead() const { return state_ >= State::LengthBody; }
    bool IsComplete() const { return state_ == State::Complete; }
    bool IsFaulty() const { return fault_ != MessageFault::None; }
    MessageFault Fault() const { return fault_; }
    /// Whether anything at all, an interim response too, has come.
    bool HasBegun() const { return begun_; }

    const std::string& Body() const { return body_; }
    /// Moves out what has come of the body since the last call, so that a server need not hold all of it.
    std::string TakeBody();

protected:
    explicit MessageReader(const Limits& limits) : limits_(limits) {}
    MessageReader(const MessageReader&) = default;
    MessageReader& operator=(const MessageReader&) = default;
    ~MessageReader() = default;

    /// The line, not empty, without its end. Reports what is wrong with it by Fail().
    virtual void TakeStartLine(std::string_view line) = 0;
    /// The head is over: calls one of the Begin... functions, or Fail().
    virtual void EndHead(Headers headers) = 0;

    void Fail(MessageFault fault) { fault_ = fault; }
    /// Another head follows the one that has just ended.
    void BeginAnotherHead() { state_ = State::StartLine; }
    void BeginLengthBody(uint64_t length);
    void BeginBodyUntilEnd() { state_ = State::EndBody; }
    /// Begins the body that the headers announce. \return false when they announce none.
    bool BeginAnnouncedBody(const Headers& headers);

    /// Whether the end of the message was clear without the end of the connection.
    bool IsSelfDelimiting() const { return IsComplete() && selfDelimiting_; }

private:
    /// In the order in which a message goes through them: HasHead() compares.
    enum class State {
        StartLine,
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
    void TakeFirstLine(std::string_view line);
    void TakeHeaderLine(std::string_view line);
    void TakeChunkSize(std::string_view line);
    void TakeChunkEnd(std::string_view line);
    void TakeTrailerLine(std::string_view line);
    void ForgiveFrame();
    void Append(std::string_view bytes);
    uint64_t BodyAllowance() const { return limits_.bodyBytes - received_; }

    Limits limits_;
    State state_ = State::StartLine;
    MessageFault fault_ = MessageFault::None;
    bool begun_ = false;
    bool selfDelimiting_ = false;
    size_t headBytes_ = 0;
    /// Bytes left of the body or of the chunk.
    uint64_t left_ = 0;
    /// Bytes of the body so far, taken or not.
    uint64_t received_ = 0;
    std::string line_;
    Headers headers_;
    std::string body_;
};

}  // namespace Corvix::Http
