#include "kit/picture_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "brand_corpus.h"
#include "kit/brand_check.h"
#include "kit/picture_header.h"
#include "picture_samples.h"
#include "ui/gdiplus_objects.h"

namespace {

using kit_test::Described;
using kit_test::MakeIcon;
using kit_test::MakePicture;

const std::string kPngStart = std::string("\x89PNG\r\n\x1A\n\0\0\0\rIHDR", 16);

// A PNG that claims a size and has nothing else.
std::string PngHeader(uint32_t width, uint32_t height) {
    std::string file = kPngStart;
    for (const uint32_t number : {width, height}) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            file += static_cast<char>(number >> shift & 0xFF);
        }
    }
    return file + std::string("\x08\x06\0\0\0\0\0\0\0", 9);
}

std::vector<std::string> Found(const Brand& brand) {
    Findings findings;
    CheckBrandFiles(brand, findings);
    CheckPictures(brand, findings);
    return Described(findings);
}

struct PictureCase {
    const char* name;
    Brand brand;
    std::vector<std::string> findings;
};

Brand CleanBrand() {
    Brand brand;
    brand.configText = "";
    brand.background = MakePicture(L"jpeg", 860, 560);
    brand.logo = MakePicture(L"png", 126, 126);
    brand.icon = MakeIcon({16, 32, 48, 256});
    return brand;
}

Brand WithBackground(std::optional<std::string> content) {
    Brand brand = CleanBrand();
    brand.background = std::move(content);
    return brand;
}

Brand WithLogo(std::optional<std::string> content) {
    Brand brand = CleanBrand();
    brand.logo = std::move(content);
    return brand;
}

Brand WithIcon(std::optional<std::string> content) {
    Brand brand = CleanBrand();
    brand.icon = std::move(content);
    return brand;
}

std::string HalfOf(const std::string& content) {
    return content.substr(0, content.size() / 2);
}

std::vector<PictureCase> PictureCases() {
    const std::string png = MakePicture(L"png", 200, 200);
    Brand noConfig = CleanBrand();
    noConfig.configText.reset();
    return {
        {"clean", CleanBrand(), {}},
        {"background as PNG", WithBackground(MakePicture(L"png", 860, 560)), {}},
        {"background as BMP", WithBackground(MakePicture(L"bmp", 860, 560)), {}},
        {"background as TIFF", WithBackground(MakePicture(L"tiff", 860, 560)), {}},
        {"larger square logo", WithLogo(png), {}},
        {"no config", noConfig, {"error brand.missing-file config.txt"}},
        {"no background", WithBackground({}), {"warning brand.missing-file background.jpg"}},
        {"no logo", WithLogo({}), {"warning brand.missing-file logo.png"}},
        {"no icon", WithIcon({}), {"error brand.missing-file tool.ico"}},
        {"large background",
         WithBackground(MakePicture(L"jpeg", 1720, 1120)),
         {"warning picture.size background.jpg"}},
        {"background with swapped sides",
         WithBackground(MakePicture(L"jpeg", 560, 860)),
         {"warning picture.size background.jpg"}},
        {"background one pixel off",
         WithBackground(MakePicture(L"jpeg", 860, 561)),
         {"warning picture.size background.jpg"}},
        {"wide logo", WithLogo(MakePicture(L"png", 170, 126)), {"warning picture.size logo.png"}},
        {"small logo", WithLogo(MakePicture(L"png", 125, 125)), {"warning picture.size logo.png"}},
        {"empty background", WithBackground(""), {"error picture.unreadable background.jpg"}},
        {"text as background",
         WithBackground("no picture"),
         {"error picture.unreadable background.jpg"}},
        {"text as logo", WithLogo("no picture"), {"error picture.unreadable logo.png"}},
        {"icon as logo", WithLogo(MakeIcon({126})), {"error picture.unreadable logo.png"}},
        {"PNG without content",
         WithLogo(PngHeader(200, 200)),
         {"error picture.unreadable logo.png"}},
        {"PNG cut within its header",
         WithLogo(png.substr(0, 20)),
         {"error picture.unreadable logo.png"}},
        {"PNG of no width", WithLogo(PngHeader(0, 200)), {"error picture.unreadable logo.png"}},
        {"just too large", WithLogo(PngHeader(8001, 8000)), {"error picture.unreadable logo.png"}},
        {"enormous",
         WithLogo(PngHeader(0x7FFFFFFF, 0x7FFFFFFF)),
         {"error picture.unreadable logo.png"}},
        {"icon without 16", WithIcon(MakeIcon({32, 48, 256})), {"warning icon.sizes tool.ico"}},
        {"icon without 32", WithIcon(MakeIcon({16, 48, 256})), {"warning icon.sizes tool.ico"}},
        {"icon without 48", WithIcon(MakeIcon({16, 32, 256})), {"warning icon.sizes tool.ico"}},
        {"icon without 256", WithIcon(MakeIcon({16, 32, 48})), {"warning icon.sizes tool.ico"}},
        {"icon with one size", WithIcon(MakeIcon({64})), {"warning icon.sizes tool.ico"}},
        {"icon with more sizes", WithIcon(MakeIcon({256, 128, 64, 48, 32, 24, 20, 16})), {}},
        {"icon without pictures", WithIcon(MakeIcon({})), {"error icon.unreadable tool.ico"}},
        {"empty icon", WithIcon(""), {"error icon.unreadable tool.ico"}},
        {"PNG as icon", WithIcon(png), {"error icon.unreadable tool.ico"}},
        {"half an icon",
         WithIcon(HalfOf(MakeIcon({16, 32, 48, 256}))),
         {"error icon.unreadable tool.ico"}},
    };
}

TEST(CheckPictures, FindsExactlyTheFaultOfEachBrand) {
    const GdiplusSession gdiplus;
    for (const PictureCase& row : PictureCases()) {
        EXPECT_EQ(Found(row.brand), row.findings) << row.name;
    }
}

TEST(CheckPictures, APictureThatIsTooLargeIsNotDecoded) {
    const GdiplusSession gdiplus;
    const struct {
        uint32_t height;
        const char* message;
    } rows[] = {{8000, "no picture"}, {8001, "8000 x 8001 pixels"}};
    for (const auto& row : rows) {
        Findings findings;
        CheckPictures(WithLogo(PngHeader(8000, row.height)), findings);
        ASSERT_EQ(findings.List().size(), 1U);
        EXPECT_THAT(findings.List()[0].message, testing::HasSubstr(row.message));
    }
}

TEST(ReadPictureSize, KnowsTheFormatsThatTheWindowShows) {
    const GdiplusSession gdiplus;
    for (const wchar_t* format : {L"png", L"jpeg", L"gif", L"bmp", L"tiff"}) {
        const auto size = ReadPictureSize(MakePicture(format, 321, 45));
        ASSERT_TRUE(size) << format;
        EXPECT_EQ(size->width, 321U) << format;
        EXPECT_EQ(size->height, 45U) << format;
    }
}

TEST(ReadPictureSize, ReadsTheSizeThatEveryLibrarySees) {
    const std::string jpeg("\xFF\xD8\xFF\xFF\xE0\0\x04xx\xFF\xC2\0\x0B\x08\0\x02\0\x03\x01\0\0\0",
                           22);
    const auto size = ReadPictureSize(jpeg);
    ASSERT_TRUE(size);
    EXPECT_EQ(size->width, 3U);
    EXPECT_EQ(size->height, 2U);
    // A scan before any size.
    EXPECT_FALSE(
        ReadPictureSize(std::string("\xFF\xD8\xFF\xDA\0\x02\xFF\xC2\0\x0B\x08\0\x02\0\x03", 15)));
}

TEST(ReadPictureSize, EndsForATiffFileWhoseDirectoriesGoInACircle) {
    // One directory with width and height 1 that names itself as the next one.
    const std::string file(
        "II*\0\x08\0\0\0\x02\0\0\x01\x03\0\x01\0\0\0\x01\0\0\0\x01\x01\x03\0\x01\0\0\0\x01\0\0\0"
        "\x08\0\0\0",
        38);
    EXPECT_FALSE(ReadPictureSize(file));
}

}  // namespace
