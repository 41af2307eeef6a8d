#pragma once

#include "window/tool_test.h"

// A machine on which a job stands still while it unpacks, so that a test can look at it and act,
// and then goes on to the end that the test wants: its tar.exe waits until somebody ends it, and
// failing it makes the job try powershell.exe.
class HeldJob : public ToolTest {
protected:
    HeldJob();
    ~HeldJob() override;

    // Presses the button, answers the reinstall's question, and returns when the job stands still.
    void HoldRepair();
    void HoldReinstall();
    // Let it go on. It is over some moments later, and collected later still.
    void LetItSucceed();
    void LetItFail();

    // The scratch folder of the suspended job, for a test to put a package's content there.
    [[nodiscard]] std::filesystem::path StagingFolder() const;
    // The question that appears then.
    HWND AskToClose();

    // Ends the unpacking program that holds the job.
    void EndTar(DWORD exitCode);
    // The program itself.
    [[nodiscard]] const KernelHandle& Tar() const {
        return tar_;
    }
    // From here on jobs unpack without standing still.
    void HoldNoMore() const;

private:
    void AwaitHold();

    KernelHandle tar_;
};
