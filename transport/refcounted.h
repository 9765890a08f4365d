/// \file refcounted.h
/// What a transport object needs to be handed to the library: the reference count of IDisposable.
#pragma once

#include <atomic>
#include <utility>

#include "corvixdm/disposable.h"
#include "corvixdm/disposableptr.h"

namespace CorvixTransport {

/// Implements IDisposable for an object that implements `Interface`, such as Corvix::HTTPResponse:
///
///     class CannedResponse final : public RefCounted<Corvix::HTTPResponse> { ... };
///
/// A new object holds the one reference of whoever made it. All four operations may be called from any
/// thread.
template <class Interface>
class RefCounted : public Interface {
public:
    RefCounted(const RefCounted&) = delete;
    RefCounted& operator=(const RefCounted&) = delete;

    long AddRef() override { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }

    long GetRefCount() const override { return references_.load(std::memory_order_relaxed); }

    long Dispose() override {
        /// What other threads did to the object has to be seen by the one that destroys it.
        const long left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) delete this;
        return left;
    }

    const wchar_t* GetTypeName() override { return L"CorvixTransport object"; }

protected:
    RefCounted() = default;
    ~RefCounted() override = default;

private:
    std::atomic<long> references_{1};
};

/// Makes an object derived from RefCounted and owns its first reference.
template <class T, class... Arguments>
Corvix::DisposablePtr<T> MakeRefCounted(Arguments&&... arguments) {
    return Corvix::DisposablePtr<T>(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace CorvixTransport
