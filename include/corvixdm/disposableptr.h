/// \file disposableptr.h
/// Owns one reference to an IDisposable object.
#pragma once

#include <utility>

namespace Corvix {

/// An intrusive pointer: owns one reference to a `T` derived from IDisposable and gives it up when it goes.
/// Built from a raw pointer it *adopts* the reference that came with it, which is what every factory and
/// every out argument of the library hands over; Share() takes one more reference to an object that somebody
/// else owns. As thread-safe as a raw pointer: guard a shared instance, the object's count guards itself.
template <class T>
class DisposablePtr {
public:
    constexpr DisposablePtr() noexcept = default;
    constexpr DisposablePtr(std::nullptr_t) noexcept {}  // NOLINT(google-explicit-constructor)
    explicit DisposablePtr(T* adopted) noexcept : object_(adopted) {}
    DisposablePtr(const DisposablePtr& other) : object_(other.object_) {
        if (object_) object_->AddRef();
    }
    DisposablePtr(DisposablePtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    template <class U>
    DisposablePtr(DisposablePtr<U>&& other) noexcept : object_(other.Release()) {}  // NOLINT
    ~DisposablePtr() { Reset(); }

    DisposablePtr& operator=(DisposablePtr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }

    /// One more reference to an object that keeps its other owners; null gives null.
    static DisposablePtr Share(T* object) {
        if (object) object->AddRef();
        return DisposablePtr(object);
    }

    /// Gives up the reference now.
    void Reset() noexcept {
        if (T* object = std::exchange(object_, nullptr)) object->Dispose();
    }

    /// Hands the reference to the caller.
    [[nodiscard]] T* Release() noexcept { return std::exchange(object_, nullptr); }

    /// The place for an out argument that hands over a reference; what was held before is given up.
    [[nodiscard]] T** Receive() noexcept {
        Reset();
        return &object_;
    }

    T* Get() const noexcept { return object_; }
    T* operator->() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

private:
    T* object_ = nullptr;
};

}  // namespace Corvix
