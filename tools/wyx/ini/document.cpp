#include "ini/document.h"

#include <algorithm>

#include "ini/library_text.h"
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

std::vector<std::string> NamesOf(QAL_INT8 *const *ppszList, QAL_UINT32 ulCount)
{
    return {ppszList, ppszList + ulCount};
}

/// Is there a key in a block of the section, but not in its last one?
std::optional<std::size_t> LineOfHiddenKey(const IniSource &source, const std::string &section,
                                           const std::string &key)
{
    bool isInside = false;
    for (const StoredLine &line : ReadStoredLines(source).lines) {
        const LineParts parts = ParseLine(line.text);
        if (parts.kind == INI_SECTION_LINE) {
            isInside = IsSameName(parts.name, section);
        } else if (isInside && parts.kind == INI_KEYVALUE_LINE && IsSameName(parts.name, key)) {
            return line.first;
        }
    }
    return std::nullopt;
}

} // namespace

IniDocument::IniDocument(const IniSource &source)
{
    const QAL_UINT32 ulStatus = XELP_IniGetFileContent(source.LoadName().c_str(), &record_);
    if (ulStatus == XELP_ERR_INI_OPEN_FILE) {
        throw Failure(ExitCode::kIo, "cannot read '" + source.Name() + "'");
    }
    if (ulStatus != XELP_ERR_INI_OK) {
        throw LineFailure(source, ulStatus);
    }
}

IniDocument::~IniDocument()
{
    XELP_IniFreeIniStruct(&record_);
}

std::vector<std::string> IniDocument::Lines() const
{
    std::vector<std::string> lines;
    for (const QAL_UINT32 ulSlot : Slots()) {
        lines.emplace_back(record_.pStrLine[ulSlot]);
    }
    return lines;
}

std::vector<QAL_UINT32> IniDocument::Slots() const
{
    std::vector<QAL_UINT32> slots;
    for (QAL_UINT32 i = 0; i < record_.ulLineNum; ++i) {
        if (record_.pStrLine[i] != nullptr) {
            slots.push_back(i);
        }
    }
    return slots;
}

std::vector<std::string> IniDocument::Sections(const IniSource &source) const
{
    QAL_UINT32 ulCount = 0;
    QAL_INT8 **ppszList = nullptr;
    const QAL_UINT32 ulStatus = XELP_IniGetSectionList(&record_, &ulCount, &ppszList);
    if (ulStatus == XELP_ERR_INI_FILE_EMPTY || ulStatus == XELP_ERR_INI_SECTION_NOT_FOUND) {
        return {};
    }
    if (ulStatus != XELP_ERR_INI_OK) {
        throw LineFailure(source, ulStatus);
    }
    const LibraryList owned(ppszList);
    return NamesOf(ppszList, ulCount);
}

std::vector<std::string> IniDocument::Keys(const IniSource &source,
                                           const std::string &section) const
{
    QAL_UINT32 ulCount = 0;
    QAL_INT8 **ppszList = nullptr;
    const QAL_UINT32 ulStatus = XELP_IniGetKeyList(&record_, section.c_str(), &ulCount, &ppszList);
    if (ulStatus == XELP_ERR_INI_FILE_EMPTY || ulStatus == XELP_ERR_INI_SECTION_NOT_FOUND) {
        throw NotFound(*this, source, XELP_ERR_INI_SECTION_NOT_FOUND, section, {});
    }
    if (ulStatus == XELP_ERR_INI_KEY_NOT_FOUND) {
        return {};
    }
    if (ulStatus != XELP_ERR_INI_OK) {
        throw LineFailure(source, ulStatus);
    }
    const LibraryList owned(ppszList);
    return NamesOf(ppszList, ulCount);
}

Lookup IniDocument::Find(const std::string &section, const std::string &key) const
{
    QAL_INT8 *pszValue = nullptr;
    const QAL_UINT32 ulStatus =
        XELP_IniGetKeyValue(&record_, section.c_str(), key.c_str(), &pszValue);
    const LibraryText owned(pszValue);
    return {ulStatus, ValueOf(pszValue)};
}

QAL_UINT32 IniDocument::Save(const std::string &path)
{
    return XELP_IniSaveFileContent(path.c_str(), &record_);
}

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

Failure LineFailure(const IniSource &source, QAL_UINT32 status)
{
    if (status == XELP_ERR_INI_INTERNAL) {
        return {ExitCode::kIo, WithCode(LineStatusText(status), status)};
    }
    // Lookups walk up from the end, so that the last line at fault is the one they met.
    std::optional<std::size_t> found;
    for (const StoredLine &line : ReadStoredLines(source).lines) {
        if (line.isTooLong ? status == XELP_ERR_INI_LINE_TOO_LONG
                           : ParseLine(line.text).status == status) {
            found = line.first;
            if (line.isTooLong) {
                break; // a load meets the first one
            }
        }
    }
    const std::string where = found ? Where(source, *found) : source.Name() + ": ";
    std::string hint = "'wyx ini check' lists all that is wrong with a file";
    if (found == 1 && source.HasByteOrderMark()) {
        hint =
            "the file begins with a byte-order mark, which is not skipped: remove its first 3 "
            "bytes";
    }
    return {ExitCode::kMalformed, where + WithCode(LineStatusText(status), status), hint};
}

Failure NotFound(const IniDocument &document, const IniSource &source, QAL_UINT32 status,
                 const std::string &section, const std::string &key)
{
    if (status == XELP_ERR_INI_KEY_NOT_FOUND) {
        const std::string message =
            source.Name() + ": no key " + Quoted(key) + " in section " + Quoted(section);
        const std::optional<std::size_t> hidden = LineOfHiddenKey(source, section, key);
        if (hidden) {
            return {ExitCode::kNo, message,
                    "line " + std::to_string(*hidden) +
                        " has it, but in an earlier block of the section: the last one counts"};
        }
        const std::string near = Nearest(key, document.Keys(source, section));
        return {ExitCode::kNo, message, near.empty() ? "" : "did you mean " + Quoted(near) + "?"};
    }
    const std::string message = source.Name() + ": no section " + Quoted(section);
    if (section.size() > 2 && section.front() == '[' && section.back() == ']') {
        return {ExitCode::kNo, message,
                "write the name without its brackets: " +
                    Quoted(section.substr(1, section.size() - 2))};
    }
    const std::string near = Nearest(section, document.Sections(source));
    return {ExitCode::kNo, message, near.empty() ? "" : "did you mean " + Quoted(near) + "?"};
}

} // namespace wyx::tool
