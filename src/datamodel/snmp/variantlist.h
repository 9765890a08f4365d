/// The values of one multiple get.
#pragma once

#include <string>
#include <vector>

#include "utilslib/com.h"

namespace Corvix {

/// Owns as many VARIANTs as objects are asked for at once.
class VariantList {
public:
    explicit VariantList(size_t count) : values_(count) {
        for (VARIANT& value : values_)
            VariantInit(&value);
    }
    ~VariantList() {
        for (VARIANT& value : values_)
            VariantClear(&value);
    }
    VariantList(const VariantList&) = delete;
    VariantList& operator=(const VariantList&) = delete;

    VARIANT* Data() { return values_.data(); }
    unsigned Count() const { return static_cast<unsigned>(values_.size()); }

    /// \throws _com_error for a value that has no text.
    std::wstring Join() const {
        std::wstring text;
        for (const VARIANT& value : values_) {
            if (&value != values_.data()) text += separator;
            text += TextOf(value);
        }
        return text;
    }

private:
    static constexpr wchar_t separator = L',';

    static std::wstring TextOf(const VARIANT& value) {
        if (value.vt == VT_I4) return std::to_wstring(value.lVal);
        return std::wstring(KyUtils::Variant::ToText(value).Text());
    }

    std::vector<VARIANT> values_;
};

}  // namespace Corvix
