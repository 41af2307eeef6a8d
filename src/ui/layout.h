#pragma once

// All coordinates in the window, in client pixels. The window has a fixed size and is never scaled:
// one unit is one device pixel at any DPI.

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

// `box` without a margin of `distance` at each edge.
constexpr Box Shrunk(const Box& box, int distance) {
    return {box.x + distance, box.y + distance, box.width - 2 * distance,
            box.height - 2 * distance};
}

// The font family is always "Segoe UI".
struct FontSpec {
    int sizePx = 0;
    bool bold = false;
};

inline constexpr Box kWindow{0, 0, 860, 560};
// Width and height of the ellipse that rounds the window's corners.
inline constexpr int kCornerDiameter = 26;

inline constexpr Box kTitleBar{0, 0, kWindow.width, 48};
// The title bar's bottom row.
inline constexpr Point kTitleLine[] = {{0, kTitleBar.height - 1},
                                       {kTitleBar.width, kTitleBar.height - 1}};
inline constexpr Point kTitleTextPlace{22, 16};
// Dragging the title bar moves the window, except at the right end with "-" and "x".
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

// The buttons. Some have another place with several download servers.
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
inline constexpr Box kDiscordButton{142, 516, 110, 30};
inline constexpr Box kRetryButton{244, 396, 176, 44};
inline constexpr Box kCloseButton{440, 396, 176, 44};
inline constexpr Box kMinimizeButton{792, 10, 28, 28};
inline constexpr Box kCloseMarkButton{822, 10, 28, 28};
// The initial place of every button; those without another place stay there, hidden.
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

// Inside a download-server button, from the left: the square, then the text. The longer text nearly
// fills the rest.
inline constexpr int kCheckSquareX = 8;
inline constexpr int kCheckSquareSize = 16;
inline constexpr int kChoiceTextX = kCheckSquareX + kCheckSquareSize + 4;
inline constexpr int kChoiceTextRightMargin = 2;
// The points of the check mark, relative to the square's top left corner.
inline constexpr Point kCheckMark[] = {{3, 8}, {7, 12}, {13, 4}};
