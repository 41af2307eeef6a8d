#include "ui/button_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

// The control ids as numbers: they are fixed from outside.
int IdOf(const ButtonSpec& spec) {
    return static_cast<int>(spec.id);
}

std::vector<int> IdsWhere(bool (*holds)(const ButtonSpec&)) {
    std::vector<int> ids;
    for (const ButtonSpec& spec : Buttons()) {
        if (holds(spec)) {
            ids.push_back(IdOf(spec));
        }
    }
    return ids;
}

TEST(ButtonTable, ListsTheTwelveInTheOrderOfTheirCreation) {
    std::vector<std::pair<int, std::wstring>> buttons;
    for (const ButtonSpec& spec : Buttons()) {
        buttons.emplace_back(IdOf(spec), spec.text);
    }
    using Button = std::pair<int, std::wstring>;
    EXPECT_THAT(buttons,
                ElementsAre(Button(4001, L"Repair Client"),
                            Button(4011, L"Repair game on Asia Download Server"),
                            Button(4012, L"Repair game on EU Download Server"),
                            Button(4002, L"Reinstall Game"), Button(4003, L"Create Game Shortcut"),
                            Button(4004, L"Run Patcher"), Button(4005, L"Website"),
                            Button(4006, L"Discord"), Button(4009, L"Retry"),
                            Button(4010, L"Close"), Button(4007, L"-"), Button(4008, L"x")));
}

TEST(ButtonTable, FourButtonsStartOrPrepareAJob) {
    EXPECT_THAT(IdsWhere([](const ButtonSpec& spec) { return spec.startsJob; }),
                UnorderedElementsAre(4001, 4002, 4011, 4012));
}

TEST(ButtonTable, GivesEachButtonItsLook) {
    EXPECT_THAT(IdsWhere([](const ButtonSpec& spec) { return spec.look == ButtonLook::Primary; }),
                UnorderedElementsAre(4001));
    EXPECT_THAT(IdsWhere([](const ButtonSpec& spec) { return spec.look == ButtonLook::Accented; }),
                UnorderedElementsAre(4002, 4009, 4010));
    EXPECT_THAT(IdsWhere([](const ButtonSpec& spec) { return spec.look == ButtonLook::Plain; }),
                UnorderedElementsAre(4003, 4004));
    EXPECT_THAT(IdsWhere([](const ButtonSpec& spec) { return spec.look == ButtonLook::Quiet; }),
                UnorderedElementsAre(4005, 4006, 4007, 4008));
    EXPECT_THAT(IdsWhere([](const ButtonSpec& spec) { return spec.look == ButtonLook::Choice; }),
                UnorderedElementsAre(4011, 4012));
}

TEST(ButtonTable, FindsAButtonByItsControlId) {
    for (const ButtonSpec& spec : Buttons()) {
        EXPECT_EQ(FindButton(IdOf(spec)), &spec);
    }
}

TEST(ButtonTable, FindsNothingForAnotherId) {
    for (const int id : {0, -1, 1, 4000, 4013, 4001 + 0x10000}) {
        EXPECT_EQ(FindButton(id), nullptr) << id;
    }
}

// x, y, width, height.
using Edges = std::tuple<int, int, int, int>;

std::optional<Edges> EdgesOf(const std::optional<Box>& box) {
    if (!box) {
        return std::nullopt;
    }
    return Edges(box->x, box->y, box->width, box->height);
}

struct Place {
    int id;
    std::optional<Edges> withOneServer;
    std::optional<Edges> withServers;
};

const Place kPlaces[] = {
    {4001, Edges(92, 396, 188, 44), Edges(342, 440, 176, 42)},
    {4002, Edges(298, 396, 188, 44), std::nullopt},
    {4003, Edges(504, 396, 180, 44), Edges(178, 486, 220, 28)},
    {4004, Edges(342, 456, 176, 42), Edges(462, 486, 176, 28)},
    {4005, Edges(24, 516, 110, 30), Edges(24, 516, 110, 30)},
    {4006, Edges(142, 516, 110, 30), Edges(142, 516, 110, 30)},
    {4007, Edges(792, 10, 28, 28), Edges(792, 10, 28, 28)},
    {4008, Edges(822, 10, 28, 28), Edges(822, 10, 28, 28)},
    {4009, Edges(244, 396, 176, 44), Edges(244, 396, 176, 44)},
    {4010, Edges(440, 396, 176, 44), Edges(440, 396, 176, 44)},
    {4011, std::nullopt, Edges(112, 396, 300, 34)},
    {4012, std::nullopt, Edges(448, 396, 300, 34)},
};

TEST(ButtonTable, PlacesEachButtonInBothLayouts) {
    ASSERT_EQ(Buttons().size(), std::size(kPlaces));
    for (const auto& [id, withOneServer, withServers] : kPlaces) {
        const ButtonSpec* spec = FindButton(id);
        ASSERT_NE(spec, nullptr) << id;
        EXPECT_EQ(EdgesOf(spec->place), withOneServer) << id;
        EXPECT_EQ(EdgesOf(spec->placeWithServers), withServers) << id;
    }
}

constexpr int kConditions = 6;

// The conditions as the bits of a number, so that every combination comes up.
ButtonConditions ConditionsFromBits(int bits) {
    return {
        .failureShown = (bits & 1) != 0,
        .severalServers = (bits & 2) != 0,
        .hasWebsite = (bits & 4) != 0,
        .hasCommunity = (bits & 8) != 0,
        .offersShortcut = (bits & 16) != 0,
        .hasStartupProgram = (bits & 32) != 0,
    };
}

// The ids that a window in this state shows, put together from what the player can do there.
std::vector<int> ExpectedIds(const ButtonConditions& state) {
    std::vector<int> ids{4007, 4008};
    if (state.hasWebsite) {
        ids.push_back(4005);
    }
    if (state.hasCommunity) {
        ids.push_back(4006);
    }
    if (state.failureShown) {
        ids.insert(ids.end(), {4009, 4010});
        return ids;
    }
    ids.push_back(4001);
    if (state.severalServers) {
        ids.insert(ids.end(), {4011, 4012});
    } else {
        ids.push_back(4002);
    }
    if (state.hasStartupProgram) {
        ids.push_back(4004);
        if (state.offersShortcut) {
            ids.push_back(4003);
        }
    }
    return ids;
}

TEST(ButtonTable, ShowsWhatThePlayerCanDo) {
    for (int bits = 0; bits < 1 << kConditions; ++bits) {
        const ButtonConditions state = ConditionsFromBits(bits);
        std::vector<int> shown;
        for (const ButtonSpec& spec : Buttons()) {
            if (spec.isShown(state)) {
                shown.push_back(IdOf(spec));
            }
        }
        EXPECT_THAT(shown, testing::UnorderedElementsAreArray(ExpectedIds(state))) << bits;
    }
}

TEST(ButtonTable, PlacesEachButtonThatItShows) {
    for (int bits = 0; bits < 1 << kConditions; ++bits) {
        const ButtonConditions state = ConditionsFromBits(bits);
        for (const ButtonSpec& spec : Buttons()) {
            const auto& place = state.severalServers ? spec.placeWithServers : spec.place;
            EXPECT_TRUE(!spec.isShown(state) || place.has_value()) << bits << ' ' << IdOf(spec);
        }
    }
}

// Nothing configured of what shows a button.
ToolConfig BareConfig() {
    ToolConfig config;
    config.archiveMirrorUrls.clear();
    config.websiteUrl.clear();
    config.discordUrl.clear();
    config.startupExe.clear();
    config.multiRepairTool = false;
    config.showDiscord = false;
    config.offerDesktopShortcut = false;
    return config;
}

// The same combination of conditions as a number again.
int BitsOf(const ButtonConditions& state) {
    return (state.failureShown ? 1 : 0) + (state.severalServers ? 2 : 0) +
           (state.hasWebsite ? 4 : 0) + (state.hasCommunity ? 8 : 0) +
           (state.offersShortcut ? 16 : 0) + (state.hasStartupProgram ? 32 : 0);
}

TEST(ConditionsFor, ReadsEachConditionFromItsOwnKeys) {
    EXPECT_EQ(BitsOf(ConditionsFor(BareConfig(), false)), 0);
    EXPECT_EQ(BitsOf(ConditionsFor(BareConfig(), true)), 1);

    ToolConfig config = BareConfig();
    config.websiteUrl = L"https://karvoth.example";
    EXPECT_EQ(BitsOf(ConditionsFor(config, false)), 4);

    config = BareConfig();
    config.offerDesktopShortcut = true;
    EXPECT_EQ(BitsOf(ConditionsFor(config, false)), 16);

    config = BareConfig();
    config.startupExe = L"client.exe";
    EXPECT_EQ(BitsOf(ConditionsFor(config, false)), 32);
}

TEST(ConditionsFor, TakesTwoServersOnlyWhenWantedAndThere) {
    ToolConfig config = BareConfig();
    config.multiRepairTool = true;
    EXPECT_EQ(BitsOf(ConditionsFor(config, false)), 0);
    config.archiveMirrorUrls = {L"https://eu.example/client.zip"};
    EXPECT_EQ(BitsOf(ConditionsFor(config, false)), 2);
    config.multiRepairTool = false;
    EXPECT_EQ(BitsOf(ConditionsFor(config, false)), 0);
}

TEST(ConditionsFor, TakesTheCommunityOnlyWhenWantedAndThere) {
    ToolConfig config = BareConfig();
    config.showDiscord = true;
    EXPECT_EQ(BitsOf(ConditionsFor(config, false)), 0);
    config.discordUrl = L"https://discord.example";
    EXPECT_EQ(BitsOf(ConditionsFor(config, false)), 8);
    config.showDiscord = false;
    EXPECT_EQ(BitsOf(ConditionsFor(config, false)), 0);
}

}  // namespace
