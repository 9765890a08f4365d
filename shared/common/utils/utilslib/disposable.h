/// The one implementation of reference counting, and the set of the objects that are alive.
#pragma once

#include <windows.h>

#include <string>

#include "corvixdm/disposable.h"

namespace KyUtils {

/// Counts references; starts at 0, so that a new object belongs to whoever calls AddRef first. Counting may
/// be done from any thread, everything else by the owner.
class CDisposable : public virtual IDisposable {
public:
    CDisposable(const CDisposable&) = delete;
    CDisposable& operator=(const CDisposable&) = delete;

    /// \return the new count.
    virtual long AddRefImpl();
    /// Destroys the object when the count falls from 1 to 0, unless that is suppressed.
    /// \return the count after the decrement.
    virtual long DisposeImpl();
    /// While the flag is non-zero a count of 0 does not destroy the object.
    virtual void SetDeleteSuppressed(unsigned char flag);
    virtual unsigned char IsDeleteSuppressed() const;

    /// The name that log lines show, asked of the class once and then kept.
    const wchar_t* TypeNameImpl();
    long RefCountImpl() const;

protected:
    CDisposable();
    /// Names the class.
    virtual const char* ClassIdentification() const;
    virtual ~CDisposable();

private:
    volatile LONG refCount_ = 0;
    unsigned char deleteSuppressed_ = 0;
    std::wstring typeName_;
};

/// Joins the counting to an exported interface: `class FooImpl : public Foo, public IDisposableImpl`.
class IDisposableImpl : public CDisposable {
public:
    long AddRef() override { return AddRefImpl(); }
    long GetRefCount() const override { return RefCountImpl(); }
    long Dispose() override { return DisposeImpl(); }
    const wchar_t* GetTypeName() override { return TypeNameImpl(); }
};

/// The number of CDisposable objects alive in this process image.
size_t LiveObjectCount();

}  // namespace KyUtils
