// Times of the checksums over buffers of 16 bytes to 1 MiB, and of zlib's CRC-32 beside them.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstdint>
#include <random>
#include <vector>

#include "wyx_commlib/crc.h"

namespace {

std::vector<QAL_UINT8> Message(benchmark::State &state)
{
    std::mt19937 engine(1);
    std::vector<QAL_UINT8> message(static_cast<std::size_t>(state.range(0)));
    for (QAL_UINT8 &uc : message) {
        uc = static_cast<QAL_UINT8>(engine());
    }
    return message;
}

void CountBytes(benchmark::State &state)
{
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void Crc16(benchmark::State &state)
{
    const std::vector<QAL_UINT8> message = Message(state);
    QAL_UINT16 uwCrc = 0;
    for (auto _ : state) {
        XELP_CRC_16(message.data(), static_cast<QAL_UINT32>(message.size()), &uwCrc);
        benchmark::DoNotOptimize(uwCrc);
    }
    CountBytes(state);
}

void Crc32(benchmark::State &state)
{
    const std::vector<QAL_UINT8> message = Message(state);
    QAL_UINT32 ulCrc = 0;
    for (auto _ : state) {
        XELP_CRC_32(message.data(), static_cast<QAL_UINT32>(message.size()), &ulCrc);
        benchmark::DoNotOptimize(ulCrc);
    }
    CountBytes(state);
}

void ZlibCrc32(benchmark::State &state)
{
    const std::vector<QAL_UINT8> message = Message(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(crc32_z(0, message.data(), message.size()));
    }
    CountBytes(state);
}

BENCHMARK(Crc16)->RangeMultiplier(8)->Range(16, 1 << 20);
BENCHMARK(Crc32)->RangeMultiplier(8)->Range(16, 1 << 20);
BENCHMARK(ZlibCrc32)->RangeMultiplier(8)->Range(16, 1 << 20);

} // namespace
