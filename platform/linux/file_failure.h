// A failure to write out, flush or close a file, kept until it can be reported.
//
// Callers rarely check the result of XELP_Fclose(). The thread whose close failed therefore gets
// the failure again from its next XELP_Remove() or XELP_Rename(), which then does nothing else. A
// failure that a short count of XELP_Fwrite() has reported is not kept.
#ifndef WYX_PLATFORM_LINUX_FILE_FAILURE_H
#define WYX_PLATFORM_LINUX_FILE_FAILURE_H

namespace wyx::os {

/// Keeps an error number for the calling thread, or for any thread if that is not possible.
void KeepFailure(int iError);

/// Returns and forgets the error number kept for the calling thread, or else the one kept for any
/// thread; 0 if there is none.
int TakeFailure();

} // namespace wyx::os

#endif
