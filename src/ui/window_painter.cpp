#include "ui/window_painter.h"

#include <vector>

#include "ui/drawing.h"
#include "ui/layout.h"
#include "ui/palette.h"
#include "ui/progress_bar.h"
#include "ui/status_text.h"

namespace {

constexpr wchar_t kHeadingText[] = L"Repair or Reinstall the Game";
constexpr wchar_t kMonogram[] = L"QS";

// `isCovered`: the target already shows the background.
void PaintAreas(Gdiplus::GpGraphics* graphics, Gdiplus::GpImage* background,
                bool isCovered = false) {
    {
        // Nothing where title bar and panel will be, except under their edges.
        const ExcludedBoxes excluded(graphics, {Shrunk(kTitleBar, 1), Shrunk(kPanel, 1)});
        isCovered = isCovered || DrawImageCovering(graphics, background, kWindow);
        FillBox(graphics, kWindow, isCovered ? kBackgroundVeil : kWindowFill);
    }
    FillBox(graphics, kTitleBar, kTitleBarFill);
    FillBox(graphics, kPanel, kPanelFill);
}

void PaintTitleBar(Gdiplus::GpGraphics* graphics, const WindowPicture& picture) {
    DrawLines(graphics, {0, 0}, kTitleLine, picture.accentColor, kHairlinePx);
    DrawTextAt(graphics, picture.toolName, {kTitleFont, kTitleText}, kTitleTextPlace);
}

void PaintLogo(Gdiplus::GpGraphics* graphics, const WindowPicture& picture) {
    if (CopyImage(graphics, picture.logo, kLogo)) {
        return;
    }
    FillDisc(graphics, kLogoPlaceholder, kPlaceholderFill);
    OutlineDisc(graphics, kLogoPlaceholder, picture.accentColor, kPlaceholderPenPx);
    DrawTextInBox(graphics, kMonogram, {kMonogramFont, picture.accentColor}, kLogoPlaceholder,
                  TextPlacement::Middle);
}

void PaintProgressBar(Gdiplus::GpGraphics* graphics, const WindowPicture& picture) {
    OutlineBox(graphics, kProgressOutline, kPanelOutline, kHairlinePx);
    FillBox(graphics, kProgressTrack, kProgressTrackFill);
    Box filled = kProgressTrack;
    filled.width = ProgressFillWidth(ProgressPercent(picture.job), kProgressTrack.width);
    if (filled.width > 0) {
        FillBox(graphics, filled, picture.accentColor);
    }
}

void PaintTexts(Gdiplus::GpGraphics* graphics, const WindowPicture& picture) {
    const JobState& job = picture.job;
    const Argb detailColor = job.stage == JobStage::Failed ? picture.accentColor : kDetailText;
    DrawTextInBox(graphics, StatusText(job), {kStatusFont, kStatusText}, kStatus,
                  TextPlacement::TopLine);
    DrawTextInBox(graphics, job.detailLine, {kDetailFont, detailColor}, kDetail,
                  TextPlacement::TopLine);
}

void PaintOverBackdrop(Gdiplus::GpGraphics* graphics, const WindowPicture& picture) {
    PaintTitleBar(graphics, picture);
    OutlineBox(graphics, kPanel, kPanelOutline, kHairlinePx);
    PaintLogo(graphics, picture);
    DrawTextInBox(graphics, kHeadingText, {kHeadingFont, picture.accentColor}, kHeading,
                  TextPlacement::TopLine);
    DrawTextInBox(graphics, picture.clientFolder, {kClientFolderFont, kClientFolderText},
                  kClientFolder, TextPlacement::TopLine);
    PaintProgressBar(graphics, picture);
    PaintTexts(graphics, picture);
}

}  // namespace

OwnedBitmap MakeBackdrop(Gdiplus::GpBitmap* background) {
    OwnedBitmap backdrop = MakeBitmap(kWindow.width, kWindow.height);
    // An image of the window's size does not need the much slower scaling.
    const bool isCovered = CopyPixels(background, backdrop.get(), kWindow);
    PaintAreas(MakeGraphics(backdrop.get()).get(), background, isCovered);
    return backdrop;
}

OwnedBitmap MakePanelLogo(Gdiplus::GpImage* logo) {
    // In its final place, because the position affects how GDI+ rounds colors.
    const OwnedBitmap window = MakeBitmap(kWindow.width, kWindow.height);
    const OwnedGraphics graphics = MakeGraphics(window.get());
    FillBox(graphics.get(), kLogo, kPanelFill);
    return DrawImageFitting(graphics.get(), logo, kLogo) ? MakeCopy(window.get(), kLogo) : nullptr;
}

void PaintWindow(Gdiplus::GpGraphics* graphics, const WindowPicture& picture) {
    if (!CopyImage(graphics, picture.backdrop, kWindow)) {
        PaintAreas(graphics, nullptr);
    }
    PaintOverBackdrop(graphics, picture);
}

void PaintWindow(HDC device, const WindowPicture& picture) {
    // Kept, because the system takes longer to provide fresh memory than to fill it.
    static std::vector<Argb> pixels(static_cast<size_t>(kWindow.width) * kWindow.height);
    const OwnedBitmap offScreen = MakeBitmap(kWindow.width, kWindow.height, pixels);
    if (!ReadPixels(picture.backdrop, kWindow, pixels)) {
        PaintAreas(MakeGraphics(offScreen.get()).get(), nullptr);
    }
    PaintOverBackdrop(MakeGraphics(offScreen.get()).get(), picture);
    if (offScreen) {
        ShowPixels(device, kWindow, pixels);
    }
}
