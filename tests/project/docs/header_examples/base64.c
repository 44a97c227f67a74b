/* The example of base64.h. */
#include <string.h>

#include "wyx_commlib/base64.h"

int base64_example(void);

static char aSent[16];

static void SendText(const QAL_UINT8 *text, QAL_INT32 textLen)
{
    memcpy(aSent, text, (size_t)textLen);
}

int base64_example(void)
{
    QAL_UINT8 data[] = {'M', 'a', 'n', 'y'};
    const QAL_INT32 dataLen = sizeof data;
#include "base64_1.inc"
    return text != NULL || textLen != 8 || strcmp(aSent, "TWFueQ==") != 0;
}
