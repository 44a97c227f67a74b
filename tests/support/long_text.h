// A text whose length does not fit in 32 bits, in 64 MiB of memory that is mapped again and again.
#ifndef WYX_TESTS_SUPPORT_LONG_TEXT_H
#define WYX_TESTS_SUPPORT_LONG_TEXT_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <string>

namespace wyx::test {

inline constexpr std::size_t k4Gib = std::size_t{1} << 32;

/// A text of about 4 GiB of the letter x. Its first bytes, and those on either side of 4 GiB, have
/// memory of their own; all others are the same 64 MiB again and again.
class LongText {
  public:
    LongText()
    {
        const int iFile = memfd_create("long_text", MFD_CLOEXEC);
        void *const pAll =
            mmap(nullptr, kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        isThere_ = iFile >= 0 && ftruncate(iFile, kPiece) == 0 && pAll != MAP_FAILED;
        pchText_ = isThere_ ? static_cast<char *>(pAll) : nullptr;
        for (std::size_t at = 0; isThere_ && at < kSize; at += kPiece) {
            Map(at, kPiece, MAP_SHARED, iFile);
        }
        if (isThere_) {
            std::memset(pchText_, 'x', kPiece);
        }
        for (const std::size_t at : {kStart, kEnd}) {
            Map(at, kOwn, MAP_PRIVATE | MAP_ANONYMOUS, -1);
        }
        close(iFile);
    }
    ~LongText()
    {
        if (pchText_ != nullptr) {
            munmap(pchText_, kSize);
        }
    }
    LongText(const LongText &) = delete;
    LongText &operator=(const LongText &) = delete;

    /// Does the machine have enough memory and address space?
    bool IsThere() const { return isThere_; }

    /// The text, @p len bytes long, with other bytes at its start and its end.
    char *Make(std::size_t len, const std::string &start = {}, const std::string &end = {})
    {
        std::memset(pchText_ + kStart, 'x', kOwn);
        std::memset(pchText_ + kEnd, 'x', kOwn);
        start.copy(pchText_, start.size());
        end.copy(pchText_ + len - end.size(), end.size());
        pchText_[len] = '\0';
        return pchText_;
    }

  private:
    void Map(std::size_t at, std::size_t len, int iFlags, int iFile)
    {
        isThere_ = isThere_ && mmap(pchText_ + at, len, PROT_READ | PROT_WRITE, iFlags | MAP_FIXED,
                                    iFile, 0) != MAP_FAILED;
    }

    static constexpr std::size_t kPiece = std::size_t{64} << 20;
    static constexpr std::size_t kSize = k4Gib + kPiece;
    static constexpr std::size_t kOwn = std::size_t{128} << 10;
    static constexpr std::size_t kStart = 0;
    static constexpr std::size_t kEnd = k4Gib - kOwn / 2;

    bool isThere_ = false;
    char *pchText_ = nullptr;
};

} // namespace wyx::test

#endif
