#pragma once

#include <filesystem>

#include "common/windows_api.h"

// Packages are often packed with one enclosing folder. Lifting its content makes the client's
// files stand at the top of the staging folder either way. Job thread; a stop request is not
// looked at, what has begun runs to its end.

// When `stagingFolder` holds one folder and nothing else, moves that folder's content up beside it
// and removes it; in any other case leaves everything as it is. Only one level: a folder inside the
// lone one is moved as it stands. True when there was nothing to do or everything worked, also when
// `stagingFolder` is not there; false after a failure report, with what was already moved in its
// new place. A folder that cannot be listed to its end is such a failure: a lone folder would be
// overlooked, or removed with what the listing did not show.
//
// A lone folder that holds an entry of its own name cannot be lifted: making room for that entry
// removes the folder itself, and the move fails.
bool FlattenSingleTopFolder(const std::filesystem::path& stagingFolder);

// Moves a file or folder into `destinationFolder` under its own name, replacing what is there,
// also when that lies on another volume. False when it could be neither renamed nor copied, or
// when the copied source cannot be removed; `error` is then the Win32 error, else ERROR_SUCCESS.
// Renaming moves a link itself; copying puts in its place what it leads to, also for links inside a
// folder. What a link leads to is never removed.
bool MoveEntryInto(const std::filesystem::path& entry,
                   const std::filesystem::path& destinationFolder, DWORD& error);
