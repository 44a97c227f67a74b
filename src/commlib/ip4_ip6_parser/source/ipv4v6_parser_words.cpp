// The usual form of a dotted address, read in words of four and eight characters.
//
// Such texts differ in where their dots are. A loop over the characters would exit at a different
// point each time, which branch predictors cannot learn. Here positions are computed from words.
// One branch depends on whether there is a colon; the others depend only on whether the text has
// the usual form.
#include "ipv4v6_parser_words.h"

#include <bit>

#include "bounded.h"
#include "ipv4v6_parser_internal.h"

namespace wyx::address {
namespace {

static_assert(std::endian::native == std::endian::little); // the first character is the lowest byte

constexpr QAL_UINT64 kEachByte = 0x0101010101010101;

QAL_UINT32 FourFrom(const QAL_CHAR *pszText)
{
    QAL_UINT32 ulChars;
    __builtin_memcpy(&ulChars, pszText, sizeof ulChars);
    return ulChars;
}

QAL_UINT64 EightFrom(const QAL_CHAR *pszText)
{
    QAL_UINT64 ullChars;
    __builtin_memcpy(&ullChars, pszText, sizeof ullChars);
    return ullChars;
}

/// Not 0 if and only if a byte is above 9. Adding 6 to a byte from 10 to 15 sets a bit in its upper
/// half; a larger byte already has one, so it does not matter that it may carry into the next byte.
template <typename Word>
constexpr Word AboveNine(Word word)
{
    return (word | (word + static_cast<Word>(6 * kEachByte))) & static_cast<Word>(0xF0 * kEachByte);
}
static_assert(AboveNine(QAL_UINT32{0x00090509}) == 0 && AboveNine(QAL_UINT32{0x0A}) != 0 &&
              AboveNine(QAL_UINT32{0xFF}) != 0);

/// Does QAL_CHARset still class '0' to '9', and neither '.' nor ':', as decimal digits?
bool AreDigitsAsUsual()
{
    QAL_UINT32 ulOfAll = kDecDigit;
    for (QAL_UINT8 ucDigit = '0'; ucDigit <= '9'; ++ucDigit) {
        ulOfAll &= QAL_CHARset[ucDigit];
    }
    return (ulOfAll & ~(QAL_CHARset[QAL_UINT8{'.'}] | QAL_CHARset[QAL_UINT8{':'}])) != 0;
}

constexpr QAL_UINT32 kShortestUsual = 7; // 1.2.3.4
// 255.255.255.255:065535. The checks after that of the length refuse longer texts, too.
constexpr QAL_UINT32 kLongestUsual = 22; // speed only

/// Reads the decimal port after a colon. @p ullTail holds the last eight characters of the text,
/// its terminator included, and @p ulColon is the colon's index among them. False unless one or
/// more digits, and nothing else, follow the colon.
bool ReadUsualPort(QAL_UINT64 ullTail, QAL_UINT32 ulColon, QAL_UINT16 &uwPort)
{
    if (ulColon == 6) {
        return false;
    }
    // The last digit is in the highest byte; whatever precedes the first digit becomes 0.
    const QAL_UINT32 ulBitsBefore = 8 * (ulColon + 2);
    QAL_UINT64 ullDigits = (ullTail << 8 ^ '0' * kEachByte) >> ulBitsBefore << ulBitsBefore;
    if (AboveNine(ullDigits) != 0) {
        return false;
    }
    ullDigits = (ullDigits * 10 + (ullDigits >> 8)) & 0x00FF00FF00FF00FF;
    ullDigits = (ullDigits * 100 + (ullDigits >> 16)) & 0x0000FFFF0000FFFF;
    uwPort = static_cast<QAL_UINT16>(ullDigits * 10000 + (ullDigits >> 32));
    return true;
}

} // namespace

QAL_UINT32 ReadUsualIpv4(const QAL_CHAR *pszText, QAL_UINT32 ulLen, QAL_UINT32 &ulAddr,
                         QAL_UINT16 &uwPort)
{
    if (ulLen < kShortestUsual || ulLen > kLongestUsual || !AreDigitsAsUsual()) {
        return kNotUsual;
    }
    // In the usual form, the colon, if any, is among the last eight characters, the terminator
    // included.
    const QAL_UINT64 ullTail = EightFrom(pszText + ulLen - 7);
    const QAL_UINT64 ullColonIs0 = ullTail ^ ':' * kEachByte;
    const QAL_UINT64 ullColons = (ullColonIs0 - kEachByte) & ~ullColonIs0 & 0x80 * kEachByte;
    QAL_UINT32 ulEnd = ulLen; // of the octets
    QAL_UINT16 uwUsualPort = 0;
    if (ullColons != 0) {
        const auto ulColon = static_cast<QAL_UINT32>(std::countr_zero(ullColons)) / 8;
        if (!ReadUsualPort(ullTail, ulColon, uwUsualPort)) {
            return kNotUsual;
        }
        ulEnd = ulLen - 7 + ulColon;
    }

    QAL_UINT32 ulOctets = 0;
    QAL_UINT32 ulAboveNine = 0;
    // Takes the digits of the next octet: hundreds in byte 1, tens in byte 2, ones in byte 3. False
    // if the octet exceeds 255.
    const auto take = [&](QAL_UINT32 ulDigits) {
        ulAboveNine |= AboveNine(ulDigits);
        ulOctets = ulOctets << 8 | (ulDigits * (100U << 16 | 10U << 8 | 1U)) >> 24;
        return __builtin_bswap32(ulDigits) <= 0x020505;
    };
    QAL_UINT32 ulAt = 0;
    for (QAL_UINT32 i = 0; i < kIp4Len - 1; ++i) {
        if (ulAt + 3 > ulLen) {
            return kNotUsual; // no room for a digit, a dot and a digit
        }
        const QAL_UINT32 ulChars = FourFrom(pszText + ulAt);
        // Of the characters that the form allows, only the dot has bit 4 clear. The search starts
        // at the second character, as the first must be a digit, and ends at the fourth at the
        // latest.
        const int iBit = std::countr_zero((~ulChars & 0x00101000U) | 0x10000000U);
        ulAt += static_cast<QAL_UINT32>(iBit) / 8 + 1;
        if (pszText[ulAt - 1] != '.' || !take((ulChars ^ 0x30303030U) << (36 - iBit))) {
            return kNotUsual;
        }
    }
    const QAL_UINT32 ulDigits = ulEnd - ulAt;
    if (ulDigits < 1 || ulDigits > 3) {
        return kNotUsual;
    }
    const QAL_UINT32 ulBitsBefore = 8 * (4 - ulDigits);
    if (!take((FourFrom(pszText + ulEnd - 4) ^ 0x30303030U) >> ulBitsBefore << ulBitsBefore) ||
        ulAboveNine != 0) {
        return kNotUsual;
    }
    wyx_memcpy_s(&ulAddr, kIp4Len, &ulOctets, kIp4Len);
    uwPort = uwUsualPort;
    return ullColons != 0 ? QAL_UINT32{XELP_OK_HAVE_PORT} : 0;
}

} // namespace wyx::address
