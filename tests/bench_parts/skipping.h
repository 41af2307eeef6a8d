#pragma once

#include <gtest/gtest.h>

#include "bench_parts/scratch_folder.h"

// The only reasons to skip a test, so that a bench that has lost one of its parts is a failure:
// run_in_prefix fails a test that skips itself for another reason than that Wine cannot do
// something. No other test uses GTEST_SKIP but the one that bench_self_check expects to fail so.

// For what not every Windows machine has. The bench must have it.
#define SKIP_ON_WINDOWS_WITHOUT(available, what)               \
    if (!(available)) {                                        \
        if (bench::IsWine()) {                                 \
            FAIL() << "The bench has lost a part: " << (what); \
        }                                                      \
        GTEST_SKIP() << "This machine lacks " << (what);       \
    }

// For what Wine does not do. Windows must do it.
#define SKIP_ON_WINE_WITHOUT(available, what)      \
    if (!(available)) {                            \
        if (!bench::IsWine()) {                    \
            FAIL() << "Windows cannot " << (what); \
        }                                          \
        GTEST_SKIP() << "Wine cannot " << (what);  \
    }

// For what only the bench makes possible.
#define SKIP_ON_WINDOWS(reason)                            \
    if (!bench::IsWine()) {                                \
        GTEST_SKIP() << "Only on the bench: " << (reason); \
    }
