// A directory for files that nobody else needs, gone with the object. A signal waits until then.
#ifndef WYX_TOOL_TEMP_DIRECTORY_H
#define WYX_TOOL_TEMP_DIRECTORY_H

#include <string>

#include "system/signal_block.h"

namespace wyx::tool {

class TempDirectory {
  public:
    /// Makes a directory below TMPDIR, or /tmp.
    /// @throws Failure
    TempDirectory();
    ~TempDirectory();
    TempDirectory(const TempDirectory &) = delete;
    TempDirectory &operator=(const TempDirectory &) = delete;

    const std::string &Path() const { return path_; }

  private:
    SignalBlock signals_;
    std::string path_;
};

} // namespace wyx::tool

#endif
