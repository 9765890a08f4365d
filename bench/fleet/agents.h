// Simulated devices for a fleet: SNMP agents, each on a loopback address of its own.
#pragma once

#include <string>

namespace CorvixBench {

/// The address of a device, counted from 0.
std::wstring HostOf(int device);

/// Serves so many devices until standard input ends. Prints the port of each on one line first. Every object that
/// is asked for is there. Does not return.
[[noreturn]] void ServeDevices(int devices);

}  // namespace CorvixBench
