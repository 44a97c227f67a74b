// The strict grammar of a line, on which only the check of a whole document stands.
#include "ini_parser_internal.h"

#include "os_adapter.h"

namespace {

using wyx::ini::IsBlank;
using wyx::ini::IsLineEnd;
using wyx::ini::IsWhite;
using wyx::ini::Kind;
using wyx::ini::LastByte;
using wyx::ini::Range;
using wyx::ini::SkipBlanks;
using wyx::ini::TrimWhite;

bool Contains(Range range, QAL_INT8 ch)
{
    for (const QAL_INT8 *psz = range.pszFirst; psz <= range.pszLast; ++psz) {
        if (*psz == ch) {
            return true;
        }
    }
    return false;
}

/// Kept: a tab before the `;` will do here, though to the parsers it begins no comment
/// (IniCheckKeyLine.TabBeforeCommentPasses).
QAL_UINT32 CheckComment(const QAL_INT8 *pszSemicolon)
{
    return IsBlank(pszSemicolon[-1]) ? XELP_ERR_INI_OK : XELP_ERR_INI_COMMENT;
}

/// Where the item behind a separating comma begins; null if the comma may not stand there.
const QAL_INT8 *ItemBehind(const QAL_INT8 *pszComma)
{
    const QAL_INT8 *psz = pszComma + 1;
    if (!IsBlank(*psz)) {
        return nullptr;
    }
    while (IsBlank(*psz)) {
        ++psz;
    }
    return *psz == '\0' || *psz == ',' || *psz == ';' ? nullptr : psz;
}

/// Checks a value that is not empty, item by item.
QAL_UINT32 CheckItems(const QAL_INT8 *psz, const QAL_INT8 *pszLineLast)
{
    while (psz < pszLineLast) {
        const QAL_INT8 *pszItemEnd; // the first byte behind the item
        if (*psz == '"') {
            const QAL_INT8 *const pszQuote = wyx::ini::NextQuote(psz);
            if (pszQuote == nullptr) {
                return XELP_ERR_INI_KEY_VALUE;
            }
            pszItemEnd = SkipBlanks(pszQuote + 1, pszLineLast);
        } else {
            // Kept: the comma is looked for in a comment, too
            // (IniCheckKeyLine.CommaInCommentCounts).
            pszItemEnd = XELP_StrChr(psz, ',');
            if (pszItemEnd == psz) {
                return XELP_ERR_INI_KEY_VALUE;
            }
            if (pszItemEnd == nullptr) {
                pszItemEnd = XELP_StrChr(psz, ';');
            }
            if (pszItemEnd == nullptr) {
                return XELP_ERR_INI_OK;
            }
        }
        if (*pszItemEnd == ';') {
            return CheckComment(pszItemEnd);
        }
        psz = *pszItemEnd == ',' ? ItemBehind(pszItemEnd) : pszItemEnd;
        if (psz == nullptr) {
            return XELP_ERR_INI_KEY_VALUE;
        }
    }
    return XELP_ERR_INI_OK;
}

} // namespace

extern "C" {

QAL_UINT32 IniCheckSectionLine(const QAL_INT8 *strSectionLine)
{
    if (strSectionLine == nullptr || *strSectionLine != '[') {
        return XELP_ERR_INI_SECTION;
    }
    const QAL_INT8 *const pszClose = XELP_StrChr(strSectionLine, ']');
    if (pszClose == nullptr || pszClose - strSectionLine < 2) {
        return XELP_ERR_INI_SECTION;
    }
    const Range name = wyx::ini::NameBetween(strSectionLine, pszClose);
    // Kept: only a space makes an empty name here, so a single tab passes though the parser refuses
    // it (IniCheckSectionLine.SingleTabPasses).
    if (*name.pszFirst == ' ' || Contains(name, '[')) {
        return XELP_ERR_INI_SECTION;
    }

    if (pszClose[1] == '\0') {
        return XELP_ERR_INI_OK;
    }
    const QAL_INT8 *const pszLineLast = LastByte(pszClose);
    const QAL_INT8 *const pszRest = SkipBlanks(pszClose + 1, pszLineLast);
    const bool bOneByte = TrimWhite(pszLineLast, pszRest) == pszRest;
    if (bOneByte && (*pszRest == ' ' || IsLineEnd(*pszRest))) {
        return XELP_ERR_INI_OK;
    }
    return *pszRest == ';' && pszRest[-1] == ' ' ? XELP_ERR_INI_OK : XELP_ERR_INI_SECTION;
}

QAL_UINT32 IniCheckKeyLine(QAL_INT8 *strKeyValue)
{
    const QAL_INT8 *const pszEqual = XELP_StrChr(strKeyValue, '=');
    if (pszEqual == nullptr) {
        return XELP_ERR_INI_LINE_UNKNOWN;
    }
    if (pszEqual == strKeyValue) {
        return XELP_ERR_INI_KEY_NAME;
    }
    const Range key = wyx::ini::KeyBefore(strKeyValue, pszEqual);
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
    return *pszValue == ';' ? CheckComment(pszValue) : CheckItems(pszValue, pszLineLast);
}

QAL_UINT32 XELP_IniCheckFile(const XELP_IN_S_INI_FILE_STRUCT *pStructIniLine, QAL_UINT32 *pulLineNo)
{
    if (pStructIniLine == nullptr || pStructIniLine->pStrLine == nullptr || pulLineNo == nullptr) {
        return XELP_ERR_INI_INPUT_PARA_ERR;
    }
    QAL_UINT32 ulStatus = XELP_ERR_INI_FILE_EMPTY; // unless there is a line
    bool bMeetSection = false;
    for (QAL_UINT32 i = 0; i < pStructIniLine->ulLineNum; ++i) {
        *pulLineNo = i + 1;
        QAL_INT8 *const pszLine = pStructIniLine->pStrLine[i];
        if (pszLine == nullptr) {
            continue;
        }
        const Kind kind = wyx::ini::KindOf(pszLine);
        ulStatus = wyx::ini::StatusOf(kind);
        if (kind == Kind::kSection) {
            bMeetSection = true;
            ulStatus = IniCheckSectionLine(pszLine);
        } else if (kind == Kind::kKey) {
            ulStatus = bMeetSection ? IniCheckKeyLine(pszLine) : XELP_ERR_INI_FILE_FORMAT;
        }
        if (ulStatus != XELP_ERR_INI_OK) {
            return ulStatus;
        }
    }
    return ulStatus;
}

} // extern "C"
