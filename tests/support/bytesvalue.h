// A value of bytes.
#pragma once

#include <algorithm>
#include <vector>

#include "utilslib/com.h"

namespace CorvixTest {

inline KyUtils::Variant BytesValue(const std::vector<unsigned char>& bytes) {
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_ARRAY | VT_UI1;
    value.parray = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), static_cast<unsigned char*>(value.parray->pvData));
    return KyUtils::Variant::Adopt(value);
}

}  // namespace CorvixTest
