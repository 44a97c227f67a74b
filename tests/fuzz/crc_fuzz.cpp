// Compares both checksums, whole and in two pieces, with bit-by-bit division.
#include "../crc/crc_checks.h"
#include "fuzz_support.h"
#include "wyx_commlib/crc.h"

namespace {

using wyx::test::Bytes;
using wyx::test::Crc;
using wyx::test::fuzz::Block;

constexpr Crc<QAL_UINT16> kCrc16 = {XELP_CRC_16, XELP_CRC_Accumulate_16, 0x1021, false,
                                    XELP_ERR_CRC16_INVALID_PARA};
constexpr Crc<QAL_UINT32> kCrc32 = {XELP_CRC_32, XELP_CRC_Accumulate_32, 0x04C11DB7, true,
                                    XELP_ERR_CRC_INVALID_PARA};

template <typename Word>
void Compare(const Crc<Word> &crc, Word start, std::string_view text, std::size_t cut)
{
    const Block first(text.substr(0, cut));
    const Block second(text.substr(cut));
    const Block whole(text);
    const Bytes message(whole.Data(), whole.Size());
    const Word begun = crc.Piece(start, {first.Data(), first.Size()});
    EXPECT_EQ(crc.Piece(begun, {second.Data(), second.Size()}), Remainder(crc, start, message));
    EXPECT_EQ(crc.Whole(message), Remainder(crc, Word{0}, message));
}

} // namespace

WYX_FUZZ_TARGET(crc)
{
    const QAL_UINT32 ulStart = input.Word();
    const QAL_UINT32 ulCut = input.Word();
    const std::string_view text = input.Rest();
    const std::size_t cut = ulCut % (text.size() + 1);
    Compare(kCrc16, static_cast<QAL_UINT16>(ulStart), text, cut);
    Compare(kCrc32, ulStart, text, cut);
}
