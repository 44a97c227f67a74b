// Folding by carry-less multiplication: products of polynomials over GF(2), 64 by 64 bits at once.
//
// Take two vectors of 128 bits: one with the halves A and B, and one that begins D bits later. If
// the last bit of the later vector is x^0, the earlier one is A * x^(D + 64) + B * x^D. Both powers
// of x may be reduced modulo the CRC's polynomial P. The two products then have at most 96 bits,
// and XORing them into the later vector replaces the earlier one. This is the folding of crc_fold.h
// with products in place of a sparse multiple's shifts. It works over any distance D.
//
// A message is folded block by block. A block has one lane (Lanes1) or four (Lanes4, in
// crc_clmul512.cpp), and each lane holds a vector.
#ifndef WYX_COMMLIB_CRC_SOURCE_CRC_CLMUL_H
#define WYX_COMMLIB_CRC_SOURCE_CRC_CLMUL_H

#include "crc_plain.h"

#if defined(__x86_64__)
#include "crc_clmul_x86.h"
#elif defined(__aarch64__)
#include "crc_clmul_aarch64.h"
#endif

namespace wyx::crc {

/// x^(64 + width) divided by P, without the quotient's highest term, x^64.
///
/// Multiply a word W by the whole quotient and drop the terms below x^64: what is left is Q * x^64,
/// where Q is the quotient of W * x^width by P. This is exact: x^(64 + width) divided by P leaves a
/// remainder R below x^width, so the product differs from W * x^(64 + width) / P by W * R / P. That
/// is below x^64, so it changes only terms that are dropped.
constexpr Word Inverse(Polynomial poly)
{
    Word ullRem = 1;
    Word ullQuotient = 0; // its highest term is shifted out at the end
    for (unsigned i = 0; i < kWordBits + poly.uWidth; ++i) {
        ullRem <<= 1;
        ullQuotient <<= 1;
        if ((ullRem >> poly.uWidth) != 0) {
            ullRem ^= (Word{1} << poly.uWidth) ^ poly.ulLower;
            ullQuotient ^= 1;
        }
    }
    return ullQuotient;
}

/// The coefficients in the opposite order.
constexpr Word Reversed(Word ullWord)
{
    Word ullReversed = 0;
    for (unsigned i = 0; i < kWordBits; ++i) {
        ullReversed = (ullReversed << 1) | ((ullWord >> i) & 1);
    }
    return ullReversed;
}

/// CRC-32: the first bit of a byte is its lowest, so the highest coefficient of a word is its
/// lowest bit. A product of two words has 127 coefficients; its highest one, x^126, comes out where
/// x^127 belongs, so every product comes out multiplied by x. The factors make up for this: each is
/// one power of x lower.
struct Order32 {
    using Bits = LowestBitFirst;

    /// The factors that move a vector's halves by @p uPlaces bits.
    static constexpr Vector Factors(unsigned uPlaces)
    {
        return Vector{Reversed(PowerOfX(kCrc32, uPlaces + 64 - 1)),
                      Reversed(PowerOfX(kCrc32, uPlaces - 1))};
    }

    /// Converts between a block in memory and the bit order of a product.
    template <typename Lanes>
    static typename Lanes::Block SwapOrder(typename Lanes::Block block)
    {
        return block;
    }

    /// The remainder of a vector followed by 32 zero bits.
    static QAL_UINT32 Remainder(Vector vector)
    {
        // Fold the first half into the second one and the zeros after it. This leaves 96 bits: the
        // low word, W, and the 32 bits after it.
        constexpr Vector kFirstHalf = {Reversed(PowerOfX(kCrc32, 64 + 32 - 1)), 0};
        const Vector rest =
            ShiftDown<4>(MultiplyLowWords(vector, kFirstHalf) ^ ShiftUp<4>(ShiftDown<8>(vector)));
        // Divide W * x^32 by P. The inverse has its x^64 in the lowest bit. Its x^0 is left out, as
        // that term only contributes below x^64.
        constexpr Vector kInverse = {(Reversed(Inverse(kCrc32)) << 1) | 1, 0};
        const Vector quotient = MultiplyLowWords(rest, kInverse);
        // The quotient times P differs from W * x^32 by the remainder, in the last 32 bits.
        constexpr Vector kPolynomial = {(Reversed(kCrc32.ulLower) >> 31) | 1, 0};
        const Vector value = MultiplyLowWords(quotient, kPolynomial) ^ rest;
        return static_cast<QAL_UINT32>(value[1]);
    }
};

/// CRC-16: the first bit of a byte is its highest. With the bytes of each vector in reverse order,
/// the highest coefficient of a vector is its highest bit.
struct Order16 {
    using Bits = HighestBitFirst;

    static constexpr Vector Factors(unsigned uPlaces)
    {
        return Vector{PowerOfX(kCrc16, uPlaces), PowerOfX(kCrc16, uPlaces + 64)};
    }

    template <typename Lanes>
    static typename Lanes::Block SwapOrder(typename Lanes::Block block)
    {
        return Lanes::Backwards(block);
    }

    /// The remainder of a vector followed by 16 zero bits.
    static QAL_UINT32 Remainder(Vector vector)
    {
        constexpr Vector kFirstHalf = {0, PowerOfX(kCrc16, 64 + 16)};
        const Vector sum = MultiplyHighWords(vector, kFirstHalf) ^ ShiftDown<6>(ShiftUp<8>(vector));
        const Vector word = ShiftDown<2>(sum); // W: all but the last 16 bits
        constexpr Vector kInverse = {Inverse(kCrc16), 0};
        // The inverse lacks its x^64; adding W makes up for that.
        const Vector quotient = ShiftDown<8>(MultiplyLowWords(word, kInverse)) ^ word;
        constexpr Vector kPolynomial = {kCrc16.ulLower, 0};
        const Vector value = MultiplyLowWords(quotient, kPolynomial) ^ sum;
        return static_cast<QAL_UINT16>(value[0]);
    }
};

/// For each byte of a vector, the place of the byte that it is exchanged with.
constexpr Vector kBackwards = {0x08090A0B0C0D0E0F, 0x0001020304050607};

/// A block of one vector.
struct Lanes1 {
    using Block = Vector;
    static constexpr unsigned kBytes = kVectorBytes;

    /// The vector in every lane.
    static Block Repeat(Vector vector) { return vector; }
    static Block Load(const QAL_UINT8 *puc) { return LoadVector(puc); }
    static Block Backwards(Block block) { return PickBytes(block, kBackwards); }

    /// In each vector: the sum of its two halves, each times its factor.
    static Block Multiply(Block block, Block factors)
    {
        return MultiplyLowWords(block, factors) ^ MultiplyHighWords(block, factors);
    }

    /// The first @p ulBytes (1 to 16) bytes, with the start value added and zeros in front. Reads a
    /// whole block.
    static Block LoadFirst(const QAL_UINT8 *puc, Vector start, QAL_UINT32 ulBytes)
    {
        return PickBytes(LoadVector(puc) ^ start, LoadVector(kPlaces + ulBytes));
    }
    /// The part of the start value that reaches beyond those bytes, into the next block.
    static Block StartBeyond(Vector start, QAL_UINT32 ulBytes)
    {
        return PickBytes(start, LoadVector(kPlaces + kBytes + ulBytes));
    }

    /// Folds all lanes into one.
    template <typename Order>
    static Vector Join(Block block)
    {
        return block;
    }

  private:
    // A shuffle that keeps every byte, between two that clear every byte. A shuffle loaded from an
    // offset in between moves bytes up or down.
    alignas(16) static constexpr QAL_UINT8 kPlaces[3 * kBytes] = {
        128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, //
        0,   1,   2,   3,   4,   5,   6,   7,   8,   9,   10,  11,  12,  13,  14,  15,  //
        128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128};
};

/// Computes a CRC. @p ullStart is the CRC so far, in the first bits of a word. Zeros in front of
/// the message pad it to whole blocks, as in FirstWord.
template <typename Lanes, typename Order>
inline QAL_UINT32 FoldBlocks(Word ullStart, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    constexpr unsigned kBytes = Lanes::kBytes;
    constexpr Vector kByOne = Order::Factors(8 * kBytes);
    constexpr Vector kByFour = Order::Factors(4 * 8 * kBytes);
    const auto byOne = Lanes::Repeat(kByOne);
    const auto byFour = Lanes::Repeat(kByFour);

    const QAL_UINT8 *const pucEnd = pucData + ulLen;
    const QAL_UINT32 ulFirst = (ulLen - 1) % kBytes + 1;
    const Vector start = {Order::Bits::SwapOrder(ullStart)};
    auto block = Order::template SwapOrder<Lanes>(Lanes::LoadFirst(pucData, start, ulFirst));
    auto beyond = Lanes::StartBeyond(start, ulFirst);
    pucData += ulFirst;

    const auto take = [&] { // the next block of the message
        const auto taken = Order::template SwapOrder<Lanes>(Lanes::Load(pucData) ^ beyond);
        beyond = typename Lanes::Block{};
        pucData += kBytes;
        return taken;
    };
    if (pucEnd - pucData >= 4 * kBytes) { // speed only: a product takes several cycles
        auto a = Lanes::Multiply(block, byOne) ^ take();
        auto b = take();
        auto c = take();
        auto d = take();
        while (pucEnd - pucData >= 4 * kBytes) { // speed only
            a = Lanes::Multiply(a, byFour) ^ take();
            b = Lanes::Multiply(b, byFour) ^ take();
            c = Lanes::Multiply(c, byFour) ^ take();
            d = Lanes::Multiply(d, byFour) ^ take();
        }
        b ^= Lanes::Multiply(a, byOne);
        c ^= Lanes::Multiply(b, byOne);
        block = d ^ Lanes::Multiply(c, byOne);
    }
    while (pucData != pucEnd) {
        block = Lanes::Multiply(block, byOne) ^ take();
    }
    return Order::Remainder(Lanes::template Join<Order>(block));
}

template <typename Lanes>
QAL_UINT16 Crc16OfLanes(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    return static_cast<QAL_UINT16>(FoldBlocks<Lanes, Order16>(Word{uwCrc} << 48, pucData, ulLen));
}

template <typename Lanes>
QAL_UINT32 Crc32OfLanes(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    return FoldBlocks<Lanes, Order32>(ulCrc, pucData, ulLen);
}

} // namespace wyx::crc

#endif
