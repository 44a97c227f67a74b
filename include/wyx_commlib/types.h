/**
 * @file types.h
 * @brief Base types of the library and the conventions that hold for every call.
 *
 * **Statuses.** A call that can fail returns a #QAL_UINT32: 0 for success, otherwise a value of its
 * module's own error enumeration. The numbers are part of the binary interface; modules do not share
 * them, so a status means something only together with the module that returned it. The exceptions,
 * each described with its call: 1 is a success of XELP_Parse_IPV4(), the Base64 calls return a
 * length, and a few building blocks return nothing or a value of their own.
 *
 * **Ownership**, in four words used throughout: a call *borrows* an argument (until it returns),
 * *keeps* it (until a named call), *takes* it (it is no longer yours), or *hands over* a result
 * (release it with a named call).
 *
 * **Text** is a NUL-terminated byte string without an assumed encoding. No result depends on whether
 * the compiler's plain `char` is signed.
 *
 * **Threads.** The library starts none, takes no lock and keeps no mutable state of its own: calls
 * on different objects may run on any threads at once. One object must not be used by two threads at
 * once unless its header says so.
 */
#ifndef WYX_COMMLIB_TYPES_H
#define WYX_COMMLIB_TYPES_H

#if defined(__cplusplus)
/** Opens the part of a header that declares things of C. */
#define WYX_C_BEGIN extern "C" {
/** Closes that part. */
#define WYX_C_END }
/** Gives an enumeration a fixed 32-bit type in C++, so that an out-of-range value is defined. */
#define WYX_ENUM32 : unsigned int
#else
#define WYX_C_BEGIN
#define WYX_C_END
#define WYX_ENUM32
#endif

/** Marks a symbol that the shared library exports. */
#if defined(__GNUC__)
#define WYX_API __attribute__((visibility("default")))
#else
#define WYX_API
#endif

WYX_C_BEGIN

typedef unsigned char QAL_UINT8;       /**< unsigned, 8 bits */
typedef unsigned short QAL_UINT16;     /**< unsigned, 16 bits */
typedef unsigned int QAL_UINT32;       /**< unsigned, 32 bits: statuses, lengths, counts */
typedef unsigned int QAL_UINT;         /**< unsigned, 32 bits */
typedef unsigned long long QAL_UINT64; /**< unsigned, 64 bits: the clock */
typedef unsigned long QAL_ULONG;       /**< the platform's unsigned long, 64 bits */
typedef char QAL_INT8;                 /**< the platform's plain character type, 8 bits */
typedef char QAL_CHAR;                 /**< the platform's plain character type, 8 bits */
typedef int QAL_INT32;                 /**< signed, 32 bits */
typedef int QAL_INT;                   /**< signed, 32 bits */
typedef long QAL_LONG;                 /**< the platform's long, 64 bits */

/** An open file of the platform adapter; only ever handled by pointer. */
typedef struct xelpFile XELP_S_File;

WYX_C_END

#endif
