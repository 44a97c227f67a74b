#include "ini/rehearsal.h"

#include <algorithm>
#include <cerrno>

#include "ini/text.h"
#include "os_adapter.h"
#include "system/file_input.h"
#include "system/temp_directory.h"
#include "system/terminal.h"

namespace wyx::tool {

namespace {

constexpr std::size_t kPiece = 78; // what is folded off, or one byte more
constexpr std::string_view kFold = "\\\n";

void Save(const std::vector<std::string> &lines, const std::string &path)
{
    XELP_S_File *const pstruFile = XELP_Fopen(path.c_str(), "w");
    if (pstruFile == nullptr) {
        throw SystemFailure("cannot create " + Quoted(path), errno);
    }
    QAL_UINT32 ulStatus = XELP_ERR_INI_OK;
    for (std::string line : lines) {
        if (ulStatus == XELP_ERR_INI_OK) {
            ulStatus = IniSaveStringToIniFile(pstruFile, line.data());
        }
    }
    if (XELP_Fclose(pstruFile) != 0 || ulStatus != XELP_ERR_INI_OK) {
        throw SystemFailure("cannot write " + Quoted(path), errno);
    }
}

/// Tells from the written bytes where a line was folded.
SavedLine Unfold(const std::string &line, std::string_view written)
{
    SavedLine saved;
    std::size_t done = 0;
    std::size_t at = 0;
    while (line.size() - done >= kFolded) {
        const std::size_t piece =
            written.substr(at + kPiece).starts_with(kFold) ? kPiece : kPiece + 1;
        done += piece;
        at += piece + kFold.size();
        saved.folds.push_back(done);
    }
    saved.bytes = written.substr(0, at + line.size() - done);
    return saved;
}

bool IsOddBackslashes(std::string_view text)
{
    const std::size_t last = text.find_last_not_of('\\');
    const std::size_t run = text.size() - (last == std::string_view::npos ? 0 : last + 1);
    return run % 2 == 1;
}

} // namespace

Rehearsal Rehearse(const std::vector<std::string> &lines)
{
    const IniSource source = [&] {
        const TempDirectory directory;
        const std::string path = directory.Path() + "/rehearsal.ini";
        Save(lines, path);
        return IniSource(path);
    }();
    Rehearsal rehearsal;
    std::string_view written = source.Bytes();
    for (const std::string &line : lines) {
        rehearsal.saved.push_back(Unfold(line, written));
        written.remove_prefix(rehearsal.saved.back().bytes.size());
    }
    rehearsal.reloaded = ReadStoredLines(source).Texts();
    return rehearsal;
}

std::optional<std::size_t> FirstChanged(const std::vector<std::string> &lines,
                                        const std::vector<std::string> &reloaded)
{
    const std::size_t common = std::min(lines.size(), reloaded.size());
    for (std::size_t i = 0; i < common; ++i) {
        if (WithoutLineEnd(lines[i]) != WithoutLineEnd(reloaded[i])) {
            return i;
        }
    }
    if (lines.size() == reloaded.size()) {
        return std::nullopt;
    }
    return common < lines.size() || common == 0 ? common : common - 1;
}

std::string WhyChanged(const std::string &line, const SavedLine &saved)
{
    const std::string_view text = line;
    std::size_t begin = 0;
    for (const std::size_t fold : saved.folds) {
        if (IsOddBackslashes(text.substr(begin, fold - begin))) {
            return "a save folds it behind a backslash, byte " + std::to_string(fold);
        }
        if (fold == WithoutLineEnd(text).size()) {
            return "a save folds it at its line end, byte " + std::to_string(fold);
        }
        begin = fold;
    }
    if (IsOddBackslashes(WithoutLineEnd(text))) {
        return "it ends in a backslash, which joins the next line to it";
    }
    return "it runs together with a line beside it";
}

} // namespace wyx::tool
