#include "uninstaller/uninstall_texts.h"

#include <algorithm>

#include "common/byte_count_text.h"
#include "system/installed_programs_values.h"

namespace {

// A message box with more lines might not fit on a small screen.
constexpr size_t kMaxPathsShown = 10;

std::wstring FileCountText(uint64_t files) {
    return files == 1 ? L"1 file" : std::to_wstring(files) + L" files";
}

std::wstring ReasonText(const Verdict& verdict, const std::wstring& name) {
    switch (verdict.refusal) {
        case Refusal::NotRegistered:
            return name + L" is not in your list of installed programs.";
        case Refusal::UnresolvedFolder:
            return L"Windows cannot tell which drive and folder this path leads to:\n" +
                   verdict.namedFolder;
        case Refusal::RegisteredElsewhere:
            return name + L" is installed in another folder:\n" + verdict.namedFolder;
        case Refusal::UnsafeFolder:
            return L"Safety check failed. The uninstaller can only remove the game client folder "
                   L"that contains it.";
        case Refusal::SharedFolder:
            return L"Safety check failed. This folder also holds other things than " + name + L".";
        case Refusal::OtherProgram:
            return verdict.namedProgram + L" is also installed in this folder:\n" +
                   verdict.namedFolder + L"\nUninstall it first, then try again.";
        case Refusal::StartupProgramMissing:
            return L"The startup program of " + name + L" is not in this folder.";
        case Refusal::InUse:
            return name + L" or its repair tool is running. Close it and try again.";
        case Refusal::Changed:
            return L"This folder was moved or changed while the question was open:\n" +
                   verdict.namedFolder + L"\nStart the uninstaller again.";
        case Refusal::None:
            break;
    }
    return {};
}

std::wstring ListText(const std::vector<std::wstring>& paths) {
    std::wstring text;
    for (size_t i = 0; i < std::min(paths.size(), kMaxPathsShown); ++i) {
        text += L"\n" + paths[i];
    }
    if (paths.size() > kMaxPathsShown) {
        text += L"\nand " + std::to_wstring(paths.size() - kMaxPathsShown) + L" more";
    }
    return text;
}

}  // namespace

std::wstring CaptionText(const ToolConfig& config) {
    return L"Uninstall " + ProgramsDisplayName(config);
}

std::wstring QuestionText(const ToolConfig& config, const std::wstring& folder,
                          const ClientContent& content) {
    return L"Do you want to remove " + ProgramsDisplayName(config) +
           L"?\n\nThis folder will be deleted with everything in it, also what you put there "
           L"yourself:\n" +
           folder + L"\n\n" + FileCountText(content.files) + L", " +
           FormatByteCount(static_cast<double>(content.bytes)) + L". This cannot be undone.";
}

std::wstring RefusalText(const ToolConfig& config, const Verdict& verdict) {
    return ReasonText(verdict, ProgramsDisplayName(config)) + L"\n\nNothing was removed.";
}

std::wstring ReportText(const ToolConfig& config, const RemovalResult& result) {
    const std::wstring name = ProgramsDisplayName(config);
    if (result.canBeRepeated) {
        const std::wstring advice =
            result.isAccessDenied
                ? L"Your Windows account is not allowed to delete it. Ask an administrator to give "
                  L"your account full control of the game's folder, then start the uninstaller "
                  L"again."
                : L"Close the programs that use it and start the uninstaller again.";
        return name + L" could not be removed completely. This is still there:\n" +
               ListText(result.remaining) + L"\n\n" + advice;
    }
    std::wstring text = name + L" was removed.";
    if (!result.remaining.empty()) {
        text += L" This could not be deleted:\n" + ListText(result.remaining);
    }
    if (result.entryRemains) {
        text += L"\n\nIts entry in your list of installed programs could not be deleted.";
    }
    return text;
}
