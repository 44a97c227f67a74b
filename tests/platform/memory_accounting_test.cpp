// The accounting allocator, even if the adapter itself was built without it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "mem_accounting.h"
#include "os_adapter.h"
#include "random.h"
#include "system_double.h"

namespace wyx::test {
namespace {

std::vector<wyxMem_S_Block> LiveBlocks()
{
    std::vector<wyxMem_S_Block> blocks(wyx_mem_blocks(nullptr, 0));
    EXPECT_EQ(wyx_mem_blocks(blocks.data(), blocks.size()), blocks.size());
    return blocks;
}

std::vector<wyxMem_S_Site> Sites()
{
    std::vector<wyxMem_S_Site> sites(wyx_mem_sites(nullptr, 0));
    EXPECT_EQ(wyx_mem_sites(sites.data(), sites.size()), sites.size());
    return sites;
}

wyxMem_S_Use Use()
{
    wyxMem_S_Use use = {};
    wyx_mem_use(&use);
    return use;
}

wyxMem_S_Use UseOf(const std::string &file, QAL_UINT32 ulLine)
{
    for (const wyxMem_S_Site &site : Sites()) {
        if (site.pszFile == file && site.ulLine == ulLine) {
            return site.struUse;
        }
    }
    return {};
}

void ExpectUse(const wyxMem_S_Use &use, const std::vector<QAL_ULONG> &expected)
{
    EXPECT_EQ((std::vector{use.ulLiveBlocks, use.ulLiveBytes, use.ulPeakBlocks, use.ulPeakBytes,
                           use.ulTotalBlocks, use.ulTotalBytes}),
              expected);
}

std::string Report()
{
    int aiPipe[2];
    EXPECT_EQ(pipe(aiPipe), 0);
    wyx_mem_report(aiPipe[1]);
    close(aiPipe[1]);
    std::string text;
    char szPart[512];
    for (ssize_t n; (n = read(aiPipe[0], szPart, sizeof szPart)) > 0;) {
        text.append(szPart, static_cast<std::size_t>(n));
    }
    close(aiPipe[0]);
    return text;
}

TEST(MemoryAccounting, ReleasingNullIsNotCounted)
{
    const std::string before = Report();
    void *pBlock = nullptr;
    XELP_MemFreeD(nullptr, 5, "null.c");
    XELP_MemFreeSetNullD(&pBlock, 6, "null.c");
    EXPECT_EQ(Report(), before);
}

TEST(MemoryAccounting, BlockOfSize0HoldsOneByte)
{
    auto *pcBlock = static_cast<QAL_CHAR *>(XELP_MemMallocS(0, 0, 5, "zero.c"));
    EXPECT_EQ(*pcBlock, 0);
    *pcBlock = 1;
    ExpectUse(UseOf("zero.c", 5), {1, 0, 1, 0, 1, 0}); // counts the bytes requested
    XELP_MemFreeD(pcBlock, 6, "zero.c");
}

TEST(MemoryAccounting, CountsEachCallSiteSeparately)
{
    const wyxMem_S_Use before = Use();
    void *const pFirst = XELP_MemMallocD(10, 1, "count_a.c");
    void *const pSecond = XELP_MemMallocS(20, 0, 1, "count_a.c");
    void *const pOther = XELP_MemMallocD(0, 2, "count_a.c");
    void *const pThird = XELP_MemMallocD(5, 1, "count_b.c");
    ExpectUse(UseOf("count_a.c", 1), {2, 30, 2, 30, 2, 30});
    ExpectUse(UseOf("count_a.c", 2), {1, 0, 1, 0, 1, 0});
    ExpectUse(UseOf("count_b.c", 1), {1, 5, 1, 5, 1, 5});
    XELP_MemFreeD(pSecond, 7, "count_c.c");
    ExpectUse(UseOf("count_a.c", 1), {1, 10, 2, 30, 2, 30});
    void *const pAgain = XELP_MemMallocD(15, 1, "count_a.c");
    ExpectUse(UseOf("count_a.c", 1), {2, 25, 2, 30, 3, 45});
    ExpectUse(UseOf("count_c.c", 7), {0, 0, 0, 0, 0, 0});
    EXPECT_EQ(Use().ulLiveBlocks, before.ulLiveBlocks + 4);
    EXPECT_EQ(Use().ulLiveBytes, before.ulLiveBytes + 30);
    EXPECT_EQ(Use().ulTotalBlocks, before.ulTotalBlocks + 5);
    EXPECT_EQ(Use().ulTotalBytes, before.ulTotalBytes + 50);
    for (void *const pBlock : {pFirst, pOther, pThird, pAgain}) {
        XELP_MemFreeD(pBlock, 8, "count_c.c");
    }
    ExpectUse(UseOf("count_a.c", 1), {0, 0, 2, 30, 3, 45});
    EXPECT_EQ(Use().ulLiveBlocks, before.ulLiveBlocks);
    EXPECT_EQ(Use().ulLiveBytes, before.ulLiveBytes);
}

TEST(MemoryAccounting, ListsSitesInOrderOfFirstUseUpToTheCapacity)
{
    void *const pLast = XELP_MemMallocD(1, 900, "z.c");
    void *const pNext = XELP_MemMallocD(1, 100, "a.c");
    XELP_MemFreeD(pLast, 500, "m.c"); // a line that only releases is not listed
    XELP_MemFreeD(pNext, 500, "m.c");
    const std::vector<wyxMem_S_Site> sites = Sites();
    ASSERT_GE(sites.size(), 2U);
    EXPECT_STREQ(sites[sites.size() - 2].pszFile, "z.c");
    EXPECT_STREQ(sites[sites.size() - 1].pszFile, "a.c");
    EXPECT_EQ(sites[sites.size() - 1].ulLine, 100U);

    std::vector<wyxMem_S_Site> few(2, {"untouched", 0, {}});
    EXPECT_EQ(wyx_mem_sites(few.data(), 1), sites.size());
    EXPECT_STREQ(few[0].pszFile, sites[0].pszFile);
    EXPECT_STREQ(few[1].pszFile, "untouched");
}

TEST(MemoryAccounting, ListsLiveBlocksUpToTheCapacity)
{
    const std::size_t before = LiveBlocks().size();
    void *const pFirst = XELP_MemMallocD(11, 21, "live.c");
    void *const pSecond = XELP_MemMallocS(12, 0, 22, nullptr);
    const std::vector<wyxMem_S_Block> blocks = LiveBlocks();
    EXPECT_EQ(blocks.size(), before + 2);
    const auto find = [&](const void *pBlock) {
        return *std::find_if(blocks.begin(), blocks.end(),
                             [&](const wyxMem_S_Block &block) { return block.pBlock == pBlock; });
    };
    EXPECT_EQ(find(pFirst).ulSize, 11U);
    EXPECT_EQ(find(pFirst).ulLine, 21U);
    EXPECT_STREQ(find(pFirst).pszFile, "live.c");
    EXPECT_EQ(find(pSecond).ulSize, 12U);
    EXPECT_STREQ(find(pSecond).pszFile, "?");

    std::vector<wyxMem_S_Block> few(2, {nullptr, 77, 0, nullptr});
    EXPECT_EQ(wyx_mem_blocks(few.data(), 1), before + 2);
    EXPECT_NE(few[0].pBlock, nullptr);
    EXPECT_EQ(few[1].ulSize, 77U);
    XELP_MemFreeD(pFirst, 23, "live.c");
    XELP_MemFreeD(pSecond, 23, "live.c");
    EXPECT_EQ(LiveBlocks().size(), before);
}

TEST(MemoryAccounting, ReportsAsText)
{
    void *const pFirst = XELP_MemMallocD(100, 31, "report.c");
    XELP_MemFreeD(XELP_MemMallocD(50, 31, "report.c"), 32, "report.c");
    const std::string text = Report();
    EXPECT_EQ(text.rfind("memory: live ", 0), 0U) << text;
    EXPECT_NE(text.find("  report.c:31: live 1 blocks, 100 bytes; peak 2 blocks, 150 bytes; "
                        "total 2 blocks, 150 bytes\n"),
              std::string::npos)
        << text;
    EXPECT_EQ(text.find("report.c:32"), std::string::npos) << "a line that only releases";
    EXPECT_EQ(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')),
              Sites().size() + 1);
    XELP_MemFreeD(pFirst, 33, "report.c");
}

TEST(MemoryAccounting, KeepsFileNamesThatTheCallerOverwrites)
{
    std::string file = "unloaded.c";
    void *const pBlock = XELP_MemMallocD(1, 41, file.c_str());
    file = "overwritten";
    EXPECT_EQ(UseOf("unloaded.c", 41).ulLiveBlocks, 1U);
    XELP_MemFreeD(pBlock, 42, "here.c");
}

TEST(MemoryAccounting, FillsFreshAndReleasedBlocks)
{
    auto *const pucBlock = static_cast<QAL_UINT8 *>(XELP_MemMallocD(32, 51, "fill.c"));
    EXPECT_EQ(std::vector<QAL_UINT8>(pucBlock, pucBlock + 32), std::vector<QAL_UINT8>(32, 0xA5));
    XELP_MemFreeD(pucBlock, 52, "fill.c");
    // The block is held back, so it can still be inspected.
    EXPECT_EQ(std::vector<QAL_UINT8>(pucBlock, pucBlock + 32), std::vector<QAL_UINT8>(32, 0x5A));
}

TEST(MemoryAccounting, ManyBlocksInAnyOrderMatchAModel)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const wyxMem_S_Use before = Use();
    std::map<void *, QAL_UINT32> model;
    QAL_ULONG ulBytes = 0;
    for (int i = 0; i < 30000; ++i) {
        if (model.empty() || random.UpTo(9) < 6) {
            const auto ulSize = static_cast<QAL_UINT32>(random.UpTo(200));
            void *const pBlock = XELP_MemMallocD(ulSize, static_cast<QAL_UINT32>(i % 1000), "m.c");
            ASSERT_TRUE(model.emplace(pBlock, ulSize).second) << "a block handed out twice";
            ulBytes += ulSize;
        } else {
            auto chosen = model.lower_bound(reinterpret_cast<void *>(random.UpTo(~0ULL >> 16)));
            chosen = chosen != model.end() ? chosen : model.begin();
            ulBytes -= chosen->second;
            XELP_MemFreeD(chosen->first, 1, "n.c");
            model.erase(chosen);
        }
        if (i % 1000 == 0) {
            ASSERT_EQ(Use().ulLiveBlocks - before.ulLiveBlocks, model.size());
            ASSERT_EQ(Use().ulLiveBytes - before.ulLiveBytes, ulBytes);
        }
    }
    std::map<void *, QAL_UINT32> listed;
    for (const wyxMem_S_Block &block : LiveBlocks()) {
        listed.emplace(const_cast<void *>(block.pBlock), block.ulSize);
    }
    for (const auto &[pBlock, ulSize] : model) {
        ASSERT_EQ(listed.count(pBlock), 1U);
        ASSERT_EQ(listed[pBlock], ulSize);
        XELP_MemFreeD(pBlock, 2, "n.c");
    }
    EXPECT_EQ(Use().ulLiveBlocks, before.ulLiveBlocks);
}

TEST(MemoryAccounting, HoldsBackNoMoreThanItsLimits)
{
    SystemDouble &system = SystemDouble::Instance();
    const auto release = [](QAL_UINT32 ulSize, int iTimes) {
        for (int i = 0; i < iTimes; ++i) {
            XELP_MemFreeD(XELP_MemMallocD(ulSize, 61, "hold.c"), 62, "hold.c");
        }
    };
    release(2000000, 1); // above the byte limit by itself: all others are freed
    const std::size_t alone = system.LiveBlocks();
    release(1, 1); // now the large block is freed, but not the newest
    EXPECT_EQ(system.LiveBlocks(), alone);
    release(1, 3000);
    EXPECT_EQ(system.LiveBlocks(), alone + 2 * 1023) << "a block and its entry for each";
    release(2000, 1000);
    EXPECT_LE(system.LiveBlocks(), alone + 2 * (1048576 / 2000));
    release(1, 1024);
    release(1048576 - 1023, 1);
    EXPECT_EQ(system.LiveBlocks(), alone + 2 * 1023) << "both limits are just reached";
    release(2000000, 1);
    release(1, 1);
    release(1048576, 1);
    EXPECT_EQ(system.LiveBlocks(), alone) << "one byte too many, so the newest alone is held back";
}

/// Each line has its own entry, whatever its number and the length of its file's name.
TEST(MemoryAccounting, CountsAnyLineOfAnyFile)
{
    const std::vector<std::string> files = {"", "a.c", std::string(5000, 'x')};
    const std::vector<QAL_UINT32> lines = {0, 1, 65536, 0x7FFFFFFF, 0xFFFFFFFF};
    for (const std::string &file : files) {
        for (const QAL_UINT32 ulLine : lines) {
            XELP_MemFreeD(XELP_MemMallocD(3, ulLine, file.c_str()), ulLine, file.c_str());
            XELP_MemFreeD(XELP_MemMallocD(4, ulLine, file.c_str()), ulLine, file.c_str());
        }
    }
    for (const std::string &file : files) {
        for (const QAL_UINT32 ulLine : lines) {
            ExpectUse(UseOf(file, ulLine), {0, 0, 1, 4, 2, 7});
        }
    }
}

TEST(MemoryAccounting, ReleaseThroughAVariableClearsIt)
{
    void *pBlock = XELP_MemMallocD(1, 1, "clear.c");
    XELP_MemFreeSetNullD(&pBlock, 2, "clear.c");
    EXPECT_EQ(pBlock, nullptr);
}

/// More blocks, live or held back, need more chains; the old array of chains is freed.
TEST(MemoryAccounting, TableGrowsWithTheBlocks)
{
    SystemDouble &system = SystemDouble::Instance();
    XELP_MemFreeD(XELP_MemMallocD(2000000, 1, "grow.c"), 1, "grow.c"); // now the only one held back
    const std::size_t before = system.LiveBlocks();
    system.Reset();
    std::vector<void *> blocks;
    while (blocks.size() < 70000 || system.Calls("calloc") == std::ssize(blocks)) {
        blocks.push_back(XELP_MemMallocD(1, 1, "grow.c"));
        ASSERT_LT(blocks.size(), 1000000U) << "no growth";
    }
    EXPECT_LT(system.Calls("calloc"), std::ssize(blocks) + 10);
    EXPECT_EQ(system.LiveBlocks(), before + 2 * blocks.size());
    EXPECT_EQ(LiveBlocks().size(), Use().ulLiveBlocks);
    for (void *const pBlock : blocks) {
        XELP_MemFreeD(pBlock, 1, "grow.c");
    }
    system.Reset();
    const int iMany = 2 * static_cast<int>(blocks.size());
    for (int i = 0; i < iMany; ++i) {
        XELP_MemFreeD(XELP_MemMallocD(1, 1, "grow.c"), 1, "grow.c");
    }
    EXPECT_EQ(system.Calls("calloc"), iMany);
}

/// While a call works on the books, another thread's call waits.
TEST(MemoryAccounting, OneThreadAtATime)
{
    SystemDouble &system = SystemDouble::Instance();
    std::atomic<bool> isCalling = false;
    std::atomic<bool> hasReturned = false;
    bool hasReturnedBefore = false;
    std::thread other;
    system.Reset();
    system.After("calloc", 2, [&] { // the entry of the line, which is made under the lock
        other = std::thread([&] {
            isCalling = true;
            Use();
            hasReturned = true;
        });
        while (!isCalling) {
            std::this_thread::yield();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        hasReturnedBefore = hasReturned;
    });
    XELP_MemFreeD(XELP_MemMallocD(1, 1, "one_at_a_time.c"), 2, "one_at_a_time.c");
    ASSERT_TRUE(other.joinable());
    other.join();
    system.Reset();
    EXPECT_FALSE(hasReturnedBefore);
    EXPECT_TRUE(hasReturned);
}

TEST(MemoryAccounting, FailureOfAnyInternalAllocationFailsTheCallAndLeaksNothing)
{
    SystemDouble &system = SystemDouble::Instance();
    XELP_MemFreeD(XELP_MemMallocD(8, 71, "known.c"), 71, "known.c");
    const wyxMem_S_Use before = Use();
    const struct {
        const char *pszCall;
        int n;
        const char *pszFile;
    } cases[] = {{"malloc", 1, "known.c"}, // the block
                 {"calloc", 1, "known.c"}, // its entry
                 {"calloc", 2, "new.c"}};  // the line's entry
    for (const auto &c : cases) {
        for (const bool isZeroed : {false, true}) {
            const std::size_t held = system.LiveBlocks();
            system.Fail(c.pszCall, c.n, ENOMEM);
            EXPECT_EQ(
                isZeroed ? XELP_MemMallocS(8, 0, 71, c.pszFile) : XELP_MemMallocD(8, 71, c.pszFile),
                nullptr);
            EXPECT_EQ(system.LiveBlocks(), held);
            system.Reset();
        }
    }
    EXPECT_EQ(Use().ulTotalBlocks, before.ulTotalBlocks);
    EXPECT_EQ(UseOf("new.c", 71).ulTotalBlocks, 0U);
}

TEST(MemoryAccounting, ChainsGrowLongerWhenTheTableCannotGrow)
{
    SystemDouble &system = SystemDouble::Instance();
    const QAL_ULONG ulBefore = Use().ulLiveBlocks;
    std::vector<void *> blocks;
    for (QAL_UINT32 i = 0; i < 20000; ++i) {
        system.Fail("calloc", 2, ENOMEM); // the second one of an allocation is for the chains
        blocks.push_back(XELP_MemMallocD(1, 71, "known.c"));
        ASSERT_NE(blocks.back(), nullptr);
        system.Reset();
    }
    EXPECT_EQ(Use().ulLiveBlocks, ulBefore + blocks.size());
    for (void *const pBlock : blocks) {
        XELP_MemFreeD(pBlock, 72, "known.c");
    }
    EXPECT_EQ(Use().ulLiveBlocks, ulBefore);
}

// ---- What ends the process ----------------------------------------------------------------------

#ifdef WYX_COVERAGE
extern "C" void __gcov_dump(void);
#endif

class MemoryAccountingDeathTest : public ::testing::Test {
  protected:
#ifdef WYX_COVERAGE
    // A process that aborts does not write its coverage data by itself.
    void SetUp() override
    {
        std::signal(SIGABRT, [](int) { __gcov_dump(); });
    }
    void TearDown() override
    {
        std::signal(SIGABRT, SIG_DFL);
    }
#endif
};

/// A death test, because death tests run first, while the books are still empty.
TEST_F(MemoryAccountingDeathTest, BooksBeginEmpty)
{
    if (wyx_mem_sites(nullptr, 0) != 0) {
        GTEST_SKIP() << "other tests came first";
    }
    ExpectUse(Use(), {0, 0, 0, 0, 0, 0});
    EXPECT_EQ(Report(),
              "memory: live 0 blocks, 0 bytes; peak 0 blocks, 0 bytes; "
              "total 0 blocks, 0 bytes\n");
    int iForeign = 0;
    EXPECT_DEATH(XELP_MemFreeD(&iForeign, 1, "a.c"),
                 "^libwyx_os_adapter: a.c:1 releases .* is no block");

    SystemDouble &system = SystemDouble::Instance();
    system.Fail("calloc", 3, ENOMEM); // the chains; the block's entry and the line's come first
    EXPECT_EQ(XELP_MemMallocD(1, 1, "a.c"), nullptr);
    system.Reset();
    EXPECT_TRUE(LiveBlocks().empty());
    EXPECT_TRUE(Sites().empty());
}

TEST_F(MemoryAccountingDeathTest, SecondReleaseNamesAllThreeLines)
{
    void *const pBlock = XELP_MemMallocD(24, 81, "alloc.c");
    XELP_MemFreeD(pBlock, 82, "first.c");
    EXPECT_DEATH(XELP_MemFreeD(pBlock, 83, "second.c"),
                 "second.c:83 releases .*, a block of 24 bytes that alloc.c:81 allocated and "
                 "first.c:82 has released");
    void *pAlias = pBlock;
    EXPECT_DEATH(XELP_MemFreeSetNullD(&pAlias, 84, nullptr), "\\?:84 releases .* first.c:82");
}

TEST_F(MemoryAccountingDeathTest, SecondReleaseIsFoundAfterManyAllocations)
{
    void *const pBlock = XELP_MemMallocD(24, 81, "alloc.c");
    XELP_MemFreeD(pBlock, 82, "first.c");
    for (int i = 0; i < 1000; ++i) { // none of them gets that block's memory
        XELP_MemFreeD(XELP_MemMallocD(24, 85, "other.c"), 86, "other.c");
    }
    EXPECT_DEATH(XELP_MemFreeD(pBlock, 83, "second.c"), "alloc.c:81 allocated and first.c:82");
}

TEST_F(MemoryAccountingDeathTest, ForeignReleaseNamesItsLine)
{
    int iForeign = 0;
    EXPECT_DEATH(XELP_MemFreeD(&iForeign, 91, "foreign.c"),
                 "foreign.c:91 releases .*, which is no block of this adapter");
    auto *const pucBlock = static_cast<QAL_UINT8 *>(XELP_MemMallocS(24, 0, 81, "alloc.c"));
    EXPECT_DEATH(XELP_MemFreeD(pucBlock + 8, 92, "foreign.c"),
                 "foreign.c:92 releases .*, which lies inside a block of 24 bytes that alloc.c:81 "
                 "allocated");
    EXPECT_DEATH(XELP_MemFreeD(pucBlock + 24, 92, "foreign.c"), "which is no block"); // its end
    void *const pBeforeAll = reinterpret_cast<void *>(QAL_ULONG{16});
    EXPECT_DEATH(XELP_MemFreeD(pBeforeAll, 92, "foreign.c"), "which is no block");
    XELP_MemFreeD(pucBlock, 93, "own.c");
}

/// The search for the block around a pointer goes through all chains of the books, the first one
/// included.
TEST_F(MemoryAccountingDeathTest, ForeignReleaseIsFoundInTheFirstChain)
{
    const auto releaseInsideABlockThere = [] {
        for (QAL_UINT32 i = 0; i < 200000; ++i) {
            auto *const pucBlock =
                static_cast<QAL_UINT8 *>(XELP_MemMallocD(24 + i % 5000, 81, "alloc.c"));
            const auto ulAddress = reinterpret_cast<QAL_ULONG>(pucBlock);
            if ((((ulAddress >> 4) ^ (ulAddress >> 14)) & 4095U) == 0) {
                XELP_MemFreeD(pucBlock + 8, 92, "foreign.c");
            }
            XELP_MemFreeD(pucBlock, 93, "own.c");
        }
    };
    EXPECT_DEATH(releaseInsideABlockThere(), "foreign.c:92 releases .*, which lies inside a block");
}

/// A SIGABRT handler, which may write a report, can still allocate.
TEST_F(MemoryAccountingDeathTest, AbortHandlerCanAllocate)
{
    const auto releaseForeign = [] {
        std::signal(SIGABRT, [](int) {
            XELP_MemFreeD(XELP_MemMallocD(8, 1, "handler.c"), 2, "handler.c");
            _exit(7);
        });
        alarm(60); // in case it waits for the lock
        int iForeign = 0;
        XELP_MemFreeD(&iForeign, 91, "foreign.c");
    };
    EXPECT_EXIT(releaseForeign(), ::testing::ExitedWithCode(7), "foreign.c:91 releases");
}

TEST_F(MemoryAccountingDeathTest, ReleaseWithoutMemoryForItsLineIsAttributedToTheAllocatingLine)
{
    void *const pBlock = XELP_MemMallocD(24, 81, "alloc.c");
    SystemDouble::Instance().Fail("calloc", 1, ENOMEM);
    XELP_MemFreeD(pBlock, 95, "never_seen.c");
    SystemDouble::Instance().Reset();
    EXPECT_DEATH(XELP_MemFreeD(pBlock, 83, "second.c"), "alloc.c:81 allocated and alloc.c:81");
}

} // namespace
} // namespace wyx::test
