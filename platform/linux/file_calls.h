// The system calls for files, except fstat() and lseek(). Only these functions rely on what Linux
// does beyond POSIX; a comment that begins with "Linux:" marks each such place. In a port, check
// those places first.
#ifndef WYX_PLATFORM_LINUX_FILE_CALLS_H
#define WYX_PLATFORM_LINUX_FILE_CALLS_H

#include "wyx_commlib/types.h"

#include <sys/resource.h>
#include <sys/types.h>

#include <cerrno>

namespace wyx::os {

/// Restores errno at the end of a scope that cleans up after a failure.
class KeepErrno {
  public:
    KeepErrno() : iError_(errno) {}
    ~KeepErrno() { errno = iError_; }
    KeepErrno(const KeepErrno &) = delete;
    KeepErrno &operator=(const KeepErrno &) = delete;

  private:
    int iError_;
};

// An interrupted call is repeated, except Close(). On failure all of them set errno.

/// Opens a file, close-on-exec; -1 on failure.
int Open(const QAL_CHAR *pszName, int iFlags);

/// Closes a descriptor, unless it is -1.
bool Close(int iFd);

/// One read: how many bytes, 0 at the end of the file, -1 on failure.
ssize_t Read(int iFd, QAL_UINT8 *pucTo, QAL_ULONG ulRoom);

/// Writes bytes and returns how many; fewer than requested on failure.
QAL_ULONG Write(int iFd, const QAL_UINT8 *pucFrom, QAL_ULONG ulCount);

/// Flushes a file or directory to its device.
bool Flush(int iFd);

/// Flushes all file systems to their devices.
void FlushEverything();

/// Reserves blocks for a range of a file, which may extend past the file's end, without changing
/// the file's size.
bool ReserveBlocks(int iFd, off_t lFrom, off_t lUpTo);

/// Sets the size of a file, which releases the blocks reserved beyond it.
bool Truncate(int iFd, off_t lSize);

/// The size up to which this process may write a file.
rlim_t SizeLimit();

/// Removes a name, but never that of a directory; 0 on success.
int Unlink(const QAL_CHAR *pszName);

/// Renames a file; 0 on success.
int Rename(const QAL_CHAR *pszOldName, const QAL_CHAR *pszNewName);

} // namespace wyx::os

#endif
