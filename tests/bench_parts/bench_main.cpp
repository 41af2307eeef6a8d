// The `main` of every test program. It adds to GoogleTest's own what an unattended run needs: no
// dialog blocks it, no output is lost in a crash, and a successful run ends with a marker line that
// the runner looks for, because exit codes alone can be wrong.

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
    // Plain line ends: the runner compares lines on a system without carriage returns.
    _setmode(_fileno(stdout), _O_BINARY);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
}

// False if the tests were only listed or all filtered out.
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
