/**
 * @file bounded.h
 * @brief The bounded copy and format routines that the library needs.
 *
 * Each takes the destination and its bound first, and never writes past the block that the bound
 * describes. What does not fit is refused as a whole: no text is cut off, and the destination of a
 * refused text is left empty if it has room for a NUL. A null pointer is refused in the same way.
 *
 * @code{.c}
 * char line[16];
 * if (wyx_sprintf_s(line, sizeof line, "%s=%s", key, value) < 0) {
 *     Refuse(key); // it does not fit, and the line is empty
 * }
 * @endcode
 *
 * These routines are part of the platform: see os_adapter.h for how a client's own adapter replaces
 * them.
 */
#ifndef WYX_BOUNDED_H
#define WYX_BOUNDED_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/**
 * @brief Copies bytes between blocks that do not overlap.
 *
 * @param[out] pDest      the destination; untouched on failure
 * @param[in]  ulDestMax  its size in bytes
 * @param[in]  pSrc       the source
 * @param[in]  ulCount    how many bytes
 * @return 0, or another value if @p ulCount is above @p ulDestMax.
 */
WYX_API QAL_INT32 wyx_memcpy_s(void *pDest, QAL_ULONG ulDestMax, const void *pSrc,
                               QAL_ULONG ulCount);

/**
 * @brief Fills bytes. The fill is never optimised away, so this call can wipe a secret.
 *
 * @param[out] pDest      the destination; untouched on failure
 * @param[in]  ulDestMax  its size in bytes
 * @param[in]  lByte      the value, reduced to a byte
 * @param[in]  ulCount    how many bytes
 * @return 0, or another value if @p ulCount is above @p ulDestMax.
 */
WYX_API QAL_INT32 wyx_memset_s(void *pDest, QAL_ULONG ulDestMax, QAL_INT32 lByte,
                               QAL_ULONG ulCount);

/**
 * @brief Copies a string.
 *
 * The bound counts the text *without* its terminator, unlike the bounds of wyx_strcat_s() and
 * wyx_sprintf_s(): a source of exactly @p ulDestMax bytes is copied whole, so the block must hold
 * @p ulDestMax + 1. An adapter must not refuse such a source: the library may pass the exact length
 * of the source as the bound.
 *
 * @param[out] pszDest    the destination; empty on failure
 * @param[in]  ulDestMax  length of the longest text that fits, in bytes
 * @param[in]  pszSrc     the string; must not overlap the destination
 * @return 0, or another value if the string is longer than @p ulDestMax.
 */
WYX_API QAL_INT32 wyx_strcpy_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszSrc);

/**
 * @brief Appends a string.
 *
 * @param[in,out] pszDest    the string to extend; empty on failure, even if its block held no
 *                           terminator
 * @param[in]     ulDestMax  size of its block in bytes, terminator included; 0 writes nothing
 * @param[in]     pszSrc     the string to append; must not overlap the destination
 * @return 0, or another value if the result with its terminator does not fit.
 */
WYX_API QAL_INT32 wyx_strcat_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszSrc);

/**
 * @brief Formats a string like the C library's printf().
 *
 * @param[out] pszDest    the destination; empty on failure
 * @param[in]  ulDestMax  size of its block in bytes, terminator included; 0 writes nothing
 * @param[in]  pszFormat  the format; arguments follow
 * @return the length of the result, or -1 if it does not fit with its terminator, or cannot be
 *         formatted.
 */
WYX_API QAL_INT32 wyx_sprintf_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszFormat,
                                ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 3, 4)))
#endif
    ;

WYX_C_END

#endif
