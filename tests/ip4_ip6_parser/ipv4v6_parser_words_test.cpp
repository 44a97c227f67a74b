// The usual form of a dotted address: texts read in words match the model, and unusual ones are
// left to ScanIpv4(). If the table of character classes lacks a decimal digit, every text goes to
// ScanIpv4(), which reads a usual text without that digit the same way.
#include "../../src/commlib/ip4_ip6_parser/source/ipv4v6_parser_words.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

#include "address_model.h"
#include "address_texts.h"
#include "guarded_memory.h"
#include "random.h"
#include "reclassified.h"

namespace wyx::test {
namespace {

/// The status and the outputs of a text that is not read in words.
constexpr Ipv4 kLeftToScanner = {address::kNotUsual, 0xA5A5A5A5, 0xA5A5};

/// Reads a text twice: with its terminator in the last byte of a block of memory, and with its
/// first character in the first byte of another.
class Words {
  public:
    Ipv4 Read(std::string_view text)
    {
        const Ipv4 result = ReadAt(atEnd_.Hold(text), text);
        auto *const pszText = reinterpret_cast<QAL_CHAR *>(memory_.Begin());
        *std::copy(text.begin(), text.end(), pszText) = '\0';
        EXPECT_EQ(ReadAt(pszText, text), result) << text;
        return result;
    }

  private:
    static Ipv4 ReadAt(const QAL_CHAR *pszText, std::string_view text)
    {
        Ipv4 result = kLeftToScanner;
        result.status = address::ReadUsualIpv4(pszText, static_cast<QAL_UINT32>(text.size()),
                                               result.address, result.port);
        return result;
    }

    GuardedText atEnd_;
    GuardedMemory memory_{4096};
};

Ipv4 Parsed(GuardedText &memory, std::string_view text)
{
    Ipv4 result = kLeftToScanner;
    result.status = XELP_Parse_IPV4(memory.Hold(text), &result.address, &result.port);
    return result;
}

/// Four octets in a row, then the port.
std::string Joined(const std::string_view (&octets)[4], std::string_view port)
{
    std::string text(octets[0]);
    for (int i = 1; i < 4; ++i) {
        text += '.';
        text += octets[i];
    }
    return text += port;
}

TEST(UsualIpv4, IsReadInWords)
{
    constexpr std::string_view kOctets[] = {"7", "42", "255", "0", "00", "000", "099"};
    constexpr std::string_view kPorts[] = {"", ":0", ":80", ":443", ":8080", ":65535", ":065536"};
    Words words;
    for (const std::string_view first : kOctets) {
        for (const std::string_view second : kOctets) {
            for (const std::string_view third : kOctets) {
                for (const std::string_view fourth : kOctets) {
                    for (const std::string_view port : kPorts) {
                        const std::string text = Joined({first, second, third, fourth}, port);
                        const Ipv4 expected = ModelIpv4(text);
                        ASSERT_EQ(expected.status, port.empty() ? 0U : 1U) << text;
                        ASSERT_EQ(words.Read(text), expected) << text;
                    }
                }
            }
        }
    }
}

/// Texts read in words match the model, and the parser always agrees with the model.
bool Agrees(Words &words, GuardedText &memory, std::string_view text)
{
    const Ipv4 expected = ModelIpv4(text);
    const Ipv4 result = words.Read(text);
    EXPECT_TRUE(result == kLeftToScanner || result == expected) << text;
    EXPECT_EQ(Parsed(memory, text), expected) << text;
    return !testing::Test::HasFailure();
}

TEST(UsualIpv4, EveryNumberInEveryPlace)
{
    Words words;
    GuardedText memory;
    for (unsigned value = 0; value < 1100; ++value) {
        for (const std::size_t width : {1U, 2U, 3U, 4U}) {
            std::string octet = std::to_string(value);
            octet.insert(0, width > octet.size() ? width - octet.size() : 0, '0');
            for (int iPlace = 0; iPlace < 4; ++iPlace) {
                std::string_view octets[] = {"1", "20", "255", "9"};
                octets[iPlace] = octet;
                for (const std::string_view port : {"", ":1"}) {
                    const std::string text = Joined(octets, port);
                    ASSERT_TRUE(Agrees(words, memory, text));
                    const bool isUsual = value <= 255 && octet.size() <= 3;
                    ASSERT_EQ(words.Read(text) != kLeftToScanner, isUsual) << text;
                }
            }
        }
    }
}

TEST(UsualIpv4, EveryShortText)
{
    Words words;
    GuardedText memory;
    const auto agrees = [&](std::string_view text) { return Agrees(words, memory, text); };
    ForEveryText("19.:", 10, "", agrees);
    ForEveryText("2569.", 6, "1.2.3.", agrees);
    ForEveryText("56:.", 7, "25.", agrees);
    ForEveryText("0569.:x+ ", 6, "1.2.3.4", agrees);
}

TEST(UsualIpv4, SeveralPiecesInARow)
{
    constexpr std::string_view kOctets[] = {"",    "0",    "9",  "99",  "001", "255", "256",
                                            "999", "0000", "1a", "0x1", "1.",  "1:1"};
    constexpr std::string_view kPorts[] = {
        "",    ":",   ":9",      ":123456", ":1234567", ":12345678", ":9x",       ":x9",
        ": 9", ":-1", ":0x1234", ":9.9",    ":9:9",     ":9:99999",  ":9:999999", ".:999999"};
    constexpr std::size_t kStep = kLettersLess == 0 ? 1 : 7; // still uses every port
    Words words;
    GuardedText memory;
    std::size_t texts = std::size(kPorts);
    for (int iPlace = 0; iPlace < 4; ++iPlace) {
        texts *= std::size(kOctets);
    }
    for (std::size_t n = 0; n < texts; n += kStep) {
        std::size_t rest = n / std::size(kPorts);
        std::string_view octets[4];
        for (std::string_view &octet : octets) {
            octet = kOctets[rest % std::size(kOctets)];
            rest /= std::size(kOctets);
        }
        ASSERT_TRUE(Agrees(words, memory, Joined(octets, kPorts[n % std::size(kPorts)])));
    }
}

TEST(UsualIpv4, EveryByteAtEveryPlace)
{
    Words words;
    GuardedText memory;
    for (const std::string_view usual : {"1.2.3.4", "12.3.45.6", "255.255.255.255", "1.2.3.4:5",
                                         "99.8.100.21:4711", "250.250.250.250:065535"}) {
        for (std::size_t at = 0; at < usual.size(); ++at) {
            for (int iByte = 1; iByte < 256; ++iByte) {
                std::string text(usual);
                text[at] = static_cast<char>(iByte);
                ASSERT_TRUE(Agrees(words, memory, text));
            }
        }
        for (std::size_t len = 0; len < usual.size(); ++len) {
            ASSERT_TRUE(Agrees(words, memory, usual.substr(0, len)));
        }
    }
}

TEST(UsualIpv4, EveryByteInPlaceOfTheDots)
{
    Words words;
    GuardedText memory;
    for (int iByte = 1; iByte < 256; ++iByte) {
        const std::string dot(1, static_cast<char>(iByte));
        ASSERT_TRUE(Agrees(words, memory, "1" + dot + "2" + dot + "3" + dot + "4"));
        ASSERT_TRUE(Agrees(words, memory, "12" + dot + "134" + dot + "5" + dot + "67:89"));
    }
}

// If the table does not class one of the decimal digits as a digit, every text goes to
// ScanIpv4(). For a text whose octets do not contain that digit, it must return what
// ReadUsualIpv4() returned before.
TEST(UsualIpv4, ScanIpv4ReadsTheSame)
{
    Words words;
    GuardedText memory;
    Random random;
    SCOPED_TRACE(random.Trace());
    for (int iRound = 0; iRound < 20000; ++iRound) {
        const auto chNone = static_cast<char>('0' + static_cast<int>(random.UpTo(9)));
        constexpr std::uint64_t kMost[] = {9, 99, 255};
        std::string text;
        while (text.empty() || text.find(chNone) != std::string::npos) {
            text.clear();
            for (int iPlace = 0; iPlace < 4; ++iPlace) {
                text += iPlace == 0 ? "" : ".";
                text += std::to_string(random.UpTo(kMost[random.UpTo(2)]));
            }
        }
        if (random.UpTo(1) == 0) {
            text += ':' + std::to_string(random.UpTo(65535));
        }
        const Ipv4 inWords = words.Read(text);
        ASSERT_NE(inWords, kLeftToScanner) << text;
        ASSERT_EQ(Parsed(memory, text), inWords) << text;
        const Reclassified none(chNone, 0x80);
        ASSERT_EQ(words.Read(text), kLeftToScanner) << text;
        ASSERT_EQ(Parsed(memory, text), inWords) << text << " without " << chNone;
    }
}

TEST(UsualIpv4, UsesTheTable)
{
    Words words;
    GuardedText memory;
    for (char chDigit = '0'; chDigit <= '9'; ++chDigit) {
        const Reclassified none(chDigit, 0x80);
        EXPECT_EQ(words.Read("8.8.8.8"), kLeftToScanner) << chDigit;
        EXPECT_EQ(words.Read("1.1.1.1:80"), kLeftToScanner) << chDigit;
        const std::string text = std::string("1.2.3.") + chDigit;
        EXPECT_EQ(Parsed(memory, text), Ipv4{}) << text;
    }
    {
        const Reclassified dot('.', 0x04); // now the whole text is the first octet
        EXPECT_EQ(words.Read("1.2.3.4"), kLeftToScanner);
        EXPECT_EQ(Parsed(memory, "1.2.3.4"), Ipv4{});
    }
    {
        const Reclassified colon(':', 0x04); // a digit without a value: 4:80 is the last octet
        EXPECT_EQ(words.Read("1.2.3.4:80"), kLeftToScanner);
        EXPECT_EQ(Parsed(memory, "1.2.3.4:80"), (Ipv4{0, 0x01020304, 0}));
    }
    EXPECT_EQ(words.Read("8.8.8.8"), (Ipv4{0, 0x08080808, 0}));
}

} // namespace
} // namespace wyx::test
