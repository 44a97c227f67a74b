// What the tests of the INI module share: short names for the statuses, and documents that are
// built by hand and compared as a whole.
#ifndef WYX_TESTS_INI_PARSER_INI_SUPPORT_H
#define WYX_TESTS_INI_PARSER_INI_SUPPORT_H

#include <gtest/gtest.h>

#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "os_adapter.h"
#include "platform_double.h"
#include "random.h"
#include "wyx_commlib/ini_parser.h"

namespace wyx::test {

// The statuses as numbers, because callers have the numbers compiled in.
inline constexpr QAL_UINT32 kOk = 0;
inline constexpr QAL_UINT32 kSectionNotFound = 10;
inline constexpr QAL_UINT32 kKeyNotFound = 20;
inline constexpr QAL_UINT32 kOpenFile = 30;
inline constexpr QAL_UINT32 kCreateFile = 50;
inline constexpr QAL_UINT32 kFileFormat = 60;
inline constexpr QAL_UINT32 kInternal = 80;
inline constexpr QAL_UINT32 kValueNull = 100;
inline constexpr QAL_UINT32 kSection = 110;
inline constexpr QAL_UINT32 kKeyName = 120;
inline constexpr QAL_UINT32 kFileEmpty = 130;
inline constexpr QAL_UINT32 kLineTooLong = 140;
inline constexpr QAL_UINT32 kLineUnknown = 160;
inline constexpr QAL_UINT32 kInputPara = 170;
inline constexpr QAL_UINT32 kKeyValue = 180;
inline constexpr QAL_UINT32 kWriteFile = 180;
inline constexpr QAL_UINT32 kComment = 190;

using MaybeText = std::optional<std::string>;
/// A slot of a document: a line, or kHole if it has none.
using Line = MaybeText;
using Lines = std::vector<Line>;
inline constexpr std::nullopt_t kHole = std::nullopt;

/// Bytes as a string literal would show them.
std::string Shown(std::string_view bytes);

/// Everything that a caller can see of a document.
struct Snapshot {
    QAL_UINT32 ulLabel = 0;
    QAL_UINT32 ulLineNum = 0;
    QAL_UINT32 ulTotalLine = 0;
    QAL_UINT32 ulIniFileNum = 0;
    Lines slots; // all ulTotalLine of them
    bool operator==(const Snapshot &) const = default;
};
void PrintTo(const Snapshot &snapshot, std::ostream *pOut);

/// A snapshot of a document just loaded from a file with these lines.
Snapshot Loaded(Lines lines, QAL_UINT32 ulCapacity = 200);

/// Takes a snapshot. The test fails if a block does not have the size that its content needs.
Snapshot Look(const XELP_IN_S_INI_FILE_STRUCT &record);

/// A document in the double's memory, released at the end of its scope.
class Document : public XELP_IN_S_INI_FILE_STRUCT {
  public:
    /// A record that holds nothing.
    Document() : XELP_IN_S_INI_FILE_STRUCT{} {}
    /// A record of these lines, as if loaded. The double starts recording at the end of the
    /// constructor.
    explicit Document(const Lines &lines, QAL_UINT32 ulCapacity = 200);
    explicit Document(const Snapshot &snapshot);
    ~Document();
    Document(const Document &) = delete;
    Document &operator=(const Document &) = delete;
};

/// Passes a text for a non-const argument that the module must not write to.
inline QAL_INT8 *Arg(const char *pszText)
{
    return const_cast<QAL_INT8 *>(pszText);
}
inline QAL_INT8 *Arg(const std::string &text)
{
    return const_cast<QAL_INT8 *>(text.c_str());
}
inline QAL_INT8 *Arg(const MaybeText &text)
{
    return text ? Arg(*text) : nullptr;
}

/// The value of an out-pointer before a call: an address that can be neither read nor released.
inline QAL_INT8 *Sentinel()
{
    return reinterpret_cast<QAL_INT8 *>(std::uintptr_t{0x5E});
}

/// Copies and releases a text that the module handed over. The test fails if the size of its block
/// is not @p blockSize (0: the size that the text needs).
MaybeText TakeText(QAL_INT8 *pszText, std::size_t blockSize = 0);

/// The double's record without the reads, joined by ", ": "D 5", "free", "free null",
/// "open r name", "seek -1 1", "write 5", "close", "remove name", "rename a -> b". "D 5" is a
/// request of XELP_MemMallocD() for 5 bytes.
std::string FullTrace();
/// The file calls in FullTrace().
std::string FileTrace();

/// The test fails if anything but the tests and the units of the module requested or released a
/// block.
void ExpectSites();

/// A text of up to @p maxSize of these bytes.
std::string RandomText(Random &random, std::string_view bytes, std::size_t maxSize);

/// Up to twelve lines, most of them of the first @p common kinds, and a few of any kind.
Lines RandomLines(Random &random, const Lines &kinds, std::size_t common);

/// Names the cases of a table by their pszName.
struct CaseName {
    template <typename Info>
    std::string operator()(const Info &info) const
    {
        return info.param.pszName;
    }
};

/// All strings of up to @p maxLength of the bytes in @p alphabet, the empty one first.
class AllStrings {
  public:
    AllStrings(std::string_view alphabet, std::size_t maxLength)
        : alphabet_(alphabet), maxLength_(maxLength)
    {}
    /// Calls @p call with each string.
    template <typename Call>
    void ForEach(Call call) const
    {
        std::string text;
        Extend(text, call);
    }

  private:
    template <typename Call>
    void Extend(std::string &text, Call &call) const
    {
        call(text);
        if (text.size() == maxLength_ || ::testing::Test::HasFailure()) {
            return;
        }
        for (const char c : alphabet_) {
            text.push_back(c);
            Extend(text, call);
            text.pop_back();
        }
    }

    std::string_view alphabet_;
    std::size_t maxLength_;
};

} // namespace wyx::test

#endif
