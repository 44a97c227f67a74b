// The scanner: the table of character classes, and each reader against a model of it.
#include "../../src/commlib/ip4_ip6_parser/source/ipv4v6_parser_internal.h"

#include <gtest/gtest.h>

#include <cctype>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "address_model.h"
#include "address_texts.h"
#include "reclassified.h"
#include "wyx_commlib/ip4_ip6_parser.h"

namespace wyx::test {
namespace {

// Every kind of character that some reader treats specially, and some that no reader does.
constexpr std::string_view kLetters = "0x1fA.:]- g\xB1";

// --- QAL_CHARset

TEST(Charset, HoldsTheClassesOfEveryByte)
{
    constexpr std::string_view kTokens = "!$%&'()*+-./?@\\^_`|~";
    constexpr std::string_view kDelimiters = "#,:;<=>[]{}";
    for (int iByte = 0; iByte < 256; ++iByte) {
        QAL_UINT32 ulExpected = 0;
        if (iByte < 0x80) { // the test runs in the C locale
            const auto ch = static_cast<char>(iByte);
            const bool isToken = kTokens.find(ch) != std::string_view::npos;
            ulExpected |= std::isupper(iByte) != 0 ? 0x01U : 0;
            ulExpected |= std::islower(iByte) != 0 ? 0x02U : 0;
            ulExpected |= std::isdigit(iByte) != 0 ? 0x04U : 0;
            ulExpected |= std::isspace(iByte) != 0 ? 0x08U : 0;
            ulExpected |= std::ispunct(iByte) != 0 ? 0x10U : 0;
            ulExpected |= std::iscntrl(iByte) != 0 ? 0x20U : 0;
            ulExpected |= ch == ' ' ? 0x40U : 0;
            ulExpected |= std::isxdigit(iByte) != 0 ? 0x80U : 0;
            ulExpected |= std::isalnum(iByte) != 0 || isToken ? 0x1000U : 0;
            ulExpected |= kDelimiters.find(ch) != std::string_view::npos ? 0x2000U : 0;
        }
        EXPECT_EQ(QAL_CHARset[iByte], ulExpected) << iByte;
    }
}

TEST(Charset, HoldsThePublishedValues)
{
    struct {
        int iFirst;
        int iLast;
        QAL_UINT32 ulValue;
    } const ranges[] = {
        {0x00, 0x08, 0x20}, {0x09, 0x0D, 0x28}, {0x0E, 0x1F, 0x20}, {' ', ' ', 0x48},
        {'"', '"', 0x10},   {'0', '9', 0x1084}, {'A', 'F', 0x1081}, {'G', 'Z', 0x1001},
        {'a', 'f', 0x1082}, {'g', 'z', 0x1002}, {'!', '!', 0x1010}, {'$', '$', 0x1010},
        {'~', '~', 0x1010}, {'`', '`', 0x1010}, {'#', '#', 0x2010}, {'}', '}', 0x2010},
        {0x7F, 0x7F, 0x20}, {0x80, 0xFF, 0},
    };
    for (const auto &range : ranges) {
        for (int iByte = range.iFirst; iByte <= range.iLast; ++iByte) {
            EXPECT_EQ(QAL_CHARset[iByte], range.ulValue) << iByte;
        }
    }
}

QAL_UINT32 StatusOfIpv4(std::string_view text, QAL_UINT32 *pulAddr = nullptr)
{
    GuardedText memory;
    QAL_UINT32 ulAddr = 0;
    QAL_UINT16 uwPort = 0;
    const QAL_UINT32 ulStatus = XELP_Parse_IPV4(memory.Hold(text), &ulAddr, &uwPort);
    if (pulAddr != nullptr) {
        *pulAddr = ulAddr;
    }
    return ulStatus;
}

QAL_UINT32 StatusOfIpv6(std::string_view text, QAL_UINT8 *pucAddr = nullptr)
{
    GuardedText memory;
    QAL_UINT8 aucAddr[16] = {};
    QAL_UINT16 uwPort = 0;
    return XELP_Parse_IPV6(memory.Hold(text), pucAddr == nullptr ? aucAddr : pucAddr, &uwPort);
}

TEST(Charset, RemovedDigitIsNoLongerRead)
{
    EXPECT_EQ(StatusOfIpv4("9.9.9.9"), 0U);
    EXPECT_EQ(StatusOfIpv6("9::9"), 0U);
    {
        const Reclassified none('9', 0);
        EXPECT_EQ(StatusOfIpv4("9.9.9.9"), 30U);
        EXPECT_EQ(StatusOfIpv4("1.2.3.19"), 30U); // the octet ends before the 9
        EXPECT_EQ(StatusOfIpv4("0x9.2.3.4"), 30U);
        EXPECT_EQ(StatusOfIpv4("0x19.2.3.4"), 0U); // after the first digit, strtoul() decides
        EXPECT_EQ(StatusOfIpv4("1.2.3.4:9"), 1U);  // as it does for a port
        EXPECT_EQ(StatusOfIpv6("9::9"), 30U);
        EXPECT_EQ(StatusOfIpv6("::19"), 30U);
    }
    EXPECT_EQ(StatusOfIpv4("9.9.9.9"), 0U);
}

TEST(Charset, DecimalAndHexadecimalDigitsAreSeparateClasses)
{
    const Reclassified hexOnly('9', 0x80);
    EXPECT_EQ(StatusOfIpv4("9.9.9.9"), 30U);
    EXPECT_EQ(StatusOfIpv4("0x9.0x9.0x9.0x9"), 0U);
    EXPECT_EQ(StatusOfIpv6("9::9"), 0U);
}

TEST(Charset, AddedDecimalDigitIsSkippedAndAddsNothing)
{
    const Reclassified digit('g', 0x04);
    QAL_UINT32 ulAddr = 0;
    EXPECT_EQ(StatusOfIpv4("1g.2gg.g.4", &ulAddr), 0U); // strtoul() ends at the g
    EXPECT_EQ(ulAddr, 0x01020004U);
    EXPECT_EQ(StatusOfIpv4("0x1g.2.3.4"), 30U); // g is not a hexadecimal digit
}

TEST(Charset, AddedHexDigitCountsAsZero)
{
    const Reclassified digit('g', 0x80);
    QAL_UINT8 aucAddr[16] = {};
    EXPECT_EQ(StatusOfIpv6("1g2::g", aucAddr), 0U);
    EXPECT_EQ(aucAddr[0], 0x01);
    EXPECT_EQ(aucAddr[1], 0x02);
    EXPECT_EQ(aucAddr[15], 0x00);
    QAL_CHAR szGroup[] = "1g2";
    Parse_Ipv4v6_S_BUF struBuf = {szGroup, 3};
    QAL_UINT16 uwGroup = 0;
    EXPECT_EQ(core_td_hex4(&uwGroup, &struBuf), 0U);
    EXPECT_EQ(uwGroup, 0x0102);
    EXPECT_EQ(StatusOfIpv4("0xg.2.3.4"), 30U); // strtoul() ends at the x, which is not a dot
    EXPECT_EQ(StatusOfIpv4("1.2.3.0xg"), 30U);
    EXPECT_EQ(StatusOfIpv4("0x1g.2.3.4"), 30U);
}

// A group that begins with a character that otherwise ends a group: the second such character ends
// it.
TEST(Charset, GroupEndAsFirstDigitCountsAsZero)
{
    for (const QAL_CHAR chEnd : {'.', ':', ']'}) {
        const Reclassified digit(chEnd, 0x80);
        QAL_CHAR szGroup[] = {chEnd, '1', '2', chEnd, '3', '\0'};
        Parse_Ipv4v6_S_BUF struBuf = {szGroup, 5};
        QAL_UINT16 uwGroup = 0;
        EXPECT_EQ(core_td_hex4(&uwGroup, &struBuf), 0U) << chEnd;
        EXPECT_EQ(uwGroup, 0x12) << chEnd;
        EXPECT_EQ(struBuf.cur_bp_rem_len, 2) << chEnd;
    }
}

// No port is looked for after a dotted quad, even if the quad's first digit is a colon.
TEST(Charset, ColonAsADigitBeginsNoPort)
{
    const Reclassified digit(':', 0x84);
    QAL_UINT8 aucAddr[16] = {};
    EXPECT_EQ(StatusOfIpv6(".:.2.3.4", aucAddr), 0U);
    EXPECT_EQ(aucAddr[12], 0);
    EXPECT_EQ(aucAddr[15], 4);
}

// The terminator ends the text whatever the table says about it. The page after it is inaccessible,
// so reading on would end the test.
TEST(Charset, TerminatorIsNeverADigit)
{
    const Reclassified digit('\0', 0x84);
    for (const std::string_view text :
         {"", "1", "1.2.3.", "1.2.3.4", "0x", "1.2.3.0x", "1.2.3.0x4", "1.2.3.4:", "1.2.3.4:0x"}) {
        EXPECT_EQ(StatusOfIpv4(text), ModelIpv4(text).status) << text;
    }
    for (const std::string_view text : {"", "1", "1:", "::", "1::", "::1", ".", "1.", ":::", "[",
                                        "1:2:3:4:5:6:7:8", "1:2:3:4:5:6:7:8:", "1.1", "1:1."}) {
        EXPECT_EQ(StatusOfIpv6(text), ModelIpv6(text).status) << text;
    }
}

// --- core_td_u16

struct U16Case {
    std::string_view text;
    QAL_INT32 lBase;
    QAL_UINT16 uwValue;
    std::size_t place;
};

template <std::size_t kCount>
void ExpectU16(const U16Case (&cases)[kCount])
{
    GuardedText memory;
    for (const U16Case &c : cases) {
        Parse_Ipv4v6_S_BUF struBuf = memory.Buffer(c.text);
        QAL_UINT16 uwValue = 0xA5A5;
        EXPECT_EQ(core_td_u16(&uwValue, c.lBase, &struBuf), 0U) << c.text;
        EXPECT_EQ(uwValue, c.uwValue) << c.text;
        EXPECT_EQ(memory.Place(struBuf, c.text), c.place) << c.text;
    }
}

TEST(TdU16, ReadsLikeStrtoul)
{
    constexpr U16Case kCases[] = {
        {"80]", 10, 80, 2},    {"0", 10, 0, 1},    {" 80", 10, 80, 3},   {"\t\n\v\f\r 7", 10, 7, 7},
        {"+80", 10, 80, 3},    {"-0", 10, 0, 2},   {"0x50", 10, 0, 1},   {"0x50", 16, 0x50, 4},
        {"0X50", 16, 0x50, 4}, {"0xg", 16, 0, 1},  {"fFg", 16, 0xFF, 2}, {" -0x1", 16, 0xFFFF, 5},
        {"00080", 10, 80, 5},  {"80 ", 10, 80, 2}, {"17", 8, 15, 2},
    };
    ExpectU16(kCases);
}

TEST(TdU16, ValueIsReducedTo16Bits)
{
    constexpr U16Case kCases[] = {
        {"65535", 10, 65535, 5},
        {"65536", 10, 0, 5},
        {"70000", 10, 4464, 5},
        {"-1", 10, 65535, 2},
        {"-65535", 10, 1, 6},
        {"18446744073709551615", 10, 0xFFFF, 20},
        {"18446744073709551616", 10, 0xFFFF, 20}, // 2^64: strtoul() returns 2^64 - 1
        {"-18446744073709551616", 10, 0xFFFF, 21},
        {"-18446744073709551615", 10, 1, 21},
        {"10001", 16, 1, 5},
    };
    ExpectU16(kCases);
}

TEST(TdU16, WithoutANumberNothingChanges)
{
    GuardedText memory;
    for (const std::string_view text : {"", "x", " ", "-", "+", "- 1", "]", ":80", "\xB1"}) {
        for (const QAL_INT32 lBase : {10, 16}) {
            Parse_Ipv4v6_S_BUF struBuf = memory.Buffer(text);
            QAL_UINT16 uwValue = 0xA5A5;
            EXPECT_EQ(core_td_u16(&uwValue, lBase, &struBuf), 30U) << text;
            EXPECT_EQ(uwValue, 0xA5A5);
            EXPECT_EQ(memory.Place(struBuf, text), 0U);
        }
    }
    for (const QAL_INT32 lBase : {1, -1, 37, INT_MIN}) { // invalid bases
        Parse_Ipv4v6_S_BUF struBuf = memory.Buffer("11");
        QAL_UINT16 uwValue = 0xA5A5;
        EXPECT_EQ(core_td_u16(&uwValue, lBase, &struBuf), 30U) << lBase;
        EXPECT_EQ(uwValue, 0xA5A5);
        EXPECT_EQ(memory.Place(struBuf, "11"), 0U);
    }
}

TEST(TdU16, EveryShortText)
{
    GuardedText memory;
    ForEveryText("0x19fA-+ :", 5, "", [&](std::string_view text) {
        for (const QAL_INT32 lBase : {10, 16}) {
            const Number expected = ModelNumber(text, lBase);
            Parse_Ipv4v6_S_BUF struBuf = memory.Buffer(text);
            char *pszEnd = nullptr;
            EXPECT_EQ(std::strtoul(struBuf.cur_bp, &pszEnd, lBase), expected.value);
            QAL_UINT16 uwValue = 0xA5A5;
            const QAL_UINT32 ulStatus = core_td_u16(&uwValue, lBase, &struBuf);
            EXPECT_EQ(ulStatus, expected.consumed == 0 ? 30U : 0U) << text;
            EXPECT_EQ(uwValue, ulStatus == 0 ? static_cast<QAL_UINT16>(expected.value) : 0xA5A5)
                << text;
            EXPECT_EQ(memory.Place(struBuf, text), expected.consumed) << text;
        }
        return !testing::Test::HasFailure();
    });
}

// --- core_td_hex4

TEST(TdHex4, ReadsOneToFourDigits)
{
    struct {
        std::string_view text;
        QAL_UINT32 ulStatus;
        QAL_UINT16 uwValue;
        std::size_t place;
    } const cases[] = {
        {"abcd:", 0, 0xABCD, 4}, {"ABCD", 0, 0xABCD, 4}, {"1]", 0, 1, 1},     {"12.", 0, 0x12, 2},
        {"0:", 0, 0, 1},         {"00ff", 0, 0xFF, 4},   {"abcde", 30, 0, 4}, {"12/", 30, 0, 2},
        {"g", 30, 0, 0},         {"", 30, 0, 0},         {":1", 30, 0, 0},    {"1234 ", 30, 0, 4},
        {"1 ", 30, 0, 1},        {"\xB1", 30, 0, 0},     {"1\xAE", 30, 0, 1},
    };
    GuardedText memory;
    for (const auto &c : cases) {
        Parse_Ipv4v6_S_BUF struBuf = memory.Buffer(c.text);
        QAL_UINT16 uwValue = 0xA5A5;
        EXPECT_EQ(core_td_hex4(&uwValue, &struBuf), c.ulStatus) << c.text;
        EXPECT_EQ(uwValue, c.uwValue) << c.text;
        EXPECT_EQ(memory.Place(struBuf, c.text), c.place) << c.text;
    }
}

TEST(TdHex4, RemainingLengthEndsTheGroup)
{
    char achText[] = "abcd";
    for (QAL_INT lLeft = -1; lLeft < 4; ++lLeft) { // fewer than the text has
        Parse_Ipv4v6_S_BUF struBuf = {achText, lLeft};
        QAL_UINT16 uwValue = 0xA5A5;
        EXPECT_EQ(core_td_hex4(&uwValue, &struBuf), 30U) << lLeft;
        EXPECT_EQ(uwValue, 0);
        EXPECT_EQ(struBuf.cur_bp, achText + (lLeft < 0 ? 0 : lLeft));
        EXPECT_EQ(struBuf.cur_bp_rem_len, lLeft < 0 ? lLeft : 0);
    }
}

TEST(TdHex4, EveryShortText)
{
    GuardedText memory;
    ForEveryText(kLetters, 5, "", [&](std::string_view text) {
        const GroupRun expected = ModelGroup(text, 0);
        Parse_Ipv4v6_S_BUF struBuf = memory.Buffer(text);
        QAL_UINT16 uwValue = 0xA5A5;
        const QAL_UINT32 ulStatus = core_td_hex4(&uwValue, &struBuf);
        EXPECT_EQ(ulStatus, expected.status) << text;
        if (ulStatus == 0) {
            EXPECT_EQ(uwValue >> 8, static_cast<QAL_UINT8>(expected.bytes[0])) << text;
            EXPECT_EQ(uwValue & 255, static_cast<QAL_UINT8>(expected.bytes[1])) << text;
        } else {
            EXPECT_EQ(uwValue, 0) << text;
        }
        EXPECT_EQ(memory.Place(struBuf, text), expected.end) << text;
        return !testing::Test::HasFailure();
    });
}

// --- core_td_hexseq

/// What the reader makes of a text. Checks that it writes no more bytes than it reports.
GroupRun GroupsOf(GuardedText &memory, std::string_view text)
{
    Parse_Ipv4v6_S_BUF struBuf = memory.Buffer(text);
    QAL_UINT8 aucBytes[16];
    std::memset(aucBytes, 0xA5, sizeof aucBytes);
    QAL_UINT32 ulLen = 0xA5A5A5A5;
    const QAL_UINT32 ulStatus = core_td_hexseq(aucBytes, &ulLen, &struBuf);
    if (ulLen > sizeof aucBytes) {
        ADD_FAILURE() << ulLen << " bytes of " << text;
        ulLen = 0;
    }
    EXPECT_EQ(std::count(aucBytes + ulLen, std::end(aucBytes), 0xA5),
              static_cast<std::ptrdiff_t>(sizeof aucBytes - ulLen))
        << text;
    return {ulStatus, std::string(aucBytes, aucBytes + ulLen), memory.Place(struBuf, text)};
}

struct RunCase {
    std::string_view text;
    GroupRun run;
};

using namespace std::string_literals;

TEST(TdHexseq, ReadsRunsOfGroups)
{
    const RunCase cases[] = {
        {"1:2:3:4:5:6:7:8", {0, "\0\1\0\2\0\3\0\4\0\5\0\6\0\7\0\10"s, 15}},
        {"1:2::3", {0, "\0\1\0\2"s, 3}},
        {"::1", {0, "", 0}},
        {"", {0, "", 0}},
        {"]", {0, "", 0}},
        {"abCD:1]", {0, "\xAB\xCD\0\1"s, 6}},
        {"1:", {0, "\0\1"s, 1}},
        {"1:g", {0, "\0\1"s, 1}},
        {"1:2:3:4:5:6:7:8:9", {0, "\0\1\0\2\0\3\0\4\0\5\0\6\0\7\0\10"s, 15}},
        {"12345", {30, "", 4}},
        {"1:2g", {30, "\0\1"s, 3}}, // the group before the bad one stays written
        {"1:22222", {30, "\0\1"s, 6}},
    };
    GuardedText memory;
    for (const RunCase &c : cases) {
        EXPECT_EQ(GroupsOf(memory, c.text), c.run) << c.text;
    }
}

TEST(TdHexseq, DottedTails)
{
    const RunCase cases[] = {
        {"ffff:10.1.2.3", {0, "\xFF\xFF", 4}},
        {"ffff:192.0.2.1", {0, "\xFF\xFF", 4}},
        {"ffff:1.2.3.4", {0, "\xFF\xFF\0\1"s, 6}},
        {"ffff:010.2.3.4", {0, "\xFF\xFF\0\x10"s, 8}}, // begins with 0
        {"ffff:00.2.3.4", {0, "\xFF\xFF\0\0"s, 7}},
        {"ffff:0.2.3.4", {0, "\xFF\xFF\0\0"s, 6}},
        {"1:12.", {0, "\0\1\0\x12"s, 4}}, // fewer than five characters are left
        {"1:12.3", {0, "\0\1"s, 1}},      // five are left
        {"1:123.", {0, "\0\1"s, 1}},
        {"1:1234.", {0, "\0\1\x12\x34"s, 6}}, // the dot is too far from the colon
        {"1:1:.1", {0, "\0\1\0\1"s, 3}},
        {"1:12:.1", {0, "\0\1\0\x12"s, 4}},
        {"1:12.:1", {0, "\0\1\0\x12"s, 4}},
        {"1:1:2.3.4.5", {0, "\0\1\0\1\0\2"s, 5}},
        {"1:1:22.3.4.5", {0, "\0\1\0\1"s, 3}},
        {"1:2:3:4:5:6:7:8:10.1.1.1", {0, "\0\1\0\2\0\3\0\4\0\5\0\6\0\7\0\10"s, 15}},
    };
    GuardedText memory;
    for (const RunCase &c : cases) {
        EXPECT_EQ(GroupsOf(memory, c.text), c.run) << c.text;
    }
}

// The count limits the look-ahead, even if more text follows.
TEST(TdHexseq, RemainingLengthEndsTheRun)
{
    char achText[] = "1:22.333";
    for (QAL_INT lLeft = 3; lLeft <= 5; ++lLeft) {
        Parse_Ipv4v6_S_BUF struBuf = {achText, lLeft};
        QAL_UINT8 aucBytes[16];
        QAL_UINT32 ulLen = 0;
        EXPECT_EQ(core_td_hexseq(aucBytes, &ulLen, &struBuf), lLeft == 3 ? 30U : 0U) << lLeft;
        EXPECT_EQ(struBuf.cur_bp, achText + (lLeft == 3 ? 3 : 4));
        EXPECT_EQ(struBuf.cur_bp_rem_len, lLeft - (lLeft == 3 ? 3 : 4));
    }
    Parse_Ipv4v6_S_BUF struBuf = {achText, 0};
    QAL_UINT8 aucBytes[16];
    QAL_UINT32 ulLen = 7;
    EXPECT_EQ(core_td_hexseq(aucBytes, &ulLen, &struBuf), 0U);
    EXPECT_EQ(ulLen, 0U);
    EXPECT_EQ(struBuf.cur_bp, achText);
}

// Even if the count promises more, the reader does not look past the terminator.
TEST(TdHexseq, TerminatorEndsTheLookAhead)
{
    GuardedText memory;
    for (const std::string_view text : {"1:2", "1:22", "1:222", "1:2222", "1:2.", "1:0."}) {
        Parse_Ipv4v6_S_BUF struBuf = {memory.Hold(text), 100};
        QAL_UINT8 aucBytes[16];
        QAL_UINT32 ulLen = 0;
        EXPECT_EQ(core_td_hexseq(aucBytes, &ulLen, &struBuf), 0U) << text;
        EXPECT_EQ(ulLen, 4U) << text;
    }
    for (const std::string_view text : {"1:22.", "1:222.", "1:22.2"}) {
        Parse_Ipv4v6_S_BUF struBuf = {memory.Hold(text), 100};
        QAL_UINT8 aucBytes[16];
        QAL_UINT32 ulLen = 0;
        EXPECT_EQ(core_td_hexseq(aucBytes, &ulLen, &struBuf), 0U) << text;
        EXPECT_EQ(ulLen, 2U) << text;
    }
}

TEST(TdHexseq, EveryShortText)
{
    GuardedText memory;
    const auto agrees = [&](std::string_view text) {
        const GroupRun run = GroupsOf(memory, text);
        const GroupRun expected = ModelGroups(text, 0);
        EXPECT_EQ(run, expected) << text;
        return !testing::Test::HasFailure();
    };
    ForEveryText(kLetters, 5, "", agrees);
    ForEveryText("01:.]", 7, "", agrees);
    ForEveryText("01:.]", 6, "ffff:", agrees);
    ForEveryText("1:.g", 5, "1:2:3:4:5:6:7", agrees);
}

// --- core_td_convert_hex

TEST(TdConvertHex, EveryCharacter)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    for (int iByte = 0; iByte < 256; ++iByte) {
        const auto ch = static_cast<char>(iByte);
        const std::size_t value = iByte < 0x80
                                      ? kDigits.find(static_cast<char>(std::tolower(iByte)))
                                      : std::string_view::npos;
        QAL_UINT8 ucHex = 0xA5;
        const QAL_UINT32 ulStatus = core_td_convert_hex(ch, &ucHex);
        EXPECT_EQ(ulStatus, value == std::string_view::npos ? 1U : 0U) << iByte;
        EXPECT_EQ(ucHex, value == std::string_view::npos ? 0xFF : value) << iByte;
    }
}

TEST(TdConvertHex, DoesNotUseTheTable)
{
    const Reclassified none('9', 0);
    QAL_UINT8 ucHex = 0;
    EXPECT_EQ(core_td_convert_hex('9', &ucHex), 0U);
    EXPECT_EQ(ucHex, 9);
}

} // namespace
} // namespace wyx::test
