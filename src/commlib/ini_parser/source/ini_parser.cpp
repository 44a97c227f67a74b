// Loading and releasing a document.
//
// The reader splits a file into lines one byte at a time. An LF or CR may be half of a two-byte
// line end, so the reader reads one byte more, and gives it back to the file if it begins the next
// line.
#include "ini_parser_internal.h"

#include <array>

namespace wyx::ini {

[[gnu::noinline]] QAL_INT8 **AllocateSlots(QAL_UINT64 ullCount, QAL_UINT32 ulLine,
                                           const QAL_CHAR *pszFile)
{
    const QAL_UINT64 ullSize = ullCount * sizeof(QAL_INT8 *);
    void *const pBlock = AllocateArray(ullSize, XELP_MemMallocD, ulLine, pszFile);
    if (pBlock != nullptr) {
        wyx_memset_s(pBlock, ullSize, 0, ullSize);
    }
    return static_cast<QAL_INT8 **>(pBlock);
}

namespace {

constexpr QAL_UINT32 kFirstSlots = 200;
constexpr QAL_UINT32 kMoreSlots = 50;

// The byte that makes a line too long can add two bytes to a full line: itself, and the backslash
// before it, which turned out to be text. The last byte stays 0: IniGetOneLine() clears the buffer.
constexpr QAL_UINT32 kBufferSize = kLongestLine + 2 + 1;

enum ByteClass : QAL_UINT8 { kOther, kBackslash, kLf, kCr, kEnd };

/// The class of each byte. Entry 255 is for the end of the file, because -1 becomes this index;
/// ClassOf() handles a real byte 255.
consteval std::array<ByteClass, 256> MakeClasses()
{
    std::array<ByteClass, 256> aTab{};
    aTab[kEscape] = kBackslash;
    aTab['\n'] = kLf;
    aTab['\r'] = kCr;
    aTab[0xFF] = kEnd;
    return aTab;
}

/// What the bytes read so far leave open.
enum State : QAL_UINT8 {
    kText,      // nothing
    kAfterLf,   // an LF: alone, or the first half of LF CR?
    kAfterCr,   // a CR: alone, or the first half of CR LF?
    kEscaped,   // a backslash: text, or does a line end follow?
    kEscapedLf, // a backslash and an LF: is the line end complete?
    kEscapedCr, // a backslash and a CR: is the line end complete?
};

/// What to do with a byte; the values can be combined.
enum Act : QAL_UINT8 {
    kDrop = 0,       // not part of the text
    kStore = 1,      // the byte is part of the text
    kStoreSlash = 2, // with kStore: the backslash before it was text, too
    kJoin = 4,       // the next physical line belongs to this one
    kDone = 8,       // the line ends here
    kGiveBack = 16,  // with kDone: the byte belongs to the next line
};

struct Cell {
    QAL_UINT8 ucActs;
    State next;
};

constexpr Cell Keep = {kStore, kText};
constexpr Cell Slash = {kStoreSlash | kStore, kText};
constexpr Cell Lf = {kStore, kAfterLf};
constexpr Cell Cr = {kStore, kAfterCr};
constexpr Cell Pair = {kStore | kDone, kText};
constexpr Cell Back = {kGiveBack | kDone, kText};
constexpr Cell Esc = {kDrop, kEscaped};
constexpr Cell EscLf = {kDrop, kEscapedLf};
constexpr Cell EscCr = {kDrop, kEscapedCr};
constexpr Cell Join = {kJoin, kText};
constexpr Cell JoinEsc = {kJoin, kEscaped};
constexpr Cell JoinKeep = {kJoin | kStore, kText};
constexpr Cell JoinEnd = {kJoin | kStore | kDone, kText};
constexpr Cell End = {kDone, kText};

/// Both tables are in one object, so that one register holds their address. There are eight columns
/// for six states, so that a shift finds the row.
struct Tables {
    std::array<ByteClass, 256> aClasses;
    Cell cells[5][8];
};

// A line ends at CR LF, LF CR, or a lone LF or CR. A backslash before any of these joins two lines,
// unless it is the second of a pair.
// Kept: after a lone LF or CR, a line that begins with a backslash is joined to the line before it
// (IniReader.BackslashAfterLoneLineEndJoins).
// clang-format off
constexpr Tables kTables = {MakeClasses(), {
    //               kText  kAfterLf  kAfterCr  kEscaped  kEscapedLf  kEscapedCr
    /* kOther     */ {Keep, Back,     Back,     Slash,    JoinKeep,   JoinKeep},
    /* kBackslash */ {Esc,  Esc,      Esc,      Slash,    JoinEsc,    JoinEsc},
    /* kLf        */ {Lf,   Back,     Pair,     EscLf,    JoinEnd,    Join},
    /* kCr        */ {Cr,   Pair,     Back,     EscCr,    Join,       JoinEnd},
    /* kEnd       */ {End,  End,      End,      End,      End,        End},
}};
// clang-format on

ByteClass ClassOf(QAL_INT32 lByte)
{
    return lByte == 0xFF ? kOther : kTables.aClasses[static_cast<QAL_UINT8>(lByte)];
}

/// True for every byte of the class kOther except 255, which is left to ClassOf().
bool IsPlain(QAL_INT32 lByte)
{
    return kTables.aClasses[static_cast<QAL_UINT8>(lByte)] == kOther;
}

/**
 * Reads the bytes of one line.
 *
 * @param[out] pszText  the text, or part of it on failure; on entry it must hold kBufferSize zeros
 * @param[out] ulLines  number of physical lines
 */
QAL_UINT32 ReadText(XELP_S_File *pstruFile, QAL_INT8 *pszText, QAL_UINT32 &ulLines)
{
    // Every byte costs a call. The call goes through a register: on AArch64, a linker stub would
    // add four instructions to the 14 that most bytes take. The asm statement hides from the
    // compiler which function is called and where in the buffer the limit is. If Clang knew the
    // limit, it would step an index instead of a pointer: two more instructions.
    QAL_INT32 (*pfunGetc)(XELP_S_File *) = XELP_Fgetc;
    const QAL_INT8 *pszTooLong = pszText + kLongestLine + 1;
    __asm__("" : "+r"(pfunGetc), "+r"(pszTooLong));
    QAL_INT8 *pszNext = pszText;
    ulLines = 1;
    for (;;) {
        QAL_INT32 lByte = 0;
        while (IsPlain(lByte = pfunGetc(pstruFile))) {
            *pszNext++ = static_cast<QAL_INT8>(lByte);
            if (pszNext == pszTooLong) {
                return XELP_ERR_INI_LINE_TOO_LONG;
            }
        }
        State state = kText;
        for (;;) {
            const Cell cell = kTables.cells[ClassOf(lByte)][state];
            if ((cell.ucActs & kStore) != 0) {
                if ((cell.ucActs & kStoreSlash) != 0) [[unlikely]] {
                    *pszNext++ = kEscape;
                }
                *pszNext++ = static_cast<QAL_INT8>(lByte);
                if (pszNext >= pszTooLong) {
                    return XELP_ERR_INI_LINE_TOO_LONG;
                }
            }
            if ((cell.ucActs & kJoin) != 0) [[unlikely]] {
                ++ulLines;
            }
            if ((cell.ucActs & kDone) != 0) {
                if ((cell.ucActs & kGiveBack) != 0 && XELP_Fseek(pstruFile, -1, 1) != 0) {
                    return XELP_ERR_INI_INTERNAL;
                }
                return XELP_ERR_INI_OK;
            }
            state = cell.next;
            if (state == kText) {
                break;
            }
            lByte = pfunGetc(pstruFile);
        }
    }
}

/// Appends the lines of a file to the document. Never returns 0: the status after the last line, or
/// at a line that begins with a NUL, is XELP_ERR_INI_FILE_EMPTY.
QAL_UINT32 ReadLines(XELP_S_File *pstruFile, Document &doc)
{
    QAL_UINT32 ulBytes = 0;
    QAL_UINT32 ulLines = 0;
    for (;;) {
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
} // namespace wyx::ini

using namespace wyx::ini;

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
    pStructIniLine->pStrLine = AllocateSlots(kFirstSlots);
    if (pStructIniLine->pStrLine != nullptr) {
        pStructIniLine->ulTotalLine = kFirstSlots;
        ulStatus = ReadLines(pstruFile, *pStructIniLine);
        if (ulStatus == XELP_ERR_INI_FILE_EMPTY) { // no more lines
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

    const QAL_UINT32 ulRead = INI_StrLen(strOneLine); // a NUL ends the line
    if (ulRead == 0) {
        return XELP_ERR_INI_FILE_EMPTY;
    }
    QAL_UINT32 ulLen = ulRead;
    if (!IsLineEnd(strOneLine[ulRead - 1])) {
        strOneLine[ulLen++] = '\r';
        strOneLine[ulLen] = '\0'; // this byte may not be 0 yet if a NUL ended the line
    }
    *linePtr = AllocateText(ulLen + 1);
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
    QAL_INT8 **const pStrLine = AllocateSlots(ullNewSlots);
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
