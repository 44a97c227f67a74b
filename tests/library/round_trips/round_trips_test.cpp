// What the page on round trips says about the library.
#include "../../ini_parser/ini_support.h"
#include "golden_vectors.h"

#include <algorithm>

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

        // The tool checks files: a row has a warning if and only if a file loads as its lines.
        std::string plain;
        for (const std::string &line : vector.stored) {
            plain += line;
        }
        EXPECT_EQ(LoadedFrom(plain) == stored, !vector.warning.empty());
    }
}

bool Holds(const std::string &file, std::initializer_list<const char *> any)
{
    return std::ranges::any_of(
        any, [&](const char *bytes) { return file.find(bytes) != std::string::npos; });
}

// The page names two cases, apart from folds and NULs, in which loaded lines do not come back.
TEST_F(RoundTrips, LoadedLinesRoundTripExceptInTheDocumentedCases)
{
    constexpr std::string_view kBytes = "x\\\n\r";
    constexpr unsigned kLongest = 6;
    platform.UseMemoryDisk();
    unsigned onlyBackslash = 0;
    unsigned joinedEmptyLine = 0;
    for (unsigned length = 1; length <= kLongest; ++length) {
        for (unsigned number = 0; number < 1U << 2 * length; ++number) {
            std::string file;
            for (unsigned i = 0; i < length; ++i) {
                file += kBytes[number >> 2 * i & 3];
            }
            const Lines stored = LoadedFrom(file);
            std::string saved; // no line is long enough to be folded
            for (const auto &line : stored) {
                saved += line.value_or("");
            }
            if (LoadedFrom(saved) == stored) {
                continue;
            }
            const bool isOnlyBackslash = Holds(file, {"\n\\\n", "\n\\\r", "\r\\\n", "\r\\\r"});
            const bool isJoinedEmptyLine =
                Holds(file, {"\\\n\n\r", "\\\r\r\n", "\\\n\n\\", "\\\r\r\\"});
            EXPECT_TRUE(isOnlyBackslash || isJoinedEmptyLine) << Shown(file);
            onlyBackslash += isOnlyBackslash ? 1 : 0;
            joinedEmptyLine += isJoinedEmptyLine ? 1 : 0;
        }
    }
    EXPECT_GT(onlyBackslash, 0U);
    EXPECT_GT(joinedEmptyLine, 0U);
}

} // namespace
} // namespace wyx::test
