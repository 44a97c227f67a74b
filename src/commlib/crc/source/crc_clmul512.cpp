// The form for CPUs with AVX-512 and carry-less multiplication: four vectors at a time.
#include "crc_kernel.h"

#if defined(WYX_CRC_HAS_CLMUL512)
#include "crc_clmul.h"

namespace wyx::crc {
namespace {

// Below this length, spreading a message over wide blocks costs more than it saves.
constexpr QAL_UINT32 kMinBytes = 33; // speed only

/// Four consecutive vectors; the interface is that of Lanes1.
struct Lanes4 {
    using Block = __m512i;
    static constexpr unsigned kBytes = sizeof(Block);

    static Block Repeat(Vector vector) { return Blocks(vector, vector, vector, vector); }
    static Block Load(const QAL_UINT8 *puc) { return _mm512_loadu_si512(puc); }
    static Block Backwards(Block block) { return _mm512_shuffle_epi8(block, Repeat(kBackwards)); }

    static Block Multiply(Block block, Block factors)
    {
        return _mm512_clmulepi64_epi128(block, factors, 0x00) ^
               _mm512_clmulepi64_epi128(block, factors, 0x11);
    }

    /// Reads no byte after the first @p ulBytes, so the message may be shorter than a block.
    static Block LoadFirst(const QAL_UINT8 *puc, Vector start, QAL_UINT32 ulBytes)
    {
        const Block bytes = _mm512_maskz_loadu_epi8(~0ULL >> (kBytes - ulBytes), puc);
        const Block places = _mm512_sub_epi8(Places(), Every(kBytes - ulBytes));
        return _mm512_maskz_permutexvar_epi8(~0ULL << (kBytes - ulBytes), places,
                                             bytes ^ Widen(start));
    }
    static Block StartBeyond(Vector start, QAL_UINT32 ulBytes)
    {
        const Block places = _mm512_add_epi8(Places(), Every(ulBytes));
        return _mm512_maskz_permutexvar_epi8((~0ULL >> (ulBytes - 1)) >> 1, places, Widen(start));
    }

    /// Folds the first three vectors into the last one.
    template <typename Order>
    static Vector Join(Block block)
    {
        constexpr Vector k3 = Order::Factors(3 * 128);
        constexpr Vector k2 = Order::Factors(2 * 128);
        constexpr Vector k1 = Order::Factors(1 * 128);
        const Block sum =
            Multiply(block, Blocks(k3, k2, k1, Vector{})) ^ _mm512_maskz_mov_epi64(0xC0, block);
        return reinterpret_cast<Vector>(
            __builtin_shufflevector(sum, sum, 0, 1) ^ __builtin_shufflevector(sum, sum, 2, 3) ^
            __builtin_shufflevector(sum, sum, 4, 5) ^ __builtin_shufflevector(sum, sum, 6, 7));
    }

  private:
    static Block Blocks(Vector a, Vector b, Vector c, Vector d)
    {
        using Words [[gnu::vector_size(kBytes)]] = Word;
        return reinterpret_cast<Block>(Words{a[0], a[1], b[0], b[1], c[0], c[1], d[0], d[1]});
    }
    static Block Widen(Vector vector)
    {
        return _mm512_zextsi128_si512(reinterpret_cast<__m128i>(vector));
    }
    static Block Every(QAL_UINT32 ulByte) { return _mm512_set1_epi8(static_cast<char>(ulByte)); }
    static Block Places()
    {
        constexpr long long kFirst = 0x0706050403020100;
        constexpr long long kEight = 0x0808080808080808;
        return Block{kFirst,
                     kFirst + kEight,
                     kFirst + 2 * kEight,
                     kFirst + 3 * kEight,
                     kFirst + 4 * kEight,
                     kFirst + 5 * kEight,
                     kFirst + 6 * kEight,
                     kFirst + 7 * kEight};
    }
};

} // namespace

QAL_UINT16 clmul512::Crc16(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    if (ulLen < kMinBytes) { // speed only
        return clmul::Crc16(uwCrc, pucData, ulLen);
    }
    return Crc16OfLanes<Lanes4>(uwCrc, pucData, ulLen);
}

QAL_UINT32 clmul512::Crc32(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    if (ulLen < kMinBytes) { // speed only
        return clmul::Crc32(ulCrc, pucData, ulLen);
    }
    return Crc32OfLanes<Lanes4>(ulCrc, pucData, ulLen);
}

} // namespace wyx::crc

#endif
