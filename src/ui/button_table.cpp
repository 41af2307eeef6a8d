#include "ui/button_table.h"

#include <algorithm>

#include "package/package_source.h"

namespace {

using Conditions = ButtonConditions;

bool Always(const Conditions&) {
    return true;
}

bool OnFailure(const Conditions& now) {
    return now.failureShown;
}

bool UnlessFailed(const Conditions& now) {
    return !now.failureShown;
}

bool WithOneServer(const Conditions& now) {
    return !now.failureShown && !now.severalServers;
}

bool WithServers(const Conditions& now) {
    return !now.failureShown && now.severalServers;
}

bool WithShortcut(const Conditions& now) {
    return !now.failureShown && now.offersShortcut && now.hasStartupProgram;
}

bool WithStartupProgram(const Conditions& now) {
    return !now.failureShown && now.hasStartupProgram;
}

bool WithWebsite(const Conditions& now) {
    return now.hasWebsite;
}

bool WithCommunity(const Conditions& now) {
    return now.hasCommunity;
}

constexpr Box kRetryBox{244, 396, 176, 44};
constexpr Box kCloseBox{440, 396, 176, 44};
constexpr Box kWebsiteBox{24, 516, 110, 30};
constexpr Box kCommunityBox{142, 516, 110, 30};
constexpr Box kMinimizeBox{792, 10, 28, 28};
constexpr Box kCloseMarkBox{822, 10, 28, 28};

constexpr ButtonSpec kButtons[] = {
    {ButtonId::RepairClient, L"Repair Client", ButtonLook::Primary, true, Box{92, 396, 188, 44},
     Box{342, 440, 176, 42}, UnlessFailed},
    {ButtonId::PrimaryServer, L"Repair game on Asia Download Server", ButtonLook::Choice, true,
     std::nullopt, Box{112, 396, 300, 34}, WithServers},
    {ButtonId::SecondServer, L"Repair game on EU Download Server", ButtonLook::Choice, true,
     std::nullopt, Box{448, 396, 300, 34}, WithServers},
    {ButtonId::ReinstallGame, L"Reinstall Game", ButtonLook::Accented, true, Box{298, 396, 188, 44},
     std::nullopt, WithOneServer},
    {ButtonId::CreateShortcut, L"Create Game Shortcut", ButtonLook::Plain, false,
     Box{504, 396, 180, 44}, Box{178, 486, 220, 28}, WithShortcut},
    {ButtonId::RunPatcher, L"Run Patcher", ButtonLook::Plain, false, Box{342, 456, 176, 42},
     Box{462, 486, 176, 28}, WithStartupProgram},
    {ButtonId::Website, L"Website", ButtonLook::Quiet, false, kWebsiteBox, kWebsiteBox,
     WithWebsite},
    {ButtonId::Community, L"Discord", ButtonLook::Quiet, false, kCommunityBox, kCommunityBox,
     WithCommunity},
    {ButtonId::Retry, L"Retry", ButtonLook::Accented, false, kRetryBox, kRetryBox, OnFailure},
    {ButtonId::Close, L"Close", ButtonLook::Accented, false, kCloseBox, kCloseBox, OnFailure},
    {ButtonId::Minimize, L"-", ButtonLook::Quiet, false, kMinimizeBox, kMinimizeBox, Always},
    {ButtonId::CloseMark, L"x", ButtonLook::Quiet, false, kCloseMarkBox, kCloseMarkBox, Always},
};

}  // namespace

std::span<const ButtonSpec> Buttons() {
    return kButtons;
}

const ButtonSpec* FindButton(int controlId) {
    const auto found =
        std::ranges::find(kButtons, static_cast<ButtonId>(controlId), &ButtonSpec::id);
    return found == std::end(kButtons) ? nullptr : &*found;
}

ButtonConditions ConditionsFor(const ToolConfig& config, bool failureShown) {
    return {
        .failureShown = failureShown,
        .severalServers = HasSeveralServers(config),
        .hasWebsite = !config.websiteUrl.empty(),
        .hasCommunity = config.showDiscord && !config.discordUrl.empty(),
        .offersShortcut = config.offerDesktopShortcut,
        .hasStartupProgram = !config.startupExe.empty(),
    };
}
