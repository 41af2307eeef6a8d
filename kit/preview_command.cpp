#include <string>
#include <vector>

#include "common/paths.h"
#include "common/text.h"
#include "kit/brand.h"
#include "kit/commands.h"
#include "kit/errors.h"
#include "kit/output_file.h"
#include "kit/picture_check.h"
#include "kit/picture_encoding.h"
#include "kit/preview_painter.h"
#include "kit/utf8.h"
#include "ui/window_painter.h"

namespace {

constexpr std::string_view kContactSheet = "contact-sheet";

OwnedBitmap Decoded(const std::optional<std::string>& content) {
    return content ? DecodePicture(*content) : nullptr;
}

// What PaintPreview needs of the brand.
PreviewBrand ReadPreviewBrand(const std::wstring& folder) {
    const Brand brand = ReadBrand(folder, {.hiddenLogo = false, .icon = false});
    if (!brand.configText) {
        throw OutsideFailure("cannot find config.txt in", folder, ERROR_FILE_NOT_FOUND);
    }
    return {brand.config, MakeBackdrop(Decoded(brand.background).get()),
            MakePanelLogo(Decoded(brand.logo).get())};
}

std::string PngOf(Gdiplus::GpImage* image) {
    std::string file = EncodePicture(image, kPngEncoder);
    if (file.empty()) {
        throw OutsideFailure("cannot paint the window", ERROR_NOT_ENOUGH_MEMORY);
    }
    return file;
}

}  // namespace

ExitCode RunPreview(const PreviewArguments& arguments, Console& console) {
    const GdiplusSession gdiplus;
    const PreviewBrand brand = ReadPreviewBrand(arguments.brand);
    std::vector<OwnedBitmap> windows;
    std::vector<NamedPicture> pictures;
    for (const std::string& state : arguments.states) {
        windows.push_back(PaintPreview(brand, state));
        pictures.push_back({state, windows.back().get()});
    }
    const OwnedBitmap sheet = PaintContactSheet(pictures);
    pictures.push_back({kContactSheet, sheet.get()});

    std::vector<std::string> contents;
    contents.reserve(pictures.size());
    for (const NamedPicture& named : pictures) {
        contents.push_back(PngOf(named.picture));
    }
    std::vector<FileContent> files;
    files.reserve(pictures.size());
    for (size_t i = 0; i < pictures.size(); ++i) {
        const std::wstring name = Utf8ToWide(pictures[i].name) + L".png";
        files.push_back({JoinPaths(arguments.folder, name), contents[i]});
    }
    WriteFilesTogether(files);
    console.PrintSummary("Wrote " + std::to_string(files.size()) + " pictures into " +
                         WideToUtf8(arguments.folder) + "; contact-sheet.png shows all states.");
    return ExitCode::Done;
}
