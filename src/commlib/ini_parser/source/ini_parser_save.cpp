// Saving: the lines go to a new file, which then takes the target's place.
#include "ini_parser_internal.h"

namespace wyx::ini {
namespace {

constexpr QAL_UINT64 kLongestSaved = 0xFFFFFFFF; // a longer line is refused, not cut
constexpr QAL_INT8 kContinuation[] = {kEscape, '\n'};

constexpr QAL_INT8 kNewFileEnding[] = ".ibk";
constexpr QAL_UINT32 kTimeSize = 22; // 20 digits of a 64-bit number, the terminator, one to spare
// Kept: room for the ending, 10 digits and the terminator. Today's time has 13 digits, so the name
// fits only if cutting the target at its last dot removes at least three bytes
// (IniSaveFileContent.NameWithoutDotFails).
constexpr QAL_UINT32 kNameRoom = 15;

/// 1 if the last byte begins a two-byte character, 0 otherwise. It begins one if the run of
/// high-bit bytes that ends with it has an odd length.
QAL_UINT32 OpensCharacter(const QAL_INT8 *psz, QAL_UINT32 ulLen)
{
    QAL_UINT32 ulOdd = 0;
    for (QAL_UINT32 i = 0; i < ulLen; ++i) {
        const bool isHighBit = (static_cast<QAL_UINT8>(psz[i]) & 0x80U) != 0;
        ulOdd = isHighBit ? ulOdd ^ 1U : 0;
    }
    return ulOdd;
}

QAL_UINT32 Write(XELP_S_File *pstruFile, const QAL_INT8 *psz, QAL_UINT32 ulLen)
{
    return XELP_Fwrite(psz, 1, ulLen, pstruFile) == ulLen ? XELP_ERR_INI_OK
                                                          : XELP_ERR_INI_WRITE_FILE;
}

/// The name of the new file, which the caller releases; null if there is no memory for it.
QAL_INT8 *NewFileName(const QAL_INT8 *pszTarget, QAL_UINT64 ullTargetLen)
{
    const QAL_UINT64 ullSize = ullTargetLen + kNameRoom;
    QAL_INT8 *const pszName = AllocateText(ullSize);
    if (pszName == nullptr) {
        return nullptr;
    }
    wyx_strcpy_s(pszName, ullSize - 1, pszTarget);
    // Kept: the last dot is searched for in the whole path, directories included
    // (IniSaveFileContent.DotInDirectoryCutsThere).
    QAL_INT8 *const pszDot = XELP_StrrChr(pszName, '.');
    if (pszDot != nullptr) {
        *pszDot = '\0';
    }
    const QAL_UINT64 ullTime = XELP_GetSystemTime();
    QAL_INT8 szTime[kTimeSize];
    wyx_sprintf_s(szTime, sizeof szTime, "%llu", ullTime);
    wyx_strcat_s(pszName, ullSize, szTime);
    wyx_strcat_s(pszName, ullSize, kNewFileEnding);
    return pszName;
}

bool Exists(const QAL_INT8 *pszName)
{
    XELP_S_File *const pstruFile = XELP_Fopen(pszName, "r");
    if (pstruFile != nullptr) {
        XELP_Fclose(pstruFile);
    }
    return pstruFile != nullptr;
}

/// Writes the lines to a new file, and removes it if a write fails.
QAL_UINT32 WriteNewFile(const QAL_INT8 *pszName, const Document &doc)
{
    if (Exists(pszName)) {
        return XELP_ERR_INI_WRITE_FILE;
    }
    XELP_S_File *const pstruFile = XELP_Fopen(pszName, "w");
    if (pstruFile == nullptr) {
        return XELP_ERR_INI_CREATE_FILE;
    }
    QAL_UINT32 ulStatus = XELP_ERR_INI_OK;
    for (QAL_UINT32 i = 0; i < doc.ulLineNum && ulStatus == XELP_ERR_INI_OK; ++i) {
        if (doc.pStrLine[i] != nullptr) {
            ulStatus = IniSaveStringToIniFile(pstruFile, doc.pStrLine[i]);
        }
    }
    XELP_Fclose(pstruFile);
    if (ulStatus != XELP_ERR_INI_OK) {
        XELP_Remove(pszName);
    }
    return ulStatus;
}

/// Puts the new file in the target's place. If that fails, the new file stays, because nothing else
/// will hold the content.
QAL_UINT32 ReplaceTarget(const QAL_INT8 *pszTarget, const QAL_INT8 *pszNewFile)
{
    if (XELP_Remove(pszTarget) != 0 || XELP_Rename(pszNewFile, pszTarget) != 0) {
        return XELP_ERR_INI_CREATE_FILE;
    }
    XELP_Remove(pszNewFile); // already gone, unless the adapter renames by copying
    return XELP_ERR_INI_OK;
}

QAL_UINT32 Save(const QAL_INT8 *pszTarget, const Document &doc)
{
    const QAL_UINT64 ullTargetLen = LengthOf(pszTarget);
    if (ullTargetLen == 0) {
        return XELP_ERR_INI_FILE_EMPTY;
    }
    QAL_INT8 *const pszNewFile = NewFileName(pszTarget, ullTargetLen);
    if (pszNewFile == nullptr) {
        return XELP_ERR_INI_INTERNAL;
    }
    QAL_UINT32 ulStatus = WriteNewFile(pszNewFile, doc);
    if (ulStatus == XELP_ERR_INI_OK) {
        ulStatus = ReplaceTarget(pszTarget, pszNewFile);
    }
    XELP_MemFreeD(pszNewFile, __LINE__, __FILE__);
    return ulStatus;
}

} // namespace
} // namespace wyx::ini

using namespace wyx::ini;

extern "C" {

QAL_UINT32 IniSaveStringToIniFile(XELP_S_File *pTmpFilePtr, QAL_INT8 *strIniLine)
{
    const QAL_INT8 *psz = strIniLine;
    const QAL_UINT64 ullLen = LengthOf(strIniLine);
    if (ullLen > kLongestSaved) {
        return XELP_ERR_INI_WRITE_FILE;
    }
    auto ulRemainLen = static_cast<QAL_UINT32>(ullLen);
    while (ulRemainLen >= kFoldFrom) {
        const QAL_UINT32 ulPiece = kPiece + OpensCharacter(psz, kPiece);
        if (Write(pTmpFilePtr, psz, ulPiece) != XELP_ERR_INI_OK) {
            return XELP_ERR_INI_WRITE_FILE;
        }
        ulRemainLen -= ulPiece;
        psz += ulPiece;
        if (Write(pTmpFilePtr, kContinuation, sizeof kContinuation) != XELP_ERR_INI_OK) {
            return XELP_ERR_INI_WRITE_FILE;
        }
    }
    return ulRemainLen == 0 ? XELP_ERR_INI_OK : Write(pTmpFilePtr, psz, ulRemainLen);
}

QAL_UINT32 XELP_IniSaveFileContent(const QAL_INT8 *filename,
                                   XELP_IN_S_INI_FILE_STRUCT *pStructIniLine)
{
    const QAL_UINT32 ulStatus =
        pStructIniLine->ulLabel == 1 ? Save(filename, *pStructIniLine) : XELP_ERR_INI_OK;
    XELP_IniFreeIniStruct(pStructIniLine);
    return ulStatus;
}

} // extern "C"
