// Feeds the readers real files with random damage. Built with undefined-behavior traps and library
// assertions: an error in a reader ends this program at once.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <random>

#include "bench_parts/scratch_folder.h"
#include "kit/pe/icon_file.h"
#include "kit/pe/resource_tree.h"
#include "kit/pe/resource_writer.h"
#include "kit/pe/small_program.h"
#include "kit/pe/version_block.h"

namespace {

constexpr uint32_t kSeed = 20261121;

// How many damaged files each reader gets.
int Rounds() {
    const char* const rounds = std::getenv("KIT_FUZZ_ROUNDS");
    return rounds == nullptr ? 2'000 : std::atoi(rounds);
}

// Damages a few places of a file at a time, within the parts that readers look at.
class Damage {
public:
    using Parts = std::vector<std::pair<size_t, size_t>>;  // Offset and size; not empty.

    Damage(ByteBuffer file, Parts parts)
        : whole_(std::move(file)), damaged_(whole_), parts_(std::move(parts)), random_(kSeed) {}

    // Valid until the next call.
    ByteView Next() {
        for (const auto& [offset, size] : parts_) {
            std::copy_n(whole_.begin() + static_cast<ptrdiff_t>(offset), size,
                        damaged_.begin() + static_cast<ptrdiff_t>(offset));
        }
        const size_t places = 1 + Below(6);
        for (size_t i = 0; i < places; ++i) {
            DamageOnePlace();
        }
        return ByteView(damaged_).first(Below(10) == 0 ? Below(damaged_.size()) : damaged_.size());
    }

private:
    size_t Below(size_t limit) {
        return std::uniform_int_distribution<size_t>(0, limit - 1)(random_);
    }

    void DamageOnePlace() {
        const auto& [offset, size] = parts_[Below(parts_.size())];
        const size_t place = offset + Below(size);
        const size_t width = std::min(size_t{1} << Below(3), offset + size - place);
        PutNumber(std::span(damaged_).subspan(place, width), Number());
    }

    // Random bits, one of the numbers that readers stumble over, or one that fits the file.
    uint64_t Number() {
        constexpr std::array<uint64_t, 12> kNumbers{
            0,      1,           2,           8,           0x7F,        0x80,
            0xFFFF, 0x7FFF'FFFF, 0x8000'0000, 0x8000'0010, 0xFFFF'FFF0, 0xFFFF'FFFF};
        switch (Below(3)) {
            case 0:
                return random_();
            case 1:
                return kNumbers[Below(kNumbers.size())];
            default:
                return Below(damaged_.size() + 1);
        }
    }

    const ByteBuffer whole_;
    ByteBuffer damaged_;
    Parts parts_;
    std::mt19937 random_;
};

// The bytes must lie in the file. Gives their number.
size_t ExpectWithin(ByteView file, ByteView bytes) {
    if (!bytes.empty()) {
        EXPECT_GE(bytes.data(), file.data());
        EXPECT_LE(bytes.data() + bytes.size(), file.data() + file.size());
    }
    return bytes.size();
}

Damage::Parts HeadersAndTree(ByteView program) {
    std::string reason;
    const PeFile pe = ReadPeFile(program, reason).value();
    const auto tree = BytesFromAddress(program, pe, pe.directories[kResourceDirectory].address);
    const auto treeOffset = static_cast<size_t>(tree.value().data() - program.data());
    return {{0, 0x400}, {treeOffset, 0x400}};
}

// What `show` reads of a program. True if it could be read.
bool ReadWhole(ByteView file) {
    std::string reason;
    const auto pe = ReadPeFile(file, reason);
    const auto resources = pe ? ReadResources(file, *pe, reason) : std::nullopt;
    if (!resources) {
        EXPECT_FALSE(reason.empty());
        return false;
    }
    for (const Resource& resource : *resources) {
        static_cast<void>(ExpectWithin(file, resource.bytes));  // Only their place matters.
    }
    if (const auto icon = ReadIconGroup(*resources, 101, file.size())) {
        for (const IconPicture& picture : *icon) {
            static_cast<void>(ExpectWithin(file, picture.bytes));  // Only their place matters.
        }
        constexpr size_t kHeaders = 6 + 16 * 0xFFFF;
        EXPECT_LE(IconFile(*icon).size(), file.size() + kHeaders);
    }
    if (const Resource* version = FindEmbedded(*resources, kVersionType, 1)) {
        static_cast<void>(ReadVersionTexts(version->bytes));  // Any texts will do.
    }
    return true;
}

TEST(PeReaderFuzz, EndsForEveryDamagedProgram) {
    const ByteBuffer program = BytesOf(bench::ReadFile(TOOL_PATH));
    ASSERT_TRUE(ReadWhole(program));
    Damage damage(program, HeadersAndTree(program));
    int readable = 0;
    for (int i = 0; i < Rounds(); ++i) {
        SCOPED_TRACE(i);
        readable += ReadWhole(damage.Next()) ? 1 : 0;
    }
    // Otherwise the damage does not reach what comes later.
    EXPECT_GT(readable, Rounds() / 10);
    EXPECT_LT(readable, Rounds());
}

TEST(PeWriterFuzz, MakesOnlyReadablePrograms) {
    const ByteBuffer content = BytesOf("content");
    const std::vector<Resource> resources{{kDataType, 201, 0, content}};
    std::string reason;
    const ByteBuffer program =
        WithResources(SmallProgram({{".text", content, 0}}), resources, reason).value();
    Damage damage(program, {{0, program.size()}});
    int changed = 0;
    for (int i = 0; i < Rounds(); ++i) {
        SCOPED_TRACE(i);
        if (const auto result = WithResources(damage.Next(), resources, reason)) {
            ASSERT_TRUE(ReadWhole(*result));
            ++changed;
        }
    }
    EXPECT_GT(changed, Rounds() / 10);
}

TEST(IconReaderFuzz, EndsForEveryDamagedIcon) {
    const ByteBuffer icon = BytesOf(bench::ReadFile(ICON_PATH));
    const size_t directorySize = 6 + 16 * ReadIconFile(icon).value().size();
    Damage damage(icon, {{0, directorySize}});
    int readable = 0;
    for (int i = 0; i < Rounds(); ++i) {
        SCOPED_TRACE(i);
        const ByteView file = damage.Next();
        if (const auto pictures = ReadIconFile(file)) {
            ++readable;
            size_t total = 0;
            for (const IconPicture& picture : *pictures) {
                total += ExpectWithin(file, picture.bytes);
            }
            ASSERT_LE(total, file.size());
        }
    }
    EXPECT_GT(readable, Rounds() / 10);
    EXPECT_LT(readable, Rounds());
}

TEST(VersionReaderFuzz, EndsForEveryDamagedResource) {
    std::string reason;
    const ByteBuffer program = BytesOf(bench::ReadFile(TOOL_PATH));
    const auto resources = ReadResources(program, ReadPeFile(program, reason).value(), reason);
    const ByteView version = FindEmbedded(resources.value(), kVersionType, 1)->bytes;
    Damage damage({version.begin(), version.end()}, {{0, version.size()}});
    int readable = 0;
    for (int i = 0; i < Rounds(); ++i) {
        SCOPED_TRACE(i);
        const ByteView block = damage.Next();
        size_t characters = 0;
        for (const VersionText& text : ReadVersionTexts(block)) {
            characters += text.name.size() + text.text.size();
        }
        ASSERT_LE(characters * 2, block.size());
        readable += characters > 0 ? 1 : 0;
    }
    EXPECT_GT(readable, Rounds() / 10);
}

}  // namespace
