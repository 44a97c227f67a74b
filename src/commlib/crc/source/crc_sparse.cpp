// The form for any CPU. It folds by sparse multiples of the polynomials and needs at most nine
// table look-ups per message.
#include "crc_kernel.h"

#include "crc_fold_vectors.h"
#include "crc_plain.h"

namespace wyx::crc {
namespace {

constexpr QAL_UINT32 kMinByWords = kWordBytes;
static_assert(kMinByWords >= kWordBytes, "FirstWord reads a whole word");

// ---- CRC-16

namespace crc16 {

// The polynomial itself has four terms, and so do its 8th and 16th powers.
using Power8 = Sparse<128, 96, 40, 0>;
using Power16 = Sparse<256, 192, 80, 0>;
// The four-term multiple of lowest degree whose two highest exponents differ by at least half a
// word, as WordFold needs (SparseMultiples.Crc16Short).
using Short = Sparse<73, 36, 26, 0>;
static_assert(Power8::IsMultipleOf(kCrc16) && Power16::IsMultipleOf(kCrc16) &&
              Short::IsMultipleOf(kCrc16));

// The message is multiplied by x^16, so 16 zero bits follow it.
static_assert(73 - 64 <= 16, "clearing the last word but one would reach past the zeros");

/// Not inlined, so that its two callers share one copy.
[[gnu::noinline]] QAL_UINT16 ByWords(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    const LastWord last =
        FoldWords<HighestBitFirst, Power16, Short>(Word{uwCrc} << 48, pucData, ulLen);
    return static_cast<QAL_UINT16>(Crc16OfWord(last.ullWord) ^ (last.ullPastEnd >> 48));
}

/// Folds by the 64th power of the polynomial, which is Power8 to the eighth. The distances of that
/// power are 32, 88 and 128 bytes: 2, 5 1/2 and 8 vectors. So a vector depends only on the 128
/// bytes before it, which stay in registers.
class RegisterFold {
  public:
    static constexpr unsigned kVectors = 8;
    static constexpr unsigned kBytes = kVectors * kVectorBytes;

    RegisterFold() { SetToZero(std::make_index_sequence<kVectors>{}); }

    /// Takes the next 128 bytes of the message.
    void Take(const QAL_UINT8 *pucData) { TakeEach(pucData, std::make_index_sequence<kVectors>{}); }

    /// Takes the last 128 bytes of the message, which are not folded further. Writes them to @p
    /// pucRest with what the preceding bytes add to them.
    void TakeLast(const QAL_UINT8 *pucData, QAL_UINT8 *pucRest)
    {
        TakeLastEach(pucData, pucRest, std::make_index_sequence<kVectors>{});
    }

  private:
    template <std::size_t... kAt>
    void SetToZero(std::index_sequence<kAt...>)
    {
        ((aVectors_[kAt] = Vector{}), ...);
    }

    template <std::size_t... kAt>
    void TakeEach(const QAL_UINT8 *pucData, std::index_sequence<kAt...>)
    {
        ((aVectors_[kAt] = Folded<kAt>(pucData)), ...);
    }

    template <std::size_t... kAt>
    void TakeLastEach(const QAL_UINT8 *pucData, QAL_UINT8 *pucRest, std::index_sequence<kAt...>)
    {
        ((StoreVector(pucRest + kAt * kVectorBytes, Folded<kAt>(pucData)),
          aVectors_[kAt] = Vector{}),
         ...);
    }

    /// Vector kAt of the next 128 bytes, with what the preceding bytes add to it. In the array, the
    /// vectors before kAt already hold these 128 bytes, or zeros in TakeLast(); the others still
    /// hold the preceding 128 bytes.
    template <std::size_t kAt>
    Vector Folded(const QAL_UINT8 *pucData) const
    {
        const Vector before2 = aVectors_[(kAt + kVectors - 2) % kVectors];
        const Vector before6 = aVectors_[(kAt + kVectors - 6) % kVectors];
        const Vector before5 = aVectors_[(kAt + kVectors - 5) % kVectors];
        const Vector before5AndAHalf = {before6[1], before5[0]};
        return LoadVector(pucData + kAt * kVectorBytes) ^ aVectors_[kAt] ^ before5AndAHalf ^
               before2;
    }

    Vector aVectors_[kVectors];
};

constexpr QAL_UINT32 kMinByRegisters = 3 * RegisterFold::kBytes; // speed only: set-up costs time
static_assert(kMinByRegisters >= RegisterFold::kBytes + 2,
              "ByRegisters() needs a block, and at least two bytes before it");

/// Not inlined, so that short messages do not pay for the buffer.
[[gnu::noinline]] QAL_UINT16 ByRegisters(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData,
                                         QAL_UINT32 ulLen)
{
    constexpr unsigned kBytes = RegisterFold::kBytes;
    if (ulLen % kBytes == 1) { // the first block must have room for both bytes of the start value
        uwCrc = Crc16Plain(uwCrc, pucData, 1);
        ++pucData;
        --ulLen;
    }
    // Zeros in front pad the message to whole blocks of 128 bytes; the remainder stays the same.
    const QAL_UINT32 ulFirst = (ulLen - 1) % kBytes + 1;
    alignas(64) QAL_UINT8 aucBlock[kBytes + kVectorBytes];
    for (unsigned i = 0; i < kBytes; i += kVectorBytes) {
        StoreVector(aucBlock + i, Vector{});
    }
    QAL_UINT8 *const pucFirst = aucBlock + kBytes - ulFirst;
    for (QAL_UINT32 i = 0; i < ulFirst; i += kVectorBytes) {
        StoreVector(pucFirst + i, LoadVector(pucData + i));
    }
    pucFirst[0] ^= static_cast<QAL_UINT8>(uwCrc >> 8);
    pucFirst[1] ^= static_cast<QAL_UINT8>(uwCrc);

    RegisterFold fold;
    fold.Take(aucBlock);
    const QAL_UINT8 *const pucLast = pucData + ulLen - kBytes;
    for (pucData += ulFirst; pucData != pucLast; pucData += kBytes) {
        fold.Take(pucData);
    }
    fold.TakeLast(pucLast, aucBlock);
    return ByWords(0, aucBlock, kBytes);
}

} // namespace crc16

// ---- CRC-32

namespace crc32 {

// The only multiple up to this degree that has five terms or fewer (SparseMultiples.Crc32Long).
using Long = Sparse<300, 155, 117, 89, 0>;
// Folds what Long leaves, and messages that are too short for Long. It is the nine-term multiple of
// lowest degree whose two highest exponents differ by at least half a word. Up to degree 96, no
// multiple with such a gap has fewer terms (SparseMultiples.Crc32Short). Above degree 96, the
// assertion on the 32 zero bits, below, would fail.
using Short = Sparse<85, 48, 41, 39, 17, 13, 6, 3, 0>;
static_assert(Long::IsMultipleOf(kCrc32) && Short::IsMultipleOf(kCrc32));

// The message is multiplied by x^32, so 32 zero bits follow it.
static_assert(85 - 64 <= 32, "clearing the last word but one would reach past the zeros");

using Vectors = VectorFold<Long>;

constexpr QAL_UINT32 kMinByLong = 56;     // speed only: Long pays off from about here
constexpr QAL_UINT32 kMinByVectors = 512; // speed only: preparing the buffer costs time
static_assert(kMinByVectors >= Vectors::kMinBytes);

QAL_UINT32 Finish(LastWord last)
{
    return Crc32OfWord(last.ullWord) ^ static_cast<QAL_UINT32>(last.ullPastEnd);
}

/// Not inlined, so that its two callers share one copy.
[[gnu::noinline]] QAL_UINT32 ByLong(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    return Finish(FoldWords<LowestBitFirst, Long, Short>(ulCrc, pucData, ulLen));
}

/// Not inlined, so that short messages do not pay for the buffer.
[[gnu::noinline]] QAL_UINT32 ByVectors(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    QAL_UINT8 aucRest[Vectors::kMaxRest];
    const QAL_UINT32 ulRest = Vectors::Reduce(Vector{ulCrc}, pucData, ulLen, aucRest);
    return ByLong(0, aucRest, ulRest);
}

} // namespace crc32
} // namespace

QAL_UINT16 sparse::Crc16(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    if (ulLen < kMinByWords) { // speed only
        return Crc16Plain(uwCrc, pucData, ulLen);
    }
    return ulLen < crc16::kMinByRegisters ? crc16::ByWords(uwCrc, pucData, ulLen) // speed only
                                          : crc16::ByRegisters(uwCrc, pucData, ulLen);
}

QAL_UINT32 sparse::Crc32(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    if (ulLen < kMinByWords) { // speed only
        return Crc32Plain(ulCrc, pucData, ulLen);
    }
    if (ulLen < crc32::kMinByLong) { // speed only
        return crc32::Finish(FoldWords<LowestBitFirst, crc32::Short>(ulCrc, pucData, ulLen));
    }
    return ulLen < crc32::kMinByVectors ? crc32::ByLong(ulCrc, pucData, ulLen) // speed only
                                        : crc32::ByVectors(ulCrc, pucData, ulLen);
}

} // namespace wyx::crc
