/// Single values of a registry key, and the names of the keys below it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "utilslib/registry.h"

namespace KyUtils {

/// A 32-bit value, or `absent` when the key has none of that type or is none.
std::uint32_t NumberValue(const RegistryKey& key, const wchar_t* name, std::uint32_t absent) noexcept;

/// A text value with its environment variables expanded, empty when the key has none of that type or is none.
std::wstring TextValue(const RegistryKey& key, const wchar_t* name);

/// Writes a text value. \param text is followed by a zero, which is written with it.
LSTATUS WriteText(const RegistryKey& key, const std::wstring& name, std::wstring_view text) noexcept;

std::vector<std::wstring> SubKeyNames(const RegistryKey& key);

/// Whether there is such a key below HKEY_LOCAL_MACHINE, with neither keys nor values in it.
bool IsEmptyKey(const std::wstring& path) noexcept;

/// A number that tells a key from those of other users and hives, the same in every process; 0 for none.
std::uint64_t KeyIdentity(const RegistryKey& key) noexcept;

}  // namespace KyUtils
