// What the fuzz targets share: how a target is written, and how it reads its input as a sequence of
// operations.
//
// A target is a function of bytes that compares the library with a model by GoogleTest's checks.
// With libFuzzer, each target is a program of its own (fuzz_main.cpp); without it, all run over
// their corpora in one ordinary test (fuzz_replay_test.cpp).
#ifndef WYX_TESTS_FUZZ_FUZZ_SUPPORT_H
#define WYX_TESTS_FUZZ_FUZZ_SUPPORT_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "wyx_commlib/types.h"

namespace wyx::test::fuzz {

/// The bytes of one input, taken from the front; after the last byte, every call returns 0 or an
/// empty text.
class Input {
  public:
    explicit Input(std::string_view bytes) : bytes_(bytes) {}

    bool IsEmpty() const { return bytes_.empty(); }

    QAL_UINT8 Byte()
    {
        const std::string_view byte = Take(1);
        return byte.empty() ? QAL_UINT8{0} : static_cast<QAL_UINT8>(byte[0]);
    }
    /// A number below @p bound, which is at most 256.
    QAL_UINT32 Below(QAL_UINT32 bound) { return Byte() % bound; }
    QAL_UINT32 Word()
    {
        QAL_UINT32 ulWord = 0;
        for (int i = 0; i < 4; ++i) {
            ulWord = ulWord << 8 | Byte();
        }
        return ulWord;
    }
    std::string_view Take(std::size_t count)
    {
        const std::string_view taken = bytes_.substr(0, count);
        bytes_.remove_prefix(taken.size());
        return taken;
    }
    std::string_view Rest() { return Take(bytes_.size()); }
    /// The text up to the next NUL; that NUL is taken as well.
    std::string_view Text()
    {
        const std::string_view text = Take(std::min(bytes_.find('\0'), bytes_.size()));
        Take(1);
        return text;
    }

  private:
    std::string_view bytes_;
};

/// A block of exactly the size of its content, so that a sanitizer notices an access outside it.
class Block {
  public:
    explicit Block(std::string_view bytes)
        : size_(bytes.size()), bytes_(std::make_unique<QAL_UINT8[]>(bytes.size()))
    {
        std::copy(bytes.begin(), bytes.end(), bytes_.get());
    }
    QAL_UINT8 *Data() const { return bytes_.get(); }
    std::size_t Size() const { return size_; }

  private:
    std::size_t size_;
    std::unique_ptr<QAL_UINT8[]> bytes_;
};

/// A NUL-terminated string in such a block.
class Text {
  public:
    explicit Text(std::string_view text) : block_(std::string(text) + '\0') {}
    QAL_INT8 *Get() const { return reinterpret_cast<QAL_INT8 *>(block_.Data()); }

  private:
    Block block_;
};

using Target = void (*)(Input input);

/// The targets of this program, by name.
inline std::map<std::string, Target> &Targets()
{
    static std::map<std::string, Target> targets;
    return targets;
}

/// Runs a target on one input: resets the platform double first, and afterwards checks that nothing
/// is held.
void RunTarget(Target target, std::string_view bytes);

} // namespace wyx::test::fuzz

/// Begins the definition of a target; its argument is called `input`.
#define WYX_FUZZ_TARGET(name)                                           \
    static void Fuzz_##name(wyx::test::fuzz::Input input);              \
    [[maybe_unused]] static const bool isRegistered_##name =            \
        wyx::test::fuzz::Targets().emplace(#name, &Fuzz_##name).second; \
    static void Fuzz_##name([[maybe_unused]] wyx::test::fuzz::Input input)

#endif
