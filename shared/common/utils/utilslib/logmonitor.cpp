#include "utilslib/logmonitor.h"

#include <objbase.h>

namespace KyUtils {
namespace {

thread_local bool isInMonitor = false;

/// Marks the thread while the monitor runs, so that lines logged by the monitor itself are not sent to it.
class MonitorCall {
public:
    MonitorCall() { isInMonitor = true; }
    MonitorCall(const MonitorCall&) = delete;
    MonitorCall& operator=(const MonitorCall&) = delete;
    ~MonitorCall() { isInMonitor = false; }
};

bool NameTheSameObject(const MonitorSettings& left, const MonitorSettings& right) {
    return left.classId == right.classId && left.flags == right.flags && left.parmFile == right.parmFile;
}

}  // namespace

void LogMonitor::Configure(const MonitorSettings& settings) {
    Object old;  // released after the lock
    const KernelLock lock(lock_);
    if (NameTheSameObject(settings_, settings)) return;
    settings_ = settings;
    isToBeMade_ = !settings_.classId.empty();
    isWanted_ = isToBeMade_;
    old.Swap(object_);
}

void LogMonitor::Line(const std::wstring& module, std::uint32_t flags, const std::wstring& text) {
    if (!isWanted_ || isInMonitor) return;
    const MonitorCall call;
    if (const Object object = Obtain()) object->Line(module.c_str(), flags, text.c_str());
}

LogMonitor::Object LogMonitor::Obtain() {
    MonitorSettings order;
    {
        const KernelLock lock(lock_);
        if (!isToBeMade_) return object_;
        // Only one thread makes the object; others go on without it meanwhile.
        isToBeMade_ = false;
        order = settings_;
    }
    Object made;
    const HRESULT result = Make(order, made);
    const KernelLock lock(lock_);
    // The settings may have changed while the object was made: then it is not the one wanted.
    if (NameTheSameObject(settings_, order)) {
        object_ = made;
        isToBeMade_ = result == CO_E_NOTINITIALIZED;
    }
    return made;
}

HRESULT LogMonitor::Make(const MonitorSettings& settings, Object& object) {
    CLSID classId;
    HRESULT result = CLSIDFromString(settings.classId.c_str(), &classId);
    if (FAILED(result)) return result;
    Object made;
    result = CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, Corvix::IID_ILogMonitor,
                              reinterpret_cast<void**>(made.GetAddressOf()));
    if (SUCCEEDED(result)) result = made->Start(settings.flags, settings.parmFile.c_str());
    if (SUCCEEDED(result)) object.Swap(made);
    return result;
}

}  // namespace KyUtils
