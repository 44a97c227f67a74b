#include "ini/rehearsal.h"

#include <algorithm>

#include "ini/text.h"

namespace wyx::tool {

namespace {

constexpr std::size_t kPiece = 78; // what is folded off, or one byte more
constexpr std::string_view kFold = "\\\n";

/// A line as the library's save lays it out: pieces of 78 bytes, or 79 where the 78th is the first
/// of a pair of bytes from 0x80 on. IniSaveStringToIniFile() would do it, but in a file on disk.
SavedLine Fold(std::string_view line)
{
    SavedLine saved;
    std::size_t begin = 0;
    while (line.size() - begin >= kFolded) {
        std::size_t high = 0; // bytes from 0x80 on at the end of the piece
        while (high < kPiece &&
               static_cast<unsigned char>(line[begin + kPiece - 1 - high]) >= 0x80) {
            ++high;
        }
        const std::size_t piece = kPiece + high % 2;
        saved.bytes.append(line.substr(begin, piece)).append(kFold);
        begin += piece;
        saved.folds.push_back(begin);
    }
    saved.bytes.append(line.substr(begin));
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
    Rehearsal rehearsal;
    std::string bytes;
    for (const std::string &line : lines) {
        rehearsal.saved.push_back(Fold(line));
        bytes += rehearsal.saved.back().bytes;
    }
    rehearsal.reloaded = ReadStoredLines(IniSource::OfBytes({}, std::move(bytes))).Texts();
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
