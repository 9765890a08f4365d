#include "utilslib/logsettings.h"

#include <gmock/gmock.h>

#include <thread>

#include "support/process.h"
#include "support/registrysandbox.h"

namespace KyUtils {
namespace {

using CorvixTest::Process;
using CorvixTest::RegistrySandbox;

constexpr wchar_t settingsKey[] = L"Software\\Veyra\\Ky\\Logging";

class LogSettingsTest : public testing::Test {
protected:
    void Set(const wchar_t* name, DWORD number) { registry_.SetNumber(settingsKey, name, number); }
    void Set(const wchar_t* name, const std::wstring& text, DWORD type = REG_SZ) {
        registry_.SetText(settingsKey, name, text, type);
    }
    // A block and a mutex that no other test has.
    std::wstring Stem() const { return L"CorvixTest" + std::to_wstring(GetCurrentProcessId()); }

    RegistrySandbox registry_;
};

TEST_F(LogSettingsTest, HaveDefaultsWithoutAKey) {
    ASSERT_FALSE(OpenLogSettingsKey());
    const LogSettings settings = LogSettings::Read(OpenLogSettingsKey());
    EXPECT_EQ(settings.pollTime, 5000u);
    EXPECT_EQ(settings.infoDetailLevel, 0u);
    EXPECT_EQ(settings.categories, 15u);
    EXPECT_EQ(settings.options, 0u);
    EXPECT_EQ(settings.sizeLimitKilobytes, 0u);
    EXPECT_EQ(settings.fileName, L"");
}

TEST_F(LogSettingsTest, ReadEveryValue) {
    Set(L"LogParmsPollTime", 250);
    Set(L"LogInfoDetailLevel", 4);
    Set(L"LogCategories", 0xF0);
    Set(L"LogOptions", 0x3F800000);
    Set(L"LogFileSizeLimit", 1024);
    Set(L"LogFileName", std::wstring(400, L'n'));
    const LogSettings settings = LogSettings::Read(OpenLogSettingsKey());
    EXPECT_EQ(settings.pollTime, 250u);
    EXPECT_EQ(settings.infoDetailLevel, 4u);
    EXPECT_EQ(settings.categories, 0xFFu);
    EXPECT_EQ(settings.options, 0x3F800000u);
    EXPECT_EQ(settings.sizeLimitKilobytes, 1024u);
    EXPECT_EQ(settings.fileName, std::wstring(400, L'n'));
}

TEST_F(LogSettingsTest, TakeValuesOfAnotherTypeForAbsent) {
    Set(L"LogParmsPollTime", L"250");
    Set(L"LogFileName", 5);
    const LogSettings settings = LogSettings::Read(OpenLogSettingsKey());
    EXPECT_EQ(settings.pollTime, 5000u);
    EXPECT_EQ(settings.fileName, L"");
}

TEST_F(LogSettingsTest, ExpandTheFileName) {
    SetEnvironmentVariableW(L"CORVIX_TEST_FOLDER", L"C:\\logs");
    Set(L"LogFileName", L"%CORVIX_TEST_FOLDER%\\a.log", REG_EXPAND_SZ);
    EXPECT_EQ(LogSettings::Read(OpenLogSettingsKey()).fileName, L"C:\\logs\\a.log");
}

TEST_F(LogSettingsTest, AreKeptForThePollTimeAndNoLonger) {
    SharedLogSettings shared(Stem());
    Set(L"LogParmsPollTime", 100);
    Set(L"LogInfoDetailLevel", 1);
    EXPECT_EQ(shared.Current(5000).keptUntil, 5100u);
    Set(L"LogInfoDetailLevel", 2);
    EXPECT_EQ(shared.Current(5100).settings.infoDetailLevel, 1u);
    EXPECT_EQ(shared.Current(5100).keptUntil, 5100u) << "what is found in the block is no younger for that";
    const auto later = shared.Current(5101);
    EXPECT_EQ(later.settings.infoDetailLevel, 2u);
    EXPECT_EQ(later.keptUntil, 5201u);
    Set(L"LogInfoDetailLevel", 3);
    EXPECT_EQ(shared.Current(5102, true).settings.infoDetailLevel, 3u) << "unless they are wanted anew";
}

TEST_F(LogSettingsTest, AreWholeInTheBlock) {
    for (const size_t length : {0u, 1u, 80u, 81u, 400u}) {
        const std::wstring name(length, L'n');
        Set(L"LogParmsPollTime", 100);
        Set(L"LogInfoDetailLevel", 4);
        Set(L"LogCategories", 0x30);
        Set(L"LogOptions", 0x80000000);
        Set(L"LogFileSizeLimit", 7);
        Set(L"LogFileName", name);
        const SharedLogSettings first(Stem());
        SharedLogSettings second(Stem());
        second.Current(1, true);
        const LogSettings settings = SharedLogSettings(Stem()).Current(2).settings;
        EXPECT_EQ(settings.pollTime, 100u);
        EXPECT_EQ(settings.infoDetailLevel, 4u);
        EXPECT_EQ(settings.categories, 0x3Fu);
        EXPECT_EQ(settings.options, 0x80000000u);
        EXPECT_EQ(settings.sizeLimitKilobytes, 7u);
        EXPECT_EQ(settings.fileName, name) << length;
    }
}

TEST_F(LogSettingsTest, OfTheMonitorAreWholeInTheBlock) {
    for (const size_t length : {0u, 38u, 500u}) {
        Set(L"ExtMonitorCLSID", std::wstring(length, L'c'));
        Set(L"ExtMonitorFlags", 9);
        Set(L"ExtMonitorParmFile", std::wstring(length, L'p'));
        SharedMonitorSettings first(Stem());
        first.Current(1, true);
        const MonitorSettings settings = SharedMonitorSettings(Stem()).Current(2).settings;
        EXPECT_EQ(settings.classId, std::wstring(length, L'c'));
        EXPECT_EQ(settings.flags, 9u);
        EXPECT_EQ(settings.parmFile, std::wstring(length, L'p'));
    }
}

TEST_F(LogSettingsTest, AreSharedBetweenProcessesOfOneUser) {
    SharedLogSettings shared(Stem());
    const std::wstring detail = registry_.Path() + L" detail " + Stem();
    Set(L"LogParmsPollTime", 0x7FFFFFFF);
    Set(L"LogInfoDetailLevel", 3);
    shared.Current(GetTickCount64());
    Set(L"LogInfoDetailLevel", 7);
    EXPECT_EQ(Process(L"logprobe", detail).ExitCode(), 3u) << "the other process finds the block filled";
    shared.Current(GetTickCount64(), true);
    EXPECT_EQ(Process(L"logprobe", detail).ExitCode(), 7u);
}

TEST_F(LogSettingsTest, AreNotSharedBetweenUsers) {
    SharedLogSettings shared(Stem());
    Set(L"LogParmsPollTime", 0x7FFFFFFF);
    Set(L"LogInfoDetailLevel", 3);
    shared.Current(GetTickCount64());

    const std::wstring otherHive = registry_.Path() + L"\\Other";
    registry_.SetNumber((L"Other\\" + std::wstring(settingsKey)).c_str(), L"LogInfoDetailLevel", 5);
    EXPECT_EQ(Process(L"logprobe", otherHive + L" detail " + Stem()).ExitCode(), 5u);
    EXPECT_EQ(shared.Current(GetTickCount64()).settings.infoDetailLevel, 3u) << "nor is the block taken over";
}

TEST_F(LogSettingsTest, AreReadDirectlyWhileTheBlockIsLocked) {
    SharedLogSettings shared(Stem());
    Set(L"LogParmsPollTime", 100);
    Set(L"LogInfoDetailLevel", 1);
    shared.Current(5000);
    Set(L"LogInfoDetailLevel", 2);

    const KernelMutex mutex((Stem() + L"Lock").c_str());
    const KernelLock lock(mutex);
    ASSERT_TRUE(lock);
    // A mutex is had again by the thread that holds it: another one has to ask.
    std::thread([&shared] { EXPECT_EQ(shared.Current(5000).settings.infoDetailLevel, 2u); }).join();
}

TEST_F(LogSettingsTest, HaveABlockOfAFixedNameAndSize) {
    const SharedLogSettings shared(L"RegValues");
    const Handle mapping(OpenFileMappingW(FILE_MAP_READ, FALSE, L"RegValuesMappedFile"));
    const Handle mutex(OpenMutexW(SYNCHRONIZE, FALSE, L"RegValuesLock"));
    EXPECT_TRUE(mapping);
    EXPECT_TRUE(mutex);
    EXPECT_EQ(sizeof(LogSettingsBlock), 208u);
}

}  // namespace
}  // namespace KyUtils
