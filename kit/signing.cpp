#include "kit/signing.h"

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <vector>

#include "common/handles.h"
#include "common/paths.h"
#include "common/temporary_folder.h"
#include "common/text.h"
#include "kit/errors.h"
#include "kit/utf8.h"

namespace {

// More than a person reads.
constexpr DWORD kMostOutputBytes = 0x100000;

constexpr DWORD kEndLimitMs = 5'000;

constexpr char kWhat[] = "the signing command ";

SECURITY_ATTRIBUTES Inheritable() {
    SECURITY_ATTRIBUTES attributes{};
    attributes.nLength = sizeof attributes;
    attributes.bInheritHandle = TRUE;
    return attributes;
}

// A file for the command's output, deleted when the last handle is closed. A pipe would stay open
// as long as anything that the command leaves running.
KernelHandle CreateOutputFile() {
    std::array<wchar_t, MAX_PATH> path{};
    const std::wstring folder = TemporaryFolder();
    if (::GetTempFileNameW(folder.c_str(), L"kit", 0, path.data()) == 0) {
        throw OutsideFailure("cannot write", folder, ::GetLastError());
    }
    SECURITY_ATTRIBUTES inheritable = Inheritable();
    auto file = AdoptHandle<KernelHandle>(::CreateFileW(
        path.data(), GENERIC_READ | GENERIC_WRITE | DELETE,
        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &inheritable, CREATE_ALWAYS,
        FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    if (!file) {
        throw OutsideFailure("cannot write", path.data(), ::GetLastError());
    }
    return file;
}

KernelHandle OpenEmptyInput() {
    SECURITY_ATTRIBUTES inheritable = Inheritable();
    return AdoptHandle<KernelHandle>(::CreateFileW(L"NUL", GENERIC_READ,
                                                   FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                                                   OPEN_EXISTING, 0, nullptr));
}

// A job object that ends its processes when the kit ends or the object is destroyed.
class ProcessGroup {
public:
    ProcessGroup() : job_(::CreateJobObjectW(nullptr, nullptr)) {
        SetLimits(JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE);
    }

    // A failure costs only that children of the command outlive it.
    void Add(HANDLE process) const {
        static_cast<void>(::AssignProcessToJobObject(job_.get(), process));
    }
    // Waits a few seconds until the processes have ended: until then they hold their files.
    void End(HANDLE process) const {
        const std::vector<KernelHandle> members = Members();
        static_cast<void>(::TerminateJobObject(job_.get(), 1));  // The next line ends the command.
        static_cast<void>(::TerminateProcess(process, 1));       // It may have ended already.
        const ULONGLONG begin = ::GetTickCount64();
        const auto await = [begin](HANDLE ending) {
            const ULONGLONG passed = std::min<ULONGLONG>(::GetTickCount64() - begin, kEndLimitMs);
            ::WaitForSingleObject(ending, static_cast<DWORD>(kEndLimitMs - passed));
        };
        await(process);
        for (const KernelHandle& member : members) {
            await(member.get());
        }
    }
    // Keeps running what the command has left running on purpose, such as a service for its next
    // run.
    void Release() const {
        SetLimits(0);
    }

private:
    [[nodiscard]] std::vector<KernelHandle> Members() const {
        constexpr size_t kMostMembers = 1'000;
        constexpr size_t kListBytes =
            sizeof(JOBOBJECT_BASIC_PROCESS_ID_LIST) + kMostMembers * sizeof(ULONG_PTR);
        std::vector<ULONG_PTR> buffer(kListBytes / sizeof(ULONG_PTR));
        auto* const list = reinterpret_cast<JOBOBJECT_BASIC_PROCESS_ID_LIST*>(buffer.data());
        std::vector<KernelHandle> members;
        if (::QueryInformationJobObject(job_.get(), JobObjectBasicProcessIdList, list, kListBytes,
                                        nullptr)) {
            for (DWORD i = 0; i < list->NumberOfProcessIdsInList; ++i) {
                KernelHandle member(
                    ::OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(list->ProcessIdList[i])));
                if (member) {
                    members.push_back(std::move(member));
                }
            }
        }
        return members;
    }

    void SetLimits(DWORD flags) const {
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = flags;
        static_cast<void>(::SetInformationJobObject(job_.get(), JobObjectExtendedLimitInformation,
                                                    &limits, sizeof limits));  // See Add.
    }

    KernelHandle job_;
};

// The command inherits these handles and no others.
class InheritedHandles {
public:
    explicit InheritedHandles(std::array<HANDLE, 2> handles) : handles_(handles) {
        SIZE_T size = 0;
        ::InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        buffer_.resize(size);
        if (!::InitializeProcThreadAttributeList(List(), 1, 0, &size) ||
            !::UpdateProcThreadAttribute(List(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST,
                                         handles_.data(), sizeof handles_, nullptr, nullptr)) {
            throw OutsideFailure(std::string(kWhat) + "cannot be started", ::GetLastError());
        }
    }
    ~InheritedHandles() {
        ::DeleteProcThreadAttributeList(List());
    }
    InheritedHandles(const InheritedHandles&) = delete;
    InheritedHandles& operator=(const InheritedHandles&) = delete;

    [[nodiscard]] LPPROC_THREAD_ATTRIBUTE_LIST List() {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(buffer_.data());
    }

private:
    std::array<HANDLE, 2> handles_;
    std::vector<std::byte> buffer_;
};

KernelHandle Start(const std::wstring& commandLine, HANDLE input, HANDLE output,
                   const ProcessGroup& group) {
    InheritedHandles inherited({input, output});
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof startup;
    startup.StartupInfo.dwFlags = STARTF_USESHOWWINDOW | STARTF_USESTDHANDLES;
    startup.StartupInfo.wShowWindow = SW_HIDE;
    startup.StartupInfo.hStdInput = input;
    startup.StartupInfo.hStdOutput = output;
    startup.StartupInfo.hStdError = output;
    startup.lpAttributeList = inherited.List();
    std::wstring buffer = commandLine;  // The call may write into it.
    PROCESS_INFORMATION started{};
    constexpr DWORD kFlags = CREATE_NO_WINDOW | CREATE_SUSPENDED | EXTENDED_STARTUPINFO_PRESENT;
    if (!::CreateProcessW(nullptr, buffer.data(), nullptr, nullptr, TRUE, kFlags, nullptr, nullptr,
                          &startup.StartupInfo, &started)) {
        throw OutsideFailure(std::string(kWhat) + WideToUtf8(commandLine) + " cannot be started",
                             ::GetLastError());
    }
    const KernelHandle thread(started.hThread);
    KernelHandle process(started.hProcess);
    group.Add(process.get());
    ::ResumeThread(thread.get());
    return process;
}

// The command that runs, for an interruption. The mutex is held while one is started and forgotten,
// and for good once an interruption has begun.
std::mutex runningMutex;
const ProcessGroup* runningGroup = nullptr;
HANDLE runningProcess = nullptr;

// Called before those that remove files: a file that the command has open cannot be removed.
BOOL WINAPI EndOnInterruption(DWORD) {
    runningMutex.lock();
    if (runningGroup != nullptr) {
        runningGroup->End(runningProcess);
    }
    return FALSE;
}

// Starts the command. An interruption ends it as long as the object lives.
class InterruptibleCommand {
public:
    InterruptibleCommand(const std::wstring& commandLine, HANDLE input, HANDLE output,
                         const ProcessGroup& group) {
        const std::lock_guard lock(runningMutex);
        process_ = Start(commandLine, input, output, group);
        runningGroup = &group;
        runningProcess = process_.get();
        ::SetConsoleCtrlHandler(EndOnInterruption, TRUE);
    }
    ~InterruptibleCommand() {
        {
            const std::lock_guard lock(runningMutex);
            runningGroup = nullptr;
        }
        // Not with the mutex held, which a handler that runs already waits for.
        ::SetConsoleCtrlHandler(EndOnInterruption, FALSE);
    }
    InterruptibleCommand(const InterruptibleCommand&) = delete;
    InterruptibleCommand& operator=(const InterruptibleCommand&) = delete;

    [[nodiscard]] HANDLE Process() const {
        return process_.get();
    }

private:
    KernelHandle process_;
};

// Whatever encoding the command prints in, as UTF-8.
std::string OutputText(std::string bytes) {
    if (IsValidUtf8(bytes)) {
        return bytes;
    }
    const auto length = static_cast<int>(bytes.size());
    std::wstring wide(bytes.size(), L'\0');
    const int characters = ::MultiByteToWideChar(CP_OEMCP, 0, bytes.data(), length, wide.data(),
                                                 static_cast<int>(wide.size()));
    wide.resize(static_cast<size_t>(characters));
    return WideToUtf8(wide);
}

// The bytes before the second line; of a single long line, those of a character cut in two.
size_t RestOfFirstLine(std::string_view bytes) {
    if (const size_t end = bytes.find('\n'); end != std::string_view::npos) {
        return end + 1;
    }
    const auto isContinuation = [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
    };
    const auto first = std::find_if_not(bytes.begin(), bytes.end(), isContinuation);
    return static_cast<size_t>(first - bytes.begin());
}

// The file's end, where the reason for a failure is: whole lines of at most kMostOutputBytes.
// Failures to read are ignored: the command's exit code says what matters.
std::string ReadOutput(HANDLE file) {
    LARGE_INTEGER size{};
    LARGE_INTEGER begin{};
    static_cast<void>(::GetFileSizeEx(file, &size));
    begin.QuadPart = std::max<LONGLONG>(0, size.QuadPart - kMostOutputBytes);
    std::string bytes(kMostOutputBytes, '\0');
    DWORD length = 0;
    if (!::SetFilePointerEx(file, begin, nullptr, FILE_BEGIN) ||
        !::ReadFile(file, bytes.data(), kMostOutputBytes, &length, nullptr)) {
        length = 0;
    }
    bytes.resize(length);
    if (begin.QuadPart > 0) {
        bytes.replace(0, RestOfFirstLine(bytes), "(the beginning is left out)\n");
    }
    return bytes;
}

void PrintOutput(HANDLE file, Console& console) {
    const std::string text = OutputText(ReadOutput(file));
    std::string_view rest = text;
    while (!rest.empty()) {
        const size_t end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        console.PrintError(line);
    }
}

}  // namespace

std::wstring SigningCommandLine(std::wstring_view command, std::wstring_view file) {
    std::wstring line;
    for (size_t found = command.find(kFilePlaceholder); found != std::wstring_view::npos;
         found = command.find(kFilePlaceholder)) {
        line += command.substr(0, found);
        line += file;
        command.remove_prefix(found + kFilePlaceholder.size());
    }
    return line.append(command);
}

void RunSigningCommand(const std::wstring& commandLine, DWORD timeLimitMs, Console& console) {
    const KernelHandle output = CreateOutputFile();
    const KernelHandle input = OpenEmptyInput();
    const ProcessGroup group;
    DWORD exitCode = 1;
    bool hasEnded = false;
    {
        const InterruptibleCommand command(commandLine, input.get(), output.get(), group);
        hasEnded = ::WaitForSingleObject(command.Process(), timeLimitMs) == WAIT_OBJECT_0;
        if (!hasEnded) {
            group.End(command.Process());
        }
        ::GetExitCodeProcess(command.Process(), &exitCode);  // If it fails, it counts as a failure.
    }
    if (!hasEnded) {
        PrintOutput(output.get(), console);
        throw OutsideFailure(std::string(kWhat) + "took longer than " +
                                 std::to_string(timeLimitMs / 1000) + " seconds and was ended",
                             WAIT_TIMEOUT);
    }
    group.Release();
    PrintOutput(output.get(), console);
    if (exitCode != 0) {
        throw OutsideFailure(std::string(kWhat) + "failed with exit code " +
                             std::to_string(exitCode));
    }
}
