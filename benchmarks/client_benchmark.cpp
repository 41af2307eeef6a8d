// Verification and repair of a client: one that agrees with the package, one with changed files and
// an empty one. Each compared with a loop of the fewest platform calls that it takes:
// list the package, open and read both files, compare, copy what differs.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/scratch_folder.h"
#include "benchmarks/measure.h"
#include "common/handles.h"
#include "common/removal.h"
#include "common/tool_instance.h"
#include "common/windows_api.h"
#include "job/client/client_repair.h"

namespace fs = std::filesystem;

namespace {

constexpr DWORD kReadChunkBytes = 0x100000;
// Of a size that no other file has, as with a real tool.
constexpr char kToolBytes[] = "tool";

// What a package consists of, and which part of the client's files the "changed" run finds changed.
struct PackageShape {
    const char* name;
    int fileCount;
    int filesToAFolder;
    size_t fileBytes;
    int changedFileCount;
    int warmRounds;
    int coldRounds;
    bool sparse = false;  // Made without holding a file's bytes in this program's memory.
};
constexpr PackageShape kSmallFiles{"10,000 files of 4 KiB", 10'000, 200, 4096, 100, 9, 9};
constexpr PackageShape kLargeFiles{"8 files of 128 MiB", 8, 8, size_t{128} << 20, 1, 5, 3};

class BareLoop {
public:
    // False when a copy fails.
    bool Run(const std::wstring& source, const std::wstring& target) {
        WIN32_FIND_DATAW entry{};
        const auto listing = AdoptHandle<FindHandle>(
            ::FindFirstFileExW((source + L"\\*").c_str(), FindExInfoBasic, &entry,
                               FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH));
        if (!listing) {
            return false;
        }
        do {
            const std::wstring name = entry.cFileName;
            if (name != L"." && name != L".." &&
                !Handle(source + L"\\" + name, target + L"\\" + name, entry.dwFileAttributes)) {
                return false;
            }
        } while (::FindNextFileW(listing.get(), &entry));
        return true;
    }

private:
    bool Handle(const std::wstring& source, const std::wstring& target, DWORD attributes) {
        if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            ::CreateDirectoryW(target.c_str(), nullptr);
            return Run(source, target);
        }
        return AreSame(source, target) || ::CopyFileW(source.c_str(), target.c_str(), FALSE);
    }

    static KernelHandle Open(const std::wstring& path) {
        return AdoptHandle<KernelHandle>(::CreateFileW(path.c_str(), GENERIC_READ,
                                                       FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                       OPEN_EXISTING, 0, nullptr));
    }

    bool AreSame(const std::wstring& source, const std::wstring& target) {
        const KernelHandle targetFile = Open(target);
        if (!targetFile) {
            return false;
        }
        const KernelHandle sourceFile = Open(source);
        DWORD sourceCount = 0;
        DWORD targetCount = 0;
        do {
            ::ReadFile(sourceFile.get(), sourceChunk_.data(), kReadChunkBytes, &sourceCount,
                       nullptr);
            ::ReadFile(targetFile.get(), targetChunk_.data(), kReadChunkBytes, &targetCount,
                       nullptr);
            if (sourceCount != targetCount ||
                std::memcmp(sourceChunk_.data(), targetChunk_.data(), sourceCount) != 0) {
                return false;
            }
        } while (sourceCount == kReadChunkBytes);
        return true;
    }

    std::vector<char> sourceChunk_ = std::vector<char>(kReadChunkBytes);
    std::vector<char> targetChunk_ = std::vector<char>(kReadChunkBytes);
};

std::wstring FileName(const PackageShape& shape, int index) {
    return std::to_wstring(index / shape.filesToAFolder) + L"\\" + std::to_wstring(index) + L".dat";
}

// A package of the given shape and a client folder, which the program under test takes for its own.
class Client {
public:
    explicit Client(const PackageShape& shape) : shape_(shape) {
        toolFolder = ClientFolder().native();
        toolExePath = (ClientFolder() / L"RepairTool.exe").native();
        bench::WriteFile(toolExePath, kToolBytes);
        std::string bytes(shape.sparse ? 0 : shape.fileBytes, '\0');
        for (int i = 0; i < shape.fileCount; ++i) {
            const fs::path file = PackageFolder() / FileName(shape, i);
            if (shape.sparse) {
                fs::create_directories(file.parent_path());
                bench::MakeSparseFile(file, shape.fileBytes);
                continue;
            }
            std::fill(bytes.begin(), bytes.end(), static_cast<char>('a' + i % 23));
            bench::WriteFile(file, bytes);
        }
    }

    bool RepairByTool() const {
        return VerifyAndRepairClient(PackageFolder(), false);
    }
    bool RepairBare() {
        return bareLoop_.Run(PackageFolder(), ClientFolder());
    }

    // Files of the same size that differ in their last byte.
    bool ChangeSomeFiles() const {
        for (int i = 0; i < shape_.changedFileCount; ++i) {
            const int index = i * (shape_.fileCount / shape_.changedFileCount);
            const fs::path path = ClientFolder() / FileName(shape_, index);
            const auto file = AdoptHandle<KernelHandle>(
                ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
            LARGE_INTEGER fromEnd{};
            fromEnd.QuadPart = -1;
            DWORD written = 0;
            if (!file || !::SetFilePointerEx(file.get(), fromEnd, nullptr, FILE_END) ||
                !::WriteFile(file.get(), "!", 1, &written, nullptr)) {
                return false;
            }
        }
        return true;
    }
    bool RemoveAllFiles() const {
        const bool success = RemoveTree(ClientFolder()) == ERROR_SUCCESS;
        bench::WriteFile(toolExePath, kToolBytes);
        return success;
    }

private:
    fs::path PackageFolder() const {
        return scratch_.Path() / L"package";
    }
    fs::path ClientFolder() const {
        return scratch_.Path() / L"client";
    }

    PackageShape shape_;
    bench::ScratchFolder scratch_;
    BareLoop bareLoop_;
};

// Nothing of the files is in memory.
bool MakeCold() {
    // The first time there may be more to write out than the bench waits for.
    constexpr int kTries = 12;
    for (int i = 0; i < kTries; ++i) {
        if (bench::DropFileCache()) {
            return true;
        }
    }
    return false;
}

void PrintClientTimes(const PackageShape& shape, const char* state, const Comparison& comparison) {
    PrintTimes(std::string(shape.name) + ", " + state, comparison.seconds);
    PrintTimes("the same, processor time", comparison.cpuSeconds);
}

void CompareWarm(const PackageShape& shape) {
    Client client(shape);
    const Work tool = [&] {
        return client.RepairByTool();
    };
    const Work bare = [&] {
        return client.RepairBare();
    };
    PrintClientTimes(shape, "empty client, warm", CompareByTurns(shape.warmRounds, tool, bare, [&] {
                         return client.RemoveAllFiles();
                     }));
    PrintClientTimes(shape, "unchanged, warm", CompareByTurns(shape.warmRounds, tool, bare));
    PrintClientTimes(
        shape, "partly changed, warm",
        CompareByTurns(shape.warmRounds, tool, bare, [&] { return client.ChangeSomeFiles(); }));
}

void CompareCold(const PackageShape& shape) {
    Client client(shape);
    const Work tool = [&] {
        return client.RepairByTool();
    };
    const Work bare = [&] {
        return client.RepairBare();
    };
    PrintClientTimes(shape, "empty client, cold", CompareByTurns(shape.coldRounds, tool, bare, [&] {
                         return client.RemoveAllFiles() && MakeCold();
                     }));
    PrintClientTimes(shape, "unchanged, cold",
                     CompareByTurns(shape.coldRounds, tool, bare, MakeCold));
    PrintClientTimes(shape, "partly changed, cold",
                     CompareByTurns(shape.coldRounds, tool, bare,
                                    [&] { return client.ChangeSomeFiles() && MakeCold(); }));
}

// Two passes each, so that the files are copied once and compared once.
bool RepairTwice(const PackageShape& shape) {
    const Client client(shape);
    return client.RepairByTool() && client.RepairByTool();
}

}  // namespace

// "cold" or "warm" as argument: only that half of the comparisons.
int main(int argumentCount, char** arguments) {
    PrintMemoryGrowth(
        "Peak memory, repair with 2,000 files of 4 KiB instead of 2",
        [] {
            return RepairTwice({"", 2, 200, 4096, 0, 0, 0});
        },
        [] {
            return RepairTwice({"", 2'000, 200, 4096, 0, 0, 0});
        });
    PrintMemoryGrowth(
        "Peak memory, repair with 2 files of 128 MiB instead of 4 KiB",
        [] {
            return RepairTwice({"", 2, 200, 4096, 0, 0, 0, true});
        },
        [] {
            return RepairTwice({"", 2, 200, size_t{128} << 20, 0, 0, 0, true});
        });
    const std::string_view only = argumentCount > 1 ? arguments[1] : "";
    for (const PackageShape& shape : {kSmallFiles, kLargeFiles}) {
        if (only != "warm") {
            CompareCold(shape);
        }
        if (only != "cold") {
            CompareWarm(shape);
        }
    }
    return 0;
}
