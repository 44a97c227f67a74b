// CRC-32 by carry-less multiplication, for CPUs that have it for words.
#include "crc32_arth_internal.h"

#if defined(WYX_CRC_HAS_CLMUL)
#include "crc_clmul.h"

namespace wyx::crc {

static_assert(kMinByClmul >= kVectorBytes, "the first block may be read whole");

QAL_UINT32 Crc32Clmul(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    if (ulLen < kMinByClmul) {
        return Crc32Short(ulCrc, pucData, ulLen);
    }
    return FoldBlocks<Block128, ClmulLowestBitFirst<kCrc32>>(ulCrc, pucData, ulLen);
}

} // namespace wyx::crc

#endif
