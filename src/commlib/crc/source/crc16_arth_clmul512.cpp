// CRC-16 by carry-less multiplication, four blocks at a time, for CPUs with AVX-512.
#include "crc16_arth_internal.h"

#if defined(WYX_CRC_HAS_CLMUL512)
#include "crc_clmul_avx512.h"

namespace wyx::crc {
namespace {

constexpr QAL_UINT32 kMinBytes = 33; // below, spreading them over wide blocks costs more

} // namespace

QAL_UINT16 Crc16Clmul512(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    if (ulLen < kMinBytes) {
        return Crc16Clmul(uwCrc, pucData, ulLen);
    }
    const QAL_UINT32 ulValue =
        FoldBlocks<Block512, ClmulHighestBitFirst<kCrc16>>(Word{uwCrc} << 48, pucData, ulLen);
    return static_cast<QAL_UINT16>(ulValue);
}

} // namespace wyx::crc

#endif
