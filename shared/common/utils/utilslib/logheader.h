/// What a process writes into a log file before its first line.
#pragma once

#include <string>

namespace KyUtils {

/// The header lines: which module of which process logs here. Each ends with a line end.
std::wstring LogFileHeader(const std::wstring& fileName);

}  // namespace KyUtils
