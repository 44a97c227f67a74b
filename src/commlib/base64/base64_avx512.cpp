// Base64 with the byte permutations of AVX-512: one vector holds the whole alphabet, two hold the
// sextets of the characters 0 to 127, and one instruction looks up 64 bytes.
#include "base64_kernel.h"

#if defined(WYX_BASE64_HAS_AVX512)

#include <algorithm>
#include <bit>

#include <immintrin.h>

namespace wyx::base64::avx512 {
namespace {

constexpr QAL_UINT32 kChars = 64; // characters in a vector
constexpr QAL_UINT32 kBytes = 48; // bytes that they encode

using Bytes = std::array<QAL_UINT8, kChars>;

/// For each byte of the result, the index of the input byte that goes there. Spreads every group of
/// three bytes over a word in which the bits of each sextet are contiguous.
consteval Bytes MakeSpread()
{
    Bytes aTab{};
    constexpr QAL_UINT8 kOfGroup[] = {1, 0, 2, 1};
    for (QAL_UINT8 i = 0; i < kChars; ++i) {
        aTab[i] = static_cast<QAL_UINT8>(i / 4 * 3 + kOfGroup[i % 4]);
    }
    return aTab;
}

/// The same for packing words of three bytes, the last byte lowest.
consteval Bytes MakePack()
{
    Bytes aTab{};
    for (QAL_UINT8 i = 0; i < kBytes; ++i) {
        aTab[i] = static_cast<QAL_UINT8>(i / 3 * 4 + 2 - i % 3);
    }
    return aTab;
}

static_assert((kNoSextet & 0x80) != 0, "bit 7 marks characters without a sextet");

/// The sextets of the characters from @p ucFirst on.
consteval Bytes MakeSextetsFrom(QAL_UINT8 ucFirst)
{
    const auto aSextets = MakeSextets();
    Bytes aTab{};
    for (QAL_UINT8 i = 0; i < kChars; ++i) {
        aTab[i] = aSextets[ucFirst + i];
    }
    return aTab;
}

constexpr Bytes kSpread = MakeSpread();
constexpr Bytes kPack = MakePack();
constexpr Bytes kLowSextets = MakeSextetsFrom(0);
constexpr Bytes kHighSextets = MakeSextetsFrom(kChars);

// GCC 12 warns about its own header for some unmasked intrinsics, so masked ones are used instead.
constexpr QAL_UINT64 kAll = ~QAL_UINT64{0};

/// A bit for each of the first @p ulCount bytes of a vector; @p ulCount is 1 to 64.
QAL_UINT64 First(QAL_UINT32 ulCount)
{
    return kAll >> (kChars - ulCount);
}

__m512i Permuted(const void *pPlaces, __m512i bytes)
{
    return _mm512_maskz_permutexvar_epi8(kAll, _mm512_loadu_si512(pPlaces), bytes);
}

__m512i CharactersOf(__m512i bytes)
{
    const __m512i words = Permuted(kSpread.data(), bytes);
    // A word is b1 b0 b2 b1, lowest first: the sextets begin at its bits 10, 4, 22 and 16. The
    // look-up ignores the bits above them.
    const __m512i sextets =
        _mm512_maskz_multishift_epi64_epi8(kAll, _mm512_set1_epi64(0x3036242A1016040A), words);
    return _mm512_maskz_permutexvar_epi8(kAll, sextets, _mm512_loadu_si512(cb64));
}

/// The sextets of characters; bit 7 is set for characters without one.
__m512i SextetsOf(__m512i chars)
{
    const __m512i sextets = _mm512_permutex2var_epi8(_mm512_loadu_si512(kLowSextets.data()), chars,
                                                     _mm512_loadu_si512(kHighSextets.data()));
    return _mm512_or_si512(
        sextets, _mm512_and_si512(chars, _mm512_set1_epi32(static_cast<QAL_INT32>(0x80808080))));
}

/// The bytes that sextets decode to, in the lowest 48 bytes of the vector.
__m512i BytesOf(__m512i sextets)
{
    // Join pairs of sextets into 12 bits, and pairs of those into 24.
    const __m512i pairs = _mm512_maddubs_epi16(sextets, _mm512_set1_epi32(0x01400140));
    const __m512i words = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));
    return Permuted(kPack.data(), words);
}

} // namespace

QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut)
{
    QAL_UINT32 ulDone = 0;
    for (; ulLen - ulDone >= kChars; ulDone += kBytes) { // speed only: 64 bytes are read
        _mm512_storeu_si512(pucOut, CharactersOf(_mm512_loadu_si512(pucIn + ulDone)));
        pucOut += kChars;
    }
    // At most two rounds are left, of up to 16 groups each.
    while (ulLen - ulDone >= 3) { // speed only
        const QAL_UINT32 ulGroups = std::min((ulLen - ulDone) / 3, kBytes / 3);
        const __m512i bytes = _mm512_maskz_loadu_epi8(First(3 * ulGroups), pucIn + ulDone);
        _mm512_mask_storeu_epi8(pucOut, First(4 * ulGroups), CharactersOf(bytes));
        pucOut += 4 * ulGroups;
        ulDone += 3 * ulGroups;
    }
    return ulDone;
}

QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut)
{
    QAL_UINT32 ulDone = 0;
    for (; ulLen - ulDone >= kChars; ulDone += kChars) { // speed only
        const __m512i sextets = SextetsOf(_mm512_loadu_si512(pucIn + ulDone));
        if (_mm512_movepi8_mask(sextets) != 0) {
            break;
        }
        _mm512_mask_storeu_epi8(pucOut, First(kBytes), BytesOf(sextets));
        pucOut += kBytes;
    }
    // The quads that are left, or those before a character without a sextet.
    QAL_UINT32 ulQuads = std::min((ulLen - ulDone) / 4, kChars / 4);
    if (ulQuads == 0) {
        return ulDone;
    }
    const QAL_UINT64 ullMask = First(4 * ulQuads);
    const __m512i sextets = SextetsOf(_mm512_maskz_loadu_epi8(ullMask, pucIn + ulDone));
    const QAL_UINT64 ullUnusual = _mm512_movepi8_mask(sextets) & ullMask;
    if (ullUnusual != 0) {
        ulQuads = static_cast<QAL_UINT32>(std::countr_zero(ullUnusual)) / 4;
        if (ulQuads == 0) {
            return ulDone;
        }
    }
    _mm512_mask_storeu_epi8(pucOut, First(3 * ulQuads), BytesOf(sextets));
    return ulDone + 4 * ulQuads;
}

} // namespace wyx::base64::avx512

#endif
