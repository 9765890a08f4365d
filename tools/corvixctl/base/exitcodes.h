// How the program ends, and how its parts tell it to.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace CorvixCtl {

enum class ExitCode : int {
    Done = 0,         // all that was asked for was answered
    Incomplete = 1,   // some of it failed
    Usage = 2,        // the command line is wrong
    Unreachable = 3,  // the device did not answer
    BadMap = 4,       // the data map cannot be read
    Refused = 5,      // the printer took no job
    Aborted = 6,      // the job broke off on the way or at the printer
    Canceled = 7,     // the job was canceled, at the printer or by somebody else
    Interrupted = 130,
};

// Ends the program with a code and one line for the user, which says what to do next.
class Failure : public std::exception {
public:
    Failure(ExitCode code, std::wstring message) : code_(code), message_(std::move(message)) {}

    ExitCode Code() const { return code_; }
    const std::wstring& Message() const { return message_; }
    const char* what() const noexcept override { return "corvixctl failure"; }

private:
    ExitCode code_;
    std::wstring message_;
};

class UsageError final : public Failure {
public:
    explicit UsageError(std::wstring message) : Failure(ExitCode::Usage, std::move(message)) {}
};

}  // namespace CorvixCtl
