/// Reads messages.
#pragma once

#include <string_view>
#include <vector>

#include "wire/ipp/message.h"
#include "wire/ipp/tagrules.h"

namespace Corvix::Ipp {

struct ReadOptions {
    /// Stops at the header of an answer whose status is neither 0 nor client-error-not-found: the latter
    /// still carries what was found.
    bool failOnErrorStatus = false;
};

/// An answer is the whole body, and of IPP 2.x. A request, of any version, ends with its end tag: a document
/// may follow.
enum class MessageKind { Answer, Request };

/// Reads a message while its bytes arrive, in one pass and in time linear to their number, whatever they are.
/// Collections are counted and not descended into, so that their depth costs no stack.
class MessageReader {
public:
    explicit MessageReader(MessageKind kind, ReadOptions options = {}) : kind_(kind), options_(options) {}

    /// Reads on. \return whether more bytes are wanted: neither after a fault nor after the end of a request.
    bool Append(std::string_view bytes);
    /// Of the bytes that were appended those behind the message: where a request's document begins.
    std::string_view Rest() const { return message_.Body().substr(message_.end_); }
    /// The message. Where bytes are missing, that is its fault. Nothing is called after this.
    Message Finish();

private:
    bool IsDone() const;
    bool ReadNext();
    bool ReadHeader();
    bool ReadDelimiter(unsigned char tag);
    bool ReadValue(unsigned char tag);
    bool ReadName(unsigned char tag, std::string_view& name);
    bool ReadLength(std::size_t& length, const char* shortage);
    bool CopyContentToBuffer(std::size_t count, std::string_view& content, const char* shortage);
    bool Keep(Handling handling, std::uint32_t begin);
    void BeginAttribute(std::uint32_t begin);
    std::uint32_t NameOfAttribute();
    void OpenGroup(unsigned char tag);
    bool Fail(std::size_t offset, const char* reason);
    bool Lack(std::size_t offset, const char* reason);

    Message message_;
    MessageKind kind_;
    ReadOptions options_;
    std::uint32_t position_ = 0;  ///< within what is being read; what lies before message_.end_ is kept
    std::uint32_t name_ = 0;      ///< where the current name's length is
    std::uint32_t expected_ = NameIndex::none;  ///< the attribute whose name comes next when groups are alike
    std::vector<std::uint32_t> open_;           ///< indices of the collections around the position
    std::optional<Fault> shortage_;             ///< what the bytes so far do not suffice for
    bool hasName_ = false;
    bool inGroup_ = false;
    bool inAttribute_ = false;  ///< whether the values that come belong to the last attribute
};

/// Reads the whole body of an answer. On malformed bytes the answer has a fault, and holds what was read
/// before it.
Message ReadResponseData(std::string_view body, ReadOptions options = {});

}  // namespace Corvix::Ipp
