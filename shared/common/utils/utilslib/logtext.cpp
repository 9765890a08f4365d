#include "utilslib/logtext.h"

#include <cwchar>

namespace KyUtils {
namespace {

constexpr size_t usualLength = 256;
constexpr size_t greatestLength = 65536;

std::wstring SystemMessage(DWORD error) {
    wchar_t text[512];
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                                  0, text, ARRAYSIZE(text), nullptr);
    while (length > 0 && text[length - 1] <= L' ')
        --length;
    return {text, length};
}

}  // namespace

std::wstring FormatArguments(const wchar_t* format, std::va_list arguments) {
    std::wstring text(usualLength, L'\0');
    for (;;) {
        std::va_list once;
        va_copy(once, arguments);
        // When the buffer is too small, runtimes return either -1 or the length needed.
        const int length = std::vswprintf(text.data(), text.size(), format, once);
        va_end(once);
        if (length >= 0 && static_cast<size_t>(length) < text.size()) {
            text.resize(static_cast<size_t>(length));
            return text;
        }
        if (text.size() == greatestLength) break;
        text.assign(text.size() * 4, L'\0');
    }
    text.resize(wcsnlen(text.data(), greatestLength - 1));
    return text.empty() ? format : text;
}

std::wstring FormatText(const wchar_t* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::wstring text = FormatArguments(format, arguments);
    va_end(arguments);
    return text;
}

std::wstring ResultNote(HRESULT result) {
    return FormatText(L" [Err: 0x%08X]", static_cast<unsigned>(result));
}

std::wstring LastErrorNote(DWORD error) {
    return FormatText(L", [GLE: 0x%08X] %ls", static_cast<unsigned>(error), SystemMessage(error).c_str());
}

}  // namespace KyUtils
