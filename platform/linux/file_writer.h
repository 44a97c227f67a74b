// Files open for writing.
//
// One system call per line would make large files slow, but buffered bytes could be lost to a full
// disk after they were reported as written. So blocks are reserved ahead, and only bytes that have
// a block are buffered; all others go to the kernel at once. A small file reserves one block at a
// time, so that it has no unused blocks: releasing them would cost more system calls.
#ifndef WYX_PLATFORM_LINUX_FILE_WRITER_H
#define WYX_PLATFORM_LINUX_FILE_WRITER_H

#include "file.h"

#include <sys/types.h>

namespace wyx::os {

struct Writer : xelpFile {
    QAL_UINT8 *pucBuffer;
    QAL_ULONG ulWaiting; // bytes in the buffer
    off_t lWritten;      // where the buffer starts in the file: the kernel has the bytes before it
    off_t lReserved;     // blocks are reserved up to here
    off_t lBlock;        // the unit of reservation
    int iFd;
    int iDirFd;      // the directory that holds the file; -1 if it cannot be read
    int iError;      // the first error; after it, the file takes no more bytes
    bool isReported; // that error has been reported by a short count
    bool isRegular;  // neither a pipe nor a device
    bool mayBuffer;  // bytes for which blocks can be reserved may wait
    bool hasSpare;   // there may be blocks after the last one that is needed
};

/// Opens a new or emptied file; null on failure. CloseWriter() releases it.
Writer *OpenWriter(const QAL_CHAR *pszName);

/// Writes bytes now or later and returns how many; fewer than requested if a write fails.
QAL_ULONG Append(Writer &writer, const QAL_UINT8 *pucFrom, QAL_ULONG ulCount);

/// Moves the position as lseek() does; 0 on success.
QAL_INT32 SeekWriter(Writer &writer, QAL_LONG lOffset, QAL_INT32 lWhence);

/// Writes what is buffered, flushes and closes; returns the first error of the file, or 0. Keeps an
/// error that has not been reported.
int CloseWriter(Writer &writer);

} // namespace wyx::os

#endif
