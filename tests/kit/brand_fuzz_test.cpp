// Feeds damaged configurations and pictures to the kit's readers. Built with undefined-behavior
// traps and library assertions: an error in a reader ends this program at once.

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "bench_parts/scratch_folder.h"
#include "brand_corpus.h"
#include "config/config_text.h"
#include "kit/config_check.h"
#include "kit/json.h"
#include "kit/picture_header.h"
#include "kit/utf8.h"
#include "picture_samples.h"
#include "ui/gdiplus_objects.h"

namespace {

constexpr uint32_t kSeed = 20261121;

// KIT_FUZZ_ROUNDS texts or files a reader; few in the usual run.
int Rounds() {
    const char* rounds = std::getenv("KIT_FUZZ_ROUNDS");
    return rounds == nullptr ? 2'000 : std::atoi(rounds);
}

class Mutator {
public:
    explicit Mutator(uint32_t seed) : random_(seed) {}

    size_t Below(size_t limit) {
        return std::uniform_int_distribution<size_t>(0, limit - 1)(random_);
    }

    // The content with up to eight bytes, numbers or pieces changed, and sometimes cut.
    std::string Damaged(std::string content, std::span<const std::string_view> pieces) {
        for (size_t i = Below(8) + 1; i > 0 && !content.empty(); --i) {
            const size_t at = Below(content.size());
            switch (Below(6)) {
                case 0:
                    content[at] = static_cast<char>(Below(256));
                    break;
                case 1:
                    content[at] = static_cast<char>(content[at] ^ 1 << Below(8));
                    break;
                case 2:
                    content.erase(at, Below(20) + 1);
                    break;
                case 3:
                    content.insert(at, content.substr(Below(content.size()), Below(40)));
                    break;
                case 4:
                    content.resize(Below(10) == 0 ? at : content.size());
                    break;
                default:
                    content.insert(at, pieces[Below(pieces.size())]);
                    break;
            }
        }
        return content;
    }

private:
    std::mt19937 random_;
};

TEST(ConfigFuzz, EveryTextIsJudged) {
    constexpr std::string_view kPieces[] = {"=",
                                            "\\",
                                            "\n",
                                            "\r\n",
                                            "\xEF\xBB\xBF",
                                            " ",
                                            "\t",
                                            "#",
                                            "..",
                                            "/",
                                            "https://",
                                            "http://a",
                                            "archiveUrl=",
                                            "archiveMirrorUrls=https://\\nhttp://",
                                            "multiRepairTool=1",
                                            "accentHex=#",
                                            "repairToolName=",
                                            "startupExe=\\\\\\\\",
                                            "repairProductVersion=65536.",
                                            "\xFF",
                                            "\xF0\x9F",
                                            ":99999999999/",
                                            "[::1]",
                                            "\xED\xA0\x80",
                                            "showlogo=",
                                            "con.exe"};
    Mutator mutator(kSeed);
    const auto& cases = kit_test::ConfigCases();
    uint64_t found = 0;
    for (int i = 0; i < Rounds(); ++i) {
        SCOPED_TRACE(i);
        const std::string text = mutator.Damaged(
            kit_test::ConfigText(cases[mutator.Below(cases.size())].changes), kPieces);
        Findings findings;
        CheckConfig(kit_test::MakeBrand(text), false, findings);
        const auto lines = static_cast<uint64_t>(std::count(text.begin(), text.end(), '\n')) + 1;
        for (const Finding& finding : findings.List()) {
            ASSERT_LE(finding.place.line, lines);
            ASSERT_TRUE(IsValidUtf8(EscapeForDisplay(finding.message)));
            ++found;
        }
        // Whatever the text is, the address that is judged is the tool's.
        const bool hasAddress =
            ParseConfigText(text).archiveUrl.find_first_not_of(L" \t\r\n") != std::wstring::npos;
        ASSERT_EQ(findings.Count("url.missing") == 0, hasAddress) << text;
    }
    EXPECT_GT(found, static_cast<uint64_t>(Rounds()) / 2);
}

TEST(PictureHeaderFuzz, EndsForEveryDamagedPicture) {
    using namespace std::string_literals;
    using namespace std::string_view_literals;
    constexpr std::string_view kPieces[] = {
        "\xFF\xD8\xFF"sv, "\xFF\xC0\0\x11"sv, "\0\0\0\0"sv, "\xFF\xFF\xFF\xFF"sv,
        "II*\0"sv,        "MM\0*"sv,          "BM"sv,       "\0\0\1\0"sv,
        "\x21\xFE"sv};
    const GdiplusSession gdiplus;
    std::vector<std::string> samples;
    for (const wchar_t* format : {L"png", L"jpeg", L"gif", L"bmp", L"tiff"}) {
        samples.push_back(kit_test::MakePicture(format, 20, 10));
    }
    samples.push_back(kit_test::MakeIcon({16, 32, 48}));
    samples.push_back("\1\0\0\0"s + std::string(20, '\0') + std::string(16, '\1') + " EMF" +
                      std::string(44, '\2'));
    samples.push_back("\xD7\xCD\xC6\x9A"s + std::string(18, '\3'));
    Mutator mutator(kSeed + 1);
    int sizes = 0;
    for (int i = 0; i < Rounds(); ++i) {
        SCOPED_TRACE(i);
        const std::string& sample = samples[mutator.Below(samples.size())];
        // Mostly in the header, which is what is read.
        const size_t header = std::min(sample.size(), size_t{40} + mutator.Below(200));
        const std::string file =
            mutator.Damaged(sample.substr(0, header), kPieces) + sample.substr(header);
        // An exact copy, so that a read beyond the end leaves the allocation.
        const std::unique_ptr<char[]> copy(new char[file.size()]);
        std::copy(file.begin(), file.end(), copy.get());
        if (const auto size = ReadPictureSize({copy.get(), file.size()})) {
            ASSERT_NE(size->width, 0U);
            ASSERT_NE(size->height, 0U);
            ++sizes;
        }
    }
    EXPECT_GT(sizes, Rounds() / 10);
}

}  // namespace
