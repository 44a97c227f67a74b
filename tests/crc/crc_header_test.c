/* Checks the header in plain C99, included twice: sizes, enumerators, and calls with C linkage. */
#include "wyx_commlib/crc.h"

#include "header_check.h"

/* included again */
#include "wyx_commlib/crc.h"

WYX_CHECK(sizeof(QAL_UINT8) == 1 && (QAL_UINT8)-1 > 0);
WYX_CHECK(sizeof(QAL_UINT16) == 2 && (QAL_UINT16)-1 > 0);
WYX_CHECK(sizeof(QAL_UINT32) == 4 && (QAL_UINT32)-1 > 0);
WYX_CHECK(sizeof(QAL_UINT) == 4 && (QAL_UINT)-1 > 0);
WYX_CHECK(sizeof(QAL_UINT64) == 8 && (QAL_UINT64)-1 > 0);
WYX_CHECK(sizeof(QAL_ULONG) == 8 && (QAL_ULONG)-1 > 0);
WYX_CHECK(sizeof(QAL_INT8) == 1);
WYX_CHECK(sizeof(QAL_CHAR) == 1);
WYX_CHECK(sizeof(QAL_INT32) == 4 && (QAL_INT32)-1 < 0);
WYX_CHECK(sizeof(QAL_INT) == 4 && (QAL_INT)-1 < 0);
WYX_CHECK(sizeof(QAL_LONG) == 8 && (QAL_LONG)-1 < 0);

WYX_CHECK(sizeof(xelpCRC16_ErrCode) == 4);
WYX_CHECK(XELP_ERR_CRC16_INVALID_PARA == 10);
WYX_CHECK(XELP_ERR_CRC16_BUTT == 100);
WYX_CHECK(sizeof(xelpCRC_ErrCode) == 4);
WYX_CHECK(XELP_ERR_CRC_INVALID_PARA == 10);
WYX_CHECK(XELP_ERR_CRC_BUTT == 100);

int main(void)
{
    const QAL_UINT8 aucData[1] = {0x61};
    QAL_UINT16 uwWhole = 0, uwPiece = 0;
    QAL_UINT32 ulWhole = 0, ulPiece = 0;

    return XELP_CRC_16(aucData, 1, &uwWhole) != 0 ||
           XELP_CRC_Accumulate_16(0, aucData, 1, &uwPiece) != 0 ||
           XELP_CRC_32(aucData, 1, &ulWhole) != 0 ||
           XELP_CRC_Accumulate_32(0, aucData, 1, &ulPiece) != 0 || uwWhole != 0x7C87 ||
           uwPiece != uwWhole || ulWhole != 0x3AB551CE || ulPiece != ulWhole;
}
