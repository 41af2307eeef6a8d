#pragma once

#include "bench_parts/call_hook.h"
#include "common/paths.h"
#include "installed_game_test.h"
#include "system/startup_program.h"
#include "uninstaller/client_removal.h"

class RemoveGameTest : public InstalledGameTest {
protected:
    // What the guard approves of a client that is not in use.
    static ApprovedClient Client() {
        return {*WeaklyCanonical(toolFolder), *WeaklyCanonical(toolExePath),
                *WeaklyCanonical(ResolveStartupExePath(toolConfig, toolFolder))};
    }

    static RemovalResult RemoveInstalledGame() {
        return RemoveGame(Client());
    }

    static decltype(&::CreateFileW) RealCreateFile() {
        return bench::RealFunction<decltype(&::CreateFileW)>(bench::kKernel32, "CreateFileW");
    }
};
