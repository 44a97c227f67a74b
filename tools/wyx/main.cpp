// wyx: the command-line tool of libwyx_commlib.
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "system/json.h"
#include "system/terminal.h"
#include "verbs/arguments.h"
#include "verbs/complete.h"
#include "verbs/help.h"

namespace wyx::tool {

namespace {

ExitCode Help(const Command &command)
{
    Put(HelpText(command));
    return ExitCode::kOk;
}

/// "wyx" or "wyx ini" without a verb: with an option, with "help", or by mistake.
ExitCode RunFamily(const Command &family, Words words)
{
    if (words.empty()) {
        throw NoVerb(family, words);
    }
    if (words.front() == "help") {
        words = words.subspan(1);
        const Command &command = TakeCommand(words, family);
        if (!words.empty()) {
            throw NoVerb(command, words);
        }
        return Help(command);
    }
    if (!words.front().starts_with('-')) {
        throw NoVerb(family, words);
    }
    const Arguments arguments(family, words.first(1));
    if (arguments.Has("version")) {
        Put("wyx " WYX_VERSION "\n");
        return ExitCode::kOk;
    }
    return Help(family);
}

ExitCode Run(Words words)
{
    if (!words.empty() && words.front() == kCompletionWord) {
        PutCompletions(words.subspan(1));
        return ExitCode::kOk;
    }
    const Command &command = TakeCommand(words);
    if (command.run == nullptr) {
        return RunFamily(command, words);
    }
    const Arguments arguments(command, words);
    return arguments.Has("help") ? Help(command) : command.run(arguments);
}

/// Is it --json, perhaps abbreviated?
bool MeansJson(std::string_view word)
{
    return word.starts_with("--j") && std::string_view("--json").starts_with(word);
}

/// Is --json among the options? It does not count as the value of another option, or after "--".
bool AsksForJson(Words words)
{
    const Command &command = TakeCommand(words);
    bool isValue = false;
    for (const std::string &word : words) {
        if (!isValue && (word == "--" || MeansJson(word))) {
            return word != "--";
        }
        isValue = !isValue && OptionTakingNextWord(command, word) != nullptr;
    }
    return false;
}

/// Reports a failure that ends the tool. With --json, also writes it as JSON.
ExitCode ReportFailure(const Failure &failure, Words words)
{
    Report(failure);
    if (AsksForJson(words)) {
        Json json;
        SetText(json, "error", failure.what());
        if (!failure.Hint().empty()) {
            SetText(json, "hint", failure.Hint());
        }
        json["exit_code"] = static_cast<int>(failure.Code());
        PutJson(json);
    }
    return failure.Code();
}

ExitCode RunAndReport(Words words)
{
    try {
        return Run(words);
    } catch (const Failure &failure) {
        return ReportFailure(failure, words);
    } catch (const std::bad_alloc &) {
        return ReportFailure({ExitCode::kIo, "out of memory"}, words);
    }
}

} // namespace

} // namespace wyx::tool

int main(int argc, char **argv)
{
    using namespace wyx::tool;
    PrepareStreams();
    const std::vector<std::string> words(argv + 1, argv + argc);
    try {
        const ExitCode code = RunAndReport(words);
        FlushOutput();
        return static_cast<int>(code);
    } catch (const OutputFailure &failure) {
        return static_cast<int>(EndWithoutOutput(failure));
    }
}
