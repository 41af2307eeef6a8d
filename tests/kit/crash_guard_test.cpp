#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/crash_guard.h"
#include "kit_process.h"

namespace {

TEST(CrashGuards, EveryCrashEndsWithTheSameCodeAndALine) {
    for (const wchar_t* way : {L"abort", L"throw", L"write"}) {
        const kit_test::KitRun run = kit_test::RunProgram(L"crashing_program.exe", way);
        EXPECT_EQ(run.exitCode, kCrashExitCode) << way;
        EXPECT_THAT(run.error, testing::HasSubstr("repair_kit: ended by an error of its own"))
            << way;
    }
}

}  // namespace
