// A file of the test's own.
#pragma once

#include <windows.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace CorvixTest {

/// Names a file in the temporary folder that does not exist, and deletes it in the end.
class TempFile {
public:
    TempFile() {
        static int count = 0;
        wchar_t folder[MAX_PATH + 1];
        GetTempPathW(MAX_PATH + 1, folder);
        name_ =
            folder + (L"corvix-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count));
        Delete();
    }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    ~TempFile() { Delete(); }

    const std::wstring& Name() const { return name_; }
    void Delete() const { DeleteFileW(name_.c_str()); }
    bool Exists() const { return GetFileAttributesW(name_.c_str()) != INVALID_FILE_ATTRIBUTES; }

    std::string Bytes() const {
        std::ifstream file(std::string(name_.begin(), name_.end()), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

private:
    std::wstring name_;
};

}  // namespace CorvixTest
