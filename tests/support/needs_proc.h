// Include this in one source file of a test program to skip the program where /proc is missing.
#ifndef WYX_TESTS_SUPPORT_NEEDS_PROC_H
#define WYX_TESTS_SUPPORT_NEEDS_PROC_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

namespace wyx::test {

class NeedsProc : public ::testing::Environment {
  public:
    void SetUp() override
    {
        if (access("/proc/self/fd", X_OK) != 0) {
            std::cout << "skipped: no /proc/self/fd: is /proc mounted?" << std::endl;
            std::exit(77); // which CTest takes for skipped
        }
    }
};

inline ::testing::Environment *const kNeedsProc =
    ::testing::AddGlobalTestEnvironment(new NeedsProc);

} // namespace wyx::test

#endif
