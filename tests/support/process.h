// A program of the build tree, run by a test.
#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

namespace CorvixTest {

/// A child process; its end is waited for.
class Process {
public:
    /// \param program stands beside the test's own, without folder and extension.
    Process(const std::wstring& program, const std::wstring& arguments) {
        std::wstring command = L"\"" + OwnFolder() + program + L".exe\" " + arguments;
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                            &process_)) {
            throw std::runtime_error("a helper program of the test could not be started");
        }
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process() {
        ExitCode();
        CloseHandle(process_.hThread);
        CloseHandle(process_.hProcess);
    }

    DWORD Id() const { return process_.dwProcessId; }
    DWORD ExitCode() const {
        DWORD code = 0;
        WaitForSingleObject(process_.hProcess, INFINITE);
        GetExitCodeProcess(process_.hProcess, &code);
        return code;
    }

private:
    static std::wstring OwnFolder() {
        wchar_t name[4096];
        const std::wstring path(name, GetModuleFileNameW(nullptr, name, ARRAYSIZE(name)));
        return path.substr(0, path.find_last_of(L'\\') + 1);
    }

    PROCESS_INFORMATION process_{};
};

}  // namespace CorvixTest
