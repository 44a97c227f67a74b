// CRC-16 by sparse multiples of its polynomial: portable, and one table look-up for each of the
// last eight bytes only.
#include "crc16_arth_internal.h"

#include "crc_fold_vectors.h"

namespace wyx::crc {
namespace {

// The polynomial has four terms itself, and so have its powers 8 and 16.
using Power8 = Sparse<128, 96, 40, 0>;
using Power16 = Sparse<256, 192, 80, 0>;
// Another multiple with four terms, with a gap of more than half a word below the first one.
using Short = Sparse<73, 36, 26, 0>;
static_assert(Power8::IsMultipleOf(kCrc16) && Power16::IsMultipleOf(kCrc16) &&
              Short::IsMultipleOf(kCrc16));

// Behind the message there are the 16 zero bits by which it is multiplied.
static_assert(73 - 64 <= 16, "folding the last word but one passes the end");

using Order = HighestBitFirst;

constexpr QAL_UINT32 kMinByWords = kWordBytes;

Word AtStart(QAL_UINT16 uwCrc)
{
    return Word{uwCrc} << 48;
}

QAL_UINT16 ByWords(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    const LastWord last = FoldWords<Order, Power16, Short>(AtStart(uwCrc), pucData, ulLen);
    return static_cast<QAL_UINT16>(Crc16OfWord(last.ullWord) ^ (last.ullPastEnd >> 48));
}

/// Folds by the eighth power of Power8: its distances are 32, 88 and 128 bytes, so that the last
/// 128 bytes, which stay in registers, are all that is needed to go on.
class Block {
  public:
    static constexpr unsigned kVectors = 8;
    static constexpr unsigned kBytes = kVectors * kVectorBytes;

    Block() { Clear(std::make_index_sequence<kVectors>{}); }

    /// Goes on to the next 128 bytes of the message.
    void Fold(const QAL_UINT8 *pucData) { FoldEach(pucData, std::make_index_sequence<kVectors>{}); }

    /// The last 128 bytes, which are not folded themselves: with what was added to them.
    void Rest(const QAL_UINT8 *pucData, QAL_UINT8 *pucRest)
    {
        RestEach(pucData, pucRest, std::make_index_sequence<kVectors>{});
    }

  private:
    /// Each for itself: all at once can become a call of memset().
    template <std::size_t... kAt>
    void Clear(std::index_sequence<kAt...>)
    {
        ((aVectors_[kAt] = Vector{}), ...);
    }

    template <std::size_t... kAt>
    void FoldEach(const QAL_UINT8 *pucData, std::index_sequence<kAt...>)
    {
        ((aVectors_[kAt] = Next<kAt>(pucData)), ...);
    }

    template <std::size_t... kAt>
    void RestEach(const QAL_UINT8 *pucData, QAL_UINT8 *pucRest, std::index_sequence<kAt...>)
    {
        ((StoreVector(pucRest + kAt * kVectorBytes, Next<kAt>(pucData)), aVectors_[kAt] = Vector{}),
         ...);
    }

    /// Vector kAt of the block: those before it are of this block already, the others of the last.
    template <std::size_t kAt>
    Vector Next(const QAL_UINT8 *pucData) const
    {
        const Vector before2 = aVectors_[(kAt + kVectors - 2) % kVectors];
        const Vector before6 = aVectors_[(kAt + kVectors - 6) % kVectors];
        const Vector before5 = aVectors_[(kAt + kVectors - 5) % kVectors];
        const Vector halfBetween = {before6[1], before5[0]};
        return LoadVector(pucData + kAt * kVectorBytes) ^ aVectors_[kAt] ^ halfBetween ^ before2;
    }

    Vector aVectors_[kVectors];
};

constexpr QAL_UINT32 kMinByBlocks = 3 * Block::kBytes; // below, the first block costs too much

/// Apart from the others, so that these are spared the buffer.
[[gnu::noinline]] QAL_UINT16 ByBlocks(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    if (ulLen % Block::kBytes == 1) { // the first block is to hold both bytes of the start value
        uwCrc = Crc16Plain(uwCrc, pucData, 1);
        ++pucData;
        --ulLen;
    }
    // Zeros in front make a whole number of blocks; they change no remainder.
    const QAL_UINT32 ulFirst = (ulLen - 1) % Block::kBytes + 1;
    alignas(64) QAL_UINT8 aucBlock[Block::kBytes + kVectorBytes];
    for (unsigned i = 0; i < Block::kBytes; i += kVectorBytes) {
        StoreVector(aucBlock + i, Vector{});
    }
    QAL_UINT8 *const pucFirst = aucBlock + Block::kBytes - ulFirst;
    for (QAL_UINT32 i = 0; i < ulFirst; i += kVectorBytes) {
        StoreVector(pucFirst + i, LoadVector(pucData + i));
    }
    pucFirst[0] ^= static_cast<QAL_UINT8>(uwCrc >> 8);
    pucFirst[1] ^= static_cast<QAL_UINT8>(uwCrc);

    Block block;
    block.Fold(aucBlock);
    const QAL_UINT8 *const pucLast = pucData + ulLen - Block::kBytes;
    for (pucData += ulFirst; pucData != pucLast; pucData += Block::kBytes) {
        block.Fold(pucData);
    }
    block.Rest(pucLast, aucBlock);
    return ByWords(0, aucBlock, Block::kBytes);
}

} // namespace

QAL_UINT16 Crc16Sparse(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    if (ulLen < kMinByWords) {
        return Crc16Plain(uwCrc, pucData, ulLen);
    }
    return ulLen < kMinByBlocks ? ByWords(uwCrc, pucData, ulLen) : ByBlocks(uwCrc, pucData, ulLen);
}

} // namespace wyx::crc
