// The exported factories of the IPP records and of read answers, and what IPP numbers are called.
#include "corvixdm/ippnames.h"
#include "datamodel/ipp/ippattributesimpl.h"
#include "datamodel/ipp/ippjobs.h"
#include "datamodel/ipp/ipprequestattributes.h"
#include "datamodel/ipp/ippresponseattribute.h"
#include "utilslib/boundary.h"
#include "wire/ipp/names.h"
#include "wire/ipp/tags.h"

Corvix::IPPRequestBase* CreateIPPRequest() { return Corvix::IPPRequestAttributes::Create(); }

Corvix::IPPResponseBase* CreateIPPResponse() { return Corvix::IPPResponseAttributes::Create(); }

Corvix::IPPAttributes* CreateIPPAttributes(const unsigned char* body, unsigned long length) {
    return KyUtils::RaisingComErrors([&] {
        const std::string_view bytes(reinterpret_cast<const char*>(body), body ? length : 0);
        return Corvix::IPPAttributesImpl::Read(bytes).Release();
    });
}

HRESULT NextIPPJob(const Corvix::IPPAttributes* answer, Corvix::IPPGroup* place, Corvix::IPPJob* job) {
    if (!answer || !place || !job) return E_FAIL;
    return KyUtils::RaisingComErrors([&] {
        Corvix::IPPGroup group = *place;
        HRESULT found = answer->NextGroup(&group);
        while (found == S_OK && group.tag != Corvix::Ipp::Tag::JobAttributes)
            found = answer->NextGroup(&group);
        if (found != S_OK) return found;
        *job = Corvix::ReadJob(*answer, group);
        *place = group;
        return found;
    });
}

const char* GetIPPOperationName(int operation) { return Corvix::Ipp::OperationName(operation); }

const char* GetIPPStatusName(unsigned status) { return Corvix::Ipp::StatusName(status); }

const char* GetIPPTagName(unsigned char tag) { return Corvix::Ipp::TagName(tag); }

const char* GetIPPEnumName(const char* attribute, int value) {
    return attribute ? Corvix::Ipp::EnumName(attribute, value) : nullptr;
}
