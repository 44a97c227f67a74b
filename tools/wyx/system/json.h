// JSON output. JSON is UTF-8, but a text may be any bytes: what is not valid UTF-8 is written as
// replacement characters. SetText() and SetTexts() then add a second member with the exact bytes in
// hexadecimal, such as "value_hex" beside "value".
#ifndef WYX_TOOL_JSON_H
#define WYX_TOOL_JSON_H

#include <concepts>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "system/exit_code.h"

namespace wyx::tool {

/// A document that is only written: a scalar, an array, or an object that keeps the order in which
/// its members were set.
class Json {
  public:
    Json() = default;
    Json(std::nullptr_t) {}
    Json(std::same_as<bool> auto isTrue) : scalar_(isTrue ? "true" : "false") {}
    template <std::integral Number>
    requires(!std::same_as<Number, bool>) Json(Number number) : scalar_(std::to_string(number)) {}
    Json(std::string_view text);
    Json(const std::string &text) : Json(std::string_view(text)) {}
    Json(const char *text) : Json(std::string_view(text)) {}
    Json(const std::vector<std::string> &texts);

    static Json array();
    static Json object();

    /// A member of an object; a member that was not set before is null. A null document becomes an
    /// object.
    Json &operator[](std::string_view member);
    void push_back(Json item);
    /// Adds the members of another object.
    /// @return false if both objects have a member of the same name; nothing was added then
    bool Adopt(const Json &other);

    /// The document as text; its lines after the first are indented by @p indent or more.
    std::string Text(std::size_t indent = 0) const;

  private:
    std::string scalar_ = "null"; // empty for an array or object
    bool isArray_ = false;
    std::vector<std::string> names_; // of an object's members, as they are written
    std::vector<Json> values_;
};

/// Sets a member to a text.
void SetText(Json &object, const std::string &member, std::string_view text);

/// Sets a member to a text, or to null if there is none.
void SetOptional(Json &object, const std::string &member, const std::optional<std::string> &text);

/// Marks an input's item as failed, and says why.
void SetError(Json &item, const Failure &failure);

/// Sets a member to an array of texts; the second member, if one is needed, has all of them.
void SetTexts(Json &object, const std::string &member, const std::vector<std::string> &texts);

void PutJson(const Json &document);

/// What a verb finds out about several inputs, each of which may fail: with --json an item for
/// each, and the most serious exit code.
class Results {
  public:
    explicit Results(bool isJson) : isJson_(isJson) {}

    bool IsJson() const { return isJson_; }
    void Add(Json item);
    void Note(ExitCode code) { worst_ = Worse(worst_, code); }

    /// Does work that fills an item, and notes its exit code. Reports a failure, and sets it in
    /// the item.
    template <typename Work>
    void Try(Json &item, Work work)
    {
        try {
            Note(work());
        } catch (const Failure &failure) {
            Fail(item, failure);
        }
    }

    /// Writes the document, if there is one.
    /// @return the most serious exit code
    ExitCode Finish() const;

  private:
    void Fail(Json &item, const Failure &failure);

    bool isJson_;
    Json document_ = Json::array();
    ExitCode worst_ = ExitCode::kOk;
};

/// Lower-case hexadecimal digits of bytes.
std::string Hex(std::string_view bytes);

} // namespace wyx::tool

#endif
