/**
 * @file bounded.h
 * @brief The bounded copy and format routines the library stands on.
 *
 * Each takes the destination and its bound first and never writes beyond the block that the bound
 * describes. What does not fit is refused whole: nothing is ever cut off, and a string that is
 * refused leaves an empty one. A null pointer is refused in the same way.
 *
 * Part of the platform: see os_adapter.h for how an adapter of a client's own takes their place.
 */
#ifndef WYX_BOUNDED_H
#define WYX_BOUNDED_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/**
 * @brief Copies bytes between blocks that do not overlap.
 *
 * @param[out] pDest      where to; untouched on failure
 * @param[in]  ulDestMax  room there, in bytes
 * @param[in]  pSrc       where from
 * @param[in]  ulCount    how many bytes
 * @return 0, or another value if @p ulCount is above @p ulDestMax.
 */
WYX_API QAL_INT32 wyx_memcpy_s(void *pDest, QAL_ULONG ulDestMax, const void *pSrc,
                               QAL_ULONG ulCount);

/**
 * @brief Fills bytes; never optimised away, so it can wipe a secret.
 *
 * @param[out] pDest      where; untouched on failure
 * @param[in]  ulDestMax  room there, in bytes
 * @param[in]  lByte      the value, reduced to a byte
 * @param[in]  ulCount    how many bytes
 * @return 0, or another value if @p ulCount is above @p ulDestMax.
 */
WYX_API QAL_INT32 wyx_memset_s(void *pDest, QAL_ULONG ulDestMax, QAL_INT32 lByte,
                               QAL_ULONG ulCount);

/**
 * @brief Copies a string.
 *
 * The bound counts the text *without* its terminator, unlike that of its siblings: a source of
 * exactly @p ulDestMax bytes is copied whole, so the block must hold @p ulDestMax + 1. Callers that
 * pass the length of the text they copy rely on it.
 *
 * @param[out] pszDest    where to; empty on failure
 * @param[in]  ulDestMax  the longest text that fits there, in bytes
 * @param[in]  pszSrc     the string; must not overlap the destination
 * @return 0, or another value if the string is longer than @p ulDestMax.
 */
WYX_API QAL_INT32 wyx_strcpy_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszSrc);

/**
 * @brief Appends a string.
 *
 * @param[in,out] pszDest    the string that is extended; empty on failure, also where it was no
 *                           string within its block
 * @param[in]     ulDestMax  size of its block in bytes, terminator included; 0 writes nothing
 * @param[in]     pszSrc     what is appended; must not overlap the destination
 * @return 0, or another value if the result with its terminator does not fit.
 */
WYX_API QAL_INT32 wyx_strcat_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszSrc);

/**
 * @brief Formats a string, as the C library's printf() does.
 *
 * @param[out] pszDest    where to; empty on failure
 * @param[in]  ulDestMax  size of that block in bytes, terminator included; 0 writes nothing
 * @param[in]  pszFormat  the format; arguments follow
 * @return the length of the result, or -1 if it does not fit with its terminator.
 */
WYX_API QAL_INT32 wyx_sprintf_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszFormat,
                                ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 3, 4)))
#endif
    ;

WYX_C_END

#endif
