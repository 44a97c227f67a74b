/* Prints the MD5 of standard input, as md5sum does, without holding more than a piece of it. */
#include <stdio.h>
#include <stdlib.h>

#include "wyx_commlib/md5.h"

int main(void)
{
    MD5_S_CTX context;
    QAL_UINT8 piece[4096], digest[16];
    size_t len, i;

    XELP_MD5_Init(&context);
    while ((len = fread(piece, 1, sizeof piece, stdin)) > 0) {
        XELP_MD5_Update(&context, piece, (QAL_UINT)len);
    }
    if (ferror(stdin)) {
        return EXIT_FAILURE;
    }
    XELP_MD5_Final(digest, &context); /* wipes the context */

    for (i = 0; i < sizeof digest; ++i) {
        printf("%02x", (unsigned int)digest[i]);
    }
    printf("  -\n");
    return EXIT_SUCCESS;
}
