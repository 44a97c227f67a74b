// The x86-64 instructions that crc_clmul.h uses: PCLMULQDQ, and the byte shuffles of SSSE3.
#ifndef WYX_COMMLIB_CRC_SOURCE_CRC_CLMUL_X86_H
#define WYX_COMMLIB_CRC_SOURCE_CRC_CLMUL_X86_H

#include <immintrin.h>

#include "crc_fold_vectors.h"

namespace wyx::crc {

/// From about 1 KiB on, the sparse form takes less time, measured on AMD Zen 5: it spends three
/// XORs and a byte shift on each vector instead of two products.
constexpr QAL_UINT32 kMaxCrc16ByClmul = 1023; // speed only

/// The product of the low words, and the product of the high ones.
inline Vector MultiplyLowWords(Vector a, Vector b)
{
    return reinterpret_cast<Vector>(
        _mm_clmulepi64_si128(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b), 0x00));
}

inline Vector MultiplyHighWords(Vector a, Vector b)
{
    return reinterpret_cast<Vector>(
        _mm_clmulepi64_si128(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b), 0x11));
}

/// Moves the bytes up or down by kBytes places and fills the places left empty with zeros.
template <int kBytes>
inline Vector ShiftUp(Vector vector)
{
    return reinterpret_cast<Vector>(_mm_slli_si128(reinterpret_cast<__m128i>(vector), kBytes));
}

template <int kBytes>
inline Vector ShiftDown(Vector vector)
{
    return reinterpret_cast<Vector>(_mm_srli_si128(reinterpret_cast<__m128i>(vector), kBytes));
}

/// Byte i of the result is byte p of @p vector, where p is byte i of @p places, or 0 if p is 128 or
/// more. No caller passes places from 16 to 127.
inline Vector PickBytes(Vector vector, Vector places)
{
    return reinterpret_cast<Vector>(
        _mm_shuffle_epi8(reinterpret_cast<__m128i>(vector), reinterpret_cast<__m128i>(places)));
}

} // namespace wyx::crc

#endif
