// Names under which this process has just found no file that it can read, or from which it has just
// renamed a file away. A file that then appears under such a name may belong to another process,
// and must not be emptied or removed.
//
// A save first checks that the name of its new file is free. It then creates the file, gives it the
// target's name, and finally removes the file's old name, in case the renaming left it there. Two
// processes that save the same target in the same millisecond choose the same name for their new
// files. If such names were not noted, one process could empty the file that the other has just
// completed, or remove the file that the other has just created, and no content would be left.
#ifndef WYX_PLATFORM_LINUX_FILE_NAMES_H
#define WYX_PLATFORM_LINUX_FILE_NAMES_H

#include "wyx_commlib/types.h"

namespace wyx::os {

enum class Seen {
    kUnreadable, ///< there was no file, or none that could be opened for reading
    kRenamedAway ///< the file was given another name
};

/// Notes what happened to a name that ends in ".ibk", as the names of a save's new files do;
/// ignores other names. A note lasts for ten to eleven seconds, and only the last 64 are kept.
void AddNote(Seen enSeen, const QAL_CHAR *pszName);

/// Removes what AddNote() noted; false if there is no such note or it has expired.
bool RemoveNote(Seen enSeen, const QAL_CHAR *pszName);

} // namespace wyx::os

#endif
