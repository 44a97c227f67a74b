// How the tool ends, and the exception that ends a verb.
#ifndef WYX_TOOL_EXIT_CODE_H
#define WYX_TOOL_EXIT_CODE_H

#include <stdexcept>
#include <string>

namespace wyx::tool {

/// The exit codes. They are an interface: scripts test them.
enum class ExitCode {
    kOk = 0,
    kNo = 1,        ///< not found, or a sum that does not match
    kUsage = 2,     ///< the command line makes no sense, or asks for a change that is refused
    kIo = 3,        ///< something cannot be read or written
    kMalformed = 4, ///< a file or an address is malformed
};

/// The more serious of two exit codes, for verbs that go on with the next file.
inline ExitCode Worse(ExitCode left, ExitCode right)
{
    constexpr int kRanks[] = {0, 1, 4, 3, 2}; // by exit code
    const auto rank = [&](ExitCode code) { return kRanks[static_cast<int>(code)]; };
    return rank(left) >= rank(right) ? left : right;
}

/// Ends a verb, or its work on one file, with a message for the user.
class Failure : public std::runtime_error {
  public:
    Failure(ExitCode code, const std::string &message, std::string hint = {})
        : std::runtime_error(message), code_(code), hint_(std::move(hint))
    {}

    ExitCode Code() const { return code_; }
    /// What the user could do about it; may be empty.
    const std::string &Hint() const { return hint_; }

  private:
    ExitCode code_;
    std::string hint_;
};

} // namespace wyx::tool

#endif
