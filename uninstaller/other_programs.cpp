#include "uninstaller/other_programs.h"

#include <array>
#include <string_view>

#include "common/files.h"
#include "common/handles.h"
#include "common/paths.h"
#include "common/text.h"
#include "system/installed_programs_values.h"
#include "system/registry_text.h"
#include "system/uninstaller_file.h"

namespace {

// One part of the list. HKEY_CURRENT_USER has no separate 32-bit part, but reading it twice is
// cheap.
struct ListPart {
    HKEY root;
    REGSAM view;
};
const std::array kListParts{
    ListPart{HKEY_CURRENT_USER, KEY_WOW64_64KEY}, ListPart{HKEY_CURRENT_USER, KEY_WOW64_32KEY},
    ListPart{HKEY_LOCAL_MACHINE, KEY_WOW64_64KEY}, ListPart{HKEY_LOCAL_MACHINE, KEY_WOW64_32KEY}};

// The registry's limit for key names, including the terminator.
constexpr size_t kMaxKeyNameLength = 256;

// Some installers write the location in double quotes.
std::wstring WithoutQuotes(std::wstring text) {
    if (text.size() >= 2 && text.front() == L'"' && text.back() == L'"') {
        text = text.substr(1, text.size() - 2);
    }
    return text;
}

bool IsOnServer(const std::wstring& path) {
    return path.starts_with(L"\\\\") &&
           (!path.starts_with(L"\\\\?\\") || path.starts_with(L"\\\\?\\UNC\\"));
}

bool IsInstalledIn(const std::wstring& location, const std::wstring& folder) {
    const size_t rootName = RootNameLength(location);
    if (rootName == 0 || RootPathLength(location) == rootName) {
        return false;  // Relative to an unknown folder.
    }
    if (IsOnServer(location) && !IsOnServer(folder)) {
        return false;  // Not accessed: an unreachable server would block for long.
    }
    const std::optional<std::wstring> installed = WeaklyCanonical(location);
    return installed && KindOf(*installed) != EntryKind::Missing &&
           IsAtOrBelowCanonicalPath(*installed, folder);
}

// Whether the entry calls the uninstaller in `folder`. It is then the game's own entry under an
// older display name; uninstalling it first would start this uninstaller again.
bool CallsUninstallerIn(HKEY list, const std::wstring& key, const std::wstring& folder) {
    const std::optional<std::wstring> command = RegistryText(list, key, L"UninstallString");
    const std::optional<std::wstring> program =
        command ? WeaklyCanonical(WithoutQuotes(*command)) : std::nullopt;
    const std::optional<std::wstring> own = WeaklyCanonical(UninstallerPath(folder));
    return program && own && IsSameCanonicalPath(*program, *own);
}

std::optional<OtherProgram> FindIn(HKEY list, const std::wstring& ownName,
                                   const std::wstring& folder) {
    for (DWORD index = 0;; ++index) {
        std::array<wchar_t, kMaxKeyNameLength> name{};
        auto length = static_cast<DWORD>(name.size());
        if (::RegEnumKeyExW(list, index, name.data(), &length, nullptr, nullptr, nullptr,
                            nullptr) != ERROR_SUCCESS) {
            return std::nullopt;
        }
        const std::wstring key(name.data(), length);
        const std::optional<std::wstring> location = RegistryText(list, key, L"InstallLocation");
        if (!location || IsSameIgnoringCase(key, ownName)) {
            continue;
        }
        const std::wstring path = WithoutQuotes(*location);
        if (IsInstalledIn(path, folder) && !CallsUninstallerIn(list, key, folder)) {
            return OtherProgram{RegistryText(list, key, L"DisplayName").value_or(key), path};
        }
    }
}

}  // namespace

std::optional<OtherProgram> FindOtherProgramIn(const std::wstring& folder,
                                               const ToolConfig& config) {
    const std::wstring listPath = ParentFolder(UninstallKeyPath(config));
    for (const ListPart& part : kListParts) {
        HKEY opened = nullptr;
        if (::RegOpenKeyExW(part.root, listPath.c_str(), 0, KEY_READ | part.view, &opened) !=
            ERROR_SUCCESS) {
            continue;
        }
        const RegistryKey list(opened);
        // The game registers itself for the current user only.
        const bool mayBeOwn = part.root == HKEY_CURRENT_USER;
        std::optional<OtherProgram> found =
            FindIn(list.get(), mayBeOwn ? BuildUninstallKeyName(config) : L"", folder);
        if (found) {
            return found;
        }
    }
    return std::nullopt;
}
