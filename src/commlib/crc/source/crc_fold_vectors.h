// Folding a long message by whole vectors.
//
// Squaring over GF(2) doubles the exponents and adds no term: (a + b)^2 = a^2 + b^2. So the eighth
// power of a sparse multiple S has the exponents of S times eight. Its distances are those of S,
// counted in bytes instead of bits, and a vector is folded by XORing it into the message at these
// distances, with no shift and in whichever order the bits of a byte come.
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
    static_assert(kNearest >= kVectorBytes, "a vector would add to itself");

    static constexpr unsigned kPast = (kDegree + kVectorBytes - 1) / kVectorBytes * kVectorBytes;
    static constexpr unsigned kChunk = 4096;

  public:
    static constexpr QAL_UINT32 kMinBytes = kPast + kVectorBytes;
    static constexpr QAL_UINT32 kMaxRest = kPast + kVectorBytes - 1;

    /// Writes a message of at most kMaxRest bytes with the remainder of the given one, which has
    /// kMinBytes or more, and returns its length. @p start is added to the first 16 bytes.
    static QAL_UINT32 Fold(Vector start, const QAL_UINT8 *pucData, QAL_UINT32 ulLen,
                           QAL_UINT8 *pucRest)
    {
        // The words cleared so far, as they were when their turn came: the message's next vector is
        // changed by those that lie the distances before it. Before the message they are zeros.
        alignas(64) QAL_UINT8 aucBuffer[kPast + kChunk + kPast];
        QAL_UINT8 *const pucCleared = aucBuffer + kPast;
        for (unsigned i = 0; i < kPast; i += kVectorBytes) {
            StoreVector(aucBuffer + i, Vector{});
        }
        QAL_UINT32 ulLeft = ulLen;
        QAL_UINT32 ulCleared = 0;
        for (;;) {
            ulCleared = std::min(ulLeft - kPast, kChunk) / kVectorBytes * kVectorBytes;
            StoreVector(pucCleared, Next(pucData, pucCleared) ^ start);
            start = Vector{};
            for (QAL_UINT32 i = kVectorBytes; i < ulCleared; i += kVectorBytes) {
                StoreVector(pucCleared + i, Next(pucData + i, pucCleared + i));
            }
            pucData += ulCleared;
            ulLeft -= ulCleared;
            if (ulLeft <= kMaxRest) {
                break;
            }
            for (unsigned i = 0; i < kPast; i += kVectorBytes) {
                StoreVector(aucBuffer + i, LoadVector(pucCleared + ulCleared - kPast + i));
            }
        }
        // The rest is not cleared itself, so that from here on there are zeros again.
        QAL_UINT8 *const pucEnd = pucCleared + ulCleared;
        for (unsigned i = 0; i < kPast; i += kVectorBytes) {
            StoreVector(pucEnd + i, Vector{});
        }
        for (QAL_UINT32 i = 0; i + kVectorBytes <= ulLeft; i += kVectorBytes) {
            StoreVector(pucRest + i, Next(pucData + i, pucEnd + i));
        }
        const QAL_UINT32 ulLast = ulLeft - kVectorBytes; // overlaps the one before it
        StoreVector(pucRest + ulLast, Next(pucData + ulLast, pucEnd + ulLast));
        return ulLeft;
    }

  private:
    static Vector Next(const QAL_UINT8 *pucMessage, const QAL_UINT8 *pucCleared)
    {
        return (LoadVector(pucMessage) ^ ... ^ LoadVector(pucCleared - (kDegree - kLower)));
    }
};

} // namespace wyx::crc

#endif
