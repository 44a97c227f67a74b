#include "system_double.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string_view>
#include <utility>

namespace wyx::test {

SystemDouble &SystemDouble::Instance()
{
    // Never destroyed: memory is still released while the process ends.
    static SystemDouble &instance = *new SystemDouble;
    return instance;
}

void SystemDouble::Reset()
{
    const std::lock_guard lock(mutex_);
    calls_.clear();
    plans_.clear();
    actions_.clear();
    trace_.clear();
    interrupted_.clear();
    interruptEach_ = 0;
    readLimit_ = 0;
    writeLimit_ = 0;
    size_.reset();
    blockSize_.reset();
    sizeLimit_.reset();
    time_.reset();
    written_ = 0;
    reserved_ = 0;
}

void SystemDouble::Fail(const std::string &call, int n, int iError, int times)
{
    const std::lock_guard lock(mutex_);
    const int iFirst = calls_[call] + n;
    plans_[call].push_back({iFirst, iFirst + times - 1, iError});
}

void SystemDouble::InterruptEach(int times)
{
    interruptEach_ = times;
}

void SystemDouble::After(const std::string &call, int n, std::function<void()> action)
{
    const std::lock_guard lock(mutex_);
    actions_.push_back({call, calls_[call] + n, std::move(action)});
}

int SystemDouble::Calls(const std::string &call) const
{
    const std::lock_guard lock(mutex_);
    const auto found = calls_.find(call);
    return found != calls_.end() ? found->second : 0;
}

std::string SystemDouble::Trace(const std::string &folder) const
{
    const std::lock_guard lock(mutex_);
    std::string trace;
    for (std::string line : trace_) {
        for (std::size_t at; (at = line.find(folder)) != std::string::npos;) {
            const bool isInside = line.compare(at + folder.size(), 1, "/") == 0;
            line.replace(at, folder.size() + (isInside ? 1 : 0), isInside ? "" : ".");
        }
        trace += (trace.empty() ? "" : ", ") + line;
    }
    return trace;
}

std::vector<int> SystemDouble::OpenDescriptors() const
{
    const std::lock_guard lock(mutex_);
    std::vector<int> descriptors;
    for (const auto &[iFd, name] : descriptors_) {
        descriptors.push_back(iFd);
    }
    return descriptors;
}

std::size_t SystemDouble::LiveBlocks() const
{
    const std::lock_guard lock(mutex_);
    return blocks_.size();
}

bool SystemDouble::Strike(const std::string &call, const std::string &detail)
{
    const std::lock_guard lock(mutex_);
    const int n = ++calls_[call];
    if (!detail.empty()) {
        trace_.push_back(call + " " + detail);
    }
    // Without a destructor, like Instance(): calls are still made after destructors have run.
    static constexpr std::string_view kInterruptible[] = {
        "open", "read", "write", "fsync", "fallocate", "ftruncate", "unlink", "rename"};
    const bool isInterruptible = std::find(std::begin(kInterruptible), std::end(kInterruptible),
                                           call) != std::end(kInterruptible);
    if (isInterruptible && interrupted_[call] < interruptEach_) {
        ++interrupted_[call];
        errno = EINTR;
        return true;
    }
    interrupted_[call] = 0;
    for (const Plan &plan : plans_[call]) {
        if (n >= plan.iFirst && n <= plan.iLast) {
            errno = plan.iError;
            return true;
        }
    }
    return false;
}

void SystemDouble::Done(const std::string &call)
{
    std::vector<std::function<void()>> due;
    {
        const std::lock_guard lock(mutex_);
        for (const Action &action : actions_) {
            if (action.call == call && action.n == calls_[call]) {
                due.push_back(action.action);
            }
        }
    }
    const int iError = errno;
    for (const auto &action : due) {
        action();
    }
    errno = iError;
}

std::string SystemDouble::NameOf(int iFd) const
{
    const std::lock_guard lock(mutex_);
    const auto found = descriptors_.find(iFd);
    return found != descriptors_.end() ? found->second : "?";
}

void SystemDouble::Opened(int iFd, const char *pszName)
{
    const std::lock_guard lock(mutex_);
    if (iFd != -1) {
        descriptors_[iFd] = pszName;
    }
}

void SystemDouble::Closed(int iFd)
{
    const std::lock_guard lock(mutex_);
    descriptors_.erase(iFd);
}

void SystemDouble::Reserved(off_t from, off_t upTo)
{
    if (from <= std::max(static_cast<off_t>(written_), reserved_)) {
        reserved_ = std::max(reserved_, upTo);
    }
}

void SystemDouble::Allocated(void *pBlock)
{
    const std::lock_guard lock(mutex_);
    if (pBlock != nullptr) {
        blocks_.insert(pBlock);
    }
}

void SystemDouble::Released(void *pBlock)
{
    const std::lock_guard lock(mutex_);
    blocks_.erase(pBlock);
}

} // namespace wyx::test

using wyx::test::SystemDouble;

extern "C" {

// The linker's names for the system's own functions, and for their replacements.
int __real_open(const char *pszName, int iFlags, ...);
int __real_close(int iFd);
int __real_fstat(int iFd, struct stat *pstru);
ssize_t __real_read(int iFd, void *pTo, size_t size);
ssize_t __real_write(int iFd, const void *pFrom, size_t size);
int __real_fsync(int iFd);
int __real_fallocate(int iFd, int iMode, off_t offset, off_t length);
int __real_ftruncate(int iFd, off_t length);
off_t __real_lseek(int iFd, off_t offset, int iWhence);
int __real_unlink(const char *pszName);
int __real_rename(const char *pszOld, const char *pszNew);
int __real_getrlimit(int iResource, rlimit *pstru);
int __real_clock_gettime(clockid_t clock, timespec *pstru);
int __real_pthread_key_create(pthread_key_t *pKey, void (*pfunEnd)(void *));
void *__real_pthread_getspecific(pthread_key_t key);
int __real_pthread_setspecific(pthread_key_t key, const void *pValue);
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *pBlock, size_t size);
void __real_free(void *pBlock);

int __wrap_open(const char *pszName, int iFlags, ...);
int __wrap_close(int iFd);
int __wrap_fstat(int iFd, struct stat *pstru);
ssize_t __wrap_read(int iFd, void *pTo, size_t size);
ssize_t __wrap_write(int iFd, const void *pFrom, size_t size);
int __wrap_fsync(int iFd);
void __wrap_sync(void);
int __wrap_fallocate(int iFd, int iMode, off_t offset, off_t length);
int __wrap_ftruncate(int iFd, off_t length);
off_t __wrap_lseek(int iFd, off_t offset, int iWhence);
int __wrap_unlink(const char *pszName);
int __wrap_rename(const char *pszOld, const char *pszNew);
int __wrap_getrlimit(int iResource, rlimit *pstru);
int __wrap_clock_gettime(clockid_t clock, timespec *pstru);
int __wrap_pthread_key_create(pthread_key_t *pKey, void (*pfunEnd)(void *));
void *__wrap_pthread_getspecific(pthread_key_t key);
int __wrap_pthread_setspecific(pthread_key_t key, const void *pValue);
void *__wrap_malloc(size_t size);
void *__wrap_calloc(size_t count, size_t size);
void *__wrap_realloc(void *pBlock, size_t size);
void __wrap_free(void *pBlock);

int __wrap_open(const char *pszName, int iFlags, ...)
{
    va_list args;
    va_start(args, iFlags);
    const mode_t mode = (iFlags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
    va_end(args);
    SystemDouble &system = SystemDouble::Instance();
    if (system.Strike("open", pszName)) {
        return -1;
    }
    const int iFd = __real_open(pszName, iFlags, mode);
    system.Opened(iFd, pszName);
    system.Done("open");
    return iFd;
}

int __wrap_close(int iFd)
{
    SystemDouble &system = SystemDouble::Instance();
    const bool fails = system.Strike("close", system.NameOf(iFd));
    const int iError = errno;
    system.Closed(iFd); // closed in any case, as in the system
    const int iResult = __real_close(iFd);
    errno = fails ? iError : errno;
    return fails ? -1 : iResult;
}

int __wrap_fstat(int iFd, struct stat *pstru)
{
    SystemDouble &system = SystemDouble::Instance();
    if (system.Strike("fstat")) {
        return -1;
    }
    const int iResult = __real_fstat(iFd, pstru);
    pstru->st_size = system.ReportedSize().value_or(pstru->st_size);
    if (system.ReportedBlockSize()) {
        pstru->st_blksize = *system.ReportedBlockSize();
    }
    return iResult;
}

ssize_t __wrap_read(int iFd, void *pTo, size_t size)
{
    SystemDouble &system = SystemDouble::Instance();
    if (system.Strike("read", system.NameOf(iFd))) {
        return -1;
    }
    const size_t limit = system.ReadLimit() != 0 ? system.ReadLimit() : size;
    const ssize_t result = __real_read(iFd, pTo, std::min(size, limit));
    system.Done("read");
    return result;
}

ssize_t __wrap_write(int iFd, const void *pFrom, size_t size)
{
    SystemDouble &system = SystemDouble::Instance();
    if (system.Strike("write", system.NameOf(iFd))) {
        return errno == 0 ? 0 : -1;
    }
    const size_t limit = system.WriteLimit() != 0 ? system.WriteLimit() : size;
    const ssize_t result = __real_write(iFd, pFrom, std::min(size, limit));
    if (result > 0) {
        system.Wrote(static_cast<size_t>(result));
    }
    return result;
}

int __wrap_fsync(int iFd)
{
    SystemDouble &system = SystemDouble::Instance();
    return system.Strike("fsync", system.NameOf(iFd)) ? -1 : __real_fsync(iFd);
}

void __wrap_sync(void)
{
    SystemDouble::Instance().Strike("sync", "all"); // not carried out: a test must not stall others
}

int __wrap_fallocate(int iFd, int iMode, off_t offset, off_t length)
{
    SystemDouble &system = SystemDouble::Instance();
    if (system.Strike("fallocate", system.NameOf(iFd))) {
        return -1;
    }
    const int iResult = __real_fallocate(iFd, iMode, offset, length);
    if (iResult == 0) {
        system.Reserved(offset, offset + length);
    }
    return iResult;
}

int __wrap_ftruncate(int iFd, off_t length)
{
    SystemDouble &system = SystemDouble::Instance();
    return system.Strike("ftruncate", system.NameOf(iFd)) ? -1 : __real_ftruncate(iFd, length);
}

off_t __wrap_lseek(int iFd, off_t offset, int iWhence)
{
    SystemDouble &system = SystemDouble::Instance();
    return system.Strike("lseek", system.NameOf(iFd)) ? -1 : __real_lseek(iFd, offset, iWhence);
}

int __wrap_unlink(const char *pszName)
{
    return SystemDouble::Instance().Strike("unlink", pszName) ? -1 : __real_unlink(pszName);
}

int __wrap_rename(const char *pszOld, const char *pszNew)
{
    const std::string names = std::string(pszOld) + " " + pszNew;
    if (SystemDouble::Instance().Strike("rename", names)) {
        return errno == 0 ? 0 : -1;
    }
    return __real_rename(pszOld, pszNew);
}

int __wrap_getrlimit(int iResource, rlimit *pstru)
{
    SystemDouble &system = SystemDouble::Instance();
    const int iResult = __real_getrlimit(iResource, pstru);
    pstru->rlim_cur = system.ReportedSizeLimit().value_or(pstru->rlim_cur);
    return iResult;
}

int __wrap_clock_gettime(clockid_t clock, timespec *pstru)
{
    SystemDouble &system = SystemDouble::Instance();
    system.Strike("clock_gettime");
    const int iResult = __real_clock_gettime(clock, pstru);
    *pstru = system.ReportedTime().value_or(*pstru);
    system.Done("clock_gettime");
    return iResult;
}

// The calls for thread values return the error and leave errno alone. GoogleTest uses them, too.
int __wrap_pthread_key_create(pthread_key_t *pKey, void (*pfunEnd)(void *))
{
    const int iBefore = errno;
    const bool fails = SystemDouble::Instance().Strike("pthread_key_create");
    const int iError = errno;
    errno = iBefore;
    return fails ? iError : __real_pthread_key_create(pKey, pfunEnd);
}

void *__wrap_pthread_getspecific(pthread_key_t key)
{
    SystemDouble::Instance().Strike("pthread_getspecific");
    return __real_pthread_getspecific(key);
}

int __wrap_pthread_setspecific(pthread_key_t key, const void *pValue)
{
    const int iBefore = errno;
    const bool fails = SystemDouble::Instance().Strike("pthread_setspecific");
    const int iError = errno;
    errno = iBefore;
    return fails ? iError : __real_pthread_setspecific(key, pValue);
}

void *__wrap_malloc(size_t size)
{
    SystemDouble &system = SystemDouble::Instance();
    if (system.Strike("malloc")) {
        return nullptr;
    }
    void *const pBlock = __real_malloc(size);
    system.Allocated(pBlock);
    return pBlock;
}

void *__wrap_calloc(size_t count, size_t size)
{
    SystemDouble &system = SystemDouble::Instance();
    if (system.Strike("calloc")) {
        return nullptr;
    }
    void *const pBlock = __real_calloc(count, size);
    system.Allocated(pBlock);
    system.Done("calloc");
    return pBlock;
}

void *__wrap_realloc(void *pBlock, size_t size)
{
    SystemDouble &system = SystemDouble::Instance();
    if (system.Strike("realloc")) {
        return nullptr;
    }
    system.Released(pBlock);
    void *const pNew = __real_realloc(pBlock, size);
    system.Allocated(pNew);
    return pNew;
}

void __wrap_free(void *pBlock)
{
    SystemDouble::Instance().Released(pBlock);
    __real_free(pBlock);
}

} // extern "C"
