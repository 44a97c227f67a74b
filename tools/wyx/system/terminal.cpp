// Standard output is buffered by stdio, so a failed write is noticed only when the buffer is
// written: when it is full, before a message, and at the end. Standard error is unbuffered.
#include "system/terminal.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace wyx::tool {

namespace {

constexpr auto kFirstProgress = std::chrono::milliseconds(500);
constexpr auto kNextProgress = std::chrono::milliseconds(100);

int outputError = 0;                        // of the first write to standard output that failed
void (*inheritedPipeSignal)(int) = SIG_DFL; // what SIGPIPE did when the tool began

bool IsTerminal(Stream stream)
{
    if (isatty(stream == Stream::kOut ? STDOUT_FILENO : STDERR_FILENO) == 0) {
        return false;
    }
    const char *const term = std::getenv("TERM");
    return term == nullptr || std::strcmp(term, "dumb") != 0;
}

bool HasColours(Stream stream)
{
    const char *const noColour = std::getenv("NO_COLOR");
    return (noColour == nullptr || *noColour == '\0') && IsTerminal(stream);
}

/// In the order of the colours.
constexpr const char *kSequences[] = {"\x1B[1;31m", "\x1B[1;33m", "\x1B[1m", "\x1B[2m"};

/// Nothing can be done about a message that cannot be written.
void PutMessage(Colour colour, std::string_view kind, std::string_view message)
{
    const std::string line =
        "wyx: " + Painted(Stream::kErr, colour, kind) + " " + std::string(message) + "\n";
    if (std::fflush(stdout) != 0 && outputError == 0) { // keeps messages and output in order
        outputError = errno;                            // for the next Put()
    }
    std::fwrite(line.data(), 1, line.size(), stderr);
}

/// Writes to standard output, unless an earlier write failed.
void RequireOutput(const auto &write)
{
    if (outputError == 0 && !write()) {
        outputError = errno;
    }
    if (outputError != 0) {
        throw OutputFailure{outputError};
    }
}

/// "1.5 GiB"
std::string Size(std::uint64_t bytes)
{
    static constexpr const char *kUnits[] = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    double value = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (value >= 1024.0 && unit + 1 < std::size(kUnits)) {
        value /= 1024.0;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", value, kUnits[unit]);
    return text;
}

} // namespace

void PrepareStreams()
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) == -1) {
            // In the wrong direction on purpose: using a stream that was closed stays an error.
            const int flags = fd == STDIN_FILENO ? O_WRONLY : O_RDONLY;
            static_cast<void>(open("/dev/null", flags));
        }
    }
    inheritedPipeSignal = std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void Put(std::string_view text)
{
    RequireOutput([&] { return std::fwrite(text.data(), 1, text.size(), stdout) == text.size(); });
}

void FlushOutput()
{
    RequireOutput([] { return std::fflush(stdout) == 0; });
}

ExitCode EndWithoutOutput(const OutputFailure &failure)
{
    if (failure.error == EPIPE) {
        std::signal(SIGPIPE, inheritedPipeSignal);
        std::raise(SIGPIPE);
    }
    PutError(std::string("cannot write standard output: ") + std::strerror(failure.error));
    return ExitCode::kIo;
}

std::string Shown(std::string_view text)
{
    std::string shown;
    for (const char ch : text) {
        const auto byte = static_cast<unsigned char>(ch);
        if (byte < 0x20 || byte == 0x7F) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02x", unsigned{byte});
            shown += escape;
        } else {
            shown += ch;
        }
    }
    return shown;
}

std::string Quoted(std::string_view text)
{
    return "'" + Shown(text) + "'";
}

std::string Painted(Stream stream, Colour colour, std::string_view text)
{
    return HasColours(stream) ? kSequences[static_cast<int>(colour)] + std::string(text) + "\x1B[0m"
                              : std::string(text);
}

void PutError(std::string_view message)
{
    PutMessage(Colour::kError, "error:", message);
}

void PutWarning(std::string_view message)
{
    PutMessage(Colour::kWarning, "warning:", message);
}

void PutHint(std::string_view message)
{
    PutMessage(Colour::kFaint, "hint:", message);
}

void Report(const Failure &failure)
{
    if (*failure.what() != '\0') {
        PutError(failure.what());
    }
    if (!failure.Hint().empty()) {
        PutHint(failure.Hint());
    }
}

Failure SystemFailure(const std::string &what, int error, const std::string &hint)
{
    return {ExitCode::kIo, what + ": " + std::strerror(error), hint};
}

Progress::Progress(std::string name, std::uint64_t total)
    : name_(std::move(name)),
      total_(total),
      next_(Clock::now() + kFirstProgress),
      isOn_(IsTerminal(Stream::kErr))
{}

Progress::~Progress()
{
    if (isShown_) {
        std::fputs("\r\x1B[K", stderr);
    }
}

void Progress::Advance(std::uint64_t done)
{
    if (!isOn_ || Clock::now() < next_) {
        return;
    }
    next_ = Clock::now() + kNextProgress;
    isShown_ = true;
    std::string line = Shown(name_) + ": " + Size(done);
    if (total_ > 0 && done <= total_) {
        line += " of " + Size(total_) + " (" + std::to_string(done / (total_ / 100 + 1)) + "%)";
    }
    std::fprintf(stderr, "\r\x1B[K%s", line.c_str());
}

} // namespace wyx::tool
