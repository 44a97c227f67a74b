// MD5 as RFC 1321 defines it: a chain of four words that takes in a block of 64 bytes at a time.
//
// Each of the 64 steps of a block adds to one word of the chain a mix of the other three, a word of
// the block and a constant, and rotates. The constant of step i (from 1) is the whole part of
// 2^32 * |sin(i)|, i in radians; the tests compute them again from that.
#include "wyx_commlib/md5.h"

#include <array>
#include <bit>

#include "bounded.h"
#include "md5_arth_internal.h"

namespace {

constexpr QAL_UINT kBlockLen = 64;
constexpr QAL_UINT kDigestLen = 16;
constexpr QAL_UINT kCountLen = 8;                    // the message length that ends the padding
constexpr QAL_UINT kTailLen = kBlockLen - kCountLen; // bytes of the last block before it

static_assert(sizeof(MD5_S_CTX) == 88 && alignof(MD5_S_CTX) == 4, "the context's layout is ABI");

/// A one bit and zeros: what fills up the last block.
constexpr std::array<QAL_UINT8, kBlockLen> PADDING = {0x80};

// The mixes of the four rounds, bit by bit: x chooses between y and z; z chooses between x and y;
// the parity of the three; and one that treats them all differently.
constexpr QAL_UINT32 F(QAL_UINT32 x, QAL_UINT32 y, QAL_UINT32 z)
{
    return (x & y) | (~x & z);
}

constexpr QAL_UINT32 G(QAL_UINT32 x, QAL_UINT32 y, QAL_UINT32 z)
{
    return (x & z) | (y & ~z);
}

constexpr QAL_UINT32 H(QAL_UINT32 x, QAL_UINT32 y, QAL_UINT32 z)
{
    return x ^ y ^ z;
}

constexpr QAL_UINT32 I(QAL_UINT32 x, QAL_UINT32 y, QAL_UINT32 z)
{
    return y ^ (x | ~z);
}

template <QAL_UINT32 (*Mix)(QAL_UINT32, QAL_UINT32, QAL_UINT32)>
inline void Step(QAL_UINT32 &a, QAL_UINT32 b, QAL_UINT32 c, QAL_UINT32 d, QAL_UINT32 ulWord,
                 int iRotate, QAL_UINT32 ulSine)
{
    a = b + std::rotl(a + Mix(b, c, d) + ulWord + ulSine, iRotate);
}

/// Bytes in the context's buffer.
QAL_UINT PendingLen(const MD5_S_CTX &context)
{
    return (context.count[0] >> 3) % kBlockLen;
}

} // namespace

extern "C" {

void Encode(QAL_UINT8 *output, const QAL_UINT32 *input, QAL_UINT len)
{
    for (QAL_UINT i = 0, j = 0; j < len; ++i, j += 4) {
        output[j] = static_cast<QAL_UINT8>(input[i]);
        output[j + 1] = static_cast<QAL_UINT8>(input[i] >> 8);
        output[j + 2] = static_cast<QAL_UINT8>(input[i] >> 16);
        output[j + 3] = static_cast<QAL_UINT8>(input[i] >> 24);
    }
}

void Decode(QAL_UINT32 *output, const QAL_UINT8 *input, QAL_UINT len)
{
    for (QAL_UINT i = 0, j = 0; j < len; ++i, j += 4) {
        output[i] = QAL_UINT32{input[j]} | QAL_UINT32{input[j + 1]} << 8 |
                    QAL_UINT32{input[j + 2]} << 16 | QAL_UINT32{input[j + 3]} << 24;
    }
}

void MD5Transform(QAL_UINT32 state[4], const QAL_UINT8 block[64])
{
    QAL_UINT32 x[kBlockLen / 4];
    Decode(x, block, kBlockLen);
    QAL_UINT32 a = state[0];
    QAL_UINT32 b = state[1];
    QAL_UINT32 c = state[2];
    QAL_UINT32 d = state[3];

    // Round 1: the words in order
    Step<F>(a, b, c, d, x[0], 7, 0xD76AA478U);
    Step<F>(d, a, b, c, x[1], 12, 0xE8C7B756U);
    Step<F>(c, d, a, b, x[2], 17, 0x242070DBU);
    Step<F>(b, c, d, a, x[3], 22, 0xC1BDCEEEU);
    Step<F>(a, b, c, d, x[4], 7, 0xF57C0FAFU);
    Step<F>(d, a, b, c, x[5], 12, 0x4787C62AU);
    Step<F>(c, d, a, b, x[6], 17, 0xA8304613U);
    Step<F>(b, c, d, a, x[7], 22, 0xFD469501U);
    Step<F>(a, b, c, d, x[8], 7, 0x698098D8U);
    Step<F>(d, a, b, c, x[9], 12, 0x8B44F7AFU);
    Step<F>(c, d, a, b, x[10], 17, 0xFFFF5BB1U);
    Step<F>(b, c, d, a, x[11], 22, 0x895CD7BEU);
    Step<F>(a, b, c, d, x[12], 7, 0x6B901122U);
    Step<F>(d, a, b, c, x[13], 12, 0xFD987193U);
    Step<F>(c, d, a, b, x[14], 17, 0xA679438EU);
    Step<F>(b, c, d, a, x[15], 22, 0x49B40821U);
    // Round 2: every fifth word from 1 on
    Step<G>(a, b, c, d, x[1], 5, 0xF61E2562U);
    Step<G>(d, a, b, c, x[6], 9, 0xC040B340U);
    Step<G>(c, d, a, b, x[11], 14, 0x265E5A51U);
    Step<G>(b, c, d, a, x[0], 20, 0xE9B6C7AAU);
    Step<G>(a, b, c, d, x[5], 5, 0xD62F105DU);
    Step<G>(d, a, b, c, x[10], 9, 0x02441453U);
    Step<G>(c, d, a, b, x[15], 14, 0xD8A1E681U);
    Step<G>(b, c, d, a, x[4], 20, 0xE7D3FBC8U);
    Step<G>(a, b, c, d, x[9], 5, 0x21E1CDE6U);
    Step<G>(d, a, b, c, x[14], 9, 0xC33707D6U);
    Step<G>(c, d, a, b, x[3], 14, 0xF4D50D87U);
    Step<G>(b, c, d, a, x[8], 20, 0x455A14EDU);
    Step<G>(a, b, c, d, x[13], 5, 0xA9E3E905U);
    Step<G>(d, a, b, c, x[2], 9, 0xFCEFA3F8U);
    Step<G>(c, d, a, b, x[7], 14, 0x676F02D9U);
    Step<G>(b, c, d, a, x[12], 20, 0x8D2A4C8AU);
    // Round 3: every third word from 5 on
    Step<H>(a, b, c, d, x[5], 4, 0xFFFA3942U);
    Step<H>(d, a, b, c, x[8], 11, 0x8771F681U);
    Step<H>(c, d, a, b, x[11], 16, 0x6D9D6122U);
    Step<H>(b, c, d, a, x[14], 23, 0xFDE5380CU);
    Step<H>(a, b, c, d, x[1], 4, 0xA4BEEA44U);
    Step<H>(d, a, b, c, x[4], 11, 0x4BDECFA9U);
    Step<H>(c, d, a, b, x[7], 16, 0xF6BB4B60U);
    Step<H>(b, c, d, a, x[10], 23, 0xBEBFBC70U);
    Step<H>(a, b, c, d, x[13], 4, 0x289B7EC6U);
    Step<H>(d, a, b, c, x[0], 11, 0xEAA127FAU);
    Step<H>(c, d, a, b, x[3], 16, 0xD4EF3085U);
    Step<H>(b, c, d, a, x[6], 23, 0x04881D05U);
    Step<H>(a, b, c, d, x[9], 4, 0xD9D4D039U);
    Step<H>(d, a, b, c, x[12], 11, 0xE6DB99E5U);
    Step<H>(c, d, a, b, x[15], 16, 0x1FA27CF8U);
    Step<H>(b, c, d, a, x[2], 23, 0xC4AC5665U);
    // Round 4: every seventh word from 0 on
    Step<I>(a, b, c, d, x[0], 6, 0xF4292244U);
    Step<I>(d, a, b, c, x[7], 10, 0x432AFF97U);
    Step<I>(c, d, a, b, x[14], 15, 0xAB9423A7U);
    Step<I>(b, c, d, a, x[5], 21, 0xFC93A039U);
    Step<I>(a, b, c, d, x[12], 6, 0x655B59C3U);
    Step<I>(d, a, b, c, x[3], 10, 0x8F0CCC92U);
    Step<I>(c, d, a, b, x[10], 15, 0xFFEFF47DU);
    Step<I>(b, c, d, a, x[1], 21, 0x85845DD1U);
    Step<I>(a, b, c, d, x[8], 6, 0x6FA87E4FU);
    Step<I>(d, a, b, c, x[15], 10, 0xFE2CE6E0U);
    Step<I>(c, d, a, b, x[6], 15, 0xA3014314U);
    Step<I>(b, c, d, a, x[13], 21, 0x4E0811A1U);
    Step<I>(a, b, c, d, x[4], 6, 0xF7537E82U);
    Step<I>(d, a, b, c, x[11], 10, 0xBD3AF235U);
    Step<I>(c, d, a, b, x[2], 15, 0x2AD7D2BBU);
    Step<I>(b, c, d, a, x[9], 21, 0xEB86D391U);

    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
}

void XELP_MD5_Init(MD5_S_CTX *context)
{
    context->count[0] = 0;
    context->count[1] = 0;
    context->state[0] = 0x67452301;
    context->state[1] = 0xEFCDAB89;
    context->state[2] = 0x98BADCFE;
    context->state[3] = 0x10325476;
}

void XELP_MD5_Update(MD5_S_CTX *context, const QAL_UINT8 *input, QAL_UINT inputLen)
{
    QAL_UINT index = PendingLen(*context);

    // The length in bits needs three bits more than inputLen has: the top ones go to the high word.
    const QAL_UINT32 ulLowBits = inputLen << 3;
    context->count[0] += ulLowBits;
    context->count[1] += (context->count[0] < ulLowBits ? 1U : 0U) + (inputLen >> 29);

    const QAL_UINT partLen = kBlockLen - index;
    QAL_UINT i = 0;
    if (inputLen >= partLen) {
        wyx_memcpy_s(&context->buffer[index], partLen, input, partLen);
        MD5Transform(context->state, context->buffer);
        for (i = partLen; inputLen - i >= kBlockLen; i += kBlockLen) {
            MD5Transform(context->state, &input[i]);
        }
        index = 0;
    }
    wyx_memcpy_s(&context->buffer[index], inputLen - i, &input[i], inputLen - i);
}

void XELP_MD5_Final(QAL_UINT8 *digest, MD5_S_CTX *context)
{
    QAL_UINT8 bits[kCountLen];
    Encode(bits, context->count, kCountLen);

    const QAL_UINT index = PendingLen(*context);
    const QAL_UINT padLen = (index < kTailLen ? kTailLen : kTailLen + kBlockLen) - index;
    XELP_MD5_Update(context, PADDING.data(), padLen);
    XELP_MD5_Update(context, bits, kCountLen);

    Encode(digest, context->state, kDigestLen);
    // A call into another library: no optimiser can take it for a store that nobody reads.
    wyx_memset_s(context, sizeof *context, 0, sizeof *context);
}

} // extern "C"
