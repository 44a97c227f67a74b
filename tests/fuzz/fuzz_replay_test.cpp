// Every target over its corpus: the seeds, and the inputs of what was once found.
//
// This runs in every build, so that what the fuzzers found stays found on compilers and machines
// that have no fuzzer.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <vector>

#include "fuzz_support.h"

namespace wyx::test::fuzz {
namespace {

using Path = std::filesystem::path;

std::set<Path> Entries(const Path &folder)
{
    std::set<Path> entries;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        entries.insert(entry.path());
    }
    return entries;
}

TEST(FuzzReplay, Corpora)
{
    std::vector<std::string> folders;
    for (const Path &folder : Entries(WYX_FUZZ_CORPUS)) {
        const std::string name = folder.filename();
        folders.push_back(name);
        SCOPED_TRACE(name);
        ASSERT_TRUE(Targets().contains(name)) << "no target for this corpus";
        for (const Path &file : Entries(folder)) {
            SCOPED_TRACE(file.filename().string());
            std::ifstream in(file, std::ios::binary);
            ASSERT_TRUE(in.is_open());
            RunTarget(Targets().at(name), std::string(std::istreambuf_iterator<char>(in), {}));
        }
    }
    EXPECT_EQ(folders.size(), Targets().size()) << "a target without a corpus";
}

} // namespace
} // namespace wyx::test::fuzz
