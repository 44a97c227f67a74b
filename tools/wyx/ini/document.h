// A document of the library, and what to say when it refuses one.
#ifndef WYX_TOOL_INI_DOCUMENT_H
#define WYX_TOOL_INI_DOCUMENT_H

#include <optional>
#include <string>
#include <vector>

#include "ini/text.h"
#include "system/exit_code.h"
#include "wyx_commlib/ini_parser.h"

namespace wyx::tool {

/// What a lookup gave: the library's status, and the value of a key that has one.
struct Lookup {
    QAL_UINT32 status = XELP_ERR_INI_OK;
    std::optional<std::string> value;
    bool operator==(const Lookup &) const = default;
};

/// A loaded document, released in the end.
class IniDocument {
  public:
    /// @throws Failure that names the line at which the file does not load
    explicit IniDocument(const IniSource &source);
    ~IniDocument();
    IniDocument(const IniDocument &) = delete;
    IniDocument &operator=(const IniDocument &) = delete;

    XELP_IN_S_INI_FILE_STRUCT *Record() { return &record_; }
    const XELP_IN_S_INI_FILE_STRUCT *Record() const { return &record_; }

    /// The stored lines, without the slots of removed ones.
    std::vector<std::string> Lines() const;
    /// The slots of Lines().
    std::vector<QAL_UINT32> Slots() const;

    /// The names of all sections, none if there are none.
    /// @throws Failure
    std::vector<std::string> Sections(const IniSource &source) const;
    /// The names of the keys in the last block of a section, none if there are none.
    /// @throws Failure
    std::vector<std::string> Keys(const IniSource &source, const std::string &section) const;

    /// Looks up a key.
    Lookup Find(const std::string &section, const std::string &key) const;

    /// Saves and releases the document.
    /// @return the library's status
    QAL_UINT32 Save(const std::string &path);

  private:
    XELP_IN_S_INI_FILE_STRUCT record_ = {};
};

/// Refuses what is no configuration at all: binary files, and text the library would cut at a NUL.
/// @throws Failure
void RequireText(const IniSource &source);

/// For a call on a document that failed at one of its lines: says which and why.
Failure LineFailure(const IniSource &source, QAL_UINT32 status);

/// For a section or key that is not there: says so, and what might have been meant.
Failure NotFound(const IniDocument &document, const IniSource &source, QAL_UINT32 status,
                 const std::string &section, const std::string &key);

} // namespace wyx::tool

#endif
