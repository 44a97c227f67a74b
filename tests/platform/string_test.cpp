#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <string>

#include "guarded_memory.h"
#include "os_adapter.h"
#include "random.h"

namespace wyx::test {
namespace {

/// Puts the process into a locale in which bytes beyond ASCII are letters, or at least not into
/// "C".
class ForeignLocale {
  public:
    ForeignLocale()
    {
        for (const char *const pszName : {"tr_TR.ISO-8859-9", "de_DE.ISO-8859-1", "tr_TR.UTF-8",
                                          "de_DE.UTF-8", "C.UTF-8", "C.utf8"}) {
            if (std::setlocale(LC_ALL, pszName) != nullptr) {
                return;
            }
        }
    }
    ~ForeignLocale() { std::setlocale(LC_ALL, "C"); }
};

int Sign(int i)
{
    return (i > 0) - (i < 0);
}

/// The order of two bytes, letter by letter.
int ModelOrder(int iLeft, int iRight)
{
    const std::string capitals = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const std::string smalls = "abcdefghijklmnopqrstuvwxyz";
    for (int *const pi : {&iLeft, &iRight}) {
        const std::size_t at = capitals.find(static_cast<char>(*pi));
        *pi = at != std::string::npos ? smalls[at] : *pi;
    }
    return Sign(iLeft - iRight);
}

TEST(StriCmp, OrdersAllPairsOfBytesAsUnsignedWithAsciiCaseFolded)
{
    const ForeignLocale locale;
    for (int iLeft = 0; iLeft < 256; ++iLeft) {
        for (int iRight = 0; iRight < 256; ++iRight) {
            const int iExpected = ModelOrder(iLeft, iRight);
            const char aszAlone[2][2] = {{static_cast<char>(iLeft)}, {static_cast<char>(iRight)}};
            ASSERT_EQ(Sign(XELP_StriCmp(aszAlone[0], aszAlone[1])), iExpected)
                << iLeft << " " << iRight;
            if (iLeft != 0 && iRight != 0) {
                const std::string left = std::string("aZ") + aszAlone[0] + "m";
                const std::string right = std::string("Az") + aszAlone[1] + "M";
                ASSERT_EQ(Sign(XELP_StriCmp(left.c_str(), right.c_str())), iExpected)
                    << iLeft << " " << iRight;
            }
        }
    }
}

TEST(StriCmp, ShorterSortsBeforeLonger)
{
    EXPECT_EQ(XELP_StriCmp("", ""), 0);
    EXPECT_LT(XELP_StriCmp("", "a"), 0);
    EXPECT_GT(XELP_StriCmp("a", ""), 0);
    EXPECT_LT(XELP_StriCmp("abc", "ABCd"), 0);
    EXPECT_GT(XELP_StriCmp("ABC\x80", "abc"), 0);
    EXPECT_EQ(XELP_StriCmp("Network_1", "NETWORK_1"), 0);
    EXPECT_LT(XELP_StriCmp("A_", "AZ"), 0) << "letters fold to small ones, which sort after '_'";
}

/// A copy of a text whose terminator is the last byte before an unmapped page.
const char *AtEnd(const GuardedMemory &memory, const std::string &text)
{
    QAL_UINT8 *const pucStart = memory.End() - text.size() - 1;
    std::memcpy(pucStart, text.c_str(), text.size() + 1);
    return static_cast<const char *>(static_cast<const void *>(pucStart));
}

TEST(Strings, FindEveryByteOfAText)
{
    const ForeignLocale locale;
    const GuardedMemory memory(1);
    Random random;
    SCOPED_TRACE(random.Trace());
    for (int iRound = 0; iRound < 200; ++iRound) {
        std::string text;
        const std::size_t length = random.UpTo(300);
        while (text.size() < length) {
            text += static_cast<char>(1 + random.UpTo(254));
        }
        const char *const pszText = AtEnd(memory, text);
        ASSERT_EQ(XELP_StrLen(pszText), length);
        for (int iByte = 1; iByte < 256; ++iByte) {
            const std::size_t first = text.find(static_cast<char>(iByte));
            const std::size_t last = text.rfind(static_cast<char>(iByte));
            ASSERT_EQ(XELP_StrChr(pszText, iByte),
                      first == std::string::npos ? nullptr : pszText + first);
            ASSERT_EQ(XELP_StrrChr(pszText, iByte),
                      last == std::string::npos ? nullptr : pszText + last);
        }
        ASSERT_EQ(XELP_StrChr(pszText, 0), pszText + length);
        ASSERT_EQ(XELP_StrrChr(pszText, 0), pszText + length);
    }
}

TEST(Strings, TakeNegativeCharactersForTheirBytes)
{
    const char *const pszText = "a\xE4z\xE4";
    EXPECT_EQ(XELP_StrChr(pszText, -28), pszText + 1); // 0xE4 as a signed char
    EXPECT_EQ(XELP_StrChr(pszText, 0xE4), pszText + 1);
    EXPECT_EQ(XELP_StrrChr(pszText, -28), pszText + 3);
    EXPECT_EQ(XELP_StrrChr(pszText, 0xE4), pszText + 3);
}

TEST(Strings, FindSubstrings)
{
    const char *const pszText = "ab\xC3\xA4 aab aaab";
    const struct {
        const char *pszSub;
        int iAt; // -1: nowhere
    } cases[] = {{"", 0},       {"a", 0},       {"ab", 0},     {"aab", 5},  {"aaab", 9},
                 {"aaaab", -1}, {"\xA4 a", 3},  {"\xC3", 2},   {"b", 1},    {"AB", -1},
                 {pszText, 0},  {"ab aaab", 6}, {"aaab ", -1}, {"\xA5", -1}};
    for (const auto &c : cases) {
        EXPECT_EQ(XELP_StrStr(pszText, c.pszSub), c.iAt == -1 ? nullptr : pszText + c.iAt)
            << c.pszSub;
    }
    EXPECT_EQ(XELP_StrStr("", "a"), nullptr);
}

} // namespace
} // namespace wyx::test
