// What the two kinds of open files have in common.
#ifndef WYX_PLATFORM_LINUX_FILE_H
#define WYX_PLATFORM_LINUX_FILE_H

#include "wyx_commlib/types.h"

/// An open file as its caller holds it: a Reader or a Writer. A writer never has a byte to read or
/// to step back over, so the usual paths of XELP_Fgetc() and XELP_Fseek() need not check the kind.
///
/// Positions in the buffer count back from its end. So reading a byte takes one addition, which
/// also shows whether there is a byte left.
struct xelpFile {
    const QAL_UINT8 *pucEnd; // after the last buffered byte
    QAL_LONG lRead;          // the next byte is pucEnd[lRead + 1], so -1 means that all are read
    QAL_LONG lFirst;         // the first buffered byte is pucEnd[lFirst]
    bool isWriter;
};

#endif
