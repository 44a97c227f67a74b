#include "file_writer.h"

#include "file_calls.h"
#include "file_directory.h"
#include "file_failure.h"
#include "file_names.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

using wyx::os::KeepErrno;
using wyx::os::Writer;

constexpr bool kFlush = WYX_OS_ADAPTER_FLUSH != 0;
constexpr QAL_ULONG kWriteBuffer = 65536;
constexpr off_t kBlockMax = 4096;      // reserving part of a larger block reserves all of it
constexpr off_t kOneByOne = 8192;      // up to this size a file reserves block by block
constexpr off_t kReserveMax = 1048576; // the most that is reserved ahead

bool OpenInto(Writer &writer, const QAL_CHAR *pszName)
{
    writer.pucBuffer = static_cast<QAL_UINT8 *>(std::malloc(kWriteBuffer));
    if (writer.pucBuffer == nullptr) {
        return false; // the file has not been emptied yet
    }
    if (kFlush) {
        // Opened now: by the time the file is closed, a relative name may lead elsewhere.
        writer.iDirFd = wyx::os::OpenDirectory(wyx::os::DirectoryOf(pszName));
    }
    const bool mustBeNew = wyx::os::RemoveNote(wyx::os::Seen::kUnreadable, pszName);
    writer.iFd = wyx::os::Open(pszName, O_WRONLY | O_CREAT | O_EXCL);
    const bool isNew = writer.iFd != -1;
    if (!isNew && errno == EEXIST && !mustBeNew) {
        writer.iFd = wyx::os::Open(pszName, O_WRONLY | O_CREAT | O_NOFOLLOW);
    }
    if (writer.iFd == -1) {
        return false;
    }
    struct stat status;
    if (fstat(writer.iFd, &status) != 0) {
        if (isNew) {
            const KeepErrno keep;
            wyx::os::Unlink(pszName); // a failed open leaves no empty file
        }
        return false;
    }
    writer.isRegular = S_ISREG(status.st_mode);
    if (writer.isRegular && status.st_size != 0 && !wyx::os::Truncate(writer.iFd, 0)) {
        return false;
    }
    // From here on, the name leads to a file of ours.
    wyx::os::RemoveNote(wyx::os::Seen::kRenamedAway, pszName);
    writer.mayBuffer = writer.isRegular;
    const bool isSmall = status.st_blksize > 0 && status.st_blksize < kBlockMax;
    writer.lBlock = isSmall ? status.st_blksize : kBlockMax;
    return true;
}

/// Releases a writer; its descriptors are closed already.
void Release(Writer &writer)
{
    std::free(writer.pucBuffer);
    std::free(&writer);
}

/// How many of the next bytes the process's file size limit allows.
QAL_ULONG Allowed(const Writer &writer, QAL_ULONG ulCount)
{
    if (!writer.isRegular) {
        return ulCount; // the limit does not apply to pipes and devices
    }
    const rlim_t limit = wyx::os::SizeLimit();
    const auto written = static_cast<rlim_t>(writer.lWritten);
    return limit > written ? std::min<QAL_ULONG>(ulCount, limit - written) : 0;
}

/// Hands bytes to the kernel and returns how many; fewer than requested if that fails.
QAL_ULONG WriteNow(Writer &writer, const QAL_UINT8 *pucFrom, QAL_ULONG ulCount)
{
    // A write at the limit would not only fail, but also raise SIGXFSZ, which ends the process.
    const QAL_ULONG ulAllowed = Allowed(writer, ulCount);
    const QAL_ULONG ulDone = wyx::os::Write(writer.iFd, pucFrom, ulAllowed);
    writer.lWritten += static_cast<off_t>(ulDone);
    if (ulDone < ulCount) {
        writer.iError = ulDone < ulAllowed ? errno : EFBIG;
    }
    return ulDone;
}

/// Hands the buffered bytes to the kernel; false if that fails.
bool EmptyBuffer(Writer &writer)
{
    const QAL_ULONG ulCount = writer.ulWaiting;
    writer.ulWaiting = 0; // even if the write fails: Finish() must not repeat it
    return WriteNow(writer, writer.pucBuffer, ulCount) == ulCount;
}

/// Reserves the blocks up to a position; false if the bytes before it must not be buffered.
bool Reserve(Writer &writer, off_t lUpTo)
{
    if (lUpTo <= writer.lReserved) {
        return true;
    }
    off_t lEnd = lUpTo;
    if (lUpTo > kOneByOne) {
        lEnd += lUpTo < kReserveMax ? lUpTo : kReserveMax; // as much again, up to a limit
        writer.hasSpare = true; // a failed call may leave some blocks reserved, too
    }
    lEnd += (writer.lBlock - lEnd % writer.lBlock) % writer.lBlock;
    // A reservation leaves the size as it is, so the kernel does not check the limit here.
    const rlim_t limit = wyx::os::SizeLimit();
    if (limit < static_cast<rlim_t>(lEnd)) {
        lEnd = static_cast<off_t>(limit);
    }
    if (lEnd < lUpTo || !wyx::os::ReserveBlocks(writer.iFd, writer.lWritten, lEnd)) {
        return false;
    }
    writer.lReserved = lEnd;
    return true;
}

/// Releases the blocks after the end. A failure is untidy but harmless.
void Trim(const Writer &writer)
{
    struct stat status;
    if (writer.hasSpare && fstat(writer.iFd, &status) == 0) {
        wyx::os::Truncate(writer.iFd, status.st_size);
    }
}

/// Writes out a file and closes its descriptors.
void Finish(Writer &writer)
{
    const auto check = [&](bool isDone) {
        if (!isDone && writer.iError == 0) {
            writer.iError = errno;
        }
    };
    EmptyBuffer(writer);
    Trim(writer);
    if (kFlush && writer.iError == 0) { // there is no point in flushing a failed file
        check(wyx::os::Flush(writer.iFd));
    }
    check(wyx::os::Close(writer.iFd));
    if (kFlush && writer.iError == 0 && writer.isRegular) {
        // After the file: an entry that survives a power cut must not lead to half a file.
        check(wyx::os::FlushDirectory(writer.iDirFd));
    } else {
        wyx::os::Close(writer.iDirFd);
    }
}

} // namespace

namespace wyx::os {

Writer *OpenWriter(const QAL_CHAR *pszName)
{
    auto *const pstruWriter = static_cast<Writer *>(std::calloc(1, sizeof(Writer)));
    if (pstruWriter == nullptr) {
        return nullptr;
    }
    pstruWriter->isWriter = true;
    pstruWriter->lRead = -1;
    pstruWriter->iFd = -1;
    pstruWriter->iDirFd = -1;
    if (OpenInto(*pstruWriter, pszName)) {
        return pstruWriter;
    }
    const KeepErrno keep;
    Close(pstruWriter->iFd);
    Close(pstruWriter->iDirFd);
    Release(*pstruWriter);
    return nullptr;
}

QAL_ULONG Append(Writer &writer, const QAL_UINT8 *pucFrom, QAL_ULONG ulCount)
{
    if (ulCount > kWriteBuffer - writer.ulWaiting && !EmptyBuffer(writer)) {
        return 0;
    }
    if (ulCount > kWriteBuffer || !writer.mayBuffer) {
        return WriteNow(writer, pucFrom, ulCount);
    }
    const QAL_ULONG ulEnd = static_cast<QAL_ULONG>(writer.lWritten) + writer.ulWaiting + ulCount;
    if (!Reserve(writer, static_cast<off_t>(ulEnd))) {
        writer.mayBuffer = false; // another try would probably fail, too
        return EmptyBuffer(writer) ? WriteNow(writer, pucFrom, ulCount) : 0;
    }
    std::memcpy(writer.pucBuffer + writer.ulWaiting, pucFrom, ulCount);
    writer.ulWaiting += ulCount;
    return ulCount;
}

QAL_INT32 SeekWriter(Writer &writer, QAL_LONG lOffset, QAL_INT32 lWhence)
{
    if (writer.iError != 0 || !EmptyBuffer(writer)) {
        errno = writer.iError;
        return -1;
    }
    const off_t lPosition = lseek(writer.iFd, lOffset, lWhence);
    if (lPosition == -1) {
        return -1;
    }
    writer.lWritten = lPosition;
    writer.mayBuffer = false; // lReserved says nothing about gaps and overwritten bytes
    return 0;
}

int CloseWriter(Writer &writer)
{
    Finish(writer);
    const int iError = writer.iError;
    if (iError != 0 && !writer.isReported) {
        KeepFailure(iError);
    }
    Release(writer);
    return iError;
}

} // namespace wyx::os
