// Made for edits, which change few lines: after a difference, the texts are taken to agree again
// at the nearest pair of equal lines.
#include "system/unified_diff.h"

#include <algorithm>
#include <vector>

namespace wyx::tool {

namespace {

constexpr std::size_t kContext = 3;

using Lines = std::vector<std::string_view>;

Lines LinesOf(std::string_view text)
{
    Lines lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return lines;
}

/// Places in both texts.
struct Pair {
    std::size_t before = 0;
    std::size_t after = 0;
};

/// A run of lines that were removed, and of others that were added in their place.
struct Change {
    Pair begin;
    Pair end;
};

std::vector<Change> ChangesOf(const Lines &before, const Lines &after)
{
    Pair end = {before.size(), after.size()};
    while (end.before > 0 && end.after > 0 && before[end.before - 1] == after[end.after - 1]) {
        --end.before;
        --end.after;
    }
    const auto isSame = [&](Pair at) {
        return at.before < end.before && at.after < end.after
                   ? before[at.before] == after[at.after]
                   : at.before == end.before && at.after == end.after;
    };
    // The nearest place where the texts agree again; their ends at the latest.
    const auto next = [&](Pair at) {
        for (std::size_t distance = 1;; ++distance) {
            for (std::size_t removed = 0; removed <= distance; ++removed) {
                const Pair there = {at.before + removed, at.after + distance - removed};
                if (there.before <= end.before && there.after <= end.after && isSame(there)) {
                    return there;
                }
            }
        }
    };
    std::vector<Change> changes;
    for (Pair at; at.before < end.before || at.after < end.after;) {
        if (isSame(at)) {
            ++at.before;
            ++at.after;
            continue;
        }
        changes.push_back({at, next(at)});
        at = changes.back().end;
    }
    return changes;
}

/// "-3,7": a first line, from 1, and a count that is left out if it is 1.
std::string RangeOf(char sign, std::size_t begin, std::size_t end)
{
    const std::size_t first = end == begin ? begin : begin + 1;
    return sign + std::to_string(first) +
           (end - begin == 1 ? "" : "," + std::to_string(end - begin));
}

std::string LinesOf(char sign, const Lines &lines, std::size_t begin, std::size_t end)
{
    std::string text;
    for (std::size_t i = begin; i < end; ++i) {
        text += sign + std::string(lines[i]);
        text += lines[i].ends_with('\n') ? "" : "\n\\ No newline at end of file\n";
    }
    return text;
}

} // namespace

std::string UnifiedDiff(const std::string &name, std::string_view before, std::string_view after)
{
    const Lines oldLines = LinesOf(before);
    const Lines newLines = LinesOf(after);
    const std::vector<Change> changes = ChangesOf(oldLines, newLines);
    std::string diff = changes.empty() ? "" : "--- " + name + "\n+++ " + name + "\n";
    for (std::size_t i = 0; i < changes.size();) {
        // Changes whose contexts touch or overlap are shown together.
        std::size_t last = i;
        while (last + 1 < changes.size() &&
               changes[last + 1].begin.before - changes[last].end.before <= 2 * kContext) {
            ++last;
        }
        const std::size_t lead = std::min(kContext, changes[i].begin.before);
        const std::size_t trail = std::min(kContext, oldLines.size() - changes[last].end.before);
        diff += "@@ " +
                RangeOf('-', changes[i].begin.before - lead, changes[last].end.before + trail) +
                " " + RangeOf('+', changes[i].begin.after - lead, changes[last].end.after + trail) +
                " @@\n";
        std::size_t shown = changes[i].begin.before - lead;
        for (; i <= last; ++i) {
            const Change &change = changes[i];
            diff += LinesOf(' ', oldLines, shown, change.begin.before) +
                    LinesOf('-', oldLines, change.begin.before, change.end.before) +
                    LinesOf('+', newLines, change.begin.after, change.end.after);
            shown = change.end.before;
        }
        diff += LinesOf(' ', oldLines, shown, shown + trail);
    }
    return diff;
}

} // namespace wyx::tool
