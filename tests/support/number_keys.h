// Callbacks for a hash table whose keys are 32-bit numbers; the hash value is the number itself.
#ifndef WYX_TESTS_SUPPORT_NUMBER_KEYS_H
#define WYX_TESTS_SUPPORT_NUMBER_KEYS_H

#include <cstring>

#include "os_adapter.h"
#include "wyx_commlib/types.h"

namespace wyx::test {

inline QAL_UINT32 HashNumber(void *pKey, QAL_UINT32 *pulHash)
{
    std::memcpy(pulHash, pKey, sizeof *pulHash);
    return 0;
}

inline QAL_UINT32 CompareNumbers(void *pKey, void *pStored)
{
    return std::memcmp(pKey, pStored, sizeof(QAL_UINT32)) == 0 ? 0 : 1;
}

inline void ReleaseKey(void *pStored)
{
    XELP_MemFreeD(pStored, __LINE__, "a test");
}

} // namespace wyx::test

#endif
