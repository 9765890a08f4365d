// How a benchmark measures and says what came of it.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace CorvixBench {

/// The median of several measurements; each call of `measure` returns one.
template <class Measure>
double MedianOf(int runs, Measure measure) {
    std::vector<double> values;
    for (int i = 0; i < runs; ++i)
        values.push_back(measure());
    std::nth_element(values.begin(), values.begin() + runs / 2, values.end());
    return values[static_cast<size_t>(runs / 2)];
}

/// How long a call takes, in seconds.
template <class Work>
double SecondsOf(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline void PrintFigure(const char* name, double value, const char* unit) {
    std::printf("figure %s %.3f %s\n", name, value, unit);
    std::fflush(stdout);
}

}  // namespace CorvixBench
