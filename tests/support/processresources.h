// What this process holds of the system, to be compared before and after.
#pragma once

#include <windows.h>

#include <tlhelp32.h>
#include <vector>

#include "utilslib/sync.h"

namespace CorvixTest {

inline size_t ThreadsOfProcess() {
    const KyUtils::Handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    size_t count = 0;
    for (BOOL more = Thread32First(snapshot.Get(), &entry); more; more = Thread32Next(snapshot.Get(), &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId();
    return count;
}

/// Locks that were there before and stay, such as those of the runtime, take a handle when threads first meet at
/// them, whenever that is.
constexpr size_t handlesOfLivingLocks = 5;

/// Wine always answers 0 to GetProcessHandleCount(), so the handles are counted in the list of all.
inline size_t HandlesOfProcess() {
    constexpr ULONG extendedHandleInformation = 64;
    constexpr LONG tooLittleRoom = static_cast<LONG>(0xC0000004);
    struct Entry {
        void* object;
        ULONG_PTR process;
        ULONG_PTR handle;
        ULONG access;
        USHORT backTrace;
        USHORT type;
        ULONG attributes;
        ULONG reserved;
    };
    struct List {
        ULONG_PTR count;
        ULONG_PTR reserved;
        Entry entries[1];
    };
    using Query = LONG(WINAPI*)(ULONG, void*, ULONG, ULONG*);
    static const auto query = reinterpret_cast<Query>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    std::vector<ULONG_PTR> buffer(1 << 16);
    const auto ask = [&] {
        const auto bytes = static_cast<ULONG>(buffer.size() * sizeof buffer[0]);
        return query(extendedHandleInformation, buffer.data(), bytes, nullptr);
    };
    while (ask() == tooLittleRoom)
        buffer.resize(buffer.size() * 2);
    const auto* list = reinterpret_cast<const List*>(buffer.data());
    size_t count = 0;
    for (ULONG_PTR i = 0; i < list->count; ++i)
        count += list->entries[i].process == GetCurrentProcessId();
    return count;
}

}  // namespace CorvixTest
