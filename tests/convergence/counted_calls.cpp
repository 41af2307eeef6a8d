#include "convergence/counted_calls.h"

#include <vector>

#include "common/handles.h"
#include "job/progress/job_progress.h"

namespace {

std::optional<ChosenCall> chosen;
CallCounts counts;
DWORD idleThread = 0;
bool isRegistered = false;
// What an intervention itself asks of the system does not count.
bool isIntervening = false;

Phase PhaseOfFinishing(const JobState& state) {
    if (state.statusLine == L"Preparing clean reinstall...") {
        return Phase::CleanOut;
    }
    if (state.statusLine != L"Finishing...") {
        return Phase::Copying;
    }
    if (state.detailLine == L"Writing Uninstall.exe...") {
        return Phase::Uninstaller;
    }
    // The clean-up publishes nothing; it follows the registration.
    return isRegistered ? Phase::CleanUp : Phase::Registration;
}

Phase CurrentPhase() {
    const JobState state = snapshot();
    switch (state.stage) {
        case JobStage::Idle:
        case JobStage::Downloading:
            return Phase::Download;
        case JobStage::VerifyingPackage:
            return Phase::Hash;
        case JobStage::Extracting:
            return state.detailLine == L"Moving client files into place..." ? Phase::Flattening
                                                                            : Phase::Unpacking;
        case JobStage::Finishing:
            return PhaseOfFinishing(state);
        case JobStage::Done:
        case JobStage::Failed:
            break;
    }
    return Phase::CleanUp;
}

bool IsChosen(Phase phase, const char* function, unsigned number) {
    return phase == chosen->phase && function == chosen->function && number == chosen->number;
}

KernelHandle Open(const wchar_t* path, DWORD access, DWORD disposition) {
    return AdoptHandle<KernelHandle>(::CreateFileW(path, access, FILE_SHARE_READ, nullptr,
                                                   disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

}  // namespace

void BeginCounting(const std::optional<ChosenCall>& chosenCall) {
    idleThread = ::GetCurrentThreadId();
    chosen = chosenCall;
}

const CallCounts& CountedCalls() {
    return counts;
}

Intervention NoteCall(const char* function) {
    if (::GetCurrentThreadId() == idleThread || idleThread == 0 || isIntervening) {
        return Intervention::None;
    }
    const Phase phase = CurrentPhase();
    const unsigned number = ++counts[{phase, function}];
    if (!chosen) {
        return Intervention::None;
    }
    if (phase > chosen->phase) {
        Die(kKilledLate);
    }
    if (!IsChosen(phase, function, number)) {
        return Intervention::None;
    }
    if (chosen->intervention == Intervention::DieBefore) {
        Die();
    }
    isIntervening = true;
    return chosen->intervention;
}

void NoteReturn(const char* function, Intervention intervention) {
    if (intervention != Intervention::None) {
        Die();
    }
    // The job closes one registry key, when the registration is over.
    isRegistered = isRegistered || std::string_view(function) == "RegCloseKey";
}

void Die(int exitCode) {
    ::TerminateProcess(::GetCurrentProcess(), static_cast<UINT>(exitCode));
    for (;;) {
        ::Sleep(INFINITE);
    }
}

void CopyHalf(const wchar_t* source, const wchar_t* target, bool stretched) {
    const KernelHandle from = Open(source, GENERIC_READ, OPEN_EXISTING);
    const KernelHandle to = Open(target, GENERIC_WRITE, CREATE_ALWAYS);
    LARGE_INTEGER size{};
    ::GetFileSizeEx(from.get(), &size);
    std::vector<char> half(static_cast<size_t>(size.QuadPart / 2));
    DWORD bytes = 0;
    ::ReadFile(from.get(), half.data(), static_cast<DWORD>(half.size()), &bytes, nullptr);
    ::WriteFile(to.get(), half.data(), bytes, &bytes, nullptr);
    if (stretched) {
        ::SetFilePointerEx(to.get(), size, nullptr, FILE_BEGIN);
        ::SetEndOfFile(to.get());
    }
}
