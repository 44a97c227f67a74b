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

    static constexpr unsigned kPast = (kDegree + kVectorBytes - 1) / kVectorBytes * kVectorBytes;
    static constexpr unsigned kChunk = 4096;

  public:
    static constexpr QAL_UINT32 kMinBytes = kPast + kVectorBytes;
    static constexpr QAL_UINT32 kMaxRest = kPast + kVectorBytes - 1;

    /// Writes a message of at most kMaxRest bytes with the same remainder to @p pucRest and returns
    /// its length. The given message has at least kMinBytes; @p start is added to its first 16
    /// bytes.
    static QAL_UINT32 Reduce(Vector start, const QAL_UINT8 *pucData, QAL_UINT32 ulLen,
                             QAL_UINT8 *pucRest)
    {
        // Stores each vector's value just before it is cleared, as later vectors need it. The next
        // vector of the message is XORed with the bytes that precede it by each of the multiple's
        // distances. Zeros precede the message.
        alignas(64) QAL_UINT8 aucBuffer[kPast + kChunk + kPast];
        QAL_UINT8 *const pucCleared = aucBuffer + kPast;
        for (unsigned i = 0; i < kPast; i += kVectorBytes) {
            StoreVector(aucBuffer + i, Vector{});
        }
        QAL_UINT32 ulLeft = ulLen;
        QAL_UINT32 ulCleared = 0;
        for (;;) {
            ulCleared = std::min(ulLeft - kPast, kChunk) / kVectorBytes * kVectorBytes;
            StoreVector(pucCleared, Folded(pucData, pucCleared) ^ start);
            start = Vector{};
            ClearFrom(kVectorBytes, ulCleared, pucData, pucCleared);
            pucData += ulCleared;
            ulLeft -= ulCleared;
            if (ulLeft <= kMaxRest) {
                break;
            }
            for (unsigned i = 0; i < kPast; i += kVectorBytes) {
                StoreVector(aucBuffer + i, LoadVector(pucCleared + ulCleared - kPast + i));
            }
        }
        // The rest is not cleared, so it adds nothing to itself: the buffer has zeros in its place.
        QAL_UINT8 *const pucEnd = pucCleared + ulCleared;
        for (unsigned i = 0; i < kPast; i += kVectorBytes) {
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
    static void ClearFrom(QAL_UINT32 i, QAL_UINT32 ulEnd, const QAL_UINT8 *pucData,
                          QAL_UINT8 *pucCleared)
    {
        for (; i + kStep <= ulEnd; i += kStep) { // speed only
            const Vector first = Folded(pucData + i, pucCleared + i);
            const Vector second = Folded(pucData + i + 16, pucCleared + i + 16);
            const Vector third = Folded(pucData + i + 32, pucCleared + i + 32);
            const Vector fourth = Folded(pucData + i + 48, pucCleared + i + 48);
            StoreVector(pucCleared + i, first);
            StoreVector(pucCleared + i + 16, second);
            StoreVector(pucCleared + i + 32, third);
            StoreVector(pucCleared + i + 48, fourth);
        }
        for (; i < ulEnd; i += kVectorBytes) {
            StoreVector(pucCleared + i, Folded(pucData + i, pucCleared + i));
        }
    }

    static Vector Folded(const QAL_UINT8 *pucMessage, const QAL_UINT8 *pucCleared)
    {
        return (LoadVector(pucMessage) ^ ... ^ LoadVector(pucCleared - (kDegree - kLower)));
    }
};

} // namespace wyx::crc

#endif
