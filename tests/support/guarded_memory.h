// Memory between two inaccessible pages: one byte read or written outside it ends the test.
#ifndef WYX_TESTS_SUPPORT_GUARDED_MEMORY_H
#define WYX_TESTS_SUPPORT_GUARDED_MEMORY_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>

#include "wyx_commlib/types.h"

namespace wyx::test {

class GuardedMemory {
  public:
    /// @p size bytes, rounded up to whole pages; aborts if there is no memory.
    explicit GuardedMemory(std::size_t size)
        : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          size_((size + page_ - 1) / page_ * page_)
    {
        void *const pAll =
            mmap(nullptr, size_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pAll == MAP_FAILED) {
            std::abort();
        }
        pucAll_ = static_cast<QAL_UINT8 *>(pAll);
        if (mprotect(Begin(), size_, PROT_READ | PROT_WRITE) != 0) {
            std::abort();
        }
    }
    ~GuardedMemory() { munmap(pucAll_, size_ + 2 * page_); }
    GuardedMemory(const GuardedMemory &) = delete;
    GuardedMemory &operator=(const GuardedMemory &) = delete;

    /// The first byte; the byte before it is out of bounds.
    QAL_UINT8 *Begin() const { return pucAll_ + page_; }
    /// One past the last byte; out of bounds itself.
    QAL_UINT8 *End() const { return Begin() + size_; }
    std::size_t Size() const { return size_; }

  private:
    std::size_t page_;
    std::size_t size_;
    QAL_UINT8 *pucAll_ = nullptr;
};

} // namespace wyx::test

#endif
