#include "utilslib/logsettings.h"

#include <gmock/gmock.h>

#include <sstream>
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

/// Every setting; of the name its length and its first character.
std::string Describe(const LogSettings& settings) {
    std::ostringstream text;
    text << settings.pollTime << ' ' << settings.infoDetailLevel << ' ' << std::hex << settings.categories
         << ' ' << settings.options << std::dec << ' ' << settings.sizeLimitKilobytes << ' '
         << settings.fileName.size() << ' ' << (settings.fileName.empty() ? '-' : char(settings.fileName[0]));
    return text.str();
}

TEST_F(LogSettingsTest, AreReadFromTheRegistry) {
    ASSERT_FALSE(OpenLogSettingsKey());
    const auto read = [] { return Describe(LogSettings::Read(OpenLogSettingsKey())); };
    constexpr char defaults[] = "5000 0 f 0 0 0 -";
    EXPECT_EQ(read(), defaults);
    Set(L"LogParmsPollTime", L"250");
    Set(L"LogFileName", 5);
    EXPECT_EQ(read(), defaults) << "values of another type count as absent";
    Set(L"LogParmsPollTime", 250);
    Set(L"LogInfoDetailLevel", 4);
    Set(L"LogCategories", 0xF0);
    Set(L"LogOptions", 0x3F800000);
    Set(L"LogFileSizeLimit", 1024);
    Set(L"LogFileName", std::wstring(400, L'n'));
    EXPECT_EQ(read(), "250 4 ff 3f800000 1024 400 n");
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
    for (const size_t length : {1u, 80u, 81u, 400u}) {
        Set(L"LogParmsPollTime", 100);
        Set(L"LogInfoDetailLevel", 4);
        Set(L"LogCategories", 0x30);
        Set(L"LogOptions", 0x80000000);
        Set(L"LogFileSizeLimit", 7);
        Set(L"LogFileName", std::wstring(length, L'n'));
        SharedLogSettings first(Stem());
        first.Current(1, true);
        EXPECT_EQ(Describe(SharedLogSettings(Stem()).Current(2).settings),
                  "100 4 3f 80000000 7 " + std::to_string(length) + " n");
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
