#include "system/json.h"

#include <algorithm>
#include <cstdio>

#include "system/terminal.h"

namespace wyx::tool {

namespace {

constexpr std::size_t kIndent = 2;

/// Length of the UTF-8 character that a text begins with; 0 if it begins with none.
std::size_t CharacterLength(std::string_view text)
{
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned lead = byte(0);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC0 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF8 ? 4
                                             : 0;
    if (length < 2 || length > text.size()) {
        return length == 1 ? 1 : 0;
    }
    unsigned long code = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U) {
            return 0;
        }
        code = code << 6 | (byte(i) & 0x3FU);
    }
    static constexpr unsigned long kSmallest[] = {0x80, 0x800, 0x10000}; // of 2, 3 and 4 bytes
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < kSmallest[length - 2] || code > 0x10FFFF || isSurrogate ? 0 : length;
}

bool IsUtf8(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t length = CharacterLength(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

/// A text as a JSON string. A byte that belongs to no character becomes a replacement character.
std::string Literal(std::string_view text)
{
    std::string literal = "\"";
    while (!text.empty()) {
        const std::size_t length = CharacterLength(text);
        const char ch = text.front();
        if (length == 0) {
            literal += "\xEF\xBF\xBD";
        } else if (ch == '"' || ch == '\\') {
            literal += {'\\', ch};
        } else if (ch == '\n') {
            literal += "\\n";
        } else if (length == 1 && ch < ' ') {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(ch));
            literal += escape;
        } else {
            literal += text.substr(0, length);
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return literal + "\"";
}

} // namespace

Json::Json(std::string_view text) : scalar_(Literal(text)) {}

Json::Json(const std::vector<std::string> &texts) : Json(array())
{
    values_.assign(texts.begin(), texts.end());
}

Json Json::array()
{
    Json empty = object();
    empty.isArray_ = true;
    return empty;
}

Json Json::object()
{
    Json empty;
    empty.scalar_.clear();
    return empty;
}

Json &Json::operator[](std::string_view member)
{
    scalar_.clear();
    const std::string name = Literal(member);
    const auto known = std::ranges::find(names_, name);
    if (known != names_.end()) {
        return values_[static_cast<std::size_t>(known - names_.begin())];
    }
    names_.push_back(name);
    return values_.emplace_back();
}

bool Json::Adopt(const Json &other)
{
    if (std::ranges::find_first_of(names_, other.names_) != names_.end()) {
        return false;
    }
    names_.insert(names_.end(), other.names_.begin(), other.names_.end());
    values_.insert(values_.end(), other.values_.begin(), other.values_.end());
    return true;
}

void Json::push_back(Json item)
{
    values_.push_back(std::move(item));
}

std::string Json::Text(std::size_t indent) const
{
    if (!scalar_.empty()) {
        return scalar_;
    }
    std::string text = isArray_ ? "[" : "{";
    for (std::size_t i = 0; i < values_.size(); ++i) {
        text += (i == 0 ? "\n" : ",\n") + std::string(indent + kIndent, ' ') +
                (isArray_ ? "" : names_[i] + ": ") + values_[i].Text(indent + kIndent);
    }
    if (!values_.empty()) {
        text += "\n" + std::string(indent, ' ');
    }
    return text + (isArray_ ? "]" : "}");
}

void SetText(Json &object, const std::string &member, std::string_view text)
{
    object[member] = text;
    if (!IsUtf8(text)) {
        object[member + "_hex"] = Hex(text);
    }
}

void SetOptional(Json &object, const std::string &member, const std::optional<std::string> &text)
{
    object[member] = nullptr;
    if (text) {
        SetText(object, member, *text);
    }
}

void SetError(Json &item, const Failure &failure)
{
    item["ok"] = false;
    SetText(item, "error", failure.what());
}

void SetTexts(Json &object, const std::string &member, const std::vector<std::string> &texts)
{
    object[member] = texts;
    if (!std::ranges::all_of(texts, IsUtf8)) {
        std::vector<std::string> hex(texts.size());
        std::ranges::transform(texts, hex.begin(), Hex);
        object[member + "_hex"] = hex;
    }
}

void PutJson(const Json &document)
{
    Put(document.Text() + "\n");
}

void Results::Add(Json item)
{
    if (isJson_) {
        document_.push_back(std::move(item));
    }
}

void Results::Fail(Json &item, const Failure &failure)
{
    Report(failure);
    SetError(item, failure);
    Note(failure.Code());
}

ExitCode Results::Finish() const
{
    if (isJson_) {
        PutJson(document_);
    }
    return worst_;
}

std::string Hex(std::string_view bytes)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(bytes.size() * 2);
    for (const char ch : bytes) {
        const auto byte = static_cast<unsigned char>(ch);
        hex += kDigits[byte >> 4];
        hex += kDigits[byte & 15];
    }
    return hex;
}

} // namespace wyx::tool
