// Folding by carry-less multiplication, four blocks at a time.
#ifndef WYX_COMMLIB_CRC_SOURCE_CRC_CLMUL_AVX512_H
#define WYX_COMMLIB_CRC_SOURCE_CRC_CLMUL_AVX512_H

#include "crc_clmul.h"

namespace wyx::crc {

/// Four consecutive blocks of 128 bits; the interface is Block128's.
struct Block512 {
    using Type = __m512i;
    static constexpr unsigned kBytes = sizeof(Type);

    /// The same in all four.
    static Type Of(Vector vector) { return OfEach(vector, vector, vector, vector); }
    static Type Load(const QAL_UINT8 *puc) { return _mm512_loadu_si512(puc); }
    static Type Backwards(Type block) { return _mm512_shuffle_epi8(block, Of(kBackwards)); }

    static Type Fold(Type block, Type factors)
    {
        return _mm512_clmulepi64_epi128(block, factors, 0x00) ^
               _mm512_clmulepi64_epi128(block, factors, 0x11);
    }

    /// No byte behind the first @p ulBytes is read: a message shorter than a block will do.
    static Type First(const QAL_UINT8 *puc, Vector start, QAL_UINT32 ulBytes)
    {
        const Type bytes = _mm512_maskz_loadu_epi8(~0ULL >> (kBytes - ulBytes), puc);
        const Type places = _mm512_sub_epi8(Places(), Every(kBytes - ulBytes));
        return _mm512_maskz_permutexvar_epi8(~0ULL << (kBytes - ulBytes), places,
                                             bytes ^ Widen(start));
    }
    static Type Next(Vector start, QAL_UINT32 ulBytes)
    {
        const Type places = _mm512_add_epi8(Places(), Every(ulBytes));
        return _mm512_maskz_permutexvar_epi8((~0ULL >> (ulBytes - 1)) >> 1, places, Widen(start));
    }

    /// Folds the first three blocks into the last one.
    template <typename Clmul>
    static Vector Last(Type block)
    {
        constexpr Vector k3 = Clmul::Factors(3 * 128);
        constexpr Vector k2 = Clmul::Factors(2 * 128);
        constexpr Vector k1 = Clmul::Factors(1 * 128);
        const Type sum =
            Fold(block, OfEach(k3, k2, k1, Vector{})) ^ _mm512_maskz_mov_epi64(0xC0, block);
        return reinterpret_cast<Vector>(
            __builtin_shufflevector(sum, sum, 0, 1) ^ __builtin_shufflevector(sum, sum, 2, 3) ^
            __builtin_shufflevector(sum, sum, 4, 5) ^ __builtin_shufflevector(sum, sum, 6, 7));
    }

  private:
    static Type OfEach(Vector a, Vector b, Vector c, Vector d)
    {
        using Words [[gnu::vector_size(kBytes)]] = Word;
        return reinterpret_cast<Type>(Words{a[0], a[1], b[0], b[1], c[0], c[1], d[0], d[1]});
    }
    static Type Widen(Vector vector)
    {
        return _mm512_zextsi128_si512(reinterpret_cast<__m128i>(vector));
    }
    static Type Every(QAL_UINT32 ulByte) { return _mm512_set1_epi8(static_cast<char>(ulByte)); }
    static Type Places()
    {
        constexpr long long kFirst = 0x0706050403020100;
        constexpr long long kEight = 0x0808080808080808;
        return Type{kFirst,
                    kFirst + kEight,
                    kFirst + 2 * kEight,
                    kFirst + 3 * kEight,
                    kFirst + 4 * kEight,
                    kFirst + 5 * kEight,
                    kFirst + 6 * kEight,
                    kFirst + 7 * kEight};
    }
};

} // namespace wyx::crc

#endif
