#include "utilslib/disposable.h"

#include <mutex>
#include <set>

#include "utilslib/logging.h"

namespace KyUtils {
namespace {

const LogSource logSource(L"CorvixDM");

/// Every live object of the process. What is left in it at process exit was never released.
class CDisposableSet {
public:
    static CDisposableSet& Instance() {
        static CDisposableSet instance;
        return instance;
    }

    void Add(IDisposable* object) {
        const std::lock_guard<std::mutex> lock(mutex_);
        objects_.insert(object);
    }

    void Remove(IDisposable* object) {
        const std::lock_guard<std::mutex> lock(mutex_);
        objects_.erase(object);
    }

    size_t Count() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return objects_.size();
    }

private:
    // Runs at process exit, or when the library is unloaded.
    ~CDisposableSet() {
        for (IDisposable* object : objects_)
            Report(object);
    }

    static void Report(IDisposable* object) {
        if (auto* disposable = dynamic_cast<CDisposable*>(object)) {
            logSource.Error(L"%ls (%p) remains in object set with ref count of %d",
                            disposable->TypeNameImpl(), static_cast<void*>(disposable),
                            static_cast<int>(disposable->RefCountImpl()));
        } else {
            logSource.Error(L"%p remains in object set but could not be cast as CDisposable*",
                            static_cast<void*>(object));
        }
    }

    std::mutex mutex_;
    std::set<IDisposable*> objects_;
};

/// Held while a name is made. One for all objects: names are asked for only while debug lines are on, and by the
/// report at process exit, when other statics are gone.
class NameLock {
public:
    NameLock() { AcquireSRWLockExclusive(&lock_); }
    ~NameLock() { ReleaseSRWLockExclusive(&lock_); }
    NameLock(const NameLock&) = delete;
    NameLock& operator=(const NameLock&) = delete;

private:
    static inline SRWLOCK lock_ = SRWLOCK_INIT;
};

}  // namespace

CDisposable::CDisposable() { CDisposableSet::Instance().Add(this); }

CDisposable::~CDisposable() { CDisposableSet::Instance().Remove(this); }

long CDisposable::AddRefImpl() {
    const long count = InterlockedIncrement(&refCount_);
    if (logSource.IsOn(LineFlag::Debug)) {
        logSource.Debug(L"%ls (%p) ref is %d", TypeNameImpl(), static_cast<void*>(this),
                        static_cast<int>(count));
    }
    return count;
}

long CDisposable::DisposeImpl() {
    // Ask for the name before the count falls: afterwards another thread may destroy the object.
    const bool isLogged = logSource.IsOn(LineFlag::Debug);
    const std::wstring name = isLogged ? TypeNameImpl() : L"";
    const long count = InterlockedDecrement(&refCount_);
    if (isLogged) {
        logSource.Debug(L"%ls (%p) ref is %d", name.c_str(), static_cast<void*>(this),
                        static_cast<int>(count));
    }
    // Exactly 0: one Dispose() too many gives -1 and must not destroy the object again.
    if (count == 0 && deleteSuppressed_ == 0) delete this;
    return count;
}

void CDisposable::SetDeleteSuppressed(unsigned char flag) { deleteSuppressed_ = flag; }

unsigned char CDisposable::IsDeleteSuppressed() const { return deleteSuppressed_; }

const char* CDisposable::ClassIdentification() const {
    return "<GetTypeName(): class identification disabled, refer to IDisposableImpl>";
}

const wchar_t* CDisposable::TypeNameImpl() {
    const NameLock lock;
    if (typeName_.empty()) {
        if (const char* name = ClassIdentification()) {
            for (; *name; ++name)
                typeName_ += static_cast<wchar_t>(static_cast<unsigned char>(*name));
        }
    }
    return typeName_.c_str();
}

long CDisposable::RefCountImpl() const { return refCount_; }

size_t LiveObjectCount() { return CDisposableSet::Instance().Count(); }

}  // namespace KyUtils
