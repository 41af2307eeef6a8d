#include "window/held_job.h"

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"

HeldJob::HeldJob() {
    machine_.PutRecorder(machine_.CurrentFolder() / L"tar.exe", "hold");
}

HeldJob::~HeldJob() {
    EndTool();
    if (tar_ && ::WaitForSingleObject(tar_.get(), 0) == WAIT_TIMEOUT) {
        EndTar(1);
    }
}

void HeldJob::HoldRepair() {
    Window().Press(ButtonId::RepairClient);
    AwaitHold();
}

void HeldJob::HoldReinstall() {
    Window().Press(ButtonId::ReinstallGame);
    bench::Answer(bench::AwaitBox(L"Confirm Reinstall"), IDYES);
    AwaitHold();
}

void HeldJob::AwaitHold() {
    const auto isHeld = [](const bench::ProgramRun& run) {
        return run.program.ends_with(L"\\tar.exe") && !run.endCode;
    };
    tar_ = bench::Await([&] {
        for (const bench::ProgramRun& run : machine_.Runs()) {
            KernelHandle process(isHeld(run) ? ::OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE |
                                                                 PROCESS_QUERY_LIMITED_INFORMATION,
                                                             FALSE, run.processId)
                                             : nullptr);
            if (process && ::WaitForSingleObject(process.get(), 0) == WAIT_TIMEOUT) {
                return process;
            }
        }
        return KernelHandle();
    });
    EXPECT_TRUE(tar_) << "no job unpacks";
    // So that the window shows it, too.
    Window().PostTick();
    EXPECT_TRUE(Window().AwaitIdle());
}

void HeldJob::LetItSucceed() {
    machine_.PutPowerShell();
    EndTar(1);
}

void HeldJob::LetItFail() {
    machine_.PutRecorder(machine_.CurrentFolder() / L"powershell.exe", "exit 1");
    EndTar(1);
}

std::filesystem::path HeldJob::StagingFolder() const {
    for (const std::wstring& name : TempFolder()) {
        if (name.starts_with(L"KrvBrennickRepair_")) {
            return std::filesystem::temp_directory_path() / name;
        }
    }
    ADD_FAILURE() << "no scratch folder";
    return {};
}

HWND HeldJob::AskToClose() {
    Window().PostClose();
    return bench::AwaitBox(L"Close Repair Tool");
}

void HeldJob::EndTar(DWORD exitCode) {
    EXPECT_TRUE(::TerminateProcess(tar_.get(), exitCode));
}

void HeldJob::HoldNoMore() const {
    machine_.PutTar();
}
