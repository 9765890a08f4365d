// corvixsim: a simulated printer for trying and testing printer software without a printer.
#include <windows.h>
#include <winsock2.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <thread>

#include "simulator.h"

namespace CorvixSim {
namespace {

enum ExitCode { kEnded = 0, kFailed = 1, kUsage = 2 };

Stopper& QuitSignal() {
    static Stopper signal;
    return signal;
}

BOOL WINAPI OnConsoleEvent(DWORD) {
    QuitSignal().Stop();
    return TRUE;
}

std::string ToUtf8(const wchar_t* text) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), size, nullptr, nullptr);
    utf8.pop_back();  // the terminating zero
    return utf8;
}

void QuitAtEndOfInput() {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    char ignored[256];
    DWORD read = 0;
    while (ReadFile(input, ignored, sizeof ignored, &read, nullptr) && read != 0) {
    }
    QuitSignal().Stop();
}

void PrintLine(const std::string& line) {
    std::fputs((line + "\n").c_str(), stdout);
    std::fflush(stdout);
}

int Run(const Options& options) {
    const WinsockSession winsock;
    const Simulator simulator(options, [] { QuitSignal().Stop(); });
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
    // Nothing can interrupt a read of the console, so the end of the process ends this thread.
    if (options.untilEof) std::thread(QuitAtEndOfInput).detach();
    PrintLine(simulator.ReadyLine());
    QuitSignal().Wait();
    return kEnded;
}

int Main(const std::vector<std::string>& arguments) {
    try {
        const Options options = ParseOptions(arguments);
        if (!options.help) return Run(options);
        PrintLine(UsageText());
        return kEnded;
    } catch (const UsageError& error) {
        std::fprintf(stderr, "corvixsim: %s\nTry --help.\n", error.what());
        return kUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "corvixsim: %s\n", error.what());
        return kFailed;
    }
}

}  // namespace
}  // namespace CorvixSim

int wmain(int count, wchar_t** texts) {
    // Lines end in '\n' whoever reads them.
    _setmode(_fileno(stdout), _O_BINARY);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
        arguments.push_back(CorvixSim::ToUtf8(texts[i]));
    return CorvixSim::Main(arguments);
}
