// wyx ini set, del: changing a file.
#include <algorithm>
#include <cmath>
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
#include "verbs/arguments.h"
#include "verbs/verbs.h"

namespace wyx::tool {

namespace {

constexpr std::size_t kLongestWait = 86400; // a day

Failure Refusal(const std::string &what, const std::string &hint = {})
{
    return {ExitCode::kUsage, what + "; nothing was changed", hint};
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
        Edit edit{Edit::Kind::kSet, section, word.substr(0, equals), word.substr(equals + 1)};
        RequireWritable(edit);
        if (std::ranges::any_of(
                edits, [&](const Edit &other) { return IsSameName(other.key, edit.key); })) {
            throw Refusal("key " + Quoted(edit.key) + " is set more than once");
        }
        edits.push_back(std::move(edit));
    }
    return edits;
}

std::chrono::milliseconds WaitOf(const Arguments &arguments)
{
    const std::optional<std::size_t> seconds = arguments.Number("wait");
    return seconds ? std::chrono::seconds(std::min(*seconds, kLongestWait)) : kUsualWait;
}

/// Edits a file, and says what became of each edit.
std::vector<EditEffect> EditFile(const Arguments &arguments, const std::vector<Edit> &edits)
{
    const std::string &name = arguments[0];
    const Target target(name, {.limit = kLargestFile,
                               .mayBeMissing = arguments.Has("create"),
                               .missingHint =
                                   [&] {
                                       const std::string recovery = RecoveryHint(name);
                                       return recovery.empty()
                                                  ? "'wyx ini set --create' makes a new file"
                                                  : recovery;
                                   },
                               .wait = WaitOf(arguments)});
    if (arguments.Has("strict")) {
        IniText(IniSource::OfBytes(name, target.Bytes())).RequireReadable();
    }
    const EditResult result = ApplyEdits(name, target.Bytes(), edits);
    for (const std::string &warning : result.warnings) {
        PutWarning(warning);
    }
    const bool isNew = !target.Exists();
    if (!isNew && result.bytes == target.Bytes()) {
        return result.effects;
    }
    if (arguments.Has("in-place") && !isNew) {
        WriteInPlace(target, result.bytes);
        return result.effects;
    }
    if (!isNew && target.Status().st_nlink > 1) {
        PutWarning(Shown(name) +
                   " has other names (hard links), which keep the old content; --in-place changes "
                   "all of them");
    }
    Replace(target, result.bytes);
    return result.effects;
}

Json ResultOf(const Arguments &arguments, bool isChanged)
{
    Json document;
    SetText(document, "file", arguments[0]);
    SetText(document, "section", arguments[1]);
    document["changed"] = isChanged;
    return document;
}

} // namespace

ExitCode RunIniSet(const Arguments &arguments)
{
    const std::vector<Edit> edits = ParseSettings(arguments[1], arguments.From(2));
    const std::vector<EditEffect> effects = EditFile(arguments, edits);
    if (arguments.Has("json")) {
        Json list = Json::array();
        for (std::size_t i = 0; i < edits.size(); ++i) {
            Json item;
            SetText(item, "key", edits[i].key);
            SetText(item, "value", edits[i].value);
            item["changed"] = effects[i].isChanged;
            list.push_back(std::move(item));
        }
        Json document = ResultOf(arguments, std::ranges::any_of(effects, &EditEffect::isChanged));
        document["settings"] = list;
        PutJson(document);
    }
    return ExitCode::kOk;
}

ExitCode RunIniDel(const Arguments &arguments)
{
    const Edit edit{arguments.Count() > 2 ? Edit::Kind::kDeleteKey : Edit::Kind::kDeleteSection,
                    arguments[1], arguments[2]};
    RequireWritable(edit);
    const std::vector<EditEffect> effects = EditFile(arguments, {edit});
    if (arguments.Has("json")) {
        Json document = ResultOf(arguments, true);
        document["deleted_lines"] = effects.front().deletedLines;
        PutJson(document);
    }
    return ExitCode::kOk;
}

} // namespace wyx::tool
