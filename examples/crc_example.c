/* Frames that carry their own CRC-16, and the CRC-32 of a message that arrives in pieces. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "wyx_commlib/crc.h"

/* A frame ends in the CRC-16 of its other bytes, high byte first. The CRC-16 of the whole frame,
 * those two bytes included, is then 0. */
static int IsIntact(const QAL_UINT8 *frame, QAL_UINT32 frameLen)
{
    QAL_UINT16 remainder;
    return XELP_CRC_16(frame, frameLen, &remainder) == 0 && remainder == 0;
}

int main(void)
{
    static const char *const pieces[] = {"1234", "", "56789"};
    QAL_UINT8 frame[8] = "hello\n";
    QAL_UINT16 crc16;
    QAL_UINT32 crc32 = 0; /* begins a message */
    QAL_UINT32 common = 0xFFFFFFFFU;
    int i;

    if (XELP_CRC_16(frame, 6, &crc16) != 0) {
        return EXIT_FAILURE; /* only a null pointer is refused */
    }
    frame[6] = (QAL_UINT8)(crc16 >> 8);
    frame[7] = (QAL_UINT8)(crc16 & 0xFF);
    printf("frame: %s, ", IsIntact(frame, sizeof frame) ? "intact" : "damaged");
    frame[2] ^= 0x10;
    printf("with a wrong bit: %s\n", IsIntact(frame, sizeof frame) ? "intact" : "damaged");

    for (i = 0; i < 3; ++i) {
        const QAL_UINT8 *piece = (const QAL_UINT8 *)pieces[i];
        const QAL_UINT32 pieceLen = (QAL_UINT32)strlen(pieces[i]);
        XELP_CRC_Accumulate_32(crc32, piece, pieceLen, &crc32);
        XELP_CRC_Accumulate_32(common, piece, pieceLen, &common);
    }
    /* The second is what most other programs call CRC-32: inverted before and after. */
    printf("CRC-32 %08X, the common one %08X\n", crc32, ~common);
    return EXIT_SUCCESS;
}
