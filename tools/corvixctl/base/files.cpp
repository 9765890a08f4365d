#include "base/files.h"

#include <windows.h>

#include "base/systemtext.h"
#include "utilslib/handle.h"

namespace CorvixCtl {
namespace {

using KyUtils::Handle;

// False with the last error set.
bool ReadAll(const Handle& file, std::string& bytes) {
    // Maps and kept answers are small: a larger file was named by mistake.
    constexpr LONGLONG largest = 256ll * 1024 * 1024;
    LARGE_INTEGER size = {};
    if (!GetFileSizeEx(file.Get(), &size)) return false;
    if (size.QuadPart > largest) {
        SetLastError(ERROR_FILE_TOO_LARGE);
        return false;
    }
    bytes.resize(static_cast<size_t>(size.QuadPart));
    DWORD read = 0;
    if (!ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr)) return false;
    bytes.resize(read);
    return true;
}

bool WriteAll(const Handle& file, std::string_view bytes) {
    DWORD written = 0;
    return WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
           written == bytes.size();
}

std::wstring Named(const wchar_t* what, const std::wstring& path) {
    return std::wstring(what) + L" " + path + L": ";
}

}  // namespace

std::string ReadFileBytes(const std::wstring& path, ExitCode code, const wchar_t* what) {
    // Opening a folder fails as "access denied", which would mislead.
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY))
        throw Failure(code, Named(what, path) + L"this is a folder; name the file itself");
    const Handle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    std::string bytes;
    if (!file || !ReadAll(file, bytes))
        throw Failure(code, Named(what, path) + L"cannot be read: " + SystemText(GetLastError()));
    return bytes;
}

void WriteFileBytes(const std::wstring& path, std::string_view bytes, const wchar_t* what) {
    const Handle file(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file && WriteAll(file, bytes)) return;
    throw Failure(ExitCode::Incomplete,
                  Named(what, path) + L"cannot be written: " + SystemText(GetLastError()));
}

}  // namespace CorvixCtl
