/**
 * @file base64.h
 * @brief Encodes a buffer to Base64, or decodes it from Base64, into a new buffer.
 *
 * @warning MOX_BASE64Decode() reads **one byte past the length it is given**. That byte must be
 * readable, and must be a character that the decoder accepts. The NUL at the end of a string is
 * fine. Before you decode a piece of a longer text, or what you read from a file or a connection,
 * put a NUL after it.
 *
 * The encoder writes the standard alphabet of RFC 4648 with `=` padding and no line breaks.
 *
 * The decoder is lenient. It reads the URL-safe `-` and `_` as `+` and `/`. It skips `=`, CR, LF
 * and NUL anywhere, even in the middle of a group of four. A text that contains any other
 * character, such as a space, is refused as a whole. Padding is not required, and neither padding
 * nor the unused bits of the last character are checked. So different texts, such as `aGk=`, `aGl=`
 * and `aGk`, can decode to the same bytes: compare the bytes, not the texts.
 *
 * Both calls return a length and hand over a buffer from XELP_MemMallocD() that holds that many
 * bytes and a NUL after them. To detect a failure, check the pointer, not the length, which is also
 * 0 for an empty result. Any number of threads may call at once.
 *
 * @code{.c}
 * QAL_UINT8 *text;
 * QAL_INT32 textLen = MOX_BASE64Encode(data, dataLen, &text);
 * if (text != NULL) {
 *     SendText(text, textLen);
 *     MOX_BASE64Free(&text); // text is now null
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
 * @param[in]  pucInput    the bytes, borrowed; the call fails if it is null
 * @param[in]  lInputlen   the number of bytes; the call fails if it is 0; if it is negative,
 *                         nothing is read and the text is empty
 * @param[out] ppucOutput  not null; the text with its NUL, handed over: release it with
 *                         MOX_BASE64Free(); null on failure
 * @return the length of the text without its NUL: 4 characters for every 3 bytes, and 4 for the one
 *         or two bytes that may be left over. 0 and a null pointer for a null input, a length of 0,
 *         more than 1,073,741,819 bytes, or a failed allocation. For 536,870,912 bytes or more, the
 *         call requests a block of 3.5 to 4.3 GB, which is more than the text needs.
 */
WYX_API QAL_INT32 MOX_BASE64Encode(QAL_UINT8 *pucInput, const QAL_INT32 lInputlen,
                                   QAL_UINT8 **ppucOutput);

/**
 * @brief Decodes text. Reads one byte past @p lInputlen: see the warning at the top.
 *
 * The byte at @p pucInput[@p lInputlen] adds nothing to the result, but the call fails if the
 * decoder does not accept it.
 *
 * @param[in]  pucInput    the text, borrowed; the call fails if it is null
 * @param[in]  lInputlen   its length in bytes, without the byte after it; the call fails if it is
 *                         0; if it is negative, nothing is read and the result is empty
 * @param[out] ppucOutput  not null; the bytes with a NUL after them, handed over: release them
 *                         with MOX_BASE64Free(); null on failure
 * @return the number of bytes: 3 for every 4 characters of the alphabet. In an incomplete group at
 *         the end, 3 characters decode to 2 bytes, 2 to 1 byte, and 1 to no byte. 0 and a null
 *         pointer for a null input, a length of 0, more than 1,431,655,758 characters, a character
 *         that is not accepted, or a failed allocation. For 715,827,883 characters or more, the
 *         call requests a block of 3.7 to 4.3 GB, which is more than the bytes need.
 */
WYX_API QAL_INT32 MOX_BASE64Decode(QAL_UINT8 *pucInput, const QAL_INT32 lInputlen,
                                   QAL_UINT8 **ppucOutput);

/**
 * @brief Releases a buffer that either call handed over, and sets the variable to null.
 *
 * @param[in,out] ppucBuff  not null; the variable that holds the buffer. The buffer is taken. The
 *                          variable may hold null, so releasing twice does no harm.
 */
WYX_API void MOX_BASE64Free(QAL_UINT8 **ppucBuff);

WYX_C_END

#endif
