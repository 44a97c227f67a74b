// The address parsers: every form by name, all short texts against the model, and the system's own
// parser where the grammars agree.
#include "wyx_commlib/ip4_ip6_parser.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "address_model.h"
#include "address_texts.h"
#include "random.h"

namespace wyx::test {
namespace {

constexpr QAL_UINT8 kFill = 0xA5;

Ipv4 ParseIpv4(GuardedText &memory, std::string_view text)
{
    QAL_UINT32 ulAddr = 0xA5A5A5A5;
    QAL_UINT16 uwPort = 0xA5A5;
    const QAL_UINT32 ulStatus = XELP_Parse_IPV4(memory.Hold(text), &ulAddr, &uwPort);
    return {ulStatus, ulAddr, uwPort};
}

/// Distinguishes written outputs from untouched ones by calling twice, over two patterns.
Ipv6 ParseIpv6(GuardedText &memory, std::string_view text)
{
    Ipv6Output outputs[2];
    QAL_UINT32 aulStatus[2];
    bool areUntouched = true;
    for (int i = 0; i < 2; ++i) {
        const auto ucFill = static_cast<QAL_UINT8>(i == 0 ? kFill : ~kFill);
        Ipv6Output &output = outputs[i];
        output.address.fill(ucFill);
        output.port = static_cast<QAL_UINT16>(ucFill * 0x101U);
        const Ipv6Output before = output;
        aulStatus[i] = XELP_Parse_IPV6(memory.Hold(text), output.address.data(), &output.port);
        areUntouched = areUntouched && output == before;
    }
    EXPECT_EQ(aulStatus[0], aulStatus[1]) << text;
    if (areUntouched) {
        return {aulStatus[0], std::nullopt};
    }
    EXPECT_EQ(outputs[0], outputs[1]) << "partly written for " << text;
    return {aulStatus[0], outputs[0]};
}

std::string Hex(const std::optional<Ipv6Output> &output)
{
    if (!output) {
        return "untouched";
    }
    std::string hex;
    for (const QAL_UINT8 uc : output->address) {
        hex += "0123456789abcdef"[uc >> 4];
        hex += "0123456789abcdef"[uc & 15];
    }
    return hex + " " + std::to_string(output->port);
}

// --- IPv4

struct Ipv4Case {
    std::string_view text;
    Ipv4 result;
};

void ExpectIpv4(const Ipv4Case *pFirst, const Ipv4Case *pEnd)
{
    GuardedText memory;
    for (; pFirst != pEnd; ++pFirst) {
        const Ipv4 result = ParseIpv4(memory, pFirst->text);
        EXPECT_EQ(result.status, pFirst->result.status) << pFirst->text;
        EXPECT_EQ(result.address, pFirst->result.address) << pFirst->text;
        EXPECT_EQ(result.port, pFirst->result.port) << pFirst->text;
        EXPECT_EQ(ModelIpv4(pFirst->text), pFirst->result) << "the model at " << pFirst->text;
    }
}

TEST(ParseIpv4, Addresses)
{
    constexpr Ipv4Case kCases[] = {
        {"1.2.3.4", {0, 0x01020304, 0}},
        {"10.0.0.1", {0, 0x0A000001, 0}},
        {"0.0.0.0", {0, 0, 0}},
        {"255.255.255.255", {0, 0xFFFFFFFF, 0}},
        {"001.002.003.004", {0, 0x01020304, 0}}, // decimal, never octal
        {"010.08.09.0377", {30, 0, 0}},
        {"010.08.09.0000000000000000000000000000255", {0, 0x0A0809FF, 0}},
        {"0x7f.0.0.1", {0, 0x7F000001, 0}},
        {"0X7F.0.0.01", {0, 0x7F000001, 0}},
        {"0xFF.0Xfe.0x00000000000000000000000001.0x0", {0, 0xFFFE0100, 0}},
    };
    ExpectIpv4(std::begin(kCases), std::end(kCases));
}

TEST(ParseIpv4, MalformedTextsClearTheOutputs)
{
    constexpr Ipv4Case kCases[] = {
        {"", {}},
        {"1", {}},
        {"1.2.3", {}},
        {"1.2.3.", {}},
        {"1.2.3.4.", {}},
        {"1.2.3.4.5", {}},
        {".1.2.3.4", {}},
        {"1..2.3", {}},
        {"256.1.1.1", {}},
        {"1.256.1.1", {}},
        {"1.1.1.256", {}},
        {"1.1.1.999", {}},
        {" 1.2.3.4", {}},
        {"1.2.3.4 ", {}},
        {"1. 2.3.4", {}},
        {"1.2 .3.4", {}},
        {"+1.2.3.4", {}},
        {"1.-2.3.4", {}},
        {"0x.1.2.3", {}},
        {"0x100.1.2.3", {}},
        {"0xg.1.2.3", {}},
        {"0x 1.1.2.3", {}},
        {"x1.1.2.3", {}},
        {"1.2.3.0x", {}},
        {"0x0x1.1.2.3", {}},
        {"a.b.c.d", {}},
        {"1.2.3.4a", {}},
        {"1,2,3,4", {}},
        {"[1.2.3.4]", {}},
        {"1.2.3.4]", {}},
        {"\xB1.2.3.4", {}},
        {"1.2.3.\xB4", {}},
    };
    ExpectIpv4(std::begin(kCases), std::end(kCases));
}

TEST(ParseIpv4, OctetIsReducedTo32Bits)
{
    constexpr Ipv4Case kCases[] = {
        {"4294967297.0.0.1", {0, 0x01000001, 0}},
        {"4294967296.4294967551.0.1", {0, 0x00FF0001, 0}},
        {"4294967552.0.0.1", {30, 0, 0}}, // 256
        {"0x100000001.0.0.0xFFFFFFFF000000FE", {0, 0x010000FE, 0}},
        {"18446744069414584321.0.0.1", {0, 0x01000001, 0}}, // 2^64 - 2^32 + 1
        {"18446744073709551615.0.0.1", {30, 0, 0}},
        {"18446744073709551617.0.0.1", {30, 0, 0}}, // 2^64 + 1: strtoul() returns 2^64 - 1
        {"0x10000000000000001.0.0.1", {30, 0, 0}},
    };
    ExpectIpv4(std::begin(kCases), std::end(kCases));
}

TEST(ParseIpv4, Ports)
{
    constexpr QAL_UINT32 kAddr = 0x01020304;
    constexpr Ipv4Case kCases[] = {
        {"1.2.3.4:0", {1, kAddr, 0}},
        {"1.2.3.4:8080", {1, kAddr, 8080}},
        {"1.2.3.4:08080", {1, kAddr, 8080}},
        {"1.2.3.4:0x1F90", {1, kAddr, 8080}},
        {"1.2.3.4:0X1f90", {1, kAddr, 8080}},
        {"1.2.3.4:65535", {1, kAddr, 65535}},
        {"1.2.3.4:70000", {1, kAddr, 4464}},
        {"1.2.3.4: 80", {1, kAddr, 80}},
        {"1.2.3.4:\t\n+80", {1, kAddr, 80}},
        {"1.2.3.4:-1", {1, kAddr, 65535}},
        {"1.2.3.4:0x 50", {1, kAddr, 0x50}}, // the reader begins after the prefix
        {"1.2.3.4:0x-1", {1, kAddr, 65535}},
        {"1.2.3.4:0x0x50", {1, kAddr, 0x50}},
        {"1.2.3.4:99999999999999999999", {1, kAddr, 65535}},
        {"1.2.3.4:", {30, 0, 0}},
        {"1.2.3.4: ", {30, 0, 0}},
        {"1.2.3.4:x", {30, 0, 0}},
        {"1.2.3.4:0x", {30, 0, 0}},
        {"1.2.3.4:0xg", {30, 0, 0}},
        {"1.2.3.4:80x", {30, 0, 0}},
        {"1.2.3.4:80 ", {30, 0, 0}},
        {"1.2.3.4::80", {30, 0, 0}},
        {"1.2.3.4:80:80", {30, 0, 0}},
        {"1.2.3.4:0x50g", {30, 0, 0}},
        {"1.2.3.4 :80", {30, 0, 0}},
        {"1.2.3:80", {30, 0, 0}},
        {"1.2.3.256:80", {30, 0, 0}},
    };
    ExpectIpv4(std::begin(kCases), std::end(kCases));
}

TEST(ParseIpv4, NullPointerReturns10AndWritesNothing)
{
    char achText[] = "1.2.3.4:80";
    QAL_UINT32 ulAddr = 0xA5A5A5A5;
    QAL_UINT16 uwPort = 0xA5A5;
    for (unsigned int uWhich = 0; uWhich < 7; ++uWhich) { // at least one is null
        EXPECT_EQ(XELP_Parse_IPV4((uWhich & 1) != 0 ? achText : nullptr,
                                  (uWhich & 2) != 0 ? &ulAddr : nullptr,
                                  (uWhich & 4) != 0 ? &uwPort : nullptr),
                  10U);
    }
    EXPECT_EQ(ulAddr, 0xA5A5A5A5);
    EXPECT_EQ(uwPort, 0xA5A5);
}

TEST(ParseIpv4, AddressIsInReverseOrderInMemory)
{
    char achText[] = "1.2.3.4";
    QAL_UINT8 aucAddr[4];
    QAL_UINT32 ulAddr = 0;
    QAL_UINT16 uwPort = 0;
    ASSERT_EQ(XELP_Parse_IPV4(achText, &ulAddr, &uwPort), 0U);
    std::memcpy(aucAddr, &ulAddr, sizeof aucAddr);
    EXPECT_EQ(aucAddr[0], 4);
    EXPECT_EQ(aucAddr[1], 3);
    EXPECT_EQ(aucAddr[2], 2);
    EXPECT_EQ(aucAddr[3], 1);
}

/// The port is written after the address, even if the text has no port: the caller's two outputs
/// may overlap.
TEST(ParseIpv4, PortIsWrittenLast)
{
    const struct {
        const char *pszText;
        QAL_UINT32 ulStatus;
        QAL_UINT32 ulPort;
    } aCase[] = {
        {"1.2.3.4", 0, 0},           {"0x1.2.3.4", 0, 0},          {"0001.2.3.4", 0, 0},
        {"1.2.3.4:0", 1, 0},         {"1.2.3.4:8080", 1, 8080},    {"0x1.2.3.4:8080", 1, 8080},
        {"1.2.3.4:0x1F90", 1, 8080}, {"0001.2.3.4:0000000", 1, 0},
    };
    for (const auto &c : aCase) {
        SCOPED_TRACE(c.pszText);
        std::string text = c.pszText;
        for (const QAL_UINT32 ulHalf : {0U, 1U}) {
            union {
                QAL_UINT32 ulAddr;
                QAL_UINT16 auwPort[2];
            } result = {0xA5A5A5A5};
            EXPECT_EQ(XELP_Parse_IPV4(text.data(), &result.ulAddr, &result.auwPort[ulHalf]),
                      c.ulStatus);
            const QAL_UINT32 ulOther = ulHalf == 0 ? 0xFFFF0000 : 0x0000FFFF;
            EXPECT_EQ(result.ulAddr, (0x01020304 & ulOther) | c.ulPort << 16 * ulHalf);
        }
    }
}

/// Our result is the model's, and if the system's parser accepts the text, both read the same
/// address.
bool AgreesOnIpv4(GuardedText &memory, std::string_view text)
{
    const Ipv4 result = ParseIpv4(memory, text);
    const Ipv4 expected = ModelIpv4(text);
    if (result != expected) {
        ADD_FAILURE() << text << ": status " << result.status << ", address " << result.address
                      << ", port " << result.port << " instead of " << expected.status << ", "
                      << expected.address << ", " << expected.port;
        return false;
    }
    in_addr system = {};
    if (inet_pton(AF_INET, memory.Hold(text), &system) == 1 &&
        result != Ipv4{0, ntohl(system.s_addr), 0}) {
        ADD_FAILURE() << "the system takes " << text << " for " << ntohl(system.s_addr);
        return false;
    }
    return true;
}

TEST(ParseIpv4, EveryShortText)
{
    GuardedText memory;
    const auto agrees = [&](std::string_view text) { return AgreesOnIpv4(memory, text); };
    ForEveryText("1.0x:", 9, "", agrees); // the shortest address has seven characters
    ForEveryText(":.0x[]1gA \xB1", 6, "", agrees);
    ForEveryText(":.0x[]1gA \xB1-+", 5, "1.2.3.4", agrees);
    ForEveryText(":.0x1gA2569", 5, "1.2.3.", agrees);
    ForEveryText(":.0x1gA2569", 5, "0", agrees);
}

/// Pieces of addresses in a row. Most such texts are malformed.
std::string RandomText(Random &random)
{
    constexpr std::string_view kPieces[] = {
        ":",
        "::",
        ":::",
        ".",
        "[",
        "]",
        "]:",
        "0",
        "1",
        "10",
        "010",
        "ffff",
        "FfFf",
        "12345",
        "g",
        "0x",
        "0x1f",
        "0X",
        "255",
        "256",
        "192.168.1.1",
        "1.2.3.4",
        "1:2:3:4:5:6:7",
        "::1",
        "4294967297",
        "18446744073709551616",
        " ",
        "-",
        "+",
        "\xB1",
        "80",
        "\t",
    };
    std::string text;
    for (std::size_t n = 1 + random.UpTo(11); n > 0; --n) {
        text += kPieces[random.UpTo(std::size(kPieces) - 1)];
    }
    return text;
}

TEST(ParseIpv4, RandomTexts)
{
    GuardedText memory;
    Random random;
    SCOPED_TRACE(random.Trace());
    for (int iRound = 0; iRound < 50000; ++iRound) {
        std::string text;
        for (int iOctet = 0; iOctet < 4; ++iOctet) {
            text += iOctet == 0 ? "" : ".";
            const std::uint64_t value =
                random.UpTo(9) == 0 ? random.UpTo(0x100000400) : random.UpTo(255);
            if (random.UpTo(3) == 0) {
                char achHex[32];
                std::snprintf(achHex, sizeof achHex, random.UpTo(1) == 0 ? "0x%llx" : "0X%llX",
                              static_cast<unsigned long long>(value));
                text += achHex;
            } else {
                text += std::string(random.UpTo(5) == 0 ? random.UpTo(30) : 0, '0') +
                        std::to_string(value);
            }
        }
        if (random.UpTo(2) == 0) {
            text += ':' + std::to_string(random.UpTo(70000));
        }
        ASSERT_TRUE(AgreesOnIpv4(memory, text));
        text[random.UpTo(text.size() - 1)] = static_cast<char>(1 + random.UpTo(254));
        ASSERT_TRUE(AgreesOnIpv4(memory, text));
        ASSERT_TRUE(AgreesOnIpv4(memory, RandomText(random)));
    }
}

TEST(ParseIpv4, LongRunsOfDigits)
{
    GuardedText memory;
    for (const std::size_t len : {20U, 100U, 1000U, 3000U}) {
        ASSERT_TRUE(AgreesOnIpv4(memory, std::string(len, '0') + "7.0.0.1"));
        ASSERT_TRUE(AgreesOnIpv4(memory, "1.0.0." + std::string(len, '0')));
        ASSERT_TRUE(AgreesOnIpv4(memory, "1.0.0." + std::string(len, '9')));
        ASSERT_TRUE(AgreesOnIpv4(memory, "1.0.0.0x" + std::string(len, 'f')));
        ASSERT_TRUE(AgreesOnIpv4(memory, "1.0.0.1:" + std::string(len, '9')));
        ASSERT_TRUE(AgreesOnIpv4(memory, "1.0.0.1:-" + std::string(len, '9')));
    }
}

// --- IPv6

struct Ipv6Case {
    std::string_view text;
    QAL_UINT32 ulStatus;
    std::string_view output; ///< bytes and port, or "untouched"
};

void ExpectIpv6(const Ipv6Case *pFirst, const Ipv6Case *pEnd)
{
    GuardedText memory;
    for (; pFirst != pEnd; ++pFirst) {
        const Ipv6 result = ParseIpv6(memory, pFirst->text);
        EXPECT_EQ(result.status, pFirst->ulStatus) << pFirst->text;
        EXPECT_EQ(Hex(result.output), pFirst->output) << pFirst->text;
        const Ipv6 model = ModelIpv6(pFirst->text);
        EXPECT_EQ(model.status, pFirst->ulStatus) << "the model at " << pFirst->text;
        EXPECT_EQ(Hex(model.output), pFirst->output) << "the model at " << pFirst->text;
    }
}

constexpr std::string_view kUntouched = "untouched";

TEST(ParseIpv6, Addresses)
{
    constexpr Ipv6Case kCases[] = {
        {"::", 0, "00000000000000000000000000000000 0"},
        {"[::]", 0, "00000000000000000000000000000000 0"},
        {"[::", 0, "00000000000000000000000000000000 0"},
        {"::]", 0, "00000000000000000000000000000000 0"},
        {"::1", 0, "00000000000000000000000000000001 0"},
        {"1::", 0, "00010000000000000000000000000000 0"},
        {"1:2::3:4", 0, "00010002000000000000000000030004 0"},
        {"1:2:3:4:5:6:7:8", 0, "00010002000300040005000600070008 0"},
        {"[1:2:3:4:5:6:7:8]", 0, "00010002000300040005000600070008 0"},
        {"FfFf:0:00ab::CDEF", 0, "ffff000000ab0000000000000000cdef 0"},
        {"1:2:3:4:5:6:7::", 0, "00010002000300040005000600070000 0"},
        {"::2:3:4:5:6:7:8", 0, "00000002000300040005000600070008 0"},
        {"::1:2:3:4:5:6:7:8", 0, "00010002000300040005000600070008 0"},
    };
    ExpectIpv6(std::begin(kCases), std::end(kCases));
}

TEST(ParseIpv6, RefusedTextsLeaveTheOutputs)
{
    constexpr Ipv6Case kCases[] = {
        {"", 30, kUntouched},
        {"[", 30, kUntouched},
        {"[[::]]", 30, kUntouched},
        {"]", 30, kUntouched},
        {":", 30, kUntouched},
        {":1", 30, kUntouched},
        {"1", 30, kUntouched},
        {"1:", 30, kUntouched},
        {"1:2:3", 30, kUntouched},
        {"1:2:3:4:5:6:7", 30, kUntouched},
        {"[1:2:3:4:5:6:7]", 30, kUntouched},
        {"1:2:3:4:5:6:7:", 30, kUntouched},
        {"12345::", 30, kUntouched}, // a bad head
        {"1:g", 30, kUntouched},
        {"1g::", 30, kUntouched},
        {"g::1", 30, kUntouched},
        {" ::1", 30, kUntouched},
        {"::g", 30, kUntouched},
        {"::.", 30, kUntouched},
        {":: ", 30, kUntouched},
        {"::[", 30, kUntouched},
        {"1:2:3:4:5:6:10.1.2.3", 30, kUntouched}, // one colon before a dotted quad
        {"::1.2.3.4", 30, kUntouched},
        {"::ffff:1.2.3.4", 30, kUntouched}, // the run takes the 1 and stops on the dot
        {"\xB1::", 30, kUntouched},
        {"::\xB1", 30, kUntouched},
    };
    ExpectIpv6(std::begin(kCases), std::end(kCases));
}

TEST(ParseIpv6, SuccessIs0WithOrWithoutAPort)
{
    constexpr Ipv6Case kCases[] = {
        {"[::1]:80", 0, "00000000000000000000000000000001 80"},
        {"[::1]:0", 0, "00000000000000000000000000000001 0"},
        {"::1]:80", 0, "00000000000000000000000000000001 80"},
        {"[::1:80", 0, "00000000000000000000000000010080 0"}, // a group, not a port
        {"[::]:80", 0, "00000000000000000000000000000000 80"},
        {"[1::]:80", 0, "00010000000000000000000000000000 80"},
        {"1:2:3:4:5:6:7:8:8080", 0, "00010002000300040005000600070008 8080"},
        {"1:2:3:4:5:6:7:8:9", 0, "00010002000300040005000600070008 9"},
        {"[1:2:3:4:5:6:7:8]:9", 0, "00010002000300040005000600070008 9"},
        {"[::1]:0x50", 0, "00000000000000000000000000000001 0"}, // decimal only
        {"[::1]:70000", 0, "00000000000000000000000000000001 4464"},
        {"[::1]: +80", 0, "00000000000000000000000000000001 80"},
        {"[::1]:-1", 0, "00000000000000000000000000000001 65535"},
        {"[::1]:", 30, kUntouched},
        {"[::1]:x", 30, kUntouched},
        {"[::1]::80", 30, kUntouched},
        {"1:2:3:4:5:6:7:8:", 30, kUntouched},
        {"1:2:3:4:5:6:7:8::", 30, kUntouched},
    };
    ExpectIpv6(std::begin(kCases), std::end(kCases));
}

TEST(ParseIpv6, TrailingTextIsIgnored)
{
    constexpr Ipv6Case kCases[] = {
        {"[1:2:3:4:5:6:7:8]xyz", 0, "00010002000300040005000600070008 0"},
        {"[::1]]", 0, "00000000000000000000000000000001 0"},
        {"[::1] :80", 0, "00000000000000000000000000000001 0"},
        {"[::]1", 0, "00000000000000000000000000000000 0"},
        {"[::1]:80abc", 0, "00000000000000000000000000000001 80"},
        {"[::1]:80]:90", 0, "00000000000000000000000000000001 80"},
        {"1:2:3:4:5:6:7:8.9", 0, "00010002000300040005000600070008 0"},
        {"1:2:3:4:5:6:7:8]]:9", 0, "00010002000300040005000600070008 0"},
    };
    ExpectIpv6(std::begin(kCases), std::end(kCases));
}

TEST(ParseIpv6, DottedQuadAfterADot)
{
    constexpr Ipv6Case kCases[] = {
        {".1.2.3.4", 0, "00000000000000000000000001020304 0"},
        {"[.1.2.3.4", 0, "00000000000000000000000001020304 0"},
        {"1:2.1.2.3.4", 0, "00010002000000000000000001020304 0"},
        {"1:2:3:4:5:6:7.10.0x20.030.40", 0,
         "0001000200030004000500060a201e28 0"}, // overwrites the 7
        {"::ffff.1.2.3.4", 30, kUntouched},
        {".a.2.3.4", 30, kUntouched},
        {".1.2.3", 30, kUntouched},
        {".1.2.3.4:80", 30, kUntouched}, // a port
        {".1.2.3.4]", 30, kUntouched},
        {"[.1.2.3.4]:80", 30, kUntouched},
        {"1:1.2.3.4", 30, kUntouched}, // the 1 is a group, and 2.3.4 is not a quad
        {".", 30, kUntouched},
        {"..1.2.3.4", 30, kUntouched},
    };
    ExpectIpv6(std::begin(kCases), std::end(kCases));
}

TEST(ParseIpv6, DottedQuadAfterGapFails)
{
    constexpr Ipv6Case kCases[] = {
        {"::ffff:192.168.1.1", 30, "00000000000000000000ffff00000000 0"},
        {"[::ffff:192.168.1.1]", 30, "00000000000000000000ffff00000000 0"},
        {"[::ffff:192.168.1.1]:80", 30, "00000000000000000000ffff00000000 0"},
        {"::ffff:192.168.1.1:80", 30, "00000000000000000000ffff00000000 0"},
        {"1:2::3:10.0.0.1", 30, "00010002000000000000000300000000 0"},
        {"1::2:3:g", 30, "00010000000000000002000300000000 0"},
        {"1::2:", 30, "00010000000000000000000200000000 0"},
        {":::1.2.3.4", 30, "00000000000000000000000000000000 0"},
        {"1:2:::1.2.3.4", 30, "00010002000000000000000000000000 0"},
        {":::", 30, "00000000000000000000000000000000 0"},
        {":::]", 30, "00000000000000000000000000000000 0"}, // the bracket is not stepped over
        {":::]:80", 30, "00000000000000000000000000000000 0"},
    };
    ExpectIpv6(std::begin(kCases), std::end(kCases));
}

TEST(ParseIpv6, PortMakesUpForAFailure)
{
    constexpr Ipv6Case kCases[] = {
        {"1::2::3", 0, "00010000000000000000000200000000 3"},
        {"::::80", 0, "00000000000000000000000000000000 80"},
        {"1::::80", 0, "00010000000000000000000000000000 80"},
        {"::1:: 80x", 0, "00000000000000000000000100000000 80"},
        {"1::2::", 30, kUntouched},
        {"1::2:::3", 30, kUntouched},
        {"::::", 30, kUntouched},
        {":::::80", 30, kUntouched},
        {"::::x", 30, kUntouched},
    };
    ExpectIpv6(std::begin(kCases), std::end(kCases));
}

TEST(ParseIpv6, BadRunWritesTheOutputs)
{
    constexpr Ipv6Case kCases[] = {
        {"1::2g", 30, "00010000000000000000000000000000 0"},
        {"::12345", 30, "00000000000000000000000000000000 0"},
        {"1:2::3:4:55555", 30, "00010002000000000000000000000000 0"},
        {"[1::2 ]:80", 30, "00010000000000000000000000000000 0"},
    };
    ExpectIpv6(std::begin(kCases), std::end(kCases));
}

TEST(ParseIpv6, RunIsWrittenOverTheHead)
{
    constexpr Ipv6Case kCases[] = {
        {"1:2:3:4:5:6:7::8:9", 0, "00010002000300040005000600080009 0"},
        {"1:2:3:4:5:6:7::8", 0, "00010002000300040005000600070008 0"},
        {"a:b::1:2:3:4:5:6:7:8", 0, "00010002000300040005000600070008 0"},
        {"1:2:3:4:5:6:7::8:9::80", 0, "00010002000300040008000900070000 80"},
    };
    ExpectIpv6(std::begin(kCases), std::end(kCases));
}

TEST(ParseIpv6, RunBeforeTheFirstByteIsDropped)
{
    constexpr Ipv6Case kCases[] = {
        {"::1:2:3:4:5:6::80", 0, "00010002000300040005000600000000 80"},
        {"::1:2:3:4:5:6:7::80", 0, "00020003000400050006000700000000 80"},
        {"::1:2:3:4:5:6:7:8::80", 0, "00030004000500060007000800000000 80"},
        {"::1:2:3:4:5:6:7:8:9", 30, "00030004000500060007000800000000 0"},
        {"a:b:c:d:e:f:a::1:2:3:4:5:6:7::80", 0, "000200030004000500060007000a0000 80"},
    };
    ExpectIpv6(std::begin(kCases), std::end(kCases));
}

TEST(ParseIpv6, NullPointerReturns10AndWritesNothing)
{
    char achText[] = "[::1]:80";
    QAL_UINT8 aucAddr[16];
    std::memset(aucAddr, kFill, sizeof aucAddr);
    QAL_UINT16 uwPort = 0xA5A5;
    for (unsigned int uWhich = 0; uWhich < 7; ++uWhich) { // at least one is null
        EXPECT_EQ(XELP_Parse_IPV6((uWhich & 1) != 0 ? achText : nullptr,
                                  (uWhich & 2) != 0 ? aucAddr : nullptr,
                                  (uWhich & 4) != 0 ? &uwPort : nullptr),
                  10U);
    }
    EXPECT_EQ(std::count(std::begin(aucAddr), std::end(aucAddr), kFill), 16);
    EXPECT_EQ(uwPort, 0xA5A5);
}

/// Our result is the model's, and if the system's parser accepts the text, both read the same
/// address, except for a text with a dotted quad.
bool AgreesOnIpv6(GuardedText &memory, std::string_view text)
{
    const Ipv6 result = ParseIpv6(memory, text);
    const Ipv6 expected = ModelIpv6(text);
    if (result != expected) {
        ADD_FAILURE() << text << ": status " << result.status << ", " << Hex(result.output)
                      << " instead of " << expected.status << ", " << Hex(expected.output);
        return false;
    }
    Ipv6Output system;
    if (inet_pton(AF_INET6, memory.Hold(text), system.address.data()) == 1 &&
        text.find('.') == std::string_view::npos && result != Ipv6{0, system}) {
        ADD_FAILURE() << "the system takes " << text << " for " << Hex(system);
        return false;
    }
    return !testing::Test::HasFailure();
}

TEST(ParseIpv6, EveryShortText)
{
    GuardedText memory;
    const auto agrees = [&](std::string_view text) { return AgreesOnIpv6(memory, text); };
    ForEveryText(":1.]", 9, "", agrees);
    ForEveryText(":10.]g", 7, "", agrees);
    ForEveryText(":.0x[]1gA \xB1", 5, "", agrees);
    ForEveryText(":1.]0", 6, "1:2:3:4:5:6", agrees);
    ForEveryText(":1.]0", 6, "1::2", agrees);
    ForEveryText(":.]1-x ", 4, "::1:2:3:4:5:6:7", agrees);
    ForEveryText(":.]1-x ", 5, "[::1", agrees);
}

TEST(ParseIpv6, RandomTexts)
{
    GuardedText memory;
    Random random;
    SCOPED_TRACE(random.Trace());
    for (int iRound = 0; iRound < 50000; ++iRound) {
        ASSERT_TRUE(AgreesOnIpv6(memory, RandomText(random)));
    }
}

// We read the text that the system writes for an address, alone or as `[address]:port`.
TEST(ParseIpv6, AddressesAsTheSystemWritesThem)
{
    GuardedText memory;
    Random random;
    SCOPED_TRACE(random.Trace());
    for (int iRound = 0; iRound < 20000; ++iRound) {
        Ipv6Output expected;
        for (std::size_t i = 0; i < 16; i += 2) {
            const std::uint64_t group = random.UpTo(2) == 0 ? random.UpTo(0xFFFF) : 0;
            expected.address[i] = static_cast<QAL_UINT8>(group >> 8);
            expected.address[i + 1] = static_cast<QAL_UINT8>(group);
        }
        char achText[INET6_ADDRSTRLEN];
        ASSERT_NE(inet_ntop(AF_INET6, expected.address.data(), achText, sizeof achText), nullptr);
        const std::string text = achText;
        if (text.find('.') != std::string::npos) {
            continue; // a dotted quad
        }
        ASSERT_TRUE(AgreesOnIpv6(memory, text));
        ASSERT_EQ(ParseIpv6(memory, text), (Ipv6{0, expected})) << text;
        expected.port = static_cast<QAL_UINT16>(random.UpTo(65535));
        const std::string withPort = '[' + text + "]:" + std::to_string(expected.port);
        ASSERT_EQ(ParseIpv6(memory, withPort), (Ipv6{0, expected})) << withPort;
    }
}

} // namespace
} // namespace wyx::test
