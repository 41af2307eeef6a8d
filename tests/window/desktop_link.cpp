#include "window/desktop_link.h"

#include <array>

#include "common/com_apartment.h"
#include "common/handles.h"
#include "common/shell_api.h"
#include "system/known_folder.h"

namespace fs = std::filesystem;

DesktopLink::DesktopLink() : file_(KnownFolder(FOLDERID_Desktop) / (Name() + L".lnk")) {
    fs::remove(file_);
}

DesktopLink::~DesktopLink() {
    std::error_code ignored;  // Most tests leave no file.
    fs::remove(file_, ignored);
}

std::wstring DesktopLink::Name() {
    return L"Bench window \u00fc";
}

bool DesktopLink::Exists() const {
    return fs::exists(file_);
}

std::wstring DesktopLink::Target() const {
    const ComApartment com;
    void* found = nullptr;
    if (FAILED(::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                  &found))) {
        return {};
    }
    const ComPointer<IShellLinkW> link(static_cast<IShellLinkW*>(found));
    if (FAILED(link->QueryInterface(IID_IPersistFile, &found))) {
        return {};
    }
    const ComPointer<IPersistFile> persist(static_cast<IPersistFile*>(found));
    std::array<wchar_t, 1024> target{};
    if (persist->Load(file_.c_str(), STGM_READ) == S_OK) {
        link->GetPath(target.data(), static_cast<int>(target.size()), nullptr, 0);
    }
    return target.data();
}
