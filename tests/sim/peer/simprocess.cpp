#include "sim/peer/simprocess.h"

#include <sstream>
#include <stdexcept>

#include "sim/peer/httpclient.h"

namespace {

constexpr DWORD kPatience = 60'000;  // milliseconds

std::wstring SimPath() {
    wchar_t path[MAX_PATH * 4];
    const DWORD length = GetModuleFileNameW(nullptr, path, static_cast<DWORD>(std::size(path)));
    std::wstring folder(path, length);
    return folder.substr(0, folder.find_last_of(L"\\/") + 1) + L"corvixsim.exe";
}

std::wstring CommandLine(const std::vector<std::wstring>& arguments) {
    std::wstring line = L"\"" + SimPath() + L"\"";
    for (const std::wstring& argument : arguments)
        line += L" \"" + argument + L"\"";
    return line;
}

/// A pipe of which the end at index `inherited` goes to the child: 0 to read from, 1 to write to.
void MakePipe(HANDLE (&ends)[2], int inherited) {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    if (!CreatePipe(&ends[0], &ends[1], &inheritable, 0)) throw std::runtime_error("CreatePipe failed");
    SetHandleInformation(ends[1 - inherited], HANDLE_FLAG_INHERIT, 0);
}

struct Child {
    HANDLE process;
    HANDLE input;
    HANDLE output;
};

Child StartChild(std::wstring commandLine) {
    HANDLE input[2];
    HANDLE output[2];
    MakePipe(input, 0);
    MakePipe(output, 1);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input[0];
    startup.hStdOutput = output[1];
    startup.hStdError = output[1];
    PROCESS_INFORMATION info{};
    const BOOL started = CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                        nullptr, &startup, &info);
    const DWORD error = GetLastError();
    CloseHandle(input[0]);
    CloseHandle(output[1]);
    if (!started) throw std::runtime_error("cannot start corvixsim.exe: error " + std::to_string(error));
    CloseHandle(info.hThread);
    return {info.hProcess, input[1], output[0]};
}

}  // namespace

SimProcess::SimProcess(const std::vector<std::wstring>& arguments) {
    std::vector<std::wstring> all = {L"--port-base", L"0", L"--until-eof"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const Child child = StartChild(CommandLine(all));
    process_ = child.process;
    input_ = child.input;
    output_ = child.output;
    ReadReadyLine();
}

SimProcess::~SimProcess() {
    CloseInput();
    if (WaitForSingleObject(process_, kPatience) != WAIT_OBJECT_0) TerminateProcess(process_, 99);
    CloseHandle(process_);
    CloseHandle(output_);
}

void SimProcess::ReadReadyLine() {
    std::string line;
    char c = 0;
    DWORD read = 0;
    while (ReadFile(output_, &c, 1, &read, nullptr) && read == 1 && c != '\n')
        line += c;
    std::istringstream words(line);
    std::string word;
    words >> word;
    if (word != "ready") throw std::runtime_error("corvixsim is not ready: " + line);
    while (words >> word) {
        const size_t equals = word.find('=');
        const std::string value = word.substr(equals + 1);
        if (word.compare(0, equals, "address") == 0) address_ = value;
        if (word.compare(0, equals, "port-map") == 0) portMap_ = value;
        if (word.compare(0, equals, "control") == 0) controlPort_ = static_cast<uint16_t>(std::stoi(value));
    }
}

uint16_t SimProcess::Port(const std::string& name) const {
    std::istringstream entries(portMap_);
    for (std::string entry; std::getline(entries, entry, ',');) {
        if (entry.compare(0, name.size() + 1, name + "=") == 0) {
            return static_cast<uint16_t>(std::stoi(entry.substr(name.size() + 1)));
        }
    }
    throw std::runtime_error("no port " + name + " in " + portMap_);
}

std::string SimProcess::Control(const std::string& method, const std::string& path,
                                const std::string& body) const {
    HttpClient client(address_, controlPort_);
    const HttpAnswer answer = client.Exchange(method, path, body);
    if (answer.status >= 300) throw std::runtime_error("the simulator answers " + answer.body);
    return answer.body;
}

void SimProcess::CloseInput() {
    if (input_) CloseHandle(input_);
    input_ = nullptr;
}

DWORD SimProcess::WaitForExit() {
    if (WaitForSingleObject(process_, kPatience) != WAIT_OBJECT_0)
        throw std::runtime_error("corvixsim goes on");
    DWORD code = 0;
    GetExitCodeProcess(process_, &code);
    return code;
}

SimRun RunSim(const std::vector<std::wstring>& arguments) {
    const Child child = StartChild(CommandLine(arguments));
    CloseHandle(child.input);
    SimRun run{};
    char piece[4096];
    DWORD read = 0;
    while (ReadFile(child.output, piece, sizeof piece, &read, nullptr) && read != 0)
        run.output.append(piece, read);
    WaitForSingleObject(child.process, kPatience);
    GetExitCodeProcess(child.process, &run.exitCode);
    CloseHandle(child.process);
    CloseHandle(child.output);
    return run;
}
