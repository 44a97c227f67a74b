// wyx ini sections, keys, get, list: looking into a file without changing it.
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ini/document.h"
#include "ini/recovery.h"
#include "ini/text.h"
#include "system/json.h"
#include "system/terminal.h"
#include "verbs/arguments.h"
#include "verbs/verbs.h"

namespace wyx::tool {

namespace {

constexpr const char *kAnyName = "'--format=lines' takes any name";
constexpr std::size_t kKindWidth = 9; // of the longest name of a kind, and two spaces

bool Exists(const std::string &name)
{
    return access(name.c_str(), F_OK) == 0;
}

/// Reads the file. If it is missing, the failure hints at a file that was named last, or at an
/// interrupted save.
IniSource ReadSource(const Arguments &arguments)
{
    const std::string &file = arguments[0];
    try {
        return IniSource(file);
    } catch (const Failure &failure) {
        if (Exists(file) || file == "-") {
            throw;
        }
        const std::string &last = arguments[arguments.Count() - 1];
        if (Exists(last)) {
            throw Failure(failure.Code(), failure.what(), "the file comes first");
        }
        throw Failure(failure.Code(), failure.what(), RecoveryHint(file));
    }
}

IniText ReadText(const Arguments &arguments)
{
    IniText text(ReadSource(arguments));
    if (arguments.Has("strict")) {
        text.RequireReadable();
    }
    return text;
}

struct KeyValue {
    std::string key;
    std::optional<std::string> value;
};

/// A section's keys, each once, in the order of their first lines.
std::vector<KeyValue> SectionOf(const IniText &text, const std::string &section)
{
    std::vector<KeyValue> all;
    for (const std::string &key : text.Keys(section)) {
        if (std::ranges::none_of(
                all, [&](const KeyValue &known) { return IsSameName(known.key, key); })) {
            all.push_back({key, text.Value(section, key)});
        }
    }
    return all;
}

/// "port=5060", for a shell to read, with quotation marks around a value that is not plain.
std::string ShellLine(const KeyValue &pair)
{
    static const std::string kDigits = "0123456789";
    static const std::string kNames =
        kDigits + "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
    if (pair.key.empty() || pair.key.find_first_not_of(kNames) != std::string::npos ||
        kDigits.find(pair.key.front()) != std::string::npos) {
        throw Failure(ExitCode::kMalformed,
                      "key " + Quoted(pair.key) + " cannot be the name of a shell variable",
                      kAnyName);
    }
    const std::string value = pair.value.value_or("");
    if (!value.empty() && value.find_first_not_of(kNames + "@%+=:,./-") == std::string::npos) {
        return pair.key + "=" + value + "\n";
    }
    std::string quoted;
    for (const char ch : value) {
        quoted += ch == '\'' ? "'\"'\"'" : std::string(1, ch);
    }
    return pair.key + "='" + quoted + "'\n";
}

ExitCode PutFormatted(const std::string &format, const std::string &section,
                      const std::vector<KeyValue> &pairs)
{
    Json json = Json::object();
    std::string text;
    for (const KeyValue &pair : pairs) {
        if (format == "json") {
            Json own;
            SetOptional(own, pair.key, pair.value);
            if (!json.Adopt(own)) {
                throw Failure(
                    ExitCode::kMalformed,
                    "key " + Quoted(pair.key) + " needs a JSON member that another key has already",
                    kAnyName);
            }
        } else if (format == "sh") {
            text += ShellLine(pair);
        } else {
            text += "[ " + section + " ] " + pair.key +
                    (pair.value ? " = " + *pair.value : std::string()) + "\n";
        }
    }
    format == "json" ? PutJson(json) : Put(text);
    return ExitCode::kOk;
}

ExitCode PutNames(const std::vector<std::string> &names, const char *member, Json json, bool isJson)
{
    if (isJson) {
        SetTexts(json, member, names);
        PutJson(json);
    } else {
        for (const std::string &name : names) {
            Put(name + "\n");
        }
    }
    return ExitCode::kOk;
}

Json ListItem(const StoredLine &line)
{
    Json item;
    item["line"] = line.first;
    item["lines"] = line.count;
    const LineParts parts = ParseLine(line);
    item["kind"] = KindName(parts);
    if (!line.isTooLong) {
        SetText(item, "text", line.text);
    }
    if (parts.IsUnreadable()) {
        item["code"] = parts.status;
    } else if (parts.kind == INI_SECTION_LINE || parts.kind == INI_KEYVALUE_LINE) {
        SetText(item, "name", parts.name);
        if (parts.kind == INI_KEYVALUE_LINE) {
            SetOptional(item, "value", parts.value);
        }
        if (parts.comment) {
            SetText(item, "comment", *parts.comment);
        }
    }
    return item;
}

std::string ListRow(const StoredLine &line, std::size_t numberWidth)
{
    std::string number = std::to_string(line.first);
    number.insert(0, numberWidth - number.size(), ' ');
    const LineParts parts = ParseLine(line);
    const bool isError = parts.IsUnreadable();
    std::string kind = KindName(parts);
    const std::size_t padding = kKindWidth - kind.size();
    const std::string text =
        line.isTooLong ? LineStatusText(parts.status) : Shown(WithoutLineEnd(line.text));
    if (isError) {
        kind = Painted(Stream::kOut, Colour::kError, kind);
    } else if (parts.kind == INI_SECTION_LINE) {
        kind = Painted(Stream::kOut, Colour::kName, kind);
    } else if (parts.kind != INI_KEYVALUE_LINE) {
        kind = Painted(Stream::kOut, Colour::kFaint, kind);
    }
    std::string row = number + "  " + kind;
    if (!text.empty()) {
        row += std::string(padding, ' ') + text;
    }
    return row + "\n";
}

} // namespace

ExitCode RunIniSections(const Arguments &arguments)
{
    const IniText text = ReadText(arguments);
    Json json;
    SetText(json, "file", arguments[0]);
    return PutNames(text.Sections(), "sections", std::move(json), arguments.Has("json"));
}

ExitCode RunIniKeys(const Arguments &arguments)
{
    const IniText text = ReadText(arguments);
    Json json;
    SetText(json, "file", arguments[0]);
    SetText(json, "section", arguments[1]);
    return PutNames(text.Keys(arguments[1]), "keys", std::move(json), arguments.Has("json"));
}

ExitCode RunIniGet(const Arguments &arguments)
{
    static constexpr std::string_view kFormats[] = {"sh", "lines", "json"};
    arguments.RequireAtMostOneOf({"format", "json"});
    const std::optional<std::string> format = arguments.Value("format");
    if (format && std::ranges::find(kFormats, *format) == std::end(kFormats)) {
        throw arguments.Misuse("no format " + Quoted(*format), "the formats are: sh, lines, json");
    }
    if (!format && arguments.Count() < 3) {
        throw arguments.Misuse("KEY is required", "'--format=lines' writes a whole section");
    }
    const IniText text = ReadText(arguments);
    const std::string &section = arguments[1];
    const std::string &key = arguments[2];
    if (arguments.Count() < 3) {
        arguments.RequireAtMostOneOf({"format", "default"});
        return PutFormatted(*format, section, SectionOf(text, section));
    }
    std::optional<std::string> value = arguments.Value("default");
    if (!value || text.Document().Find(section, key).status == XELP_ERR_INI_OK) {
        value = text.Value(section, key);
    }
    if (format) {
        return PutFormatted(*format, section, {{key, value}});
    }
    if (arguments.Has("json")) {
        Json json;
        SetText(json, "file", arguments[0]);
        SetText(json, "section", section);
        SetText(json, "key", key);
        SetOptional(json, "value", value);
        PutJson(json);
    } else {
        Put(value.value_or("") + "\n");
    }
    return ExitCode::kOk;
}

ExitCode RunIniList(const Arguments &arguments)
{
    const IniSource source = ReadSource(arguments);
    const StoredLines stored = ReadStoredLines(source);
    // A file is malformed if it does not load, or if it has lines and none of them can be read.
    const bool isUnreadable = std::ranges::all_of(
        stored.lines, [](const StoredLine &line) { return ParseLine(line).IsUnreadable(); });
    const bool isMalformed = !stored.IsLoadable() || (!stored.lines.empty() && isUnreadable);
    if (arguments.Has("json")) {
        Json json;
        SetText(json, "file", arguments[0]);
        json["lines"] = Json::array();
        for (const StoredLine &line : stored.lines) {
            json["lines"].push_back(ListItem(line));
        }
        PutJson(json);
    } else {
        const std::size_t last = stored.lines.empty() ? 1 : stored.lines.back().first;
        const std::size_t width = std::to_string(last).size();
        for (const StoredLine &line : stored.lines) {
            Put(ListRow(line, width));
        }
    }
    if (source.HasNul()) {
        PutWarning(source.Name() + " holds NUL bytes: what follows one on its line is not read");
    }
    return isMalformed ? ExitCode::kMalformed : ExitCode::kOk;
}

} // namespace wyx::tool
