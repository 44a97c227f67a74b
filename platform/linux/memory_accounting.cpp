// Memory with accounting: every block is recorded with the line that requested it, and the record
// is kept for a while after the block's release. So a second release can be distinguished from the
// release of a foreign pointer, and its message names the lines of the allocation and of both
// releases.
//
// The records are not part of the blocks: a byte written just past a block changes none of them,
// and a foreign pointer is recognised without reading what it points to.
#include "mem_accounting.h"
#include "os_adapter.h"

#include <pthread.h>
#include <unistd.h>

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// Not zero, so that a caller that assumes a zeroed block or reads a released one is likely to
// misbehave visibly.
constexpr int kFreshByte = 0xA5;
constexpr int kReleasedByte = 0x5A;

// The limits for released blocks that are held back.
constexpr QAL_ULONG kHeldBlocks = 1024;
constexpr QAL_ULONG kHeldBytes = 1048576;

constexpr QAL_ULONG kSiteChains = 256; // speed only
constexpr QAL_ULONG kFirstBlockChains = 1024;
static_assert(std::has_single_bit(kFirstBlockChains));

/// The entry of a line that allocates or releases; it is never freed.
struct Site {
    Site *pstruNextInChain;
    Site *pstruNext;         // in the order of their first use
    const QAL_CHAR *pszFile; // a copy, stored after the entry: the caller may be unloaded
    QAL_UINT32 ulLine;
    wyxMem_S_Use struUse;
};

/// A block that is live, or released and held back.
struct Block {
    Block *pstruNextInChain;
    Block *pstruNewer; // the next one held back
    void *pMemory;
    QAL_UINT32 ulSize;
    Site *pstruSite;
    const Site *pstruReleasedBy; // null for a live block
};

struct Books {
    wyxMem_S_Use struUse;
    Site *apstruSiteChains[kSiteChains];
    Site *pstruFirstSite;
    Site *pstruLastSite;
    Block **ppstruBlockChains;
    QAL_ULONG ulBlockChains; // a power of two, or 0
    QAL_ULONG ulBlocks;      // live and held back
    Block *pstruOldestHeld;
    Block *pstruNewestHeld;
    QAL_ULONG ulHeldBlocks;
    QAL_ULONG ulHeldBytes;
};

constinit pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
constinit Books books = {};

class Lock {
  public:
    Lock() { pthread_mutex_lock(&mutex); }
    ~Lock() { pthread_mutex_unlock(&mutex); }
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;
};

QAL_ULONG HashOfAddress(const void *pBlock)
{
    const auto ulAddress = reinterpret_cast<QAL_ULONG>(pBlock);
    return (ulAddress >> 4) ^ (ulAddress >> 14); // blocks are at multiples of 16
}

/// Finds or creates the entry of a line; null if there is no memory for it.
Site *FindSite(const QAL_CHAR *pszFile, QAL_UINT32 ulLine)
{
    const QAL_CHAR *const pszName = pszFile != nullptr ? pszFile : "?";
    const QAL_ULONG ulLen = std::strlen(pszName);
    Site **const ppstruChain = &books.apstruSiteChains[(ulLine ^ ulLen << 4) % kSiteChains];
    for (Site *pstru = *ppstruChain; pstru != nullptr; pstru = pstru->pstruNextInChain) {
        if (pstru->ulLine == ulLine && std::strcmp(pstru->pszFile, pszName) == 0) {
            return pstru;
        }
    }
    Site *const pstruSite = static_cast<Site *>(std::calloc(1, sizeof(Site) + ulLen + 1));
    if (pstruSite == nullptr) {
        return nullptr;
    }
    pstruSite->pszFile =
        static_cast<const QAL_CHAR *>(std::memcpy(pstruSite + 1, pszName, ulLen + 1));
    pstruSite->ulLine = ulLine;
    pstruSite->pstruNextInChain = *ppstruChain;
    *ppstruChain = pstruSite;
    (books.pstruLastSite != nullptr ? books.pstruLastSite->pstruNext : books.pstruFirstSite) =
        pstruSite;
    books.pstruLastSite = pstruSite;
    return pstruSite;
}

Block **ChainOf(const void *pMemory)
{
    return &books.ppstruBlockChains[HashOfAddress(pMemory) & (books.ulBlockChains - 1)];
}

/// Makes more chains if they get long; false if there are none and no memory for any.
bool GrowChains()
{
    if (books.ulBlocks < books.ulBlockChains) {
        return true;
    }
    const QAL_ULONG ulOld = books.ulBlockChains;
    const QAL_ULONG ulNew = ulOld != 0 ? ulOld * 2 : kFirstBlockChains;
    Block **const ppstruOld = books.ppstruBlockChains;
    void *const pNew = std::calloc(ulNew, sizeof *ppstruOld);
    if (pNew == nullptr) {
        return ulOld != 0;
    }
    books.ppstruBlockChains = static_cast<Block **>(pNew);
    books.ulBlockChains = ulNew;
    for (QAL_ULONG i = 0; i < ulOld; ++i) {
        for (Block *pstruBlock = ppstruOld[i]; pstruBlock != nullptr;) {
            Block *const pstruNext = pstruBlock->pstruNextInChain;
            Block **const ppstruChain = ChainOf(pstruBlock->pMemory);
            pstruBlock->pstruNextInChain = *ppstruChain;
            *ppstruChain = pstruBlock;
            pstruBlock = pstruNext;
        }
    }
    std::free(ppstruOld);
    return true;
}

/// The block that starts at an address, live or held back; null if there is none.
Block *FindBlock(const void *pMemory)
{
    Block *pstruBlock = books.ulBlockChains != 0 ? *ChainOf(pMemory) : nullptr;
    while (pstruBlock != nullptr && pstruBlock->pMemory != pMemory) {
        pstruBlock = pstruBlock->pstruNextInChain;
    }
    return pstruBlock;
}

/// The block that an address points into, after its start; null if there is none.
const Block *FindBlockAround(const void *pMemory)
{
    const auto ulAddress = reinterpret_cast<QAL_ULONG>(pMemory);
    for (QAL_ULONG i = 0; i < books.ulBlockChains; ++i) {
        for (const Block *pstru = books.ppstruBlockChains[i]; pstru != nullptr;
             pstru = pstru->pstruNextInChain) {
            const auto ulStart = reinterpret_cast<QAL_ULONG>(pstru->pMemory);
            if (ulAddress > ulStart && ulAddress - ulStart < pstru->ulSize) {
                return pstru;
            }
        }
    }
    return nullptr;
}

void CountIn(wyxMem_S_Use &use, QAL_UINT32 ulSize)
{
    ++use.ulTotalBlocks;
    use.ulTotalBytes += ulSize;
    if (++use.ulLiveBlocks > use.ulPeakBlocks) {
        use.ulPeakBlocks = use.ulLiveBlocks;
    }
    use.ulLiveBytes += ulSize;
    if (use.ulLiveBytes > use.ulPeakBytes) {
        use.ulPeakBytes = use.ulLiveBytes;
    }
}

void CountOut(wyxMem_S_Use &use, QAL_UINT32 ulSize)
{
    --use.ulLiveBlocks;
    use.ulLiveBytes -= ulSize;
}

void *Allocate(QAL_UINT32 ulSize, int iFill, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    const QAL_ULONG ulRoom = ulSize != 0 ? ulSize : 1;
    void *const pMemory = std::malloc(ulRoom);
    Block *const pstruBlock = static_cast<Block *>(std::calloc(1, sizeof(Block)));
    const Lock lock;
    Site *const pstruSite = FindSite(pszFile, ulLine);
    if (pMemory == nullptr || pstruBlock == nullptr || pstruSite == nullptr || !GrowChains()) {
        std::free(pstruBlock);
        std::free(pMemory);
        return nullptr;
    }
    std::memset(pMemory, iFill, ulRoom);
    pstruBlock->pMemory = pMemory;
    pstruBlock->ulSize = ulSize;
    pstruBlock->pstruSite = pstruSite;
    Block **const ppstruChain = ChainOf(pMemory);
    pstruBlock->pstruNextInChain = *ppstruChain;
    *ppstruChain = pstruBlock;
    ++books.ulBlocks;
    CountIn(books.struUse, ulSize);
    CountIn(pstruSite->struUse, ulSize);
    return pMemory;
}

/// Frees the block that has been held back longest.
void ForgetOldest()
{
    Block *const pstruBlock = books.pstruOldestHeld;
    books.pstruOldestHeld = pstruBlock->pstruNewer;
    --books.ulHeldBlocks;
    books.ulHeldBytes -= pstruBlock->ulSize;
    --books.ulBlocks;
    Block **ppstruLink = ChainOf(pstruBlock->pMemory);
    while (*ppstruLink != pstruBlock) {
        ppstruLink = &(*ppstruLink)->pstruNextInChain;
    }
    *ppstruLink = pstruBlock->pstruNextInChain;
    std::free(pstruBlock->pMemory);
    std::free(pstruBlock);
}

/// Prints what is known about a pointer that must not be released, and aborts. Unlocks before it
/// aborts, so that a SIGABRT handler can still allocate.
[[noreturn]] void Refuse(const void *pMemory, const Block *pstruBlock, const QAL_CHAR *pszFile,
                         QAL_UINT32 ulLine)
{
    dprintf(STDERR_FILENO, "libwyx_os_adapter: %s:%u releases %p, ",
            pszFile != nullptr ? pszFile : "?", ulLine, pMemory);
    if (pstruBlock != nullptr) {
        dprintf(STDERR_FILENO, "a block of %u bytes that %s:%u allocated and %s:%u has released\n",
                pstruBlock->ulSize, pstruBlock->pstruSite->pszFile, pstruBlock->pstruSite->ulLine,
                pstruBlock->pstruReleasedBy->pszFile, pstruBlock->pstruReleasedBy->ulLine);
    } else if (const Block *const pstruAround = FindBlockAround(pMemory); pstruAround != nullptr) {
        dprintf(STDERR_FILENO, "which lies inside a block of %u bytes that %s:%u allocated\n",
                pstruAround->ulSize, pstruAround->pstruSite->pszFile,
                pstruAround->pstruSite->ulLine);
    } else {
        dprintf(STDERR_FILENO, "which is no block of this adapter, or one released long ago\n");
    }
    pthread_mutex_unlock(&mutex);
    std::abort();
}

void Release(void *pMemory, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    if (pMemory == nullptr) {
        return;
    }
    const Lock lock;
    Block *const pstruBlock = FindBlock(pMemory);
    if (pstruBlock == nullptr || pstruBlock->pstruReleasedBy != nullptr) {
        Refuse(pMemory, pstruBlock, pszFile, ulLine);
    }
    const Site *const pstruReleaser = FindSite(pszFile, ulLine);
    // Without memory for a separate entry, a release is attributed to the allocating line.
    pstruBlock->pstruReleasedBy = pstruReleaser != nullptr ? pstruReleaser : pstruBlock->pstruSite;
    std::memset(pMemory, kReleasedByte, pstruBlock->ulSize);
    CountOut(books.struUse, pstruBlock->ulSize);
    CountOut(pstruBlock->pstruSite->struUse, pstruBlock->ulSize);

    (books.ulHeldBlocks != 0 ? books.pstruNewestHeld->pstruNewer : books.pstruOldestHeld) =
        pstruBlock;
    books.pstruNewestHeld = pstruBlock;
    ++books.ulHeldBlocks;
    books.ulHeldBytes += pstruBlock->ulSize;
    // The newest always stays, whatever its size.
    while (books.ulHeldBlocks > 1 &&
           (books.ulHeldBlocks > kHeldBlocks || books.ulHeldBytes > kHeldBytes)) {
        ForgetOldest();
    }
}

void PrintUse(int iFd, const wyxMem_S_Use &use)
{
    dprintf(iFd,
            "live %lu blocks, %lu bytes; peak %lu blocks, %lu bytes; total %lu blocks, %lu bytes\n",
            use.ulLiveBlocks, use.ulLiveBytes, use.ulPeakBlocks, use.ulPeakBytes, use.ulTotalBlocks,
            use.ulTotalBytes);
}

} // namespace

extern "C" {

void *XELP_MemMallocD(QAL_UINT32 ulSize, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    return Allocate(ulSize, kFreshByte, ulLine, pszFile);
}

void *XELP_MemMallocS(QAL_UINT32 ulSize, QAL_UINT32 /*ulReserved*/, QAL_UINT32 ulLine,
                      const QAL_CHAR *pszFile)
{
    return Allocate(ulSize, 0, ulLine, pszFile);
}

void XELP_MemFreeD(void *pBlock, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    Release(pBlock, ulLine, pszFile);
}

void XELP_MemFreeSetNullD(void **ppBlock, QAL_UINT32 ulLine, const QAL_CHAR *pszFile)
{
    Release(*ppBlock, ulLine, pszFile);
    *ppBlock = nullptr;
}

void wyx_mem_use(wyxMem_S_Use *pstruUse)
{
    const Lock lock;
    *pstruUse = books.struUse;
}

QAL_ULONG wyx_mem_sites(wyxMem_S_Site *pstruSites, QAL_ULONG ulMax)
{
    const Lock lock;
    QAL_ULONG ulCount = 0;
    for (const Site *pstru = books.pstruFirstSite; pstru != nullptr; pstru = pstru->pstruNext) {
        if (pstru->struUse.ulTotalBlocks == 0) {
            continue; // it never got a block
        }
        if (ulCount < ulMax) {
            pstruSites[ulCount] = {pstru->pszFile, pstru->ulLine, pstru->struUse};
        }
        ++ulCount;
    }
    return ulCount;
}

QAL_ULONG wyx_mem_blocks(wyxMem_S_Block *pstruBlocks, QAL_ULONG ulMax)
{
    const Lock lock;
    QAL_ULONG ulCount = 0;
    for (QAL_ULONG i = 0; i < books.ulBlockChains; ++i) {
        for (const Block *pstru = books.ppstruBlockChains[i]; pstru != nullptr;
             pstru = pstru->pstruNextInChain) {
            if (pstru->pstruReleasedBy != nullptr) {
                continue;
            }
            if (ulCount < ulMax) {
                pstruBlocks[ulCount] = {pstru->pMemory, pstru->ulSize, pstru->pstruSite->ulLine,
                                        pstru->pstruSite->pszFile};
            }
            ++ulCount;
        }
    }
    return ulCount;
}

void wyx_mem_report(QAL_INT32 lFd)
{
    const Lock lock;
    dprintf(lFd, "memory: ");
    PrintUse(lFd, books.struUse);
    for (const Site *pstru = books.pstruFirstSite; pstru != nullptr; pstru = pstru->pstruNext) {
        if (pstru->struUse.ulTotalBlocks != 0) {
            dprintf(lFd, "  %s:%u: ", pstru->pszFile, pstru->ulLine);
            PrintUse(lFd, pstru->struUse);
        }
    }
}

} // extern "C"
