#pragma once

#include <filesystem>
#include <system_error>
#include <utility>

#include "installed_game_test.h"
#include "uninstaller/uninstall_guard.h"

class JudgeClientTest : public InstalledGameTest {
protected:
    static Refusal FindRefusal() {
        return JudgeClient().refusal;
    }
};

// Takes the game out of a folder again that may not be the test's own; the folder goes with it
// when it was not there before.
class GameInFolder {
public:
    explicit GameInFolder(std::filesystem::path folder) : folder_(std::move(folder)) {}
    ~GameInFolder() {
        std::error_code ignored;
        for (const wchar_t* const entry : {L"bin", L"data", L"Uninstall.exe"}) {
            std::filesystem::remove_all(folder_ / entry, ignored);
        }
        if (!wasThere_) {
            std::filesystem::remove(folder_, ignored);
        }
    }
    GameInFolder(const GameInFolder&) = delete;
    GameInFolder& operator=(const GameInFolder&) = delete;

private:
    std::filesystem::path folder_;
    bool wasThere_ = std::filesystem::exists(folder_);
};
