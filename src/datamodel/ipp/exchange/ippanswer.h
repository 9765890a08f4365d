/// An answer: what came in for a request.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <string_view>

#include "corvixdm/transport.h"
#include "wire/ipp/message.h"

namespace Corvix {

/// The last error of an answer that cannot be read.
constexpr DWORD unreadableAnswerError = 1280;

/// The message of an answer, once one was read. Whoever keeps the message keeps it alive.
class IppAnswer {
public:
    /// Reads the body of a response. The message takes the place of the one before; of a malformed one, E_FAIL with
    /// last error 1280, what stands before the fault can still be asked for.
    /// \param failOnErrorStatus makes an IPP status other than success and client-error-not-found a fault.
    HRESULT Read(HTTPResponse& response);
    HRESULT Read(std::string_view body, bool failOnErrorStatus = false);

    /// Null before the first.
    const std::shared_ptr<const Ipp::Message>& Message() const { return message_; }
    /// The values of one attribute as text, empty when the answer has none.
    std::wstring TextOf(std::string_view name) const;

private:
    std::shared_ptr<const Ipp::Message> message_;
};

}  // namespace Corvix
