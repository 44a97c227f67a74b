// Dividing a message by a sparse multiple of its CRC's polynomial, a word or a vector at a time.
//
// A message is a polynomial M over GF(2); its first bit is the highest coefficient. Its CRC is the
// remainder of M * x^width divided by the CRC's polynomial P.
// 1. Adding a multiple of P to M does not change that remainder.
// 2. Let S = x^d + x^a + ... + 1 be a multiple of P with few terms. Shift S so that its x^d lines
//    up with a bit of M that is set, and add it. This clears the bit and flips the bits d - a, ...,
//    d places after it.
// 3. Do this bit by bit, starting with the first. Then all but the last d bits are zero, and
//    the last d bits are a message with the same remainder.
// 4. Bits that are closer together than the smallest of the distances d - a, ..., d do not affect
//    each other. So if no distance is shorter than a word, all bits of a word can be cleared at
//    once: XOR the word into the message at each of the distances. If a distance is shorter, but
//    at least half a word, the word is first XORed into itself at that distance.
// This is called folding. It needs neither a table nor a multiplication.
#ifndef WYX_COMMLIB_CRC_SOURCE_CRC_FOLD_H
#define WYX_COMMLIB_CRC_SOURCE_CRC_FOLD_H

#include <algorithm>
#include <cstddef>
#include <utility>

#include "wyx_commlib/types.h"

namespace wyx::crc {

using Word = QAL_UINT64;
constexpr unsigned kWordBits = 64;
constexpr unsigned kWordBytes = 8;

/// x^uWidth plus the terms below it, whose coefficients are in ulLower, x^0 in the lowest bit.
struct Polynomial {
    unsigned uWidth;
    QAL_UINT32 ulLower;
};

/// The remainder of x^uExponent divided by the polynomial.
constexpr QAL_UINT32 PowerOfX(Polynomial poly, unsigned uExponent)
{
    Word ullRem = 1;
    for (unsigned i = 0; i < uExponent; ++i) {
        ullRem <<= 1;
        if ((ullRem >> poly.uWidth) != 0) {
            ullRem ^= (Word{1} << poly.uWidth) ^ poly.ulLower;
        }
    }
    return static_cast<QAL_UINT32>(ullRem);
}

/// The polynomial x^kDegree plus x to the power of each of kLower.
template <unsigned kDegree, unsigned... kLower>
struct Sparse {
    static consteval bool IsMultipleOf(Polynomial poly)
    {
        return (PowerOfX(poly, kDegree) ^ ... ^ PowerOfX(poly, kLower)) == 0;
    }
};

/// The first bit of a byte is its lowest, so the first bit of a little-endian word is its lowest,
/// too.
struct LowestBitFirst {
    /// Converts between a word in this order and the word that a little-endian machine loads.
    static Word SwapOrder(Word ullWord) { return ullWord; }
    /// Moves bits towards the end of the message; those that leave the word are dropped.
    static Word Later(Word ullWord, unsigned uPlaces) { return ullWord << uPlaces; }
    static Word Earlier(Word ullWord, unsigned uPlaces) { return ullWord >> uPlaces; }
};

/// The first bit of a byte is its highest, so the first bit of a big-endian word is its highest,
/// too.
struct HighestBitFirst {
    static Word SwapOrder(Word ullWord) { return __builtin_bswap64(ullWord); }
    static Word Later(Word ullWord, unsigned uPlaces) { return ullWord >> uPlaces; }
    static Word Earlier(Word ullWord, unsigned uPlaces) { return ullWord << uPlaces; }
};

template <typename Order>
inline Word LoadWord(const QAL_UINT8 *puc)
{
    Word ullWord;
    __builtin_memcpy(&ullWord, puc, sizeof ullWord);
    return Order::SwapOrder(ullWord);
}

/// Folds a message word by word. Holds what the folded words add to the words after them.
template <typename Order, typename Multiple>
class WordFold;

template <typename Order, unsigned kDegree, unsigned... kLower>
class WordFold<Order, Sparse<kDegree, kLower...>> {
    static constexpr unsigned kNearest = std::min({(kDegree - kLower)...});
    static_assert(2 * kNearest >= kWordBits,
                  "a bit that is folded within its word would have to be folded there again");

  public:
    /// A folded word adds to at most this many words after it.
    static constexpr unsigned kReach = (kDegree + kWordBits - 1) / kWordBits;

    /// Adds @p ullWord to the word that is taken next.
    void Add(Word ullWord) { aullAdded_[0] ^= ullWord; }

    /// Takes the next word of the message and returns it with what the folded words add to it.
    Word Take(Word ullMessage)
    {
        const Word ullWord = ullMessage ^ aullAdded_[0];
        MoveToFront(std::make_index_sequence<kReach - 1>{});
        aullAdded_[kReach - 1] = 0;
        return ullWord;
    }

    /// Folds @p ullWord, the word taken last, into the words after it. At distances shorter than a
    /// word, it is first folded into itself.
    void FoldIn(Word ullWord)
    {
        ullWord ^= (Within<kDegree - kLower>(ullWord) ^ ...);
        (AddAfter<kDegree - kLower>(ullWord), ...);
    }

  private:
    template <std::size_t... kAt>
    void MoveToFront(std::index_sequence<kAt...>)
    {
        ((aullAdded_[kAt] = aullAdded_[kAt + 1]), ...);
    }

    template <unsigned kDistance>
    static Word Within(Word ullWord)
    {
        if constexpr (kDistance < kWordBits) {
            return Order::Later(ullWord, kDistance);
        }
        return 0;
    }

    template <unsigned kDistance>
    void AddAfter(Word ullWord)
    {
        constexpr unsigned kWords = kDistance / kWordBits;
        constexpr unsigned kPlaces = kDistance % kWordBits;
        if constexpr (kWords > 0) {
            aullAdded_[kWords - 1] ^= Order::Later(ullWord, kPlaces);
        }
        if constexpr (kPlaces > 0) {
            aullAdded_[kWords] ^= Order::Earlier(ullWord, kWordBits - kPlaces);
        }
    }

    Word aullAdded_[kReach] = {};
};

/// The first word of a message, padded in front with zeros so that only whole words follow. Leading
/// zeros of a dividend do not change the remainder.
template <typename Order>
struct FirstWord {
    QAL_UINT32 ulBytes; ///< the number of message bytes in the word, 1 to 8
    Word ullWord;
    Word ullNext; ///< the part of the start value that reaches into the second word

    /// @p ullStart is the CRC so far, in the first bits of a word; @p ulLen is at least 8.
    FirstWord(Word ullStart, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
        : ulBytes((ulLen - 1) % kWordBytes + 1),
          ullWord(Order::Later(LoadWord<Order>(pucData) ^ ullStart, kWordBits - 8 * ulBytes)),
          // two shifts, because a shift by 64 is undefined
          ullNext(Order::Earlier(Order::Earlier(ullStart, 4 * ulBytes), 4 * ulBytes))
    {}
};

/// What is left of a folded message: its last word, and the bits added past its end.
struct LastWord {
    Word ullWord;
    Word ullPastEnd;
};

/// Folds by Long, which is faster, while at least Long's kReach words follow; then by Short.
template <typename Order, typename Long, typename Short>
inline LastWord FoldWords(Word ullStart, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    const FirstWord<Order> first(ullStart, pucData, ulLen);
    WordFold<Order, Long> longFold;
    longFold.Add(first.ullNext);
    Word ullWord = first.ullWord;
    QAL_UINT32 i = first.ulBytes;
    for (; ulLen - i >= longFold.kReach * kWordBytes; i += kWordBytes) { // speed only
        longFold.FoldIn(ullWord);
        ullWord = longFold.Take(LoadWord<Order>(pucData + i));
    }
    WordFold<Order, Short> shortFold;
    for (; i < ulLen; i += kWordBytes) {
        shortFold.FoldIn(ullWord);
        ullWord = shortFold.Take(longFold.Take(LoadWord<Order>(pucData + i)));
    }
    return {ullWord, shortFold.Take(0)};
}

/// Folds by one multiple alone, for messages that are too short for two.
template <typename Order, typename Multiple>
inline LastWord FoldWords(Word ullStart, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    const FirstWord<Order> first(ullStart, pucData, ulLen);
    WordFold<Order, Multiple> fold;
    fold.Add(first.ullNext);
    Word ullWord = first.ullWord;
    for (QAL_UINT32 i = first.ulBytes; i < ulLen; i += kWordBytes) {
        fold.FoldIn(ullWord);
        ullWord = fold.Take(LoadWord<Order>(pucData + i));
    }
    return {ullWord, fold.Take(0)};
}

} // namespace wyx::crc

#endif
