/* The recipes of the page on Base64. */
#include <string.h>

#include "wyx_commlib/base64.h"

int base64_page_example(void);

static char aSeen[16];

static void SendText(const char *text, QAL_INT32 textLen)
{
    memcpy(aSeen, text, (size_t)textLen + 1);
}

static void UseBytes(const QAL_UINT8 *bytes, QAL_INT32 bytesLen)
{
    memcpy(aSeen, bytes, (size_t)bytesLen);
    aSeen[bytesLen] = '\0';
}

static int Refuse(void)
{
    return 2;
}

static int Decode(QAL_UINT8 *encoded)
{
#include "base64_page_2.inc"
    return 0;
}

int base64_page_example(void)
{
    QAL_UINT8 data[] = {'M', 'a', 'n', 'y'};
    const QAL_INT32 dataLen = sizeof data;
    QAL_UINT8 good[] = "TWFueQ==";
    QAL_UINT8 bad[] = "TWF eQ==";
#include "base64_page_1.inc"
    return strcmp(aSeen, "TWFueQ==") != 0 || Decode(good) != 0 || strcmp(aSeen, "Many") != 0 ||
           Decode(bad) != 2;
}
