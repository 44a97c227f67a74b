// CRC-32 by one table look-up per byte, least significant bit first.
#include "wyx_commlib/crc.h"

#include <array>

namespace {

constexpr QAL_UINT32 kCrc32Poly = 0xEDB88320; // 0x04C11DB7 with its bits reversed

/// Entry i is the remainder of the byte i: eight steps of long division, bottom bit first.
consteval std::array<QAL_UINT32, 256> MakeCrc32Table()
{
    std::array<QAL_UINT32, 256> aTab{};
    for (QAL_UINT32 i = 0; i < aTab.size(); ++i) {
        QAL_UINT32 ulRem = i;
        for (int iBit = 0; iBit < 8; ++iBit) {
            ulRem = (ulRem >> 1) ^ ((ulRem & 1U) != 0 ? kCrc32Poly : 0U);
        }
        aTab[i] = ulRem;
    }
    return aTab;
}

constexpr auto aCrc32_tab = MakeCrc32Table();
static_assert(aCrc32_tab[1] == 0x77073096 && aCrc32_tab[128] == kCrc32Poly &&
                  aCrc32_tab[255] == 0x2D02EF8D,
              "wrong polynomial or bit order");

} // namespace

extern "C" {

// Kept: the value is not inverted before or after, unlike the common CRC-32; stored checksums
// depend on it (Crc32.CheckValues).
QAL_UINT32 XELP_CRC_Accumulate_32(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen,
                                  QAL_UINT32 *pulResult)
{
    if (pucData == nullptr || pulResult == nullptr) {
        return XELP_ERR_CRC_INVALID_PARA;
    }
    for (QAL_UINT32 i = 0; i < ulLen; ++i) {
        ulCrc = aCrc32_tab[(pucData[i] ^ ulCrc) & 0xFFU] ^ (ulCrc >> 8);
    }
    *pulResult = ulCrc;
    return 0;
}

QAL_UINT32 XELP_CRC_32(const QAL_UINT8 *pucData, QAL_UINT32 ulLen, QAL_UINT32 *pulResult)
{
    return XELP_CRC_Accumulate_32(0, pucData, ulLen, pulResult);
}

} // extern "C"
