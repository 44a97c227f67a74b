/**
 * @file mem_accounting.h
 * @brief Which source line holds how much memory, in the accounting build of the default adapter.
 *
 * Only an adapter built with the option WYX_OS_ADAPTER_ACCOUNTING has these calls. Such an adapter
 * knows the source line that allocated each live block. Releasing anything but a live block or null
 * ends the process with a message on the standard error output.
 *
 * The blocks released last are held back: up to 1,024 blocks, and up to 1 MiB unless the last one
 * alone is larger. While a block is held back, its memory is not reused. If it is released again,
 * the message names the line that allocated it and the lines of both releases. If there was no
 * memory to record the line of the first release, the allocating line is named in its place.
 *
 * If a block is released again when it is no longer held back, the message names the line of the
 * second release and, if a newer block contains the address, the line that allocated the newer
 * block. If a live block now starts at that address, there is no message: the second release takes
 * the live block from its owner.
 *
 * XELP_MemMallocD() fills a block with 0xA5, and a release fills the bytes requested with 0x5A.
 * The adapter does not notice a write to a released block or past a block's end.
 *
 * All calls may run on any number of threads.
 */
#ifndef WYX_MEM_ACCOUNTING_H
#define WYX_MEM_ACCOUNTING_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/** The memory use of one call site, or of all together. Sizes count the bytes requested. */
typedef struct wyxMem_S_Use {
    QAL_ULONG ulLiveBlocks;  /**< blocks handed out and not released */
    QAL_ULONG ulLiveBytes;   /**< their size */
    QAL_ULONG ulPeakBlocks;  /**< the most blocks that were live at once */
    QAL_ULONG ulPeakBytes;   /**< the most bytes that were live at once */
    QAL_ULONG ulTotalBlocks; /**< all blocks ever handed out */
    QAL_ULONG ulTotalBytes;  /**< their size */
} wyxMem_S_Use;

/** One source line that requested memory. */
typedef struct wyxMem_S_Site {
    const QAL_CHAR *pszFile; /**< its file; valid as long as the adapter is loaded */
    QAL_UINT32 ulLine;       /**< its line */
    wyxMem_S_Use struUse;    /**< what it allocated */
} wyxMem_S_Site;

/** One live block. */
typedef struct wyxMem_S_Block {
    const void *pBlock;      /**< the block itself */
    QAL_UINT32 ulSize;       /**< the requested size, in bytes */
    QAL_UINT32 ulLine;       /**< the line that requested it */
    const QAL_CHAR *pszFile; /**< the file of that line; valid as long as the adapter is loaded */
} wyxMem_S_Block;

/**
 * @brief The memory use of all call sites together.
 *
 * @param[out] pstruUse  the memory use
 */
WYX_API void wyx_mem_use(wyxMem_S_Use *pstruUse);

/**
 * @brief The memory use of each call site that ever got a block.
 *
 * The list is in the order in which the call sites first requested or released a block.
 *
 * @param[out] pstruSites  room for the call sites; may be null if @p ulMax is 0
 * @param[in]  ulMax       how many fit there; the rest are left out
 * @return how many call sites there are.
 */
WYX_API QAL_ULONG wyx_mem_sites(wyxMem_S_Site *pstruSites, QAL_ULONG ulMax);

/**
 * @brief The live blocks, in no particular order.
 *
 * @param[out] pstruBlocks  room for the blocks; may be null if @p ulMax is 0
 * @param[in]  ulMax        how many fit there; the rest are left out
 * @return how many live blocks there are.
 */
WYX_API QAL_ULONG wyx_mem_blocks(wyxMem_S_Block *pstruBlocks, QAL_ULONG ulMax);

/**
 * @brief Prints as text the memory use of all call sites together, and then that of each.
 *
 * @param[in] lFd  the descriptor to print to, such as 2 for the standard error output
 */
WYX_API void wyx_mem_report(QAL_INT32 lFd);

WYX_C_END

#endif
