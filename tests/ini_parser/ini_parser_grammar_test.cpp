// Trimming, kinds of lines, and the parts of comments, headers and key lines.
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "ini_support.h"
#include "models.h"

namespace {

/// 1 makes the next search for '=' find nothing, 2 the search after that, and so on; 0 none.
int lEqualsUntilLost = 0;

} // namespace

// Replaces the adapter's function, so that an '=' can vanish between two searches.
extern "C" QAL_CHAR *XELP_StrChr(const QAL_CHAR *pszStr, QAL_INT32 lChar)
{
    if (lChar == '=' && lEqualsUntilLost > 0 && --lEqualsUntilLost == 0) {
        return nullptr;
    }
    return const_cast<QAL_CHAR *>(std::strchr(pszStr, lChar));
}

namespace wyx::test {
namespace {

class IniSkim : public PlatformTest {
  protected:
    /// The position to which a pointer at @p from moves.
    static std::ptrdiff_t Forward(const char *pszText, std::ptrdiff_t from, std::ptrdiff_t end)
    {
        QAL_INT8 *pch = Arg(pszText) + from;
        IniSkimBeginSpace(&pch, pszText + end);
        return pch - pszText;
    }
    static std::ptrdiff_t Back(const char *pszText, std::ptrdiff_t from, std::ptrdiff_t begin)
    {
        QAL_INT8 *pch = Arg(pszText) + from;
        IniSkimEndSpaceAndEnd(&pch, pszText + begin);
        return pch - pszText;
    }
};

TEST_F(IniSkim, BeginSkipsOnlyTabsAndSpaces)
{
    EXPECT_EQ(Forward("a", 0, 1), 0);
    EXPECT_EQ(Forward(" \t \ta", 0, 5), 4);
    EXPECT_EQ(Forward("  a  b", 3, 6), 5);
    for (const char *pszText : {" \n", " \r", " \v", " \f", " \x80", " \xA0", " \xFF", " "}) {
        EXPECT_EQ(Forward(pszText, 0, 2), 1) << Shown(pszText);
    }
}

TEST_F(IniSkim, BeginStopsAtTheEnd)
{
    EXPECT_EQ(Forward("     ", 0, 3), 3);
    EXPECT_EQ(Forward("     ", 3, 3), 3);
    EXPECT_EQ(Forward("     ", 4, 3), 4);
}

TEST_F(IniSkim, EndSkipsOnlyWhitespace)
{
    EXPECT_EQ(Back("a", 0, 0), 0);
    EXPECT_EQ(Back("a \t\r\n", 4, 0), 0);
    EXPECT_EQ(Back("a  b  ", 5, 0), 3);
    for (const char *pszText : {"a\v ", "a\f ", "a\x80 ", "a\xA0 ", "a\xFF ", "a\b "}) {
        EXPECT_EQ(Back(pszText, 2, 0), 1) << Shown(pszText);
    }
}

TEST_F(IniSkim, EndStopsAtTheBeginning)
{
    EXPECT_EQ(Back("\n\n\n\n\n", 4, 2), 2);
    EXPECT_EQ(Back("\n\n\n\n\n", 2, 2), 2);
    EXPECT_EQ(Back("\n\n\n\n\n", 1, 2), 1);
}

constexpr auto kTypeSentinel = static_cast<XELP_INI_E_LINE_TYPE>(77);

struct TypeCase {
    const char *pszLine;
    QAL_UINT32 ulStatus;
    XELP_INI_E_LINE_TYPE type;
};

const TypeCase kTypes[] = {
    {nullptr, kInputPara, kTypeSentinel},
    {"", kInputPara, kTypeSentinel},
    // Comments.
    {";", kOk, INI_COMENT_LINE},
    {"#", kOk, INI_COMENT_LINE},
    {"  ; note\n", kOk, INI_COMENT_LINE},
    {"\t#[a]=\n", kOk, INI_COMENT_LINE},
    // Blank lines.
    {"\n", kOk, INI_BLANK_LINE},
    {"\r", kOk, INI_BLANK_LINE},
    {"\r\n", kOk, INI_BLANK_LINE},
    {" \t\r\n", kOk, INI_BLANK_LINE},
    {"\nk=1\n", kOk, INI_BLANK_LINE}, // the first non-blank byte decides
    // Blanks without a line end.
    {" ", kOk, INI_INVALID_LINE},
    {"\t", kOk, INI_INVALID_LINE},
    {"   ", kOk, INI_INVALID_LINE},
    // Headers.
    {"[", kOk, INI_SECTION_LINE},
    {"[a]\n", kOk, INI_SECTION_LINE},
    {" \t[a=b]\n", kOk, INI_SECTION_LINE},
    // Key lines.
    {"=", kOk, INI_KEYVALUE_LINE},
    {"k=1\n", kOk, INI_KEYVALUE_LINE},
    {" \tk=\n", kOk, INI_KEYVALUE_LINE},
    {"x[1]=2\n", kOk, INI_KEYVALUE_LINE},
    {"]=\n", kOk, INI_KEYVALUE_LINE},
    {"a ;=\n", kOk, INI_KEYVALUE_LINE},
    {"\"=\"\n", kOk, INI_KEYVALUE_LINE},
    {"\xEF\xBB\xBF[a]=\n", kOk, INI_KEYVALUE_LINE},
    {"\xFF=\n", kOk, INI_KEYVALUE_LINE},
    {"\v=", kOk, INI_KEYVALUE_LINE},
    // Anything else.
    {"garbage\n", kLineUnknown, INI_ERROR_LINE},
    {"a ;c\n", kLineUnknown, INI_ERROR_LINE},
    {"a", kLineUnknown, INI_ERROR_LINE},
    {"  a", kLineUnknown, INI_ERROR_LINE},
    {"]\n", kLineUnknown, INI_ERROR_LINE},
    {"\xEF\xBB\xBF[a]\n", kLineUnknown, INI_ERROR_LINE},
    {"\xA0\n", kLineUnknown, INI_ERROR_LINE},
};

TEST(IniGetLineType, FirstNonBlankByteDecides)
{
    for (const TypeCase &c : kTypes) {
        SCOPED_TRACE(c.pszLine == nullptr ? "null" : Shown(c.pszLine));
        XELP_INI_E_LINE_TYPE type = kTypeSentinel;
        EXPECT_EQ(::IniGetLineType(Arg(c.pszLine), &type), c.ulStatus);
        EXPECT_EQ(type, c.type);
    }
}

/// The result of a parser. The blocks that it handed over have been released.
struct Parsed {
    QAL_UINT32 ulStatus = 77;
    MaybeText name;
    MaybeText value;
    MaybeText comment;
    bool operator==(const Parsed &) const = default;
};

void PrintTo(const Parsed &parsed, std::ostream *pOut)
{
    const auto shown = [](const MaybeText &part) { return part ? Shown(*part) : "none"; };
    *pOut << parsed.ulStatus << ": name " << shown(parsed.name) << ", value " << shown(parsed.value)
          << ", comment " << shown(parsed.comment);
}

class ParserTest : public PlatformTest {
  protected:
    /// @p commentBlock: size of the comment's block; 0: the size it needs.
    Parsed Comment(const char *pszLine, std::size_t commentBlock = 0)
    {
        QAL_INT8 *pszComment = Sentinel();
        platform.StartRecording();
        Parsed parsed{::IniParseCommentLine(pszLine, &pszComment), {}, {}, {}};
        trace_ = platform.MemoryTrace();
        parsed.comment = TakeText(pszComment, commentBlock);
        return parsed;
    }
    Parsed Section(const char *pszLine, std::size_t commentBlock = 0)
    {
        QAL_INT8 *pszName = Sentinel();
        QAL_INT8 *pszComment = Sentinel();
        platform.StartRecording();
        Parsed parsed{::IniParseSectionLine(pszLine, &pszName, &pszComment), {}, {}, {}};
        trace_ = platform.MemoryTrace();
        parsed.name = TakeText(pszName);
        parsed.comment = TakeText(pszComment, commentBlock);
        return parsed;
    }
    Parsed Key(const char *pszLine, std::size_t commentBlock = 0)
    {
        QAL_INT8 *pszName = Sentinel();
        QAL_INT8 *pszValue = Sentinel();
        QAL_INT8 *pszComment = Sentinel();
        platform.StartRecording();
        Parsed parsed{
            ::IniParseKeyLine(Arg(pszLine), &pszName, &pszValue, &pszComment), {}, {}, {}};
        trace_ = platform.MemoryTrace();
        parsed.name = TakeText(pszName);
        parsed.value = TakeText(pszValue);
        parsed.comment = TakeText(pszComment, commentBlock);
        return parsed;
    }

    /// Makes each allocation of a parser fail in turn. Expects status 80, null parts and no leak.
    template <typename Parse>
    void EveryAllocationFailing(Parse parse, QAL_UINT32 ulAllocations)
    {
        for (QAL_UINT32 ulFailAt = 1; ulFailAt <= ulAllocations + 1; ++ulFailAt) {
            SCOPED_TRACE(ulFailAt);
            platform.StartRecording();
            platform.Fail(Service::kAllocate, ulFailAt);
            QAL_INT8 *parts[3] = {Sentinel(), Sentinel(), Sentinel()};
            const QAL_UINT32 ulStatus = parse(parts);
            if (!platform.HasFailed()) {
                EXPECT_EQ(ulStatus, kOk);
                EXPECT_EQ(ulFailAt, ulAllocations + 1);
                for (QAL_INT8 *const pszPart : parts) {
                    if (pszPart != Sentinel()) {
                        TakeText(pszPart);
                    }
                }
                continue;
            }
            EXPECT_EQ(ulStatus, kInternal);
            EXPECT_EQ(platform.LiveBlocks(), 0U);
            for (QAL_INT8 *const pszPart : parts) {
                EXPECT_TRUE(pszPart == nullptr || pszPart == Sentinel());
            }
            for (const Event &event : platform.Events()) {
                EXPECT_EQ(event.setsNull, event.what.starts_with("free"));
            }
            ExpectSites();
        }
    }

    std::string trace_; // memory calls of the last parser
};

class IniParseCommentLine : public ParserTest {};

TEST_F(IniParseCommentLine, ReturnsWhatFollowsTheFirstSpaceAndSemicolon)
{
    struct {
        const char *pszLine;
        const char *pszComment;
    } const cases[] = {
        {" ;c", "c"},         {" ;c\r\n", "c"},   {"k=a ; \t two words \t\r\n", "two words"},
        {" ;b ;c\n", "b ;c"}, {" ;;\n", ";"},     {" ;\"q\" 'q' \\\n", "\"q\" 'q' \\"},
        {"a;b\t;c ;d", "d"},  {"  ;x", "x"},      {" ;\xFF\x80\n", "\xFF\x80"},
        {" ;\v\f\n", "\v\f"}, {" ;\x01", "\x01"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(Shown(c.pszLine));
        EXPECT_EQ(Comment(c.pszLine), (Parsed{kOk, {}, {}, c.pszComment}));
        EXPECT_EQ(trace_, "D " + std::to_string(std::strlen(c.pszComment) + 1));
        ExpectSites();
    }
}

TEST_F(IniParseCommentLine, EmptyCommentIsEmptyText)
{
    struct {
        const char *pszLine;
        std::size_t block;
    } const cases[] = {
        {" ;", 1},          // nothing follows
        {" ; ", 2},         // the block has room for the byte that is left
        {" ;\t\t ", 2},     //
        {" ;\n", 2},        //
        {" ;\r\n", 2},      //
        {" ;  \t\r\n", 2},  //
        {" ;\nb", 3},       // empty, but its block has room for the rest
        {" ; \r\\\nb\n", 5} //
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(Shown(c.pszLine));
        EXPECT_EQ(Comment(c.pszLine, c.block), (Parsed{kOk, {}, {}, ""}));
        EXPECT_EQ(trace_, "D " + std::to_string(c.block));
    }
}

TEST_F(IniParseCommentLine, WithoutSpaceAndSemicolonIs160)
{
    for (const char *pszLine : {"", " ", ";", ";c", "a;c\n", "a\t;c\n", " :c", "; c", "=;"}) {
        SCOPED_TRACE(Shown(pszLine));
        EXPECT_EQ(Comment(pszLine), (Parsed{kLineUnknown, {}, {}, {}}));
        EXPECT_EQ(trace_, "");
    }
}

TEST_F(IniParseCommentLine, EveryAllocationFailing)
{
    for (const char *pszLine : {" ;", " ;c\n"}) {
        ParserTest::EveryAllocationFailing(
            [&](QAL_INT8 **parts) { return ::IniParseCommentLine(pszLine, parts); }, 1);
    }
}

class IniParseSectionLine : public ParserTest {};

struct SectionCase {
    const char *pszLine;
    const char *pszName;
    const char *pszComment; // null: none
    std::size_t commentBlock = 0;
};

TEST_F(IniParseSectionLine, ReturnsNameAndComment)
{
    const SectionCase cases[] = {
        {"[a]", "a", nullptr},
        {"[Net]\r\n", "Net", nullptr},
        {"[ Net ]\n", "Net", nullptr},
        {"[\t Net\t ]\n", "Net", nullptr},
        {"  [a]\n", "a", nullptr},
        {"[two words]\n", "two words", nullptr},
        {"[a[b]\n", "a[b", nullptr},
        {"[[a]\n", "[a", nullptr},
        {"[a]]\n ;c", "a", "c"},
        {"junk[a]\n", "a", nullptr}, // the bracket may be anywhere
        {"[a=b]\n", "a=b", nullptr},
        {"[\xFF]\n", "\xFF", nullptr},
        {"[;]\n", ";", nullptr},
        {"[#]\n", "#", nullptr},
        {"[\n]", "\n", nullptr}, // only a name of tabs and spaces is refused
        {"[\r\n]", "\r", nullptr},
        {"[ \n ]", "\n", nullptr},
        {"[\na]", "\na", nullptr},
        // What follows.
        {"[a] ", "a", nullptr},
        {"[a] \r\n \n", "a", nullptr},
        {"[Net] ;main\n", "Net", "main"},
        {"[ Net ] ;main\r\n", "Net", "main"},
        {"[a]   ;c\n", "a", "c"},
        {"[a] ; c d \n", "a", "c d"},
        {"[a] ;c ;d\n", "a", "c ;d"},
        {"[a] junk ;c\n", "a", "c"},
        {"[a]junk ;c\n", "a", "c"},
        {"[a] ] ;c\n", "a", "c"},
        {"[a]\r\n ;c", "a", "c"},
        {"[a] ;", "a", "", 1},
        {"[Net] ;\n", "Net", "", 2},
        {"[a] ;]\n", "a", "]"},
    };
    for (const SectionCase &c : cases) {
        SCOPED_TRACE(Shown(c.pszLine));
        const MaybeText comment = c.pszComment != nullptr ? MaybeText(c.pszComment) : MaybeText();
        EXPECT_EQ(Section(c.pszLine, c.commentBlock), (Parsed{kOk, c.pszName, {}, comment}));
        const std::size_t block =
            comment && c.commentBlock == 0 ? comment->size() + 1 : c.commentBlock;
        EXPECT_EQ(trace_, "D " + std::to_string(std::strlen(c.pszName) + 1) +
                              (comment ? ", D " + std::to_string(block) : ""));
        ExpectSites();
    }
}

TEST_F(IniParseSectionLine, MalformedHeaderIs110)
{
    for (const char *pszLine : {static_cast<const char *>(nullptr),
                                "",
                                "[",
                                "[]",
                                "[a",
                                "a]",
                                "[]\n",
                                "[ ]",
                                "[  ]\n",
                                "[\t]\n",
                                "[ \t]",
                                "[aa",
                                "aa]",
                                "aaa",
                                "[a\n",
                                "]a[",
                                "]a[b",
                                "a][",
                                "][a]",
                                "[][a]",
                                "] [a] ;c\n",
                                "[ ] ;c\n"}) {
        SCOPED_TRACE(pszLine == nullptr ? "null" : Shown(pszLine));
        EXPECT_EQ(Section(pszLine), (Parsed{kSection, {}, {}, {}}));
        EXPECT_EQ(trace_, "");
    }
}

TEST_F(IniParseSectionLine, TextAfterTheHeaderIs160AndReleasesTheName)
{
    for (const char *pszLine : {"[a]x", "[a] junk\n", "[a];c\n", "[a]\t;c\n", "[a]\t", "[a]\t\n",
                                "[a]\n;c", "[a]]\n", "[a] \t;c\n"}) {
        SCOPED_TRACE(Shown(pszLine));
        EXPECT_EQ(Section(pszLine), (Parsed{kLineUnknown, {}, {}, {}}));
        EXPECT_EQ(trace_, "D 2, free");
        EXPECT_TRUE(platform.Events()[1].setsNull);
        ExpectSites();
    }
}

TEST_F(IniParseSectionLine, EveryAllocationFailing)
{
    ParserTest::EveryAllocationFailing(
        [](QAL_INT8 **parts) { return ::IniParseSectionLine("[a]\n", &parts[0], &parts[1]); }, 1);
    ParserTest::EveryAllocationFailing(
        [](QAL_INT8 **parts) { return ::IniParseSectionLine("[a] ;c\n", &parts[0], &parts[1]); },
        2);
}

class IniParseKeyLine : public ParserTest {};

struct KeyCase {
    const char *pszLine;
    const char *pszName;
    const char *pszValue;   // null: none
    const char *pszComment; // null: none
    std::size_t commentBlock = 0;
};

TEST_F(IniParseKeyLine, ReturnsKeyValueAndComment)
{
    const KeyCase cases[] = {
        {"k=1\n", "k", "1", nullptr},
        {"k=1", "k", "1", nullptr},
        {"port = 5060 ;sip\n", "port", "5060", "sip"},
        {"  \t k \t=\t v w \t ; c d \r\n", "k", "v w", "c d"},
        {"list=\"a ;b\", c ;x\n", "list", "\"a ;b\", c", "x"},
        // Keys are taken as they are.
        {"a b = 1\n", "a b", "1", nullptr},
        {"a\tb=1\n", "a\tb", "1", nullptr},
        {"x[1]=2\n", "x[1]", "2", nullptr},
        {"a ;b=1\n", "a ;b", "1", nullptr},
        {"\"k\"=1\n", "\"k\"", "1", nullptr},
        {"k\n=1\n", "k", "1", nullptr},
        {"k\nl=1\n", "k\nl", "1", nullptr},
        {"\xFF=\x80\n", "\xFF", "\x80", nullptr},
        {"\v=\f\n", "\v", "\f", nullptr},
        {"\x01=\x01\n", "\x01", "\x01", nullptr},
        // Values.
        {"k=a=b\n", "k", "a=b", nullptr},
        {"k==\n", "k", "=", nullptr},
        {"k=#a\n", "k", "#a", nullptr},
        {"k=a  b \t\n", "k", "a  b", nullptr},
        {"k=a\nb\n", "k", "a\nb", nullptr},
        // No value.
        {"k=", "k", nullptr, nullptr},
        {"k= ", "k", nullptr, nullptr},
        {"k=\t \t", "k", nullptr, nullptr},
        {"k= ;c\n", "k", nullptr, "c"},
        {"k=   ;c\n", "k", nullptr, "c"},
        {"k=\t ;c", "k", nullptr, "c"},
        // Comments.
        {"k=a ;b ;c\n", "k", "a", "b ;c"},
        {"k=a  ;b\n", "k", "a", "b"},
        {"k=a\t ;b\n", "k", "a", "b"},
        {"k=a ;", "k", "a", "", 1},
        {"k=a ;\n", "k", "a", "", 2},
        {"k= ;\r\n", "k", nullptr, "", 2},
        {"k=a ; \nb", "k", "a", "", 3},
        // A semicolon is text unless there is a space before it.
        {"k=a;b\n", "k", "a;b", nullptr},
        {"k=a\t;b\n", "k", "a\t;b", nullptr},
        {"k=;c\n", "k", ";c", nullptr},
        {"k=\t;c\n", "k", ";c", nullptr},
        {"k=a;b ;c\n", "k", "a;b ;c", nullptr}, // the first `;` decides
        {"k=;\n", "k", ";", nullptr},
        {"k= ;", "k", ";", nullptr}, // a single byte is the value, whatever it is
        {"k=  ;", "k", ";", nullptr},
        {"k=;", "k", ";", nullptr},
        // A quotation mark anywhere after a " ;" makes that " ;" text.
        {"k=\"x ;y\"\n", "k", "\"x ;y\"", nullptr},
        {"k=x ;y\"\n", "k", "x ;y\"", nullptr},
        {"k=x ;\"\n", "k", "x ;\"", nullptr},
        {"k=\"x\" ;c\n", "k", "\"x\"", "c"},
        {"k=\"x ;c\n", "k", "\"x", "c"},
        {"k=x ;y\" ;c\n", "k", "x ;y\"", "c"},
        {"k=x ;y\" ;z\" ;c\n", "k", "x ;y\" ;z\"", "c"},
        {"k=x ;y\";c\n", "k", "x ;y\";c", nullptr},
        {"k=x ;y\"a;b ;c\n", "k", "x ;y\"a;b ;c", nullptr},
        {"k=x ;y\\\"z\n", "k", "x", "y\\\"z"}, // an escaped quotation mark does not count
        {"k=x ;y\\\"z\" ;c\n", "k", "x ;y\\\"z\"", "c"},
        {"k=x ;y\\\\\"z\n", "k", "x", "y\\\\\"z"}, // nor does a mark after two backslashes
        {"k=x ;y\"", "k", "x ;y\"", nullptr},      // the mark is the last byte
        {"k=x ;y\"z", "k", "x ;y\"z", nullptr},    // the search would resume at the last byte
        {"k=x ;y\";", "k", "x ;y\";", nullptr},
        {"k= ;\"\n", "k", ";\"", nullptr},
    };
    for (const KeyCase &c : cases) {
        SCOPED_TRACE(Shown(c.pszLine));
        const MaybeText value = c.pszValue != nullptr ? MaybeText(c.pszValue) : MaybeText();
        const MaybeText comment = c.pszComment != nullptr ? MaybeText(c.pszComment) : MaybeText();
        EXPECT_EQ(Key(c.pszLine, c.commentBlock), (Parsed{kOk, c.pszName, value, comment}));
        std::string trace = "D " + std::to_string(std::strlen(c.pszName) + 1);
        if (value) {
            trace += ", D " + std::to_string(value->size() + 1);
        }
        if (comment) {
            trace +=
                ", D " + std::to_string(c.commentBlock != 0 ? c.commentBlock : comment->size() + 1);
        }
        EXPECT_EQ(trace_, trace);
        ExpectSites();
    }
}

TEST_F(IniParseKeyLine, BareEqualYieldsLineEnd)
{
    EXPECT_EQ(Key("k=\n"), (Parsed{kOk, "k", "\n", {}}));
    EXPECT_EQ(trace_, "D 2, D 2");
    EXPECT_EQ(Key("k=\r\n"), (Parsed{kOk, "k", "\r", {}}));
    EXPECT_EQ(Key("k=\n\r"), (Parsed{kOk, "k", "\n", {}}));
    EXPECT_EQ(Key("k= \t\r\n"), (Parsed{kOk, "k", "\r", {}}));
    EXPECT_EQ(Key("k=\n ;c\n"), (Parsed{kOk, "k", "\n", "c"}));
}

TEST_F(IniParseKeyLine, WithoutEqualIs160)
{
    for (const char *pszLine : {"", "k", "k\n", "k ;c\n", "[a]\n"}) {
        SCOPED_TRACE(Shown(pszLine));
        EXPECT_EQ(Key(pszLine), (Parsed{kLineUnknown, {}, {}, {}}));
        EXPECT_EQ(trace_, "");
    }
}

TEST_F(IniParseKeyLine, EmptyKeyIs120)
{
    for (const char *pszLine :
         {"=", "=1\n", " =1\n", "\t =1\n", "\n=1\n", "\r=1\n", "\nk=1\n", " \r k=1\n"}) {
        SCOPED_TRACE(Shown(pszLine));
        EXPECT_EQ(Key(pszLine), (Parsed{kKeyName, {}, {}, {}}));
        EXPECT_EQ(trace_, "");
    }
}

TEST_F(IniParseKeyLine, LostEqualReturns100)
{
    lEqualsUntilLost = 2;
    EXPECT_EQ(Key("k=1 ;c\n"), (Parsed{kValueNull, {}, {}, {}}));
    EXPECT_EQ(lEqualsUntilLost, 0);
    EXPECT_EQ(trace_, "D 2, free");
    EXPECT_TRUE(platform.Events()[1].setsNull);

    lEqualsUntilLost = 1;
    EXPECT_EQ(Key("k=1 ;c\n"), (Parsed{kLineUnknown, {}, {}, {}}));
    EXPECT_EQ(trace_, "");

    lEqualsUntilLost = 3; // there are only two searches
    EXPECT_EQ(Key("k=1 ;c\n"), (Parsed{kOk, "k", "1", "c"}));
    lEqualsUntilLost = 0;
}

TEST_F(IniParseKeyLine, EveryAllocationFailing)
{
    struct {
        const char *pszLine;
        QAL_UINT32 ulAllocations;
    } const cases[] = {{"k=", 1}, {"k=1\n", 2}, {"k= ;c\n", 2}, {"k=1 ;c\n", 3}};
    for (const auto &c : cases) {
        SCOPED_TRACE(Shown(c.pszLine));
        ParserTest::EveryAllocationFailing(
            [&](QAL_INT8 **parts) {
                return ::IniParseKeyLine(Arg(c.pszLine), &parts[0], &parts[1], &parts[2]);
            },
            c.ulAllocations);
    }
}

/// Compares all results for a line with the model.
class IniGrammarModel : public ParserTest {
  protected:
    void CompareType(const std::string &line)
    {
        if (line.empty()) {
            return;
        }
        XELP_INI_E_LINE_TYPE type = kTypeSentinel;
        const QAL_UINT32 ulStatus = ::IniGetLineType(Arg(line), &type);
        ASSERT_EQ(type, model::TypeOf(line)) << Shown(line);
        ASSERT_EQ(ulStatus, type == INI_ERROR_LINE ? kLineUnknown : kOk) << Shown(line);
    }
    void CompareComment(const std::string &line)
    {
        model::Heap heap;
        const model::Parts parts = model::ParseComment(line, heap);
        ASSERT_EQ(Comment(line.c_str(), parts.commentBlock), Of(parts)) << Shown(line);
        ASSERT_EQ(trace_, heap.Trace()) << Shown(line);
    }
    void CompareSection(const std::string &line)
    {
        model::Heap heap;
        const model::Parts parts = model::ParseSection(line, heap);
        ASSERT_EQ(Section(line.c_str(), parts.commentBlock), Of(parts)) << Shown(line);
        ASSERT_EQ(trace_, heap.Trace()) << Shown(line);
    }
    void CompareKey(const std::string &line)
    {
        model::Heap heap;
        const model::Parts parts = model::ParseKey(line, heap);
        ASSERT_EQ(Key(line.c_str(), parts.commentBlock), Of(parts)) << Shown(line);
        ASSERT_EQ(trace_, heap.Trace()) << Shown(line);
    }

  private:
    static Parsed Of(const model::Parts &parts)
    {
        return {parts.ulStatus, parts.name, parts.value, parts.comment};
    }
};

TEST_F(IniGrammarModel, EveryShortLine)
{
    AllStrings("=; \"\\\na[]\t", 5).ForEach([&](const std::string &line) {
        CompareType(line);
        CompareComment(line);
        CompareSection(line);
        CompareKey(line);
    });
}

TEST_F(IniGrammarModel, EveryShortHeader)
{
    AllStrings("[] \t\n;a", 6).ForEach([&](const std::string &line) {
        CompareSection(line);
        CompareSection("[a]" + line);
    });
}

TEST_F(IniGrammarModel, EveryShortValue)
{
    AllStrings(" ;\"\\\na\t", 6).ForEach([&](const std::string &value) {
        CompareKey("k=" + value);
    });
}

TEST_F(IniGrammarModel, RandomLines)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    constexpr std::string_view kBytes = "=;; \t\"\\\r\n,[]#ab\xE4";
    for (int i = 0; i < 20000 && !HasFailure(); ++i) {
        const std::string line = RandomText(random, kBytes, i % 10 == 0 ? 512 : 40);
        CompareType(line);
        CompareComment(line);
        CompareSection(line);
        CompareSection("[" + line);
        CompareKey(line);
        CompareKey("k=" + line);
    }
}

} // namespace
} // namespace wyx::test
