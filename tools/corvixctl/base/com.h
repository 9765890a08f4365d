// Owners of what COM hands out.
#pragma once

#include <windows.h>

#include <oleauto.h>
#include <wrl/client.h>

#include <string>
#include <string_view>
#include <utility>

namespace CorvixCtl {

using Microsoft::WRL::ComPtr;

class ComApartment {
public:
    ComApartment() : status_(CoInitialize(nullptr)) {}
    ~ComApartment() {
        if (SUCCEEDED(status_)) CoUninitialize();
    }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

private:
    HRESULT status_;
};

class Bstr {
public:
    Bstr() = default;
    explicit Bstr(std::wstring_view text)
        : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
    ~Bstr() { SysFreeString(text_); }
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;

    BSTR Get() const { return text_; }
    BSTR* Receive() {
        SysFreeString(std::exchange(text_, nullptr));
        return &text_;
    }
    std::wstring_view View() const {
        return text_ ? std::wstring_view(text_, SysStringLen(text_)) : std::wstring_view();
    }

private:
    BSTR text_ = nullptr;
};

class Variant {
public:
    Variant() { VariantInit(&value_); }
    explicit Variant(VARIANT adopted) : value_(adopted) {}
    ~Variant() { VariantClear(&value_); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;

    const VARIANT& Get() const { return value_; }
    VARIANT* Receive() {
        VariantClear(&value_);
        return &value_;
    }

private:
    VARIANT value_;
};

}  // namespace CorvixCtl
