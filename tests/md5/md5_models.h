// A model of MD5 that follows the definition literally, without regard to speed.
#ifndef WYX_TESTS_MD5_MD5_MODELS_H
#define WYX_TESTS_MD5_MD5_MODELS_H

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "wyx_commlib/types.h"

namespace wyx::test {

using Bytes = std::span<const QAL_UINT8>;
using Digest = std::array<QAL_UINT8, 16>;
using State = std::array<QAL_UINT32, 4>;

inline constexpr State kStart = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};

inline State ModelBlock(State state, Bytes block)
{
    static constexpr int kRotations[4][4] = {
        {7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
    auto [a, b, c, d] = state;
    for (unsigned int i = 0; i < 64; ++i) {
        QAL_UINT32 mixed = 0;
        unsigned int index = 0;
        switch (i / 16) {
            case 0:
                mixed = (b & c) | (~b & d);
                index = i;
                break;
            case 1:
                mixed = (b & d) | (c & ~d);
                index = (5 * i + 1) % 16;
                break;
            case 2:
                mixed = b ^ c ^ d;
                index = (3 * i + 5) % 16;
                break;
            default:
                mixed = c ^ (b | ~d);
                index = 7 * i % 16;
                break;
        }
        QAL_UINT32 ulWord = 0;
        for (unsigned int k = 4; k-- > 0;) {
            ulWord = ulWord * 256 + block[4 * index + k];
        }
        const auto ulSine =
            static_cast<QAL_UINT32>(std::floor(std::fabs(std::sin(i + 1.0)) * 0x1p32));
        const QAL_UINT32 ulSum = a + mixed + ulWord + ulSine;
        a = d;
        d = c;
        c = b;
        b += std::rotl(ulSum, kRotations[i / 16][i % 4]);
    }
    return {state[0] + a, state[1] + b, state[2] + c, state[3] + d};
}

inline Digest ModelMd5(Bytes message)
{
    std::vector<QAL_UINT8> padded(message.begin(), message.end());
    padded.push_back(0x80);
    while (padded.size() % 64 != 56) {
        padded.push_back(0);
    }
    for (unsigned int i = 0; i < 8; ++i) {
        padded.push_back(static_cast<QAL_UINT8>(std::uint64_t{message.size()} * 8 >> (8 * i)));
    }
    State state = kStart;
    for (std::size_t at = 0; at < padded.size(); at += 64) {
        state = ModelBlock(state, Bytes(padded).subspan(at, 64));
    }
    Digest digest;
    for (std::size_t i = 0; i < digest.size(); ++i) {
        digest[i] = static_cast<QAL_UINT8>(state[i / 4] >> (8 * (i % 4)));
    }
    return digest;
}

} // namespace wyx::test

#endif
