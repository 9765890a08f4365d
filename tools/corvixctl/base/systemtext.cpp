#include "base/systemtext.h"

#include <windows.h>

#include <array>

#include "base/text.h"

namespace CorvixCtl {

std::wstring SystemText(unsigned long code) {
    std::array<wchar_t, 512> text{};
    constexpr DWORD flags =
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    const DWORD length =
        FormatMessageW(flags, nullptr, code, 0, text.data(), static_cast<DWORD>(text.size()), nullptr);
    std::wstring line(text.data(), length);
    line.erase(line.find_last_not_of(L" .\r\n") + 1);
    if (!line.empty()) return line;
    // Small codes are looked up in decimal, results of COM in hexadecimal.
    return L"error " + Formatted(code > 0xFFFF ? L"0x%08lX" : L"%lu", code);
}

double SecondsSince(unsigned long long fileTime) {
    FILETIME now = {};
    GetSystemTimeAsFileTime(&now);
    const ULARGE_INTEGER ticks = {{now.dwLowDateTime, now.dwHighDateTime}};
    constexpr double ticksPerSecond = 1e7;
    // A clock that was set back must not make ages negative.
    return ticks.QuadPart <= fileTime ? 0 : static_cast<double>(ticks.QuadPart - fileTime) / ticksPerSecond;
}

}  // namespace CorvixCtl
