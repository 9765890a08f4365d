/// Owners of COM and OLE Automation resources. Header-only, so that programs outside of the library use them, too.
#pragma once

#include <windows.h>

#include <comdef.h>
#include <oleauto.h>
#include <shlwapi.h>
#include <wrl/client.h>

#include <string>
#include <string_view>
#include <utility>

namespace KyUtils {

using Microsoft::WRL::ComPtr;

/// Raises the library's COM error for a failed result; passes every other result.
inline void ThrowIfFailed(HRESULT result) {
    if (FAILED(result)) throw _com_error(result);
}

/// VariantCopy() with the source that it does not change declared so; not every system header does.
inline HRESULT CopyVariant(VARIANT* target, const VARIANT& source) {
    return VariantCopy(target, const_cast<VARIANT*>(&source));
}

/// The text of a VT_BSTR with a zero behind it, empty for every other type.
inline std::wstring_view TextOf(const VARIANT& value) noexcept {
    if (value.vt != VT_BSTR || !value.bstrVal) return L"";
    return {value.bstrVal, SysStringLen(value.bstrVal)};
}

/// Owns one BSTR, which may be null.
class Bstr {
public:
    Bstr() noexcept = default;
    /// A copy of the text. \throws _com_error E_OUTOFMEMORY.
    explicit Bstr(std::wstring_view text)
        : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {
        if (!text_) throw _com_error(E_OUTOFMEMORY);
    }
    Bstr(Bstr&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
    Bstr& operator=(Bstr&& other) noexcept {
        std::swap(text_, other.text_);
        return *this;
    }
    ~Bstr() { SysFreeString(text_); }

    [[nodiscard]] BSTR* Receive() noexcept {
        SysFreeString(std::exchange(text_, nullptr));
        return &text_;
    }
    [[nodiscard]] BSTR Release() noexcept { return std::exchange(text_, nullptr); }
    BSTR Get() const noexcept { return text_; }
    explicit operator bool() const noexcept { return text_ != nullptr; }
    std::wstring_view View() const noexcept {
        return text_ ? std::wstring_view(text_, SysStringLen(text_)) : std::wstring_view();
    }

private:
    BSTR text_ = nullptr;
};

/// Owns one VARIANT.
class Variant {
public:
    Variant() noexcept { VariantInit(&value_); }
    ~Variant() { VariantClear(&value_); }
    Variant(Variant&& other) noexcept : value_(other.Release()) {}
    Variant& operator=(Variant&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    /// \throws _com_error with the result of a failed copy.
    static Variant Copy(const VARIANT& source) {
        Variant copy;
        ThrowIfFailed(CopyVariant(&copy.value_, source));
        return copy;
    }
    static Variant Adopt(VARIANT value) noexcept {
        Variant variant;
        variant.value_ = value;
        return variant;
    }
    static Variant FromText(std::wstring_view text) {
        Variant variant;
        variant.value_.bstrVal = Bstr(text).Release();
        variant.value_.vt = VT_BSTR;
        return variant;
    }
    /// The value as VT_BSTR. \throws _com_error where a value of its type has no text.
    static Variant ToText(const VARIANT& source) {
        Variant text;
        ThrowIfFailed(VariantChangeType(&text.value_, const_cast<VARIANT*>(&source), 0, VT_BSTR));
        return text;
    }
    static Variant FromI4(long number) noexcept {
        Variant variant;
        variant.value_.vt = VT_I4;
        variant.value_.lVal = number;
        return variant;
    }

    /// The place for an out argument; what was held before is cleared.
    [[nodiscard]] VARIANT* Receive() noexcept {
        VariantClear(&value_);
        return &value_;
    }
    /// Hands the value to the caller.
    [[nodiscard]] VARIANT Release() noexcept {
        const VARIANT value = value_;
        VariantInit(&value_);
        return value;
    }
    const VARIANT& Get() const noexcept { return value_; }
    const VARIANT* operator->() const noexcept { return &value_; }
    std::wstring_view Text() const noexcept { return TextOf(value_); }

private:
    VARIANT value_;
};

/// A stream over a copy of the bytes; null when memory runs out.
inline ComPtr<IStream> StreamOver(std::string_view bytes) {
    ComPtr<IStream> stream;
    stream.Attach(
        SHCreateMemStream(reinterpret_cast<const BYTE*>(bytes.data()), static_cast<UINT>(bytes.size())));
    return stream;
}

/// A COM apartment for the calling thread, left again where it was entered.
class ComApartment {
public:
    ComApartment() noexcept : status_(CoInitialize(nullptr)) {}
    /// The same, with the outcome in a LogSource.
    template <class Log>
    explicit ComApartment(const Log& log) noexcept : ComApartment() {
        if (status_ == S_OK) {
            log.Debug(L"CoInitialize Passed");
        } else {
            log.Debug(L"CoInitialize returned %x", static_cast<unsigned>(status_));
        }
    }
    ~ComApartment() {
        if (SUCCEEDED(status_)) CoUninitialize();
    }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

private:
    HRESULT status_;
};

/// An apartment that is left again whatever entering it returned. A mode conflict then takes one
/// initialisation from the thread; the text entry point has always behaved so, and its callers count on it.
class UncheckedComApartment {
public:
    UncheckedComApartment() noexcept { (void)CoInitialize(nullptr); }
    ~UncheckedComApartment() { CoUninitialize(); }
    UncheckedComApartment(const UncheckedComApartment&) = delete;
    UncheckedComApartment& operator=(const UncheckedComApartment&) = delete;
};

}  // namespace KyUtils
