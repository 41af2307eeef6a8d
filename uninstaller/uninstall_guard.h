#pragma once

#include <string>

// Decides whether the client folder may be removed.

// Why the client folder may not be removed, in the order of the checks.
enum class Refusal {
    None,
    NotRegistered,          // The game is not in the current user's list of installed programs.
    UnresolvedFolder,       // The uninstaller's folder or the registered one cannot be resolved.
    RegisteredElsewhere,    // The registered folder is not the uninstaller's.
    UnsafeFolder,           // Not the uninstaller's folder, a drive's root, or as short as "C:\ab".
    SharedFolder,           // A folder of Windows or the user, such as the profile.
    OtherProgram,           // Another entry of the list names this folder or one below it.
    StartupProgramMissing,  // The folder does not contain this game.
    InUse,                  // The game's startup program or the repair tool is running.
    Changed,                // The approved paths have changed while the question was open.
};

// The approved paths: canonical, resolved once. Both files are inside `folder`.
struct ApprovedClient {
    std::wstring folder;
    std::wstring uninstaller;
    std::wstring startupProgram;

    bool operator==(const ApprovedClient&) const = default;
};

struct Verdict {
    Refusal refusal = Refusal::None;
    ApprovedClient client{};      // Set only for Refusal::None.
    std::wstring namedFolder{};   // The folder in the refusal's text, if any.
    std::wstring namedProgram{};  // The program in the text of Refusal::OtherProgram.
};

// Checks the current client folder: `toolFolder` with the uninstaller `toolExePath`, according to
// the active configuration. Changes nothing.
[[nodiscard]] Verdict JudgeClient();

// Repeats the check after the question: approving anything other than `approved` becomes
// Refusal::Changed.
[[nodiscard]] Verdict JudgeClientAgain(const ApprovedClient& approved);
