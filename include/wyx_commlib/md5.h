/**
 * @file md5.h
 * @brief MD5 digest of a message, fed in one piece or in many.
 *
 * Use MD5 to check data against stored digests and to detect accidental changes. Two messages with
 * the same MD5 can be made in seconds: for passwords, signatures, or a file that somebody else
 * could have replaced, use something else.
 *
 * A *context* is the state of a message in progress. Use one context on one thread at a time;
 * different contexts may be used on different threads at once. The calls return nothing and check
 * nothing, so never pass a null pointer. They allocate nothing and keep no pointer.
 *
 * @code{.c}
 * MD5_S_CTX context;
 * QAL_UINT8 digest[16];
 * XELP_MD5_Init(&context);
 * XELP_MD5_Update(&context, header, headerLen);
 * XELP_MD5_Update(&context, body, bodyLen);
 * XELP_MD5_Final(digest, &context); // the context is wiped
 * @endcode
 */
#ifndef WYX_COMMLIB_MD5_H
#define WYX_COMMLIB_MD5_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/** A context. You provide its memory. The layout is ABI. */
typedef struct xelpMD5_S_CTX {
    QAL_UINT32 state[4];  /**< chaining values A, B, C, D */
    QAL_UINT32 count[2];  /**< length of the message so far in bits, modulo 2^64, low word first */
    QAL_UINT8 buffer[64]; /**< begins with the bytes that do not fill a block yet */
} MD5_S_CTX;

/**
 * @brief Begins a message.
 *
 * @param[out] context  the context, borrowed; it may hold anything, and its buffer is left as it is
 */
WYX_API void XELP_MD5_Init(MD5_S_CTX *context);

/**
 * @brief Feeds the next piece of a message.
 *
 * The digest does not depend on how the message is cut into pieces.
 *
 * @param[in,out] context   a context initialised by XELP_MD5_Init(), borrowed
 * @param[in]     input     the piece, borrowed; any alignment; must not overlap @p context
 * @param[in]     inputLen  its length in bytes; 0 changes nothing
 */
WYX_API void XELP_MD5_Update(MD5_S_CTX *context, const QAL_UINT8 *input, QAL_UINT inputLen);

/**
 * @brief Ends a message.
 *
 * @param[out]    digest   receives the 16 bytes of the digest; must not overlap @p context
 * @param[in,out] context  a context initialised by XELP_MD5_Init(), borrowed; all of it is zero
 *                         afterwards. Registers and the stack are not wiped. Call XELP_MD5_Init()
 *                         before you use @p context again: otherwise the next digest is wrong.
 * @par Source
 * RFC 1321. The digest of the empty message is d41d8cd98f00b204e9800998ecf8427e, that of "abc" is
 * 900150983cd24fb0d6963f7d28e17f72.
 */
WYX_API void XELP_MD5_Final(QAL_UINT8 *digest, MD5_S_CTX *context);

WYX_C_END

#endif
