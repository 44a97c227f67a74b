// libFuzzer's entry point to a program with one target.
#include <cstddef>
#include <cstdlib>

#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const QAL_UINT8 *pucData, std::size_t size);

int LLVMFuzzerTestOneInput(const QAL_UINT8 *pucData, std::size_t size)
{
    static const auto target = wyx::test::fuzz::Targets().begin()->second;
    wyx::test::fuzz::RunTarget(target, {reinterpret_cast<const char *>(pucData), size});
    if (::testing::Test::HasFailure()) {
        std::abort(); // the input is kept as a finding
    }
    return 0;
}
