/*
 * Tests promises of os_adapter.h and bounded.h on an adapter, and prints a line for each. What only
 * the default adapter promises is not tested, and neither are reads and writes that fail.
 *
 * Each promise is tested in a process of its own, so that a crash or an endless loop is a result
 * like any other. The suite reads and writes files through the adapter alone, under names in a new
 * temporary folder. An adapter may keep the files elsewhere, in memory for example.
 */
#define _GNU_SOURCE
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <limits.h>
#include <locale.h>
#include <pthread.h>
#include <signal.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "bounded.h"
#include "os_adapter.h"

/* The services; for each, p_<name> points to the adapter's function. */
#define SERVICES(X)         \
    X(XELP_MemMallocD)      \
    X(XELP_MemMallocS)      \
    X(XELP_MemFreeD)        \
    X(XELP_MemFreeSetNullD) \
    X(XELP_Fopen)           \
    X(XELP_Fgetc)           \
    X(XELP_Fseek)           \
    X(XELP_Fwrite)          \
    X(XELP_Fclose)          \
    X(XELP_Remove)          \
    X(XELP_Rename)          \
    X(XELP_GetSystemTime)   \
    X(XELP_StrLen)          \
    X(XELP_StrChr)          \
    X(XELP_StrrChr)         \
    X(XELP_StrStr)          \
    X(XELP_StriCmp)         \
    X(wyx_memcpy_s)         \
    X(wyx_memset_s)         \
    X(wyx_strcpy_s)         \
    X(wyx_strcat_s)         \
    X(wyx_sprintf_s)

#define POINTER(name) static __typeof__(&name) p_##name;
SERVICES(POINTER)

/* Under a sanitizer a request that cannot be met ends the process. */
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
static const int kIsSanitized = 1;
#else
static const int kIsSanitized = 0;
#endif

enum { MAX_SECONDS = 30, PAGE = 65536, OLD = 0xEE, SKIPPED = 77 };

static const char *pszFolder; /* for the names of files */
static const char kCaller[] = "adapter_suite.c";

/* Ends the process that tests a promise; discards what the adapter prints at exit. */
static void End(int iResult)
{
    fflush(stdout);
    close(STDOUT_FILENO);
    exit(iResult);
}

/* Reports why a promise is not kept, and ends the process. */
static void Broken(const char *pszWhat, unsigned uLine)
{
    printf("%s (line %u)", pszWhat, uLine);
    End(1);
}

#define CHECK(condition)                  \
    do {                                  \
        if (!(condition)) {               \
            Broken(#condition, __LINE__); \
        }                                 \
    } while (0)

/* ---- Memory ---------------------------------------------------------------------------------- */

static const QAL_UINT32 kSizes[] = {0, 1, 2, 7, 8, 15, 16, 17, 100, 4096, 100000, 2000000};
enum { SIZES = sizeof kSizes / sizeof kSizes[0] };

static void *Allocate(int isZeroed, QAL_UINT32 ulSize)
{
    return isZeroed ? p_XELP_MemMallocS(ulSize, 0, __LINE__, kCaller)
                    : p_XELP_MemMallocD(ulSize, __LINE__, kCaller);
}

static void Release(void *pBlock)
{
    p_XELP_MemFreeD(pBlock, __LINE__, kCaller);
}

static void BlocksDoNotOverlap(void)
{
    unsigned char *blocks[2 * SIZES];
    int i;
    size_t at;
    for (i = 0; i < 2 * SIZES; ++i) {
        const size_t size = kSizes[i / 2] != 0 ? kSizes[i / 2] : 1;
        blocks[i] = (unsigned char *)Allocate(i % 2, kSizes[i / 2]);
        CHECK(blocks[i] != NULL);
        memset(blocks[i], i + 1, size);
    }
    for (i = 0; i < 2 * SIZES; ++i) {
        const size_t size = kSizes[i / 2] != 0 ? kSizes[i / 2] : 1;
        for (at = 0; at < size; ++at) {
            CHECK(blocks[i][at] == i + 1);
        }
        Release(blocks[i]);
    }
}

static void BlocksAreAligned(void)
{
    void *blocks[2 * SIZES];
    int i;
    for (i = 0; i < 2 * SIZES; ++i) {
        blocks[i] = Allocate(i % 2, kSizes[i / 2]);
        CHECK(blocks[i] != NULL && (uintptr_t)blocks[i] % _Alignof(max_align_t) == 0);
    }
    for (i = 0; i < 2 * SIZES; ++i) {
        Release(blocks[i]);
    }
}

static void BlocksAreZeroed(void)
{
    int round, i;
    size_t at;
    for (round = 0; round < 3; ++round) {
        for (i = 0; i < SIZES; ++i) {
            const size_t size = kSizes[i] != 0 ? kSizes[i] : 1;
            unsigned char *const block = (unsigned char *)Allocate(1, kSizes[i]);
            CHECK(block != NULL);
            for (at = 0; at < size; ++at) {
                CHECK(block[at] == 0);
            }
            memset(block, 0xFF, size);
            Release(block);
        }
    }
}

static void SizeOfZeroCountsAsOne(void)
{
    int isZeroed;
    for (isZeroed = 0; isZeroed < 2; ++isZeroed) {
        char *const one = (char *)Allocate(isZeroed, 0);
        char *const other = (char *)Allocate(isZeroed, 0);
        CHECK(one != NULL && other != NULL && one != other);
        *one = 'a';
        *other = 'b';
        CHECK(*one == 'a');
        Release(one);
        Release(other);
    }
}

static void MemoryRunsOut(void)
{
    const struct rlimit limit = {(rlim_t)2 << 30, (rlim_t)2 << 30};
    int isZeroed;
    void *mapped;
    if (kIsSanitized) {
        printf("a sanitizer is at work");
        End(SKIPPED);
    }
    CHECK(setrlimit(RLIMIT_AS, &limit) == 0);
    mapped = mmap(NULL, UINT_MAX, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapped != MAP_FAILED) {
        printf("memory has no limit here");
        End(SKIPPED);
    }
    for (isZeroed = 0; isZeroed < 2; ++isZeroed) {
        CHECK(Allocate(isZeroed, UINT_MAX) == NULL);
    }
}

static void ReleasesAcceptNull(void)
{
    void *block = NULL;
    Release(NULL);
    p_XELP_MemFreeSetNullD(&block, __LINE__, kCaller);
    CHECK(block == NULL);
}

static void ReleaseSetsNull(void)
{
    int isZeroed;
    for (isZeroed = 0; isZeroed < 2; ++isZeroed) {
        void *block = Allocate(isZeroed, 10);
        CHECK(block != NULL);
        p_XELP_MemFreeSetNullD(&block, __LINE__, kCaller);
        CHECK(block == NULL);
    }
}

/* Runs a function on four threads at once. */
static void OnThreads(void *(*run)(void *))
{
    pthread_t threads[4];
    int i;
    for (i = 0; i < 4; ++i) {
        CHECK(pthread_create(&threads[i], NULL, run, (void *)(intptr_t)i) == 0);
    }
    for (i = 0; i < 4; ++i) {
        CHECK(pthread_join(threads[i], NULL) == 0);
    }
}

static void *UseMemory(void *argument)
{
    enum { BLOCKS = 1000 };
    unsigned char *blocks[BLOCKS];
    const unsigned char value = (unsigned char)(1 + (intptr_t)argument);
    unsigned i, at;
    for (i = 0; i < BLOCKS; ++i) {
        const unsigned size = 1 + i % 97;
        blocks[i] = (unsigned char *)Allocate(i % 2, size);
        CHECK(blocks[i] != NULL);
        for (at = 0; i % 2 != 0 && at < size; ++at) {
            CHECK(blocks[i][at] == 0);
        }
        memset(blocks[i], value, size);
        if (i % 3 == 0) {
            Release(blocks[i / 2]);
            blocks[i / 2] = NULL;
        }
    }
    for (i = 0; i < BLOCKS; ++i) {
        for (at = 0; blocks[i] != NULL && at < 1 + i % 97; ++at) {
            CHECK(blocks[i][at] == value);
        }
        Release(blocks[i]);
    }
    return NULL;
}

static void MemoryOnThreads(void)
{
    OnThreads(UseMemory);
}

/* ---- Files ----------------------------------------------------------------------------------- */

static const char *Name(const char *pszFile)
{
    static __thread char names[4][PATH_MAX];
    static __thread unsigned next;
    char *const name = names[next++ % 4];
    snprintf(name, PATH_MAX, "%s/%s", pszFolder, pszFile);
    return name;
}

static XELP_S_File *Open(const char *pszFile, const char *pszMode)
{
    return p_XELP_Fopen(Name(pszFile), pszMode);
}

static void Put(const char *pszFile, const void *pText, size_t length)
{
    XELP_S_File *const file = Open(pszFile, "w");
    CHECK(file != NULL);
    CHECK(p_XELP_Fwrite(pText, 1, (QAL_UINT32)length, file) == length);
    CHECK(p_XELP_Fclose(file) == 0);
}

static void Expect(const char *pszFile, const void *pText, size_t length)
{
    XELP_S_File *const file = Open(pszFile, "r");
    size_t at;
    CHECK(file != NULL);
    for (at = 0; at < length; ++at) {
        CHECK(p_XELP_Fgetc(file) == ((const unsigned char *)pText)[at]);
    }
    CHECK(p_XELP_Fgetc(file) == -1);
    CHECK(p_XELP_Fclose(file) == 0);
}

static int Exists(const char *pszFile)
{
    XELP_S_File *const file = Open(pszFile, "r");
    return file != NULL && p_XELP_Fclose(file) == 0;
}

static void FilesKeepEveryByte(void)
{
    unsigned char text[516];
    unsigned i;
    for (i = 0; i < 512; ++i) {
        text[i] = (unsigned char)i;
    }
    memcpy(text + 512, "\r\n\x1A\n", 4);
    Put("text", text, sizeof text);
    Expect("text", text, sizeof text);
}

static void FilesMayBeLarge(void)
{
    enum { LENGTH = 70000 };
    static unsigned char text[LENGTH];
    unsigned i;
    for (i = 0; i < LENGTH; ++i) {
        text[i] = (unsigned char)(i * 13 + i / 257);
    }
    Put("text", text, LENGTH);
    Expect("text", text, LENGTH);
}

static void FilesEnd(void)
{
    XELP_S_File *file;
    Put("text", "a", 1);
    file = Open("text", "r");
    CHECK(file != NULL && p_XELP_Fgetc(file) == 'a');
    CHECK(p_XELP_Fgetc(file) == -1);
    CHECK(p_XELP_Fgetc(file) == -1);
    CHECK(p_XELP_Fclose(file) == 0);
    Put("text", "", 0);
    Expect("text", "", 0);
}

static void FilesAreEmptied(void)
{
    Put("text", "an old and longer text", 22);
    Put("text", "new", 3);
    Expect("text", "new", 3);
}

static void FilesThatAreMissing(void)
{
    CHECK(Open("none", "r") == NULL);
    CHECK(!Exists("none"));
}

static void WritesFollowOneAnother(void)
{
    XELP_S_File *const file = Open("text", "w");
    unsigned i;
    char text[3000 + 1];
    CHECK(file != NULL);
    for (i = 0; i < 1000; ++i) {
        snprintf(text + 3 * i, 4, "%03u", i);
        CHECK(p_XELP_Fwrite(text + 3 * i, 1, 3, file) == 3);
    }
    CHECK(p_XELP_Fclose(file) == 0);
    Expect("text", text, sizeof text - 1);
}

static void WritesCountItems(void)
{
    XELP_S_File *const file = Open("text", "w");
    CHECK(file != NULL);
    CHECK(p_XELP_Fwrite("012345678", 3, 2, file) == 2);
    CHECK(p_XELP_Fwrite("abc", 1, 3, file) == 3);
    CHECK(p_XELP_Fwrite("de", 2, 1, file) == 1);
    CHECK(p_XELP_Fclose(file) == 0);
    Expect("text", "012345abcde", 11);
}

static void WritesOfNothing(void)
{
    XELP_S_File *const file = Open("text", "w");
    CHECK(file != NULL);
    CHECK(p_XELP_Fwrite("abc", 0, 3, file) == 0);
    CHECK(p_XELP_Fwrite("abc", 3, 0, file) == 0);
    CHECK(p_XELP_Fwrite("abc", 1, 1, file) == 1);
    CHECK(p_XELP_Fclose(file) == 0);
    Expect("text", "a", 1);
}

static void SeekStepsBack(void)
{
    enum { LENGTH = 20000 };
    static unsigned char text[LENGTH];
    XELP_S_File *file;
    unsigned i;
    for (i = 0; i < LENGTH; ++i) {
        text[i] = (unsigned char)(i / 3 + i);
    }
    Put("text", text, LENGTH);
    file = Open("text", "r");
    CHECK(file != NULL);
    for (i = 0; i < LENGTH; ++i) {
        CHECK(p_XELP_Fgetc(file) == text[i]);
        CHECK(p_XELP_Fseek(file, -1, 1) == 0);
        CHECK(p_XELP_Fgetc(file) == text[i]);
    }
    CHECK(p_XELP_Fgetc(file) == -1);
    CHECK(p_XELP_Fseek(file, -1, 1) == 0); /* from the end, back to the last byte */
    CHECK(p_XELP_Fgetc(file) == text[LENGTH - 1]);
    CHECK(p_XELP_Fgetc(file) == -1);
    CHECK(p_XELP_Fclose(file) == 0);
}

static void SeekMoves(void)
{
    static const struct {
        QAL_LONG lOffset;
        QAL_INT32 lWhence;
        char cNext;
    } kSteps[] = {{5, 0, '5'}, {2, 1, '8'}, {-3, 2, '7'}, {-4, 1, '4'}, {0, 0, '0'}, {-10, 2, '0'}};
    XELP_S_File *file;
    unsigned i;
    Put("text", "0123456789", 10);
    file = Open("text", "r");
    CHECK(file != NULL);
    for (i = 0; i < sizeof kSteps / sizeof kSteps[0]; ++i) {
        CHECK(p_XELP_Fseek(file, kSteps[i].lOffset, kSteps[i].lWhence) == 0);
        CHECK(p_XELP_Fgetc(file) == kSteps[i].cNext);
    }
    CHECK(p_XELP_Fseek(file, 0, 2) == 0);
    CHECK(p_XELP_Fgetc(file) == -1);
    CHECK(p_XELP_Fclose(file) == 0);
}

static void SeekFailsInPlace(void)
{
    XELP_S_File *file;
    Put("text", "0123456789", 10);
    file = Open("text", "r");
    CHECK(file != NULL);
    CHECK(p_XELP_Fseek(file, -1, 1) != 0);
    CHECK(p_XELP_Fgetc(file) == '0' && p_XELP_Fgetc(file) == '1');
    CHECK(p_XELP_Fseek(file, -3, 1) != 0);
    CHECK(p_XELP_Fseek(file, -1, 0) != 0);
    CHECK(p_XELP_Fseek(file, -11, 2) != 0);
    CHECK(p_XELP_Fgetc(file) == '2');
    CHECK(p_XELP_Fclose(file) == 0);
    Put("empty", "", 0);
    file = Open("empty", "r");
    CHECK(file != NULL);
    CHECK(p_XELP_Fseek(file, 0, 2) == 0 && p_XELP_Fgetc(file) == -1);
    CHECK(p_XELP_Fseek(file, -1, 1) != 0 && p_XELP_Fgetc(file) == -1);
    CHECK(p_XELP_Fclose(file) == 0);
}

static void OpenFilesAreIndependent(void)
{
    XELP_S_File *one, *other, *written;
    Put("one", "abc", 3);
    Put("other", "xyz", 3);
    one = Open("one", "r");
    other = Open("other", "r");
    written = Open("written", "w");
    CHECK(one != NULL && other != NULL && written != NULL);
    CHECK(p_XELP_Fgetc(one) == 'a' && p_XELP_Fgetc(other) == 'x');
    CHECK(p_XELP_Fwrite("m", 1, 1, written) == 1);
    CHECK(p_XELP_Fgetc(one) == 'b' && p_XELP_Fgetc(other) == 'y');
    CHECK(p_XELP_Fclose(one) == 0);
    CHECK(p_XELP_Fwrite("n", 1, 1, written) == 1);
    CHECK(p_XELP_Fgetc(other) == 'z');
    CHECK(p_XELP_Fclose(other) == 0 && p_XELP_Fclose(written) == 0);
    Expect("written", "mn", 2);
}

static void RemoveRemoves(void)
{
    Put("text", "abc", 3);
    Put("other", "xyz", 3);
    CHECK(p_XELP_Remove(Name("text")) == 0);
    CHECK(!Exists("text"));
    Expect("other", "xyz", 3);
}

static void RemoveFails(void)
{
    CHECK(p_XELP_Remove(Name("none")) != 0);
    Put("text", "abc", 3);
    CHECK(p_XELP_Remove(Name("text")) == 0);
    CHECK(p_XELP_Remove(Name("text")) != 0);
}

static void RenameRenames(void)
{
    Put("old", "abc", 3);
    CHECK(p_XELP_Rename(Name("old"), Name("new")) == 0);
    CHECK(!Exists("old"));
    Expect("new", "abc", 3);
}

static void RenameReplaces(void)
{
    Put("old", "abc", 3);
    Put("new", "a longer one", 12);
    CHECK(p_XELP_Rename(Name("old"), Name("new")) == 0);
    CHECK(!Exists("old"));
    Expect("new", "abc", 3);
}

static void RenameFails(void)
{
    Put("new", "abc", 3);
    CHECK(p_XELP_Rename(Name("none"), Name("new")) != 0);
    CHECK(!Exists("none"));
    Expect("new", "abc", 3);
}

static void *UseFiles(void *argument)
{
    char name[2][16];
    char text[40000];
    const size_t length = 1000 + 10000 * (size_t)(intptr_t)argument;
    unsigned round;
    memset(text, 'a' + (int)(intptr_t)argument, length);
    snprintf(name[0], sizeof name[0], "text%d", (int)(intptr_t)argument);
    snprintf(name[1], sizeof name[1], "new%d", (int)(intptr_t)argument);
    for (round = 0; round < 20; ++round) {
        Put(name[0], text, length);
        CHECK(p_XELP_Rename(Name(name[0]), Name(name[1])) == 0);
        Expect(name[1], text, length);
        CHECK(p_XELP_Remove(Name(name[1])) == 0);
    }
    return NULL;
}

static void FilesOnThreads(void)
{
    OnThreads(UseFiles);
}

/* ---- Clock ----------------------------------------------------------------------------------- */

static void ClockCountsMilliseconds(void)
{
    const struct timespec pause = {0, 200000000};
    const QAL_UINT64 start = p_XELP_GetSystemTime();
    QAL_UINT64 passed;
    nanosleep(&pause, NULL);
    passed = p_XELP_GetSystemTime() - start;
    CHECK(passed >= 150 && passed < 20000); /* the clock may be adjusted, or the machine busy */
}

/* ---- Strings --------------------------------------------------------------------------------- */

/* The end of memory that can be read and written. */
static char *MemoryEnd(void)
{
    static char *pages;
    if (pages == NULL) {
        pages = (char *)mmap(NULL, 2 * PAGE, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        CHECK(pages != MAP_FAILED && mprotect(pages, PAGE, PROT_READ | PROT_WRITE) == 0);
        memset(pages, OLD, PAGE);
    }
    return pages + PAGE;
}

/* A copy of a text, placed so that its terminator is the last byte that can be read. */
static char *AtEnd(const char *pszText)
{
    char *const copy = MemoryEnd() - strlen(pszText) - 1;
    strcpy(copy, pszText);
    return copy;
}

/* Sets a locale other than C if there is one, preferably one with letters beyond ASCII. */
static void LeaveTheCLocale(void)
{
    static const char *const kNames[] = {"tr_TR.ISO-8859-9", "de_DE.ISO-8859-1", "tr_TR.UTF-8",
                                         "de_DE.UTF-8",      "C.UTF-8",          "C.utf8"};
    unsigned i = 0;
    while (i < sizeof kNames / sizeof kNames[0] && setlocale(LC_ALL, kNames[i]) == NULL) {
        ++i;
    }
}

static void StrLenCounts(void)
{
    char text[301];
    unsigned length;
    memset(text, 'x', sizeof text);
    for (length = sizeof text; length-- > 0;) {
        text[length] = '\0';
        CHECK(p_XELP_StrLen(AtEnd(text)) == length);
    }
    CHECK(p_XELP_StrLen(AtEnd("\xFF\x80\x01")) == 3);
}

static void StrChrFinds(void)
{
    char text[512];
    char *where;
    int i;
    for (i = 0; i < 510; ++i) {
        text[i] = (char)(1 + i % 255);
    }
    text[510] = '\0';
    where = AtEnd(text);
    for (i = 1; i < 256; ++i) {
        CHECK(p_XELP_StrChr(where, i) == where + i - 1);
        CHECK(p_XELP_StrrChr(where, i) == where + 255 + i - 1);
    }
    where = AtEnd("bcb");
    CHECK(p_XELP_StrChr(where, 'a') == NULL && p_XELP_StrrChr(where, 'a') == NULL);
    CHECK(p_XELP_StrChr(where, 'c') == where + 1 && p_XELP_StrrChr(where, 'c') == where + 1);
}

static void StrChrFindsTheEnd(void)
{
    char *where = AtEnd("abc");
    CHECK(p_XELP_StrChr(where, 0) == where + 3);
    CHECK(p_XELP_StrrChr(where, 0) == where + 3);
    where = AtEnd("");
    CHECK(p_XELP_StrChr(where, 0) == where && p_XELP_StrrChr(where, 0) == where);
}

static void StrChrReducesToAByte(void)
{
    char *const where = AtEnd("a\xE4z\xE4");
    CHECK(p_XELP_StrChr(where, -28) == where + 1); /* 0xE4 as a signed char */
    CHECK(p_XELP_StrrChr(where, -28) == where + 3);
}

static void StrStrFinds(void)
{
    static const struct {
        const char *pszSub;
        int iAt; /* -1: nowhere */
    } kCases[] = {{"", 0},       {"a", 0},       {"ab", 0},   {"aab", 5}, {"aaab", 9},
                  {"aaaab", -1}, {"\xA4 a", 3},  {"\xC3", 2}, {"b", 1},   {"AB", -1},
                  {"aaab ", -1}, {"ab aaab", 6}, {"\xA5", -1}};
    char *const where = AtEnd("ab\xC3\xA4 aab aaab");
    unsigned i;
    for (i = 0; i < sizeof kCases / sizeof kCases[0]; ++i) {
        CHECK(p_XELP_StrStr(where, kCases[i].pszSub) ==
              (kCases[i].iAt == -1 ? NULL : where + kCases[i].iAt));
    }
    CHECK(p_XELP_StrStr("", "a") == NULL);
}

static int Sign(int i)
{
    return (i > 0) - (i < 0);
}

static int Lower(int i)
{
    return i >= 'A' && i <= 'Z' ? i + ('a' - 'A') : i;
}

static void StriCmpFolds(void)
{
    int left, right;
    char text[2][5] = {"aZ?m", "Az?M"};
    LeaveTheCLocale();
    for (left = 1; left < 256; ++left) {
        for (right = 1; right < 256; ++right) {
            const int isEqual = Lower(left) == Lower(right);
            text[0][2] = (char)left;
            text[1][2] = (char)right;
            CHECK((p_XELP_StriCmp(text[0], text[1]) == 0) == isEqual);
        }
    }
}

static void StriCmpOrders(void)
{
    int left, right;
    for (left = 0; left < 256; ++left) {
        for (right = 0; right < 256; ++right) {
            const char text[2][2] = {{(char)left, '\0'}, {(char)right, '\0'}};
            CHECK(Sign(p_XELP_StriCmp(text[0], text[1])) == Sign(Lower(left) - Lower(right)));
        }
    }
    CHECK(p_XELP_StriCmp("abc", "ABCd") < 0 && p_XELP_StriCmp("ABCd", "abc") > 0);
    CHECK(p_XELP_StriCmp(AtEnd("abc"), "abc\x80") < 0);
}

/* ---- Bounded routines ------------------------------------------------------------------------ */

/* A block of the given size, filled with old bytes, that ends at MemoryEnd(). */
static char *Block(size_t size)
{
    char *const end = MemoryEnd();
    memset(end - PAGE, OLD, PAGE);
    return end - size;
}

/* Do these bytes of such a block, and the two bytes before the block, still have the value OLD? */
static int IsOld(const char *pBlock, size_t from, size_t to)
{
    const unsigned char *const bytes = (const unsigned char *)pBlock;
    size_t i;
    for (i = from; i < to; ++i) {
        if (bytes[i] != OLD) {
            return 0;
        }
    }
    return bytes[-1] == OLD && bytes[-2] == OLD;
}

static void MemcpyCopies(void)
{
    const char source[] = "01\0003456789";
    QAL_ULONG max, count;
    for (max = 0; max <= 8; ++max) {
        for (count = 0; count <= max; ++count) {
            char *const block = Block(max);
            CHECK(p_wyx_memcpy_s(block, max, source, count) == 0);
            CHECK(memcmp(block, source, count) == 0 && IsOld(block, count, max));
        }
    }
}

static void MemcpyRefuses(void)
{
    char *const block = Block(4);
    CHECK(p_wyx_memcpy_s(block, 4, "01234", 5) != 0);
    CHECK(p_wyx_memcpy_s(block, 4, "01234", ULONG_MAX) != 0);
    CHECK(p_wyx_memcpy_s(block, 0, "01234", 1) != 0);
    CHECK(p_wyx_memcpy_s(block, 4, NULL, 1) != 0);
    CHECK(IsOld(block, 0, 4));
    CHECK(p_wyx_memcpy_s(NULL, 4, "0", 1) != 0);
}

static void MemsetFills(void)
{
    static const struct {
        QAL_INT32 lValue;
        unsigned char ucByte;
    } kValues[] = {{0, 0}, {255, 255}, {256, 0}, {0x1234, 0x34}, {-1, 255}, {INT_MIN, 0}};
    QAL_ULONG max, count;
    unsigned i;
    for (max = 0; max <= 8; ++max) {
        for (count = 0; count <= max; ++count) {
            char *const block = Block(max);
            CHECK(p_wyx_memset_s(block, max, 'x', count) == 0);
            CHECK(memcmp(block, "xxxxxxxx", count) == 0 && IsOld(block, count, max));
        }
    }
    for (i = 0; i < sizeof kValues / sizeof kValues[0]; ++i) {
        char *const block = Block(1);
        CHECK(p_wyx_memset_s(block, 1, kValues[i].lValue, 1) == 0);
        CHECK((unsigned char)*block == kValues[i].ucByte);
    }
}

static void MemsetRefuses(void)
{
    char *const block = Block(4);
    CHECK(p_wyx_memset_s(block, 4, 0, 5) != 0);
    CHECK(p_wyx_memset_s(block, 4, 0, ULONG_MAX) != 0);
    CHECK(IsOld(block, 0, 4));
    CHECK(p_wyx_memset_s(NULL, 4, 0, 1) != 0);
}

/* A text of this length, eight at most. */
static const char *Text(size_t length)
{
    return &"tttttttt"[8 - length];
}

static void StrcpyCopies(void)
{
    QAL_ULONG max, length;
    for (max = 0; max <= 8; ++max) {
        for (length = 0; length <= max; ++length) {
            const char *const text = Text(length);
            char *const block = Block(max + 1);
            CHECK(p_wyx_strcpy_s(block, max, text) == 0);
            CHECK(strcmp(block, text) == 0 && IsOld(block, length + 1, max + 1));
        }
    }
    CHECK(p_wyx_strcpy_s(Block(4), ULONG_MAX, "abc") == 0); /* a bound that limits nothing */
}

static void StrcpyRefuses(void)
{
    char *block = Block(5);
    CHECK(p_wyx_strcpy_s(block, 4, "01234") != 0);
    CHECK(*block == '\0' && IsOld(block, 1, 5));
    block = Block(1);
    CHECK(p_wyx_strcpy_s(block, 0, "0") != 0);
    CHECK(*block == '\0');
    block = Block(5);
    CHECK(p_wyx_strcpy_s(block, 4, NULL) != 0);
    CHECK(*block == '\0');
    CHECK(p_wyx_strcpy_s(NULL, 4, "0") != 0);
}

static void StrcatAppends(void)
{
    QAL_ULONG max, held, length;
    for (max = 1; max <= 8; ++max) {
        for (held = 0; held < max; ++held) {
            for (length = 0; held + length < max; ++length) {
                char *const block = Block(max);
                memset(block, 'b', held);
                block[held] = '\0';
                CHECK(p_wyx_strcat_s(block, max, Text(length)) == 0);
                CHECK(strlen(block) == held + length && memcmp(block, "bbbbbbbb", held) == 0);
                CHECK(memcmp(block + held, "tttttttt", length) == 0);
                CHECK(IsOld(block, held + length + 1, max));
            }
        }
    }
}

static void StrcatRefuses(void)
{
    char *block = Block(4);
    memcpy(block, "ab", 3);
    CHECK(p_wyx_strcat_s(block, 4, "cd") != 0);
    CHECK(*block == '\0' && block[1] == 'b' && IsOld(block, 3, 4));
    block = Block(4);
    memcpy(block, "ab", 3);
    CHECK(p_wyx_strcat_s(block, 4, NULL) != 0);
    CHECK(*block == '\0');
    CHECK(p_wyx_strcat_s(NULL, 4, "a") != 0);
    CHECK(p_wyx_strcat_s(MemoryEnd(), 0, "") != 0); /* no byte may be written */
}

static void StrcatNeedsAnEnd(void)
{
    char *const block = Block(4);
    CHECK(p_wyx_strcat_s(block, 4, "") != 0);
    CHECK(*block == '\0' && IsOld(block, 1, 4));
}

static void SprintfFormats(void)
{
    char *const block = Block(64);
    CHECK(p_wyx_sprintf_s(block, 64, "[%s]\n", "net") == 6);
    CHECK(strcmp(block, "[net]\n") == 0);
    CHECK(p_wyx_sprintf_s(block, 64, "%llu", 18446744073709551615ULL) == 20);
    CHECK(strcmp(block, "18446744073709551615") == 0);
    CHECK(p_wyx_sprintf_s(block, 64, "%-4d|%5.2s|%c%%", -7, "xyz", 'q') == 13);
    CHECK(strcmp(block, "-7  |   xy|q%") == 0);
    CHECK(p_wyx_sprintf_s(block, ULONG_MAX, "%s", "a bound that says nothing") == 25);
}

static void SprintfFits(void)
{
    QAL_ULONG max, length;
    for (max = 1; max <= 8; ++max) {
        for (length = 0; length < max; ++length) {
            const char *const text = Text(length);
            char *const block = Block(max);
            CHECK(p_wyx_sprintf_s(block, max, "%s", text) == (QAL_INT32)length);
            CHECK(strcmp(block, text) == 0 && IsOld(block, 0, 0));
        }
    }
}

static void SprintfRefuses(void)
{
    /* Through another type, for which the compiler does not check the format. */
    QAL_INT32 (*const format)(QAL_CHAR *, QAL_ULONG, const QAL_CHAR *, ...) = p_wyx_sprintf_s;
    QAL_ULONG max;
    for (max = 1; max <= 8; ++max) {
        char *const block = Block(max);
        CHECK(p_wyx_sprintf_s(block, max, "%s", Text(max)) == -1);
        CHECK(*block == '\0' && IsOld(block, 0, 0));
    }
    CHECK(p_wyx_sprintf_s(MemoryEnd(), 0, "%s", "") == -1); /* no byte may be written */
    CHECK(format(Block(8), 8, NULL) == -1);
    CHECK(*(MemoryEnd() - 8) == '\0');
    CHECK(p_wyx_sprintf_s(NULL, 8, "%s", "x") == -1);
}

/* ---- The list -------------------------------------------------------------------------------- */

static const struct {
    const char *pszPromise;
    void (*try)(void);
} kPromises[] = {
    {"memory: blocks are writable and do not overlap", BlocksDoNotOverlap},
    {"memory: blocks are aligned for every type", BlocksAreAligned},
    {"memory: XELP_MemMallocS fills with zero bytes, reused memory included", BlocksAreZeroed},
    {"memory: a size of 0 counts as 1", SizeOfZeroCountsAsOne},
    {"memory: a request that cannot be met returns null", MemoryRunsOut},
    {"memory: both releases accept null", ReleasesAcceptNull},
    {"memory: XELP_MemFreeSetNullD releases a block of either kind and sets the variable to null",
     ReleaseSetsNull},
    {"memory: several threads may use it at once", MemoryOnThreads},
    {"files: every byte comes back as it was written, line ends included", FilesKeepEveryByte},
    {"files: 70,000 bytes written at once come back", FilesMayBeLarge},
    {"files: after the last byte, XELP_Fgetc returns -1", FilesEnd},
    {"files: mode \"w\" empties a file that exists", FilesAreEmptied},
    {"files: mode \"r\" refuses a file that does not exist, and does not create it",
     FilesThatAreMissing},
    {"files: what is written follows what was written before", WritesFollowOneAnother},
    {"files: XELP_Fwrite returns the number of items", WritesCountItems},
    {"files: XELP_Fwrite of no item, or of items of no size, writes nothing and returns 0",
     WritesOfNothing},
    {"files: XELP_Fseek steps back by one byte after each read", SeekStepsBack},
    {"files: XELP_Fseek moves from the start, the position and the end", SeekMoves},
    {"files: XELP_Fseek to before the start fails and leaves the position", SeekFailsInPlace},
    {"files: files that are open at once do not disturb one another", OpenFilesAreIndependent},
    {"files: XELP_Remove removes the file, and no other", RemoveRemoves},
    {"files: XELP_Remove fails for a file that does not exist", RemoveFails},
    {"files: XELP_Rename moves the content to the new name", RenameRenames},
    {"files: XELP_Rename replaces a file that has the new name", RenameReplaces},
    {"files: XELP_Rename of a file that does not exist fails and changes nothing", RenameFails},
    {"files: several threads may use files of their own at once", FilesOnThreads},
    {"clock: XELP_GetSystemTime counts milliseconds", ClockCountsMilliseconds},
    {"strings: XELP_StrLen counts the bytes before the terminator", StrLenCounts},
    {"strings: XELP_StrChr finds the first, XELP_StrrChr the last of each byte", StrChrFinds},
    {"strings: XELP_StrChr and XELP_StrrChr find the terminator", StrChrFindsTheEnd},
    {"strings: XELP_StrChr and XELP_StrrChr reduce a negative value to its byte",
     StrChrReducesToAByte},
    {"strings: XELP_StrStr finds the first occurrence, an empty string at the start", StrStrFinds},
    {"strings: XELP_StriCmp ignores the case of ASCII letters only, in any locale", StriCmpFolds},
    {"strings: XELP_StriCmp orders by unsigned bytes, letters as lower case", StriCmpOrders},
    {"bounded: wyx_memcpy_s copies up to the bound, zero bytes included", MemcpyCopies},
    {"bounded: wyx_memcpy_s refuses more, and null, and changes nothing", MemcpyRefuses},
    {"bounded: wyx_memset_s fills up to the bound with a value reduced to a byte", MemsetFills},
    {"bounded: wyx_memset_s refuses more, and null, and changes nothing", MemsetRefuses},
    {"bounded: wyx_strcpy_s copies a text of exactly the bound, which leaves out the terminator",
     StrcpyCopies},
    {"bounded: wyx_strcpy_s refuses a longer text, and null, and leaves an empty destination",
     StrcpyRefuses},
    {"bounded: wyx_strcat_s appends what fits with the terminator", StrcatAppends},
    {"bounded: wyx_strcat_s refuses more, and null, and leaves an empty destination",
     StrcatRefuses},
    {"bounded: wyx_strcat_s refuses a block without a terminator, and leaves it empty",
     StrcatNeedsAnEnd},
    {"bounded: wyx_sprintf_s formats as printf does and returns the length", SprintfFormats},
    {"bounded: wyx_sprintf_s fills the block up to its last byte", SprintfFits},
    {"bounded: wyx_sprintf_s refuses more, and null, and leaves an empty destination",
     SprintfRefuses},
};
enum { PROMISES = sizeof kPromises / sizeof kPromises[0] };

/* Removes the folder, and any files that the adapter has left in it. */
static void RemoveFolder(void)
{
    DIR *const folder = opendir(pszFolder);
    const struct dirent *entry;
    while (folder != NULL && (entry = readdir(folder)) != NULL) {
        unlink(Name(entry->d_name));
    }
    if (folder != NULL) {
        closedir(folder);
    }
    rmdir(pszFolder);
}

/* Tests a promise in a process of its own; what that process prints goes to acReason. */
static int Try(int promise, char *acReason, size_t size)
{
    int ends[2], status = 0;
    size_t length = 0;
    ssize_t count;
    pid_t child;
    char folder[PATH_MAX - NAME_MAX];
    const char *temporary = getenv("TMPDIR");
    if (temporary == NULL || temporary[0] == '\0') {
        temporary = "/tmp";
    }
    snprintf(folder, sizeof folder, "%s/wyx-adapter-XXXXXX", temporary);
    pszFolder = mkdtemp(folder);
    if (pszFolder == NULL) {
        fprintf(stderr, "wyx-adapter-suite: cannot make a folder in %s: %s\n", temporary,
                strerror(errno));
        exit(2);
    }
    if (pipe(ends) != 0 || (child = fork()) == -1) {
        perror("wyx-adapter-suite");
        exit(2);
    }
    if (child == 0) {
        alarm(MAX_SECONDS);
        close(ends[0]);
        if (dup2(ends[1], STDOUT_FILENO) == -1) {
            exit(2);
        }
        kPromises[promise].try();
        End(0);
    }
    close(ends[1]);
    while ((count = read(ends[0], acReason + length, size - 1 - length)) > 0) {
        length += (size_t)count;
    }
    acReason[length] = '\0';
    close(ends[0]);
    while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    RemoveFolder();
    if (WIFSIGNALED(status)) {
        snprintf(acReason, size, "%s",
                 WTERMSIG(status) == SIGALRM ? "no end" : strsignal(WTERMSIG(status)));
        return 1;
    }
    return WEXITSTATUS(status);
}

int main(int argc, char **argv)
{
    const char *library = argc > 1 ? argv[1] : getenv("WYX_OS_ADAPTER");
    void *handle;
    int promise, broken = 0, skipped = 0;
    char reason[512];

    if (argc > 2 || (argc == 2 && argv[1][0] == '-')) {
        fputs(
            "usage: wyx-adapter-suite [LIBRARY]\n"
            "Tests promises of os_adapter.h and bounded.h on an adapter: LIBRARY, or what\n"
            "WYX_OS_ADAPTER names, or " WYX_DEFAULT_ADAPTER
            ".\n"
            "Prints a line for each promise, or for each service that is missing; ends with 1 if\n"
            "one is not kept or a service is missing, with 2 if nothing could be tested.\n",
            stderr);
        return 2;
    }
    if (library == NULL || library[0] == '\0') {
        library = WYX_DEFAULT_ADAPTER;
    }
    handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
    if (handle == NULL) {
        fprintf(stderr, "wyx-adapter-suite: %s\n", dlerror());
        return 2;
    }
#define FIND(name)                                  \
    *(void **)&p_##name = dlsym(handle, #name);     \
    if (p_##name == NULL) {                         \
        printf("not ok - %s is exported\n", #name); \
        ++broken;                                   \
    }
    SERVICES(FIND)
    if (broken != 0) {
        printf("1..%d\n", broken);
        return 1;
    }

    printf("1..%d\n# %s\n", PROMISES, library);
    for (promise = 0; promise < PROMISES; ++promise) {
        int result;
        fflush(stdout);
        result = Try(promise, reason, sizeof reason);
        if (result == 0) {
            printf("ok %d - %s\n", promise + 1, kPromises[promise].pszPromise);
        } else if (result == SKIPPED) {
            ++skipped;
            printf("ok %d - %s # SKIP %s\n", promise + 1, kPromises[promise].pszPromise, reason);
        } else {
            ++broken;
            printf("not ok %d - %s: %s\n", promise + 1, kPromises[promise].pszPromise, reason);
        }
    }
    printf("# %d kept, %d broken, %d skipped\n", PROMISES - broken - skipped, broken, skipped);
    return broken != 0;
}
