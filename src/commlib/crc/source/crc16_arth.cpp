// The public CRC-16 calls. crc_kernel.h chooses the code that computes the CRC.
#include "wyx_commlib/crc.h"

#include "crc_kernel.h"

extern "C" {

// The result is written last, as it may lie within the data (Crc16.ResultMayLieInTheMessage).
QAL_UINT32 XELP_CRC_Accumulate_16(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen,
                                  QAL_UINT16 *puwResult)
{
    if (pucData == nullptr || puwResult == nullptr) {
        return XELP_ERR_CRC16_INVALID_PARA;
    }
    *puwResult = wyx::crc::kernel::Crc16(uwCrc, pucData, ulLen);
    return 0;
}

QAL_UINT32 XELP_CRC_16(const QAL_UINT8 *pucData, QAL_UINT32 ulLen, QAL_UINT16 *puwResult)
{
    return XELP_CRC_Accumulate_16(0, pucData, ulLen, puwResult);
}

} // extern "C"
