// The file services: each checks its arguments and calls the reader, the writer or the system.
#include "os_adapter.h"

#include "file_calls.h"
#include "file_directory.h"
#include "file_failure.h"
#include "file_names.h"
#include "file_reader.h"
#include "file_writer.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

using wyx::os::DirName;
using wyx::os::Reader;
using wyx::os::Seen;
using wyx::os::Writer;

constexpr bool kFlush = WYX_OS_ADAPTER_FLUSH != 0;

/// XELP_Fgetc() when all buffered bytes are read. A separate function, so that the usual case needs
/// no stack frame.
[[gnu::noinline]] QAL_INT32 GetcAfterRefill(xelpFile &file)
{
    file.lRead = -1;
    if (file.isWriter) {
        errno = EBADF;
        return -1;
    }
    return wyx::os::Refill(static_cast<Reader &>(file)) ? file.pucEnd[++file.lRead] : -1;
}

/// XELP_Fseek() for any move but the usual one; separate for the same reason as GetcAfterRefill().
[[gnu::noinline]] QAL_INT32 SeekAnywhere(xelpFile &file, QAL_LONG lOffset, QAL_INT32 lWhence)
{
    if (lWhence != SEEK_SET && lWhence != SEEK_CUR && lWhence != SEEK_END) {
        errno = EINVAL;
        return -1;
    }
    return file.isWriter ? wyx::os::SeekWriter(static_cast<Writer &>(file), lOffset, lWhence)
                         : wyx::os::SeekReader(static_cast<Reader &>(file), lOffset, lWhence);
}

/// Takes the failure of an earlier close and sets errno to it; false if there is none.
bool ReportKeptFailure()
{
    const int iError = wyx::os::TakeFailure();
    if (iError == 0) {
        return false;
    }
    errno = iError;
    return true;
}

} // namespace

extern "C" {

XELP_S_File *XELP_Fopen(const QAL_CHAR *pszName, const QAL_CHAR *pszMode)
{
    if (std::strcmp(pszMode, "r") == 0) {
        Reader *const pstruReader = wyx::os::OpenReader(pszName);
        if (pstruReader == nullptr) {
            wyx::os::AddNote(Seen::kUnreadable, pszName);
        }
        return pstruReader;
    }
    if (std::strcmp(pszMode, "w") == 0) {
        return wyx::os::OpenWriter(pszName);
    }
    errno = EINVAL;
    return nullptr;
}

QAL_INT32 XELP_Fgetc(XELP_S_File *pstruFile)
{
    // The library calls this for every byte that it loads. On AArch64 the usual path is six
    // instructions: one loads both members, and the carry of the addition, which is set when -1
    // becomes 0, saves a comparison.
    const QAL_UINT8 *const pucEnd = pstruFile->pucEnd;
    QAL_ULONG ulRead = 0;
    const bool isAllRead =
        __builtin_add_overflow(static_cast<QAL_ULONG>(pstruFile->lRead), QAL_ULONG{1}, &ulRead);
    pstruFile->lRead = static_cast<QAL_LONG>(ulRead);
    if (isAllRead) [[unlikely]] {
        return GetcAfterRefill(*pstruFile);
    }
    return pucEnd[pstruFile->lRead];
}

QAL_INT32 XELP_Fseek(XELP_S_File *pstruFile, QAL_LONG lOffset, QAL_INT32 lWhence)
{
    // The only move that the library makes: it gives back the byte that it read after a line end.
    if (lOffset == -1 && lWhence == SEEK_CUR && pstruFile->lRead >= pstruFile->lFirst) {
        --pstruFile->lRead;
        return 0;
    }
    return SeekAnywhere(*pstruFile, lOffset, lWhence);
}

QAL_UINT32 XELP_Fwrite(const void *pData, QAL_UINT32 ulSize, QAL_UINT32 ulCount,
                       XELP_S_File *pstruFile)
{
    const QAL_ULONG ulBytes = QAL_ULONG{ulSize} * ulCount;
    if (ulBytes == 0) {
        return 0;
    }
    if (!pstruFile->isWriter) {
        errno = EBADF;
        return 0;
    }
    auto &writer = static_cast<Writer &>(*pstruFile);
    QAL_ULONG ulDone = 0;
    if (writer.iError == 0) { // nothing may follow the gap left by a failed write
        ulDone = wyx::os::Append(writer, static_cast<const QAL_UINT8 *>(pData), ulBytes);
    }
    if (ulDone < ulBytes) {
        writer.isReported = true;
        errno = writer.iError;
    }
    return static_cast<QAL_UINT32>(ulDone / ulSize);
}

QAL_INT32 XELP_Fclose(XELP_S_File *pstruFile)
{
    if (!pstruFile->isWriter) {
        wyx::os::CloseReader(static_cast<Reader &>(*pstruFile));
        return 0;
    }
    const int iError = wyx::os::CloseWriter(static_cast<Writer &>(*pstruFile));
    if (iError != 0) {
        errno = iError;
        return -1;
    }
    return 0;
}

QAL_INT32 XELP_Remove(const QAL_CHAR *pszName)
{
    if (ReportKeptFailure()) {
        return -1;
    }
    if (wyx::os::RemoveNote(Seen::kRenamedAway, pszName)) {
        errno = ENOENT; // the caller's file has another name now
        return -1;
    }
    return wyx::os::Unlink(pszName);
}

QAL_INT32 XELP_Rename(const QAL_CHAR *pszOldName, const QAL_CHAR *pszNewName)
{
    if (ReportKeptFailure() || wyx::os::Rename(pszOldName, pszNewName) != 0) {
        return -1;
    }
    wyx::os::AddNote(Seen::kRenamedAway, pszOldName);
    wyx::os::RemoveNote(Seen::kRenamedAway, pszNewName); // this name now leads to the caller's file
    if (kFlush) {
        const DirName oldDir = wyx::os::DirectoryOf(pszOldName);
        const DirName newDir = wyx::os::DirectoryOf(pszNewName);
        // The new entry first: if a power cut left neither entry, the file would be lost.
        if (!wyx::os::FlushDirectory(wyx::os::OpenDirectory(newDir)) ||
            (oldDir != newDir && !wyx::os::FlushDirectory(wyx::os::OpenDirectory(oldDir)))) {
            return -1;
        }
    }
    return 0;
}

} // extern "C"
