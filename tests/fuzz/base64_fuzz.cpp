// Encodes and decodes blocks that hold exactly the bytes that may be read. If the input says so,
// the allocation fails.
#include "../base64/base64_models.h"
#include "fuzz_support.h"
#include "platform_double.h"
#include "wyx_commlib/base64.h"

namespace {

using namespace wyx::test;
using fuzz::Block;

using Result = std::optional<std::string>;

/// What a call handed over. The block must have @p blockSize bytes.
Result Taken(QAL_INT32 lLen, QAL_UINT8 *pucOutput, std::size_t blockSize)
{
    if (pucOutput == nullptr) {
        EXPECT_EQ(lLen, 0);
        return std::nullopt;
    }
    EXPECT_EQ(PlatformDouble::Instance().SizeOf(pucOutput), blockSize);
    EXPECT_EQ(pucOutput[lLen], 0);
    std::string result(reinterpret_cast<const char *>(pucOutput), static_cast<std::size_t>(lLen));
    MOX_BASE64Free(&pucOutput);
    EXPECT_EQ(pucOutput, nullptr);
    return result;
}

QAL_UINT8 *ArbitraryPointer()
{
    return reinterpret_cast<QAL_UINT8 *>(std::uintptr_t{0x5E});
}

Result Encode(std::string_view bytes)
{
    const Block block(bytes);
    QAL_UINT8 *pucOutput = ArbitraryPointer();
    const QAL_INT32 lLen =
        MOX_BASE64Encode(block.Data(), static_cast<QAL_INT32>(bytes.size()), &pucOutput);
    return Taken(lLen, pucOutput, 4 * bytes.size() / 3 + 5);
}

/// @p text includes the byte past the length that the decoder is given.
Result Decode(std::string_view text)
{
    const Block block(text);
    QAL_UINT8 *pucOutput = ArbitraryPointer();
    const QAL_INT32 lLen =
        MOX_BASE64Decode(block.Data(), static_cast<QAL_INT32>(text.size() - 1), &pucOutput);
    return Taken(lLen, pucOutput, 3 * (text.size() - 1) / 4 + 4);
}

} // namespace

WYX_FUZZ_TARGET(base64)
{
    const bool hasMemory = input.Byte() != 0;
    if (!hasMemory) {
        PlatformDouble::Instance().Fail(Service::kAllocate, 1, Failure::kFromThere);
    }
    const std::string bytes(input.Rest());
    if (bytes.empty()) {
        EXPECT_EQ(Encode(bytes), std::nullopt);
        return;
    }
    const Result text = Encode(bytes);
    EXPECT_EQ(text, hasMemory ? Result(ModelEncoded(bytes)) : std::nullopt);
    if (text) {
        EXPECT_EQ(Decode(*text + '\0'), bytes);
    }
    if (bytes.size() > 1) {
        EXPECT_EQ(Decode(bytes), hasMemory ? ModelDecoded(bytes) : std::nullopt);
    }
}
