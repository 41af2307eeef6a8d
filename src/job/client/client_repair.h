#pragma once

#include <filesystem>

// The stage that makes the client folder (`toolFolder`) agree with the unpacked package below
// `sourceRoot`: a repair copies the files that are missing or differ in any byte and aligns the
// time stamp of the others when it is 3 seconds or more away; a reinstall first empties the client
// folder (see reinstall_cleanup.h) and copies all. Folders are created, empty ones too. Files that
// the package does not have are left alone, and so is the tool's own file.
//
// Job thread; blocks until done, but looks at the cancel flag before each entry of the package.
// Publishes the stage, the count of files and, before the work on each file, how many were begun
// and copied and the file's name; at the end a text that says what was done.
//
// The package is counted first. Its top folder must be listable then (an empty one is), or nothing
// is touched; and the work must meet as many files as were counted, for some can vanish meanwhile:
// quarantined, cleaned away, unplugged. A folder further down that cannot be listed either time is
// skipped silently, and so is an entry behind a reparse point that cannot be resolved.
//
// `archivePath` is the file that the package was unpacked from, empty if there is none: a reinstall
// is refused when the clean-out would delete it or `sourceRoot`.
//
// True when every file was processed. False when the package cannot be read, the reinstall is
// refused or a file cannot be copied, each reported; what was copied before stays. False without a
// report when cancelled. Throws std::filesystem::filesystem_error when a reinstall's clean-out
// breaks off.
[[nodiscard]] bool VerifyAndRepairClient(const std::filesystem::path& sourceRoot, bool reinstall,
                                         const std::filesystem::path& archivePath = {});
