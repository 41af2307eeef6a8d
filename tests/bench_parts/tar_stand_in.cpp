// Replaces Windows' tar.exe, which Wine lacks: tar.exe -xf ARCHIVE -C FOLDER. As with the original,
// the folder must exist, and the exit code is 0 when everything was unpacked and otherwise 1.

#include <string>
#include <string_view>

#include "bench_parts/seven_zip.h"

namespace {

constexpr int kFailed = 1;

bool IsFolder(const wchar_t* path) {
    const DWORD attributes = ::GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 5 || std::wstring_view(argv[1]) != L"-xf" || std::wstring_view(argv[3]) != L"-C" ||
        !IsFolder(argv[4])) {
        return kFailed;
    }
    return bench::UnpackWithSevenZip(argv[2], argv[4]) == 0 ? 0 : kFailed;
}
