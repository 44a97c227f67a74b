// wyx: the command line over libwyx_commlib.
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "system/nearest.h"
#include "system/terminal.h"
#include "verbs/operand.h"
#include "verbs/verbs.h"

namespace wyx::tool {

namespace {

constexpr const char *kAfterHelp =
    "Exit codes:\n"
    "  0  ok\n"
    "  1  not found, or a sum that does not match\n"
    "  2  a command line that makes no sense, or a change that is refused\n"
    "  3  something cannot be read or written\n"
    "  4  a malformed file\n"
    "\n"
    "Examples:\n"
    "  wyx sum --crc32 FILE               a checksum\n"
    "  wyx ini get net.ini net port       a value\n"
    "  wyx ini set net.ini net port=5061  change it\n"
    "  wyx addr '[::1]:443'              what an address means\n"
    "\n"
    "'wyx VERB --help' tells more about a verb and shows examples.";

/// The deepest verb that the command line names: "wyx ini get" for {"ini", "get", ...}.
const CLI::App *NamedVerb(const CLI::App &app, const std::vector<std::string> &words)
{
    const CLI::App *verb = &app;
    for (const std::string &word : words) {
        const auto verbs = verb->get_subcommands(
            [&](const CLI::App *candidate) { return candidate->get_name() == word; });
        if (verbs.empty()) {
            break;
        }
        verb = verbs.front();
    }
    return verb;
}

std::string FullName(const CLI::App &verb)
{
    const CLI::App *const parent = verb.get_parent();
    return parent == nullptr ? verb.get_name() : FullName(*parent) + " " + verb.get_name();
}

std::string TryHelp(const CLI::App &verb)
{
    return "try '" + FullName(verb) + " --help'";
}

/// Refuses a command line that ends, or goes on with an unknown word, where a verb is due.
void RequireVerb(const CLI::App &app, const std::vector<std::string> &words)
{
    const CLI::App *const family = NamedVerb(app, words);
    std::vector<std::string> names;
    for (const CLI::App *verb : family->get_subcommands([](const CLI::App *) { return true; })) {
        if (!verb->get_group().empty()) {
            names.push_back(verb->get_name());
        }
    }
    if (names.empty()) {
        return;
    }
    const auto depth = static_cast<std::ptrdiff_t>(std::ranges::count(FullName(*family), ' '));
    const auto next = words.begin() + depth;
    if (next != words.end() && next->starts_with('-')) {
        return; // an option, which the argument parser judges
    }
    std::string list;
    for (const std::string &name : names) {
        list += (list.empty() ? "" : ", ") + name;
    }
    if (next == words.end()) {
        throw Failure(ExitCode::kUsage, "'" + FullName(*family) + "' needs a verb: " + list,
                      TryHelp(*family));
    }
    if (*next == "help") {
        throw Failure(ExitCode::kUsage, Quoted(*next) + " is no verb", TryHelp(*family));
    }
    const std::string near = Nearest(*next, names);
    throw Failure(ExitCode::kUsage, Quoted(*next) + " is no verb of '" + FullName(*family) + "'",
                  near.empty() ? "the verbs are: " + list : "did you mean '" + near + "'?");
}

ExitCode Run(const std::vector<std::string> &words)
{
    CLI::App app("Checksums, INI files, addresses and Base64 from the command line.", "wyx");
    Action chosen;
    app.set_version_flag("-V,--version", "wyx " WYX_VERSION);
    app.require_subcommand(1);
    app.footer(kAfterHelp);
    app.get_formatter()->label("SUBCOMMAND", "VERB");
    app.get_formatter()->label("Subcommands", "Verbs");
    app.get_formatter()->label("Positionals", "Arguments");
    AddSum(app, chosen);
    AddBase64(app, chosen);
    AddAddr(app, chosen);
    AddIni(app, chosen);

    RequireVerb(app, words);
    std::vector<std::string> arguments = Guarded(words);
    std::ranges::reverse(arguments); // the order in which the argument parser takes them
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            std::ostringstream text; // help or the version
            app.exit(error, text, text);
            Put(text.str());
            return ExitCode::kOk;
        }
        std::string message = error.what();
        std::erase(message, kMark);
        throw Failure(ExitCode::kUsage, Shown(message), TryHelp(*NamedVerb(app, words)));
    }
    return chosen();
}

/// Runs the tool and reports what ended it.
ExitCode RunReported(const std::vector<std::string> &words)
{
    try {
        return Run(words);
    } catch (const Failure &failure) {
        Report(failure);
        return failure.Code();
    } catch (const std::bad_alloc &) {
        PutError("out of memory");
        return ExitCode::kIo;
    } catch (const std::exception &error) {
        PutError(Shown(error.what()));
        return ExitCode::kIo;
    }
}

} // namespace

} // namespace wyx::tool

int main(int argc, char **argv)
{
    using namespace wyx::tool;
    PrepareStreams();
    ExitCode code = RunReported(std::vector<std::string>(argv + 1, argv + argc));
    try {
        FinishOutput();
    } catch (const Failure &failure) {
        Report(failure);
        code = Graver(code, failure.Code());
    }
    return static_cast<int>(code);
}
