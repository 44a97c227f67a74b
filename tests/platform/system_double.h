// A double of the system calls under the default adapter, linked into a test together with the
// adapter's objects: the linker's --wrap redirects their calls here (see CMakeLists.txt).
//
// It counts calls, can make them fail, be interrupted or do only part of their work, and knows
// which descriptors and blocks are held. Except for sync(), a call that is not made to fail goes
// through to the system.
#ifndef WYX_TESTS_PLATFORM_SYSTEM_DOUBLE_H
#define WYX_TESTS_PLATFORM_SYSTEM_DOUBLE_H

#include <gtest/gtest.h>
#include <sys/types.h>
#include <time.h>

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace wyx::test {

class SystemDouble {
  public:
    /// The one double of the process.
    static SystemDouble &Instance();

    /// Forgets all records and plans, but not which descriptors and blocks are held.
    void Reset();

    /// Makes @p call fail with @p iError without doing anything, @p times in a row. The first to
    /// fail is the @p n-th from now on; the next call is number 1. With error 0, a write or rename
    /// returns 0.
    void Fail(const std::string &call, int n, int iError, int times = 1);
    /// Makes every call that may be interrupted fail with EINTR @p times before it is carried out.
    void InterruptEach(int times);
    /// The most bytes that one read or write transfers.
    void LimitRead(std::size_t bytes) { readLimit_ = bytes; }
    void LimitWrite(std::size_t bytes) { writeLimit_ = bytes; }
    /// From now on, the system reports this size for each file ...
    void ReportSize(off_t size) { size_ = size; }
    /// ... this block size of the file system ...
    void ReportBlockSize(int iSize) { blockSize_ = iSize; }
    /// ... this file size limit of the process ...
    void ReportSizeLimit(unsigned long limit) { sizeLimit_ = limit; }
    /// ... and this time for every clock.
    void ReportTime(time_t seconds, long nanoseconds) { time_ = {seconds, nanoseconds}; }
    /// Runs @p action after the @p n-th @p call from now on; the next call is number 1.
    void After(const std::string &call, int n, std::function<void()> action);

    /// How often a call was made since Reset(), including those that failed or were interrupted.
    int Calls(const std::string &call) const;
    /// The calls for files since Reset(), as "open a, fsync a, ..."; names are relative to @p
    /// folder, which itself shows as ".".
    std::string Trace(const std::string &folder) const;
    /// How many bytes were written since Reset().
    std::size_t Written() const { return written_; }
    /// Up to where blocks were reserved since then, without a gap after those bytes.
    off_t ReservedUpTo() const { return reserved_; }

    std::vector<int> OpenDescriptors() const;
    std::size_t LiveBlocks() const;

    // What the wrapped calls use.
    /// Counts and records a call; true if it must fail, with errno set.
    bool Strike(const std::string &call, const std::string &detail = {});
    /// Runs the actions planned for after this call.
    void Done(const std::string &call);
    std::string NameOf(int iFd) const;
    void Opened(int iFd, const char *pszName);
    void Closed(int iFd);
    void Allocated(void *pBlock);
    void Released(void *pBlock);
    void Wrote(std::size_t bytes) { written_ += bytes; }
    void Reserved(off_t from, off_t upTo);
    std::size_t ReadLimit() const { return readLimit_; }
    std::size_t WriteLimit() const { return writeLimit_; }
    std::optional<off_t> ReportedSize() const { return size_; }
    std::optional<int> ReportedBlockSize() const { return blockSize_; }
    std::optional<unsigned long> ReportedSizeLimit() const { return sizeLimit_; }
    std::optional<timespec> ReportedTime() const { return time_; }

  private:
    struct Plan {
        int iFirst;
        int iLast;
        int iError;
    };
    struct Action {
        std::string call;
        int n;
        std::function<void()> action;
    };

    mutable std::mutex mutex_;
    std::map<std::string, int> calls_;
    std::map<std::string, std::vector<Plan>> plans_;
    std::vector<Action> actions_;
    std::vector<std::string> trace_;
    std::map<int, std::string> descriptors_;
    std::set<void *> blocks_;
    std::map<std::string, int> interrupted_;
    int interruptEach_ = 0;
    std::size_t readLimit_ = 0; // 0: no limit
    std::size_t writeLimit_ = 0;
    std::optional<off_t> size_;
    std::optional<int> blockSize_;
    std::optional<unsigned long> sizeLimit_;
    std::optional<timespec> time_;
    std::size_t written_ = 0;
    off_t reserved_ = 0;
};

/// Base of test fixtures: begins with a fresh double and checks at the end that nothing is held.
class SystemTest : public ::testing::Test {
  protected:
    void SetUp() override { system.Reset(); }
    void TearDown() override
    {
        EXPECT_EQ(system.OpenDescriptors(), std::vector<int>{}) << "descriptors are still open";
        EXPECT_EQ(system.LiveBlocks(), 0U) << "blocks are still held";
        system.Reset();
    }

    SystemDouble &system = SystemDouble::Instance();
};

} // namespace wyx::test

#endif
