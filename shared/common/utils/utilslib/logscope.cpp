#include <chrono>
#include <exception>
#include <new>

#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "utilslib/logtext.h"

namespace KyUtils {
namespace {

/// Accessing a thread_local may change the last error, so every user of this one restores it.
thread_local LogScope* innermostScope = nullptr;

std::int64_t NowInMicroseconds() {
    using std::chrono::microseconds;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<microseconds>(now).count();
}

}  // namespace

void LogScope::NoteHandledException() noexcept {
    const LastErrorScope lastError;
    if (innermostScope) innermostScope->handledException_ = true;
}

void LogScope::Enter(const LogSource& source, const char* function, std::uint32_t flags) noexcept {
    const LastErrorScope lastError;
    source_ = &source;
    function_ = function;
    flags_ = flags;
    outer_ = innermostScope;
    innermostScope = this;
    exceptionsAtEntry_ = std::uncaught_exceptions();
    source.Line(LineFlag::Entry | flags, L"%hs", function);
    entered_ = NowInMicroseconds();
}

void LogScope::Leave() noexcept {
    const LastErrorScope lastError;
    innermostScope = outer_;
    if (!source_->IsOn(LineFlag::Exit)) return;
    const int exceptionsInFlight = std::uncaught_exceptions();
    try {
        const std::wstring notes = ExitNotes(exceptionsInFlight);
        source_->Line(LineFlag::Exit | flags_, L"%hs%ls", function_, notes.c_str());
    } catch (const std::bad_alloc&) {
        // Out of memory: drop the line. Logging never fails the function that logs.
    }
}

std::wstring LogScope::ExitNotes(int exceptionsInFlight) const {
    std::wstring notes;
    if (flags_ & LineFlag::Duration)
        notes += FormatText(L" (Dur: %I64d us) ", NowInMicroseconds() - entered_);
    // An exception in flight already at entry did not come from this function.
    if (exceptionsInFlight > exceptionsAtEntry_) {
        notes += L"(*unhandled exception*) ";
    } else if (handledException_) {
        notes += L"(handled exception) ";
    }
    if (exceptionsInFlight > 0) notes += L"*** UNHANDLED EXCEPTION PENDING ***";
    return notes;
}

}  // namespace KyUtils
