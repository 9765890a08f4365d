// Files as bytes.
#pragma once

#include <string>
#include <string_view>

#include "base/exitcodes.h"

namespace CorvixCtl {

// Throws Failure with the code; its message begins with what the file is, such as "map", and its path.
std::string ReadFileBytes(const std::wstring& path, ExitCode code, const wchar_t* what);
// Replaces a file that is there. Throws Failure (Incomplete).
void WriteFileBytes(const std::wstring& path, std::string_view bytes, const wchar_t* what);

}  // namespace CorvixCtl
