/// One exchange: a request goes out whole, an answer comes in.
#pragma once

#include <utility>

#include "datamodel/ipp/exchange/ippanswer.h"
#include "datamodel/ipp/exchange/ippconnection.h"
#include "datamodel/ipp/exchange/requestvalues.h"

namespace Corvix {

/// Exchanges with one printer, one after the other. One thread at a time, but for Cancel(). Fails as
/// IppConnection does, and with last error 4306 for a Get-Printer-Attributes that asks for nothing.
class IppExchange {
public:
    /// \param address stays the caller's and outlives the object.
    explicit IppExchange(Address* address, IppTarget target = {})
        : connection_(address), target_(std::move(target)) {}

    IppTarget& Target() { return target_; }
    const IppTarget& Target() const { return target_; }
    Address* Device() const { return connection_.Device(); }
    unsigned long HttpStatus() const { return connection_.HttpStatus(); }

    /// Sends a request and waits for an answer with status 200 and a body. `response` is touched on success
    /// alone.
    HRESULT Send(const RequestValues& values, DisposablePtr<HTTPResponse>& response);
    /// The same, and reads the answer, which has no message where none came.
    HRESULT Ask(const RequestValues& values, IppAnswer& answer);
    /// Ends the exchange in hand and refuses every later one. Any thread.
    void Cancel() { connection_.Cancel(); }

private:
    IppConnection connection_;
    IppTarget target_;
};

}  // namespace Corvix
