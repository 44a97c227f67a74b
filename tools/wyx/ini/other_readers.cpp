#include "ini/other_readers.h"

#include <algorithm>
#include <cctype>

namespace wyx::tool {

namespace {

std::size_t IndentOf(std::string_view line)
{
    return std::min(line.find_first_not_of(kBlanks), line.size());
}

bool IsBlankOrComment(std::string_view line)
{
    const std::string_view text = Trimmed(line);
    return text.empty() || text.front() == ';' || text.front() == '#';
}

bool IsUsualInKeys(char ch)
{
    const auto byte = static_cast<unsigned char>(ch);
    return std::isalnum(byte) != 0 || byte >= 0x80 || ch == '_';
}

/// The key of a line for a reader that also accepts "key : value" and bare keys.
std::string KeyOf(std::string_view line)
{
    return std::string(Trimmed(line.substr(0, line.find_first_of("=:"))));
}

std::string SectionOf(std::string_view line)
{
    const std::string_view text = Trimmed(line);
    return std::string(Trimmed(text.substr(1, text.find(']') - 1)));
}

/// Calls @p found with each line that other programs may read as a line of its own, until it
/// returns true.
template <typename Found>
std::optional<std::size_t> FindLine(const IniText &text, const Owners &owners, Range lines,
                                    Found found)
{
    for (std::size_t i = lines.begin; i < lines.end; ++i) {
        const std::vector<std::string_view> joined = text.LinesOf(i);
        for (std::size_t j = 0; j < joined.size(); ++j) {
            const bool isOwn = j == 0 || MayBeOwnLine(text, owners, i, j);
            if (isOwn && !IsBlankOrComment(joined[j]) && found(joined[j], i, j == 0)) {
                return text.Lines()[i].first + j;
            }
        }
    }
    return std::nullopt;
}

} // namespace

Owners OwnersOf(const IniText &text)
{
    Owners owners(text.Lines().size());
    std::optional<std::size_t> owner;
    std::size_t ownerIndent = 0;
    // Blank lines and indented comments since the last line of another kind.
    std::vector<std::size_t> pauses;
    for (std::size_t i = 0; i < owners.size(); ++i) {
        const LineParts &parts = text.Parts()[i];
        const bool isSection = parts.kind == INI_SECTION_LINE;
        const std::string_view line = text.BytesOf(i);
        const std::size_t indent = IndentOf(line);
        if (!isSection && parts.kind != INI_KEYVALUE_LINE && !parts.IsUnreadable()) {
            if (indent > ownerIndent || Trimmed(line).empty()) {
                pauses.push_back(i);
            }
            continue;
        }
        if (owner && indent > ownerIndent) {
            owners[i] = owner;
            for (const std::size_t pause : pauses) {
                owners[pause] = owner;
            }
        } else {
            owner = i;
            ownerIndent = indent;
        }
        for (const std::string_view joined : text.LinesOf(i)) {
            if (LooksLikeKey(joined) || LooksLikeHeader(joined)) {
                ownerIndent = std::min(ownerIndent, IndentOf(joined));
            }
        }
        pauses.clear();
        if (isSection && !owners[i]) {
            owner = std::nullopt;
        }
    }
    return owners;
}

bool MayBeOwnLine(const IniText &text, const Owners &owners, std::size_t line, std::size_t joined)
{
    const std::size_t owner = owners[line].value_or(line);
    const LineParts &parts = text.Parts()[owner];
    const bool hasValue = parts.kind == INI_KEYVALUE_LINE || parts.IsUnreadable();
    return !hasValue || IndentOf(text.LinesOf(line)[joined]) <= IndentOf(text.BytesOf(owner));
}

bool LooksLikeKey(std::string_view line)
{
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos || line.substr(equals + 1).starts_with('=')) {
        return false;
    }
    const std::string_view name = Trimmed(line.substr(0, equals));
    return !name.empty() && IsUsualInKeys(name.front()) && std::ranges::all_of(name, [](char ch) {
        return IsUsualInKeys(ch) || std::string_view(" -./").find(ch) != std::string_view::npos;
    });
}

bool IsOnlyText(std::string_view line)
{
    const std::string_view text = Trimmed(line);
    const bool isKey = std::ranges::all_of(
        text, [](char ch) { return IsUsualInKeys(ch) || ch == '-' || ch == '.'; });
    return !isKey && std::string_view("#;![").find(text.front()) == std::string_view::npos &&
           text.find_first_of("=:") == std::string_view::npos;
}

bool LooksLikeHeader(std::string_view line)
{
    const std::string_view text = Trimmed(line);
    return text.starts_with('[') && text.find(']') != std::string_view::npos;
}

Range BlockOf(const IniText &text, const std::string &section)
{
    Range block;
    bool isInside = false;
    for (std::size_t i = 0; i < text.Lines().size(); ++i) {
        if (text.Parts()[i].kind == INI_SECTION_LINE) {
            isInside = IsSameName(text.Parts()[i].name, section);
            block.begin = isInside ? i + 1 : block.begin;
        }
        block.end = isInside ? i + 1 : block.end;
    }
    return block;
}

std::optional<std::size_t> LineOfOthersKey(const IniText &text, Range lines, const std::string &key)
{
    const Owners owners = OwnersOf(text);
    return FindLine(text, owners, lines, [&](std::string_view line, std::size_t i, bool isFirst) {
        if (owners[i]) {
            return false; // those programs read it as part of a value
        }
        const LineParts &parts = text.Parts()[i];
        const bool isKnown = isFirst && !parts.IsUnreadable() && IsSameName(parts.name, key);
        return !isKnown && IsSameName(KeyOf(line), key);
    });
}

std::optional<std::size_t> LineOfOthersSection(const IniText &text, const std::string &section)
{
    return FindLine(text, OwnersOf(text), {0, text.Lines().size()},
                    [&](std::string_view line, std::size_t i, bool isFirst) {
                        const bool isKnown = isFirst && !text.Parts()[i].IsUnreadable();
                        return !isKnown && LooksLikeHeader(line) &&
                               IsSameName(SectionOf(line), section);
                    });
}

} // namespace wyx::tool
