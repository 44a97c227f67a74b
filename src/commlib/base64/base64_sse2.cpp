// Base64 with SSE2: characters are looked up in pairs, as in the table form, but collected in
// vectors. Most pairs are inserted straight from memory, and one store replaces eight.
#include "base64_kernel.h"

#if defined(WYX_BASE64_HAS_SSE2)

#include <emmintrin.h>

#include "base64_pairs.h"

namespace wyx::base64::sse2 {
namespace {

/// The characters that encode the lowest 12 bits, as a signed 16-bit element of a vector.
short PairElement(QAL_UINT64 ullBits)
{
    return static_cast<short>(PairOf(ullBits));
}

/// The eight characters of six bytes, in the lower half of a vector. Reads two more bytes.
__m128i CharactersOf(const QAL_UINT8 *pucIn)
{
    QAL_UINT64 ullBits = 0;
    __builtin_memcpy(&ullBits, pucIn, sizeof ullBits);
    ullBits = __builtin_bswap64(ullBits);
    __m128i chars = _mm_cvtsi32_si128(PairOf(ullBits >> 52));
    chars = _mm_insert_epi16(chars, PairElement(ullBits >> 40), 1);
    chars = _mm_insert_epi16(chars, PairElement(ullBits >> 28), 2);
    return _mm_insert_epi16(chars, PairElement(ullBits >> 16), 3);
}

} // namespace

QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut)
{
    QAL_UINT32 ulDone = 0;
    for (; ulLen - ulDone >= 14; ulDone += 12) {
        const __m128i chars =
            _mm_unpacklo_epi64(CharactersOf(pucIn + ulDone), CharactersOf(pucIn + ulDone + 6));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(pucOut), chars);
        pucOut += 16;
    }
    if (ulLen - ulDone >= 8) {
        _mm_storel_epi64(reinterpret_cast<__m128i *>(pucOut), CharactersOf(pucIn + ulDone));
        ulDone += 6;
    }
    return ulDone;
}

} // namespace wyx::base64::sse2

#endif
