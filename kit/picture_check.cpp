#include "kit/picture_check.h"

#include <algorithm>
#include <span>

#include "kit/pe/icon_file.h"
#include "kit/picture_header.h"
#include "kit/utf8.h"
#include "ui/drawing.h"
#include "ui/gdiplus_objects.h"
#include "ui/layout.h"

namespace {

constexpr uint64_t kMostPixels = 64'000'000;
constexpr uint32_t kWindowWidth = kWindow.width;
constexpr uint32_t kWindowHeight = kWindow.height;
constexpr uint32_t kShownLogo = kLogo.height;

std::span<const std::byte> BytesOf(const std::string& content) {
    return std::as_bytes(std::span(content));
}

std::string SizeText(const PictureSize& size) {
    return std::to_string(size.width) + " x " + std::to_string(size.height);
}

// The size of a picture that the window's own drawing shows. Drawing it small decodes all of it.
std::optional<PictureSize> ShownSize(const std::string& content) {
    constexpr Box kThumbnail{0, 0, 16, 16};
    const OwnedBitmap picture = DecodePicture(content);
    const OwnedBitmap target = MakeBitmap(kThumbnail.width, kThumbnail.height);
    PictureSize size;
    if (Gdiplus::DllExports::GdipGetImageWidth(picture.get(), &size.width) != Gdiplus::Ok ||
        Gdiplus::DllExports::GdipGetImageHeight(picture.get(), &size.height) != Gdiplus::Ok ||
        size.Pixels() > kMostPixels ||
        !DrawImageCovering(MakeGraphics(target.get()).get(), picture.get(), kThumbnail)) {
        return std::nullopt;
    }
    return size;
}

// The size of a picture that the window can show; none after a finding.
std::optional<PictureSize> CheckReadable(const std::string& content, const Place& place,
                                         Findings& findings) {
    const auto promised = ReadPictureSize(content);
    if (promised && promised->Pixels() > kMostPixels) {
        findings.Add("picture.unreadable", place,
                     "The picture has " + SizeText(*promised) + " pixels, which is far too much.",
                     "Scale it down to what the window shows.");
        return std::nullopt;
    }
    const auto size = ShownSize(content);
    if (!size) {
        findings.Add("picture.unreadable", place,
                     "The file is no picture that the window can show, and would be left out.",
                     "Save it again as PNG or JPEG.");
        return std::nullopt;
    }
    return size;
}

void CheckBackground(const std::string& content, Findings& findings) {
    const Place place = BrandFile(WideToUtf8(kBackgroundFileName));
    const auto size = CheckReadable(content, place, findings);
    if (size && (size->width != kWindowWidth || size->height != kWindowHeight)) {
        findings.Add("picture.size", place,
                     "The background has " + SizeText(*size) +
                         " pixels: it is scaled, and what exceeds the window is cut off.",
                     "Make it exactly 860 x 560 pixels.");
    }
}

void CheckLogo(const std::string& content, Findings& findings) {
    const Place place = BrandFile(WideToUtf8(kLogoFileName));
    const auto size = CheckReadable(content, place, findings);
    if (size && (size->width != size->height || size->width < kShownLogo)) {
        findings.Add("picture.size", place,
                     "The logo has " + SizeText(*size) + " pixels, but is shown as a square of " +
                         std::to_string(kShownLogo) + ".",
                     "Make it square and at least 126 x 126 pixels.");
    }
}

bool HasSize(const std::vector<IconPicture>& pictures, int size) {
    return std::any_of(pictures.begin(), pictures.end(), [&](const IconPicture& picture) {
        return picture.Width() == size && picture.Height() == size;
    });
}

void CheckIcon(const std::string& content, Findings& findings) {
    const Place place = BrandFile(WideToUtf8(kIconFileName));
    const auto pictures = ReadIconFile(BytesOf(content));
    if (!pictures) {
        findings.Add("icon.unreadable", place, "The file is no icon file, or is damaged.",
                     "Save it as .ico with 16, 32, 48 and 256 pixels; a renamed PNG is none.");
        return;
    }
    std::string missing;
    for (const int size : {16, 32, 48, 256}) {
        if (!HasSize(*pictures, size)) {
            missing += (missing.empty() ? "" : ", ") + std::to_string(size);
        }
    }
    if (!missing.empty()) {
        findings.Add(
            "icon.sizes", place,
            "The icon has no picture of " + missing + " pixels, so Windows scales another one.",
            "Save it with 16, 32, 48 and 256 pixels.");
    }
}

}  // namespace

void CheckPictures(const Brand& brand, Findings& findings) {
    const GdiplusSession gdiplus;
    if (brand.background) {
        CheckBackground(*brand.background, findings);
    }
    if (brand.logo) {
        CheckLogo(*brand.logo, findings);
    }
    if (brand.icon) {
        CheckIcon(*brand.icon, findings);
    }
}

OwnedBitmap DecodePicture(const std::string& content) {
    const auto size = ReadPictureSize(content);
    return size && size->Pixels() <= kMostPixels ? MakeBitmapFromFile(BytesOf(content)) : nullptr;
}
