#include "tool_runner.h"

#include <fcntl.h>
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

#include "needs_proc.h"

namespace wyx::test {

namespace {

namespace fs = std::filesystem;

constexpr int kCannotRun = 127;

/// Both ends of a pipe or terminal that the tool reads from or writes to.
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

fs::path MakeDirectory(const char *prefix)
{
    std::string name = OpenTemporaryDirectory() / (std::string(prefix) + "-XXXXXX");
    EXPECT_NE(mkdtemp(name.data()), nullptr) << name;
    fs::permissions(name, fs::perms::all);
    return fs::canonical(name); // as the tool itself will find it
}

/// The tool of the build, or the one that WYX_TEST_TOOL in the environment names.
std::string ToolPath()
{
    const char *const pszOther = std::getenv("WYX_TEST_TOOL");
    return pszOther != nullptr ? pszOther : WYX_TOOL_PATH;
}

/// A second copy of the tool and its libraries, for a user who may not enter the build folder. It
/// lasts as long as the test program.
class ToolForAll {
  public:
    ToolForAll()
    {
        fs::copy(ToolPath(), directory_ / "wyx");
        for (const fs::directory_entry &entry : fs::directory_iterator(WYX_LIBRARY_DIRECTORY)) {
            if (entry.path().filename().string().find(".so.") != std::string::npos) {
                fs::copy(entry.path(), directory_); // follows links
            }
        }
    }
    ~ToolForAll()
    {
        std::error_code ignored;
        fs::remove_all(directory_, ignored);
    }
    ToolForAll(const ToolForAll &) = delete;
    ToolForAll &operator=(const ToolForAll &) = delete;

    const fs::path &Directory() const { return directory_; }

    static const ToolForAll &Get()
    {
        static const ToolForAll tool;
        return tool;
    }

  private:
    const fs::path directory_ = MakeDirectory("wyx-tool");
};

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
        // The limit would also cut off the counts of a coverage build, so they are not written.
        setenv("GCOV_PREFIX", "/dev/null", 1);
        setenv("GCOV_ERROR_FILE", "/dev/null", 1);
    }
    if (setup.isNobody) {
        isReady = isReady && BecomeNobody();
    }
    // An exit code that no verb uses, so that a sanitizer's report is never taken for a result.
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

/// Passes on input and output until the tool has closed its ends. A terminal for its input stays
/// open until then.
void Communicate(int in, bool isInTerminal, std::string_view input, int out, std::string &output,
                 int err, std::string &errors)
{
    const auto drain = [](int &fd, std::string &text) {
        std::array<char, 65536> piece;
        const ssize_t now = read(fd, piece.data(), piece.size());
        if (now > 0) {
            text.append(piece.data(), static_cast<std::size_t>(now));
        } else if (now == 0 || errno != EINTR) {
            close(fd); // a terminal reports the end of its output as an error
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
                input = {}; // the tool has stopped reading
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
    Communicate(in.mine, setup.isInTerminal, setup.in, out.mine, outcome.out, err.mine,
                outcome.err);
    int status = 0;
    while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (outcome.code != kPipeSignal) {
        EXPECT_LT(outcome.code, 99) << "the tool could not be run, or was killed\n" << outcome.err;
    }
    return outcome;
}

} // namespace

Outcome Wyx(const std::vector<std::string> &arguments, const Surroundings &setup)
{
    Surroundings surroundings = setup;
    std::string tool = ToolPath();
    if (setup.isNobody && geteuid() == 0) {
        const fs::path &directory = ToolForAll::Get().Directory();
        tool = directory / "wyx";
        surroundings.environment["LD_LIBRARY_PATH"] = directory;
    }
    std::vector<std::string> command;
    std::istringstream emulator(WYX_TOOL_EMULATOR);
    for (std::string word; emulator >> word;) {
        command.push_back(word);
    }
    command.push_back(tool);
    command.insert(command.end(), arguments.begin(), arguments.end());
    return Run(command, surroundings);
}

Outcome Shell(const std::string &script, const Surroundings &setup)
{
    Surroundings shell = setup;
    shell.environment.insert(
        {{"WYX", WYX_TOOL_SCRIPT}, {"WYX_TOOL", ToolPath()}, {"WYX_EMULATOR", WYX_TOOL_EMULATOR}});
    return Run({"/bin/sh", "-c", script}, shell);
}

bool HasProgram(const std::string &name)
{
    return Shell("command -v " + name + " >/dev/null || exit 1").code == 0;
}

bool HasTerminals()
{
    const int fd = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    const bool hasName = fd != -1 && ptsname(fd) != nullptr && access(ptsname(fd), F_OK) == 0;
    close(fd);
    return hasName;
}

ToolTest::ToolTest() : directory_(MakeDirectory("wyx-tool-test")) {}

ToolTest::~ToolTest()
{
    std::error_code ignored;
    fs::permissions(directory_, fs::perms::owner_all, ignored); // a test may have closed it
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
