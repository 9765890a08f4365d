// How long, and until when, an operation waits for the device.
#pragma once

#include <winsock2.h>

#include <atomic>
#include <chrono>

#include "transport/failure.h"

namespace CorvixTransport {

// Owns an event that Winsock can wait for.
class NetEvent {
public:
    NetEvent() : handle_(WSACreateEvent()) { ThrowUnless(handle_ != WSA_INVALID_EVENT, ERROR_NO_SYSTEM_RESOURCES); }
    ~NetEvent() { WSACloseEvent(handle_); }
    NetEvent(const NetEvent&) = delete;
    NetEvent& operator=(const NetEvent&) = delete;

    WSAEVENT Get() const { return handle_; }
    void Set() const { WSASetEvent(handle_); }
    bool IsSet() const { return WSAWaitForMultipleEvents(1, &handle_, FALSE, 0, FALSE) == WSA_WAIT_EVENT_0; }

private:
    WSAEVENT handle_;
};

// A point in time after which nothing is waited for.
class Deadline {
public:
    using Clock = std::chrono::steady_clock;

    static Deadline After(unsigned long milliseconds) {
        return Deadline(Clock::now() + std::chrono::milliseconds(milliseconds));
    }

    unsigned long RemainingMilliseconds() const {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end_ - Clock::now()).count();
        return left > 0 ? static_cast<unsigned long>(left) + 1 : 0;
    }

private:
    explicit Deadline(Clock::time_point end) : end_(end) {}

    Clock::time_point end_;
};

// What every waiting operation of a request is bounded by.
struct Waiting {
    // Set from another thread when the exchange is to end.
    const NetEvent& cancelled;
    // The longest wait without any progress.
    unsigned long stallMilliseconds;
    // The end of all waiting, however much progress there is.
    Deadline deadline;

    Waiting Until(unsigned long milliseconds) const {
        return {cancelled, stallMilliseconds, Deadline::After(milliseconds)};
    }
};

// Waits for the event. Throws ERROR_CANCELLED, or ERROR_TIMEOUT when nothing happened in time.
inline void WaitFor(WSAEVENT event, const Waiting& waiting) {
    const WSAEVENT events[] = {waiting.cancelled.Get(), event};
    const unsigned long left = waiting.deadline.RemainingMilliseconds();
    const unsigned long patience = left < waiting.stallMilliseconds ? left : waiting.stallMilliseconds;
    const DWORD woken = WSAWaitForMultipleEvents(2, events, FALSE, patience, FALSE);
    ThrowUnless(woken != WSA_WAIT_FAILED, static_cast<unsigned long>(WSAGetLastError()));
    ThrowUnless(woken != WSA_WAIT_EVENT_0, ERROR_CANCELLED);
    ThrowUnless(woken != WSA_WAIT_TIMEOUT, ERROR_TIMEOUT);
}

}  // namespace CorvixTransport
