#include "verbs/complete.h"

#include <algorithm>

#include "ini/document.h"
#include "system/terminal.h"

namespace wyx::tool {

namespace {

/// Writes a word that completes the current one, unless control bytes in it would break the line.
void Offer(std::string_view word, std::string_view current, std::string_view text = {})
{
    if (word.starts_with(current) && Shown(word) == word) {
        Put(std::string(word) + "\t" + std::string(text) + "\n");
    }
}

/// What the words before the current word say about it.
struct Typed {
    std::vector<std::string> operands;
    const Option *waiting = nullptr; // an option whose value comes next
    bool isPlain = false;            // after "--"
};

Typed Read(const Command &command, Words words)
{
    Typed typed;
    for (const std::string &word : words) {
        if (typed.waiting != nullptr) {
            typed.waiting = nullptr;
        } else if (typed.isPlain || word == "-" || !word.starts_with('-')) {
            typed.operands.push_back(word);
        } else if (word == "--") {
            typed.isPlain = true;
        } else {
            typed.waiting = OptionTakingNextWord(command, word);
        }
    }
    return typed;
}

void OfferVerbs(const Command &family, std::string_view current)
{
    for (const Command &verb : Commands()) {
        if (verb.IsBelow(family)) {
            Offer(verb.LastWord(), current, verb.summary);
        }
    }
    Offer("help", current, "explain a verb");
}

void OfferOptions(const Command &command, std::string_view current)
{
    for (const Option &option : command.Options()) {
        Offer("--" + std::string(option.name), current, option.text);
        if (option.letter != '\0') {
            Offer(std::string{'-', option.letter}, current, option.text);
        }
    }
}

/// Offers the words in lower case: "newest" of "N|newest".
void OfferValues(const Option &option, std::string_view current)
{
    std::string_view rest = option.value;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('|'), rest.size());
        if (rest.front() >= 'a') {
            Offer(rest.substr(0, end), current);
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

void OfferNames(const std::vector<std::string> &names, std::string_view current,
                const std::string &suffix = {})
{
    for (const std::string &name : names) {
        Offer(name + suffix, current);
    }
}

/// Offers sections and keys of the file that was named, if it can be read.
void OfferOperand(std::string_view name, const std::vector<std::string> &typed,
                  std::string_view current)
{
    if (name == "FILE") {
        Put("files\n");
        return;
    }
    try {
        if (name == "SECTION") {
            OfferNames(IniText(IniSource(typed.at(0))).Sections(), current);
        } else if (name == "KEY" || name.ends_with("KEY=VALUE")) {
            OfferNames(IniText(IniSource(typed.at(0))).Keys(typed.at(1)), current,
                       name == "KEY" ? "" : "=");
        }
    } catch (const Failure &) {
        return; // there is nothing to offer, and a message would be in the way
    }
}

} // namespace

void PutCompletions(Words words)
{
    if (words.empty()) {
        return;
    }
    const std::string_view current = words.back();
    words = words.first(words.size() - 1);
    const Command *command = &TakeCommand(words);
    const bool isHelp = command->run == nullptr && !words.empty() && words.front() == "help";
    if (isHelp) {
        words = words.subspan(1);
        command = &TakeCommand(words, *command);
    }
    const Typed typed = Read(*command, words);
    const std::vector<Operand> operands = OperandsOf(*command);
    const std::size_t at = typed.operands.size();
    if (typed.waiting != nullptr) {
        OfferValues(*typed.waiting, current);
    } else if (current.starts_with('-') && !typed.isPlain) {
        OfferOptions(*command, current);
    } else if (command->run == nullptr) {
        OfferVerbs(*command, current);
    } else if (!isHelp && !operands.empty() &&
               (at < operands.size() || operands.back().isRepeated)) {
        OfferOperand(operands[std::min(at, operands.size() - 1)].name, typed.operands, current);
    }
}

} // namespace wyx::tool
