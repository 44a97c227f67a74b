// Reading lines, loading, releasing and growing a document.
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "ini_support.h"
#include "models.h"
#include "temp_folder.h"

namespace wyx::test {
namespace {

using namespace std::string_literals;

/// Reads lines of a file in memory, one by one.
class ReaderTest : public PlatformTest {
  protected:
    /// The result of one call.
    struct Result {
        QAL_UINT32 ulStatus;
        Line line; // none: the pointer was left unchanged, or set to null
        bool isUntouched;
        QAL_UINT32 ulBytes;
        QAL_UINT32 ulLines;
        bool operator==(const Result &) const = default;

        friend void PrintTo(const Result &result, std::ostream *pOut)
        {
            *pOut << result.ulStatus << ": "
                  << (result.isUntouched ? "untouched"
                      : result.line      ? Shown(*result.line)
                                         : "null")
                  << ", " << result.ulBytes << " bytes of " << result.ulLines << " lines";
        }
    };

    /// The result for a line that was read.
    static Result Read(const std::string &line, QAL_UINT32 ulBytes, QAL_UINT32 ulLines)
    {
        return {kOk, line, false, ulBytes, ulLines};
    }
    /// The result of a failure that leaves the pointer unchanged.
    static Result Failed(QAL_UINT32 ulStatus) { return {ulStatus, {}, true, 0, 0}; }

    void TearDown() override
    {
        Close();
        PlatformTest::TearDown();
    }

    void Open(const std::string &content)
    {
        Close();
        platform.UseMemoryDisk()["f"] = content;
        pstruFile_ = XELP_Fopen("f", "r");
        platform.StartRecording();
    }

    void Close()
    {
        if (pstruFile_ != nullptr) {
            XELP_Fclose(pstruFile_);
            pstruFile_ = nullptr;
        }
    }

    Result ReadOne()
    {
        QAL_INT8 *pszLine = Sentinel();
        Result result{0, {}, false, 77, 77};
        result.ulStatus = IniGetOneLine(&pszLine, pstruFile_, &result.ulBytes, &result.ulLines);
        trace_ = platform.MemoryTrace();
        result.isUntouched = pszLine == Sentinel();
        if (!result.isUntouched) {
            result.line = TakeText(pszLine);
        }
        return result;
    }

    /// The rest of the file.
    std::string Rest()
    {
        std::string rest;
        for (QAL_INT32 l = XELP_Fgetc(pstruFile_); l != -1; l = XELP_Fgetc(pstruFile_)) {
            rest += static_cast<char>(l);
        }
        return rest;
    }

    XELP_S_File *pstruFile_ = nullptr;
    std::string trace_; // memory calls of the last ReadOne()
};

/// A cell of the reader's table: what a byte does after LF, CR or another byte, after an escape (a
/// backslash), and after an escaped LF or CR.
struct Cell {
    const char *pszName;
    std::string file;
    std::string line;
    QAL_UINT32 ulBytes;
    QAL_UINT32 ulLines;
    QAL_UINT32 ulStepsBack;
    std::string rest;
};

class IniReaderCell : public ReaderTest, public ::testing::WithParamInterface<Cell> {};

TEST_P(IniReaderCell, Reads)
{
    const Cell &cell = GetParam();
    Open(cell.file);
    EXPECT_EQ(ReadOne(), Read(cell.line, cell.ulBytes, cell.ulLines));
    EXPECT_EQ(platform.Calls(Service::kSeek), cell.ulStepsBack);
    EXPECT_EQ(FileTrace(), cell.ulStepsBack == 1 ? "seek -1 1" : "");
    EXPECT_EQ(trace_, "D " + std::to_string(cell.line.size() + 1));
    ExpectSites();
    EXPECT_EQ(Rest(), cell.rest);
}

const Cell kCells[] = {
    // End of file.
    {"EndAfterOther", "a", "a\r", 1, 1, 0, ""},
    {"EndAfterLf", "a\n", "a\n", 2, 1, 0, ""},
    {"EndAfterCr", "a\r", "a\r", 2, 1, 0, ""},
    {"EndAfterEscape", "a\\", "a\r", 1, 1, 0, ""},
    {"EndAfterEscapedLf", "a\\\n", "a\r", 1, 1, 0, ""},
    {"EndAfterEscapedCr", "a\\\r", "a\r", 1, 1, 0, ""},
    // Backslash.
    {"BackslashAfterOther", "a\\b\n", "a\\b\n", 4, 1, 0, ""},
    {"BackslashAfterLf", "a\n\\b\n", "a\n\\b\n", 5, 1, 0, ""},
    {"BackslashAfterCr", "a\r\\b\r", "a\r\\b\r", 5, 1, 0, ""},
    {"BackslashAfterEscape", "a\\\\\nb", "a\\\\\n", 4, 1, 1, "b"},
    {"BackslashAfterEscapedLf", "a\\\n\\\nb\nc", "ab\n", 3, 3, 1, "c"},
    {"BackslashAfterEscapedLfIsText", "a\\\n\\b", "a\\b\r", 3, 2, 0, ""},
    {"BackslashAfterEscapedCr", "a\\\r\\\rb\rc", "ab\r", 3, 3, 1, "c"},
    {"BackslashAfterEscapedCrIsText", "a\\\r\\b", "a\\b\r", 3, 2, 0, ""},
    // LF.
    {"LfAfterOther", "a\nb", "a\n", 2, 1, 1, "b"},
    {"LfAfterLf", "a\n\nb", "a\n", 2, 1, 1, "\nb"},
    {"LfAfterCr", "a\r\nb", "a\r\n", 3, 1, 0, "b"},
    {"LfAfterEscape", "a\\\nb\nc", "ab\n", 3, 2, 1, "c"},
    {"LfAfterEscapedLf", "a\\\n\nb", "a\n", 2, 2, 0, "b"},
    {"LfAfterEscapedCr", "a\\\r\nb\nc", "ab\n", 3, 2, 1, "c"},
    {"LfAfterEscapedCrLfIsALineEnd", "a\\\r\n\nb", "a\n", 2, 2, 1, "b"},
    // CR.
    {"CrAfterOther", "a\rb", "a\r", 2, 1, 1, "b"},
    {"CrAfterLf", "a\n\rb", "a\n\r", 3, 1, 0, "b"},
    {"CrAfterCr", "a\r\rb", "a\r", 2, 1, 1, "\rb"},
    {"CrAfterEscape", "a\\\rb\rc", "ab\r", 3, 2, 1, "c"},
    {"CrAfterEscapedLf", "a\\\n\rb\rc", "ab\r", 3, 2, 1, "c"},
    {"CrAfterEscapedLfCrIsALineEnd", "a\\\n\r\rb", "a\r", 2, 2, 1, "b"},
    {"CrAfterEscapedCr", "a\\\r\rb", "a\r", 2, 2, 0, "b"},
    // Any other byte.
    {"OtherAfterOther", "ab\r\nc", "ab\r\n", 4, 1, 0, "c"},
    {"OtherAfterLf", "\nb", "\n", 1, 1, 1, "b"},
    {"OtherAfterCr", "\rb", "\r", 1, 1, 1, "b"},
    {"OtherAfterEscape", "\\b\r\n", "\\b\r\n", 4, 1, 0, ""},
    {"OtherAfterEscapedLf", "\\\nb\\\nc\r\n", "bc\r\n", 4, 3, 0, ""},
    {"OtherAfterEscapedCr", "\\\rb\\\rc\r\n", "bc\r\n", 4, 3, 0, ""},
    // Byte 255, which as a signed number is -1, like the end of a file.
    {"Byte255AfterOther", "a\xFF\r\nc", "a\xFF\r\n", 4, 1, 0, "c"},
    {"Byte255AfterLf", "\n\xFF", "\n", 1, 1, 1, "\xFF"},
    {"Byte255AfterEscape", "\\\xFF\r\n", "\\\xFF\r\n", 4, 1, 0, ""},
};

INSTANTIATE_TEST_SUITE_P(Table, IniReaderCell, ::testing::ValuesIn(kCells), CaseName());

class IniReader : public ReaderTest {};

TEST_F(IniReader, BackslashAfterLoneLineEndJoins)
{
    Open("a\n\\b\nc\n");
    EXPECT_EQ(ReadOne().line, "a\n\\b\n");
    EXPECT_EQ(ReadOne().line, "c\n");

    Open("a\r\\\rb\r"); // the joined line can itself be continued
    EXPECT_EQ(ReadOne(), Read("a\rb\r", 4, 2));

    Open("a\r\n\\b\r\n"); // after a line end of two bytes, nothing is joined
    EXPECT_EQ(ReadOne().line, "a\r\n");
    EXPECT_EQ(ReadOne().line, "\\b\r\n");

    Open("a\n\r\\b\n\r");
    EXPECT_EQ(ReadOne().line, "a\n\r");
    EXPECT_EQ(ReadOne().line, "\\b\n\r");
}

TEST_F(IniReader, NothingLeftIs130AndLeavesThePointer)
{
    for (const char *pszFile : {"", "\\", "\\\n", "\\\r", "\\\r\n", "\\\n\\\n\\"}) {
        SCOPED_TRACE(Shown(pszFile));
        Open(pszFile);
        EXPECT_EQ(ReadOne(), Failed(kFileEmpty));
        EXPECT_EQ(trace_, "");
        EXPECT_EQ(ReadOne().ulStatus, kFileEmpty); // the next call finds no line either
    }
}

TEST_F(IniReader, LeadingBlanksOfAContinuationStay)
{
    Open("a = \\\n  b\\\n\tc\n");
    EXPECT_EQ(ReadOne(), Read("a =   b\tc\n", 10, 3));
}

TEST_F(IniReader, NulCutsItsLine)
{
    struct {
        std::string file;
        std::string line;
        QAL_UINT32 ulBytes;
        QAL_UINT32 ulLines;
    } const cases[] = {
        {"ab\0cd\nx"s, "ab\r", 2, 1},      // text and line end are cut off, a CR is added
        {"ab\0\nx"s, "ab\r", 2, 1},        //
        {"ab\0"s, "ab\r", 2, 1},           //
        {"a\n\\\0b\nx"s, "a\n\\\r", 3, 1}, // cut after a line end and a kept backslash
        {"a\n\\\n\0b\nx"s, "a\n", 2, 2},   // cut after a line end, so no CR is added
        {"a\\\nb\0c\r\nx"s, "ab\r", 2, 2}, // cut in a continuation, which counts as a line
        {"a\\\0b\nx"s, "a\\\r", 2, 1},     // a backslash before a NUL is kept
        {"a\\\n\0b\nx"s, "a\r", 1, 2},     // a NUL after a continuation
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(Shown(c.file));
        Open(c.file);
        EXPECT_EQ(ReadOne(), Read(c.line, c.ulBytes, c.ulLines));
        EXPECT_EQ(trace_, "D " + std::to_string(c.line.size() + 1));
        EXPECT_EQ(Rest(), c.file.back() == 'x' ? "x" : "");
    }
}

TEST_F(IniReader, NulAtTheBeginningIs130)
{
    Open("\0a\nb\n"s);
    EXPECT_EQ(ReadOne(), Failed(kFileEmpty));
    EXPECT_EQ(trace_, "");
    EXPECT_EQ(Rest(), "b\n"); // the line was read to its end
}

TEST_F(IniReader, EveryOtherByteIsText)
{
    for (int i = 1; i < 256; ++i) {
        const char c = static_cast<char>(i);
        if (c == '\\' || c == '\n' || c == '\r') {
            continue;
        }
        SCOPED_TRACE(i);
        const std::string text = {c, 'x', c, c, '\n'};
        Open(text + c);
        EXPECT_EQ(ReadOne().line, text);
        EXPECT_EQ(ReadOne().line, (std::string{c, '\r'}));
        EXPECT_EQ(ReadOne().ulStatus, kFileEmpty);
    }
}

TEST_F(IniReader, LineOf511BytesIsTheLongest)
{
    const auto a = [](std::size_t count) { return std::string(count, 'a'); };
    struct {
        std::string file;
        std::string line;
        QAL_UINT32 ulLines;
        std::string rest;
    } const fits[] = {
        {a(510) + "\nb", a(510) + "\n", 1, "b"},
        {a(510) + "\rb", a(510) + "\r", 1, "b"},
        {a(509) + "\r\nb", a(509) + "\r\n", 1, "b"},
        {a(511), a(511) + "\r", 1, ""}, // the added CR does not count
        {a(511) + "\\", a(511) + "\r", 1, ""},
        {a(511) + "\\\n", a(511) + "\r", 1, ""},
        {a(509) + "\\\\", a(509) + "\\\\\r", 1, ""},
        {a(509) + "\\b", a(509) + "\\b\r", 1, ""},
        {a(300) + "\\\n" + a(210) + "\nb", a(510) + "\n", 2, "b"}, // removed bytes do not count
        {a(510) + "\\\n\nb", a(510) + "\n", 2, "b"},
    };
    for (const auto &c : fits) {
        SCOPED_TRACE(Shown(c.file));
        Open(c.file);
        EXPECT_EQ(ReadOne(), Read(c.line, 511, c.ulLines));
        EXPECT_EQ(Rest(), c.rest);
    }
}

TEST_F(IniReader, LongerLineIs140AndStopsAtTheFirstExcessByte)
{
    const auto a = [](std::size_t count) { return std::string(count, 'a'); };
    struct {
        std::string file;
        std::string rest;
    } const tooLong[] = {
        {a(512) + "b", "b"},      {a(512), ""},
        {a(511) + "\nb", "b"},    {a(511) + "\rb", "b"},
        {a(510) + "\r\nb", "b"}, // though the last byte completes the line
        {a(510) + "\n\rb", "b"},  {a(511) + "\\\n\nb", "b"},
        {a(511) + "\\\nbc", "c"}, {a(510) + "\\\\b", "b"}, // 512 with the pair
        {a(511) + "\\\\b", "b"},                           // 513 with the pair
        {a(510) + "\\bc", "c"},   {a(511) + "\\bc", "c"},
        {a(5000), a(4488)},       {std::string(600, '\0'), std::string(88, '\0')}, // NULs count
    };
    for (const auto &c : tooLong) {
        SCOPED_TRACE(Shown(c.file));
        Open(c.file);
        EXPECT_EQ(ReadOne(), Failed(kLineTooLong));
        EXPECT_EQ(trace_, "");
        EXPECT_EQ(platform.Calls(Service::kSeek), 0U);
        EXPECT_EQ(Rest(), c.rest);
    }
}

TEST_F(IniReader, FailedStepBackIs80AndLeavesThePointer)
{
    for (const char *pszFile : {"a\nb\n", "a\rb\r", "a\n\n", "a\r\r"}) {
        SCOPED_TRACE(Shown(pszFile));
        Open(pszFile);
        platform.Fail(Service::kSeek, 1);
        EXPECT_EQ(ReadOne(), Failed(kInternal));
        EXPECT_EQ(trace_, "");
    }
}

TEST_F(IniReader, FailedAllocationIs80AndNull)
{
    for (const char *pszFile : {"a\nb\n", "a"}) {
        SCOPED_TRACE(Shown(pszFile));
        Open(pszFile);
        platform.Fail(Service::kAllocate, 1);
        EXPECT_EQ(ReadOne(), (Result{kInternal, {}, false, 0, 0}));
        EXPECT_EQ(trace_, "D 3");
    }
}

/// Reads a whole file line by line and compares it with the model.
class IniReaderModel : public ReaderTest {
  protected:
    void Compare(const std::string &file)
    {
        Open(file);
        platform.RecordEvents(false);
        for (std::size_t at = 0;;) {
            const QAL_UINT32 ulReads = platform.Calls(Service::kRead);
            const QAL_UINT32 ulSteps = platform.Calls(Service::kSeek);
            const model::ReadLine expected = model::Read(file, at);
            const bool fails = expected.ulStatus != kOk;
            ASSERT_EQ(ReadOne(), fails ? Failed(expected.ulStatus)
                                       : Read(expected.line, expected.ulBytes, expected.ulLines))
                << Shown(file) << " at " << at;
            ASSERT_EQ(platform.Calls(Service::kRead) - ulReads, expected.reads) << Shown(file);
            ASSERT_EQ(platform.Calls(Service::kSeek) - ulSteps, expected.stepsBack) << Shown(file);
            if (fails) {
                return;
            }
            at = expected.next;
        }
    }
};

TEST_F(IniReaderModel, EveryShortFile)
{
    AllStrings("\\\n\ra\0"s, 7).ForEach([&](const std::string &file) { Compare(file); });
}

TEST_F(IniReaderModel, RandomFiles)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::string bytes = "\\\\\n\n\r\rab=\"\xE4";
    for (int i = 0; i < 2000 && !HasFailure(); ++i) {
        // Long lines need few line ends.
        Compare(i % 4 != 0 ? RandomText(random, bytes, 60)
                           : RandomText(random, std::string(3000, 'a') + bytes, 3000));
    }
}

class IniLoad : public PlatformTest {
  protected:
    /// Loads the content from the disk in memory and compares everything with the model.
    void Compare(const std::string &content)
    {
        platform.UseMemoryDisk()["f"] = content;
        platform.StartRecording();
        Snapshot expected;
        model::Heap heap;
        const QAL_UINT32 ulExpected = model::Load(content, expected, heap);
        Document doc;
        ASSERT_EQ(XELP_IniGetFileContent("f", &doc), ulExpected) << Shown(content);
        ASSERT_EQ(platform.MemoryTrace(), heap.Trace()) << Shown(content);
        ASSERT_EQ(Look(doc), expected) << Shown(content);
    }
};

TEST_F(IniLoad, NullArgumentIs170AndLeavesTheRecord)
{
    Document doc;
    doc.ulLabel = doc.ulLineNum = doc.ulIniFileNum = 7;
    platform.StartRecording();
    EXPECT_EQ(XELP_IniGetFileContent(nullptr, &doc), kInputPara);
    EXPECT_EQ(XELP_IniGetFileContent("f", nullptr), kInputPara);
    EXPECT_EQ(XELP_IniGetFileContent(nullptr, nullptr), kInputPara);
    EXPECT_EQ(Look(doc), (Snapshot{7, 7, 0, 7, {}}));
    EXPECT_EQ(FullTrace(), "");
}

TEST_F(IniLoad, MissingFileIs30AndZeroesTheRecord)
{
    platform.UseMemoryDisk();
    platform.StartRecording();
    for (const char *pszName : {"f", ""}) {
        XELP_IN_S_INI_FILE_STRUCT doc;
        std::memset(&doc, 0x7F, sizeof doc);
        EXPECT_EQ(XELP_IniGetFileContent(pszName, &doc), kOpenFile);
        EXPECT_EQ(doc.pStrLine, nullptr);
        EXPECT_EQ(Look(doc), Snapshot{});
    }
    EXPECT_EQ(FullTrace(), "open r f, open r \"\"");
}

TEST_F(IniLoad, EmptyFileHasNoLines)
{
    for (const std::string &content : {""s, "\\\n"s, "\\"s, "\\\r\n"s, "\0a\r\nb\r\n"s}) {
        SCOPED_TRACE(Shown(content));
        platform.UseMemoryDisk()["f"] = content;
        platform.StartRecording();
        Document doc;
        EXPECT_EQ(XELP_IniGetFileContent("f", &doc), kOk);
        EXPECT_EQ(Look(doc), Loaded({}));
        EXPECT_EQ(FullTrace(), "open r f, D 1600, close");
    }
}

TEST_F(IniLoad, OverwritesWhatTheRecordHeld)
{
    platform.UseMemoryDisk()["f"] = "a=1";
    Document first;
    ASSERT_EQ(XELP_IniGetFileContent("f", &first), kOk);
    first.ulLabel = 1;
    Document second;
    static_cast<XELP_IN_S_INI_FILE_STRUCT &>(second) = first; // first still owns the lines
    platform.StartRecording();
    EXPECT_EQ(XELP_IniGetFileContent("f", &second), kOk);
    EXPECT_EQ(FullTrace(), "open r f, D 1600, D 5, close");
    EXPECT_EQ(Look(second), Loaded({"a=1\r"}));
    EXPECT_NE(second.pStrLine, first.pStrLine);
}

struct Content {
    const char *pszName;
    std::string file;
    Lines lines;
    QAL_UINT32 ulPhysical;
};

class IniLoadContent : public PlatformTest, public ::testing::WithParamInterface<Content> {};

TEST_P(IniLoadContent, Loads)
{
    const Content &content = GetParam();
    platform.UseMemoryDisk()["f"] = content.file;
    Document doc;
    EXPECT_EQ(XELP_IniGetFileContent("f", &doc), kOk);
    Snapshot expected = Loaded(content.lines);
    expected.ulIniFileNum = content.ulPhysical;
    EXPECT_EQ(Look(doc), expected);
}

const Content kContents[] = {
    {"NoFinalLineEnd", "a=1", {"a=1\r"}, 1},
    {"CrLfThenLf", "x\r\ny\n", {"x\r\n", "y\n"}, 2},
    {"LfCr", "x\n\ry", {"x\n\r", "y\r"}, 2},
    {"EmptyLineLf", "x\n\ny", {"x\n", "\n", "y\r"}, 3},
    {"EmptyLineCr", "x\r\ry", {"x\r", "\r", "y\r"}, 3},
    {"EmptyLinesCrLf", "\r\n\r\n\r\n", {"\r\n", "\r\n", "\r\n"}, 3},
    {"CrThenLfCr", "x\r\n\ry\n", {"x\r\n", "\r", "y\n"}, 3},
    {"Continuation", "ab\\\r\ncd\r\n", {"abcd\r\n"}, 2},
    {"ContinuationLfCr", "ab\\\n\rcd\n\r", {"abcd\n\r"}, 2},
    {"KeptBackslash", "a\\b\n", {"a\\b\n"}, 1},
    {"KeptPair", "a\\\\b\n", {"a\\\\b\n"}, 1},
    {"KeptPairThenEnd", "a\\\\\nb\n", {"a\\\\\n", "b\n"}, 2},
    {"BackslashAtTheEnd", "a\\", {"a\r"}, 1},
    {"JoinAfterLoneLf", "a\n\\b\n", {"a\n\\b\n"}, 1},
    {"NoJoinAfterCrLf", "a\r\n\\b\r\n", {"a\r\n", "\\b\r\n"}, 2},
    {"EmptyContinuation", "a\\\n\nb\n", {"a\n", "b\n"}, 3},
    {"NulCuts", "ab\0cd\nx\n"s, {"ab\r", "x\n"}, 2},
    {"NulAtLineStartEnds", "a\n\0b\nc\n"s, {"a\n"}, 1},
    {"ByteOrderMark", "\xEF\xBB\xBF[a]\nk=1\n", {"\xEF\xBB\xBF[a]\n", "k=1\n"}, 2},
};

INSTANTIATE_TEST_SUITE_P(Table, IniLoadContent, ::testing::ValuesIn(kContents), CaseName());

TEST_F(IniLoad, CallsInOrder)
{
    platform.UseMemoryDisk()["f"] = "a\nbc\r\n\rd";
    platform.StartRecording();
    Document doc;
    EXPECT_EQ(XELP_IniGetFileContent("f", &doc), kOk);
    EXPECT_EQ(FullTrace(), "open r f, D 1600, seek -1 1, D 3, D 5, seek -1 1, D 2, D 3, close");
    ExpectSites();
}

TEST_F(IniLoad, TooLongLineReleasesAllAndCloses)
{
    platform.UseMemoryDisk()["f"] = "a\r\nbc\r\n" + std::string(512, 'x') + "\r\nd\r\n";
    platform.StartRecording();
    XELP_IN_S_INI_FILE_STRUCT doc;
    std::memset(&doc, 0x7F, sizeof doc);
    EXPECT_EQ(XELP_IniGetFileContent("f", &doc), kLineTooLong);
    EXPECT_EQ(doc.pStrLine, nullptr);
    EXPECT_EQ(Look(doc), Snapshot{});
    EXPECT_EQ(FullTrace(), "open r f, D 1600, D 4, D 5, free, free, free, close");
    for (const Event &event : platform.Events()) {
        EXPECT_FALSE(event.setsNull);
    }
    ExpectSites();
}

/// A file of this many lines.
std::string FileOfLines(std::size_t count)
{
    std::string file;
    for (std::size_t i = 0; i < count; ++i) {
        file += std::to_string(i) + "\r\n";
    }
    return file;
}

TEST_F(IniLoad, GrowsWhenOneFreeSlotIsLeft)
{
    struct {
        std::size_t lines;
        QAL_UINT32 ulTotal;
        std::size_t growths;
    } const cases[] = {{198, 200, 0}, {199, 250, 1}, {248, 250, 1}, {249, 300, 2}, {999, 1050, 17}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.lines);
        platform.UseMemoryDisk()["f"] = FileOfLines(c.lines);
        platform.StartRecording();
        Document doc;
        EXPECT_EQ(XELP_IniGetFileContent("f", &doc), kOk);
        Lines lines;
        for (std::size_t i = 0; i < c.lines; ++i) {
            lines.push_back(std::to_string(i) + "\r\n");
        }
        EXPECT_EQ(Look(doc), Loaded(lines, c.ulTotal));
        EXPECT_EQ(platform.Calls(Service::kAllocate), 1 + c.lines + c.growths);
        EXPECT_LT(doc.ulLineNum + 1, doc.ulTotalLine);
    }
}

TEST_F(IniLoad, EveryAllocationFailing)
{
    const std::string content = FileOfLines(250);
    for (const Failure failure : {Failure::kOnce, Failure::kFromThere}) {
        for (QAL_UINT32 ulFailAt = 1;; ++ulFailAt) {
            SCOPED_TRACE(ulFailAt);
            platform.UseMemoryDisk()["f"] = content;
            platform.StartRecording();
            platform.Fail(Service::kAllocate, ulFailAt, failure);
            Snapshot expected;
            model::Heap heap(ulFailAt, failure);
            const QAL_UINT32 ulExpected = model::Load(content, expected, heap);
            {
                Document doc;
                EXPECT_EQ(XELP_IniGetFileContent("f", &doc), ulExpected);
                EXPECT_EQ(platform.MemoryTrace(), heap.Trace());
                EXPECT_EQ(Look(doc), expected);
            }
            EXPECT_EQ(platform.LiveBlocks(), 0U);
            EXPECT_EQ(platform.LiveFiles(), 0U);
            if (!platform.HasFailed()) {
                EXPECT_EQ(ulExpected, kOk);
                break;
            }
            EXPECT_EQ(ulExpected, kInternal);
            ASSERT_FALSE(HasFailure());
        }
    }
}

TEST_F(IniLoad, EveryStepBackFailing)
{
    const std::string content = "a\nb\rc\n\nd\r\re\n";
    for (QAL_UINT32 ulFailAt = 1;; ++ulFailAt) {
        SCOPED_TRACE(ulFailAt);
        platform.UseMemoryDisk()["f"] = content;
        platform.StartRecording();
        platform.Fail(Service::kSeek, ulFailAt);
        Document doc;
        const QAL_UINT32 ulStatus = XELP_IniGetFileContent("f", &doc);
        if (!platform.HasFailed()) {
            EXPECT_EQ(ulStatus, kOk);
            EXPECT_EQ(ulFailAt, 7U);
            break;
        }
        EXPECT_EQ(ulStatus, kInternal);
        EXPECT_EQ(Look(doc), Snapshot{});
        EXPECT_EQ(platform.LiveBlocks(), 0U);
        EXPECT_EQ(platform.LiveFiles(), 0U);
    }
}

TEST_F(IniLoad, FileThatEndsEarlyIsLoadedUpToThere)
{
    const std::string content = "[a]\r\nb\\\nc\n\\d\r\re";
    for (std::size_t n = 0; n <= content.size(); ++n) {
        SCOPED_TRACE(n);
        platform.UseMemoryDisk()["f"] = content.substr(0, n) + std::string(20, 'x');
        platform.StartRecording();
        // A byte that was given back is read twice. The double ends the file after ulReads reads.
        Snapshot expected;
        model::Heap heap;
        ASSERT_EQ(model::Load(content.substr(0, n), expected, heap), kOk);
        QAL_UINT32 ulReads = 0;
        for (std::size_t at = 0; at < n;) {
            const model::ReadLine read = model::Read(content.substr(0, n), at);
            ulReads += static_cast<QAL_UINT32>(read.next - at + read.stepsBack);
            at = read.ulStatus == kOk ? read.next : n;
        }
        platform.Fail(Service::kRead, ulReads + 1, Failure::kFromThere);
        Document doc;
        EXPECT_EQ(XELP_IniGetFileContent("f", &doc), kOk);
        EXPECT_EQ(Look(doc), expected);
    }
}

TEST_F(IniLoad, FailedOpenIs30)
{
    platform.UseMemoryDisk()["f"] = "a=1\n";
    platform.Fail(Service::kOpen, 1);
    Document doc;
    EXPECT_EQ(XELP_IniGetFileContent("f", &doc), kOpenFile);
    EXPECT_EQ(Look(doc), Snapshot{});
    EXPECT_EQ(XELP_IniGetFileContent("f", &doc), kOk); // the next call succeeds
}

TEST_F(IniLoad, FailedCloseIsIgnored)
{
    platform.UseMemoryDisk()["f"] = "a=1\n";
    platform.Fail(Service::kClose, 1);
    Document doc;
    EXPECT_EQ(XELP_IniGetFileContent("f", &doc), kOk);
    EXPECT_EQ(Look(doc), Loaded({"a=1\n"}));
}

TEST_F(IniLoad, EveryShortFile)
{
    AllStrings("\\\n\ra\0"s, 5).ForEach([&](const std::string &file) { Compare(file); });
}

TEST_F(IniLoad, RandomBytes)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    for (int i = 0; i < 100 && !HasFailure(); ++i) {
        const auto bytes = random.Bytes(random.UpTo(5000));
        std::string file(bytes.begin(), bytes.end());
        if (i % 2 == 0) {
            std::replace(file.begin(), file.end(), '\0', 'x');
        }
        Compare(file);
    }
}

TEST_F(IniLoad, RealFiles)
{
    const TempFolder folder;
    Document doc;
    for (const std::string &content : {""s, "a=1"s, "[a]\r\nk=\\\r\n 1\r\n"s, FileOfLines(300)}) {
        SCOPED_TRACE(Shown(content));
        folder.Make("f.ini", content);
        Snapshot expected;
        model::Heap heap;
        ASSERT_EQ(model::Load(content, expected, heap), kOk);
        EXPECT_EQ(XELP_IniGetFileContent(folder.File("f.ini").c_str(), &doc), kOk);
        EXPECT_EQ(Look(doc), expected);
        XELP_IniFreeIniStruct(&doc);
    }
    EXPECT_EQ(XELP_IniGetFileContent(folder.File("missing.ini").c_str(), &doc), kOpenFile);
    EXPECT_EQ(XELP_IniGetFileContent(folder.Path().c_str(), &doc), kOpenFile); // a directory
    EXPECT_EQ(XELP_IniGetFileContent(folder.File("no/f.ini").c_str(), &doc), kOpenFile);
    EXPECT_EQ(Look(doc), Snapshot{});
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"f.ini"});
}

TEST_F(IniLoad, UnreadableFileIs30)
{
    WYX_NEED_NOBODY();
    const TempFolder folder;
    folder.Make("f.ini", "[a]\nk=1\n");
    const auto load = [&] {
        return AsNobody([&] {
            Document doc;
            return static_cast<int>(XELP_IniGetFileContent(folder.File("f.ini").c_str(), &doc));
        });
    };
    std::filesystem::permissions(folder.Path(), std::filesystem::perms::all);
    ASSERT_EQ(load(), static_cast<int>(kOk)) << "another user cannot reach " << folder.Path();
    std::filesystem::permissions(folder.File("f.ini"), std::filesystem::perms::none);
    EXPECT_EQ(load(), static_cast<int>(kOpenFile));
}

class IniRelease : public PlatformTest {};

TEST_F(IniRelease, ReleasesLinesThenArrayAndZeroesTheRecord)
{
    Document doc({"[a]\n", std::nullopt, "k=1\n", std::nullopt});
    doc.ulLabel = 1;
    const void *const blocks[] = {doc.pStrLine[0], doc.pStrLine[2], doc.pStrLine};
    XELP_IniFreeIniStruct(&doc);
    EXPECT_EQ(doc.pStrLine, nullptr);
    EXPECT_EQ(Look(doc), Snapshot{});
    ASSERT_EQ(FullTrace(), "free, free, free");
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(platform.Events()[i].pBlock, blocks[i]);
        EXPECT_FALSE(platform.Events()[i].setsNull);
    }
    ExpectSites();
}

TEST_F(IniRelease, RecordThatHoldsNothingIsAccepted)
{
    Document doc;
    platform.StartRecording();
    XELP_IniFreeIniStruct(&doc);
    EXPECT_EQ(FullTrace(), "free null"); // the adapter is called for a null array, too
    EXPECT_EQ(Look(doc), Snapshot{});
    doc.ulLabel = doc.ulTotalLine = doc.ulIniFileNum = 7;
    XELP_IniFreeIniStruct(&doc);
    EXPECT_EQ(Look(doc), Snapshot{});
}

TEST_F(IniRelease, CanBeLoadedAgain)
{
    platform.UseMemoryDisk()["f"] = "a=1\n";
    Document doc;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(XELP_IniGetFileContent("f", &doc), kOk);
        EXPECT_EQ(Look(doc), Loaded({"a=1\n"}));
        XELP_IniFreeIniStruct(&doc);
        EXPECT_EQ(platform.LiveBlocks(), 0U);
    }
}

class IniRemallocIniLine : public PlatformTest {};

TEST_F(IniRemallocIniLine, AddsFiftyEmptySlots)
{
    for (const QAL_UINT32 ulTotal : {1U, 2U, 200U, 250U, 1000U}) {
        SCOPED_TRACE(ulTotal);
        Lines lines(ulTotal);
        lines[0] = "[a]\n";
        lines.back() = "k=1\n";
        Document doc(lines, ulTotal);
        doc.ulLabel = 5;
        doc.ulIniFileNum = 9;
        Snapshot expected = Look(doc);
        expected.ulTotalLine += 50;
        expected.slots.resize(expected.ulTotalLine);
        const void *const pOld = doc.pStrLine;
        const void *const pLine = doc.pStrLine[0];
        EXPECT_EQ(::IniRemallocIniLine(&doc), kOk);
        EXPECT_EQ(Look(doc), expected);
        EXPECT_EQ(doc.pStrLine[0], pLine); // lines are moved, not copied
        ASSERT_EQ(FullTrace(), "D " + std::to_string(ulTotal * 8 + 400) + ", free");
        EXPECT_EQ(platform.Events()[0].pBlock, doc.pStrLine);
        EXPECT_EQ(platform.Events()[1].pBlock, pOld);
        EXPECT_FALSE(platform.Events()[1].setsNull);
        ExpectSites();
    }
}

TEST_F(IniRemallocIniLine, FailedAllocationIs80AndChangesNothing)
{
    Document doc({"[a]\n", std::nullopt, "k=1\n"}, 5);
    const Snapshot before = Look(doc);
    const void *const pOld = doc.pStrLine;
    platform.Fail(Service::kAllocate, 1);
    EXPECT_EQ(::IniRemallocIniLine(&doc), kInternal);
    EXPECT_EQ(Look(doc), before);
    EXPECT_EQ(doc.pStrLine, pOld);
    EXPECT_EQ(FullTrace(), "D 440");
}

TEST_F(IniRemallocIniLine, WrappedSizeIsRequested)
{
    const struct {
        QAL_UINT32 ulTotalLine;
        const char *pszTrace;
    } cases[] = {
        {0x1FFFFFCE, "D 0, free"}, // the lowest count that wraps if 50 slots are added
        {0x1FFFFFE0, "D 144, free"},
        {0xFFFFFFFF, "D 392, free"},
    };
    Document doc({"[a]\n"}, 1);
    for (const auto &c : cases) {
        SCOPED_TRACE(c.ulTotalLine);
        doc.ulTotalLine = c.ulTotalLine;
        const void *const pOld = doc.pStrLine;
        platform.StartRecording();
        EXPECT_EQ(::IniRemallocIniLine(&doc), kInternal);
        EXPECT_EQ(FullTrace(), c.pszTrace);
        EXPECT_EQ(doc.pStrLine, pOld);
        EXPECT_EQ(doc.ulTotalLine, c.ulTotalLine);
    }
    doc.ulTotalLine = 1;
    EXPECT_EQ(Look(doc).slots.size(), 1U);
}

TEST(IniStrLen, CountsBytesAndTreatsNullAsEmpty)
{
    EXPECT_EQ(INI_StrLen(nullptr), 0U);
    EXPECT_EQ(INI_StrLen(""), 0U);
    EXPECT_EQ(INI_StrLen("a"), 1U);
    EXPECT_EQ(INI_StrLen("\xFF\x80 x\n"), 5U);
    EXPECT_EQ(INI_StrLen(std::string(100000, 'x').c_str()), 100000U);
}

} // namespace
} // namespace wyx::test
