// Files open for reading.
//
// A regular file is read whole when it is opened: XELP_Fgetc() can report an error only as -1,
// which a caller would take for the end of the file. Pipes and devices stream through a buffer that
// keeps the last byte of the previous part, so that the position can always step back over the byte
// read last. Either way, the position only moves within what is in memory.
#ifndef WYX_PLATFORM_LINUX_FILE_READER_H
#define WYX_PLATFORM_LINUX_FILE_READER_H

#include "file.h"

#include <sys/types.h>

namespace wyx::os {

struct Reader : xelpFile {
    QAL_UINT8 *pucBuffer;
    off_t lEnd; // the position of pucEnd in the file
    int iFd;    // -1 once there is nothing more to read
};

/// Opens a file; null on failure. CloseReader() releases it.
Reader *OpenReader(const QAL_CHAR *pszName);

void CloseReader(Reader &reader);

/// Reads the next part of a stream once all buffered bytes are read; false at its end or on error.
bool Refill(Reader &reader);

/// Moves the position within what is buffered; 0 on success.
QAL_INT32 SeekReader(Reader &reader, QAL_LONG lOffset, QAL_INT32 lWhence);

} // namespace wyx::os

#endif
