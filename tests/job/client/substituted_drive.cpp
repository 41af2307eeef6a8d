#include "job/client/substituted_drive.h"

#include "bench_parts/call_hook.h"
#include "bench_parts/scratch_folder.h"

namespace bench {
namespace {

// Wine's own; memory of the process heap.
using UnixFileName = char*(CDECL*)(const wchar_t* path);

std::filesystem::path OnWinesRootDrive(const std::filesystem::path& folder) {
    const auto nameOf =
        bench::RealFunction<UnixFileName>(bench::kKernel32, "wine_get_unix_file_name");
    char* const name = nameOf(folder.c_str());
    std::filesystem::path path = L"Z:";
    path += name;
    ::HeapFree(::GetProcessHeap(), 0, name);
    return path.make_preferred();
}

}  // namespace

FolderOnAnotherDrive::FolderOnAnotherDrive(const std::filesystem::path& folder)
    : drive_(L"X:", folder), path_(IsWine() ? OnWinesRootDrive(folder) : L"X:\\") {}

}  // namespace bench
