// The printer-data cache with the system's own spooler.
#include <windows.h>

#include <winspool.h>

#include <gmock/gmock.h>

#include <fstream>
#include <string>

#include "datamodel/caches/printdatacacheprovider.h"
#include "support/registrysandbox.h"
#include "utilslib/clock.h"

namespace Corvix {
namespace {

using KyUtils::Variant;

/// Only Wine keeps printers in the registry that a process sees, which here is the test's own.
bool PrintersLiveInThisProcess() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version");
}

/// A printer that prints to a file nobody names, with a driver that is made of empty files.
class TestPrinter {
public:
    TestPrinter() {
        wchar_t folder[MAX_PATH] = {};
        DWORD needed = 0;
        GetPrinterDriverDirectoryW(nullptr, nullptr, 1, reinterpret_cast<BYTE*>(folder), sizeof folder,
                                   &needed);
        file_ = std::wstring(folder) + L"\\corvixtest.drv";
        std::ofstream(std::string(file_.begin(), file_.end())) << "driver";
        wchar_t name[] = L"Corvix Test Driver";
        wchar_t environment[] = L"Windows x64";
        DRIVER_INFO_3W driver{};
        driver.cVersion = 3;
        driver.pName = name;
        driver.pEnvironment = environment;
        driver.pDriverPath = driver.pDataFile = driver.pConfigFile = file_.data();
        AddPrinterDriverExW(nullptr, 3, reinterpret_cast<BYTE*>(&driver),
                            APD_COPY_NEW_FILES | APD_COPY_FROM_DIRECTORY);
        wchar_t printerName[] = L"Corvix Test Printer";
        wchar_t port[] = L"FILE:";
        wchar_t processor[] = L"WinPrint";
        wchar_t dataType[] = L"RAW";
        PRINTER_INFO_2W printer{};
        printer.pPrinterName = printerName;
        printer.pPortName = port;
        printer.pDriverName = name;
        printer.pPrintProcessor = processor;
        printer.pDatatype = dataType;
        if (HANDLE added = AddPrinterW(nullptr, 2, reinterpret_cast<BYTE*>(&printer))) ClosePrinter(added);
        OpenPrinterW(printerName, &handle_, nullptr);
    }
    TestPrinter(const TestPrinter&) = delete;
    TestPrinter& operator=(const TestPrinter&) = delete;
    ~TestPrinter() {
        if (handle_) ClosePrinter(handle_);
        DeleteFileW(file_.c_str());
    }
    HANDLE Handle() const { return handle_; }

private:
    std::wstring file_;
    HANDLE handle_ = nullptr;
};

TEST(RealSpooler, KeepsTextsWithThePrinter) {
    if (!PrintersLiveInThisProcess()) GTEST_SKIP() << "a printer would be one of the whole machine";
    const CorvixTest::RegistrySandbox sandbox(HKEY_LOCAL_MACHINE);
    const TestPrinter printer;
    if (!printer.Handle()) GTEST_SKIP() << "no printer can be made here, error " << GetLastError();
    const DisposablePtr<DataMapSpec> map(DataMapSpec::CreateDataMapSpec(DataMapTypeEnum::OID));
    for (const wchar_t* name : {L"Model", L"Empty", L"Long", L"Binary"}) {
        map->AddDataItemSpec(name, OIDDataItemSpec::CreateOIDDataItemSpec(name, L"1.3", nullptr, false,
                                                                          nullptr, 600, nullptr));
    }
    ValueStore store;
    auto cache = PrintDataCacheProvider::Create(printer.Handle());
    cache->FillDataMapSpec(map.Get(), store);
    EXPECT_EQ(store.Count(), 0u) << "the printer has no such data yet";

    const Variant values[] = {Variant::FromText(L"\u00E9"), Variant::FromText(L""),
                              Variant::FromText(std::wstring(5000, L'x'))};
    const std::uint64_t now = *KyUtils::CurrentFileTime();
    const CachedValueMap records = {{L"Model", {values[0].Get(), now, 600}},
                                    {L"Empty", {values[1].Get(), now, 600}},
                                    {L"Long", {values[2].Get(), now, 600}}};
    EXPECT_EQ(cache->SetDataValues(&records), S_OK);
    BYTE bytes[] = {1, 2, 3};
    SetPrinterDataExW(printer.Handle(), L"UBidiData", L"Binary", REG_BINARY, bytes, sizeof bytes);

    cache = PrintDataCacheProvider::Create(printer.Handle());
    cache->FillDataMapSpec(map.Get(), store);
    EXPECT_EQ(store.Count(), 3u);
    for (const auto& [name, record] : records) {
        const StoredValue* kept = store.FindFresh(name);
        ASSERT_TRUE(kept) << name;
        EXPECT_STREQ(kept->value->bstrVal, record.value.bstrVal);
        EXPECT_EQ(kept->timeStamp, now);
    }
}

}  // namespace
}  // namespace Corvix
