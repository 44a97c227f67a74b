#include "file_failure.h"

#include <utility>

namespace {

constinit thread_local int iKept = 0;

} // namespace

namespace wyx::os {

void KeepFailure(int iError)
{
    iKept = iError;
}

int TakeFailure()
{
    return std::exchange(iKept, 0);
}

} // namespace wyx::os
