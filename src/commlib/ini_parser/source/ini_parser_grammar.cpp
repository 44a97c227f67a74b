// The lenient grammar of a line, which lookups and edits use.
#include "ini_parser_internal.h"

namespace wyx::ini {

// The next three functions are not inlined: one copy for all parsers saves 350 to 480 bytes. The
// calls add 1 to 4 % to the instructions of a parser.

// The adapter returns a 32-bit length. If the length has wrapped, pszEnd is before the terminator,
// and the search goes on from there.
[[gnu::noinline]] const QAL_INT8 *EndOf(const QAL_INT8 *psz)
{
    const QAL_INT8 *const pszEnd = psz + INI_StrLen(psz);
    return *pszEnd == '\0' ? pszEnd : XELP_StrChr(pszEnd, '\0');
}

[[gnu::noinline]] Range Trimmed(const QAL_INT8 *pszBegin, const QAL_INT8 *pszEnd)
{
    const QAL_INT8 *const pszFirst = SkipBlanks(pszBegin, pszEnd - 1);
    return {pszFirst, TrimWhite(pszEnd - 1, pszFirst)};
}

[[gnu::noinline]] const QAL_INT8 *NextQuote(const QAL_INT8 *psz)
{
    do {
        psz = XELP_StrChr(psz + 1, kQuote);
    } while (psz != nullptr && psz[-1] == kEscape);
    return psz;
}

namespace {

/// Releases a part, which may be null. Not inlined: Release() takes the address of a local
/// variable, so the compiler would add a stack guard to every parser.
[[gnu::noinline]] void ReleasePart(QAL_INT8 *&pszPart, QAL_UINT32 ulLine = __builtin_LINE())
{
    Release(pszPart, ulLine);
}

} // namespace

void ReleaseParts(KeyParts &parts)
{
    const auto release = [](QAL_INT8 *&pszPart) {
        if (pszPart != nullptr) {
            ReleasePart(pszPart);
        }
    };
    release(parts.pszName);
    release(parts.pszValue);
    release(parts.pszComment);
}

QAL_UINT32 MatchHeader(const QAL_INT8 *pszLine, const QAL_INT8 *pszSection)
{
    QAL_INT8 *pszName = nullptr;
    QAL_INT8 *pszComment = nullptr;
    const QAL_UINT32 ulStatus = IniParseSectionLine(pszLine, &pszName, &pszComment);
    if (ulStatus != XELP_ERR_INI_OK) {
        return ulStatus;
    }
    const bool isSame = XELP_StriCmp(pszName, pszSection) == 0;
    XELP_MemFreeD(pszName, __LINE__, __FILE__);
    if (pszComment != nullptr) {
        XELP_MemFreeD(pszComment, __LINE__, __FILE__);
    }
    return isSame ? kFound : QAL_UINT32{XELP_ERR_INI_OK};
}

namespace {

/// The first occurrence of a byte, or null. Names are short: this beats a call to the adapter.
const QAL_INT8 *FindByte(const QAL_INT8 *psz, QAL_INT8 ch)
{
#pragma GCC unroll 4
    while (*psz != ch) {
        if (*psz++ == '\0') {
            return nullptr;
        }
    }
    return psz;
}

/// Copies a stretch of a line into a string of its own; null if there is no memory for it.
QAL_INT8 *CopyText(Range range, QAL_UINT32 ulLine = __builtin_LINE())
{
    const auto ullLen = static_cast<QAL_UINT64>(range.pszLast - range.pszFirst + 1);
    QAL_INT8 *const pszCopy = AllocateText(ullLen + 1, ulLine);
    if (pszCopy != nullptr) {
        wyx_memcpy_s(pszCopy, ullLen, range.pszFirst, ullLen);
        pszCopy[ullLen] = '\0';
    }
    return pszCopy;
}

/**
 * The last byte of the value that begins at @p pszBegin, white bytes at its end included. If the
 * comment begins at @p pszBegin, the result is before it.
 *
 * The first `;` decides. If there is no space before it, the rest of the line belongs to the value.
 * Otherwise it ends the value, unless an unescaped quotation mark follows anywhere in the line:
 * then the first `;` after the first such mark decides in the same way. Quotation marks are not
 * paired. A `;` at @p pszBegin that is the last byte of the line is the value.
 */
const QAL_INT8 *ValueLast(const QAL_INT8 *pszBegin, const QAL_INT8 *pszLineLast)
{
    for (const QAL_INT8 *psz = pszBegin; psz < pszLineLast;) {
        const QAL_INT8 *const pszSemicolon = XELP_StrChr(psz, kComment);
        if (pszSemicolon == nullptr || pszSemicolon[-1] != ' ') {
            break;
        }
        const QAL_INT8 *const pszQuote = NextQuote(pszSemicolon);
        if (pszQuote == nullptr) {
            return pszSemicolon - 2;
        }
        psz = pszQuote + 1;
    }
    return pszLineLast;
}

/// Parses what follows the `=`: value and comment, either of which may be absent.
QAL_UINT32 ParseAfterEqual(const QAL_INT8 *pszEqual, QAL_INT8 **ppszValue, QAL_INT8 **ppszComment)
{
    if (pszEqual[1] == '\0') {
        return XELP_ERR_INI_OK;
    }
    const QAL_INT8 *const pszLineLast = LastByte(pszEqual);
    const QAL_INT8 *const pszFirst = SkipBlanks(pszEqual + 1, pszLineLast);
    const QAL_INT8 *const pszLast = TrimWhite(ValueLast(pszFirst, pszLineLast), pszFirst);
    // Kept: a line end is not skipped as blanks are, so after a bare `=` the value is the first
    // byte of the line end (IniParseKeyLine.BareEqualYieldsLineEnd).
    if (pszLast >= pszFirst && !IsBlank(*pszFirst)) {
        *ppszValue = CopyText({pszFirst, pszLast});
        if (*ppszValue == nullptr) {
            return XELP_ERR_INI_INTERNAL;
        }
    }
    const QAL_INT8 *const pszMark = XELP_StrStr(pszLast + 1, kCommentMark);
    return pszMark == nullptr ? XELP_ERR_INI_OK : IniParseCommentLine(pszMark, ppszComment);
}

} // namespace
} // namespace wyx::ini

using namespace wyx::ini;

extern "C" {

void IniSkimBeginSpace(QAL_INT8 **strLine, const QAL_INT8 *end)
{
    *strLine = const_cast<QAL_INT8 *>(SkipBlanks(*strLine, end));
}

void IniSkimEndSpaceAndEnd(QAL_INT8 **strLine, const QAL_INT8 *begin)
{
    *strLine = const_cast<QAL_INT8 *>(TrimWhite(*strLine, begin));
}

QAL_UINT32 IniGetLineType(QAL_INT8 *linePtr, XELP_INI_E_LINE_TYPE *lineType)
{
    if (linePtr == nullptr || *linePtr == '\0') {
        return XELP_ERR_INI_INPUT_PARA_ERR;
    }
    *lineType = TypeOf(linePtr);
    return *lineType == INI_ERROR_LINE ? XELP_ERR_INI_LINE_UNKNOWN : XELP_ERR_INI_OK;
}

QAL_UINT32 IniParseCommentLine(const QAL_INT8 *linePtr, QAL_INT8 **commentLine)
{
    *commentLine = nullptr;
    const QAL_INT8 *const pszMark = XELP_StrStr(linePtr, kCommentMark);
    if (pszMark == nullptr) {
        return XELP_ERR_INI_LINE_UNKNOWN;
    }
    const QAL_INT8 *const pszSemicolon = pszMark + 1;
    if (pszSemicolon[1] == '\0') {
        *commentLine = AllocateText(1);
        if (*commentLine == nullptr) {
            return XELP_ERR_INI_INTERNAL;
        }
        **commentLine = '\0';
        return XELP_ERR_INI_OK;
    }
    const Range text = Trimmed(pszSemicolon + 1, EndOf(pszSemicolon));
    *commentLine = CopyText(text);
    if (*commentLine == nullptr) {
        return XELP_ERR_INI_INTERNAL;
    }
    if (IsWhite(*text.pszFirst)) {
        **commentLine = '\0';
    }
    return XELP_ERR_INI_OK;
}

QAL_UINT32 IniParseSectionLine(const QAL_INT8 *linePtr, QAL_INT8 **sectionLine,
                               QAL_INT8 **commentLine)
{
    *sectionLine = nullptr;
    *commentLine = nullptr;
    if (linePtr == nullptr) {
        return XELP_ERR_INI_SECTION;
    }
    const QAL_INT8 *const pszOpen = FindByte(linePtr, kOpen);
    const QAL_INT8 *const pszClose = FindByte(linePtr, kClose);
    if (pszOpen == nullptr || pszClose == nullptr || pszClose - pszOpen < 2) {
        return XELP_ERR_INI_SECTION;
    }
    const Range name = Trimmed(pszOpen + 1, pszClose);
    if (IsBlank(*name.pszFirst)) {
        return XELP_ERR_INI_SECTION;
    }
    *sectionLine = CopyText(name);
    if (*sectionLine == nullptr) {
        return XELP_ERR_INI_INTERNAL;
    }

    const QAL_INT8 *pszRest = pszClose + 1;
    while (*pszRest == ' ' || IsLineEnd(*pszRest)) {
        ++pszRest;
    }
    if (*pszRest == '\0') {
        return XELP_ERR_INI_OK;
    }
    // From the byte before, because a comment begins with a space, which was skipped above.
    const QAL_UINT32 ulStatus = IniParseCommentLine(pszRest - 1, commentLine);
    if (ulStatus != XELP_ERR_INI_OK) {
        ReleasePart(*sectionLine);
    }
    return ulStatus;
}

QAL_UINT32 IniParseKeyLine(QAL_INT8 *linePtr, QAL_INT8 **keyName, QAL_INT8 **keyValue,
                           QAL_INT8 **commentLine)
{
    *keyName = nullptr;
    *keyValue = nullptr;
    *commentLine = nullptr;
    const QAL_INT8 *pszEqual = XELP_StrChr(linePtr, kEqual);
    if (pszEqual == nullptr) {
        return XELP_ERR_INI_LINE_UNKNOWN;
    }
    if (pszEqual == linePtr) {
        return XELP_ERR_INI_KEY_NAME;
    }
    const Range key = Trimmed(linePtr, pszEqual);
    if (IsWhite(*key.pszFirst)) {
        return XELP_ERR_INI_KEY_NAME;
    }
    *keyName = CopyText(key);
    if (*keyName == nullptr) {
        return XELP_ERR_INI_INTERNAL;
    }

    // Kept: the adapter searches again, and its second answer counts
    // (IniParseKeyLine.LostEqualReturns100).
    pszEqual = XELP_StrChr(linePtr, kEqual);
    const QAL_UINT32 ulStatus = pszEqual == nullptr
                                    ? XELP_ERR_INI_VALUE_NULL
                                    : ParseAfterEqual(pszEqual, keyValue, commentLine);
    if (ulStatus != XELP_ERR_INI_OK) {
        ReleasePart(*keyName);
        ReleasePart(*keyValue);
        ReleasePart(*commentLine);
    }
    return ulStatus;
}

} // extern "C"
