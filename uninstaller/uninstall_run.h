#pragma once

// The uninstaller's one run: guard, question, guard again, removal, report. Works on `toolFolder`,
// `toolExePath` and the active configuration, all set before. Blocks in its message boxes. True
// when the game is gone with everything. The thread has COM initialized.
bool RunUninstall();

// The two ends before that: the program cannot go on at all.
void ReportMissingConfiguration();
void ReportFailedStart();
