// Folding by carry-less multiplication: products of polynomials over GF(2), 64 by 64 bits at once.
//
// A block of 128 bits that stands D places before a later one is A * x^(D + 64) + B * x^D there, A
// and B its halves. Either power of x may be replaced by its remainder by P: the two products then
// have 96 bits or fewer, and are added to the later block. See crc_fold.h for the rest of the
// reasoning: the products take the place of the sparse multiple's shifts, at any distance D.
#ifndef WYX_COMMLIB_CRC_SOURCE_CRC_CLMUL_H
#define WYX_COMMLIB_CRC_SOURCE_CRC_CLMUL_H

#if defined(__x86_64__)
#include "crc_clmul_x86.h"
#elif defined(__aarch64__)
#include "crc_clmul_aarch64.h"
#endif

namespace wyx::crc {

/// x^(64 + width) divided by P, without the highest term of the quotient, x^64.
///
/// A word W times x^width, divided by P, is W times this quotient, without what is below x^64 of
/// the product: the division that gave the quotient left a remainder below x^width, and W times
/// that is below P * x^64.
constexpr Word Inverse(Polynomial poly)
{
    Word ullRem = 1;
    Word ullQuotient = 0; // the highest term leaves it at the end
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

/// How blocks are multiplied, and how the last one becomes the CRC, where the first bit of a byte
/// is its lowest. The highest coefficient of a word is its lowest bit then, and a product of two
/// words, which has 127 coefficients, comes out with x^126 where x^127 belongs: multiplied by x.
template <Polynomial kPoly>
struct ClmulLowestBitFirst {
    static_assert(kPoly.uWidth == 32);
    using Order = LowestBitFirst;

    /// The factors that move a block's halves so many places.
    static constexpr Vector Factors(unsigned uPlaces)
    {
        return Vector{Reversed(PowerOfX(kPoly, uPlaces + 64 - 1)),
                      Reversed(PowerOfX(kPoly, uPlaces - 1))};
    }

    /// Between blocks in memory and the order of their bits in a product.
    template <typename Block>
    static typename Block::Type InMemory(typename Block::Type block)
    {
        return block;
    }

    /// The remainder of a block, followed by 32 zero bits.
    static QAL_UINT32 Value(Vector block)
    {
        // The block's first half is folded into its second one and the zeros behind that. This
        // leaves a word, W, at the low end of the vector, and the 32 bits behind it.
        constexpr Vector kFirstHalf = {Reversed(PowerOfX(kPoly, 64 + 32 - 1)), 0};
        const Vector rest =
            ShiftDown<4>(MultiplyLow(block, kFirstHalf) ^ ShiftUp<4>(ShiftDown<8>(block)));
        // W * x^32 by P: the inverse with x^64 in the lowest bit, and no x^0, which stays below
        // x^64.
        constexpr Vector kInverse = {(Reversed(Inverse(kPoly)) << 1) | 1, 0};
        const Vector quotient = MultiplyLow(rest, kInverse);
        // The quotient times P is W * x^32, but for the remainder in its last 32 bits.
        constexpr Vector kPolynomial = {(Reversed(kPoly.ulLower) >> 31) | 1, 0};
        const Vector value = MultiplyLow(quotient, kPolynomial) ^ rest;
        return static_cast<QAL_UINT32>(value[1]);
    }
};

/// The same where the first bit of a byte is its highest, once a block's bytes are reversed.
template <Polynomial kPoly>
struct ClmulHighestBitFirst {
    static_assert(kPoly.uWidth == 16);
    using Order = HighestBitFirst;

    static constexpr Vector Factors(unsigned uPlaces)
    {
        return Vector{PowerOfX(kPoly, uPlaces), PowerOfX(kPoly, uPlaces + 64)};
    }

    template <typename Block>
    static typename Block::Type InMemory(typename Block::Type block)
    {
        return Block::Backwards(block);
    }

    /// The remainder of a block, followed by 16 zero bits.
    static QAL_UINT32 Value(Vector block)
    {
        constexpr Vector kFirstHalf = {0, PowerOfX(kPoly, 64 + 16)};
        const Vector sum = MultiplyHigh(block, kFirstHalf) ^ ShiftDown<6>(ShiftUp<8>(block));
        const Vector rest = ShiftDown<2>(sum); // the word above the last 16 bits
        constexpr Vector kInverse = {Inverse(kPoly), 0};
        const Vector quotient = ShiftDown<8>(MultiplyLow(rest, kInverse)) ^ rest; // the x^64, too
        constexpr Vector kPolynomial = {kPoly.ulLower, 0};
        const Vector value = MultiplyLow(quotient, kPolynomial) ^ sum;
        return static_cast<QAL_UINT16>(value[0]);
    }
};

/// For each byte of a block the place of the one it is exchanged with.
constexpr Vector kBackwards = {0x08090A0B0C0D0E0F, 0x0001020304050607};

/// Blocks of 128 bits, one a vector.
struct Block128 {
    using Type = Vector;
    static constexpr unsigned kBytes = kVectorBytes;

    static Type Of(Vector vector) { return vector; }
    static Type Load(const QAL_UINT8 *puc) { return LoadVector(puc); }
    static Type Backwards(Type block) { return PickBytes(block, kBackwards); }

    /// The sum of the halves' products with their factors.
    static Type Fold(Type block, Type factors)
    {
        return MultiplyLow(block, factors) ^ MultiplyHigh(block, factors);
    }

    /// The first @p ulBytes bytes, 1 to 16, with zeros in front; the message has at least 16.
    static Type First(const QAL_UINT8 *puc, Vector start, QAL_UINT32 ulBytes)
    {
        return PickBytes(LoadVector(puc) ^ start, LoadVector(kPlaces + ulBytes));
    }
    /// What of the start falls upon the block behind these.
    static Type Next(Vector start, QAL_UINT32 ulBytes)
    {
        return PickBytes(start, LoadVector(kPlaces + kBytes + ulBytes));
    }

    template <typename Clmul>
    static Vector Last(Type block)
    {
        return block;
    }

  private:
    // The bytes' own places, between places of zeros: read off the middle, bytes move up or down.
    alignas(16) static constexpr QAL_UINT8 kPlaces[3 * kBytes] = {
        128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, //
        0,   1,   2,   3,   4,   5,   6,   7,   8,   9,   10,  11,  12,  13,  14,  15,  //
        128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128};
};

/// @p ullStart is the running value, as the first bits of a word. Zeros in front of the message
/// make a whole number of blocks, as in FirstWord.
template <typename Block, typename Clmul>
inline QAL_UINT32 FoldBlocks(Word ullStart, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    constexpr unsigned kBytes = Block::kBytes;
    constexpr Vector kByOne = Clmul::Factors(8 * kBytes);
    constexpr Vector kByFour = Clmul::Factors(4 * 8 * kBytes);
    const auto byOne = Block::Of(kByOne);
    const auto byFour = Block::Of(kByFour);

    const QAL_UINT8 *const pucEnd = pucData + ulLen;
    const QAL_UINT32 ulFirst = (ulLen - 1) % kBytes + 1;
    const Vector start = {Clmul::Order::InMemory(ullStart)};
    auto block = Clmul::template InMemory<Block>(Block::First(pucData, start, ulFirst));
    auto next = Block::Next(start, ulFirst);
    pucData += ulFirst;

    const auto take = [&] { // the next block of the message
        const auto taken = Clmul::template InMemory<Block>(Block::Load(pucData) ^ next);
        next = typename Block::Type{};
        pucData += kBytes;
        return taken;
    };
    if (pucEnd - pucData >= 4 * kBytes) { // four chains, as a product takes several cycles
        auto a = Block::Fold(block, byOne) ^ take();
        auto b = take();
        auto c = take();
        auto d = take();
        while (pucEnd - pucData >= 4 * kBytes) {
            a = Block::Fold(a, byFour) ^ take();
            b = Block::Fold(b, byFour) ^ take();
            c = Block::Fold(c, byFour) ^ take();
            d = Block::Fold(d, byFour) ^ take();
        }
        b ^= Block::Fold(a, byOne);
        c ^= Block::Fold(b, byOne);
        block = d ^ Block::Fold(c, byOne);
    }
    while (pucData != pucEnd) {
        block = Block::Fold(block, byOne) ^ take();
    }
    return Clmul::Value(Block::template Last<Clmul>(block));
}

} // namespace wyx::crc

#endif
