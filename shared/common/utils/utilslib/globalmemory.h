/// Owner of a block of the system's global memory.
#pragma once

#include <windows.h>

#include <new>

namespace KyUtils {

/// Owns one fixed block.
class GlobalMemory {
public:
    /// \throws std::bad_alloc.
    explicit GlobalMemory(size_t bytes) : memory_(GlobalAlloc(GMEM_FIXED, bytes)) {
        if (!memory_) throw std::bad_alloc();
    }
    ~GlobalMemory() { GlobalFree(memory_); }
    GlobalMemory(const GlobalMemory&) = delete;
    GlobalMemory& operator=(const GlobalMemory&) = delete;

    void* Get() const noexcept { return memory_; }

private:
    HGLOBAL memory_;
};

}  // namespace KyUtils
