/// A small block of memory that the processes of a logon session share by name.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "utilslib/handle.h"

namespace KyUtils {

/// What every block of settings begins with. A new block is all zeros, hence neither good nor anybody's.
struct SharedBlockHead {
    std::uint64_t origin;     // KeyIdentity() of the key that the block was filled from
    std::uint64_t keptUntil;  // the tick count up to which the content is good
    std::uint32_t size;       // of the whole block once it is filled

    /// Users that share a session have settings of their own: a block serves the key that it was filled from.
    bool IsGood(std::uint64_t key, std::uint64_t now) const {
        return size != 0 && origin == key && now <= keptUntil;
    }
    bool MayTake(std::uint64_t key) const { return origin == 0 || origin == key; }
};

/// Page-file-backed memory named `stem` + "MappedFile", guarded by the mutex `stem` + "Lock". It exists while
/// some process has it open; whoever finds it new fills it before giving up the lock.
template <class Block>
class SharedBlock {
public:
    explicit SharedBlock(const std::wstring& stem)
        : lock_((stem + L"Lock").c_str()),
          mapping_(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Block),
                                      (stem + L"MappedFile").c_str())),
          view_(Map(mapping_)) {}
    SharedBlock(const SharedBlock&) = delete;
    SharedBlock& operator=(const SharedBlock&) = delete;
    ~SharedBlock() {
        if (view_) UnmapViewOfFile(view_);
    }

    /// The block under its lock; none when there is no block, or its lock cannot be had in time.
    class Guard {
    public:
        explicit Guard(const SharedBlock& owner) : lock_(owner.lock_, longestWait), view_(owner.view_) {}
        explicit operator bool() const noexcept { return lock_ && view_; }
        Block* operator->() const noexcept { return view_; }

    private:
        KernelLock lock_;
        Block* view_;
    };
    Guard Access() const { return Guard(*this); }

private:
    static constexpr DWORD longestWait = 50;  // milliseconds

    static Block* Map(const Handle& mapping) {
        if (!mapping) return nullptr;
        return static_cast<Block*>(MapViewOfFile(mapping.Get(), FILE_MAP_ALL_ACCESS, 0, 0, sizeof(Block)));
    }

    KernelMutex lock_;
    Handle mapping_;
    Block* view_;
};

}  // namespace KyUtils
