// A message longer than 2^31 bytes: a length or an index of 32 bits would overflow if it were
// signed.
#include <sys/mman.h>

#include <array>

#include "crc_checks.h"
#include "wyx_commlib/crc.h"

namespace wyx::test {
namespace {

constexpr std::size_t kSize = 0x80000000 + 1;

/// The effect of a run of zero bytes on the CRC so far. It is linear, so it is enough to know what
/// becomes of each bit.
template <typename Word>
using ZeroRun = std::array<Word, 8 * sizeof(Word)>;

template <typename Word>
Word Apply(const ZeroRun<Word> &run, Word value)
{
    Word image = 0;
    for (std::size_t i = 0; i < run.size(); ++i) {
        image = static_cast<Word>(image ^ (((value >> i) & 1U) != 0 ? run[i] : Word{0}));
    }
    return image;
}

template <typename Word>
ZeroRun<Word> RunOfTwoTo31(const Crc<Word> &crc)
{
    constexpr QAL_UINT8 kZero = 0;
    ZeroRun<Word> run{};
    for (std::size_t i = 0; i < run.size(); ++i) {
        run[i] = crc.Piece(static_cast<Word>(Word{1} << i), {&kZero, 1});
    }
    for (int iDoubled = 0; iDoubled < 31; ++iDoubled) {
        ZeroRun<Word> twice{};
        for (std::size_t i = 0; i < run.size(); ++i) {
            twice[i] = Apply(run, run[i]);
        }
        run = twice;
    }
    return run;
}

template <typename Word>
void ExpectVeryLongMessage(const Crc<Word> &crc)
{
    void *const pMapped = mmap(nullptr, kSize, PROT_READ | PROT_WRITE,
                               MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (pMapped == MAP_FAILED) {
        GTEST_SKIP() << "no address space for the message";
    }
    auto *const pucMessage = static_cast<QAL_UINT8 *>(pMapped);
    pucMessage[kSize - 1] = 0x80; // all other bytes are zero and take no memory

    constexpr Word kStart = 0x1234;
    const Word afterZeros = Apply(RunOfTwoTo31(crc), kStart);
    EXPECT_EQ(crc.Piece(kStart, {pucMessage, kSize}),
              crc.Piece(afterZeros, {&pucMessage[kSize - 1], 1}));
    munmap(pMapped, kSize);
}

TEST(CrcLongMessage, Crc16)
{
    ExpectVeryLongMessage<QAL_UINT16>({XELP_CRC_16, XELP_CRC_Accumulate_16, 0x1021, false, 10});
}

TEST(CrcLongMessage, Crc32)
{
    ExpectVeryLongMessage<QAL_UINT32>({XELP_CRC_32, XELP_CRC_Accumulate_32, 0x04C11DB7, true, 10});
}

} // namespace
} // namespace wyx::test
