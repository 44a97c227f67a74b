#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "bounded.h"
#include "guarded_memory.h"

namespace wyx::test {
namespace {

constexpr QAL_UINT8 kOld = 0xEE;

/// A block of a given size whose neighbours are an unmapped page on one side, old bytes on the
/// other.
class Block {
  public:
    explicit Block(std::size_t size) : size_(size)
    {
        std::memset(memory_.Begin(), kOld, memory_.Size());
    }

    char *Text() const { return static_cast<char *>(static_cast<void *>(memory_.End() - size_)); }
    void Hold(const std::string &text) const { std::memcpy(Text(), text.c_str(), text.size() + 1); }
    bool IsUntouched(std::size_t from = 0) const
    {
        const std::string old(size_ - from, static_cast<char>(kOld));
        return std::string(Text() + from, size_ - from) == old;
    }

  private:
    GuardedMemory memory_{1};
    std::size_t size_;
};

TEST(Bounded, MemcpyCopiesUpToTheBoundAndElseNothing)
{
    const char aucSource[] = "0123456789";
    for (QAL_ULONG ulMax = 0; ulMax <= 8; ++ulMax) {
        for (QAL_ULONG ulCount = 0; ulCount <= 10; ++ulCount) {
            SCOPED_TRACE(testing::Message() << ulCount << " into " << ulMax);
            const Block block(ulMax);
            const bool fits = ulCount <= ulMax;
            EXPECT_EQ(wyx_memcpy_s(block.Text(), ulMax, aucSource, ulCount) == 0, fits);
            EXPECT_EQ(std::memcmp(block.Text(), aucSource, fits ? ulCount : 0), 0);
            EXPECT_TRUE(block.IsUntouched(fits ? ulCount : 0));
        }
    }
    const Block block(4);
    EXPECT_NE(wyx_memcpy_s(block.Text(), 4, aucSource, ULONG_MAX), 0);
    EXPECT_NE(wyx_memcpy_s(nullptr, 4, aucSource, 1), 0);
    EXPECT_NE(wyx_memcpy_s(block.Text(), 4, nullptr, 1), 0);
    EXPECT_TRUE(block.IsUntouched());
}

TEST(Bounded, MemcpyCopiesZeroBytesLikeOthers)
{
    const Block block(5);
    EXPECT_EQ(wyx_memcpy_s(block.Text(), 5, "a\0b\0\xFF", 5), 0);
    EXPECT_EQ(std::string(block.Text(), 5), std::string("a\0b\0\xFF", 5));
}

TEST(Bounded, MemsetFillsUpToTheBoundAndElseNothing)
{
    for (QAL_ULONG ulMax = 0; ulMax <= 8; ++ulMax) {
        for (QAL_ULONG ulCount = 0; ulCount <= 10; ++ulCount) {
            SCOPED_TRACE(testing::Message() << ulCount << " into " << ulMax);
            const Block block(ulMax);
            const bool fits = ulCount <= ulMax;
            EXPECT_EQ(wyx_memset_s(block.Text(), ulMax, 'x', ulCount) == 0, fits);
            EXPECT_EQ(std::string(block.Text(), fits ? ulCount : 0),
                      std::string(fits ? ulCount : 0, 'x'));
            EXPECT_TRUE(block.IsUntouched(fits ? ulCount : 0));
        }
    }
    const Block block(4);
    EXPECT_NE(wyx_memset_s(block.Text(), 4, 0, ULONG_MAX), 0);
    EXPECT_NE(wyx_memset_s(nullptr, 4, 0, 1), 0);
    EXPECT_TRUE(block.IsUntouched());
}

TEST(Bounded, MemsetReducesItsValueToAByte)
{
    const struct {
        QAL_INT32 lValue;
        int iByte;
    } cases[] = {{0, 0}, {255, 255}, {256, 0}, {0x1234, 0x34}, {-1, 255}, {INT_MIN, 0}};
    for (const auto &c : cases) {
        const Block block(1);
        EXPECT_EQ(wyx_memset_s(block.Text(), 1, c.lValue, 1), 0);
        EXPECT_EQ(static_cast<QAL_UINT8>(*block.Text()), c.iByte) << c.lValue;
    }
}

TEST(Bounded, StrcpyCountsTheTextWithoutItsTerminator)
{
    for (QAL_ULONG ulMax = 0; ulMax <= 8; ++ulMax) {
        for (std::size_t length = 0; length <= 10; ++length) {
            SCOPED_TRACE(testing::Message() << length << " into " << ulMax);
            const std::string text(length, 't');
            const Block block(ulMax + 1);
            const bool fits = length <= ulMax;
            EXPECT_EQ(wyx_strcpy_s(block.Text(), ulMax, text.c_str()) == 0, fits);
            EXPECT_STREQ(block.Text(), fits ? text.c_str() : "");
            EXPECT_TRUE(block.IsUntouched(fits ? length + 1 : 1));
        }
    }
    const Block block(4);
    EXPECT_NE(wyx_strcpy_s(nullptr, 4, "a"), 0);
    EXPECT_NE(wyx_strcpy_s(block.Text(), 3, nullptr), 0);
    EXPECT_STREQ(block.Text(), "");
    EXPECT_EQ(wyx_strcpy_s(block.Text(), ULONG_MAX, "abc"), 0); // a bound that says nothing
    EXPECT_STREQ(block.Text(), "abc");
}

TEST(Bounded, StrcatCountsTheTerminator)
{
    for (QAL_ULONG ulMax = 1; ulMax <= 8; ++ulMax) {
        for (std::size_t held = 0; held < ulMax; ++held) {
            for (std::size_t length = 0; length <= 10; ++length) {
                SCOPED_TRACE(testing::Message() << held << "+" << length << " into " << ulMax);
                const std::string before(held, 'b');
                const std::string text(length, 't');
                const Block block(ulMax);
                block.Hold(before);
                const bool fits = held + length < ulMax;
                EXPECT_EQ(wyx_strcat_s(block.Text(), ulMax, text.c_str()) == 0, fits);
                EXPECT_STREQ(block.Text(), fits ? (before + text).c_str() : "");
                EXPECT_TRUE(block.IsUntouched(fits ? held + length + 1 : held + 1));
            }
        }
    }
}

TEST(Bounded, StrcatRefusesWhatIsNoStringWithinTheBound)
{
    const Block block(4);
    EXPECT_NE(wyx_strcat_s(block.Text(), 4, ""), 0); // nothing terminates what is there
    EXPECT_STREQ(block.Text(), "");
    EXPECT_TRUE(block.IsUntouched(1));

    block.Hold("abc");
    EXPECT_NE(wyx_strcat_s(block.Text(), 4, nullptr), 0);
    EXPECT_STREQ(block.Text(), "");
    EXPECT_NE(wyx_strcat_s(nullptr, 4, "a"), 0);

    const Block none(0);
    EXPECT_NE(wyx_strcat_s(none.Text(), 0, ""), 0); // would fault if it wrote
}

TEST(Bounded, SprintfCountsTheTerminator)
{
    for (QAL_ULONG ulMax = 1; ulMax <= 8; ++ulMax) {
        for (std::size_t length = 0; length <= 10; ++length) {
            SCOPED_TRACE(testing::Message() << length << " into " << ulMax);
            const std::string text(length, 't');
            const Block block(ulMax);
            const bool fits = length < ulMax;
            EXPECT_EQ(wyx_sprintf_s(block.Text(), ulMax, "%s", text.c_str()),
                      fits ? static_cast<QAL_INT32>(length) : -1);
            EXPECT_STREQ(block.Text(), fits ? text.c_str() : "");
        }
    }
    const Block none(0);
    EXPECT_EQ(wyx_sprintf_s(none.Text(), 0, "%s", ""), -1); // would fault if it wrote
}

TEST(Bounded, SprintfFormats)
{
    const Block block(64);
    EXPECT_EQ(wyx_sprintf_s(block.Text(), 64, "[%s]\n", "net"), 6);
    EXPECT_STREQ(block.Text(), "[net]\n");
    EXPECT_EQ(wyx_sprintf_s(block.Text(), 64, "%llu", 18446744073709551615ULL), 20);
    EXPECT_STREQ(block.Text(), "18446744073709551615");
    EXPECT_EQ(wyx_sprintf_s(block.Text(), 64, "%-4d|%5.2s|%c%%", -7, "xyz", 'q'), 13);
    EXPECT_STREQ(block.Text(), "-7  |   xy|q%");
    EXPECT_EQ(wyx_sprintf_s(block.Text(), ULONG_MAX, "%s", "a bound that says nothing"), 25);
    EXPECT_STREQ(block.Text(), "a bound that says nothing");
}

TEST(Bounded, SprintfRefusesWhatCannotBeFormatted)
{
    const Block block(8);
    block.Hold("old");
    // Through a pointer, which the compiler does not check the format for.
    QAL_INT32 (*const pfunFormat)(QAL_CHAR *, QAL_ULONG, const QAL_CHAR *, ...) = wyx_sprintf_s;
    EXPECT_EQ(pfunFormat(block.Text(), 8, nullptr), -1);
    EXPECT_STREQ(block.Text(), "");
    EXPECT_EQ(wyx_sprintf_s(nullptr, 8, "%s", "x"), -1);

    block.Hold("old");
    const wchar_t awcNoCharacter[] = {static_cast<wchar_t>(0x110000), 0};
    EXPECT_EQ(wyx_sprintf_s(block.Text(), 8, "%ls", awcNoCharacter), -1);
    EXPECT_STREQ(block.Text(), "");
}

} // namespace
} // namespace wyx::test
