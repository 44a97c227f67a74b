/* Replaces the memory services: every block of the library comes from one array, and the most that
 * was ever in use is recorded. An executable's own functions take precedence over those of the
 * adapter library, which still provides the rest. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "os_adapter.h"
#include "wyx_commlib/base64.h"

/* Blocks are cut from the array one after another. Once all are released, cutting starts
 * over. There is no lock, so only one thread may use the array. */
static union {
    unsigned char bytes[4096];
    long double aligned;
} pool;
static size_t used, peak, liveBlocks;

void *XELP_MemMallocD(QAL_UINT32 ulSize, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    const size_t size = ((ulSize == 0 ? 1 : (size_t)ulSize) + 15) / 16 * 16;
    void *block;
    (void)ulLine; /* the caller: an accounting adapter would record it */
    (void)pszFile;
    if (size > sizeof pool.bytes - used) {
        return NULL; /* the library reports it, and leaks nothing */
    }
    block = pool.bytes + used;
    used += size;
    peak = used > peak ? used : peak;
    ++liveBlocks;
    return block;
}

void *XELP_MemMallocS(QAL_UINT32 ulSize, QAL_UINT32 ulReserved, QAL_UINT32 ulLine,
                      const QAL_CHAR *pszFile)
{
    void *block = XELP_MemMallocD(ulSize, ulLine, pszFile);
    (void)ulReserved;
    return block != NULL ? memset(block, 0, ulSize == 0 ? 1 : ulSize) : NULL;
}

void XELP_MemFreeD(void *pBlock, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    (void)ulLine;
    (void)pszFile;
    if (pBlock != NULL && --liveBlocks == 0) {
        used = 0;
    }
}

void XELP_MemFreeSetNullD(void **ppBlock, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    XELP_MemFreeD(*ppBlock, ulLine, pszFile);
    *ppBlock = NULL;
}

int main(void)
{
    static QAL_UINT8 data[4096];
    QAL_UINT8 *text = NULL;
    const QAL_INT32 textLen = MOX_BASE64Encode(data, 300, &text);
    const int isInPool = text >= pool.bytes && text < pool.bytes + sizeof pool.bytes;

    printf("%d characters, %s\n", textLen, isInPool ? "in the pool" : "elsewhere");
    MOX_BASE64Free(&text);
    MOX_BASE64Encode(data, sizeof data, &text); /* needs more than the pool has */
    printf("too much: %s, %lu blocks left\n", text == NULL ? "refused" : "taken",
           (unsigned long)liveBlocks);
    MOX_BASE64Free(&text);
    return isInPool && text == NULL && liveBlocks == 0 && peak > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
