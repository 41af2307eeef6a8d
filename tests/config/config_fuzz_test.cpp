// Feeds the parser generated texts. Built with undefined-behavior traps and library assertions:
// an error in the parser ends this program at once.

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>

#include "config/config_keys.h"
#include "config/config_text.h"

namespace {

constexpr uint32_t kSeed = 20261121;

// Texts of pieces that have a meaning in the format, mixed with arbitrary bytes.
class ConfigTextGenerator {
public:
    explicit ConfigTextGenerator(uint32_t seed) : random_(seed) {}

    std::string Next() {
        std::string text;
        const size_t pieces = Below(40);
        for (size_t i = 0; i < pieces; ++i) {
            AppendPiece(text);
        }
        return text;
    }

private:
    size_t Below(size_t limit) {
        return std::uniform_int_distribution<size_t>(0, limit - 1)(random_);
    }

    void AppendPiece(std::string& text) {
        // clang-format off
        static constexpr std::array<std::string_view, 22> kPieces{
            "=", "\\", "\\\\", "\\=", "\\e", "\\n", "\\r", "\\t", "\n", "\r\n", "\r", " ", "1",
            "true", "\xEF\xBB\xBF", "\xC3\xA4", "\xFF", "\xED\xA0\x80", "#",
            "format=Quellstone.v1\n", "http://", "\xF0\x9F"};
        // clang-format on
        switch (Below(4)) {
            case 0:
                text += ConfigKeys()[Below(ConfigKeys().size())].name;
                text += Below(8) == 0 ? "" : "=";
                break;
            case 1:
                text += static_cast<char>(Below(256));
                break;
            default:
                text += kPieces[Below(kPieces.size())];
                break;
        }
    }

    std::mt19937 random_;
};

bool AreEqual(const ToolConfig& left, const ToolConfig& right) {
    for (const ConfigKey& key : ConfigKeys()) {
        if (!std::visit([&](auto field) { return left.*field == right.*field; }, key.field)) {
            return false;
        }
    }
    return true;
}

void ExpectRulesKept(int texts) {
    ConfigTextGenerator generator(kSeed);
    const ToolConfig defaults;
    int changed = 0;
    for (int i = 0; i < texts; ++i) {
        const std::string text = generator.Next();
        SCOPED_TRACE(i);
        const ToolConfig config = ParseConfigText(text);
        changed += AreEqual(config, defaults) ? 0 : 1;

        // For every text: another line feed or comment changes nothing, a later line wins, and a
        // mirror is never blank.
        ASSERT_TRUE(AreEqual(ParseConfigText(text + "\n"), config) || text.ends_with('\r'));
        ASSERT_TRUE(AreEqual(ParseConfigText("no equals sign\n" + text), config));
        ASSERT_EQ(ParseConfigText(text + "\narchiveUrl=last").archiveUrl, L"last");
        for (const std::wstring& mirror : config.archiveMirrorUrls) {
            ASSERT_EQ(mirror.find(L'\n'), std::wstring::npos);
            ASSERT_NE(mirror.find_first_not_of(L" \t\r\n"), std::wstring::npos);
        }
    }
    // Otherwise the generator does not reach the fields.
    EXPECT_GT(changed, texts / 4);
}

TEST(ParseConfigTextFuzz, KeepsItsRulesForGeneratedTexts) {
    ExpectRulesKept(10'000);
}

TEST(SlowParseConfigTextFuzz, KeepsItsRulesForMoreTexts) {
    ExpectRulesKept(100'000);
}

TEST(ParseConfigTextFuzz, EscapingAnyTextAndReadingItBackGivesTheSameText) {
    ConfigTextGenerator generator(kSeed + 1);
    for (int i = 0; i < 5'000; ++i) {
        const std::string text = generator.Next();
        std::string escaped;
        for (const char character : text) {
            constexpr std::string_view kEscaped = "\\\n\r";
            const size_t found = kEscaped.find(character);
            if (found == std::string_view::npos) {
                escaped += character;
            } else {
                escaped += {'\\', "\\nr"[found]};
            }
        }
        ASSERT_EQ(UnescapeConfigValue(escaped), text);
    }
}

}  // namespace
