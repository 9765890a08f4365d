// The printer that an IPP command talks to.
#pragma once

#include <string>

#include "base/console.h"
#include "corvixdm/ippattributes.h"
#include "corvixdm/ippprovider.h"
#include "device/device.h"

namespace CorvixCtl {

// Besides deviceOptions, whose --device may then be left out for --uri.
extern const OptionGroup printerOptions;

struct Printer {
    Device device;
    // By which the library is told of it: without a port other than 631 and 443.
    std::wstring uri;
    // The path of the URI.
    std::wstring resource;
    bool secure = false;
    bool isNamedByUri = false;
    // For the transport's TLS.
    unsigned securityFlags = 0;
    // Whether the user's wish to stop breaks its exchanges off, so that a failure may be no more than that.
    bool isInterruptible = true;
};

// Reads --uri and --insecure, or --device and --resource, which is `usualResource` where it is not given. Once the
// event is set, the printer's exchanges break off. Throws UsageError. Nothing is sent yet.
Printer OpenPrinter(const Arguments& arguments, HANDLE stopEvent = InterruptEvent(),
                    const std::wstring& usualResource = L"/ipp/print");

// In whose name jobs are printed and canceled: --user, or who is logged on.
std::string UserName(const Arguments& arguments);

// A provider, which has spoken with the printer. Throws Failure.
Corvix::DisposablePtr<Corvix::IPPProvider> ConnectPrinter(const Printer& printer);

// Asks for attributes with one exchange, names separated by commas. Throws Failure when there is no answer.
Corvix::DisposablePtr<Corvix::IPPAttributes> QueryPrinter(const Printer& printer,
                                                          const std::string& requestedAttributes);

// Why an IPP exchange did not come about, given the last error that the library left: "HTTP 404 for /ipp
// (port 631): ...".
std::wstring ReasonOfIppFailure(const Printer& printer, unsigned long lastError);
// Throws Failure with that reason: Unreachable when nothing came from the printer at all, else Incomplete.
[[noreturn]] void FailAsUnanswered(const Printer& printer, unsigned long lastError);

}  // namespace CorvixCtl
