// Small helpers for texts.
#pragma once

#include <algorithm>
#include <array>
#include <cwchar>
#include <string>
#include <string_view>
#include <vector>

namespace CorvixCtl {

// As swprintf() writes it, cut after 63 characters.
template <class... Arguments>
std::wstring Formatted(const wchar_t* format, Arguments... arguments) {
    std::array<wchar_t, 64> text{};
    swprintf(text.data(), text.size(), format, arguments...);
    return text.data();
}

inline bool IsDigits(std::wstring_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
}

// "a, b, c".
inline std::wstring Joined(const std::vector<std::wstring>& pieces, const wchar_t* separator = L", ") {
    std::wstring text;
    for (const std::wstring& piece : pieces)
        text += (text.empty() ? L"" : separator) + piece;
    return text;
}

// A character that cannot stand for itself, as programmers and JSON write it: "\\n", "\\u001b".
inline std::wstring Escaped(wchar_t c) {
    constexpr std::wstring_view controls = L"\n\r\t";
    constexpr std::wstring_view letters = L"nrt";
    const size_t known = controls.find(c);
    if (known != std::wstring_view::npos) return {L'\\', letters[known]};
    return Formatted(L"\\u%04x", static_cast<unsigned>(c));
}

}  // namespace CorvixCtl
