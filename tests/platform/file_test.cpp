// The default adapter's file services on real files, pipes, devices and full disks, beyond what
// tools/adapter_suite tests.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "file_texts.h"
#include "os_adapter.h"
#include "random.h"
#include "temp_folder.h"

namespace wyx::test {
namespace {

constexpr int kNotHere = 77; // the result of a child that cannot run its test on this machine

/// Runs a function in a process of its own, so that limits and mounts end with it. Returns its
/// result.
int InChild(const std::function<int()> &run)
{
    const pid_t child = fork();
    if (child == 0) {
        _exit(run());
    }
    int iStatus = 0;
    EXPECT_EQ(waitpid(child, &iStatus, 0), child);
    return WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : 1000 + WTERMSIG(iStatus);
}

/// Expects that a child succeeded, or skips the test if the child could not run it.
void ExpectSuccess(int iResult, const char *pszWhyNotHere)
{
    if (iResult == kNotHere) {
        GTEST_SKIP() << pszWhyNotHere;
    }
    EXPECT_EQ(iResult, 0);
}

class File : public ::testing::Test {
  protected:
    void SetUp() override { descriptors_ = CountDescriptors(); }
    void TearDown() override
    {
        EXPECT_EQ(CountDescriptors(), descriptors_) << "descriptors are still open";
    }

    XELP_S_File *Open(std::string_view name, const char *pszMode) const
    {
        return XELP_Fopen(folder.File(name).c_str(), pszMode);
    }

    void ExpectRefused(const std::string &name, const char *pszMode, int iError)
    {
        errno = 0;
        EXPECT_EQ(XELP_Fopen(name.c_str(), pszMode), nullptr) << name << " " << pszMode;
        EXPECT_EQ(errno, iError) << name << " " << pszMode;
    }

    const TempFolder folder;

  private:
    static std::size_t CountDescriptors()
    {
        std::size_t count = 0;
        for (int iFd = 0; iFd < 256; ++iFd) {
            count += fcntl(iFd, F_GETFD) != -1 ? 1U : 0U;
        }
        return count;
    }

    std::size_t descriptors_ = 0;
};

// ---- Opening ------------------------------------------------------------------------------------

TEST_F(File, ModesAreReadAndWriteOnly)
{
    const std::string name = folder.Make("text", "old");
    for (const char *const pszMode : {"", "a", "rb", "wb", "r+", "w+", "rw", "x", "R", "W", " r"}) {
        ExpectRefused(name, pszMode, EINVAL);
    }
    EXPECT_EQ(folder.Content("text"), "old");
}

TEST_F(File, MissingFilesAreNotOpened)
{
    ExpectRefused(folder.File("none"), "r", ENOENT);
    ExpectRefused(folder.File("none/text"), "r", ENOENT);
    ExpectRefused(folder.File("none/text"), "w", ENOENT);
    ExpectRefused("", "r", ENOENT);
    ExpectRefused("", "w", ENOENT);
    EXPECT_FALSE(folder.Has("none"));
}

TEST_F(File, DirectoriesAreRefused)
{
    std::filesystem::create_directory(folder.File("sub"));
    for (const char *const pszName : {"sub", "sub/", "sub/.", "."}) {
        ExpectRefused(folder.File(pszName), "w", EISDIR);
        ExpectRefused(folder.File(pszName), "r", EISDIR);
    }
    ExpectRefused(folder.Make("text", "") + "/", "r", ENOTDIR);
}

TEST_F(File, UnreadableFilesAreRefused)
{
    WYX_NEED_NOBODY();
    const std::string name = folder.Make("text", "secret");
    ASSERT_EQ(chmod(name.c_str(), 0), 0);
    ASSERT_EQ(chmod(folder.Path().c_str(), 0755), 0);
    EXPECT_EQ(AsNobody([&] {
                  if (XELP_Fopen(name.c_str(), "r") != nullptr || errno != EACCES) {
                      return 1;
                  }
                  return XELP_Fopen(name.c_str(), "w") != nullptr || errno != EACCES ? 2 : 0;
              }),
              0);
    EXPECT_EQ(chmod(name.c_str(), 0600), 0);
    EXPECT_EQ(folder.Content("text"), "secret");
}

/// The user may create files in the directory, but not list it.
TEST_F(File, UnreadableDirectoryCanHoldFiles)
{
    WYX_NEED_NOBODY();
    ASSERT_EQ(chmod(folder.Path().c_str(), 0333), 0);
    const int iResult = AsNobody([&] {
        XELP_S_File *const pstruFile = Open("text", "w");
        if (pstruFile == nullptr || Write(pstruFile, "abc") != 3 || XELP_Fclose(pstruFile) != 0) {
            return 1;
        }
        return XELP_Rename(folder.File("text").c_str(), folder.File("new").c_str()) != 0 ? 2 : 0;
    });
    EXPECT_EQ(chmod(folder.Path().c_str(), 0700), 0);
    EXPECT_EQ(iResult, 0);
    EXPECT_EQ(folder.Content("new"), "abc");
}

TEST_F(File, RegularFileWithAReadErrorIsRefused)
{
    const char *const pszName = "/proc/self/mem"; // nothing can be read at its start
    struct stat status = {};
    const int iFd = open(pszName, O_RDONLY | O_CLOEXEC);
    char cByte = 0;
    const bool hasError = iFd != -1 && fstat(iFd, &status) == 0 && S_ISREG(status.st_mode) &&
                          read(iFd, &cByte, 1) == -1 && errno == EIO;
    close(iFd);
    if (!hasError) {
        GTEST_SKIP() << "this file can be read here";
    }
    ExpectRefused(pszName, "r", EIO);
}

TEST_F(File, SymbolicLinksAreFollowedForReadingOnly)
{
    folder.Make("text", "old");
    std::filesystem::create_symlink("text", folder.File("link"));
    std::filesystem::create_symlink("none", folder.File("dangling"));
    XELP_S_File *const pstruFile = Open("link", "r");
    ASSERT_NE(pstruFile, nullptr);
    EXPECT_EQ(ReadAll(pstruFile), "old");
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    ExpectRefused(folder.File("link"), "w", ELOOP);
    ExpectRefused(folder.File("dangling"), "w", ELOOP);
    ExpectRefused(folder.File("dangling"), "r", ENOENT);
    EXPECT_EQ(folder.Content("text"), "old");
    EXPECT_FALSE(folder.Has("none"));
}

/// The user may write to the file, but not read it.
TEST_F(File, UnreadableFileThatWasLookedForIsNotEmptied)
{
    WYX_NEED_NOBODY();
    const std::string name = folder.Make("text.ibk", "somebody else's");
    ASSERT_EQ(chmod(name.c_str(), 0222), 0);
    ASSERT_EQ(chmod(folder.Path().c_str(), 0777), 0);
    EXPECT_EQ(AsNobody([&] {
                  if (XELP_Fopen(name.c_str(), "r") != nullptr || errno != EACCES) {
                      return 1;
                  }
                  return XELP_Fopen(name.c_str(), "w") != nullptr || errno != EEXIST ? 2 : 0;
              }),
              0);
    EXPECT_EQ(chmod(name.c_str(), 0600), 0);
    EXPECT_EQ(folder.Content("text.ibk"), "somebody else's");
    XELP_S_File *const pstruFile = Open("text.ibk", "w"); // this process has not looked for it
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(folder.Content("text.ibk"), "");
}

TEST_F(File, NewFilesGetTheUsualPermissionsAndOldFilesKeepTheirs)
{
    const mode_t before = umask(027);
    const auto rights = [&](const char *pszName) {
        XELP_S_File *const pstruFile = Open(pszName, "w");
        EXPECT_EQ(XELP_Fclose(pstruFile), 0);
        struct stat status = {};
        EXPECT_EQ(stat(folder.File(pszName).c_str(), &status), 0);
        return status.st_mode & 07777U;
    };
    EXPECT_EQ(rights("new"), 0640U);
    folder.Make("old", "old content");
    EXPECT_EQ(chmod(folder.File("old").c_str(), 0604), 0);
    EXPECT_EQ(rights("old"), 0604U);
    EXPECT_EQ(folder.Content("old"), "");
    umask(before);
}

// ---- Reading ------------------------------------------------------------------------------------

TEST_F(File, SeekOutsideTheFileLeavesThePosition)
{
    constexpr QAL_LONG kSize = 10;
    folder.Make("text", "0123456789");
    XELP_S_File *const pstruFile = Open("text", "r");
    ASSERT_NE(pstruFile, nullptr);
    constexpr QAL_LONG kLeast = std::numeric_limits<QAL_LONG>::min();
    constexpr QAL_LONG kMost = std::numeric_limits<QAL_LONG>::max();
    std::vector<QAL_LONG> offsets = {kLeast, kLeast + 1, kMost - 1, kMost};
    for (QAL_LONG l = -kSize - 2; l <= kSize + 2; ++l) {
        offsets.push_back(l);
    }
    for (QAL_LONG lStart = 0; lStart <= kSize; ++lStart) {
        for (const QAL_INT32 lWhence : {-1, 0, 1, 2, 3}) {
            for (const QAL_LONG lOffset : offsets) {
                SCOPED_TRACE(testing::Message() << lStart << " " << lWhence << " " << lOffset);
                ASSERT_EQ(XELP_Fseek(pstruFile, lStart, 0), 0);
                const QAL_LONG lBase = lWhence == 0 ? 0 : lWhence == 1 ? lStart : kSize;
                const bool isWithin =
                    lWhence >= 0 && lWhence <= 2 && lOffset >= -lBase && lOffset <= kSize - lBase;
                ASSERT_EQ(XELP_Fseek(pstruFile, lOffset, lWhence) == 0, isWithin);
                const QAL_LONG lAt = isWithin ? lBase + lOffset : lStart;
                ASSERT_EQ(XELP_Fgetc(pstruFile), lAt < kSize ? '0' + lAt : -1);
            }
        }
    }
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
}

TEST_F(File, FilesThatDoNotReportTheirSizeAreReadWhole)
{
    for (const char *const pszName : {"/proc/self/limits", "/proc/self/maps", "/proc/version"}) {
        std::ifstream file(pszName);
        if (!file.is_open()) {
            continue;
        }
        XELP_S_File *const pstruFile = XELP_Fopen(pszName, "r");
        ASSERT_NE(pstruFile, nullptr) << pszName;
        const std::string text = ReadAll(pstruFile);
        EXPECT_EQ(text.empty() ? '\0' : text.back(), '\n') << pszName;
        EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    }
}

TEST_F(File, LargeFilesReadBackUnchanged)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const auto bytes = random.Bytes(5000000);
    const std::string text(bytes.begin(), bytes.end());
    XELP_S_File *pstruFile = Open("text", "w");
    ASSERT_NE(pstruFile, nullptr);
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t count = std::min<std::size_t>(1 + random.UpTo(9000), text.size() - at);
        ASSERT_EQ(Write(pstruFile, std::string_view(text).substr(at, count)), count);
        at += count;
    }
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_TRUE(folder.Content("text") == text);
    pstruFile = Open("text", "r");
    ASSERT_NE(pstruFile, nullptr);
    EXPECT_TRUE(ReadAll(pstruFile) == text);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
}

TEST_F(File, PipeStreamsAndStepsBackAcrossEveryRefill)
{
    const std::string name = folder.File("pipe");
    const std::string text = SomeText(200000);
    ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
    std::thread writer([&] {
        XELP_S_File *const pstruFile = XELP_Fopen(name.c_str(), "w");
        EXPECT_EQ(Write(pstruFile, text), text.size());
        EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    });
    XELP_S_File *const pstruFile = XELP_Fopen(name.c_str(), "r");
    for (std::size_t i = 0; i < text.size(); ++i) {
        const QAL_INT32 lByte = static_cast<QAL_UINT8>(text[i]);
        ASSERT_EQ(XELP_Fgetc(pstruFile), lByte) << i;
        ASSERT_EQ(XELP_Fseek(pstruFile, -1, SEEK_CUR), 0) << i;
        ASSERT_EQ(XELP_Fgetc(pstruFile), lByte) << i;
    }
    EXPECT_EQ(XELP_Fgetc(pstruFile), -1);
    writer.join();
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
}

/// A writer that opens the pipe after its end was read begins a new text, which the reader that is
/// already open does not see.
TEST_F(File, PipeEndsOnce)
{
    const std::string name = folder.File("pipe");
    ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
    std::thread writer([&] { std::ofstream(name) << "first"; });
    XELP_S_File *const pstruFile = XELP_Fopen(name.c_str(), "r");
    EXPECT_EQ(ReadAll(pstruFile), "first");
    writer.join();
    const int iSecond = open(name.c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_EQ(write(iSecond, "second", 6), 6);
    EXPECT_EQ(XELP_Fgetc(pstruFile), -1);
    close(iSecond);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
}

/// A signal arrives every millisecond, and the kernel does not restart the calls it interrupts.
TEST_F(File, SignalsDoNotInterruptCalls)
{
    static volatile sig_atomic_t iSignals = 0;
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = [](int) { iSignals = iSignals + 1; };
    ASSERT_EQ(sigaction(SIGALRM, &action, &before), 0);

    const std::string name = folder.File("pipe");
    ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
    std::thread writer([&] {
        sigset_t alarm;
        sigemptyset(&alarm);
        sigaddset(&alarm, SIGALRM);
        pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
        usleep(20000); // meanwhile, signals interrupt the reader's open()
        const int iFd = open(name.c_str(), O_WRONLY | O_CLOEXEC);
        for (const char cByte : {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j'}) {
            usleep(5000);
            EXPECT_EQ(write(iFd, &cByte, 1), 1);
        }
        close(iFd);
    });
    const itimerval often = {{0, 1000}, {0, 1000}};
    const itimerval never = {};
    setitimer(ITIMER_REAL, &often, nullptr);
    XELP_S_File *const pstruFile = XELP_Fopen(name.c_str(), "r");
    const std::string text = pstruFile != nullptr ? ReadAll(pstruFile) : "not opened";
    XELP_S_File *const pstruWriter = Open("text", "w");
    const QAL_UINT32 ulWritten = Write(pstruWriter, SomeText(1000000));
    const QAL_INT32 lClosed = XELP_Fclose(pstruWriter);
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    writer.join();
    EXPECT_EQ(text, "abcdefghij");
    EXPECT_EQ(ulWritten, 1000000U);
    EXPECT_EQ(lClosed, 0);
    EXPECT_TRUE(folder.Content("text") == SomeText(1000000));
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_GT(iSignals, 10);
}

// ---- Writing ------------------------------------------------------------------------------------

TEST_F(File, OccupiesNoMoreBlocksThanItsBytesNeed)
{
    for (const std::size_t size : {1U, 100U, 5000U, 20000U, 100000U, 3000000U}) {
        SCOPED_TRACE(size);
        const std::string text = SomeText(size);
        XELP_S_File *const pstruFile = Open("ours", "w");
        ASSERT_NE(pstruFile, nullptr);
        for (std::size_t at = 0; at < size; at += 50) {
            const auto piece = std::string_view(text).substr(at, 50);
            ASSERT_EQ(Write(pstruFile, piece), piece.size());
        }
        EXPECT_EQ(XELP_Fclose(pstruFile), 0);
        folder.Make("plain", text);
        struct stat ours = {};
        struct stat plain = {};
        for (auto [pszName, pstru] : {std::pair{"ours", &ours}, {"plain", &plain}}) {
            const int iFd = open(folder.File(pszName).c_str(), O_RDONLY | O_CLOEXEC);
            fsync(iFd); // a file gets its blocks when it is flushed to the device
            EXPECT_EQ(fstat(iFd, pstru), 0);
            close(iFd);
        }
        EXPECT_EQ(ours.st_size, static_cast<off_t>(size));
        EXPECT_GE(ours.st_blocks, plain.st_blocks);
        // A file of more than a few extents takes one more block for their list.
        EXPECT_LE(ours.st_blocks, plain.st_blocks + 4096 / 512);
    }
}

TEST_F(File, DevicesReportWhatTheyAccept)
{
    XELP_S_File *pstruFile = XELP_Fopen("/dev/null", "w");
    ASSERT_NE(pstruFile, nullptr);
    EXPECT_EQ(Write(pstruFile, "abc"), 3U);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);

    pstruFile = XELP_Fopen("/dev/full", "w");
    if (pstruFile == nullptr) {
        GTEST_SKIP() << "no /dev/full";
    }
    errno = 0;
    EXPECT_EQ(Write(pstruFile, "abc"), 0U);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_NE(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(XELP_Remove(folder.Make("text", "").c_str()), 0) << "reported twice";
}

TEST_F(File, FileSizeLimitShowsInTheCount)
{
    for (const rlim_t limit : {rlim_t{0}, rlim_t{1000}, rlim_t{9950}, rlim_t{100000}}) {
        SCOPED_TRACE(limit);
        const int iResult = InChild([&] {
            const rlimit limits = {limit, limit};
            if (setrlimit(RLIMIT_FSIZE, &limits) != 0) { // SIGXFSZ would end this process
                return kNotHere;
            }
            XELP_S_File *const pstruFile = Open("text", "w");
            const std::string line(100, 'x');
            for (rlim_t at = 0; at < limit / 100; ++at) {
                if (Write(pstruFile, line) != 100) {
                    return 1;
                }
            }
            if (Write(pstruFile, line) != limit % 100 || errno != EFBIG) {
                return 2;
            }
            if (Write(pstruFile, line) != 0 || errno != EFBIG) {
                return 3;
            }
            if (XELP_Fclose(pstruFile) == 0) {
                return 4;
            }
            return folder.Content("text") == std::string(limit, 'x') &&
                           XELP_Remove(folder.File("text").c_str()) == 0
                       ? 0
                       : 5;
        });
        ExpectSuccess(iResult, "no limits here");
    }
}

/// A write that begins at the limit would raise a signal that ends the process.
TEST_F(File, LargeWriteEndsAtTheFileSizeLimit)
{
    for (const rlim_t limit : {rlim_t{0}, rlim_t{70000}, rlim_t{200000}}) {
        SCOPED_TRACE(limit);
        const int iResult = InChild([&] {
            const rlimit limits = {limit, limit};
            if (setrlimit(RLIMIT_FSIZE, &limits) != 0) {
                return kNotHere;
            }
            XELP_S_File *const pstruFile = Open("text", "w");
            const std::string text(200001, 'x');
            if (Write(pstruFile, text) != limit || errno != EFBIG) {
                return 1;
            }
            XELP_S_File *const pstruMoved = Open("moved", "w");
            if (XELP_Fseek(pstruMoved, static_cast<QAL_LONG>(limit) + 1, SEEK_SET) != 0 ||
                Write(pstruMoved, "x") != 0 || errno != EFBIG) {
                return 2; // a write that begins past the limit fails, too
            }
            XELP_Fclose(pstruMoved);
            XELP_S_File *const pstruDevice = XELP_Fopen("/dev/null", "w");
            if (Write(pstruDevice, text) != text.size() || XELP_Fclose(pstruDevice) != 0) {
                return 3; // the limit does not apply to a device
            }
            return XELP_Fclose(pstruFile) != 0 ? 0 : 4;
        });
        ExpectSuccess(iResult, "no limits here");
    }
}

/// Runs a function in a child process, on a disk of one mebibyte that no other process sees.
int OnSmallDisk(const std::function<int(const std::string &folder)> &run)
{
    const TempFolder folder;
    return InChild([&] {
        if (unshare(CLONE_NEWNS) != 0 ||
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("none", folder.Path().c_str(), "tmpfs", 0, "size=1m") != 0) {
            return kNotHere;
        }
        return run(folder.Path());
    });
}

std::string Content(const std::string &name)
{
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Fills the rest of a disk.
void FillUp(const std::string &folder)
{
    const int iFd = open((folder + "/filler").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const std::string part(4096, 'f');
    while (write(iFd, part.data(), part.size()) > 0) {
    }
    close(iFd);
}

TEST_F(File, FullDiskHoldsWhatFitsAndShowsInTheCount)
{
    for (const std::size_t size : {1U, 79U, 4096U, 70000U}) {
        SCOPED_TRACE(size);
        const int iResult = OnSmallDisk([&](const std::string &disk) {
            const std::string name = disk + "/text";
            const std::string line(size, 'x');
            XELP_S_File *const pstruFile = XELP_Fopen(name.c_str(), "w");
            std::size_t written = 0;
            QAL_UINT32 ulNow = 0;
            do {
                errno = 0;
                ulNow = Write(pstruFile, line);
                written += ulNow;
            } while (ulNow == size);
            if (errno != ENOSPC) {
                return 1;
            }
            if (written > 1048576 || written < 1048576 - 2 * 4096) {
                return 2; // not all of the disk was used
            }
            if (XELP_Fclose(pstruFile) == 0 || Content(name) != std::string(written, 'x')) {
                return 3;
            }
            return XELP_Remove(name.c_str()) == 0 ? 0 : 4; // already reported by the count
        });
        ExpectSuccess(iResult, "cannot mount a small disk");
    }
}

/// Another program may fill the disk at any moment: what was reported as written stays.
TEST_F(File, ReportedBytesOutliveAFullDisk)
{
    for (const int iBefore : {1, 10, 500, 5000}) {
        SCOPED_TRACE(iBefore);
        const int iResult = OnSmallDisk([&](const std::string &disk) {
            const std::string name = disk + "/text";
            const std::string line = "a line that was reported as written before\n";
            XELP_S_File *const pstruFile = XELP_Fopen(name.c_str(), "w");
            std::string reported;
            for (int i = 0; i < iBefore; ++i) {
                if (Write(pstruFile, line) != line.size()) {
                    return 1;
                }
                reported += line;
            }
            FillUp(disk);
            bool isShort = false;
            while (!isShort) { // until what is reserved is used up, too
                const QAL_UINT32 ulNow = Write(pstruFile, line);
                reported += line.substr(0, ulNow);
                isShort = ulNow != line.size();
            }
            XELP_Fclose(pstruFile);
            return Content(name) == reported ? 0 : 2;
        });
        ExpectSuccess(iResult, "cannot mount a small disk");
    }
}

TEST_F(File, ClosesWithoutErrorOnceTheDiskIsFull)
{
    const int iResult = OnSmallDisk([&](const std::string &disk) {
        const std::string name = disk + "/text";
        XELP_S_File *const pstruFile = XELP_Fopen(name.c_str(), "w");
        if (Write(pstruFile, "key=value\n") != 10) {
            return 1;
        }
        FillUp(disk);
        if (XELP_Fclose(pstruFile) != 0 || Content(name) != "key=value\n") {
            return 2;
        }
        return XELP_Rename(name.c_str(), (disk + "/new").c_str()) == 0 ? 0 : 3;
    });
    ExpectSuccess(iResult, "cannot mount a small disk");
}

// ---- Removing and renaming ----------------------------------------------------------------------

TEST_F(File, RemovesFilesAndLinksButNotDirectories)
{
    folder.Make("text", "x");
    std::filesystem::create_directory(folder.File("sub"));
    std::filesystem::create_symlink("text", folder.File("link"));
    std::filesystem::create_directory_symlink("sub", folder.File("sublink"));
    const auto remove = [&](std::string_view name) {
        errno = 0;
        return XELP_Remove(folder.File(name).c_str());
    };
    EXPECT_EQ(remove("link"), 0);
    EXPECT_EQ(remove("sublink"), 0);
    EXPECT_TRUE(folder.Has("text"));
    EXPECT_NE(remove("sub"), 0);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_TRUE(folder.Has("sub"));
    EXPECT_EQ(remove("text"), 0);
    EXPECT_FALSE(folder.Has("text"));
    EXPECT_NE(remove("text"), 0);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_NE(XELP_Remove(""), 0);
}

TEST_F(File, RenamesOverAFileAndIntoAnotherDirectory)
{
    std::filesystem::create_directory(folder.File("sub"));
    folder.Make("old", "content");
    folder.Make("sub/new", "replaced");
    const auto rename = [&](std::string_view from, std::string_view to) {
        errno = 0;
        return XELP_Rename(folder.File(from).c_str(), folder.File(to).c_str());
    };
    EXPECT_EQ(rename("old", "sub/new"), 0);
    EXPECT_FALSE(folder.Has("old"));
    EXPECT_EQ(folder.Content("sub/new"), "content");
    EXPECT_EQ(rename("sub/new", "sub/newer"), 0);
    EXPECT_NE(rename("none", "sub/newer"), 0);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_NE(rename("sub/newer", "none/new"), 0);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(folder.Content("sub/newer"), "content");
    EXPECT_NE(XELP_Rename("", ""), 0);
}

} // namespace
} // namespace wyx::test
