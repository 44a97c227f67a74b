// The inner loops of Base64, in several forms; all give the same bytes as the loops of base64.cpp
// that go character by character, which do whatever these leave over.
//
// EncodeGroups() encodes groups of three bytes from the start of the input and gives the number of
// bytes that it has encoded. DecodeQuads() decodes quads of four characters, and stops before the
// first that holds anything but characters with a value; it gives the number of characters that it
// has decoded. Where these are 16 or more, it leaves no quad before that one over. None of them
// reads beyond the input. Behind the bytes that it decodes, DecodeQuads() may overwrite others as
// long as they are fewer than the characters it leaves over call for, and one byte more: so many
// the buffer of a decoder always has.
#ifndef WYX_COMMLIB_BASE64_KERNEL_H
#define WYX_COMMLIB_BASE64_KERNEL_H

#include "wyx_commlib/types.h"

#include <array>

namespace wyx::base64 {

/// The alphabet of RFC 4648, and a NUL.
inline constexpr QAL_CHAR cb64[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
inline constexpr QAL_UINT8 kSextets = 64;

inline constexpr QAL_UINT8 kNoSextet = 0xFF;

/// The sextets of all characters, those of the URL-safe alphabet included; kNoSextet for others.
/// Each form makes a table of its own of it.
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

/// Looks several characters up at once in tables of 8 and 4 KiB.
namespace table {
QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
} // namespace table

/// 12 bytes at once, with SSE2; decodes in the table's form.
namespace sse2 {
QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
using table::DecodeQuads;
} // namespace sse2

/// 24 bytes or 32 characters at once, with AVX2; the table's form for the rest.
namespace avx2 {
QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
} // namespace avx2

/// 48 bytes or 64 characters at once, down to the last group, with AVX-512's byte permutations.
namespace avx512 {
QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
} // namespace avx512

/// 48 bytes or 64 characters at once, with NEON; then 12 or 16.
namespace neon {
QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut);
} // namespace neon

#if defined(__AVX512VBMI__) && defined(__AVX512BW__)
namespace kernel = avx512;
#elif defined(__AVX2__)
namespace kernel = avx2;
#elif defined(__SSE2__)
namespace kernel = sse2;
#elif defined(__ARM_NEON)
namespace kernel = neon;
#else
namespace kernel = table;
#endif

} // namespace wyx::base64

#endif
