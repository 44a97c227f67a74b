// CRC-32: its table, its definition by one look-up per byte, and the faster ways to the same value.
#ifndef WYX_COMMLIB_CRC_SOURCE_CRC32_ARTH_INTERNAL_H
#define WYX_COMMLIB_CRC_SOURCE_CRC32_ARTH_INTERNAL_H

#include <array>

#include "crc_cpu.h"
#include "crc_fold.h"

namespace wyx::crc {

constexpr Polynomial kCrc32 = {32, 0x04C11DB7};
constexpr QAL_UINT32 kCrc32Reversed = 0xEDB88320; // its lower coefficients, that of x^0 on top

/// Entry i is the remainder of the byte i: eight steps of long division, bottom bit first.
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

inline constexpr auto aCrc32_tab = MakeCrc32Table();
static_assert(aCrc32_tab[1] == 0x77073096 && aCrc32_tab[128] == kCrc32Reversed &&
                  aCrc32_tab[255] == 0x2D02EF8D,
              "wrong polynomial or bit order");

/// The definition, a byte at a time.
inline QAL_UINT32 Crc32Plain(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    for (QAL_UINT32 i = 0; i < ulLen; ++i) {
        ulCrc = aCrc32_tab[(pucData[i] ^ ulCrc) & 0xFFU] ^ (ulCrc >> 8);
    }
    return ulCrc;
}

/// The value after the eight bytes of a word, to which the value before them is already added:
/// their way to the table then passes no further XOR.
inline QAL_UINT32 Crc32OfWord(Word ullWord)
{
    for (unsigned i = 0; i < kWordBytes; ++i) {
        ullWord = aCrc32_tab[ullWord & 0xFFU] ^ (ullWord >> 8);
    }
    return static_cast<QAL_UINT32>(ullWord);
}

// Each of these gives what Crc32Plain() gives; those are there for which the CPU has what they
// need.
QAL_UINT32 Crc32Sparse(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen);
QAL_UINT32 Crc32Aarch64(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen);
QAL_UINT32 Crc32Clmul(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen);
QAL_UINT32 Crc32Clmul512(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen);

// The one that is used, chosen as the library is compiled: by what the compiler may take for
// granted of the CPU, not by what is found at run time. Carry-less multiplication is slow to start,
// so that something else is better for messages shorter than kMinByClmul.
#if defined(WYX_CRC_HAS_CRC32_INSTRUCTIONS)
constexpr auto Crc32Short = Crc32Aarch64;
constexpr QAL_UINT32 kMinByClmul = 384;
#else
constexpr auto Crc32Short = Crc32Sparse;
constexpr QAL_UINT32 kMinByClmul = 16;
#endif
#if defined(WYX_CRC_HAS_CLMUL512)
constexpr auto Crc32 = Crc32Clmul512;
#elif defined(WYX_CRC_HAS_CLMUL)
constexpr auto Crc32 = Crc32Clmul;
#else
constexpr auto Crc32 = Crc32Short;
#endif

} // namespace wyx::crc

#endif
