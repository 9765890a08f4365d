/// Text helpers: the one conversion between UTF-16 and UTF-8, and comparisons without case.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace KyUtils {

/// Lone surrogates become U+FFFD.
std::string ToUtf8(std::wstring_view text);
/// Bytes that are not UTF-8 become U+FFFD.
std::wstring ToWide(std::string_view utf8);
/// Whether ToWide() loses nothing of the bytes.
bool IsUtf8(std::string_view bytes);
/// Takes bytes that are not UTF-8 for Latin-1, which is what old devices send.
std::wstring ToWideOrLatin1(std::string_view bytes);

/// Lower-cases character by character, by the invariant locale.
std::wstring ToLower(std::wstring_view text);
bool EqualsIgnoringCase(std::wstring_view left, std::wstring_view right);

/// The pieces between the separators, empty ones included; an empty text is one empty piece.
std::vector<std::wstring_view> Split(std::wstring_view text, wchar_t separator);

}  // namespace KyUtils
