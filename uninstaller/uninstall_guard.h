#pragma once

#include <filesystem>
#include <string>

// The guard before anything is removed.

// Why the client folder is left alone, in the order of the checks.
enum class Refusal {
    None,
    NotRegistered,          // The game is not in the current user's list of installed programs.
    UnresolvedFolder,       // The uninstaller's folder or the registered one cannot be resolved.
    RegisteredElsewhere,    // The registered folder is not the uninstaller's.
    UnsafeFolder,           // Not the uninstaller's folder, a drive's root, or as short as "C:\ab".
    SharedFolder,           // Windows or the user keeps other things there, as in the profile.
    OtherProgram,           // Another entry of the list names this folder or one below it.
    StartupProgramMissing,  // Whatever the folder holds, it is no client of this game.
    InUse,                  // The game's startup program or the repair tool is running.
    Changed,                // Approved before the question; after it the same paths lead elsewhere.
};

// What may be removed: canonical paths, resolved once. Both files are inside `folder`.
struct ApprovedClient {
    std::filesystem::path folder;
    std::filesystem::path uninstaller;
    std::filesystem::path startupProgram;

    bool operator==(const ApprovedClient&) const = default;
};

struct Verdict {
    Refusal refusal = Refusal::None;
    ApprovedClient client{};      // Complete for Refusal::None only.
    std::wstring namedFolder{};   // The folder that the refusal's text names, if it names one.
    std::wstring namedProgram{};  // The program that it names, for Refusal::OtherProgram.
};

// Judges the client folder as it is at this moment: `toolFolder` with the uninstaller `toolExePath`
// in it, and the active configuration. Touches nothing.
[[nodiscard]] Verdict JudgeClient();

// The same once more, after the question: an approval of anything else than `approved` becomes
// Refusal::Changed.
[[nodiscard]] Verdict JudgeClientAgain(const ApprovedClient& approved);
