#include "ini/edit.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>

#include "ini/document.h"
#include "ini/other_readers.h"
#include "ini/text.h"
#include "system/terminal.h"

namespace wyx::tool {

namespace {

constexpr const char *kEndsInBackslash =
    " ends in a backslash, which would join the next line to it";
constexpr const char *kIsAmbiguous =
    ", but is not read as one: a second one would make the file ambiguous";
constexpr std::size_t kLongestSection = kLongestLine - 4; // in brackets, before CR LF

bool HasOuterBlank(std::string_view text)
{
    return Trimmed(text) != text;
}

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
        throw Refusal(shown + " holds a ']', which ends the name",
                      section.front() == '[' && section.back() == ']'
                          ? "write the name without its brackets"
                          : "");
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
    if (HasOuterBlank(key)) {
        throw Refusal(shown + " begins or ends with a blank, which would be lost",
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

void RequireValue(const std::string &key, const std::string &value)
{
    const std::string shown = "the value of " + Quoted(key);
    if (HasLineEnd(value)) {
        throw Refusal(shown + " holds a line end");
    }
    if (HasOuterBlank(value)) {
        throw Refusal(shown + " begins or ends with a blank, which would be lost",
                      "quotation marks are kept as part of a value, and keep blanks inside them");
    }
}

/// How a key line is laid out, up to its value.
struct Style {
    std::string indent;
    std::size_t nameWidth = 0; // from the start of the key to the '='
    std::string beforeEquals;
    std::string afterEquals;
};

/// The style of a key line; that of "k=v" if its '=' is not in its first line.
Style StyleOf(const IniText &text, std::size_t key)
{
    const std::string_view line = text.LinesOf(key).front();
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return {};
    }
    const std::size_t name = line.find_first_not_of(kBlanks);
    const std::size_t nameEnd = line.find_last_not_of(kBlanks, equals - 1) + 1;
    const std::size_t value = std::min(line.find_first_not_of(kBlanks, equals + 1), line.size());
    Style style;
    style.indent = line.substr(0, name);
    style.nameWidth = equals - name;
    style.beforeEquals = line.substr(nameEnd, equals - nameEnd);
    style.afterEquals =
        text.Parts()[key].value ? line.substr(equals + 1, value - equals - 1) : style.beforeEquals;
    return style;
}

/// A key line laid out in a style. Several blanks before its '=' suggest that the equals signs form
/// a column: the new one goes there, unless the key is too long.
std::string KeyLine(const Style &style, const Edit &edit)
{
    std::string before = style.beforeEquals;
    if (before.size() > 1 && before.find('\t') == std::string::npos) {
        before = std::string(
            style.nameWidth > edit.key.size() ? style.nameWidth - edit.key.size() : 1, ' ');
    }
    return style.indent + edit.key + before + "=" +
           (edit.value.empty() ? "" : style.afterEquals + edit.value);
}

/// The lines that a change of a document changes, removes or empties, found in a trial document.
/// @param change  makes the change, and returns the library's status
std::vector<std::size_t> FindChanged(const IniText &text, const auto &change)
{
    IniDocument trial(text.Stored(), text.Parts());
    if (change(trial.Record()) == XELP_ERR_INI_INTERNAL) {
        throw std::bad_alloc();
    }
    std::vector<std::size_t> lines;
    for (std::size_t i = 0; i < text.Lines().size(); ++i) {
        const char *const before = text.Document().Line(i);
        const char *const after = trial.Line(i);
        if (before != nullptr && (after == nullptr || std::strcmp(before, after) != 0)) {
            lines.push_back(i);
        }
    }
    return lines;
}

/// The line of a key that exists.
/// @param old  its value
std::size_t FindKey(const IniText &text, const Edit &edit, const std::optional<std::string> &old)
{
    std::string section = edit.section;
    std::string key = edit.key;
    std::string other = old == "1" ? "2" : "1"; // so that its line changes
    // If the line becomes too long, the call fails, but only after it has emptied the slot.
    const auto set = [&](XELP_IN_S_INI_FILE_STRUCT *record) {
        return XELP_IniSetKeyValue(record, section.data(), key.data(), other.data());
    };
    return FindChanged(text, set).front();
}

std::vector<std::size_t> FindDeleted(const IniText &text, const Edit &edit)
{
    return FindChanged(text, [&](XELP_IN_S_INI_FILE_STRUCT *record) {
        const QAL_UINT32 ulStatus =
            edit.kind == Edit::Kind::kDeleteKey
                ? XELP_IniDelKey(record, edit.section.c_str(), edit.key.c_str())
                : XELP_IniDelSection(record, edit.section.c_str());
        if (ulStatus != XELP_ERR_INI_OK && ulStatus != XELP_ERR_INI_INTERNAL) {
            throw text.NotFound(ulStatus, edit.section, edit.key);
        }
        return ulStatus;
    });
}

class Editor {
  public:
    Editor(const IniText &text, const Edit &edit)
        : text_(text), edit_(edit), owners_(OwnersOf(text))
    {}

    /// The new text, or null if nothing changes.
    std::unique_ptr<IniText> Set(std::vector<std::string> &warnings);
    std::unique_ptr<IniText> Delete(std::size_t &deletedLines, std::vector<std::string> &warnings);

  private:
    std::size_t Count() const { return text_.Lines().size(); }
    std::string LineName(std::size_t line) const
    {
        return "line " + std::to_string(text_.Lines()[line].first);
    }
    std::vector<std::size_t> ContinuationsOf(std::size_t line) const;
    void RequireNoOwner(std::size_t line, const std::string &subject) const;
    void RequireNoOwnerOfNextHeader(std::size_t header) const;
    void RequireSameForOthers(std::size_t line) const;
    void RequireNoOthersHeader(std::size_t line) const;
    void RequireNoJoined(std::size_t line, bool (*looksOwn)(std::string_view)) const;
    void RequireClearJoins(std::size_t line) const;
    void Replace(std::size_t line);
    void Insert();
    void Append();
    void Remove(std::size_t line);
    void Add(std::size_t line, std::initializer_list<std::string> lines);
    void RemoveBlock(std::size_t header, std::vector<std::string> &warnings);
    std::unique_ptr<IniText> Finish() const;
    void RequireSet(const IniText &after, std::size_t line) const;
    std::string ShownValue() const { return "the value of " + Quoted(edit_.key); }

    const IniText &text_;
    const Edit &edit_;
    const Owners owners_;
    std::vector<std::size_t> removed_;   // lines that are removed, in order
    std::optional<std::size_t> changed_; // one of them: its changed form is the new line
    std::string written_;                // the new lines ...
    std::size_t added_ = 0;              // ... how many they are ...
    std::size_t addedAt_ = 0;            // ... and the line before which they are inserted
};

/// The lines that go with a key line because they are indented below it.
std::vector<std::size_t> Editor::ContinuationsOf(std::size_t line) const
{
    std::vector<std::size_t> lines;
    for (std::size_t i = line + 1; i < Count(); ++i) {
        if (owners_[i] == line) {
            lines.push_back(i);
        }
    }
    return lines;
}

/// Refuses to rely on a line that other readers take for part of a value.
/// @param subject  what the message begins with
void Editor::RequireNoOwner(std::size_t line, const std::string &subject) const
{
    if (owners_[line]) {
        throw Refusal(subject + " is indented below " + LineName(*owners_[line]) +
                      ": other programs read it as part of the value there");
    }
}

/// Refuses to change what is before a header that other readers take for part of a value.
/// @param header  its line, or Count() if no header follows
void Editor::RequireNoOwnerOfNextHeader(std::size_t header) const
{
    if (header < Count()) {
        RequireNoOwner(header, LineName(header) + ", the next header,");
    }
}

/// Refuses to touch a line that is one thing to the library and another to other readers.
void Editor::RequireSameForOthers(std::size_t line) const
{
    const std::string shown = "key " + Quoted(edit_.key);
    RequireNoOwner(line, shown + " is in " + LineName(line) + ", which");
    std::size_t header = line; // a key is below one
    while (text_.Parts()[header].kind != INI_SECTION_LINE) {
        --header;
    }
    RequireNoOwner(header, LineName(header) + ", its header,");
    const std::vector<std::size_t> continuations = ContinuationsOf(line);
    // One line that is only text shows that those around it that look like keys are text, too.
    const bool isText = std::ranges::any_of(
        continuations, [&](std::size_t i) { return IsOnlyText(text_.BytesOf(i)); });
    for (const std::size_t i : continuations) {
        const std::string_view bytes = text_.BytesOf(i);
        if (LooksLikeHeader(bytes) || (!isText && LooksLikeKey(bytes))) {
            throw Refusal(LineName(i) + " is indented below " + shown + " in " + LineName(line) +
                          ": it is part of that value or a line of its own, and programs differ");
        }
        RequireClearJoins(i);
    }
    RequireClearJoins(line);
}

/// Refuses to work on the block of a line that may be a header to other programs, but not to the
/// library.
void Editor::RequireNoOthersHeader(std::size_t line) const
{
    if (LooksLikeHeader(text_.BytesOf(line))) {
        RequireNoOwner(line, LineName(line) + ", which looks like a header,");
        throw Refusal(LineName(line) +
                      " looks like a header, but is not read as one, and programs differ");
    }
    RequireNoJoined(line, LooksLikeHeader);
}

/// Refuses a line to which another one is joined that looks like a line of its own.
void Editor::RequireNoJoined(std::size_t line, bool (*looksOwn)(std::string_view)) const
{
    const std::vector<std::string_view> lines = text_.LinesOf(line);
    for (std::size_t i = 1; i < lines.size(); ++i) {
        if (MayBeOwnLine(text_, owners_, line, i) && looksOwn(lines[i])) {
            throw Refusal("the backslash before line " +
                          std::to_string(text_.Lines()[line].first + i) +
                          " joins it to the line before, but it looks like a line of its own, and "
                          "programs differ");
        }
    }
}

/// Refuses to touch joined lines that other programs may read as lines of their own.
void Editor::RequireClearJoins(std::size_t line) const
{
    const std::vector<std::string_view> lines = text_.LinesOf(line);
    for (std::size_t i = 1; i < lines.size(); ++i) {
        if (lines[i].starts_with('\\')) {
            throw Refusal("line " + std::to_string(text_.Lines()[line].first + i) +
                          " begins with a backslash, which joins it to the line before");
        }
    }
    RequireNoJoined(line, [](std::string_view joined) {
        return LooksLikeKey(joined) || LooksLikeHeader(joined);
    });
}

void Editor::Replace(std::size_t line)
{
    RequireSameForOthers(line);
    const std::string &stored = text_.Lines()[line].text;
    const std::string value = text_.Parts()[line].value.value_or("");
    // The range of the value in the stored line.
    const std::size_t afterEquals = stored.find('=') + 1;
    std::size_t begin = std::min(stored.find_first_not_of(kBlanks, afterEquals), stored.size());
    std::size_t end = begin + value.size();
    if (value.empty() && begin > afterEquals && stored.substr(begin, 1) == ";") {
        end = --begin; // a comment keeps the blank before it
    }
    // The bytes and the stored line are the same up to the first backslash that joins lines, and
    // again after the last one.
    const std::string_view bytes = WithoutLineEnd(text_.BytesOf(line));
    const std::string_view head = std::string_view(stored).substr(0, begin);
    const std::string_view tail = WithoutLineEnd(stored).substr(end);
    const auto headSize =
        static_cast<std::size_t>(std::ranges::mismatch(head, bytes).in1 - head.begin());
    if (headSize < afterEquals || !bytes.ends_with(tail) || headSize + tail.size() > bytes.size()) {
        throw Refusal("the line of " + Quoted(edit_.key) +
                      " is joined by a backslash inside its name or comment");
    }
    written_ = text_.BytesOf(line);
    written_.replace(headSize, bytes.size() - tail.size() - headSize, edit_.value);
    changed_ = line;
    added_ = 1;
    addedAt_ = line;
    Remove(line);
}

/// Puts a new key after the last key of its section. If there is none, puts it after the last line
/// that cannot be read, or else after the header.
void Editor::Insert()
{
    const auto [begin, end] = BlockOf(text_, edit_.section);
    if (const auto line = LineOfOthersKey(text_, {begin, end}, edit_.key)) {
        throw Refusal(
            "line " + std::to_string(*line) + " looks like key " + Quoted(edit_.key) + kIsAmbiguous,
            "change that line by hand");
    }
    RequireNoOwner(begin - 1, LineName(begin - 1) + ", the header,");
    RequireNoOwnerOfNextHeader(end);
    std::size_t last = begin - 1;
    std::optional<Style> style;
    for (std::size_t i = begin; i < end; ++i) {
        RequireNoOthersHeader(i);
        const LineParts &parts = text_.Parts()[i];
        if (parts.kind == INI_KEYVALUE_LINE && !owners_[i]) {
            style = StyleOf(text_, i);
            last = i;
        } else if (!style && !owners_[i] && parts.IsUnreadable()) {
            // Whatever this line is, the new one must not separate it from its header, nor from
            // the lines that are indented below it.
            last = i;
        }
    }
    if (!style) {
        style = Style();
        if (end < Count()) {
            // Other programs read a header that is indented more than the key line above it as
            // part of that key's value.
            const std::string_view next = text_.BytesOf(end);
            style->indent = next.substr(0, next.find('['));
        }
    }
    const std::vector<std::size_t> continuations = ContinuationsOf(last);
    Add((continuations.empty() ? last : continuations.back()) + 1, {KeyLine(*style, edit_)});
}

/// Puts a new section at the end.
void Editor::Append()
{
    if (const auto line = LineOfOthersSection(text_, edit_.section)) {
        throw Refusal("line " + std::to_string(*line) + " looks like section " +
                          Quoted(edit_.section) + kIsAmbiguous,
                      "change that line by hand");
    }
    if (HasOuterBlank(edit_.section)) {
        throw Refusal("section " + Quoted(edit_.section) +
                      " begins or ends with a blank, which would be lost");
    }
    Style style;
    for (std::size_t i = 0; i < Count(); ++i) {
        if (text_.Parts()[i].kind == INI_KEYVALUE_LINE && !owners_[i]) {
            style = StyleOf(text_, i);
        }
    }
    Add(Count(), {"[" + edit_.section + "]", KeyLine(style, edit_)});
}

/// Adds lines before a line, or at the end. They get the line end of the line above; if that has
/// none, the line end of the file's first line; if that has none either, LF.
void Editor::Add(std::size_t line, std::initializer_list<std::string> lines)
{
    const std::string_view above = line > 0 ? text_.BytesOf(line - 1) : "";
    const std::string_view first = line > 0 ? text_.BytesOf(0) : "";
    if (EndsInBackslash(WithoutLineEnd(above))) {
        throw Refusal(LineName(line - 1) +
                      " ends in a backslash, which would join the new line to it");
    }
    std::string lineEnd = "\n";
    for (const std::string_view model : {first, above}) {
        const std::size_t length = LineEndLength(model);
        lineEnd = length > 0 ? model.substr(model.size() - length) : lineEnd;
    }
    written_ = line > 0 && LineEndLength(above) == 0 ? lineEnd : "";
    for (const std::string &text : lines) {
        written_ += text + lineEnd;
    }
    added_ = lines.size();
    addedAt_ = line;
}

/// Removes a line and those that continue it.
void Editor::Remove(std::size_t line)
{
    removed_.push_back(line);
    const std::vector<std::size_t> continuations = ContinuationsOf(line);
    removed_.insert(removed_.end(), continuations.begin(), continuations.end());
}

/// Makes the new text, and checks that the other lines in it read as before.
std::unique_ptr<IniText> Editor::Finish() const
{
    const std::size_t begin = Count() > 0 ? text_.Ranges().front().begin : 0;
    const std::size_t end = Count() > 0 ? text_.Ranges().back().end : 0;
    std::string bytes = text_.Bytes().substr(0, begin);
    // Where each line was before; none for a new line.
    std::vector<std::optional<std::size_t>> expected;
    for (std::size_t i = 0; i <= Count(); ++i) {
        if (i == Count()) {
            bytes += text_.Bytes().substr(end);
        }
        if (i == addedAt_) {
            bytes += written_;
            expected.resize(expected.size() + added_);
        }
        if (i < Count() && !std::ranges::binary_search(removed_, i)) {
            bytes += text_.BytesOf(i);
            expected.emplace_back(i);
        }
    }
    auto after = std::make_unique<IniText>(IniSource::OfBytes(text_.Source().Name(), bytes));
    std::size_t at = 0;
    const auto isSame = [&](std::size_t old) {
        const std::string_view text = text_.Lines()[old].text;
        const bool isEndAdded =
            old + 1 == Count() && addedAt_ == Count() && LineEndLength(text_.BytesOf(old)) == 0;
        return WithoutLineEnd(text) == WithoutLineEnd(after->Lines()[at].text) &&
               (text_.BytesOf(old) == after->BytesOf(at) || isEndAdded);
    };
    const auto nameOf = [&](std::size_t line) {
        return line < expected.size() && expected[line] ? LineName(*expected[line])
                                                        : "the line of " + Quoted(edit_.key);
    };
    while (at < expected.size() && at < after->Lines().size() &&
           (!expected[at] || isSame(*expected[at]))) {
        ++at;
    }
    if (at < std::max(expected.size(), after->Lines().size())) {
        if (EndsInBackslash(edit_.value)) {
            throw Refusal(ShownValue() + kEndsInBackslash);
        }
        throw Refusal(nameOf(at) + " would run together with the line after it");
    }
    const Owners owners = OwnersOf(*after);
    for (at = 0; at < expected.size(); ++at) {
        if (!owners[at]) {
            continue;
        }
        const std::size_t owner = *owners[at];
        if (!expected[at] || !expected[owner] || owners_[*expected[at]] != *expected[owner]) {
            throw Refusal(nameOf(at) + " would be indented below " + nameOf(owner) +
                          ": other programs would read it as part of the value there");
        }
    }
    return after;
}

/// Refuses a new line that does not read back as requested.
void Editor::RequireSet(const IniText &after, std::size_t line) const
{
    const std::string shown = ShownValue();
    const std::optional<std::string> value =
        edit_.value.empty() ? std::nullopt : std::optional(edit_.value);
    if (after.Lines()[line].isTooLong) {
        throw Refusal("the line of " + Quoted(edit_.key) + " would be too long: at most " +
                      std::to_string(kLongestLine) + " bytes with its comment and line end");
    }
    const LineParts &parts = after.Parts()[line];
    if (parts.value != value) {
        const std::string read = parts.value.value_or("");
        if (edit_.value == read + "\\") {
            throw Refusal(shown + kEndsInBackslash);
        }
        const bool isCut =
            edit_.value.starts_with(read) && edit_.value.find_first_not_of(kBlanks, read.size()) ==
                                                 edit_.value.find(';', read.size());
        throw Refusal(shown + " would read back as " + Quoted(read) +
                      (isCut ? ": ' ;' in it begins a comment" : ""));
    }
    // A line can have the right value and still be wrong. For example, a backslash at the end of
    // the file belongs to no line, but would join a line that is added.
    const std::string &key = changed_ ? text_.Parts()[*changed_].name : edit_.key;
    const std::optional<std::string> comment =
        changed_ ? text_.Parts()[*changed_].comment : std::nullopt;
    const bool isAsAsked =
        parts.kind == INI_KEYVALUE_LINE && parts.name == key && parts.comment == comment &&
        (added_ != 2 || after.Parts()[line - 1].name == edit_.section) &&
        after.Document().Find(edit_.section, edit_.key) == Lookup{XELP_ERR_INI_OK, value};
    if (!isAsAsked) {
        throw Refusal("key " + Quoted(edit_.key) + " of section " + Quoted(edit_.section) +
                      " would not read back the same");
    }
}

std::unique_ptr<IniText> Editor::Set(std::vector<std::string> &warnings)
{
    const Lookup old = text_.Document().Find(edit_.section, edit_.key);
    if (old.status == XELP_ERR_INI_OK) {
        const std::size_t line = FindKey(text_, edit_, old.value);
        if (old.value.value_or("") == edit_.value && ContinuationsOf(line).empty()) {
            return nullptr;
        }
        Replace(line);
    } else if (old.status == XELP_ERR_INI_KEY_NOT_FOUND) {
        Insert();
    } else {
        Append();
    }
    std::unique_ptr<IniText> after = Finish();
    const std::size_t line = addedAt_ + added_ - 1;
    RequireSet(*after, line);
    const auto warn = [&](const std::string &name, QAL_UINT32 ulStatus) {
        if (ulStatus != XELP_ERR_INI_OK) {
            warnings.push_back(
                Quoted(name) +
                " reads back as it was set, but 'wyx ini check' will refuse its line: " +
                LineStatusText(ulStatus) + " (" + std::to_string(ulStatus) + ")");
        }
    };
    if (added_ == 2) {
        warn(edit_.section, IniCheckSectionLine(after->Lines()[line - 1].text.c_str()));
    }
    std::string stored = after->Lines()[line].text;
    warn(edit_.key, IniCheckKeyLine(stored.data()));
    return after;
}

/// Removes a header and all lines up to the next header, even those that the library does not see:
/// otherwise they would become lines of the section before. Directives such as "!include" belong to
/// no section, and stay, unless they hold an '=', which makes them keys to the library.
void Editor::RemoveBlock(std::size_t header, std::vector<std::string> &warnings)
{
    RequireNoOwner(header, LineName(header) + ", a header,");
    RequireClearJoins(header);
    removed_.push_back(header);
    std::size_t i = header + 1;
    for (; i < Count() && text_.Parts()[i].kind != INI_SECTION_LINE; ++i) {
        RequireNoOthersHeader(i);
        RequireClearJoins(i);
        if (text_.Parts()[i].IsUnreadable() && text_.BytesOf(i).starts_with('!')) {
            warnings.push_back(LineName(i) + " is kept: a directive belongs to no section");
        } else {
            removed_.push_back(i);
        }
    }
    RequireNoOwnerOfNextHeader(i);
}

std::unique_ptr<IniText> Editor::Delete(std::size_t &deletedLines,
                                        std::vector<std::string> &warnings)
{
    for (const std::size_t line : FindDeleted(text_, edit_)) {
        if (edit_.kind == Edit::Kind::kDeleteKey) {
            RequireSameForOthers(line);
            Remove(line);
        } else if (text_.Parts()[line].kind == INI_SECTION_LINE) {
            RemoveBlock(line, warnings);
        }
    }
    for (const std::size_t i : removed_) {
        deletedLines += text_.Lines()[i].count;
    }
    return Finish();
}

} // namespace

Failure Refusal(const std::string &what, const std::string &hint)
{
    return {ExitCode::kUsage, what + "; nothing was changed", hint};
}

void RequireWritable(const Edit &edit)
{
    if (edit.kind == Edit::Kind::kDeleteKey && edit.key.empty()) {
        throw Refusal("the key's name is empty");
    }
    if (edit.kind == Edit::Kind::kSet) {
        RequireSection(edit.section);
        RequireKey(edit.key);
        RequireValue(edit.key, edit.value);
    }
}

EditResult ApplyEdits(std::unique_ptr<const IniText> text, const std::vector<Edit> &edits,
                      bool keepsExisting)
{
    EditResult result;
    for (Edit edit : edits) {
        if (keepsExisting &&
            text->Document().Find(edit.section, edit.key).status == XELP_ERR_INI_OK) {
            result.effects.emplace_back();
            continue;
        }
        const QAL_UINT32 ulStatus = text->Document().Find(edit.section, {}).status;
        if (ulStatus == XELP_ERR_INI_KEY_NOT_FOUND) { // the section exists
            edit.section = Trimmed(edit.section);
        } else if (edit.kind != Edit::Kind::kSet) { // a deletion could still find kNobodysHeader
            throw text->NotFound(ulStatus, edit.section, edit.key);
        }
        EditEffect effect;
        Editor editor(*text, edit);
        std::unique_ptr<IniText> after = edit.kind == Edit::Kind::kSet
                                             ? editor.Set(result.warnings)
                                             : editor.Delete(effect.deletedLines, result.warnings);
        if (after) {
            effect.isChanged = true;
            text = std::move(after);
        }
        result.effects.push_back(effect);
    }
    result.bytes = text->Bytes();
    return result;
}

} // namespace wyx::tool
