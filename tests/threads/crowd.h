// Several threads at the same thing at once.
#pragma once

#include <atomic>
#include <thread>
#include <vector>

namespace CorvixTest {

/// Calls `work` with the number of the thread, on every thread, after all of them have begun.
template <class Work>
void RunInCrowd(Work work) {
    constexpr int size = 6;
    std::atomic<int> begun{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < size; ++i) {
        threads.emplace_back([&, i] {
            ++begun;
            while (begun < size)
                std::this_thread::yield();
            work(i);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace CorvixTest
