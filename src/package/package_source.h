#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "config/tool_config.h"

// Where a job's package comes from, which kind it is, and where the job's temporary files are.
// Nothing here touches disk or network, and nothing reports an error.

// The user's choice between two download servers; initially the primary one. Window thread only.
extern bool primaryServerChosen;

// The package URL of the current job; empty before the first job and after a reset. Needs no lock:
// the window writes it only while no job thread exists.
extern std::wstring selectedPackageUrl;

// Whether the user has two servers to choose from.
bool HasSeveralServers(const ToolConfig& config);

// The URL that "Repair Client" asks for. Only the first mirror is ever used. May be blank: see
// SelectPackageUrl.
std::wstring ChoosePackageUrl(const ToolConfig& config, bool primaryServer);

// Sets the selected package URL to the trimmed candidate, or to the configured `archiveUrl`,
// untrimmed, if nothing is left. Window thread, while no job thread exists.
void SelectPackageUrl(std::wstring_view candidate);

// The URL that a job downloads from: `selectedUrl` trimmed, or `archiveUrl` untrimmed if nothing is
// left. None unless it begins with "http://" or "https://", in lower case.
[[nodiscard]] std::optional<std::wstring> JobPackageUrl(std::wstring_view selectedUrl,
                                                        const std::wstring& archiveUrl);

// The configured kind of the package. It only decides the downloaded file's extension; extraction
// uses the file's first bytes.
enum class ArchiveKind { Zip, Rar };

// The kind that `archiveType` names. With "auto", the first of `hint`, the trimmed `selectedUrl`
// and `archiveUrl` that is not empty decides: RAR if it contains ".rar" anywhere, so that a name
// inside a query counts too. A misspelled type means ZIP.
ArchiveKind ArchiveKindFor(std::wstring_view archiveType, std::wstring_view hint,
                           std::wstring_view selectedUrl, std::wstring_view archiveUrl);

// The same for the active configuration and the selected package URL. `hint` is a URL or a file
// name, usually empty.
ArchiveKind DetectArchiveKind(std::wstring_view hint);

// The downloaded archive's name without folder: the tool's file name (including its ".exe"), the
// process id and the milliseconds since the system's start, which make it unique to the job.
std::wstring ArchiveFileName(std::wstring_view repairToolName, uint32_t processId,
                             uint64_t milliseconds, ArchiveKind kind);

// The scratch folder's name without its parent.
std::wstring JobFolderName(uint32_t processId, uint64_t milliseconds);

// Full paths in the user's temporary folder; neither is created. Each call makes a new name, so a
// job calls them once, at its start. If the system cannot name the temporary folder or its name has
// 260 characters or more, the result is relative to the current folder.
std::wstring MakeArchiveDownloadPath();
std::wstring MakeJobTempFolder();
