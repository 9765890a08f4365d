// The exported functions for single requests.
#include "corvixdm/singlerequest.h"
#include "datamodel/binding/requestprocessor.h"
#include "utilslib/boundary.h"

namespace {

using Corvix::Address;
using Corvix::RequestStatus;

const KyUtils::LogSource logSource(L"CorvixDM");

HRESULT AsResult(RequestStatus status) { return static_cast<HRESULT>(status); }

HRESULT RunSingleRequest(Address* address, const wchar_t* document, VARIANT* value, bool hasArguments) {
    const KyUtils::ComApartment apartment(logSource);
    const auto requestor = Corvix::Requestor::Create();
    if (!requestor) return AsResult(RequestStatus::NoRequestor);
    const HRESULT result = hasArguments ? requestor->CreateFromDOM(*address, document, *value)
                                        : requestor->Fail(RequestStatus::MissingArgument);
    const RequestStatus status = requestor->GetRequestStatus();
    return status == RequestStatus::None ? result : AsResult(status);
}

}  // namespace

HRESULT GetValueFromSingleRequest(Address* address, const wchar_t* document, VARIANT* value) {
    return KyUtils::Entry(logSource, "GetValueFromSingleRequest", [&] {
        return RunSingleRequest(address, document, value, address && document && value);
    });
}

HRESULT SetValueFromSingleRequest(Address* address, const wchar_t* document, VARIANT* value) {
    return KyUtils::Entry(logSource, "SetValueFromSingleRequest", [&] {
        return RunSingleRequest(address, document, value,
                                address && document && value && value->vt != VT_EMPTY);
    });
}
