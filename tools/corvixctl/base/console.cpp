#include "base/console.h"

#include <algorithm>

#include "base/exitcodes.h"
#include "utilslib/stringutils.h"

namespace CorvixCtl {
namespace {

// Lives as long as the process: the handler runs on a thread of the system's.
HANDLE interruptEvent = nullptr;

// A second Ctrl-C is left to the system's own handler, which ends the process at once.
BOOL WINAPI OnConsoleEvent(DWORD) {
    if (IsInterrupted()) return FALSE;
    SetEvent(interruptEvent);
    return TRUE;
}

// A console takes UTF-16 and shows it in any code page; a file or a pipe gets UTF-8.
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
        // One call takes 32 bits of length, and a pipe need not take all of that at once.
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
    return WriteBytes(handle, KyUtils::ToUtf8(text));
}

}  // namespace

void Print(std::wstring_view text) {
    if (!WriteTo(STD_OUTPUT_HANDLE, text))
        throw Failure(ExitCode::Incomplete,
                      L"standard output cannot be written (is the disk full, the reader gone?)");
}

void Complain(std::wstring_view message) { Tell(L"corvixctl: " + std::wstring(message) + L"\n"); }

void Tell(std::wstring_view text) { WriteTo(STD_ERROR_HANDLE, text); }

size_t ErrorColumns() {
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info)) return 0;
    return info.dwSize.X > 1 ? static_cast<size_t>(info.dwSize.X) : 0;
}

void WatchForInterrupts() {
    interruptEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (interruptEvent) SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

HANDLE InterruptEvent() { return interruptEvent; }

bool IsInterrupted() { return interruptEvent && WaitForSingleObject(interruptEvent, 0) == WAIT_OBJECT_0; }

void StopIfInterrupted() {
    if (IsInterrupted()) throw Failure(ExitCode::Interrupted, L"interrupted");
}

}  // namespace CorvixCtl
