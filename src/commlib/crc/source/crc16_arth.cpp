// CRC-16 by one table look-up per byte, most significant bit first.
#include "wyx_commlib/crc.h"

#include <array>

namespace {

constexpr QAL_UINT32 kCrc16Poly = 0x1021; // x^12 + x^5 + 1; the x^16 is the bit shifted out

/// Entry i is i * x^16 mod the polynomial: eight steps of long division, top bit first.
consteval std::array<QAL_UINT16, 256> MakeCrc16Table()
{
    std::array<QAL_UINT16, 256> aTab{};
    for (QAL_UINT32 i = 0; i < aTab.size(); ++i) {
        QAL_UINT32 ulRem = i << 8;
        for (int iBit = 0; iBit < 8; ++iBit) {
            ulRem = (ulRem << 1) ^ ((ulRem & 0x8000U) != 0 ? kCrc16Poly : 0U);
        }
        aTab[i] = static_cast<QAL_UINT16>(ulRem);
    }
    return aTab;
}

constexpr auto aCrc16_tab = MakeCrc16Table();
static_assert(aCrc16_tab[1] == 0x1021 && aCrc16_tab[2] == 0x2042 && aCrc16_tab[255] == 0x1EF0,
              "wrong polynomial or bit order");

} // namespace

extern "C" {

QAL_UINT32 XELP_CRC_Accumulate_16(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen,
                                  QAL_UINT16 *puwResult)
{
    if (pucData == nullptr || puwResult == nullptr) {
        return XELP_ERR_CRC16_INVALID_PARA;
    }
    QAL_UINT32 ulCrc = uwCrc;
    for (QAL_UINT32 i = 0; i < ulLen; ++i) {
        ulCrc = aCrc16_tab[pucData[i] ^ (ulCrc >> 8)] ^ ((ulCrc << 8) & 0xFFFFU);
    }
    *puwResult = static_cast<QAL_UINT16>(ulCrc);
    return 0;
}

QAL_UINT32 XELP_CRC_16(const QAL_UINT8 *pucData, QAL_UINT32 ulLen, QAL_UINT16 *puwResult)
{
    return XELP_CRC_Accumulate_16(0, pucData, ulLen, puwResult);
}

} // extern "C"
