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

bool WithDiscord(const Conditions& now) {
    return now.hasDiscord;
}

constexpr ButtonSpec kButtons[] = {
    {.id = ButtonId::RepairClient,
     .text = L"Repair Client",
     .look = ButtonLook::Primary,
     .startsJob = true,
     .place = kRepairButton,
     .placeWithServers = kRepairButtonWithServers,
     .isShown = UnlessFailed},
    {.id = ButtonId::PrimaryServer,
     .text = L"Repair game on Asia Download Server",
     .look = ButtonLook::Choice,
     .startsJob = true,
     .placeWithServers = kPrimaryServerButton,
     .isShown = WithServers},
    {.id = ButtonId::SecondServer,
     .text = L"Repair game on EU Download Server",
     .look = ButtonLook::Choice,
     .startsJob = true,
     .placeWithServers = kSecondServerButton,
     .isShown = WithServers},
    {.id = ButtonId::ReinstallGame,
     .text = L"Reinstall Game",
     .look = ButtonLook::Accented,
     .startsJob = true,
     .place = kReinstallButton,
     .isShown = WithOneServer},
    {.id = ButtonId::CreateShortcut,
     .text = L"Create Game Shortcut",
     .look = ButtonLook::Plain,
     .place = kShortcutButton,
     .placeWithServers = kShortcutButtonWithServers,
     .isShown = WithShortcut},
    {.id = ButtonId::RunPatcher,
     .text = L"Run Patcher",
     .look = ButtonLook::Plain,
     .place = kPatcherButton,
     .placeWithServers = kPatcherButtonWithServers,
     .isShown = WithStartupProgram},
    {.id = ButtonId::Website,
     .text = L"Website",
     .look = ButtonLook::Quiet,
     .place = kWebsiteButton,
     .placeWithServers = kWebsiteButton,
     .isShown = WithWebsite},
    {.id = ButtonId::Discord,
     .text = L"Discord",
     .look = ButtonLook::Quiet,
     .place = kDiscordButton,
     .placeWithServers = kDiscordButton,
     .isShown = WithDiscord},
    {.id = ButtonId::Retry,
     .text = L"Retry",
     .look = ButtonLook::Accented,
     .place = kRetryButton,
     .placeWithServers = kRetryButton,
     .isShown = OnFailure},
    {.id = ButtonId::Close,
     .text = L"Close",
     .look = ButtonLook::Accented,
     .place = kCloseButton,
     .placeWithServers = kCloseButton,
     .isShown = OnFailure},
    {.id = ButtonId::Minimize,
     .text = L"-",
     .look = ButtonLook::Quiet,
     .place = kMinimizeButton,
     .placeWithServers = kMinimizeButton,
     .isShown = Always},
    {.id = ButtonId::CloseMark,
     .text = L"x",
     .look = ButtonLook::Quiet,
     .place = kCloseMarkButton,
     .placeWithServers = kCloseMarkButton,
     .isShown = Always},
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

const ButtonSpec& SpecOf(ButtonId id) {
    return *std::ranges::find(kButtons, id, &ButtonSpec::id);
}

ButtonConditions ConditionsFor(const ToolConfig& config, bool failureShown) {
    return {
        .failureShown = failureShown,
        .severalServers = HasSeveralServers(config),
        .hasWebsite = !config.websiteUrl.empty(),
        .hasDiscord = config.showDiscord && !config.discordUrl.empty(),
        .offersShortcut = config.offerDesktopShortcut,
        .hasStartupProgram = !config.startupExe.empty(),
    };
}
