// The table that yields two Base64 characters at once.
#ifndef WYX_COMMLIB_BASE64_PAIRS_H
#define WYX_COMMLIB_BASE64_PAIRS_H

#include "base64_kernel.h"

namespace wyx::base64 {

/// The two characters that encode each value of 12 bits, the first in the low byte.
consteval std::array<QAL_UINT16, 4096> MakePairs()
{
    std::array<QAL_UINT16, 4096> aTab{};
    for (QAL_UINT32 i = 0; i < aTab.size(); ++i) {
        aTab[i] = TwoCharactersOf(i);
    }
    return aTab;
}

inline constexpr auto kPairs = MakePairs();

/// The characters that encode the lowest 12 bits.
inline QAL_UINT16 PairOf(QAL_UINT64 ullBits)
{
    return kPairs[ullBits % kPairs.size()];
}

} // namespace wyx::base64

#endif
