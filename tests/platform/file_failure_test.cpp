// The file services on a system whose calls fail, are interrupted, or do only part of their work.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "file_texts.h"
#include "os_adapter.h"
#include "random.h"
#include "system_double.h"
#include "temp_folder.h"

namespace wyx::test {
namespace {

constexpr std::size_t kWriteBuffer = 65536;
constexpr std::size_t kAtOnce = kWriteBuffer + 1; // a write of this size is not buffered
constexpr std::size_t kOneByOne = 8192;           // up to here nothing is reserved ahead
constexpr int kAlways = 1 << 30;                  // for a call that never works again

class FileFailure : public SystemTest {
  protected:
    XELP_S_File *Open(const std::string &name, const char *pszMode)
    {
        return XELP_Fopen(name.c_str(), pszMode);
    }

    /// Opens a file for writing and makes it so large that the next write reserves blocks ahead.
    XELP_S_File *OpenLarge(const std::string &name)
    {
        XELP_S_File *const pstruFile = Open(name, "w");
        EXPECT_EQ(Write(pstruFile, start), kAtOnce);
        system.Reset();
        return pstruFile;
    }

    std::string ReadFile(const std::string &name)
    {
        XELP_S_File *const pstruFile = Open(name, "r");
        EXPECT_NE(pstruFile, nullptr) << name;
        const std::string text = pstruFile != nullptr ? ReadAll(pstruFile) : "";
        EXPECT_EQ(XELP_Fclose(pstruFile), 0);
        return text;
    }

    std::string Trace() const { return system.Trace(folder.Path()); }

    /// Expects that a failure is still to be reported: the next removal only reports it, and the
    /// one after that acts.
    void ExpectPending(int iError)
    {
        const std::string victim = folder.Make("victim", "still needed");
        errno = 0;
        EXPECT_NE(XELP_Remove(victim.c_str()), 0);
        EXPECT_EQ(errno, iError);
        EXPECT_TRUE(folder.Has("victim"));
        ExpectNothingPending();
    }

    void ExpectNothingPending()
    {
        const std::string victim = folder.Make("victim", "not needed");
        EXPECT_EQ(XELP_Remove(victim.c_str()), 0);
        EXPECT_FALSE(folder.Has("victim"));
    }

    const TempFolder folder;
    const std::string start = std::string(kAtOnce, 's');
};

// ---- Reading ------------------------------------------------------------------------------------

TEST_F(FileFailure, AnyFailedSystemCallFailsAnOpenForReading)
{
    const std::string name = folder.Make("text", SomeText(10000));
    const struct {
        const char *pszCall;
        int n;
        int iError;
    } cases[] = {
        {"calloc", 1, ENOMEM}, {"open", 1, EMFILE},    {"fstat", 1, EOVERFLOW},
        {"malloc", 1, ENOMEM}, {"read", 1, EIO},       {"read", 2, EIO},
        {"read", 3, ESTALE},   {"realloc", 1, ENOMEM}, {"realloc", 2, ENOMEM},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.pszCall << " " << c.n);
        system.Reset();
        system.ReportSize(0); // so that the buffer has to grow
        system.Fail(c.pszCall, c.n, c.iError);
        system.Fail("close", 1, EBADF); // must not hide the reason
        errno = 0;
        EXPECT_EQ(Open(name, "r"), nullptr);
        EXPECT_EQ(errno, c.iError);
        EXPECT_EQ(system.Calls(c.pszCall), c.n);
        EXPECT_EQ(system.OpenDescriptors(), std::vector<int>{});
        EXPECT_EQ(system.LiveBlocks(), 0U);
    }
}

TEST_F(FileFailure, StreamWithoutMemoryIsNotOpened)
{
    const std::string name = folder.File("pipe");
    ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
    const int iWriter = open(name.c_str(), O_RDWR);
    system.Reset();
    system.Fail("malloc", 1, ENOMEM);
    errno = 0;
    EXPECT_EQ(Open(name, "r"), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    close(iWriter);
}

TEST_F(FileFailure, RegularFileIsReadWholeAtOpenAndClosed)
{
    const std::string text = SomeText(100000);
    const std::string name = folder.Make("text", text);
    XELP_S_File *const pstruFile = Open(name, "r");
    ASSERT_NE(pstruFile, nullptr);
    EXPECT_EQ(Trace(), "open text, read text, close text");
    EXPECT_EQ(system.Calls("realloc"), 0);
    system.Reset();
    EXPECT_EQ(ReadAll(pstruFile), text);
    EXPECT_EQ(XELP_Fseek(pstruFile, -1, SEEK_CUR), 0);
    EXPECT_EQ(XELP_Fseek(pstruFile, 0, SEEK_SET), 0);
    EXPECT_EQ(XELP_Fgetc(pstruFile), static_cast<QAL_UINT8>(text[0]));
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(Trace(), "") << "called the system after opening";
}

TEST_F(FileFailure, SizeIsOnlyAHint)
{
    for (const std::size_t size : {0U, 1U, 4095U, 4096U, 4097U, 50000U}) {
        const std::string text = SomeText(size);
        const std::string name = folder.Make("text", text);
        for (const off_t reported : {0, 1, 4095, 4096, 49999, 50000, 50001, 1000000}) {
            SCOPED_TRACE(testing::Message() << size << " reported as " << reported);
            system.Reset();
            system.ReportSize(reported);
            EXPECT_EQ(ReadFile(name), text);
        }
    }
}

TEST_F(FileFailure, FileThatGrowsWhileItIsReadIsReadToItsNewEnd)
{
    const std::string name = folder.Make("text", "old" + SomeText(9000));
    system.ReportSize(3); // the size before it grew
    EXPECT_EQ(ReadFile(name), "old" + SomeText(9000));
    system.Reset();
    system.ReportSize(3);
    system.LimitRead(2); // a short read is not the end
    EXPECT_EQ(ReadFile(name), "old" + SomeText(9000));
    system.Reset();
    system.ReportSize(3000);
    system.LimitRead(3000);
    EXPECT_EQ(ReadFile(folder.Make("text", SomeText(3000))), SomeText(3000));
    EXPECT_EQ(system.Calls("read"), 1);
}

TEST_F(FileFailure, ShortAndInterruptedReadsLoseNothing)
{
    const std::string text = SomeText(3000);
    const std::string name = folder.Make("text", text);
    for (const std::size_t limit : {1U, 2U, 7U, 2999U}) {
        SCOPED_TRACE(limit);
        system.Reset();
        system.LimitRead(limit);
        system.InterruptEach(3);
        EXPECT_EQ(ReadFile(name), text);
        EXPECT_EQ(system.Calls("open"), 4);
        EXPECT_EQ(system.Calls("close"), 1);
    }
}

/// A pipe that holds a text, open for reading and with no writer left.
class PipeFailure : public FileFailure {
  protected:
    XELP_S_File *OpenPipe(std::string_view text)
    {
        system.Reset();
        const std::string name = folder.File("pipe");
        EXPECT_EQ(mkfifo(name.c_str(), 0600), 0);
        iWriter_ = open(name.c_str(), O_RDWR);
        EXPECT_EQ(write(iWriter_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
        XELP_S_File *const pstruFile = Open(name, "r");
        EXPECT_NE(pstruFile, nullptr);
        close(iWriter_);
        EXPECT_EQ(unlink(name.c_str()), 0);
        system.Reset();
        return pstruFile;
    }

  private:
    int iWriter_ = -1;
};

TEST_F(PipeFailure, StepsBackOverEveryByteAcrossRefills)
{
    const std::string text = SomeText(60);
    for (const std::size_t limit : {1U, 2U, 3U, 5U, 60U}) {
        SCOPED_TRACE(limit);
        XELP_S_File *const pstruFile = OpenPipe(text);
        system.LimitRead(limit);
        system.InterruptEach(1);
        for (std::size_t i = 0; i < text.size(); ++i) {
            const QAL_INT32 lByte = static_cast<QAL_UINT8>(text[i]);
            ASSERT_EQ(XELP_Fgetc(pstruFile), lByte) << i;
            const std::string before = Trace();
            ASSERT_EQ(XELP_Fseek(pstruFile, -1, SEEK_CUR), 0) << i;
            ASSERT_EQ(XELP_Fgetc(pstruFile), lByte) << i;
            ASSERT_EQ(Trace(), before) << "stepping back called the system";
        }
        EXPECT_EQ(XELP_Fgetc(pstruFile), -1);
        EXPECT_EQ(XELP_Fseek(pstruFile, -1, SEEK_CUR), 0);
        EXPECT_EQ(XELP_Fgetc(pstruFile), static_cast<QAL_UINT8>(text.back()));
        EXPECT_EQ(XELP_Fgetc(pstruFile), -1);
        EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    }
}

TEST_F(PipeFailure, SeeksOnlyWithinTheBuffer)
{
    XELP_S_File *const pstruFile = OpenPipe("abcdefgh");
    system.LimitRead(3); // abc def gh
    const auto expectRefused = [&](QAL_LONG lOffset, QAL_INT32 lWhence, int iError) {
        errno = 0;
        EXPECT_NE(XELP_Fseek(pstruFile, lOffset, lWhence), 0) << lOffset << " from " << lWhence;
        EXPECT_EQ(errno, iError);
    };
    expectRefused(-1, SEEK_CUR, EINVAL); // nothing is buffered yet
    EXPECT_EQ(XELP_Fseek(pstruFile, 0, SEEK_CUR), 0);
    EXPECT_EQ(XELP_Fgetc(pstruFile), 'a');
    EXPECT_EQ(XELP_Fgetc(pstruFile), 'b');
    expectRefused(-1, SEEK_SET, EINVAL); // the first part has nothing before it
    EXPECT_EQ(XELP_Fseek(pstruFile, 0, SEEK_SET), 0);
    EXPECT_EQ(XELP_Fgetc(pstruFile), 'a');
    EXPECT_EQ(XELP_Fseek(pstruFile, 2, SEEK_CUR), 0);
    EXPECT_EQ(XELP_Fgetc(pstruFile), 'd'); // now c def is buffered, from position 2
    expectRefused(0, SEEK_SET, EINVAL);
    expectRefused(1, SEEK_SET, EINVAL);
    expectRefused(7, SEEK_SET, EINVAL);
    expectRefused(-3, SEEK_CUR, EINVAL);
    expectRefused(3, SEEK_CUR, EINVAL);
    expectRefused(0, SEEK_END, ESPIPE); // the end is not known yet
    EXPECT_EQ(XELP_Fgetc(pstruFile), 'e') << "a refused call moved the position";
    EXPECT_EQ(XELP_Fseek(pstruFile, 2, SEEK_SET), 0);
    EXPECT_EQ(XELP_Fgetc(pstruFile), 'c');
    EXPECT_EQ(ReadAll(pstruFile), "defgh");
    EXPECT_EQ(XELP_Fseek(pstruFile, -3, SEEK_END), 0); // f, the last byte before the last refill
    EXPECT_EQ(ReadAll(pstruFile), "fgh");
    expectRefused(-4, SEEK_END, EINVAL);
    EXPECT_EQ(XELP_Fgetc(pstruFile), -1);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
}

TEST_F(PipeFailure, EndIsFinalAndClosesThePipe)
{
    XELP_S_File *const pstruFile = OpenPipe("ab");
    EXPECT_EQ(ReadAll(pstruFile), "ab");
    EXPECT_EQ(system.OpenDescriptors(), std::vector<int>{});
    system.Reset();
    EXPECT_EQ(XELP_Fgetc(pstruFile), -1);
    EXPECT_EQ(system.Calls("read"), 0);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(system.Calls("close"), 0);
}

TEST_F(PipeFailure, ReadErrorEndsTheStreamAndKeepsErrno)
{
    XELP_S_File *const pstruFile = OpenPipe("abcd");
    system.LimitRead(2);
    system.Fail("read", 2, EIO);
    system.Fail("close", 1, EBADF);
    EXPECT_EQ(XELP_Fgetc(pstruFile), 'a');
    EXPECT_EQ(XELP_Fgetc(pstruFile), 'b');
    errno = 0;
    EXPECT_EQ(XELP_Fgetc(pstruFile), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(XELP_Fseek(pstruFile, -1, SEEK_CUR), 0);
    EXPECT_EQ(XELP_Fgetc(pstruFile), 'b');
    EXPECT_EQ(XELP_Fgetc(pstruFile), -1) << "continued after a gap";
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
}

// ---- Opening for writing ------------------------------------------------------------------------

TEST_F(FileFailure, AnyFailedSystemCallFailsAnOpenForWriting)
{
    const struct {
        const char *pszCall;
        int n;
        int iError;
    } cases[] = {
        {"calloc", 1, ENOMEM}, {"malloc", 1, ENOMEM},
        {"open", 2, EMFILE}, // the first one opens the directory
        {"open", 3, EMFILE}, // and the second one would create the file
        {"fstat", 1, EIO},     {"ftruncate", 1, EIO},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.pszCall << " " << c.n);
        const std::string name = folder.Make("text", "old");
        system.Reset();
        system.Fail(c.pszCall, c.n, c.iError);
        system.Fail("close", 1, EBADF, kAlways);
        errno = 0;
        EXPECT_EQ(Open(name, "w"), nullptr);
        EXPECT_EQ(errno, c.iError);
        EXPECT_EQ(folder.Content("text"), "old");
        EXPECT_EQ(system.OpenDescriptors(), std::vector<int>{});
        EXPECT_EQ(system.LiveBlocks(), 0U);
    }
    ExpectNothingPending();
}

TEST_F(FileFailure, OpenForWritingWithoutMemoryClosesNothing)
{
    const std::string name = folder.File("text");
    system.Reset();
    system.Fail("malloc", 1, ENOMEM);
    EXPECT_EQ(Open(name, "w"), nullptr);
    EXPECT_EQ(system.Calls("close"), 0) << "closed somebody else's descriptor";
    EXPECT_FALSE(folder.Has("text"));
}

TEST_F(FileFailure, FailedOpenForWritingLeavesNoNewFile)
{
    const struct {
        const char *pszCall;
        int n;
    } cases[] = {{"calloc", 1}, {"malloc", 1}, {"open", 2}, {"fstat", 1}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.pszCall << " " << c.n);
        system.Reset();
        system.Fail(c.pszCall, c.n, EIO);
        system.Fail("close", 1, EBADF, kAlways);
        errno = 0;
        EXPECT_EQ(Open(folder.File("text"), "w"), nullptr);
        EXPECT_EQ(errno, EIO);
        EXPECT_FALSE(folder.Has("text"));
    }
    ExpectNothingPending();
}

// ---- Names that other processes use -------------------------------------------------------------

TEST_F(FileFailure, FileThatAppearsAfterItWasLookedForIsNotEmptied)
{
    const std::string name = folder.File("text.ibk");
    EXPECT_EQ(Open(name, "r"), nullptr);
    EXPECT_EQ(Open(name, "r"), nullptr); // looked for twice, but refused only once below
    folder.Make("text.ibk", "another's");
    errno = 0;
    EXPECT_EQ(Open(name, "w"), nullptr);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(folder.Content("text.ibk"), "another's");
    XELP_S_File *const pstruFile = Open(name, "w");
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(folder.Content("text.ibk"), "");
}

TEST_F(FileFailure, NameThatWasNotFoundIsStillRemoved)
{
    const std::string name = folder.File("text.ibk");
    EXPECT_EQ(Open(name, "r"), nullptr);
    folder.Make("text.ibk", "made by other means");
    EXPECT_EQ(XELP_Remove(name.c_str()), 0);
    EXPECT_FALSE(folder.Has("text.ibk"));
}

TEST_F(FileFailure, NameThatIsOnlyTheSuffixIsRemembered)
{
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    EXPECT_EQ(Open(".ibk", "r"), nullptr);
    folder.Make(".ibk", "another's");
    EXPECT_EQ(Open(".ibk", "w"), nullptr);
    std::filesystem::current_path(before);
}

TEST_F(FileFailure, OtherNamesAreStillEmptied)
{
    EXPECT_EQ(Open(folder.File("text1.ibk"), "r"), nullptr);
    folder.Make("text.ibk", "old");
    XELP_S_File *const pstruFile = Open(folder.File("text.ibk"), "w");
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(folder.Content("text.ibk"), "");
}

TEST_F(FileFailure, NamesAreForgottenAfterTenSeconds)
{
    const std::string name = folder.File("text.ibk");
    for (const long seconds : {0L, 10L, 11L, 100000L, (1L << 24) - 1}) {
        SCOPED_TRACE(seconds);
        folder.Make("old.ibk", "old");
        system.ReportTime((1L << 24) - 5, 0);
        EXPECT_EQ(Open(name, "r"), nullptr);
        EXPECT_EQ(XELP_Rename(folder.File("old.ibk").c_str(), folder.File("new.ibk").c_str()), 0);
        system.ReportTime((1L << 24) - 5 + seconds, 999999999);
        folder.Make("text.ibk", "another's");
        folder.Make("old.ibk", "another's");
        const bool isForgotten = seconds > 10;
        XELP_S_File *const pstruFile = Open(name, "w");
        EXPECT_EQ(pstruFile != nullptr, isForgotten);
        if (pstruFile != nullptr) {
            EXPECT_EQ(XELP_Fclose(pstruFile), 0);
        }
        EXPECT_EQ(XELP_Remove(folder.File("old.ibk").c_str()) == 0, isForgotten);
        std::filesystem::remove(name);
        std::filesystem::remove(folder.File("old.ibk"));
    }
}

TEST_F(FileFailure, SixtyFourNamesAreRemembered)
{
    const auto name = [&](int i) { return folder.File("text" + std::to_string(i) + ".ibk"); };
    for (int i = 0; i < 65; ++i) {
        EXPECT_EQ(Open(name(i), "r"), nullptr);
    }
    for (int i = 0; i < 65; ++i) {
        folder.Make("text" + std::to_string(i) + ".ibk", "another's");
        XELP_S_File *const pstruFile = Open(name(i), "w");
        EXPECT_EQ(pstruFile != nullptr, i == 0) << i; // the oldest one was replaced
        if (pstruFile != nullptr) {
            EXPECT_EQ(XELP_Fclose(pstruFile), 0);
        }
    }
}

TEST_F(FileFailure, FileThatAppearsUnderANameRenamedAwayIsNotRemoved)
{
    const std::string name = folder.Make("text.ibk", "ours");
    EXPECT_EQ(XELP_Rename(name.c_str(), folder.File("new.ibk").c_str()), 0);
    system.Reset();
    errno = 0;
    EXPECT_NE(XELP_Remove(name.c_str()), 0);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(system.Calls("unlink"), 0);
    EXPECT_EQ(XELP_Rename(folder.File("new.ibk").c_str(), name.c_str()), 0);
    EXPECT_EQ(XELP_Rename(name.c_str(), folder.File("new.ibk").c_str()), 0);
    folder.Make("text.ibk", "another's");
    EXPECT_NE(XELP_Remove(name.c_str()), 0);
    EXPECT_EQ(folder.Content("text.ibk"), "another's");
    EXPECT_EQ(XELP_Remove(name.c_str()), 0) << "refused twice";
}

TEST_F(FileFailure, NameRenamedAwayAndCreatedAgainIsRemoved)
{
    const std::string name = folder.Make("text.ibk", "ours");
    const std::string other = folder.File("new.ibk");
    EXPECT_EQ(XELP_Rename(name.c_str(), other.c_str()), 0);
    EXPECT_EQ(XELP_Fclose(Open(name, "w")), 0); // created by opening it
    EXPECT_EQ(XELP_Remove(name.c_str()), 0);

    EXPECT_EQ(XELP_Rename(other.c_str(), name.c_str()), 0);
    EXPECT_EQ(XELP_Rename(name.c_str(), other.c_str()), 0);
    EXPECT_EQ(XELP_Rename(other.c_str(), name.c_str()), 0); // created by renaming back
    EXPECT_EQ(XELP_Remove(name.c_str()), 0);

    folder.Make("text.ibk", "ours");
    EXPECT_EQ(XELP_Rename(name.c_str(), name.c_str()), 0); // onto itself
    EXPECT_EQ(XELP_Remove(name.c_str()), 0);
    EXPECT_FALSE(folder.Has("text.ibk"));
}

TEST_F(FileFailure, OtherNamesAreNotRemembered)
{
    const std::string name = folder.File("text.ini");
    EXPECT_EQ(Open(name, "r"), nullptr);
    folder.Make("text.ini", "made by other means");
    EXPECT_EQ(XELP_Fclose(Open(name, "w")), 0);
    EXPECT_EQ(XELP_Rename(name.c_str(), folder.File("other.ini").c_str()), 0);
    folder.Make("text.ini", "made again");
    EXPECT_EQ(XELP_Remove(name.c_str()), 0);
    EXPECT_FALSE(folder.Has("text.ini"));
}

TEST_F(FileFailure, DescriptorsAreClosedOnExec)
{
    XELP_S_File *const pstruWriter = Open(folder.File("text"), "w");
    ASSERT_EQ(mkfifo(folder.File("pipe").c_str(), 0600), 0);
    const int iPipe = open(folder.File("pipe").c_str(), O_RDWR);
    XELP_S_File *const pstruReader = Open(folder.File("pipe"), "r");
    EXPECT_EQ(system.OpenDescriptors().size(), 4U); // the file, its directory, the pipe, ours
    for (const int iFd : system.OpenDescriptors()) {
        if (iFd != iPipe) {
            EXPECT_NE(fcntl(iFd, F_GETFD) & FD_CLOEXEC, 0) << system.NameOf(iFd);
        }
    }
    close(iPipe);
    EXPECT_EQ(XELP_Fclose(pstruWriter), 0);
    EXPECT_EQ(XELP_Fclose(pstruReader), 0);
}

// ---- Writing ------------------------------------------------------------------------------------

TEST_F(FileFailure, ManyLinesTakeFewSystemCalls)
{
    const std::string line = "key=a value of a common length\n";
    std::string text;
    XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
    for (int i = 0; i < 10000; ++i) {
        ASSERT_EQ(Write(pstruFile, line), line.size());
        text += line;
    }
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(folder.Content("text"), text);
    if (system.ReservedUpTo() == 0) {
        GTEST_SKIP() << "the file system reserves no blocks";
    }
    EXPECT_LE(static_cast<std::size_t>(system.Calls("write")), text.size() / kWriteBuffer + 1);
    EXPECT_LE(system.Calls("fallocate"), 7);
    EXPECT_EQ(system.Calls("ftruncate"), 1);
}

TEST_F(FileFailure, SmallFilesReserveBlockByBlockAndReleaseNone)
{
    for (const int iBlockSize : {0, 512, 1024, 4096, 2097152}) {
        SCOPED_TRACE(iBlockSize);
        std::filesystem::remove(folder.File("text"));
        system.Reset();
        system.ReportBlockSize(iBlockSize);
        const int iBlock = iBlockSize != 0 ? std::min(iBlockSize, 4096) : 4096;
        XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
        std::string text;
        while (text.size() + 7 <= kOneByOne) {
            ASSERT_EQ(Write(pstruFile, "a line\n"), 7U);
            text += "a line\n";
            const int iBlocks = (static_cast<int>(text.size()) + iBlock - 1) / iBlock;
            ASSERT_EQ(system.Calls("fallocate"), iBlocks);
            ASSERT_EQ(system.ReservedUpTo(), off_t{iBlocks} * iBlock);
        }
        EXPECT_EQ(folder.Content("text"), "") << "not buffered";
        EXPECT_EQ(XELP_Fclose(pstruFile), 0);
        EXPECT_EQ(folder.Content("text"), text);
        EXPECT_EQ(system.Calls("write"), 1);
        EXPECT_EQ(system.Calls("ftruncate"), 0);
    }
}

/// Every byte that a call reports as written has been passed to the kernel or has a reserved block.
TEST_F(FileFailure, NothingIsBufferedWithoutReservedBlocks)
{
    for (const bool failsLater : {false, true}) {
        Random random;
        SCOPED_TRACE(random.Trace());
        system.Reset();
        if (failsLater) {
            system.Fail("fallocate", 3, ENOSPC, kAlways);
        }
        XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
        std::string text;
        while (text.size() < 3000000) {
            const bool isLarge = random.UpTo(50) == 0;
            const auto bytes = random.Bytes(1 + random.UpTo(isLarge ? 200000 : 300));
            const std::string part(bytes.begin(), bytes.end());
            ASSERT_EQ(Write(pstruFile, part), part.size());
            text += part;
            const std::size_t safe =
                std::max(system.Written(), static_cast<std::size_t>(system.ReservedUpTo()));
            ASSERT_LE(text.size(), safe);
            ASSERT_LE(system.ReservedUpTo(), static_cast<off_t>(text.size()) + 1048576 + 4096);
        }
        EXPECT_EQ(XELP_Fclose(pstruFile), 0);
        EXPECT_EQ(folder.Content("text"), text);
        struct stat status = {};
        EXPECT_EQ(stat(folder.File("text").c_str(), &status), 0);
        EXPECT_EQ(status.st_size, static_cast<off_t>(text.size()));
    }
}

TEST_F(FileFailure, WithoutReservationEveryCallWritesAtOnce)
{
    for (const int iError : {EOPNOTSUPP, ENOSYS, ENOSPC, EDQUOT, EFBIG}) {
        SCOPED_TRACE(iError);
        XELP_S_File *const pstruFile = OpenLarge(folder.File("text"));
        system.Fail("fallocate", 1, iError);
        std::string text = start;
        for (int i = 0; i < 20; ++i) {
            const std::string line = "line " + std::to_string(i) + "\n";
            ASSERT_EQ(Write(pstruFile, line), line.size());
            text += line;
            ASSERT_EQ(folder.Content("text"), text);
        }
        EXPECT_EQ(system.Calls("fallocate"), 1) << "asked again";
        EXPECT_EQ(XELP_Fclose(pstruFile), 0);
        EXPECT_EQ(folder.Content("text"), text);
    }
}

TEST_F(FileFailure, ReservationThatFailsLaterKeepsTheOrder)
{
    XELP_S_File *const pstruFile = OpenLarge(folder.File("text"));
    system.Fail("fallocate", 2, ENOSPC);
    std::string text = start;
    while (system.Calls("fallocate") < 2) {
        text += "waiting";
        ASSERT_EQ(Write(pstruFile, "waiting"), 7U);
    }
    EXPECT_EQ(folder.Content("text"), text) << "not all of it was written";
    ASSERT_EQ(Write(pstruFile, "!"), 1U);
    EXPECT_EQ(folder.Content("text"), text + "!");
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(system.Calls("ftruncate"), 1);
}

TEST_F(FileFailure, ReservesNothingBeyondTheFileSizeLimit)
{
    system.ReportSizeLimit(20000);
    XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
    std::string text;
    for (int i = 0; i < 199; ++i) {
        text += std::string(100, 'x');
        ASSERT_EQ(Write(pstruFile, std::string(100, 'x')), 100U);
        ASSERT_LE(system.ReservedUpTo(), 20000);
    }
    text += std::string(100, 'y'); // up to the limit, and no more
    EXPECT_EQ(Write(pstruFile, std::string(200, 'y')), 100U);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_LE(system.ReservedUpTo(), 20000);
    EXPECT_EQ(folder.Content("text"), text);
    EXPECT_NE(XELP_Fclose(pstruFile), 0);
    ExpectNothingPending();
}

TEST_F(FileFailure, PieceAcrossTheFileSizeLimitIsNotBuffered)
{
    XELP_S_File *const pstruFile = OpenLarge(folder.File("text"));
    system.ReportSizeLimit(kAtOnce + 10000);
    const std::string piece = SomeText(15000);
    EXPECT_EQ(Write(pstruFile, piece), 10000U);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(folder.Content("text"), start + piece.substr(0, 10000));
    EXPECT_NE(XELP_Fclose(pstruFile), 0);
}

TEST_F(FileFailure, LargePiecesAreWrittenAtOnce)
{
    const std::string large = SomeText(kWriteBuffer + 1);
    XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
    EXPECT_EQ(Write(pstruFile, start), start.size());
    EXPECT_EQ(Write(pstruFile, "ab"), 2U);
    EXPECT_EQ(folder.Content("text"), start) << "ab is not buffered, or what precedes it is";
    EXPECT_EQ(Write(pstruFile, large), large.size());
    EXPECT_EQ(folder.Content("text"), start + "ab" + large);
    EXPECT_EQ(Write(pstruFile, "cd"), 2U);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(folder.Content("text"), start + "ab" + large + "cd");
}

TEST_F(FileFailure, ShortAndInterruptedWritesLoseNothing)
{
    const std::string text = SomeText(3000);
    for (const std::size_t limit : {1U, 7U, 2999U}) {
        for (const bool isBuffered : {false, true}) {
            SCOPED_TRACE(testing::Message() << limit << (isBuffered ? " buffered" : " at once"));
            system.Reset();
            system.InterruptEach(3);
            XELP_S_File *const pstruFile =
                isBuffered ? OpenLarge(folder.File("text")) : Open(folder.File("text"), "w");
            if (!isBuffered) {
                system.Fail("fallocate", 1, ENOSPC);
            }
            system.LimitWrite(limit);
            system.InterruptEach(3);
            EXPECT_EQ(Write(pstruFile, text), text.size());
            EXPECT_EQ(XELP_Fclose(pstruFile), 0);
            EXPECT_EQ(folder.Content("text"), (isBuffered ? start : "") + text);
            EXPECT_EQ(XELP_Rename(folder.File("text").c_str(), folder.File("new").c_str()), 0);
            EXPECT_EQ(XELP_Remove(folder.File("new").c_str()), 0);
        }
    }
}

TEST_F(FileFailure, FullDiskShowsInTheCountOfWholeItems)
{
    const struct {
        QAL_UINT32 ulSize;
        QAL_UINT32 ulCount;
        QAL_UINT32 ulWritten; // with room for ten bytes
    } cases[] = {{1, 30, 10}, {3, 10, 3}, {5, 6, 2}, {10, 3, 1}, {30, 1, 0}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.ulSize);
        system.Reset();
        system.Fail("fallocate", 1, ENOSPC);
        system.LimitWrite(10);
        system.Fail("write", 2, ENOSPC);
        XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
        const std::string text = SomeText(30);
        errno = 0;
        EXPECT_EQ(XELP_Fwrite(text.data(), c.ulSize, c.ulCount, pstruFile), c.ulWritten);
        EXPECT_EQ(errno, ENOSPC);
        errno = 0;
        EXPECT_EQ(Write(pstruFile, "x"), 0U) << "continued after a gap";
        EXPECT_EQ(errno, ENOSPC);
        EXPECT_EQ(system.Calls("write"), 2);
        errno = 0;
        EXPECT_NE(XELP_Fclose(pstruFile), 0);
        EXPECT_EQ(errno, ENOSPC);
        EXPECT_EQ(system.Calls("fsync"), 0) << "flushed what failed";
        ExpectNothingPending(); // the count has reported it
        EXPECT_EQ(folder.Content("text"), text.substr(0, 10));
    }
}

TEST_F(FileFailure, SystemWriteThatReturns0IsAnError)
{
    system.Fail("fallocate", 1, ENOSPC);
    system.Fail("write", 1, 0);
    XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
    EXPECT_EQ(Write(pstruFile, "text"), 0U);
    EXPECT_EQ(errno, EIO);
    EXPECT_NE(XELP_Fclose(pstruFile), 0);
    ExpectNothingPending();
}

TEST_F(FileFailure, FailureToWriteTheBufferShowsInTheCount)
{
    const struct {
        std::size_t next; // the size of the piece that causes the buffer to be written
        bool canReserve;
    } cases[] = {{kWriteBuffer, true}, {kWriteBuffer + 1, true}, {40000, false}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.next);
        XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
        system.Fail("write", 1, EIO);
        if (!c.canReserve) {
            system.Fail("fallocate", 2, ENOSPC);
        }
        EXPECT_EQ(Write(pstruFile, std::string(16000, 'x')), 16000U);
        errno = 0;
        EXPECT_EQ(Write(pstruFile, std::string(c.next, 'y')), 0U);
        EXPECT_EQ(errno, EIO);
        EXPECT_NE(XELP_Fclose(pstruFile), 0);
        EXPECT_EQ(folder.Content("text"), "") << "the write was repeated";
        ExpectNothingPending();
    }
}

TEST_F(FileFailure, NoItemsWriteNothing)
{
    XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
    EXPECT_EQ(XELP_Fwrite("x", 0, 5, pstruFile), 0U);
    EXPECT_EQ(XELP_Fwrite("x", 1, 0, pstruFile), 0U);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(folder.Content("text"), "");
    EXPECT_EQ(system.Calls("write") + system.Calls("fallocate") + system.Calls("ftruncate"), 0);
    ExpectNothingPending();
}

// ---- Seeking in a file for writing --------------------------------------------------------------

TEST_F(FileFailure, WriterWritesAtOnceAfterASeek)
{
    XELP_S_File *const pstruFile = OpenLarge(folder.File("text"));
    EXPECT_EQ(Write(pstruFile, "0123456789"), 10U);
    EXPECT_EQ(XELP_Fseek(pstruFile, kAtOnce + 2, SEEK_SET), 0);
    EXPECT_EQ(Write(pstruFile, "ab"), 2U);
    EXPECT_EQ(folder.Content("text"), start + "01ab456789");
    EXPECT_EQ(XELP_Fseek(pstruFile, 1, SEEK_CUR), 0);
    EXPECT_EQ(Write(pstruFile, "c"), 1U);
    EXPECT_EQ(XELP_Fseek(pstruFile, -1, SEEK_CUR), 0);
    EXPECT_EQ(Write(pstruFile, "C"), 1U);
    EXPECT_EQ(XELP_Fseek(pstruFile, -1, SEEK_END), 0);
    EXPECT_EQ(Write(pstruFile, "de"), 2U);
    EXPECT_NE(XELP_Fseek(pstruFile, -200000, SEEK_CUR), 0);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(Write(pstruFile, "f"), 1U);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(folder.Content("text"), start + "01ab4C678def");
}

TEST_F(FileFailure, WriterStepsBackOverBufferedBytes)
{
    XELP_S_File *const pstruFile = OpenLarge(folder.File("text"));
    EXPECT_EQ(Write(pstruFile, "ab"), 2U);
    EXPECT_EQ(XELP_Fseek(pstruFile, -1, SEEK_CUR), 0);
    EXPECT_EQ(Write(pstruFile, "c"), 1U);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(folder.Content("text"), start + "ac");
}

TEST_F(FileFailure, FailedSeekLeavesTheWritersPosition)
{
    XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
    EXPECT_EQ(Write(pstruFile, "abc"), 3U);
    for (const QAL_INT32 lWhence : {-1, 3, 4, 1000}) {
        errno = 0;
        EXPECT_NE(XELP_Fseek(pstruFile, 0, lWhence), 0) << lWhence;
        EXPECT_EQ(errno, EINVAL);
    }
    system.Fail("lseek", 1, ESPIPE);
    EXPECT_NE(XELP_Fseek(pstruFile, 0, SEEK_SET), 0);
    EXPECT_EQ(errno, ESPIPE);
    EXPECT_EQ(Write(pstruFile, "d"), 1U);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(folder.Content("text"), "abcd");
}

TEST_F(FileFailure, FailureWhileSeekingIsStillReported)
{
    for (const bool writesAgain : {false, true}) {
        XELP_S_File *const pstruFile = OpenLarge(folder.File("text"));
        EXPECT_EQ(Write(pstruFile, "abc"), 3U);
        system.Fail("write", 1, EIO);
        for (int i = 0; i < 2; ++i) {
            errno = 0;
            EXPECT_NE(XELP_Fseek(pstruFile, 0, SEEK_SET), 0);
            EXPECT_EQ(errno, EIO);
        }
        if (writesAgain) {
            EXPECT_EQ(Write(pstruFile, "d"), 0U);
        }
        EXPECT_NE(XELP_Fclose(pstruFile), 0);
        writesAgain ? ExpectNothingPending() : ExpectPending(EIO);
    }
}

TEST_F(FileFailure, WrongDirectionIsRefused)
{
    const std::string name = folder.Make("text", "abc");
    XELP_S_File *pstruFile = Open(name, "r");
    errno = 0;
    EXPECT_EQ(Write(pstruFile, "x"), 0U);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(ReadAll(pstruFile), "abc");
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);

    pstruFile = Open(name, "w");
    EXPECT_EQ(Write(pstruFile, "def"), 3U);
    errno = 0;
    EXPECT_EQ(XELP_Fgetc(pstruFile), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(folder.Content("text"), "def");
    ExpectNothingPending();
}

// ---- Closing ------------------------------------------------------------------------------------

/// The directory is opened with the file, and flushed after it.
TEST_F(FileFailure, CloseFlushesTheFileAndThenItsEntry)
{
    XELP_S_File *pstruFile = Open(folder.File("text"), "w");
    EXPECT_EQ(Write(pstruFile, "abc"), 3U);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(Trace(),
              "open ., open text, fallocate text, write text, fsync text, close text, "
              "fsync ., close .");

    pstruFile = OpenLarge(folder.File("text"));
    EXPECT_EQ(Write(pstruFile, "abc"), 3U);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(Trace(),
              "fallocate text, write text, ftruncate text, fsync text, close text, "
              "fsync ., close .");
}

TEST_F(FileFailure, RelativeNameIsFlushedWhereItWasCreated)
{
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::create_directory(folder.File("sub"));
    std::filesystem::current_path(folder.Path());
    XELP_S_File *const pstruFile = Open("text", "w");
    XELP_S_File *const pstruOther = Open("sub/text", "w");
    std::filesystem::current_path(before);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(XELP_Fclose(pstruOther), 0);
    EXPECT_EQ(Trace(),
              "open ., open text, open sub, open sub/text, fsync text, close text, "
              "fsync ., close ., fsync sub/text, close sub/text, fsync sub, close sub");
}

TEST_F(FileFailure, UnreadableDirectoryIsFlushedByFlushingEverything)
{
    system.Fail("open", 1, EACCES);
    XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
    ASSERT_NE(pstruFile, nullptr);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(Trace(), "open ., open text, fsync text, close text, sync all");

    system.Reset();
    system.Fail("open", 1, EACCES);
    EXPECT_EQ(XELP_Rename(folder.File("text").c_str(), folder.File("new").c_str()), 0);
    EXPECT_EQ(Trace(), "rename text new, open ., sync all");
}

TEST_F(FileFailure, CloseFailureIsReportedOnceByTheNextRemoveOrRename)
{
    const struct {
        const char *pszCall;
        int n;
        int iError;
    } cases[] = {
        {"write", 1, EIO},    {"write", 1, ENOSPC}, {"fsync", 1, EIO},
        {"fsync", 1, EROFS},  {"fsync", 2, EIO}, // of the directory
        {"close", 1, EDQUOT},
    };
    for (const auto &c : cases) {
        for (const bool renames : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.pszCall << " " << c.n << " " << c.iError);
            folder.Make("old", "old content");
            XELP_S_File *const pstruFile = OpenLarge(folder.File("text"));
            EXPECT_EQ(Write(pstruFile, "abc"), 3U);
            system.Fail(c.pszCall, c.n, c.iError);
            errno = 0;
            EXPECT_NE(XELP_Fclose(pstruFile), 0);
            EXPECT_EQ(errno, c.iError);
            EXPECT_EQ(system.OpenDescriptors(), std::vector<int>{});
            if (renames) {
                errno = 0;
                EXPECT_NE(XELP_Rename(folder.File("text").c_str(), folder.File("old").c_str()), 0);
                EXPECT_EQ(errno, c.iError);
                EXPECT_EQ(system.Calls("rename"), 0);
                EXPECT_EQ(folder.Content("old"), "old content");
                EXPECT_EQ(XELP_Rename(folder.File("text").c_str(), folder.File("old").c_str()), 0);
                EXPECT_FALSE(folder.Has("text"));
                ExpectNothingPending();
            } else {
                ExpectPending(c.iError);
            }
        }
    }
}

TEST_F(FileFailure, FirstOfSeveralFailuresIsReported)
{
    XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
    EXPECT_EQ(Write(pstruFile, "abc"), 3U);
    system.Fail("fsync", 1, EIO, kAlways);
    system.Fail("close", 1, EDQUOT, kAlways);
    EXPECT_NE(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(system.Calls("fsync"), 1) << "flushed the entry of a file that failed";
    ExpectPending(EIO);
}

TEST_F(FileFailure, CloseFailureIsReportedToItsOwnThreadOnly)
{
    XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
    system.Fail("fsync", 1, EIO);
    EXPECT_NE(XELP_Fclose(pstruFile), 0);
    std::thread([&] { ExpectNothingPending(); }).join();
    ExpectPending(EIO);
}

TEST_F(FileFailure, CloseFailureIsForgottenWhenItsThreadEnds)
{
    for (int i = 0; i < 20; ++i) { // the system reuses thread identities
        std::thread([&] {
            ExpectNothingPending();
            XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
            system.Fail("fsync", 1, EIO);
            EXPECT_NE(XELP_Fclose(pstruFile), 0);
        }).join();
    }
    ExpectNothingPending();
}

TEST_F(FileFailure, LastFailureOfAThreadIsReported)
{
    for (const int iError : {EIO, EDQUOT}) {
        XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
        system.Fail("fsync", 1, iError);
        EXPECT_NE(XELP_Fclose(pstruFile), 0);
    }
    ExpectPending(EDQUOT);
}

/// A failure that cannot be stored for its thread makes the next removal or renaming fail, in any
/// thread.
TEST_F(FileFailure, FailureThatItsThreadCannotKeepIsReportedToTheFirstThreadThatAsks)
{
    for (const bool isOther : {false, true}) {
        XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
        system.Fail("fsync", 1, EIO);
        system.Fail("pthread_setspecific", 1, ENOMEM);
        EXPECT_NE(XELP_Fclose(pstruFile), 0);
        EXPECT_EQ(errno, EIO);
        if (isOther) {
            std::thread([&] { ExpectPending(EIO); }).join();
            ExpectNothingPending();
        } else {
            ExpectPending(EIO);
        }
    }
}

/// Of several failures that cannot be stored for their threads, only the last is reported.
TEST_F(FileFailure, FailuresThatCannotBeKeptAreReportedAsOne)
{
    for (const int iError : {EIO, EDQUOT}) {
        XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
        system.Fail("fsync", 1, iError);
        system.Fail("pthread_setspecific", 1, ENOMEM);
        EXPECT_NE(XELP_Fclose(pstruFile), 0);
    }
    ExpectPending(EDQUOT);
}

/// A thread's own failure comes first.
TEST_F(FileFailure, TwoFailuresAreReportedOneAfterTheOther)
{
    XELP_S_File *pstruFile = Open(folder.File("text"), "w");
    system.Fail("fsync", 1, EIO);
    system.Fail("pthread_setspecific", 1, ENOMEM);
    EXPECT_NE(XELP_Fclose(pstruFile), 0);
    pstruFile = Open(folder.File("text"), "w");
    system.Fail("fsync", 1, EDQUOT);
    EXPECT_NE(XELP_Fclose(pstruFile), 0);
    errno = 0;
    EXPECT_NE(XELP_Remove(folder.File("text").c_str()), 0);
    EXPECT_EQ(errno, EDQUOT);
    ExpectPending(EIO);
}

using FileFailureDeathTest = FileFailure;

/// A death test, because death tests run first, when nothing has failed yet.
TEST_F(FileFailureDeathTest, WithoutAKeyTheFirstThreadThatAsksGetsTheFailure)
{
    EXPECT_EXIT(
        {
            XELP_S_File *pstruFile = Open(folder.File("text"), "w");
            system.Fail("fsync", 1, EIO);
            system.Fail("pthread_key_create", 1, EAGAIN);
            XELP_Fclose(pstruFile);
            ExpectPending(EIO);
            pstruFile = Open(folder.File("text"), "w"); // the next failure gets its key
            system.Fail("fsync", 1, EIO);
            XELP_Fclose(pstruFile);
            std::thread([&] { ExpectNothingPending(); }).join();
            ExpectPending(EIO);
            std::exit(HasFailure() ? 1 : 0);
        },
        ::testing::ExitedWithCode(0), "");
}

/// Storing a thread's value may need memory, and so can fail.
TEST_F(FileFailureDeathTest, ThreadValueIsNotUsedIfNothingFails)
{
    EXPECT_EXIT(
        {
            const std::string text = folder.File("text");
            const std::string other = folder.File("new");
            system.Reset();
            XELP_S_File *const pstruFile = XELP_Fopen(text.c_str(), "w");
            XELP_Fwrite("abc", 1, 3, pstruFile);
            const bool isDone = XELP_Fclose(pstruFile) == 0 &&
                                XELP_Rename(text.c_str(), other.c_str()) == 0 &&
                                XELP_Remove(other.c_str()) == 0;
            std::exit(isDone ? system.Calls("pthread_key_create") +
                                   system.Calls("pthread_getspecific") +
                                   system.Calls("pthread_setspecific")
                             : 100);
        },
        ::testing::ExitedWithCode(0), "");
}

/// The key is created once. A removal uses it only while a failure is kept.
TEST_F(FileFailureDeathTest, ThreadValueIsNotUsedOnceAllFailuresAreReported)
{
    EXPECT_EXIT(
        {
            const auto fail = [&](int iError) {
                XELP_S_File *const pstruFile = Open(folder.File("text"), "w");
                system.Fail("fsync", 1, iError);
                XELP_Fclose(pstruFile);
            };
            const auto expectUntouched = [&] {
                system.Reset();
                ExpectNothingPending();
                EXPECT_EQ(system.Calls("pthread_getspecific"), 0);
                EXPECT_EQ(system.Calls("pthread_setspecific"), 0);
            };
            fail(EIO);
            EXPECT_EQ(system.Calls("pthread_key_create"), 1);
            ExpectPending(EIO);
            expectUntouched();
            fail(EIO); // two failures of one thread are reported as one
            fail(EDQUOT);
            EXPECT_EQ(system.Calls("pthread_key_create"), 0);
            ExpectPending(EDQUOT);
            expectUntouched();
            system.Fail("pthread_setspecific", 1, ENOMEM);
            fail(EIO);
            ExpectPending(EIO);
            expectUntouched();
            std::exit(HasFailure() ? 1 : 0);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST_F(FileFailure, HarmlessErrorsAtCloseAreIgnored)
{
    const struct {
        const char *pszCall;
        int n;
        int iError;
    } cases[] = {
        {"fsync", 1, EINVAL},                     // a file without a device
        {"fsync", 2, EINVAL},                     // a file system that flushes entries by itself
        {"ftruncate", 1, EIO}, {"fstat", 1, EIO}, // blocks beyond the end stay
        {"close", 1, EINTR},   {"close", 2, EIO}, // the directory was only read
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.pszCall << " " << c.n);
        XELP_S_File *const pstruFile = OpenLarge(folder.File("text"));
        EXPECT_EQ(Write(pstruFile, "abc"), 3U);
        system.Fail(c.pszCall, c.n, c.iError);
        EXPECT_EQ(XELP_Fclose(pstruFile), 0);
        EXPECT_EQ(system.Calls("close"), 2) << "a close was repeated";
        ExpectNothingPending();
        EXPECT_EQ(folder.Content("text"), start + "abc");
    }
}

TEST_F(FileFailure, ReaderNeverFailsToClose)
{
    XELP_S_File *const pstruFile = Open(folder.Make("text", "abc"), "r");
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    ExpectNothingPending();
}

TEST_F(FileFailure, PipeIsWrittenAtOnceAndHasNothingToFlush)
{
    const std::string name = folder.File("pipe");
    ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
    const int iReader = open(name.c_str(), O_RDWR);
    system.Reset();
    XELP_S_File *const pstruFile = Open(name, "w");
    ASSERT_NE(pstruFile, nullptr);
    EXPECT_EQ(Write(pstruFile, "abc"), 3U);
    EXPECT_NE(XELP_Fseek(pstruFile, 0, SEEK_SET), 0);
    EXPECT_EQ(errno, ESPIPE);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(
        Trace(),
        "open ., open pipe, open pipe, write pipe, lseek pipe, fsync pipe, close pipe, close .");
    char szText[4] = "";
    EXPECT_EQ(read(iReader, szText, 3), 3);
    EXPECT_STREQ(szText, "abc");
    close(iReader);
    ExpectNothingPending();
}

// ---- Removing and renaming ----------------------------------------------------------------------

TEST_F(FileFailure, RenameFlushesTheNewEntryAndThenTheOldOne)
{
    std::filesystem::create_directory(folder.File("sub"));
    folder.Make("text", "abc");
    EXPECT_EQ(XELP_Rename(folder.File("text").c_str(), folder.File("new").c_str()), 0);
    EXPECT_EQ(XELP_Rename(folder.File("new").c_str(), folder.File("sub/text").c_str()), 0);
    EXPECT_EQ(Trace(),
              "rename text new, open ., fsync ., close ., rename new sub/text, "
              "open sub, fsync sub, close sub, open ., fsync ., close .");
    EXPECT_EQ(folder.Content("sub/text"), "abc");

    std::filesystem::create_directory(folder.File("bus"));
    system.Reset();
    EXPECT_EQ(XELP_Rename(folder.File("sub/text").c_str(), folder.File("bus/text").c_str()), 0);
    EXPECT_EQ(Trace(),
              "rename sub/text bus/text, open bus, fsync bus, close bus, "
              "open sub, fsync sub, close sub");
}

TEST_F(FileFailure, RenameInTheRootOrWorkingDirectoryFlushesThatDirectory)
{
    system.Fail("rename", 1, EACCES);
    EXPECT_NE(XELP_Rename("/wyx_no_such_file", "/wyx_no_such_name"), 0);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(Trace(), "rename /wyx_no_such_file /wyx_no_such_name")
        << "flushed though nothing was renamed";

    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    folder.Make("a", "x");
    system.Reset();
    EXPECT_EQ(XELP_Rename("a", "./b"), 0);
    EXPECT_EQ(Trace(), "rename a ./b, open ., fsync ., close .");
    std::filesystem::current_path(before);

    system.Reset();
    XELP_S_File *const pstruFile = Open("/dev/null", "w");
    ASSERT_NE(pstruFile, nullptr);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    system.Fail("open", 2, EROFS); // of the file, after its directory
    EXPECT_EQ(Open("/wyx_no_such_file", "w"), nullptr);
    EXPECT_EQ(
        Trace(),
        "open /dev, open /dev/null, open /dev/null, fsync /dev/null, close /dev/null, close /dev, "
        "open /, open /wyx_no_such_file, close /");
}

TEST_F(FileFailure, RenameThatCannotBeFlushedFails)
{
    std::filesystem::create_directory(folder.File("sub"));
    for (const int n : {1, 2}) {
        folder.Make("text", "abc");
        system.Reset();
        system.Fail("fsync", n, EIO);
        system.Fail("close", 1, EBADF, kAlways);
        errno = 0;
        EXPECT_NE(XELP_Rename(folder.File("text").c_str(), folder.File("sub/text").c_str()), 0);
        EXPECT_EQ(errno, EIO);
        EXPECT_EQ(folder.Content("sub/text"), "abc");
        EXPECT_EQ(system.OpenDescriptors(), std::vector<int>{});
        ExpectNothingPending();
    }
}

TEST_F(FileFailure, DirectoriesAreOpenedUpToTheLongestNameThatFits)
{
    for (const std::size_t length : {PATH_MAX - 1U, PATH_MAX + 0U, PATH_MAX + 1U}) {
        SCOPED_TRACE(length);
        const std::string name = std::string(length, '/') + "/text"; // the first part is the root
        const std::string target = folder.Make("text", "abc");
        const int iFits = length < PATH_MAX ? 1 : 0;
        system.Reset();
        EXPECT_EQ(Open(name, "w"), nullptr);
        EXPECT_EQ(errno, ENAMETOOLONG);
        EXPECT_EQ(system.Calls("open"), iFits + 1);
        system.Reset();
        system.Fail("rename", 1, 0); // reports success, as the system never would
        EXPECT_EQ(XELP_Rename(target.c_str(), name.c_str()), 0);
        EXPECT_EQ(system.Calls("open"), iFits + 1); // flushes the old entry
        EXPECT_EQ(system.Calls("sync"), 1 - iFits);
        system.Reset();
    }
}

TEST_F(FileFailure, TooLongNamesFailWithENAMETOOLONG)
{
    const std::string tooLong = folder.Path() + "/" + std::string(5000, 'x') + "/y";
    errno = 0;
    EXPECT_EQ(Open(tooLong, "w"), nullptr);
    EXPECT_EQ(errno, ENAMETOOLONG);
    errno = 0;
    EXPECT_EQ(Open(tooLong, "r"), nullptr);
    EXPECT_EQ(errno, ENAMETOOLONG);
    errno = 0;
    EXPECT_NE(XELP_Remove(tooLong.c_str()), 0);
    EXPECT_EQ(errno, ENAMETOOLONG);
    errno = 0;
    EXPECT_NE(XELP_Rename(tooLong.c_str(), tooLong.c_str()), 0);
    EXPECT_EQ(errno, ENAMETOOLONG);
}

// ---- A save, as the INI module does it ----------------------------------------------------------

/// Each call of a save fails in turn: the old or the new content always stays whole.
TEST_F(FileFailure, SaveKeepsTheOldOrTheNewContentWhole)
{
    const std::string old = folder.File("t.ini");
    const std::string temporary = folder.File("t1.ibk");
    for (const char *const pszCall :
         {"open", "fallocate", "write", "ftruncate", "fsync", "close", "unlink", "rename"}) {
        for (int n = 1;; ++n) {
            SCOPED_TRACE(testing::Message() << pszCall << " " << n);
            folder.Make("t.ini", "old");
            std::filesystem::remove(temporary);
            system.Reset();
            system.Fail(pszCall, n, EIO);
            XELP_S_File *const pstruFile = Open(temporary, "w");
            if (pstruFile != nullptr) {
                const bool isWritten =
                    Write(pstruFile, start) == kAtOnce && Write(pstruFile, "new") == 3;
                XELP_Fclose(pstruFile); // its result is ignored
                if (!isWritten) {
                    XELP_Remove(temporary.c_str());
                } else if (XELP_Remove(old.c_str()) == 0) {
                    XELP_Rename(temporary.c_str(), old.c_str());
                }
            }
            const bool isOldName = folder.Has("t.ini");
            const std::string target = isOldName ? folder.Content("t.ini") : "";
            EXPECT_TRUE(isOldName ? target == "old" || target == start + "new"
                                  : folder.Content("t1.ibk") == start + "new");
            if (system.Calls(pszCall) < n) {
                EXPECT_EQ(target, start + "new");
                break;
            }
        }
    }
}

} // namespace
} // namespace wyx::test
