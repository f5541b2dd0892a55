#pragma once

#include <cstdio>
#include <cstdlib>

// A broken property stops the run with a message, so libFuzzer keeps the input
// as a crash to replay.
#define FUZZ_CHECK(condition)                                                                      \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: property failed: %s\n", __FILE__, __LINE__, #condition);  \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)
