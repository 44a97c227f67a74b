// Base64 with NEON. De-interleaving loads put the first bytes of all groups in one vector, the
// second bytes in the next, and so on; interleaving stores do the reverse. Look-ups use tables of
// 64 entries in registers.
//
// A round processes 48 bytes or 64 characters. The rest is processed in steps of 12 bytes or 16
// characters. The last step starts early enough to end with the last whole group: what it repeats
// has the same result.
#include "base64_kernel.h"

#if defined(WYX_BASE64_HAS_NEON)

#include <algorithm>
#include <bit>

#include <arm_neon.h>

namespace wyx::base64::neon {
namespace {

constexpr QAL_UINT8 kMark = 0x80; // distinguishes a sextet of 0 from none

/// The sextets of the characters 0 to 127, marked; 0 for characters without one.
consteval std::array<QAL_UINT8, 128> MakeMarkedSextets()
{
    const auto aSextets = MakeSextets();
    std::array<QAL_UINT8, 128> aTab{};
    for (QAL_UINT32 i = 0; i < aTab.size(); ++i) {
        if (aSextets[i] != kNoSextet) {
            aTab[i] = static_cast<QAL_UINT8>(aSextets[i] | kMark);
        }
    }
    return aTab;
}

constexpr auto kMarkedSextets = MakeMarkedSextets();

constexpr QAL_UINT32 kStepBytes = 12;
constexpr QAL_UINT32 kStepChars = 16;

/// Encodes 12 bytes to 16 characters.
void EncodeStep(uint8x16x4_t alphabet, const QAL_UINT8 *pucIn, QAL_UINT8 *pucOut)
{
    // Each group of bytes b0 b1 b2 becomes two numbers of 16 bits, b0 b1 and b1 b2: the first holds
    // two sextets from bits 10 and 4 on, the second from bits 6 and 0 on.
    constexpr QAL_UINT8 kSpread[16] = {1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 12, 7, 14, 13, 15, 14};
    constexpr QAL_UINT32 kDown = 0xFFFAFFF6; // right by 10 and by 6
    constexpr QAL_UINT32 kUp = 0x00080004;   // left by 4 and by 8
    // Two loads of 8 bytes, because one of 16 would read past the 12: byte 8 of the input is byte
    // 12 of the vector.
    const uint8x16_t bytes = vcombine_u8(vld1_u8(pucIn), vld1_u8(pucIn + 4));
    const uint16x8_t halves = vreinterpretq_u16_u8(vqtbl1q_u8(bytes, vld1q_u8(kSpread)));
    const uint16x8_t low = vshlq_u16(halves, vreinterpretq_s16_u32(vdupq_n_u32(kDown)));
    const uint16x8_t high = vshlq_u16(halves, vreinterpretq_s16_u32(vdupq_n_u32(kUp)));
    const uint8x16_t both = vreinterpretq_u8_u16(vbslq_u16(vdupq_n_u16(0x00FF), low, high));
    vst1q_u8(pucOut, vqtbl4q_u8(alphabet, vandq_u8(both, vdupq_n_u8(0x3F))));
}

/// The marked sextets of characters; 0 for those without one.
uint8x16_t SextetsOf(uint8x16x4_t low, uint8x16x4_t high, uint8x16_t chars)
{
    // An index of 64 or more yields 0, so at least one of the two look-ups does.
    return vorrq_u8(vqtbl4q_u8(low, chars), vqtbl4q_u8(high, veorq_u8(chars, vdupq_n_u8(0x40))));
}

/// Decodes 16 characters to 12 bytes. If a character has no sextet, writes nothing and returns the
/// number of characters before it.
QAL_UINT32 DecodeStep(uint8x16x4_t low, uint8x16x4_t high, const QAL_UINT8 *pucIn,
                      QAL_UINT8 *pucOut)
{
    constexpr QAL_UINT8 kPack[16] = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, 0, 0, 0, 0};
    const uint8x16_t marked = SextetsOf(low, high, vld1q_u8(pucIn));
    if (vminvq_u8(marked) < kMark) {
        const uint16x8_t noSextet = vreinterpretq_u16_u8(vcltq_u8(marked, vdupq_n_u8(kMark)));
        const QAL_UINT64 ullNone = vget_lane_u64(vreinterpret_u64_u8(vshrn_n_u16(noSextet, 4)), 0);
        return static_cast<QAL_UINT32>(std::countr_zero(ullNone)) / 4; // four bits per character
    }
    // Join pairs of sextets into 12 bits, and pairs of those into 24. Each insertion keeps the low
    // bits and overwrites the mark above them. The highest byte of each word is not packed.
    const uint16x8_t sextets = vreinterpretq_u16_u8(marked);
    const uint32x4_t pairs =
        vreinterpretq_u32_u16(vsliq_n_u16(vshrq_n_u16(sextets, 8), sextets, 6));
    const uint32x4_t words = vsliq_n_u32(vshrq_n_u32(pairs, 16), pairs, 12);
    const uint8x16_t bytes = vqtbl1q_u8(vreinterpretq_u8_u32(words), vld1q_u8(kPack));
    const QAL_UINT32 ulLast = vgetq_lane_u32(vreinterpretq_u32_u8(bytes), 2);
    vst1_u8(pucOut, vget_low_u8(bytes));
    __builtin_memcpy(pucOut + 8, &ulLast, sizeof ulLast);
    return kStepChars;
}

} // namespace

QAL_UINT32 EncodeGroups(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut)
{
    const uint8x16x4_t alphabet = vld1q_u8_x4(reinterpret_cast<const QAL_UINT8 *>(cb64));
    const uint8x16_t sextetMask = vdupq_n_u8(0x3F);
    QAL_UINT32 ulDone = 0;
    QAL_UINT8 *pucNext = pucOut;
    for (; ulLen - ulDone >= 48; ulDone += 48) {
        const uint8x16x3_t in = vld3q_u8(pucIn + ulDone);
        const uint8x16_t second = vsliq_n_u8(vshrq_n_u8(in.val[1], 4), in.val[0], 4);
        const uint8x16_t third = vsliq_n_u8(vshrq_n_u8(in.val[2], 6), in.val[1], 2);
        const uint8x16x4_t out = {{
            vqtbl4q_u8(alphabet, vshrq_n_u8(in.val[0], 2)),
            vqtbl4q_u8(alphabet, vandq_u8(second, sextetMask)),
            vqtbl4q_u8(alphabet, vandq_u8(third, sextetMask)),
            vqtbl4q_u8(alphabet, vandq_u8(in.val[2], sextetMask)),
        }};
        vst4q_u8(pucNext, out);
        pucNext += 64;
    }
    const QAL_UINT32 ulEnd = ulLen / 3 * 3; // of the whole groups
    while (ulDone < ulEnd && ulEnd >= kStepBytes) {
        ulDone = std::min(ulDone, ulEnd - kStepBytes);
        EncodeStep(alphabet, pucIn + ulDone, pucOut + ulDone / 3 * 4);
        ulDone += kStepBytes;
    }
    return ulDone;
}

QAL_UINT32 DecodeQuads(const QAL_UINT8 *pucIn, QAL_UINT32 ulLen, QAL_UINT8 *pucOut)
{
    const uint8x16x4_t low = vld1q_u8_x4(kMarkedSextets.data());
    const uint8x16x4_t high = vld1q_u8_x4(kMarkedSextets.data() + 64);
    QAL_UINT32 ulDone = 0;
    QAL_UINT8 *pucNext = pucOut;
    for (; ulLen - ulDone >= 64; ulDone += 64) {
        const uint8x16x4_t in = vld4q_u8(pucIn + ulDone);
        const uint8x16_t a = SextetsOf(low, high, in.val[0]);
        const uint8x16_t b = SextetsOf(low, high, in.val[1]);
        const uint8x16_t c = SextetsOf(low, high, in.val[2]);
        const uint8x16_t d = SextetsOf(low, high, in.val[3]);
        if (vminvq_u8(vandq_u8(vandq_u8(a, b), vandq_u8(c, d))) < kMark) {
            break;
        }
        // Each insertion keeps the low bits, overwrites the mark above them, and shifts out the
        // mark of the value that it inserts.
        const uint8x16x3_t out = {{
            vsliq_n_u8(vshrq_n_u8(b, 4), a, 2),
            vsliq_n_u8(vshrq_n_u8(c, 2), b, 4),
            vsliq_n_u8(d, c, 6),
        }};
        vst3q_u8(pucNext, out);
        pucNext += 48;
    }
    // The end of the quads to decode; lowered when a character without a sextet is found.
    QAL_UINT32 ulEnd = ulLen / 4 * 4;
    // Saves the step that would only find the padding.
    if (ulEnd != 0 && pucIn[ulEnd - 1] == '=') { // speed only
        ulEnd -= 4;
    }
    while (ulDone < ulEnd && ulEnd >= kStepChars) {
        const QAL_UINT32 ulAt = std::min(ulDone, ulEnd - kStepChars);
        const QAL_UINT32 ulValid = DecodeStep(low, high, pucIn + ulAt, pucOut + ulAt / 4 * 3);
        if (ulValid == kStepChars) {
            ulDone = ulAt + kStepChars;
        } else {
            ulEnd = (ulAt + ulValid) / 4 * 4;
        }
    }
    return ulDone;
}

} // namespace wyx::base64::neon

#endif
