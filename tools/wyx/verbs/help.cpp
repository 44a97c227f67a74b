#include "verbs/help.h"

#include <algorithm>
#include <vector>

namespace wyx::tool {

namespace {

constexpr std::size_t kWidth = 80;

/// Wraps a line at the width. The lines after the first begin at a column.
std::string FilledLine(std::string_view line, std::size_t column)
{
    std::string filled;
    std::size_t at = column;
    while (!line.empty()) {
        const std::size_t end = std::min(line.find(' '), line.size());
        if (!filled.empty() && at + 1 + end > kWidth) {
            filled += "\n" + std::string(column, ' ');
            at = column;
        } else if (!filled.empty()) {
            filled += ' ';
            ++at;
        }
        filled += line.substr(0, end);
        at += end;
        line.remove_prefix(std::min(end + 1, line.size()));
    }
    return filled;
}

/// Wraps paragraphs. A line that begins with a space stays as it is.
std::string Filled(std::string_view text)
{
    std::string filled;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        filled += (line.starts_with(' ') ? std::string(line) : FilledLine(line, 0)) + "\n";
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return filled;
}

struct Row {
    std::string left;
    std::string_view right;
};

std::string Table(const std::vector<Row> &rows)
{
    std::size_t width = 0;
    for (const Row &row : rows) {
        width = std::max(width, row.left.size());
    }
    const std::size_t column = width + 4;
    std::string table;
    for (const Row &row : rows) {
        table += "  " + row.left + std::string(column - 2 - row.left.size(), ' ') +
                 FilledLine(row.right, column) + "\n";
    }
    return table;
}

std::vector<Row> OptionRows(const Command &command)
{
    std::vector<Row> rows;
    for (const Option &option : command.Options()) {
        std::string left = option.letter != '\0' ? std::string{'-', option.letter} + ", " : "    ";
        left += "--" + std::string(option.name);
        left += option.value.empty() ? "" : " " + std::string(option.value);
        rows.push_back({left, option.text});
    }
    return rows;
}

} // namespace

std::string HelpText(const Command &command)
{
    std::string text = "Usage: " + FullName(command) + " [OPTION...] " +
                       std::string(command.operands) + "\n\n" + std::string(command.summary) +
                       ".\n";
    std::vector<Row> verbs;
    for (const Command &verb : Commands()) {
        if (verb.IsBelow(command)) {
            verbs.push_back({std::string(verb.LastWord()), verb.summary});
        }
    }
    text += verbs.empty() ? "" : "\nVerbs:\n" + Table(verbs);
    text += "\nOptions:\n" + Table(OptionRows(command));
    text += command.text.empty() ? "" : "\n" + Filled(command.text);
    return text + "\nExamples:\n" + std::string(command.examples);
}

} // namespace wyx::tool
