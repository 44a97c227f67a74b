// Loading and releasing a document.
//
// The reader cuts a file into lines one byte at a time. Whether a lone LF or CR ended a line is
// known only from the byte behind it, which is then given back to the file.
#include "ini_parser_internal.h"

#include "bounded.h"
#include "os_adapter.h"

namespace wyx::ini {

constexpr QAL_UINT64 kMaxBlockSize = 0xFFFFFFFF; // what can be asked for

QAL_INT8 **AllocateSlots(QAL_UINT64 ullCount, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    // Kept: a size that wraps in 32 bits is requested all the same
    // (IniGetSectionList.TooManyLinesForAListIs80, IniRemallocIniLine.WrappedSizeIsRequested).
    const QAL_UINT64 ullSize = ullCount * sizeof(QAL_INT8 *);
    void *const pBlock = XELP_MemMallocD(static_cast<QAL_UINT32>(ullSize), ulLine, pszFile);
    if (pBlock == nullptr) {
        return nullptr;
    }
    if (ullSize > kMaxBlockSize) {
        XELP_MemFreeD(pBlock, ulLine, pszFile);
        return nullptr;
    }
    wyx_memset_s(pBlock, ullSize, 0, ullSize);
    return static_cast<QAL_INT8 **>(pBlock);
}

QAL_INT8 *AllocateText(QAL_UINT64 ullSize, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    return ullSize > kMaxBlockSize ? nullptr
                                   : static_cast<QAL_INT8 *>(XELP_MemMallocD(
                                         static_cast<QAL_UINT32>(ullSize), ulLine, pszFile));
}

void FreeSetNull(QAL_INT8 *&psz, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    void *pBlock = psz;
    XELP_MemFreeSetNullD(&pBlock, ulLine, pszFile);
    psz = static_cast<QAL_INT8 *>(pBlock);
}

} // namespace wyx::ini

namespace {

constexpr QAL_UINT32 kFirstSlots = 200;
constexpr QAL_UINT32 kMoreSlots = 50;

constexpr QAL_UINT32 kMostBytes = 511; // of a line, its line end included
// One byte can add two to a full line (a backslash that turns out to be text, and itself), and the
// text is terminated by the fill.
constexpr QAL_UINT32 kBufferSize = kMostBytes + 2 + 1;

enum ByteClass : QAL_UINT8 { kBackslash, kLf, kCr, kOther, kEnd };

ByteClass ClassOf(QAL_INT32 lByte)
{
    switch (lByte) {
        case '\\':
            return kBackslash;
        case '\n':
            return kLf;
        case '\r':
            return kCr;
        case -1:
            return kEnd;
        default:
            return kOther;
    }
}

/// Bytes of the class kOther, but for some control characters: the test of nearly every byte.
constexpr bool IsPlain(QAL_INT32 lByte)
{
    return lByte > '\r' && lByte != '\\';
}

/// What the bytes before leave open.
enum State : QAL_UINT8 {
    kText,     // nothing
    kAfterLf,  // an LF: alone, or the first half of LF CR?
    kAfterCr,  // a CR: alone, or the first half of CR LF?
    kEscape,   // a backslash: text, or does a line end follow?
    kEscapeLf, // a backslash and an LF: is the line end complete?
    kEscapeCr, // a backslash and a CR: is the line end complete?
};

/// What is done with a byte; several may hold.
enum Act : QAL_UINT8 {
    kDrop = 0,       // not part of the text
    kStore = 1,      // the byte is part of the text
    kStoreSlash = 2, // so was the backslash before it
    kJoin = 4,       // the next physical line belongs to this one
    kDone = 8,       // the line ends here
    kGiveBack = 16,  // the byte belongs to the next line
};

struct Cell {
    QAL_UINT8 ucActs;
    State next;
};

// A line ends at CR LF, LF CR, or a lone LF or CR; a backslash before any of these joins two lines.
// Kept: behind a lone LF or CR, a backslash joins the line it begins to the one that had already
// ended (IniReader.BackslashAfterLoneLineEndJoins).
constexpr Cell kCells[5][6] = {
    /* kBackslash */ {
        /* kText     */ {kDrop, kEscape},
        /* kAfterLf  */ {kDrop, kEscape},
        /* kAfterCr  */ {kDrop, kEscape},
        /* kEscape   */ {kStoreSlash | kStore, kText},
        /* kEscapeLf */ {kJoin, kEscape},
        /* kEscapeCr */ {kJoin, kEscape},
    },
    /* kLf */
    {
        /* kText     */ {kStore, kAfterLf},
        /* kAfterLf  */ {kGiveBack | kDone, kText},
        /* kAfterCr  */ {kStore | kDone, kText},
        /* kEscape   */ {kDrop, kEscapeLf},
        /* kEscapeLf */ {kJoin | kStore | kDone, kText},
        /* kEscapeCr */ {kJoin, kText},
    },
    /* kCr */
    {
        /* kText     */ {kStore, kAfterCr},
        /* kAfterLf  */ {kStore | kDone, kText},
        /* kAfterCr  */ {kGiveBack | kDone, kText},
        /* kEscape   */ {kDrop, kEscapeCr},
        /* kEscapeLf */ {kJoin, kText},
        /* kEscapeCr */ {kJoin | kStore | kDone, kText},
    },
    /* kOther */
    {
        /* kText     */ {kStore, kText},
        /* kAfterLf  */ {kGiveBack | kDone, kText},
        /* kAfterCr  */ {kGiveBack | kDone, kText},
        /* kEscape   */ {kStoreSlash | kStore, kText},
        /* kEscapeLf */ {kJoin | kStore, kText},
        /* kEscapeCr */ {kJoin | kStore, kText},
    },
    /* kEnd */
    {
        /* kText     */ {kDone, kText},
        /* kAfterLf  */ {kDone, kText},
        /* kAfterCr  */ {kDone, kText},
        /* kEscape   */ {kDone, kText},
        /* kEscapeLf */ {kDone, kText},
        /* kEscapeCr */ {kDone, kText},
    },
};

/**
 * Reads the bytes of one line.
 *
 * @param[out] pszText  kBufferSize zero bytes; the text, not necessarily complete on failure
 * @param[out] ulLines  number of physical lines
 */
QAL_UINT32 ReadText(XELP_S_File *pstruFile, QAL_INT8 *pszText, QAL_UINT32 &ulLines)
{
    QAL_UINT32 ulUsed = 0;
    State state = kText;
    ulLines = 1;
    for (;;) {
        QAL_INT32 lByte = XELP_Fgetc(pstruFile);
        if (state == kText) { // so it is for nearly every byte
            while (IsPlain(lByte) && ulUsed < kMostBytes) {
                pszText[ulUsed++] = static_cast<QAL_INT8>(lByte);
                lByte = XELP_Fgetc(pstruFile);
            }
        }
        const ByteClass byteClass = ClassOf(lByte);
        const auto [ucActs, next] = kCells[byteClass][state];
        if ((ucActs & kStoreSlash) != 0) {
            pszText[ulUsed++] = '\\';
        }
        if ((ucActs & kStore) != 0) {
            pszText[ulUsed++] = static_cast<QAL_INT8>(lByte);
        }
        if ((ucActs & kJoin) != 0) {
            ++ulLines;
        }
        if (ulUsed > kMostBytes) {
            return XELP_ERR_INI_LINE_TOO_LONG;
        }
        if ((ucActs & kGiveBack) != 0 && XELP_Fseek(pstruFile, -1, 1) != 0) {
            return XELP_ERR_INI_INTERNAL;
        }
        if ((ucActs & kDone) != 0) {
            return XELP_ERR_INI_OK;
        }
        state = next;
    }
}

/// Reads all lines of a file behind those of the document.
QAL_UINT32 ReadLines(XELP_S_File *pstruFile, XELP_IN_S_INI_FILE_STRUCT &doc)
{
    for (;;) {
        QAL_UINT32 ulBytes = 0;
        QAL_UINT32 ulLines = 0;
        QAL_UINT32 ulStatus =
            IniGetOneLine(&doc.pStrLine[doc.ulLineNum], pstruFile, &ulBytes, &ulLines);
        if (ulStatus != XELP_ERR_INI_OK) {
            return ulStatus;
        }
        doc.ulIniFileNum += ulLines;
        ++doc.ulLineNum;
        if (doc.ulLineNum + 1 >= doc.ulTotalLine) {
            ulStatus = IniRemallocIniLine(&doc);
            if (ulStatus != XELP_ERR_INI_OK) {
                return ulStatus;
            }
        }
    }
}

} // namespace

extern "C" {

QAL_UINT32 XELP_IniGetFileContent(const QAL_INT8 *filename,
                                  XELP_IN_S_INI_FILE_STRUCT *pStructIniLine)
{
    if (filename == nullptr || pStructIniLine == nullptr) {
        return XELP_ERR_INI_INPUT_PARA_ERR;
    }
    *pStructIniLine = {};
    XELP_S_File *const pstruFile = XELP_Fopen(filename, "r");
    if (pstruFile == nullptr) {
        return XELP_ERR_INI_OPEN_FILE;
    }
    QAL_UINT32 ulStatus = XELP_ERR_INI_INTERNAL;
    pStructIniLine->pStrLine = wyx::ini::AllocateSlots(kFirstSlots, __LINE__, __FILE__);
    if (pStructIniLine->pStrLine != nullptr) {
        pStructIniLine->ulTotalLine = kFirstSlots;
        ulStatus = ReadLines(pstruFile, *pStructIniLine);
        if (ulStatus == XELP_ERR_INI_FILE_EMPTY) { // the file's end is the way out
            ulStatus = XELP_ERR_INI_OK;
        } else {
            XELP_IniFreeIniStruct(pStructIniLine);
        }
    }
    XELP_Fclose(pstruFile);
    return ulStatus;
}

void XELP_IniFreeIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine)
{
    for (QAL_UINT32 i = 0; i < pStructIniLine->ulLineNum; ++i) {
        if (pStructIniLine->pStrLine[i] != nullptr) {
            XELP_MemFreeD(pStructIniLine->pStrLine[i], __LINE__, __FILE__);
        }
    }
    XELP_MemFreeD(pStructIniLine->pStrLine, __LINE__, __FILE__);
    wyx_memset_s(pStructIniLine, sizeof *pStructIniLine, 0, sizeof *pStructIniLine);
}

QAL_UINT32 INI_StrLen(const QAL_INT8 *para)
{
    return para == nullptr ? 0 : XELP_StrLen(para);
}

QAL_UINT32 IniGetOneLine(QAL_INT8 **linePtr, XELP_S_File *iniFilePtr, QAL_UINT32 *byteNum,
                         QAL_UINT32 *lineNum)
{
    *byteNum = 0;
    *lineNum = 0;
    QAL_INT8 strOneLine[kBufferSize];
    wyx_memset_s(strOneLine, sizeof strOneLine, 0, sizeof strOneLine);
    QAL_UINT32 ulLines = 0;
    const QAL_UINT32 ulStatus = ReadText(iniFilePtr, strOneLine, ulLines);
    if (ulStatus != XELP_ERR_INI_OK) {
        return ulStatus;
    }

    const QAL_UINT32 ulRead = INI_StrLen(strOneLine); // a NUL cuts the line
    if (ulRead == 0) {
        return XELP_ERR_INI_FILE_EMPTY;
    }
    QAL_UINT32 ulLen = ulRead;
    if (!wyx::ini::IsLineEnd(strOneLine[ulRead - 1])) {
        strOneLine[ulLen++] = '\r';
        strOneLine[ulLen] = '\0'; // where a NUL cut the line, text stands behind it
    }
    *linePtr = static_cast<QAL_INT8 *>(XELP_MemMallocD(ulLen + 1, __LINE__, __FILE__));
    if (*linePtr == nullptr) {
        return XELP_ERR_INI_INTERNAL;
    }
    *byteNum = ulRead;
    *lineNum = ulLines;
    wyx_strcpy_s(*linePtr, ulLen, strOneLine);
    return XELP_ERR_INI_OK;
}

QAL_UINT32 IniRemallocIniLine(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine)
{
    const QAL_UINT32 ulOldSlots = pStructIniLine->ulTotalLine;
    const QAL_UINT64 ullNewSlots = QAL_UINT64{ulOldSlots} + kMoreSlots;
    QAL_INT8 **const pStrLine = wyx::ini::AllocateSlots(ullNewSlots, __LINE__, __FILE__);
    if (pStrLine == nullptr) {
        return XELP_ERR_INI_INTERNAL;
    }
    const QAL_ULONG ulOldSize = ulOldSlots * sizeof *pStrLine;
    wyx_memcpy_s(pStrLine, ullNewSlots * sizeof *pStrLine, pStructIniLine->pStrLine, ulOldSize);
    XELP_MemFreeD(pStructIniLine->pStrLine, __LINE__, __FILE__);
    pStructIniLine->pStrLine = pStrLine;
    pStructIniLine->ulTotalLine = ulOldSlots + kMoreSlots;
    return XELP_ERR_INI_OK;
}

} // extern "C"
