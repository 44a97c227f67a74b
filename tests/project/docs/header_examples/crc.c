/* The example of crc.h. */
#include "wyx_commlib/crc.h"

int crc_example(void);

int crc_example(void)
{
    const QAL_UINT8 header[] = {'1', '2', '3', '4'};
    const QAL_UINT8 body[] = {'5', '6', '7', '8', '9'};
    const QAL_UINT32 headerLen = sizeof header;
    const QAL_UINT32 bodyLen = sizeof body;
#include "crc_1.inc"
    return crc != 0x2DFD2D88;
}
