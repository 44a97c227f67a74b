// The forms of Base64's inner loops, and the one that the library uses.
//
// EncodeGroups() encodes groups of three bytes from the start of the input and returns the number
// of bytes encoded. DecodeQuads() decodes quads of four characters and stops before the first one
// that holds a character without a value; it returns the number of characters decoded. Given 16 or
// more characters before that quad, it decodes all of them; given fewer, it may leave some.
// base64.cpp processes whatever is left over.
//
// All forms produce the same bytes. None reads outside the input. DecodeQuads() may overwrite bytes
// after those it decodes: at most as many as the remaining characters decode to, plus one. A
// decoder's buffer always has that room.
//
// A form exists only where the compiler may assume the CPU features that it needs. The library's
// form is chosen when the library is compiled; nothing is detected at run time.
#ifndef WYX_COMMLIB_BASE64_KERNEL_H
#define WYX_COMMLIB_BASE64_KERNEL_H

#include "wyx_commlib/types.h"

#include <array>

#if defined(__SSE2__)
#define WYX_BASE64_HAS_SSE2 1
#endif
#if defined(__AVX2__)
#define WYX_BASE64_HAS_AVX2 1
#endif
#if defined(__AVX512VBMI__) && defined(__AVX512BW__)
#define WYX_BASE64_HAS_AVX512 1
#endif
#if defined(__ARM_NEON)
#define WYX_BASE64_HAS_NEON 1
#else
#define WYX_BASE64_HAS_TABLE 1 // NEON needs no tables of this size
#if !defined(WYX_BASE64_HAS_AVX512)
#define WYX_BASE64_HAS_PAIRS 1 // AVX-512 encodes without a table
#endif
#endif

namespace wyx::base64 {

/// The alphabet of RFC 4648, and a NUL.
inline constexpr QAL_CHAR cb64[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
inline constexpr QAL_UINT8 kSextets = 64;

/// The two characters that encode the lowest 12 bits, the first in the low byte.
constexpr QAL_UINT16 TwoCharactersOf(QAL_UINT64 ullBits)
{
    const QAL_UINT32 ulFirst = static_cast<QAL_UINT8>(cb64[ullBits / kSextets % kSextets]);
    const QAL_UINT32 ulSecond = static_cast<QAL_UINT8>(cb64[ullBits % kSextets]);
    return static_cast<QAL_UINT16>(ulFirst | ulSecond << 8);
}

inline constexpr QAL_UINT8 kNoSextet = 0xFF;

/// The sextet of each character, those of the URL-safe alphabet included; kNoSextet for any other
/// byte. The forms that look up sextets make their own tables from this one.
consteval std::array<QAL_UINT8, 256> MakeSextets()
{
    std::array<QAL_UINT8, 256> aTab{};
    aTab.fill(kNoSextet);
    for (QAL_UINT8 i = 0; i < kSextets; ++i) {
        aTab[static_cast<QAL_UINT8>(cb64[i])] = i;
    }
    aTab['-'] = aTab['+'];
    aTab['_'] = aTab['/'];
    return aTab;
}

/// Any CPU: a look-up yields two characters or decodes one, in tables of 8 and 4 KiB.
namespace table {
QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
} // namespace table

/// SSE2: 12 bytes at once. Decodes by the table form.
namespace sse2 {
QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
using table::DecodeQuads;
} // namespace sse2

/// AVX2: 24 bytes or 32 characters at once; leaves the rest to sse2 and table.
namespace avx2 {
QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
} // namespace avx2

/// AVX-512 with byte permutations: 48 bytes or 64 characters at once, down to the last group.
namespace avx512 {
QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
} // namespace avx512

/// NEON: 48 bytes or 64 characters at once, then 12 or 16.
namespace neon {
QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
} // namespace neon

#if defined(WYX_BASE64_HAS_AVX512)
namespace kernel = avx512;
#elif defined(WYX_BASE64_HAS_AVX2)
namespace kernel = avx2;
#elif defined(WYX_BASE64_HAS_SSE2)
namespace kernel = sse2;
#elif defined(WYX_BASE64_HAS_NEON)
namespace kernel = neon;
#else
namespace kernel = table;
#endif

} // namespace wyx::base64

#endif
