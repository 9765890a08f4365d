// The exported factories of the IPP records and of read answers.
#include "datamodel/ipp/ippattributesimpl.h"
#include "datamodel/ipp/ipprequestattributes.h"
#include "datamodel/ipp/ippresponseattribute.h"
#include "utilslib/boundary.h"

Corvix::IPPRequestBase* CreateIPPRequest() { return Corvix::IPPRequestAttributes::Create(); }

Corvix::IPPResponseBase* CreateIPPResponse() { return Corvix::IPPResponseAttributes::Create(); }

Corvix::IPPAttributes* CreateIPPAttributes(const unsigned char* body, unsigned long length) {
    return KyUtils::RaisingComErrors([&] {
        const std::string_view bytes(reinterpret_cast<const char*>(body), body ? length : 0);
        return Corvix::IPPAttributesImpl::Read(bytes).Release();
    });
}
