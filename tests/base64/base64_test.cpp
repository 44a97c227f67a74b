// Encoding and decoding: compared with published vectors and a bit-by-bit model. The calls to the
// platform are recorded.
#include "wyx_commlib/base64.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base64_models.h"
#include "guarded_memory.h"
#include "platform_double.h"
#include "random.h"

#ifdef WYX_HAVE_OPENSSL
#include <openssl/evp.h>
#endif

namespace wyx::test {
namespace {

using namespace std::string_literals;

QAL_UINT8 *Bytes(char *pch)
{
    return reinterpret_cast<QAL_UINT8 *>(pch);
}

using Converter = QAL_INT32 (*)(QAL_UINT8 *, QAL_INT32, QAL_UINT8 **);

/// The result of a call, or none if it failed. In memory, @p beyond follows the input, and an
/// inaccessible page follows @p beyond. If @p beyond is empty, no byte after the input may be read.
std::optional<std::string> Convert(Converter pfunConvert, std::string_view input,
                                   std::string_view beyond)
{
    static const GuardedMemory memory(64 * 1024);
    const std::size_t size = input.size() + beyond.size();
    if (size > memory.Size()) {
        ADD_FAILURE() << "input does not fit";
        return std::nullopt;
    }
    QAL_UINT8 *const pucInput = memory.End() - size;
    std::copy(input.begin(), input.end(), pucInput);
    std::copy(beyond.begin(), beyond.end(), pucInput + input.size());

    QAL_UINT8 aucJunk[1];
    QAL_UINT8 *pucOutput = aucJunk;
    const QAL_INT32 lLen = pfunConvert(pucInput, static_cast<QAL_INT32>(input.size()), &pucOutput);
    if (pucOutput == nullptr) {
        EXPECT_EQ(lLen, 0);
        return std::nullopt;
    }
    EXPECT_GE(lLen, 0);
    EXPECT_EQ(pucOutput[lLen], 0) << "no NUL after the result";
    const std::string result(reinterpret_cast<const char *>(pucOutput),
                             static_cast<std::size_t>(lLen));
    MOX_BASE64Free(&pucOutput);
    EXPECT_EQ(pucOutput, nullptr);
    return result;
}

std::optional<std::string> Encoded(std::string_view bytes)
{
    return Convert(MOX_BASE64Encode, bytes, "");
}

std::optional<std::string> Decoded(std::string_view text, char chBeyond = '\0')
{
    return Convert(MOX_BASE64Decode, text, {&chBeyond, 1});
}

std::string RandomBytes(Random &random, std::size_t size)
{
    const std::vector<QAL_UINT8> bytes = random.Bytes(size);
    return {bytes.begin(), bytes.end()};
}

class Base64Encode : public PlatformTest {};
class Base64Decode : public PlatformTest {};
class Base64Free : public PlatformTest {};

struct Pair {
    std::string_view bytes;
    std::string_view text;
};

// RFC 4648, section 10, and a few more.
constexpr Pair kPairs[] = {
    {"f", "Zg=="},           {"fo", "Zm8="},
    {"foo", "Zm9v"},         {"foob", "Zm9vYg=="},
    {"fooba", "Zm9vYmE="},   {"foobar", "Zm9vYmFy"},
    {"Man", "TWFu"},         {"Ma", "TWE="},
    {"M", "TQ=="},           {"\xFB\xFF\xBF", "+/+/"},
    {{"\0\0\0", 3}, "AAAA"}, {"\xFF\xFF\xFF", "////"},
};

TEST_F(Base64Encode, PublishedVectors)
{
    for (const Pair &pair : kPairs) {
        EXPECT_EQ(Encoded(pair.bytes), pair.text);
    }
}

TEST_F(Base64Decode, PublishedVectors)
{
    for (const Pair &pair : kPairs) {
        EXPECT_EQ(Decoded(pair.text), pair.bytes) << pair.text;
    }
}

TEST_F(Base64Encode, NeverBreaksALine)
{
    const std::optional<std::string> line = Encoded(std::string(57, 'x'));
    ASSERT_TRUE(line);
    EXPECT_EQ(line->size(), 76U);
    const std::optional<std::string> lines = Encoded(std::string(5000, 'x'));
    ASSERT_TRUE(lines);
    EXPECT_EQ(lines->size(), 6668U);
    EXPECT_EQ(lines->find_first_of("\r\n"), std::string::npos);
}

TEST_F(Base64Encode, EveryLengthAndEveryByte)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    for (std::size_t len = 1; len <= 300; ++len) {
        const std::string bytes = RandomBytes(random, len);
        EXPECT_EQ(Encoded(bytes), ModelEncoded(bytes)) << len;
    }
    for (int iByte = 0; iByte < 256; ++iByte) {
        for (const std::size_t at : {0U, 1U, 2U, 3U, 4U}) {
            std::string bytes = "\x55\xAA\x55\xAA\x55"s;
            bytes[at] = static_cast<char>(iByte);
            for (const std::size_t len : {3U, 4U, 5U}) {
                EXPECT_EQ(Encoded(bytes.substr(0, len)), ModelEncoded(bytes.substr(0, len)));
            }
        }
    }
}

TEST_F(Base64Decode, DecodesWhatWasEncoded)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    for (std::size_t len = 1; len <= 300; ++len) {
        const std::string bytes = RandomBytes(random, len);
        std::string text = ModelEncoded(bytes);
        EXPECT_EQ(Decoded(text), bytes) << len;
        text.resize(text.find_last_not_of('=') + 1); // padding is not required
        EXPECT_EQ(Decoded(text), bytes) << len;
        for (std::size_t at = 76; at < text.size(); at += 78) {
            text.insert(at, "\r\n");
        }
        EXPECT_EQ(Decoded(text), bytes) << len;
    }
}

struct Case {
    std::string_view text;
    std::optional<std::string_view> bytes;
};

TEST_F(Base64Decode, LenientForms)
{
    constexpr std::string_view kEmpty = "";
    const Case cases[] = {
        {"TWE", "Ma"},
        {"TQ", "M"},
        {"T", kEmpty}, // six bits are not a whole byte
        {"TWFuT", "Man"},
        {"TW\r\nFu", "Man"},
        {"T=WFu", "Man"},
        {"\n\r=TWFu", "Man"},
        {"TQ==TQ==", "M\x04\xD0"}, // padding does not end the text
        {{"TW\0Fu", 5}, "Man"},
        {{"\0", 1}, kEmpty},
        {"====", kEmpty},
        {"\r\n", kEmpty},
        {"-_8=", "\xFB\xFF"},
        {"+/8=", "\xFB\xFF"},
        {"-/+_", "\xFB\xFF\xBF"},
        {"TR==", "M"}, // the bits left over need not be 0
        {"TW!u", std::nullopt},
        {"!TWFu", std::nullopt},
        {"TWF!", std::nullopt},
        {"TW Fu", std::nullopt},
        {" ", std::nullopt},
        {"TW\tFu", std::nullopt},
        {"TW,u", std::nullopt},
        {"TW\xC1u", std::nullopt}, // 'A' with the top bit set
        {"====!", std::nullopt},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(Decoded(c.text), c.bytes) << c.text;
    }
}

TEST_F(Base64Decode, ByteAfterTheTextIsReadToo)
{
    EXPECT_EQ(Decoded("TWFu", '!'), std::nullopt);
    EXPECT_EQ(Decoded("TWFu", '\0'), "Man");
    EXPECT_EQ(Decoded("TWFu", 'A'), "Man");
    EXPECT_EQ(Decoded("TWFu", '='), "Man");
    for (int iByte = 0; iByte < 256; ++iByte) {
        const auto ch = static_cast<char>(iByte);
        for (const std::string text :
             {"TWFu", "TWF", "TW", "T", "=", "TWFuT", "TWFuTW", "TWFuTWF",
              "TWE=", "TQ==", "TWFuTWE=", "TWFuTQ==", "TQ=u", "T===", "T=E=", "=WE="}) {
            EXPECT_EQ(Decoded(text, ch), ModelDecoded(text + ch)) << text << ", " << iByte;
        }
    }
}

TEST_F(Base64Decode, EveryByteAtEveryPlace)
{
    for (int iByte = 0; iByte < 256; ++iByte) {
        for (std::size_t at = 0; at < 9; ++at) {
            std::string text = "Ab9+z/0Qy";
            text[at] = static_cast<char>(iByte);
            EXPECT_EQ(Decoded(text), ModelDecoded(text + '\0')) << iByte << " at " << at;
        }
    }
}

TEST_F(Base64Decode, EveryShortText)
{
    constexpr std::string_view kLetters("A/_z=\n\0!\xC1", 9);
    for (std::size_t len = 1; len <= 4; ++len) {
        std::size_t texts = 1;
        for (std::size_t i = 0; i <= len; ++i) { // the byte after the length, too
            texts *= kLetters.size();
        }
        for (std::size_t n = 0; n < texts; ++n) {
            std::string text;
            for (std::size_t rest = n; text.size() <= len; rest /= kLetters.size()) {
                text += kLetters[rest % kLetters.size()];
            }
            ASSERT_EQ(Decoded(text.substr(0, len), text[len]), ModelDecoded(text))
                << "number " << n << " of length " << len;
        }
    }
}

TEST_F(Base64Decode, RandomTexts)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::string letters = std::string(kAlphabet) + "-_=\r\n\0"s;
    for (int iRound = 0; iRound < 2000; ++iRound) {
        std::string text;
        for (std::size_t n = 2 + random.UpTo(300); n > 0; --n) {
            text += letters[random.UpTo(letters.size() - 1)];
        }
        if (random.UpTo(3) == 0) {
            text[random.UpTo(text.size() - 1)] = static_cast<char>(random.UpTo(255));
        }
        ASSERT_EQ(Decoded(text.substr(0, text.size() - 1), text.back()), ModelDecoded(text))
            << iRound;
    }
}

// Lines of equal length, which is the usual layout: whole, cut off at the end, and with a character
// inserted or removed.
TEST_F(Base64Decode, LinesOfEveryLength)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    for (std::size_t length = 1; length <= 140; ++length) {
        for (const std::string_view lineBreak : {"\r\n", "\n", "\r", "\n\n", "\r\n\r\n", "\r "}) {
            std::string text;
            for (std::size_t line = 2 + random.UpTo(4); line > 0; --line) {
                for (std::size_t i = 0; i < length; ++i) {
                    text += kAlphabet[random.UpTo(63)];
                }
                text += lineBreak;
            }
            ASSERT_EQ(Decoded(text), ModelDecoded(text + '\0')) << length;
            for (std::size_t cut = 0; cut < 3; ++cut) { // the end is cut off
                const std::string shorter = text.substr(0, text.size() - cut - 1);
                ASSERT_EQ(Decoded(shorter), ModelDecoded(shorter + '\0')) << length;
            }
            std::string irregular = text;
            const std::size_t at = random.UpTo(text.size() - 1);
            irregular.insert(at, 1, "A=\r\n!"[random.UpTo(4)]);
            ASSERT_EQ(Decoded(irregular), ModelDecoded(irregular + '\0')) << length << ", " << at;
            irregular = text.erase(at, 1);
            ASSERT_EQ(Decoded(irregular), ModelDecoded(irregular + '\0')) << length << ", " << at;
        }
    }
}

/// Where the length of the preceding lines suggests a line break, there may be any other byte.
TEST_F(Base64Decode, AnyByteBetweenLinesOfEqualLength)
{
    for (const std::size_t length : {4U, 16U, 76U}) {
        const std::string line = std::string(length, 'Q');
        for (int iByte = 0; iByte < 256; ++iByte) {
            for (const std::string end : {"", "\n", "\r", "A"}) {
                const std::string text =
                    line + "\n" + line + static_cast<char>(iByte) + end + line + "\n" + line;
                ASSERT_EQ(Decoded(text), ModelDecoded(text + '\0'))
                    << length << ", " << iByte << ", " << end.size();
            }
        }
    }
}

TEST_F(Base64Decode, EveryAlignment)
{
    alignas(64) char achAround[17 + 40];
    const std::string text = "QWxsIGFsaWdubWVudHMgb2YgdGhlIGlucHV0";
    for (std::size_t at = 0; at < 17; ++at) {
        std::memset(achAround, '!', sizeof achAround);
        std::copy(text.begin(), text.end(), achAround + at);
        achAround[at + text.size()] = '\0';
        QAL_UINT8 *pucBytes = nullptr;
        ASSERT_EQ(
            MOX_BASE64Decode(Bytes(achAround + at), static_cast<QAL_INT32>(text.size()), &pucBytes),
            27);
        EXPECT_EQ(std::memcmp(pucBytes, "All alignments of the input", 28), 0);
        QAL_UINT8 *pucText = nullptr;
        std::memcpy(achAround + at, pucBytes, 27);
        EXPECT_EQ(MOX_BASE64Encode(Bytes(achAround + at), 27, &pucText), 36);
        EXPECT_EQ(std::memcmp(pucText, text.c_str(), 37), 0);
        MOX_BASE64Free(&pucBytes);
        MOX_BASE64Free(&pucText);
    }
}

#ifdef WYX_HAVE_OPENSSL
TEST_F(Base64Encode, AgreesWithAnIndependentLibrary)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    for (int iRound = 0; iRound < 300; ++iRound) {
        const std::string bytes = RandomBytes(random, 1 + random.UpTo(3000));
        std::vector<QAL_UINT8> text(bytes.size() * 2 + 5);
        const int iLen =
            EVP_EncodeBlock(text.data(), reinterpret_cast<const QAL_UINT8 *>(bytes.data()),
                            static_cast<int>(bytes.size()));
        const std::string expected(text.begin(), text.begin() + iLen);
        EXPECT_EQ(Encoded(bytes), expected);
        EXPECT_EQ(Decoded(expected), bytes);
    }
}
#else
TEST_F(Base64Encode, AgreesWithAnIndependentLibrary)
{
    GTEST_SKIP() << "no OpenSSL: scripts/install_packages.sh libssl-dev";
}
#endif

// --- What the calls request from the platform.

/// Converts @p lLen bytes and returns the memory calls made. The caller releases @p pucOutput.
std::string TraceOf(PlatformDouble &platform, Converter pfunConvert, QAL_UINT8 *pucInput,
                    QAL_INT32 lLen, QAL_UINT8 *&pucOutput)
{
    platform.StartRecording();
    pucOutput = pucInput;
    pfunConvert(pucInput, lLen, &pucOutput);
    return platform.MemoryTrace();
}

TEST_F(Base64Encode, RequestsOneBlockOfTheExactSize)
{
    std::vector<QAL_UINT8> bytes(1000, 'x');
    for (int iLen = 1; iLen <= 1000; ++iLen) {
        QAL_UINT8 *pucText = nullptr;
        EXPECT_EQ(TraceOf(platform, MOX_BASE64Encode, bytes.data(), iLen, pucText),
                  "D " + std::to_string(4 * iLen / 3 + 5));
        MOX_BASE64Free(&pucText);
    }
}

TEST_F(Base64Decode, RequestsOneBlockOfTheExactSize)
{
    std::vector<QAL_UINT8> text(1001, 'x');
    for (int iLen = 1; iLen <= 1000; ++iLen) {
        QAL_UINT8 *pucBytes = nullptr;
        EXPECT_EQ(TraceOf(platform, MOX_BASE64Decode, text.data(), iLen, pucBytes),
                  "D " + std::to_string(3 * iLen / 4 + 4));
        MOX_BASE64Free(&pucBytes);
    }
}

TEST_F(Base64Encode, ArgumentsAreCheckedAfterAllocating)
{
    QAL_UINT8 aucBytes[1] = {'x'};
    struct {
        QAL_UINT8 *pucInput;
        QAL_INT32 lLen;
        const char *pszTrace;
    } const cases[] = {
        {nullptr, 0, "D 5, free"},
        {nullptr, 3, "D 9, free"},
        {nullptr, -1, "D 4, free"},
        {aucBytes, 0, "D 5, free"},
    };
    for (const auto &c : cases) {
        QAL_UINT8 *pucText = aucBytes;
        platform.StartRecording();
        EXPECT_EQ(MOX_BASE64Encode(c.pucInput, c.lLen, &pucText), 0);
        EXPECT_EQ(pucText, nullptr);
        EXPECT_EQ(platform.MemoryTrace(), c.pszTrace);
    }
}

TEST_F(Base64Decode, ArgumentsAreCheckedBeforeAllocating)
{
    QAL_UINT8 aucText[2] = {'x', 0};
    struct {
        QAL_UINT8 *pucInput;
        QAL_INT32 lLen;
    } const cases[] = {{nullptr, 0}, {nullptr, 3}, {nullptr, -1}, {aucText, 0}};
    for (const auto &c : cases) {
        QAL_UINT8 *pucBytes = aucText;
        platform.StartRecording();
        EXPECT_EQ(MOX_BASE64Decode(c.pucInput, c.lLen, &pucBytes), 0);
        EXPECT_EQ(pucBytes, nullptr);
        EXPECT_EQ(platform.MemoryTrace(), "");
    }
}

TEST_F(Base64Decode, RefusedTextReleasesTheBlock)
{
    char achText[] = "TW!u";
    QAL_UINT8 *pucBytes = Bytes(achText);
    platform.StartRecording();
    EXPECT_EQ(MOX_BASE64Decode(Bytes(achText), 4, &pucBytes), 0);
    EXPECT_EQ(pucBytes, nullptr);
    EXPECT_EQ(platform.MemoryTrace(), "D 7, free");
    EXPECT_TRUE(platform.Events().back().setsNull);
}

TEST_F(Base64Encode, FailedAllocationReturns0AndNull)
{
    QAL_UINT8 aucBytes[3] = {1, 2, 3};
    for (const QAL_INT32 lLen : {3, 1, 0, -1}) {
        QAL_UINT8 *pucText = aucBytes;
        platform.StartRecording();
        platform.Fail(Service::kAllocate, 1);
        EXPECT_EQ(MOX_BASE64Encode(aucBytes, lLen, &pucText), 0);
        EXPECT_EQ(pucText, nullptr);
        EXPECT_TRUE(platform.HasFailed());
        EXPECT_EQ(platform.Events().size(), 1U); // nothing is released
    }
}

TEST_F(Base64Decode, FailedAllocationReturns0AndNull)
{
    QAL_UINT8 aucText[] = {'T', 'W', 'F', 'u', 0};
    for (const QAL_INT32 lLen : {4, 1, -1}) {
        QAL_UINT8 *pucBytes = aucText;
        platform.StartRecording();
        platform.Fail(Service::kAllocate, 1);
        EXPECT_EQ(MOX_BASE64Decode(aucText, lLen, &pucBytes), 0);
        EXPECT_EQ(pucBytes, nullptr);
        EXPECT_TRUE(platform.HasFailed());
        EXPECT_EQ(platform.Events().size(), 1U);
    }
}

struct Length {
    QAL_INT32 lLen;
    QAL_UINT32 ulSize;
};

/// The call reads nothing: the input is an address that cannot be read.
void ExpectEmptyResult(PlatformDouble &platform, Converter pfunConvert, const Length &length)
{
    SCOPED_TRACE(length.lLen);
    const GuardedMemory memory(1);
    QAL_UINT8 *pucOutput = nullptr;
    EXPECT_EQ(TraceOf(platform, pfunConvert, memory.End(), length.lLen, pucOutput),
              "D " + std::to_string(length.ulSize));
    ASSERT_NE(pucOutput, nullptr);
    EXPECT_EQ(pucOutput[0], 0);
    MOX_BASE64Free(&pucOutput);
    EXPECT_EQ(pucOutput, nullptr);
}

// If EncodedSize() in base64.cpp returns 0 to 5, the call requests that size; otherwise, it
// requests 1 byte. The platform allocates one byte for a size of 0.
TEST_F(Base64Encode, NegativeLengthReturnsAnEmptyText)
{
    constexpr Length kLengths[] = {
        {-1, 4},
        {-2, 3},
        {-3, 1},
        {-4, 0},
        {-5, 1},
        {-6, 1},
        {-1000, 1},
        {-0x20000000, 1},
        {-0x20000001, 1}, // four times this is 2^31 - 4 in 32 bits
        {-715827882, 1},
        {-1000000000, 1},
        {-0x40000000 + 2, 1},
        {-0x40000000 + 1, 1}, // four times this is 4
        {-0x40000000, 5},     // four times this is 0
        {-0x40000001, 4},
        {-0x60000001, 1},
        {INT_MIN + 1, 1},
        {INT_MIN, 5},
    };
    for (const Length &length : kLengths) {
        ExpectEmptyResult(platform, MOX_BASE64Encode, length);
    }
}

// Three times -715,827,883 is 2^31 - 1 in 32 bits; three times -1,431,655,763 is 7, and three times
// -1,431,655,765 is 1.
TEST_F(Base64Decode, NegativeLengthReturnsNoBytes)
{
    constexpr Length kLengths[] = {
        {-1, 4},          {-2, 3},          {-3, 2},          {-4, 1},
        {-5, 1},          {-6, 0},          {-7, 1},          {-1000, 1},
        {-715827882, 1},  {-715827883, 1},  {-1000000000, 1}, {-1073741824, 1},
        {-1431655763, 5}, {-1431655765, 4}, {-1431655766, 4}, {INT_MIN, 1},
    };
    for (const Length &length : kLengths) {
        ExpectEmptyResult(platform, MOX_BASE64Decode, length);
    }
}

/// The call fails as if the allocation had failed, but requests nothing: a block of the wrapped
/// size could not hold the output, or a QAL_INT32 could not hold the output's length.
void ExpectTooLong(PlatformDouble &platform, Converter pfunConvert, QAL_INT32 lLen)
{
    SCOPED_TRACE(lLen);
    const GuardedMemory memory(1);
    QAL_UINT8 *pucOutput = nullptr;
    EXPECT_EQ(TraceOf(platform, pfunConvert, memory.End(), lLen, pucOutput), "");
    EXPECT_EQ(pucOutput, nullptr);
}

TEST_F(Base64Encode, TooLongInputFailsWithoutAllocating)
{
    for (const QAL_INT32 lLen : {0x3FFFFFFC, 0x3FFFFFFD, 0x3FFFFFFF, 0x40000000, 0x40000001,
                                 0x5FFFFFFF, 0x60000000, INT_MAX}) {
        ExpectTooLong(platform, MOX_BASE64Encode, lLen);
    }
}

TEST_F(Base64Decode, TooLongInputFailsWithoutAllocating)
{
    for (const QAL_INT32 lLen : {1431655759, 1431655760, 1431655765, 1431655766, INT_MAX}) {
        ExpectTooLong(platform, MOX_BASE64Decode, lLen);
    }
}

/// The call requests a block of @p length.ulSize bytes. The request is made to fail, as the block
/// would be huge.
void ExpectRequestedSize(PlatformDouble &platform, Converter pfunConvert, const Length &length)
{
    SCOPED_TRACE(length.lLen);
    const GuardedMemory memory(1);
    QAL_UINT8 ucJunk = 0;
    QAL_UINT8 *pucOutput = &ucJunk;
    platform.StartRecording();
    platform.Fail(Service::kAllocate, 1);
    EXPECT_EQ(pfunConvert(memory.End(), length.lLen, &pucOutput), 0);
    EXPECT_EQ(pucOutput, nullptr);
    EXPECT_EQ(platform.MemoryTrace(), "D " + std::to_string(length.ulSize));
}

// From 2^29 bytes to the longest accepted length, four times the length is negative in 32 bits.
TEST_F(Base64Encode, WrappedSizeIsRequested)
{
    constexpr Length kLengths[] = {
        {0x1FFFFFFF, 715827886},  {0x20000000, 3579139419}, {0x20000001, 3579139420},
        {0x3FFFFFFA, 4294967293}, {0x3FFFFFFB, 4294967295},
    };
    for (const Length &length : kLengths) {
        ExpectRequestedSize(platform, MOX_BASE64Encode, length);
    }
}

// From 715,827,883 characters to the longest accepted length, three times the length is negative in
// 32 bits.
TEST_F(Base64Decode, WrappedSizeIsRequested)
{
    constexpr Length kLengths[] = {
        {715827882, 536870915},   {715827883, 3758096389},  {715827884, 3758096389},
        {1431655757, 4294967294}, {1431655758, 4294967295},
    };
    for (const Length &length : kLengths) {
        ExpectRequestedSize(platform, MOX_BASE64Decode, length);
    }
}

TEST_F(Base64Free, ReleasesAndSetsNull)
{
    QAL_UINT8 aucBytes[1] = {'x'};
    QAL_UINT8 *pucText = nullptr;
    ASSERT_EQ(MOX_BASE64Encode(aucBytes, 1, &pucText), 4);
    platform.StartRecording();
    MOX_BASE64Free(&pucText);
    EXPECT_EQ(pucText, nullptr);
    EXPECT_EQ(platform.MemoryTrace(), "free");
    EXPECT_TRUE(platform.Events().back().setsNull);
    MOX_BASE64Free(&pucText); // releasing twice does no harm
    EXPECT_EQ(pucText, nullptr);
    EXPECT_EQ(platform.LiveBlocks(), 0U);
}

// An adapter may keep a separate account for each source line that allocates or releases.
TEST_F(Base64Free, EveryMemoryCallPassesItsOwnLine)
{
    char achGood[] = "TWFu";
    char achBad[] = "TW!u";
    QAL_UINT8 *pucOutput = nullptr;
    platform.StartRecording();
    MOX_BASE64Encode(nullptr, 0, &pucOutput);
    MOX_BASE64Decode(Bytes(achBad), 4, &pucOutput);
    MOX_BASE64Decode(Bytes(achGood), 4, &pucOutput);
    MOX_BASE64Free(&pucOutput);
    const std::vector<Event> events = platform.Events();
    ASSERT_EQ(events.size(), 6U);
    std::set<QAL_UINT32> lines;
    for (const Event &event : events) {
        EXPECT_EQ(event.file, "src/commlib/base64/base64.cpp");
        lines.insert(event.line);
    }
    EXPECT_EQ(lines.size(), 5U);
    EXPECT_EQ(events[2].line, events[4].line); // both allocate the decoder's buffer
}

} // namespace
} // namespace wyx::test
