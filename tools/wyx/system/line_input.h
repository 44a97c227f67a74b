// Lines of a file, one by one, as they arrive.
#ifndef WYX_TOOL_LINE_INPUT_H
#define WYX_TOOL_LINE_INPUT_H

#include <cstdio>
#include <memory>
#include <string>

namespace wyx::tool {

class LineInput {
  public:
    /// @param name  of the file; "-" is standard input
    /// @throws Failure
    explicit LineInput(const std::string &name);

    /// Reads the next line, without its line feed.
    /// @return false at the end
    /// @throws Failure if reading fails or the line is longer than 1 MiB
    bool Next(std::string &line);

  private:
    struct Close {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };

    std::string shown_;
    std::unique_ptr<std::FILE, Close> owned_;
    std::FILE *file_;
};

} // namespace wyx::tool

#endif
