// A thread's failure is kept under a pthread key, not in a thread_local variable: Android's
// toolchain may emulate such a variable, allocating at each thread's first use and aborting if
// there is no memory. A key, too, has a value for each thread, which lasts as long as the thread,
// but storing it returns an error if there is no memory. A process in which nothing fails creates
// no key.
#include "file_failure.h"

#include <pthread.h>

#include <atomic>
#include <cstdint>

namespace {

constinit pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
constinit std::atomic<bool> hasKey = false;
constinit pthread_key_t key = {}; // never deleted: the library runs no code when it is unloaded

/// How many failures are kept. Those of threads that have ended still count.
constinit std::atomic<int> iKept = 0;

/// A failure that could not be stored for its thread. The first thread that asks and has no failure
/// of its own takes it.
constinit std::atomic<int> iForAnyThread = 0;

/// Creates the key unless it exists; false if that fails.
bool EnsureKey()
{
    pthread_mutex_lock(&mutex);
    if (!hasKey && pthread_key_create(&key, nullptr) == 0) {
        hasKey = true;
    }
    pthread_mutex_unlock(&mutex);
    return hasKey;
}

bool SetThreadError(int iError)
{
    return pthread_setspecific(key, reinterpret_cast<void *>(std::intptr_t{iError})) == 0;
}

int ThreadError()
{
    return hasKey ? static_cast<int>(reinterpret_cast<std::intptr_t>(pthread_getspecific(key))) : 0;
}

} // namespace

namespace wyx::os {

void KeepFailure(int iError)
{
    const bool isFirst = ThreadError() == 0;
    if (EnsureKey() && SetThreadError(iError)) {
        iKept += isFirst ? 1 : 0;
    } else if (iForAnyThread.exchange(iError) == 0) {
        ++iKept;
    }
}

int TakeFailure()
{
    if (iKept == 0) {
        return 0;
    }
    int iError = ThreadError();
    if (iError != 0) {
        SetThreadError(0);
    } else {
        iError = iForAnyThread.exchange(0);
    }
    iKept -= iError != 0 ? 1 : 0;
    return iError;
}

} // namespace wyx::os
