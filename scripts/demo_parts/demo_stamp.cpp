// demo_stamp TOOL.exe CONFIG.txt
//
// Replaces the embedded configuration text of a copy of the tool, and nothing else. The exit code
// is 0 on success and kFailed otherwise.

#include <cstddef>
#include <fstream>
#include <iterator>
#include <string>

#include "common/windows_api.h"
#include "resource_ids.h"

namespace {

constexpr int kFailed = 1;

// Windows may prefer the user's language to the neutral one, so both get the text.
constexpr WORD kLanguages[] = {MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL),
                               MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US)};

// Empty when the file cannot be read.
std::string ReadWholeFile(const wchar_t* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool Stamp(const wchar_t* program, std::string& text) {
    const HANDLE update = ::BeginUpdateResourceW(program, FALSE);
    if (update == nullptr) {
        return false;
    }
    bool stamped = true;
    for (const WORD language : kLanguages) {
        stamped = ::UpdateResourceW(update, RT_RCDATA, MAKEINTRESOURCEW(ID_CONFIG_TEXT), language,
                                    text.data(), static_cast<DWORD>(text.size())) != FALSE &&
                  stamped;
    }
    return ::EndUpdateResourceW(update, stamped ? FALSE : TRUE) != FALSE && stamped;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 3) {
        return kFailed;
    }
    std::string text = ReadWholeFile(argv[2]);
    return !text.empty() && Stamp(argv[1], text) ? 0 : kFailed;
}
