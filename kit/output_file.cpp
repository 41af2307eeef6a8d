#include "kit/output_file.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>

#include "common/files.h"
#include "common/folder_walk.h"
#include "common/paths.h"
#include "common/text.h"
#include "kit/errors.h"
#include "kit/exit_codes.h"
#include "kit/utf8.h"

namespace {

constexpr std::wstring_view kTemporaryMark = L".tmp";
// So that the temporary name stays within the 255 characters that file systems allow.
constexpr size_t kLongestStem = 200;
constexpr size_t kLongestEnding = 30;

struct TemporaryFile {
    std::wstring path;
    HANDLE file;  // Null once it is closed.
};

// The temporary files that exist. The mutex is held while one of them is created, closed, renamed
// or removed, and for good once an interruption has begun.
std::mutex temporaryFilesMutex;
std::vector<TemporaryFile> temporaryFiles;
// Guarded by it, too. Empty when no work is half done.
std::function<void()> reportUnfinishedWork;

struct NameParts {
    std::wstring prefix;  // Up to the process id: ".client."
    std::wstring suffix;  // Behind it: ".tmp.zip"
};

NameParts TemporaryNameParts(std::wstring_view fileName) {
    std::wstring extension = FileNameExtension(fileName);
    if (extension.size() > kLongestEnding) {
        extension.clear();  // Too long to be a known type.
    }
    const std::wstring_view stem = fileName.substr(0, fileName.size() - extension.size());
    NameParts parts;
    parts.prefix = L"." + std::wstring(stem.substr(0, kLongestStem)) + L".";
    parts.suffix = std::wstring(kTemporaryMark) + extension;
    return parts;
}

// The process id in the name of a temporary file for the target with these parts, in any letter
// case; 0 if it is none.
unsigned long ProcessIdIn(std::wstring_view name, const NameParts& parts) {
    if (name.size() <= parts.prefix.size() + parts.suffix.size() ||
        !IsSameIgnoringCase(name.substr(0, parts.prefix.size()), parts.prefix) ||
        !IsSameIgnoringCase(name.substr(name.size() - parts.suffix.size()), parts.suffix)) {
        return 0;
    }
    name.remove_prefix(parts.prefix.size());
    name.remove_suffix(parts.suffix.size());
    constexpr size_t kMostDigits = 9;
    if (name.size() > kMostDigits || name.find_first_not_of(L"0123456789") != name.npos) {
        return 0;
    }
    unsigned long id = 0;
    for (const wchar_t digit : name) {
        id = id * 10 + static_cast<unsigned long>(digit - L'0');
    }
    return id;
}

// Whether the process that wrote the file has ended. Process ids are used again: a process that is
// younger than the file has not written it.
bool HasWriterEnded(unsigned long processId, const std::wstring& path) {
    const KernelHandle process(
        ::OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    if (!process) {
        return ::GetLastError() == ERROR_INVALID_PARAMETER;
    }
    if (::WaitForSingleObject(process.get(), 0) == WAIT_OBJECT_0) {
        return true;
    }
    FILETIME created{};
    FILETIME exited{};
    FILETIME kernel{};
    FILETIME user{};
    const auto written = LastWriteTime(path);
    return written && ::GetProcessTimes(process.get(), &created, &exited, &kernel, &user) &&
           *written < JoinFileTime(created);
}

// What runs with the same target have left behind. A run on another machine has its file open,
// which keeps it from being removed.
void RemoveLeftovers(const std::wstring& folder, const NameParts& parts) {
    std::vector<std::wstring> leftovers;
    static_cast<void>(ListFolder(folder, [&](const FolderEntry& entry) {
        const unsigned long processId = ProcessIdIn(entry.relativePath, parts);
        if (processId != 0 && !entry.IsFolder() && HasWriterEnded(processId, entry.path)) {
            leftovers.push_back(entry.path);
        }
        return true;
    }));  // A folder that cannot be listed has no leftovers to see.
    for (const std::wstring& leftover : leftovers) {
        static_cast<void>(DeleteSingleFile(leftover));  // The next run tries again.
    }
}

void Forget(const std::wstring& path) {
    std::erase_if(temporaryFiles, [&](const TemporaryFile& file) { return file.path == path; });
}

// An open file is removed when the process's end closes it.
void RemoveOnInterruption(const TemporaryFile& file) {
    FILE_DISPOSITION_INFO disposition{TRUE};
    if (file.file != nullptr) {
        ::SetFileInformationByHandle(file.file, FileDispositionInfo, &disposition,
                                     sizeof disposition);
    } else {
        static_cast<void>(DeleteSingleFile(file.path));  // The next run tries again.
    }
}

BOOL WINAPI OnInterruption(DWORD) {
    // Kept until the process ends, so that no file is created or renamed any more.
    temporaryFilesMutex.lock();
    for (const TemporaryFile& file : temporaryFiles) {
        RemoveOnInterruption(file);
    }
    if (reportUnfinishedWork) {
        reportUnfinishedWork();
        ::TerminateProcess(::GetCurrentProcess(), static_cast<UINT>(ExitCode::OutsideFailure));
    }
    return FALSE;  // The system's own handler ends the process.
}

// Some file systems (network shares, third-party drivers) cannot flush and fail with one of three
// codes.
DWORD FlushToDisk(HANDLE file) {
    const DWORD error = ::FlushFileBuffers(file) ? ERROR_SUCCESS : ::GetLastError();
    const bool isUnsupported = error == ERROR_INVALID_FUNCTION || error == ERROR_NOT_SUPPORTED ||
                               error == ERROR_INVALID_PARAMETER;
    return isUnsupported ? ERROR_SUCCESS : error;
}

// Reopens the closed file to flush what another program has written. Shares deletion, so that an
// interruption can still remove it.
KernelHandle OpenForFlushing(const std::wstring& path) {
    return AdoptHandle<KernelHandle>(
        ::CreateFileW(SystemPath(path).Text(), GENERIC_WRITE,
                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

std::wstring FolderOf(const std::wstring& path) {
    std::wstring folder = ParentFolder(path);
    return folder.empty() ? L"." : folder;
}

}  // namespace

std::wstring TemporaryName(std::wstring_view fileName, unsigned long processId) {
    const NameParts parts = TemporaryNameParts(fileName);
    return parts.prefix + std::to_wstring(processId) + parts.suffix;
}

OutputFile::OutputFile(const std::wstring& target) : target_(FullPath(target)) {
    if (target_.empty() || FileNamePart(target_).empty()) {
        throw OutsideFailure("cannot write", target, ERROR_INVALID_NAME);
    }
    if (KindOf(target_) == EntryKind::Folder) {
        throw OutsideFailure("cannot write " + WideToUtf8(target_) + ", which is a folder",
                             ERROR_ACCESS_DENIED);
    }
    CreateFolders();
    const std::wstring fileName = FileNamePart(target_);
    const std::wstring folder = FolderOf(target_);
    RemoveLeftovers(folder, TemporaryNameParts(fileName));
    temporaryPath_ = (folder.ends_with(L'\\') ? folder : folder + L'\\') +
                     TemporaryName(fileName, ::GetCurrentProcessId());
    DWORD error = ERROR_SUCCESS;
    {
        const std::lock_guard lock(temporaryFilesMutex);
        file_ = AdoptHandle<KernelHandle>(
            ::CreateFileW(SystemPath(temporaryPath_).Text(), GENERIC_READ | GENERIC_WRITE | DELETE,
                          FILE_SHARE_READ, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (file_) {
            temporaryFiles.push_back({temporaryPath_, file_.get()});
        } else {
            error = ::GetLastError();
        }
    }
    if (error != ERROR_SUCCESS) {
        Discard();
        throw OutsideFailure("cannot write", target_, error);
    }
}

OutputFile::~OutputFile() {
    if (!committed_) {
        Discard();
    }
}

void OutputFile::Write(std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        constexpr size_t kPieceBytes = 0x1000000;
        const auto length = static_cast<DWORD>(std::min(bytes.size(), kPieceBytes));
        DWORD written = 0;
        if (!::WriteFile(file_.get(), bytes.data(), length, &written, nullptr)) {
            throw OutsideFailure("cannot write", target_, ::GetLastError());
        }
        // On a full disk WriteFile can succeed with a short count.
        if (written != length) {
            throw OutsideFailure("cannot write", target_, ERROR_DISK_FULL);
        }
        bytes = bytes.subspan(length);
    }
}

void OutputFile::Write(std::string_view bytes) {
    Write(std::as_bytes(std::span(bytes)));
}

void OutputFile::Close() {
    Flush();
    CloseFile();
}

void OutputFile::CloseFile() {
    const std::lock_guard lock(temporaryFilesMutex);
    for (TemporaryFile& file : temporaryFiles) {
        file.file = file.path == temporaryPath_ ? nullptr : file.file;
    }
    file_.reset();
}

void OutputFile::Flush() {
    DWORD error = ERROR_SUCCESS;
    if (file_) {
        error = FlushToDisk(file_.get());
    } else if (const KernelHandle changed = OpenForFlushing(temporaryPath_)) {
        error = FlushToDisk(changed.get());
    }
    if (error != ERROR_SUCCESS) {
        Discard();
        throw OutsideFailure("cannot write", target_, error);
    }
}

void OutputFile::Commit() {
    CommitUnfinishedWork({});
}

void OutputFile::CommitUnfinishedWork(std::function<void()> report) {
    Close();
    DWORD error = ERROR_SUCCESS;
    {
        const std::lock_guard lock(temporaryFilesMutex);
        error = MoveEntry(temporaryPath_, target_);
        if (error == ERROR_SUCCESS) {
            Forget(temporaryPath_);
            reportUnfinishedWork = std::move(report);
            committed_ = true;
        }
    }
    if (error != ERROR_SUCCESS) {
        Discard();
        throw OutsideFailure("cannot replace", target_, error);
    }
}

// Remembers what it creates, so that a failure leaves no new folders behind.
void OutputFile::CreateFolders() {
    std::vector<std::wstring> missing;
    for (std::wstring folder = FolderOf(target_); KindOf(folder) == EntryKind::Missing;) {
        missing.push_back(folder);
        std::wstring parent = ParentFolder(folder);
        if (parent.empty() || parent == folder) {
            break;
        }
        folder = std::move(parent);
    }
    for (; !missing.empty(); missing.pop_back()) {
        const DWORD error = CreateSingleFolder(missing.back());
        if (error == ERROR_SUCCESS) {
            createdFolders_.push_back(missing.back());
        } else if (error != ERROR_ALREADY_EXISTS) {
            const std::wstring folder = missing.back();
            Discard();
            throw OutsideFailure("cannot create the folder", folder, error);
        }
    }
}

void OutputFile::Discard() {
    CloseFile();
    if (!temporaryPath_.empty()) {
        const std::lock_guard lock(temporaryFilesMutex);
        static_cast<void>(DeleteSingleFile(temporaryPath_));  // The next run tries again.
        Forget(temporaryPath_);
    }
    for (; !createdFolders_.empty(); createdFolders_.pop_back()) {
        // Fails if it is no longer empty.
        ::RemoveDirectoryW(SystemPath(createdFolders_.back()).Text());
    }
}

void ForgetUnfinishedWork() {
    const std::lock_guard lock(temporaryFilesMutex);
    reportUnfinishedWork = {};
}

void WriteFilesTogether(std::span<const FileContent> files) {
    // In reverse order, because the first may have created the others' folder.
    struct Outputs {
        std::vector<std::unique_ptr<OutputFile>> files;

        Outputs() = default;
        Outputs(const Outputs&) = delete;
        Outputs& operator=(const Outputs&) = delete;
        ~Outputs() {
            while (!files.empty()) {
                files.pop_back();
            }
        }
    };
    Outputs outputs;
    for (const FileContent& file : files) {
        outputs.files.push_back(std::make_unique<OutputFile>(file.path));
        outputs.files.back()->Write(file.bytes);
        outputs.files.back()->Close();
    }
    std::vector<std::wstring> newFiles;
    try {
        for (const auto& output : outputs.files) {
            const bool isNew = KindOf(output->Target()) == EntryKind::Missing;
            output->Commit();
            if (isNew) {
                newFiles.push_back(output->Target());
            }
        }
    } catch (...) {
        for (const std::wstring& file : newFiles) {
            static_cast<void>(DeleteSingleFile(file));  // The failure's message is what matters.
        }
        throw;
    }
}

void RemoveTemporaryFilesOnInterruption() {
    ::SetConsoleCtrlHandler(OnInterruption, TRUE);
}
