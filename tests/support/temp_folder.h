// A test's own folder, removed with all its content when the test ends.
#ifndef WYX_TESTS_SUPPORT_TEMP_FOLDER_H
#define WYX_TESTS_SUPPORT_TEMP_FOLDER_H

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "nobody.h"

namespace wyx::test {

class TempFolder {
  public:
    TempFolder() : path_((OpenTemporaryDirectory() / "wyx_XXXXXX").string())
    {
        if (mkdtemp(path_.data()) == nullptr) {
            ADD_FAILURE() << "no temporary folder";
        }
    }
    ~TempFolder()
    {
        std::error_code ignored; // a test may have removed the right to read it
        std::filesystem::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;

    const std::string &Path() const { return path_; }
    std::string File(std::string_view name) const { return path_ + "/" + std::string(name); }

    /// Creates or replaces a file with this content.
    std::string Make(std::string_view name, std::string_view content) const
    {
        std::ofstream file(File(name), std::ios::binary | std::ios::trunc);
        file.write(content.data(), static_cast<std::streamsize>(content.size()));
        EXPECT_TRUE(file.flush().good()) << name;
        return File(name);
    }

    /// The content of a file; a missing one fails the test.
    std::string Content(std::string_view name) const
    {
        std::ifstream file(File(name), std::ios::binary);
        EXPECT_TRUE(file.is_open()) << name;
        return {std::istreambuf_iterator<char>(file), {}};
    }

    bool Has(std::string_view name) const
    {
        return std::filesystem::exists(std::filesystem::symlink_status(File(name)));
    }

    /// The names of its files and folders, sorted.
    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(path_)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

  private:
    std::string path_;
};

} // namespace wyx::test

#endif
