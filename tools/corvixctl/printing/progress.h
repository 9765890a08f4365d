// Shows how far a document has gone: a bar on a terminal, now and then a line elsewhere.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace CorvixCtl {

// "640 bytes", "12.3 KB", "4.0 MB".
std::wstring ToReadableSize(uint64_t bytes);

class Progress {
public:
    Progress(std::wstring name, uint64_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Update(uint64_t sent);
    // A word about why it does not go on, in place of the time left; empty when it does.
    void Explain(const std::wstring& pause);
    // The document is with the printer.
    void Finish();

private:
    using Clock = std::chrono::steady_clock;

    void MeasureRate(Clock::time_point now);
    void Show();
    std::wstring Bar(size_t columns) const;
    std::wstring Line() const;
    std::wstring TimeLeft() const;

    const std::wstring name_;
    const uint64_t total_;
    const Clock::time_point start_;
    uint64_t sent_ = 0;
    std::wstring pause_;
    double rate_ = 0;  // bytes a second, of late
    uint64_t measuredBytes_ = 0;
    Clock::time_point measured_;
    Clock::time_point shown_;
    bool barStands_ = false;
};

}  // namespace CorvixCtl
