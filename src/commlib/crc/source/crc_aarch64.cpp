// The form for AArch64 CPUs with the CRC-32 instructions, which use our polynomial and bit order.
#include "crc_kernel.h"

#if defined(WYX_CRC_HAS_AARCH64)
#include <arm_acle.h>

#include "crc_plain.h"

namespace wyx::crc {
namespace {

// A CRC instruction processes up to eight bytes. The CPU can start one in each cycle, but must wait
// two or three cycles for the result, which the next one needs. Three parts of equal length are
// therefore processed side by side and then joined: the CRC v of a part is carried over by adding
// v * x^(8 * kPart - 32) to the next part. The sparse multiple below replaces this power of x by
// five lower ones, so that every bit added falls into the last 16 bytes of that part. Of the
// lengths that the loop can process, 640 bytes is the shortest for which five such powers are
// enough (SparseMultiples.Crc32Join); the next is 2,896 bytes.
constexpr unsigned kPart = 640;
template <unsigned... kExponents>
struct JoinOf {
    static_assert(Sparse<8 * kPart - 32, kExponents...>::IsMultipleOf(kCrc32));
    static_assert(((kExponents <= 96) && ...), "the sum would not fit in two words");

    Word ullFirst;
    Word ullSecond;

    explicit JoinOf(Word ullValue)
        : ullFirst((High(ullValue, kExponents) ^ ...)), ullSecond((Low(ullValue, kExponents) ^ ...))
    {}

  private:
    // The coefficient of x^0 is bit 31 of the CRC and bit 63 of a word.
    static Word Low(Word ullValue, unsigned uExponent)
    {
        return uExponent <= 32 ? ullValue << (32 - uExponent) : ullValue >> (uExponent - 32);
    }
    static Word High(Word ullValue, unsigned uExponent)
    {
        return uExponent <= 32 ? 0 : ullValue << (96 - uExponent);
    }
};
using Join = JoinOf<26, 43, 62, 78, 95>;

QAL_UINT32 AfterWord(QAL_UINT32 ulCrc, const QAL_UINT8 *puc, Word ullAdded = 0)
{
    return __crc32d(ulCrc, LoadWord<LowestBitFirst>(puc) ^ ullAdded);
}

QAL_UINT32 AfterTwoWords(QAL_UINT32 ulCrc, const QAL_UINT8 *puc)
{
    return AfterWord(AfterWord(ulCrc, puc), puc + kWordBytes);
}

/// The CRC after the last two words of a part. Joins in @p ulBefore, the CRC of what precedes the
/// part.
QAL_UINT32 AfterJoin(QAL_UINT32 ulCrc, const QAL_UINT8 *puc, QAL_UINT32 ulBefore)
{
    const Join join(ulBefore);
    return AfterWord(AfterWord(ulCrc, puc, join.ullFirst), puc + kWordBytes, join.ullSecond);
}

} // namespace

QAL_UINT32 aarch64::Crc32(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    constexpr unsigned kJoin = kPart - 2 * kWordBytes;
    constexpr unsigned kPair = 2 * kWordBytes; // loaded by one instruction
    constexpr unsigned kStep = 3 * kPair;
    static_assert(kJoin % kStep == 0);
    for (; ulLen >= 3 * kPart; ulLen -= 3 * kPart) {
        const QAL_UINT8 *const pucSecond = pucData + kPart;
        const QAL_UINT8 *const pucThird = pucSecond + kPart;
        QAL_UINT32 ulSecond = 0;
        QAL_UINT32 ulThird = 0;
        for (unsigned i = 0; i < kJoin; i += kStep) {
            for (unsigned j = i; j < i + kStep; j += kPair) {
                ulCrc = AfterTwoWords(ulCrc, pucData + j);
                ulSecond = AfterTwoWords(ulSecond, pucSecond + j);
                ulThird = AfterTwoWords(ulThird, pucThird + j);
            }
        }
        ulCrc = AfterTwoWords(ulCrc, pucData + kJoin);
        ulCrc = AfterJoin(ulSecond, pucSecond + kJoin, ulCrc);
        ulCrc = AfterJoin(ulThird, pucThird + kJoin, ulCrc);
        pucData += 3 * kPart;
    }
    for (; ulLen >= kWordBytes; ulLen -= kWordBytes, pucData += kWordBytes) {
        ulCrc = AfterWord(ulCrc, pucData);
    }
    for (; ulLen > 0; --ulLen, ++pucData) {
        ulCrc = __crc32b(ulCrc, *pucData);
    }
    return ulCrc;
}

} // namespace wyx::crc

#endif
