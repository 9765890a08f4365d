/// Reads one HTTP/1.x request from the bytes that come in: the server's end.
#pragma once

#include "wire/http/heads.h"
#include "wire/http/messagereader.h"

namespace Corvix::Http {

class RequestReader final : public MessageReader {
public:
    explicit RequestReader(const Limits& limits) : MessageReader(limits) {}

    /// The target stands as it was sent.
    const RequestHead& Head() const { return head_; }
    /// Whether the client waits for "100 Continue" before it sends the body.
    bool ExpectsContinue() const { return head_.headers.HasToken("Expect", "100-continue"); }
    /// Whether the client wants to send another request on the connection, going by the head.
    bool KeepsConnection() const { return WantsConnectionKept(head_.minorVersion, head_.headers); }

private:
    void TakeStartLine(std::string_view line) override;
    void EndHead(Headers headers) override;

    RequestHead head_;
};

}  // namespace Corvix::Http
