#include "system/json.h"

#include <algorithm>

#include "system/terminal.h"

namespace wyx::tool {

namespace {

bool IsUtf8(std::string_view text)
{
    try {
        static_cast<void>(Json(text).dump());
    } catch (const Json::type_error &) {
        return false;
    }
    return true;
}

} // namespace

void SetText(Json &object, const std::string &member, std::string_view text)
{
    object[member] = text;
    if (!IsUtf8(text)) {
        object[member + "_hex"] = Hex(text);
    }
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
    Put(document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
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
