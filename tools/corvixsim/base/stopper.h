// A stop signal that threads can sleep against.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace CorvixSim {

/// Any thread may call any operation.
class Stopper {
public:
    void Stop() {
        {
            const std::lock_guard lock(mutex_);
            stopped_ = true;
        }
        changed_.notify_all();
    }

    bool Stopped() const {
        const std::lock_guard lock(mutex_);
        return stopped_;
    }

    /// Returns false, at once, when stopped.
    bool Sleep(std::chrono::milliseconds time) {
        std::unique_lock lock(mutex_);
        return !changed_.wait_for(lock, time, [this] { return stopped_; });
    }

    void Wait() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return stopped_; });
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool stopped_ = false;
};

}  // namespace CorvixSim
