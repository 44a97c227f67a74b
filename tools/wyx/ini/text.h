// INI files as bytes, as physical lines, and as the lines that the library stores.
#ifndef WYX_TOOL_INI_TEXT_H
#define WYX_TOOL_INI_TEXT_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "system/file_input.h"
#include "wyx_commlib/ini_parser.h"

namespace wyx::tool {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// A limit for input that never ends, such as /dev/zero.
constexpr std::size_t kLargestFile = std::size_t{16} << 20;

/// The longest line that the library accepts, in bytes with its line end.
constexpr std::size_t kLongestLine = 511;

/// The bytes of a file, and a name under which the library loads exactly these bytes.
class IniSource {
  public:
    /// Reads a file, or standard input for the name "-".
    /// @throws Failure
    explicit IniSource(const std::string &name);
    /// Takes bytes that are in memory already; @p name is their name in messages.
    static IniSource OfBytes(const std::string &name, std::string bytes);

    /// For messages of the form "file:line: ...".
    const std::string &Name() const { return name_; }
    const std::string &Bytes() const { return bytes_; }
    bool IsUtf16() const;
    /// Does it begin with the UTF-8 byte-order mark, which the library takes for text?
    bool HasByteOrderMark() const { return bytes_.starts_with(kByteOrderMark); }
    bool HasNul() const { return bytes_.find('\0') != std::string::npos; }
    /// What the library opens: a copy in memory, because the file may change meanwhile.
    const std::string &LoadName() const { return loadName_; }

  private:
    IniSource(std::string name, std::string bytes);

    std::string name_;
    std::string bytes_;
    Descriptor copy_;
    std::string loadName_;
};

/// A physical line of a file: it ends at CR LF, LF CR, or a lone LF or CR.
struct RawLine {
    std::size_t begin = 0;  // offset of its first byte
    std::size_t end = 0;    // offset after its line end
    std::size_t endLen = 0; // length of the line end; 0 for a last line without one
    // Is it an empty line that the library joins to the line before, because that one ends in a
    // backslash and a lone LF? The library does not pair the empty line's own LF with a CR after
    // it. The same holds with CR and LF swapped.
    bool isEmptyJoined = false;
};

std::vector<RawLine> SplitLines(std::string_view bytes);

/// Length of the line end at the end of a text: 0, 1 or 2.
std::size_t LineEndLength(std::string_view text);

inline std::string_view WithoutLineEnd(std::string_view text)
{
    return text.substr(0, text.size() - LineEndLength(text));
}

inline bool HasLineEnd(std::string_view text)
{
    return text.find_first_of("\r\n") != std::string_view::npos;
}

constexpr std::string_view kBlanks = " \t";

/// Does a text end in a backslash that joins what follows? Pairs of backslashes are text.
bool EndsInBackslash(std::string_view text);

/// A text without the blanks and line ends around it.
std::string_view Trimmed(std::string_view text);

/// A line as the library stores it.
struct StoredLine {
    std::string text;       // with its line end; empty for a line that is too long
    std::size_t first = 0;  // number of its first physical line, from 1
    std::size_t count = 0;  // number of physical lines it consists of
    bool isTooLong = false; // more than kLongestLine bytes: the file does not load
    bool lacksEnd = false;  // it has no line end in the file; `text` got a CR
};

/// The lines of a file. The library stops at a line that is too long; this list goes on after it.
struct StoredLines {
    std::vector<StoredLine> lines;
    std::size_t rest = 0; // number of the first physical line not read; 0 if all were

    bool IsLoadable() const;
};

/// Is a byte-order mark part of the first line, as for the library, or skipped?
enum class ByteOrderMark { kText, kSkipped };

StoredLines ReadStoredLines(const IniSource &source, ByteOrderMark mark = ByteOrderMark::kText);

struct LineParts {
    XELP_INI_E_LINE_TYPE kind = INI_ERROR_LINE;
    QAL_UINT32 status = XELP_ERR_INI_OK; // if not OK: why the parts could not be read
    std::string name;                    // of the section or key
    std::optional<std::string> value;    // of a key that has one
    std::optional<std::string> comment;  // after a header or value

    /// Is it a line that the library cannot use?
    bool IsUnreadable() const { return status != XELP_ERR_INI_OK; }
};

/// Parses a stored line. A line that is too long gets a status and no parts.
LineParts ParseLine(const StoredLine &line);

/// A value that the library returned; none for "key=", whose value is the line end alone.
std::optional<std::string> ValueOf(const QAL_INT8 *strValue);

/// Do two names mean the same?
bool IsSameName(const std::string &left, const std::string &right);

/// What a status of the library means for a line of a file.
std::string LineStatusText(QAL_UINT32 status);

/// "section", "key", "comment", "blank", or "error" for a line that the library cannot use
const char *KindName(const LineParts &parts);

} // namespace wyx::tool

#endif
