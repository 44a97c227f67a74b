// Base64 with AVX2: multiplications move each six-bit field to a byte of its own, and back. Adding
// an offset turns sextets into characters, or characters into sextets. There is one offset for A to
// Z, one for a to z, one for 0 to 9, one for + and one for /.
#include "base64_kernel.h"

#if defined(WYX_BASE64_HAS_AVX2)

#include <immintrin.h>

namespace wyx::base64::avx2 {
namespace {

/// The same sixteen bytes in both halves of a vector.
__m256i Twice(const signed char (&half)[16])
{
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(half)));
}

/// The characters of 32 sextets.
__m256i CharactersOf(__m256i sextets)
{
    // The range is 0 for upper case (sextets 0 to 25), 1 for lower case (26 to 51), and 2 to 13 for
    // the ten digits, '+' and '/'.
    const __m256i beyondLower = _mm256_subs_epu8(sextets, _mm256_set1_epi8(50));
    const __m256i isUpper = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), sextets);
    const __m256i range =
        _mm256_andnot_si256(isUpper, _mm256_max_epu8(beyondLower, _mm256_set1_epi8(1)));
    constexpr signed char kDigit = '0' - 52;
    const __m256i offsets = Twice({'A', 'a' - 26, kDigit, kDigit, kDigit, kDigit, kDigit, kDigit,
                                   kDigit, kDigit, kDigit, kDigit, '+' - 62, '/' - 63, 0, 0});
    return _mm256_add_epi8(sextets, _mm256_shuffle_epi8(offsets, range));
}

} // namespace

QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut)
{
    // Each group of bytes b0 b1 b2 becomes a word b1 b0 b2 b1: every six-bit field then lies within
    // a 16-bit half of the word.
    const __m256i spread = Twice({1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10});
    QAL_UINT32 ulDone = 0;
    for (; ulLen - ulDone >= 28; // speed only
         ulDone += 24) {         // reads 28 bytes
        const QAL_UINT8 *const pucGroups = pucIn + ulDone;
        const __m256i in = _mm256_inserti128_si256(
            _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(pucGroups))),
            _mm_loadu_si128(reinterpret_cast<const __m128i *>(pucGroups + 12)), 1);
        const __m256i words = _mm256_shuffle_epi8(in, spread);
        // The first and third fields move down by 10 and 6 bits, the second and fourth up by 4
        // and 8. Each move is a multiplication by a power of two; one half of the product is kept.
        const __m256i down = _mm256_mulhi_epu16(
            _mm256_and_si256(words, _mm256_set1_epi32(0x0FC0FC00)), _mm256_set1_epi32(0x04000040));
        const __m256i up = _mm256_mullo_epi16(
            _mm256_and_si256(words, _mm256_set1_epi32(0x003F03F0)), _mm256_set1_epi32(0x01000010));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(pucOut),
                            CharactersOf(_mm256_or_si256(down, up)));
        pucOut += 32;
    }
    return ulDone + sse2::EncodeGroups(pucIn + ulDone, ulLen - ulDone, pucOut);
}

QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut)
{
    // Two tables map a nibble to a set of ranges, one bit for each range. highSets: the range that
    // a character with this high nibble may be in. lowSets: the ranges that this low nibble
    // excludes. A character belongs to the alphabet if the two sets have no bit in common. The bits
    // are 1 for '0' to '9', 2 for '+' and '/', 4 for 'A' to 'O' and 'a' to 'o', 8 for 'P' to 'Z'
    // and 'p' to 'z', 16 for high nibbles that no character of the alphabet has.
    const __m256i highSets = Twice({16, 16, 2, 1, 4, 8, 4, 8, 16, 16, 16, 16, 16, 16, 16, 16});
    const __m256i lowSets =
        Twice({// Low nibble 0 excludes '@' and '`'; low nibbles A to F exclude ':' and what follows
               // it; B to F also exclude '[', '{' and what follows them. Of the punctuation, only
               // '+' and '/' remain.
               16 | 4 | 2, 16 | 2, 16 | 2, 16 | 2, 16 | 2, 16 | 2, 16 | 2, 16 | 2, 16 | 2, 16 | 2,
               16 | 2 | 1, 16 | 1 | 8, 16 | 1 | 8 | 2, 16 | 1 | 8 | 2, 16 | 1 | 8 | 2, 16 | 1 | 8});
    const __m256i offsets = Twice(
        {0, 63 - '/', 62 - '+', 52 - '0', -'A', -'A', 26 - 'a', 26 - 'a', 0, 0, 0, 0, 0, 0, 0, 0});
    const __m256i lowHalf = _mm256_set1_epi8(0x0F);
    const __m256i pack = Twice({2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1});
    QAL_UINT32 ulDone = 0;
    // A step decodes 32 characters to 24 bytes, but writes 32 bytes. The next 16 characters decode
    // to 12 bytes, so there is room for the 8 extra bytes.
    for (; ulLen - ulDone >= 48; ulDone += 32) { // speed only
        const __m256i in = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(pucIn + ulDone));
        const __m256i high = _mm256_and_si256(_mm256_srli_epi32(in, 4), lowHalf);
        const __m256i low = _mm256_and_si256(in, lowHalf);
        if (_mm256_testz_si256(_mm256_shuffle_epi8(highSets, high),
                               _mm256_shuffle_epi8(lowSets, low)) == 0) {
            break; // even for a URL-safe character, which the table form decodes
        }
        const __m256i isSlash = _mm256_cmpeq_epi8(in, _mm256_set1_epi8('/'));
        const __m256i sextets =
            _mm256_add_epi8(in, _mm256_shuffle_epi8(offsets, _mm256_add_epi8(high, isSlash)));
        // Join pairs of sextets into 12 bits, pairs of those into 24, and put the bytes in order.
        const __m256i pairs = _mm256_maddubs_epi16(sextets, _mm256_set1_epi32(0x01400140));
        const __m256i words = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
        const __m256i halves = _mm256_shuffle_epi8(words, pack);
        const __m256i bytes =
            _mm256_permutevar8x32_epi32(halves, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(pucOut), bytes);
        pucOut += 24;
    }
    return ulDone + table::DecodeQuads(pucIn + ulDone, ulLen - ulDone, pucOut);
}

} // namespace wyx::base64::avx2

#endif
