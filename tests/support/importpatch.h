// Stands in for a function that a module imports from a system DLL.
#pragma once

#include <windows.h>

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
    static void** FindSlot(HMODULE module, const char* name) {
        auto* base = reinterpret_cast<BYTE*>(module ? module : GetModuleHandleW(nullptr));
        const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
        const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
        const DWORD imports = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        for (auto* dll = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + imports); dll->Name; ++dll) {
            if (void** slot = FindSlotIn(base, *dll, name)) return slot;
        }
        return nullptr;
    }
    static void** FindSlotIn(BYTE* base, const IMAGE_IMPORT_DESCRIPTOR& dll, const char* name) {
        const auto* names = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + dll.OriginalFirstThunk);
        auto** slots = reinterpret_cast<void**>(base + dll.FirstThunk);
        for (; names->u1.AddressOfData; ++names, ++slots) {
            if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
            const auto* import =
                reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
            if (std::strcmp(reinterpret_cast<const char*>(import->Name), name) == 0) return slots;
        }
        return nullptr;
    }
    void* Exchange(void* function) {
        DWORD protection = 0;
        VirtualProtect(slot_, sizeof *slot_, PAGE_READWRITE, &protection);
        void* old = *slot_;
        *slot_ = function;
        VirtualProtect(slot_, sizeof *slot_, protection, &protection);
        return old;
    }

    void** slot_;
    void* original_ = nullptr;
};

}  // namespace CorvixTest
