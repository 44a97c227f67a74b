// MD5 as RFC 1321 defines it: a state of four words, updated with one block of 64 bytes at a time.
//
// A block takes 64 steps, each of which changes one word of the state. To that word, the step adds
// three things: a mix of the other three words, a word of the block, and a constant. It rotates the
// sum, and then adds the word that the preceding step changed. The constant of step i (from 1) is
// the integer part of 2^32 * |sin(i)|, i in radians; the tests recompute all of them.
#include "wyx_commlib/md5.h"

#include <array>

#include "bounded.h"
#include "md5_arth_internal.h"

namespace {

constexpr QAL_UINT kBlockLen = 64;
constexpr QAL_UINT kDigestLen = 16;
// The last block ends with the length of the message.
constexpr QAL_UINT kCountLen = 8;
constexpr QAL_UINT kCountAt = kBlockLen - kCountLen;

static_assert(sizeof(MD5_S_CTX) == 88 && alignof(MD5_S_CTX) == 4, "the context's layout is ABI");

/// What comes between a message and its length: a one bit and then zeros.
constexpr std::array<QAL_UINT8, kBlockLen> kPadding = {0x80};

/// The word that four bytes hold, low byte first.
constexpr QAL_UINT32 LoadWord(const QAL_UINT8 *pucBytes)
{
    return QAL_UINT32{pucBytes[0]} | QAL_UINT32{pucBytes[1]} << 8 | QAL_UINT32{pucBytes[2]} << 16 |
           QAL_UINT32{pucBytes[3]} << 24;
}

/// Writes words as @p ulLen bytes, low byte first. Every supported CPU is little-endian, so
/// a word takes one store.
inline void StoreWords(QAL_UINT8 *pucBytes, const QAL_UINT32 *pulWords, QAL_UINT ulLen)
{
    for (QAL_UINT i = 0; i < ulLen / 4; ++i) {
        const QAL_UINT32 ulWord = pulWords[i];
        __builtin_memcpy(pucBytes + 4 * i, &ulWord, sizeof ulWord);
    }
}

/// Not std::rotl(): its second parameter is signed in some C++ libraries and unsigned in others.
constexpr QAL_UINT32 RotateLeft(QAL_UINT32 ulWord, int iCount)
{
    return ulWord << iCount | ulWord >> (32 - iCount);
}

// The parameter b of a step is the word that the preceding step changed. Whatever does not depend
// on b is computed first, so that only the rest is on the critical path.

/// Stops the compiler from reassociating a sum in a way that puts work back on the critical path.
inline QAL_UINT32 Settled(QAL_UINT32 ulSum)
{
    __asm__("" : "+r"(ulSum));
    return ulSum;
}

/// The mix takes each bit from c where b is set, otherwise from d.
inline void StepF(QAL_UINT32 &a, QAL_UINT32 b, QAL_UINT32 c, QAL_UINT32 d, QAL_UINT32 ulWord,
                  int iRotate, QAL_UINT32 ulSine)
{
    a = b + RotateLeft(Settled(a + (ulWord + ulSine)) + (d ^ (b & (c ^ d))), iRotate);
}

/// The mix takes each bit from b where d is set, otherwise from c. Its two terms, b & d and c & ~d,
/// have no set bit in common, so their sum is the mix. The step adds them one at a time, so that
/// of the two only b & d has to wait for b.
inline void StepG(QAL_UINT32 &a, QAL_UINT32 b, QAL_UINT32 c, QAL_UINT32 d, QAL_UINT32 ulWord,
                  int iRotate, QAL_UINT32 ulSine)
{
    const QAL_UINT32 ulSum = Settled(a + (ulWord + ulSine));
    a = b + RotateLeft(Settled(ulSum + (c & ~d)) + (b & d), iRotate);
}

/// The mix is the exclusive or of b, c and d.
inline void StepH(QAL_UINT32 &a, QAL_UINT32 b, QAL_UINT32 c, QAL_UINT32 d, QAL_UINT32 ulWord,
                  int iRotate, QAL_UINT32 ulSine)
{
    a = b + RotateLeft(Settled(a + (ulWord + ulSine)) + (b ^ (c ^ d)), iRotate);
}

/// The mix is c, with each bit inverted where b is set or d is clear.
inline void StepI(QAL_UINT32 &a, QAL_UINT32 b, QAL_UINT32 c, QAL_UINT32 d, QAL_UINT32 ulWord,
                  int iRotate, QAL_UINT32 ulSine)
{
    a = b + RotateLeft(Settled(a + (ulWord + ulSine)) + (c ^ (b | ~d)), iRotate);
}

/// How many bytes of the message wait in the context's buffer.
QAL_UINT PendingLen(const MD5_S_CTX &context)
{
    return (context.count[0] >> 3) % kBlockLen;
}

constexpr QAL_UINT32 kSines[64] = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391,
};

/// Takes in any number of whole blocks. The state stays in registers from block to block.
void TransformBlocks(QAL_UINT32 state[4], const QAL_UINT8 *pucBlock, QAL_UINT ulBlocks)
{
    const auto word = [&pucBlock](QAL_UINT i) { return LoadWord(pucBlock + 4 * i); };
    const QAL_UINT32 *pulSines = kSines;
    const auto sine = [&pulSines](QAL_UINT i) { return pulSines[i]; };
    QAL_UINT32 a = state[0];
    QAL_UINT32 b = state[1];
    QAL_UINT32 c = state[2];
    QAL_UINT32 d = state[3];
    for (; ulBlocks != 0; --ulBlocks, pucBlock += kBlockLen) {
#ifdef __aarch64__
        // Hides from the compiler what pulSines points to: otherwise it would build most constants
        // with two instructions. From memory, one instruction loads two constants.
        __asm__("" : "+r"(pulSines));
#endif
        const QAL_UINT32 ulOldA = a;
        const QAL_UINT32 ulOldB = b;
        const QAL_UINT32 ulOldC = c;
        const QAL_UINT32 ulOldD = d;

        // Round 1: the words in order
        StepF(a, b, c, d, word(0), 7, sine(0));
        StepF(d, a, b, c, word(1), 12, sine(1));
        StepF(c, d, a, b, word(2), 17, sine(2));
        StepF(b, c, d, a, word(3), 22, sine(3));
        StepF(a, b, c, d, word(4), 7, sine(4));
        StepF(d, a, b, c, word(5), 12, sine(5));
        StepF(c, d, a, b, word(6), 17, sine(6));
        StepF(b, c, d, a, word(7), 22, sine(7));
        StepF(a, b, c, d, word(8), 7, sine(8));
        StepF(d, a, b, c, word(9), 12, sine(9));
        StepF(c, d, a, b, word(10), 17, sine(10));
        StepF(b, c, d, a, word(11), 22, sine(11));
        StepF(a, b, c, d, word(12), 7, sine(12));
        StepF(d, a, b, c, word(13), 12, sine(13));
        StepF(c, d, a, b, word(14), 17, sine(14));
        StepF(b, c, d, a, word(15), 22, sine(15));
        // Round 2: every fifth word from 1, modulo 16
        StepG(a, b, c, d, word(1), 5, sine(16));
        StepG(d, a, b, c, word(6), 9, sine(17));
        StepG(c, d, a, b, word(11), 14, sine(18));
        StepG(b, c, d, a, word(0), 20, sine(19));
        StepG(a, b, c, d, word(5), 5, sine(20));
        StepG(d, a, b, c, word(10), 9, sine(21));
        StepG(c, d, a, b, word(15), 14, sine(22));
        StepG(b, c, d, a, word(4), 20, sine(23));
        StepG(a, b, c, d, word(9), 5, sine(24));
        StepG(d, a, b, c, word(14), 9, sine(25));
        StepG(c, d, a, b, word(3), 14, sine(26));
        StepG(b, c, d, a, word(8), 20, sine(27));
        StepG(a, b, c, d, word(13), 5, sine(28));
        StepG(d, a, b, c, word(2), 9, sine(29));
        StepG(c, d, a, b, word(7), 14, sine(30));
        StepG(b, c, d, a, word(12), 20, sine(31));
        // Round 3: every third word from 5, modulo 16
        StepH(a, b, c, d, word(5), 4, sine(32));
        StepH(d, a, b, c, word(8), 11, sine(33));
        StepH(c, d, a, b, word(11), 16, sine(34));
        StepH(b, c, d, a, word(14), 23, sine(35));
        StepH(a, b, c, d, word(1), 4, sine(36));
        StepH(d, a, b, c, word(4), 11, sine(37));
        StepH(c, d, a, b, word(7), 16, sine(38));
        StepH(b, c, d, a, word(10), 23, sine(39));
        StepH(a, b, c, d, word(13), 4, sine(40));
        StepH(d, a, b, c, word(0), 11, sine(41));
        StepH(c, d, a, b, word(3), 16, sine(42));
        StepH(b, c, d, a, word(6), 23, sine(43));
        StepH(a, b, c, d, word(9), 4, sine(44));
        StepH(d, a, b, c, word(12), 11, sine(45));
        StepH(c, d, a, b, word(15), 16, sine(46));
        StepH(b, c, d, a, word(2), 23, sine(47));
        // Round 4: every seventh word from 0, modulo 16
        StepI(a, b, c, d, word(0), 6, sine(48));
        StepI(d, a, b, c, word(7), 10, sine(49));
        StepI(c, d, a, b, word(14), 15, sine(50));
        StepI(b, c, d, a, word(5), 21, sine(51));
        StepI(a, b, c, d, word(12), 6, sine(52));
        StepI(d, a, b, c, word(3), 10, sine(53));
        StepI(c, d, a, b, word(10), 15, sine(54));
        StepI(b, c, d, a, word(1), 21, sine(55));
        StepI(a, b, c, d, word(8), 6, sine(56));
        StepI(d, a, b, c, word(15), 10, sine(57));
        StepI(c, d, a, b, word(6), 15, sine(58));
        StepI(b, c, d, a, word(13), 21, sine(59));
        StepI(a, b, c, d, word(4), 6, sine(60));
        StepI(d, a, b, c, word(11), 10, sine(61));
        StepI(c, d, a, b, word(2), 15, sine(62));
        StepI(b, c, d, a, word(9), 21, sine(63));

        a += ulOldA;
        b += ulOldB;
        c += ulOldC;
        d += ulOldD;
    }
    state[0] = a;
    state[1] = b;
    state[2] = c;
    state[3] = d;
}

} // namespace

extern "C" {

void Encode(QAL_UINT8 *output, const QAL_UINT32 *input, QAL_UINT len)
{
    StoreWords(output, input, len);
}

void Decode(QAL_UINT32 *output, const QAL_UINT8 *input, QAL_UINT len)
{
    for (QAL_UINT i = 0; i < len / 4; ++i) {
        output[i] = LoadWord(input + 4 * i);
    }
}

void MD5Transform(QAL_UINT32 state[4], const QAL_UINT8 block[64])
{
    TransformBlocks(state, block, 1);
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
    QAL_UINT pendingLen = PendingLen(*context);

    // inputLen * 8 needs up to 35 bits; the top three go to the high word.
    const QAL_UINT32 ulLowBits = inputLen << 3;
    context->count[0] += ulLowBits;
    context->count[1] += (context->count[0] < ulLowBits ? 1U : 0U) + (inputLen >> 29);

    const QAL_UINT missingLen = kBlockLen - pendingLen;
    QAL_UINT doneLen = 0;
    if (inputLen >= missingLen) {
        wyx_memcpy_s(&context->buffer[pendingLen], missingLen, input, missingLen);
        TransformBlocks(context->state, context->buffer, 1);
        const QAL_UINT blocks = (inputLen - missingLen) / kBlockLen;
        if (blocks != 0) { // speed only
            TransformBlocks(context->state, &input[missingLen], blocks);
        }
        doneLen = missingLen + blocks * kBlockLen;
        pendingLen = 0;
    }
    wyx_memcpy_s(&context->buffer[pendingLen], inputLen - doneLen, &input[doneLen],
                 inputLen - doneLen);
}

void XELP_MD5_Final(QAL_UINT8 *digest, MD5_S_CTX *context)
{
    // Taken before the padding, because XELP_MD5_Update() counts the padding, too.
    QAL_UINT8 count[kCountLen];
    StoreWords(count, context->count, kCountLen);

    const QAL_UINT pendingLen = PendingLen(*context);
    const QAL_UINT padLen = (pendingLen < kCountAt ? kCountAt : kCountAt + kBlockLen) - pendingLen;
    XELP_MD5_Update(context, kPadding.data(), padLen);
    XELP_MD5_Update(context, count, kCountLen);

    StoreWords(digest, context->state, kDigestLen);
    // Not memset(), which an optimiser may drop as a dead store.
    wyx_memset_s(context, sizeof *context, 0, sizeof *context);
}

} // extern "C"
