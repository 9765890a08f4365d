#include "base/files.h"

#include <windows.h>

#include "base/systemtext.h"

namespace CorvixCtl {
namespace {

class File {
public:
    explicit File(HANDLE handle) : handle_(handle) {}
    ~File() {
        if (IsOpen()) CloseHandle(handle_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
    // False with the last error set.
    bool ReadAll(std::string& bytes) const {
        LARGE_INTEGER size = {};
        if (!GetFileSizeEx(handle_, &size)) return false;
        constexpr LONGLONG largest = 256ll * 1024 * 1024;
        if (size.QuadPart > largest) {
            SetLastError(ERROR_FILE_TOO_LARGE);
            return false;
        }
        bytes.resize(static_cast<size_t>(size.QuadPart));
        DWORD read = 0;
        if (!ReadFile(handle_, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr)) return false;
        bytes.resize(read);
        return true;
    }
    bool WriteAll(std::string_view bytes) const {
        DWORD written = 0;
        return WriteFile(handle_, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
               written == bytes.size();
    }

private:
    HANDLE handle_;
};

Failure FileFailure(ExitCode code, const wchar_t* what, const std::wstring& path,
                    const std::wstring& reason) {
    return Failure(code, std::wstring(what) + L" " + path + L": " + reason);
}

}  // namespace

std::string ReadFileBytes(const std::wstring& path, ExitCode code, const wchar_t* what) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY))
        throw FileFailure(code, what, path, L"this is a folder; name the file itself");
    const File file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
    std::string bytes;
    if (!file.IsOpen() || !file.ReadAll(bytes))
        throw FileFailure(code, what, path, L"cannot be read: " + SystemText(GetLastError()));
    return bytes;
}

void WriteFileBytes(const std::wstring& path, std::string_view bytes, const wchar_t* what) {
    const File file(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.IsOpen() || !file.WriteAll(bytes)) {
        throw FileFailure(ExitCode::Incomplete, what, path,
                          L"cannot be written: " + SystemText(GetLastError()));
    }
}

}  // namespace CorvixCtl
