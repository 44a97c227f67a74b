// CRC-16 by carry-less multiplication, for CPUs that have it for words.
#include "crc16_arth_internal.h"

#if defined(WYX_CRC_HAS_CLMUL)
#include "crc_clmul.h"

namespace wyx::crc {

QAL_UINT16 Crc16Clmul(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    if (ulLen < kVectorBytes) {
        return Crc16Sparse(uwCrc, pucData, ulLen);
    }
    const QAL_UINT32 ulValue =
        FoldBlocks<Block128, ClmulHighestBitFirst<kCrc16>>(Word{uwCrc} << 48, pucData, ulLen);
    return static_cast<QAL_UINT16>(ulValue);
}

} // namespace wyx::crc

#endif
