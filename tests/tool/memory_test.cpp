// Runs verbs again and again. Each time, another platform call fails: one that allocates memory,
// opens a file or seeks in it.
#include <new>

#include "platform_double.h"
#include "system/exit_code.h"
#include "system/terminal.h"
#include "tool_runner.h"
#include "verbs/arguments.h"

namespace wyx::tool {

namespace {

using test::PlatformDouble;
using test::Read;
using test::Service;

const std::string kContent =
    "; top\n[a]\nk = 1 ;c\nl=2\\\n3\n\n[b\nquick\n" + std::string(600, 'x') + "\n[c]\nk=1\n";

class ToolMemoryTest : public test::ToolTest {
  protected:
    struct Ended {
        ExitCode code;
        std::string out;
        std::string file; // what the file holds afterwards
    };

    /// Runs a verb in this process, as main() does.
    Ended Run(const std::vector<std::string> &words) const
    {
        Words rest = words;
        const Command &command = TakeCommand(rest);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        ExitCode code = ExitCode::kIo;
        try {
            code = command.run(Arguments(command, rest));
        } catch (const Failure &failure) {
            code = failure.Code();
        } catch (const std::bad_alloc &) {
            code = ExitCode::kIo;
        }
        FlushOutput();
        testing::internal::GetCapturedStderr();
        return {code, testing::internal::GetCapturedStdout(), Read(Path("f.ini"))};
    }

    /// Runs a verb again and again, each time with the next call of a service failing, until no
    /// call fails.
    void FailEach(Service service, const std::vector<std::string> &command, const Ended &usual)
    {
        for (QAL_UINT32 at = 1;; ++at) {
            SCOPED_TRACE(at);
            platform_.Reset();
            platform_.Fail(service, at);
            Write("f.ini", kContent);
            const Ended ended = Run(command);
            EXPECT_EQ(platform_.LiveBlocks(), 0U);
            EXPECT_EQ(platform_.LiveFiles(), 0U);
            if (!platform_.HasFailed()) {
                EXPECT_EQ(ended.code, usual.code);
                EXPECT_EQ(ended.out, usual.out);
                EXPECT_EQ(ended.file, usual.file);
                break;
            }
            // When the tool asks the decoder which characters it accepts, a failure looks like a
            // refused character, whether the text has that character or not.
            const bool isTrial = command[0] == "base64" &&
                                 (ended.code == ExitCode::kMalformed || ended.out == usual.out);
            EXPECT_TRUE(ended.code == ExitCode::kIo || isTrial) << static_cast<int>(ended.code);
            EXPECT_EQ(ended.file, kContent);
            ASSERT_FALSE(HasFailure());
        }
    }

    PlatformDouble &platform_ = PlatformDouble::Instance();
};

TEST_F(ToolMemoryTest, LibraryFailureChangesNothing)
{
    const std::string file = Write("f.ini", kContent);
    const std::vector<std::string> commands[] = {
        {"ini", "get", file, "a", "k"},
        {"ini", "get", "--format=lines", file, "a"},
        {"ini", "get", file, "a", "m"},
        {"ini", "sections", file},
        {"ini", "keys", file, "a"},
        {"ini", "list", file},
        {"ini", "check", file},
        {"ini", "set", file, "a", "k=2"},
        {"ini", "set", file, "c", "new=2"},
        {"ini", "set", file, "new", "k=2"},
        {"ini", "set", "--if-missing", file, "a", "k=2"},
        {"ini", "del", file, "a", "l"},
        {"ini", "del", file, "a"},
        {"base64", file},
        {"base64", "-d", Write("text", "QUJD\n")},
        {"addr", "1.2.3.4:5", "[::1]:2"},
        {"sum", "--md5", file},
    };
    for (const std::vector<std::string> &command : commands) {
        SCOPED_TRACE(testing::PrintToString(command));
        platform_.Reset();
        Write("f.ini", kContent);
        const Ended usual = Run(command);
        EXPECT_NE(usual.code, ExitCode::kUsage);
        for (const Service service : {Service::kAllocate, Service::kOpen, Service::kSeek}) {
            SCOPED_TRACE(testing::Message() << "service " << static_cast<int>(service));
            FailEach(service, command, usual);
        }
    }
    platform_.Reset();
}

} // namespace

} // namespace wyx::tool
