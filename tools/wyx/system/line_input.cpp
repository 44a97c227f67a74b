#include "system/line_input.h"

#include <cerrno>

#include "system/file_input.h"
#include "system/terminal.h"

namespace wyx::tool {

namespace {

constexpr std::size_t kLongest = std::size_t{1} << 20;

} // namespace

LineInput::LineInput(const std::string &name)
    : shown_(ShownInput(name)),
      owned_(name == "-" ? nullptr : std::fopen(name.c_str(), "re")),
      file_(name == "-" ? stdin : owned_.get())
{
    if (file_ == nullptr) {
        throw SystemFailure("cannot open " + shown_, errno);
    }
}

bool LineInput::Next(std::string &line)
{
    line.clear();
    for (;;) {
        errno = 0;
        const int ch = getc_unlocked(file_);
        if (ch == EOF && std::ferror(file_) != 0) {
            throw SystemFailure("cannot read " + shown_, errno);
        }
        if (ch == '\n' || ch == EOF) {
            return ch == '\n' || !line.empty();
        }
        if (line.size() == kLongest) {
            throw Failure(ExitCode::kMalformed, shown_ + " has a line of more than 1 MiB");
        }
        line += static_cast<char>(ch);
    }
}

} // namespace wyx::tool
