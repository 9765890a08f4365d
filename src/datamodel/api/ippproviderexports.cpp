// The exported factories of IPP providers, and the queries that do without one.
#include "datamodel/ipp/ippattributesimpl.h"
#include "datamodel/ipp/ippjobs.h"
#include "datamodel/ipp/ippproviderimpl.h"
#include "datamodel/ipp/target/printeruri.h"
#include "utilslib/com.h"
#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"
#include "wire/ipp/tags.h"

namespace {

using Corvix::Address;
using Corvix::IPPProvider;
using Corvix::IPPProviderImpl;
using Corvix::UriScheme;

const KyUtils::LogSource logSource(L"CorvixDM");

/// A factory never throws: running out of memory is a last error like any other.
template <class Make>
auto WithoutThrowing(Make make) noexcept -> decltype(make().Release()) {
    try {
        return make().Release();
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    } catch (const _com_error& error) {
        logSource.ErrorResult(error.Error(), L"Nothing was made");
        SetLastError(static_cast<DWORD>(error.Error()));
    }
    return nullptr;
}

IPPProvider* CreateAt(Address* address, const char* resource, const char* language) {
    if (!address || !resource) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return WithoutThrowing([&] {
        IPPProviderImpl::Settings settings;
        settings.resource = KyUtils::ToWide(resource);
        if (language) settings.language = language;
        return IPPProviderImpl::Create(address, settings);
    });
}

IPPProvider* CreateForUri(Address* address, const wchar_t* printerUri, UriScheme scheme,
                          unsigned long flags) {
    if (Corvix::ClassifyUriScheme(printerUri) != scheme) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return WithoutThrowing([&] { return IPPProviderImpl::Create2(address, printerUri, flags); });
}

/// One exchange without a provider. `makeValues` tells what the request says.
template <class MakeValues>
Corvix::IPPAttributes* Query(Address* address, const wchar_t* printerUri, unsigned securityFlags,
                             MakeValues makeValues) {
    const UriScheme scheme = Corvix::ClassifyUriScheme(printerUri);
    if (scheme != UriScheme::Ipp && scheme != UriScheme::SecureIpp) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return WithoutThrowing(
        [&] { return Corvix::IPPAttributesImpl::Query(address, printerUri, makeValues(), securityFlags); });
}

}  // namespace

IPPProvider* CreateIPPProvider(Address* address, const char* resource) {
    const KyUtils::LogScope scope(logSource, "CreateIPPProvider");
    return CreateAt(address, resource, nullptr);
}

IPPProvider* CreateIPPProvider2(Address* address, const char* resource, const char* language) {
    const KyUtils::LogScope scope(logSource, "CreateIPPProvider2");
    return CreateAt(address, resource, language);
}

IPPProvider* CreateIPPPrintProvider(Address* address, const wchar_t* printerUri) {
    const KyUtils::LogScope scope(logSource, "CreateIPPPrintProvider");
    return CreateForUri(address, printerUri, UriScheme::Ipp, 0);
}

IPPProvider* CreateSecureIPPPrintProvider(Address* address, const wchar_t* printerUri,
                                          unsigned securityFlags) {
    const KyUtils::LogScope scope(logSource, "CreateSecureIPPPrintProvider");
    return CreateForUri(address, printerUri, UriScheme::SecureIpp, securityFlags);
}

Corvix::IPPAttributes* QueryIPPAttributes(Address* address, const wchar_t* printerUri,
                                          const char* requestedAttributes, unsigned securityFlags) {
    const KyUtils::LogScope scope(logSource, "QueryIPPAttributes");
    return Query(address, printerUri, securityFlags, [&] {
        Corvix::RequestValues values;
        values.operation = Corvix::Ipp::Operation::GetPrinterAttributes;
        values.requestedAttributes = requestedAttributes ? requestedAttributes : "all";
        return values;
    });
}

Corvix::IPPAttributes* QueryIPPJobs(Address* address, const wchar_t* printerUri,
                                    const Corvix::IPPJobQuery* query) {
    const KyUtils::LogScope scope(logSource, "QueryIPPJobs");
    const Corvix::IPPJobQuery wanted = query ? *query : Corvix::IPPJobQuery();
    return Query(address, printerUri, wanted.securityFlags, [&] { return Corvix::ToRequestValues(wanted); });
}
