#include "ui/button_table.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <tuple>

namespace {

// Control ids are plain numbers here: UI automation relies on them.
int IdOf(const ButtonSpec& spec) {
    return static_cast<int>(spec.id);
}

// x, y, width, height.
using Edges = std::tuple<int, int, int, int>;

std::optional<Edges> EdgesOf(const std::optional<Box>& box) {
    return box ? std::optional(Edges(box->x, box->y, box->width, box->height)) : std::nullopt;
}

struct Row {
    int id;
    std::wstring text;
    ButtonLook look;
    bool startsJob;
    std::optional<Edges> place;
    std::optional<Edges> placeWithServers;
};

using enum ButtonLook;

// In the order of their creation.
const Row kRows[] = {
    {4001, L"Repair Client", Primary, true, Edges(92, 396, 188, 44), Edges(342, 440, 176, 42)},
    {4011, L"Repair game on Asia Download Server", Choice, true, {}, Edges(112, 396, 300, 34)},
    {4012, L"Repair game on EU Download Server", Choice, true, {}, Edges(448, 396, 300, 34)},
    {4002, L"Reinstall Game", Accented, true, Edges(298, 396, 188, 44), {}},
    {4003, L"Create Game Shortcut", Plain, false, Edges(504, 396, 180, 44),
     Edges(178, 486, 220, 28)},
    {4004, L"Run Patcher", Plain, false, Edges(342, 456, 176, 42), Edges(462, 486, 176, 28)},
    {4005, L"Website", Quiet, false, Edges(24, 516, 110, 30), Edges(24, 516, 110, 30)},
    {4006, L"Discord", Quiet, false, Edges(142, 516, 110, 30), Edges(142, 516, 110, 30)},
    {4009, L"Retry", Accented, false, Edges(244, 396, 176, 44), Edges(244, 396, 176, 44)},
    {4010, L"Close", Accented, false, Edges(440, 396, 176, 44), Edges(440, 396, 176, 44)},
    {4007, L"-", Quiet, false, Edges(792, 10, 28, 28), Edges(792, 10, 28, 28)},
    {4008, L"x", Quiet, false, Edges(822, 10, 28, 28), Edges(822, 10, 28, 28)},
};

TEST(ButtonTable, HasTheseRows) {
    ASSERT_EQ(Buttons().size(), std::size(kRows));
    for (size_t index = 0; index < std::size(kRows); ++index) {
        const ButtonSpec& spec = Buttons()[index];
        const Row& row = kRows[index];
        SCOPED_TRACE(row.id);
        EXPECT_EQ(IdOf(spec), row.id);
        EXPECT_EQ(spec.text, row.text);
        EXPECT_EQ(spec.look, row.look);
        EXPECT_EQ(spec.startsJob, row.startsJob);
        EXPECT_EQ(EdgesOf(spec.place), row.place);
        EXPECT_EQ(EdgesOf(spec.placeWithServers), row.placeWithServers);
        EXPECT_EQ(FindButton(row.id), &spec);
    }
    for (const int id : {0, -1, 1, 4000, 4013, 4001 + 0x10000}) {
        EXPECT_EQ(FindButton(id), nullptr) << id;
    }
}

constexpr int kConditions = 6;

// Each condition is one bit, so that a loop covers every combination.
ButtonConditions ConditionsFromBits(int bits) {
    return {
        .failureShown = (bits & 1) != 0,
        .severalServers = (bits & 2) != 0,
        .hasWebsite = (bits & 4) != 0,
        .hasDiscord = (bits & 8) != 0,
        .offersShortcut = (bits & 16) != 0,
        .hasStartupProgram = (bits & 32) != 0,
    };
}

int BitsOf(const ButtonConditions& state) {
    return (state.failureShown ? 1 : 0) + (state.severalServers ? 2 : 0) +
           (state.hasWebsite ? 4 : 0) + (state.hasDiscord ? 8 : 0) +
           (state.offersShortcut ? 16 : 0) + (state.hasStartupProgram ? 32 : 0);
}

// The same rules by state instead of by button.
std::set<int> ExpectedIds(const ButtonConditions& state) {
    std::set<int> ids{4007, 4008};
    if (state.hasWebsite) {
        ids.insert(4005);
    }
    if (state.hasDiscord) {
        ids.insert(4006);
    }
    if (state.failureShown) {
        ids.insert({4009, 4010});
        return ids;
    }
    ids.insert(4001);
    if (state.severalServers) {
        ids.insert({4011, 4012});
    } else {
        ids.insert(4002);
    }
    if (state.hasStartupProgram) {
        ids.insert(4004);
        if (state.offersShortcut) {
            ids.insert(4003);
        }
    }
    return ids;
}

TEST(ButtonTable, ShowsWhatThePlayerCanDo) {
    for (int bits = 0; bits < 1 << kConditions; ++bits) {
        const ButtonConditions state = ConditionsFromBits(bits);
        std::set<int> shown;
        for (const ButtonSpec& spec : Buttons()) {
            if (spec.isShown(state)) {
                shown.insert(IdOf(spec));
            }
        }
        EXPECT_EQ(shown, ExpectedIds(state)) << bits;
    }
}

TEST(ConditionsFor, ReadsEachConditionFromItsOwnKeys) {
    const struct {
        int bits;
        void (*configure)(ToolConfig&);
    } rows[] = {
        {0,
         [](ToolConfig&) {
         }},
        {4,
         [](ToolConfig& config) {
             config.websiteUrl = L"https://karvoth.example";
         }},
        {16,
         [](ToolConfig& config) {
             config.offerDesktopShortcut = true;
         }},
        {32,
         [](ToolConfig& config) {
             config.startupExe = L"client.exe";
         }},
        // These two take a switch and an address.
        {0,
         [](ToolConfig& config) {
             config.multiRepairTool = true;
         }},
        {0,
         [](ToolConfig& config) {
             config.archiveMirrorUrls = {L"https://eu.example/"};
         }},
        {2,
         [](ToolConfig& config) {
             config.multiRepairTool = true;
             config.archiveMirrorUrls = {L"https://eu.example/"};
         }},
        {0,
         [](ToolConfig& config) {
             config.showDiscord = true;
         }},
        {0,
         [](ToolConfig& config) {
             config.discordUrl = L"https://discord.example";
         }},
        {8,
         [](ToolConfig& config) {
             config.showDiscord = true;
             config.discordUrl = L"https://discord.example";
         }},
    };
    for (const auto& row : rows) {
        ToolConfig config;
        config.archiveMirrorUrls.clear();
        config.websiteUrl.clear();
        config.discordUrl.clear();
        config.startupExe.clear();
        config.multiRepairTool = config.showDiscord = config.offerDesktopShortcut = false;
        row.configure(config);
        EXPECT_EQ(BitsOf(ConditionsFor(config, false)), row.bits) << &row - rows;
        EXPECT_EQ(BitsOf(ConditionsFor(config, true)), row.bits + 1) << &row - rows;
    }
}

}  // namespace
