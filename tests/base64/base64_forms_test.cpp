// Compares each CPU form of the inner loops with the bit-by-bit model: at all lengths up to
// kLongest and all alignments, with an unusual character at every place, on texts that end at an
// inaccessible page.
#include "base64_kernel.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "base64_models.h"
#include "guarded_memory.h"

namespace wyx::test {
namespace {

using Kernel = QAL_UINT32 (*)(const QAL_UINT8 *, QAL_UINT32, QAL_UINT8 *);

struct Form {
    const char *pszName;
    Kernel pfunEncode;
    Kernel pfunDecode;
};

std::vector<Form> Forms()
{
    std::vector<Form> forms;
#if defined(WYX_BASE64_HAS_TABLE)
    forms.push_back({"table", base64::table::EncodeGroups, base64::table::DecodeQuads});
#endif
#if defined(WYX_BASE64_HAS_NEON)
    forms.push_back({"neon", base64::neon::EncodeGroups, base64::neon::DecodeQuads});
#endif
#if defined(WYX_BASE64_HAS_SSE2)
    forms.push_back({"sse2", base64::sse2::EncodeGroups, base64::sse2::DecodeQuads});
#endif
#if defined(WYX_BASE64_HAS_AVX2)
    forms.push_back({"avx2", base64::avx2::EncodeGroups, base64::avx2::DecodeQuads});
#endif
#if defined(WYX_BASE64_HAS_AVX512)
    forms.push_back({"avx512", base64::avx512::EncodeGroups, base64::avx512::DecodeQuads});
#endif
    return forms;
}

constexpr QAL_UINT32 kLongest = 300; // several rounds of the widest form, and all remainders

/// A form decodes all the quads before a character without a sextet if they have at least this many
/// characters.
constexpr QAL_UINT32 kAllDecodedFrom = 16;

std::string RandomBytes(std::size_t size, std::mt19937 &random)
{
    std::string bytes(size, '\0');
    for (char &ch : bytes) {
        ch = static_cast<char>(random());
    }
    return bytes;
}

/// The characters that have a sextet.
const std::string kWithSextet = std::string(kAlphabet) + "-_";

/// The alphabets of the texts. Some forms leave URL-safe characters to another form, so only texts
/// without such characters test these forms from end to end.
const std::string kAlphabets[] = {std::string(kAlphabet), kWithSextet};

std::string RandomText(const std::string &alphabet, std::size_t size, std::mt19937 &random)
{
    std::string text(size, '\0');
    for (char &ch : text) {
        ch = alphabet[random() % alphabet.size()];
    }
    return text;
}

class KernelTest : public ::testing::TestWithParam<Form> {
  protected:
    /// Copies a text right before the inaccessible page.
    const QAL_UINT8 *AtEnd(const std::string &text)
    {
        QAL_UINT8 *const pucText = memory_.End() - text.size();
        std::memcpy(pucText, text.data(), text.size());
        return pucText;
    }

    std::string Encode(const std::string &bytes, QAL_UINT32 &ulDone)
    {
        const auto ulLen = static_cast<QAL_UINT32>(bytes.size());
        // Room for exactly the characters of the whole groups.
        QAL_UINT8 *const pucOut = room_.End() - bytes.size() / 3 * 4;
        ulDone = GetParam().pfunEncode(AtEnd(bytes), ulLen, pucOut);
        return {reinterpret_cast<const char *>(pucOut), ulDone / 3 * 4};
    }

    std::string Decode(const std::string &text, QAL_UINT32 &ulDone)
    {
        const auto ulLen = static_cast<QAL_UINT32>(text.size());
        QAL_UINT8 *const pucOut = room_.End() - (text.size() / 4 * 3 + 1);
        ulDone = GetParam().pfunDecode(AtEnd(text), ulLen, pucOut);
        return {reinterpret_cast<const char *>(pucOut), ulDone / 4 * 3};
    }

    std::mt19937 random{20261121};

  private:
    GuardedMemory memory_{kLongest};
    GuardedMemory room_{kLongest / 3 * 4};
};

TEST_P(KernelTest, EncodesWholeGroupsOfEveryLength)
{
    for (QAL_UINT32 ulLen = 0; ulLen <= kLongest; ++ulLen) {
        SCOPED_TRACE(ulLen);
        const std::string bytes = RandomBytes(ulLen, random);
        QAL_UINT32 ulDone = 0;
        const std::string text = Encode(bytes, ulDone);
        ASSERT_LE(ulDone, ulLen);
        ASSERT_EQ(ulDone % 3, 0U);
        ASSERT_EQ(text, ModelEncoded(bytes).substr(0, text.size()));
    }
}

TEST_P(KernelTest, EncodesEveryPairOfBytes)
{
    std::string bytes(96, '\0');
    for (unsigned i = 0; i < 65536; i += 7) {
        for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
            const unsigned value = i + static_cast<unsigned>(at);
            bytes[at] = static_cast<char>(value >> 8);
            bytes[at + 1] = static_cast<char>(value);
        }
        QAL_UINT32 ulDone = 0;
        const std::string text = Encode(bytes, ulDone);
        ASSERT_GT(ulDone, 0U);
        ASSERT_EQ(text, ModelEncoded(bytes).substr(0, text.size())) << i;
    }
}

TEST_P(KernelTest, DecodesWholeQuadsOfEveryLength)
{
    for (const std::string &alphabet : kAlphabets) {
        for (QAL_UINT32 ulLen = 0; ulLen <= kLongest; ++ulLen) {
            SCOPED_TRACE(ulLen);
            const std::string text = RandomText(alphabet, ulLen, random);
            QAL_UINT32 ulDone = 0;
            const std::string bytes = Decode(text, ulDone);
            ASSERT_LE(ulDone, ulLen);
            ASSERT_EQ(ulDone % 4, 0U);
            ASSERT_EQ(bytes, ModelDecoded(text + '\0')->substr(0, bytes.size()));
        }
    }
}

TEST_P(KernelTest, StopsBeforeTheQuadOfAnUnusualCharacter)
{
    for (const std::string &alphabet : kAlphabets) {
        const std::string plain = RandomText(alphabet, 160, random);
        const std::string expected = *ModelDecoded(plain + '\0');
        for (unsigned value = 0; value < 256; ++value) {
            const char ch = static_cast<char>(value);
            if (kWithSextet.find(ch) != std::string::npos) {
                continue;
            }
            for (std::size_t at = 0; at < plain.size(); ++at) {
                std::string text = plain;
                text[at] = ch;
                QAL_UINT32 ulDone = 0;
                const std::string bytes = Decode(text, ulDone);
                ASSERT_LE(ulDone, at / 4 * 4) << value << " at " << at;
                if (at >= kAllDecodedFrom) { // base64.cpp looks for a line break where a form stops
                    ASSERT_EQ(ulDone, at / 4 * 4) << value << " at " << at;
                }
                ASSERT_EQ(bytes, expected.substr(0, bytes.size()));
            }
        }
    }
}

/// A form classifies many characters at once. If it misclassifies one of them, that must not go
/// unnoticed among the others.
TEST_P(KernelTest, ClassifiesOneCharacterAmongManyOfAnotherKind)
{
    for (const char kind : std::string("AZabz9+/")) {
        const std::string plain(96, kind);
        const std::string expected = *ModelDecoded(plain + '\0');
        for (unsigned value = 0; value < 256; ++value) {
            const char ch = static_cast<char>(value);
            const bool hasSextet = kWithSextet.find(ch) != std::string::npos;
            for (std::size_t at = kAllDecodedFrom; at < plain.size(); at += 5) {
                std::string text = plain;
                text[at] = ch;
                QAL_UINT32 ulDone = 0;
                const std::string bytes = Decode(text, ulDone);
                ASSERT_EQ(ulDone, hasSextet ? text.size() : at / 4 * 4)
                    << value << " at " << at << " among " << kind;
                std::string whole = expected;
                if (hasSextet) {
                    whole.replace(at / 4 * 3, 3, *ModelDecoded(text.substr(at / 4 * 4, 4) + '\0'));
                }
                ASSERT_EQ(bytes, whole.substr(0, bytes.size()))
                    << value << " at " << at << " among " << kind;
            }
        }
    }
}

TEST_P(KernelTest, LeavesFewBytesAndNoWholeQuad)
{
    for (QAL_UINT32 ulLen = kAllDecodedFrom; ulLen <= kLongest; ++ulLen) {
        QAL_UINT32 ulDone = 0;
        Encode(RandomBytes(ulLen, random), ulDone);
        ASSERT_GT(ulDone + 8, ulLen);
        Decode(RandomText(kWithSextet, ulLen, random), ulDone);
        ASSERT_EQ(ulDone, ulLen / 4 * 4);
    }
}

INSTANTIATE_TEST_SUITE_P(Base64, KernelTest, ::testing::ValuesIn(Forms()),
                         [](const auto &form) { return std::string(form.param.pszName); });

} // namespace
} // namespace wyx::test
