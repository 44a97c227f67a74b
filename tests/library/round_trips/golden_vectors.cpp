#include "golden_vectors.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string_view>

namespace wyx::test {
namespace {

int DigitOf(char ch)
{
    return ch >= 'A' ? ch - 'A' + 10 : ch - '0';
}

/// The bytes that a code span represents.
std::string BytesOf(std::string_view span)
{
    std::string bytes;
    for (std::size_t i = 0; i < span.size(); ++i) {
        if (span[i] == '\\') {
            const char ch = span.substr(i + 1, 1) == "" ? '?' : span[i + 1];
            if (ch == 'x' && i + 3 < span.size()) {
                bytes += static_cast<char>(DigitOf(span[i + 2]) * 16 + DigitOf(span[i + 3]));
                i += 3;
            } else if (ch == 'r' || ch == 'n' || ch == '\\') {
                bytes += ch == 'r' ? '\r' : ch == 'n' ? '\n' : '\\';
                ++i;
            } else {
                ADD_FAILURE() << "unknown escape: " << span;
            }
        } else if (span[i] == '{') { // repeats the byte before it
            const std::size_t close = span.find('}', i);
            const std::string count(span.substr(i + 1, close - i - 1));
            bytes.append(std::stoul(count) - 1, bytes.back());
            i = close;
        } else {
            bytes += span[i];
        }
    }
    return bytes;
}

/// The code spans of a cell.
std::vector<std::string> SpansOf(std::string_view cell)
{
    std::vector<std::string> spans;
    for (std::size_t open = cell.find('`'); open != std::string_view::npos;) {
        const std::size_t close = cell.find('`', open + 1);
        spans.push_back(BytesOf(cell.substr(open + 1, close - open - 1)));
        open = cell.find('`', close + 1);
    }
    return spans;
}

std::vector<std::string_view> CellsOf(std::string_view row)
{
    std::vector<std::string_view> cells;
    for (std::size_t at = 0; row.find('|', at + 1) != std::string_view::npos;) {
        const std::size_t next = row.find('|', at + 1);
        cells.push_back(row.substr(at + 1, next - at - 1));
        at = next;
    }
    return cells;
}

} // namespace

std::vector<GoldenVector> GoldenVectors()
{
    std::vector<GoldenVector> vectors;
    std::ifstream page(WYX_ROUND_TRIPS_PAGE);
    EXPECT_TRUE(page.is_open());
    for (std::string line; std::getline(page, line);) {
        if (!line.starts_with("| `")) {
            continue;
        }
        const std::vector<std::string_view> cells = CellsOf(line);
        if (cells.size() != 4 || SpansOf(cells[1]).size() != 1 || SpansOf(cells[3]).size() > 1) {
            ADD_FAILURE() << "not a row of four cells: " << line;
            continue;
        }
        GoldenVector vector{line, SpansOf(cells[0]), SpansOf(cells[1])[0], SpansOf(cells[2]), ""};
        if (!SpansOf(cells[3]).empty()) {
            vector.warning = SpansOf(cells[3])[0];
        }
        vectors.push_back(vector);
    }
    EXPECT_GT(vectors.size(), 10U);
    return vectors;
}

} // namespace wyx::test
