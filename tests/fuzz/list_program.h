// Runs a program of calls on a list and on a plain model, and compares the two. The program
// includes the calls that callbacks make.
#ifndef WYX_TESTS_FUZZ_LIST_PROGRAM_H
#define WYX_TESTS_FUZZ_LIST_PROGRAM_H

#include "fuzz_support.h"
#include "list_suite.h"

namespace wyx::test {

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ListTest); // a fuzz target runs none of its tests

} // namespace wyx::test

namespace wyx::test::fuzz {

template <typename List>
void RunListProgram(Input input)
{
    g_released.clear();
    g_onRelease = nullptr;
    void *pList = nullptr;
    ASSERT_EQ(List::Init(IsLetter, Release, &pList), 0U);
    Random program(input.Rest());
    RandomCalls<List> calls(pList, program);
    while (program.HasBytes() && !::testing::Test::HasFailure()) {
        calls.Step();
        g_compared.clear();
    }
    const std::size_t left = List::Observe(pList).users.size();
    g_released.clear();
    EXPECT_EQ(List::Deinit(pList, List::kYes), 0U);
    EXPECT_EQ(g_released.size(), left);
}

} // namespace wyx::test::fuzz

#endif
