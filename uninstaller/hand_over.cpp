#include "uninstaller/hand_over.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <vector>

#include "common/handles.h"
#include "common/paths.h"
#include "common/temporary_folder.h"
#include "system/installed_programs_values.h"

namespace {

constexpr wchar_t kHandOverSwitch[] = L"/remove";
constexpr size_t kArgumentCount = 4;
constexpr DWORD kMaxWaitMs = 30'000;
constexpr int kHoldAttempts = 20;
constexpr DWORD kHoldIntervalMs = 100;

// Far larger than any uninstaller; larger files are refused.
constexpr LONGLONG kMaxProgramBytes = 0x10000000;

// Unique among running processes.
std::wstring CopyName() {
    return L"Uninstall-" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
           std::to_wstring(::GetTickCount64()) + L".exe";
}

using Bytes = std::vector<std::byte>;

// The whole file; none on failure.
std::optional<Bytes> ReadAll(HANDLE file) {
    LARGE_INTEGER size{};
    if (!::GetFileSizeEx(file, &size) || size.QuadPart > kMaxProgramBytes) {
        return std::nullopt;
    }
    Bytes bytes(static_cast<size_t>(size.QuadPart));
    DWORD read = 0;
    if (!::ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr) ||
        read != bytes.size()) {
        return std::nullopt;
    }
    return bytes;
}

std::optional<Bytes> ReadProgram(const std::wstring& program) {
    const auto file = AdoptHandle<KernelHandle>(::CreateFileW(SystemPath(program).Text(),
                                                              GENERIC_READ, FILE_SHARE_READ,
                                                              nullptr, OPEN_EXISTING, 0, nullptr));
    return file ? ReadAll(file.get()) : std::nullopt;
}

// False when the path exists already or writing fails; a partly written file is deleted.
bool WriteNewFile(const std::wstring& path, const Bytes& bytes) {
    auto file = AdoptHandle<KernelHandle>(
        ::CreateFileW(SystemPath(path).Text(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    if (!file) {
        return false;
    }
    DWORD written = 0;
    // On a full disk WriteFile can succeed with a short count.
    if (::WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                    nullptr) &&
        written == bytes.size()) {
        return true;
    }
    file.reset();
    ::DeleteFileW(SystemPath(path).Text());
    return false;
}

// Opens the file so that it is deleted when the last handle is closed; the copy inherits the handle
// and keeps it until it ends. Until then others can read and execute the file, but not write,
// rename or delete it. If a link has replaced the file, the link itself is opened.
KernelHandle OpenDeleteOnClose(const std::wstring& file) {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    for (int attempt = 1;; ++attempt) {
        auto held = AdoptHandle<KernelHandle>(::CreateFileW(
            SystemPath(file).Text(), GENERIC_READ | DELETE, FILE_SHARE_READ, &inheritable,
            OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
        if (held || ::GetLastError() != ERROR_SHARING_VIOLATION || attempt == kHoldAttempts) {
            return held;
        }
        ::Sleep(kHoldIntervalMs);  // Virus scanners open new programs for a moment.
    }
}

// A held copy of `program`; null on failure, with the copy deleted.
KernelHandle MakeHeldCopy(const std::wstring& program, const std::wstring& copy) {
    const std::optional<Bytes> bytes = ReadProgram(program);
    if (!bytes || !WriteNewFile(copy, *bytes)) {
        return nullptr;
    }
    KernelHandle held = OpenDeleteOnClose(copy);
    if (!held) {
        ::DeleteFileW(SystemPath(copy).Text());
        return nullptr;
    }
    // A file open for writing cannot be executed, so it was closed in between and may have been
    // changed. From here on it cannot change.
    return ReadAll(held.get()) == bytes ? std::move(held) : nullptr;
}

KernelHandle InheritableHandleOfThisProcess() {
    HANDLE duplicate = nullptr;
    const HANDLE self = ::GetCurrentProcess();
    return KernelHandle(::DuplicateHandle(self, self, self, &duplicate, SYNCHRONIZE, TRUE, 0)
                            ? duplicate
                            : nullptr);
}

struct DeleteAttributeList {
    void operator()(LPPROC_THREAD_ATTRIBUTE_LIST list) const noexcept {
        ::DeleteProcThreadAttributeList(list);
    }
};
using AttributeList =
    std::unique_ptr<std::remove_pointer_t<LPPROC_THREAD_ATTRIBUTE_LIST>, DeleteAttributeList>;

// An attribute list, stored in `memory`, that makes a process inherit only `handles`. Both must
// outlive the process's creation. Null on failure.
AttributeList InheritOnly(std::span<HANDLE> handles, std::vector<std::byte>& memory) {
    SIZE_T size = 0;
    ::InitializeProcThreadAttributeList(nullptr, 1, 0, &size);  // Fails but returns the size.
    memory.resize(size);
    auto* const list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory.data());
    if (!::InitializeProcThreadAttributeList(list, 1, 0, &size)) {
        return nullptr;
    }
    AttributeList attributes(list);
    return ::UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles.data(),
                                       handles.size_bytes(), nullptr, nullptr)
               ? std::move(attributes)
               : nullptr;
}

// `currentFolder` must not be inside the client: a process's current folder cannot be deleted.
bool StartProcess(const std::wstring& program, std::wstring commandLine,
                  const std::wstring& currentFolder, std::span<HANDLE> inherited) {
    std::vector<std::byte> memory;
    const AttributeList attributes = InheritOnly(inherited, memory);
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof startup;
    startup.lpAttributeList = attributes.get();
    PROCESS_INFORMATION started{};
    if (!attributes || !::CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr,
                                         TRUE, EXTENDED_STARTUPINFO_PRESENT, nullptr,
                                         currentFolder.c_str(), &startup.StartupInfo, &started)) {
        return false;
    }
    const KernelHandle process(started.hProcess);
    const KernelHandle thread(started.hThread);
    // Lets its question come to the front, as this program's would.
    ::AllowSetForegroundWindow(started.dwProcessId);
    return true;
}

}  // namespace

std::wstring HandOverCommandLine(const std::wstring& copy, const HandOver& handOver) {
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

bool StartCopy(const std::wstring& uninstaller) {
    const std::wstring folder = TemporaryFolder();
    if (folder.empty()) {
        return false;
    }
    const std::wstring copy = JoinPaths(folder, CopyName());
    const KernelHandle held = MakeHeldCopy(uninstaller, copy);
    const KernelHandle self = InheritableHandleOfThisProcess();
    std::array inherited{held.get(), self.get()};
    return held && self &&
           StartProcess(copy, HandOverCommandLine(copy, {uninstaller, self.get()}), folder,
                        inherited);
}

void AwaitOriginal(HANDLE original) {
    const KernelHandle process(original);
    // An invalid handle fails immediately, which counts as an ended process.
    ::WaitForSingleObject(process.get(), kMaxWaitMs);
}
