#include "kit/zip/package_completion.h"

#include <optional>

#include "kit/brand.h"
#include "kit/errors.h"
#include "kit/input_file.h"
#include "kit/zip/digest_line.h"

namespace {

std::string DigestLeftToSet(const std::string& digest) {
    return "the package is complete, but set archiveSha256=" + digest + " yourself: ";
}

// Ends what CommitUnfinishedWork began, also when the work fails.
struct UnfinishedWork {
    UnfinishedWork() = default;
    ~UnfinishedWork() {
        ForgetUnfinishedWork();
    }
    UnfinishedWork(const UnfinishedWork&) = delete;
    UnfinishedWork& operator=(const UnfinishedWork&) = delete;
};

void SetDigest(const std::wstring& config, const std::string& digest) {
    const std::optional<std::string> text = ReadInputFile(config, kMostConfigBytes);
    if (!text) {
        throw OutsideFailure("cannot read", config, ERROR_FILE_NOT_FOUND);
    }
    const std::string changed = WithArchiveDigest(*text, digest);
    if (changed != *text) {
        OutputFile file(config);
        file.Write(changed);
        file.Commit();
    }
}

}  // namespace

void CompletePackage(OutputFile& package, const std::string& digest, const std::wstring& config,
                     Console& console) {
    if (config.empty()) {
        package.Commit();
        return;
    }
    package.CommitUnfinishedWork([&console, digest] {
        console.PrintError("repair_kit: " + DigestLeftToSet(digest) + "it was interrupted");
    });
    const UnfinishedWork unfinishedWork;
    try {
        SetDigest(config, digest);
    } catch (const OutsideFailure& failure) {
        throw OutsideFailure(DigestLeftToSet(digest) + failure.what());
    }
}
