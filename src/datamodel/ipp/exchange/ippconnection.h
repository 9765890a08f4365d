/// The HTTP side of an IPP exchange.
#pragma once

#include <windows.h>

#include <mutex>

#include "corvixdm/disposableptr.h"
#include "corvixdm/ipprequest.h"
#include "corvixdm/transport.h"
#include "datamodel/ipp/target/ipptarget.h"

namespace Corvix {

/// One HTTP request after the other to one device. It owns the request in hand. One thread at a time, but for
/// Cancel().
///
/// What fails returns E_FAIL, gives the request up and sets the thread's last error: 87 without an address,
/// else the HTTP status of the answer, or without one the transport's own error code.
class IppConnection {
public:
    /// \param address stays the caller's and outlives the object.
    explicit IppConnection(Address* address) : address_(address) {}
    IppConnection(const IppConnection&) = delete;
    IppConnection& operator=(const IppConnection&) = delete;

    /// Makes a request with all that goes ahead of its body; the one in hand is given up.
    /// \param record what the caller says of headers and credentials, or null.
    HRESULT Begin(const IppTarget& target, IPPRequestBase* record);
    /// Waits for the answer, which must have status 200 and a body.
    HRESULT Fetch(DisposablePtr<HTTPResponse>& answer);
    /// Gives the request in hand up. The last error becomes `reason`, or what the transport says where that
    /// is 0. \return E_FAIL
    HRESULT Fail(unsigned long reason = 0);
    /// Gives the request in hand up, if there is one.
    void End() { Take(nullptr); }
    /// Ends the exchange in hand and refuses every later one. Any thread.
    void Cancel();

    /// The request in hand.
    HTTPRequest* Request() const { return request_.Get(); }
    Address* Device() const { return address_; }
    /// The HTTP status of the last answer, 0 when there was none.
    unsigned long HttpStatus() const { return httpStatus_; }

private:
    bool Take(DisposablePtr<HTTPRequest> request);

    Address* address_;
    std::mutex requestLock_;  ///< held while request_ changes hands, for Cancel()
    bool cancelled_ = false;
    DisposablePtr<HTTPRequest> request_;
    unsigned long httpStatus_ = 0;
};

constexpr unsigned long httpOk = 200;

/// Adds the record's extra headers (null: none), then those of every IPP request that it does not name
/// itself.
void AddHttpHeaders(IPPRequestBase* record, HTTPRequest* request);

/// Gives a request the record's HTTP credentials, those that it has.
void SetCredentials(const IPPRequestBase* record, HTTPRequest& request);

}  // namespace Corvix
