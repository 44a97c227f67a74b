#include "platform_double.h"

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <utility>

#include "os_adapter.h"

namespace wyx::test {
namespace {

constexpr int kFreshByte = 0xA5; // neither zero nor text

std::size_t Index(Service service)
{
    return static_cast<std::size_t>(service);
}

/// The same symbol in the adapter behind the double.
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

} // namespace

PlatformDouble &PlatformDouble::Instance()
{
    static PlatformDouble instance;
    return instance;
}

void PlatformDouble::Reset()
{
    const std::lock_guard lock(mutex_);
    calls_.fill(0);
    plans_.fill({});
    events_.clear();
    misuses_.clear();
    ulWritten_ = 0;
    ullTime_ = 0;
    hasFailed_ = false;
    record_ = false;
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

std::size_t PlatformDouble::LiveFiles() const
{
    return liveFiles_;
}

std::string PlatformDouble::MemoryTrace() const
{
    std::string trace;
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
    const bool strikes =
        plan.ulAt != 0 && (n == plan.ulAt || (n > plan.ulAt && plan.failure == Failure::kFromThere));
    hasFailed_ = hasFailed_ || strikes;
    return strikes;
}

void PlatformDouble::Record(Event event)
{
    const std::lock_guard lock(mutex_);
    if (record_) {
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
    if (Strike(Service::kAllocate)) {
        Record({pszWhat, ulSize, ulLine, pszFile, nullptr});
        return nullptr;
    }
    const std::size_t size = ulSize == 0 ? 1 : ulSize;
    void *const pBlock = std::malloc(size);
    if (pBlock == nullptr) {
        return nullptr;
    }
    std::memset(pBlock, *pszWhat == 'S' ? 0 : kFreshByte, size);
    Record({pszWhat, ulSize, ulLine, pszFile, pBlock});
    const std::lock_guard lock(mutex_);
    live_[pBlock] = {pszWhat, ulSize, ulLine, pszFile, pBlock};
    return pBlock;
}

void PlatformDouble::Release(void *pBlock, QAL_UINT32 ulLine, const char *pszFile)
{
    if (pBlock == nullptr) {
        return;
    }
    Record({"free", 0, ulLine, pszFile, pBlock});
    {
        const std::lock_guard lock(mutex_);
        if (live_.erase(pBlock) == 0) {
            misuses_.push_back("foreign or double release from " + std::string(pszFile) + ":" +
                               std::to_string(ulLine));
            return;
        }
    }
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
    PlatformDouble::Instance().Release(pBlock, ulLine, pszFile);
}

void XELP_MemFreeSetNullD(void **ppBlock, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    PlatformDouble::Instance().Release(*ppBlock, ulLine, pszFile);
    *ppBlock = nullptr;
}

XELP_S_File *XELP_Fopen(const QAL_CHAR *pszName, const QAL_CHAR *pszMode)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.Record({"open " + std::string(pszMode), 0, 0, pszName});
    static auto *const pfunNext = Next<decltype(XELP_Fopen)>("XELP_Fopen");
    XELP_S_File *const pstruFile =
        platform.Strike(Service::kOpen) ? nullptr : pfunNext(pszName, pszMode);
    if (pstruFile != nullptr) {
        platform.FileOpened();
    }
    return pstruFile;
}

QAL_INT32 XELP_Fgetc(XELP_S_File *pstruFile)
{
    static auto *const pfunNext = Next<decltype(XELP_Fgetc)>("XELP_Fgetc");
    return PlatformDouble::Instance().Strike(Service::kRead) ? -1 : pfunNext(pstruFile);
}

QAL_INT32 XELP_Fseek(XELP_S_File *pstruFile, QAL_LONG lOffset, QAL_INT32 lWhence)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.Record({"seek " + std::to_string(lOffset) + " " + std::to_string(lWhence)});
    static auto *const pfunNext = Next<decltype(XELP_Fseek)>("XELP_Fseek");
    return platform.Strike(Service::kSeek) ? -1 : pfunNext(pstruFile, lOffset, lWhence);
}

QAL_UINT32 XELP_Fwrite(const void *pData, QAL_UINT32 ulSize, QAL_UINT32 ulCount,
                       XELP_S_File *pstruFile)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.Record({"write", std::size_t{ulSize} * ulCount});
    static auto *const pfunNext = Next<decltype(XELP_Fwrite)>("XELP_Fwrite");
    if (platform.Strike(Service::kWrite)) {
        const QAL_UINT32 ulFew = platform.WrittenAtFailure();
        return pfunNext(pData, ulSize, ulFew < ulCount ? ulFew : ulCount - 1, pstruFile);
    }
    return pfunNext(pData, ulSize, ulCount, pstruFile);
}

QAL_INT32 XELP_Fclose(XELP_S_File *pstruFile)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.Record({"close"});
    platform.FileClosed();
    static auto *const pfunNext = Next<decltype(XELP_Fclose)>("XELP_Fclose");
    const QAL_INT32 lResult = pfunNext(pstruFile); // the file is gone even where closing fails
    return platform.Strike(Service::kClose) ? -1 : lResult;
}

QAL_INT32 XELP_Remove(const QAL_CHAR *pszName)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.Record({"remove", 0, 0, pszName});
    static auto *const pfunNext = Next<decltype(XELP_Remove)>("XELP_Remove");
    return platform.Strike(Service::kRemove) ? -1 : pfunNext(pszName);
}

QAL_INT32 XELP_Rename(const QAL_CHAR *pszOldName, const QAL_CHAR *pszNewName)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.Record({"rename", 0, 0, std::string(pszOldName) + " -> " + pszNewName});
    static auto *const pfunNext = Next<decltype(XELP_Rename)>("XELP_Rename");
    return platform.Strike(Service::kRename) ? -1 : pfunNext(pszOldName, pszNewName);
}

QAL_UINT64 XELP_GetSystemTime(void)
{
    static auto *const pfunNext = Next<decltype(XELP_GetSystemTime)>("XELP_GetSystemTime");
    const QAL_UINT64 ullTime = PlatformDouble::Instance().Time();
    return ullTime != 0 ? ullTime : pfunNext();
}

} // extern "C"
