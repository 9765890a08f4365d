#include "utilslib/disposable.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <regex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "corvixdm/disposableptr.h"
#include "support/logsandbox.h"
#include "support/process.h"

namespace KyUtils {
namespace {

using CorvixTest::Process;
using testing::AllOf;
using testing::Contains;
using testing::EndsWith;
using testing::StartsWith;

class Probe : public IDisposableImpl {
public:
    explicit Probe(int& destroyed) : destroyed_(destroyed) {}
    ~Probe() override { ++destroyed_; }

private:
    int& destroyed_;
};

TEST(Disposable, IsDestroyedWithItsLastReference) {
    int destroyed = 0;
    auto* probe = new Probe(destroyed);
    EXPECT_EQ(LiveObjectCount(), 1u);
    EXPECT_EQ(probe->GetRefCount(), 0);
    EXPECT_EQ(probe->AddRef(), 1);
    EXPECT_EQ(probe->AddRef(), 2);
    EXPECT_EQ(probe->Dispose(), 1);
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(probe->Dispose(), 0);
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(LiveObjectCount(), 0u);
}

TEST(Disposable, SurvivesCountZeroWhileDeletionIsSuppressed) {
    int destroyed = 0;
    auto* probe = new Probe(destroyed);
    probe->SetDeleteSuppressed(1);
    EXPECT_NE(probe->IsDeleteSuppressed(), 0);
    probe->AddRef();
    EXPECT_EQ(probe->Dispose(), 0);
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(probe->Dispose(), -1) << "one Dispose too many is told, and destroys nothing";
    EXPECT_EQ(destroyed, 0);
    probe->SetDeleteSuppressed(0);
    probe->AddRef();
    probe->AddRef();
    probe->Dispose();
    EXPECT_EQ(destroyed, 1);
}

TEST(Disposable, NamesItsClassToSeveralThreadsAtOnce) {
    for (int round = 0; round < 500; ++round) {
        int destroyed = 0;
        auto* probe = new Probe(destroyed);
        std::array<std::wstring, 3> names;
        std::vector<std::thread> threads;
        std::atomic<size_t> arrived{0};
        for (std::wstring& name : names) {
            threads.emplace_back([&] {
                ++arrived;
                while (arrived < names.size())
                    std::this_thread::yield();
                name = probe->GetTypeName();
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        for (const std::wstring& name : names)
            ASSERT_EQ(name, L"<GetTypeName(): class identification disabled, refer to IDisposableImpl>");
        probe->AddRef();
        probe->Dispose();
    }
}

/// Whoever asks it for its name must hold a reference.
class NamedProbe : public IDisposableImpl {
public:
    explicit NamedProbe(long& countWhenNamed) : countWhenNamed_(countWhenNamed) {}

private:
    const char* ClassIdentification() const override {
        countWhenNamed_ = GetRefCount();
        return "Named";
    }
    long& countWhenNamed_;
};

TEST(Disposable, LogsItsCount) {
    const CorvixTest::LogSandbox log;
    long countWhenNamed = 0;
    auto* probe = new NamedProbe(countWhenNamed);
    probe->AddRef();
    probe->AddRef();
    log.Use(L"LogCategories", 0x20);
    probe->Dispose();
    EXPECT_EQ(countWhenNamed, 2) << "given up, it may be gone: another thread holds the other reference";
    probe->AddRef();
    probe->Dispose();
    wchar_t address[32];
    swprintf(address, std::size(address), L"%p", static_cast<void*>(probe));
    probe->Dispose();
    const std::wstring begin = std::wstring(L"(DB) Named (") + address + L") ref is ";
    EXPECT_THAT(log.Lines(), testing::ElementsAre(begin + L"1", begin + L"2", begin + L"1", begin + L"0"));
}

TEST(DisposablePtr, AdoptsSharesAndGivesUp) {
    int destroyed = 0;
    {
        auto first = Corvix::DisposablePtr<Probe>::Share(new Probe(destroyed));
        Corvix::DisposablePtr<Probe> second = first;
        EXPECT_EQ(first->GetRefCount(), 2);
        Corvix::DisposablePtr<IDisposable> base = std::move(second);
        EXPECT_FALSE(second);
        first.Reset();
        EXPECT_EQ(base->GetRefCount(), 1);
        *base.Receive() = new Probe(destroyed);
        EXPECT_EQ(destroyed, 1) << "receiving gives up what was held";
        base->AddRef();
    }
    EXPECT_EQ(destroyed, 2);
}

// ---- the report of objects that are alive when the process ends, as it comes from the library itself

std::ptrdiff_t CountReports(const std::vector<std::wstring>& lines) {
    const std::wregex report(
        L"\\(##\\) <GetTypeName\\(\\): class identification disabled, refer to IDisposableImpl> \\(.+\\) "
        L"remains in object set with ref count of 1");
    return std::count_if(lines.begin(), lines.end(),
                         [&report](const std::wstring& line) { return std::regex_match(line, report); });
}

TEST(LiveObjects, AreReportedOnceEachAtProcessExit) {
    const std::tuple<const wchar_t*, int, DWORD> cases[] = {
        {L" 1 0", 0, 0}, {L" 1 1", 1, 0}, {L" 3 1", 1, 0}, {L" 3 3", 3, 0}, {L" 1 1", 1, 0xFF}};
    for (const auto& [madeAndLeaked, leaked, categories] : cases) {
        const CorvixTest::LogSandbox log;
        log.Use(L"LogCategories", categories);
        EXPECT_EQ(Process(L"leakprobe", log.Registry().Path() + madeAndLeaked).ExitCode(), 0u);
        EXPECT_EQ(CountReports(log.Lines()), leaked) << madeAndLeaked;
    }
}

TEST(LiveObjects, AreReportedByTheLibraryInItsOwnName) {
    const CorvixTest::LogSandbox log;
    EXPECT_EQ(Process(L"leakprobe", log.Registry().Path() + L" 1 1").ExitCode(), 0u);
    const std::vector<std::wstring> lines = log.AllLines();
    EXPECT_THAT(lines, Contains(AllOf(StartsWith(L"Module File Name: "), EndsWith(L"corvixdm64.dll"))));
    EXPECT_THAT(lines, Contains(AllOf(StartsWith(L"Command Line: "), EndsWith(L" 1 1"))));
    EXPECT_THAT(lines, Contains(L"File Version: 1.0.0.0"));
}

}  // namespace
}  // namespace KyUtils
