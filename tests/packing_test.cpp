#include "files/modEnDecode_Eliminator.h"
#include "tests/Files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>

namespace k470 {
namespace {

ByteBuffer Encoded(ByteBuffer buffer) {
    EncodeBuffer(buffer);
    return buffer;
}

struct Pinned {
    const char *what;
    const char *plain;
    const char *encoded;
};

/// The encoded forms were worked out on paper, not taken from this program.
constexpr Pinned PinnedForms[] = {
    {"an empty buffer gets its pass count only", "", "00"},
    {"a pass of one byte value and one literal", "FF*20 41", "00 00 07 FF 00 00 14 7F 7F 7E 41 01"},
    {"a pass that costs one byte is made", "EE*7", "00 00 05 EE 00 00 07 7F 01"},
    {"a pass that costs two bytes is not made", "EE*6", "EE*6 00"},
    {"of two equally frequent values the higher goes first, then the other", "00*10 FF*10",
     "00 00 07 00 00 00 0E 66 0F 7E 07 FF 0A 83 7F 60 02"},
    {"six literals and the byte share a group", "EE*14 1..6 EE", "00 00 07 EE 00 00 0F 7F 7F 01 1..6 01"},
    {"seven literals and the byte are a run", "1..7 EE*15", "00 00 07 EE 00 00 0F 80 7F 7F 1..7 01"},
    {"133 literals and the byte are the longest run", "EE*21 1..85 EE",
     "00 00 08 EE 00 00 16 7F 7F 7F FE 1..85 01"},
    {"134 literals are a run of their own", "EE*21 1..86 EE", "00 00 09 EE 00 00 16 7F 7F 7F FF 40 1..86 01"},
    {"a literal after 134 opens a group", "EE*21 1..87 EE", "00 00 09 EE 00 00 16 7F 7F 7F FF 20 1..87 01"},
    {"what follows the last occurrence is outside its group", "EE*15 01 EE 02 03 04",
     "00 00 07 EE 00 00 10 7F 7F 50 1..4 01"},
    {"three passes, two of them at a cost of one byte", "00*64",
     "00 00 07 00 00 00 09 66 0D 60 07 7F 09 80 7F 40 0E 40 40 03"},
};

TEST(Packing, GivesTheFormsWorkedOutByHandAndTurnsThemBack) {
    for (const auto &[what, plain, encoded] : PinnedForms) {
        ByteBuffer buffer = Encoded(HexBytes(plain));
        EXPECT_EQ(buffer, HexBytes(encoded)) << what;
        EXPECT_TRUE(DecodeBuffer(buffer)) << what;
        EXPECT_EQ(buffer, HexBytes(plain)) << what;
    }
}

/// Every occurrence of EE behind seven literals, which 200 other values share: a pass makes the buffer
/// longer.
ByteBuffer Scattered(int occurrences) {
    ByteBuffer buffer;
    for (int literal = 0; literal < occurrences * 7; ++literal) {
        buffer.push_back(static_cast<std::uint8_t>(literal % 200));
        if (literal % 7 == 6)
            buffer.push_back(0xEE);
    }
    return buffer;
}

TEST(CompressPass, MakesAnyPassOver1100OccurrencesAndNoCostlyOneBelow) {
    ByteBuffer below = Scattered(1099);
    EXPECT_FALSE(CompressPass(below));
    EXPECT_EQ(below, Scattered(1099));

    ByteBuffer enough = Scattered(1100);
    ASSERT_TRUE(CompressPass(enough));
    ByteBuffer expected = HexBytes("00 04 50 EE 00 04 4C 80*1100"), literals = Scattered(1100);
    std::erase(literals, 0xEE);
    expected.insert(expected.end(), literals.begin(), literals.end());
    EXPECT_EQ(enough, expected);

    ByteBuffer many(70000, 0x55); // counts of three bytes
    ASSERT_TRUE(CompressPass(many));
    EXPECT_EQ(many, HexBytes("00 27 14 55 01 11 70 7F*10000"));
}

/// Buffers of a few values, of runs, with one common value, and with periods around the lengths of groups and
/// runs.
ByteBuffer RandomBuffer(std::mt19937 &random) {
    const std::size_t size = random() % (random() % 20 == 0 ? 3000 : 400);
    const std::size_t shape = random() % 4;
    const std::size_t parameter = 1 + random() % 140;
    ByteBuffer buffer;
    while (buffer.size() < size) {
        const auto byte = static_cast<std::uint8_t>(shape == 0 ? random() % parameter : random());
        if (shape == 1)
            buffer.insert(buffer.end(), 1 + random() % parameter, byte);
        else if (shape == 2 && random() % parameter != 0)
            buffer.push_back(0xEE);
        else if (shape == 3 && buffer.size() >= parameter)
            buffer.push_back(buffer[buffer.size() - parameter]);
        else
            buffer.push_back(byte);
    }
    return buffer;
}

TEST(Packing, ReturnsTwentyThousandBuffersOfManyShapes) {
    std::mt19937 random(470);
    for (int round = 0; round < 20000; ++round) {
        const ByteBuffer plain = RandomBuffer(random);
        ByteBuffer buffer = Encoded(plain);
        ASSERT_TRUE(DecodeBuffer(buffer)) << "round " << round;
        ASSERT_EQ(buffer, plain) << "round " << round;
    }
}

TEST(Packing, StopsAfter255PassesAndStillReturnsTheBuffer) {
    // Values that occur more than 1100 times are always taken out; these 96 keep that going for many passes.
    std::mt19937 random(255);
    ByteBuffer plain(96 * 1200);
    for (auto &byte : plain)
        byte = static_cast<std::uint8_t>(random() % 96);
    ByteBuffer buffer = Encoded(plain);
    EXPECT_EQ(buffer.back(), 255);
    ASSERT_TRUE(DecodeBuffer(buffer));
    EXPECT_EQ(buffer, plain);
}

TEST(DecodeBuffer, TakesWhatIsWholeAndRefusesWhatPointsPastTheData) {
    const struct {
        const char *what;
        const char *encoded;
        const char *plain = nullptr; ///< none when it is refused
    } cases[] = {
        {"nothing eliminated", "00 00 04 EE 00 00 00 01 02 01", "01 02"},
        {"a control byte that is not needed", "00 00 06 EE 00 00 01 40 7F 01 02 01", "EE 01 02"},
        {"no pass count", ""},
        {"header cut", "00 00 04 EE 00 00 01"},
        {"control stream too short for its header", "00 00 03 EE 00 00 00 01 02 01"},
        {"control stream past the end", "00 00 06 EE 00 00 01 40 01"},
        {"control stream far past the end", "FF FF FF EE 00 00 01 40 01 01"},
        {"more occurrences than control bytes", "00 00 05 EE 00 00 08 7F 01"},
        {"a run of more literals than there are", "00 00 05 EE 00 00 01 80 1..6 01"},
        {"a group of more literals than there are", "00 00 05 EE 00 00 01 01 1..5 01"},
        {"a pass too many", "00 00 05 EE 00 00 07 7F 02"},
    };
    for (const auto &[what, encoded, plain] : cases) {
        ByteBuffer buffer = HexBytes(encoded);
        EXPECT_EQ(DecodeBuffer(buffer), plain != nullptr) << what;
        EXPECT_EQ(buffer, HexBytes(plain != nullptr ? plain : encoded)) << what;
    }
}

TEST(DecodeBuffer, StopsAtAResultBeyondItsLimitAndCutsIt) {
    for (const std::size_t size : {MaxDecodedSize, MaxDecodedSize + 1, MaxDecodedSize + 5}) {
        ByteBuffer bomb = Encoded(ByteBuffer(size, 0));
        EXPECT_LT(bomb.size(), 100u);
        EXPECT_TRUE(DecodeBuffer(bomb));
        EXPECT_EQ(bomb.size(), std::min(size, MaxDecodedSize + 1));
    }
    // The buffer after the first of the two passes is beyond a limit of 8.
    const ByteBuffer twice = HexBytes("00 00 04 EE 00 00 00 00 00 04 EE 00 00 00 01 02 02");
    for (const auto &[limit, size] : {std::pair(8u, 9u), {9u, 2u}}) {
        ByteBuffer buffer = twice;
        EXPECT_TRUE(DecodeBuffer(buffer, limit));
        EXPECT_EQ(buffer.size(), size);
    }
}

} // namespace
} // namespace k470
