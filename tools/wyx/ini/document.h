// A file as lookups see it, and the messages for what they do not find.
#ifndef WYX_TOOL_INI_DOCUMENT_H
#define WYX_TOOL_INI_DOCUMENT_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ini/text.h"
#include "system/exit_code.h"
#include "wyx_commlib/ini_parser.h"

namespace wyx::tool {

/// The result of a lookup: the library's status, and the value if the key has one.
struct Lookup {
    QAL_UINT32 status = XELP_ERR_INI_OK;
    std::optional<std::string> value;
    bool operator==(const Lookup &) const = default;
};

/// Takes the place of a header that cannot be read. Lookups cannot find this section: its name is a
/// line end, and they trim the name that they look for.
constexpr const char *kNobodysHeader = "[\n]\n";

/// A document of the library.
class IniDocument {
  public:
    /// Holds the lines that the library can read: slot i is line i. The slots of the other lines
    /// are empty, as if those lines had been removed, and every call skips them. A header that
    /// cannot be read is replaced by kNobodysHeader, so that the keys after it do not become keys
    /// of the section before it.
    IniDocument(const StoredLines &stored, const std::vector<LineParts> &parts);
    ~IniDocument();
    IniDocument(IniDocument &&other) noexcept : record_(std::exchange(other.record_, {})) {}
    IniDocument &operator=(IniDocument &&) = delete;

    XELP_IN_S_INI_FILE_STRUCT *Record() { return &record_; }
    /// What a slot holds; null if it is empty.
    const QAL_INT8 *Line(std::size_t slot) const { return record_.pStrLine[slot]; }

    // The header "[ a ]" is found by "a", its name to the library, and by " a ", its name to some
    // other programs.

    /// @throws std::bad_alloc
    std::vector<std::string> Sections() const;
    /// The names of the keys in the last block of a section; empty if there is no such section.
    /// @throws std::bad_alloc
    std::vector<std::string> Keys(const std::string &section) const;

    /// @throws std::bad_alloc
    Lookup Find(const std::string &section, const std::string &key) const;

  private:
    XELP_IN_S_INI_FILE_STRUCT record_ = {};
};

/// A range of bytes or lines.
struct Range {
    std::size_t begin = 0;
    std::size_t end = 0;
};

/// A file as lookups and edits see it: its bytes, its lines, and a document of the lines that can
/// be read. The other lines are in Bytes() and Lines(), but no lookup finds them.
class IniText {
  public:
    /// @throws Failure for UTF-16 text, and for NUL bytes, at which the library would cut lines
    explicit IniText(IniSource source);

    const IniSource &Source() const { return source_; }
    const std::string &Bytes() const { return source_.Bytes(); }
    const StoredLines &Stored() const { return stored_; }
    const std::vector<StoredLine> &Lines() const { return stored_.lines; }
    const std::vector<LineParts> &Parts() const { return parts_; }
    /// Where each line is in the bytes.
    const std::vector<Range> &Ranges() const { return ranges_; }
    std::string_view BytesOf(std::size_t line) const;
    /// The lines of the file that a stored line consists of, without a byte-order mark.
    std::vector<std::string_view> LinesOf(std::size_t line) const;
    const IniDocument &Document() const { return document_; }

    std::vector<std::string> Sections() const { return document_.Sections(); }
    /// @throws Failure for a section that is not there
    std::vector<std::string> Keys(const std::string &section) const;
    /// @throws Failure for a section or key that is not there
    std::optional<std::string> Value(const std::string &section, const std::string &key) const;

    /// Refuses a file with a line that cannot be read, or a byte-order mark.
    /// @throws Failure that names the first such line
    void RequireReadable() const;

    /// The failure of a lookup whose status says that the key or the section is missing. Its hint
    /// guesses what was meant.
    Failure NotFound(QAL_UINT32 status, const std::string &section, const std::string &key) const;

  private:
    IniSource source_;
    StoredLines stored_;
    std::vector<LineParts> parts_;
    std::vector<Range> ranges_;
    IniDocument document_;
};

} // namespace wyx::tool

#endif
