// What the registry cache adds to the registry: figure cache.registry.ratio.
#include <windows.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "datamodel/caches/regcacheprovider.h"
#include "support/figure.h"
#include "support/registrysandbox.h"
#include "utilslib/clock.h"

namespace {

using Corvix::CachedValueMap;
using Corvix::DataMapSpec;
using Corvix::DisposablePtr;
using Corvix::OIDDataItemSpec;
using KyUtils::Variant;

constexpr int valueCount = 1'000;
constexpr unsigned aDay = 864'000;

[[noreturn]] void Abort(const char* what) {
    std::fputs(what, stderr);
    std::exit(1);
}

/// The values of a map whose items are all known, every other one a text.
struct Fixture {
    std::vector<Variant> values;
    CachedValueMap records;
    DisposablePtr<DataMapSpec> map{DataMapSpec::CreateDataMapSpec(Corvix::DataMapTypeEnum::OID)};

    Fixture() {
        const auto now = KyUtils::CurrentFileTime().value_or(0);
        for (int i = 0; i < valueCount; ++i) {
            const std::wstring name = L"Supplies.Marker." + std::to_wstring(i);
            values.push_back(i % 2 ? Variant::FromI4(i) : Variant::FromText(L"Black toner cartridge"));
            records[name] = {values.back().Get(), now, aDay};
            map->AddDataItemSpec(name.c_str(),
                                 OIDDataItemSpec::CreateOIDDataItemSpec(name.c_str(), L"1.3", nullptr, false,
                                                                        nullptr, aDay, nullptr));
        }
    }
};

void WriteBackAndPopulate(const Fixture& fixture) {
    const auto provider = Corvix::RegCacheProvider::Create(L"Software\\Bench\\Ours");
    provider->SetKeys(L"Device", L"OID");
    if (provider->SetDataValues(&fixture.records) != S_OK) Abort("not written\n");
    Corvix::ValueStore store;
    provider->PopulateFromRegistry(fixture.map.Get(), store);
    if (store.Count() != valueCount) Abort("not all values were loaded\n");
}

void WriteBare(HKEY key, const Fixture& fixture) {
    const wchar_t stamp[] = L"133000000000000000";
    for (const auto& [name, record] : fixture.records) {
        const bool isText = record.value.vt == VT_BSTR;
        const void* data = isText ? static_cast<const void*>(record.value.bstrVal) : &record.value.lVal;
        const DWORD bytes = isText ? SysStringByteLen(record.value.bstrVal) + 2 : 4;
        RegSetValueExW(key, name.c_str(), 0, isText ? REG_SZ : REG_DWORD, static_cast<const BYTE*>(data),
                       bytes);
        RegSetValueExW(key, (name + L".Expires").c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(stamp),
                       sizeof stamp);
    }
}

int ReadBare(HKEY key) {
    DWORD count = 0;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count, nullptr, nullptr,
                     nullptr, nullptr);
    for (DWORD i = 0; i < count; ++i) {
        wchar_t name[256];
        BYTE data[256];
        DWORD nameChars = 256;
        DWORD bytes = sizeof data;
        DWORD type = 0;
        RegEnumValueW(key, i, name, &nameChars, nullptr, &type, data, &bytes);
    }
    return static_cast<int>(count);
}

void BareRegistryCalls(const Fixture& fixture) {
    const wchar_t path[] = L"Software\\Bench\\Bare\\Device\\OID";
    KyUtils::RegistryKey key;
    if (key.Create(HKEY_LOCAL_MACHINE, path, KEY_ALL_ACCESS) != ERROR_SUCCESS) Abort("no key\n");
    WriteBare(key.Get(), fixture);
    if (key.Open(HKEY_LOCAL_MACHINE, path, KEY_READ) != ERROR_SUCCESS) Abort("no key\n");
    if (ReadBare(key.Get()) != 2 * valueCount) Abort("not all values were written\n");
}

}  // namespace

int wmain() {
    const CorvixTest::RegistrySandbox sandbox(HKEY_LOCAL_MACHINE);
    const Fixture fixture;
    const double ratio = CorvixBench::MedianOf(9, [&] {
        const double bare = CorvixBench::SecondsOf([&] { BareRegistryCalls(fixture); });
        return CorvixBench::SecondsOf([&] { WriteBackAndPopulate(fixture); }) / bare;
    });
    CorvixBench::PrintFigure("cache.registry.ratio", ratio, "ratio");
    return 0;
}
