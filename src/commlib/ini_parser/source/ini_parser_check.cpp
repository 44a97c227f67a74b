// The strict grammar of a line. Lookups and edits do not use it.
#include "ini_parser_internal.h"

namespace wyx::ini {
namespace {

bool Contains(Range range, QAL_INT8 ch)
{
    for (const QAL_INT8 *psz = range.pszFirst; psz <= range.pszLast; ++psz) {
        if (*psz == ch) {
            return true;
        }
    }
    return false;
}

// Kept: a tab before the `;` is enough here, though the parsers see no comment there
// (IniCheckKeyLine.TabBeforeCommentPasses).
QAL_UINT32 CheckComment(const QAL_INT8 *pszSemicolon)
{
    return IsBlank(pszSemicolon[-1]) ? XELP_ERR_INI_OK : XELP_ERR_INI_COMMENT;
}

/// Where the item after a separating comma begins; null if the comma is misplaced.
const QAL_INT8 *ItemAfter(const QAL_INT8 *pszComma)
{
    const QAL_INT8 *psz = pszComma + 1;
    if (!IsBlank(*psz)) {
        return nullptr;
    }
    while (IsBlank(*psz)) {
        ++psz;
    }
    return *psz == '\0' || *psz == kSeparator || *psz == kComment ? nullptr : psz;
}

/// Checks a value that is not empty, item by item.
QAL_UINT32 CheckItems(const QAL_INT8 *psz, const QAL_INT8 *pszLineLast)
{
    while (psz < pszLineLast) {
        const QAL_INT8 *pszItemEnd; // where the check goes on after the item
        if (*psz == kQuote) {
            const QAL_INT8 *const pszQuote = NextQuote(psz);
            if (pszQuote == nullptr) {
                return XELP_ERR_INI_KEY_VALUE;
            }
            pszItemEnd = SkipBlanks(pszQuote + 1, pszLineLast);
        } else {
            // Kept: a comma inside a comment is found, too (IniCheckKeyLine.CommaInCommentCounts).
            pszItemEnd = XELP_StrChr(psz, kSeparator);
            if (pszItemEnd == psz) {
                return XELP_ERR_INI_KEY_VALUE;
            }
            if (pszItemEnd == nullptr) {
                pszItemEnd = XELP_StrChr(psz, kComment);
            }
            if (pszItemEnd == nullptr) {
                return XELP_ERR_INI_OK;
            }
        }
        if (*pszItemEnd == kComment) {
            return CheckComment(pszItemEnd);
        }
        psz = *pszItemEnd == kSeparator ? ItemAfter(pszItemEnd) : pszItemEnd;
        if (psz == nullptr) {
            return XELP_ERR_INI_KEY_VALUE;
        }
    }
    return XELP_ERR_INI_OK;
}

} // namespace
} // namespace wyx::ini

using namespace wyx::ini;

extern "C" {

QAL_UINT32 IniCheckSectionLine(const QAL_INT8 *strSectionLine)
{
    if (strSectionLine == nullptr || *strSectionLine != kOpen) {
        return XELP_ERR_INI_SECTION;
    }
    const QAL_INT8 *const pszClose = XELP_StrChr(strSectionLine, kClose);
    if (pszClose == nullptr || pszClose - strSectionLine < 2) {
        return XELP_ERR_INI_SECTION;
    }
    const Range name = Trimmed(strSectionLine + 1, pszClose);
    // Kept: blanks count as an empty name only if the last one is a space, so a single tab passes,
    // though the parser refuses it (IniCheckSectionLine.SingleTabPasses).
    if (*name.pszFirst == ' ' || Contains(name, kOpen)) {
        return XELP_ERR_INI_SECTION;
    }

    if (pszClose[1] == '\0') {
        return XELP_ERR_INI_OK;
    }
    const Range rest = Trimmed(pszClose + 1, EndOf(pszClose));
    const QAL_INT8 *const pszRest = rest.pszFirst;
    const bool isOneByte = rest.pszLast == pszRest;
    if (isOneByte && (*pszRest == ' ' || IsLineEnd(*pszRest))) {
        return XELP_ERR_INI_OK;
    }
    return *pszRest == kComment && pszRest[-1] == ' ' ? XELP_ERR_INI_OK : XELP_ERR_INI_SECTION;
}

QAL_UINT32 IniCheckKeyLine(QAL_INT8 *strKeyValue)
{
    const QAL_INT8 *const pszEqual = XELP_StrChr(strKeyValue, kEqual);
    if (pszEqual == nullptr) {
        return XELP_ERR_INI_LINE_UNKNOWN;
    }
    if (pszEqual == strKeyValue) {
        return XELP_ERR_INI_KEY_NAME;
    }
    const Range key = Trimmed(strKeyValue, pszEqual);
    // Kept: a tab inside a key passes, a space does not (IniCheckKeyLine.TabInKeyPasses).
    if (IsWhite(*key.pszFirst) || Contains(key, ' ')) {
        return XELP_ERR_INI_KEY_NAME;
    }

    if (pszEqual[1] == '\0') {
        return XELP_ERR_INI_OK;
    }
    const QAL_INT8 *const pszLineLast = LastByte(pszEqual);
    const QAL_INT8 *const pszValue = SkipBlanks(pszEqual + 1, pszLineLast);
    if (IsWhite(*pszValue) && TrimWhite(pszLineLast, pszValue) == pszValue) {
        return XELP_ERR_INI_OK;
    }
    return *pszValue == kComment ? CheckComment(pszValue) : CheckItems(pszValue, pszLineLast);
}

QAL_UINT32 XELP_IniCheckFile(const XELP_IN_S_INI_FILE_STRUCT *pStructIniLine, QAL_UINT32 *pulLineNo)
{
    if (!IsReadable(pStructIniLine) || pulLineNo == nullptr) {
        return XELP_ERR_INI_INPUT_PARA_ERR;
    }
    const QAL_UINT32 ulLineNum = pStructIniLine->ulLineNum;
    if (ulLineNum == 0) {
        return XELP_ERR_INI_FILE_EMPTY;
    }
    bool hasLine = false;
    bool hasSection = false;
    Walk walk = Down(*pStructIniLine, 0, ulLineNum);
    const QAL_UINT32 ulStatus = ForEachLine(walk, [&](QAL_INT8 *pszLine, Kind kind) -> QAL_UINT32 {
        hasLine = true;
        if (kind == Kind::kSection) {
            hasSection = true;
            return IniCheckSectionLine(pszLine);
        }
        if (kind == Kind::kKey) {
            return hasSection ? IniCheckKeyLine(pszLine) : XELP_ERR_INI_FILE_FORMAT;
        }
        return XELP_ERR_INI_OK;
    });
    if (ulStatus != XELP_ERR_INI_OK) {
        *pulLineNo = walk.ulSlot + 1;
        return ulStatus;
    }
    *pulLineNo = ulLineNum;
    return hasLine ? XELP_ERR_INI_OK : XELP_ERR_INI_FILE_EMPTY;
}

} // extern "C"
