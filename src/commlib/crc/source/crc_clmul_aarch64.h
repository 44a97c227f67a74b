// What folding by carry-less multiplication needs of AArch64: PMULL, of the cryptographic
// extension.
#ifndef WYX_COMMLIB_CRC_SOURCE_CRC_CLMUL_AARCH64_H
#define WYX_COMMLIB_CRC_SOURCE_CRC_CLMUL_AARCH64_H

#include <arm_neon.h>

#include "crc_fold_vectors.h"

namespace wyx::crc {

/// The product of the low words, and that of the high ones.
inline Vector MultiplyLow(Vector a, Vector b)
{
    return reinterpret_cast<Vector>(vmull_p64(a[0], b[0]));
}

inline Vector MultiplyHigh(Vector a, Vector b)
{
    return reinterpret_cast<Vector>(
        vmull_high_p64(reinterpret_cast<poly64x2_t>(a), reinterpret_cast<poly64x2_t>(b)));
}

/// Moves the bytes to higher or lower places; zeros take theirs.
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

/// Byte i of the result is the byte that @p places gives in its byte i, and 0 for places from 16.
inline Vector PickBytes(Vector vector, Vector places)
{
    return reinterpret_cast<Vector>(
        vqtbl1q_u8(reinterpret_cast<uint8x16_t>(vector), reinterpret_cast<uint8x16_t>(places)));
}

} // namespace wyx::crc

#endif
