// The form for CPUs with carry-less multiplication of 64-bit words.
#include "crc_kernel.h"

#if defined(WYX_CRC_HAS_CLMUL)
#include "crc_clmul.h"

namespace wyx::crc {
namespace {

// Another form computes the CRC of messages below these minimums, and the CRC-16 of long messages.
constexpr QAL_UINT32 kMin16 = kVectorBytes;
#if defined(WYX_CRC_HAS_AARCH64)
// The CRC-32 instructions are faster for short messages: a multiplication takes several cycles, and
// a short message offers no other work for that time.
namespace other = aarch64;
constexpr QAL_UINT32 kMin32 = 384; // speed only
#else
namespace other = sparse;
constexpr QAL_UINT32 kMin32 = kVectorBytes;
#endif
static_assert(kMin16 >= kVectorBytes && kMin32 >= kVectorBytes, "the first vector is read whole");

} // namespace

QAL_UINT16 clmul::Crc16(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    if (ulLen < kMin16 || ulLen > kMaxCrc16ByClmul) { // speed only
        return other::Crc16(uwCrc, pucData, ulLen);
    }
    return Crc16OfLanes<Lanes1>(uwCrc, pucData, ulLen);
}

QAL_UINT32 clmul::Crc32(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    if (ulLen < kMin32) { // speed only
        return other::Crc32(ulCrc, pucData, ulLen);
    }
    return Crc32OfLanes<Lanes1>(ulCrc, pucData, ulLen);
}

} // namespace wyx::crc

#endif
