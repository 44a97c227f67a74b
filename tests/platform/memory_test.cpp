// What both kinds of memory promise.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

#include "os_adapter.h"

namespace wyx::test {
namespace {

constexpr QAL_UINT32 kSizes[] = {0, 1, 2, 7, 8, 15, 16, 17, 100, 4096, 100000, 2000000};

using Allocator = void *(*)(QAL_UINT32 ulSize);

void *AllocateD(QAL_UINT32 ulSize)
{
    return XELP_MemMallocD(ulSize, __LINE__, __FILE__);
}

void *AllocateS(QAL_UINT32 ulSize)
{
    return XELP_MemMallocS(ulSize, 0, __LINE__, __FILE__);
}

TEST(Memory, BlocksAreTheCallersOwnAlignedAndApart)
{
    for (const Allocator allocate : {AllocateD, AllocateS}) {
        std::set<void *> blocks;
        for (const QAL_UINT32 ulSize : kSizes) {
            void *const pBlock = allocate(ulSize);
            ASSERT_NE(pBlock, nullptr) << ulSize;
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pBlock) % alignof(std::max_align_t), 0U);
            std::memset(pBlock, 0xFF, ulSize == 0 ? 1 : ulSize);
            EXPECT_TRUE(blocks.insert(pBlock).second);
        }
        for (void *const pBlock : blocks) {
            XELP_MemFreeD(pBlock, __LINE__, __FILE__);
        }
    }
}

TEST(Memory, ZeroFilledAlsoWhereMemoryIsUsedAgain)
{
    for (int iRound = 0; iRound < 3; ++iRound) {
        for (const QAL_UINT32 ulSize : kSizes) {
            auto *const pucBlock = static_cast<QAL_UINT8 *>(AllocateS(ulSize));
            ASSERT_NE(pucBlock, nullptr);
            const std::size_t size = ulSize == 0 ? 1 : ulSize;
            EXPECT_EQ(std::vector<QAL_UINT8>(pucBlock, pucBlock + size),
                      std::vector<QAL_UINT8>(size, 0));
            std::memset(pucBlock, 0xFF, size);
            XELP_MemFreeD(pucBlock, __LINE__, __FILE__);
        }
    }
}

TEST(Memory, ReleaseTakesNullAndClearsTheVariable)
{
    XELP_MemFreeD(nullptr, __LINE__, __FILE__);
    void *pBlock = nullptr;
    XELP_MemFreeSetNullD(&pBlock, __LINE__, __FILE__);
    EXPECT_EQ(pBlock, nullptr);
    pBlock = AllocateD(10);
    XELP_MemFreeSetNullD(&pBlock, __LINE__, __FILE__);
    EXPECT_EQ(pBlock, nullptr);
    XELP_MemFreeSetNullD(&pBlock, __LINE__, __FILE__); // harmless
    pBlock = AllocateS(10);
    XELP_MemFreeSetNullD(&pBlock, __LINE__, __FILE__);
    EXPECT_EQ(pBlock, nullptr);
}

TEST(Memory, ServesAnyThread)
{
    std::vector<std::thread> threads;
    for (int iThread = 0; iThread < 4; ++iThread) {
        threads.emplace_back([iThread] {
            std::vector<void *> blocks;
            for (QAL_UINT32 i = 0; i < 2000; ++i) {
                const QAL_UINT32 ulSize = 1 + i % 97;
                void *const pBlock = i % 2 == 0 ? AllocateD(ulSize) : AllocateS(ulSize);
                ASSERT_NE(pBlock, nullptr);
                std::memset(pBlock, iThread, ulSize);
                blocks.push_back(pBlock);
                if (i % 3 == 0) {
                    XELP_MemFreeSetNullD(&blocks[i / 2], __LINE__, __FILE__);
                }
            }
            for (void *const pBlock : blocks) {
                XELP_MemFreeD(pBlock, __LINE__, __FILE__);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

} // namespace
} // namespace wyx::test
