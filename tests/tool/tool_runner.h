// Runs the built tool as a user would, and returns what came out.
#ifndef WYX_TESTS_TOOL_TOOL_RUNNER_H
#define WYX_TESTS_TOOL_TOOL_RUNNER_H

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "nobody.h"

namespace wyx::test {

/// The exit codes, as they are documented.
constexpr int kOk = 0;
constexpr int kNo = 1;
constexpr int kUsage = 2;
constexpr int kIo = 3;
constexpr int kMalformed = 4;
/// The tool was ended by SIGPIPE, like any filter whose reader has gone.
constexpr int kPipeSignal = 128 + 13;

struct Outcome {
    int code = -1; ///< the exit code; 128 plus the signal if a signal killed the tool
    std::string out;
    std::string err;
};

/// Where a standard stream of the tool leads.
enum class Channel { kPipe, kTerminal, kClosed, kBrokenPipe, kFull };

struct Surroundings {
    std::string in{}; ///< the content of standard input
    bool isInClosed = false;
    bool isInTerminal = false;
    Channel out = Channel::kPipe;
    Channel err = Channel::kPipe;
    std::map<std::string, std::string> environment{}; ///< in addition to that of the test
    std::optional<rlim_t> fileSizeLimit{};            ///< RLIMIT_FSIZE
    bool isNobody = false;   ///< run as an unprivileged user; root needs CanBeNobody()
    std::string directory{}; ///< the working directory; empty: that of the test
};

/// Runs "wyx" with arguments.
Outcome Wyx(const std::vector<std::string> &arguments, const Surroundings &setup = {});

/// Runs a shell script in which "$WYX" is the command that runs the tool.
Outcome Shell(const std::string &script, const Surroundings &setup = {});

/// Does the machine have a program to compare results with?
bool HasProgram(const std::string &name);

#define WYX_NEED_PROGRAM(name, package) \
    if (!HasProgram(name))              \
    GTEST_SKIP() << "no " name ": scripts/install_packages.sh " package

/// Can the tests make terminals? Not without /dev/pts.
bool HasTerminals();

#define WYX_NEED_TERMINALS() \
    if (!HasTerminals())     \
    GTEST_SKIP() << "no terminal can be made here: is /dev/pts mounted?"

/// A directory of its own for each test.
class ToolTest : public ::testing::Test {
  protected:
    ToolTest();
    ~ToolTest() override;

    /// The path of a file in the directory.
    std::string Path(const std::string &name) const { return directory_ + "/" + name; }
    const std::string &Directory() const { return directory_; }
    /// Makes a file in the directory, and returns its path.
    std::string Write(const std::string &name, std::string_view content) const;
    /// The names in the directory, sorted.
    std::vector<std::string> Names() const;

  private:
    std::string directory_;
};

std::string Read(const std::string &path);

/// Does a message contain all of these texts?
::testing::AssertionResult Mentions(const std::string &message,
                                    const std::vector<std::string> &texts);

} // namespace wyx::test

#endif
