// What the user sees: results on standard output, messages and progress on standard error.
#ifndef WYX_TOOL_TERMINAL_H
#define WYX_TOOL_TERMINAL_H

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "system/exit_code.h"

namespace wyx::tool {

/// Keeps files that are opened later from taking the place of a closed standard stream. Also
/// ignores SIGPIPE and SIGXFSZ, so that writing to a closed pipe or beyond a file size limit fails
/// instead of ending the tool.
void PrepareStreams();

/// Standard output is lost, and the tool ends. Not a Failure, so that no verb takes it for a
/// failure of the file it works on.
struct OutputFailure {
    int error;
};

/// Writes to standard output.
/// @throws OutputFailure
void Put(std::string_view text);

/// Flushes all output.
/// @throws OutputFailure if any of it could not be written
void FlushOutput();

/// Reports lost output. If the reader has gone, ends the process by SIGPIPE, as other filters do,
/// unless the process that started the tool ignores that signal.
ExitCode EndWithoutOutput(const OutputFailure &failure);

/// A text with its control bytes escaped, fit for a message: "a\nb" as `a\x0ab`.
std::string Shown(std::string_view text);

/// Shown(), in quotation marks.
std::string Quoted(std::string_view text);

enum class Colour { kError, kWarning, kName, kFaint };
enum class Stream { kOut, kErr };

/// The text, in a colour if the stream is a terminal with colours and NO_COLOR is unset or empty.
std::string Painted(Stream stream, Colour colour, std::string_view text);

void PutError(std::string_view message);
void PutWarning(std::string_view message);
void PutHint(std::string_view message);

/// Writes the message and the hint of a failure, each unless it is empty.
void Report(const Failure &failure);

/// For a failed system call: "cannot open 'x': No such file or directory".
Failure SystemFailure(const std::string &what, int error, const std::string &hint = {});

/// The line that shows how far a long file has been read. It appears after half a second if
/// standard error is a terminal, unless TERM is "dumb", and disappears with the object.
class Progress {
  public:
    /// @param total  size of the file in bytes, 0 if it is not known
    Progress(std::string name, std::uint64_t total);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    /// Call with the number of bytes read so far; updates the line from time to time.
    void Advance(std::uint64_t done);

  private:
    using Clock = std::chrono::steady_clock;

    std::string name_;
    std::uint64_t total_;
    Clock::time_point next_;
    bool isOn_;
    bool isShown_ = false;
};

} // namespace wyx::tool

#endif
