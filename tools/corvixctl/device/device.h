// The device that a command talks to.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/commandline.h"
#include "corvixdm/disposableptr.h"
#include "corvixdm/transport.h"
#include "device/exchanges.h"

namespace CorvixCtl {

extern const OptionGroup deviceOptions;
extern const OptionGroup snmpOptions;

// The options of a transport address, as the command line gives them.
CorvixTransport::NetAddressOptions ReadAddressOptions(const Arguments& arguments, const std::wstring& host);
// The host of --device. Throws UsageError.
std::wstring ReadHost(const Arguments& arguments);

struct Device {
    std::wstring host;  // as the user wrote it
    // The address reports to the journal, which therefore outlives it.
    std::unique_ptr<ExchangeJournal> journal;
    Corvix::DisposablePtr<Corvix::KyNetAddress> address;
};

// Throws UsageError. Nothing is sent yet.
Device OpenDevice(const Arguments& arguments);
Device OpenDevice(CorvixTransport::NetAddressOptions options);

// Why the device does not answer to SNMP; nothing when it does.
std::optional<std::wstring> WhyNoSnmp(Corvix::Address& address);

// Throws Failure (Unreachable): `reason`, and what to do next.
[[noreturn]] void FailAsUnreachable(const Device& device, const std::wstring& reason);

}  // namespace CorvixCtl
