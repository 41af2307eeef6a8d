#include "ui/window_painter.h"

#include "ui/drawing.h"
#include "ui/layout.h"
#include "ui/palette.h"
#include "ui/progress_bar.h"
#include "ui/status_text.h"

namespace {

constexpr wchar_t kHeadingText[] = L"Repair or Reinstall the Game";
constexpr wchar_t kMonogram[] = L"QS";

void PaintBackground(Gdiplus::GpGraphics* graphics, Gdiplus::GpImage* background) {
    const bool covered = DrawImageCovering(graphics, background, kWindow);
    FillBox(graphics, kWindow, covered ? kBackgroundVeil : kWindowFill);
}

void PaintTitleBar(Gdiplus::GpGraphics* graphics, const WindowPicture& picture) {
    FillBox(graphics, kTitleBar, kTitleBarFill);
    DrawLines(graphics, {0, 0}, kTitleLine, picture.accentColor, kHairlinePx);
    DrawTextAt(graphics, picture.toolName, {kTitleFont, kTitleText}, kTitleTextPlace);
}

void PaintLogo(Gdiplus::GpGraphics* graphics, const WindowPicture& picture) {
    if (DrawImageFitting(graphics, picture.logo, kLogo)) {
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

}  // namespace

void PaintWindow(Gdiplus::GpGraphics* graphics, const WindowPicture& picture) {
    PaintBackground(graphics, picture.background);
    PaintTitleBar(graphics, picture);
    FillBox(graphics, kPanel, kPanelFill);
    OutlineBox(graphics, kPanel, kPanelOutline, kHairlinePx);
    PaintLogo(graphics, picture);
    DrawTextInBox(graphics, kHeadingText, {kHeadingFont, picture.accentColor}, kHeading,
                  TextPlacement::TopLine);
    DrawTextInBox(graphics, picture.clientFolder, {kClientFolderFont, kClientFolderText},
                  kClientFolder, TextPlacement::TopLine);
    PaintProgressBar(graphics, picture);
    PaintTexts(graphics, picture);
}

void PaintWindow(HDC device, const WindowPicture& picture) {
    const OwnedBitmap offScreen = MakeBitmap(kWindow.width, kWindow.height);
    PaintWindow(MakeGraphics(offScreen.get()).get(), picture);
    CopyImage(MakeGraphics(device).get(), offScreen.get(), kWindow);
}
