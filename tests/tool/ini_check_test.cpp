#include <nlohmann/json.hpp>

#include <fstream>

#include "random.h"
#include "tool_runner.h"
#include "wyx_commlib/ini_parser.h"

namespace wyx::test {

namespace {

using nlohmann::json;

class IniCheckToolTest : public ToolTest {
  protected:
    /// The findings in a file as "LINE CODE", one per line.
    std::string Findings(const std::string &content, int code)
    {
        const std::string name = Write("f.ini", content);
        const Outcome outcome = Wyx({"ini", "check", "--json", name});
        EXPECT_EQ(outcome.code, code) << outcome.err;
        std::string findings;
        const json document = json::parse(outcome.out);
        for (const json &finding : document.at(0).at("findings")) {
            const json &word = finding.at("code");
            findings += finding.at("line").dump() + " " +
                        (word.is_string() ? word.get<std::string>() : word.dump()) + "\n";
        }
        return findings;
    }
};

std::string Line(std::size_t size, const std::string &end = "\n")
{
    std::string line = "k=";
    return line + std::string(size - line.size() - end.size(), 'x') + end;
}

struct Case {
    const char *name;
    std::string content;
    std::string findings;
};

TEST_F(IniCheckToolTest, ErrorsOfTheLibraryWithLineNumbers)
{
    const Case cases[] = {
        {"KeyBeforeHeader", "k=1\n[a]\n", "1 60\n"},
        {"Garbage", "[a]\ngarbage\n", "2 160\n"},
        {"IndentedHeader", " [a]\nk=1\n", "1 110\n"},
        {"EmptyHeader", "[]\nk=1\n", "1 110\n"},
        {"TextAfterHeader", "[a] x\n", "1 110\n"},
        {"TabAfterHeader", "[a]\t\nk=1\n", "1 160\n"}, // only lookups refuse it
        {"BlankInKey", "[a]\na b=1\n", "2 120\n"},
        {"NoKey", "[a]\n=1\n", "2 120\n"},
        {"CommaWithoutBlank", "[a]\nk=a,b\n", "2 180\n"},
        {"OpenQuote", "[a]\nk=\"x\n", "2 180\n"},
        {"CommentWithoutBlank", "[a]\nk=a;b\n", "2 190\n"},
        {"SemicolonBeforeComment", "[a]\nu=h;b ;c\n", "2 190\n2 semicolon-before-comment\n"},
        {"AllOfThem", "k=1\n[a\ngarbage\n\n; c\na b=1\nk=a,b\nk=a;b\n",
         "1 60\n2 110\n3 160\n6 120\n7 180\n8 190\n8 key-again\n"},
        {"AfterContinuations", "[a]\nx=1\\\n2\\\n3\ny\n", "2 continuation\n5 160\n"},
        {"AfterLeadingBackslash", "[a]\n\\x=1\ny\n", "1 110\n1 leading-backslash\n3 160\n"},
        {"AfterEmptyContinuation", "[a]\nx=1\\\n\ny\n", "2 continuation\n4 160\n"},
        {"CrLf", "[a]\r\nx=1\\\r\n2\r\ny\r\n", "2 continuation\n4 160\n"},
        {"Cr", "[a]\rx=1\\\r2\ry\r", "1 line-ends\n2 continuation\n4 160\n"},
        {"TooLong", "[a]\n" + Line(512) + "garbage\n", "2 140\n3 160\n"},
        {"TooLongByContinuations",
         "[a]\nk=" + std::string(300, 'x') + "\\\n" + std::string(300, 'x') + "\\\ny\ngarbage\n",
         "2 140\n5 160\n"},
        {"TooLongAtTheEnd", "[a]\nk=" + std::string(600, 'x'), "2 140\n"},
        {"LongestThatLoads", "[a]\n" + Line(511), "2 fold\n"},
        {"Utf16", std::string("\xFF\xFE[\0", 4), "1 160\n"},
    };
    for (const Case &sample : cases) {
        SCOPED_TRACE(sample.name);
        const bool isWrong = std::string(sample.name) != "LongestThatLoads";
        EXPECT_EQ(Findings(sample.content, isWrong ? kMalformed : kOk), sample.findings);
    }
}

TEST_F(IniCheckToolTest, Warnings)
{
    const Case cases[] = {
        {"Fine", "[a]\nk=1\n", ""},
        {"FineCrLf", "[a]\r\nk=1\r\n", ""},
        {"Mark", "\xEF\xBB\xBF; c\n[a]\nk=1\n", "1 160\n1 byte-order-mark\n"},
        {"Continuation", "[a]\nk=1\\\n2\n", "2 continuation\n"},
        {"Seventy-nine", "[a]\n" + Line(79), ""},
        {"Eighty", "[a]\n" + Line(80), "2 fold\n"},
        {"EightyOfTwoLines", "[a]\nk=" + std::string(76, 'x') + "\\\nx\n", "2 continuation\n"},
        {"NoLineEnd", "[a]\nk=1", "2 no-line-end\n"},
        {"TrailingBackslash", "[a]\nk=1\\", "2 trailing-backslash\n2 no-line-end\n"},
        {"TrailingBackslashAndLineEnd", "[a]\nk=1\\\n", "2 trailing-backslash\n2 no-line-end\n"},
        {"TrailingBackslashAndCrLf", "[a]\r\nk=1\\\r\n", "2 trailing-backslash\n2 no-line-end\n"},
        {"TrailingBackslashLine", "[a]\nk=1\n\\\n", "3 trailing-backslash\n"},
        {"TwoTrailingBackslashLines", "[a]\nk=1\n\\\n\\\n", "2 continuation\n"},
        {"TwoTrailingBackslashLinesNoLineEnd", "[a]\nk=1\n\\\n\\",
         "2 continuation\n4 trailing-backslash\n"},
        {"TwoTrailingBackslashes", "[a]\nk=1\\\\\n", ""},
        {"Nul", std::string("[a]\nk=1\0x\nl=1\n", 14), "2 nul\n"},
        {"NulLine", std::string("[a]\nk=1\n\0\nl=1\n", 14), "3 nul\n"},
        {"MixedLineEnds", "[a]\r\nk=1\n", "1 line-ends\n"},
        {"SectionAgain", "[a]\nk=1\n[b]\nk=1\n[A]\nk=1\n", "5 section-again\n"},
        {"KeyAgain", "[a]\nk=1\nK=2\n", "3 key-again\n"},
        {"KeyAgainAfterABadHeader", "[a]\nk=1\n[b] x\nk=2\nK=3\n", "3 110\n5 key-again\n"},
        {"TabBeforeComment", "[a]\nk=1\t;c\n", "2 tab-before-comment\n"},
        {"QuoteInComment", "[a]\nk=1 ;\"c\"\n", "2 quoted-comment\n"},
        {"QuotedSemicolonBeforeComment", "[a]\nk= \"a;b\" ;c\n", "2 semicolon-before-comment\n"},
        {"QuotedSemicolonAndQuoteInComment", "[a]\nk=\"a\" ;\"c\n", "2 quoted-comment\n"},
        {"QuotedComment", "[a]\nk=\"a ;b\"\n", ""},
        {"QuotedTab", "[a]\nk=\"a\t;b\", c\n", ""},
    };
    for (const Case &sample : cases) {
        SCOPED_TRACE(sample.name);
        const bool isWrong = sample.name == std::string("Mark") ||
                             sample.name == std::string("KeyAgainAfterABadHeader");
        EXPECT_EQ(Findings(sample.content, isWrong ? kMalformed : kOk), sample.findings);
    }
}

TEST_F(IniCheckToolTest, TextLooksLikeCompilerMessages)
{
    const std::string name = Write("net.ini", "[a]\nk=a,b\nk=1\\\n2\n");
    const Outcome outcome = Wyx({"ini", "check", "net.ini"}, {.directory = Directory()});
    EXPECT_EQ(outcome.code, kMalformed);
    EXPECT_TRUE(outcome.out.starts_with("net.ini:2: malformed value: ")) << outcome.out;
    EXPECT_TRUE(Mentions(outcome.out, {" (180)\n", "net.ini:3: warning: joined from 2 lines",
                                       " (continuation)\n", " (key-again)\n"}));
    EXPECT_EQ(Wyx({"ini", "check", "-e", name}).out.find("warning"), std::string::npos);
    const Outcome input = Wyx({"ini", "check", "-"}, {.in = "x\n"});
    EXPECT_TRUE(input.out.starts_with("(standard input):1: ")) << input.out;
}

TEST_F(IniCheckToolTest, ExitCodes)
{
    const std::string fine = Write("fine.ini", "[a]\n");
    const std::string warned = Write("warned.ini", "[a]\nk=1\nk=2\n");
    const std::string wrong = Write("wrong.ini", "x\n");
    EXPECT_EQ(Wyx({"ini", "check", fine}).code, kOk);
    EXPECT_EQ(Wyx({"ini", "check", warned}).code, kOk);
    EXPECT_EQ(Wyx({"ini", "check", "--strict", warned}).code, kMalformed);
    EXPECT_EQ(Wyx({"ini", "check", "--strict", fine}).code, kOk);
    EXPECT_EQ(Wyx({"ini", "check", fine, wrong, fine}).code, kMalformed);
    const Outcome missing = Wyx({"ini", "check", Path("none"), wrong});
    EXPECT_EQ(missing.code, kIo);
    EXPECT_TRUE(Mentions(missing.out, {"wrong.ini:1: "}));
    EXPECT_EQ(Wyx({"ini", "check"}).code, kUsage);
}

TEST_F(IniCheckToolTest, Json)
{
    const std::string name = Write("a.ini", "[a]\nk=a;b\nk=1\n");
    const Outcome outcome = Wyx({"ini", "check", "--json", name, Write("b.ini", "[b]\n")});
    EXPECT_EQ(outcome.code, kMalformed);
    const json document = json::parse(outcome.out);
    ASSERT_EQ(document.size(), 2U);
    EXPECT_EQ(document[0]["file"], name);
    EXPECT_EQ(document[0]["ok"], false);
    EXPECT_EQ(document[0]["findings"][0]["severity"], "error");
    EXPECT_EQ(document[0]["findings"][0]["code"], 190);
    EXPECT_EQ(document[0]["findings"][1]["severity"], "warning");
    EXPECT_EQ(document[1]["ok"], true);
    EXPECT_TRUE(document[1]["findings"].empty());
}

/// The first error that the library's own check reports, with its slot; 0 for none.
std::pair<QAL_UINT32, QAL_UINT32> LibraryCheck(const std::string &name)
{
    XELP_IN_S_INI_FILE_STRUCT document = {};
    QAL_UINT32 ulLine = 0;
    QAL_UINT32 ulStatus = XELP_IniGetFileContent(name.c_str(), &document);
    if (ulStatus == XELP_ERR_INI_OK) {
        ulStatus = XELP_IniCheckFile(&document, &ulLine);
        XELP_IniFreeIniStruct(&document);
    }
    return {ulStatus, ulStatus == XELP_ERR_INI_OK ? 0 : ulLine};
}

// Both lines are joined to the line above, and add nothing to it.
TEST_F(IniCheckToolTest, TwoBackslashLinesAtTheEndAreReadAsInTheLibrary)
{
    for (const char *const end : {"\n", ""}) {
        const std::string name = Write("f.ini", std::string("[a]\nk=1\n\\\n\\") + end);
        XELP_IN_S_INI_FILE_STRUCT document = {};
        ASSERT_EQ(XELP_IniGetFileContent(name.c_str(), &document), QAL_UINT32{XELP_ERR_INI_OK});
        ASSERT_EQ(document.ulLineNum, 2U);
        EXPECT_STREQ(document.pStrLine[1], "k=1\n");
        XELP_IniFreeIniStruct(&document);
        EXPECT_EQ(LibraryCheck(name).first, QAL_UINT32{XELP_ERR_INI_OK});
        const json list = json::parse(Wyx({"ini", "list", "--json", name}).out).at("lines");
        ASSERT_EQ(list.size(), 2U);
        EXPECT_EQ(list[1]["text"], "k=1\n");
        EXPECT_EQ(list[1]["lines"], 3);
    }
}

TEST_F(IniCheckToolTest, FirstErrorMatchesTheLibrary)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    static constexpr const char *kPieces[] = {
        "[a]",    "[b] ;c",     " [c]", "[]",    "k=1", "k = 1 ;c", "=1",   "a b=1", "k=a,b",
        "k=a, b", "k=\"",       "k=;",  "k= ;c", "; c", "",         "  ",   "x",     "k=1\\",
        "\\k=1",  "k=\"a ;b\"", "[a]x", "k=",    "\t",  "#\\\\",    "k=a;b"};
    for (int round = 0; round < 60; ++round) {
        std::string content;
        for (std::uint64_t count = random.UpTo(8); count > 0; --count) {
            content += kPieces[random.UpTo(std::size(kPieces) - 1)];
            content += random.UpTo(9) == 0 ? "\r\n" : "\n";
        }
        SCOPED_TRACE(content);
        const std::string name = Write("random.ini", content);
        const auto [status, slot] = LibraryCheck(name);
        const json findings =
            json::parse(Wyx({"ini", "check", "-e", "--json", name}).out).at(0).at("findings");
        // The library's check refuses a document without lines, but the tool accepts an empty file.
        ASSERT_EQ(findings.empty(), status == XELP_ERR_INI_OK || status == XELP_ERR_INI_FILE_EMPTY);
        if (!findings.empty()) {
            EXPECT_EQ(findings[0]["code"], status);
            const json list = json::parse(Wyx({"ini", "list", "--json", name}).out);
            EXPECT_EQ(findings[0]["line"], list["lines"][slot - 1]["line"]);
        }
    }
}

TEST_F(IniCheckToolTest, LineNumbersMatchTheFile)
{
    // The text of every stored line holds the number of the file's line that it begins on.
    Random random;
    SCOPED_TRACE(random.Trace());
    for (const char *const end : {"\n", "\r\n", "\r"}) {
        std::string content;
        std::size_t number = 1;
        for (int i = 0; i < 200; ++i) {
            content += "k=" + std::to_string(number);
            for (std::uint64_t more = random.UpTo(3); more > 0; --more) {
                content += std::string("\\") + end;
                ++number;
            }
            content += std::string(" ;") + end;
            ++number;
        }
        const json list = json::parse(Wyx({"ini", "list", "--json", Write("n.ini", content)}).out);
        ASSERT_EQ(list["lines"].size(), 200U);
        for (const json &line : list["lines"]) {
            EXPECT_EQ(line["value"], std::to_string(line["line"].get<int>()));
        }
    }
}

TEST_F(IniCheckToolTest, ErrorAtTheEndOfALongFile)
{
    std::string content;
    for (int section = 0; section < 200; ++section) {
        content += "[section" + std::to_string(section) + "]\n";
        for (int key = 0; key < 100; ++key) {
            content += "key" + std::to_string(key) + "=value\n";
        }
    }
    EXPECT_EQ(Findings(content + "garbage\n", kMalformed), "20201 160\n");
}

} // namespace

} // namespace wyx::test
