#pragma once

#include <string>

// The stage that makes the client folder (`toolFolder`) match the unpacked package below
// `sourceRoot`. A repair copies files that are missing or differ in any byte, and corrects the time
// stamp of the others if it is off by 3 seconds or more. A reinstall first empties the client
// folder (see reinstall_cleanup.h) and then copies every file. Folders are created, empty ones too.
// Files that are not in the package are left alone, and so is the tool's own file.
//
// Job thread; blocks until done, but checks the cancel flag before each entry of the package.
// Publishes the stage and the number of files; before each file its name and how many have been
// started and copied; at the end a text with the result.
//
// The package's files are counted first. If its top folder cannot be listed, nothing is touched.
// Fewer files in the working pass than were counted are a failure: some have vanished (quarantined,
// cleaned up, drive unplugged). A folder further down that cannot be listed in either pass is
// skipped silently, and so is an entry behind a reparse point that cannot be resolved.
//
// `archivePath` is the file that the package was unpacked from, or empty. A reinstall is refused if
// the clean-out would delete it or `sourceRoot`.
//
// True when every file was processed. False after a report when the package cannot be read, the
// reinstall is refused or a file cannot be copied; earlier copies stay. False without a report when
// cancelled. Throws FileSystemError (common/win32_error.h) when the listing breaks off during a
// reinstall's clean-out.
[[nodiscard]] bool VerifyAndRepairClient(const std::wstring& sourceRoot, bool reinstall,
                                         const std::wstring& archivePath = {});
