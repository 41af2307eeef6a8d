#pragma once

// From this call on, DLLs loaded by bare name come from the system folder, never from the exe's
// own. Call it first. Imports need more than this: see delayed_imports.h.
void LoadDllsFromSystemFolderOnly();
