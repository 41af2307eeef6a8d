#pragma once

// From here on, a DLL that anything in this process loads by its bare name comes from the system's
// folder, never from the exe's own. Call it before everything else. Imports need more than this:
// see delayed_imports.h.
void LoadDllsFromSystemFolderOnly();
