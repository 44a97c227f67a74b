// A library to preload: it counts a program's system calls for files, writes the name of each into
// a log, and injects a fault at one of them.
//
//   WYX_FAULT_LOG   the log, one name of a call per line
//   WYX_FAULT_AT    which call, counted from 1; if it is not set, no fault is injected
//   WYX_FAULT_DO    "fail <errno>"
//                   "short"       a read or write moves only half
//                   "die before"  the process is killed before the call
//                   "die amid"    the process is killed after half of a read or write, or before
//                                 any other call
//                   "stop"        the process stops before the call, until it is continued
//   WYX_FAULT_CHANGES  another log, of the calls that change or flush files: a word, the file, and
//                      then the number of bytes of a write, or the new name of a rename
//   WYX_FAULT_TIME  the time that the clock shows, in seconds since 1970
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

namespace {

enum class Fate { kNone, kFail, kShort, kDieBefore, kDieAmid, kStop };

struct Plan {
    Plan()
    {
        const char *const pszLog = std::getenv("WYX_FAULT_LOG");
        const char *const pszAt = std::getenv("WYX_FAULT_AT");
        const char *const pszDo = std::getenv("WYX_FAULT_DO");
        if (pszLog != nullptr) {
            log = static_cast<int>(syscall(SYS_openat, AT_FDCWD, pszLog,
                                           O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
        }
        if (pszAt == nullptr || pszDo == nullptr) {
            return;
        }
        at = std::atol(pszAt);
        const struct {
            const char *pszDo;
            Fate fate;
        } fates[] = {{"short", Fate::kShort},
                     {"die before", Fate::kDieBefore},
                     {"die amid", Fate::kDieAmid},
                     {"stop", Fate::kStop}};
        for (const auto &known : fates) {
            fate = std::strcmp(pszDo, known.pszDo) == 0 ? known.fate : fate;
        }
        if (std::strncmp(pszDo, "fail ", 5) == 0) {
            fate = Fate::kFail;
            error = std::atoi(pszDo + 5);
        }
    }

    int log = -1;
    long at = 0;
    Fate fate = Fate::kNone;
    int error = 0;
    long calls = 0;
};

[[noreturn]] void Die()
{
    for (;;) {
        kill(getpid(), SIGKILL);
    }
}

/// Counts a call and decides what happens to it.
Fate Strike(const char *pszCall)
{
    static Plan plan;
    if (plan.log != -1) {
        char szLine[32] = {};
        std::strncpy(szLine, pszCall, sizeof szLine - 2);
        szLine[std::strlen(szLine)] = '\n';
        static_cast<void>(syscall(SYS_write, plan.log, szLine, std::strlen(szLine)));
    }
    if (++plan.calls != plan.at) {
        return Fate::kNone;
    }
    if (plan.fate == Fate::kDieBefore) {
        Die();
    }
    if (plan.fate == Fate::kStop) {
        raise(SIGSTOP);
        return Fate::kNone;
    }
    errno = plan.error;
    return plan.fate;
}

/// The C library's own function.
template <typename Function>
Function *Next(const char *pszName)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, pszName));
}

/// Makes a call, or does what the plan requests instead.
template <typename Result, typename Call>
Result Make(const char *pszCall, Result failure, Call call)
{
    const Fate fate = Strike(pszCall);
    if (fate == Fate::kDieAmid) {
        Die();
    }
    return fate == Fate::kFail ? failure : call();
}

template <typename Call>
auto Make(const char *pszCall, Call call) -> decltype(call())
{
    return Make(pszCall, decltype(call())(-1), call);
}

/// Makes a call that moves bytes; if the plan requests it, only half of them.
template <typename Call>
ssize_t Move(const char *pszCall, size_t size, Call call)
{
    const Fate fate = Strike(pszCall);
    if (fate == Fate::kFail) {
        return -1;
    }
    const bool isHalf = fate == Fate::kShort || fate == Fate::kDieAmid;
    const ssize_t moved = call(isHalf && size > 1 ? size / 2 : size);
    if (fate == Fate::kDieAmid) {
        Die();
    }
    return moved;
}

const char *ChangesLog()
{
    static const char *const pszLog = std::getenv("WYX_FAULT_CHANGES");
    return pszLog;
}

/// Records a change in the log of changes, if it happened.
template <typename Result>
Result Note(Result result, const char *pszChange, const std::string &file,
            const std::string &detail = {})
{
    if (ChangesLog() != nullptr && result >= 0) {
        const int iError = errno;
        const std::string line = std::string(pszChange) + " " + file + " " + detail + "\n";
        const auto iLog = static_cast<int>(
            syscall(SYS_openat, AT_FDCWD, ChangesLog(), O_WRONLY | O_CREAT | O_APPEND, 0600));
        static_cast<void>(syscall(SYS_write, iLog, line.data(), line.size()));
        syscall(SYS_close, iLog);
        errno = iError;
    }
    return result;
}

/// The file of a descriptor, for that log.
std::string NameOf(int iFd)
{
    if (ChangesLog() == nullptr) {
        return {}; // without a system call
    }
    char szName[4096] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(iFd);
    syscall(SYS_readlinkat, AT_FDCWD, link.c_str(), szName, sizeof szName - 1);
    return szName;
}

int Open(const char *pszName, int iFlags, mode_t mode)
{
    const int iFd = Make("open", [&] {
        return static_cast<int>(syscall(SYS_openat, AT_FDCWD, pszName, iFlags, mode));
    });
    return (iFlags & O_CREAT) != 0 ? Note(iFd, "create", pszName) : iFd;
}

mode_t ModeOf(int iFlags, va_list arguments)
{
    return (iFlags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

} // namespace

// Defines a call that passes its arguments on to the C library's own function.
#define WYX_CALL(result, name, parameters, arguments)                                 \
    result name parameters                                                            \
    {                                                                                 \
        return Make(#name, [&] { return Next<result parameters>(#name) arguments; }); \
    }

extern "C" {

int open(const char *pszName, int iFlags, ...)
{
    va_list arguments;
    va_start(arguments, iFlags);
    const mode_t mode = ModeOf(iFlags, arguments);
    va_end(arguments);
    return Open(pszName, iFlags, mode);
}

int open64(const char *pszName, int iFlags, ...)
{
    va_list arguments;
    va_start(arguments, iFlags);
    const mode_t mode = ModeOf(iFlags, arguments);
    va_end(arguments);
    return Open(pszName, iFlags, mode);
}

int openat(int iDirFd, const char *pszName, int iFlags, ...)
{
    va_list arguments;
    va_start(arguments, iFlags);
    const mode_t mode = ModeOf(iFlags, arguments);
    va_end(arguments);
    return Make("openat", [&] {
        return static_cast<int>(syscall(SYS_openat, iDirFd, pszName, iFlags, mode));
    });
}

ssize_t read(int iFd, void *pTo, size_t size)
{
    return Move("read", size, [&](size_t count) { return syscall(SYS_read, iFd, pTo, count); });
}

ssize_t pread(int iFd, void *pTo, size_t size, off_t offset)
{
    return Move("pread64", size,
                [&](size_t count) { return syscall(SYS_pread64, iFd, pTo, count, offset); });
}

ssize_t write(int iFd, const void *pFrom, size_t size)
{
    const ssize_t written =
        Move("write", size, [&](size_t count) { return syscall(SYS_write, iFd, pFrom, count); });
    return Note(written, "write", NameOf(iFd), std::to_string(written));
}

int fsync(int iFd)
{
    return Note(Make("fsync", [&] { return static_cast<int>(syscall(SYS_fsync, iFd)); }), "flush",
                NameOf(iFd));
}

int unlink(const char *pszName)
{
    return Note(Make("unlink", [&] { return Next<int(const char *)>("unlink")(pszName); }),
                "remove", pszName);
}

int rename(const char *pszOld, const char *pszNew)
{
    return Note(
        Make("rename",
             [&] { return Next<int(const char *, const char *)>("rename")(pszOld, pszNew); }),
        "rename", pszOld, pszNew);
}

int clock_gettime(clockid_t clock, timespec *pstru)
{
    const char *const pszTime = std::getenv("WYX_FAULT_TIME");
    const auto iResult = static_cast<int>(syscall(SYS_clock_gettime, clock, pstru));
    if (pszTime != nullptr && clock == CLOCK_REALTIME) {
        *pstru = {std::atol(pszTime), 0};
    }
    return iResult;
}

void sync(void)
{
    Make("sync", [] {
        syscall(SYS_sync);
        return 0;
    });
}

char *realpath(const char *pszName, char *pszResolved)
{
    return Make("realpath", static_cast<char *>(nullptr), [&] {
        return Next<char *(const char *, char *)>("realpath")(pszName, pszResolved);
    });
}

// clang-format off
WYX_CALL(int, close, (int iFd), (iFd))
WYX_CALL(int, fstat, (int iFd, struct stat *pstru), (iFd, pstru))
WYX_CALL(int, fallocate, (int iFd, int iMode, off_t from, off_t count), (iFd, iMode, from, count))
WYX_CALL(int, ftruncate, (int iFd, off_t length), (iFd, length))
WYX_CALL(off_t, lseek, (int iFd, off_t offset, int iWhence), (iFd, offset, iWhence))
WYX_CALL(int, getrlimit, (__rlimit_resource_t resource, rlimit *pstru), (resource, pstru))

// Further calls that the tool makes.
WYX_CALL(int, stat, (const char *pszName, struct stat *pstru), (pszName, pstru))
WYX_CALL(int, lstat, (const char *pszName, struct stat *pstru), (pszName, pstru))
WYX_CALL(int, fstatat, (int iDir, const char *pszName, struct stat *pstru, int iFlags),
         (iDir, pszName, pstru, iFlags))
WYX_CALL(int, access, (const char *pszName, int iMode), (pszName, iMode))
WYX_CALL(int, faccessat, (int iDir, const char *pszName, int iMode, int iFlags),
         (iDir, pszName, iMode, iFlags))
WYX_CALL(ssize_t, readlink, (const char *pszName, char *pszTo, size_t size), (pszName, pszTo, size))
WYX_CALL(int, flock, (int iFd, int iHow), (iFd, iHow))
WYX_CALL(int, fchmod, (int iFd, mode_t mode), (iFd, mode))
WYX_CALL(int, chmod, (const char *pszName, mode_t mode), (pszName, mode))
WYX_CALL(int, fchown, (int iFd, uid_t user, gid_t group), (iFd, user, group))
WYX_CALL(int, chown, (const char *pszName, uid_t user, gid_t group), (pszName, user, group))
WYX_CALL(int, memfd_create, (const char *pszName, unsigned uiFlags), (pszName, uiFlags))
WYX_CALL(int, link, (const char *pszOld, const char *pszNew), (pszOld, pszNew))
WYX_CALL(int, linkat, (int iOld, const char *pszOld, int iNew, const char *pszNew, int iFlags),
         (iOld, pszOld, iNew, pszNew, iFlags))
WYX_CALL(int, unlinkat, (int iDir, const char *pszName, int iFlags), (iDir, pszName, iFlags))
WYX_CALL(int, renameat, (int iOld, const char *pszOld, int iNew, const char *pszNew),
         (iOld, pszOld, iNew, pszNew))
WYX_CALL(int, renameat2, (int iOld, const char *pszOld, int iNew, const char *pszNew,
         unsigned int uFlags), (iOld, pszOld, iNew, pszNew, uFlags))
WYX_CALL(int, mkostemp, (char *pszName, int iFlags), (pszName, iFlags))
WYX_CALL(int, mkostemps, (char *pszName, int iSuffix, int iFlags), (pszName, iSuffix, iFlags))
WYX_CALL(int, rmdir, (const char *pszName), (pszName))
WYX_CALL(int, mkdir, (const char *pszName, mode_t mode), (pszName, mode))
WYX_CALL(ssize_t, listxattr, (const char *pszName, char *pszNames, size_t size),
         (pszName, pszNames, size))
WYX_CALL(ssize_t, getxattr, (const char *pszFile, const char *pszName, void *pTo, size_t size),
         (pszFile, pszName, pTo, size))
WYX_CALL(ssize_t, flistxattr, (int iFd, char *pszNames, size_t size), (iFd, pszNames, size))
WYX_CALL(ssize_t, fgetxattr, (int iFd, const char *pszName, void *pTo, size_t size),
         (iFd, pszName, pTo, size))
WYX_CALL(int, fsetxattr, (int iFd, const char *pszName, const void *pFrom, size_t size, int iFlags),
         (iFd, pszName, pFrom, size, iFlags))
WYX_CALL(int, fremovexattr, (int iFd, const char *pszName), (iFd, pszName))
// clang-format on

} // extern "C"
