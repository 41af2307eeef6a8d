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

// An icon file whose only picture is this one.
std::string IconOf(const std::string& picture) {
    std::string file("\0\0\1\0\1\0\0\0\0\0\1\0\x20\0????\x16\0\0\0", 22);
    for (size_t i = 0; i < 4; ++i) {
        file[14 + i] = static_cast<char>(picture.size() >> 8 * i & 0xFF);
    }
    return file + picture;
}

// The same with a bitmap, which has no header for files, but a mask.
std::string IconOfBitmap(int side) {
    std::string bitmap = MakePicture(L"bmp", side, side).substr(14);
    bitmap[8] = static_cast<char>(2 * side & 0xFF);
    bitmap[9] = static_cast<char>(2 * side >> 8);
    return IconOf(bitmap + std::string(static_cast<size_t>(side * ((side + 31) / 32 * 4)), '\0'));
}

// A JPEG with bytes that belong to no segment, which decoders skip.
std::string JpegWithOddBytes(int width, int height) {
    std::string file = MakePicture(L"jpeg", width, height);
    return file.insert(2, "odd");
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
        {"icon as logo", WithLogo(IconOf(png)), {}},
        {"icon with a bitmap as logo", WithLogo(IconOfBitmap(128)), {}},
        {"icon as background",
         WithBackground(IconOf(png)),
         {"warning picture.size background.jpg"}},
        {"icon with an enormous picture",
         WithLogo(IconOf(PngHeader(8001, 8000))),
         {"error picture.unreadable logo.png"}},
        {"JPEG with odd bytes", WithBackground(JpegWithOddBytes(860, 560)), {}},
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
        {"icon without bitmaps", WithLogo(MakeIcon({126})), {"error picture.unreadable logo.png"}},
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

TEST(ReadPictureSize, TakesTheFirstPictureOfATiffFile) {
    // One directory with width 2 and height 3 that names itself as the next one.
    const std::string file(
        "II*\0\x08\0\0\0\x02\0\0\x01\x03\0\x01\0\0\0\x02\0\0\0\x01\x01\x03\0\x01\0\0\0\x03\0\0\0"
        "\x08\0\0\0",
        38);
    const struct {
        const char* what;
        size_t offset;
        char byte;
        uint32_t width;  // 0: no size.
        uint32_t height;
    } rows[] = {
        {"as it is", 0, 'I', 2, 3},
        {"more entries than the file holds", 8, '\x03', 2, 3},
        {"a number of four bytes", 12, '\x04', 2, 3},
        {"no width", 18, '\0', 0, 0},
        {"another tag instead of the height", 22, '\x02', 0, 0},
        {"two widths and no height", 23, '\0', 0, 0},
        {"a directory behind the end", 4, '\x25', 0, 0},
    };
    for (const auto& row : rows) {
        std::string changed = file;
        changed[row.offset] = row.byte;
        const auto size = ReadPictureSize(changed).value_or(PictureSize());
        EXPECT_EQ(size.width, row.width) << row.what;
        EXPECT_EQ(size.height, row.height) << row.what;
    }
}

TEST(ReadPictureSize, TakesTheLargestOfSeveral) {
    using namespace std::string_literals;
    const std::string screen = "GIF89a\x02\0\x03\0"s;
    const std::string frame = "\x2C\0\0\0\0\x05\0\x01\0\0"s;
    const std::string colors(6, 'c');
    const std::string remark = "\x21\xFE\x03one\x02to\0"s;
    const struct {
        std::string file;
        uint32_t width;
    } rows[] = {
        {screen + "\0\0\0"s + frame, 5},
        {screen + "\x80\0\0"s + colors + remark + remark + frame, 5},
        {screen + "\0\0\0"s + remark + ";", 2},
        {screen + "\0\0\0"s + remark.substr(0, 4), 0},
        {screen + "\0\0\0;"s, 2},
    };
    for (const auto& row : rows) {
        const auto size = ReadPictureSize(row.file);
        EXPECT_EQ(size ? size->width : 0U, row.width);
        EXPECT_EQ(size ? size->height : 3U, 3U);
    }
}

TEST(ReadPictureSize, TakesThePicturesOfAnIconByTheirOwnHeaders) {
    const GdiplusSession gdiplus;
    const auto bitmap = ReadPictureSize(IconOfBitmap(300)).value_or(PictureSize());
    EXPECT_EQ(bitmap.width, 300U);
    EXPECT_EQ(bitmap.height, 300U);
    const auto png = ReadPictureSize(IconOf(PngHeader(8001, 7000))).value_or(PictureSize());
    EXPECT_EQ(png.width, 8001U);
    EXPECT_EQ(png.height, 7000U);
}

TEST(ReadPictureSize, KnowsHowLargeMetafilesAreShown) {
    // Made by the system: 127 mm wide, 25.4 mm high.
    const RECT frame{100, 100, 12'800, 2'640};
    const HDC recording = ::CreateEnhMetaFileW(nullptr, nullptr, &frame, nullptr);
    const HDC screen = ::GetDC(nullptr);
    const int dotsWide = ::GetDeviceCaps(screen, HORZRES) * 127;
    const int millimetersWide = ::GetDeviceCaps(screen, HORZSIZE);
    ::ReleaseDC(nullptr, screen);
    const HENHMETAFILE metafile = ::CloseEnhMetaFile(recording);
    std::string emf(::GetEnhMetaFileBits(metafile, 0, nullptr), '\0');
    ::GetEnhMetaFileBits(metafile, static_cast<UINT>(emf.size()),
                         reinterpret_cast<BYTE*>(emf.data()));
    ::DeleteEnhMetaFile(metafile);
    const auto size = ReadPictureSize(emf);
    ASSERT_TRUE(size);
    EXPECT_NEAR(size->width, dotsWide / millimetersWide, 2);
    EXPECT_NEAR(size->width, 5.0 * size->height, 0.1 * size->width);

    // From -720 to 720 and from 0 to 300 units of a 1,440th of an inch.
    const std::string wmf("\xD7\xCD\xC6\x9A\0\0\x30\xFD\0\0\xD0\x02\x2C\x01\xA0\x05\0\0\0\0\0\0",
                          22);
    const auto wmfSize = ReadPictureSize(wmf);
    ASSERT_TRUE(wmfSize);
    EXPECT_EQ(wmfSize->width, 97U);
    EXPECT_EQ(wmfSize->height, 21U);
}

}  // namespace
