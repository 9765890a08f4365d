// Ends a fuzz target where something does not hold.
#pragma once

#include <cstdio>
#include <cstdlib>

#define CORVIX_FUZZ_CHECK(condition)                                                     \
    do {                                                                                 \
        if (!(condition)) {                                                              \
            std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                \
        }                                                                                \
    } while (false)
