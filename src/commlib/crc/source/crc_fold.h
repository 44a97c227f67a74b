// Dividing a message by a sparse multiple of its CRC's polynomial, a word or a vector at a time.
//
// A message is a polynomial M over GF(2), its first bit the highest coefficient, and its CRC is the
// remainder of M * x^width by P. That remainder stays the same when any multiple of P is added to
// M. Let S = x^d + x^a + ... + 1 be a multiple of P with few terms: adding S, shifted so that x^d
// meets a bit that is set, clears this bit and flips those that lie d - a, ..., d places behind it.
// From the first bit to the last but d, that clears the message and gathers all of it in its last d
// bits.
//
// Bits that are closer together than the smallest of these distances do not touch each other: they
// are cleared all at once, by XORing the word they form into the message behind it, once for each
// of the distances. This is folding; it takes no table and no multiplication.
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

/// x^uWidth and the coefficients below it, that of x^0 in the lowest bit.
struct Polynomial {
    unsigned uWidth;
    QAL_UINT32 ulLower;
};

/// The remainder of x^uExponent.
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

/// Bytes whose first bit is the lowest: a little-endian word has its first bit there, too.
struct LowestBitFirst {
    /// Between a word and what a little-endian machine makes of its bytes in memory.
    static Word InMemory(Word ullWord) { return ullWord; }
    /// Moves bits so many places towards the end of the message; those beyond the word are dropped.
    static Word Later(Word ullWord, unsigned uPlaces) { return ullWord << uPlaces; }
    static Word Earlier(Word ullWord, unsigned uPlaces) { return ullWord >> uPlaces; }
};

/// Bytes whose first bit is the highest, and so is that of words with their first byte on top.
struct HighestBitFirst {
    static Word InMemory(Word ullWord) { return __builtin_bswap64(ullWord); }
    static Word Later(Word ullWord, unsigned uPlaces) { return ullWord >> uPlaces; }
    static Word Earlier(Word ullWord, unsigned uPlaces) { return ullWord << uPlaces; }
};

template <typename Order>
inline Word LoadWord(const QAL_UINT8 *puc)
{
    Word ullWord;
    __builtin_memcpy(&ullWord, puc, sizeof ullWord);
    return Order::InMemory(ullWord);
}

/// Folds a message word by word: what its first words add to those not read yet is kept here.
template <typename Order, typename Multiple>
class WordFold;

template <typename Order, unsigned kDegree, unsigned... kLower>
class WordFold<Order, Sparse<kDegree, kLower...>> {
    static constexpr unsigned kNearest = std::min({(kDegree - kLower)...});
    static_assert(2 * kNearest >= kWordBits, "what a word adds to itself would have to be folded");

  public:
    /// The words behind a folded one that it reaches: its last bit lies kWordBits - 1 into it.
    static constexpr unsigned kReach = (kDegree + kWordBits - 1) / kWordBits;

    /// Adds to the word that is taken next.
    void Add(Word ullWord) { aullAdded_[0] ^= ullWord; }

    /// Takes the next word of the message and gives it as the folded ones have left it.
    Word Take(Word ullMessage)
    {
        const Word ullWord = ullMessage ^ aullAdded_[0];
        MoveUp(std::make_index_sequence<kReach - 1>{});
        aullAdded_[kReach - 1] = 0;
        return ullWord;
    }

    /// Clears the word taken last. Distances shorter than a word end within it first.
    void Fold(Word ullWord)
    {
        ullWord ^= (Within<kDegree - kLower>(ullWord) ^ ...);
        (AddBehind<kDegree - kLower>(ullWord), ...);
    }

  private:
    template <std::size_t... kAt>
    void MoveUp(std::index_sequence<kAt...>)
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
    void AddBehind(Word ullWord)
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

/// The first word of a message whose other words are whole ones: where its length is no multiple of
/// a word's, zeros stand in front of it. They change no remainder, as leading zeros of any
/// dividend.
template <typename Order>
struct FirstWord {
    QAL_UINT32 ulBytes; ///< of the message, 1 to 8
    Word ullWord;
    Word ullNext; ///< what of the start value falls upon the second word

    /// @p ullStart is the running value, as the first bits of a word; @p ulLen is at least 8.
    FirstWord(Word ullStart, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
        : ulBytes((ulLen - 1) % kWordBytes + 1),
          ullWord(Order::Later(LoadWord<Order>(pucData) ^ ullStart, kWordBits - 8 * ulBytes)),
          ullNext(Order::Earlier(Order::Earlier(ullStart, 4 * ulBytes), 4 * ulBytes))
    {}
};

/// A message that is folded into a single word, and the bits added behind its end.
struct LastWord {
    Word ullWord;
    Word ullPastEnd;
};

/// Folds by Long as far as it reaches, which is fast, and what it leaves over by Short.
template <typename Order, typename Long, typename Short>
inline LastWord FoldWords(Word ullStart, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    const FirstWord<Order> first(ullStart, pucData, ulLen);
    WordFold<Order, Long> longFold;
    longFold.Add(first.ullNext);
    Word ullWord = first.ullWord;
    QAL_UINT32 i = first.ulBytes;
    for (; ulLen - i >= longFold.kReach * kWordBytes; i += kWordBytes) {
        longFold.Fold(ullWord);
        ullWord = longFold.Take(LoadWord<Order>(pucData + i));
    }
    WordFold<Order, Short> shortFold;
    for (; i < ulLen; i += kWordBytes) {
        shortFold.Fold(ullWord);
        ullWord = shortFold.Take(longFold.Take(LoadWord<Order>(pucData + i)));
    }
    return {ullWord, shortFold.Take(0)};
}

/// The same by Short alone, for messages that Long does not reach into.
template <typename Order, typename Short>
inline LastWord FoldWords(Word ullStart, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    const FirstWord<Order> first(ullStart, pucData, ulLen);
    WordFold<Order, Short> fold;
    fold.Add(first.ullNext);
    Word ullWord = first.ullWord;
    for (QAL_UINT32 i = first.ulBytes; i < ulLen; i += kWordBytes) {
        fold.Fold(ullWord);
        ullWord = fold.Take(LoadWord<Order>(pucData + i));
    }
    return {ullWord, fold.Take(0)};
}

} // namespace wyx::crc

#endif
