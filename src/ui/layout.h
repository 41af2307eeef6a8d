#pragma once

// Where everything stands in the window, in client pixels. The window has one fixed size and is
// never scaled: on a screen of any resolution a unit is a device pixel.

struct Box {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

struct Point {
    int x = 0;
    int y = 0;
};

// The part of `box` that lies at least `distance` inside of its edges.
constexpr Box Shrunk(const Box& box, int distance) {
    return {box.x + distance, box.y + distance, box.width - 2 * distance,
            box.height - 2 * distance};
}

// All type is "Segoe UI".
struct FontSpec {
    int sizePx = 0;
    bool bold = false;
};

inline constexpr Box kWindow{0, 0, 860, 560};
// The ellipse whose quarters are the window's corners, in both directions.
inline constexpr int kCornerDiameter = 26;

inline constexpr Box kTitleBar{0, 0, kWindow.width, 48};
// The line is the title bar's last row.
inline constexpr Point kTitleLine[] = {{0, kTitleBar.height - 1},
                                       {kTitleBar.width, kTitleBar.height - 1}};
inline constexpr Point kTitleTextPlace{22, 16};
// The title bar moves the window, up to the strip that holds "-" and "x".
inline constexpr int kDragStripWidth = 772;

inline constexpr Box kPanel{48, 72, 764, 310};
inline constexpr Box kLogo{345, 88, 170, 126};
inline constexpr Box kLogoPlaceholder{373, 88, 112, 112};
inline constexpr Box kHeading{72, 214, 716, 40};
inline constexpr Box kClientFolder{84, 276, 692, 26};
inline constexpr Box kProgressOutline{114, 328, 632, 26};
inline constexpr Box kProgressTrack = Shrunk(kProgressOutline, 1);
inline constexpr Box kStatus{114, 356, 632, 24};
inline constexpr Box kDetail{84, 380, 692, 24};

// The buttons. Some move when there are several download servers.
inline constexpr Box kRepairButton{92, 396, 188, 44};
inline constexpr Box kRepairButtonWithServers{342, 440, 176, 42};
inline constexpr Box kPrimaryServerButton{112, 396, 300, 34};
inline constexpr Box kSecondServerButton{448, 396, 300, 34};
inline constexpr Box kReinstallButton{298, 396, 188, 44};
inline constexpr Box kShortcutButton{504, 396, 180, 44};
inline constexpr Box kShortcutButtonWithServers{178, 486, 220, 28};
inline constexpr Box kPatcherButton{342, 456, 176, 42};
inline constexpr Box kPatcherButtonWithServers{462, 486, 176, 28};
inline constexpr Box kWebsiteButton{24, 516, 110, 30};
inline constexpr Box kCommunityButton{142, 516, 110, 30};
inline constexpr Box kRetryButton{244, 396, 176, 44};
inline constexpr Box kCloseButton{440, 396, 176, 44};
inline constexpr Box kMinimizeButton{792, 10, 28, 28};
inline constexpr Box kCloseMarkButton{822, 10, 28, 28};
// Where every button is created; one without a place stays there, hidden.
inline constexpr Box kUnplacedButton{0, 0, 10, 10};

inline constexpr FontSpec kTitleFont{13, false};
inline constexpr FontSpec kHeadingFont{28, true};
inline constexpr FontSpec kClientFolderFont{12, false};
inline constexpr FontSpec kStatusFont{15, true};
inline constexpr FontSpec kDetailFont{12, false};
inline constexpr FontSpec kMonogramFont{36, true};
inline constexpr FontSpec kButtonFont{14, true};
inline constexpr FontSpec kCloseMarkFont{22, true};

inline constexpr float kHairlinePx = 1.0F;
inline constexpr float kPlaceholderPenPx = 2.0F;
inline constexpr float kButtonPenPx = 1.5F;
inline constexpr float kCheckMarkPenPx = 2.2F;

// Inside a download-server button, from its left edge: the square, then the text. The longer of the
// two texts needs nearly all the room that is left.
inline constexpr int kCheckSquareX = 8;
inline constexpr int kCheckSquareSize = 16;
inline constexpr int kChoiceTextX = kCheckSquareX + kCheckSquareSize + 4;
inline constexpr int kChoiceTextRightMargin = 2;
// The corners of the check mark, from the square's upper left one.
inline constexpr Point kCheckMark[] = {{3, 8}, {7, 12}, {13, 4}};
