/*
 * A client's own adapter, as small as one can be: files live in memory, and every block and every
 * caller is looked at. What goes wrong ends the process with a message.
 */
#include <ctype.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "bounded.h"
#include "os_adapter.h"

enum { MAX_FILES = 4, MAX_NAME = 64, MAX_SIZE = 4096 };

typedef struct {
    char name[MAX_NAME]; /* empty: no file */
    unsigned char data[MAX_SIZE];
    QAL_UINT32 size;
} Stored;

struct xelpFile {
    Stored *stored;
    QAL_UINT32 at;
};

static Stored files[MAX_FILES];
static long liveBlocks;
static QAL_UINT64 now = 1700000000000;

static void Fail(const char *what, const char *detail)
{
    fprintf(stderr, "client adapter: %s: %s\n", what, detail);
    abort();
}

/* A caller of the memory services is a unit of the library, wherever that was built, or the client.
 */
static void CheckCaller(QAL_UINT32 line, const char *file)
{
    if (line == 0 || (strncmp(file, "src/commlib/", 12) != 0 && strcmp(file, "client") != 0)) {
        Fail("unexpected caller", file);
    }
}

static Stored *Find(const char *name)
{
    int i;
    for (i = 0; i < MAX_FILES; ++i) {
        if (files[i].name[0] != '\0' && strcmp(files[i].name, name) == 0) {
            return &files[i];
        }
    }
    return NULL;
}

static Stored *Create(const char *name)
{
    int i;
    Stored *stored = Find(name);
    for (i = 0; stored == NULL && i < MAX_FILES; ++i) {
        if (files[i].name[0] == '\0') {
            stored = &files[i];
        }
    }
    if (stored == NULL || name[0] == '\0' || strlen(name) >= MAX_NAME) {
        return NULL;
    }
    strcpy(stored->name, name);
    stored->size = 0;
    return stored;
}

void *XELP_MemMallocD(QAL_UINT32 ulSize, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    void *const block = malloc(ulSize != 0 ? ulSize : 1);
    CheckCaller(ulLine, pszFile);
    liveBlocks += block != NULL;
    return block;
}

void *XELP_MemMallocS(QAL_UINT32 ulSize, QAL_UINT32 ulReserved, QAL_UINT32 ulLine,
                      const QAL_CHAR *pszFile)
{
    void *const block = calloc(1, ulSize != 0 ? ulSize : 1);
    CheckCaller(ulLine, pszFile);
    if (ulReserved != 0) {
        Fail("reserved argument is not 0", pszFile);
    }
    liveBlocks += block != NULL;
    return block;
}

void XELP_MemFreeD(void *pBlock, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    CheckCaller(ulLine, pszFile);
    liveBlocks -= pBlock != NULL;
    free(pBlock);
}

void XELP_MemFreeSetNullD(void **ppBlock, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    XELP_MemFreeD(*ppBlock, ulLine, pszFile);
    *ppBlock = NULL;
}

XELP_S_File *XELP_Fopen(const QAL_CHAR *pszName, const QAL_CHAR *pszMode)
{
    Stored *const stored = strcmp(pszMode, "w") == 0 ? Create(pszName) : Find(pszName);
    XELP_S_File *const file = stored != NULL ? (XELP_S_File *)malloc(sizeof *file) : NULL;
    if (file != NULL) {
        file->stored = stored;
        file->at = 0;
    }
    return file;
}

QAL_INT32 XELP_Fgetc(XELP_S_File *pstruFile)
{
    return pstruFile->at < pstruFile->stored->size ? pstruFile->stored->data[pstruFile->at++] : -1;
}

QAL_INT32 XELP_Fseek(XELP_S_File *pstruFile, QAL_LONG lOffset, QAL_INT32 lWhence)
{
    if (lWhence != 1 || lOffset != -1 || pstruFile->at == 0) {
        return -1;
    }
    --pstruFile->at;
    return 0;
}

QAL_UINT32 XELP_Fwrite(const void *pData, QAL_UINT32 ulSize, QAL_UINT32 ulCount,
                       XELP_S_File *pstruFile)
{
    Stored *const stored = pstruFile->stored;
    if (ulSize != 1 || ulCount > MAX_SIZE - stored->size) {
        return 0;
    }
    memcpy(stored->data + stored->size, pData, ulCount);
    stored->size += ulCount;
    return ulCount;
}

QAL_INT32 XELP_Fclose(XELP_S_File *pstruFile)
{
    free(pstruFile);
    return 0;
}

QAL_INT32 XELP_Remove(const QAL_CHAR *pszName)
{
    Stored *const stored = Find(pszName);
    if (stored == NULL) {
        return -1;
    }
    stored->name[0] = '\0';
    return 0;
}

QAL_INT32 XELP_Rename(const QAL_CHAR *pszOldName, const QAL_CHAR *pszNewName)
{
    Stored *const stored = Find(pszOldName);
    if (stored == NULL || Find(pszNewName) != NULL || strlen(pszNewName) >= MAX_NAME) {
        return -1;
    }
    strcpy(stored->name, pszNewName);
    return 0;
}

QAL_UINT64 XELP_GetSystemTime(void)
{
    return ++now;
}

QAL_UINT32 XELP_StrLen(const QAL_CHAR *pszStr)
{
    return (QAL_UINT32)strlen(pszStr);
}

QAL_CHAR *XELP_StrChr(const QAL_CHAR *pszStr, QAL_INT32 lChar)
{
    return strchr(pszStr, lChar);
}

QAL_CHAR *XELP_StrrChr(const QAL_CHAR *pszStr, QAL_INT32 lChar)
{
    return strrchr(pszStr, lChar);
}

QAL_CHAR *XELP_StrStr(const QAL_CHAR *pszStr, const QAL_CHAR *pszSub)
{
    return strstr(pszStr, pszSub);
}

QAL_INT32 XELP_StriCmp(const QAL_CHAR *pszLeft, const QAL_CHAR *pszRight)
{
    int left, right;
    do {
        left = tolower((unsigned char)*pszLeft++);
        right = tolower((unsigned char)*pszRight++);
    } while (left == right && left != 0);
    return left - right;
}

QAL_INT32 wyx_memcpy_s(void *pDest, QAL_ULONG ulDestMax, const void *pSrc, QAL_ULONG ulCount)
{
    if (ulCount > ulDestMax) {
        return 1;
    }
    memcpy(pDest, pSrc, ulCount);
    return 0;
}

QAL_INT32 wyx_memset_s(void *pDest, QAL_ULONG ulDestMax, QAL_INT32 lByte, QAL_ULONG ulCount)
{
    if (ulCount > ulDestMax) {
        return 1;
    }
    memset(pDest, lByte, ulCount);
    return 0;
}

QAL_INT32 wyx_strcpy_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszSrc)
{
    const size_t length = strlen(pszSrc);
    pszDest[0] = '\0';
    if (length > ulDestMax) {
        return 1;
    }
    memcpy(pszDest, pszSrc, length + 1);
    return 0;
}

QAL_INT32 wyx_strcat_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszSrc)
{
    if (strlen(pszDest) + strlen(pszSrc) >= ulDestMax) {
        pszDest[0] = '\0';
        return 1;
    }
    strcat(pszDest, pszSrc);
    return 0;
}

QAL_INT32 wyx_sprintf_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszFormat, ...)
{
    int length;
    va_list arguments;
    va_start(arguments, pszFormat);
    length = vsnprintf(pszDest, ulDestMax, pszFormat, arguments);
    va_end(arguments);
    if (length < 0 || (QAL_ULONG)length >= ulDestMax) {
        pszDest[0] = '\0';
        return -1;
    }
    return length;
}

__attribute__((destructor)) static void Report(void)
{
    printf("client adapter: %ld blocks held\n", liveBlocks);
}
