// wyx ini sections, keys, get, list: looking into a file without changing it.
#include <unistd.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "ini/document.h"
#include "ini/recovery.h"
#include "ini/text.h"
#include "system/json.h"
#include "system/terminal.h"
#include "verbs/operand.h"
#include "verbs/verbs.h"

namespace wyx::tool {

namespace {

constexpr int kKindWidth = 9; // of the longest name of a kind, and two blanks

struct Options {
    Operand file;
    Operand section;
    Operand key;
    bool isJson = false;
};

/// Adds what all of these verbs take.
std::shared_ptr<Options> AddFile(CLI::App &verb)
{
    auto options = std::make_shared<Options>();
    verb.add_option("FILE", options->file, "the file; '-' is standard input")
        ->required()
        ->type_name("");
    verb.add_flag("--json", options->isJson, "write JSON");
    return options;
}

void AddSection(CLI::App &verb, Options &options)
{
    verb.add_option("SECTION", options.section, "the section's name, without brackets")
        ->required()
        ->type_name("");
}

bool Exists(const std::string &name)
{
    return access(name.c_str(), F_OK) == 0;
}

/// Reads the file, with a hint for those who named the file last or whose save was interrupted.
IniSource ReadSource(const Options &options)
{
    const std::string &file = options.file.text;
    try {
        return IniSource(file);
    } catch (const Failure &failure) {
        if (Exists(file) || file == "-") {
            throw;
        }
        const std::string &last =
            options.key.text.empty() ? options.section.text : options.key.text;
        if (!last.empty() && Exists(last)) {
            throw Failure(failure.Code(), failure.what(), "the file comes first");
        }
        throw Failure(failure.Code(), failure.what(), RecoveryHint(file));
    }
}

ExitCode PutNames(const std::vector<std::string> &names, const char *member, Json document,
                  bool isJson)
{
    if (isJson) {
        SetTexts(document, member, names);
        PutJson(document);
    } else {
        for (const std::string &name : names) {
            Put(name + "\n");
        }
    }
    return names.empty() ? ExitCode::kNo : ExitCode::kOk;
}

ExitCode RunSections(const Options &options)
{
    const IniSource source = ReadSource(options);
    RequireText(source);
    const IniDocument document(source);
    Json json;
    SetText(json, "file", options.file.text);
    return PutNames(document.Sections(source), "sections", std::move(json), options.isJson);
}

ExitCode RunKeys(const Options &options)
{
    const IniSource source = ReadSource(options);
    RequireText(source);
    const IniDocument document(source);
    Json json;
    SetText(json, "file", options.file.text);
    SetText(json, "section", options.section.text);
    return PutNames(document.Keys(source, options.section.text), "keys", std::move(json),
                    options.isJson);
}

ExitCode RunGet(const Options &options)
{
    const IniSource source = ReadSource(options);
    RequireText(source);
    const IniDocument document(source);
    const std::string &section = options.section.text;
    const std::string &key = options.key.text;
    const Lookup found = document.Find(section, key);
    switch (found.status) {
        case XELP_ERR_INI_OK:
            break;
        case XELP_ERR_INI_FILE_EMPTY:
            throw NotFound(document, source, XELP_ERR_INI_SECTION_NOT_FOUND, section, key);
        case XELP_ERR_INI_SECTION_NOT_FOUND:
        case XELP_ERR_INI_KEY_NOT_FOUND:
            throw NotFound(document, source, found.status, section, key);
        default:
            throw LineFailure(source, found.status);
    }
    if (options.isJson) {
        Json json;
        SetText(json, "file", options.file.text);
        SetText(json, "section", section);
        SetText(json, "key", key);
        json["value"] = nullptr;
        if (found.value) {
            SetText(json, "value", *found.value);
        }
        PutJson(json);
    } else {
        Put(found.value.value_or("") + "\n");
    }
    return ExitCode::kOk;
}

Json ListItem(const StoredLine &line)
{
    Json item;
    item["line"] = line.first;
    item["lines"] = line.count;
    if (line.isTooLong) {
        item["kind"] = "error";
        item["code"] = static_cast<QAL_UINT32>(XELP_ERR_INI_LINE_TOO_LONG);
        return item;
    }
    const LineParts parts = ParseLine(line.text);
    item["kind"] = KindName(parts.kind);
    SetText(item, "text", line.text);
    if (parts.status != XELP_ERR_INI_OK) {
        item["code"] = parts.status;
    } else if (parts.kind == INI_SECTION_LINE || parts.kind == INI_KEYVALUE_LINE) {
        SetText(item, "name", parts.name);
        if (parts.kind == INI_KEYVALUE_LINE) {
            item["value"] = nullptr;
            if (parts.value) {
                SetText(item, "value", *parts.value);
            }
        }
        if (parts.comment) {
            SetText(item, "comment", *parts.comment);
        }
    }
    return item;
}

std::string ListRow(const StoredLine &line, int numberWidth)
{
    std::string number = std::to_string(line.first);
    number.insert(0, static_cast<std::size_t>(numberWidth) - number.size(), ' ');
    const LineParts parts = line.isTooLong ? LineParts{} : ParseLine(line.text);
    const bool isError = line.isTooLong || parts.status != XELP_ERR_INI_OK;
    std::string kind = isError ? "error" : KindName(parts.kind);
    const std::size_t padding = kKindWidth - kind.size();
    const std::string text = line.isTooLong ? LineStatusText(XELP_ERR_INI_LINE_TOO_LONG)
                                            : Shown(WithoutLineEnd(line.text));
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

ExitCode RunList(const Options &options)
{
    const IniSource source = ReadSource(options);
    const StoredLines stored = ReadStoredLines(source);
    const bool isWhole = stored.IsLoadable();
    if (options.isJson) {
        Json json;
        SetText(json, "file", options.file.text);
        json["lines"] = Json::array();
        for (const StoredLine &line : stored.lines) {
            json["lines"].push_back(ListItem(line));
        }
        PutJson(json);
    } else {
        const std::size_t last = stored.lines.empty() ? 1 : stored.lines.back().first;
        const int width = static_cast<int>(std::to_string(last).size());
        for (const StoredLine &line : stored.lines) {
            Put(ListRow(line, width));
        }
    }
    if (source.Bytes().find('\0') != std::string::npos) {
        PutWarning(source.Name() + " holds NUL bytes: what follows one on its line is not read");
    }
    return isWhole ? ExitCode::kOk : ExitCode::kMalformed;
}

} // namespace

void AddIniSections(CLI::App &ini, Action &chosen)
{
    CLI::App *const verb = ini.add_subcommand("sections", "The names of all sections");
    const auto options = AddFile(*verb);
    verb->footer(
        "A section that stands in the file more than once is named as often.\n"
        "\n"
        "Examples:\n"
        "  wyx ini sections net.ini\n"
        "  wyx ini sections net.ini | sort -f | uniq -di    sections with more than one block");
    verb->callback([options, &chosen] { chosen = [options] { return RunSections(*options); }; });
}

void AddIniKeys(CLI::App &ini, Action &chosen)
{
    CLI::App *const verb =
        ini.add_subcommand("keys", "The names of the keys in a section (in its last block)");
    const auto options = AddFile(*verb);
    AddSection(*verb, *options);
    verb->footer(
        "Example:\n"
        "  wyx ini keys net.ini net");
    verb->callback([options, &chosen] { chosen = [options] { return RunKeys(*options); }; });
}

void AddIniGet(CLI::App &ini, Action &chosen)
{
    CLI::App *const verb = ini.add_subcommand("get", "The value of a key");
    const auto options = AddFile(*verb);
    AddSection(*verb, *options);
    verb->add_option("KEY", options->key, "the key's name")->required()->type_name("");
    verb->footer(
        "Writes the value as it stands in the file, quotation marks included, and an empty line\n"
        "for a key without a value (null in JSON).\n"
        "\n"
        "Examples:\n"
        "  wyx ini get net.ini net port\n"
        "  port=$(wyx ini get net.ini net port) || port=5060");
    verb->callback([options, &chosen] { chosen = [options] { return RunGet(*options); }; });
}

void AddIniList(CLI::App &ini, Action &chosen)
{
    CLI::App *const verb = ini.add_subcommand("list", "Every stored line with its kind");
    const auto options = AddFile(*verb);
    verb->footer(
        "A stored line is one or more lines of the file, joined where a line ends in a backslash;\n"
        "its number is that of the first. The kinds are section, key, comment, blank and error.\n"
        "\n"
        "Examples:\n"
        "  wyx ini list net.ini\n"
        "  wyx ini list --json net.ini | jq '.lines[] | select(.kind == \"error\")'");
    verb->callback([options, &chosen] { chosen = [options] { return RunList(*options); }; });
}

} // namespace wyx::tool
