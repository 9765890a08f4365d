#include "wire/jobstate.h"

namespace CorvixCtl {
namespace {

struct Name {
    JobState state;
    const wchar_t* text;
};
constexpr Name names[] = {
    {JobState::Pending, L"pending"},       {JobState::PendingHeld, L"pending-held"},
    {JobState::Processing, L"processing"}, {JobState::ProcessingStopped, L"processing-stopped"},
    {JobState::Canceled, L"canceled"},     {JobState::Aborted, L"aborted"},
    {JobState::Completed, L"completed"},
};

}  // namespace

std::wstring StateName(JobState state) {
    for (const Name& name : names) {
        if (name.state == state) return name.text;
    }
    return L"state " + std::to_wstring(static_cast<int>(state));
}

}  // namespace CorvixCtl
