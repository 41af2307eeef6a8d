#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "bench_parts/game_machine.h"
#include "window/tool_window.h"

namespace bench {

// Starts the real exe in the client folder of a player's machine, branded by stamping a
// configuration into a copy. By default the brand has one server with the package kZip, asks and
// starts nothing after a job, has no links and no background picture.
class ToolTest : public GameMachine {
protected:
    ToolTest();
    ~ToolTest() override;

    // The brand: all of these before the tool starts.

    // Changes one setting; `value` is escaped as the format demands.
    void Set(const std::string& key, const std::wstring& value);
    // Two servers; `secondServer` is the second one's package.
    void OfferSeveralServers(const std::wstring& secondServer);
    void OfferLinksAndShortcut();
    // Replaces embedded data of the tool, such as a picture.
    void Embed(int id, std::string bytes);
    void UseBrandPictures();
    // Makes a program that records its starts the startup program. It is outside of the client, so
    // a reinstall keeps it.
    void PutStartupProgram();

    // Driving the tool.

    // Stamps the copy and starts it. The machine's current folder is the tool's.
    ToolWindow& StartTool(WORD showCommand = SW_SHOWNORMAL);
    // Only after StartTool.
    [[nodiscard]] ToolWindow& Window() {
        return *window_;
    }
    // Presses the button, answers the reinstall's question, and returns when the job is under way.
    void StartRepair();
    void StartReinstall();
    // A whole job.
    void Repair();
    HWND AskToClose();
    // Closes the tool as a player does; see ExpectExit.
    void CloseTool();
    // Terminates the tool if it is running.
    void EndTool();

    // Jobs that stop while unpacking until the test lets them go on: their tar.exe waits to be
    // terminated, and after its failure the job tries powershell.exe.

    // From here on.
    void HoldJobs() const;
    // Start a job and return once it is held.
    void HoldRepair();
    void HoldReinstall();
    void AwaitHold();
    // The job ends some moments later, and is collected later still.
    void LetItSucceed();
    void LetItFail();
    // Ends the tar.exe that holds the job.
    void EndTar(DWORD exitCode);
    [[nodiscard]] const KernelHandle& Tar() const {
        return tar_;
    }
    // The held job's scratch folder, for a test to put a package's content there.
    [[nodiscard]] std::filesystem::path StagingFolder() const;

    // Looking at the results.

    // The tool ends with code 0 and leaves nothing in the temp folder.
    void ExpectExit();
    void ExpectRepaired() const;
    // Nothing follows from five more ticks: no box, no start of the game.
    void ExpectQuiet();
    // A box of the window. `defaultButton` and `icon` as in message_boxes.h.
    void ExpectBox(HWND box, const std::wstring& text, const std::vector<int>& buttons,
                   int defaultButton, UINT icon);
    // How often the startup program has recorded its start, some moments after it.
    [[nodiscard]] size_t StartsOfTheGame() const;
    // The same, once everything that the tool has started has recorded it.
    [[nodiscard]] size_t SettledStartsOfTheGame() const;
    // What the server was asked for, in order: "/archive/zip_lone_folder.zip".
    [[nodiscard]] std::vector<std::string> RequestedNames() const;
    // The shortcut that the brand's game gets on the Desktop. Does not exist before the test.
    [[nodiscard]] static std::filesystem::path ShortcutFile();

private:
    std::map<std::string, std::string> settings_;
    std::map<int, std::string> embedded_;
    std::optional<ToolWindow> window_;
    KernelHandle tar_;
};

}  // namespace bench
