// CRC-16: its table, its definition by one look-up per byte, and the faster ways to the same value.
#ifndef WYX_COMMLIB_CRC_SOURCE_CRC16_ARTH_INTERNAL_H
#define WYX_COMMLIB_CRC_SOURCE_CRC16_ARTH_INTERNAL_H

#include <array>

#include "crc_cpu.h"
#include "crc_fold.h"

namespace wyx::crc {

constexpr Polynomial kCrc16 = {16, 0x1021}; // x^16 + x^12 + x^5 + 1

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

inline constexpr auto aCrc16_tab = MakeCrc16Table();
static_assert(aCrc16_tab[1] == 0x1021 && aCrc16_tab[2] == 0x2042 && aCrc16_tab[255] == 0x1EF0,
              "wrong polynomial or bit order");

/// The definition, a byte at a time.
inline QAL_UINT16 Crc16Plain(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen)
{
    QAL_UINT32 ulCrc = uwCrc;
    for (QAL_UINT32 i = 0; i < ulLen; ++i) {
        ulCrc = aCrc16_tab[pucData[i] ^ (ulCrc >> 8)] ^ ((ulCrc << 8) & 0xFFFFU);
    }
    return static_cast<QAL_UINT16>(ulCrc);
}

/// The value after the eight bytes of a word, the first on top, to which the value before them is
/// already added: their way to the table then passes no further XOR.
inline QAL_UINT16 Crc16OfWord(Word ullWord)
{
    for (unsigned i = 0; i < kWordBytes; ++i) {
        ullWord = (Word{aCrc16_tab[ullWord >> 56]} << 48) ^ (ullWord << 8);
    }
    return static_cast<QAL_UINT16>(ullWord >> 48);
}

// Each of these gives what Crc16Plain() gives; those are there for which the CPU has what they
// need.
QAL_UINT16 Crc16Sparse(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen);
QAL_UINT16 Crc16Clmul(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen);
QAL_UINT16 Crc16Clmul512(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen);

/// The one that is used, chosen as the library is compiled: by what the compiler may take for
/// granted of the CPU, not by what is found at run time.
#if defined(WYX_CRC_HAS_CLMUL512)
constexpr auto Crc16 = Crc16Clmul512;
#elif defined(WYX_CRC_HAS_CLMUL)
constexpr auto Crc16 = Crc16Clmul;
#else
constexpr auto Crc16 = Crc16Sparse;
#endif

} // namespace wyx::crc

#endif
