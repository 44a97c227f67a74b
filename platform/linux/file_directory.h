// The directories that hold files. Until a directory is flushed, a power cut can undo the creation,
// renaming or removal of its entries.
#ifndef WYX_PLATFORM_LINUX_FILE_DIRECTORY_H
#define WYX_PLATFORM_LINUX_FILE_DIRECTORY_H

#include "wyx_commlib/types.h"

namespace wyx::os {

/// The name of a directory, not terminated.
struct DirName {
    const QAL_CHAR *pszName;
    QAL_ULONG ulLen;

    bool operator==(const DirName &other) const;
};

/// The directory that holds an entry.
DirName DirectoryOf(const QAL_CHAR *pszName);

/// Opens a directory in order to flush it; -1 if it cannot be read.
int OpenDirectory(DirName dir);

/// Flushes the entries of a directory; takes the descriptor, which may be -1.
bool FlushDirectory(int iDirFd);

} // namespace wyx::os

#endif
