#include "base/process.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>

#include <csignal>
#endif

#include <thread>

namespace CorvixSim {
namespace {

#ifdef _WIN32
Stopper* asked = nullptr;

BOOL WINAPI OnConsoleEvent(DWORD) {
    asked->Stop();
    return TRUE;
}

// Not through the C library: it would hold a lock that the end of the process waits for.
bool ReadInput(char* buffer, DWORD size) {
    DWORD read = 0;
    return ReadFile(GetStdHandle(STD_INPUT_HANDLE), buffer, size, &read, nullptr) && read != 0;
}
#else
bool ReadInput(char* buffer, size_t size) { return read(STDIN_FILENO, buffer, size) > 0; }
#endif

}  // namespace

#ifdef _WIN32
void StopWhenAsked(Stopper& stopper) {
    asked = &stopper;
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}
#else
void StopWhenAsked(Stopper& stopper) {
    // A handler may do next to nothing. Blocked in this and every later thread, the signals wait for a
    // thread of their own.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals, &stopper] {
        int signal = 0;
        sigwait(&signals, &signal);
        stopper.Stop();
    }).detach();
}
#endif

void StopAtEndOfInput(Stopper& stopper) {
    // Detached: nothing can interrupt a read of a console, so the end of the process ends the thread.
    std::thread([&stopper] {
        char ignored[256];
        while (ReadInput(ignored, sizeof ignored)) {
        }
        stopper.Stop();
    }).detach();
}

}  // namespace CorvixSim
