#include "ini/recovery.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <tuple>

#include "system/terminal.h"

namespace wyx::tool {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kEnding = ".ibk";
constexpr std::size_t kTimeDigits = 13; // of milliseconds since 1970, from 2001 to 2286

/// The target's name as a save cuts it: at the last dot of the whole path.
std::string CutName(const std::string &target)
{
    return target.substr(0, target.rfind('.'));
}

/// The digits in a name that a save may have made; empty for other names.
std::string DigitsOf(std::string_view name, std::string_view beginning)
{
    if (!name.starts_with(beginning) || !name.ends_with(kEnding) ||
        name.size() <= beginning.size() + kEnding.size()) {
        return {};
    }
    const std::string_view digits =
        name.substr(beginning.size(), name.size() - beginning.size() - kEnding.size());
    const bool isNumber = std::ranges::all_of(
        digits, [](char ch) { return std::isdigit(static_cast<unsigned char>(ch)) != 0; });
    return isNumber ? std::string(digits) : std::string();
}

void FindBeside(const std::string &target, std::set<std::string> &seen,
                std::vector<Leftover> &leftovers)
{
    const std::string cut = CutName(target);
    const std::size_t slash = cut.rfind('/');
    const std::string beginning = slash == std::string::npos ? cut : cut.substr(slash + 1);
    const std::string directory = slash == std::string::npos ? "." : cut.substr(0, slash + 1);
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename();
        const std::string digits = DigitsOf(name, beginning);
        const std::string path = slash == std::string::npos ? name : directory + name;
        std::error_code ignored;
        const fs::path whole = fs::canonical(path, ignored);
        if (!digits.empty() && fs::is_regular_file(entry->symlink_status(ignored)) &&
            seen.insert(whole).second) {
            leftovers.push_back({path, digits});
        }
    }
    if (error) {
        throw SystemFailure("cannot read the directory " + Quoted(directory), error.value());
    }
}

} // namespace

std::vector<Leftover> FindLeftovers(const std::string &target)
{
    std::vector<Leftover> leftovers;
    std::set<std::string> seen;
    FindBeside(target, seen, leftovers);
    std::error_code error;
    const fs::path resolved = fs::canonical(target, error);
    if (!error) {
        FindBeside(resolved, seen, leftovers);
    }
    // A number of another length is not a plausible time, so it comes last. It may belong to
    // another file: "net1" and a time look like "net" and a longer number.
    std::ranges::sort(leftovers, [](const Leftover &left, const Leftover &right) {
        const auto key = [](const Leftover &leftover) {
            return std::tuple(leftover.digits.size() == kTimeDigits, leftover.digits.size(),
                              leftover.digits);
        };
        return key(left) > key(right);
    });
    return leftovers;
}

std::string RecoveryHint(const std::string &target)
{
    try {
        return FindLeftovers(target).empty()
                   ? ""
                   : "an interrupted save left its content beside it: wyx ini recover " +
                         Shown(target);
    } catch (const Failure &) {
        return {};
    }
}

} // namespace wyx::tool
