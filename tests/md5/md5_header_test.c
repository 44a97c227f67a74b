/* Checks the header in plain C99, included twice: sizes and offsets, and calls with C linkage. */
#include "wyx_commlib/md5.h"

#include <stddef.h>
#include <string.h>

#include "header_check.h"

/* included again */
#include "wyx_commlib/md5.h"

WYX_CHECK(sizeof(MD5_S_CTX) == 88);
WYX_CHECK(offsetof(MD5_S_CTX, state) == 0);
WYX_CHECK(offsetof(MD5_S_CTX, count) == 16);
WYX_CHECK(offsetof(MD5_S_CTX, buffer) == 24);
WYX_CHECK(sizeof(((MD5_S_CTX *)0)->state) == 16);
WYX_CHECK(sizeof(((MD5_S_CTX *)0)->count) == 8);
WYX_CHECK(sizeof(((MD5_S_CTX *)0)->buffer) == 64);

int main(void)
{
    static const QAL_UINT8 aucExpected[16] = {0x0C, 0xC1, 0x75, 0xB9, 0xC0, 0xF1, 0xB6, 0xA8,
                                              0x31, 0xC3, 0x99, 0xE2, 0x69, 0x77, 0x26, 0x61};
    const QAL_UINT8 aucMessage[1] = {0x61};
    QAL_UINT8 aucDigest[16];
    struct xelpMD5_S_CTX context;

    XELP_MD5_Init(&context);
    XELP_MD5_Update(&context, aucMessage, 1);
    XELP_MD5_Final(aucDigest, &context);
    return memcmp(aucDigest, aucExpected, sizeof aucDigest) != 0;
}
