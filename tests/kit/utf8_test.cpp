#include "kit/utf8.h"

#include <gtest/gtest.h>

#include "kit/json.h"

namespace {

using namespace std::string_literals;

TEST(EscapeForDisplay, KeepsWhatCanBeReadAndEscapesTheRest) {
    const struct {
        std::string text;
        std::string shown;
    } rows[] = {
        {"", ""},
        {"C:\\Games\\n", "C:\\Games\\n"},
        {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"a\n\r\tb", "a\\n\\r\\tb"},
        {"\x1B[2J\x7F\0"s, "\\x1B[2J\\x7F\\x00"},
        {"\xC2\x9B\xC2\x85", "\\u009B\\u0085"},
        {"\xE2\x80\xAE\xE2\x81\xA6\xE2\x80\xA8\xD8\x9C", "\\u202E\\u2066\\u2028\\u061C"},
        {"\xFF\xC3", "\\xFF\\xC3"},
        {"\xED\xA0\x80", "\\xED\\xA0\\x80"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(EscapeForDisplay(row.text), row.shown);
    }
}

TEST(IsValidUtf8, RefusesWhatIsNoCharacter) {
    for (const char* text : {"", "a", "\xC3\xA4", "\xEF\xBF\xBF", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_TRUE(IsValidUtf8(text)) << text;
    }
    for (const char* text : {"\x80", "\xC0\x80", "\xC3", "\xE0\x80\x80", "\xED\xA0\x80",
                             "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xF5", "a\xFFz"}) {
        EXPECT_FALSE(IsValidUtf8(text)) << EscapeForDisplay(text);
    }
}

TEST(WideToUtf8, KeepsPairsTogetherInLongTexts) {
    for (const size_t before : {size_t{0}, size_t{1022}, size_t{1023}, size_t{1024}}) {
        const std::wstring wide = std::wstring(before, L'a') + L"\xD83D\xDE00\u00E4";
        EXPECT_EQ(WideToUtf8(wide), std::string(before, 'a') + "\xF0\x9F\x98\x80\xC3\xA4");
    }
    EXPECT_EQ(WideToUtf8(L"\xD83Dz"), "\xEF\xBF\xBDz");
}

TEST(JsonText, NeverThrowsAndIsSafeToShow) {
    Json document;
    document["text"] = "\x1B\x7F\xC2\x9B\xE2\x80\xAE\xFF\xC3\xA4\n";
    EXPECT_EQ(JsonText(document),
              "{\n  \"text\": "
              "\"\\u001b\\u007F\\u009B\\u202E\xEF\xBF\xBD\xC3\xA4\\n\"\n}\n");
}

}  // namespace
