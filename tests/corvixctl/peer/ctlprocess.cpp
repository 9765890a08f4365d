#include "corvixctl/peer/ctlprocess.h"

#include <mutex>
#include <stdexcept>
#include <thread>

namespace {

std::wstring ProgramPath(const std::wstring& program) {
    wchar_t path[MAX_PATH * 4];
    const DWORD length = GetModuleFileNameW(nullptr, path, static_cast<DWORD>(std::size(path)));
    const std::wstring own(path, length);
    return own.substr(0, own.find_last_of(L"\\/") + 1) + program;
}

/// Quoted such that the program's start-up code reads the very same argument.
std::wstring Quoted(const std::wstring& argument) {
    std::wstring quoted = L"\"";
    size_t backslashes = 0;
    for (const wchar_t c : argument) {
        if (c == L'"') quoted.append(backslashes + 1, L'\\');
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        quoted += c;
    }
    quoted.append(backslashes, L'\\');
    return quoted + L'"';
}

/// What the child writes into one of its outputs.
class OutputPipe {
public:
    OutputPipe() = default;
    void Open() {
        SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
        if (!CreatePipe(&read_, &write_, &inheritable, 0)) throw std::runtime_error("CreatePipe failed");
        SetHandleInformation(read_, HANDLE_FLAG_INHERIT, 0);
    }
    ~OutputPipe() {
        CloseWriteEnd();
        CloseHandle(read_);
    }
    OutputPipe(const OutputPipe&) = delete;
    OutputPipe& operator=(const OutputPipe&) = delete;

    HANDLE WriteEnd() const { return write_; }
    void CloseWriteEnd() {
        if (write_) CloseHandle(write_);
        write_ = nullptr;
    }
    void ReadAll(std::string& text) const {
        char piece[4096];
        DWORD count = 0;
        while (ReadFile(read_, piece, sizeof piece, &count, nullptr) && count != 0)
            text.append(piece, count);
    }

private:
    HANDLE read_ = nullptr;
    HANDLE write_ = nullptr;
};

/// Runs started at the same time must not inherit each other's pipes: neither would see the end of its own.
HANDLE Start(std::wstring& line, OutputPipe& out, OutputPipe& error) {
    static std::mutex oneAtATime;
    const std::lock_guard<std::mutex> lock(oneAtATime);
    out.Open();
    error.Open();
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = out.WriteEnd();
    startup.hStdError = error.WriteEnd();
    PROCESS_INFORMATION info{};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &info))
        throw std::runtime_error("cannot start the program");
    CloseHandle(info.hThread);
    out.CloseWriteEnd();
    error.CloseWriteEnd();
    return info.hProcess;
}

}  // namespace

CtlRun RunProgram(const std::wstring& program, const std::vector<std::wstring>& arguments) {
    std::wstring line = Quoted(ProgramPath(program));
    for (const std::wstring& argument : arguments)
        line += L" " + Quoted(argument);
    OutputPipe out;
    OutputPipe error;
    const HANDLE process = Start(line, out, error);
    CtlRun run;
    std::thread errorReader([&] { error.ReadAll(run.error); });
    out.ReadAll(run.out);
    errorReader.join();
    WaitForSingleObject(process, INFINITE);
    GetExitCodeProcess(process, &run.exitCode);
    CloseHandle(process);
    return run;
}

CtlRun RunCtl(const std::vector<std::wstring>& arguments) { return RunProgram(L"corvixctl.exe", arguments); }

TempFile::TempFile(std::string_view bytes) {
    wchar_t folder[MAX_PATH + 1];
    wchar_t path[MAX_PATH + 1];
    if (!GetTempPathW(static_cast<DWORD>(std::size(folder)), folder) ||
        !GetTempFileNameW(folder, L"ctl", 0, path))
        throw std::runtime_error("no temporary file");
    path_ = path;
    const HANDLE file =
        CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    const BOOL done = WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(file);
    if (!done || written != bytes.size()) throw std::runtime_error("cannot write a temporary file");
}

TempFile::~TempFile() { DeleteFileW(path_.c_str()); }
