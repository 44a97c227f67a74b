#include "file_directory.h"

#include "file_calls.h"

#include <fcntl.h>
#include <limits.h>

#include <cstring>

namespace wyx::os {

bool DirName::operator==(const DirName &other) const
{
    return ulLen == other.ulLen && std::memcmp(pszName, other.pszName, ulLen) == 0;
}

DirName DirectoryOf(const QAL_CHAR *pszName)
{
    const QAL_CHAR *const pszSlash = std::strrchr(pszName, '/');
    if (pszSlash == nullptr) {
        return {".", 1};
    }
    return {pszName, pszSlash == pszName ? 1 : static_cast<QAL_ULONG>(pszSlash - pszName)};
}

int OpenDirectory(DirName dir)
{
    QAL_CHAR szDir[PATH_MAX];
    if (dir.ulLen >= sizeof szDir) {
        return -1; // none of its entries can be opened, either
    }
    std::memcpy(szDir, dir.pszName, dir.ulLen);
    szDir[dir.ulLen] = '\0';
    return Open(szDir, O_RDONLY | O_DIRECTORY);
}

bool FlushDirectory(int iDirFd)
{
    if (iDirFd == -1) {
        FlushEverything(); // a directory that cannot be read cannot be flushed by itself
        return true;
    }
    const bool isDone = Flush(iDirFd);
    const KeepErrno keep;
    Close(iDirFd);
    return isDone;
}

} // namespace wyx::os
