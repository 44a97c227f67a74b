/* Encodes a few bytes as Base64 and decodes them again. */
#include <stdio.h>
#include <stdlib.h>

#include "wyx_commlib/base64.h"

int main(void)
{
    QAL_UINT8 key[] = {0xFB, 0xEF, 0xBE, 0x00, 0x2A};
    QAL_UINT8 *text = NULL;
    QAL_UINT8 *bytes = NULL;
    QAL_INT32 textLen, bytesLen, i;

    /* Check the pointer, not the length: an empty result has the length 0, too. */
    textLen = MOX_BASE64Encode(key, sizeof key, &text);
    if (text == NULL) {
        return EXIT_FAILURE;
    }
    printf("%s (%d characters)\n", (const char *)text, textLen);

    /* The decoder reads one byte past the length: the NUL that the encoder wrote. */
    bytesLen = MOX_BASE64Decode(text, textLen, &bytes);
    MOX_BASE64Free(&text);
    if (bytes == NULL) {
        return EXIT_FAILURE;
    }
    for (i = 0; i < bytesLen; ++i) {
        printf("%02x%c", (unsigned int)bytes[i], i + 1 < bytesLen ? ' ' : '\n');
    }
    MOX_BASE64Free(&bytes);
    return EXIT_SUCCESS;
}
