// Folding lines, replacing a file, and loading it again.
#include <unistd.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "ini_support.h"
#include "models.h"
#include "temp_folder.h"

namespace wyx::test {
namespace {

std::string Text(std::size_t size, char c = 'a')
{
    return std::string(size, c);
}

std::string Joined(const std::vector<std::string> &pieces)
{
    std::string joined;
    for (const std::string &piece : pieces) {
        joined += piece;
    }
    return joined;
}

class IniSaveStringToIniFile : public PlatformTest {
  protected:
    /// Writes a line to a file, and records the calls and the content.
    QAL_UINT32 Write(const char *pszLine)
    {
        std::map<std::string, std::string> &disk = platform.UseMemoryDisk();
        XELP_S_File *const pstruFile = XELP_Fopen("f", "w");
        platform.RecordEvents(true);
        const QAL_UINT32 ulStatus = ::IniSaveStringToIniFile(pstruFile, Arg(pszLine));
        trace_ = FullTrace();
        content_ = disk["f"];
        XELP_Fclose(pstruFile);
        return ulStatus;
    }

    void ExpectPieces(const std::string &line, const std::vector<std::string> &pieces)
    {
        SCOPED_TRACE(Shown(line));
        platform.StartRecording();
        EXPECT_EQ(Write(line.c_str()), kOk);
        std::string trace;
        for (const std::string &piece : pieces) {
            trace += trace.empty() ? "open w f, write " : ", write ";
            trace += std::to_string(piece.size());
        }
        EXPECT_EQ(trace_, trace);
        EXPECT_EQ(content_, Joined(pieces));
    }

    std::string trace_;   // the calls, from the opening of the file on
    std::string content_; // the content of the file
};

const std::string kFold = "\\\n";

TEST_F(IniSaveStringToIniFile, NothingToWrite)
{
    for (const char *pszLine : {static_cast<const char *>(nullptr), ""}) {
        platform.StartRecording();
        EXPECT_EQ(Write(pszLine), kOk);
        EXPECT_EQ(trace_, "open w f");
        EXPECT_EQ(content_, "");
    }
}

TEST_F(IniSaveStringToIniFile, LineOf79BytesIsWrittenWhole)
{
    ExpectPieces("\n", {"\n"});
    ExpectPieces("k=1\r\n", {"k=1\r\n"});
    ExpectPieces(Text(78) + "\n", {Text(78) + "\n"});
    ExpectPieces(Text(79, '\xE4'), {Text(79, '\xE4')});
}

TEST_F(IniSaveStringToIniFile, LineOf80BytesIsFolded)
{
    ExpectPieces(Text(79) + "\n", {Text(78), kFold, "a\n"});
    ExpectPieces(Text(156) + "\n", {Text(78), kFold, Text(78) + "\n"});
    ExpectPieces(Text(157) + "\n", {Text(78), kFold, Text(78), kFold, "a\n"});
    ExpectPieces(Text(510) + "\n", {Text(78), kFold, Text(78), kFold, Text(78), kFold, Text(78),
                                    kFold, Text(78), kFold, Text(78), kFold, Text(42) + "\n"});
}

TEST_F(IniSaveStringToIniFile, PairsOfHighBytesAreNotSplit)
{
    const std::string pair = "\xE4\xB8";
    const auto pairs = [&](std::size_t count) {
        std::string text;
        while (count-- > 0) {
            text += pair;
        }
        return text;
    };
    // The pair ends with the 78th byte, begins with it, or begins after it.
    ExpectPieces(Text(76) + pair + "bc", {Text(76) + pair, kFold, "bc"});
    ExpectPieces(Text(77) + pair + "c", {Text(77) + pair, kFold, "c"});
    ExpectPieces(Text(78) + pair, {Text(78), kFold, pair});
    // Only the run that ends with the 78th byte counts.
    ExpectPieces(Text(75) + pair + "b" + pair, {Text(75) + pair + "b", kFold, pair});
    ExpectPieces("\xE4" + Text(79), {"\xE4" + Text(77), kFold, "aa"});
    ExpectPieces(pairs(40), {pairs(39), kFold, pair});
    ExpectPieces("b" + pairs(40), {"b" + pairs(39), kFold, pair});
    ExpectPieces("b" + pairs(80), {"b" + pairs(39), kFold, pairs(39), kFold, pairs(2)});
    // Every byte with the high bit counts as half of a pair, and no other byte does.
    ExpectPieces(Text(77) + "\x80yz", {Text(77) + "\x80y", kFold, "z"});
    ExpectPieces(Text(77) + "\xFFyz", {Text(77) + "\xFFy", kFold, "z"});
    ExpectPieces(Text(77) + "\x7Fyz", {Text(77) + "\x7F", kFold, "yz"});
    ExpectPieces(Text(75) + "\xE2\x82\xACyz", {Text(75) + "\xE2\x82\xACy", kFold, "z"});
    // A piece of 79 bytes leaves at least one byte.
    ExpectPieces(Text(77) + "\xE4\n\n", {Text(77) + "\xE4\n", kFold, "\n"});
}

TEST_F(IniSaveStringToIniFile, EveryWriteFailing)
{
    const std::string line = Text(170) + "\n"; // 78, 2, 78, 2, 15
    const std::vector<std::string> pieces = model::Fold(line);
    ASSERT_EQ(pieces.size(), 5U);
    for (QAL_UINT32 ulFailAt = 1; ulFailAt <= 6; ++ulFailAt) {
        for (const QAL_UINT32 ulWritten : {0U, 1U, 500U}) { // 500 stands for all but one
            SCOPED_TRACE(ulFailAt);
            platform.StartRecording();
            platform.Fail(Service::kWrite, ulFailAt, Failure::kOnce, ulWritten);
            const bool fails = ulFailAt <= pieces.size();
            EXPECT_EQ(Write(line.c_str()), fails ? kWriteFile : kOk);
            EXPECT_EQ(platform.HasFailed(), fails);
            EXPECT_EQ(platform.Calls(Service::kWrite), fails ? ulFailAt : 5); // no more calls
        }
    }
    platform.StartRecording();
    platform.Fail(Service::kWrite, 1);
    EXPECT_EQ(Write("short\n"), kWriteFile);
}

TEST_F(IniSaveStringToIniFile, RandomLines)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    constexpr std::string_view kBytes = "a\\\n\x7F\x80\xFF\xE4";
    for (int i = 0; i < 2000 && !HasFailure(); ++i) {
        const std::size_t highs = random.UpTo(3);
        std::string line;
        for (std::size_t left = random.UpTo(400); left > 0; --left) {
            line += random.UpTo(3) < highs ? '\xE4' : kBytes[random.UpTo(kBytes.size() - 1)];
        }
        if (!line.empty()) {
            ExpectPieces(line, model::Fold(line));
        }
    }
}

constexpr QAL_UINT64 kTime = 1700000000123;

using Disk = std::map<std::string, std::string>;

class IniSaveFileContent : public PlatformTest {
  protected:
    void SetUp() override
    {
        PlatformTest::SetUp();
        platform.SetTime(kTime);
        platform.UseMemoryDisk();
    }

    Disk &TheDisk() { return *platform.MemoryDisk(); }

    /// Saves a document, and expects that it is released whatever happens.
    QAL_UINT32 Save(const char *pszName, const Lines &lines, QAL_UINT32 ulLabel = 1)
    {
        return Save(pszName, lines, ulLabel, [] {});
    }

    /// Does the same after calling @p plan, which may plan a failure.
    template <typename Plan>
    QAL_UINT32 Save(const char *pszName, const Lines &lines, QAL_UINT32 ulLabel, Plan plan)
    {
        Document doc(lines);
        doc.ulLabel = ulLabel;
        plan();
        const QAL_UINT32 ulStatus = XELP_IniSaveFileContent(pszName, &doc);
        trace_ = FullTrace();
        EXPECT_EQ(doc.pStrLine, nullptr);
        EXPECT_EQ(Look(doc), Snapshot{});
        EXPECT_EQ(platform.LiveBlocks(), 0U);
        EXPECT_EQ(platform.LiveFiles(), 0U);
        for (const Event &event : platform.Events()) {
            EXPECT_FALSE(event.setsNull);
        }
        ExpectSites();
        return ulStatus;
    }

    std::string trace_; // all calls of the last Save()
};

const Lines kDocument = {"[a]\r\n", kHole, "k=1\n"};
const std::string kContent = "[a]\r\nk=1\n";

TEST_F(IniSaveFileContent, ReplacesTheTarget)
{
    TheDisk() = {{"/d/net.ini", "old"}, {"/d/other", "x"}};
    EXPECT_EQ(Save("/d/net.ini", kDocument), kOk);
    EXPECT_EQ(TheDisk(), (Disk{{"/d/net.ini", kContent}, {"/d/other", "x"}}));
    EXPECT_EQ(trace_,
              "D 25, "
              "open r /d/net1700000000123.ibk, "
              "open w /d/net1700000000123.ibk, write 5, write 4, close, "
              "remove /d/net.ini, "
              "rename /d/net1700000000123.ibk -> /d/net.ini, "
              "remove /d/net1700000000123.ibk, "
              "free, free, free, free");
}

TEST_F(IniSaveFileContent, UnchangedDocumentIsOnlyReleased)
{
    TheDisk() = {{"f.ini", "old"}};
    for (const QAL_UINT32 ulLabel : {0U, 2U, 0xFFFFFFFFU}) { // only 1 means changed
        for (const char *pszName :
             {"f.ini", "missing.ini", "", static_cast<const char *>(nullptr)}) {
            EXPECT_EQ(Save(pszName, kDocument, ulLabel), kOk);
            EXPECT_EQ(trace_, "free, free, free");
        }
    }
    EXPECT_EQ(TheDisk(), (Disk{{"f.ini", "old"}}));
}

TEST_F(IniSaveFileContent, NoNameIs130)
{
    for (const char *pszName : {"", static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(Save(pszName, kDocument), kFileEmpty);
        EXPECT_EQ(trace_, "free, free, free");
    }
}

TEST_F(IniSaveFileContent, NoMemoryIs80)
{
    TheDisk() = {{"f.ini", "old"}};
    EXPECT_EQ(Save("f.ini", kDocument, 1, [&] { platform.Fail(Service::kAllocate, 1); }),
              kInternal);
    EXPECT_EQ(trace_, "D 20, free, free, free");
    EXPECT_EQ(TheDisk(), (Disk{{"f.ini", "old"}}));
    EXPECT_EQ(Save("f.ini", kDocument), kOk); // the next save succeeds
    EXPECT_EQ(TheDisk(), (Disk{{"f.ini", kContent}}));
}

TEST_F(IniSaveFileContent, NewFileNameTakenIs180)
{
    const Disk before = {{"f.ini", "old"}, {"f1700000000123.ibk", "another's"}};
    TheDisk() = before;
    EXPECT_EQ(Save("f.ini", kDocument), kWriteFile);
    EXPECT_EQ(trace_, "D 20, open r f1700000000123.ibk, close, free, free, free, free");
    EXPECT_EQ(TheDisk(), before);
    platform.SetTime(kTime + 1); // a millisecond later the save succeeds
    EXPECT_EQ(Save("f.ini", kDocument), kOk);
    EXPECT_EQ(TheDisk(), (Disk{{"f.ini", kContent}, {"f1700000000123.ibk", "another's"}}));
}

TEST_F(IniSaveFileContent, NewFileNotCreatedIs50)
{
    TheDisk() = {{"f.ini", "old"}};
    EXPECT_EQ(Save("f.ini", kDocument, 1, [&] { platform.Fail(Service::kOpen, 2); }), kCreateFile);
    EXPECT_EQ(trace_,
              "D 20, open r f1700000000123.ibk, open w f1700000000123.ibk, "
              "free, free, free, free");
    EXPECT_EQ(TheDisk(), (Disk{{"f.ini", "old"}}));
}

TEST_F(IniSaveFileContent, EveryWriteFailingRemovesTheNewFile)
{
    const Lines lines = {"[a]\n", Text(99) + "\n", kHole, "k=1\n"}; // 4, 78, 2, 22, 4
    for (QAL_UINT32 ulFailAt = 1; ulFailAt <= 5; ++ulFailAt) {
        SCOPED_TRACE(ulFailAt);
        TheDisk() = {{"f.ini", "old"}};
        EXPECT_EQ(Save("f.ini", lines, 1,
                       [&] { platform.Fail(Service::kWrite, ulFailAt, Failure::kOnce, 1); }),
                  kWriteFile);
        EXPECT_EQ(platform.Calls(Service::kWrite), ulFailAt);
        EXPECT_TRUE(
            trace_.ends_with(", close, remove f1700000000123.ibk, free, free, free, free, free"))
            << trace_;
        EXPECT_EQ(TheDisk(), (Disk{{"f.ini", "old"}}));
    }
    // If the new file cannot be removed, it stays; the status is the same.
    EXPECT_EQ(Save("f.ini", lines, 1,
                   [&] {
                       platform.Fail(Service::kWrite, 5, Failure::kOnce, 2);
                       platform.Fail(Service::kRemove, 1, Failure::kOnce, 2);
                   }),
              kWriteFile);
    EXPECT_EQ(TheDisk(),
              (Disk{{"f.ini", "old"},
                    {"f1700000000123.ibk", "[a]\n" + Text(78) + "\\\n" + Text(21) + "\nk="}}));
}

TEST_F(IniSaveFileContent, MissingTargetKeepsTheNewFile)
{
    EXPECT_EQ(Save("f.ini", kDocument), kCreateFile);
    EXPECT_EQ(trace_,
              "D 20, open r f1700000000123.ibk, open w f1700000000123.ibk, write 5, "
              "write 4, close, remove f.ini, free, free, free, free");
    EXPECT_EQ(TheDisk(), (Disk{{"f1700000000123.ibk", kContent}}));
}

TEST_F(IniSaveFileContent, TargetNotRemovedKeepsBoth)
{
    TheDisk() = {{"f.ini", "old"}};
    EXPECT_EQ(Save("f.ini", kDocument, 1, [&] { platform.Fail(Service::kRemove, 1); }),
              kCreateFile);
    EXPECT_TRUE(trace_.ends_with("close, remove f.ini, free, free, free, free")) << trace_;
    EXPECT_EQ(TheDisk(), (Disk{{"f.ini", "old"}, {"f1700000000123.ibk", kContent}}));
}

TEST_F(IniSaveFileContent, FailedRenameKeepsTheNewFile)
{
    TheDisk() = {{"f.ini", "old"}};
    EXPECT_EQ(Save("f.ini", kDocument, 1, [&] { platform.Fail(Service::kRename, 1); }),
              kCreateFile);
    EXPECT_TRUE(
        trace_.ends_with("remove f.ini, rename f1700000000123.ibk -> f.ini, "
                         "free, free, free, free"))
        << trace_;
    EXPECT_EQ(TheDisk(), (Disk{{"f1700000000123.ibk", kContent}}));
}

TEST_F(IniSaveFileContent, OtherFailuresAreIgnored)
{
    TheDisk() = {{"f.ini", "old"}};
    EXPECT_EQ(Save("f.ini", kDocument, 1, [&] { platform.Fail(Service::kClose, 1); }), kOk);
    EXPECT_EQ(TheDisk(), (Disk{{"f.ini", kContent}}));
    EXPECT_EQ(Save("f.ini", kDocument, 1, [&] { platform.Fail(Service::kRemove, 2); }), kOk);
    EXPECT_EQ(TheDisk(), (Disk{{"f.ini", kContent}}));
    EXPECT_EQ(Save("f.ini", kDocument, 1, [&] { platform.Fail(Service::kOpen, 1); }), kOk);
    EXPECT_EQ(TheDisk(), (Disk{{"f.ini", kContent}}));
}

TEST_F(IniSaveFileContent, DocumentOfHolesEmptiesTheTarget)
{
    for (const Lines &lines : {Lines{kHole, kHole}, Lines{}}) {
        TheDisk() = {{"f.ini", "old"}};
        EXPECT_EQ(Save("f.ini", lines), kOk);
        EXPECT_EQ(TheDisk(), (Disk{{"f.ini", ""}}));
        EXPECT_EQ(trace_,
                  "D 20, open r f1700000000123.ibk, open w f1700000000123.ibk, close, "
                  "remove f.ini, rename f1700000000123.ibk -> f.ini, "
                  "remove f1700000000123.ibk, free, free");
    }
}

TEST_F(IniSaveFileContent, LinesAreWrittenAsTheyAre)
{
    TheDisk() = {{"f.ini", "old"}};
    EXPECT_EQ(Save("f.ini", {"a\r\n", "b\n\r", "", "c\r", "d\n", " ;\xFF\t\\\n", "no end", "\r\n"}),
              kOk);
    EXPECT_EQ(TheDisk(), (Disk{{"f.ini", "a\r\nb\n\rc\rd\n ;\xFF\t\\\nno end\r\n"}}));
}

TEST_F(IniSaveFileContent, DocumentMayBeFull)
{
    TheDisk() = {{"f.ini", "old"}};
    Document doc({"[a]\n", "k=1\n"}, 2);
    doc.ulLabel = 1;
    EXPECT_EQ(XELP_IniSaveFileContent("f.ini", &doc), kOk);
    EXPECT_EQ(TheDisk(), (Disk{{"f.ini", "[a]\nk=1\n"}}));
}

struct NameCase {
    const char *pszName;
    const char *pszTarget;
    const char *pszNewFile;
    QAL_UINT64 ullTime = kTime;
};

class IniSaveFileContentName : public IniSaveFileContent,
                               public ::testing::WithParamInterface<NameCase> {};

TEST_P(IniSaveFileContentName, NewFile)
{
    const NameCase &c = GetParam();
    platform.SetTime(c.ullTime);
    TheDisk() = {{c.pszTarget, "old"}};
    EXPECT_EQ(Save(c.pszTarget, kDocument), kOk);
    const std::string newFile = c.pszNewFile;
    EXPECT_TRUE(trace_.starts_with(
        "D " + std::to_string(std::string(c.pszTarget).size() + 15) + ", open r " + newFile +
        ", open w " + newFile + ", write 5, write 4, close, remove " + c.pszTarget + ", rename " +
        newFile + " -> " + c.pszTarget + ", remove " + newFile + ", free"))
        << trace_;
    EXPECT_EQ(TheDisk(), (Disk{{c.pszTarget, kContent}}));
}

const NameCase kNames[] = {
    {"CutAtTheDot", "/data/cfg/net.ini", "/data/cfg/net1700000000123.ibk"},
    {"CutAtTheLastDot", "a.b.conf", "a.b1700000000123.ibk"},
    {"NothingBeforeTheDot", ".config", "1700000000123.ibk"},
    {"NothingBeforeTheDotInDirectory", "/d/.config", "/d/1700000000123.ibk"},
    {"CurrentDirectory", "./cfg", "1700000000123.ibk"},
    {"ParentDirectory", "../cfg", ".1700000000123.ibk"},
    {"DotInDirectoryAndName", "my.dir/f.ini", "my.dir/f1700000000123.ibk"},
    {"LongEnding", "f.configuration", "f1700000000123.ibk"},
    {"ShortestEndingThatFits", "f.in", "f1700000000123.ibk"},
    {"OneDigit", "f.ini", "f7.ibk", 7},
    {"LongestTime", "f.configuration", "f18446744073709551615.ibk", 18446744073709551615ULL},
    // Without a dot, there is room for ten digits.
    {"TenDigits", "config", "config1700000000.ibk", 1700000000},
    // If not even the digits fit, the name is only the ending.
    {"FifteenDigits", "config", ".ibk", 170000000012345},
    {"TwentyDigits", "config", ".ibk", 18446744073709551615ULL},
};

INSTANTIATE_TEST_SUITE_P(Table, IniSaveFileContentName, ::testing::ValuesIn(kNames), CaseName());

TEST_F(IniSaveFileContent, DotInDirectoryCutsThere)
{
    TheDisk() = {{"/data/my.dir/config", "old"}};
    EXPECT_EQ(Save("/data/my.dir/config", kDocument), kOk);
    EXPECT_TRUE(trace_.starts_with("D 34, open r /data/my1700000000123.ibk, ")) << trace_;
    EXPECT_EQ(TheDisk(), (Disk{{"/data/my.dir/config", kContent}}));
}

TEST_F(IniSaveFileContent, NameWithoutDotFails)
{
    struct {
        const char *pszTarget;
        QAL_UINT64 ullTime;
    } const cases[] = {
        {"/data/cfg/config", kTime},
        {"config", kTime},
        {"config", 17000000001},    // 11 digits: one digit too many
        {"config", 17000000001234}, // 14 digits
        {"f.i", kTime},             // an ending of one letter leaves too little room
        {"f.", kTime},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.pszTarget);
        platform.SetTime(c.ullTime);
        TheDisk() = {{c.pszTarget, "old"}};
        EXPECT_EQ(Save(c.pszTarget, kDocument), kCreateFile);
        EXPECT_TRUE(trace_.ends_with(", open r \"\", open w \"\", free, free, free, free"))
            << trace_;
        EXPECT_EQ(TheDisk(), (Disk{{c.pszTarget, "old"}}));
    }
}

TEST_F(IniSaveFileContent, EveryCallFailingKeepsOldOrNew)
{
    struct {
        Service service;
        QAL_UINT32 ulCalls;
    } const services[] = {{Service::kAllocate, 1}, {Service::kOpen, 2},   {Service::kWrite, 2},
                          {Service::kClose, 1},    {Service::kRemove, 2}, {Service::kRename, 1}};
    for (const Failure failure : {Failure::kOnce, Failure::kFromThere}) {
        for (const auto &[service, ulCalls] : services) {
            for (QAL_UINT32 ulFailAt = 1; ulFailAt <= ulCalls + 1; ++ulFailAt) {
                SCOPED_TRACE(static_cast<int>(service) * 100 + static_cast<int>(ulFailAt));
                TheDisk() = {{"f.ini", "old"}};
                const QAL_UINT32 ulStatus = Save("f.ini", kDocument, 1, [&, at = service] {
                    platform.Fail(at, ulFailAt, failure);
                });
                EXPECT_EQ(platform.HasFailed(), ulFailAt <= ulCalls);
                const Disk &disk = TheDisk();
                const auto target = disk.find("f.ini");
                const auto newFile = disk.find("f1700000000123.ibk");
                if (ulStatus == kOk) {
                    EXPECT_EQ(disk, (Disk{{"f.ini", kContent}}));
                } else {
                    const bool hasOld = target != disk.end() && target->second == "old";
                    const bool hasNew = newFile != disk.end() && newFile->second == kContent;
                    EXPECT_TRUE(hasOld || hasNew);
                    EXPECT_TRUE(hasOld || ulStatus == kCreateFile);
                }
            }
        }
    }
}

TEST_F(IniSaveFileContent, RealFiles)
{
    platform.Reset();
    const TempFolder folder;
    folder.Make("f.ini", "[a]\r\nk=1\r\n");
    Document doc;
    ASSERT_EQ(XELP_IniGetFileContent(folder.File("f.ini").c_str(), &doc), kOk);
    ASSERT_EQ(XELP_IniSetKeyValue(&doc, Arg("a"), Arg("l"), Arg(Text(100))), kOk);
    EXPECT_EQ(XELP_IniSaveFileContent(folder.File("f.ini").c_str(), &doc), kOk);
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"f.ini"});
    EXPECT_EQ(folder.Content("f.ini"), "[a]\r\nk=1\r\nl=" + Text(76) + "\\\n" + Text(24) + "\n");

    // An unchanged document does not even change the file's time.
    const auto before = std::filesystem::last_write_time(folder.File("f.ini"));
    ASSERT_EQ(XELP_IniGetFileContent(folder.File("f.ini").c_str(), &doc), kOk);
    EXPECT_EQ(Look(doc).slots[2], "l=" + Text(100) + "\n");
    EXPECT_EQ(XELP_IniSaveFileContent(folder.File("f.ini").c_str(), &doc), kOk);
    EXPECT_EQ(std::filesystem::last_write_time(folder.File("f.ini")), before);

    // The target is missing or a directory: the content stays in the new file.
    std::filesystem::create_directory(folder.File("d.ini"));
    for (const char *pszTarget : {"new.ini", "d.ini"}) {
        SCOPED_TRACE(pszTarget);
        platform.SetTime(kTime);
        Document edited({"[a]\n"});
        edited.ulLabel = 1;
        EXPECT_EQ(XELP_IniSaveFileContent(folder.File(pszTarget).c_str(), &edited), kCreateFile);
        const std::string name = std::string(pszTarget, std::string_view(pszTarget).size() - 4);
        EXPECT_EQ(folder.Content(name + "1700000000123.ibk"), "[a]\n");
    }
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"d.ini", "d1700000000123.ibk", "f.ini",
                                                        "new1700000000123.ibk"}));
}

TEST_F(IniSaveFileContent, NewFileNameMustNotBeTooLong)
{
    platform.Reset();
    const TempFolder folder;
    for (const std::size_t length : {238U, 239U}) { // with 13 digits and ".ibk": 255 bytes and 256
        SCOPED_TRACE(length);
        platform.SetTime(kTime);
        const std::string name = std::string(length, 'n') + ".ini";
        folder.Make(name, "old");
        Document doc({"[a]\n"});
        doc.ulLabel = 1;
        const bool fits = length == 238;
        EXPECT_EQ(XELP_IniSaveFileContent(folder.File(name).c_str(), &doc),
                  fits ? kOk : kCreateFile);
        EXPECT_EQ(folder.Content(name), fits ? "[a]\n" : "old");
    }
    EXPECT_EQ(folder.Names().size(), 2U);
}

TEST_F(IniSaveFileContent, MissingDirectoryIs50)
{
    platform.Reset();
    const TempFolder folder;
    Document doc({"[a]\n"});
    doc.ulLabel = 1;
    EXPECT_EQ(XELP_IniSaveFileContent(folder.File("no/f.ini").c_str(), &doc), kCreateFile);
    EXPECT_EQ(Look(doc), Snapshot{});
    EXPECT_EQ(folder.Names(), std::vector<std::string>{});
}

TEST_F(IniSaveFileContent, ReadOnlyDirectoryIs50)
{
    WYX_NEED_NOBODY();
    platform.Reset();
    const TempFolder folder;
    folder.Make("f.ini", "old");
    const auto save = [&] {
        return AsNobody([&] {
            Document doc({"[a]\n"});
            doc.ulLabel = 1;
            return static_cast<int>(XELP_IniSaveFileContent(folder.File("f.ini").c_str(), &doc));
        });
    };
    std::filesystem::permissions(folder.Path(), std::filesystem::perms{0555});
    EXPECT_EQ(save(), static_cast<int>(kCreateFile));
    EXPECT_EQ(folder.Content("f.ini"), "old");
    std::filesystem::permissions(folder.Path(), std::filesystem::perms::all);
    EXPECT_EQ(save(), static_cast<int>(kOk)) << "another user cannot reach " << folder.Path();
}

/// Saves a document and loads it again.
class IniRoundTrip : public IniSaveFileContent {
  protected:
    Lines SavedAndLoaded(const Lines &lines)
    {
        TheDisk() = {{"f.ini", "old"}};
        EXPECT_EQ(Save("f.ini", lines), kOk);
        Document doc;
        EXPECT_EQ(XELP_IniGetFileContent("f.ini", &doc), kOk);
        const Snapshot loaded = Look(doc);
        return Lines(loaded.slots.begin(), loaded.slots.begin() + doc.ulLineNum);
    }
};

TEST_F(IniRoundTrip, ReadsBackUnchanged)
{
    const Lines cases[] = {
        {"[a]\r\n", "k=1\n\r", "l=2\r", "m=3\n", "\n", "n=4\r"},
        {Text(78) + "\n"},
        {Text(79) + "\n"},
        {Text(79) + "\r\n"},
        {Text(77) + "\r\n"},
        {Text(78) + "   " + Text(80) + "\n", "k=1\n"},
        {Text(77) + "\xE4\xB8" + "b\n"},
        {Text(77) + "\xE4\xB8\n", "k=1\n"}, // after the fold, a lone LF ends the line
        {Text(76) + "\\\\b\n"},             // a pair of backslashes before the fold
        {Text(78) + "\\b\n"},               // a backslash after the fold
        {Text(509) + "\r\n", "k=1\n"},
        {"a\n\\b\n", "c\r\n"},
        {"a\\b\\\\c\n"},
    };
    for (const Lines &lines : cases) {
        SCOPED_TRACE(Shown(*lines[0]));
        EXPECT_EQ(SavedAndLoaded(lines), lines);
    }
    EXPECT_EQ(SavedAndLoaded({"no end"}), Lines{"no end\r"});
}

TEST_F(IniRoundTrip, FoldAtALineEndOrBackslashReadsBackChanged)
{
    struct {
        Lines lines;
        std::string file;
        Lines loaded;
    } const cases[] = {
        // After the fold, a CR LF: its CR is taken for the second byte of the fold's line end.
        {{Text(78) + "\r\n", "k=1\r\n"},
         Text(78) + "\\\n\r\nk=1\r\n",
         {Text(78) + "\n", "k=1\r\n"}},
        // After the fold, an LF CR: its LF ends the line at once, and its CR is a line of its own.
        {{Text(78) + "\n\r", "k=1\n\r"},
         Text(78) + "\\\n\n\rk=1\n\r",
         {Text(78) + "\n", "\r", "k=1\n\r"}},
        // After the fold, a lone CR: it is taken for that second byte, so the next line is joined.
        {{Text(77) + "\xE4\xB8\r", "k=1\r"},
         Text(77) + "\xE4\xB8\\\n\rk=1\r",
         {Text(77) + "\xE4\xB8k=1\r"}},
        // A backslash before the fold forms a pair with the backslash of the fold.
        {{Text(77) + "\\b\n", "k=1\n"},
         Text(77) + "\\\\\nb\nk=1\n",
         {Text(77) + "\\\\\n", "b\n", "k=1\n"}},
        // A text that ends in a backslash joins the next line.
        {{"k=a\\\n", "l=b\n"}, "k=a\\\nl=b\n", {"k=al=b\n"}},
        // A value with a line end is two lines.
        {{"k=a\nb=c\n"}, "k=a\nb=c\n", {"k=a\n", "b=c\n"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(Shown(c.file));
        EXPECT_EQ(SavedAndLoaded(c.lines), c.loaded);
        EXPECT_EQ(TheDisk()["f.ini"], c.file);
    }
}

TEST_F(IniRoundTrip, EditingACrLfFileMixesLineEnds)
{
    TheDisk() = {{"f.ini", "[a]\r\nk=1 ;c\r\n\r\n[b]\r\n"}};
    Document doc;
    ASSERT_EQ(XELP_IniGetFileContent("f.ini", &doc), kOk);
    EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg("a"), Arg("k"), Arg("2")), kOk);
    EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg("b"), Arg("l"), Arg("3")), kOk);
    EXPECT_EQ(XELP_IniSaveFileContent("f.ini", &doc), kOk);
    EXPECT_EQ(TheDisk()["f.ini"], "[a]\r\nk=2 ;c\n\r\n[b]\r\nl=3\n");
    // The blank line's CR is now read with the LF before it, and its LF is a line of its own.
    ASSERT_EQ(XELP_IniGetFileContent("f.ini", &doc), kOk);
    EXPECT_EQ(Look(doc), Loaded({"[a]\r\n", "k=2 ;c\n\r", "\n", "[b]\r\n", "l=3\n"}));
}

TEST_F(IniRoundTrip, TextsThatDoNotReadBack)
{
    const MaybeText kNone;
    struct {
        const char *pszLoaded; // the file's content before the edit
        const char *pszSection;
        const char *pszKey;
        const char *pszValue;
        QAL_UINT32 ulStatus; // of the lookup after saving and loading
        MaybeText value;
    } const cases[] = {
        // These do read back.
        {"[s]\n", "s", "k", "a;b", kOk, "a;b"},
        {"[s]\n", "s", "k", "a\\\\", kOk, "a\\\\"},
        {"[s]\nk=1 ;c\n", "s", "k", "a\\", kOk, "a\\"},
        {"[[s]\n", "[s", "k", "v", kOk, "v"},
        // These do not.
        {"[s]\n", "s", "k", "a\nb=1", kOk, "a"},
        {"[s]\n", "s", "k", "", kOk, "\n"},
        {"[s]\n", "s", "k", nullptr, kOk, "\n"},
        {"[s]\nk=1 ;c\n", "s", "k", "", kOk, kNone},
        {"[s]\n", "s", "k", " x\t", kOk, "x"},
        {"[s]\n", "s", "k", "a ;b", kOk, "a"},
        {"[s]\nk=1 ;c\n", "s", "k", "a;b", kOk, "a;b ;c"},
        {"[s]\n", "s", "k", "a\\", kOk, "az=1"}, // the next line is joined
        {"[s]\n", "s", "", "v", kKeyName, kNone},
        {"[s]\n", "s", " k", "v", kKeyNotFound, kNone},
        {"[s]\n", "s", "k ", "v", kKeyNotFound, kNone},
        {"[s]\n", "s", "[k", "v", kSection, kNone},
        {"[s]\n", "s", "#k", "v", kKeyNotFound, kNone},
        {"[s]\n", "s", ";k", "v", kKeyNotFound, kNone},
        {"[s]\n", "s", "\\k", "v", kLineUnknown, kNone},
        {"[s]\n", "s", "a=b", "v", kKeyNotFound, kNone},
        {"[s]\n", "", "k", "v", kSection, kNone},
        {"[s]\n", " t", "k", "v", kSectionNotFound, kNone},
        {"[s]\n", "t ", "k", "v", kSectionNotFound, kNone},
        {"[s]\n", "t]", "k", "v", kLineUnknown, kNone},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.pszLoaded) + c.pszSection + "/" + c.pszKey);
        TheDisk() = {{"f.ini", c.pszLoaded}};
        Document doc;
        ASSERT_EQ(XELP_IniGetFileContent("f.ini", &doc), kOk);
        EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg(c.pszSection), Arg(c.pszKey), Arg(c.pszValue)),
                  kOk);
        if (c.value == "az=1") {
            EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg("s"), Arg("z"), Arg("1")), kOk);
        }
        ASSERT_EQ(XELP_IniSaveFileContent("f.ini", &doc), kOk);
        ASSERT_EQ(XELP_IniGetFileContent("f.ini", &doc), kOk);
        QAL_INT8 *pszValue = nullptr;
        EXPECT_EQ(XELP_IniGetKeyValue(&doc, c.pszSection, c.pszKey, &pszValue), c.ulStatus);
        EXPECT_EQ(TakeText(pszValue), c.value);
    }
}

TEST_F(IniRoundTrip, RandomProgramsMatchTheModel)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<std::string> sections = {"a", "b", "a long name of a section, with blanks"};
    const std::vector<MaybeText> keys = {"k", "K", "port", "x y", "l"};
    const auto value = [&] {
        constexpr std::string_view kBytes = "aaaa  ;,\"\\\xE4\xB8\r\n";
        std::string text;
        // Line ends and backslashes are rare, so that most documents stay readable.
        for (std::size_t left = random.UpTo(200); left > 0; --left) {
            text += kBytes[random.UpTo(random.UpTo(99) == 0 ? kBytes.size() - 1 : 8)];
        }
        return text;
    };
    for (int i = 0; i < 300 && !HasFailure(); ++i) {
        TheDisk() = {{"f.ini", "[a]\r\nk=1 ;c\r\n; d\r\n[b]\n\\e\nk=2"}};
        for (int round = 0; round < 6 && !HasFailure(); ++round) {
            Snapshot expected;
            model::Heap heap;
            Document doc;
            const QAL_UINT32 ulLoad = model::Load(TheDisk()["f.ini"], expected, heap);
            ASSERT_EQ(XELP_IniGetFileContent("f.ini", &doc), ulLoad);
            ASSERT_EQ(Look(doc), expected);
            if (ulLoad != kOk) {
                break; // joined lines have become too long to load
            }
            for (auto edits = random.UpTo(6); edits > 0; --edits) {
                const std::string &section = sections[random.UpTo(2)];
                const MaybeText &key = keys[random.UpTo(4)];
                const MaybeText text = value();
                switch (random.UpTo(6)) {
                    case 0:
                        ASSERT_EQ(XELP_IniDelSection(&doc, section.c_str()),
                                  model::DeleteSection(expected, section, heap));
                        break;
                    case 1:
                        ASSERT_EQ(XELP_IniDelKey(&doc, section.c_str(), key->c_str()),
                                  model::DeleteKey(expected, section, *key, heap));
                        break;
                    default:
                        ASSERT_EQ(XELP_IniSetKeyValue(&doc, Arg(section), Arg(key), Arg(text)),
                                  model::SetValue(expected, section, key, text, heap));
                }
            }
            ASSERT_EQ(Look(doc), expected);
            const std::string content =
                expected.ulLabel == 1 ? model::FileOf(expected) : TheDisk()["f.ini"];
            ASSERT_EQ(XELP_IniSaveFileContent("f.ini", &doc), kOk);
            ASSERT_EQ(TheDisk(), (Disk{{"f.ini", content}}));
        }
    }
}

} // namespace
} // namespace wyx::test
