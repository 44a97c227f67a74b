// What the units of the INI module share: its byte classes, the kinds of a line, and the walks that
// lookups and edits have in common.
#ifndef WYX_COMMLIB_INI_PARSER_INTERNAL_H
#define WYX_COMMLIB_INI_PARSER_INTERNAL_H

#include "wyx_commlib/ini_parser.h"

namespace wyx::ini {

using Document = XELP_IN_S_INI_FILE_STRUCT;

constexpr bool IsBlank(QAL_INT8 ch)
{
    return ch == ' ' || ch == '\t';
}

constexpr bool IsLineEnd(QAL_INT8 ch)
{
    return ch == '\n' || ch == '\r';
}

constexpr bool IsWhite(QAL_INT8 ch)
{
    return IsBlank(ch) || IsLineEnd(ch);
}

/// The first byte from @p psz on that is not a blank, @p pszEnd at the latest.
inline const QAL_INT8 *SkipBlanks(const QAL_INT8 *psz, const QAL_INT8 *pszEnd)
{
    while (psz < pszEnd && IsBlank(*psz)) {
        ++psz;
    }
    return psz;
}

/// The last byte up to @p psz that is not white, @p pszBegin at the latest.
inline const QAL_INT8 *TrimWhite(const QAL_INT8 *psz, const QAL_INT8 *pszBegin)
{
    while (psz > pszBegin && IsWhite(*psz)) {
        --psz;
    }
    return psz;
}

/// The terminator of a text, however long that is.
const QAL_INT8 *EndOf(const QAL_INT8 *psz);

/// The length of a text; 0 for null.
inline QAL_UINT64 LengthOf(const QAL_INT8 *psz)
{
    return psz == nullptr ? 0 : static_cast<QAL_UINT64>(EndOf(psz) - psz);
}

/// The last byte of a text that is not empty.
inline const QAL_INT8 *LastByte(const QAL_INT8 *psz)
{
    return EndOf(psz) - 1;
}

/// A stretch of a line, both ends included.
struct Range {
    const QAL_INT8 *pszFirst;
    const QAL_INT8 *pszLast;
};

/// The name between two brackets; the caller knows that at least one byte stands between them.
Range NameBetween(const QAL_INT8 *pszOpen, const QAL_INT8 *pszClose);

/// The key before an `=`; the caller knows that at least one byte stands there.
Range KeyBefore(const QAL_INT8 *pszLine, const QAL_INT8 *pszEqual);

/// The first quotation mark behind @p psz that has no backslash before it, or null.
const QAL_INT8 *NextQuote(const QAL_INT8 *psz);

/// The kind of a line that is not empty. An inline loop, since a search for the `=` of a short key by
/// a call of the adapter costs several times as much.
inline XELP_INI_E_LINE_TYPE TypeOf(const QAL_INT8 *pszLine)
{
    const QAL_INT8 *psz = pszLine;
    while (IsBlank(*psz)) {
        ++psz;
    }
    switch (*psz) {
        case '\0':
            return INI_INVALID_LINE;
        case '\n':
        case '\r':
            return INI_BLANK_LINE;
        case '#':
        case ';':
            return INI_COMENT_LINE;
        case '[':
            return INI_SECTION_LINE;
        default:
            break;
    }
    while (*psz != '=' && *psz != '\0') {
        ++psz;
    }
    return *psz == '=' ? INI_KEYVALUE_LINE : INI_ERROR_LINE;
}

/// What a slot means to whoever walks over it.
enum class Kind {
    kSkipped,  ///< a removed line, a comment, or nothing but white bytes
    kSection,  ///< a section header
    kKey,      ///< a key line
    kUnknown,  ///< none of these: ends the walk
    kNoText,   ///< an empty string, which no line is: ends the walk
};

inline Kind KindOf(const QAL_INT8 *pszLine)
{
    if (pszLine == nullptr) {
        return Kind::kSkipped;
    }
    if (*pszLine == '\0') {
        return Kind::kNoText;
    }
    switch (TypeOf(pszLine)) {
        case INI_SECTION_LINE:
            return Kind::kSection;
        case INI_KEYVALUE_LINE:
            return Kind::kKey;
        case INI_ERROR_LINE:
            return Kind::kUnknown;
        default:
            return Kind::kSkipped;
    }
}

/// The status with which a line of this kind ends a walk; 0 if it does not.
constexpr QAL_UINT32 StatusOf(Kind kind)
{
    switch (kind) {
        case Kind::kUnknown:
            return XELP_ERR_INI_LINE_UNKNOWN;
        case Kind::kNoText:
            return XELP_ERR_INI_INPUT_PARA_ERR;
        default:
            return XELP_ERR_INI_OK;
    }
}

/// The parts of a key line, each a block of its own or null.
struct KeyParts {
    QAL_INT8 *pszName;
    QAL_INT8 *pszValue;
    QAL_INT8 *pszComment;
};

/// Parses a key line; on failure every part is null.
inline QAL_UINT32 ParseKey(QAL_INT8 *pszLine, KeyParts &parts)
{
    return IniParseKeyLine(pszLine, &parts.pszName, &parts.pszValue, &parts.pszComment);
}

void Release(KeyParts &parts);

/// Does a header name this section?
QAL_UINT32 IsHeaderOf(const QAL_INT8 *pszLine, const QAL_INT8 *pszSection, bool &bMatches);

/// A section's lines: the slots behind its header up to and including the last one.
struct Block {
    QAL_UINT32 ulHeader;
    QAL_UINT32 ulLast;
};

/// Finds the last block of a section.
QAL_UINT32 FindSection(const Document &doc, const QAL_INT8 *pszSection, Block &block);

/**
 * Finds the lowest key line of a block with that name.
 *
 * @param[out] ulSlot  its slot
 * @param[out] parts   its parts, the caller's to release
 * @return 0, XELP_ERR_INI_KEY_NOT_FOUND, or the status of a malformed line on the way.
 */
QAL_UINT32 FindKey(const Document &doc, Block block, const QAL_INT8 *pszKey, QAL_UINT32 &ulSlot,
                   KeyParts &parts);

/// An array of null pointers, or null if there is no memory or its size wraps in 32 bits.
QAL_INT8 **AllocateSlots(QAL_UINT64 ullCount, QAL_UINT32 ulLine, const QAL_CHAR *pszFile);

/// A block for a text, or null if there is no memory or its size does not fit in 32 bits.
QAL_INT8 *AllocateText(QAL_UINT64 ullSize, QAL_UINT32 ulLine, const QAL_CHAR *pszFile);

/// Releases a string and clears the pointer to it.
void FreeSetNull(QAL_INT8 *&psz, QAL_UINT32 ulLine, const QAL_CHAR *pszFile);

} // namespace wyx::ini

#endif
