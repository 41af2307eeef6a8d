// misbehave MODE: a program that ends badly in one chosen way, for bench_self_check.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "common/windows_api.h"

namespace {

constexpr int kModeFailed = 90;

void PrintMarker() {
    std::puts("bench: all tests passed");
    std::fflush(stdout);
}

void WriteToNull() {
    volatile int* const nowhere = nullptr;
    *nowhere = 1;
}

// Starts a second copy of this program that does nothing for a minute.
bool StartSleeper(const char* ownPath) {
    std::string command = "\"" + std::string(ownPath) + "\" sleep";
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!::CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                          &startup, &process)) {
        return false;
    }
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return true;
}

bool CreateNewFile(const std::string& path, DWORD attributes) {
    const HANDLE file =
        ::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, attributes, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return false;
    }
    ::CloseHandle(file);
    return true;
}

bool Exists(const std::string& path) {
    return ::GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Two programs call this with swapped arguments. Succeeds when they run at the same time and do not
// see each other's named objects. A mutex that the other one holds lasts until both files exist.
bool RunsBesideTheOtherUnseen(const std::string& ownFile, const std::string& otherFile) {
    ::CreateMutexW(nullptr, FALSE, L"bench_self_check_meeting");
    const bool unseen = ::GetLastError() != ERROR_ALREADY_EXISTS;
    if (!CreateNewFile(ownFile, 0)) {
        return false;
    }
    for (int wait = 0; wait < 2000; ++wait) {
        if (Exists(otherFile)) {
            return unseen;
        }
        ::Sleep(10);
    }
    return false;
}

// Succeeds when temp folder, Desktop and C:\bench do not hold the file that this leaves in each.
bool FindsEmptyFoldersAndLittersThem() {
    const char* const temp = std::getenv("TEMP");
    const char* const home = std::getenv("USERPROFILE");
    if (temp == nullptr || home == nullptr) {
        return false;
    }
    bool success = true;
    for (const std::string& folder :
         {std::string(temp), std::string(home) + "\\Desktop", std::string("C:\\bench")}) {
        success = CreateNewFile(folder + "\\litter.txt", FILE_ATTRIBUTE_READONLY) && success;
    }
    return success;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view mode = argc > 1 ? argv[1] : "";
    std::puts("misbehave: started");
    std::fflush(stdout);
    if (mode == "crash-after-marker" || mode == "marker-then-more") {
        PrintMarker();
    }
    if (mode == "crash" || mode == "crash-after-marker") {
        WriteToNull();
    }
    if (mode == "abort") {
        std::abort();
    }
    if (mode == "sleep") {
        ::Sleep(60'000);
    }
    if (mode == "marker-then-more" || mode == "no-marker" || mode == "sleep") {
        std::puts("and something goes on");
        return 0;
    }
    if (mode == "exit-256") {
        return 256;
    }
    // As GoogleTest says it.
    if (mode == "skip" || mode == "skip-for-wine") {
        std::printf("a_test.cpp:12: Skipped\n%s do it\n\n[  SKIPPED ] Suite.Test (1 ms)\n",
                    mode == "skip" ? "This machine cannot" : "Wine cannot");
    }
    const bool success =
        mode == "pass" || mode == "skip" || mode == "skip-for-wine" ||
        (mode == "leave-child" && StartSleeper(argv[0])) ||
        (mode == "litter" && FindsEmptyFoldersAndLittersThem()) ||
        (mode == "meet" && argc == 4 && RunsBesideTheOtherUnseen(argv[2], argv[3]));
    if (!success) {
        return kModeFailed;
    }
    PrintMarker();
    return 0;
}
