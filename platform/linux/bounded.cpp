// Nothing is copied unless all of it fits; a formatted text that does not fit is cleared.
#include "bounded.h"

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

constexpr QAL_INT32 kRefused = -1;

} // namespace

extern "C" {

QAL_INT32 wyx_memcpy_s(void *pDest, QAL_ULONG ulDestMax, const void *pSrc, QAL_ULONG ulCount)
{
    if (pDest == nullptr || pSrc == nullptr || ulCount > ulDestMax) {
        return kRefused;
    }
    std::memcpy(pDest, pSrc, ulCount);
    return 0;
}

QAL_INT32 wyx_memset_s(void *pDest, QAL_ULONG ulDestMax, QAL_INT32 lByte, QAL_ULONG ulCount)
{
    if (pDest == nullptr || ulCount > ulDestMax) {
        return kRefused;
    }
    // The optimiser must assume that this statement reads the block. Otherwise, if it also sees the
    // caller, as in link-time optimisation, it could drop a fill that nobody reads. memset()
    // returns pDest.
    __asm__ volatile("" : : "r"(std::memset(pDest, lByte, ulCount)) : "memory");
    return 0;
}

QAL_INT32 wyx_strcpy_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszSrc)
{
    if (pszDest == nullptr) {
        return kRefused;
    }
    const QAL_ULONG ulLen = pszSrc != nullptr ? std::strlen(pszSrc) : 0;
    // Kept: the bound leaves out the terminator (Bounded.StrcpyCountsTheTextWithoutItsTerminator).
    if (pszSrc == nullptr || ulLen > ulDestMax) {
        *pszDest = '\0';
        return kRefused;
    }
    std::memcpy(pszDest, pszSrc, ulLen + 1);
    return 0;
}

QAL_INT32 wyx_strcat_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszSrc)
{
    if (pszDest == nullptr || ulDestMax == 0) {
        return kRefused;
    }
    const QAL_ULONG ulHeld = strnlen(pszDest, ulDestMax); // ulDestMax if there is no terminator
    const QAL_ULONG ulLen = pszSrc != nullptr ? std::strlen(pszSrc) : 0;
    if (pszSrc == nullptr || ulLen >= ulDestMax - ulHeld) {
        *pszDest = '\0';
        return kRefused;
    }
    std::memcpy(pszDest + ulHeld, pszSrc, ulLen + 1);
    return 0;
}

QAL_INT32 wyx_sprintf_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszFormat, ...)
{
    if (pszDest == nullptr || ulDestMax == 0) {
        return -1;
    }
    QAL_INT32 lLen = -1;
    // vsnprintf() returns an int, and some C libraries refuse a larger bound.
    const QAL_ULONG ulRoom = ulDestMax < INT_MAX ? ulDestMax : INT_MAX;
    if (pszFormat != nullptr) {
        va_list args;
        va_start(args, pszFormat);
        lLen = std::vsnprintf(pszDest, ulRoom, pszFormat, args);
        va_end(args);
    }
    if (lLen < 0 || static_cast<QAL_ULONG>(lLen) >= ulRoom) {
        *pszDest = '\0';
        return -1;
    }
    return lLen;
}

} // extern "C"
