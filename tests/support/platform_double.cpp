#include "platform_double.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "os_adapter.h"

namespace wyx::test {
namespace {

constexpr int kFreshByte = 0xA5; // neither zero nor text
constexpr int kReleasedByte = 0xD5;
constexpr char kGuardByte = 0x45;
#ifndef __has_feature
#define __has_feature(feature) 0 // GCC has a macro of its own
#endif
/// Guard bytes after each block, which nobody may change. A sanitizer does this better: it notices
/// a read as well.
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer) || \
    defined(WYX_GUARDED_BY_SANITIZER)
constexpr std::size_t kGuardLen = 0;
#else
constexpr std::size_t kGuardLen = 32;
#endif

/// How many bytes a block of this requested size has.
constexpr std::size_t BlockLen(QAL_UINT32 ulSize)
{
    return ulSize == 0 ? 1 : ulSize;
}

std::size_t Index(Service service)
{
    return static_cast<std::size_t>(service);
}

/// The same symbol in the adapter that the double wraps.
template <typename Function>
Function *Next(const char *pszSymbol)
{
    void *const pSymbol = dlsym(RTLD_NEXT, pszSymbol);
    if (pSymbol == nullptr) {
        std::abort();
    }
    Function *pfun = nullptr;
    std::memcpy(&pfun, &pSymbol, sizeof pfun);
    return pfun;
}

/// What carries out the file services.
class Files {
  public:
    virtual ~Files() = default;
    virtual XELP_S_File *Open(const char *pszName, const char *pszMode) = 0;
    virtual QAL_INT32 Getc(XELP_S_File *pstruFile) = 0;
    virtual QAL_INT32 Seek(XELP_S_File *pstruFile, QAL_LONG lOffset, QAL_INT32 lWhence) = 0;
    virtual QAL_UINT32 Write(const void *pData, QAL_UINT32 ulSize, QAL_UINT32 ulCount,
                             XELP_S_File *pstruFile) = 0;
    virtual QAL_INT32 Close(XELP_S_File *pstruFile) = 0;
    virtual QAL_INT32 Remove(const char *pszName) = 0;
    virtual QAL_INT32 Rename(const char *pszOldName, const char *pszNewName) = 0;
};

/// The files of the adapter that the double wraps.
class AdapterFiles final : public Files {
  public:
    XELP_S_File *Open(const char *pszName, const char *pszMode) override
    {
        return pfunOpen_(pszName, pszMode);
    }
    QAL_INT32 Getc(XELP_S_File *pstruFile) override { return pfunGetc_(pstruFile); }
    QAL_INT32 Seek(XELP_S_File *pstruFile, QAL_LONG lOffset, QAL_INT32 lWhence) override
    {
        return pfunSeek_(pstruFile, lOffset, lWhence);
    }
    QAL_UINT32 Write(const void *pData, QAL_UINT32 ulSize, QAL_UINT32 ulCount,
                     XELP_S_File *pstruFile) override
    {
        return pfunWrite_(pData, ulSize, ulCount, pstruFile);
    }
    QAL_INT32 Close(XELP_S_File *pstruFile) override { return pfunClose_(pstruFile); }
    QAL_INT32 Remove(const char *pszName) override { return pfunRemove_(pszName); }
    QAL_INT32 Rename(const char *pszOldName, const char *pszNewName) override
    {
        return pfunRename_(pszOldName, pszNewName);
    }

  private:
    decltype(XELP_Fopen) *const pfunOpen_ = Next<decltype(XELP_Fopen)>("XELP_Fopen");
    decltype(XELP_Fgetc) *const pfunGetc_ = Next<decltype(XELP_Fgetc)>("XELP_Fgetc");
    decltype(XELP_Fseek) *const pfunSeek_ = Next<decltype(XELP_Fseek)>("XELP_Fseek");
    decltype(XELP_Fwrite) *const pfunWrite_ = Next<decltype(XELP_Fwrite)>("XELP_Fwrite");
    decltype(XELP_Fclose) *const pfunClose_ = Next<decltype(XELP_Fclose)>("XELP_Fclose");
    decltype(XELP_Remove) *const pfunRemove_ = Next<decltype(XELP_Remove)>("XELP_Remove");
    decltype(XELP_Rename) *const pfunRename_ = Next<decltype(XELP_Rename)>("XELP_Rename");
};

/// The disk in memory. A file must not be removed or renamed while it is open.
class MemoryFiles final : public Files {
  public:
    XELP_S_File *Open(const char *pszName, const char *pszMode) override
    {
        if (*pszName == '\0' || (*pszMode == 'r' && !Disk().contains(pszName))) {
            return nullptr;
        }
        std::string &content = Disk()[pszName];
        if (*pszMode == 'w') {
            content.clear();
        }
        return reinterpret_cast<XELP_S_File *>(new File{&content});
    }
    QAL_INT32 Getc(XELP_S_File *pstruFile) override
    {
        File &file = Of(pstruFile);
        if (file.position == file.pContent->size()) {
            return -1;
        }
        return static_cast<unsigned char>((*file.pContent)[file.position++]);
    }
    QAL_INT32 Seek(XELP_S_File *pstruFile, QAL_LONG lOffset, QAL_INT32 lWhence) override
    {
        File &file = Of(pstruFile);
        const auto lSize = static_cast<QAL_LONG>(file.pContent->size());
        const QAL_LONG lFrom = lWhence == 0   ? 0
                               : lWhence == 1 ? static_cast<QAL_LONG>(file.position)
                                              : lSize;
        if (lFrom + lOffset < 0 || lFrom + lOffset > lSize) {
            return -1;
        }
        file.position = static_cast<std::size_t>(lFrom + lOffset);
        return 0;
    }
    QAL_UINT32 Write(const void *pData, QAL_UINT32 ulSize, QAL_UINT32 ulCount,
                     XELP_S_File *pstruFile) override
    {
        File &file = Of(pstruFile);
        const std::size_t size = std::size_t{ulSize} * ulCount;
        file.pContent->replace(file.position, size, static_cast<const char *>(pData), size);
        file.position += size;
        return ulCount;
    }
    QAL_INT32 Close(XELP_S_File *pstruFile) override
    {
        delete &Of(pstruFile);
        return 0;
    }
    QAL_INT32 Remove(const char *pszName) override { return Disk().erase(pszName) == 1 ? 0 : -1; }
    QAL_INT32 Rename(const char *pszOldName, const char *pszNewName) override
    {
        auto node = Disk().extract(pszOldName);
        if (node.empty() || *pszNewName == '\0') {
            return -1;
        }
        Disk()[pszNewName] = std::move(node.mapped());
        return 0;
    }

  private:
    struct File {
        std::string *pContent;
        std::size_t position = 0;
    };

    static File &Of(XELP_S_File *pstruFile) { return *reinterpret_cast<File *>(pstruFile); }
    static std::map<std::string, std::string> &Disk()
    {
        return *PlatformDouble::Instance().MemoryDisk();
    }
};

Files &TheFiles()
{
    if (PlatformDouble::Instance().MemoryDisk() != nullptr) {
        static MemoryFiles memory;
        return memory;
    }
    static AdapterFiles adapter;
    return adapter;
}

} // namespace

PlatformDouble &PlatformDouble::Instance()
{
    static PlatformDouble instance;
    return instance;
}

void PlatformDouble::Reset()
{
    StartRecording();
    const std::lock_guard lock(mutex_);
    misuses_.clear();
    disk_.reset();
    ullTime_ = 0;
    isRecording_ = false;
}

void PlatformDouble::StartRecording()
{
    const std::lock_guard lock(mutex_);
    calls_.fill(0);
    plans_.fill({});
    events_.clear();
    ulWritten_ = 0;
    hasFailed_ = false;
    isRecording_ = true;
}

void PlatformDouble::Fail(Service service, QAL_UINT32 n, Failure failure, QAL_UINT32 ulWritten)
{
    plans_[Index(service)] = {calls_[Index(service)] + n, failure};
    ulWritten_ = ulWritten;
    hasFailed_ = false;
}

QAL_UINT32 PlatformDouble::Calls(Service service) const
{
    return calls_[Index(service)];
}

std::size_t PlatformDouble::LiveBlocks() const
{
    return live_.size();
}

std::optional<std::size_t> PlatformDouble::SizeOf(const void *pBlock) const
{
    const std::lock_guard lock(mutex_);
    const auto held = live_.find(pBlock);
    return held == live_.end() ? std::nullopt : std::optional<std::size_t>(held->second.ulSize);
}

std::map<std::string, std::string> &PlatformDouble::UseMemoryDisk()
{
    return disk_.emplace();
}

std::size_t PlatformDouble::LiveFiles() const
{
    return liveFiles_;
}

std::string PlatformDouble::MemoryTrace() const
{
    std::string trace;
    trace.reserve(8 * events_.size());
    for (const Event &event : events_) {
        const bool isBlock = event.what == "D" || event.what == "S";
        if (!isBlock && event.what != "free") {
            continue;
        }
        trace += trace.empty() ? "" : ", ";
        trace += isBlock ? event.what + " " + std::to_string(event.size) : event.what;
    }
    return trace;
}

bool PlatformDouble::Strike(Service service)
{
    const std::lock_guard lock(mutex_);
    const QAL_UINT32 n = ++calls_[Index(service)];
    const Plan &plan = plans_[Index(service)];
    const bool strikes = plan.ulAt != 0 &&
                         (n == plan.ulAt || (n > plan.ulAt && plan.failure == Failure::kFromThere));
    hasFailed_ = hasFailed_ || strikes;
    return strikes;
}

void PlatformDouble::Record(Event event)
{
    const std::lock_guard lock(mutex_);
    if (isRecording_) {
        events_.push_back(std::move(event));
    }
}

void PlatformDouble::Misuse(std::string what)
{
    const std::lock_guard lock(mutex_);
    misuses_.push_back(std::move(what));
}

void *PlatformDouble::Allocate(const char *pszWhat, QAL_UINT32 ulSize, QAL_UINT32 ulLine,
                               const char *pszFile)
{
    const std::size_t size = BlockLen(ulSize);
    void *const pBlock = Strike(Service::kAllocate) ? nullptr : std::malloc(size + kGuardLen);
    if (IsRecording()) {
        Record({pszWhat, ulSize, ulLine, pszFile, pBlock});
    }
    if (pBlock != nullptr) {
        std::memset(pBlock, *pszWhat == 'S' ? 0 : kFreshByte, size);
        std::fill_n(static_cast<char *>(pBlock) + size, kGuardLen, kGuardByte);
        const std::lock_guard lock(mutex_);
        live_[pBlock] = {ulSize, ulLine, pszFile};
    }
    return pBlock;
}

void PlatformDouble::Release(void *pBlock, QAL_UINT32 ulLine, const char *pszFile, bool setsNull)
{
    if (IsRecording()) {
        Record({pBlock == nullptr ? "free null" : "free", 0, ulLine, pszFile, pBlock, setsNull});
    }
    if (pBlock == nullptr) {
        return;
    }
    std::size_t size = 0;
    {
        const std::lock_guard lock(mutex_);
        const auto it = live_.find(pBlock);
        if (it == live_.end()) {
            misuses_.push_back("foreign or double release from " + std::string(pszFile) + ":" +
                               std::to_string(ulLine));
            return;
        }
        size = BlockLen(it->second.ulSize);
        const char *const pchEnd = static_cast<const char *>(pBlock) + size;
        if (!std::all_of(pchEnd, pchEnd + kGuardLen, [](char ch) { return ch == kGuardByte; })) {
            misuses_.push_back("written past a block of " + std::string(it->second.pszFile) + ":" +
                               std::to_string(it->second.ulLine));
        }
        live_.erase(it);
    }
    std::memset(pBlock, kReleasedByte, size);
    std::free(pBlock);
}

void PlatformTest::SetUp()
{
    platform.Reset();
}

void PlatformTest::TearDown()
{
    EXPECT_EQ(platform.LiveBlocks(), 0U) << "blocks are still held";
    EXPECT_EQ(platform.LiveFiles(), 0U) << "files are still open";
    EXPECT_EQ(platform.Misuses(), std::vector<std::string>{});
    platform.Reset();
}

} // namespace wyx::test

using wyx::test::Next;
using wyx::test::PlatformDouble;
using wyx::test::Service;

extern "C" {

void *XELP_MemMallocD(QAL_UINT32 ulSize, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    return PlatformDouble::Instance().Allocate("D", ulSize, ulLine, pszFile);
}

void *XELP_MemMallocS(QAL_UINT32 ulSize, QAL_UINT32 ulReserved, QAL_UINT32 ulLine,
                      const QAL_CHAR *pszFile)
{
    if (ulReserved != 0) {
        PlatformDouble::Instance().Misuse("second argument of XELP_MemMallocS is not 0");
    }
    return PlatformDouble::Instance().Allocate("S", ulSize, ulLine, pszFile);
}

void XELP_MemFreeD(void *pBlock, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    PlatformDouble::Instance().Release(pBlock, ulLine, pszFile, false);
}

void XELP_MemFreeSetNullD(void **ppBlock, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    PlatformDouble::Instance().Release(*ppBlock, ulLine, pszFile, true);
    *ppBlock = nullptr;
}

XELP_S_File *XELP_Fopen(const QAL_CHAR *pszName, const QAL_CHAR *pszMode)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.Record({"open " + std::string(pszMode), 0, 0, pszName});
    XELP_S_File *const pstruFile =
        platform.Strike(Service::kOpen) ? nullptr : wyx::test::TheFiles().Open(pszName, pszMode);
    if (pstruFile != nullptr) {
        platform.FileOpened();
    }
    return pstruFile;
}

QAL_INT32 XELP_Fgetc(XELP_S_File *pstruFile)
{
    return PlatformDouble::Instance().Strike(Service::kRead)
               ? -1
               : wyx::test::TheFiles().Getc(pstruFile);
}

QAL_INT32 XELP_Fseek(XELP_S_File *pstruFile, QAL_LONG lOffset, QAL_INT32 lWhence)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.Record({"seek " + std::to_string(lOffset) + " " + std::to_string(lWhence)});
    return platform.Strike(Service::kSeek)
               ? -1
               : wyx::test::TheFiles().Seek(pstruFile, lOffset, lWhence);
}

QAL_UINT32 XELP_Fwrite(const void *pData, QAL_UINT32 ulSize, QAL_UINT32 ulCount,
                       XELP_S_File *pstruFile)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.Record({"write", std::size_t{ulSize} * ulCount});
    if (platform.Strike(Service::kWrite)) {
        ulCount = std::min(platform.WrittenAtFailure(), ulCount - 1);
    }
    return wyx::test::TheFiles().Write(pData, ulSize, ulCount, pstruFile);
}

QAL_INT32 XELP_Fclose(XELP_S_File *pstruFile)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.Record({"close"});
    platform.FileClosed();
    const QAL_INT32 lResult = wyx::test::TheFiles().Close(pstruFile);
    return platform.Strike(Service::kClose) ? -1 : lResult; // the file is gone either way
}

QAL_INT32 XELP_Remove(const QAL_CHAR *pszName)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.Record({"remove", 0, 0, pszName});
    return platform.Strike(Service::kRemove) ? -1 : wyx::test::TheFiles().Remove(pszName);
}

QAL_INT32 XELP_Rename(const QAL_CHAR *pszOldName, const QAL_CHAR *pszNewName)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.Record({"rename", 0, 0, std::string(pszOldName) + " -> " + pszNewName});
    return platform.Strike(Service::kRename) ? -1
                                             : wyx::test::TheFiles().Rename(pszOldName, pszNewName);
}

QAL_UINT64 XELP_GetSystemTime(void)
{
    static auto *const pfunNext = Next<decltype(XELP_GetSystemTime)>("XELP_GetSystemTime");
    const QAL_UINT64 ullTime = PlatformDouble::Instance().Time();
    return ullTime != 0 ? ullTime : pfunNext();
}

} // extern "C"
