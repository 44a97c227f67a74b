// Folding a long message a vector at a time.
//
// Squaring over GF(2) doubles the exponents and adds no term: (a + b)^2 = a^2 + b^2. The eighth
// power of a sparse multiple S therefore has the terms of S with their exponents multiplied by
// eight. Its distances are those of S in bytes instead of bits. A vector is folded by XORing it
// into the message at these distances, without a shift, whatever the order of the bits in a byte.
#ifndef WYX_COMMLIB_CRC_SOURCE_CRC_FOLD_VECTORS_H
#define WYX_COMMLIB_CRC_SOURCE_CRC_FOLD_VECTORS_H

#include "crc_fold.h"

namespace wyx::crc {

using Vector [[gnu::vector_size(16)]] = Word;
constexpr unsigned kVectorBytes = sizeof(Vector);

inline Vector LoadVector(const QAL_UINT8 *puc)
{
    Vector vector;
    __builtin_memcpy(&vector, puc, sizeof vector);
    return vector;
}

inline void StoreVector(QAL_UINT8 *puc, Vector vector)
{
    __builtin_memcpy(puc, &vector, sizeof vector);
}

/// Folds by the eighth power of a Sparse.
template <typename Multiple>
class VectorFold;

template <unsigned kDegree, unsigned... kLower>
class VectorFold<Sparse<kDegree, kLower...>> {
    static constexpr unsigned kNearest = std::min({(kDegree - kLower)...});
    static constexpr unsigned kStep = 4 * kVectorBytes;
    static_assert(kNearest >= kStep, "a vector would add to its own step");

    // No vector reads a byte further back than this; rounded up to whole vectors.
    static constexpr unsigned kReach = (kDegree + kVectorBytes - 1) / kVectorBytes * kVectorBytes;
    static constexpr unsigned kChunk = 4096;

  public:
    static constexpr QAL_UINT32 kMinBytes = kReach + kVectorBytes;
    static constexpr QAL_UINT32 kMaxRest = kReach + kVectorBytes - 1;

    /// Writes a message of at most kMaxRest bytes with the same remainder to @p pucRest and returns
    /// its length. The given message has at least kMinBytes; @p start is added to its first 16
    /// bytes.
    static QAL_UINT32 Reduce(Vector start, const QAL_UINT8 *pucData, QAL_UINT32 ulLen,
                             QAL_UINT8 *pucRest)
    {
        // A folded vector is not XORed into later ones at once. Instead, each later vector reads
        // the folded bytes at the multiple's distances before it, so the buffer keeps them. Zeros
        // precede the message.
        alignas(64) QAL_UINT8 aucBuffer[kReach + kChunk + kReach];
        QAL_UINT8 *const pucFolded = aucBuffer + kReach;
        for (unsigned i = 0; i < kReach; i += kVectorBytes) {
            StoreVector(aucBuffer + i, Vector{});
        }
        QAL_UINT32 ulLeft = ulLen;
        QAL_UINT32 ulFolded = 0;
        for (;;) {
            ulFolded = std::min(ulLeft - kReach, kChunk) / kVectorBytes * kVectorBytes;
            StoreVector(pucFolded, Folded(pucData, pucFolded) ^ start);
            start = Vector{};
            FoldFrom(kVectorBytes, ulFolded, pucData, pucFolded);
            pucData += ulFolded;
            ulLeft -= ulFolded;
            if (ulLeft <= kMaxRest) {
                break;
            }
            for (unsigned i = 0; i < kReach; i += kVectorBytes) {
                StoreVector(aucBuffer + i, LoadVector(pucFolded + ulFolded - kReach + i));
            }
        }
        // The rest is not folded further, so zeros take its place in the buffer.
        QAL_UINT8 *const pucEnd = pucFolded + ulFolded;
        for (unsigned i = 0; i < kReach; i += kVectorBytes) {
            StoreVector(pucEnd + i, Vector{});
        }
        for (QAL_UINT32 i = 0; i + kVectorBytes <= ulLeft; i += kVectorBytes) {
            StoreVector(pucRest + i, Folded(pucData + i, pucEnd + i));
        }
        const QAL_UINT32 ulLast = ulLeft - kVectorBytes; // overlaps the vector before it
        StoreVector(pucRest + ulLast, Folded(pucData + ulLast, pucEnd + ulLast));
        return ulLeft;
    }

  private:
    /// The vectors of a step do not depend on each other, which keeps in-order CPUs busy.
    static void FoldFrom(QAL_UINT32 i, QAL_UINT32 ulEnd, const QAL_UINT8 *pucData,
                         QAL_UINT8 *pucFolded)
    {
        for (; i + kStep <= ulEnd; i += kStep) { // speed only
            const Vector first = Folded(pucData + i, pucFolded + i);
            const Vector second = Folded(pucData + i + 16, pucFolded + i + 16);
            const Vector third = Folded(pucData + i + 32, pucFolded + i + 32);
            const Vector fourth = Folded(pucData + i + 48, pucFolded + i + 48);
            StoreVector(pucFolded + i, first);
            StoreVector(pucFolded + i + 16, second);
            StoreVector(pucFolded + i + 32, third);
            StoreVector(pucFolded + i + 48, fourth);
        }
        for (; i < ulEnd; i += kVectorBytes) {
            StoreVector(pucFolded + i, Folded(pucData + i, pucFolded + i));
        }
    }

    static Vector Folded(const QAL_UINT8 *pucMessage, const QAL_UINT8 *pucFolded)
    {
        return (LoadVector(pucMessage) ^ ... ^ LoadVector(pucFolded - (kDegree - kLower)));
    }
};

} // namespace wyx::crc

#endif
