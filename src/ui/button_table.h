#pragma once

#include <optional>
#include <span>

#include "config/tool_config.h"
#include "ui/layout.h"

// The table of the twelve buttons, used to create, place, show, enable and draw them.

// The control ids. Public: UI automation finds the buttons by these ids.
enum class ButtonId : int {
    RepairClient = 4001,
    ReinstallGame = 4002,
    CreateShortcut = 4003,
    RunPatcher = 4004,
    Website = 4005,
    Discord = 4006,
    Minimize = 4007,
    CloseMark = 4008,
    Retry = 4009,
    Close = 4010,
    PrimaryServer = 4011,
    SecondServer = 4012,
};

enum class ButtonLook {
    Primary,   // Filled with the accent color: the main action.
    Accented,  // Accent-colored border.
    Plain,
    Quiet,   // Accent-colored text: links, minimize and close.
    Choice,  // A check box with a text beside it.
};

// Conditions that decide which buttons are shown.
struct ButtonConditions {
    bool failureShown = false;  // A job has failed and "Retry" has not been pressed.
    bool severalServers = false;
    bool hasWebsite = false;
    bool hasDiscord = false;
    bool offersShortcut = false;
    bool hasStartupProgram = false;
};

struct ButtonSpec {
    ButtonId id;
    const wchar_t* text;
    ButtonLook look;
    bool startsJob = false;  // Disabled while a job exists.
    // Its place with one download server and with several; without a place it is not shown.
    std::optional<Box> place{};
    std::optional<Box> placeWithServers{};
    bool (*isShown)(const ButtonConditions&);
};

// All buttons, in the order of creation.
std::span<const ButtonSpec> Buttons();

// The button with this control id; null for any other control.
const ButtonSpec* FindButton(int controlId);

// The row of one of the twelve.
const ButtonSpec& SpecOf(ButtonId id);

ButtonConditions ConditionsFor(const ToolConfig& config, bool failureShown);
