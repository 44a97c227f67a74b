// What the units of the INI module share: the syntax of a line, walks over lines, and the searches
// that lookups and edits have in common.
#ifndef WYX_COMMLIB_INI_PARSER_INTERNAL_H
#define WYX_COMMLIB_INI_PARSER_INTERNAL_H

#include "blocks.h"
#include "bounded.h"
#include "wyx_commlib/ini_parser.h"

namespace wyx::ini {

// ---- The syntax ----

/// Begins a comment, after a space or as the first non-blank byte of a line. A macro, because
/// format strings contain it.
#define WYX_INI_COMMENT ";"
constexpr QAL_INT8 kComment = WYX_INI_COMMENT[0];
constexpr QAL_INT8 kCommentMark[] = " " WYX_INI_COMMENT;
constexpr QAL_INT8 kCommentLine = '#'; // begins a comment only as the first non-blank byte
constexpr QAL_INT8 kOpen = '[';        // a section's name is between these brackets
constexpr QAL_INT8 kClose = ']';
constexpr QAL_INT8 kEqual = '='; // between a key and its value
constexpr QAL_INT8 kQuote = '"';
constexpr QAL_INT8 kSeparator = ','; // between the items of a value
constexpr QAL_INT8 kEscape = '\\';   // joins two lines; a quotation mark after it does not count

constexpr QAL_UINT32 kLongestLine = 511; // its line end included, but not a CR that is added
// A save folds a line of 80 bytes or more: it writes pieces of 78 or 79 bytes, each followed by a
// backslash and an LF, and then the rest.
constexpr QAL_UINT32 kFoldFrom = 80;
constexpr QAL_UINT32 kPiece = 78;

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

// ---- Parts of a line ----

/// The terminator of a text of any length.
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

/// Moves @p psz past blanks, but not past @p pszEnd.
inline const QAL_INT8 *SkipBlanks(const QAL_INT8 *psz, const QAL_INT8 *pszEnd)
{
    while (psz < pszEnd && IsBlank(*psz)) {
        ++psz;
    }
    return psz;
}

/// Moves @p psz back over white bytes, but not past @p pszBegin.
inline const QAL_INT8 *TrimWhite(const QAL_INT8 *psz, const QAL_INT8 *pszBegin)
{
    while (psz > pszBegin && IsWhite(*psz)) {
        --psz;
    }
    return psz;
}

/// A stretch of a line, both ends included.
struct Range {
    const QAL_INT8 *pszFirst;
    const QAL_INT8 *pszLast;
};

/// The bytes from @p pszBegin up to the byte before @p pszEnd, without leading blanks and trailing
/// white bytes. There must be at least one byte. If all are white, one white byte is left.
Range Trimmed(const QAL_INT8 *pszBegin, const QAL_INT8 *pszEnd);

/// The first quotation mark after @p psz that has no backslash before it, or null.
const QAL_INT8 *NextQuote(const QAL_INT8 *psz);

/// The parts of a key line, each in an allocation of its own, or null.
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

void ReleaseParts(KeyParts &parts);

// ---- Walks over lines ----

using Document = XELP_IN_S_INI_FILE_STRUCT;

/// True if a call may read the document. It must have its array, but need not have lines.
inline bool IsReadable(const Document *pDoc)
{
    return pDoc != nullptr && pDoc->pStrLine != nullptr;
}

/// The type of a line that is not empty. The loop is inline, because keys are short and a call to
/// the adapter to find the `=` would cost several times as much.
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
        case kCommentLine:
        case kComment:
            return INI_COMENT_LINE;
        case kOpen:
            return INI_SECTION_LINE;
        default:
            break;
    }
#pragma GCC unroll 4
    while (*psz != kEqual) {
        if (*++psz == '\0') {
            return INI_ERROR_LINE;
        }
    }
    return INI_KEYVALUE_LINE;
}

/// The kind of a line, as far as a walk needs it.
enum class Kind {
    kSkipped, ///< a comment or a blank line
    kSection,
    kKey,
};

/// Classifies a line; a status other than 0 ends the walk.
inline QAL_UINT32 Classify(const QAL_INT8 *pszLine, Kind &kind)
{
    if (*pszLine == '\0') {
        return XELP_ERR_INI_INPUT_PARA_ERR;
    }
    switch (TypeOf(pszLine)) {
        case INI_SECTION_LINE:
            kind = Kind::kSection;
            return XELP_ERR_INI_OK;
        case INI_KEYVALUE_LINE:
            kind = Kind::kKey;
            return XELP_ERR_INI_OK;
        case INI_ERROR_LINE:
            return XELP_ERR_INI_LINE_UNKNOWN;
        default:
            kind = Kind::kSkipped;
            return XELP_ERR_INI_OK;
    }
}

/// A walk over slots: ulSlot is its position, and ulEnd is the first slot that it does not visit.
/// On a walk up, ulStep is 2^32 - 1, which acts as -1.
struct Walk {
    const Document &doc;
    QAL_UINT32 ulSlot;
    QAL_UINT32 ulEnd;
    QAL_UINT32 ulStep;
};

inline Walk Down(const Document &doc, QAL_UINT32 ulStart, QAL_UINT32 ulEnd)
{
    return {doc, ulStart, ulEnd, 1};
}

inline Walk Up(const Document &doc, QAL_UINT32 ulStart, QAL_UINT32 ulEnd)
{
    return {doc, ulStart, ulEnd, 0U - 1U};
}

/// What a visit returns to report a match and end the walk. It is not a status.
constexpr QAL_UINT32 kFound = 1;

/**
 * Calls @p visit with each line of a walk and the line's kind. Empty slots are skipped.
 *
 * @return 0 at the end of the walk, otherwise what ended it: a status of Classify(), or what a
 *         visit returned.
 */
template <typename Visit>
QAL_UINT32 ForEachLine(Walk &walk, const Visit &visit)
{
    for (; walk.ulSlot != walk.ulEnd; walk.ulSlot += walk.ulStep) {
        QAL_INT8 *const pszLine = walk.doc.pStrLine[walk.ulSlot];
        if (pszLine == nullptr) {
            continue;
        }
        Kind kind = Kind::kSkipped;
        QAL_UINT32 ulStatus = Classify(pszLine, kind);
        if (ulStatus == XELP_ERR_INI_OK) {
            ulStatus = visit(pszLine, kind);
        }
        if (ulStatus != XELP_ERR_INI_OK) {
            return ulStatus;
        }
    }
    return XELP_ERR_INI_OK;
}

/// kFound if a header names this section, 0 if it names another, or the status of a failed parse.
QAL_UINT32 MatchHeader(const QAL_INT8 *pszLine, const QAL_INT8 *pszSection);

/// One block of a section: the slot of its header, and its last slot, which may be empty.
struct Block {
    QAL_UINT32 ulHeader;
    QAL_UINT32 ulLast;
};

/// Finds the last block of a section.
QAL_UINT32 FindSection(const Document &doc, const QAL_INT8 *pszSection, Block &block);

/**
 * Finds the last line of a key in a block.
 *
 * @param[out] ulSlot  its slot
 * @param[out] parts   its parts, which the caller releases
 * @return 0, XELP_ERR_INI_KEY_NOT_FOUND, or the status that ended the search.
 */
QAL_UINT32 FindKey(const Document &doc, Block block, const QAL_INT8 *pszKey, QAL_UINT32 &ulSlot,
                   KeyParts &parts);

// ---- Memory ----

/// Memory for a text, or null if there is none or the size does not fit in 32 bits.
inline QAL_INT8 *AllocateText(QAL_UINT64 ullSize, QAL_UINT32 ulLine = __builtin_LINE(),
                              const QAL_CHAR *pszFile = __builtin_FILE())
{
    return ullSize > kMaxBlockSize ? nullptr
                                   : static_cast<QAL_INT8 *>(XELP_MemMallocD(
                                         static_cast<QAL_UINT32>(ullSize), ulLine, pszFile));
}

/// An array of null pointers, or null if there is no memory or its size does not fit in 32 bits.
QAL_INT8 **AllocateSlots(QAL_UINT64 ullCount, QAL_UINT32 ulLine = __builtin_LINE(),
                         const QAL_CHAR *pszFile = __builtin_FILE());

} // namespace wyx::ini

#endif
