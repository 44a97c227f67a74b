#include "system/temp_directory.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "system/terminal.h"

namespace wyx::tool {

TempDirectory::TempDirectory()
{
    const char *const parent = std::getenv("TMPDIR");
    path_ = (parent != nullptr && *parent != '\0' ? std::string(parent) : "/tmp") + "/wyx-XXXXXX";
    if (mkdtemp(path_.data()) == nullptr) {
        throw SystemFailure("cannot make a temporary directory " + Quoted(path_), errno);
    }
}

TempDirectory::~TempDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

} // namespace wyx::tool
