/* Checks the platform's headers in plain C99, included twice: sizes, and calls with C linkage. */
#include "bounded.h"
#include "mem_accounting.h"
#include "os_adapter.h"

#include "header_check.h"

/* once more */
#include "bounded.h"
#include "mem_accounting.h"
#include "os_adapter.h"

WYX_CHECK(sizeof(wyxMem_S_Use) == 48);
WYX_CHECK(sizeof(wyxMem_S_Site) == 64);
WYX_CHECK(sizeof(wyxMem_S_Block) == 24);

/* Checks the prototypes: these pointers have the types that every adapter must keep. */
static void *(*const pfunMallocD)(QAL_UINT32, QAL_UINT32, const QAL_CHAR *) = XELP_MemMallocD;
static void *(*const pfunMallocS)(QAL_UINT32, QAL_UINT32, QAL_UINT32,
                                  const QAL_CHAR *) = XELP_MemMallocS;
static void (*const pfunFreeD)(void *, QAL_UINT32, const QAL_CHAR *) = XELP_MemFreeD;
static void (*const pfunFreeSetNullD)(void **, QAL_UINT32, const QAL_CHAR *) = XELP_MemFreeSetNullD;
static XELP_S_File *(*const pfunOpen)(const QAL_CHAR *, const QAL_CHAR *) = XELP_Fopen;
static QAL_INT32 (*const pfunGetc)(XELP_S_File *) = XELP_Fgetc;
static QAL_INT32 (*const pfunSeek)(XELP_S_File *, QAL_LONG, QAL_INT32) = XELP_Fseek;
static QAL_UINT32 (*const pfunWrite)(const void *, QAL_UINT32, QAL_UINT32,
                                     XELP_S_File *) = XELP_Fwrite;
static QAL_INT32 (*const pfunClose)(XELP_S_File *) = XELP_Fclose;
static QAL_INT32 (*const pfunRemove)(const QAL_CHAR *) = XELP_Remove;
static QAL_INT32 (*const pfunRename)(const QAL_CHAR *, const QAL_CHAR *) = XELP_Rename;
static QAL_UINT64 (*const pfunTime)(void) = XELP_GetSystemTime;
static QAL_UINT32 (*const pfunLen)(const QAL_CHAR *) = XELP_StrLen;
static QAL_CHAR *(*const pfunChr)(const QAL_CHAR *, QAL_INT32) = XELP_StrChr;
static QAL_CHAR *(*const pfunrChr)(const QAL_CHAR *, QAL_INT32) = XELP_StrrChr;
static QAL_CHAR *(*const pfunStr)(const QAL_CHAR *, const QAL_CHAR *) = XELP_StrStr;
static QAL_INT32 (*const pfuniCmp)(const QAL_CHAR *, const QAL_CHAR *) = XELP_StriCmp;
static QAL_INT32 (*const pfunMemcpy)(void *, QAL_ULONG, const void *, QAL_ULONG) = wyx_memcpy_s;
static QAL_INT32 (*const pfunMemset)(void *, QAL_ULONG, QAL_INT32, QAL_ULONG) = wyx_memset_s;
static QAL_INT32 (*const pfunStrcpy)(QAL_CHAR *, QAL_ULONG, const QAL_CHAR *) = wyx_strcpy_s;
static QAL_INT32 (*const pfunStrcat)(QAL_CHAR *, QAL_ULONG, const QAL_CHAR *) = wyx_strcat_s;
static QAL_INT32 (*const pfunSprintf)(QAL_CHAR *, QAL_ULONG, const QAL_CHAR *, ...) = wyx_sprintf_s;

int main(void)
{
    QAL_CHAR szText[8];
    void *pBlock = pfunMallocS(4, 0, __LINE__, __FILE__);
    XELP_S_File *pstruFile = pfunOpen("/dev/null", "w");
    int isWrong = pBlock == 0 || pstruFile == 0 || pfunWrite("ab", 1, 2, pstruFile) != 2 ||
                  pfunSeek(pstruFile, 0, 9) == 0 || pfunGetc(pstruFile) != -1 ||
                  pfunClose(pstruFile) != 0 || pfunRemove("/dev/null/none") == 0 ||
                  pfunRename("/dev/null/none", "/dev/null/other") == 0 || pfunTime() == 0;

    pfunFreeSetNullD(&pBlock, __LINE__, __FILE__);
    pfunFreeD(pfunMallocD(1, __LINE__, __FILE__), __LINE__, __FILE__);
    isWrong = isWrong || pBlock != 0 || pfunLen("abc") != 3 || *pfunChr("abc", 'b') != 'b' ||
              *pfunrChr("abc", 'c') != 'c' || *pfunStr("abc", "c") != 'c' ||
              pfuniCmp("aBc", "AbC") != 0 || pfunMemcpy(szText, 8, "ab", 3) != 0 ||
              pfunStrcat(szText, 8, "cd") != 0 || pfuniCmp(szText, "abcd") != 0 ||
              pfunMemset(szText, 8, 0, 8) != 0 || pfunStrcpy(szText, 7, "1234567") != 0 ||
              pfunSprintf(szText, 8, "%d", 1234567) != 7;
    return isWrong;
}
