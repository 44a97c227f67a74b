/**
 * @file base64.h
 * @brief Base64 of a buffer, both ways, into a new buffer.
 *
 * @warning MOX_BASE64Decode() reads **one byte beyond the length it is given**. That byte must be
 * readable and must be a character that the decoder accepts; the terminating NUL of a string is
 * both. A piece cut out of a longer text, or a buffer received from elsewhere, has to be followed
 * by a NUL before it is decoded.
 *
 * The encoder writes the standard alphabet of RFC 4648 with `=` padding and never a line break. The
 * decoder is lenient: it takes the URL-safe `-` and `_` for `+` and `/`, and it skips `=`, CR, LF
 * and NUL wherever they stand, also in the middle of a group of four; padding is neither required
 * nor checked. So different texts decode to the same bytes: compare the bytes, not the texts. Any
 * other character, a space among them, refuses the whole text.
 *
 * Both calls return a length and hand over a buffer of XELP_MemMallocD(), NUL-terminated beyond
 * that length. Every failure returns 0 and leaves null in its place; an empty result also returns
 * 0, so look at the pointer, not at the length, to tell them apart. All calls may run on any number
 * of threads.
 *
 * @code{.c}
 * QAL_UINT8 *text;
 * QAL_INT32 textLen = MOX_BASE64Encode(data, dataLen, &text);
 * if (text != NULL) {
 *     send(text, textLen);
 *     MOX_BASE64Free(&text); // text is null again
 * }
 * @endcode
 */
#ifndef WYX_COMMLIB_BASE64_H
#define WYX_COMMLIB_BASE64_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/**
 * @brief Encodes bytes.
 *
 * @param[in]  pucInput    the bytes, borrowed; null fails
 * @param[in]  lInputlen   how many; 0 fails, a negative one gives the empty text
 * @param[out] ppucOutput  not null; receives the text with its NUL, handed over: release it with
 *                         MOX_BASE64Free(); null on failure
 * @return the length of the text without its NUL: 4 characters for every 3 bytes or part of them.
 *         0 with a null @p ppucOutput for a null input, a length of 0 (in both cases a buffer was
 *         allocated and released again), a failed allocation, or more than 536,870,911 bytes.
 */
WYX_API QAL_INT32 MOX_BASE64Encode(QAL_UINT8 *pucInput, const QAL_INT32 lInputlen,
                                   QAL_UINT8 **ppucOutput);

/**
 * @brief Decodes text. Reads one byte beyond @p lInputlen: see the warning at the top.
 *
 * The byte at @p pucInput[@p lInputlen] contributes nothing, but where the decoder does not accept
 * it the call fails.
 *
 * @param[in]  pucInput    the text, borrowed; null fails
 * @param[in]  lInputlen   its length in bytes, without the byte beyond; 0 fails, a negative one
 *                         reads nothing and gives the empty result
 * @param[out] ppucOutput  not null; receives the bytes and a NUL after them, handed over: release
 *                         it with MOX_BASE64Free(); null on failure
 * @return the number of bytes: 3 for every 4 characters of the alphabet; 2 or 1 for 3 or 2 left
 *         over at the end, none for 1. 0 with a null @p ppucOutput for a null input, a length of 0
 *         (nothing was allocated), a failed allocation, a character that is not accepted, or more
 *         than 715,827,882 characters.
 */
WYX_API QAL_INT32 MOX_BASE64Decode(QAL_UINT8 *pucInput, const QAL_INT32 lInputlen,
                                   QAL_UINT8 **ppucOutput);

/**
 * @brief Releases a buffer of either call and sets the variable to null.
 *
 * @param[in,out] ppucBuff  the variable that holds it, not null; what it holds is taken and may be
 *                          null, so that releasing twice does no harm
 */
WYX_API void MOX_BASE64Free(QAL_UINT8 **ppucBuff);

WYX_C_END

#endif
