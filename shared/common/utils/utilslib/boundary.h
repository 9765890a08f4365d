/// Where the library's own exceptions become what its interface promises.
#pragma once

#include <new>

#include "utilslib/com.h"

namespace KyUtils {

/// For entry points that raise the library's COM error: running out of memory leaves as one, too.
template <class Function>
auto RaisingComErrors(Function function) -> decltype(function()) {
    try {
        return function();
    } catch (const std::bad_alloc&) {
        throw _com_error(E_OUTOFMEMORY);
    }
}

/// For entry points that never throw: an exception becomes its HRESULT.
template <class Function>
HRESULT NeverThrowing(Function function) noexcept {
    try {
        return function();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const _com_error& error) {
        return error.Error();
    }
}

}  // namespace KyUtils
