#include "corvixdm/logmonitor.h"

#include <gmock/gmock.h>
#include <objbase.h>

#include <vector>

#include "support/logsandbox.h"
#include "utilslib/com.h"

namespace KyUtils {
namespace {

using testing::ElementsAre;

const LogSource logSource(L"Monitored");

constexpr wchar_t classText[] = L"{0D7D6F3E-8C3A-4B57-9E1D-2B6F0C9A4E11}";
constexpr CLSID classId = {0x0d7d6f3e, 0x8c3a, 0x4b57, {0x9e, 0x1d, 0x2b, 0x6f, 0x0c, 0x9a, 0x4e, 0x11}};

CORVIXDM_COM_INTERFACES_BEGIN
// Answers for its own interface; lives on the test's stack.
template <class Interface>
class OnStack : public Interface {
public:
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** object) override {
        if (wanted != IID_IUnknown && wanted != own_) return E_NOINTERFACE;
        AddRef();
        *object = static_cast<Interface*>(this);
        return S_OK;
    }

    ULONG references = 0;

protected:
    explicit OnStack(const IID& own) : own_(own) {}
    ~OnStack() = default;

private:
    IID own_;
};
CORVIXDM_COM_INTERFACES_END

class Monitor final : public OnStack<Corvix::ILogMonitor> {
public:
    Monitor() : OnStack(Corvix::IID_ILogMonitor) {}

    HRESULT STDMETHODCALLTYPE Start(DWORD flags, const wchar_t* parmFile) override {
        calls.push_back(L"start " + std::to_wstring(flags) + L" " + parmFile);
        return startResult;
    }
    HRESULT STDMETHODCALLTYPE Line(const wchar_t* module, DWORD flags, const wchar_t* text) override {
        calls.push_back(module + (L" " + std::to_wstring(flags)) + L" " + text);
        logSource.Error(L"logged by the monitor");
        return S_OK;
    }

    HRESULT startResult = S_OK;
    std::vector<std::wstring> calls;
};

class Factory final : public OnStack<IClassFactory> {
public:
    explicit Factory(Monitor& monitor) : OnStack(IID_IClassFactory), monitor_(monitor) {
        CoRegisterClassObject(classId, this, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie_);
    }
    ~Factory() { CoRevokeClassObject(cookie_); }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID wanted, void** object) override {
        ++created;
        return monitor_.QueryInterface(wanted, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

    int created = 0;

private:
    Monitor& monitor_;
    DWORD cookie_ = 0;
};

class LogMonitorTest : public testing::Test {
protected:
    void SwitchOn() {
        log_.SetNumber(L"ExtMonitorFlags", 6);
        log_.SetText(L"ExtMonitorParmFile", L"parms.txt");
        log_.Use(L"ExtMonitorCLSID", classText);
    }

    ComApartment apartment_;
    Monitor monitor_;
    Factory factory_{monitor_};
    CorvixTest::LogSandbox log_;
};

TEST_F(LogMonitorTest, GetsEveryLineThatIsWritten) {
    SwitchOn();
    logSource.Error(L"one");
    logSource.Debug(L"switched off");
    logSource.Warning(L"two");
    EXPECT_THAT(monitor_.calls, ElementsAre(L"start 6 parms.txt", L"Monitored 128 one", L"Monitored 64 two"));
    EXPECT_THAT(log_.Lines(), ElementsAre(L"(##) one", L"(##) logged by the monitor", L"(WN) two",
                                          L"(##) logged by the monitor"));
    EXPECT_EQ(factory_.created, 1);
}

TEST_F(LogMonitorTest, IsReleasedWhenTheSettingsNameItNoLonger) {
    SwitchOn();
    logSource.Error(L"one");
    EXPECT_EQ(monitor_.references, 1u);
    log_.Use(L"ExtMonitorCLSID", L"");
    EXPECT_EQ(monitor_.references, 0u);
    logSource.Error(L"two");
    EXPECT_EQ(monitor_.calls.size(), 2u);
}

TEST_F(LogMonitorTest, IsGivenUpWhenItDoesNotStart) {
    monitor_.startResult = E_FAIL;
    SwitchOn();
    logSource.Error(L"one");
    logSource.Error(L"two");
    EXPECT_THAT(monitor_.calls, ElementsAre(L"start 6 parms.txt"));
    EXPECT_EQ(monitor_.references, 0u);
    EXPECT_THAT(log_.Lines(), ElementsAre(L"(##) one", L"(##) two"));
}

TEST_F(LogMonitorTest, OfAClassThatDoesNotExistIsNoHindrance) {
    for (const wchar_t* name : {L"{11111111-2222-3333-4444-555555555555}", L"no class id"}) {
        log_.Use(L"ExtMonitorCLSID", name);
        logSource.Error(L"one");
    }
    EXPECT_THAT(log_.Lines(), ElementsAre(L"(##) one", L"(##) one"));
}

TEST(LogMonitorWithoutCom, ComesWithTheFirstLineAfterComIsThere) {
    Monitor monitor;
    const CorvixTest::LogSandbox log;
    log.Use(L"ExtMonitorCLSID", classText);
    logSource.Error(L"too early");
    const ComApartment apartment;
    const Factory factory(monitor);
    logSource.Error(L"in time");
    log.Use(L"ExtMonitorCLSID", L"");
    EXPECT_THAT(monitor.calls, ElementsAre(L"start 0 ", L"Monitored 128 in time"));
}

}  // namespace
}  // namespace KyUtils
