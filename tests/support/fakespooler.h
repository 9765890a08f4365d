// The spooler's data of one printer, in the place of the spooler.
#pragma once

#include <windows.h>

#include <winspool.h>
// The spooler's name for its wide function is also that of an operation of Corvix::Address.
#undef SetPort

#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/importpatch.h"

namespace CorvixTest {

/// A registry value's bytes for a text.
inline std::string BytesOf(const std::wstring& text) {
    return {reinterpret_cast<const char*>(text.c_str()), (text.size() + 1) * sizeof(wchar_t)};
}

/// The data of one printer. Serves and watches the spooler calls of one module for as long as it lives.
class FakeSpooler {
public:
    struct Value {
        std::wstring name;
        DWORD type;
        std::string bytes;
    };
    struct Write {
        std::wstring name;
        DWORD type;
        const BYTE* data;
        DWORD bytes;
        std::wstring text;  ///< of writes that are longer than a number
    };

    inline static HANDLE const printer = reinterpret_cast<HANDLE>(0x1234);

    /// \param module whose calls are taken over; null is the program itself.
    explicit FakeSpooler(HMODULE module = nullptr)
        : enumerate_(module, "EnumPrinterDataExW", reinterpret_cast<void*>(&Enumerate)),
          set_(module, "SetPrinterDataExW", reinterpret_cast<void*>(&Set)) {
        current_ = this;
    }
    ~FakeSpooler() { current_ = nullptr; }

    std::vector<Value> values;
    bool hasKey = true;
    DWORD secondEnumeration = ERROR_SUCCESS;
    std::vector<Write> writes;
    DWORD failingWrite = 0;  ///< counted from 1

private:
    static DWORD WINAPI Enumerate(HANDLE handle, LPCWSTR key, LPBYTE buffer, DWORD size, LPDWORD needed,
                                  LPDWORD count) {
        EXPECT_EQ(handle, printer);
        EXPECT_STREQ(key, L"UBidiData");
        return current_->EnumerateInto(buffer, size, needed, count);
    }
    static DWORD WINAPI Set(HANDLE handle, LPCWSTR key, LPCWSTR name, DWORD type, LPBYTE data, DWORD bytes) {
        EXPECT_EQ(handle, printer);
        EXPECT_STREQ(key, L"UBidiData");
        current_->writes.push_back({name, type, data, bytes, {}});
        // The data of a number is not to be read: it is the number, not an address.
        if (bytes != 4)
            current_->writes.back().text.assign(reinterpret_cast<const wchar_t*>(data),
                                                bytes / sizeof(wchar_t));
        return current_->writes.size() == current_->failingWrite ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
    }
    DWORD EnumerateInto(LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD count) const {
        if (!hasKey) return ERROR_FILE_NOT_FOUND;
        size_t total = values.size() * sizeof(PRINTER_ENUM_VALUESW);
        for (const Value& value : values)
            total += (value.name.size() + 1) * sizeof(wchar_t) + value.bytes.size();
        *needed = static_cast<DWORD>(total);
        if (size < total) return ERROR_MORE_DATA;
        *count = static_cast<DWORD>(values.size());
        auto* entry = reinterpret_cast<PRINTER_ENUM_VALUESW*>(buffer);
        BYTE* free = buffer + values.size() * sizeof *entry;
        const auto place = [&free](const void* bytes, size_t length) {
            std::memcpy(free, bytes, length);
            free += length;
            return free - length;
        };
        for (const Value& value : values) {
            const size_t nameBytes = (value.name.size() + 1) * sizeof(wchar_t);
            entry->pValueName = reinterpret_cast<LPWSTR>(place(value.name.c_str(), nameBytes));
            entry->cbValueName = static_cast<DWORD>(nameBytes);
            entry->dwType = value.type;
            entry->pData = place(value.bytes.data(), value.bytes.size());
            entry->cbData = static_cast<DWORD>(value.bytes.size());
            ++entry;
        }
        return secondEnumeration;
    }

    inline static FakeSpooler* current_ = nullptr;
    ImportPatch enumerate_;
    ImportPatch set_;
};

}  // namespace CorvixTest
