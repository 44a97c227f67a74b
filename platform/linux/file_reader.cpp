#include "file_reader.h"

#include "file_calls.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>

namespace {

using wyx::os::KeepErrno;
using wyx::os::Reader;

constexpr QAL_ULONG kStreamBuffer = 16384;
constexpr QAL_ULONG kRoomWithoutSize = 4096; // for files that do not report their size

/// Records which bytes the buffer now holds, none of them returned yet.
void SetBuffered(Reader &reader, const QAL_UINT8 *pucFirst, QAL_ULONG ulCount)
{
    const auto lCount = static_cast<QAL_LONG>(ulCount);
    reader.pucEnd = pucFirst + ulCount;
    reader.lEnd += lCount;
    reader.lFirst = -lCount;
    reader.lRead = reader.lFirst - 1;
}

/// Reads a regular file to its end.
bool ReadWhole(Reader &reader, off_t lSize)
{
    // The size is a hint: some files report no size, others grow. With room for one more byte, the
    // first read shows whether it has reached the end.
    QAL_ULONG ulRoom = lSize > 0 ? static_cast<QAL_ULONG>(lSize) + 1 : kRoomWithoutSize;
    QAL_ULONG ulHeld = 0;
    reader.pucBuffer = static_cast<QAL_UINT8 *>(std::malloc(ulRoom));
    if (reader.pucBuffer == nullptr) {
        return false;
    }
    for (;;) {
        const ssize_t lNow = wyx::os::Read(reader.iFd, reader.pucBuffer + ulHeld, ulRoom - ulHeld);
        if (lNow < 0) {
            return false;
        }
        if (lNow == 0) {
            break;
        }
        ulHeld += static_cast<QAL_ULONG>(lNow);
        if (lNow == lSize && ulHeld == static_cast<QAL_ULONG>(lNow)) {
            break; // the first read left the extra byte free: the usual case
        }
        if (ulHeld == ulRoom) {
            ulRoom *= 2;
            void *const pLarger = std::realloc(reader.pucBuffer, ulRoom);
            if (pLarger == nullptr) {
                return false;
            }
            reader.pucBuffer = static_cast<QAL_UINT8 *>(pLarger);
        }
    }
    wyx::os::Close(reader.iFd);
    reader.iFd = -1;
    SetBuffered(reader, reader.pucBuffer, ulHeld);
    return true;
}

bool OpenInto(Reader &reader, const QAL_CHAR *pszName)
{
    struct stat status;
    reader.iFd = wyx::os::Open(pszName, O_RDONLY);
    if (reader.iFd == -1 || fstat(reader.iFd, &status) != 0) {
        return false;
    }
    if (S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return false;
    }
    if (S_ISREG(status.st_mode)) {
        return ReadWhole(reader, status.st_size);
    }
    reader.pucBuffer = static_cast<QAL_UINT8 *>(std::malloc(1 + kStreamBuffer));
    SetBuffered(reader, reader.pucBuffer, 0);
    return reader.pucBuffer != nullptr;
}

} // namespace

namespace wyx::os {

Reader *OpenReader(const QAL_CHAR *pszName)
{
    auto *const pstruReader = static_cast<Reader *>(std::calloc(1, sizeof(Reader)));
    if (pstruReader == nullptr || OpenInto(*pstruReader, pszName)) {
        return pstruReader;
    }
    const KeepErrno keep;
    CloseReader(*pstruReader);
    return nullptr;
}

void CloseReader(Reader &reader)
{
    Close(reader.iFd);
    std::free(reader.pucBuffer);
    std::free(&reader);
}

bool Refill(Reader &reader)
{
    if (reader.iFd == -1) {
        return false;
    }
    const bool hasLast = reader.lFirst != 0;
    const QAL_UINT8 ucLast = hasLast ? reader.pucEnd[-1] : QAL_UINT8{0};
    const ssize_t lNow = Read(reader.iFd, reader.pucBuffer + 1, kStreamBuffer);
    if (lNow <= 0) {
        // The end is final: otherwise a pipe that gains another writer would start a second text.
        const KeepErrno keep;
        Close(reader.iFd);
        reader.iFd = -1;
        return false;
    }
    *reader.pucBuffer = ucLast;
    SetBuffered(reader, reader.pucBuffer + 1, static_cast<QAL_ULONG>(lNow));
    reader.lFirst -= hasLast ? 1 : 0;
    return true;
}

QAL_INT32 SeekReader(Reader &reader, QAL_LONG lOffset, QAL_INT32 lWhence)
{
    off_t lBase = 0;
    if (lWhence == SEEK_CUR) {
        lBase = reader.lEnd + reader.lRead + 1;
    } else if (lWhence == SEEK_END) {
        if (reader.iFd != -1) {
            errno = ESPIPE; // where a stream ends is known only after it has ended
            return -1;
        }
        lBase = reader.lEnd;
    }
    off_t lTarget = 0;
    if (__builtin_add_overflow(lBase, lOffset, &lTarget) || lTarget < reader.lEnd + reader.lFirst ||
        lTarget > reader.lEnd) {
        errno = EINVAL;
        return -1;
    }
    reader.lRead = lTarget - reader.lEnd - 1;
    return 0;
}

} // namespace wyx::os
