/**
 * @file types.h
 * @brief Base types of the library, and what holds for every call.
 *
 * **Statuses.** A module's call that can fail returns a #QAL_UINT32: 0 for success, otherwise a
 * value of the module's error enumeration. The same number can mean different things in different
 * modules, so read a status together with the module it came from. Exceptions, each described with
 * its call: XELP_Parse_IPV4() also returns 1 for success, the MD5 calls return nothing,
 * MOX_BASE64Encode() and MOX_BASE64Decode() return a length, and a few building blocks and the
 * services of the platform adapter return nothing or a value of their own.
 *
 * **Ownership**, in four words: a call *borrows* an argument (until it returns), *keeps* it (until
 * a named call), *takes* it (it is no longer yours), or *hands over* a result (it is yours now;
 * release it with the named call, if there is one).
 *
 * **Text** is a byte string of no particular encoding. It ends at a NUL, except where a call takes
 * its length or its end. No result depends on whether the compiler's plain `char` is signed.
 *
 * **Threads.** Calls on different objects may run on any threads at once, but a file may have only
 * one saver at a time. Two threads must not use the same object at once unless its header allows
 * it.
 *
 * **Targets** are 64-bit and little-endian; this header does not compile for any other.
 */
#ifndef WYX_COMMLIB_TYPES_H
#define WYX_COMMLIB_TYPES_H

#if !defined(__LP64__) || !defined(__BYTE_ORDER__) || __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "wyx_commlib is for 64-bit little-endian systems only (on Android: arm64-v8a and x86_64)"
#endif

#if defined(__cplusplus)
/** Opens an extern "C" block in C++. */
#define WYX_C_BEGIN extern "C" {
/** Closes the block that WYX_C_BEGIN opened. */
#define WYX_C_END }
/** Gives an enumeration a fixed 32-bit type in C++, so that it can hold any 32-bit value. */
#define WYX_ENUM32 : unsigned int
#else
#define WYX_C_BEGIN
#define WYX_C_END
#define WYX_ENUM32
#endif

/** Marks an exported symbol. */
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

/** An open file of the platform adapter, used only through a pointer. */
typedef struct xelpFile XELP_S_File;

WYX_C_END

#endif
