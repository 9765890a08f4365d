/// The external monitor, as the log uses it.
#pragma once

#include <windows.h>

#include <wrl/client.h>

#include <atomic>
#include <cstdint>
#include <string>

#include "corvixdm/logmonitor.h"
#include "utilslib/handle.h"
#include "utilslib/logsettings.h"

namespace KyUtils {

/// Makes the monitor object that the settings name, and hands it lines. No lock is held while the object's
/// own code runs. Any thread.
class LogMonitor {
public:
    /// Takes over new settings. An object made by other ones is released.
    void Configure(const MonitorSettings& settings);
    /// Hands a line to the object, which is made now when that was not done yet. Where COM is not initialised
    /// on the calling thread the line is not handed on, and a later one tries again.
    void Line(const std::wstring& module, std::uint32_t flags, const std::wstring& text);

private:
    using Object = Microsoft::WRL::ComPtr<Corvix::ILogMonitor>;

    Object Obtain();
    static HRESULT Make(const MonitorSettings& settings, Object& object);

    std::atomic<bool> isWanted_{false};
    KernelMutex lock_;
    MonitorSettings settings_;
    bool isToBeMade_ = false;
    Object object_;
};

}  // namespace KyUtils
