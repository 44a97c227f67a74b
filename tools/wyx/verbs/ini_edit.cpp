// wyx ini set, del, merge: changing a file.
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "ini/document.h"
#include "ini/edit.h"
#include "ini/recovery.h"
#include "ini/text.h"
#include "system/file_replace.h"
#include "system/json.h"
#include "system/terminal.h"
#include "system/unified_diff.h"
#include "verbs/arguments.h"
#include "verbs/verbs.h"

namespace wyx::tool {

namespace {

constexpr std::size_t kLongestWait = 86400; // a day

/// Blanks around a section's name do not count.
bool IsSameKey(const Edit &left, const Edit &right)
{
    return IsSameName(std::string(Trimmed(left.section)), std::string(Trimmed(right.section))) &&
           IsSameName(left.key, right.key);
}

/// Adds the edit for a key, which must not be set twice.
void AddSetting(std::vector<Edit> &edits, Edit edit)
{
    RequireWritable(edit);
    if (std::ranges::any_of(edits, [&](const Edit &other) { return IsSameKey(other, edit); })) {
        throw Refusal("key " + Quoted(edit.key) + " is set more than once");
    }
    edits.push_back(std::move(edit));
}

/// "SECTION.KEY=VALUE", as opposed to a section's name
bool IsDotted(const std::string &word)
{
    return word.find('.') < word.find('=') && word.find('=') != std::string::npos;
}

std::vector<Edit> ParseDotted(Words words)
{
    std::vector<Edit> edits;
    for (const std::string &word : words) {
        const std::size_t equals = word.find('=');
        const std::size_t dot = word.rfind('.', equals);
        if (equals == std::string::npos || dot == std::string::npos) {
            throw Refusal(Quoted(word) + " is not SECTION.KEY=VALUE");
        }
        AddSetting(edits, {Edit::Kind::kSet, word.substr(0, dot),
                           word.substr(dot + 1, equals - dot - 1), word.substr(equals + 1)});
    }
    return edits;
}

std::vector<Edit> ParseSettings(const std::string &section, Words words)
{
    std::vector<Edit> edits;
    for (const std::string &word : words) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos) {
            const bool isSplit = std::ranges::any_of(
                words, [](const std::string &other) { return other.starts_with('='); });
            throw Refusal(
                Quoted(word) + " is not KEY=VALUE",
                isSplit ? "write KEY=VALUE without blanks beside the '='"
                : edits.empty()
                    ? "an empty value is set by " + Quoted(word + "=")
                    : "a value with blanks goes in quotation marks of the shell: " +
                          Quoted(edits.back().key + "=" + edits.back().value + " " + word));
        }
        AddSetting(edits,
                   {Edit::Kind::kSet, section, word.substr(0, equals), word.substr(equals + 1)});
    }
    return edits;
}

/// An edit for each key of a file; if the file has a key more than once, its last line counts.
std::vector<Edit> EditsOf(const IniText &other)
{
    other.RequireReadable();
    std::vector<Edit> edits;
    std::string section;
    for (std::size_t i = 0; i < other.Parts().size(); ++i) {
        const LineParts &parts = other.Parts()[i];
        if (parts.kind == INI_SECTION_LINE) {
            section = parts.name;
        } else if (parts.kind == INI_KEYVALUE_LINE) {
            if (section.empty()) {
                throw Refusal(other.Source().Name() + ":" + std::to_string(other.Lines()[i].first) +
                              ": " + LineStatusText(XELP_ERR_INI_FILE_FORMAT));
            }
            const Edit edit{Edit::Kind::kSet, section, parts.name, parts.value.value_or("")};
            std::erase_if(edits, [&](const Edit &known) { return IsSameKey(known, edit); });
            AddSetting(edits, edit);
        }
    }
    return edits;
}

std::chrono::milliseconds WaitOf(const Arguments &arguments)
{
    const std::optional<std::size_t> seconds = arguments.Number("wait");
    return seconds ? std::chrono::seconds(std::min(*seconds, kLongestWait)) : kUsualWait;
}

/// Applies edits as the options say.
EditResult EditBytes(const Arguments &arguments, const std::string &bytes,
                     const std::vector<Edit> &edits)
{
    const std::string name = arguments[0] == "-" ? "(standard input)" : arguments[0];
    auto text = std::make_unique<const IniText>(IniSource::OfBytes(name, bytes));
    if (arguments.Has("strict")) {
        text->RequireReadable();
    }
    if (arguments.Has("existing")) {
        for (const Edit &edit : edits) {
            text->Value(edit.section, edit.key); // throws if the key is missing
        }
    }
    EditResult result = ApplyEdits(std::move(text), edits, arguments.Has("if-missing"));
    for (const std::string &warning : result.warnings) {
        PutWarning(warning);
    }
    return result;
}

struct Outcome {
    std::vector<EditEffect> effects;
    std::string diff; // of a dry run
};

/// Edits the text on standard input.
Outcome Filter(const Arguments &arguments, const std::vector<Edit> &edits)
{
    if (arguments.Has("json")) {
        throw arguments.Misuse("--json and '-' both write to standard output");
    }
    EditResult result = EditBytes(arguments, ReadWhole(FileInput("-"), kLargestFile), edits);
    Put(result.bytes);
    return {std::move(result.effects), {}};
}

Outcome DryRun(const Arguments &arguments, const std::vector<Edit> &edits)
{
    const std::string &name = arguments[0];
    const bool isNew = arguments.Has("create") && name != "-" && access(name.c_str(), F_OK) != 0;
    const std::string bytes = isNew ? "" : ReadWhole(FileInput(name), kLargestFile);
    EditResult result = EditBytes(arguments, bytes, edits);
    return {std::move(result.effects), UnifiedDiff(name, bytes, result.bytes)};
}

Outcome EditFile(const Arguments &arguments, const std::vector<Edit> &edits)
{
    const std::string &name = arguments[0];
    const auto missingHint = [&] {
        const std::string recovery = RecoveryHint(name);
        return recovery.empty() ? "'wyx ini set --create' makes a new file" : recovery;
    };
    const Target target(name, {.limit = kLargestFile,
                               .mayBeMissing = arguments.Has("create"),
                               .missingHint = missingHint,
                               .wait = WaitOf(arguments),
                               .lockedHint = "--wait SECONDS waits longer"});
    EditResult result = EditBytes(arguments, target.Bytes(), edits);
    const bool isNew = !target.Exists();
    if (!isNew && result.bytes == target.Bytes()) {
        // nothing to write
    } else if (!isNew && arguments.Has("in-place")) {
        WriteInPlace(target, result.bytes);
    } else {
        if (!isNew && target.Status().st_nlink > 1) {
            PutWarning(Shown(name) +
                       " has other names (hard links), which keep the old content; --in-place "
                       "changes all of them");
        }
        Replace(target, result.bytes);
    }
    return {std::move(result.effects), {}};
}

/// Edits what FILE names, as the options say, and shows what a dry run found.
Outcome Run(const Arguments &arguments, const std::vector<Edit> &edits)
{
    Outcome outcome = arguments.Has("dry-run") ? DryRun(arguments, edits)
                      : arguments[0] == "-"    ? Filter(arguments, edits)
                                               : EditFile(arguments, edits);
    if (!arguments.Has("json")) {
        Put(outcome.diff);
    }
    return outcome;
}

Json ResultOf(const Arguments &arguments, const Outcome &outcome)
{
    Json document;
    SetText(document, "file", arguments[0]);
    document["changed"] = std::ranges::any_of(outcome.effects, &EditEffect::isChanged);
    if (arguments.Has("dry-run")) {
        SetText(document, "diff", outcome.diff);
    }
    return document;
}

/// Sets keys, for set and merge.
ExitCode RunSettings(const Arguments &arguments, const std::vector<Edit> &edits)
{
    const Outcome outcome = Run(arguments, edits);
    if (arguments.Has("json")) {
        Json list = Json::array();
        for (std::size_t i = 0; i < edits.size(); ++i) {
            Json item;
            SetText(item, "section", edits[i].section);
            SetText(item, "key", edits[i].key);
            SetText(item, "value", edits[i].value);
            item["changed"] = outcome.effects[i].isChanged;
            list.push_back(std::move(item));
        }
        Json document = ResultOf(arguments, outcome);
        document["settings"] = list;
        PutJson(document);
    }
    return ExitCode::kOk;
}

} // namespace

ExitCode RunIniSet(const Arguments &arguments)
{
    arguments.RequireAtMostOneOf({"existing", "if-missing"});
    if (IsDotted(arguments[1])) {
        return RunSettings(arguments, ParseDotted(arguments.From(1)));
    }
    if (arguments.Count() < 3) {
        throw arguments.Misuse("KEY=VALUE is required");
    }
    return RunSettings(arguments, ParseSettings(arguments[1], arguments.From(2)));
}

ExitCode RunIniMerge(const Arguments &arguments)
{
    arguments.RequireAtMostOneOf({"existing", "if-missing"});
    if (arguments[0] == "-") {
        throw arguments.Misuse("FILE cannot be '-': standard input is what is merged into it");
    }
    return RunSettings(arguments, EditsOf(IniText(IniSource("-"))));
}

ExitCode RunIniDel(const Arguments &arguments)
{
    const Edit edit{arguments.Count() > 2 ? Edit::Kind::kDeleteKey : Edit::Kind::kDeleteSection,
                    arguments[1], arguments[2]};
    RequireWritable(edit);
    const Outcome outcome = Run(arguments, {edit});
    if (arguments.Has("json")) {
        Json document = ResultOf(arguments, outcome);
        SetText(document, "section", edit.section);
        document["deleted_lines"] = outcome.effects.front().deletedLines;
        PutJson(document);
    }
    return ExitCode::kOk;
}

} // namespace wyx::tool
