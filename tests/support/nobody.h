// Runs code as an unprivileged user, even if the tests run as root.
#ifndef WYX_TESTS_SUPPORT_NOBODY_H
#define WYX_TESTS_SUPPORT_NOBODY_H

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

namespace wyx::test {

constexpr uid_t kNobody = 65534;

/// Drops root's privileges for good, so call it in a child process. Does nothing for any other
/// user.
inline bool BecomeNobody()
{
    return geteuid() != 0 ||
           (setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0);
}

/// Runs a function in a child process as an unprivileged user. Returns the function's result, which
/// must be from 0 to 127, or -1 if root cannot drop its privileges here or the child was killed.
template <typename F>
int AsNobody(F function)
{
    const pid_t child = fork();
    if (child == 0) {
        _exit(BecomeNobody() ? function() : 255);
    }
    int status = 0;
    while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) < 128 ? WEXITSTATUS(status) : -1;
}

inline bool CanBeNobody()
{
    return AsNobody([] { return 0; }) == 0;
}

/// Skips a test if root cannot become another user. It belongs at the start of the test.
#define WYX_NEED_NOBODY()            \
    if (!::wyx::test::CanBeNobody()) \
    GTEST_SKIP() << "root cannot drop its privileges here"

/// A folder in which an unprivileged user can reach what a test creates: $TMPDIR, unless only root
/// can enter it.
inline std::filesystem::path OpenTemporaryDirectory()
{
    namespace fs = std::filesystem;
    fs::path usual = fs::temp_directory_path();
    for (fs::path path = fs::canonical(usual); path != path.root_path();
         path = path.parent_path()) {
        if (geteuid() == 0 &&
            (fs::status(path).permissions() & fs::perms::others_exec) == fs::perms::none) {
            return "/tmp";
        }
    }
    return usual;
}

} // namespace wyx::test

#endif
