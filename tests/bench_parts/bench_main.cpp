// The `main` of every test program. It differs from GoogleTest's own in what an unattended run
// needs: no dialog waits for an answer, nothing printed is lost in a crash, and the last line of a
// successful run is a marker that the runner looks for, because an exit code alone can lie.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <io.h>

#include <cstdio>

#include "common/windows_api.h"

#ifdef _MSC_VER
#include <crtdbg.h>
#include <stdlib.h>
#endif

namespace {

void KeepDialogsAway() {
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
#ifdef _MSC_VER
    _set_abort_behavior(0, _WRITE_ABORT_MSG | _CALL_REPORTFAULT);
#endif
#ifdef _DEBUG
    for (const int reportType : {_CRT_WARN, _CRT_ERROR, _CRT_ASSERT}) {
        _CrtSetReportMode(reportType, _CRTDBG_MODE_FILE);
        _CrtSetReportFile(reportType, _CRTDBG_FILE_STDERR);
    }
#endif
}

void PrepareOutput() {
    ::SetConsoleOutputCP(CP_UTF8);
    // Plain line ends, for the runner compares lines on a system that has no carriage returns.
    _setmode(_fileno(stdout), _O_BINARY);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
}

// False when the tests were only listed, or when a filter left none.
bool HasRunAnyTest() {
    const testing::UnitTest& run = *testing::UnitTest::GetInstance();
    return run.successful_test_count() + run.failed_test_count() + run.skipped_test_count() > 0;
}

}  // namespace

int main(int argc, char** argv) {
    KeepDialogsAway();
    PrepareOutput();
    testing::InitGoogleMock(&argc, argv);
    const int result = RUN_ALL_TESTS();
    if (result == 0 && HasRunAnyTest()) {
        std::puts("bench: all tests passed");
    }
    return result;
}
