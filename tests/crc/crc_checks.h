// Checks for a CRC of either width and for every CPU form of it.
#ifndef WYX_TESTS_CRC_CRC_CHECKS_H
#define WYX_TESTS_CRC_CRC_CHECKS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

#include "guarded_memory.h"
#include "random.h"
#include "wyx_commlib/types.h"

namespace wyx::test {

using Bytes = std::span<const QAL_UINT8>;

/// The two calls of one width, and the polynomial they divide by.
template <typename Word>
struct Crc {
    QAL_UINT32 (*pfunWhole)(const QAL_UINT8 *, QAL_UINT32, Word *);
    QAL_UINT32 (*pfunPiece)(Word, const QAL_UINT8 *, QAL_UINT32, Word *);
    Word poly;      ///< the coefficients below the highest one, with that of x^0 in the lowest bit
    bool reflected; ///< true if the first bit of a byte, and of the CRC, is its lowest
    QAL_UINT32 ulInvalidPara;

    Word Whole(Bytes message) const
    {
        Word value = 0;
        EXPECT_EQ(pfunWhole(Start(message), static_cast<QAL_UINT32>(message.size()), &value), 0U);
        return value;
    }

    Word Piece(Word start, Bytes message) const
    {
        Word value = 0;
        EXPECT_EQ(pfunPiece(start, Start(message), static_cast<QAL_UINT32>(message.size()), &value),
                  0U);
        return value;
    }

  private:
    /// An empty container's pointer may be null, which the calls refuse.
    static const QAL_UINT8 *Start(Bytes message)
    {
        static constexpr QAL_UINT8 kNothing = 0;
        return message.empty() ? &kNothing : message.data();
    }
};

inline Bytes Text(std::string_view text)
{
    return {reinterpret_cast<const QAL_UINT8 *>(text.data()), text.size()};
}

/// The CRC by its definition: long division, bit by bit. The message is extended by one zero bit
/// for each bit of the CRC; then the start value is added to the first bits.
template <typename Word>
Word Remainder(const Crc<Word> &crc, Word start, Bytes message)
{
    constexpr std::size_t kWidth = 8 * sizeof(Word);
    const auto bitOf = [&](std::uint64_t value, std::size_t i, std::size_t width) {
        return ((value >> (crc.reflected ? i : width - 1 - i)) & 1U) != 0;
    };
    std::vector<bool> dividend;
    for (const QAL_UINT8 uc : message) {
        for (std::size_t i = 0; i < 8; ++i) {
            dividend.push_back(bitOf(uc, i, 8));
        }
    }
    dividend.resize(dividend.size() + kWidth);
    for (std::size_t i = 0; i < kWidth; ++i) {
        dividend[i] = dividend[i] != bitOf(start, i, kWidth);
    }
    for (std::size_t at = 0; at + kWidth < dividend.size(); ++at) {
        if (!dividend[at]) {
            continue;
        }
        for (std::size_t i = 0; i < kWidth; ++i) { // dividend[at] itself is not read again
            const bool isSet = ((crc.poly >> (kWidth - 1 - i)) & 1U) != 0;
            dividend[at + 1 + i] = dividend[at + 1 + i] != isSet;
        }
    }
    Word remainder = 0;
    for (std::size_t i = 0; i < kWidth; ++i) {
        const bool isSet = dividend[dividend.size() - kWidth + i];
        const auto bit = static_cast<Word>(Word{1} << (crc.reflected ? i : kWidth - 1 - i));
        remainder = static_cast<Word>(remainder | (isSet ? bit : Word{0}));
    }
    return remainder;
}

template <typename Word>
void ExpectRefusesNull(const Crc<Word> &crc)
{
    constexpr Word kUntouched = 0x5AA5;
    const QAL_UINT8 aucData[] = {1, 2, 3};
    for (const QAL_UINT32 ulLen : {0U, 3U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(ulLen);
        Word value = kUntouched;
        EXPECT_EQ(crc.pfunWhole(nullptr, ulLen, &value), crc.ulInvalidPara);
        EXPECT_EQ(crc.pfunWhole(aucData, ulLen, nullptr), crc.ulInvalidPara);
        EXPECT_EQ(crc.pfunWhole(nullptr, ulLen, nullptr), crc.ulInvalidPara);
        EXPECT_EQ(crc.pfunPiece(7, nullptr, ulLen, &value), crc.ulInvalidPara);
        EXPECT_EQ(crc.pfunPiece(7, aucData, ulLen, nullptr), crc.ulInvalidPara);
        EXPECT_EQ(crc.pfunPiece(7, nullptr, ulLen, nullptr), crc.ulInvalidPara);
        EXPECT_EQ(value, kUntouched);
    }
}

/// An empty message is not read at all: here its pointer points to an inaccessible page.
template <typename Word>
void ExpectEmptyChangesNothing(const Crc<Word> &crc)
{
    const GuardedMemory memory(1);
    Word value = 0x5AA5;
    EXPECT_EQ(crc.pfunWhole(memory.End(), 0, &value), 0U);
    EXPECT_EQ(value, 0U);
    for (const Word start : {Word{0}, Word{1}, Word{0x8000}, static_cast<Word>(-1)}) {
        value = 0x5AA5;
        EXPECT_EQ(crc.pfunPiece(start, memory.End(), 0, &value), 0U);
        EXPECT_EQ(value, start);
    }
}

template <typename Word>
void ExpectEveryByte(const Crc<Word> &crc)
{
    for (unsigned int i = 0; i < 256; ++i) {
        const auto uc = static_cast<QAL_UINT8>(i);
        EXPECT_EQ(crc.Whole({&uc, 1}), Remainder<Word>(crc, 0, {&uc, 1})) << i;
    }
}

template <typename Word>
void ExpectRemainders(const Crc<Word> &crc)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    for (int iRound = 0; iRound < 200; ++iRound) {
        const std::vector<QAL_UINT8> message = random.Bytes(random.UpTo(200));
        const auto start = static_cast<Word>(random.UpTo(static_cast<Word>(-1)));
        EXPECT_EQ(crc.Piece(start, message), Remainder<Word>(crc, start, message)) << iRound;
        EXPECT_EQ(crc.Whole(message), Remainder<Word>(crc, 0, message)) << iRound;
        EXPECT_EQ(crc.Piece(0, message), crc.Whole(message)) << iRound;
    }
}

template <typename Word>
void ExpectSplitsMatchTheWhole(const Crc<Word> &crc)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<QAL_UINT8> message = random.Bytes(400);
    const Bytes all(message);
    const Word expected = crc.Whole(all);
    for (std::size_t at = 0; at <= all.size(); ++at) {
        EXPECT_EQ(crc.Piece(crc.Whole(all.first(at)), all.subspan(at)), expected) << at;
    }
    for (std::size_t size = 1; size <= 64; ++size) { // pieces of equal size, then the rest
        Word value = 0;
        for (std::size_t at = 0; at < all.size(); at += size) {
            const Bytes piece = all.subspan(at, std::min(size, all.size() - at));
            EXPECT_EQ(crc.pfunPiece(value, piece.data(), static_cast<QAL_UINT32>(piece.size()),
                                    &value), // the result replaces the start value
                      0U);
        }
        EXPECT_EQ(value, expected) << size;
    }
}

/// Every length up to kMaxLen at 17 alignments, with different bytes around the message at each of
/// them.
template <typename Word>
void ExpectLengthsAndAlignments(const Crc<Word> &crc)
{
    constexpr std::size_t kMaxLen = 600;
    constexpr std::size_t kAlignments = 17;
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<QAL_UINT8> message = random.Bytes(kMaxLen);
    const auto start = static_cast<Word>(random.UpTo(static_cast<Word>(-1)));
    alignas(64) QAL_UINT8 aucAround[kAlignments + kMaxLen + 64];
    for (std::size_t len = 0; len <= kMaxLen; ++len) {
        const Bytes head(message.data(), len);
        const Word expected = Remainder<Word>(crc, start, head);
        for (std::size_t at = 0; at < kAlignments; ++at) {
            std::memset(aucAround, static_cast<int>(len + at), sizeof aucAround);
            std::copy(head.begin(), head.end(), aucAround + at);
            ASSERT_EQ(crc.Piece(start, {aucAround + at, len}), expected)
                << "length " << len << ", alignment " << at;
        }
    }
}

/// No byte before or after the message is read, not even by a form that reads many at once.
template <typename Word>
void ExpectReadsNothingOutside(const Crc<Word> &crc)
{
    constexpr std::size_t kMaxLen = 600;
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<QAL_UINT8> message = random.Bytes(kMaxLen);
    const GuardedMemory memory(kMaxLen);
    for (std::size_t len = 0; len <= kMaxLen; ++len) {
        const Bytes head(message.data(), len);
        const Word expected = crc.Whole(head);
        std::copy(head.begin(), head.end(), memory.Begin());
        EXPECT_EQ(crc.Whole({memory.Begin(), len}), expected) << len;
        std::copy(head.begin(), head.end(), memory.End() - len);
        EXPECT_EQ(crc.Whole({memory.End() - len, len}), expected) << len;
    }
}

/// The result may be written over part of the message, which is not read after that.
template <typename Word>
void ExpectResultMayLieInTheMessage(const Crc<Word> &crc)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    for (const std::size_t words : {1U, 3U, 20U, 100U, 3000U}) {
        std::vector<Word> message(words);
        for (Word &word : message) {
            word = static_cast<Word>(random.UpTo(static_cast<Word>(-1)));
        }
        const Bytes bytes(reinterpret_cast<const QAL_UINT8 *>(message.data()),
                          words * sizeof(Word));
        const Word expected = crc.Piece(5, bytes);
        for (const std::size_t at : {std::size_t{0}, words / 2, words - 1}) {
            std::vector<Word> copy = message;
            EXPECT_EQ(crc.pfunPiece(5, reinterpret_cast<const QAL_UINT8 *>(copy.data()),
                                    static_cast<QAL_UINT32>(bytes.size()), &copy[at]),
                      0U);
            EXPECT_EQ(copy[at], expected) << words << " words, at " << at;
        }
    }
}

/// A message whose length does not fit in 16 bits, compared with two pieces whose lengths do.
template <typename Word>
void ExpectLongMessage(const Crc<Word> &crc)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<QAL_UINT8> message = random.Bytes(0x10000 + 7);
    const Bytes all(message);
    EXPECT_EQ(crc.Whole(all), crc.Piece(crc.Whole(all.first(0x8000)), all.subspan(0x8000)));
}

} // namespace wyx::test

#endif
