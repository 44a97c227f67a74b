// Memory straight from the C allocator; memory_accounting.cpp is the variant that records every
// block.
#include "os_adapter.h"

#include <cstdlib>
#include <utility>

namespace {

/// A block of size 0 still has its own address, whatever the C library does.
constexpr QAL_UINT32 AtLeastOne(QAL_UINT32 ulSize)
{
    return ulSize != 0 ? ulSize : 1;
}

} // namespace

extern "C" {

void *XELP_MemMallocD(QAL_UINT32 ulSize, QAL_UINT32 /*ulLine*/, const QAL_CHAR * /*pszFile*/)
{
    return std::malloc(AtLeastOne(ulSize));
}

void *XELP_MemMallocS(QAL_UINT32 ulSize, QAL_UINT32 /*ulReserved*/, QAL_UINT32 /*ulLine*/,
                      const QAL_CHAR * /*pszFile*/)
{
    return std::calloc(1, AtLeastOne(ulSize));
}

void XELP_MemFreeD(void *pBlock, QAL_UINT32 /*ulLine*/, const QAL_CHAR * /*pszFile*/)
{
    std::free(pBlock);
}

void XELP_MemFreeSetNullD(void **ppBlock, QAL_UINT32 /*ulLine*/, const QAL_CHAR * /*pszFile*/)
{
    std::free(std::exchange(*ppBlock, nullptr)); // free() comes last: a tail call
}

} // extern "C"
