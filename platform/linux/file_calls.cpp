#include "file_calls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

namespace {

constexpr mode_t kCreateMode = 0666;

/// Repeats a system call while signals interrupt it.
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

} // namespace

namespace wyx::os {

int Open(const QAL_CHAR *pszName, int iFlags)
{
    return Retry([&] { return open(pszName, iFlags | O_CLOEXEC | O_NOCTTY, kCreateMode); });
}

bool Close(int iFd)
{
    // Linux: never repeated. The descriptor is closed even if a signal interrupts the call, and
    // another thread may already have been given its number.
    return iFd == -1 || close(iFd) == 0 || errno == EINTR;
}

ssize_t Read(int iFd, QAL_UINT8 *pucTo, QAL_ULONG ulRoom)
{
    return Retry([&] { return read(iFd, pucTo, ulRoom); });
}

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

bool Flush(int iFd)
{
    // Linux: EINVAL means that there is no device, as for pipes and terminals.
    return Retry([&] { return fsync(iFd); }) == 0 || errno == EINVAL;
}

void FlushEverything()
{
    sync(); // Linux: returns once everything is written
}

bool ReserveBlocks(int iFd, off_t lFrom, off_t lUpTo)
{
    // Linux: the portable posix_fallocate() would change the size, and may write zeros where blocks
    // cannot be reserved.
    return Retry([&] { return fallocate(iFd, FALLOC_FL_KEEP_SIZE, lFrom, lUpTo - lFrom); }) == 0;
}

bool Truncate(int iFd, off_t lSize)
{
    return Retry([&] { return ftruncate(iFd, lSize); }) == 0;
}

rlim_t SizeLimit()
{
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    return limit.rlim_cur;
}

int Unlink(const QAL_CHAR *pszName)
{
    // Linux: unlink() refuses directories, even for the superuser.
    return Retry([&] { return unlink(pszName); });
}

int Rename(const QAL_CHAR *pszOldName, const QAL_CHAR *pszNewName)
{
    return Retry([&] { return rename(pszOldName, pszNewName); });
}

} // namespace wyx::os
