#pragma once

// Runs the uninstaller: check, question, second check, removal, report. Uses `toolFolder`,
// `toolExePath` and the active configuration, which must be set. Blocks while its message boxes are
// open. True when everything was removed. Requires COM on the calling thread.
[[nodiscard]] bool RunUninstall();

// Messages for failures before that.
void ReportMissingConfiguration();
void ReportFailedStart();
