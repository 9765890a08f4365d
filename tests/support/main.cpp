// The main program of every test.
#include <gmock/gmock.h>

#if defined(_WIN32)
#include <windows.h>

#include <cstdio>
#include <cstdlib>

namespace {

// A crash must fail the test whatever debugger the system would start, and without a dialog.
LONG WINAPI EndWithFailure(EXCEPTION_POINTERS* exception) {
    std::fprintf(stderr, "unhandled exception 0x%08lX\n", exception->ExceptionRecord->ExceptionCode);
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), 3);
    return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace
#endif

int main(int argc, char** argv) {
#if defined(_WIN32)
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(EndWithFailure);
#endif
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
