#include "resolver/resolverutils.h"

#include <algorithm>
#include <cwchar>
#include <regex>
#include <string_view>

#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixResolver");

constexpr std::size_t longestText = 2048;
constexpr std::size_t copyCapacity = 1025;
constexpr std::size_t tooMany = 0x7FFFFFFF;
constexpr std::size_t messageCapacity = 100;
const HRESULT bufferTooSmall = HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER);

wchar_t messageBuffer[messageCapacity];

/// Owns a text that the system allocated.
class SystemText {
public:
    explicit SystemText(HRESULT error) noexcept {
        length_ = FormatMessageW(
            FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
            nullptr, static_cast<DWORD>(error), 0, reinterpret_cast<wchar_t*>(&text_), 0, nullptr);
    }
    SystemText(const SystemText&) = delete;
    SystemText& operator=(const SystemText&) = delete;
    ~SystemText() { LocalFree(text_); }

    std::wstring_view View() const noexcept { return {text_, text_ ? length_ : 0}; }

private:
    wchar_t* text_ = nullptr;
    DWORD length_ = 0;
};

/// The system's text without its last character, which ends the line.
std::wstring TextOf(HRESULT error) {
    const SystemText text(error);
    if (text.View().empty()) return L"Format message failed";
    return std::wstring(text.View().substr(0, text.View().size() - 1));
}

/// Copies as much as fits. \return whether that was all.
bool CopyBounded(wchar_t* destination, std::size_t capacity, const wchar_t* source, std::size_t length) {
    const std::size_t copied = std::min(length, capacity - 1);
    std::wmemmove(destination, source, copied);
    destination[copied] = L'\0';
    return copied == length;
}

HRESULT FailForNull() {
    logSource.Error(L"Source or Destination String is NULL");
    return E_INVALIDARG;
}

}  // namespace

int GetStringLength(const wchar_t* text) {
    const std::size_t length = text ? wcsnlen(text, longestText) : longestText;
    if (length < longestText) return static_cast<int>(length);
    logSource.Error(L"%ls", ErrorMessage(E_INVALIDARG));
    return -1;
}

HRESULT StrWcsNCpy(wchar_t* destination, size_t, const wchar_t* source, size_t count) {
    if (!destination || !source) return FailForNull();
    if (count >= tooMany) {
        *destination = L'\0';
        return E_INVALIDARG;
    }
    // The size argument is ignored: callers have buffers of this capacity, and some pass a wrong size.
    const std::size_t length = wcsnlen(source, std::min(count, copyCapacity));
    return CopyBounded(destination, copyCapacity, source, length) ? S_OK : bufferTooSmall;
}

HRESULT StrWcsCpy(const wchar_t* source) {
    if (!source) return FailForNull();
    if (CopyBounded(messageBuffer, messageCapacity, source, wcsnlen(source, messageCapacity))) return S_OK;
    logSource.Error(L"StringCchCopyW failed %ls", TextOf(bufferTooSmall).c_str());
    return bufferTooSmall;
}

const wchar_t* ErrorMessage(HRESULT error) {
    StrWcsCpy(TextOf(error).c_str());
    return messageBuffer;
}

bool CaptureSubString(const wchar_t* text, std::wstring* result, const wchar_t* pattern, int group) {
    const KyUtils::LogScope scope(logSource, "Corvix::CaptureSubString");
    if (!text || !result || !pattern || group < 0) return false;
    // std::regex recurses once per character; no address or URI is longer than this.
    if (wcsnlen(text, longestText) == longestText) return false;
    try {
        std::wcmatch match;
        const bool found = std::regex_search(text, match, std::wregex(pattern));
        *result = found ? match.str(static_cast<std::size_t>(group)) : std::wstring();
    } catch (const std::regex_error& error) {
        logSource.Error(L"The pattern %ls cannot be used: %hs", pattern, error.what());
        return false;
    }
    if (result->empty()) return false;
    logSource.Debug(L"Result is: %ls", result->c_str());
    return true;
}

}  // namespace Corvix
