#include "device/printer.h"

#include <windows.h>

#include <lmcons.h>

#include <iterator>

#include "base/console.h"
#include "base/exitcodes.h"
#include "base/systemtext.h"
#include "device/printeruri.h"
#include "utilslib/stringutils.h"

namespace CorvixCtl {

const OptionGroup printerOptions = {
    L"Printer",
    {
        {L"uri", L"URI", L"the printer's URI, ipp://HOST/PATH or ipps://HOST/PATH, in place of --device"},
        {L"resource", L"PATH", L"with --device: the printer's path on the device (/ipp/print)"},
        {L"insecure", nullptr, L"accept any certificate of an ipps printer, such as a self-signed one"},
    },
};

namespace {

using Corvix::DisposablePtr;
using Corvix::IPPAttributes;
using Corvix::IPPError;
using Corvix::IPPProvider;
using CorvixTransport::NetAddressOptions;

constexpr unsigned short ippPort = 631;
constexpr unsigned short httpsPort = 443;
constexpr const wchar_t* ippPortText = L"631";

// The library takes a printer at a local port's name for one behind a local endpoint, which it does not
// probe. Its probe knows only addresses in figures and the real port 631, and takes no time-out; the first
// exchange tells more, and can be interrupted.
constexpr const wchar_t* unprobedHost = L"USB001";

// INTERNET_FLAG_SECURE, ..._IGNORE_CERT_DATE_INVALID and ..._IGNORE_CERT_CN_INVALID: the transport accepts
// any certificate then.
constexpr unsigned acceptAnyCertificate = 0x803000;

constexpr const wchar_t* notReadable = L"its answer cannot be read as IPP 2.x";

// The library speaks of the ports 631 and 443 only; the transport sends both to the one that is meant.
void RedirectPorts(NetAddressOptions& options, unsigned short port) {
    if (port == ippPort || port == httpsPort) return;
    const unsigned short real = options.portMap.Tcp(port);
    options.portMap.MapTcp(ippPort, real);
    options.portMap.MapTcp(httpsPort, real);
}

Printer MakePrinter(const Arguments& arguments, const PrinterUri& parts, HANDLE stopEvent) {
    NetAddressOptions options = ReadAddressOptions(arguments, parts.host);
    const unsigned short port = parts.port.value_or(ippPort);
    RedirectPorts(options, port);
    options.stopEvent = stopEvent;
    options.hostName = unprobedHost;
    options.port = port == httpsPort ? L"443" : ippPortText;
    Printer printer;
    printer.secure = parts.secure;
    printer.resource = parts.path;
    printer.uri = (parts.secure ? L"ipps://" : L"ipp://") + parts.authority;
    // The library goes to 631 by itself.
    if (port == httpsPort) printer.uri += L":443";
    printer.uri += parts.path;
    if (arguments.Has(L"insecure")) printer.securityFlags = acceptAnyCertificate;
    printer.isInterruptible = stopEvent != nullptr;
    printer.device = OpenDevice(std::move(options));
    return printer;
}

Printer OpenUri(const Arguments& arguments, const std::wstring& uri, HANDLE stopEvent) {
    for (const wchar_t* option : {L"device", L"resource"}) {
        if (arguments.Has(option)) throw UsageError(L"--uri and --" + std::wstring(option) + L": give one");
    }
    const PrinterUri parts = ReadPrinterUri(uri);
    if (arguments.Has(L"insecure") && !parts.secure)
        throw UsageError(L"--insecure is for ipps URIs: nothing is secured here");
    Printer printer = MakePrinter(arguments, parts, stopEvent);
    printer.isNamedByUri = true;
    return printer;
}

Printer OpenResource(const Arguments& arguments, const std::wstring& usualResource, HANDLE stopEvent) {
    if (arguments.Has(L"insecure")) throw UsageError(L"--insecure needs --uri with ipps://");
    if (!arguments.Has(L"device"))
        throw UsageError(L"name the printer with --device HOST or with --uri ipp://HOST/PATH");
    PrinterUri parts;
    parts.host = ReadHost(arguments);
    // In a URI an IPv6 address stands in brackets.
    const bool isIpv6 = parts.host.find(L':') != std::wstring::npos;
    parts.authority = isIpv6 ? L"[" + parts.host + L"]" : parts.host;
    parts.path = arguments.Find(L"resource").value_or(usualResource);
    if (parts.path.empty() || parts.path.front() != L'/') parts.path.insert(0, L"/");
    return MakePrinter(arguments, parts, stopEvent);
}

// ---- failures

[[noreturn]] void FailAsOutOfReach(const Printer& printer, const CorvixTransport::ExchangeRecord& exchange) {
    const std::wstring reason = DescribeConnection(exchange);
    if (!printer.isNamedByUri) FailAsUnreachable(printer.device, reason);
    throw Failure(ExitCode::Unreachable, L"printer " + printer.uri + L" not reachable: " + reason +
                                             L"; check --uri and that it is switched on");
}

}  // namespace

Printer OpenPrinter(const Arguments& arguments, HANDLE stopEvent, const std::wstring& usualResource) {
    const auto uri = arguments.Find(L"uri");
    return uri ? OpenUri(arguments, *uri, stopEvent) : OpenResource(arguments, usualResource, stopEvent);
}

std::string UserName(const Arguments& arguments) {
    if (const auto user = arguments.Find(L"user")) return KyUtils::ToUtf8(*user);
    wchar_t name[UNLEN + 1];
    DWORD length = static_cast<DWORD>(std::size(name));
    return GetUserNameW(name, &length) ? KyUtils::ToUtf8(name) : "anonymous";
}

DisposablePtr<IPPProvider> ConnectPrinter(const Printer& printer) {
    Corvix::Address* address = printer.device.address.Get();
    DisposablePtr<IPPProvider> provider(
        printer.secure ? CreateSecureIPPPrintProvider(address, printer.uri.c_str(), printer.securityFlags)
                       : CreateIPPPrintProvider(address, printer.uri.c_str()));
    if (!provider) FailAsUnanswered(printer, GetLastError());
    return provider;
}

DisposablePtr<IPPAttributes> QueryPrinter(const Printer& printer, const std::string& requestedAttributes) {
    DisposablePtr<IPPAttributes> answer(QueryIPPAttributes(printer.device.address.Get(), printer.uri.c_str(),
                                                           requestedAttributes.c_str(),
                                                           printer.securityFlags));
    if (!answer) FailAsUnanswered(printer, GetLastError());
    return answer;
}

std::wstring ReasonOfIppFailure(const Printer& printer, unsigned long lastError) {
    if (lastError == static_cast<unsigned long>(IPPError::PathMissing))
        return L"the path is missing; such as /ipp/print";
    if (lastError == static_cast<unsigned long>(IPPError::PathTooShort))
        return L"the path is too short; such as /ipp/print";
    // What the transport saw says more than the library's last error, which has one number for many causes.
    if (const auto& exchange = printer.device.journal->Last())
        return DescribeIppExchange(*exchange, notReadable);
    if (lastError == ERROR_SUCCESS) return L"the request is too long";
    return SystemText(lastError);
}

void FailAsUnanswered(const Printer& printer, unsigned long lastError) {
    // After Ctrl-C the failure is the interruption, not the printer's.
    if (printer.isInterruptible) StopIfInterrupted();
    const ExchangeJournal& journal = *printer.device.journal;
    if (journal.Unreachable() && !journal.HasAnswered()) FailAsOutOfReach(printer, *journal.Unreachable());
    throw Failure(ExitCode::Incomplete,
                  L"printer " + printer.uri + L": " + ReasonOfIppFailure(printer, lastError));
}

}  // namespace CorvixCtl
