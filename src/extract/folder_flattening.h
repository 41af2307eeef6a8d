#pragma once

#include <string>

#include "common/windows_api.h"

// Many packages have one enclosing folder. After flattening, the client's files are at the top of
// the staging folder either way. Job thread; the cancel flag is not checked.

// If `stagingFolder` holds one folder and nothing else, moves that folder's content into
// `stagingFolder` and removes the folder; otherwise changes nothing. Only one level: a folder
// inside the lone one is moved as it is. True when there was nothing to do, everything worked, or
// `stagingFolder` does not exist. False after a failure report; entries already moved stay in their
// new place. A listing that fails or breaks off is a failure, because a lone folder could be
// overlooked, or removed with entries that the listing missed.
//
// A lone folder that contains an entry of its own name cannot be flattened: making room for that
// entry removes the folder itself, and the move fails.
[[nodiscard]] bool FlattenSingleTopFolder(const std::wstring& stagingFolder);

// Moves a file or folder into `destinationFolder` under its own name, replacing what is there, also
// across volumes. False when it can be neither renamed nor copied, or when the copied source cannot
// be removed; `error` is then the Win32 error, else ERROR_SUCCESS. Renaming moves a link itself;
// copying replaces links, also those inside a folder, by their targets. A link's target is never
// removed.
[[nodiscard]] bool MoveEntryInto(const std::wstring& entry, const std::wstring& destinationFolder,
                                 DWORD& error);
