// Runs corvixctl.exe for a test.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

struct CtlRun {
    DWORD exitCode = 0;
    std::string out;    ///< standard output, byte for byte
    std::string error;  ///< standard error
};

/// Runs it to its end. Arguments arrive exactly as they are given, whatever they hold.
CtlRun RunCtl(const std::vector<std::wstring>& arguments);
/// The same for any program of the build tree's bin/, such as L"readvalues.exe".
CtlRun RunProgram(const std::wstring& program, const std::vector<std::wstring>& arguments);

/// A file of the test's own in the temporary folder, gone with the object.
class TempFile {
public:
    explicit TempFile(std::string_view bytes);
    ~TempFile();
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    const std::wstring& Path() const { return path_; }

private:
    std::wstring path_;
};
