// How a provider comes to be: the probe, the first exchange, the choice of the printer's URI.
#include <windows.h>

#include <algorithm>
#include <utility>

#include "datamodel/ipp/ippproviderimpl.h"
#include "datamodel/ipp/target/deviceprobe.h"
#include "datamodel/ipp/target/printeruri.h"
#include "utilslib/com.h"
#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"
#include "wire/ipp/tags.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

/// Whether an HTTP status says that the printer does not know the URI.
bool IsUnknownUri(DWORD status) { return status == 400 || status == 404 || status == 405; }

std::nullptr_t FailWith(IPPError error) {
    SetLastError(static_cast<DWORD>(error));
    return nullptr;
}

/// Sets the last error of a device that cannot be reached.
bool IsReachable(const std::wstring& host) {
    if (IsUsbPortName(host) || DeviceExists(host, L"631")) return true;
    logSource.Error(L"IPP support is not present in the device");
    logSource.Error(L"Failed with error %d", static_cast<int>(GetLastError()));
    FailWith(DeviceExists(host, L"80") ? IPPError::NotSupported : IPPError::NotReachable);
    return false;
}

bool IsIppUri(const std::wstring& text) {
    const UriScheme scheme = ClassifyUriScheme(text.c_str());
    return scheme == UriScheme::Ipp || scheme == UriScheme::SecureIpp;
}

bool HoldsUri(std::wstring_view text) { return text.find(L"://") != std::wstring_view::npos; }

/// The printer as the caller names it.
IppTarget NamedTarget(Address& address, const IPPProviderImpl::Settings& settings) {
    const bool isUri = IsIppUri(settings.resource);
    IppTarget target;
    target.printerUri =
        isUri ? settings.resource : CreatePrinterURIAttribute(address, settings.resource, settings.secure);
    // "ipp/print" only begins like a URI.
    target.resource = isUri && HoldsUri(settings.resource) ? PathOfUri(settings.resource) : settings.resource;
    if (settings.secure) target.securityFlags = settings.securityFlags;
    return target;
}

/// A Get-Printer-Attributes exchange; what it brought stays in the operations.
bool ReadPrinter(IPPOperations& operations, bool secure) {
    const HRESULT read = operations.Ask(Ipp::Operation::GetPrinterAttributes, nullptr, secure, nullptr);
    if (SUCCEEDED(read)) {
        logSource.Debug(L"ptrIPPOperations->ParseIPPResponse(httpResponse,&value) cretae");
    } else if (operations.LastResponse()) {
        logSource.Error(L"ptrIPPOperations->ParseIPPResponse(httpResponse,&value) cretae failed");
    }
    return SUCCEEDED(read);
}

/// The URI that the printer wants to be called by, or the one that it answered to.
std::wstring ChooseUri(Address& address, const IPPOperations& operations, bool secure, std::wstring uri) {
    KyUtils::Variant advertised;
    if (operations.GetValueFromIPPMap("printer-uri-supported", advertised.Receive()) == S_OK &&
        HoldsUri(advertised.Text()))
        GetSupportedPrinterUri(address, advertised.Text(), secure, uri);
    return uri;
}

}  // namespace

IPPProvider::~IPPProvider() = default;

IPPProviderImpl::IPPProviderImpl(Address* address, IppTarget target, const IPPOperations& creation,
                                 const PollingIntervals& intervals)
    : address_(DisposablePtr<Address>::Share(address)),
      target_(std::move(target)),
      jobOperations_(MakeOperations()),
      intervals_(intervals),
      follower_(address, intervals) {
    cache_.Merge(creation.LastResponse());
}

DisposablePtr<IPPProvider> IPPProviderImpl::Create(Address* address, const Settings& settings) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::Create");
    if (!address) return nullptr;
    const wchar_t* host = address->GetHostName();
    if (!IsReachable(host ? host : L"")) return nullptr;

    IppTarget target = NamedTarget(*address, settings);
    logSource.Debug(L"IPP Resource URI %ls", target.printerUri.c_str());
    IPPOperations operations(address, target);
    operations.SetAttributeName(settings.requestedAttributes);
    if (FAILED(operations.SetAttributeLanguage(settings.language))) return nullptr;
    if (!ReadPrinter(operations, settings.secure)) return nullptr;

    target.printerUri = ChooseUri(*address, operations, settings.secure, std::move(target.printerUri));
    if (target.printerUri.empty()) return nullptr;
    if (target.resource.empty()) return FailWith(IPPError::PathMissing);
    target.secure = IsSecureUri(target.printerUri);
    return DisposablePtr<IPPProvider>::Share(
        new IPPProviderImpl(address, std::move(target), operations, settings.intervals));
}

DisposablePtr<IPPProvider> IPPProviderImpl::Create2(Address* address, const wchar_t* printerUri,
                                                    unsigned long securityFlags) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::Create2");
    std::wstring path;
    if (!TakePrinterUri(address, printerUri, path)) return nullptr;

    Settings settings;
    settings.resource = std::move(path);
    settings.secure = IsSecureUri(printerUri);
    settings.securityFlags = securityFlags;
    settings.requestedAttributes = "printer-info";
    DisposablePtr<IPPProvider> provider = Create(address, settings);
    KyUtils::LastErrorScope lastError;
    if (!provider && IsUnknownUri(lastError.Get()))
        lastError.LeaveWith(static_cast<DWORD>(IPPError::PrinterNotFound));
    logSource.Debug(L"Resource URI is %ls \r\n", settings.resource.c_str());
    logSource.Debug(L"Resource URI is %ls \r\n", printerUri);
    return provider;
}

IppTarget IPPProviderImpl::OwnTarget() const {
    IppTarget target = target_;
    // The printer may have advertised a URI in the clear to a caller who came over TLS.
    if (!target.secure) target.securityFlags = 0;
    return target;
}

void IPPProviderImpl::SetTimeouts(unsigned connect, unsigned send, unsigned receive) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::SetTimeouts");
    timeouts_ = {connect, send, receive};
    // The transport knows one limit for all its waits: the longest of ours cuts none of them short.
    address_->SetTimeout(*std::max_element(timeouts_.begin(), timeouts_.end()));
}

}  // namespace Corvix
