#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/handles.h"

// Files that the kit writes. Each is written under a temporary name beside its target and renamed
// when it is complete, so a target is never half written. Failures throw OutsideFailure.

// The temporary name for a target's file name: "client.zip" gives ".client.1234.tmp.zip". Keeps the
// ending, because signing programs go by it.
std::wstring TemporaryName(std::wstring_view fileName, unsigned long processId);

// A file that is being written. Creates missing folders above the target, removes what killed runs
// with the same target have left, and creates the temporary file. Without Commit the temporary file
// and the folders that were created go away with the object; Ctrl+C removes the file only.
class OutputFile {
public:
    // Throws when the target is a folder or the file cannot be created.
    explicit OutputFile(const std::wstring& target);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Appends. Throws when not all could be written.
    void Write(std::span<const std::byte> bytes);
    void Write(std::string_view bytes);

    // For reading back or writing elsewhere than at the end: opened for reading and writing. Null
    // after Close.
    [[nodiscard]] HANDLE Handle() const {
        return file_.get();
    }

    // The temporary file, for other programs to work on; Close first.
    [[nodiscard]] const std::wstring& TemporaryPath() const {
        return temporaryPath_;
    }
    [[nodiscard]] const std::wstring& Target() const {
        return target_;
    }

    // Writes the file to the disk, so that not even a power failure leaves a target without its
    // content, and closes it. Throws, with the temporary file removed, when the disk fails.
    void Close();

    // Closes the file if it is open, else writes to the disk what other programs have changed in it
    // (unless they keep it from being opened). Renames it to the target, replacing what is there.
    // Throws, with the temporary file removed, when one of these fails.
    void Commit();

    // The same for a file that is only the first half of the work: from its renaming on until the
    // next Commit or ForgetUnfinishedWork, Ctrl+C calls `report` on a thread of the system and ends
    // the process with ExitCode::OutsideFailure.
    void CommitUnfinishedWork(std::function<void()> report);

private:
    void CreateFolders();
    void Flush();
    void CloseFile();
    void Discard();

    std::wstring target_;
    std::wstring temporaryPath_;
    std::vector<std::wstring> createdFolders_;  // Outermost first.
    KernelHandle file_;
    bool committed_ = false;
};

// See OutputFile::CommitUnfinishedWork.
void ForgetUnfinishedWork();

// Writes several files, and renames them only when all of them are complete. When one cannot be
// renamed, those that were renamed before and replaced nothing are removed again.
struct FileContent {
    std::wstring path;
    std::string_view bytes;
};
void WriteFilesTogether(std::span<const FileContent> files);

// From now on Ctrl+C (and closing the console) removes all temporary files before the process ends.
void RemoveTemporaryFilesOnInterruption();
