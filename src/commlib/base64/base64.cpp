// Base64: six bits per character, most significant first.
#include "wyx_commlib/base64.h"

#include <array>
#include <limits>

#include "base64_kernel.h"
#if defined(WYX_BASE64_HAS_PAIRS)
#include "base64_pairs.h"
#endif
#include "blocks.h"

namespace {

using wyx::base64::kSextetCount;
namespace kernel = wyx::base64::kernel;

constexpr QAL_UINT8 kRefused = wyx::base64::kNoSextet;
constexpr QAL_UINT8 kSkipped = 0x80; // above the sextets

/// What the decoder makes of a byte: its sextet, kRefused or kSkipped.
consteval std::array<QAL_UINT8, 256> MakeMeanings()
{
    std::array<QAL_UINT8, 256> aTab = wyx::base64::MakeSextets();
    aTab['='] = aTab['\r'] = aTab['\n'] = aTab['\0'] = kSkipped;
    return aTab;
}

constexpr auto kMeanings = MakeMeanings();
static_assert(kMeanings['A'] == 0 && kMeanings['_'] == 63 && kMeanings['='] == kSkipped &&
              kMeanings['\0'] == kSkipped && kMeanings[' '] == kRefused);

#if defined(WYX_BASE64_HAS_PAIRS)
using wyx::base64::PairOf;
#else
// The kernel leaves at most 11 bytes, which are not worth a table.
constexpr auto PairOf = wyx::base64::TwoCharactersOf;
#endif

/// Writes the four characters of a word, the lowest byte first.
void StoreQuad(QAL_UINT8 *pucOut, QAL_UINT32 ulChars)
{
    __builtin_memcpy(pucOut, &ulChars, sizeof ulChars);
}

/// Encodes @p ulLen bytes and returns the length of the text.
QAL_UINT32 EncodeBytes(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut)
{
    QAL_UINT32 ulDone = kernel::EncodeGroups(pucIn, ulLen, pucOut);
    QAL_UINT8 *pucEnd = pucOut + ulDone / 3 * 4;
    for (; ulLen - ulDone >= 3; ulDone += 3, pucEnd += 4) {
        const QAL_UINT32 ulBits = QAL_UINT32{pucIn[ulDone]} << 16 |
                                  QAL_UINT32{pucIn[ulDone + 1]} << 8 | pucIn[ulDone + 2];
        StoreQuad(pucEnd, PairOf(ulBits >> 12) | QAL_UINT32{PairOf(ulBits)} << 16);
    }
    if (ulDone < ulLen) {
        const bool hasTwo = ulLen - ulDone == 2;
        const QAL_UINT32 ulBits =
            QAL_UINT32{pucIn[ulDone]} << 16 | (hasTwo ? QAL_UINT32{pucIn[ulDone + 1]} << 8 : 0U);
        const QAL_UINT32 ulThird = hasTwo ? PairOf(ulBits) % 256U : QAL_UINT32{'='};
        StoreQuad(pucEnd, PairOf(ulBits >> 12) | ulThird << 16 | QAL_UINT32{'='} << 24);
        pucEnd += 4;
    }
    return static_cast<QAL_UINT32>(pucEnd - pucOut);
}

/// The length of the line break at @p pucIn; 0 if there is none.
QAL_UINT32 LineBreakAt(const QAL_UINT8 *pucIn)
{
    if (pucIn[0] == '\n') {
        return 1;
    }
    return pucIn[0] == '\r' && pucIn[1] == '\n' ? 2 : 0;
}

/// Decodes the usual layout at the start of a text: lines with the same number of quads. Returns
/// the number of characters processed, line breaks included, and adds the number of bytes to
/// @p ulOut.
QAL_UINT32 DecodeLines(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut,
                       QAL_UINT32 &ulOut)
{
    const QAL_UINT32 ulLineLen = kernel::DecodeQuads(pucIn, ulLen, pucOut + ulOut);
    QAL_UINT32 ulDone = ulLineLen;
    ulOut += ulLineLen / 4 * 3;
    // Each line is assumed to be as long as the first, so the CPU can start on the next line before
    // it knows whether the current one holds anything unusual.
    while (ulLen - ulDone > 2 + ulLineLen) { // speed only
        const QAL_UINT32 ulBreak = LineBreakAt(pucIn + ulDone);
        if (ulBreak == 0 ||
            kernel::DecodeQuads(pucIn + ulDone + ulBreak, ulLineLen, pucOut + ulOut) != ulLineLen) {
            break;
        }
        ulDone += ulBreak + ulLineLen;
        ulOut += ulLineLen / 4 * 3;
    }
    return ulDone;
}

/// Decodes a padded quad: three characters with a sextet and `=`, or two and `==`. Returns the
/// number of bytes, or 0 for any other quad.
QAL_UINT32 DecodePadded(const QAL_UINT8 *pucQuad, QAL_UINT8 *pucOut)
{
    const bool hasThird = pucQuad[2] != '=';
    const QAL_UINT32 ulFirst = kMeanings[pucQuad[0]];
    const QAL_UINT32 ulSecond = kMeanings[pucQuad[1]];
    const QAL_UINT32 ulThird = hasThird ? kMeanings[pucQuad[2]] : 0U;
    if ((ulFirst | ulSecond | ulThird) >= kSextetCount || pucQuad[3] != '=') {
        return 0;
    }
    pucOut[0] = static_cast<QAL_UINT8>(ulFirst << 2 | ulSecond >> 4);
    pucOut[1] = static_cast<QAL_UINT8>(ulSecond << 4 | ulThird >> 2);
    return hasThird ? 2 : 1;
}

constexpr QAL_UINT32 kTextRefused = std::numeric_limits<QAL_UINT32>::max();

/// Decodes the text from @p ulDone on, writes from @p ulOut on, and returns the total number of
/// bytes, or kTextRefused if a character is not accepted. Not inlined, so that the usual text does
/// not pay for the many registers that this function needs.
[[gnu::noinline]] QAL_UINT32 DecodeRest(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT32 ulDone,
                                        QAL_UINT8 *pucOut, QAL_UINT32 ulOut)
{
    QAL_UINT32 ulQuad = 0; // the sextets found, the last one lowest
    QAL_UINT32 ulFound = 0;
    // Kept: the loop also reads the character after the text
    // (Base64Decode.ByteAfterTheTextIsReadToo).
    for (QAL_UINT32 i = ulDone; i <= ulLen; ++i) {
        QAL_UINT8 ucMeaning = kMeanings[pucIn[i]];
        if (ucMeaning == kSkipped) {
            continue;
        }
        if (ulFound == 0) { // a quad begins: decode what follows in the usual layout
            i += DecodeLines(pucIn + i, ulLen - i, pucOut, ulOut);
            ucMeaning = kMeanings[pucIn[i]];
        }
        if (ucMeaning == kRefused) {
            return kTextRefused;
        }
        if (ucMeaning < kSextetCount && i < ulLen) {
            ulQuad = ulQuad << 6 | ucMeaning;
            if (++ulFound == 4) {
                pucOut[ulOut] = static_cast<QAL_UINT8>(ulQuad >> 16);
                pucOut[ulOut + 1] = static_cast<QAL_UINT8>(ulQuad >> 8);
                pucOut[ulOut + 2] = static_cast<QAL_UINT8>(ulQuad);
                ulOut += 3;
                ulFound = 0;
            }
        }
    }
    // In an incomplete quad, n sextets hold n - 1 whole bytes.
    if (ulFound == 3) {
        pucOut[ulOut++] = static_cast<QAL_UINT8>(ulQuad >> 10);
        pucOut[ulOut++] = static_cast<QAL_UINT8>(ulQuad >> 2);
    } else if (ulFound == 2) {
        pucOut[ulOut++] = static_cast<QAL_UINT8>(ulQuad >> 4);
    }
    return ulOut;
}

/// Decodes @p ulLen characters and returns the number of bytes, or kTextRefused if a character is
/// not accepted. The character after the text is tested like the others.
QAL_UINT32 DecodeText(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut)
{
    const QAL_UINT32 ulDone = kernel::DecodeQuads(pucIn, ulLen, pucOut);
    const QAL_UINT32 ulOut = ulDone / 4 * 3;
    if (ulLen - ulDone == 4) { // speed only: the usual end
        const QAL_UINT32 ulLast = DecodePadded(pucIn + ulDone, pucOut + ulOut);
        if (ulLast != 0 && kMeanings[pucIn[ulLen]] != kRefused) {
            return ulOut + ulLast;
        }
    }
    return DecodeRest(pucIn, ulLen, ulDone, pucOut, ulOut);
}

/// A product that wraps in 32 bits.
constexpr QAL_INT32 Product(QAL_UINT32 ulFactor, QAL_INT32 lLen)
{
    return static_cast<QAL_INT32>(ulFactor * static_cast<QAL_UINT32>(lLen));
}

// The sizes of the blocks for the outputs. Both wrap for some lengths.
constexpr QAL_INT32 EncodedSize(QAL_INT32 lLen)
{
    return Product(4, lLen) / 3 + 5;
}

constexpr QAL_INT32 DecodedSize(QAL_INT32 lLen)
{
    return Product(3, lLen) / 4 + 4;
}

// The longest inputs that the calls accept. Kept: a size that has wrapped to a negative number is
// requested as the unsigned number with the same bits, which is more than the output needs
// (Base64Encode.WrappedSizeIsRequested, Base64Decode.WrappedSizeIsRequested). For any longer input,
// the wrapped size is too small for the output, or the length of the output does not fit in a
// QAL_INT32.
constexpr QAL_INT32 kMostEncoded = 1073741819;
constexpr QAL_INT32 kMostDecoded = 1431655758;
static_assert(EncodedSize(kMostEncoded) == -1 && EncodedSize(kMostEncoded + 1) == 0);
static_assert(DecodedSize(kMostDecoded) == -1 && DecodedSize(kMostDecoded + 1) == 0);

/// Allocates the block for an output; @p lSize is EncodedSize() or DecodedSize() of the length.
QAL_UINT8 *AllocateOutput(QAL_INT32 lInputlen, QAL_INT32 lMost, QAL_INT32 lSize, QAL_UINT32 ulLine)
{
    if (lInputlen > lMost) {
        return nullptr;
    }
    // The output for a negative length is empty, just a NUL, but lSize may be negative or far too
    // large. Unless lSize is 0 to 5, one byte is requested instead. A size of 0 is enough, because
    // the adapter treats 0 as 1.
    const bool isTooLarge = lInputlen < 0 && (lSize < 0 || lSize > EncodedSize(0));
    const QAL_UINT32 ulSize = isTooLarge ? 1 : static_cast<QAL_UINT32>(lSize);
    return static_cast<QAL_UINT8 *>(XELP_MemMallocD(ulSize, ulLine, __FILE__));
}

/// Releases an output. Not inlined: wyx::Release() takes the address of a local variable, which
/// would make the compiler add a stack guard to MOX_BASE64Decode().
[[gnu::noinline]] void ReleaseOutput(QAL_UINT8 *&pucOutput, QAL_UINT32 ulLine = __builtin_LINE())
{
    wyx::Release(pucOutput, ulLine);
}

} // namespace

extern "C" {

// Kept: the buffer is allocated before the arguments are checked, and a negative length succeeds
// (Base64Encode.ArgumentsAreCheckedAfterAllocating, Base64Encode.NegativeLengthReturnsAnEmptyText).
QAL_INT32 MOX_BASE64Encode(QAL_UINT8 *pucInput, const QAL_INT32 lInputlen, QAL_UINT8 **ppucOutput)
{
    QAL_UINT8 *const pucOutput =
        AllocateOutput(lInputlen, kMostEncoded, EncodedSize(lInputlen), __LINE__);
    *ppucOutput = pucOutput;
    if (pucOutput == nullptr) {
        return 0;
    }
    if (pucInput == nullptr || lInputlen == 0) {
        XELP_MemFreeD(pucOutput, __LINE__, __FILE__);
        *ppucOutput = nullptr;
        return 0;
    }
    const QAL_UINT32 ulLen = lInputlen < 0 ? 0 : static_cast<QAL_UINT32>(lInputlen);
    const QAL_UINT32 ulOut = EncodeBytes(pucInput, ulLen, pucOutput);
    pucOutput[ulOut] = '\0';
    return static_cast<QAL_INT32>(ulOut);
}

QAL_INT32 MOX_BASE64Decode(QAL_UINT8 *pucInput, const QAL_INT32 lInputlen, QAL_UINT8 **ppucOutput)
{
    *ppucOutput = nullptr;
    if (pucInput == nullptr || lInputlen == 0) {
        return 0;
    }
    QAL_UINT8 *const pucOutput =
        AllocateOutput(lInputlen, kMostDecoded, DecodedSize(lInputlen), __LINE__);
    *ppucOutput = pucOutput;
    if (pucOutput == nullptr) {
        return 0;
    }
    const QAL_UINT32 ulOut =
        lInputlen < 0 ? 0 : DecodeText(pucInput, static_cast<QAL_UINT32>(lInputlen), pucOutput);
    if (ulOut == kTextRefused) {
        ReleaseOutput(*ppucOutput);
        return 0;
    }
    pucOutput[ulOut] = '\0';
    return static_cast<QAL_INT32>(ulOut);
}

void MOX_BASE64Free(QAL_UINT8 **ppucBuff)
{
    ReleaseOutput(*ppucBuff);
}

} // extern "C"
