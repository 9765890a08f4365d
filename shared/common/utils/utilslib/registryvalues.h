/// Reading single values of a registry key.
#pragma once

#include <cstdint>
#include <string>

#include "utilslib/registry.h"

namespace KyUtils {

/// A 32-bit value, or `absent` when the key has none of that type or is none.
std::uint32_t NumberValue(const RegistryKey& key, const wchar_t* name, std::uint32_t absent) noexcept;

/// A text value with its environment variables expanded, empty when the key has none of that type or is none.
std::wstring TextValue(const RegistryKey& key, const wchar_t* name);

/// A number that tells a key from those of other users and hives, the same in every process; 0 for none.
std::uint64_t KeyIdentity(const RegistryKey& key) noexcept;

}  // namespace KyUtils
