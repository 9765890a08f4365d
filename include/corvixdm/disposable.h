/// \file disposable.h
/// The reference-counted base of every object that crosses the library's interface.
#pragma once

namespace KyUtils {

/// A reference-counted object. It is never deleted by who uses it, only given up with Dispose().
///
/// Every factory of the library returns an object that holds one reference, owned by the caller. An interface
/// derived from this one declares its own virtual destructor first; this one has none.
///
/// All four operations may be called from any thread.
class IDisposable {
public:
    /// Adds one reference. \return the new count.
    virtual long AddRef() = 0;

    /// \return the number of references at this moment; for tests and diagnostics only.
    virtual long GetRefCount() const = 0;

    /// Gives up one reference; the object destroys itself with the last one. \return the count that is left.
    virtual long Dispose() = 0;

    /// \return a text that names the object's class in log lines; the object's own, valid as long as it
    ///     lives.
    virtual const wchar_t* GetTypeName() = 0;

protected:
    ~IDisposable() = default;
};

}  // namespace KyUtils

namespace Corvix {
using KyUtils::IDisposable;
}
