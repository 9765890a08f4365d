// The exported factories of the caches.
#include "corvixdm/cacheprovider.h"
#include "datamodel/caches/printdatacacheprovider.h"
#include "datamodel/caches/regcacheprovider.h"
#include "utilslib/boundary.h"
#include "utilslib/logging.h"

namespace {

using Corvix::ICacheProvider;

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

ICacheProvider* CreateRegCacheProvider(const wchar_t* rootPath) {
    const KyUtils::LogScope scope(logSource, "CreateRegCacheProvider");
    return KyUtils::RaisingComErrors(
        [&]() -> ICacheProvider* { return Corvix::RegCacheProvider::Create(rootPath).Release(); });
}

ICacheProvider* CreateRegCacheProviderForDevice(const wchar_t* rootPath, const wchar_t* deviceName,
                                                unsigned lifespan) {
    const KyUtils::LogScope scope(logSource, "CreateRegCacheProviderForDevice");
    return KyUtils::RaisingComErrors([&]() -> ICacheProvider* {
        auto provider = Corvix::RegCacheProvider::Create(rootPath);
        provider->RememberDevice(deviceName ? deviceName : L"", lifespan);
        return provider.Release();
    });
}

ICacheProvider* CreatePrintDataCacheProvider(HANDLE printer) {
    const KyUtils::LogScope scope(logSource, "CreatePrintDataCacheProvider");
    return KyUtils::RaisingComErrors(
        [&]() -> ICacheProvider* { return Corvix::PrintDataCacheProvider::Create(printer).Release(); });
}
