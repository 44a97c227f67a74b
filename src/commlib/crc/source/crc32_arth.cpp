// The public CRC-32 calls. crc_kernel.h chooses the code that computes the CRC.
#include "wyx_commlib/crc.h"

#include "crc_kernel.h"

extern "C" {

// Kept: the value is not inverted before or after, unlike the common CRC-32; stored checksums
// depend on this (Crc32.CheckValues). The result is written last, as it may lie within the data
// (Crc32.ResultMayLieInTheMessage).
QAL_UINT32 XELP_CRC_Accumulate_32(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen,
                                  QAL_UINT32 *pulResult)
{
    if (pucData == nullptr || pulResult == nullptr) {
        return XELP_ERR_CRC_INVALID_PARA;
    }
    *pulResult = wyx::crc::kernel::Crc32(ulCrc, pucData, ulLen);
    return 0;
}

QAL_UINT32 XELP_CRC_32(const QAL_UINT8 *pucData, QAL_UINT32 ulLen, QAL_UINT32 *pulResult)
{
    return XELP_CRC_Accumulate_32(0, pucData, ulLen, pulResult);
}

} // extern "C"
