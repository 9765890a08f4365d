/// Whether anything at all answers where a printer should be.
#pragma once

#include <windows.h>

#include <string>

namespace Corvix {

/// Tries a TCP connection to a host given as an IPv4 or IPv6 literal; a DNS name is not resolved and answers
/// false. For an IPv4 host the port is 80 when the text is exactly "80", else 631; for an IPv6 host it is as
/// given. Waits as long as the system's own connect does, or until `interrupt` is signalled, if there is one,
/// which answers false.
bool DeviceExists(const std::wstring& host, const wchar_t* port, HANDLE interrupt = nullptr);

}  // namespace Corvix
