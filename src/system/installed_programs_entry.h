#pragma once

#include <string>

// Enters the game into the current user's list of installed programs (Programs and Features), or
// renews its entry there value by value; an entry under an older display name stays.
//
// Expects the uninstaller to stand in `toolFolder`; it is what the entry calls. False with the
// text for the user in `message`: nothing is registered, except that values already written stay
// when a later one fails. `message` is left alone on success. Job thread; blocks while the client
// folder is measured.
bool RegisterProgramsAndFeatures(std::wstring& message);
