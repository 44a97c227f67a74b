// wyx ini check: what is wrong with files, and what may surprise their authors.
//
// The library's own check stops at the first faulty line and counts stored lines. Here the same
// calls judge every line, and lines have the numbers that an editor shows.
#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "ini/document.h"
#include "ini/text.h"
#include "os_adapter.h"
#include "system/json.h"
#include "system/terminal.h"
#include "verbs/arguments.h"
#include "verbs/verbs.h"

namespace wyx::tool {

namespace {

constexpr std::size_t kFolded = 80; // lines of this size or more, line end included, are folded

/// Something to say about a line: an error with a code of the library, or a warning with a word.
struct Finding {
    std::size_t line = 0;
    QAL_UINT32 code = 0;
    std::string word;
    std::string message;

    bool IsError() const { return word.empty(); }
};

class Findings {
  public:
    void Error(std::size_t line, QAL_UINT32 code) { Error(line, code, LineStatusText(code)); }
    void Error(std::size_t line, QAL_UINT32 code, const std::string &message)
    {
        all_.push_back({line, code, {}, message});
    }
    void Warning(std::size_t line, const std::string &word, const std::string &message)
    {
        all_.push_back({line, 0, word, message});
    }

    /// In the order of the lines.
    const std::vector<Finding> &Sorted()
    {
        std::ranges::stable_sort(all_, {}, &Finding::line);
        return all_;
    }

  private:
    std::vector<Finding> all_;
};

/// What the library's strict check says of a line.
/// @param hasSection  has there been a section header yet? The first header sets it.
QAL_UINT32 CheckStrictly(const std::string &text, bool &hasSection)
{
    std::string line = text;
    XELP_INI_E_LINE_TYPE kind = INI_ERROR_LINE;
    const QAL_UINT32 ulStatus = IniGetLineType(line.data(), &kind);
    switch (kind) {
        case INI_SECTION_LINE:
            hasSection = true;
            return IniCheckSectionLine(line.c_str());
        case INI_KEYVALUE_LINE:
            return hasSection ? IniCheckKeyLine(line.data())
                              : static_cast<QAL_UINT32>(XELP_ERR_INI_FILE_FORMAT);
        default:
            return ulStatus;
    }
}

void CheckGrammar(const StoredLines &stored, Findings &findings)
{
    bool hasSection = false;
    for (const StoredLine &line : stored.lines) {
        QAL_UINT32 ulStatus = line.isTooLong ? QAL_UINT32{XELP_ERR_INI_LINE_TOO_LONG}
                                             : CheckStrictly(line.text, hasSection);
        if (ulStatus == XELP_ERR_INI_OK) {
            // The strict check accepts a tab after a header, but a lookup that reaches it fails.
            ulStatus = ParseLine(line).status;
        }
        if (ulStatus != XELP_ERR_INI_OK) {
            findings.Error(line.first, ulStatus);
        }
    }
}

struct NameLess {
    bool operator()(const std::string &left, const std::string &right) const
    {
        return XELP_StriCmp(left.c_str(), right.c_str()) < 0;
    }
};

/// Warns of a value that ends in what looks like a comment outside quotation marks, and says why
/// lookups take it for part of the value.
void WarnOfComment(std::size_t line, std::string_view value, Findings &findings)
{
    bool isQuoted = false;
    bool hasPlain = false; // a ';' without a space before it, which ends the search for comments
    for (std::size_t at = 1; at < value.size(); ++at) {
        const char before = value[at - 1];
        if (before == '"' && !value.substr(0, at - 1).ends_with('\\')) {
            isQuoted = !isQuoted;
        }
        if (value[at] != ';') {
            continue;
        }
        if (!isQuoted && before == '\t') {
            findings.Warning(line, "tab-before-comment",
                             "lookups take the ';' after a tab for part of the value");
            return;
        }
        if (!isQuoted && before == ' ') {
            findings.Warning(line, hasPlain ? "semicolon-before-comment" : "quoted-comment",
                             hasPlain ? "lookups take ' ;' for part of the value, as a ';' "
                                        "without a space before it comes first"
                                      : "lookups take ' ;' for part of the value, as a '\"' "
                                        "follows it");
            return;
        }
        hasPlain = hasPlain || before != ' ';
    }
}

/// Warns of lines that the library joins, or that its save lays out differently.
void WarnOfLayout(const IniSource &source, const StoredLines &stored, Findings &findings)
{
    for (const StoredLine &line : stored.lines) {
        // A line end inside the text is left by a join to a line that begins with a backslash.
        if (HasLineEnd(WithoutLineEnd(line.text))) {
            findings.Warning(line.first, "leading-backslash",
                             "the next line begins with a backslash, and is taken for part of "
                             "this one");
        } else if (line.count > 1 && !line.isTooLong) {
            findings.Warning(line.first, "continuation",
                             "joined from " + std::to_string(line.count) + " lines by backslashes");
        } else if (line.text.size() >= kFolded) {
            findings.Warning(line.first, "fold",
                             "80 bytes or more: the library's save folds it into several lines");
        }
        if (line.lacksEnd && !source.HasNul()) {
            findings.Warning(line.first, "no-line-end",
                             "no line end: the library's save adds a lone CR");
        }
    }
}

/// Warns of names that occur twice, and of text that looks like a comment but is not one.
void WarnOfNames(const StoredLines &stored, Findings &findings)
{
    using LineOfName = std::map<std::string, std::size_t, NameLess>;
    LineOfName sections;
    LineOfName keys;
    for (const StoredLine &line : stored.lines) {
        const LineParts parts = ParseLine(line);
        LineOfName *names = nullptr;
        if (parts.kind == INI_SECTION_LINE) {
            keys.clear(); // even a header that cannot be read ends the section before it
            names = &sections;
        } else if (parts.kind == INI_KEYVALUE_LINE) {
            names = &keys;
        }
        if (names == nullptr || parts.IsUnreadable()) {
            continue;
        }
        const auto [known, isNew] = names->try_emplace(parts.name, line.first);
        if (!isNew) {
            const std::string kind = KindName(parts);
            findings.Warning(line.first, kind + "-again",
                             kind + " " + Quoted(parts.name) + " is also in line " +
                                 std::to_string(known->second) + ": lookups see the last " +
                                 (names == &sections ? "block" : "one") + " only");
            known->second = line.first;
        }
        if (parts.value) {
            WarnOfComment(line.first, *parts.value, findings);
        }
    }
}

/// Warns of what the bytes show before any line is parsed.
void WarnOfBytes(const IniSource &source, const StoredLines &stored, Findings &findings)
{
    const std::string &bytes = source.Bytes();
    if (source.HasByteOrderMark()) {
        findings.Warning(1, "byte-order-mark",
                         "the file begins with a byte-order mark, which becomes part of its first "
                         "section or key");
    }
    const std::vector<RawLine> raw = SplitLines(bytes);
    std::size_t number = 0;
    for (const RawLine &line : raw) {
        ++number;
        const std::string_view text(bytes.data() + line.begin, line.end - line.begin);
        if (text.find('\0') == std::string_view::npos) {
            continue;
        }
        if (stored.rest != 0 && number >= stored.rest) {
            findings.Warning(number, "nul",
                             "NUL byte at the beginning of a line: the rest of the file is not "
                             "read, and lost in a save");
            return;
        }
        findings.Warning(number, "nul",
                         "NUL byte: the rest of the line is not read, and lost in a save");
    }
    // The file ends in a line end, but a backslash escapes it, so the library adds another one.
    const bool isEscaped = bytes.ends_with('\n') && !source.HasNul() && !stored.lines.empty() &&
                           stored.lines.back().lacksEnd;
    if (stored.rest != 0 || isEscaped || (bytes.ends_with('\\') && !bytes.ends_with("\\\\"))) {
        findings.Warning(raw.size(), "trailing-backslash",
                         "the backslash at the end of the file is not read, and lost in a save");
    }
    const auto isEvery = [&](std::string_view lineEnd) {
        return std::ranges::all_of(raw, [&](const RawLine &line) {
            return line.endLen == 0 ||
                   bytes.compare(line.end - line.endLen, line.endLen, lineEnd) == 0;
        });
    };
    if (!isEvery("\n") && !isEvery("\r\n")) {
        findings.Warning(1, "line-ends", "the lines do not all end in LF, nor all in CR LF");
    }
}

Findings CheckFile(const IniSource &source, bool isErrorsOnly)
{
    Findings findings;
    if (source.IsUtf16()) {
        findings.Error(1, XELP_ERR_INI_LINE_UNKNOWN,
                       "UTF-16 text: convert it with iconv -f UTF-16 -t UTF-8");
        return findings;
    }
    const StoredLines stored = ReadStoredLines(source);
    CheckGrammar(stored, findings);
    if (!isErrorsOnly) {
        WarnOfBytes(source, stored, findings);
        WarnOfLayout(source, stored, findings);
        WarnOfNames(stored, findings);
    }
    return findings;
}

void PutFinding(const IniSource &source, const Finding &finding)
{
    std::string line = Painted(Stream::kOut, Colour::kName,
                               source.Name() + ":" + std::to_string(finding.line) + ":");
    if (!finding.IsError()) {
        line += " " + Painted(Stream::kOut, Colour::kWarning, "warning:");
    }
    const std::string code = finding.IsError() ? std::to_string(finding.code) : finding.word;
    Put(line + " " + finding.message + " (" + code + ")\n");
}

Json ToJson(const Finding &finding)
{
    Json item;
    item["line"] = finding.line;
    item["severity"] = finding.IsError() ? "error" : "warning";
    item["code"] = finding.IsError() ? Json(finding.code) : Json(finding.word);
    item["message"] = finding.message;
    return item;
}

ExitCode Check(const std::string &name, const Arguments &arguments, Json &item)
{
    const IniSource source(name);
    Findings findings = CheckFile(source, arguments.Has("errors"));
    item["findings"] = Json::array();
    bool isMalformed = false;
    for (const Finding &finding : findings.Sorted()) {
        isMalformed = isMalformed || finding.IsError() || arguments.Has("strict");
        if (arguments.Has("json")) {
            item["findings"].push_back(ToJson(finding));
        } else {
            PutFinding(source, finding);
        }
    }
    item["ok"] = !isMalformed;
    return isMalformed ? ExitCode::kMalformed : ExitCode::kOk;
}

} // namespace

ExitCode RunIniCheck(const Arguments &arguments)
{
    arguments.RequireAtMostOneOf({"errors", "strict"});
    Results results(arguments.Has("json"));
    for (const std::string &name : arguments.From(0)) {
        Json item;
        SetText(item, "file", name);
        results.Try(item, [&] { return Check(name, arguments, item); });
        results.Add(std::move(item));
    }
    return results.Finish();
}

} // namespace wyx::tool
