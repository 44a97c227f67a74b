#include "ini/document.h"

#include <algorithm>
#include <new>

#include "ini/library_text.h"
#include "ini/other_readers.h"
#include "system/nearest.h"
#include "system/terminal.h"

namespace wyx::tool {

namespace {

std::string Where(const IniSource &source, std::size_t line)
{
    return source.Name() + ":" + std::to_string(line) + ": ";
}

std::string WithCode(const std::string &text, QAL_UINT32 status)
{
    return text + " (" + std::to_string(status) + ")";
}

/// Refuses UTF-16 text and NUL bytes.
void RequireText(const IniSource &source)
{
    const std::string &bytes = source.Bytes();
    if (source.IsUtf16()) {
        throw Failure(ExitCode::kMalformed, source.Name() + " is UTF-16 text",
                      "convert it first: iconv -f UTF-16 -t UTF-8");
    }
    const std::size_t nul = bytes.find('\0');
    if (nul != std::string::npos) {
        const std::size_t line = SplitLines(std::string_view(bytes).substr(0, nul + 1)).size();
        throw Failure(ExitCode::kMalformed,
                      Where(source, line) + "NUL byte: this is a binary file, or a damaged one",
                      "what follows a NUL on its line is not read; see: wyx ini check");
    }
}

/// The line of a key that lookups do not find, in an earlier block of the section.
std::optional<std::size_t> LineOfHiddenKey(const IniText &text, const std::string &section,
                                           const std::string &key)
{
    bool isInside = false;
    for (std::size_t i = 0; i < text.Lines().size(); ++i) {
        const LineParts &parts = text.Parts()[i];
        if (parts.kind == INI_SECTION_LINE) {
            isInside = IsSameName(parts.name, section);
        } else if (isInside && parts.kind == INI_KEYVALUE_LINE && IsSameName(parts.name, key)) {
            return text.Lines()[i].first;
        }
    }
    return std::nullopt;
}

constexpr const char *kNobodysName = "\n";

/// Is it a header that cannot be read? An indented line with a '[' may be anything.
bool IsBadHeader(const LineParts &parts, const std::string &text)
{
    return parts.kind == INI_SECTION_LINE && parts.IsUnreadable() && text.front() == '[';
}

std::vector<LineParts> PartsOf(const StoredLines &stored)
{
    std::vector<LineParts> all;
    for (const StoredLine &line : stored.lines) {
        LineParts parts = ParseLine(line);
        if (parts.IsUnreadable() && !IsBadHeader(parts, line.text)) {
            parts.kind = INI_ERROR_LINE;
        }
        all.push_back(std::move(parts));
    }
    return all;
}

/// Does a file use LF CR as a line end?
bool HasLfCr(std::string_view bytes)
{
    for (std::size_t at = bytes.find("\n\r"); at != std::string_view::npos;
         at = bytes.find("\n\r", at + 1)) {
        if (bytes.substr(at + 2, 1) != "\n") {
            return true;
        }
    }
    return false;
}

/// Where the stored lines are in the bytes.
std::vector<Range> RangesOf(const IniSource &source, const StoredLines &stored)
{
    const std::string_view bytes = source.Bytes();
    const std::vector<RawLine> raw = SplitLines(bytes);
    const bool hasLfCr = HasLfCr(bytes);
    std::vector<Range> ranges;
    std::size_t begin = source.HasByteOrderMark() ? kByteOrderMark.size() : 0;
    for (const StoredLine &line : stored.lines) {
        std::size_t end = raw[std::min(line.first + line.count - 1, raw.size()) - 1].end;
        if (!hasLfCr && bytes.substr(0, end).ends_with("\n\r") && end < bytes.size()) {
            --end; // SplitLines() paired LF CR, but the CR belongs to a CR LF
        }
        ranges.push_back({begin, end});
        begin = end;
    }
    return ranges;
}

std::string DidYouMean(const std::string &word, const std::vector<std::string> &candidates)
{
    const std::string near = Nearest(word, candidates);
    return near.empty() ? "" : "did you mean " + Quoted(near) + "?";
}

/// Throws if a call on a document failed for lack of memory. XELP_ERR_INI_INTERNAL cannot mean
/// anything else here, because a document holds only lines that the library can read.
void RequireMemory(QAL_UINT32 status)
{
    if (status == XELP_ERR_INI_INTERNAL) {
        throw std::bad_alloc();
    }
}

/// The names of a list that the library handed over; empty if it found none.
std::vector<std::string> TakeNames(QAL_UINT32 ulStatus, QAL_INT8 **ppszList, QAL_UINT32 ulCount)
{
    RequireMemory(ulStatus);
    if (ulStatus != XELP_ERR_INI_OK) {
        return {};
    }
    const LibraryList owned(ppszList);
    return {ppszList, ppszList + ulCount};
}

} // namespace

IniDocument::IniDocument(const StoredLines &stored, const std::vector<LineParts> &parts)
{
    // An empty document, which is filled by hand.
    QAL_UINT32 ulStatus = XELP_IniGetFileContent("/dev/null", &record_);
    for (std::size_t i = 0; ulStatus == XELP_ERR_INI_OK && i < stored.lines.size(); ++i) {
        if (record_.ulLineNum + 1 >= record_.ulTotalLine) {
            ulStatus = IniRemallocIniLine(&record_);
        }
        const std::string &text = stored.lines[i].text;
        const bool isNobodys = IsBadHeader(parts[i], text);
        if (ulStatus == XELP_ERR_INI_OK && (isNobodys || !parts[i].IsUnreadable())) {
            ulStatus = IniSaveStringToIniStruct(&record_, record_.ulLineNum,
                                                isNobodys ? kNobodysHeader : text.c_str());
        }
        ++record_.ulLineNum;
    }
    if (ulStatus != XELP_ERR_INI_OK) {
        XELP_IniFreeIniStruct(&record_);
        throw std::bad_alloc();
    }
}

IniDocument::~IniDocument()
{
    XELP_IniFreeIniStruct(&record_);
}

std::vector<std::string> IniDocument::Sections() const
{
    QAL_UINT32 ulCount = 0;
    QAL_INT8 **ppszList = nullptr;
    const QAL_UINT32 ulStatus = XELP_IniGetSectionList(&record_, &ulCount, &ppszList);
    std::vector<std::string> names = TakeNames(ulStatus, ppszList, ulCount);
    std::erase(names, kNobodysName);
    return names;
}

std::vector<std::string> IniDocument::Keys(const std::string &section) const
{
    QAL_UINT32 ulCount = 0;
    QAL_INT8 **ppszList = nullptr;
    const std::string name(Trimmed(section));
    const QAL_UINT32 ulStatus = XELP_IniGetKeyList(&record_, name.c_str(), &ulCount, &ppszList);
    return TakeNames(ulStatus, ppszList, ulCount);
}

Lookup IniDocument::Find(const std::string &section, const std::string &key) const
{
    QAL_INT8 *pszValue = nullptr;
    const std::string name(Trimmed(section));
    const QAL_UINT32 ulStatus = XELP_IniGetKeyValue(&record_, name.c_str(), key.c_str(), &pszValue);
    const LibraryText owned(pszValue);
    RequireMemory(ulStatus);
    return {ulStatus, ValueOf(pszValue)};
}

IniText::IniText(IniSource source)
    : source_((RequireText(source), std::move(source))),
      stored_(ReadStoredLines(source_, ByteOrderMark::kSkipped)),
      parts_(PartsOf(stored_)),
      ranges_(RangesOf(source_, stored_)),
      document_(stored_, parts_)
{}

std::string_view IniText::BytesOf(std::size_t line) const
{
    const Range range = ranges_[line];
    return std::string_view(Bytes()).substr(range.begin, range.end - range.begin);
}

std::vector<std::string_view> IniText::LinesOf(std::size_t line) const
{
    const std::string_view bytes = BytesOf(line);
    std::vector<std::string_view> lines;
    for (const RawLine &raw : SplitLines(bytes)) {
        lines.push_back(bytes.substr(raw.begin, raw.end - raw.begin));
    }
    return lines;
}

std::vector<std::string> IniText::Keys(const std::string &section) const
{
    const QAL_UINT32 ulStatus = document_.Find(section, "").status;
    if (ulStatus == XELP_ERR_INI_FILE_EMPTY || ulStatus == XELP_ERR_INI_SECTION_NOT_FOUND) {
        throw NotFound(ulStatus, section, {});
    }
    return document_.Keys(section);
}

std::optional<std::string> IniText::Value(const std::string &section, const std::string &key) const
{
    const Lookup found = document_.Find(section, key);
    if (found.status != XELP_ERR_INI_OK) {
        throw NotFound(found.status, section, key);
    }
    return found.value;
}

void IniText::RequireReadable() const
{
    if (source_.HasByteOrderMark()) {
        throw Failure(ExitCode::kMalformed, Where(source_, 1) + "byte-order mark",
                      "remove its three bytes, EF BB BF");
    }
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        if (parts_[i].IsUnreadable()) {
            throw Failure(ExitCode::kMalformed,
                          Where(source_, Lines()[i].first) +
                              WithCode(LineStatusText(parts_[i].status), parts_[i].status),
                          "'wyx ini check' lists the lines that cannot be read");
        }
    }
}

Failure IniText::NotFound(QAL_UINT32 status, const std::string &section,
                          const std::string &key) const
{
    const std::string &file = source_.Name();
    const std::string name(Trimmed(section));
    const auto unread = [](std::size_t line) {
        return "line " + std::to_string(line) +
               " looks like it, but is not read as one; see: wyx ini check";
    };
    if (status == XELP_ERR_INI_KEY_NOT_FOUND) {
        const std::string message =
            file + ": no key " + Quoted(key) + " in section " + Quoted(section);
        if (const auto hidden = LineOfHiddenKey(*this, name, key)) {
            return {ExitCode::kNo, message,
                    "line " + std::to_string(*hidden) +
                        " has it, but in an earlier block of the section: the last one counts"};
        }
        if (const auto line = LineOfOthersKey(*this, BlockOf(*this, name), key)) {
            return {ExitCode::kNo, message, unread(*line)};
        }
        return {ExitCode::kNo, message, DidYouMean(key, document_.Keys(section))};
    }
    const std::string message = file + ": no section " + Quoted(section);
    if (section.size() > 2 && section.front() == '[' && section.back() == ']') {
        return {ExitCode::kNo, message,
                "write the name without its brackets: " +
                    Quoted(section.substr(1, section.size() - 2))};
    }
    if (const auto line = LineOfOthersSection(*this, name)) {
        return {ExitCode::kNo, message, unread(*line)};
    }
    return {ExitCode::kNo, message, DidYouMean(section, Sections())};
}

} // namespace wyx::tool
