// Random numbers that a test can reproduce: the seed is part of every failure's message.
#ifndef WYX_TESTS_SUPPORT_RANDOM_H
#define WYX_TESTS_SUPPORT_RANDOM_H

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "wyx_commlib/types.h"

namespace wyx::test {

/// Use with SCOPED_TRACE(random.Trace()). WYX_TEST_SEED=<number> in the environment repeats a run.
class Random {
  public:
    Random() : ullSeed_(ChooseSeed()), engine_(ullSeed_) {}
    /// Numbers that are not random: each is made from the next of these bytes; after the last byte,
    /// all are 0.
    explicit Random(std::string_view bytes) : ullSeed_(0), hasBytes_(true), bytes_(bytes) {}

    /// Are any of those bytes left?
    bool HasBytes() const { return !bytes_.empty(); }

    std::string Trace() const { return "repeat with WYX_TEST_SEED=" + std::to_string(ullSeed_); }

    /// A number from 0 to @p ullMax.
    std::uint64_t UpTo(std::uint64_t ullMax)
    {
        if (hasBytes_) {
            const std::uint64_t ullByte = bytes_.empty() ? 0U : static_cast<QAL_UINT8>(bytes_[0]);
            bytes_.remove_prefix(bytes_.empty() ? 0 : 1);
            return ullByte % (ullMax + 1);
        }
        return std::uniform_int_distribution<std::uint64_t>(0, ullMax)(engine_);
    }

    std::vector<QAL_UINT8> Bytes(std::size_t size)
    {
        std::vector<QAL_UINT8> bytes(size);
        for (QAL_UINT8 &uc : bytes) {
            uc = static_cast<QAL_UINT8>(engine_());
        }
        return bytes;
    }

  private:
    static std::uint64_t ChooseSeed()
    {
        const char *const pszSeed = std::getenv("WYX_TEST_SEED");
        return pszSeed != nullptr ? std::strtoull(pszSeed, nullptr, 0) : std::random_device{}();
    }

    std::uint64_t ullSeed_;
    std::mt19937_64 engine_;
    bool hasBytes_ = false;
    std::string_view bytes_;
};

} // namespace wyx::test

#endif
