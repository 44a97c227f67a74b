// CRC-32 by the CRC instructions of AArch64, whose polynomial and bit order are ours.
#include "crc32_arth_internal.h"

#if defined(WYX_CRC_HAS_CRC32_INSTRUCTIONS)
#include <arm_acle.h>

namespace wyx::crc {
namespace {

// An instruction takes eight bytes and starts each cycle, but its result is there two or three
// cycles later: one stream leaves it idle for as long. So three parts of equal length go side by
// side. A value v at the end of a part stands kPart bytes before the end of the next one, where it
// is v * x^(8 * kPart - 32); with so few terms in its place, that is added to the last 16 bytes
// there.
constexpr unsigned kPart = 640;
template <unsigned... kExponents>
struct JoinOf {
    static_assert(Sparse<8 * kPart - 32, kExponents...>::IsMultipleOf(kCrc32));
    static_assert(((kExponents < 96) && ...), "the sum would not end within two words");

    Word ullFirst;
    Word ullSecond;

    explicit JoinOf(Word ullValue)
        : ullFirst((High(ullValue, kExponents) ^ ...)), ullSecond((Low(ullValue, kExponents) ^ ...))
    {}

  private:
    // The value's lowest coefficient, x^0, is its bit 31, and bit 63 of a word.
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

QAL_UINT32 Next(QAL_UINT32 ulCrc, const QAL_UINT8 *puc, Word ullAdded = 0)
{
    return __crc32d(ulCrc, LoadWord<LowestBitFirst>(puc) ^ ullAdded);
}

/// The last two words of a part, to which the value of the part before is joined.
QAL_UINT32 NextJoined(QAL_UINT32 ulCrc, const QAL_UINT8 *puc, QAL_UINT32 ulBefore)
{
    const Join join(ulBefore);
    return Next(Next(ulCrc, puc, join.ullFirst), puc + kWordBytes, join.ullSecond);
}

} // namespace

QAL_UINT32 Crc32Aarch64(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    constexpr unsigned kJoin = kPart - 2 * kWordBytes;
    for (; ulLen >= 3 * kPart; ulLen -= 3 * kPart) {
        const QAL_UINT8 *const pucSecond = pucData + kPart;
        const QAL_UINT8 *const pucThird = pucSecond + kPart;
        QAL_UINT32 ulSecond = 0;
        QAL_UINT32 ulThird = 0;
        for (unsigned i = 0; i < kJoin; i += kWordBytes) {
            ulCrc = Next(ulCrc, pucData + i);
            ulSecond = Next(ulSecond, pucSecond + i);
            ulThird = Next(ulThird, pucThird + i);
        }
        ulCrc = Next(Next(ulCrc, pucData + kJoin), pucData + kJoin + kWordBytes);
        ulCrc = NextJoined(ulSecond, pucSecond + kJoin, ulCrc);
        ulCrc = NextJoined(ulThird, pucThird + kJoin, ulCrc);
        pucData += 3 * kPart;
    }
    for (; ulLen >= kWordBytes; ulLen -= kWordBytes, pucData += kWordBytes) {
        ulCrc = Next(ulCrc, pucData);
    }
    for (; ulLen > 0; --ulLen, ++pucData) {
        ulCrc = __crc32b(ulCrc, *pucData);
    }
    return ulCrc;
}

} // namespace wyx::crc

#endif
