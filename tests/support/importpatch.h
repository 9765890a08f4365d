// Stands in for a function that a module imports from a system DLL.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>

namespace CorvixTest {

/// Puts a function in the place of an imported one, in the import table of one module, for as long as it
/// lives.
class ImportPatch {
public:
    /// \param module the importing module; null is the program itself.
    ImportPatch(HMODULE module, const char* name, void* replacement) : slot_(FindSlot(module, name)) {
        if (!slot_) throw std::runtime_error(std::string("not imported: ") + name);
        original_ = Exchange(replacement);
    }
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;
    ~ImportPatch() { Exchange(original_); }

private:
    // A linker may put the tables at any address, aligned or not.
    template <class T>
    static T Read(const void* from) {
        T value;
        std::memcpy(&value, from, sizeof value);
        return value;
    }
    static void** FindSlot(HMODULE module, const char* name) {
        auto* base = reinterpret_cast<BYTE*>(module ? module : GetModuleHandleW(nullptr));
        const auto* nt = base + Read<IMAGE_DOS_HEADER>(base).e_lfanew;
        const DWORD imports = Read<IMAGE_NT_HEADERS>(nt)
                                  .OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT]
                                  .VirtualAddress;
        for (const BYTE* at = base + imports;; at += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
            const auto dll = Read<IMAGE_IMPORT_DESCRIPTOR>(at);
            if (!dll.Name) return nullptr;
            if (void** slot = FindSlotIn(base, dll, name)) return slot;
        }
    }
    static void** FindSlotIn(BYTE* base, const IMAGE_IMPORT_DESCRIPTOR& dll, const char* name) {
        auto** slots = reinterpret_cast<void**>(base + dll.FirstThunk);
        for (const BYTE* at = base + dll.OriginalFirstThunk;; at += sizeof(IMAGE_THUNK_DATA), ++slots) {
            const auto thunk = Read<IMAGE_THUNK_DATA>(at);
            if (!thunk.u1.AddressOfData) return nullptr;
            if (IMAGE_SNAP_BY_ORDINAL(thunk.u1.Ordinal)) continue;
            const BYTE* import = base + thunk.u1.AddressOfData + offsetof(IMAGE_IMPORT_BY_NAME, Name);
            if (std::strcmp(reinterpret_cast<const char*>(import), name) == 0) return slots;
        }
    }
    void* Exchange(void* function) {
        DWORD protection = 0;
        VirtualProtect(slot_, sizeof *slot_, PAGE_READWRITE, &protection);
        void* old = Read<void*>(slot_);
        std::memcpy(slot_, &function, sizeof function);
        VirtualProtect(slot_, sizeof *slot_, protection, &protection);
        return old;
    }

    void** slot_;
    void* original_ = nullptr;
};

}  // namespace CorvixTest
