#include "kit/zip/block_pipeline.h"

#include <gtest/gtest.h>
#include <process.h>

#include <system_error>

#include "bench_parts/call_hook.h"

#ifndef _MSC_VER  // Its programs have their own copy of the function.

namespace {

TEST(BlockPipeline, StopsItsThreadsWhenOneOfThemCannotBeStarted) {
    using BeginThread = decltype(&::_beginthreadex);
    const auto real = bench::RealFunction<BeginThread>(L"msvcrt.dll", "_beginthreadex");
    int started = 0;
    const auto hook = bench::HookCall<BeginThread>(L"msvcrt.dll", "_beginthreadex",
                                                   [&](auto... arguments) -> uintptr_t {
                                                       if (++started == 3) {
                                                           errno = EAGAIN;
                                                           return 0;
                                                       }
                                                       return real(arguments...);
                                                   });
    const std::vector<ClientEntry> entries;
    EXPECT_THROW(BlockPipeline(L"Z:\\", entries, 1, 8), std::system_error);
    EXPECT_EQ(started, 3);
}

}  // namespace

#endif
