/* The example of md5.h. */
#include <string.h>

#include "wyx_commlib/md5.h"

int md5_example(void);

int md5_example(void)
{
    static const MD5_S_CTX wiped = {{0}, {0}, {0}};
    static const QAL_UINT8 expected[16] = {0x90, 0x01, 0x50, 0x98, 0x3c, 0xd2, 0x4f, 0xb0,
                                           0xd6, 0x96, 0x3f, 0x7d, 0x28, 0xe1, 0x7f, 0x72};
    const QAL_UINT8 header[] = {'a'};
    const QAL_UINT8 body[] = {'b', 'c'};
    const QAL_UINT headerLen = sizeof header;
    const QAL_UINT bodyLen = sizeof body;
#include "md5_1.inc"
    return memcmp(digest, expected, sizeof expected) != 0 ||
           memcmp(&context, &wiped, sizeof wiped) != 0;
}
