// The CPU forms of Base64's inner loops, each for CPUs with certain features, and the choice of the
// form that the library uses.
//
// EncodeGroups() encodes groups of three bytes from the start of the input and returns the number
// of bytes encoded. It may leave some groups at the end.
//
// DecodeQuads() decodes quads of four characters from the start of the text and returns the number
// of characters decoded. It decodes the whole quads before the first character that has no sextet
// (six-bit value). If those quads have fewer than 16 characters in all, it may leave some of them.
//
// base64.cpp processes whatever either function leaves.
//
// All forms produce the same bytes. None reads outside the input. DecodeQuads() may write past the
// decoded bytes: at most as many bytes as the remaining characters could decode to, plus one. The
// decoder's buffer always has room for these.
//
// A form exists only where the compiler may assume the CPU features that the form needs. The
// library's form is chosen when the library is compiled; nothing is detected at run time.
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
#define WYX_BASE64_HAS_TABLE 1 // the table form; the NEON form does not need it
#if !defined(WYX_BASE64_HAS_AVX512)
#define WYX_BASE64_HAS_PAIRS 1 // the library's form uses base64_pairs.h
#endif
#endif

namespace wyx::base64 {

/// The alphabet of RFC 4648, and a NUL.
inline constexpr QAL_CHAR cb64[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
inline constexpr QAL_UINT8 kSextetCount = 64;

/// The two characters that encode the lowest 12 bits, the first in the low byte.
constexpr QAL_UINT16 TwoCharactersOf(QAL_UINT64 ullBits)
{
    const QAL_UINT32 ulFirst = static_cast<QAL_UINT8>(cb64[ullBits / kSextetCount % kSextetCount]);
    const QAL_UINT32 ulSecond = static_cast<QAL_UINT8>(cb64[ullBits % kSextetCount]);
    return static_cast<QAL_UINT16>(ulFirst | ulSecond << 8);
}

inline constexpr QAL_UINT8 kNoSextet = 0xFF;

/// The sextet of each character, including those of the URL-safe alphabet; kNoSextet for any other
/// byte. The forms that look up sextets make their own tables from this one.
consteval std::array<QAL_UINT8, 256> MakeSextets()
{
    std::array<QAL_UINT8, 256> aTab{};
    aTab.fill(kNoSextet);
    for (QAL_UINT8 i = 0; i < kSextetCount; ++i) {
        aTab[static_cast<QAL_UINT8>(cb64[i])] = i;
    }
    aTab['-'] = aTab['+'];
    aTab['_'] = aTab['/'];
    return aTab;
}

/// For any CPU: a look-up yields two characters or decodes one. The tables take 8 and 4 KiB.
namespace table {
QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
} // namespace table

/// SSE2: encodes 12 bytes at once, and decodes as the table form does.
namespace sse2 {
QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
using table::DecodeQuads;
} // namespace sse2

/// AVX2: 24 bytes or 32 characters at once. It passes the rest to sse2 and table.
namespace avx2 {
QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
} // namespace avx2

/// AVX-512 with byte permutations: 48 bytes or 64 characters at once; masks let it process fewer at
/// the end.
namespace avx512 {
QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
} // namespace avx512

/// NEON: 48 bytes or 64 characters at once, then 12 bytes or 16 characters.
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
