// The wipe of a secret must not be optimised away, not even if the optimiser sees everything. So
// this file includes the routine's source, and releases the block right after the wipe.
#include "linux/bounded.cpp"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

constexpr std::size_t kSize = 64;
// Both are volatile, because the compiler assumes that free() uses neither.
const void *volatile pWatched = nullptr;
volatile int iFirstByte = -1;

} // namespace

extern "C" {

void __real_free(void *pBlock);
void __wrap_free(void *pBlock);

void __wrap_free(void *pBlock)
{
    if (pBlock != nullptr && pBlock == pWatched) {
        iFirstByte = *static_cast<const volatile QAL_UINT8 *>(pBlock);
    }
    __real_free(pBlock);
}

} // extern "C"

namespace {

template <typename Wipe>
int FirstByteLeftBehind(Wipe wipe)
{
    char *const pszSecret = static_cast<char *>(std::malloc(kSize));
    pWatched = pszSecret;
    for (std::size_t i = 0; i < kSize; ++i) {
        *const_cast<volatile char *>(pszSecret + i) = 's';
    }
    wipe(pszSecret);
    std::free(pszSecret);
    pWatched = nullptr;
    return iFirstByte;
}

TEST(Wipe, IsNotOptimisedAway)
{
    EXPECT_EQ(FirstByteLeftBehind([](char *psz) { wyx_memset_s(psz, kSize, 0, kSize); }), 0);
}

TEST(Wipe, PlainMemsetIsOptimisedAway)
{
    const int iLeft = FirstByteLeftBehind([](char *psz) { __builtin_memset(psz, 0, kSize); });
    if (iLeft != 's') {
        GTEST_SKIP() << "this build optimises nothing away, so the test above proves nothing";
    }
}

} // namespace
