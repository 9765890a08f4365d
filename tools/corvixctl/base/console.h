// Standard output and standard error in UTF-8, and the user's wish to stop.
#pragma once

#include <windows.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace CorvixCtl {

// Writes to standard output: as text on a console, else as the UTF-8 bytes exactly.
// Throws Failure when it cannot be written, so that a full disk is not taken for success.
void Print(std::wstring_view text);
// One line on standard error, with the program's name before it. Never fails.
void Complain(std::wstring_view message);
// Exactly this on standard error. Never fails.
void Tell(std::wstring_view text);
// How many columns the terminal at standard error has; 0 when it is none.
size_t ErrorColumns();

// From now on Ctrl-C (Ctrl-Break, the closing of the console) asks the program to stop. Asked a second time
// the system ends it as usual.
void WatchForInterrupts();
// Set from then on; null until interrupts are watched for.
HANDLE InterruptEvent();
bool IsInterrupted();
// Throws Failure once the user asked to stop.
void StopIfInterrupted();

}  // namespace CorvixCtl
