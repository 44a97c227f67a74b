#include "../hash/hash_calls.h"
#include "fuzz_support.h"

// The input describes a table, and then the calls on it, including those that callbacks make.
WYX_FUZZ_TARGET(hash)
{
    using namespace wyx::test::hash;
    ResetCallbacks();
    const QAL_UINT32 ulHashSize = 1 + input.Below(32);
    g_hashBase = input.Below(2) == 0 ? 0 : 0xFFFFFFF8; // with the latter, some values wrap
    const QAL_UINT32 ulFlag = input.Below(3);
    void *pTable = nullptr;
    ASSERT_EQ(InitLetters(ulHashSize, &pTable), 0U);
    wyx::test::Random program(input.Rest());
    RandomCalls calls(pTable, program);
    while (program.HasBytes() && !::testing::Test::HasFailure()) {
        calls.Step();
    }
    calls.DeInit(ulFlag);
}
