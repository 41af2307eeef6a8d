#include "uninstaller/hand_over.h"

#include <bit>
#include <cstdint>
#include <cwchar>

#include "common/handles.h"
#include "system/installed_programs_values.h"
#include "uninstaller/temporary_folder.h"

namespace {

constexpr wchar_t kHandOverSwitch[] = L"/remove";
constexpr size_t kArgumentCount = 4;
constexpr DWORD kLongestWaitMs = 30'000;

// A name that no other process uses at the same time.
std::wstring CopyName() {
    return L"Uninstall-" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
           std::to_wstring(::GetTickCount64()) + L".exe";
}

SECURITY_ATTRIBUTES Inheritable() {
    return {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
}

// Opened in this way the file goes as soon as nobody has it open any more. The copy inherits the
// handle and holds it until it ends.
KernelHandle HoldUntilClosed(const std::filesystem::path& file) {
    // A read-only file could not be opened for removal.
    ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_NORMAL);
    SECURITY_ATTRIBUTES inheritable = Inheritable();
    return AdoptHandle<KernelHandle>(
        ::CreateFileW(file.c_str(), DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                      &inheritable, OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
}

KernelHandle InheritableHandleOfThisProcess() {
    HANDLE duplicate = nullptr;
    const HANDLE self = ::GetCurrentProcess();
    return KernelHandle(::DuplicateHandle(self, self, self, &duplicate, SYNCHRONIZE, TRUE, 0)
                            ? duplicate
                            : nullptr);
}

// The temporary folder becomes the current one: in the client folder the copy would stand in its
// own way.
bool StartProcess(const std::filesystem::path& program, std::wstring commandLine,
                  const std::filesystem::path& currentFolder) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    if (!::CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr,
                          currentFolder.c_str(), &startup, &started)) {
        return false;
    }
    const KernelHandle process(started.hProcess);
    const KernelHandle thread(started.hThread);
    // Its question is meant to come to the front, as this program's would.
    ::AllowSetForegroundWindow(started.dwProcessId);
    return true;
}

}  // namespace

std::wstring HandOverCommandLine(const std::filesystem::path& copy, const HandOver& handOver) {
    return QuoteCommandLinePath(copy) + L" " + kHandOverSwitch + L" " +
           QuoteCommandLinePath(handOver.uninstaller) + L" " +
           std::to_wstring(reinterpret_cast<uintptr_t>(handOver.original));
}

std::optional<HandOver> ParseHandOver(std::span<const wchar_t* const> arguments) {
    if (arguments.size() != kArgumentCount || std::wcscmp(arguments[1], kHandOverSwitch) != 0) {
        return std::nullopt;
    }
    wchar_t* end = nullptr;
    const uintptr_t handle = std::wcstoull(arguments[3], &end, 10);
    if (end == arguments[3] || *end != L'\0') {
        return std::nullopt;
    }
    return HandOver{arguments[2], std::bit_cast<HANDLE>(handle)};
}

bool StartCopy(const std::filesystem::path& uninstaller) {
    const std::filesystem::path folder = TemporaryFolder();
    const std::filesystem::path copy = folder / CopyName();
    if (folder.empty() || !::CopyFileW(uninstaller.c_str(), copy.c_str(), TRUE)) {
        return false;
    }
    const KernelHandle held = HoldUntilClosed(copy);
    if (!held) {
        ::DeleteFileW(copy.c_str());
        return false;
    }
    const KernelHandle self = InheritableHandleOfThisProcess();
    return self && StartProcess(copy, HandOverCommandLine(copy, {uninstaller, self.get()}), folder);
}

void AwaitOriginal(HANDLE original) {
    const KernelHandle process(original);
    // A handle that is none fails at once, which is as good as a process that has ended.
    ::WaitForSingleObject(process.get(), kLongestWaitMs);
}
