// Allocates arrays and releases blocks of memory. The functions pass the caller's file and line to
// the platform, not those of this header.
#ifndef WYX_COMMLIB_BLOCKS_H
#define WYX_COMMLIB_BLOCKS_H

#include "os_adapter.h"

namespace wyx {

constexpr QAL_UINT64 kMaxBlockSize = 0xFFFFFFFF; // the largest size that can be requested

/// Releases a block and clears the pointer to it.
template <typename T>
void Release(T *&pBlock, QAL_UINT32 ulLine = __builtin_LINE(),
             const QAL_CHAR *pszFile = __builtin_FILE())
{
    void *pReleased = pBlock;
    XELP_MemFreeSetNullD(&pReleased, ulLine, pszFile);
    pBlock = static_cast<T *>(pReleased);
}

/**
 * Allocates a block for an array. @p allocate takes a size of 32 bits.
 *
 * Kept: if the size does not fit, its low 32 bits are requested anyway, and the block is released
 * again (SLinkListInit.WrappedSizeIsRequestedAndReturnsMemoryStatus,
 * HashInit.WrappedSizeIsRequestedAndReturnsMemoryStatus,
 * IniRemallocIniLine.WrappedSizeIsRequested).
 *
 * @return the block; null if there is no memory or the size does not fit in 32 bits.
 */
template <typename Allocate>
void *AllocateArray(QAL_UINT64 ullSize, const Allocate &allocate,
                    QAL_UINT32 ulLine = __builtin_LINE(),
                    const QAL_CHAR *pszFile = __builtin_FILE())
{
    void *const pBlock = allocate(static_cast<QAL_UINT32>(ullSize), ulLine, pszFile);
    if (pBlock != nullptr && ullSize > kMaxBlockSize) {
        XELP_MemFreeD(pBlock, ulLine, pszFile);
        return nullptr;
    }
    return pBlock;
}

} // namespace wyx

#endif
