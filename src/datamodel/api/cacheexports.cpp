// The exported factories of the caches, and what looks after those in the registry.
#include "corvixdm/cacheprovider.h"
#include "datamodel/caches/cachekeys.h"
#include "datamodel/caches/printdatacacheprovider.h"
#include "datamodel/caches/regcacheprovider.h"
#include "utilslib/boundary.h"

namespace {

using Corvix::ICacheProvider;
using KyUtils::Entry;

const KyUtils::LogSource logSource(L"CorvixDM");

/// The empty path is refused: it would be the root of the machine's registry.
template <class Work>
HRESULT BelowBaseKey(const wchar_t* rootPath, Work work) {
    const std::wstring basePath = Corvix::BaseKeyPath(rootPath);
    if (basePath.empty()) return E_FAIL;
    const LSTATUS status = work(basePath);
    return HRESULT_FROM_WIN32(status);
}

}  // namespace

ICacheProvider* CreateRegCacheProvider(const wchar_t* rootPath) {
    return Entry(logSource, "CreateRegCacheProvider",
                 [&]() -> ICacheProvider* { return Corvix::RegCacheProvider::Create(rootPath).Release(); });
}

ICacheProvider* CreateRegCacheProviderForDevice(const wchar_t* rootPath, const wchar_t* deviceName,
                                                unsigned lifespan) {
    return Entry(logSource, "CreateRegCacheProviderForDevice", [&]() -> ICacheProvider* {
        auto provider = Corvix::RegCacheProvider::Create(rootPath);
        provider->RememberDevice(deviceName ? deviceName : L"", lifespan);
        return provider.Release();
    });
}

ICacheProvider* CreatePrintDataCacheProvider(HANDLE printer) {
    return Entry(logSource, "CreatePrintDataCacheProvider", [&]() -> ICacheProvider* {
        return Corvix::PrintDataCacheProvider::Create(printer).Release();
    });
}

HRESULT ListRegCache(const wchar_t* rootPath, Corvix::RegCacheVisitor visit, void* context) {
    return Entry(logSource, "ListRegCache", [&] {
        if (!visit) return E_FAIL;
        return BelowBaseKey(rootPath, [&](const std::wstring& basePath) {
            return Corvix::VisitCachedValues(basePath, visit, context);
        });
    });
}

HRESULT ClearRegCache(const wchar_t* rootPath, unsigned* removed) {
    return Entry(logSource, "ClearRegCache", [&] {
        return BelowBaseKey(rootPath, [&](const std::wstring& basePath) {
            unsigned count = 0;
            const LSTATUS status = Corvix::RemoveCachedValues(basePath, count);
            if (removed && status == ERROR_SUCCESS) *removed = count;
            return status;
        });
    });
}

HRESULT CheckRegCacheAccess(const wchar_t* rootPath) {
    return Entry(logSource, "CheckRegCacheAccess", [&] {
        return BelowBaseKey(rootPath, [](const std::wstring& basePath) {
            KyUtils::RegistryKey key;
            return key.Create(HKEY_LOCAL_MACHINE, basePath.c_str(), KEY_ALL_ACCESS);
        });
    });
}
