#include "ui/button_table.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <tuple>

#include "config/config_text.h"

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

// Each condition is one bit, so that a loop covers every combination.
constexpr int kFailureShown = 1;
constexpr int kSeveralServers = 2;
constexpr int kHasWebsite = 4;
constexpr int kHasDiscord = 8;
constexpr int kOffersShortcut = 16;
constexpr int kHasStartup = 32;
constexpr int kAllConditions = 63;

struct Row {
    int id;
    std::wstring text;
    ButtonLook look;
    bool startsJob;
    std::optional<Edges> place;
    std::optional<Edges> placeWithServers;
    // Shown when all of the ones and none of the others hold.
    int shownWith;
    int hiddenWith;
};

using enum ButtonLook;
constexpr std::optional<Edges> kNowhere;

// In the order of their creation.
const Row kRows[] = {
    {4001, L"Repair Client", Primary, true, Edges(92, 396, 188, 44), Edges(342, 440, 176, 42), 0,
     kFailureShown},
    {4011, L"Repair game on Asia Download Server", Choice, true, kNowhere, Edges(112, 396, 300, 34),
     kSeveralServers, kFailureShown},
    {4012, L"Repair game on EU Download Server", Choice, true, kNowhere, Edges(448, 396, 300, 34),
     kSeveralServers, kFailureShown},
    {4002, L"Reinstall Game", Accented, true, Edges(298, 396, 188, 44), kNowhere, 0,
     kFailureShown | kSeveralServers},
    {4003, L"Create Game Shortcut", Plain, false, Edges(504, 396, 180, 44),
     Edges(178, 486, 220, 28), kOffersShortcut | kHasStartup, kFailureShown},
    {4004, L"Run Patcher", Plain, false, Edges(342, 456, 176, 42), Edges(462, 486, 176, 28),
     kHasStartup, kFailureShown},
    {4005, L"Website", Quiet, false, Edges(24, 516, 110, 30), Edges(24, 516, 110, 30), kHasWebsite,
     0},
    {4006, L"Discord", Quiet, false, Edges(142, 516, 110, 30), Edges(142, 516, 110, 30),
     kHasDiscord, 0},
    {4009, L"Retry", Accented, false, Edges(244, 396, 176, 44), Edges(244, 396, 176, 44),
     kFailureShown, 0},
    {4010, L"Close", Accented, false, Edges(440, 396, 176, 44), Edges(440, 396, 176, 44),
     kFailureShown, 0},
    {4007, L"-", Quiet, false, Edges(792, 10, 28, 28), Edges(792, 10, 28, 28), 0, 0},
    {4008, L"x", Quiet, false, Edges(822, 10, 28, 28), Edges(822, 10, 28, 28), 0, 0},
};

ButtonConditions ConditionsFromBits(int bits) {
    return {
        .failureShown = (bits & kFailureShown) != 0,
        .severalServers = (bits & kSeveralServers) != 0,
        .hasWebsite = (bits & kHasWebsite) != 0,
        .hasDiscord = (bits & kHasDiscord) != 0,
        .offersShortcut = (bits & kOffersShortcut) != 0,
        .hasStartupProgram = (bits & kHasStartup) != 0,
    };
}

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
        for (int bits = 0; bits <= kAllConditions; ++bits) {
            const bool isShown =
                (bits & row.shownWith) == row.shownWith && !(bits & row.hiddenWith);
            EXPECT_EQ(spec.isShown(ConditionsFromBits(bits)), isShown) << bits;
        }
    }
    for (const int id : {0, -1, 1, 4000, 4013, 4001 + 0x10000}) {
        EXPECT_EQ(FindButton(id), nullptr) << id;
    }
}

int BitsOf(const ButtonConditions& state) {
    return (state.failureShown ? kFailureShown : 0) + (state.severalServers ? kSeveralServers : 0) +
           (state.hasWebsite ? kHasWebsite : 0) + (state.hasDiscord ? kHasDiscord : 0) +
           (state.offersShortcut ? kOffersShortcut : 0) +
           (state.hasStartupProgram ? kHasStartup : 0);
}

TEST(ConditionsFor, ReadsEachConditionFromItsOwnKeys) {
    constexpr std::string_view kNone =
        "archiveMirrorUrls=\nwebsiteUrl=\ndiscordUrl=\nstartupExe=\nmultiRepairTool=0\n"
        "showDiscord=0\nofferDesktopShortcut=0\n";
    const std::pair<const char*, int> rows[] = {
        {"", 0},
        {"websiteUrl=https://karvoth.example", kHasWebsite},
        {"offerDesktopShortcut=1", kOffersShortcut},
        {"startupExe=client.exe", kHasStartup},
        // These two take a switch and an address.
        {"multiRepairTool=1", 0},
        {"archiveMirrorUrls=https://eu.example/", 0},
        {"multiRepairTool=1\narchiveMirrorUrls=https://eu.example/", kSeveralServers},
        {"showDiscord=1", 0},
        {"discordUrl=https://discord.example", 0},
        {"showDiscord=1\ndiscordUrl=https://discord.example", kHasDiscord},
    };
    for (const auto& [text, bits] : rows) {
        const ToolConfig config = ParseConfigText(std::string(kNone) + text);
        EXPECT_EQ(BitsOf(ConditionsFor(config, false)), bits) << text;
        EXPECT_EQ(BitsOf(ConditionsFor(config, true)), bits + kFailureShown) << text;
    }
}

}  // namespace
