// Parsing the words of the command line by the grammar.
#ifndef WYX_TOOL_ARGUMENTS_H
#define WYX_TOOL_ARGUMENTS_H

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "verbs/commands.h"

namespace wyx::tool {

using Words = std::span<const std::string>;

/// Removes the words that name a command from the front.
/// @return the deepest command that they name; the family itself if they name none
const Command &TakeCommand(Words &words, const Command &family = Commands().front());

/// The failure for a command line that has no verb, or a wrong word in its place.
Failure NoVerb(const Command &family, Words words);

/// What an operand of the grammar means: "[KEY=VALUE...]" has the name "KEY=VALUE".
struct Operand {
    std::string_view name;
    bool isOptional = false;
    bool isRepeated = false;
};
std::vector<Operand> OperandsOf(const Command &command);

/// If the word is an option that takes the next word as its value: that option, otherwise null.
const Option *OptionTakingNextWord(const Command &command, std::string_view word);

/// Options and operands of a command, as getopt_long() parses them: options may be anywhere
/// before a "--", and long ones may be abbreviated.
class Arguments {
  public:
    /// @throws Failure for words that the command does not take
    Arguments(const Command &command, Words words);

    /// Was the option with this long name given?
    bool Has(std::string_view option) const { return Value(option).has_value(); }
    /// The value of an option; if it was given more than once, the last value. Empty for a flag,
    /// none if the option was not given.
    std::optional<std::string> Value(std::string_view option) const;
    /// Which of some options was given last; empty if none was.
    std::string_view Last(std::initializer_list<std::string_view> options) const;
    /// An option's value as a number, 0 or more.
    /// @throws Failure
    std::optional<std::size_t> Number(std::string_view option) const;

    /// The operands; the optional ones that were left out are empty.
    const std::string &operator[](std::size_t at) const;
    std::size_t Count() const { return operands_.size(); }
    Words From(std::size_t at) const { return Words(operands_).subspan(at); }

    /// The inputs that the operands name; "-", standard input, if there are no operands.
    /// @throws Failure if there are no operands and standard input is a terminal
    std::vector<std::string> Inputs() const;

    /// Refuses options that make no sense together.
    /// @throws Failure
    void RequireAtMostOneOf(std::initializer_list<std::string_view> options) const;
    /// Refuses options that make sense only with another one.
    /// @throws Failure
    void RequireWith(std::string_view needed,
                     std::initializer_list<std::string_view> options) const;

    Failure Misuse(const std::string &message, const std::string &hint = {}) const;

  private:
    struct Given {
        const Option *option;
        std::string value;
    };

    void Take(Words words);
    const Option &OptionOf(int found) const;
    /// What getopt_long() did not like about a word.
    Failure Wrong(std::string_view word, bool lacksValue) const;

    const Command &command_;
    std::vector<Given> given_;
    std::vector<std::string> operands_;
};

} // namespace wyx::tool

#endif
