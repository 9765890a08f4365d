#include "utilslib/stringutils.h"

#include <windows.h>

#include <algorithm>

namespace KyUtils {
namespace {

wchar_t LowerCharacter(wchar_t c) {
    if (c < 0x80) return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c;
    // towlower() of the C runtime leaves letters between 0x80 and 0xFF as they are.
    wchar_t lower = c;
    LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_LOWERCASE, &c, 1, &lower, 1, nullptr, nullptr, 0);
    return lower;
}

}  // namespace

std::string ToUtf8(std::wstring_view text) {
    if (text.empty()) return {};
    const int size = static_cast<int>(text.size());
    const int needed = WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<size_t>(needed), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), size, utf8.data(), needed, nullptr, nullptr);
    return utf8;
}

std::wstring ToWide(std::string_view utf8) {
    // The system functions fail for a length of 0.
    if (utf8.empty()) return {};
    const int size = static_cast<int>(utf8.size());
    const int needed = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0);
    std::wstring text(static_cast<size_t>(needed), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, text.data(), needed);
    return text;
}

bool IsUtf8(std::string_view bytes) { return ToUtf8(ToWide(bytes)) == bytes; }

std::wstring ToWideOrLatin1(std::string_view bytes) {
    if (IsUtf8(bytes)) return ToWide(bytes);
    std::wstring text;
    for (const char c : bytes)
        text += static_cast<wchar_t>(static_cast<unsigned char>(c));
    return text;
}

std::wstring ToLower(std::wstring_view text) {
    std::wstring lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), LowerCharacter);
    return lower;
}

bool EqualsIgnoringCase(std::wstring_view left, std::wstring_view right) {
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(),
                      [](wchar_t a, wchar_t b) { return LowerCharacter(a) == LowerCharacter(b); });
}

std::vector<std::wstring_view> Split(std::wstring_view text, wchar_t separator) {
    std::vector<std::wstring_view> pieces;
    size_t start = 0;
    for (size_t end; (end = text.find(separator, start)) != std::wstring_view::npos; start = end + 1) {
        pieces.push_back(text.substr(start, end - start));
    }
    pieces.push_back(text.substr(start));
    return pieces;
}

}  // namespace KyUtils
