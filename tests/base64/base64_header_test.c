/* Checks the header in plain C99, included twice: prototypes and C linkage. */
#include "wyx_commlib/base64.h"

#include <string.h>

/* included again */
#include "wyx_commlib/base64.h"

int main(void)
{
    QAL_INT32 (*const pfunEncode)(QAL_UINT8 *, const QAL_INT32, QAL_UINT8 **) = MOX_BASE64Encode;
    QAL_INT32 (*const pfunDecode)(QAL_UINT8 *, const QAL_INT32, QAL_UINT8 **) = MOX_BASE64Decode;
    void (*const pfunFree)(QAL_UINT8 **) = MOX_BASE64Free;
    QAL_UINT8 aucBytes[3] = {0x4D, 0x61, 0x6E};
    QAL_UINT8 *pucText = 0, *pucBytes = 0;
    int failed = pfunEncode(aucBytes, 3, &pucText) != 4 || memcmp(pucText, "TWFu", 5) != 0 ||
                 pfunDecode(pucText, 4, &pucBytes) != 3 || memcmp(pucBytes, aucBytes, 3) != 0;

    pfunFree(&pucText);
    pfunFree(&pucBytes);
    return failed || pucText != 0 || pucBytes != 0;
}
