// Files by descriptor, with a buffer of their own.
//
// Reading. A regular file is read whole when it is opened, so that whatever can go wrong has gone
// wrong by then: a caller who is told of the end of the file only by -1 would take an error for it.
// Other kinds stream through a buffer that keeps the last byte of what it held before, so that the
// position can always step back by one. Either way the position only ever moves within memory.
//
// Writing. A call of the system for every line would make large files slow, and bytes that wait in
// a buffer could be lost to a full disk after they were reported as written. So blocks are reserved
// ahead of the end, and only bytes that have theirs wait; all others are handed over at once.
#include "os_adapter.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr bool kFlush = WYX_OS_ADAPTER_FLUSH != 0;

constexpr QAL_ULONG kStreamBuffer = 16384;
constexpr QAL_ULONG kWriteBuffer = 65536;
constexpr QAL_ULONG kSmallestWhole = 4096;  // for files that do not tell their size
// Reserved ahead of the end: as much again as the file holds, within these limits.
constexpr off_t kReserveMin = 16384;
constexpr off_t kReserveMax = 1048576;
constexpr mode_t kCreateMode = 0666;

}  // namespace

struct xelpFile {
    // Reading. A file for writing holds nothing, so that XELP_Fgetc() need not ask for the kind.
    const QAL_UINT8 *pucNext;   // the next byte
    const QAL_UINT8 *pucEnd;    // behind the last byte that is held
    const QAL_UINT8 *pucFirst;  // the first byte that is held
    off_t lFirst;               // where in the file that is

    QAL_UINT8 *pucBuffer;  // the block of either buffer
    int iFd;               // -1 for a file that has been read to its end
    bool isWriter;

    // Writing.
    bool isBuffered;      // blocks can be reserved
    bool hasSpare;        // blocks may have been reserved beyond the end
    bool isTold;          // the caller knows of the failure, by a short count
    int iError;           // what made the file fail; it then takes no more
    int iDirFd;           // the directory that holds the file; -1 if it cannot be read
    off_t lWritten;       // where in the file the buffer starts: all before is with the kernel
    off_t lReserved;      // blocks are there up to here
    QAL_ULONG ulWaiting;  // bytes in the buffer
};

namespace {

/// What the thread's last XELP_Fclose() could not tell anybody; 0 for nothing.
constinit thread_local int iPendingError = 0;

/// Repeats a call of the system for as long as a signal interrupts it.
template <typename Call>
auto Retry(Call call)
{
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR) {
            return result;
        }
    }
}

/// Releases a descriptor, if it is one.
bool Close(int iFd)
{
    // Never repeated: the descriptor is gone even when a signal interrupts the call, and by now its
    // number may be another thread's.
    return iFd == -1 || close(iFd) == 0 || errno == EINTR;
}

/// Writes the name of the directory that holds an entry; false if it is too long to be one.
bool DirectoryOf(const QAL_CHAR *pszName, QAL_CHAR (&szDir)[PATH_MAX])
{
    const QAL_CHAR *const pszSlash = std::strrchr(pszName, '/');
    const QAL_CHAR *const pszDir = pszSlash != nullptr ? pszName : ".";
    const bool isRoot = pszSlash == pszName;
    const QAL_ULONG ulLen =
        pszSlash == nullptr || isRoot ? 1 : static_cast<QAL_ULONG>(pszSlash - pszName);
    if (ulLen >= sizeof szDir) {
        errno = ENAMETOOLONG;
        return false;
    }
    std::memcpy(szDir, pszDir, ulLen);
    szDir[ulLen] = '\0';
    return true;
}

/// Opens a directory in order to flush it; -1 if it cannot be read.
int OpenDirectory(const QAL_CHAR *pszDir)
{
    return Retry([&] { return open(pszDir, O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
}

/// Opens the directory that holds an entry; -1 if it cannot be read.
int OpenDirectoryOf(const QAL_CHAR *pszName)
{
    QAL_CHAR szDir[PATH_MAX];
    return DirectoryOf(pszName, szDir) ? OpenDirectory(szDir) : -1;
}

/// Brings what was written through a descriptor to its device.
bool Flush(int iFd)
{
    // EINVAL comes from pipes, terminals and the like, which have no device to flush to.
    return Retry([&] { return fsync(iFd); }) == 0 || errno == EINVAL;
}

/// Brings the entries of a directory to its device; takes the descriptor.
bool FlushDirectory(int iDirFd)
{
    if (iDirFd == -1) {
        // One may enter it but not read it: only everything together can be flushed.
        sync();
        return true;
    }
    const bool isDone = Flush(iDirFd);
    const int iError = errno;
    Close(iDirFd);
    errno = iError;
    return isDone;
}

/// Reads what one call of the system gives: a count, 0 at the end, -1 on failure.
ssize_t Read(int iFd, QAL_UINT8 *pucTo, QAL_ULONG ulRoom)
{
    return Retry([&] { return read(iFd, pucTo, ulRoom); });
}

/// Hands bytes to the kernel; fewer than asked for on failure.
QAL_ULONG Write(int iFd, const QAL_UINT8 *pucFrom, QAL_ULONG ulCount)
{
    QAL_ULONG ulDone = 0;
    while (ulDone < ulCount) {
        const ssize_t lNow = Retry([&] { return write(iFd, pucFrom + ulDone, ulCount - ulDone); });
        if (lNow <= 0) {
            errno = lNow == 0 ? EIO : errno;
            break;
        }
        ulDone += static_cast<QAL_ULONG>(lNow);
    }
    return ulDone;
}

/// Reads a regular file to its end.
bool ReadWhole(XELP_S_File &file, off_t lSize)
{
    // The size is a hint: some files do not tell theirs, others grow. One more byte of room lets
    // the read that finds the end do without a larger block.
    QAL_ULONG ulRoom = lSize > 0 ? static_cast<QAL_ULONG>(lSize) + 1 : kSmallestWhole;
    QAL_ULONG ulHeld = 0;
    file.pucBuffer = static_cast<QAL_UINT8 *>(std::malloc(ulRoom));
    if (file.pucBuffer == nullptr) {
        return false;
    }
    for (;;) {
        if (ulHeld == ulRoom) {
            void *const pLarger = std::realloc(file.pucBuffer, ulRoom * 2);
            if (pLarger == nullptr) {
                return false;
            }
            file.pucBuffer = static_cast<QAL_UINT8 *>(pLarger);
            ulRoom *= 2;
        }
        const ssize_t lNow = Read(file.iFd, file.pucBuffer + ulHeld, ulRoom - ulHeld);
        if (lNow < 0) {
            return false;
        }
        if (lNow == 0) {
            break;
        }
        ulHeld += static_cast<QAL_ULONG>(lNow);
    }
    Close(file.iFd);
    file.iFd = -1;
    file.pucNext = file.pucBuffer;
    file.pucFirst = file.pucBuffer;
    file.pucEnd = file.pucBuffer + ulHeld;
    return true;
}

bool OpenForReading(XELP_S_File &file, const QAL_CHAR *pszName)
{
    file.iFd = Retry([&] { return open(pszName, O_RDONLY | O_CLOEXEC | O_NOCTTY); });
    struct stat status;
    if (file.iFd == -1 || fstat(file.iFd, &status) != 0) {
        return false;
    }
    if (S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return false;
    }
    if (S_ISREG(status.st_mode)) {
        return ReadWhole(file, status.st_size);
    }
    file.pucBuffer = static_cast<QAL_UINT8 *>(std::malloc(1 + kStreamBuffer));
    file.pucNext = file.pucBuffer;
    file.pucFirst = file.pucBuffer;
    file.pucEnd = file.pucBuffer;
    return file.pucBuffer != nullptr;
}

/// Takes the next part of a stream into the buffer, behind a copy of the last byte before it.
bool Refill(XELP_S_File &file)
{
    if (file.isWriter) {
        errno = EBADF;
        return false;
    }
    if (file.iFd == -1) {
        return false;
    }
    const bool hasLast = file.pucEnd != file.pucFirst;
    const QAL_UINT8 ucLast = hasLast ? file.pucEnd[-1] : QAL_UINT8{0};
    const ssize_t lNow = Read(file.iFd, file.pucBuffer + 1, kStreamBuffer);
    if (lNow <= 0) {
        // The end stays the end: a pipe that found another writer would else begin a second text.
        const int iError = errno;
        Close(file.iFd);
        file.iFd = -1;
        errno = iError;
        return false;
    }
    *file.pucBuffer = ucLast;
    file.lFirst += (file.pucEnd - file.pucFirst) - (hasLast ? 1 : 0);
    file.pucFirst = file.pucBuffer + (hasLast ? 0 : 1);
    file.pucNext = file.pucBuffer + 1;
    file.pucEnd = file.pucNext + lNow;
    return true;
}

bool OpenForWriting(XELP_S_File &file, const QAL_CHAR *pszName)
{
    file.isWriter = true;
    file.pucBuffer = static_cast<QAL_UINT8 *>(std::malloc(kWriteBuffer));
    if (file.pucBuffer == nullptr) {
        return false;  // before a file is emptied
    }
    if constexpr (kFlush) {
        file.iDirFd = OpenDirectoryOf(pszName);  // now: a relative name may mean another one later
    }
    file.iFd = Retry([&] {
        return open(pszName, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY,
                    kCreateMode);
    });
    struct stat status;
    file.isBuffered = file.iFd != -1 && fstat(file.iFd, &status) == 0 && S_ISREG(status.st_mode);
    return file.iFd != -1;
}

/// Hands the waiting bytes to the kernel.
bool HandOver(XELP_S_File &file)
{
    const QAL_ULONG ulDone = Write(file.iFd, file.pucBuffer, file.ulWaiting);
    file.lWritten += static_cast<off_t>(ulDone);
    if (ulDone < file.ulWaiting) {
        file.iError = errno;
    }
    file.ulWaiting = 0;
    return file.iError == 0;
}

/// Makes sure of the blocks up to a position; false if the bytes there must not wait.
bool Reserve(XELP_S_File &file, off_t lUpTo)
{
    if (!file.isBuffered || lUpTo <= file.lReserved) {
        return file.isBuffered;
    }
    const off_t lAhead = lUpTo < kReserveMin   ? kReserveMin
                         : lUpTo > kReserveMax ? kReserveMax
                                               : lUpTo;
    off_t lEnd = lUpTo + lAhead;
    // A reservation that leaves the size as it is goes beyond the process's limit of it.
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    if (limit.rlim_cur < static_cast<rlim_t>(lEnd)) {
        lEnd = static_cast<off_t>(limit.rlim_cur);
    }
    const off_t lStart = file.lReserved > file.lWritten ? file.lReserved : file.lWritten;
    if (lEnd >= lUpTo) {
        file.hasSpare = true;  // even a reservation that fails may leave blocks behind
        if (Retry([&] {
                return fallocate(file.iFd, FALLOC_FL_KEEP_SIZE, lStart, lEnd - lStart);
            }) == 0) {
            file.lReserved = lEnd;
            return true;
        }
    }
    file.isBuffered = false;  // the file system cannot, or the disk is full: no need to ask again
    return false;
}

/// Writes bytes, now or later; fewer than asked for on failure.
QAL_ULONG Append(XELP_S_File &file, const QAL_UINT8 *pucFrom, QAL_ULONG ulCount)
{
    if (ulCount > kWriteBuffer - file.ulWaiting && !HandOver(file)) {
        return 0;
    }
    const QAL_ULONG ulEnd = static_cast<QAL_ULONG>(file.lWritten) + file.ulWaiting + ulCount;
    if (ulCount <= kWriteBuffer - file.ulWaiting && Reserve(file, static_cast<off_t>(ulEnd))) {
        std::memcpy(file.pucBuffer + file.ulWaiting, pucFrom, ulCount);
        file.ulWaiting += ulCount;
        return ulCount;
    }
    if (!HandOver(file)) {
        return 0;
    }
    const QAL_ULONG ulDone = Write(file.iFd, pucFrom, ulCount);
    file.lWritten += static_cast<off_t>(ulDone);
    if (ulDone < ulCount) {
        file.iError = errno;
    }
    return ulDone;
}

/// Gives back the blocks beyond the end. Not having done so is untidy, but loses nothing.
void Trim(const XELP_S_File &file)
{
    struct stat status;
    if (file.hasSpare && fstat(file.iFd, &status) == 0) {
        static_cast<void>(Retry([&] { return ftruncate(file.iFd, status.st_size); }));
    }
}

/// Ends a file for writing; the error number, or 0.
int Finish(XELP_S_File &file)
{
    HandOver(file);
    Trim(file);
    if (kFlush && !Flush(file.iFd) && file.iError == 0) {
        file.iError = errno;
    }
    if (!Close(file.iFd) && file.iError == 0) {
        file.iError = errno;
    }
    // After the file: an entry that survives a power cut must not lead to half a file.
    if (kFlush && !FlushDirectory(file.iDirFd) && file.iError == 0) {
        file.iError = errno;
    }
    if (file.iError != 0 && !file.isTold) {
        iPendingError = file.iError;
    }
    return file.iError;
}

QAL_INT32 SeekReader(XELP_S_File &file, QAL_LONG lOffset, QAL_INT32 lWhence)
{
    const off_t lNow = file.lFirst + (file.pucNext - file.pucFirst);
    const off_t lEnd = file.lFirst + (file.pucEnd - file.pucFirst);
    if (lWhence == SEEK_END && file.iFd != -1) {
        errno = ESPIPE;  // the end of a stream is known once it was reached
        return -1;
    }
    const off_t lBase = lWhence == SEEK_SET ? 0 : lWhence == SEEK_CUR ? lNow : lEnd;
    off_t lTarget = 0;
    if (lWhence < SEEK_SET || lWhence > SEEK_END ||
        __builtin_add_overflow(lBase, lOffset, &lTarget) || lTarget < file.lFirst ||
        lTarget > lEnd) {
        errno = EINVAL;
        return -1;
    }
    file.pucNext = file.pucFirst + (lTarget - file.lFirst);
    return 0;
}

QAL_INT32 SeekWriter(XELP_S_File &file, QAL_LONG lOffset, QAL_INT32 lWhence)
{
    if (lWhence < SEEK_SET || lWhence > SEEK_END) {
        errno = EINVAL;
        return -1;
    }
    if (!HandOver(file)) {
        errno = file.iError;
        return -1;
    }
    const off_t lPosition = lseek(file.iFd, lOffset, lWhence);
    if (lPosition == -1) {
        return -1;
    }
    file.lWritten = lPosition;
    file.isBuffered =
        false;  // a block that has been written can need another one to be overwritten
    return 0;
}

/// Fails once for a file whose closing failed.
bool HasPendingError()
{
    if (iPendingError == 0) {
        return false;
    }
    errno = iPendingError;
    iPendingError = 0;
    return true;
}

}  // namespace

extern "C" {

XELP_S_File *XELP_Fopen(const QAL_CHAR *pszName, const QAL_CHAR *pszMode)
{
    const bool isWriter = std::strcmp(pszMode, "w") == 0;
    if (!isWriter && std::strcmp(pszMode, "r") != 0) {
        errno = EINVAL;
        return nullptr;
    }
    XELP_S_File *const pstruFile = static_cast<XELP_S_File *>(std::calloc(1, sizeof *pstruFile));
    if (pstruFile == nullptr) {
        return nullptr;
    }
    pstruFile->iFd = -1;
    pstruFile->iDirFd = -1;
    if (isWriter ? OpenForWriting(*pstruFile, pszName) : OpenForReading(*pstruFile, pszName)) {
        return pstruFile;
    }
    const int iError = errno;
    Close(pstruFile->iFd);
    Close(pstruFile->iDirFd);
    std::free(pstruFile->pucBuffer);
    std::free(pstruFile);
    errno = iError;
    return nullptr;
}

QAL_INT32 XELP_Fgetc(XELP_S_File *pstruFile)
{
    if (pstruFile->pucNext == pstruFile->pucEnd && !Refill(*pstruFile)) {
        return -1;
    }
    return *pstruFile->pucNext++;
}

QAL_INT32 XELP_Fseek(XELP_S_File *pstruFile, QAL_LONG lOffset, QAL_INT32 lWhence)
{
    return pstruFile->isWriter ? SeekWriter(*pstruFile, lOffset, lWhence)
                               : SeekReader(*pstruFile, lOffset, lWhence);
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
    // A file that has failed takes no more: it must not continue behind a gap.
    const QAL_ULONG ulDone =
        pstruFile->iError == 0 ? Append(*pstruFile, static_cast<const QAL_UINT8 *>(pData), ulBytes)
                               : 0;
    if (ulDone < ulBytes) {
        pstruFile->isTold = true;
        errno = pstruFile->iError;
    }
    return static_cast<QAL_UINT32>(ulDone / ulSize);
}

QAL_INT32 XELP_Fclose(XELP_S_File *pstruFile)
{
    int iError = 0;
    if (pstruFile->isWriter) {
        iError = Finish(*pstruFile);
    } else {
        Close(pstruFile->iFd);
    }
    std::free(pstruFile->pucBuffer);
    std::free(pstruFile);
    if (iError != 0) {
        errno = iError;
        return -1;
    }
    return 0;
}

QAL_INT32 XELP_Remove(const QAL_CHAR *pszName)
{
    // Of directories, unlink() says EISDIR.
    return HasPendingError() ? -1 : Retry([&] { return unlink(pszName); });
}

QAL_INT32 XELP_Rename(const QAL_CHAR *pszOldName, const QAL_CHAR *pszNewName)
{
    if (HasPendingError() || Retry([&] { return rename(pszOldName, pszNewName); }) != 0) {
        return -1;
    }
    if constexpr (kFlush) {
        // The new entry first: with neither, the file would be lost.
        if (!FlushDirectory(OpenDirectoryOf(pszNewName))) {
            return -1;
        }
        QAL_CHAR szOldDir[PATH_MAX];
        QAL_CHAR szNewDir[PATH_MAX];
        if (DirectoryOf(pszOldName, szOldDir) && DirectoryOf(pszNewName, szNewDir) &&
            std::strcmp(szOldDir, szNewDir) != 0) {
            return FlushDirectory(OpenDirectory(szOldDir)) ? 0 : -1;
        }
    }
    return 0;
}

}  // extern "C"
