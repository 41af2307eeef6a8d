#pragma once

// The destructive part of a reinstall: emptying the client folder, and the guard before it. Job
// thread. Both work on `toolFolder` and `toolExePath`.

// Whether the client folder may be emptied: it can be resolved, is no root of a drive or a network
// share, its resolved path is not as short as "C:\ab" (5 characters), and the tool's own file lies
// directly in it. Judged by where the paths lead, so links, substituted and mapped drives, short
// names and letter case make no difference. A tool path that fills its buffer may have been cut and
// is refused. Touches nothing.
bool IsSafeReinstallFolder();

// Removes everything in the client folder but the tool's own file. True when that was done,
// though entries that could not be removed stay: the copying that follows overwrites what it can
// and reports the rest. False when the folder is not safe: the failure is reported, nothing is
// touched. Publishes stage and texts once, does not look at the cancel flag; blocks until done.
// Throws std::filesystem::filesystem_error when the folder's listing breaks off half-way; what was
// listed before is then gone.
bool PrepareCleanReinstall();
