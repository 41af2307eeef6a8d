// The sample client's startup program. Each start appends a line to patcher_started.txt in the
// current folder.

#include <fstream>
#include <string>

#include "common/windows_api.h"
#include "utf8_text.h"

namespace {

std::wstring CurrentFolder() {
    std::wstring folder(::GetCurrentDirectoryW(0, nullptr), L'\0');
    folder.resize(::GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
    return folder;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE /*instance*/, HINSTANCE /*previous*/, PWSTR /*commandLine*/,
                    int /*showCommand*/) {
    std::ofstream log("patcher_started.txt", std::ios::binary | std::ios::app);
    log << "started in " << WideToUtf8(CurrentFolder()) << '\n' << std::flush;
    return log.good() ? 0 : 1;
}
