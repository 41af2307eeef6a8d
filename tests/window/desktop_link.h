#pragma once

#include <filesystem>
#include <string>

// The game's shortcut on the player's Desktop, with a name of this test's own. Not there when the
// object comes and gone when the object goes.
class DesktopLink {
public:
    DesktopLink();
    ~DesktopLink();
    DesktopLink(const DesktopLink&) = delete;
    DesktopLink& operator=(const DesktopLink&) = delete;

    // What the setting `shortcutName` has to say.
    [[nodiscard]] static std::wstring Name();
    [[nodiscard]] bool Exists() const;
    // The program that the shell would start; empty when the file is no shortcut.
    [[nodiscard]] std::wstring Target() const;

private:
    std::filesystem::path file_;
};
