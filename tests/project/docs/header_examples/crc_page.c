/* The recipes of the page on checksums. */
#include <stdio.h>

#include "wyx_commlib/crc.h"

int crc_page_example(void);

static const QAL_UINT8 data[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
static const QAL_UINT32 dataLen = sizeof data;

static QAL_UINT32 OfBuffer(void)
{
#include "crc_page_1.inc"
    return crc;
}

static QAL_UINT32 OfFile(FILE *file)
{
#include "crc_page_2.inc"
    return crc;
}

static QAL_UINT32 Common(void)
{
#include "crc_page_3.inc"
    return crc;
}

static int IsIntact(const QAL_UINT8 *frame, QAL_UINT32 frameLen)
{
#include "crc_page_4.inc"
    return isIntact;
}

int crc_page_example(void)
{
    const QAL_UINT8 good[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9', 0x31, 0xC3};
    const QAL_UINT8 bad[] = {'1', '2', '3', '4', '5', '6', '7', '8', '8', 0x31, 0xC3};
    QAL_UINT32 ofFile;
    FILE *file = tmpfile();
    if (file == NULL || fwrite(data, 1, dataLen, file) != dataLen) {
        return 1;
    }
    rewind(file);
    ofFile = OfFile(file);
    fclose(file);
    return OfBuffer() != 0x2DFD2D88 || ofFile != 0x2DFD2D88 || Common() != 0xCBF43926 ||
           !IsIntact(good, sizeof good) || IsIntact(bad, sizeof bad);
}
