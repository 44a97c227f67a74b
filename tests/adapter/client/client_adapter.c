/*
 * A small adapter of a client's own: files live in memory, and live blocks are counted. An
 * unexpected caller of a memory service, or a reserved argument other than 0, ends the process with
 * a message.
 */
#define _GNU_SOURCE
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "bounded.h"
#include "os_adapter.h"

enum { MAX_FILES = 16, MAX_NAME = 256, MAX_SIZE = 100000 };

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
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER; /* protects the names of all files */
static long liveBlocks;

static void Fail(const char *what, const char *detail)
{
    fprintf(stderr, "client adapter: %s: %s\n", what, detail);
    abort();
}

/* The memory services may be called by the client, the adapter suite, and any source file of the
 * library, whatever folder it was built in. */
static void CheckCaller(QAL_UINT32 line, const char *file)
{
    if (line == 0 || (strncmp(file, "src/commlib/", 12) != 0 && strcmp(file, "client") != 0 &&
                      strcmp(file, "adapter_suite.c") != 0)) {
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
    __atomic_add_fetch(&liveBlocks, block != NULL, __ATOMIC_RELAXED);
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
    __atomic_add_fetch(&liveBlocks, block != NULL, __ATOMIC_RELAXED);
    return block;
}

void XELP_MemFreeD(void *pBlock, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    CheckCaller(ulLine, pszFile);
    __atomic_sub_fetch(&liveBlocks, pBlock != NULL, __ATOMIC_RELAXED);
    free(pBlock);
}

void XELP_MemFreeSetNullD(void **ppBlock, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    XELP_MemFreeD(*ppBlock, ulLine, pszFile);
    *ppBlock = NULL;
}

XELP_S_File *XELP_Fopen(const QAL_CHAR *pszName, const QAL_CHAR *pszMode)
{
    XELP_S_File *file = NULL;
    Stored *stored;
    pthread_mutex_lock(&lock);
    stored = strcmp(pszMode, "w") == 0 ? Create(pszName) : Find(pszName);
    if (stored != NULL) {
        file = (XELP_S_File *)malloc(sizeof *file);
    }
    if (file != NULL) {
        file->stored = stored;
        file->at = 0;
    }
    pthread_mutex_unlock(&lock);
    return file;
}

QAL_INT32 XELP_Fgetc(XELP_S_File *pstruFile)
{
    return pstruFile->at < pstruFile->stored->size ? pstruFile->stored->data[pstruFile->at++] : -1;
}

QAL_INT32 XELP_Fseek(XELP_S_File *pstruFile, QAL_LONG lOffset, QAL_INT32 lWhence)
{
    const QAL_LONG size = (QAL_LONG)pstruFile->stored->size;
    const QAL_LONG base = lWhence == 0 ? 0 : lWhence == 1 ? (QAL_LONG)pstruFile->at : size;
    if (lWhence < 0 || lWhence > 2 || lOffset < -base || lOffset > size - base) {
        return -1;
    }
    pstruFile->at = (QAL_UINT32)(base + lOffset);
    return 0;
}

QAL_UINT32 XELP_Fwrite(const void *pData, QAL_UINT32 ulSize, QAL_UINT32 ulCount,
                       XELP_S_File *pstruFile)
{
    Stored *const stored = pstruFile->stored;
    if (ulSize == 0 || ulCount > (MAX_SIZE - pstruFile->at) / ulSize) {
        return 0;
    }
    memcpy(stored->data + pstruFile->at, pData, ulSize * ulCount);
    pstruFile->at += ulSize * ulCount;
    if (stored->size < pstruFile->at) {
        stored->size = pstruFile->at;
    }
    return ulCount;
}

QAL_INT32 XELP_Fclose(XELP_S_File *pstruFile)
{
    free(pstruFile);
    return 0;
}

QAL_INT32 XELP_Remove(const QAL_CHAR *pszName)
{
    Stored *stored;
    pthread_mutex_lock(&lock);
    stored = Find(pszName);
    if (stored != NULL) {
        stored->name[0] = '\0';
    }
    pthread_mutex_unlock(&lock);
    return stored != NULL ? 0 : -1;
}

QAL_INT32 XELP_Rename(const QAL_CHAR *pszOldName, const QAL_CHAR *pszNewName)
{
    Stored *stored = NULL;
    Stored *replaced;
    pthread_mutex_lock(&lock);
    if (pszNewName[0] != '\0' && strlen(pszNewName) < MAX_NAME) {
        stored = Find(pszOldName);
    }
    if (stored != NULL) {
        replaced = Find(pszNewName);
        if (replaced != NULL) {
            replaced->name[0] = '\0';
        }
        strcpy(stored->name, pszNewName);
    }
    pthread_mutex_unlock(&lock);
    return stored != NULL ? 0 : -1;
}

QAL_UINT64 XELP_GetSystemTime(void)
{
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return (QAL_UINT64)now.tv_sec * 1000 + (QAL_UINT64)now.tv_nsec / 1000000;
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

/* Ignores the locale. */
static int Lower(int byte)
{
    return byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte;
}

QAL_INT32 XELP_StriCmp(const QAL_CHAR *pszLeft, const QAL_CHAR *pszRight)
{
    int left, right;
    do {
        left = Lower((unsigned char)*pszLeft++);
        right = Lower((unsigned char)*pszRight++);
    } while (left == right && left != 0);
    return left - right;
}

QAL_INT32 wyx_memcpy_s(void *pDest, QAL_ULONG ulDestMax, const void *pSrc, QAL_ULONG ulCount)
{
    if (pDest == NULL || pSrc == NULL || ulCount > ulDestMax) {
        return 1;
    }
    memcpy(pDest, pSrc, ulCount);
    return 0;
}

QAL_INT32 wyx_memset_s(void *pDest, QAL_ULONG ulDestMax, QAL_INT32 lByte, QAL_ULONG ulCount)
{
    if (pDest == NULL || ulCount > ulDestMax) {
        return 1;
    }
    memset(pDest, lByte, ulCount);
    return 0;
}

/* Empties the destination of a string that is refused. */
static QAL_INT32 Refuse(QAL_CHAR *pszDest, QAL_INT32 lResult)
{
    if (pszDest != NULL) {
        pszDest[0] = '\0';
    }
    return lResult;
}

QAL_INT32 wyx_strcpy_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszSrc)
{
    if (pszDest == NULL || pszSrc == NULL || strlen(pszSrc) > ulDestMax) {
        return Refuse(pszDest, 1);
    }
    strcpy(pszDest, pszSrc);
    return 0;
}

QAL_INT32 wyx_strcat_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszSrc)
{
    if (ulDestMax == 0) {
        return 1;
    }
    if (pszDest == NULL || pszSrc == NULL || strnlen(pszDest, ulDestMax) == ulDestMax ||
        strlen(pszSrc) >= ulDestMax - strlen(pszDest)) {
        return Refuse(pszDest, 1);
    }
    strcat(pszDest, pszSrc);
    return 0;
}

QAL_INT32 wyx_sprintf_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszFormat, ...)
{
    int length;
    va_list arguments;
    if (ulDestMax == 0) {
        return -1;
    }
    if (pszDest == NULL || pszFormat == NULL) {
        return Refuse(pszDest, -1);
    }
    va_start(arguments, pszFormat);
    /* Some C libraries refuse a bound that does not fit in an int. */
    length =
        vsnprintf(pszDest, ulDestMax < 0x7FFFFFFF ? ulDestMax : 0x7FFFFFFF, pszFormat, arguments);
    va_end(arguments);
    return length < 0 || (QAL_ULONG)length >= ulDestMax ? Refuse(pszDest, -1) : length;
}

__attribute__((destructor)) static void Report(void)
{
    printf("client adapter: %ld blocks held\n", liveBlocks);
}
