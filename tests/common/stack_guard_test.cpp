#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>

// Defined in stack_guard.cpp under the compiler's name.
extern "C" uintptr_t __stack_chk_guard;  // NOLINT(bugprone-reserved-identifier)

namespace {

// Returns something, so that the buffer is used.
char Overrun(size_t count) {
    volatile char buffer[16]{};
    for (size_t index = 0; index < count; ++index) {
        buffer[index] = 'x';
    }
    return buffer[0];
}

TEST(StackGuard, EndsAProgramThatWritesBeyondABuffer) {
    EXPECT_EQ(Overrun(16), 'x');
    EXPECT_EXIT(Overrun(32), testing::ExitedWithCode(static_cast<int>(0xC0000409)), "");
}

TEST(StackGuard, IsRandomWithAByteThatEndsTexts) {
    EXPECT_EQ(__stack_chk_guard & 0xFF, 0U);
    const uintptr_t ours = __stack_chk_guard;
    // The child process has drawn another number.
    EXPECT_EXIT(
        {
            std::fprintf(stderr, "guard %llx", static_cast<unsigned long long>(__stack_chk_guard));
            std::exit(0);
        },
        testing::ExitedWithCode(0),
        testing::Not(
            testing::HasSubstr((std::ostringstream() << "guard " << std::hex << ours).str())));
}

}  // namespace
