// Texts for the address parsers: in memory that ends with the terminator, and all short texts over
// an alphabet.
#ifndef WYX_TESTS_IP4_IP6_PARSER_ADDRESS_TEXTS_H
#define WYX_TESTS_IP4_IP6_PARSER_ADDRESS_TEXTS_H

#include <algorithm>
#include <string>
#include <string_view>

#include "guarded_memory.h"
#include "wyx_commlib/ip4_ip6_parser.h"

namespace wyx::test {

/// A text whose terminator is the last byte that may be read.
class GuardedText {
  public:
    /// Holds @p text until the next call.
    QAL_CHAR *Hold(std::string_view text)
    {
        char *const pszText = reinterpret_cast<char *>(memory_.End()) - text.size() - 1;
        *std::copy(text.begin(), text.end(), pszText) = '\0';
        return pszText;
    }

    /// Holds @p text and returns a reader's argument for it.
    Parse_Ipv4v6_S_BUF Buffer(std::string_view text)
    {
        return {Hold(text), static_cast<QAL_INT>(text.size())};
    }

    /// Where a reader's cursor is in the current text. Checks that it agrees with the count of
    /// characters left.
    std::size_t Place(const Parse_Ipv4v6_S_BUF &struBuf, std::string_view text) const
    {
        const auto left = reinterpret_cast<const char *>(memory_.End()) - 1 - struBuf.cur_bp;
        EXPECT_EQ(struBuf.cur_bp_rem_len, left) << text;
        return text.size() - static_cast<std::size_t>(left);
    }

  private:
    GuardedMemory memory_{4096};
};

// Texts are one letter shorter where tests are slow: with sanitizers, for coverage, and when
// cross-compiled.
#ifdef WYX_TEST_QUICK
constexpr std::size_t kLettersLess = 1;
#else
constexpr std::size_t kLettersLess = 0;
#endif

/// Calls @p check with every text of up to @p longest letters after a prefix, until it returns
/// false.
template <typename Check>
void ForEveryText(std::string_view letters, std::size_t longest, std::string_view prefix,
                  Check check)
{
    longest -= kLettersLess;
    std::string text(prefix);
    std::size_t texts = 1;
    for (std::size_t len = 0; len <= longest; ++len, texts *= letters.size()) {
        text.resize(prefix.size() + len);
        for (std::size_t n = 0; n < texts; ++n) {
            std::size_t rest = n;
            for (std::size_t i = 0; i < len; ++i, rest /= letters.size()) {
                text[prefix.size() + i] = letters[rest % letters.size()];
            }
            if (!check(std::string_view(text))) {
                return;
            }
        }
    }
}

} // namespace wyx::test

#endif
