#pragma once

#include <optional>
#include <span>

#include "config/tool_config.h"
#include "ui/layout.h"

// The twelve buttons: the one table by which they are created, placed, shown, enabled and drawn.

// The control ids, fixed from outside: who drives the tool finds its buttons by them.
enum class ButtonId : int {
    RepairClient = 4001,
    ReinstallGame = 4002,
    CreateShortcut = 4003,
    RunPatcher = 4004,
    Website = 4005,
    Community = 4006,
    Minimize = 4007,
    CloseMark = 4008,
    Retry = 4009,
    Close = 4010,
    PrimaryServer = 4011,
    SecondServer = 4012,
};

enum class ButtonLook {
    Primary,   // Filled with the accent: what most players want.
    Accented,  // Bordered with the accent.
    Plain,
    Quiet,   // Text in the accent: links and the window's own marks.
    Choice,  // A box with a check mark and a text beside it.
};

// What decides which buttons are shown.
struct ButtonConditions {
    bool failureShown = false;  // A job has ended in failure and nobody has pressed "Retry".
    bool severalServers = false;
    bool hasWebsite = false;
    bool hasCommunity = false;
    bool offersShortcut = false;
    bool hasStartupProgram = false;
};

struct ButtonSpec {
    ButtonId id;
    const wchar_t* text;
    ButtonLook look;
    bool startsJob = false;  // Disabled while a job exists.
    // Its place with one download server and with several; a button without one is not shown then.
    std::optional<Box> place{};
    std::optional<Box> placeWithServers{};
    bool (*isShown)(const ButtonConditions&);
};

// In the order of their creation.
std::span<const ButtonSpec> Buttons();

// The button with this control id; null for any other control.
const ButtonSpec* FindButton(int controlId);

// The row of one of the twelve.
const ButtonSpec& SpecOf(ButtonId id);

ButtonConditions ConditionsFor(const ToolConfig& config, bool failureShown);
