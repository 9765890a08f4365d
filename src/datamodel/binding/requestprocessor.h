/// Carries out a request for one item without a data collection.
#pragma once

#include <windows.h>

#include <memory>

#include "corvixdm/datamapspec.h"
#include "corvixdm/singlerequest.h"
#include "corvixdm/transport.h"

namespace Corvix {

class Requestor {
public:
    /// \return null when memory is short.
    static std::unique_ptr<Requestor> Create();

    /// Why the request failed; None as long as it has not.
    RequestStatus GetRequestStatus() const { return status_; }
    /// Records a failure. \return E_FAIL.
    HRESULT Fail(RequestStatus status);

    /// Reads the item that a document describes into an empty value, or writes one that is not empty.
    HRESULT CreateFromDOM(Address& device, const wchar_t* document, VARIANT& value);
    /// The same for the first of some maps.
    HRESULT GetValueOrSetValueFromDataMapSpecsColl(Address& device, const DataMapSpecCollection& maps,
                                                   VARIANT& value);

private:
    Requestor() = default;
    HRESULT ReadFromWebService(Address& device, const DataMapSpec& map, VARIANT& value);
    HRESULT ReadFromSnmp(Address& device, const DataMapSpec& map, VARIANT& value);
    HRESULT WriteToSnmp(Address& device, const DataMapSpec& map, const VARIANT& value);

    RequestStatus status_ = RequestStatus::None;
};

}  // namespace Corvix
