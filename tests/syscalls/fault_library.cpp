// A library to preload: it counts the system calls for files that a program makes, writes each into
// a log, and lets one of them fail, or the process die before it or in its middle.
//
//   WYX_FAULT_LOG   the log, one name of a call a line
//   WYX_FAULT_AT    which call, from 1; none without it
//   WYX_FAULT_DO    "fail <errno>", "die before", "die amid" (a write that did half)
#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

enum class Fate { kNone, kFail, kDieBefore, kDieAmid };

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
        if (pszAt != nullptr && pszDo != nullptr) {
            at = std::atol(pszAt);
            if (std::strncmp(pszDo, "fail ", 5) == 0) {
                fate = Fate::kFail;
                error = std::atoi(pszDo + 5);
            } else {
                fate = std::strcmp(pszDo, "die before") == 0 ? Fate::kDieBefore : Fate::kDieAmid;
            }
        }
    }

    int log = -1;
    long at = 0;
    Fate fate = Fate::kNone;
    int error = 0;
    long calls = 0;
};

/// Counts a call; what is to become of it.
Fate Strike(const char *pszCall, int *piError)
{
    static Plan plan;
    if (plan.log != -1) {
        char szLine[32] = {};
        std::strncpy(szLine, pszCall, sizeof szLine - 2);
        szLine[std::strlen(szLine)] = '\n';
        static_cast<void>(syscall(SYS_write, plan.log, szLine, std::strlen(szLine)));
    }
    *piError = plan.error;
    return ++plan.calls == plan.at ? plan.fate : Fate::kNone;
}

[[noreturn]] void Die()
{
    for (;;) {
        kill(getpid(), SIGKILL);
    }
}

/// Makes a call, or what the plan makes of it.
template <typename Call>
auto Make(const char *pszCall, Call call)
{
    int iError = 0;
    switch (Strike(pszCall, &iError)) {
        case Fate::kFail:
            errno = iError;
            return decltype(call())(-1);
        case Fate::kDieBefore:
        case Fate::kDieAmid:
            Die();
        case Fate::kNone:
            break;
    }
    return call();
}

mode_t ModeOf(int iFlags, va_list arguments)
{
    return (iFlags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
}

} // namespace

extern "C" {

int open(const char *pszName, int iFlags, ...)
{
    va_list arguments;
    va_start(arguments, iFlags);
    const mode_t mode = ModeOf(iFlags, arguments);
    va_end(arguments);
    return Make("open", [&] {
        return static_cast<int>(syscall(SYS_openat, AT_FDCWD, pszName, iFlags, mode));
    });
}

int open64(const char *pszName, int iFlags, ...)
{
    va_list arguments;
    va_start(arguments, iFlags);
    const mode_t mode = ModeOf(iFlags, arguments);
    va_end(arguments);
    return Make("open", [&] {
        return static_cast<int>(syscall(SYS_openat, AT_FDCWD, pszName, iFlags, mode));
    });
}

ssize_t read(int iFd, void *pTo, size_t size)
{
    return Make("read", [&] { return static_cast<ssize_t>(syscall(SYS_read, iFd, pTo, size)); });
}

ssize_t write(int iFd, const void *pFrom, size_t size)
{
    int iError = 0;
    const auto writeOut = [&](size_t count) {
        return static_cast<ssize_t>(syscall(SYS_write, iFd, pFrom, count));
    };
    switch (Strike("write", &iError)) {
        case Fate::kFail:
            errno = iError;
            return -1;
        case Fate::kDieBefore:
            Die();
        case Fate::kDieAmid:
            writeOut(size / 2);
            Die();
        case Fate::kNone:
            break;
    }
    return writeOut(size);
}

int fsync(int iFd)
{
    return Make("fsync", [&] { return static_cast<int>(syscall(SYS_fsync, iFd)); });
}

int close(int iFd)
{
    return Make("close", [&] { return static_cast<int>(syscall(SYS_close, iFd)); });
}

int unlink(const char *pszName)
{
    return Make("unlink",
                [&] { return static_cast<int>(syscall(SYS_unlinkat, AT_FDCWD, pszName, 0)); });
}

int rename(const char *pszOld, const char *pszNew)
{
    return Make("rename", [&] {
        return static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, pszOld, AT_FDCWD, pszNew, 0U));
    });
}

int fallocate(int iFd, int iMode, off_t lOffset, off_t lLength)
{
    return Make("fallocate", [&] {
        return static_cast<int>(syscall(SYS_fallocate, iFd, iMode, lOffset, lLength));
    });
}

int ftruncate(int iFd, off_t lLength)
{
    return Make("ftruncate",
                [&] { return static_cast<int>(syscall(SYS_ftruncate, iFd, lLength)); });
}

} // extern "C"
