// corvixsim: a simulated printer for trying and testing printer software without a printer.
#ifdef _WIN32
#include <windows.h>
// keep this order
#include <fcntl.h>
#include <io.h>
#endif

#include <cstdio>
#include <filesystem>

#include "base/process.h"
#include "simulator.h"

namespace CorvixSim {
namespace {

enum ExitCode { kEnded = 0, kFailed = 1, kUsage = 2 };

/// Threads that outlive main() may still tell it to stop: it is never destroyed.
Stopper& QuitSignal() {
    static Stopper& signal = *new Stopper;
    return signal;
}

void PrintLine(const std::string& line) {
    std::fputs((line + "\n").c_str(), stdout);
    std::fflush(stdout);
}

int Run(const Options& options) {
    const NetSession sockets;
    StopWhenAsked(QuitSignal());
    const Simulator simulator(options, [] { QuitSignal().Stop(); });
    if (options.untilEof) StopAtEndOfInput(QuitSignal());
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

#ifdef _WIN32
int wmain(int count, wchar_t** texts) {
    // Lines end in '\n', whoever reads them.
    _setmode(_fileno(stdout), _O_BINARY);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
        arguments.push_back(std::filesystem::path(texts[i]).u8string());
    return CorvixSim::Main(arguments);
}
#else
int main(int count, char** texts) { return CorvixSim::Main({texts + 1, texts + count}); }
#endif
