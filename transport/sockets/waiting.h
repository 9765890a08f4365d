/// How long, and until when, an operation waits for the device.
#pragma once

#include <winsock2.h>

#include <algorithm>
#include <atomic>
#include <chrono>

#include "transport/sockets/failure.h"

namespace CorvixTransport {

/// Owns an event that Winsock can wait for.
class NetEvent {
public:
    NetEvent() : handle_(WSACreateEvent()) {
        ThrowUnless(handle_ != WSA_INVALID_EVENT, ERROR_NO_SYSTEM_RESOURCES);
    }
    ~NetEvent() { WSACloseEvent(handle_); }
    NetEvent(const NetEvent&) = delete;
    NetEvent& operator=(const NetEvent&) = delete;

    WSAEVENT Get() const { return handle_; }
    void Set() const { WSASetEvent(handle_); }

private:
    WSAEVENT handle_;
};

/// Tells a request to end, from another thread: either this request by Request(), or every request of the
/// address by the caller's stop event, which is not owned.
class Cancellation {
public:
    explicit Cancellation(HANDLE stop = nullptr) : stop_(stop) {}

    void Request() {
        requested_ = true;
        event_.Set();
    }
    bool IsRequested() const {
        return requested_ || (stop_ && WaitForSingleObject(stop_, 0) == WAIT_OBJECT_0);
    }
    WSAEVENT Event() const { return event_.Get(); }
    /// Null when there is none.
    WSAEVENT Stop() const { return stop_; }

private:
    HANDLE stop_;
    std::atomic<bool> requested_{false};
    NetEvent event_;
};

/// A point in time at which every wait ends.
class Deadline {
public:
    static Deadline After(unsigned long milliseconds) {
        return Deadline(Clock::now() + std::chrono::milliseconds(milliseconds));
    }

    /// Rounded up: 0 means that the time is over.
    unsigned long RemainingMilliseconds() const {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now()).count();
        return left > 0 ? static_cast<unsigned long>(left) : 0;
    }

private:
    using Clock = std::chrono::steady_clock;

    explicit Deadline(Clock::time_point end) : end_(end) {}

    Clock::time_point end_;
};

/// The bounds of every waiting operation of a request.
struct Waiting {
    const Cancellation& cancellation;
    /// The longest wait without any progress.
    unsigned long stallMilliseconds;
    /// The end of all waiting, whatever progress there is.
    Deadline deadline;

    /// The same, with an end of its own.
    Waiting Within(unsigned long milliseconds) const {
        return {cancellation, stallMilliseconds, Deadline::After(milliseconds)};
    }

    /// Throws ERROR_CANCELLED or ERROR_TIMEOUT when there is nothing to wait for any more.
    void Check() const {
        ThrowUnless(!cancellation.IsRequested(), ERROR_CANCELLED);
        ThrowUnless(deadline.RemainingMilliseconds() > 0, ERROR_TIMEOUT);
    }
};

/// Waits for the event. Throws ERROR_CANCELLED, or ERROR_TIMEOUT when nothing happened in time.
inline void WaitFor(WSAEVENT event, const Waiting& waiting) {
    const WSAEVENT stop = waiting.cancellation.Stop();
    const WSAEVENT events[] = {waiting.cancellation.Event(), event, stop};
    const unsigned long patience =
        std::min(waiting.deadline.RemainingMilliseconds(), waiting.stallMilliseconds);
    const DWORD woken = WSAWaitForMultipleEvents(stop ? 3 : 2, events, FALSE, patience, FALSE);
    ThrowUnless(woken != WSA_WAIT_FAILED, static_cast<unsigned long>(WSAGetLastError()));
    ThrowUnless(woken != WSA_WAIT_EVENT_0 && woken != WSA_WAIT_EVENT_0 + 2, ERROR_CANCELLED);
    ThrowUnless(woken != WSA_WAIT_TIMEOUT, ERROR_TIMEOUT);
}

}  // namespace CorvixTransport
