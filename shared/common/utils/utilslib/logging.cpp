#include "utilslib/logging.h"

#include <new>

#include "utilslib/lasterror.h"
#include "utilslib/logfacility.h"
#include "utilslib/logtext.h"

namespace KyUtils {

LogSource::LogSource(const wchar_t* module) : module_(&LogFacility::Instance().Register(module)) {}

void LogSource::RefreshSettings() noexcept { LogFacility::Instance().Refresh(false); }

void RereadLogSettings() noexcept { LogFacility::Instance().Refresh(true); }

template <class Note>
void LogSource::WriteNoted(std::uint32_t flags, const wchar_t* format, std::va_list arguments,
                           Note note) const noexcept {
    if (flags & LineFlag::Exception) LogScope::NoteHandledException();
    try {
        LogFacility::Instance().Write(*module_, flags, FormatArguments(format, arguments) + note());
    } catch (const std::bad_alloc&) {
        // Out of memory: drop the line. Logging never fails the function that logs.
    }
}

void LogSource::Write(std::uint32_t flags, const wchar_t* format, ...) const noexcept {
    const LastErrorScope lastError;
    std::va_list arguments;
    va_start(arguments, format);
    WriteNoted(flags, format, arguments, [] { return L""; });
    va_end(arguments);
}

void LogSource::WriteWithResult(std::uint32_t flags, HRESULT result, const wchar_t* format,
                                ...) const noexcept {
    const LastErrorScope lastError;
    std::va_list arguments;
    va_start(arguments, format);
    WriteNoted(flags, format, arguments, [result] { return ResultNote(result); });
    va_end(arguments);
}

void LogSource::WriteWithLastError(std::uint32_t flags, const wchar_t* format, ...) const noexcept {
    const LastErrorScope lastError;
    std::va_list arguments;
    va_start(arguments, format);
    WriteNoted(flags, format, arguments, [&lastError] { return LastErrorNote(lastError.Get()); });
    va_end(arguments);
}

}  // namespace KyUtils
