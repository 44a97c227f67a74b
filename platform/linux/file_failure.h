// A failure to write out or close a file, kept until somebody can be told.
//
// Callers seldom look at the result of XELP_Fclose(). The thread whose close failed therefore meets
// the failure again at its next XELP_Remove() or XELP_Rename(), before that acts.
#ifndef WYX_PLATFORM_LINUX_FILE_FAILURE_H
#define WYX_PLATFORM_LINUX_FILE_FAILURE_H

namespace wyx::os {

/// Keeps an error number for the calling thread, or for any thread if that is not possible.
void KeepFailure(int iError);

/// The error number that is kept for the calling thread, which is then forgotten; 0 for none.
int TakeFailure();

} // namespace wyx::os

#endif
