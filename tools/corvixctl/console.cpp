#include "console.h"

#include <windows.h>

#include <algorithm>
#include <atomic>

#include "exitcodes.h"
#include "transport/text.h"

namespace CorvixCtl {
namespace {

std::atomic<bool> interrupted{false};

BOOL WINAPI OnConsoleEvent(DWORD) { return interrupted.exchange(true) ? FALSE : TRUE; }

bool WriteToConsole(HANDLE console, std::wstring_view text) {
    constexpr size_t pieceChars = 8000;  // the console takes no piece much larger
    while (!text.empty()) {
        const std::wstring_view piece = text.substr(0, pieceChars);
        DWORD written = 0;
        if (!WriteConsoleW(console, piece.data(), static_cast<DWORD>(piece.size()), &written, nullptr) ||
            !written)
            return false;
        text.remove_prefix(written);
    }
    return true;
}

bool WriteBytes(HANDLE file, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto wanted = static_cast<DWORD>(std::min<size_t>(bytes.size(), 1 << 20));
        DWORD written = 0;
        if (!WriteFile(file, bytes.data(), wanted, &written, nullptr) || !written) return false;
        bytes.remove_prefix(written);
    }
    return true;
}

bool WriteTo(DWORD which, std::wstring_view text) {
    const HANDLE handle = GetStdHandle(which);
    DWORD mode = 0;
    if (GetConsoleMode(handle, &mode)) return WriteToConsole(handle, text);
    return WriteBytes(handle, CorvixTransport::ToUtf8(text));
}

}  // namespace

void Print(std::wstring_view text) {
    if (!WriteTo(STD_OUTPUT_HANDLE, text))
        throw Failure(ExitCode::Incomplete,
                      L"standard output cannot be written (is the disk full, the reader gone?)");
}

void Complain(std::wstring_view message) {
    WriteTo(STD_ERROR_HANDLE, L"corvixctl: " + std::wstring(message) + L"\n");
}

void WatchForInterrupts() { SetConsoleCtrlHandler(OnConsoleEvent, TRUE); }

bool IsInterrupted() { return interrupted; }

void StopIfInterrupted() {
    if (IsInterrupted()) throw Failure(ExitCode::Interrupted, L"interrupted");
}

}  // namespace CorvixCtl
