// output_writer TARGET ROUNDS [WAIT]: writes files through the kit's OutputFile, again and again:
// 4 MB of the letter a, then 4 MB of the letter b. With WAIT it opens one, creates the file WAIT
// and stays there until it is ended.

#include <string>

#include "common/files.h"
#include "kit/crash_guard.h"
#include "kit/errors.h"
#include "kit/output_file.h"

namespace {

constexpr int kPieces = 64;
constexpr size_t kPieceBytes = 0x10000;

void WriteOnce(const std::wstring& target, char letter) {
    const std::string piece(kPieceBytes, letter);
    OutputFile file(target);
    for (int i = 0; i < kPieces; ++i) {
        file.Write(piece);
    }
    file.Commit();
}

void WaitForEnd(const std::wstring& target, const std::wstring& mark) {
    OutputFile file(target);
    file.Write("unfinished");
    if (WriteBinaryFile(mark, {})) {
        ::Sleep(INFINITE);
    }
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    InstallCrashGuards();
    RemoveTemporaryFilesOnInterruption();
    const std::wstring target = arguments[1];
    try {
        if (count > 3) {
            WaitForEnd(target, arguments[3]);
        }
        for (int i = 0; i < std::stoi(arguments[2]); ++i) {
            WriteOnce(target, i % 2 == 0 ? 'a' : 'b');
        }
    } catch (const OutsideFailure&) {
        return 4;
    }
    return 0;
}
