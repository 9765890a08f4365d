/// Translates exceptions at the public interface.
#pragma once

#include <new>

#include "utilslib/com.h"
#include "utilslib/logging.h"

namespace KyUtils {

/// For code that may raise the library's COM error: running out of memory leaves as one, too.
template <class Function>
auto RaisingComErrors(Function function) -> decltype(function()) {
    try {
        return function();
    } catch (const std::bad_alloc&) {
        throw _com_error(E_OUTOFMEMORY);
    }
}

/// For code that never throws: an exception becomes its HRESULT.
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

/// The body of a public function that may raise the library's COM error: its scope in the log around its boundary.
template <class Function>
auto Entry(const LogSource& log, const char* name, Function function) -> decltype(function()) {
    const LogScope scope(log, name);
    return RaisingComErrors(function);
}

/// The same for a public function that never throws.
template <class Function>
HRESULT NoThrowEntry(const LogSource& log, const char* name, Function function) noexcept {
    const LogScope scope(log, name);
    return NeverThrowing(function);
}

}  // namespace KyUtils
