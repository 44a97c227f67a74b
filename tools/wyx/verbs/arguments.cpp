#include "verbs/arguments.h"

#include <getopt.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>

#include "system/nearest.h"
#include "system/terminal.h"

namespace wyx::tool {

namespace {

constexpr int kFirstLong = 256; // numbers for long options, above those of letters

std::string TryHelp(const Command &command)
{
    return "try '" + FullName(command) + " --help'";
}

std::string Dashed(std::string_view option)
{
    return "--" + std::string(option);
}

/// What a wrong word in a verb's place probably means: a verb, or an option of a verb.
std::string MeantVerb(const Command &family, const std::string &word)
{
    std::vector<std::string> below;
    for (const Command &command : Commands()) {
        if (command.IsBelow(family)) {
            below.emplace_back(command.LastWord());
        } else if (command.LastWord() == word) {
            return FullName(command);
        }
    }
    for (const Command &command : Commands()) {
        const auto options = command.Options();
        if (std::ranges::find(options, word, &Option::name) != options.end()) {
            return FullName(command) + " " + Dashed(word);
        }
    }
    return Nearest(word, below);
}

} // namespace

const Command &TakeCommand(Words &words, const Command &family)
{
    for (const Command &command : Commands()) {
        if (!words.empty() && command.IsBelow(family) && command.LastWord() == words.front()) {
            words = words.subspan(1);
            return TakeCommand(words, command);
        }
    }
    return family;
}

Failure NoVerb(const Command &family, Words words)
{
    const std::string name = "'" + FullName(family) + "'";
    std::string verbs;
    for (const Command &command : Commands()) {
        if (command.IsBelow(family)) {
            verbs += (verbs.empty() ? "" : ", ") + std::string(command.LastWord());
        }
    }
    if (words.empty()) {
        return {ExitCode::kUsage, name + " needs a verb: " + verbs, TryHelp(family)};
    }
    const std::string &word = words.front();
    const std::string message = Quoted(word) + " is not a verb of " + name;
    if (verbs.empty()) {
        return {ExitCode::kUsage, message, TryHelp(family)};
    }
    const std::string meant = MeantVerb(family, word);
    return {ExitCode::kUsage, message,
            meant.empty() ? "the verbs are: " + verbs : "did you mean '" + meant + "'?"};
}

std::vector<Operand> OperandsOf(const Command &command)
{
    std::vector<Operand> operands;
    std::string_view rest = command.operands;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(' '), rest.size());
        Operand operand{rest.substr(0, end)};
        rest.remove_prefix(std::min(end + 1, rest.size()));
        operand.isOptional = operand.name.starts_with('[') && operand.name.ends_with(']');
        if (operand.isOptional) {
            operand.name = operand.name.substr(1, operand.name.size() - 2);
        }
        operand.isRepeated = operand.name.ends_with("...");
        if (operand.isRepeated) {
            operand.name.remove_suffix(3);
        }
        operands.push_back(operand);
    }
    return operands;
}

const Option *OptionTakingNextWord(const Command &command, std::string_view word)
{
    const auto options = command.Options();
    const auto option = std::ranges::find_if(options, [&](const Option &known) {
        const bool isLong = word.size() > 2 && Dashed(known.name).starts_with(word);
        return !known.value.empty() && (isLong || word == std::string{'-', known.letter});
    });
    return option == options.end() ? nullptr : &*option;
}

Arguments::Arguments(const Command &command, Words words) : command_(command)
{
    Take(words);
    if (Has("help") || command.run == nullptr) {
        return; // the operands do not matter then
    }
    const std::vector<Operand> operands = OperandsOf(command);
    std::size_t required = 0;
    for (const Operand &operand : operands) {
        required += operand.isOptional ? 0 : 1;
        if (required > operands_.size()) {
            throw Misuse(std::string(operand.name) + " is required");
        }
    }
    const bool isOpen = !operands.empty() && operands.back().isRepeated;
    if (!isOpen && operands_.size() > operands.size()) {
        throw Misuse("not expected: " + Shown(operands_[operands.size()]));
    }
}

void Arguments::Take(Words words)
{
    // What getopt_long() returns: 1 for an operand, a letter for a short option, kFirstLong and
    // more for long ones, '?' for an option that is wrong, ':' for a missing value.
    const auto options = command_.Options();
    std::string letters = "-:"; // return operands in order, and ':' for a missing value
    std::vector<option> names;
    for (const Option &known : options) {
        const bool hasValue = !known.value.empty();
        if (known.letter != '\0') {
            letters += known.letter;
            letters += hasValue ? ":" : "";
        }
        if (!known.name.empty()) { // a literal, so a NUL follows it
            names.push_back({known.name.data(), hasValue ? required_argument : no_argument, nullptr,
                             kFirstLong + static_cast<int>(&known - options.data())});
        }
    }
    names.push_back({});

    std::string program = FullName(command_);
    std::vector<char *> argv = {program.data()};
    for (const std::string &word : words) {
        argv.push_back(const_cast<char *>(word.c_str())); // getopt_long() only reads it
    }
    const int argc = static_cast<int>(argv.size());
    argv.push_back(nullptr);
    optind = 0; // forgets an earlier call
    opterr = 0;
    for (int found;
         (found = getopt_long(argc, argv.data(), letters.c_str(), names.data(), nullptr)) != -1;) {
        if (found == 1) {
            operands_.emplace_back(optarg);
        } else if (found == '?' || found == ':') {
            throw Wrong(*(argv.begin() + optind - 1), found == ':');
        } else {
            given_.push_back({&OptionOf(found), optarg != nullptr ? optarg : ""});
        }
    }
    operands_.insert(operands_.end(), argv.begin() + optind, argv.end() - 1); // after "--"
}

const Option &Arguments::OptionOf(int found) const
{
    const auto options = command_.Options();
    return found >= kFirstLong ? options[static_cast<std::size_t>(found - kFirstLong)]
                               : *std::ranges::find(options, found, &Option::letter);
}

Failure Arguments::Wrong(std::string_view word, bool lacksValue) const
{
    if (lacksValue) {
        const Option &option = OptionOf(optopt);
        return Misuse(Dashed(option.name) + " needs a value: " + std::string(option.value));
    }
    if (optopt >= kFirstLong) {
        return Misuse(Dashed(OptionOf(optopt).name) + " takes no value");
    }
    if (optopt != 0) {
        return Misuse("unknown option " + Quoted(std::string{'-', static_cast<char>(optopt)}),
                      "after '--', a word that begins with '-' is not an option");
    }
    const std::string_view name = word.substr(2, word.find('=') - 2);
    std::vector<std::string> names;
    std::string meant;
    for (const Option &known : command_.Options()) {
        names.emplace_back(known.name);
        if (known.name.starts_with(name)) { // so does another, or it would have been accepted
            meant += (meant.empty() ? "" : ", ") + Dashed(known.name);
        }
    }
    const std::string shown = Quoted(Dashed(name));
    if (!meant.empty()) {
        return Misuse(shown + " is ambiguous: " + meant);
    }
    const std::string near = Nearest(name, names);
    return near.empty() ? Misuse("unknown option " + shown)
                        : Misuse("unknown option " + shown, "did you mean '--" + near + "'?");
}

std::optional<std::string> Arguments::Value(std::string_view option) const
{
    for (auto given = given_.rbegin(); given != given_.rend(); ++given) {
        if (given->option->name == option) {
            return given->value;
        }
    }
    return std::nullopt;
}

std::string_view Arguments::Last(std::initializer_list<std::string_view> options) const
{
    std::string_view last;
    for (const Given &given : given_) {
        last = std::ranges::find(options, given.option->name) != options.end() ? given.option->name
                                                                               : last;
    }
    return last;
}

std::optional<std::size_t> Arguments::Number(std::string_view option) const
{
    const std::optional<std::string> value = Value(option);
    if (!value) {
        return std::nullopt;
    }
    std::size_t number = 0;
    const char *const end = value->data() + value->size();
    const auto [stop, error] = std::from_chars(value->data(), end, number);
    if (error != std::errc() || stop != end) {
        throw Misuse(Dashed(option) + " " + Quoted(*value) + " is not a valid number");
    }
    return number;
}

const std::string &Arguments::operator[](std::size_t at) const
{
    static const std::string kNone;
    return at < operands_.size() ? operands_[at] : kNone;
}

std::vector<std::string> Arguments::Inputs() const
{
    if (operands_.empty() && isatty(STDIN_FILENO) != 0) {
        throw Misuse("no " + std::string(OperandsOf(command_).front().name) + " given",
                     "'-' reads standard input");
    }
    return operands_.empty() ? std::vector<std::string>{"-"} : operands_;
}

void Arguments::RequireAtMostOneOf(std::initializer_list<std::string_view> options) const
{
    std::string_view first;
    for (const std::string_view option : options) {
        if (Has(option) && !first.empty()) {
            throw Misuse(Dashed(first) + " and " + Dashed(option) + " cannot be used together");
        }
        first = Has(option) ? option : first;
    }
}

void Arguments::RequireWith(std::string_view needed,
                            std::initializer_list<std::string_view> options) const
{
    for (const std::string_view option : options) {
        if (Has(option) && !Has(needed)) {
            throw Misuse(Dashed(option) + " only makes sense with " + Dashed(needed));
        }
    }
}

Failure Arguments::Misuse(const std::string &message, const std::string &hint) const
{
    return {ExitCode::kUsage, message, hint.empty() ? TryHelp(command_) : hint};
}

} // namespace wyx::tool
