// Changing the text of a file, in memory: bytes in, bytes out.
//
// The library decides which lines to change or delete: it does so in a trial document, and the
// lines that differ are replaced or removed in the text, with the indented lines that continue
// them. The new text is read back before it is returned: a key that is set must have the new value,
// and every other line must read as before.
#ifndef WYX_TOOL_INI_EDIT_H
#define WYX_TOOL_INI_EDIT_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "ini/document.h"
#include "system/exit_code.h"

namespace wyx::tool {

/// The failure of a change that is refused.
Failure Refusal(const std::string &what, const std::string &hint = {});

struct Edit {
    enum class Kind { kSet, kDeleteKey, kDeleteSection };

    Kind kind = Kind::kSet;
    std::string section{};
    std::string key{};   // not for kDeleteSection
    std::string value{}; // for kSet; empty: the key gets no value
};

struct EditEffect {
    bool isChanged = false;
    std::size_t deletedLines = 0; // lines of the file
};

struct EditResult {
    std::string bytes;               // the whole new text; the old one if nothing changed
    std::vector<EditEffect> effects; // one for each edit
    std::vector<std::string> warnings;
};

/// Refuses names and values for reasons that do not depend on the file, such as a line end in a
/// value.
/// @throws Failure
void RequireWritable(const Edit &edit);

/// Applies edits that RequireWritable() accepts to the text of a file, one after the other.
/// @param keepsExisting  skip edits of keys that exist
/// @throws Failure for an edit that cannot be made, or would not read back as requested
EditResult ApplyEdits(std::unique_ptr<const IniText> text, const std::vector<Edit> &edits,
                      bool keepsExisting);

} // namespace wyx::tool

#endif
