// wyx ini roundtrip: what the library makes of real files.
//
// Each file is copied, and the copy goes the road of every client: load, check, look up every
// value, change a key, save, load again, compare. Unlike "set", nothing protects the copy from what
// a save of the library does, since that is what there is to see.
#include <fcntl.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ini/document.h"
#include "ini/rehearsal.h"
#include "ini/text.h"
#include "system/file_input.h"
#include "system/json.h"
#include "system/temp_directory.h"
#include "system/terminal.h"
#include "verbs/operand.h"
#include "verbs/verbs.h"

namespace wyx::tool {

namespace {

constexpr const char *kNewValue = "changed-by-roundtrip";
constexpr std::size_t kLargestList = std::size_t{64} << 20;

struct Options {
    std::vector<Operand> files;
    Operand list;
    std::size_t shown = 10;
    bool isJson = false;
};

/// What became of a file.
enum class Outcome {
    kSame,    // all lines came back as they were
    kChanged, // some did not
    kRefused, // it is no INI file by the library's check
};

struct Result {
    Outcome outcome = Outcome::kSame;
    std::string why;
    std::size_t lines = 0;
    std::size_t sections = 0;
    std::size_t keys = 0;
};

Result Refused(const std::string &why)
{
    Result result;
    result.outcome = Outcome::kRefused;
    result.why = why;
    return result;
}

Result Changed(Result result, const std::string &why)
{
    result.outcome = Outcome::kChanged;
    result.why = why;
    return result;
}

void WriteCopy(const std::string &path, const std::string &bytes)
{
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!file.IsOpen() || !WriteWhole(file.Get(), bytes)) {
        throw SystemFailure("cannot write " + Quoted(path), errno);
    }
}

/// A key line that lookups see.
struct Key {
    std::string section;
    std::string name;
    std::optional<std::string> value;
    std::size_t line = 0; // among the stored lines
};

/// Reads the key lines by the grammar alone: of a section the last block, of a key the lowest line.
std::vector<Key> VisibleKeys(const std::vector<std::string> &lines)
{
    std::vector<Key> keys;
    std::string section;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const LineParts parts = ParseLine(lines[i]);
        if (parts.kind == INI_SECTION_LINE) {
            section = parts.name;
            std::erase_if(keys, [&](const Key &key) { return IsSameName(key.section, section); });
        } else if (parts.kind == INI_KEYVALUE_LINE) {
            std::erase_if(keys, [&](const Key &key) {
                return IsSameName(key.section, section) && IsSameName(key.name, parts.name);
            });
            keys.push_back({section, parts.name, parts.value, i});
        }
    }
    return keys;
}

/// Sends one file on the round trip.
Result RoundTrip(const std::string &name, const std::string &path)
{
    const IniSource original(name);
    WriteCopy(path, original.Bytes());
    const IniSource copy(path, name);
    if (copy.Bytes().find('\0') != std::string::npos) {
        return Refused("NUL bytes");
    }
    std::unique_ptr<IniDocument> document;
    try {
        document = std::make_unique<IniDocument>(copy);
    } catch (const Failure &failure) {
        if (failure.Code() != ExitCode::kMalformed) {
            throw;
        }
        return Refused("a line of more than 511 bytes");
    }
    QAL_UINT32 ulLine = 0;
    const QAL_UINT32 ulCheck = XELP_IniCheckFile(document->Record(), &ulLine);
    if (ulCheck != XELP_ERR_INI_OK) {
        return Refused(LineStatusText(ulCheck) + " (" + std::to_string(ulCheck) + ")");
    }

    std::vector<std::string> lines = document->Lines();
    Result result;
    result.lines = document->Record()->ulIniFileNum;
    result.sections = document->Sections(copy).size();
    const std::vector<Key> keys = VisibleKeys(lines);
    result.keys = keys.size();
    for (const Key &key : keys) {
        if (document->Find(key.section, key.name) != Lookup{XELP_ERR_INI_OK, key.value}) {
            return Changed(result, "the lookup of '" + key.name + "' failed");
        }
    }
    if (keys.empty()) {
        return result; // comments and headers: nothing to change
    }

    const Key &changed = keys[keys.size() / 2];
    std::string section = changed.section;
    std::string key = changed.name;
    std::string value = kNewValue;
    QAL_UINT32 ulStatus =
        XELP_IniSetKeyValue(document->Record(), section.data(), key.data(), value.data());
    if (ulStatus != XELP_ERR_INI_OK) {
        return Changed(result, "setting a key fails (" + std::to_string(ulStatus) + ")");
    }
    const std::vector<std::string> edited = document->Lines();
    lines[changed.line] = edited.size() == lines.size() ? edited[changed.line] : "";
    if (edited != lines) {
        return Changed(result, "setting a key touched other lines");
    }
    ulStatus = document->Save(path);
    if (ulStatus != XELP_ERR_INI_OK) {
        return Changed(result, "saving fails (" + std::to_string(ulStatus) + ")");
    }

    const IniSource saved(path, name);
    const std::vector<std::string> reloaded = ReadStoredLines(saved).Texts();
    const std::optional<std::size_t> first = FirstChanged(lines, reloaded);
    if (first) {
        const Rehearsal rehearsal = Rehearse(lines);
        return Changed(result, *first < lines.size()
                                   ? WhyChanged(lines[*first], rehearsal.saved[*first])
                                   : "a line was added");
    }
    if (reloaded != lines) {
        return Changed(result, "a line end became another one");
    }
    const IniDocument again(saved);
    if (again.Find(section, key) != Lookup{XELP_ERR_INI_OK, value}) {
        return Changed(result, "the changed key does not read back");
    }
    return result;
}

/// The sums of files of one kind.
struct Total {
    std::size_t files = 0;
    std::size_t lines = 0;
    std::size_t sections = 0;
    std::size_t keys = 0;
    std::size_t same = 0;
    std::size_t changed = 0;
    std::size_t refused = 0;

    void Add(const Result &result)
    {
        if (result.outcome == Outcome::kRefused) {
            ++refused;
            return;
        }
        ++files;
        lines += result.lines;
        sections += result.sections;
        keys += result.keys;
        same += result.outcome == Outcome::kSame ? 1 : 0;
        changed += result.outcome == Outcome::kChanged ? 1 : 0;
    }
};

std::string KindOf(const std::string &name)
{
    const std::size_t slash = name.rfind('/');
    const std::size_t dot = name.rfind('.');
    const bool hasDot = dot != std::string::npos && (slash == std::string::npos || dot > slash + 1);
    return hasDot ? "*" + name.substr(dot) : "(other)";
}

/// Everything that the trips of all files have told.
class Report {
  public:
    void Add(const std::string &name, const Result &result)
    {
        totals_[KindOf(name)].Add(result);
        sum_.Add(result);
        if (result.outcome == Outcome::kRefused) {
            ++refusals_[result.why];
        } else if (result.outcome == Outcome::kChanged) {
            changes_.emplace_back(name, result.why);
        }
    }

    std::size_t ChangedFiles() const { return sum_.changed; }

    void PutText(std::size_t shown) const
    {
        PutRow("", "files", "lines", "sections", "keys", "same", "changed", "not INI");
        for (const auto &[kind, total] : totals_) {
            PutTotal(kind, total);
        }
        if (totals_.size() > 1) {
            PutTotal("all", sum_);
        }
        if (!changes_.empty()) {
            Put("\nNot the same after the round trip:\n");
        }
        for (std::size_t i = 0; i < changes_.size() && i < shown; ++i) {
            Put("  " + Shown(changes_[i].first) + ": " + changes_[i].second + "\n");
        }
        PutMore(changes_.size(), shown);
        if (!refusals_.empty()) {
            Put("\nNot INI by the library's check, and left out:\n");
        }
        std::vector<std::pair<std::size_t, std::string>> reasons;
        for (const auto &[why, count] : refusals_) {
            reasons.emplace_back(count, why);
        }
        std::ranges::sort(reasons, std::greater());
        for (std::size_t i = 0; i < reasons.size() && i < shown; ++i) {
            char count[16];
            std::snprintf(count, sizeof count, "%7zu  ", reasons[i].first);
            Put(count + Shortened(reasons[i].second) + "\n");
        }
        PutMore(reasons.size(), shown);
    }

    Json ToJson() const
    {
        Json document;
        document["kinds"] = Json::object();
        for (const auto &[kind, total] : totals_) {
            document["kinds"][kind] = TotalJson(total);
        }
        document["all"] = TotalJson(sum_);
        document["changed"] = Json::array();
        for (const auto &[name, why] : changes_) {
            Json item;
            SetText(item, "file", name);
            item["why"] = why;
            document["changed"].push_back(std::move(item));
        }
        document["refused"] = refusals_;
        return document;
    }

  private:
    static void PutRow(const std::string &kind, const std::string &files, const std::string &lines,
                       const std::string &sections, const std::string &keys,
                       const std::string &same, const std::string &changed,
                       const std::string &refused)
    {
        char row[128];
        std::snprintf(row, sizeof row, "%-12.12s%8s%9s%10s%8s%8s%9s%9s\n", kind.c_str(),
                      files.c_str(), lines.c_str(), sections.c_str(), keys.c_str(), same.c_str(),
                      changed.c_str(), refused.c_str());
        Put(row);
    }

    static void PutTotal(const std::string &kind, const Total &total)
    {
        PutRow(Shown(kind), std::to_string(total.files), std::to_string(total.lines),
               std::to_string(total.sections), std::to_string(total.keys),
               std::to_string(total.same), std::to_string(total.changed),
               std::to_string(total.refused));
    }

    static void PutMore(std::size_t all, std::size_t shown)
    {
        if (all > shown) {
            Put("  ... and " + std::to_string(all - shown) + " more\n");
        }
    }

    static std::string Shortened(const std::string &why)
    {
        const std::size_t code = why.rfind(" (");
        const std::size_t colon = why.find(':');
        return colon != std::string::npos && code != std::string::npos && colon < code
                   ? why.substr(0, colon) + why.substr(code)
                   : why;
    }

    static Json TotalJson(const Total &total)
    {
        return {{"files", total.files},    {"lines", total.lines}, {"sections", total.sections},
                {"keys", total.keys},      {"same", total.same},   {"changed", total.changed},
                {"refused", total.refused}};
    }

    std::map<std::string, Total> totals_;
    Total sum_;
    std::map<std::string, std::size_t> refusals_;
    std::vector<std::pair<std::string, std::string>> changes_;
};

std::vector<std::string> Names(const Options &options)
{
    std::vector<std::string> names = Texts(options.files);
    if (!options.list.text.empty()) {
        const std::string list = ReadWhole(options.list.text, kLargestList);
        for (std::size_t begin = 0; begin < list.size();) {
            const std::size_t end = std::min(list.find('\0', begin), list.size());
            names.push_back(list.substr(begin, end - begin));
            begin = end + 1;
        }
    }
    return names;
}

ExitCode Run(const Options &options)
{
    const TempDirectory directory;
    const std::string path = directory.Path() + "/copy.ini";
    Report report;
    ExitCode worst = ExitCode::kOk;
    for (const std::string &name : Names(options)) {
        try {
            report.Add(name, RoundTrip(name, path));
        } catch (const Failure &failure) {
            tool::Report(failure);
            worst = Graver(worst, failure.Code());
        }
    }
    if (options.isJson) {
        PutJson(report.ToJson());
    } else {
        report.PutText(options.shown);
    }
    return Graver(worst, report.ChangedFiles() > 0 ? ExitCode::kNo : ExitCode::kOk);
}

} // namespace

void AddIniRoundtrip(CLI::App &ini, Action &chosen)
{
    CLI::App *const verb = ini.add_subcommand(
        "roundtrip", "Try the library on copies of files: load, change, save, compare");
    const auto options = std::make_shared<Options>();
    verb->add_option("FILE", options->files, "files to copy; '-' is standard input")->type_name("");
    verb->add_option("--files0-from", options->list,
                     "a file of further names, each ended by a NUL byte; '-' is standard input")
        ->type_name("FILE");
    verb->add_option("--shown", options->shown, "how many files and reasons to show (10)")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
    verb->add_flag("--json", options->isJson, "write JSON");
    verb->footer(
        "A copy of each file is loaded and checked, every value is looked up, a key is changed,\n"
        "and the copy is saved, loaded again and compared line by line. A table sums up what\n"
        "came back the same; the exit code is 1 if anything did not. The files themselves are\n"
        "only read.\n"
        "\n"
        "Examples:\n"
        "  wyx ini roundtrip *.ini\n"
        "  find /etc -name '*.conf' -print0 | wyx ini roundtrip --files0-from -");
    verb->callback([options, &chosen] { chosen = [options] { return Run(*options); }; });
}

} // namespace wyx::tool
