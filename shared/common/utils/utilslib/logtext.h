/// How the texts of log lines are made.
#pragma once

#include <windows.h>

#include <cstdarg>
#include <string>

namespace KyUtils {

/// The text that wprintf would print. A text longer than 65,535 characters is cut there; a format that cannot
/// be carried out is given as it stands.
std::wstring FormatArguments(const wchar_t* format, std::va_list arguments);
std::wstring FormatText(const wchar_t* format, ...);

/// What an error line adds about an HRESULT.
std::wstring ResultNote(HRESULT result);
/// What an error line adds about a last-error value: its number and the system's message.
std::wstring LastErrorNote(DWORD error);

}  // namespace KyUtils
