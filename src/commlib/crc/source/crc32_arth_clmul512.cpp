// CRC-32 by carry-less multiplication, four blocks at a time, for CPUs with AVX-512.
#include "crc32_arth_internal.h"

#if defined(WYX_CRC_HAS_CLMUL512)
#include "crc_clmul_avx512.h"

namespace wyx::crc {
namespace {

constexpr QAL_UINT32 kMinBytes = 33; // below, spreading them over wide blocks costs more

} // namespace

QAL_UINT32 Crc32Clmul512(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    if (ulLen < kMinBytes) {
        return Crc32Clmul(ulCrc, pucData, ulLen);
    }
    return FoldBlocks<Block512, ClmulLowestBitFirst<kCrc32>>(ulCrc, pucData, ulLen);
}

} // namespace wyx::crc

#endif
