/// \file snmpversion.h
#pragma once

namespace CorvixTransport {

/// The versions of SNMP that are spoken; the numbers are those on the wire.
enum class SnmpVersion : int { V1 = 0, V2c = 1 };

}  // namespace CorvixTransport
