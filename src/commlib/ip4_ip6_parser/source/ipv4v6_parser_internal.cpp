// The scanner under the address parsers: the table of character classes, and the readers.
#include "ipv4v6_parser_internal.h"

#include <array>
#include <cstddef>
#include <cstdlib>

using namespace wyx::address;

namespace {

struct Range {
    QAL_UINT8 ucFirst;
    QAL_UINT8 ucLast;
    QAL_UINT32 ulClasses;
};

constexpr Range kRanges[] = {
    {0x00, 0x08, kControl},
    {0x09, 0x0D, kControl | kSpace}, // TAB, LF, VT, FF, CR
    {0x0E, 0x1F, kControl},
    {' ', ' ', kSpace | kBlank},
    {'!', '!', kPunct | kToken},
    {'"', '"', kPunct}, // neither token nor delimiter
    {'#', '#', kPunct | kDelimiter},
    {'$', '+', kPunct | kToken}, // $ % & ' ( ) * +
    {',', ',', kPunct | kDelimiter},
    {'-', '/', kPunct | kToken}, // - . /
    {'0', '9', kDecDigit | kHexDigit | kToken},
    {':', '>', kPunct | kDelimiter}, // : ; < = >
    {'?', '@', kPunct | kToken},
    {'A', 'F', kUpper | kHexDigit | kToken},
    {'G', 'Z', kUpper | kToken},
    {'[', '[', kPunct | kDelimiter},
    {'\\', '\\', kPunct | kToken},
    {']', ']', kPunct | kDelimiter},
    {'^', '`', kPunct | kToken}, // ^ _ backquote
    {'a', 'f', kLower | kHexDigit | kToken},
    {'g', 'z', kLower | kToken},
    {'{', '{', kPunct | kDelimiter},
    {'|', '|', kPunct | kToken},
    {'}', '}', kPunct | kDelimiter},
    {'~', '~', kPunct | kToken},
    {0x7F, 0x7F, kControl},
    {0x80, 0xFF, 0},
};

/// Do the ranges cover every byte once, in order?
consteval bool AreComplete()
{
    unsigned uNext = 0;
    for (const Range &range : kRanges) {
        if (range.ucFirst != uNext || range.ucLast < range.ucFirst) {
            return false;
        }
        uNext = range.ucLast + 1U;
    }
    return uNext == 256;
}
static_assert(AreComplete());

consteval QAL_UINT32 ClassesOf(unsigned uByte)
{
    const Range *pRange = kRanges;
    while (uByte > pRange->ucLast) {
        ++pRange;
    }
    return pRange->ulClasses;
}

constexpr QAL_UINT16 kGroupDigits = 4;
constexpr QAL_UINT32 kRunBytes = 16;       // eight groups
constexpr QAL_INT kShortestDottedTail = 5; // colon included

constexpr QAL_UINT8 kHexBase = 16;
// The value of a character that may follow a group. Its low four bits are 0, so that the character
// counts as 0 if a caller's own table lets it begin a group.
constexpr QAL_UINT8 kGroupEnd = 0x80;

/// The values of the hexadecimal digits; kGroupEnd for what may follow a group, 0 for everything
/// else. A table, because the branch predictor cannot guess whether the next digit is a letter.
consteval std::array<QAL_UINT8, 256> MakeHexValues()
{
    std::array<QAL_UINT8, 256> aTab{};
    for (QAL_UINT8 i = 0; i < kHexBase; ++i) {
        aTab[static_cast<QAL_UINT8>("0123456789abcdef"[i])] = i;
        aTab[static_cast<QAL_UINT8>("0123456789ABCDEF"[i])] = i;
    }
    aTab['.'] = aTab[':'] = aTab[']'] = aTab['\0'] = kGroupEnd;
    return aTab;
}

constexpr auto kHexValues = MakeHexValues();

QAL_UINT8 HexValue(QAL_CHAR ch)
{
    return kHexValues[static_cast<QAL_UINT8>(ch)];
}

/// With the cursor on a colon before a digit: does the run continue after the colon, or is a dotted
/// tail left to the caller? Kept: a first octet that has one digit or begins with 0 is read as a
/// group (TdHexseq.DottedTails).
bool GoesOnAfterColon(const Parse_Ipv4v6_S_BUF &struBuf)
{
    if (struBuf.cur_bp_rem_len < kShortestDottedTail) {
        return true;
    }
    const QAL_CHAR *const pszText = struBuf.cur_bp;
    // A dot at pszText[2] is not looked for here, as it lets the run continue anyway. No character
    // after the terminator is read, even if the count promises more, unless a caller's own table
    // classes the terminator as a digit.
    const bool hasDot =
        pszText[2] != '\0' && (pszText[3] == '.' || (pszText[3] != '\0' && pszText[4] == '.'));
    return !hasDot || pszText[1] == '0' || pszText[2] == '.' || pszText[2] == ':' ||
           pszText[3] == ':' || pszText[4] == ':';
}

/// Reads one group. Always inlined, so that the cursor of ReadGroups() stays in registers: Clang
/// would otherwise pass it through memory (IPv6 on AArch64: 632 instead of 592 instructions per
/// address).
[[gnu::always_inline]] inline QAL_UINT32 ReadGroup(QAL_UINT16 &uwGroup, Parse_Ipv4v6_S_BUF &struBuf)
{
    uwGroup = 0;
    QAL_UINT32 ulValue = 0;
    QAL_CHAR ch = *struBuf.cur_bp;
    QAL_UINT8 ucDigit = HexValue(ch) % kHexBase;
    for (QAL_UINT16 uwDigits = 1;; ++uwDigits) {
        if (!IsOf(kHexDigit, ch) || struBuf.cur_bp_rem_len < 1) {
            return XELP_ERR_PARSE_IPV4V6_INVALID;
        }
        // A character that only a caller's own table classes as a digit counts as 0
        // (Charset.AddedHexDigitCountsAsZero).
        ulValue = ulValue << 4 | ucDigit;
        Advance(struBuf, 1);

        ch = *struBuf.cur_bp;
        ucDigit = HexValue(ch);
        if (ucDigit == kGroupEnd) {
            uwGroup = static_cast<QAL_UINT16>(ulValue);
            return 0;
        }
        if (uwDigits == kGroupDigits) {
            return XELP_ERR_PARSE_IPV4V6_INVALID;
        }
    }
}

/// Reads a run of groups and adds its length to @p ulLen. @p struBuf is a local copy of the
/// caller's cursor, made by core_td_hexseq(), so it stays in registers; in memory, reading a digit
/// would wait for the store that moved the cursor to it.
inline QAL_UINT32 ReadGroups(QAL_UINT8 *pucBytes, QAL_UINT32 &ulLen, Parse_Ipv4v6_S_BUF &struBuf)
{
    if (!IsOf(kHexDigit, *struBuf.cur_bp)) {
        return 0;
    }
    while (struBuf.cur_bp_rem_len >= 1) {
        QAL_UINT16 uwGroup = 0;
        const QAL_UINT32 ulStatus = ReadGroup(uwGroup, struBuf);
        if (ulStatus != 0) {
            return ulStatus;
        }
        pucBytes[ulLen++] = static_cast<QAL_UINT8>(uwGroup >> 8);
        pucBytes[ulLen++] = static_cast<QAL_UINT8>(uwGroup);

        const QAL_CHAR *const pszText = struBuf.cur_bp;
        if (pszText[0] != ':' || !IsOf(kHexDigit, pszText[1]) || ulLen == kRunBytes ||
            !GoesOnAfterColon(struBuf)) {
            break;
        }
        Advance(struBuf, 1);
    }
    return 0;
}

} // namespace

extern "C" {

// The table is a C array, which can only be initialised by a list.
#define ROW_OF_4(n) ClassesOf(n), ClassesOf((n) + 1), ClassesOf((n) + 2), ClassesOf((n) + 3)
#define ROW_OF_16(n) ROW_OF_4(n), ROW_OF_4((n) + 4), ROW_OF_4((n) + 8), ROW_OF_4((n) + 12)
#define ROW_OF_64(n) ROW_OF_16(n), ROW_OF_16((n) + 16), ROW_OF_16((n) + 32), ROW_OF_16((n) + 48)
constinit QAL_UINT32 QAL_CHARset[256] = {ROW_OF_64(0), ROW_OF_64(64), ROW_OF_64(128),
                                         ROW_OF_64(192)};
#undef ROW_OF_4
#undef ROW_OF_16
#undef ROW_OF_64

// Kept: there is no range check, and whatever strtoul() accepts before a number is accepted
// (TdU16.ValueIsReducedTo16Bits, TdU16.ReadsLikeStrtoul).
QAL_UINT32 core_td_u16(QAL_UINT16 *OUT_val, QAL_INT32 IN_base, Parse_Ipv4v6_S_BUF_PTR IN_dec_buf)
{
    QAL_CHAR *pszEnd = IN_dec_buf->cur_bp; // unchanged if the base is invalid
    const QAL_ULONG ulValue = std::strtoul(IN_dec_buf->cur_bp, &pszEnd, IN_base);
    const auto lConsumed = static_cast<QAL_INT>(pszEnd - IN_dec_buf->cur_bp);
    if (lConsumed < 1) {
        return XELP_ERR_PARSE_IPV4V6_INVALID;
    }
    *OUT_val = static_cast<QAL_UINT16>(ulValue);
    Advance(*IN_dec_buf, lConsumed);
    return 0;
}

QAL_UINT32 core_td_hex4(QAL_UINT16 *OUT_hex4, Parse_Ipv4v6_S_BUF_PTR IN_dec_buf)
{
    return ReadGroup(*OUT_hex4, *IN_dec_buf);
}

QAL_UINT32 core_td_hexseq(QAL_UINT8 *OUT_hex_seq, QAL_UINT32 *OUT_len,
                          Parse_Ipv4v6_S_BUF_PTR IN_dec_buf)
{
    Parse_Ipv4v6_S_BUF struBuf = *IN_dec_buf;
    QAL_UINT32 ulLen = 0;
    const QAL_UINT32 ulStatus = ReadGroups(OUT_hex_seq, ulLen, struBuf);
    *OUT_len = ulLen;
    *IN_dec_buf = struBuf;
    return ulStatus;
}

QAL_UINT32 core_td_convert_hex(QAL_INT8 ch, QAL_UINT8 *hex)
{
    const QAL_UINT8 ucValue = HexValue(ch);
    const bool isDigit = ch == '0' || (ucValue != 0 && ucValue != kGroupEnd);
    *hex = isDigit ? ucValue : QAL_UINT8{0xFF};
    return isDigit ? 0 : 1;
}

} // extern "C"
