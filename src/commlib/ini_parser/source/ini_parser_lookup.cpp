// Lookups, and the two searches they share with the edits.
//
// There is no index: every call walks the lines and parses the ones it needs. Searches go from the
// end of the document up to the section, and from the end of its block up to the key, because the
// last of several sections or keys with the same name counts.
#include "ini_parser_internal.h"

namespace wyx::ini {

QAL_UINT32 FindSection(const Document &doc, const QAL_INT8 *pszSection, Block &block)
{
    block.ulLast = doc.ulLineNum - 1;
    Walk walk = Up(doc, doc.ulLineNum - 1, 0U - 1U);
    const QAL_UINT32 ulStatus = ForEachLine(walk, [&](QAL_INT8 *pszLine, Kind kind) {
        if (kind != Kind::kSection) {
            return QAL_UINT32{XELP_ERR_INI_OK};
        }
        const QAL_UINT32 ulMatch = MatchHeader(pszLine, pszSection);
        if (ulMatch == kFound) {
            block.ulHeader = walk.ulSlot;
        } else {
            block.ulLast = walk.ulSlot - 1; // wraps at slot 0, where the walk ends
        }
        return ulMatch;
    });
    if (ulStatus == XELP_ERR_INI_OK) {
        return XELP_ERR_INI_SECTION_NOT_FOUND;
    }
    return ulStatus == kFound ? QAL_UINT32{XELP_ERR_INI_OK} : ulStatus;
}

QAL_UINT32 FindKey(const Document &doc, Block block, const QAL_INT8 *pszKey, QAL_UINT32 &ulSlot,
                   KeyParts &parts)
{
    Walk walk = Up(doc, block.ulLast, block.ulHeader);
    const QAL_UINT32 ulStatus = ForEachLine(walk, [&](QAL_INT8 *pszLine, Kind kind) -> QAL_UINT32 {
        if (kind != Kind::kKey) {
            return XELP_ERR_INI_OK;
        }
        const QAL_UINT32 ulParsed = ParseKey(pszLine, parts);
        if (ulParsed != XELP_ERR_INI_OK) {
            return ulParsed;
        }
        if (XELP_StriCmp(parts.pszName, pszKey) == 0) {
            return kFound;
        }
        ReleaseParts(parts);
        return XELP_ERR_INI_OK;
    });
    ulSlot = walk.ulSlot;
    if (ulStatus == XELP_ERR_INI_OK) {
        return XELP_ERR_INI_KEY_NOT_FOUND;
    }
    return ulStatus == kFound ? QAL_UINT32{XELP_ERR_INI_OK} : ulStatus;
}

namespace {

/// Collects the names of all sections into a list with room for one name per line.
QAL_UINT32 CollectSections(const Document &doc, QAL_UINT32 &ulNum, QAL_INT8 **ppszNames)
{
    Walk walk = Down(doc, 0, doc.ulLineNum);
    const QAL_UINT32 ulStatus = ForEachLine(walk, [&](QAL_INT8 *pszLine, Kind kind) -> QAL_UINT32 {
        if (kind != Kind::kSection) {
            return XELP_ERR_INI_OK;
        }
        QAL_INT8 *pszComment = nullptr;
        const QAL_UINT32 ulParsed = IniParseSectionLine(pszLine, &ppszNames[ulNum], &pszComment);
        XELP_MemFreeD(pszComment, __LINE__, __FILE__);
        ulNum += ulParsed == XELP_ERR_INI_OK ? 1 : 0;
        return ulParsed;
    });
    return ulStatus == XELP_ERR_INI_OK && ulNum == 0 ? QAL_UINT32{XELP_ERR_INI_SECTION_NOT_FOUND}
                                                     : ulStatus;
}

/// Collects the names of all keys of a section's last block into a list with room for one name per
/// line.
QAL_UINT32 CollectKeys(const Document &doc, const QAL_INT8 *pszSection, QAL_UINT32 &ulNum,
                       QAL_INT8 **ppszNames)
{
    Block block{};
    QAL_UINT32 ulStatus = FindSection(doc, pszSection, block);
    if (ulStatus != XELP_ERR_INI_OK) {
        return ulStatus;
    }
    Walk walk = Down(doc, block.ulHeader + 1, block.ulLast + 1);
    ulStatus = ForEachLine(walk, [&](QAL_INT8 *pszLine, Kind kind) -> QAL_UINT32 {
        if (kind != Kind::kKey) {
            return XELP_ERR_INI_OK;
        }
        KeyParts parts{};
        const QAL_UINT32 ulParsed = ParseKey(pszLine, parts);
        if (ulParsed == XELP_ERR_INI_OK) {
            ppszNames[ulNum++] = parts.pszName;
            XELP_MemFreeD(parts.pszValue, __LINE__, __FILE__);
            XELP_MemFreeD(parts.pszComment, __LINE__, __FILE__);
        }
        return ulParsed;
    });
    return ulStatus == XELP_ERR_INI_OK && ulNum == 0 ? QAL_UINT32{XELP_ERR_INI_KEY_NOT_FOUND}
                                                     : ulStatus;
}

} // namespace
} // namespace wyx::ini

using namespace wyx::ini;

extern "C" {

QAL_UINT32 XELP_IniGetKeyValue(const XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                               const QAL_INT8 *section, const QAL_INT8 *key, QAL_INT8 **buf)
{
    if (!IsReadable(pStructIniLine) || buf == nullptr || section == nullptr || key == nullptr) {
        return XELP_ERR_INI_INPUT_PARA_ERR;
    }
    if (pStructIniLine->ulLineNum == 0) {
        return XELP_ERR_INI_FILE_EMPTY;
    }
    *buf = nullptr;
    Block block{};
    QAL_UINT32 ulStatus = FindSection(*pStructIniLine, section, block);
    if (ulStatus != XELP_ERR_INI_OK) {
        return ulStatus;
    }
    QAL_UINT32 ulSlot = 0;
    KeyParts parts{};
    ulStatus = FindKey(*pStructIniLine, block, key, ulSlot, parts);
    *buf = parts.pszValue;
    parts.pszValue = nullptr;
    ReleaseParts(parts);
    return ulStatus;
}

QAL_UINT32 XELP_IniGetSectionList(const XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                  QAL_UINT32 *sectionNum, QAL_INT8 ***sectionList)
{
    if (!IsReadable(pStructIniLine) || sectionNum == nullptr || sectionList == nullptr) {
        return XELP_ERR_INI_INPUT_PARA_ERR;
    }
    if (pStructIniLine->ulLineNum == 0) {
        return XELP_ERR_INI_FILE_EMPTY;
    }
    *sectionNum = 0;
    *sectionList = AllocateSlots(QAL_UINT64{pStructIniLine->ulLineNum} + 1);
    if (*sectionList == nullptr) {
        return XELP_ERR_INI_INTERNAL;
    }
    const QAL_UINT32 ulStatus = CollectSections(*pStructIniLine, *sectionNum, *sectionList);
    if (ulStatus != XELP_ERR_INI_OK) {
        // Kept: the caller is left with the count so far and a dangling pointer
        // (IniGetSectionList.FailureLeavesTheListPointerDangling).
        XELP_IniFreeList(*sectionList);
    }
    return ulStatus;
}

QAL_UINT32 XELP_IniGetKeyList(const XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                              const QAL_INT8 *section, QAL_UINT32 *keyNum, QAL_INT8 ***keyList)
{
    if (!IsReadable(pStructIniLine) || keyNum == nullptr || keyList == nullptr ||
        section == nullptr) {
        return XELP_ERR_INI_INPUT_PARA_ERR;
    }
    if (pStructIniLine->ulLineNum == 0) {
        return XELP_ERR_INI_FILE_EMPTY;
    }
    *keyNum = 0;
    *keyList = AllocateSlots(QAL_UINT64{pStructIniLine->ulLineNum} + 1);
    if (*keyList == nullptr) {
        return XELP_ERR_INI_INTERNAL;
    }
    const QAL_UINT32 ulStatus = CollectKeys(*pStructIniLine, section, *keyNum, *keyList);
    if (ulStatus != XELP_ERR_INI_OK) {
        // Kept: the caller is left with the count so far and a dangling pointer
        // (IniGetKeyList.FailureLeavesTheListPointerDangling).
        XELP_IniFreeList(*keyList);
    }
    return ulStatus;
}

void XELP_IniFreeList(QAL_INT8 **strList)
{
    if (strList == nullptr) {
        return;
    }
    for (QAL_INT8 **ppszName = strList; *ppszName != nullptr; ++ppszName) {
        XELP_MemFreeD(*ppszName, __LINE__, __FILE__);
    }
    XELP_MemFreeD(strList, __LINE__, __FILE__);
}

} // extern "C"
