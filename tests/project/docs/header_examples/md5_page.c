/* The recipes of the page on MD5. */
#include <stdio.h>
#include <string.h>

#include "wyx_commlib/md5.h"

int md5_page_example(void);

static const QAL_UINT8 data[] = {'a', 'b', 'c'};
static const QAL_UINT dataLen = sizeof data;

static int OfBuffer(void)
{
#include "md5_page_1.inc"
    return strcmp(hex, "900150983cd24fb0d6963f7d28e17f72");
}

static int OfFile(FILE *file)
{
    static const QAL_UINT8 expected[4] = {0x90, 0x01, 0x50, 0x98};
#include "md5_page_2.inc"
    return memcmp(digest, expected, sizeof expected);
}

int md5_page_example(void)
{
    int isWrong;
    FILE *file = tmpfile();
    if (file == NULL || fwrite(data, 1, dataLen, file) != dataLen) {
        return 1;
    }
    rewind(file);
    isWrong = OfFile(file) != 0 || OfBuffer() != 0;
    fclose(file);
    return isWrong;
}
