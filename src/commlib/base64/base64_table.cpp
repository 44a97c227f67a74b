// Base64 by tables. Encoding looks up 12 bits at a time. Decoding looks up each character of a quad
// in the table for its place, and joins the four results into a word of three bytes.
#include "base64_kernel.h"

#include <bit>

static_assert(std::endian::native == std::endian::little);

#if defined(WYX_BASE64_HAS_TABLE)

#include "base64_pairs.h"

namespace wyx::base64::table {
namespace {

/// Writes the characters that encode the lowest 12 bits.
void StorePair(QAL_UINT8 *pucOut, QAL_UINT64 ullBits)
{
    const QAL_UINT16 uwPair = PairOf(ullBits);
    __builtin_memcpy(pucOut, &uwPair, sizeof uwPair);
}

constexpr QAL_UINT32 kNoPart = 0x80000000; // outside the three bytes

/// What each character at place @p ulPlace of a quad adds to the word of three bytes, whose first
/// byte is the lowest.
consteval std::array<QAL_UINT32, 256> MakeParts(QAL_UINT32 ulPlace)
{
    const auto aSextets = MakeSextets();
    std::array<QAL_UINT32, 256> aTab{};
    for (QAL_UINT32 i = 0; i < aTab.size(); ++i) {
        const QAL_UINT32 ulSextet = aSextets[i];
        const QAL_UINT32 ulBits = ulSextet << (6 * (3 - ulPlace)); // of 24 bits, first byte highest
        const QAL_UINT32 ulWord = (ulBits >> 16) | (ulBits & 0xFF00U) | (ulBits << 16 & 0xFF0000U);
        aTab[i] = ulSextet != kNoSextet ? ulWord : kNoPart;
    }
    return aTab;
}

constexpr std::array<QAL_UINT32, 256> kParts[4] = {MakeParts(0), MakeParts(1), MakeParts(2),
                                                   MakeParts(3)};

QAL_UINT32 WordOf(const QAL_UINT8 *pucQuad)
{
    return kParts[0][pucQuad[0]] | kParts[1][pucQuad[1]] | kParts[2][pucQuad[2]] |
           kParts[3][pucQuad[3]];
}

/// The same as WordOf(), but with one load for all four characters.
QAL_UINT32 WordByShifts(const QAL_UINT8 *pucQuad)
{
    QAL_UINT32 ulChars;
    __builtin_memcpy(&ulChars, pucQuad, sizeof ulChars);
    return kParts[0][ulChars & 0xFF] | kParts[1][ulChars >> 8 & 0xFF] |
           kParts[2][ulChars >> 16 & 0xFF] | kParts[3][ulChars >> 24];
}

/// Writes the three bytes of a word, and a fourth after them.
void StoreThree(QAL_UINT8 *pucOut, QAL_UINT32 ulWord)
{
    __builtin_memcpy(pucOut, &ulWord, sizeof ulWord);
}

} // namespace

QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut)
{
    QAL_UINT32 ulDone = 0;
#pragma GCC unroll 4
    for (; ulLen - ulDone >= 8; ulDone += 6) { // reads eight bytes and encodes six
        QAL_UINT64 ullBits = 0;
        __builtin_memcpy(&ullBits, pucIn + ulDone, sizeof ullBits);
        ullBits = __builtin_bswap64(ullBits);
        StorePair(pucOut, ullBits >> 52);
        StorePair(pucOut + 2, ullBits >> 40);
        StorePair(pucOut + 4, ullBits >> 28);
        StorePair(pucOut + 6, ullBits >> 16);
        pucOut += 8;
    }
    return ulDone;
}

QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut)
{
    QAL_UINT32 ulDone = 0;
    for (; ulLen - ulDone >= 16; ulDone += 16) { // speed only
        const QAL_UINT8 *const pucQuads = pucIn + ulDone;
        // Half of the quads each way: the CPU loads and shifts at the same time.
        const QAL_UINT32 ulFirst = WordByShifts(pucQuads);
        const QAL_UINT32 ulSecond = WordOf(pucQuads + 4);
        const QAL_UINT32 ulThird = WordByShifts(pucQuads + 8);
        const QAL_UINT32 ulFourth = WordOf(pucQuads + 12);
        if (((ulFirst | ulSecond | ulThird | ulFourth) & kNoPart) != 0) {
            break;
        }
        StoreThree(pucOut, ulFirst);
        StoreThree(pucOut + 3, ulSecond);
        StoreThree(pucOut + 6, ulThird);
        StoreThree(pucOut + 9, ulFourth);
        pucOut += 12;
    }
    for (; ulLen - ulDone >= 4; ulDone += 4) {
        const QAL_UINT32 ulWord = WordOf(pucIn + ulDone);
        if ((ulWord & kNoPart) != 0) {
            break;
        }
        StoreThree(pucOut, ulWord);
        pucOut += 3;
    }
    return ulDone;
}

} // namespace wyx::base64::table

#endif
