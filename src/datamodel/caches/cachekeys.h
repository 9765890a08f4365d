/// The registry keys of caches: base key, device, protocol of the data map.
#pragma once

#include <windows.h>

#include <string>

#include "corvixdm/cacheprovider.h"
#include "datamodel/caches/cachedvalues.h"
#include "utilslib/registry.h"

namespace Corvix {

/// The base key below HKEY_LOCAL_MACHINE without backslashes around it; empty for null.
std::wstring BaseKeyPath(const wchar_t* rootPath);

/// The key of one device's data map. Empty parts are left out.
std::wstring MapKeyPath(const std::wstring& basePath, const std::wstring& device,
                        const std::wstring& protocol);

/// One part of a key path made of any text: what a key cannot hold is written as "%" and two hexadecimal
/// digits, and a part longer than 255 characters ends in a digest of the whole. Different texts give
/// different parts, for a device's values must never turn up under another device's key.
std::wstring KeyPart(const std::wstring& text);

/// All values of a key. A value that another process changed to a longer one meanwhile is passed over.
void LoadValues(const KyUtils::RegistryKey& key, CachedValues& values);

/// What ListRegCache() and ClearRegCache() do below a base key, which is not empty.
/// \return the registry's error code. A base key that does not exist counts as an empty cache.
LSTATUS VisitCachedValues(const std::wstring& basePath, RegCacheVisitor visit, void* context);
LSTATUS RemoveCachedValues(const std::wstring& basePath, unsigned& removed);

}  // namespace Corvix
