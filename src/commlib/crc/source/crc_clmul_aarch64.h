// The AArch64 instructions that crc_clmul.h uses: PMULL of the cryptographic extension.
#ifndef WYX_COMMLIB_CRC_SOURCE_CRC_CLMUL_AARCH64_H
#define WYX_COMMLIB_CRC_SOURCE_CRC_CLMUL_AARCH64_H

#include <arm_neon.h>

#include "crc_fold_vectors.h"

namespace wyx::crc {

/// From 384 bytes on, the sparse form takes fewer cycles on most cores: it spends three XORs and a
/// byte shift on each vector, while products first need the vector's bytes reversed.
constexpr QAL_UINT32 kMaxCrc16ByClmul = 383; // speed only

/// The product of the low words, and the product of the high ones.
inline Vector MultiplyLowWords(Vector a, Vector b)
{
    return reinterpret_cast<Vector>(vmull_p64(a[0], b[0]));
}

#if defined(__clang__)
// For vmull_high_p64(), Clang would move both words through general registers.
inline Vector MultiplyHighWords(Vector a, Vector b)
{
    Vector product;
    __asm__("pmull2 %0.1q, %1.2d, %2.2d" : "=w"(product) : "w"(a), "w"(b));
    return product;
}
#else
inline Vector MultiplyHighWords(Vector a, Vector b)
{
    return reinterpret_cast<Vector>(
        vmull_high_p64(reinterpret_cast<poly64x2_t>(a), reinterpret_cast<poly64x2_t>(b)));
}
#endif

/// Moves the bytes up or down by kBytes places and fills the places left empty with zeros.
template <int kBytes>
inline Vector ShiftUp(Vector vector)
{
    return reinterpret_cast<Vector>(
        vextq_u8(vdupq_n_u8(0), reinterpret_cast<uint8x16_t>(vector), 16 - kBytes));
}

template <int kBytes>
inline Vector ShiftDown(Vector vector)
{
    return reinterpret_cast<Vector>(
        vextq_u8(reinterpret_cast<uint8x16_t>(vector), vdupq_n_u8(0), kBytes));
}

/// Byte i of the result is byte p of @p vector, where p is byte i of @p places, or 0 if p is 16 or
/// more.
inline Vector PickBytes(Vector vector, Vector places)
{
    return reinterpret_cast<Vector>(
        vqtbl1q_u8(reinterpret_cast<uint8x16_t>(vector), reinterpret_cast<uint8x16_t>(places)));
}

} // namespace wyx::crc

#endif
