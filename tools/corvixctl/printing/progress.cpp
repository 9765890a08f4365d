#include "printing/progress.h"

#include <algorithm>
#include <cmath>

#include "base/console.h"
#include "base/text.h"

namespace CorvixCtl {
namespace {

using Seconds = std::chrono::duration<double>;

constexpr Seconds barInterval{0.1};
constexpr Seconds lineInterval{5};
constexpr Seconds measureInterval{0.5};

// "7 s", "2:05", "1:00:09".
std::wstring ToReadableSpan(double seconds) {
    constexpr double longest = 99 * 3600;
    const auto whole = static_cast<unsigned long>(std::lround(std::min(seconds, longest)));
    if (whole < 60) return Formatted(L"%lu s", whole);
    if (whole < 3600) return Formatted(L"%lu:%02lu", whole / 60, whole % 60);
    return Formatted(L"%lu:%02lu:%02lu", whole / 3600, whole / 60 % 60, whole % 60);
}

std::wstring ToRate(double bytesPerSecond) {
    return ToReadableSize(static_cast<uint64_t>(bytesPerSecond)) + L"/s";
}

// The end of a name that is too long says more than its beginning.
std::wstring Shortened(const std::wstring& name, size_t length) {
    return name.size() <= length ? name : L"..." + name.substr(name.size() - length + 3);
}

}  // namespace

std::wstring ToReadableSize(uint64_t bytes) {
    if (bytes < 1024) return Formatted(L"%u bytes", static_cast<unsigned>(bytes));
    double size = static_cast<double>(bytes) / 1024;
    const wchar_t* const units[] = {L"KB", L"MB", L"GB", L"TB"};
    size_t unit = 0;
    // From where one figure behind the point would be rounded up to 1024.0.
    while (size >= 1023.95 && unit + 1 < std::size(units)) {
        size /= 1024;
        ++unit;
    }
    return Formatted(L"%.1f %ls", size, units[unit]);
}

Progress::Progress(std::wstring name, uint64_t total)
    : name_(std::move(name)), total_(total), start_(Clock::now()), measured_(start_), shown_(start_) {}

// What stands half way when the work fails gives way to the message that says why.
Progress::~Progress() {
    if (barStands_) Tell(L"\n");
}

void Progress::Update(uint64_t sent) {
    sent_ = sent;
    pause_.clear();
    const Clock::time_point now = Clock::now();
    MeasureRate(now);
    const bool isDue = now - shown_ >= (ErrorColumns() ? barInterval : lineInterval);
    if (isDue || (ErrorColumns() && !barStands_)) Show();
}

void Progress::Explain(const std::wstring& pause) {
    if (pause == pause_) return;
    pause_ = pause;
    Show();
}

// Of late rather than on the whole, so that a printer that slows down is seen to.
void Progress::MeasureRate(Clock::time_point now) {
    const double span = Seconds(now - measured_).count();
    if (Seconds(span) < measureInterval) return;
    const double rate = static_cast<double>(sent_ - measuredBytes_) / span;
    // A moving average: single pieces come and go in bursts.
    rate_ = rate_ == 0 ? rate : 0.7 * rate_ + 0.3 * rate;
    measured_ = now;
    measuredBytes_ = sent_;
}

void Progress::Show() {
    shown_ = Clock::now();
    if (const size_t columns = ErrorColumns()) {
        Tell(L"\r" + Bar(columns));
        barStands_ = true;
    } else {
        Complain(name_ + L": " + Line());
    }
}

std::wstring Progress::TimeLeft() const {
    if (!pause_.empty()) return pause_;
    // Nothing is known yet, or it stands still.
    if (rate_ < 1) return L"";
    return ToReadableSpan(static_cast<double>(total_ - std::min(sent_, total_)) / rate_) + L" left";
}

std::wstring Progress::Line() const {
    std::wstring line = ToReadableSize(sent_) + L" of " + ToReadableSize(total_);
    if (rate_ >= 1) line += L"  " + ToRate(rate_);
    const std::wstring left = TimeLeft();
    return left.empty() ? line : line + L"  " + left;
}

// As wide as the terminal, but for the last column: a character there would begin a new line. A name gives way to
// the numbers.
std::wstring Progress::Bar(size_t columns) const {
    constexpr size_t widestName = 20;
    constexpr size_t narrowestName = 8;
    constexpr size_t barWidth = 20;
    const uint64_t total = std::max<uint64_t>(total_, 1);
    const uint64_t sent = std::min(sent_, total);
    const auto filled = static_cast<size_t>(sent * barWidth / total);
    const std::wstring bar = L" [" + std::wstring(filled, L'#') + std::wstring(barWidth - filled, L'.') +
                             L"] " + Formatted(L"%3u%%  ", static_cast<unsigned>(sent * 100 / total)) +
                             Line();
    const size_t room = columns - std::min(columns, bar.size() + 1);
    std::wstring line = Shortened(name_, std::clamp(room, narrowestName, widestName)) + bar;
    line.resize(columns - 1, L' ');
    return line;
}

void Progress::Finish() {
    const double span = Seconds(Clock::now() - start_).count();
    // In the end the whole counts, not what came last.
    rate_ = span > 0 ? static_cast<double>(sent_) / span : 0;
    if (barStands_) {
        pause_ = L"in " + ToReadableSpan(span);
        Show();
        Tell(L"\n");
        barStands_ = false;
    } else {
        Complain(name_ + L": " + ToReadableSize(sent_) + L" sent in " + Formatted(L"%.1f s", span) + L" (" +
                 ToRate(rate_) + L")");
    }
}

}  // namespace CorvixCtl
