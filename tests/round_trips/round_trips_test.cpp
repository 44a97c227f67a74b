// What the page on round trips says about the library.
#include "../ini_parser/ini_support.h"
#include "golden_vectors.h"

namespace wyx::test {
namespace {

using RoundTrips = PlatformTest;

Lines LoadedFrom(const std::string &file)
{
    (*PlatformDouble::Instance().MemoryDisk())["f.ini"] = file;
    Document doc;
    EXPECT_EQ(XELP_IniGetFileContent("f.ini", &doc), kOk);
    const Snapshot loaded = Look(doc);
    return Lines(loaded.slots.begin(), loaded.slots.begin() + doc.ulLineNum);
}

TEST_F(RoundTrips, MatchThePage)
{
    std::map<std::string, std::string> &disk = platform.UseMemoryDisk();
    for (const GoldenVector &vector : GoldenVectors()) {
        SCOPED_TRACE(vector.row);
        const Lines stored(vector.stored.begin(), vector.stored.end());
        const Lines loaded(vector.loaded.begin(), vector.loaded.end());
        disk = {{"f.ini", "old"}};
        Document doc(stored);
        doc.ulLabel = 1;
        EXPECT_EQ(XELP_IniSaveFileContent("f.ini", &doc), kOk);
        const std::string file = disk["f.ini"];
        EXPECT_EQ(Shown(file), Shown(vector.file));
        EXPECT_EQ(LoadedFrom(file), loaded);

        // The check is asked about files: about this document only if there is one it loads from.
        std::string plain;
        for (const std::string &line : vector.stored) {
            plain += line;
        }
        EXPECT_EQ(LoadedFrom(plain) == stored, !vector.warning.empty());
    }
}

} // namespace
} // namespace wyx::test
