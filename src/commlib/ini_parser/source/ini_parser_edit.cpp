// Edits: lines are built in their canonical form, stored, inserted and removed.
//
// Names and values may point into the document's own lines. So a new line is built before the old
// one is released, and a line that a name points into is released only when the name is no longer
// read.
#include "ini_parser_internal.h"

#include <cstdint>

namespace wyx::ini {
namespace {

constexpr QAL_UINT32 kLineSize = kLongestLine + 1;
// The size of the buffer minus the fixed characters of the longest form. Kept: this leaves no room
// for the terminator, so parts of exactly this total length do not fit if there is a comment, and
// the formatter leaves the line empty (IniSaveKeyToIniStruct.AtTheLimit,
// IniSaveSectionToIniStruct.AtTheLimit).
constexpr QAL_UINT32 kMostSectionText = kLineSize - 5; // "[", "] ;", "\n"
constexpr QAL_UINT32 kMostKeyText = kLineSize - 4;     // "=", " ;", "\n"

/// A line being built; empty if it did not fit.
using LineBuffer = QAL_INT8[kLineSize];

QAL_UINT32 BuildSection(LineBuffer &line, const QAL_INT8 *pszName, const QAL_INT8 *pszComment)
{
    if (LengthOf(pszName) + LengthOf(pszComment) > kMostSectionText || pszName == nullptr) {
        return XELP_ERR_INI_INPUT_PARA_ERR;
    }
    if (pszComment != nullptr) {
        wyx_sprintf_s(line, sizeof line, "[%s] " WYX_INI_COMMENT "%s\n", pszName, pszComment);
    } else {
        wyx_sprintf_s(line, sizeof line, "[%s]\n", pszName);
    }
    return XELP_ERR_INI_OK;
}

QAL_UINT32 BuildKey(LineBuffer &line, const QAL_INT8 *pszName, const QAL_INT8 *pszValue,
                    const QAL_INT8 *pszComment)
{
    if (LengthOf(pszName) + LengthOf(pszValue) + LengthOf(pszComment) > kMostKeyText ||
        pszName == nullptr) {
        return XELP_ERR_INI_INPUT_PARA_ERR;
    }
    const QAL_INT8 *const pszText = pszValue != nullptr ? pszValue : "";
    if (pszComment != nullptr) {
        wyx_sprintf_s(line, sizeof line, "%s=%s " WYX_INI_COMMENT "%s\n", pszName, pszText,
                      pszComment);
    } else {
        wyx_sprintf_s(line, sizeof line, "%s=%s\n", pszName, pszText);
    }
    return XELP_ERR_INI_OK;
}

/// Makes sure that a slot is free for a new line, and that one more stays free, as after a load.
QAL_UINT32 MakeRoom(Document &doc)
{
    return QAL_UINT64{doc.ulLineNum} + 1 >= doc.ulTotalLine ? IniRemallocIniLine(&doc)
                                                            : XELP_ERR_INI_OK;
}

/// Rewrites a key line with another value.
QAL_UINT32 ReplaceValue(Document &doc, QAL_UINT32 ulSlot, const KeyParts &parts,
                        const QAL_INT8 *pszValue)
{
    LineBuffer line;
    const QAL_UINT32 ulStatus = BuildKey(line, parts.pszName, pszValue, parts.pszComment);
    Release(doc.pStrLine[ulSlot]);
    return ulStatus == XELP_ERR_INI_OK ? IniSaveStringToIniStruct(&doc, ulSlot, line) : ulStatus;
}

/// Adds a section at the end of the document, and a key to it unless @p pszKey is null.
QAL_UINT32 AddSection(Document &doc, QAL_INT8 *pszSection, QAL_INT8 *pszKey, QAL_INT8 *pszValue)
{
    const QAL_UINT32 ulStatus = IniInsertSectionToIniStruct(&doc, pszSection);
    if (pszKey == nullptr) {
        return ulStatus;
    }
    // Kept: the key is added even if its header was not
    // (IniSetKeyValue.RefusedHeaderStillAddsKey).
    return IniInsertKeyInIniStruct(&doc, doc.ulLineNum - 1, pszKey, pszValue, nullptr);
}

/// Removes lines from a document. A line that one of the names points into is released only when
/// the remover is destroyed, because the names are read until then.
class Remover {
  public:
    Remover(Document &doc, const QAL_INT8 *pszSection, const QAL_INT8 *pszKey)
        : doc_(doc), pszNames_{pszSection, pszKey}
    {}
    Remover(const Remover &) = delete;
    Remover &operator=(const Remover &) = delete;
    ~Remover()
    {
        for (QAL_INT8 *pszLine : pszHeld_) {
            XELP_MemFreeD(pszLine, __LINE__, __FILE__);
        }
    }

    void Remove(QAL_UINT32 ulSlot)
    {
        QAL_INT8 *&pszLine = doc_.pStrLine[ulSlot];
        const int iName = PointsInto(pszNames_[0], pszLine)   ? 0
                          : PointsInto(pszNames_[1], pszLine) ? 1
                                                              : -1;
        if (iName >= 0) {
            pszHeld_[iName] = pszLine;
            pszLine = nullptr;
        } else {
            Release(pszLine);
        }
        doc_.ulLabel = 1;
        --doc_.ulIniFileNum;
    }

  private:
    static bool PointsInto(const QAL_INT8 *pszName, const QAL_INT8 *pszLine)
    {
        const auto name = reinterpret_cast<std::uintptr_t>(pszName);
        const auto line = reinterpret_cast<std::uintptr_t>(pszLine);
        return name >= line && name <= reinterpret_cast<std::uintptr_t>(EndOf(pszLine));
    }

    Document &doc_;
    const QAL_INT8 *pszNames_[2];
    QAL_INT8 *pszHeld_[2] = {nullptr, nullptr}; // the lines that the names point into
};

/// kFound if a key line names this key, 0 if it names another, or the status of a failed parse.
QAL_UINT32 MatchKeyLine(QAL_INT8 *pszLine, const QAL_INT8 *pszKey)
{
    KeyParts parts{};
    const QAL_UINT32 ulStatus = ParseKey(pszLine, parts);
    if (ulStatus != XELP_ERR_INI_OK) {
        return ulStatus;
    }
    const bool isSame = XELP_StriCmp(parts.pszName, pszKey) == 0;
    ReleaseParts(parts);
    return isSame ? kFound : QAL_UINT32{XELP_ERR_INI_OK};
}

/**
 * Deletes lines of every block of a section.
 *
 * @param pszKey  the key whose lines are deleted; null deletes whole blocks
 */
QAL_UINT32 DeleteLines(Document &doc, const QAL_INT8 *pszSection, const QAL_INT8 *pszKey)
{
    Remover remover(doc, pszSection, pszKey);
    QAL_UINT32 ulResult = XELP_ERR_INI_SECTION_NOT_FOUND;
    bool isInSection = false;
    Walk walk = Down(doc, 0, doc.ulLineNum);
    const QAL_UINT32 ulStatus = ForEachLine(walk, [&](QAL_INT8 *pszLine, Kind kind) {
        QAL_UINT32 ulMatch = XELP_ERR_INI_OK;
        if (kind == Kind::kSection) {
            ulMatch = MatchHeader(pszLine, pszSection);
            isInSection = ulMatch == kFound;
            if (isInSection && ulResult == XELP_ERR_INI_SECTION_NOT_FOUND) {
                ulResult = XELP_ERR_INI_KEY_NOT_FOUND; // until a line is removed
            }
        } else if (kind == Kind::kKey && isInSection && pszKey != nullptr) {
            ulMatch = MatchKeyLine(pszLine, pszKey);
        }
        if (ulMatch != XELP_ERR_INI_OK && ulMatch != kFound) {
            return ulMatch;
        }
        const bool isTheKey = kind == Kind::kKey && ulMatch == kFound;
        if (pszKey == nullptr ? isInSection : isTheKey) {
            remover.Remove(walk.ulSlot);
            ulResult = XELP_ERR_INI_OK;
        }
        return QAL_UINT32{XELP_ERR_INI_OK};
    });
    return ulStatus == XELP_ERR_INI_OK ? ulResult : ulStatus;
}

} // namespace
} // namespace wyx::ini

using namespace wyx::ini;

extern "C" {

QAL_UINT32 XELP_IniSetKeyValue(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine, QAL_INT8 *section,
                               QAL_INT8 *key, QAL_INT8 *buf)
{
    if (!IsReadable(pStructIniLine) || section == nullptr) {
        return XELP_ERR_INI_INPUT_PARA_ERR;
    }
    Block block{};
    QAL_UINT32 ulStatus = FindSection(*pStructIniLine, section, block);
    if (ulStatus == XELP_ERR_INI_SECTION_NOT_FOUND) {
        return AddSection(*pStructIniLine, section, key, buf);
    }
    if (ulStatus != XELP_ERR_INI_OK) {
        return ulStatus;
    }
    if (key == nullptr) {
        return XELP_ERR_INI_INPUT_PARA_ERR;
    }
    QAL_UINT32 ulSlot = 0;
    KeyParts parts{};
    ulStatus = FindKey(*pStructIniLine, block, key, ulSlot, parts);
    if (ulStatus == XELP_ERR_INI_KEY_NOT_FOUND) {
        return IniInsertKeyInIniStruct(pStructIniLine, block.ulLast, key, buf, nullptr);
    }
    if (ulStatus != XELP_ERR_INI_OK) {
        return ulStatus;
    }
    ulStatus = ReplaceValue(*pStructIniLine, ulSlot, parts, buf);
    ReleaseParts(parts);
    return ulStatus;
}

QAL_UINT32 XELP_IniDelSection(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine, const QAL_INT8 *section)
{
    if (!IsReadable(pStructIniLine) || section == nullptr) {
        return XELP_ERR_INI_INPUT_PARA_ERR;
    }
    if (pStructIniLine->ulLineNum == 0) {
        return XELP_ERR_INI_FILE_EMPTY;
    }
    return DeleteLines(*pStructIniLine, section, nullptr);
}

QAL_UINT32 XELP_IniDelKey(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine, const QAL_INT8 *section,
                          const QAL_INT8 *key)
{
    if (!IsReadable(pStructIniLine) || section == nullptr || key == nullptr) {
        return XELP_ERR_INI_INPUT_PARA_ERR;
    }
    if (pStructIniLine->ulLineNum == 0) {
        return XELP_ERR_INI_FILE_EMPTY;
    }
    return DeleteLines(*pStructIniLine, section, key);
}

QAL_UINT32 IniSaveStringToIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                    QAL_UINT32 ulLocation, const QAL_INT8 *strIniLine)
{
    const QAL_UINT64 ullLen = LengthOf(strIniLine);
    if (ullLen == 0) {
        return XELP_ERR_INI_FILE_EMPTY;
    }
    QAL_INT8 *&pszLine = pStructIniLine->pStrLine[ulLocation];
    pszLine = AllocateText(ullLen + 1);
    if (pszLine == nullptr) {
        return XELP_ERR_INI_INTERNAL;
    }
    wyx_strcpy_s(pszLine, ullLen, strIniLine);
    pStructIniLine->ulLabel = 1;
    return XELP_ERR_INI_OK;
}

QAL_UINT32 IniSaveSectionToIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine, QAL_UINT32 i,
                                     QAL_INT8 *strSectionLine, QAL_INT8 *strCommentLine)
{
    LineBuffer line;
    const QAL_UINT32 ulStatus = BuildSection(line, strSectionLine, strCommentLine);
    return ulStatus == XELP_ERR_INI_OK ? IniSaveStringToIniStruct(pStructIniLine, i, line)
                                       : ulStatus;
}

QAL_UINT32 IniSaveKeyToIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine, QAL_UINT32 ulLocation,
                                 QAL_INT8 *strKeyName, QAL_INT8 *strKeyValue,
                                 QAL_INT8 *strCommentLine)
{
    LineBuffer line;
    const QAL_UINT32 ulStatus = BuildKey(line, strKeyName, strKeyValue, strCommentLine);
    return ulStatus == XELP_ERR_INI_OK ? IniSaveStringToIniStruct(pStructIniLine, ulLocation, line)
                                       : ulStatus;
}

QAL_UINT32 IniInsertKeyInIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine, QAL_UINT32 ulLoction,
                                   QAL_INT8 *pKeyNameLine, QAL_INT8 *buf, QAL_INT8 *pCommentLine)
{
    Document &doc = *pStructIniLine;
    const QAL_UINT32 ulStatus = MakeRoom(doc);
    if (ulStatus != XELP_ERR_INI_OK) {
        return ulStatus;
    }
    const QAL_UINT32 ulSlot = ulLoction + 1; // 0xFFFFFFFF wraps to slot 0
    if (doc.pStrLine[ulSlot] != nullptr) {
        for (QAL_UINT32 i = doc.ulLineNum; i > ulSlot; --i) {
            doc.pStrLine[i] = doc.pStrLine[i - 1];
        }
        doc.pStrLine[ulSlot] = nullptr;
        ++doc.ulLineNum;
    } else if (ulSlot == doc.ulLineNum) {
        ++doc.ulLineNum;
    }
    return IniSaveKeyToIniStruct(&doc, ulSlot, pKeyNameLine, buf, pCommentLine);
}

QAL_UINT32 IniInsertSectionToIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine, QAL_INT8 *section)
{
    QAL_UINT32 ulStatus = MakeRoom(*pStructIniLine);
    if (ulStatus == XELP_ERR_INI_OK) {
        ulStatus =
            IniSaveSectionToIniStruct(pStructIniLine, pStructIniLine->ulLineNum, section, nullptr);
    }
    if (ulStatus == XELP_ERR_INI_OK) {
        ++pStructIniLine->ulLineNum;
    }
    return ulStatus;
}

} // extern "C"
