// Does the wipe survive an optimiser that sees everything? MD5, wyx_memset_s() and their caller are
// compiled and optimised as one program here, and the context is a local variable that nothing
// reads after XELP_MD5_Final(): to the optimiser, stores to it are dead. The context is on the
// stack of a thread. The test provides this stack, and reads it after the thread has ended.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "wyx_commlib/md5.h"

namespace wyx::test {
namespace {

constexpr std::size_t kStackSize = 1 << 20;
constexpr std::size_t kDepth = 1 << 16; // keeps the context away from what an ending thread writes

struct Job {
    void (*pfunEnd)(QAL_UINT8 *, MD5_S_CTX *); // null for a direct call of XELP_MD5_Final()
    volatile std::uintptr_t uContext;
    QAL_UINT8 aucDigest[16];
};

__attribute__((noinline)) void DigestSecret(Job &job)
{
    MD5_S_CTX context;
    job.uContext = reinterpret_cast<std::uintptr_t>(&context);
    XELP_MD5_Init(&context);
    const QAL_UINT8 aucSecret[] = "correct horse battery staple";
    XELP_MD5_Update(&context, aucSecret, sizeof aucSecret);
    if (job.pfunEnd == nullptr) {
        XELP_MD5_Final(job.aucDigest, &context);
    } else {
        job.pfunEnd(job.aucDigest, &context);
    }
}

void *Run(void *pArgument)
{
    QAL_UINT8 aucDepth[kDepth];
    DigestSecret(*static_cast<Job *>(pArgument));
    __asm__ volatile("" : : "r"(aucDepth) : "memory"); // in use until here
    return nullptr;
}

/// The bytes that are left where the context was.
std::vector<QAL_UINT8> Remains(void (*pfunEnd)(QAL_UINT8 *, MD5_S_CTX *))
{
    void *pStack = nullptr;
    EXPECT_EQ(posix_memalign(&pStack, 1 << 16, kStackSize), 0);
    std::memset(pStack, 0xA5, kStackSize);
    Job job = {pfunEnd, 0, {}};
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    EXPECT_EQ(pthread_attr_setstack(&attributes, pStack, kStackSize), 0);
    pthread_t thread;
    EXPECT_EQ(pthread_create(&thread, &attributes, Run, &job), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);

    const std::size_t offset = job.uContext - reinterpret_cast<std::uintptr_t>(pStack);
    EXPECT_LT(offset, kStackSize - sizeof(MD5_S_CTX));
    const auto *const pucContext = static_cast<const QAL_UINT8 *>(pStack) + offset;
    std::vector<QAL_UINT8> remains(pucContext, pucContext + sizeof(MD5_S_CTX));
    std::free(pStack);
    return remains;
}

bool IsZero(QAL_UINT8 uc)
{
    return uc == 0;
}

TEST(Md5Wipe, OptimiserKeepsTheWipe)
{
    const std::vector<QAL_UINT8> remains = Remains(nullptr);
    EXPECT_TRUE(std::all_of(remains.begin(), remains.end(), IsZero));
}

TEST(Md5Wipe, TestDetectsAContextThatIsNotWiped)
{
    const std::vector<QAL_UINT8> remains = Remains([](QAL_UINT8 *, MD5_S_CTX *) {});
    const char *const pszSecret = "correct horse";
    EXPECT_NE(std::search(remains.begin(), remains.end(), pszSecret, pszSecret + 13),
              remains.end());
}

} // namespace
} // namespace wyx::test
