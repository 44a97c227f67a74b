// A double of the platform, which a test links in front of the default adapter.
//
// It counts and records every call of the library, can make any of them fail, and always knows
// which blocks and how many files are held. Memory is the double's own, filled with a pattern, so
// that code which assumes a zeroed block is noticed; files go through to the default adapter, or to
// a disk in memory if a test needs many small ones.
#ifndef WYX_TESTS_SUPPORT_PLATFORM_DOUBLE_H
#define WYX_TESTS_SUPPORT_PLATFORM_DOUBLE_H

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "wyx_commlib/types.h"

namespace wyx::test {

/// The services that can fail. Both allocators count as one.
enum class Service { kAllocate, kOpen, kRead, kSeek, kWrite, kClose, kRemove, kRename, kCount };

/// What happens at a failing call.
enum class Failure {
    kOnce,      ///< that call fails, later ones work
    kFromThere, ///< that call fails, and so do all later ones
};

/// A block requested, a block released, or a file call, in the order of the calls.
struct Event {
    std::string what;      ///< "D", "S", "free", "free null", "open r", "close", "remove", ...
    std::size_t size = 0;  ///< bytes requested or written
    QAL_UINT32 line = 0;   ///< the caller's source line, for memory
    std::string file = {}; ///< the caller's source file, for memory; the name, for files
    const void *pBlock = nullptr;
    bool setsNull = false; ///< released by XELP_MemFreeSetNullD()
    bool operator==(const Event &) const = default;
};

class PlatformDouble {
  public:
    /// The one double of the process.
    static PlatformDouble &Instance();

    /// Forgets all counts, records and planned failures; blocks that are held stay known.
    void Reset();

    /// Makes the @p n-th call (from 1) of @p service since the last Reset() fail. A failing write
    /// writes @p ulWritten items and reports that many.
    void Fail(Service service, QAL_UINT32 n, Failure failure = Failure::kOnce,
              QAL_UINT32 ulWritten = 0);
    /// Has a planned failure happened?
    bool HasFailed() const { return hasFailed_; }

    QAL_UINT32 Calls(Service service) const;
    std::size_t LiveBlocks() const;
    /// The size with which a held block was requested; none for any other address.
    std::optional<std::size_t> SizeOf(const void *pBlock) const;
    std::size_t LiveFiles() const;
    /// Misuse seen since Reset(): a foreign or double release, a non-zero reserved argument.
    const std::vector<std::string> &Misuses() const { return misuses_; }

    /// Begins a new step of a test: forgets counts, records and planned failures, and records from
    /// here on. The clock, the disk in memory and recorded misuses stay.
    void StartRecording();
    /// The calls made since StartRecording(), or since RecordEvents(true).
    void RecordEvents(bool isOn) { isRecording_ = isOn; }
    const std::vector<Event> &Events() const { return events_; }
    /// The memory calls of the record as "D 5", "S 24", "free", joined by ", ".
    std::string MemoryTrace() const;

    /// Makes XELP_GetSystemTime() return this value; 0: the real time.
    void SetTime(QAL_UINT64 ullTime) { ullTime_ = ullTime; }

    /// Until Reset(), the file services work on the files in this map, by name; it begins empty.
    /// There are no directories; only the empty name can be neither read nor created.
    std::map<std::string, std::string> &UseMemoryDisk();
    /// That map, or null.
    std::map<std::string, std::string> *MemoryDisk() { return disk_ ? &*disk_ : nullptr; }

    // What the services call.
    void *Allocate(const char *pszWhat, QAL_UINT32 ulSize, QAL_UINT32 ulLine, const char *pszFile);
    void Release(void *pBlock, QAL_UINT32 ulLine, const char *pszFile, bool setsNull);
    /// Counts a call; true if it is to fail.
    bool Strike(Service service);
    bool IsRecording() const { return isRecording_; }
    void Record(Event event);
    void FileOpened() { ++liveFiles_; }
    void FileClosed() { --liveFiles_; }
    QAL_UINT32 WrittenAtFailure() const { return ulWritten_; }
    QAL_UINT64 Time() const { return ullTime_; }
    void Misuse(std::string what);

  private:
    struct Plan {
        QAL_UINT32 ulAt = 0; // 0: none
        Failure failure = Failure::kOnce;
    };

    struct Held {
        QAL_UINT32 ulSize = 0;
        QAL_UINT32 ulLine = 0;
        const char *pszFile = nullptr;
    };

    mutable std::mutex mutex_;
    std::array<QAL_UINT32, static_cast<std::size_t>(Service::kCount)> calls_{};
    std::array<Plan, static_cast<std::size_t>(Service::kCount)> plans_{};
    std::unordered_map<const void *, Held> live_;
    std::vector<Event> events_;
    std::vector<std::string> misuses_;
    std::optional<std::map<std::string, std::string>> disk_;
    std::size_t liveFiles_ = 0;
    QAL_UINT32 ulWritten_ = 0;
    QAL_UINT64 ullTime_ = 0;
    bool hasFailed_ = false;
    bool isRecording_ = false;
};

/// Base of test fixtures: begins with a fresh double and checks at the end that nothing is held.
class PlatformTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    PlatformDouble &platform = PlatformDouble::Instance();
};

} // namespace wyx::test

#endif
