#include "tool_runner.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace wyx::test {

namespace {

namespace fs = std::filesystem;

constexpr uid_t kNobody = 65534;
constexpr int kCannotRun = 127;

/// Both ends of what the tool reads from or writes to.
struct Ends {
    int mine = -1;
    int tools = -1;
};

Ends Pipe(bool isToolReading)
{
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        ADD_FAILURE() << "pipe2";
    }
    return isToolReading ? Ends{ends[1], ends[0]} : Ends{ends[0], ends[1]};
}

Ends Terminal()
{
    const int mine = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_EQ(grantpt(mine), 0);
    EXPECT_EQ(unlockpt(mine), 0);
    const int tools = open(ptsname(mine), O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_NE(tools, -1);
    termios modes = {};
    tcgetattr(tools, &modes);
    cfmakeraw(&modes); // what is written arrives as it is
    tcsetattr(tools, TCSANOW, &modes);
    return {mine, tools};
}

Ends Open(Channel channel)
{
    switch (channel) {
        case Channel::kPipe:
            return Pipe(false);
        case Channel::kTerminal:
            return Terminal();
        case Channel::kBrokenPipe: {
            Ends ends = Pipe(false);
            close(ends.mine);
            ends.mine = -1;
            return ends;
        }
        case Channel::kFull:
            return {-1, open("/dev/full", O_WRONLY | O_CLOEXEC)};
        case Channel::kClosed:
            break;
    }
    return {};
}

void Attach(int fd, int standard)
{
    if (fd == -1) {
        close(standard);
    } else {
        dup2(fd, standard);
    }
}

/// In the child: prepares what the test asked for, and becomes the program.
[[noreturn]] void Become(const std::vector<std::string> &command, const Surroundings &setup, int in,
                         int out, int err)
{
    Attach(in, STDIN_FILENO);
    Attach(out, STDOUT_FILENO);
    Attach(err, STDERR_FILENO);
    bool isReady = setup.directory.empty() || chdir(setup.directory.c_str()) == 0;
    if (setup.fileSizeLimit) {
        const rlimit limit = {*setup.fileSizeLimit, *setup.fileSizeLimit};
        isReady = isReady && setrlimit(RLIMIT_FSIZE, &limit) == 0;
    }
    if (setup.isNobody && geteuid() == 0) {
        isReady =
            isReady && setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0;
    }
    // An exit code that no verb uses, so that a report of a sanitizer is never taken for a result.
    setenv("ASAN_OPTIONS", "exitcode=99", 1);
    setenv("LSAN_OPTIONS", "exitcode=99", 1);
    setenv("UBSAN_OPTIONS", "exitcode=99:print_stacktrace=1", 1);
    unsetenv("NO_COLOR");
    setenv("TERM", "xterm", 1);
    for (const auto &[name, value] : setup.environment) {
        setenv(name.c_str(), value.c_str(), 1);
    }
    std::vector<char *> words;
    for (const std::string &word : command) {
        words.push_back(const_cast<char *>(word.c_str()));
    }
    words.push_back(nullptr);
    if (isReady) {
        execvp(words[0], words.data());
    }
    _exit(kCannotRun);
}

/// Moves input and output until the tool has closed its ends. Its terminal stays until then.
void Converse(int in, bool isInTerminal, std::string_view input, int out, std::string &output,
              int err, std::string &errors)
{
    const auto drain = [](int &fd, std::string &text) {
        std::array<char, 65536> piece;
        const ssize_t now = read(fd, piece.data(), piece.size());
        if (now > 0) {
            text.append(piece.data(), static_cast<std::size_t>(now));
        } else if (now == 0 || errno != EINTR) {
            close(fd); // a terminal tells its end by an error
            fd = -1;
        }
    };
    while (in != -1 || out != -1 || err != -1) {
        const bool isDone = isInTerminal ? out == -1 && err == -1 : input.empty();
        if (in != -1 && isDone) {
            close(in);
            in = -1;
            continue;
        }
        std::array<pollfd, 3> fds = {
            {{input.empty() ? -1 : in, POLLOUT, 0}, {out, POLLIN, 0}, {err, POLLIN, 0}}};
        poll(fds.data(), fds.size(), -1);
        if (fds[0].revents != 0) {
            const ssize_t now = write(in, input.data(), input.size());
            if (now > 0) {
                input.remove_prefix(static_cast<std::size_t>(now));
            } else if (errno != EAGAIN && errno != EINTR) {
                input = {}; // the tool does not want more
            }
        }
        if (out != -1 && fds[1].revents != 0) {
            drain(out, output);
        }
        if (err != -1 && fds[2].revents != 0) {
            drain(err, errors);
        }
    }
}

Outcome Run(const std::vector<std::string> &command, const Surroundings &setup)
{
    std::signal(SIGPIPE, SIG_IGN);
    const Ends in = setup.isInClosed ? Ends{} : setup.isInTerminal ? Terminal() : Pipe(true);
    const Ends out = Open(setup.out);
    const Ends err = Open(setup.err);
    if (in.mine != -1) {
        fcntl(in.mine, F_SETFL, O_NONBLOCK);
    }
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGPIPE, SIG_DFL);
        Become(command, setup, in.tools, out.tools, err.tools);
    }
    for (const int fd : {in.tools, out.tools, err.tools}) {
        if (fd != -1) {
            close(fd);
        }
    }
    Outcome outcome;
    Converse(in.mine, setup.isInTerminal, setup.in, out.mine, outcome.out, err.mine, outcome.err);
    int status = 0;
    while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (outcome.code != kPipeSignal) {
        EXPECT_LT(outcome.code, 99) << "the tool could not be run, or was killed\n" << outcome.err;
    }
    return outcome;
}

/// The command that runs the tool, by an emulator in a cross build. WYX_TEST_TOOL in the environment
/// names another tool than the build's.
std::vector<std::string> ToolCommand()
{
    std::vector<std::string> command;
    std::istringstream emulator(WYX_TOOL_EMULATOR);
    for (std::string word; std::getline(emulator, word, '|');) {
        command.push_back(word);
    }
    const char *const pszOther = std::getenv("WYX_TEST_TOOL");
    command.emplace_back(pszOther != nullptr ? pszOther : WYX_TOOL_PATH);
    return command;
}

} // namespace

Outcome Wyx(const std::vector<std::string> &arguments, const Surroundings &setup)
{
    std::vector<std::string> command = ToolCommand();
    command.insert(command.end(), arguments.begin(), arguments.end());
    return Run(command, setup);
}

Outcome Shell(const std::string &script, const Surroundings &setup)
{
    std::string tool;
    for (const std::string &word : ToolCommand()) {
        tool += (tool.empty() ? "" : " ") + word;
    }
    Surroundings shell = setup;
    shell.environment.emplace("WYX", tool);
    return Run({"/bin/sh", "-c", script}, shell);
}

ToolTest::ToolTest()
{
    std::string name = ::testing::TempDir() + "wyx-tool-test-XXXXXX";
    EXPECT_NE(mkdtemp(name.data()), nullptr) << name;
    // The name that the tool itself will find, and that users without rights may enter.
    directory_ = fs::canonical(name);
    fs::permissions(directory_, fs::perms::all);
}

ToolTest::~ToolTest()
{
    std::error_code ignored;
    fs::remove_all(directory_, ignored);
}

std::string ToolTest::Write(const std::string &name, std::string_view content) const
{
    std::ofstream file(Path(name), std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    EXPECT_TRUE(file.good()) << name;
    return Path(name);
}

std::vector<std::string> ToolTest::Names() const
{
    std::vector<std::string> names;
    for (const fs::directory_entry &entry : fs::directory_iterator(directory_)) {
        names.push_back(entry.path().filename());
    }
    std::ranges::sort(names);
    return names;
}

std::string Read(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.good()) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

::testing::AssertionResult Mentions(const std::string &message,
                                    const std::vector<std::string> &texts)
{
    for (const std::string &text : texts) {
        if (message.find(text) == std::string::npos) {
            return ::testing::AssertionFailure() << "no \"" << text << "\" in: " << message;
        }
    }
    return ::testing::AssertionSuccess();
}

} // namespace wyx::test
