// The strict checks of headers, key lines and whole documents.
#include <string>
#include <string_view>

#include "ini_support.h"
#include "models.h"

namespace wyx::test {
namespace {

struct LineCase {
    const char *pszLine;
    QAL_UINT32 ulStatus;
};

/// A check of a line allocates nothing.
class CheckTest : public PlatformTest {
  protected:
    void TearDown() override
    {
        EXPECT_EQ(platform.Calls(Service::kAllocate), 0U);
        PlatformTest::TearDown();
    }
};

class IniCheckSectionLine : public CheckTest {};

TEST_F(IniCheckSectionLine, AcceptsOrReturns110)
{
    const LineCase cases[] = {
        {nullptr, kSection},
        {"", kSection},
        {"[", kSection},
        {"[a", kSection},
        {"[]", kSection}, // shorter than three bytes
        {"[a]", kOk},
        {"[a]\n", kOk},
        {"[a]\r\n", kOk},
        {"[a]\n\r", kOk},
        {"[ a b\t]\n", kOk},
        {"[\ta]\n", kOk},
        {"[a=b;#]\n", kOk},
        {"[\xFF\x80]\n", kOk},
        {"[\n]", kOk},
        {"[\na]", kOk},
        // The first byte, and the brackets.
        {"  [a]\n", kSection},
        {"\t[a]\n", kSection},
        {"x[a]\n", kSection},
        {"\xEF\xBB\xBF[a]\n", kSection},
        {"[aa\n", kSection},
        {"[]\n", kSection},
        {"[] a]\n", kSection}, // the first `]` counts
        {"[ ]\n", kSection},
        {"[   ]\n", kSection},
        {"[\t ]\n", kSection}, // the skip over blanks stops at the last byte, a space
        {"[a[b]\n", kSection},
        {"[[a]\n", kSection},
        {"[a[]\n", kSection},
        {"[a]]\n", kSection},
        // What follows.
        {"[a] ", kOk},
        {"[a]  \t ", kOk},
        {"[a] \n", kOk},
        {"[a]\t\n", kOk},
        {"[a]\r", kOk},
        {"[a]\n\n\n", kOk},
        {"[a] \n \r\n ", kOk},
        {"[a]\t", kSection}, // if one byte is left, it may not be a tab
        {"[a] \t", kSection},
        {"[a]\nx", kSection},
        {"[a]\n;c", kSection},
        {"[a]x", kSection},
        {"[a] x ;c\n", kSection},
        {"[a] ;c\n", kOk},
        {"[a] ;", kOk},
        {"[a]  \t ;\n", kOk},
        {"[a] ;[b]\n", kOk},
        {"[a];c\n", kSection},
        {"[a];", kSection},
        {"[a]\t;c\n", kSection},
        {"[a] \t;c\n", kSection},
        {"[a] #c\n", kSection},
    };
    for (const LineCase &c : cases) {
        SCOPED_TRACE(c.pszLine == nullptr ? "null" : Shown(c.pszLine));
        EXPECT_EQ(::IniCheckSectionLine(c.pszLine), c.ulStatus);
    }
}

TEST_F(IniCheckSectionLine, SingleTabPasses)
{
    EXPECT_EQ(::IniCheckSectionLine("[\t]"), kOk);
    EXPECT_EQ(::IniCheckSectionLine("[\t]\n"), kOk);
    EXPECT_EQ(::IniCheckSectionLine("[\t\t]\n"), kOk); // the skip stops at the last tab
    EXPECT_EQ(::IniCheckSectionLine("[ \t] ;c\n"), kOk);

    QAL_INT8 *pszName = Sentinel();
    QAL_INT8 *pszComment = Sentinel();
    EXPECT_EQ(::IniParseSectionLine("[\t]\n", &pszName, &pszComment), kSection);
}

class IniCheckKeyLine : public CheckTest {};

/// Checks a table of lines.
template <std::size_t kCount>
void ExpectKeyLines(const LineCase (&cases)[kCount])
{
    for (const LineCase &c : cases) {
        SCOPED_TRACE(Shown(c.pszLine));
        EXPECT_EQ(::IniCheckKeyLine(Arg(c.pszLine)), c.ulStatus);
    }
}

TEST_F(IniCheckKeyLine, Keys)
{
    ExpectKeyLines({
        {"", kLineUnknown},       {"k", kLineUnknown},
        {"k ;c\n", kLineUnknown}, {"=", kKeyName},
        {"=1\n", kKeyName},       {" =1\n", kKeyName},
        {"\t=1\n", kKeyName},     {" \t =1\n", kKeyName},
        {"\n=1\n", kKeyName}, // the parser refuses this key as well
        {"\nk=1\n", kKeyName},    {"a b = 1\n", kKeyName},
        {"a  b=", kKeyName},      {"a\t b=1\n", kKeyName},
        {"k=1\n", kOk},           {" \tk\t =1\n", kOk},
        {"x[1]=2\n", kOk},        {"\"k\"=1\n", kOk},
        {"k;=1\n", kOk},          {"\xFF\xA0=1\n", kOk},
    });
}

TEST_F(IniCheckKeyLine, TabInKeyPasses)
{
    ExpectKeyLines({{"a\tb=1\n", kOk}, {"a\t\tb = 1\n", kOk}});
}

TEST_F(IniCheckKeyLine, EmptyValues)
{
    ExpectKeyLines({
        {"k=", kOk},
        {"k= ", kOk},
        {"k=\t", kOk},
        {"k= \t ", kOk},
        {"k=\n", kOk},
        {"k=\r\n", kOk},
        {"k= \n\r\n", kOk},
    });
}

TEST_F(IniCheckKeyLine, CommentInPlaceOfAValue)
{
    ExpectKeyLines({
        {"k= ;", kOk},
        {"k= ;c\n", kOk},
        {"k=  \t ;\",;\n", kOk}, // nothing after the semicolon is read
        {"k=;", kComment},
        {"k=;c\n", kComment},
    });
}

TEST_F(IniCheckKeyLine, TabBeforeCommentPasses)
{
    ExpectKeyLines({
        {"k=\t;c\n", kOk},
        {"k=a\t;c\n", kOk},
        {"k=\"a\"\t;c\n", kOk},
        {"k=a, b\t;c\n", kOk},
    });
}

TEST_F(IniCheckKeyLine, UnquotedItems)
{
    ExpectKeyLines({
        {"k=a", kOk},
        {"k=abc\n", kOk},
        {"k=a b  c\n", kOk},
        {"k=a ;c\n", kOk},
        {"k=a ;", kOk},
        {"k=a;b\n", kComment},
        {"k=a;", kComment},
        {"k=ab;", kComment},
        {"k=\x01;c\n", kComment}, // a control byte is text
        {"k=a;b ;c\n", kComment}, // the first `;` counts
        {"k=a ;b;c\n", kOk},
        {"k=a\n;c", kComment},
        {"k=\na\n", kOk},
        {"k=a\"b\n", kOk}, // a quotation mark inside an item is text
        {"k=a\"b;\"\n", kComment},
        {"k==\n", kOk},
        {"k=#\n", kOk},
    });
}

TEST_F(IniCheckKeyLine, Separators)
{
    ExpectKeyLines({
        {"k=a, b\n", kOk},
        {"k=a,\tb\n", kOk},
        {"k=a, \t b\n", kOk},
        {"k=a, b, c\n", kOk},
        {"k=a , b\n", kOk},
        {"k=a,b\n", kKeyValue},
        {"k=a,\n", kKeyValue},
        {"k=a,", kKeyValue},
        {"k=a, ", kKeyValue}, // no item after the comma
        {"k=a, \t ", kKeyValue},
        {"k=a, \n", kOk}, // the line end counts as an item
        {"k=a, \r\n", kOk},
        {"k=a, b", kOk},
        {"k=a, ,b\n", kKeyValue},
        {"k=a, ,", kKeyValue},
        {"k=a, ;c\n", kKeyValue},
        {"k=a, ;", kKeyValue},
        {"k=a, b,c\n", kKeyValue},
        {"k=a, b,\n", kKeyValue},
        {"k=,a\n", kKeyValue}, // an empty item
        {"k=, a\n", kKeyValue},
        {"k= , a\n", kKeyValue},
        {"k=,", kOk},        // a single byte is not checked
        {"k=a;b, c\n", kOk}, // an item is any text up to its separator
        {"k=a ;b, c;d\n", kComment},
    });
}

TEST_F(IniCheckKeyLine, CommaInCommentCounts)
{
    ExpectKeyLines({
        {"k=a ;x,y\n", kKeyValue},
        {"k=a ;x, y\n", kOk},
        {"k=a ;,\n", kKeyValue},
        {"k=a, b ;x,y\n", kKeyValue},
        {"k=\"a\" ;x,y\n", kOk}, // no search for a comma after a quoted item
        {"k= ;x,y\n", kOk},
    });
}

TEST_F(IniCheckKeyLine, QuotedItems)
{
    ExpectKeyLines({
        {"k=\"a\"\n", kOk},
        {"k=\"a\"\r\n", kOk},
        {"k=\"a\"", kOk},
        {"k=\"\"", kOk},
        {"k=\"\"\n", kOk},
        {"k=\"a,b;c ;d\"\n", kOk},
        {"k=\"a\\\"b\"\n", kOk},
        {"k=\"abc\n", kKeyValue},
        {"k=\"abc\\\"\n", kKeyValue},   // the second mark is escaped
        {"k=\"abc\\\\\"\n", kKeyValue}, // escaped, too: only the byte before it counts
        {"k=\"", kOk},                  // a single byte is not checked
        {"k=\"\n", kKeyValue},
        {"k=\"a\", \"b\"\n", kOk},
        {"k=\"a\"  ,  b, \"c\"\n", kOk},
        {"k=\"a\",b\n", kKeyValue},
        {"k=\"a\",\n", kKeyValue},
        {"k=\"a\",", kKeyValue},
        {"k=\"a\" ,", kKeyValue},
        {"k=\"a\", ", kKeyValue},
        {"k=\"a\", \n", kOk},
        {"k=\"a\", ,\n", kKeyValue},
        {"k=\"a\", ;c\n", kKeyValue},
        {"k=\"a\" b\n", kOk}, // items can be separated by blanks alone
        {"k=\"a\" \"b\"\n", kOk},
        {"k=\"a\"b\n", kOk},
        {"k=\"a\"\"b\"\n", kOk},
        {"k=\"a\"\"b\n", kKeyValue},
        {"k=\"a\"\"", kOk}, // the last byte is not checked
        {"k=\"a\" ;c\n", kOk},
        {"k=\"a\" ;", kOk},
        {"k=\"a\";c\n", kComment},
        {"k=\"a\";", kComment},
        {"k=\"a\" b;c\n", kComment},
        {"k=\"a\" b,c\n", kKeyValue},
        {"k=\"a\"  ", kOk},
        {"k=\"a\"\n;", kComment},
        {"k=a, \"b\n", kKeyValue},
        {"k=a \"b\n", kOk},
    });
}

class IniCheckModel : public PlatformTest {
  protected:
    static void CompareKey(const std::string &line)
    {
        ASSERT_EQ(::IniCheckKeyLine(Arg(line)), model::CheckKey(line)) << Shown(line);
    }
    static void CompareSection(const std::string &line)
    {
        ASSERT_EQ(::IniCheckSectionLine(line.c_str()), model::CheckSection(line)) << Shown(line);
    }
};

TEST_F(IniCheckModel, EveryShortHeader)
{
    AllStrings("[] \t\n\r;a", 6).ForEach([](const std::string &line) {
        CompareSection(line);
        CompareSection("[a]" + line);
    });
}

TEST_F(IniCheckModel, EveryShortKeyLine)
{
    AllStrings("= \t\na;\"", 6).ForEach([](const std::string &line) { CompareKey(line); });
}

TEST_F(IniCheckModel, EveryShortValue)
{
    AllStrings("\",; a\\\n", 6).ForEach([](const std::string &value) {
        CompareKey("k=" + value);
        CompareKey("k=a, " + value);
        CompareKey("k=\"a\"" + value);
    });
}

TEST_F(IniCheckModel, RandomLines)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    constexpr std::string_view kBytes = "\"\",,;;  \t\\\r\n=[]#ab\xE4";
    for (int i = 0; i < 50000 && !HasFailure(); ++i) {
        const std::string line = RandomText(random, kBytes, i % 10 == 0 ? 512 : 40);
        CompareSection(line);
        CompareSection("[" + line);
        CompareKey(line);
        CompareKey("k=" + line);
    }
}

class IniCheckFile : public PlatformTest {};

TEST_F(IniCheckFile, NullArgumentIs170AndLeavesTheNumber)
{
    const Document doc({"[a]\n"});
    const Document empty;
    QAL_UINT32 ulLineNo = 77;
    EXPECT_EQ(XELP_IniCheckFile(nullptr, &ulLineNo), kInputPara);
    EXPECT_EQ(XELP_IniCheckFile(&empty, &ulLineNo), kInputPara); // checked before FILE_EMPTY
    EXPECT_EQ(XELP_IniCheckFile(&doc, nullptr), kInputPara);
    EXPECT_EQ(ulLineNo, 77U);
}

TEST_F(IniCheckFile, DocumentWithoutLinesIs130AndLeavesTheNumber)
{
    const Document doc(Lines{});
    QAL_UINT32 ulLineNo = 77;
    EXPECT_EQ(XELP_IniCheckFile(&doc, &ulLineNo), kFileEmpty);
    EXPECT_EQ(ulLineNo, 77U);
}

struct FileCase {
    const char *pszName;
    Lines lines;
    QAL_UINT32 ulStatus;
    QAL_UINT32 ulLineNo;
};

class IniCheckFileTable : public PlatformTest, public ::testing::WithParamInterface<FileCase> {};

TEST_P(IniCheckFileTable, StatusAndSlot)
{
    const FileCase &c = GetParam();
    const Document doc(c.lines);
    QAL_UINT32 ulLineNo = 77;
    EXPECT_EQ(XELP_IniCheckFile(&doc, &ulLineNo), c.ulStatus);
    EXPECT_EQ(ulLineNo, c.ulLineNo);
    EXPECT_EQ(Look(doc), Loaded(c.lines));
    EXPECT_EQ(FullTrace(), "");
}

const FileCase kFiles[] = {
    {"WellFormed", {"; c\n", "\r\n", "[a]\n", "k=1\n", " # d\n", "[b] ;c\n", "l= ;x"}, kOk, 7},
    {"OnlyCommentsAndBlanks", {"; c\n", "#\n", "\n", " \t\r\n"}, kOk, 4},
    {"BlanksWithoutLineEnd", {"   "}, kOk, 1},
    {"OnlyHoles", {kHole, kHole, kHole}, kFileEmpty, 3},
    {"HoleFirst", {kHole, "[a]\n"}, kOk, 2},
    {"HoleLast", {"[a]\n", kHole}, kOk, 2},
    {"EmptyText", {"[a]\n", "", "garbage\n"}, kInputPara, 2},
    {"EmptyTextAfterHole", {kHole, ""}, kInputPara, 2},
    {"UnknownLine", {"[a]\n", "k=1\n", "garbage\n", "l=2\n"}, kLineUnknown, 3},
    {"UnknownLineBeforeSection", {"garbage\n"}, kLineUnknown, 1},
    {"KeyBeforeSection", {"; c\n", kHole, "k=1\n", "[a]\n"}, kFileFormat, 3},
    {"BadKeyBeforeSection", {"a b=1\n"}, kFileFormat, 1},
    {"BadHeader", {"; c\n", "[a[b]\n", "garbage\n"}, kSection, 2},
    {"BadHeaderBeforeKey", {"[]\n", "k=1\n"}, kSection, 1},
    {"IndentedHeader", {"[a]\n", "  [b]\n"}, kSection, 2},
    {"BadKeyName", {"[a]\n", "a b=1\n"}, kKeyName, 2},
    {"EmptyKeyName", {"[a]\n", kHole, "=1\n"}, kKeyName, 3},
    {"BadValue", {"[a]\n", "k=a,b\n"}, kKeyValue, 2},
    {"BadComment", {"[a]\n", "k=a;b\n"}, kComment, 2},
    {"IndentedKey", {"[a]\n", " \tk=1\n"}, kOk, 2},
    {"ByteOrderMark", {"\xEF\xBB\xBF[a]\n", "k=1\n"}, kLineUnknown, 1},
    {"ByteOrderMarkBeforeKey", {"\xEF\xBB\xBFk=1\n"}, kFileFormat, 1},
};

INSTANTIATE_TEST_SUITE_P(Table, IniCheckFileTable, ::testing::ValuesIn(kFiles), CaseName());

TEST_F(IniCheckFile, RandomDocumentsMatchTheModel)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const Lines kinds = {kHole,    "; c\n",   "\n",       "  ",        "[a]\n",    "[b] ;c\n",
                         "k=1\n",  "k= ;c\n", "l=a, b\n", "m=\"x\"\n", "bad\n",    "",
                         " [a]\n", "k=a;\n",  "a b=\n",   "k=a,b\n",   "\n[bad\n", "[]\n"};
    for (int i = 0; i < 3000 && !HasFailure(); ++i) {
        // Lines that end the check are rare, so that it reads more than a few lines.
        const Lines lines = RandomLines(random, kinds, 10);
        const Document doc(lines);
        QAL_UINT32 ulExpected = 77;
        const QAL_UINT32 ulStatus = model::CheckFile(Loaded(lines), ulExpected);
        QAL_UINT32 ulLineNo = 77;
        EXPECT_EQ(XELP_IniCheckFile(&doc, &ulLineNo), ulStatus);
        EXPECT_EQ(ulLineNo, ulExpected);
    }
}

} // namespace
} // namespace wyx::test
