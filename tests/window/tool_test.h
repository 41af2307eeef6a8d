#pragma once

#include <map>
#include <optional>
#include <string>

#include "bench_parts/game_machine.h"
#include "window/tool_window.h"

// The real exe in the client folder of a player's machine, branded by stamping a configuration into
// a copy. Unless a test says otherwise the brand has one server with the package kZip, asks and
// starts nothing after a job, and has no links.
class ToolTest : public bench::GameMachine {
protected:
    ToolTest();
    ~ToolTest() override;

    // Changes one setting; before the tool starts. `value` as it is meant: escaped on the way.
    void Set(const std::string& key, const std::wstring& value);
    // Takes the line out, so that the compiled-in default holds.
    void Unset(const std::string& key);
    // Two servers, with a package at `secondServer`.
    void OfferSeveralServers(const std::wstring& secondServer);
    // Makes the primary server stop in the middle of the package, until server_.ReleaseWaits();
    // what comes then is no archive.
    void HoldDownload();
    // Replaces embedded data of the tool, such as a picture; before the tool starts.
    void Embed(int id, std::string bytes);
    // Takes the tool without any embedded data instead of the branded one, and without a setting
    // until one is made.
    void UseBareTool();

    // Stamps the copy and starts it. The machine's current folder is the tool's.
    ToolWindow& StartTool();
    // The same, up to the moment that its job is under way.
    ToolWindow& StartRepair();
    // Closes the running tool as a player does, so that another can be started; expects code 0.
    void CloseTool();
    // Ends the tool without asking, if it runs.
    void EndTool();
    // The running tool; only after StartTool.
    [[nodiscard]] ToolWindow& Window() {
        return *window_;
    }

    // Makes a program that notes its starts the startup program. It lies outside of the client, so
    // that it outlives a reinstall.
    void PutStartupProgram();
    // How often the startup program was started so far, as it notes itself, some moments later.
    [[nodiscard]] size_t StartsOfTheGame() const;
    // The same, when everything that the tool has started by now has noted it.
    [[nodiscard]] size_t SettledStartsOfTheGame() const;

    // What the server was asked for, in order: "/archive/zip_lone_folder.zip".
    [[nodiscard]] std::vector<std::string> RequestedNames() const;

private:
    std::filesystem::path program_;
    std::map<std::string, std::string> settings_;
    std::map<int, std::string> embedded_;
    std::optional<ToolWindow> window_;
};
