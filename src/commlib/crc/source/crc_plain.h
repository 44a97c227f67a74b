// The plain CRC-16 and CRC-32: one table look-up per byte. The tests compare every form with these.
#ifndef WYX_COMMLIB_CRC_SOURCE_CRC_PLAIN_H
#define WYX_COMMLIB_CRC_SOURCE_CRC_PLAIN_H

#include <array>

#include "crc_fold.h"

namespace wyx::crc {

constexpr Polynomial kCrc16 = {16, 0x1021}; // x^16 + x^12 + x^5 + 1
constexpr Polynomial kCrc32 = {32, 0x04C11DB7};
constexpr QAL_UINT32 kCrc32Reversed = 0xEDB88320; // the same, with x^0 in the highest bit

/// Entry i is i * x^16 mod the polynomial: eight steps of long division, top bit first.
consteval std::array<QAL_UINT16, 256> MakeCrc16Table()
{
    std::array<QAL_UINT16, 256> aTab{};
    for (QAL_UINT32 i = 0; i < aTab.size(); ++i) {
        QAL_UINT32 ulRem = i << 8;
        for (int iBit = 0; iBit < 8; ++iBit) {
            ulRem = (ulRem << 1) ^ ((ulRem & 0x8000U) != 0 ? kCrc16.ulLower : 0U);
        }
        aTab[i] = static_cast<QAL_UINT16>(ulRem);
    }
    return aTab;
}

/// Entry i is i * x^32 mod the polynomial, with the bits of both i and the entry in reverse order:
/// eight steps of long division, bottom bit first.
consteval std::array<QAL_UINT32, 256> MakeCrc32Table()
{
    std::array<QAL_UINT32, 256> aTab{};
    for (QAL_UINT32 i = 0; i < aTab.size(); ++i) {
        QAL_UINT32 ulRem = i;
        for (int iBit = 0; iBit < 8; ++iBit) {
            ulRem = (ulRem >> 1) ^ ((ulRem & 1U) != 0 ? kCrc32Reversed : 0U);
        }
        aTab[i] = ulRem;
    }
    return aTab;
}

inline constexpr auto aCrc16_tab = MakeCrc16Table();
static_assert(aCrc16_tab[1] == 0x1021 && aCrc16_tab[2] == 0x2042 && aCrc16_tab[255] == 0x1EF0,
              "wrong polynomial or bit order");
inline constexpr auto aCrc32_tab = MakeCrc32Table();
static_assert(aCrc32_tab[1] == 0x77073096 && aCrc32_tab[128] == kCrc32Reversed &&
                  aCrc32_tab[255] == 0x2D02EF8D,
              "wrong polynomial or bit order");

// Crc16Plain() and Crc32Plain() are not inlined: where a message is known to be short, compilers
// would unroll the whole loop.

[[gnu::noinline]] inline QAL_UINT16 Crc16Plain(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData,
                                               QAL_UINT32 ulLen)
{
    QAL_UINT32 ulCrc = uwCrc;
    for (QAL_UINT32 i = 0; i < ulLen; ++i) {
        ulCrc = aCrc16_tab[pucData[i] ^ (ulCrc >> 8)] ^ ((ulCrc << 8) & 0xFFFFU);
    }
    return static_cast<QAL_UINT16>(ulCrc);
}

[[gnu::noinline]] inline QAL_UINT32 Crc32Plain(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData,
                                               QAL_UINT32 ulLen)
{
    for (QAL_UINT32 i = 0; i < ulLen; ++i) {
        ulCrc = aCrc32_tab[(pucData[i] ^ ulCrc) & 0xFFU] ^ (ulCrc >> 8);
    }
    return ulCrc;
}

// Crc16OfWord() and Crc32OfWord() return the CRC of a word's eight bytes, starting from 0.

/// The first byte of the message is the highest byte of the word.
inline QAL_UINT16 Crc16OfWord(Word ullWord)
{
    for (unsigned i = 0; i < kWordBytes; ++i) {
        ullWord = (Word{aCrc16_tab[ullWord >> 56]} << 48) ^ (ullWord << 8);
    }
    return static_cast<QAL_UINT16>(ullWord >> 48);
}

/// The first byte of the message is the lowest byte of the word.
inline QAL_UINT32 Crc32OfWord(Word ullWord)
{
    for (unsigned i = 0; i < kWordBytes; ++i) {
        ullWord = aCrc32_tab[ullWord & 0xFFU] ^ (ullWord >> 8);
    }
    return static_cast<QAL_UINT32>(ullWord);
}

} // namespace wyx::crc

#endif
