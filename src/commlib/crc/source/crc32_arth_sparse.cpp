// CRC-32 by sparse multiples of its polynomial: portable, and one table look-up for each of the
// last eight bytes only.
#include "crc32_arth_internal.h"

#include "crc_fold_vectors.h"

namespace wyx::crc {
namespace {

// The only multiple up to this degree that has five terms or fewer.
using Long = Sparse<300, 155, 117, 89, 0>;
// Nine terms, with a gap of more than half a word below the first one: for what Long leaves over.
using Short = Sparse<85, 48, 41, 39, 17, 13, 6, 3, 0>;
static_assert(Long::IsMultipleOf(kCrc32) && Short::IsMultipleOf(kCrc32));

// Behind the message there are the 32 zero bits by which it is multiplied.
static_assert(85 - 64 <= 32, "folding the last word but one passes the end");

using Order = LowestBitFirst;
using Vectors = VectorFold<Long>;

constexpr QAL_UINT32 kMinByWords = kWordBytes;
constexpr QAL_UINT32 kMinByLong = 56;     // below, Short alone is faster
constexpr QAL_UINT32 kMinByVectors = 512; // below, preparing the buffer costs more than it brings
static_assert(kMinByVectors >= Vectors::kMinBytes);

QAL_UINT32 Finish(LastWord last)
{
    return Crc32OfWord(last.ullWord) ^ static_cast<QAL_UINT32>(last.ullPastEnd);
}

QAL_UINT32 ByLong(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    return Finish(FoldWords<Order, Long, Short>(ulCrc, pucData, ulLen));
}

/// Apart from the others, so that these are spared the buffer.
[[gnu::noinline]] QAL_UINT32 ByVectors(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    QAL_UINT8 aucRest[Vectors::kMaxRest];
    const QAL_UINT32 ulRest = Vectors::Fold(Vector{ulCrc}, pucData, ulLen, aucRest);
    return ByLong(0, aucRest, ulRest);
}

} // namespace

QAL_UINT32 Crc32Sparse(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    if (ulLen < kMinByWords) {
        return Crc32Plain(ulCrc, pucData, ulLen);
    }
    if (ulLen < kMinByLong) {
        return Finish(FoldWords<Order, Short>(ulCrc, pucData, ulLen));
    }
    return ulLen < kMinByVectors ? ByLong(ulCrc, pucData, ulLen) : ByVectors(ulCrc, pucData, ulLen);
}

} // namespace wyx::crc
