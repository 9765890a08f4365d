/// A system library that is loaded at run time.
#pragma once

#include <windows.h>

#include <utility>

namespace KyUtils {

/// Owns one loaded module, which may be none.
class Module {
public:
    /// Loads a library from the system folder, and from nowhere else.
    static Module FromSystemFolder(const wchar_t* name) noexcept {
        return Module(LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
    }
    Module(Module&& other) noexcept : module_(std::exchange(other.module_, nullptr)) {}
    Module& operator=(Module&&) = delete;
    ~Module() {
        if (module_) FreeLibrary(module_);
    }

    /// The exported function of that name, or null.
    template <class Function>
    Function Find(const char* name) const noexcept {
        return module_ ? reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module_, name)))
                       : nullptr;
    }

private:
    explicit Module(HMODULE module) noexcept : module_(module) {}
    HMODULE module_;
};

}  // namespace KyUtils
