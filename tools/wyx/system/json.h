// JSON output. Texts of files are bytes without a known encoding, JSON is UTF-8: a text that is not
// valid UTF-8 is shown with replacement characters, and exactly in a second member of hexadecimal
// digits, "value" and "value_hex".
#ifndef WYX_TOOL_JSON_H
#define WYX_TOOL_JSON_H

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace wyx::tool {

using Json = nlohmann::ordered_json;

/// Sets a member to a text.
void SetText(Json &object, const std::string &member, std::string_view text);

/// Sets a member to an array of texts; its second form, if one is needed, shows all of them.
void SetTexts(Json &object, const std::string &member, const std::vector<std::string> &texts);

/// Writes a document to standard output.
void PutJson(const Json &document);

/// Lower-case hexadecimal digits of bytes.
std::string Hex(std::string_view bytes);

} // namespace wyx::tool

#endif
