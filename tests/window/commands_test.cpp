// The buttons that start no job.

#include <gtest/gtest.h>

#include <algorithm>

#include "bench_parts/registry_entry.h"
#include "bench_parts/skipping.h"
#include "bench_parts/waiting.h"
#include "window/tool_test.h"

namespace {

class Command : public bench::ToolTest {};

TEST_F(Command, RunsThePatcherInItsFolderAtEachPress) {
    machine_.PutRecorder(Client() / L"bin" / L"patch er.exe", "");
    Set("startupExe", L"bin\\patch er.exe");
    const bench::ToolWindow& window = StartTool();
    for (const size_t press : {1U, 2U}) {
        window.Press(ButtonId::RunPatcher);
        const bench::ProgramRun run = machine_.AwaitRuns(press).back();
        EXPECT_EQ(run.program, (Client() / L"bin" / L"patch er.exe").native());
        EXPECT_EQ(run.currentFolder, (Client() / L"bin").native());
    }
}

constexpr wchar_t kBrowserKey[] = L"Software\\Wine\\WineBrowser";
// Written by the script note_url, which replaces the browser.
constexpr wchar_t kOpenedUrls[] = L"C:\\bench\\opened_urls.txt";

class LinkCommand : public bench::ToolTest {
protected:
    LinkCommand() {
        bench::WriteFile(kOpenedUrls, "");
        bench::RemoveKey(kBrowserKey);
        bench::StoreValue(kBrowserKey, L"Browsers", bench::StoredText(BENCH_BROWSER));
    }
    ~LinkCommand() override {
        bench::RemoveKey(kBrowserKey);
        std::filesystem::remove(kOpenedUrls);
    }

    void SetUp() override {
        SKIP_ON_WINDOWS("only under Wine can the browser be replaced for one test");
    }

    // One line for each start of the browser: the number of its arguments, and the first.
    [[nodiscard]] static std::string Opened() {
        return bench::ReadFile(kOpenedUrls);
    }
};

TEST_F(LinkCommand, OpensItsAddressAtAPress) {
    Set("websiteUrl", L"http://127.0.0.1:1/news?from=tool&x=1%20y#latest");
    Set("discordUrl", L"https://127.0.0.1:1/join?game=karvoth&a=b#rules");
    const bench::ToolWindow& window = StartTool();
    window.Press(ButtonId::Website);
    EXPECT_TRUE(bench::Await([] { return Opened().ends_with('\n'); }));
    window.Press(ButtonId::Discord);
    EXPECT_TRUE(bench::Await([] { return std::ranges::count(Opened(), '\n') == 2; }));
    EXPECT_EQ(Opened(),
              "1 http://127.0.0.1:1/news?from=tool&x=1%20y#latest\n"
              "1 https://127.0.0.1:1/join?game=karvoth&a=b#rules\n");
}

}  // namespace
