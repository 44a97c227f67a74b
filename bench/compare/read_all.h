// A limit that is shown next to the comparisons: the time to read the input once.
#ifndef WYX_BENCH_COMPARE_READ_ALL_H
#define WYX_BENCH_COMPARE_READ_ALL_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace wyx::bench {

/// Reads every byte once; reads a large buffer in enough streams to keep the load units busy.
inline std::uint64_t ReadAll(const void *pData, std::size_t size)
{
    constexpr std::size_t kStreams = 32;
    const auto *puc = static_cast<const unsigned char *>(pData);
    std::uint64_t ullSum = 0;
    if (size >= 2 * kStreams * sizeof ullSum) {
        std::uint64_t aullSum[kStreams] = {};
        for (; size >= sizeof aullSum; size -= sizeof aullSum, puc += sizeof aullSum) {
            std::uint64_t aullWords[kStreams];
            std::memcpy(aullWords, puc, sizeof aullWords);
            for (std::size_t i = 0; i < kStreams; ++i) {
                aullSum[i] ^= aullWords[i];
            }
        }
        for (const std::uint64_t ull : aullSum) {
            ullSum ^= ull;
        }
    }
    for (; size >= sizeof ullSum; size -= sizeof ullSum, puc += sizeof ullSum) {
        std::uint64_t ullWord;
        std::memcpy(&ullWord, puc, sizeof ullWord);
        ullSum ^= ullWord;
    }
    for (std::size_t i = 0; i < size; ++i) {
        ullSum ^= puc[i];
    }
    return ullSum;
}

} // namespace wyx::bench

#endif
