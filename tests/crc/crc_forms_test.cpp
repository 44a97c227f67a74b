// Compares every CPU form of the checksums with the plain form, at many lengths and at every
// alignment. Compares all forms, the plain one included, with long division, and the CRC of pieces
// with that of the whole message.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

#include "crc_checks.h"
#include "crc_kernel.h"
#include "crc_plain.h"

namespace wyx::test {
namespace {

/// A form, both as it is and with the signatures of the public calls, which crc_checks.h expects.
template <typename Word, auto pfunPlainForm, auto pfunForm, QAL_UINT32 ulPolynomial,
          bool isReflected>
struct FormOf {
    static QAL_UINT32 Piece(Word start, const QAL_UINT8 *pucData, QAL_UINT32 ulLen, Word *pResult)
    {
        *pResult = pfunForm(start, pucData, ulLen);
        return 0;
    }
    static QAL_UINT32 Whole(const QAL_UINT8 *pucData, QAL_UINT32 ulLen, Word *pResult)
    {
        return Piece(0, pucData, ulLen, pResult);
    }
    using Value = Word;
    static constexpr auto pfunPlain = pfunPlainForm;
    static constexpr auto pfunTested = pfunForm;
    static constexpr Crc<Word> kCrc = {Whole, Piece, ulPolynomial, isReflected, 0};
};

template <auto pfunForm>
using Form16 = FormOf<QAL_UINT16, crc::Crc16Plain, pfunForm, 0x1021, false>;

template <auto pfunForm>
using Form32 = FormOf<QAL_UINT32, crc::Crc32Plain, pfunForm, 0x04C11DB7, true>;

/// The plain form itself is compared with long division and with its own results for pieces.
template <typename Word>
void ExpectPlainForm(const Crc<Word> &crc)
{
    ExpectEveryByte(crc);
    ExpectRemainders(crc);
    ExpectSplitsMatchTheWhole(crc);
    ExpectLongMessage(crc);
    ExpectLengthsAndAlignments(crc);
    ExpectReadsNothingOutside(crc);
}

TEST(CrcPlainForm, Crc16)
{
    ExpectPlainForm(Form16<crc::Crc16Plain>::kCrc);
}

TEST(CrcPlainForm, Crc32)
{
    ExpectPlainForm(Form32<crc::Crc32Plain>::kCrc);
}

template <typename Form>
class CrcForms : public testing::Test {};
TYPED_TEST_SUITE_P(CrcForms);

/// All lengths below 1400, and those within 20 bytes of some larger ones: 1920, from which the form
/// for AArch64 computes three parts at a time; 4096, 8192 and 12288, the multiples of VectorFold's
/// chunk; and 4400, 8500 and 12600, just above which VectorFold needs another chunk.
std::vector<std::size_t> Lengths()
{
    std::vector<std::size_t> lengths(1400);
    std::iota(lengths.begin(), lengths.end(), std::size_t{0});
    for (const std::size_t around : {1920U, 4096U, 4400U, 8192U, 8500U, 12288U, 12600U}) {
        for (std::size_t len = around - 20; len <= around + 20; ++len) {
            lengths.push_back(len);
        }
    }
    return lengths;
}

TYPED_TEST_P(CrcForms, AgreesWithLongDivision)
{
    ExpectEveryByte(TypeParam::kCrc);
    ExpectRemainders(TypeParam::kCrc);
}

TYPED_TEST_P(CrcForms, PiecesMatchTheWhole)
{
    ExpectSplitsMatchTheWhole(TypeParam::kCrc);
    ExpectLongMessage(TypeParam::kCrc);
}

TYPED_TEST_P(CrcForms, ManyLengthsFromThreeStartValues)
{
    using Value = typename TypeParam::Value;
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<QAL_UINT8> message = random.Bytes(20000);
    for (const std::size_t len : Lengths()) {
        const auto ulLen = static_cast<QAL_UINT32>(len);
        const std::size_t at = random.UpTo(message.size() - len);
        for (const Value start : {Value{0}, static_cast<Value>(-1),
                                  static_cast<Value>(random.UpTo(static_cast<Value>(-1)))}) {
            ASSERT_EQ(TypeParam::pfunTested(start, message.data() + at, ulLen),
                      TypeParam::pfunPlain(start, message.data() + at, ulLen))
                << "length " << len << ", start " << start;
        }
    }
}

TYPED_TEST_P(CrcForms, EveryAlignment)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<QAL_UINT8> message = random.Bytes(6000);
    alignas(64) static QAL_UINT8 aucAround[6000 + 64];
    for (const std::size_t len :
         {1U, 7U, 8U, 15U, 16U, 31U, 63U, 64U, 65U, 129U, 300U, 513U, 5000U}) {
        const auto ulLen = static_cast<QAL_UINT32>(len);
        const auto expected = TypeParam::pfunPlain(1, message.data(), ulLen);
        for (std::size_t at = 0; at < 64; ++at) {
            std::fill(std::begin(aucAround), std::end(aucAround), static_cast<QAL_UINT8>(~at));
            std::memcpy(aucAround + at, message.data(), len);
            ASSERT_EQ(TypeParam::pfunTested(1, aucAround + at, ulLen), expected)
                << "length " << len << ", alignment " << at;
        }
    }
}

/// Messages of zeros with a single one bit, at each place in turn.
TYPED_TEST_P(CrcForms, EveryBitOfAMessage)
{
    for (const std::size_t len : {20U, 100U, 700U}) {
        std::vector<QAL_UINT8> message(len);
        for (std::size_t bit = 0; bit < 8 * len; ++bit) {
            message[bit / 8] = static_cast<QAL_UINT8>(1U << bit % 8);
            const auto ulLen = static_cast<QAL_UINT32>(len);
            ASSERT_EQ(TypeParam::pfunTested(0, message.data(), ulLen),
                      TypeParam::pfunPlain(0, message.data(), ulLen))
                << "length " << len << ", bit " << bit;
            message[bit / 8] = 0;
        }
    }
}

TYPED_TEST_P(CrcForms, ReadsNothingOutsideTheMessage)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<QAL_UINT8> message = random.Bytes(20000);
    const GuardedMemory memory(message.size());
    for (const std::size_t len : Lengths()) {
        const auto ulLen = static_cast<QAL_UINT32>(len);
        const auto expected = TypeParam::pfunPlain(0, message.data(), ulLen);
        std::memcpy(memory.Begin(), message.data(), len);
        ASSERT_EQ(TypeParam::pfunTested(0, memory.Begin(), ulLen), expected) << len;
        std::memcpy(memory.End() - len, message.data(), len);
        ASSERT_EQ(TypeParam::pfunTested(0, memory.End() - len, ulLen), expected) << len;
    }
}

REGISTER_TYPED_TEST_SUITE_P(CrcForms, AgreesWithLongDivision, PiecesMatchTheWhole,
                            ManyLengthsFromThreeStartValues, EveryAlignment, EveryBitOfAMessage,
                            ReadsNothingOutsideTheMessage);

INSTANTIATE_TYPED_TEST_SUITE_P(Sparse16, CrcForms, Form16<crc::sparse::Crc16>);
INSTANTIATE_TYPED_TEST_SUITE_P(Sparse32, CrcForms, Form32<crc::sparse::Crc32>);
#if defined(WYX_CRC_HAS_AARCH64)
INSTANTIATE_TYPED_TEST_SUITE_P(Aarch64, CrcForms, Form32<crc::aarch64::Crc32>);
#endif
#if defined(WYX_CRC_HAS_CLMUL)
INSTANTIATE_TYPED_TEST_SUITE_P(Clmul16, CrcForms, Form16<crc::clmul::Crc16>);
INSTANTIATE_TYPED_TEST_SUITE_P(Clmul32, CrcForms, Form32<crc::clmul::Crc32>);
#endif
#if defined(WYX_CRC_HAS_CLMUL512)
INSTANTIATE_TYPED_TEST_SUITE_P(Clmul512Of16, CrcForms, Form16<crc::clmul512::Crc16>);
INSTANTIATE_TYPED_TEST_SUITE_P(Clmul512Of32, CrcForms, Form32<crc::clmul512::Crc32>);
#endif

} // namespace
} // namespace wyx::test
