#include "utilslib/logging.h"

namespace KyUtils {

LogSource::LogSource(const wchar_t*) {}
bool LogSource::IsOn(std::uint32_t) const { return false; }
void LogSource::Write(std::uint32_t, const wchar_t*, ...) const {}
void LogSource::WriteWithResult(std::uint32_t, HRESULT, const wchar_t*, ...) const {}
void LogSource::WriteWithLastError(std::uint32_t, const wchar_t*, ...) const {}
LogScope::LogScope(const LogSource&, const char*) {}
LogScope::~LogScope() = default;

}  // namespace KyUtils
