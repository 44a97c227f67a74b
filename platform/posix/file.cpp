// Files by descriptor, with a buffer of their own.
//
// Reading. A regular file is read whole when it is opened, so that whatever can go wrong has gone
// wrong by then: a caller who learns of the end only by a -1 would take an error for it. Other
// kinds stream through a buffer that keeps the last byte of what it held before, so that the
// position can always step back by one. Either way the position only ever moves within memory.
//
// Writing. A call of the system for every line would make large files slow, but bytes that wait in
// a buffer could be lost to a full disk after they were reported as written. So blocks are reserved
// ahead of the end, and only bytes that have theirs wait; all others are handed over at once. A
// small file takes them one by one, as giving back what was reserved in vain costs more calls than
// that.
#include "os_adapter.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

struct xelpFile {
    // Reading. A file for writing holds nothing, so that XELP_Fgetc() need not ask for the kind.
    const QAL_UINT8 *pucNext;  // the next byte
    const QAL_UINT8 *pucEnd;   // behind the last byte that is held
    const QAL_UINT8 *pucFirst; // the first byte that is held
    off_t lFirst;              // where in the file that is

    QAL_UINT8 *pucBuffer; // the block of either buffer
    int iFd;              // -1 once nothing more is to be read
    bool isWriter;

    // Writing.
    bool isRegular;      // neither a pipe nor a device
    bool isBuffered;     // bytes may wait, if blocks can be reserved for them
    bool hasSpare;       // there may be blocks beyond the one of the end
    bool isTold;         // a short count has told the caller of the failure
    int iError;          // what made the file fail; it then takes no more
    int iDirFd;          // the directory that holds the file; -1 if it cannot be read
    off_t lBlock;        // what is reserved comes in blocks of this size
    off_t lWritten;      // where in the file the buffer starts: all before is with the kernel
    off_t lReserved;     // there are blocks up to here
    QAL_ULONG ulWaiting; // bytes in the buffer
};

namespace {

constexpr bool kFlush = WYX_OS_ADAPTER_FLUSH != 0;
constexpr mode_t kCreateMode = 0666;

constexpr QAL_ULONG kStreamBuffer = 16384;
constexpr QAL_ULONG kWriteBuffer = 65536;
constexpr QAL_ULONG kSmallestWhole = 4096; // for files that do not tell their size
constexpr off_t kBlockMax = 4096;          // to reserve a part of a larger block is to reserve it
constexpr off_t kOneByOne = 8192;          // the size of a file up to which none is reserved ahead
constexpr off_t kReserveMax = 1048576;     // what is reserved ahead at most

/// What an XELP_Fclose() of this thread could not tell its caller; 0 for nothing.
constinit thread_local int iPendingError = 0;

/// Repeats a call of the system for as long as signals interrupt it.
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

/// Puts errno back at the end of a scope that cleans up behind a failure.
class KeepErrno {
  public:
    KeepErrno() : iError_(errno) {}
    ~KeepErrno() { errno = iError_; }
    KeepErrno(const KeepErrno &) = delete;
    KeepErrno &operator=(const KeepErrno &) = delete;

  private:
    int iError_;
};

/// Releases a descriptor, if it is one.
bool Close(int iFd)
{
    // Never repeated: the descriptor is gone even when a signal interrupts the call, and its number
    // may be another thread's by now.
    return iFd == -1 || close(iFd) == 0 || errno == EINTR;
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

/// Opens the file's descriptor and tells what it leads to.
bool OpenDescriptor(XELP_S_File &file, const QAL_CHAR *pszName, int iFlags, struct stat &status)
{
    file.iFd = Retry([&] { return open(pszName, iFlags | O_CLOEXEC | O_NOCTTY, kCreateMode); });
    return file.iFd != -1 && fstat(file.iFd, &status) == 0;
}

// ---- Directories --------------------------------------------------------------------------------

/// The name of a directory, not terminated.
struct DirName {
    const QAL_CHAR *pszName;
    QAL_ULONG ulLen;

    bool operator==(const DirName &other) const
    {
        return ulLen == other.ulLen && std::memcmp(pszName, other.pszName, ulLen) == 0;
    }
};

/// The directory that holds an entry.
DirName DirectoryOf(const QAL_CHAR *pszName)
{
    const QAL_CHAR *const pszSlash = std::strrchr(pszName, '/');
    if (pszSlash == nullptr) {
        return {".", 1};
    }
    return {pszName, pszSlash == pszName ? 1 : static_cast<QAL_ULONG>(pszSlash - pszName)};
}

/// Opens a directory in order to flush it; -1 if it cannot be read.
int OpenDirectory(DirName dir)
{
    QAL_CHAR szDir[PATH_MAX];
    if (dir.ulLen >= sizeof szDir) {
        return -1; // nor can any entry of it be opened
    }
    std::memcpy(szDir, dir.pszName, dir.ulLen);
    szDir[dir.ulLen] = '\0';
    return Retry([&] { return open(szDir, O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
}

/// Brings what was written through a descriptor to its device.
bool Flush(int iFd)
{
    // EINVAL comes from pipes, terminals and the like, which have no device behind them.
    return Retry([&] { return fsync(iFd); }) == 0 || errno == EINVAL;
}

/// Brings the entries of a directory to its device; takes the descriptor.
bool FlushDirectory(int iDirFd)
{
    if (iDirFd == -1) {
        sync(); // entries can be changed, but not read: only everything together can be flushed
        return true;
    }
    const bool isDone = Flush(iDirFd);
    const KeepErrno keep;
    Close(iDirFd);
    return isDone;
}

// ---- Reading ------------------------------------------------------------------------------------

/// Reads a regular file to its end.
bool ReadWhole(XELP_S_File &file, off_t lSize)
{
    // The size is a hint: some files do not tell theirs, others grow. The byte of room beyond it is
    // for the read that finds the end.
    QAL_ULONG ulRoom = lSize > 0 ? static_cast<QAL_ULONG>(lSize) + 1 : kSmallestWhole;
    QAL_ULONG ulHeld = 0;
    file.pucBuffer = static_cast<QAL_UINT8 *>(std::malloc(ulRoom));
    if (file.pucBuffer == nullptr) {
        return false;
    }
    for (;;) {
        const ssize_t lNow = Read(file.iFd, file.pucBuffer + ulHeld, ulRoom - ulHeld);
        if (lNow < 0) {
            return false;
        }
        if (lNow == 0) {
            break;
        }
        ulHeld += static_cast<QAL_ULONG>(lNow);
        if (ulHeld == ulRoom) {
            ulRoom *= 2;
            void *const pLarger = std::realloc(file.pucBuffer, ulRoom);
            if (pLarger == nullptr) {
                return false;
            }
            file.pucBuffer = static_cast<QAL_UINT8 *>(pLarger);
        }
    }
    Close(file.iFd);
    file.iFd = -1;
    file.pucFirst = file.pucBuffer;
    file.pucNext = file.pucBuffer;
    file.pucEnd = file.pucBuffer + ulHeld;
    return true;
}

bool OpenForReading(XELP_S_File &file, const QAL_CHAR *pszName)
{
    struct stat status;
    if (!OpenDescriptor(file, pszName, O_RDONLY, status)) {
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
    file.pucFirst = file.pucBuffer;
    file.pucNext = file.pucBuffer;
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
        // The end stays the end: a pipe that finds another writer would else begin a second text.
        const KeepErrno keep;
        Close(file.iFd);
        file.iFd = -1;
        return false;
    }
    *file.pucBuffer = ucLast;
    file.lFirst += (file.pucEnd - file.pucFirst) - (hasLast ? 1 : 0);
    file.pucFirst = file.pucBuffer + (hasLast ? 0 : 1);
    file.pucNext = file.pucBuffer + 1;
    file.pucEnd = file.pucNext + lNow;
    return true;
}

/// XELP_Fgetc() where nothing is held; apart from it, so that the usual case needs no stack frame.
[[gnu::noinline]] QAL_INT32 GetcAfterRefill(XELP_S_File &file)
{
    return Refill(file) ? *file.pucNext++ : -1;
}

QAL_INT32 SeekReader(XELP_S_File &file, QAL_LONG lOffset, QAL_INT32 lWhence)
{
    const off_t lEnd = file.lFirst + (file.pucEnd - file.pucFirst); // of what is held
    off_t lBase = 0;
    if (lWhence == SEEK_CUR) {
        lBase = file.lFirst + (file.pucNext - file.pucFirst);
    } else if (lWhence == SEEK_END) {
        if (file.iFd != -1) {
            errno = ESPIPE; // where a stream ends is known only once that was reached
            return -1;
        }
        lBase = lEnd;
    }
    off_t lTarget = 0;
    if (__builtin_add_overflow(lBase, lOffset, &lTarget) || lTarget < file.lFirst ||
        lTarget > lEnd) {
        errno = EINVAL;
        return -1;
    }
    file.pucNext = file.pucFirst + (lTarget - file.lFirst);
    return 0;
}

// ---- Writing ------------------------------------------------------------------------------------

bool OpenForWriting(XELP_S_File &file, const QAL_CHAR *pszName)
{
    file.isWriter = true;
    file.pucBuffer = static_cast<QAL_UINT8 *>(std::malloc(kWriteBuffer));
    if (file.pucBuffer == nullptr) {
        return false; // before a file is emptied
    }
    if (kFlush) {
        // Now: a relative name may lead elsewhere by the time the file is closed.
        file.iDirFd = OpenDirectory(DirectoryOf(pszName));
    }
    struct stat status;
    if (!OpenDescriptor(file, pszName, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW, status)) {
        return false;
    }
    file.isRegular = S_ISREG(status.st_mode);
    file.isBuffered = file.isRegular;
    const bool isSmall = status.st_blksize > 0 && status.st_blksize < kBlockMax;
    file.lBlock = isSmall ? status.st_blksize : kBlockMax;
    return true;
}

/// Hands bytes over at the end of those that were; fewer than asked for if the file fails.
QAL_ULONG WriteNow(XELP_S_File &file, const QAL_UINT8 *pucFrom, QAL_ULONG ulCount)
{
    const QAL_ULONG ulDone = Write(file.iFd, pucFrom, ulCount);
    file.lWritten += static_cast<off_t>(ulDone);
    if (ulDone < ulCount) {
        file.iError = errno;
    }
    return ulDone;
}

/// Hands over the bytes that wait.
bool EmptyBuffer(XELP_S_File &file)
{
    const QAL_ULONG ulCount = file.ulWaiting;
    file.ulWaiting = 0; // also of a file that fails: there is no second try behind a gap
    return WriteNow(file, file.pucBuffer, ulCount) == ulCount;
}

/// Makes sure of the blocks up to a position; false if the bytes there must not wait.
bool Reserve(XELP_S_File &file, off_t lUpTo)
{
    if (lUpTo <= file.lReserved) {
        return true;
    }
    off_t lEnd = lUpTo;
    if (lUpTo > kOneByOne) {
        lEnd += lUpTo < kReserveMax ? lUpTo : kReserveMax; // as much again as there is
        file.hasSpare = true; // even if it fails: it may leave blocks behind
    }
    lEnd += (file.lBlock - lEnd % file.lBlock) % file.lBlock;
    // The process's limit holds for the size of a file, so a reservation beyond the end ignores it.
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    if (limit.rlim_cur < static_cast<rlim_t>(lEnd)) {
        lEnd = static_cast<off_t>(limit.rlim_cur);
    }
    if (lEnd < lUpTo) {
        return false;
    }
    const off_t lStart = file.lWritten;
    if (Retry([&] { return fallocate(file.iFd, FALLOC_FL_KEEP_SIZE, lStart, lEnd - lStart); }) !=
        0) {
        return false;
    }
    file.lReserved = lEnd;
    return true;
}

/// Writes bytes now or later; fewer than asked for if the file fails.
QAL_ULONG Append(XELP_S_File &file, const QAL_UINT8 *pucFrom, QAL_ULONG ulCount)
{
    if (ulCount > kWriteBuffer - file.ulWaiting && !EmptyBuffer(file)) {
        return 0;
    }
    if (ulCount > kWriteBuffer || !file.isBuffered) {
        return WriteNow(file, pucFrom, ulCount);
    }
    const QAL_ULONG ulEnd = static_cast<QAL_ULONG>(file.lWritten) + file.ulWaiting + ulCount;
    if (!Reserve(file, static_cast<off_t>(ulEnd))) {
        file.isBuffered = false; // a full disk, or one that cannot: it need not be asked again
        return EmptyBuffer(file) ? WriteNow(file, pucFrom, ulCount) : 0;
    }
    std::memcpy(file.pucBuffer + file.ulWaiting, pucFrom, ulCount);
    file.ulWaiting += ulCount;
    return ulCount;
}

QAL_INT32 SeekWriter(XELP_S_File &file, QAL_LONG lOffset, QAL_INT32 lWhence)
{
    if (file.iError != 0 || !EmptyBuffer(file)) {
        errno = file.iError;
        return -1;
    }
    const off_t lPosition = lseek(file.iFd, lOffset, lWhence);
    if (lPosition == -1) {
        return -1;
    }
    file.lWritten = lPosition;
    file.isBuffered = false; // overwriting a block can take another one, for which none is reserved
    return 0;
}

/// Gives back the blocks beyond the end. To fail in it is untidy, but loses nothing.
void Trim(const XELP_S_File &file)
{
    struct stat status;
    if (file.hasSpare && fstat(file.iFd, &status) == 0) {
        static_cast<void>(Retry([&] { return ftruncate(file.iFd, status.st_size); }));
    }
}

/// Ends a file for writing, with all that belongs to it but its memory.
void Finish(XELP_S_File &file)
{
    const auto note = [&](bool isDone) {
        if (!isDone && file.iError == 0) {
            file.iError = errno;
        }
    };
    EmptyBuffer(file);
    Trim(file);
    if (kFlush && file.iError == 0) { // nobody wants what has failed
        note(Flush(file.iFd));
    }
    note(Close(file.iFd));
    if (kFlush && file.iError == 0 && file.isRegular) {
        // After the file: an entry that outlives a power cut must not lead to half of it.
        note(FlushDirectory(file.iDirFd));
    } else {
        Close(file.iDirFd);
    }
    if (file.iError != 0 && !file.isTold) {
        iPendingError = file.iError;
    }
}

/// Fails once for a file whose end has failed.
bool HasPendingError()
{
    if (iPendingError == 0) {
        return false;
    }
    errno = iPendingError;
    iPendingError = 0;
    return true;
}

} // namespace

extern "C" {

XELP_S_File *XELP_Fopen(const QAL_CHAR *pszName, const QAL_CHAR *pszMode)
{
    const bool isWriter = std::strcmp(pszMode, "w") == 0;
    if (!isWriter && std::strcmp(pszMode, "r") != 0) {
        errno = EINVAL;
        return nullptr;
    }
    auto *const pstruFile = static_cast<XELP_S_File *>(std::calloc(1, sizeof(XELP_S_File)));
    if (pstruFile == nullptr) {
        return nullptr;
    }
    pstruFile->iFd = -1;
    pstruFile->iDirFd = -1;
    if (isWriter ? OpenForWriting(*pstruFile, pszName) : OpenForReading(*pstruFile, pszName)) {
        return pstruFile;
    }
    const KeepErrno keep;
    Close(pstruFile->iFd);
    Close(pstruFile->iDirFd);
    std::free(pstruFile->pucBuffer);
    std::free(pstruFile);
    return nullptr;
}

QAL_INT32 XELP_Fgetc(XELP_S_File *pstruFile)
{
    if (pstruFile->pucNext == pstruFile->pucEnd) [[unlikely]] {
        return GetcAfterRefill(*pstruFile);
    }
    return *pstruFile->pucNext++;
}

QAL_INT32 XELP_Fseek(XELP_S_File *pstruFile, QAL_LONG lOffset, QAL_INT32 lWhence)
{
    if (lWhence != SEEK_SET && lWhence != SEEK_CUR && lWhence != SEEK_END) {
        errno = EINVAL;
        return -1;
    }
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
    QAL_ULONG ulDone = 0;
    if (pstruFile->iError == 0) { // what has failed must not continue behind a gap
        ulDone = Append(*pstruFile, static_cast<const QAL_UINT8 *>(pData), ulBytes);
    }
    if (ulDone < ulBytes) {
        pstruFile->isTold = true;
        errno = pstruFile->iError;
    }
    return static_cast<QAL_UINT32>(ulDone / ulSize);
}

QAL_INT32 XELP_Fclose(XELP_S_File *pstruFile)
{
    if (pstruFile->isWriter) {
        Finish(*pstruFile);
    } else {
        Close(pstruFile->iFd);
    }
    const int iError = pstruFile->iError;
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
    // unlink() takes no directory, not even from the superuser.
    return HasPendingError() ? -1 : Retry([&] { return unlink(pszName); });
}

QAL_INT32 XELP_Rename(const QAL_CHAR *pszOldName, const QAL_CHAR *pszNewName)
{
    if (HasPendingError() || Retry([&] { return rename(pszOldName, pszNewName); }) != 0) {
        return -1;
    }
    if (kFlush) {
        const DirName oldDir = DirectoryOf(pszOldName);
        const DirName newDir = DirectoryOf(pszNewName);
        // The new entry first: with neither of them the file would be lost.
        if (!FlushDirectory(OpenDirectory(newDir)) ||
            (oldDir != newDir && !FlushDirectory(OpenDirectory(oldDir)))) {
            return -1;
        }
    }
    return 0;
}

} // extern "C"
