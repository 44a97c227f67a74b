// What the two kinds of open files have in common.
#ifndef WYX_PLATFORM_LINUX_FILE_H
#define WYX_PLATFORM_LINUX_FILE_H

#include "wyx_commlib/types.h"

/// An open file as its caller holds it: a Reader or a Writer. A writer never has a byte to read, so
/// XELP_Fgetc() asks for the kind only if no byte is buffered.
struct xelpFile {
    const QAL_UINT8 *pucNext; // the next byte to read
    const QAL_UINT8 *pucEnd;  // after the last buffered byte
    bool isWriter;
};

#endif
