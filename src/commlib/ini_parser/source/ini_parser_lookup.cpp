// Lookups, and the two searches they share with the edits.
//
// There is no index: every call walks the lines and parses those it needs afresh. Sections are
// searched from the end of the document, and a key from the end of its block, so the last one
// counts.
#include "ini_parser_internal.h"

#include "os_adapter.h"

namespace wyx::ini {

void Release(KeyParts &parts)
{
    FreeSetNull(parts.pszName, __LINE__, __FILE__);
    FreeSetNull(parts.pszValue, __LINE__, __FILE__);
    FreeSetNull(parts.pszComment, __LINE__, __FILE__);
}

QAL_UINT32 IsHeaderOf(const QAL_INT8 *pszLine, const QAL_INT8 *pszSection, bool &bMatches)
{
    QAL_INT8 *pszName = nullptr;
    QAL_INT8 *pszComment = nullptr;
    const QAL_UINT32 ulStatus = IniParseSectionLine(pszLine, &pszName, &pszComment);
    if (ulStatus != XELP_ERR_INI_OK) {
        return ulStatus;
    }
    bMatches = XELP_StriCmp(pszName, pszSection) == 0;
    XELP_MemFreeD(pszName, __LINE__, __FILE__);
    if (pszComment != nullptr) {
        XELP_MemFreeD(pszComment, __LINE__, __FILE__);
    }
    return XELP_ERR_INI_OK;
}

QAL_UINT32 FindSection(const Document &doc, const QAL_INT8 *pszSection, Block &block)
{
    block.ulLast = doc.ulLineNum - 1;
    for (QAL_UINT32 i = doc.ulLineNum; i-- > 0;) {
        const Kind kind = KindOf(doc.pStrLine[i]);
        QAL_UINT32 ulStatus = StatusOf(kind);
        bool bMatches = false;
        if (kind == Kind::kSection) {
            ulStatus = IsHeaderOf(doc.pStrLine[i], pszSection, bMatches);
        }
        if (ulStatus != XELP_ERR_INI_OK) {
            return ulStatus;
        }
        if (bMatches) {
            block.ulHeader = i;
            return XELP_ERR_INI_OK;
        }
        if (kind == Kind::kSection) {
            block.ulLast = i - 1; // wraps where no slot is left, and the walk ends
        }
    }
    return XELP_ERR_INI_SECTION_NOT_FOUND;
}

QAL_UINT32 FindKey(const Document &doc, Block block, const QAL_INT8 *pszKey, QAL_UINT32 &ulSlot,
                   KeyParts &parts)
{
    // The search for the section has walked over these lines: none of them ends a walk.
    for (QAL_UINT32 i = block.ulLast; i > block.ulHeader; --i) {
        if (KindOf(doc.pStrLine[i]) != Kind::kKey) {
            continue;
        }
        const QAL_UINT32 ulStatus = ParseKey(doc.pStrLine[i], parts);
        if (ulStatus != XELP_ERR_INI_OK) {
            return ulStatus;
        }
        if (XELP_StriCmp(parts.pszName, pszKey) == 0) {
            ulSlot = i;
            return XELP_ERR_INI_OK;
        }
        Release(parts);
    }
    return XELP_ERR_INI_KEY_NOT_FOUND;
}

} // namespace wyx::ini

namespace {

using wyx::ini::Block;
using wyx::ini::Document;
using wyx::ini::KeyParts;
using wyx::ini::Kind;

bool IsReadable(const Document *pDoc)
{
    return pDoc != nullptr && pDoc->pStrLine != nullptr;
}

/// Collects the names of all sections in a list with room for one name a line.
QAL_UINT32 CollectSections(const Document &doc, QAL_UINT32 &ulNum, QAL_INT8 **ppszNames)
{
    for (QAL_UINT32 i = 0; i < doc.ulLineNum; ++i) {
        const Kind kind = wyx::ini::KindOf(doc.pStrLine[i]);
        QAL_UINT32 ulStatus = wyx::ini::StatusOf(kind);
        if (kind == Kind::kSection) {
            QAL_INT8 *pszComment = nullptr;
            ulStatus = IniParseSectionLine(doc.pStrLine[i], &ppszNames[ulNum], &pszComment);
            XELP_MemFreeD(pszComment, __LINE__, __FILE__);
            ulNum += ulStatus == XELP_ERR_INI_OK ? 1 : 0;
        }
        if (ulStatus != XELP_ERR_INI_OK) {
            return ulStatus;
        }
    }
    return ulNum > 0 ? XELP_ERR_INI_OK : XELP_ERR_INI_SECTION_NOT_FOUND;
}

/// Collects the names of all keys of a section's last block in a list with room for one name a
/// line.
QAL_UINT32 CollectKeys(const Document &doc, const QAL_INT8 *pszSection, QAL_UINT32 &ulNum,
                       QAL_INT8 **ppszNames)
{
    Block block{};
    QAL_UINT32 ulStatus = wyx::ini::FindSection(doc, pszSection, block);
    if (ulStatus != XELP_ERR_INI_OK) {
        return ulStatus;
    }
    for (QAL_UINT32 i = block.ulHeader + 1; i <= block.ulLast; ++i) {
        if (wyx::ini::KindOf(doc.pStrLine[i]) != Kind::kKey) {
            continue;
        }
        KeyParts parts{};
        ulStatus =
            IniParseKeyLine(doc.pStrLine[i], &ppszNames[ulNum], &parts.pszValue, &parts.pszComment);
        if (ulStatus != XELP_ERR_INI_OK) {
            return ulStatus;
        }
        ++ulNum;
        XELP_MemFreeD(parts.pszValue, __LINE__, __FILE__);
        XELP_MemFreeD(parts.pszComment, __LINE__, __FILE__);
    }
    return ulNum > 0 ? XELP_ERR_INI_OK : XELP_ERR_INI_KEY_NOT_FOUND;
}

} // namespace

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
    QAL_UINT32 ulStatus = wyx::ini::FindSection(*pStructIniLine, section, block);
    if (ulStatus != XELP_ERR_INI_OK) {
        return ulStatus;
    }
    QAL_UINT32 ulSlot = 0;
    KeyParts parts{};
    ulStatus = wyx::ini::FindKey(*pStructIniLine, block, key, ulSlot, parts);
    *buf = parts.pszValue;
    parts.pszValue = nullptr;
    wyx::ini::Release(parts);
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
    *sectionList =
        wyx::ini::AllocateSlots(QAL_UINT64{pStructIniLine->ulLineNum} + 1, __LINE__, __FILE__);
    if (*sectionList == nullptr) {
        return XELP_ERR_INI_INTERNAL;
    }
    const QAL_UINT32 ulStatus = CollectSections(*pStructIniLine, *sectionNum, *sectionList);
    if (ulStatus != XELP_ERR_INI_OK) {
        // Kept: the caller's pointer and count stay as they are
        // (IniGetSectionList.FailureKeepsOut).
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
    *keyList =
        wyx::ini::AllocateSlots(QAL_UINT64{pStructIniLine->ulLineNum} + 1, __LINE__, __FILE__);
    if (*keyList == nullptr) {
        return XELP_ERR_INI_INTERNAL;
    }
    const QAL_UINT32 ulStatus = CollectKeys(*pStructIniLine, section, *keyNum, *keyList);
    if (ulStatus != XELP_ERR_INI_OK) {
        // Kept: the caller's pointer and count stay as they are (IniGetKeyList.FailureKeepsOut).
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
