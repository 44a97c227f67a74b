// wyx ini set, del: changing a file.
//
// The library writes names and values as they are given, folds long lines where the fold may fall
// badly, and puts a new file in the place of the old one. So the change is made in a working copy,
// is loaded again from there, and compared: with what was asked for, and with every other line as
// it was. Only then does the copy take the file's place, in one step. Whatever goes wrong before
// leaves the file alone.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ini/document.h"
#include "ini/library_text.h"
#include "ini/rehearsal.h"
#include "ini/text.h"
#include "os_adapter.h"
#include "system/file_replace.h"
#include "system/json.h"
#include "system/terminal.h"
#include "verbs/arguments.h"
#include "verbs/verbs.h"

namespace wyx::tool {

namespace {

constexpr const char *kNothingChanged = "; nothing was changed";
constexpr std::size_t kLongestSection = 507; // in "[section]" and LF
constexpr std::size_t kLongestLine = 511;    // with its line end

struct Setting {
    std::string key;
    std::string value;

    /// As the library takes it: null for none.
    QAL_INT8 *Buffer() { return value.empty() ? nullptr : value.data(); }
};

Failure Refusal(const std::string &what)
{
    return {ExitCode::kUsage, what + kNothingChanged};
}

bool HasBlankEnd(std::string_view text)
{
    const auto isBlank = [](char ch) { return ch == ' ' || ch == '\t'; };
    return !text.empty() && (isBlank(text.front()) || isBlank(text.back()));
}

bool HasLineEnd(std::string_view text)
{
    return text.find_first_of("\r\n") != std::string_view::npos;
}

/// Refuses what cannot stand in a file, whatever else is in it.
void RequireSection(const std::string &section)
{
    const std::string shown = "section " + Quoted(section);
    if (section.empty()) {
        throw Refusal("the section's name is empty");
    }
    if (HasLineEnd(section)) {
        throw Refusal(shown + " holds a line end");
    }
    if (section.find(']') != std::string::npos) {
        throw Failure(
            ExitCode::kUsage, shown + " holds a ']', which ends the name" + kNothingChanged,
            section.front() == '[' && section.back() == ']' ? "write the name without its brackets"
                                                            : "");
    }
    if (HasBlankEnd(section)) {
        throw Refusal(shown + " begins or ends with a blank, which would be lost");
    }
    if (section.size() > kLongestSection) {
        throw Refusal("the section's name is too long: " + std::to_string(section.size()) +
                      " bytes, at most " + std::to_string(kLongestSection));
    }
}

void RequireKey(const std::string &key)
{
    const std::string shown = "key " + Quoted(key);
    if (key.empty()) {
        throw Refusal("the key's name is empty");
    }
    if (HasLineEnd(key)) {
        throw Refusal(shown + " holds a line end");
    }
    if (HasBlankEnd(key)) {
        throw Failure(ExitCode::kUsage,
                      shown + " begins or ends with a blank, which would be lost" + kNothingChanged,
                      "write KEY=VALUE without blanks beside the '='");
    }
    switch (key.front()) {
        case '[':
            throw Refusal(shown + " begins with '[', as a section does");
        case '#':
        case ';':
            throw Refusal(shown + " begins like a comment");
        case '\\':
            throw Refusal(shown +
                          " begins with a backslash, which joins its line to the one before");
        default:
            break;
    }
}

void RequireValue(const Setting &setting)
{
    const std::string shown = "the value of " + Quoted(setting.key);
    if (HasLineEnd(setting.value)) {
        throw Refusal(shown + " holds a line end");
    }
    if (HasBlankEnd(setting.value)) {
        throw Failure(ExitCode::kUsage,
                      shown + " begins or ends with a blank, which would be lost" + kNothingChanged,
                      "quotation marks are kept as a part of a value, and keep blanks inside them");
    }
}

std::vector<Setting> ParseSettings(Words words)
{
    std::vector<Setting> settings;
    for (const std::string &word : words) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos) {
            const bool isSplit = std::ranges::any_of(
                words, [](const std::string &other) { return other.starts_with('='); });
            throw Failure(
                ExitCode::kUsage, Quoted(word) + " is not KEY=VALUE" + kNothingChanged,
                isSplit ? "write KEY=VALUE without blanks beside the '='"
                : settings.empty()
                    ? "an empty value is set by " + Quoted(word + "=")
                    : "a value with blanks goes in quotation marks of the shell: " +
                          Quoted(settings.back().key + "=" + settings.back().value + " " + word));
        }
        const Setting setting{word.substr(0, equals), word.substr(equals + 1)};
        RequireKey(setting.key);
        RequireValue(setting);
        if (std::ranges::any_of(settings, [&](const Setting &other) {
                return IsSameName(other.key, setting.key);
            })) {
            throw Refusal("key " + Quoted(setting.key) + " is set more than once");
        }
        settings.push_back(setting);
    }
    return settings;
}

/// The line end that all lines share, else LF.
std::string LineEndOf(const std::vector<std::string> &lines)
{
    const auto lineEnd = [](const std::string &line) {
        return line.substr(WithoutLineEnd(line).size());
    };
    const bool isShared =
        !lines.empty() && std::ranges::all_of(lines, [&](const std::string &line) {
            return lineEnd(line) == lineEnd(lines.front());
        });
    return isShared ? lineEnd(lines.front()) : "\n";
}

/// The bytes of a file, with the line end that its last line lacks: a save would add a CR there,
/// which no editor takes for the end of a line among others.
std::string Completed(const std::string &bytes)
{
    const std::vector<RawLine> raw = SplitLines(bytes);
    if (raw.empty() || raw.back().endLen != 0) {
        return bytes;
    }
    const RawLine &first = raw.front();
    return bytes +
           (first.endLen != 0 ? bytes.substr(first.end - first.endLen, first.endLen) : "\n");
}

/// What a change did to the lines: those from `begin` on, `removed` of them, became `added` others.
struct Difference {
    std::size_t begin = 0;
    std::size_t removed = 0;
    std::size_t added = 0;
};

Difference Compare(const std::vector<std::string> &before, const std::vector<std::string> &after)
{
    const std::size_t shorter = std::min(before.size(), after.size());
    std::size_t front = 0;
    while (front < shorter && before[front] == after[front]) {
        ++front;
    }
    std::size_t back = 0;
    while (back < shorter - front &&
           before[before.size() - 1 - back] == after[after.size() - 1 - back]) {
        ++back;
    }
    return {front, before.size() - front - back, after.size() - front - back};
}

std::optional<std::string> Wanted(const Setting &setting)
{
    return setting.value.empty() ? std::nullopt : std::optional(setting.value);
}

/// The edits of one file.
class Edit {
  public:
    Edit(const std::string &file, bool mayCreate, const std::string &missingHint)
        : target_(file, mayCreate, missingHint), copy_(target_), name_(Shown(file))
    {
        if (target_.Exists()) {
            const IniSource source(target_.Path(), file);
            RequireText(source);
            copy_.Write(Completed(source.Bytes()));
        }
        source_ = std::make_unique<IniSource>(copy_.Path(), file);
        document_ = std::make_unique<IniDocument>(*source_);
        before_ = document_->Lines();
        lineEnd_ = LineEndOf(before_);
        if (target_.Exists() && target_.Status().st_nlink > 1) {
            PutWarning(name_ + " has other names (hard links), which keep the old content");
        }
    }

    /// Sets a key. Does nothing where it has that value already.
    /// @return was there anything to change?
    bool Set(const std::string &section, Setting setting)
    {
        const Lookup old = document_->Find(section, setting.key);
        if (old == Lookup{XELP_ERR_INI_OK, Wanted(setting)}) {
            return false;
        }
        const std::vector<std::string> before = document_->Lines();
        std::string sectionName = section;
        const QAL_UINT32 ulStatus = XELP_IniSetKeyValue(document_->Record(), sectionName.data(),
                                                        setting.key.data(), setting.Buffer());
        if (ulStatus == XELP_ERR_INI_INPUT_PARA_ERR || ulStatus == XELP_ERR_INI_FILE_EMPTY) {
            throw Refusal("the line of " + Quoted(setting.key) + " would be too long: at most " +
                          std::to_string(kLongestLine) + " bytes with its comment and line end");
        }
        if (ulStatus != XELP_ERR_INI_OK) {
            throw LineFailure(*source_, ulStatus);
        }
        RequireSet(before, section, setting);
        return true;
    }

    /// Deletes a section, or a key of it.
    /// @return the number of deleted lines
    std::size_t Delete(const std::string &section, const std::string &key)
    {
        const std::vector<std::string> before = document_->Lines();
        const bool isKey = !key.empty();
        const QAL_UINT32 ulStatus =
            isKey ? XELP_IniDelKey(document_->Record(), section.c_str(), key.c_str())
                  : XELP_IniDelSection(document_->Record(), section.c_str());
        switch (ulStatus) {
            case XELP_ERR_INI_OK:
                break;
            case XELP_ERR_INI_FILE_EMPTY:
                throw NotFound(*document_, *source_, XELP_ERR_INI_SECTION_NOT_FOUND, section, key);
            case XELP_ERR_INI_SECTION_NOT_FOUND:
            case XELP_ERR_INI_KEY_NOT_FOUND:
                throw NotFound(*document_, *source_, ulStatus, section, key);
            default:
                throw LineFailure(*source_, ulStatus);
        }
        const std::vector<std::string> after = document_->Lines();
        if (after != Remaining(before, section, key)) {
            throw Failure(ExitCode::kMalformed,
                          name_ + ": the deletion would touch other lines" + kNothingChanged);
        }
        return before.size() - after.size();
    }

    /// Saves the changes, proves that they read back, and puts them in the file's place.
    void Finish(const std::string &section, const std::vector<Setting> &settings)
    {
        const std::vector<std::string> lines = document_->Lines();
        errno = 0;
        const QAL_UINT32 ulStatus = document_->Save(copy_.Path());
        if (ulStatus != XELP_ERR_INI_OK) {
            const std::string why = errno != 0 ? std::string(": ") + std::strerror(errno) : "";
            throw Failure(ExitCode::kIo, "cannot save " + name_ + why + " (" +
                                             std::to_string(ulStatus) + ")" + kNothingChanged);
        }
        const IniSource saved(copy_.Path(), name_);
        RequireSame(lines, saved);
        const IniDocument reloaded(saved);
        for (const Setting &setting : settings) {
            if (reloaded.Find(section, setting.key) != Lookup{XELP_ERR_INI_OK, Wanted(setting)}) {
                throw Refusal("the value of " + Quoted(setting.key) +
                              " would not read back the same");
            }
        }
        copy_.Install();
    }

  private:
    /// Refuses a change in memory that is anything but the one asked for.
    void RequireSet(const std::vector<std::string> &before, const std::string &section,
                    const Setting &setting)
    {
        const std::vector<std::string> after = document_->Lines();
        const std::vector<QAL_UINT32> slots = document_->Slots();
        const Difference change = Compare(before, after);
        // One line for the key, in the place of its old one if it had one, and behind a header of
        // its own if the section is new.
        const bool isNewSection = change.added == 2;
        const bool isPlausible =
            (change.added == 1 || isNewSection) && change.removed <= (isNewSection ? 0U : 1U);
        const std::size_t at = change.begin + change.added - 1;
        const LineParts parts = isPlausible ? ParseLine(after[at]) : LineParts{};
        if (!isPlausible || parts.kind != INI_KEYVALUE_LINE || parts.status != XELP_ERR_INI_OK ||
            !IsSameName(parts.name, setting.key)) {
            throw Refusal("key " + Quoted(setting.key) + " would not read back the same");
        }
        if (isNewSection && ParseLine(after[change.begin]).name != section) {
            throw Refusal("section " + Quoted(section) + " would not read back the same");
        }
        const std::optional<std::string> comment =
            change.removed == 1 ? ParseLine(before[change.begin]).comment : std::nullopt;
        if (parts.value != Wanted(setting) || parts.comment != comment) {
            const bool isComment = setting.value.find(" ;") != std::string::npos;
            throw Refusal("the value of " + Quoted(setting.key) + " would not read back the same" +
                          (isComment ? ": ' ;' in it begins a comment" : ""));
        }
        for (std::size_t i = change.begin; i <= at; ++i) {
            MatchLineEnd(slots[i], after[i]);
        }
        std::string line = after[at];
        const QAL_UINT32 ulStatus = IniCheckKeyLine(line.data());
        if (ulStatus != XELP_ERR_INI_OK) {
            PutWarning(Quoted(setting.key) +
                       " reads back as it was set, but 'wyx ini check' will "
                       "refuse its line: " +
                       LineStatusText(ulStatus) + " (" + std::to_string(ulStatus) + ")");
        }
    }

    /// Gives a new line the line end of the others, as long as there is room for it.
    void MatchLineEnd(QAL_UINT32 ulSlot, const std::string &line)
    {
        const std::string text = std::string(WithoutLineEnd(line)) + lineEnd_;
        if (text == line || text.size() > kLongestLine) {
            return;
        }
        const LibraryText old(document_->Record()->pStrLine[ulSlot]);
        document_->Record()->pStrLine[ulSlot] = nullptr;
        if (IniSaveStringToIniStruct(document_->Record(), ulSlot, text.c_str()) !=
            XELP_ERR_INI_OK) {
            throw std::bad_alloc();
        }
    }

    /// The lines that a deletion should leave.
    static std::vector<std::string> Remaining(const std::vector<std::string> &lines,
                                              const std::string &section, const std::string &key)
    {
        std::vector<std::string> remaining;
        bool isInside = false;
        for (const std::string &line : lines) {
            const LineParts parts = ParseLine(line);
            if (parts.kind == INI_SECTION_LINE) {
                isInside = IsSameName(parts.name, section);
            }
            const bool isKey = parts.kind == INI_KEYVALUE_LINE && IsSameName(parts.name, key);
            if (!isInside || (!key.empty() && !isKey)) {
                remaining.push_back(line);
            }
        }
        return remaining;
    }

    /// Refuses a save whose result has other lines than the document had.
    void RequireSame(const std::vector<std::string> &lines, const IniSource &saved) const
    {
        const std::vector<std::string> reloaded = ReadStoredLines(saved).Texts();
        const std::optional<std::size_t> changed = FirstChanged(lines, reloaded);
        if (changed) {
            const std::string line = *changed < lines.size() ? lines[*changed] : std::string();
            const std::string why =
                line.empty() ? "" : ": " + WhyChanged(line, Rehearse({line}).saved.front());
            const std::string what =
                "the line " + Quoted(Beginning(line)) + " would not read back the same" + why;
            const bool isNew = std::ranges::find(before_, line) == before_.end();
            if (isNew) {
                throw Refusal(what);
            }
            throw Failure(ExitCode::kMalformed, name_ + ": " + what + kNothingChanged,
                          "change that line first; see: wyx ini check " + name_);
        }
        if (lines != reloaded) {
            PutWarning(name_ + ": the save gave some lines another line end");
        }
    }

    static std::string Beginning(const std::string &line)
    {
        constexpr std::size_t kShown = 40;
        const std::string_view text = WithoutLineEnd(line);
        return text.size() <= kShown ? std::string(text)
                                     : std::string(text.substr(0, kShown)) + "...";
    }

    Target target_;
    WorkingCopy copy_;
    std::string name_;
    std::unique_ptr<IniSource> source_;
    std::unique_ptr<IniDocument> document_;
    std::vector<std::string> before_;
    std::string lineEnd_;
};

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
    const std::string &section = arguments[1];
    RequireSection(section);
    const std::vector<Setting> settings = ParseSettings(arguments.From(2));
    Edit edit(arguments[0], arguments.Has("create"), "--create makes a new file");
    bool isChanged = false;
    Json list = Json::array();
    for (const Setting &setting : settings) {
        const bool isNew = edit.Set(section, setting);
        isChanged = isChanged || isNew;
        Json item;
        SetText(item, "key", setting.key);
        SetText(item, "value", setting.value);
        item["changed"] = isNew;
        list.push_back(std::move(item));
    }
    if (isChanged) {
        edit.Finish(section, settings);
    }
    if (arguments.Has("json")) {
        Json document = ResultOf(arguments, isChanged);
        document["settings"] = list;
        PutJson(document);
    }
    return ExitCode::kOk;
}

ExitCode RunIniDel(const Arguments &arguments)
{
    if (arguments.Count() > 2 && arguments[2].empty()) {
        throw Refusal("the key's name is empty");
    }
    Edit edit(arguments[0], false, "");
    const std::size_t deleted = edit.Delete(arguments[1], arguments[2]);
    edit.Finish(arguments[1], {});
    if (arguments.Has("json")) {
        Json document = ResultOf(arguments, true);
        document["deleted_lines"] = deleted;
        PutJson(document);
    }
    return ExitCode::kOk;
}

} // namespace wyx::tool
