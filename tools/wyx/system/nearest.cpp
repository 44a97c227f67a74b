// The edit distance: how many letters have to be inserted, dropped, replaced or swapped with their
// neighbour, none of them twice, to turn one word into the other. Case does not count. It is
// computed from a table of the distances between the words' prefixes.
#include "system/nearest.h"

#include <algorithm>
#include <cctype>

namespace wyx::tool {

namespace {

constexpr std::size_t kLongestWord = 64;

bool IsSame(char left, char right)
{
    return std::tolower(static_cast<unsigned char>(left)) ==
           std::tolower(static_cast<unsigned char>(right));
}

std::size_t Distance(std::string_view left, std::string_view right)
{
    std::vector<std::vector<std::size_t>> table(left.size() + 1,
                                                std::vector<std::size_t>(right.size() + 1));
    for (std::size_t i = 0; i <= left.size(); ++i) {
        for (std::size_t j = 0; j <= right.size(); ++j) {
            std::size_t &cell = table[i][j];
            if (i == 0 || j == 0) {
                cell = i + j;
                continue;
            }
            const std::size_t replaced =
                table[i - 1][j - 1] + (IsSame(left[i - 1], right[j - 1]) ? 0 : 1);
            cell = std::min({table[i - 1][j] + 1, table[i][j - 1] + 1, replaced});
            if (i > 1 && j > 1 && IsSame(left[i - 1], right[j - 2]) &&
                IsSame(left[i - 2], right[j - 1])) {
                cell = std::min(cell, table[i - 2][j - 2] + 1);
            }
        }
    }
    return table[left.size()][right.size()];
}

} // namespace

std::string Nearest(std::string_view word, const std::vector<std::string> &candidates)
{
    std::string nearest;
    // Up to a third of the letters wrong, or one in a short word, is a typo; more is another word.
    std::size_t best = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (const std::string &candidate : candidates) {
        if (word.size() > kLongestWord || candidate.size() > kLongestWord) {
            continue;
        }
        const std::size_t distance = Distance(word, candidate);
        if (distance < best && distance < candidate.size()) {
            best = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

} // namespace wyx::tool
