#include "kit/preview_painter.h"

#include <algorithm>
#include <string>

#include "common/text.h"
#include "kit/command_line.h"
#include "package/package_source.h"
#include "system/installed_programs_values.h"
#include "ui/accent_color.h"
#include "ui/button_painter.h"
#include "ui/button_table.h"
#include "ui/drawing.h"
#include "ui/window_painter.h"

namespace {

constexpr wchar_t kClientsFolder[] = L"C:\\Games\\";
constexpr uint64_t kPackageBytes = 8'000'000'000;

struct PreviewState {
    std::string_view name;
    JobState job;
    bool jobExists = false;       // Buttons that start a job are then disabled.
    bool severalServers = false;  // Even if the brand has only one.
};

// What the window shows in each state: the texts are those of a real repair.
const std::vector<PreviewState>& PreviewStates() {
    static const std::vector<PreviewState> states{
        {.name = "ready", .job = {}},
        {.name = "download",
         .job = {.stage = JobStage::Downloading,
                 .kind = JobKind::Repair,
                 .bytesTotal = kPackageBytes,
                 .bytesReceived = kPackageBytes / 100 * 42,
                 .bytesPerSecond = 11.8 * 1024 * 1024,
                 .statusLine = L"Downloading client package...",
                 .detailLine = {},
                 .errorMessage = {}},
         .jobExists = true},
        {.name = "verify",
         .job = {.stage = JobStage::VerifyingPackage,
                 .kind = JobKind::Repair,
                 .statusLine = L"Verifying package...",
                 .detailLine = L"Checking SHA-256 hash...",
                 .errorMessage = {}},
         .jobExists = true},
        {.name = "unpack",
         .job = {.stage = JobStage::Extracting,
                 .kind = JobKind::Repair,
                 .statusLine = L"Extracting package...",
                 .detailLine = L"Extracting with tar.exe...",
                 .errorMessage = {}},
         .jobExists = true},
        {.name = "files",
         .job = {.stage = JobStage::Finishing,
                 .kind = JobKind::Repair,
                 .filesTotal = 4200,
                 .filesDone = 2814,
                 .filesRepaired = 3,
                 .statusLine = L"Verifying client files...",
                 .detailLine = L"Checking data\\maps\\harbor.pak",
                 .errorMessage = {}},
         .jobExists = true},
        {.name = "done",
         .job = {.stage = JobStage::Done,
                 .kind = JobKind::Repair,
                 .filesTotal = 4200,
                 .filesDone = 4200,
                 .filesRepaired = 3,
                 .statusLine = L"Repair complete.",
                 .detailLine = L"Registering Programs and Features entry...",
                 .errorMessage = {}}},
        {.name = "failed",
         .job = {.stage = JobStage::Failed,
                 .kind = JobKind::Repair,
                 .statusLine = L"Repair failed.",
                 .detailLine = L"The server did not respond to the download request.",
                 .errorMessage = {}}},
        {.name = "servers", .job = {}, .severalServers = true},
    };
    return states;
}

void PaintButtons(Gdiplus::GpGraphics* graphics, const ToolConfig& config,
                  const PreviewState& state, Argb accentColor) {
    const ButtonConditions conditions = ConditionsFor(config, state.job.stage == JobStage::Failed);
    for (const ButtonSpec& spec : Buttons()) {
        const auto& box = conditions.severalServers ? spec.placeWithServers : spec.place;
        if (box && spec.isShown(conditions)) {
            PaintButton(graphics, *box,
                        {.id = spec.id,
                         .text = spec.text,
                         .disabled = spec.startsJob && state.jobExists,
                         .selected = spec.id == ButtonId::PrimaryServer,
                         .accentColor = accentColor});
        }
    }
}

}  // namespace

OwnedBitmap PaintPreview(const PreviewBrand& brand, std::string_view name) {
    const auto state = std::ranges::find(PreviewStates(), name, &PreviewState::name);
    ToolConfig config = brand.config;
    if (state->severalServers && !HasSeveralServers(config)) {
        config.multiRepairTool = true;
        config.archiveMirrorUrls = {config.archiveUrl};
    }
    const WindowPicture picture{
        .toolName = SanitizeFileName(config.repairToolName, kDefaultRepairToolName),
        .clientFolder = kClientsFolder + ReplaceFileNameCharacters(ProgramsDisplayName(config)),
        .job = state->job,
        .accentColor = ParseAccentColor(config.accentHex),
        .backdrop = brand.backdrop.get(),
        .logo = brand.panelLogo.get(),
    };
    OwnedBitmap window = MakeBitmap(kWindow.width, kWindow.height);
    const OwnedGraphics graphics = MakeGraphics(window.get());
    PaintWindow(graphics.get(), picture);
    PaintButtons(graphics.get(), config, *state, picture.accentColor);
    return window;
}

OwnedBitmap PaintContactSheet(std::span<const NamedPicture> pictures) {
    constexpr int kColumns = 2;
    constexpr int kMargin = 20;
    constexpr int kNameHeight = 30;
    constexpr Box kPicture{0, 0, kWindow.width * 3 / 4, kWindow.height * 3 / 4};
    constexpr int kCellHeight = kPicture.height + kNameHeight + kMargin;
    constexpr Argb kSheetFill = 0xFFE8E8EC;
    constexpr TextStyle kNameStyle{{18, true}, 0xFF202024};
    const int columns = std::min(kColumns, static_cast<int>(pictures.size()));
    const int rows = (static_cast<int>(pictures.size()) + kColumns - 1) / kColumns;
    const Box whole{0, 0, kMargin + columns * (kPicture.width + kMargin),
                    kMargin + rows * kCellHeight};
    OwnedBitmap sheet = MakeBitmap(whole.width, whole.height);
    const OwnedGraphics graphics = MakeGraphics(sheet.get());
    FillBox(graphics.get(), whole, kSheetFill);
    int index = 0;
    for (const NamedPicture& named : pictures) {
        Box box = kPicture;
        box.x = kMargin + index % kColumns * (kPicture.width + kMargin);
        box.y = kMargin + index / kColumns * kCellHeight;
        DrawImageFitting(graphics.get(), named.picture, box);
        DrawTextInBox(graphics.get(), Utf8ToWide(named.name), kNameStyle,
                      {box.x, box.y + box.height, box.width, kNameHeight}, TextPlacement::Middle);
        ++index;
    }
    return sheet;
}
