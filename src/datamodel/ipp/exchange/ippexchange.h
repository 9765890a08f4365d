/// One exchange: request values go out, an answer comes in.
#pragma once

#include <windows.h>

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "corvixdm/disposableptr.h"
#include "datamodel/ipp/exchange/requestvalues.h"
#include "datamodel/ipp/target/ipptarget.h"
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
    std::string TextOf(std::string_view name) const {
        return message_ ? message_->ValueText(name).value_or("") : std::string();
    }

private:
    std::shared_ptr<const Ipp::Message> message_;
};

/// Exchanges with one printer, one after the other. It owns the HTTP request in hand. One thread at a time, but
/// for Cancel().
///
/// What fails returns E_FAIL, gives the request up and sets the thread's last error: 87 without an address, 4306
/// for a Get-Printer-Attributes that asks for nothing, else the HTTP status of the answer, or without one the
/// transport's own error code.
class IppExchange {
public:
    /// \param address stays the caller's and outlives the object.
    explicit IppExchange(Address* address, IppTarget target = {})
        : address_(address), target_(std::move(target)) {}
    IppExchange(const IppExchange&) = delete;
    IppExchange& operator=(const IppExchange&) = delete;

    IppTarget& Target() { return target_; }
    const IppTarget& Target() const { return target_; }
    Address* Device() const { return address_; }

    /// Sends a request and waits for an answer with status 200 and a body. `response` is touched on success
    /// alone.
    HRESULT Send(const RequestValues& values, DisposablePtr<HTTPResponse>& response);
    /// The same, and reads the answer, which has no message where none came.
    HRESULT Ask(const RequestValues& values, IppAnswer& answer);
    /// Ends the exchange in hand and refuses every later one. Any thread.
    void Cancel();

    /// \name The steps, for a body that is sent in pieces
    /// @{
    /// Makes a request with all that goes ahead of its body; the one in hand is given up.
    /// \param record what the caller says of headers and credentials, or null.
    HRESULT Begin(IPPRequestBase* record);
    /// The request in hand.
    HTTPRequest* Request() const { return request_.Get(); }
    /// Waits for the answer, which must have status 200 and a body.
    HRESULT Fetch(DisposablePtr<HTTPResponse>& answer);
    /// Gives the request up. The last error becomes `reason`, or what the transport says where that is 0.
    /// \return E_FAIL
    HRESULT Fail(unsigned long reason = 0);
    /// Gives the request up, if there is one.
    void End() { Take(nullptr); }
    /// @}

private:
    bool Take(DisposablePtr<HTTPRequest> request);

    Address* address_;
    IppTarget target_;
    std::mutex requestLock_;  ///< held while request_ changes hands, for Cancel()
    bool cancelled_ = false;
    DisposablePtr<HTTPRequest> request_;
};

/// Adds the record's extra headers (null: none), then those of every IPP request that it does not name
/// itself.
void AddHttpHeaders(IPPRequestBase* record, HTTPRequest* request);

/// Gives a request the record's HTTP credentials, those that it has.
void SetCredentials(const IPPRequestBase* record, HTTPRequest& request);

}  // namespace Corvix
