// What the tool does with the streams it is given.
#include <unistd.h>

#include "tool_runner.h"

namespace wyx::test {

namespace {

constexpr const char *kEscape = "\x1B[";

class TerminalTest : public ToolTest {
  protected:
    const std::string file = Write("f.ini", "[a]\nk=1\ngarbage\n");
    const std::string fine = Write("fine.ini", "[a]\nk=1\n");
};

TEST_F(TerminalTest, ColoursOnATerminalOnly)
{
    WYX_NEED_TERMINALS();
    const std::vector<std::string> check = {"ini", "check", file};
    EXPECT_EQ(Wyx(check).out.find(kEscape), std::string::npos);
    EXPECT_NE(Wyx(check, {.out = Channel::kTerminal}).out.find(kEscape), std::string::npos);
    const auto with = [](const char *name, const char *value) {
        return Surroundings{.out = Channel::kTerminal, .environment = {{name, value}}};
    };
    EXPECT_EQ(Wyx(check, with("NO_COLOR", "1")).out.find(kEscape), std::string::npos);
    EXPECT_NE(Wyx(check, with("NO_COLOR", "")).out.find(kEscape), std::string::npos);
    EXPECT_EQ(Wyx(check, with("TERM", "dumb")).out.find(kEscape), std::string::npos);
    EXPECT_EQ(Wyx(check, with("NO_COLOR", "1")).out, Wyx(check).out);
}

TEST_F(TerminalTest, ColoursOfMessages)
{
    WYX_NEED_TERMINALS();
    const std::vector<std::string> get = {"ini", "get", Path("none"), "a", "k"};
    EXPECT_EQ(Wyx(get).err.find(kEscape), std::string::npos);
    EXPECT_NE(Wyx(get, {.err = Channel::kTerminal}).err.find(kEscape), std::string::npos);
    EXPECT_EQ(
        Wyx(get, {.err = Channel::kTerminal, .environment = {{"NO_COLOR", "1"}}}).err.find(kEscape),
        std::string::npos);
    // A terminal on one stream does not colour the other.
    EXPECT_EQ(Wyx(get, {.out = Channel::kTerminal}).err.find(kEscape), std::string::npos);
}

TEST_F(TerminalTest, JsonHasNoColours)
{
    WYX_NEED_TERMINALS();
    EXPECT_EQ(Wyx({"ini", "check", "--json", file}, {.out = Channel::kTerminal}).out.find(kEscape),
              std::string::npos);
}

TEST_F(TerminalTest, ControlBytesOfAFileDoNotReachTheTerminal)
{
    const std::string evil = Write("evil.ini", "[\x1B[2J]\n\x1B[31mkey=\x1B]0;title\x07\n");
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"ini", "list", evil},
          std::vector<std::string>{"ini", "check", evil},
          std::vector<std::string>{"ini", "get", evil, "\x1B[3J", "k"}}) {
        const Outcome outcome = Wyx(arguments);
        EXPECT_EQ((outcome.out + outcome.err).find('\x1B'), std::string::npos) << arguments[1];
    }
}

TEST_F(TerminalTest, OutputThatCannotBeWritten)
{
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"--help"}, std::vector<std::string>{"--version"},
          std::vector<std::string>{"sum", "--crc32", file}, std::vector<std::string>{"addr", "::1"},
          std::vector<std::string>{"ini", "list", file},
          std::vector<std::string>{"ini", "get", fine, "a", "k"},
          std::vector<std::string>{"ini", "check", "--json", file}}) {
        SCOPED_TRACE(arguments[0]);
        const Outcome full = Wyx(arguments, {.out = Channel::kFull});
        EXPECT_EQ(full.code, kIo);
        EXPECT_TRUE(Mentions(full.err, {"cannot write standard output: No space left"}));
        const Outcome closed = Wyx(arguments, {.out = Channel::kClosed});
        EXPECT_EQ(closed.code, kIo);
        EXPECT_TRUE(Mentions(closed.err, {"cannot write standard output"}));
        const Outcome broken = Wyx(arguments, {.out = Channel::kBrokenPipe});
        EXPECT_EQ(broken.code, kPipeSignal);
        EXPECT_EQ(broken.err, "");
    }
}

TEST_F(TerminalTest, ManyFilesStopWhenTheOutputIsLost)
{
    // Each of a verb's files could fail on its own; lost output ends them all.
    const std::string files =
        "for i in 1 2 3 4 5 6 7 8 9; do set -- \"$@\" \"$@\" fine.ini; done; ";
    const Outcome sums =
        Shell(files + "timeout 30 \"$WYX\" sum --crc16 \"$@\" /dev/zero > /dev/full",
              {.directory = Directory()});
    EXPECT_EQ(sums.code, kIo);
    EXPECT_EQ(sums.err, "wyx: error: cannot write standard output: No space left on device\n");
    const Outcome addresses = Shell("yes ::1 | timeout 30 \"$WYX\" addr > /dev/full");
    EXPECT_EQ(addresses.code, kIo);
    EXPECT_TRUE(Mentions(addresses.err, {"No space left"}));
}

TEST_F(TerminalTest, LostMessagesDoNotChangeTheResult)
{
    const Outcome outcome = Wyx({"sum", "--crc16", Path("none"), fine}, {.err = Channel::kFull});
    EXPECT_EQ(outcome.code, kIo);
    EXPECT_TRUE(Mentions(outcome.out, {"  " + fine + "\n"}));
    // Output is flushed before a message; if that fails, the tool still reports the loss.
    const Outcome lost = Wyx({"sum", "--crc16", fine, Path("none"), fine}, {.out = Channel::kFull});
    EXPECT_TRUE(Mentions(lost.err, {"No such file", "cannot write standard output: No space"}));
}

TEST_F(TerminalTest, OutOfMemory)
{
    const std::string tried = "(ulimit -v 50000; \"$WYX\" --version) >/dev/null 2>&1";
    if (Shell(tried + " && echo starts || echo fails").out != "starts\n") {
        GTEST_SKIP() << "the tool does not start with so little memory";
    }
    std::string texts;
    for (int i = 0; i < 400000; ++i) {
        texts += "::1\n";
    }
    const Outcome outcome = Shell("ulimit -v 50000; \"$WYX\" addr --json", {.in = texts});
    EXPECT_EQ(outcome.code, kIo);
    EXPECT_TRUE(Mentions(outcome.err, {"wyx: error: out of memory\n"}));
}

TEST_F(TerminalTest, OutputForClosedStreamsDoesNotEndUpInFiles)
{
    // A file that is opened while a standard stream is closed would get the stream's number, and
    // the output meant for it.
    const std::string name = Write("set.ini", "[a]\n");
    for (int i = 1; i <= 3; ++i) {
        const std::string setting = "k=" + std::to_string(i);
        const Surroundings setup = {.isInClosed = true,
                                    .out = i == 2 ? Channel::kPipe : Channel::kClosed,
                                    .err = i == 3 ? Channel::kPipe : Channel::kClosed};
        EXPECT_EQ(Wyx({"ini", "set", name, "a", setting}, setup).code, kOk);
        EXPECT_EQ(Read(name), "[a]\n" + setting + "\n");
    }
    EXPECT_EQ(Wyx({"ini", "set", "--json", name, "a", "l=1"}, {.out = Channel::kClosed}).code, kIo);
    EXPECT_EQ(Read(name), "[a]\nk=3\nl=1\n");
    EXPECT_EQ(Wyx({"ini", "set", name, "a", "=1"}, {.err = Channel::kClosed}).code, kUsage);
}

// If a signal ends the check, it leaves no copy of the file in any folder, because it makes none.
TEST_F(TerminalTest, CheckNeedsNoTemporaryFolder)
{
    const std::string name = Write("f.ini", "[a]\nk=" + std::string(100, 'x') + "\n");
    const Outcome outcome =
        Wyx({"ini", "check", name}, {.environment = {{"TMPDIR", Path("missing")}}});
    EXPECT_EQ(outcome.code, kOk) << outcome.err;
    EXPECT_TRUE(Mentions(outcome.out, {"(fold)"}));
}

TEST_F(TerminalTest, ProgressOfSlowInput)
{
    WYX_NEED_TERMINALS();
    const std::string slow = "(printf 12345; sleep 0.7; printf 6789) | \"$WYX\" sum --crc32 -";
    const Outcome shown = Shell(slow, {.err = Channel::kTerminal});
    EXPECT_EQ(shown.out, "2dfd2d88  -\n");
    EXPECT_TRUE(Mentions(shown.err, {"standard input: 9 B"}));
    EXPECT_TRUE(shown.err.ends_with("\r\x1B[K")) << "the line is still there";
    const Outcome large =
        Shell("(head -c 3000 /dev/zero; sleep 0.7; echo) | \"$WYX\" sum --crc32 -",
              {.err = Channel::kTerminal});
    EXPECT_TRUE(Mentions(large.err, {"standard input: 2.9 KiB"}));
    const std::string huge = Write("huge", "");
    ASSERT_EQ(truncate(huge.c_str(), off_t{1} << 40), 0);
    // The tool ends when the file has become empty.
    const Outcome part = Shell("\"$WYX\" sum --md5 huge & sleep 2; : > huge; wait",
                               {.err = Channel::kTerminal, .directory = Directory()});
    EXPECT_TRUE(Mentions(part.err, {"'huge': ", " of 1.0 TiB (0%)"}));
    const Outcome hidden = Shell(slow);
    EXPECT_EQ(hidden.out, "2dfd2d88  -\n");
    EXPECT_EQ(hidden.err, "");
}

} // namespace

} // namespace wyx::test
