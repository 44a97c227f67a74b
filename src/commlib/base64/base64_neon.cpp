// Base64 with NEON: loads and stores that take every third or fourth byte apart, and look-ups in
// tables of 64 entries that stand in registers.
#include "base64_kernel.h"

#if defined(__ARM_NEON)

#include <arm_neon.h>

namespace wyx::base64::neon {
namespace {

constexpr QAL_UINT8 kHasValue = 0x80; // marks the sextet of a character that has one

/// The sextets of the characters from 0 to 127, marked; 0 for those without.
consteval std::array<QAL_UINT8, 128> MakeSextets()
{
    std::array<QAL_UINT8, 128> aTab{};
    for (QAL_UINT8 i = 0; i < kSextets; ++i) {
        aTab[static_cast<QAL_UINT8>(cb64[i])] = static_cast<QAL_UINT8>(i | kHasValue);
    }
    aTab['-'] = aTab['+']; // the URL-safe alphabet
    aTab['_'] = aTab['/'];
    return aTab;
}

constexpr auto kSextetOf = MakeSextets();

uint8x16x4_t LoadTable(const QAL_UINT8 *pucTable)
{
    return {{vld1q_u8(pucTable), vld1q_u8(pucTable + 16), vld1q_u8(pucTable + 32),
             vld1q_u8(pucTable + 48)}};
}

} // namespace

QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut)
{
    const uint8x16x4_t alphabet = LoadTable(reinterpret_cast<const QAL_UINT8 *>(cb64));
    const uint8x16_t sextet = vdupq_n_u8(0x3F);
    QAL_UINT32 ulDone = 0;
    for (; ulLen - ulDone >= 48; ulDone += 48) {
        const uint8x16x3_t in = vld3q_u8(pucIn + ulDone);
        const uint8x16_t second = vorrq_u8(vshlq_n_u8(in.val[0], 4), vshrq_n_u8(in.val[1], 4));
        const uint8x16_t third = vorrq_u8(vshlq_n_u8(in.val[1], 2), vshrq_n_u8(in.val[2], 6));
        const uint8x16x4_t out = {{
            vqtbl4q_u8(alphabet, vshrq_n_u8(in.val[0], 2)),
            vqtbl4q_u8(alphabet, vandq_u8(second, sextet)),
            vqtbl4q_u8(alphabet, vandq_u8(third, sextet)),
            vqtbl4q_u8(alphabet, vandq_u8(in.val[2], sextet)),
        }};
        vst4q_u8(pucOut, out);
        pucOut += 64;
    }
    return ulDone;
}

QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut)
{
    const uint8x16x4_t low = LoadTable(kSextetOf.data());
    const uint8x16x4_t high = LoadTable(kSextetOf.data() + 64);
    const uint8x16_t upperHalf = vdupq_n_u8(0x40);
    QAL_UINT32 ulDone = 0;
    for (; ulLen - ulDone >= 64; ulDone += 64) {
        const uint8x16x4_t in = vld4q_u8(pucIn + ulDone);
        // An index of 64 or more looks up 0: of the two halves, one gives 0, or both.
        const auto sextets = [&](int i) {
            return vorrq_u8(vqtbl4q_u8(low, in.val[i]),
                            vqtbl4q_u8(high, veorq_u8(in.val[i], upperHalf)));
        };
        const uint8x16_t a = sextets(0);
        const uint8x16_t b = sextets(1);
        const uint8x16_t c = sextets(2);
        const uint8x16_t d = sextets(3);
        if (vminvq_u8(vandq_u8(vandq_u8(a, b), vandq_u8(c, d))) < kHasValue) {
            break;
        }
        // The mark of the second to the fourth character falls into bit 7 or 6 of a shifted value.
        const uint8x16_t mark = vdupq_n_u8(static_cast<QAL_UINT8>(~kHasValue));
        const uint8x16_t second = vandq_u8(b, mark);
        const uint8x16_t third = vandq_u8(c, mark);
        const uint8x16_t fourth = vandq_u8(d, mark);
        const uint8x16x3_t out = {{
            vorrq_u8(vshlq_n_u8(a, 2), vshrq_n_u8(second, 4)),
            vorrq_u8(vshlq_n_u8(second, 4), vshrq_n_u8(third, 2)),
            vorrq_u8(vshlq_n_u8(third, 6), fourth),
        }};
        vst3q_u8(pucOut, out);
        pucOut += 48;
    }
    return ulDone;
}

} // namespace wyx::base64::neon

#endif
