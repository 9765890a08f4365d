/// Reads one HTTP/1.x response from the bytes that come in: the client's end.
#pragma once

#include "wire/http/heads.h"
#include "wire/http/messagereader.h"

namespace Corvix::Http {

/// Interim (1xx) responses are passed over.
class ResponseReader final : public MessageReader {
public:
    /// `toHead` tells that the request's method was HEAD, whose response never has a body.
    ResponseReader(const Limits& limits, bool toHead) : MessageReader(limits), toHead_(toHead) {}

    const ResponseHead& Head() const { return head_; }
    bool WasContinued() const { return continued_; }
    /// Whether the connection may carry another exchange, going by the complete response.
    bool KeepsConnection() const;

private:
    void TakeStartLine(std::string_view line) override;
    void EndHead(Headers headers) override;
    bool HasNoBody() const { return toHead_ || head_.status == 204 || head_.status == 304; }

    bool toHead_;
    bool continued_ = false;
    bool ambiguous_ = false;
    ResponseHead head_;
};

}  // namespace Corvix::Http
