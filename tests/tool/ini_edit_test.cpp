// wyx ini set, del.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "random.h"
#include "tool_runner.h"

namespace wyx::test {

namespace {

using nlohmann::json;

class IniEditToolTest : public ToolTest {
  protected:
    /// Sets keys in a file with this content, and returns the content afterwards.
    std::string Set(const std::string &content, const std::vector<std::string> &arguments)
    {
        const std::string name = Write("f.ini", content);
        std::vector<std::string> command = {"ini", "set", name};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const Outcome outcome = Wyx(command);
        EXPECT_EQ(outcome.code, kOk) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(Names(), std::vector<std::string>{"f.ini"});
        return Read(name);
    }

    /// Expects that a change is refused with a message, and that nothing is changed.
    void Refused(const std::string &content, const std::vector<std::string> &arguments, int code,
                 const std::vector<std::string> &messages)
    {
        const std::string name = Write("f.ini", content);
        std::vector<std::string> command = arguments;
        command.insert(command.begin(), "ini");
        command.insert(command.begin() + 2, name);
        const Outcome outcome = Wyx(command);
        EXPECT_EQ(outcome.code, code);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(Mentions(outcome.err, messages));
        EXPECT_EQ(Read(name), content);
        EXPECT_EQ(Names(), std::vector<std::string>{"f.ini"});
    }
};

struct Change {
    const char *name;
    std::string before;
    std::vector<std::string> arguments;
    std::string after;
};

TEST_F(IniEditToolTest, Set)
{
    const std::string spaces = "[a]\n  k = 1  ;c\n; end\n[b]\nk=1\n";
    const std::string php =
        "[PHP]\n; " + std::string(200, 'x') + "\n\\\nk = a\n\n[b]\nl = 1\\\n2\n";
    const std::string mixed = "[a]\r\nk=1\n\r\nl=\xE4 \t\r\n\n[b]\rm=2";
    const Change changes[] = {
        {"Replace", spaces, {"a", "k=2"}, "[a]\n  k = 2  ;c\n; end\n[b]\nk=1\n"},
        {"ReplaceIgnoringCase", spaces, {"A", "K=2"}, "[a]\n  k = 2  ;c\n; end\n[b]\nk=1\n"},
        {"SameValueTouchesNothing", spaces, {"a", "k=1"}, spaces},
        {"Insert", spaces, {"a", "l=2"}, "[a]\n  k = 1  ;c\n  l = 2\n; end\n[b]\nk=1\n"},
        {"NewSection", spaces, {"c", "l=2"}, spaces + "[c]\nl=2\n"},
        {"Several",
         spaces,
         {"a", "k=2", "l=3", "m=4"},
         "[a]\n  k = 2  ;c\n  l = 3\n  m = 4\n; end\n[b]\nk=1\n"},
        {"SeveralInANewSection", "", {"c", "k=1", "l=2"}, "[c]\nk=1\nl=2\n"},
        {"Empty", spaces, {"a", "k="}, "[a]\n  k =   ;c\n; end\n[b]\nk=1\n"},
        {"FromEmpty", "[a]\nk =  ;c\n", {"a", "k=1"}, "[a]\nk = 1 ;c\n"},
        {"FromEmptyWithOneBlank", "[a]\nk= ;c\n", {"a", "k=1"}, "[a]\nk=1 ;c\n"},
        {"FromEmptyWithoutComment", "[a]\nk =\r\n", {"a", "k=1"}, "[a]\nk =1\r\n"},
        {"EmptyWithoutComment", "[a]\nk=1\n", {"a", "k="}, "[a]\nk=\n"},
        {"LastBlockCounts", "[a]\nk=1\n[A]\nk=2\n", {"a", "k=3"}, "[a]\nk=1\n[A]\nk=3\n"},
        {"LowestKeyCounts", "[a]\nk=1\nk=2\n", {"a", "k=3"}, "[a]\nk=1\nk=3\n"},
        {"CrLfStays", "[a]\r\nk=1\r\n", {"a", "k=2", "l=3"}, "[a]\r\nk=2\r\nl=3\r\n"},
        {"CrLfStaysInANewSection", "[a]\r\n", {"b", "k=1"}, "[a]\r\n[b]\r\nk=1\r\n"},
        {"CrStays", "[a]\rk=1\r", {"a", "l=2"}, "[a]\rk=1\rl=2\r"},
        {"LfCrStays", "[a]\n\rk=1\n\r", {"a", "l=2"}, "[a]\n\rk=1\n\rl=2\n\r"},
        {"NewLineTakesTheEndOfTheOneBefore", "[a]\r\nk=1\n", {"a", "l=2"}, "[a]\r\nk=1\nl=2\n"},
        {"ChangedLineKeepsItsEnd", "[a]\r\nk=1\r\n; c\n", {"a", "k=2"}, "[a]\r\nk=2\r\n; c\n"},
        {"NoLineEnd", "[a]\nk=1", {"a", "l=2"}, "[a]\nk=1\nl=2\n"},
        {"NoLineEndCrLf", "[a]\r\nk=1", {"a", "l=2"}, "[a]\r\nk=1\r\nl=2\r\n"},
        {"NoLineEndStays", "[a]\nk=1\nl=2", {"a", "k=3"}, "[a]\nk=3\nl=2"},
        {"NoLineEndOfTheChangedLineStays", "[a]\nk=1", {"a", "k=3"}, "[a]\nk=3"},
        {"HeaderWithoutLineEnd", "[a]", {"a", "k=1"}, "[a]\nk=1\n"},
        {"ValueWithEquals", "[a]\n", {"a", "k=x=y"}, "[a]\nk=x=y\n"},
        {"QuotedValue", "[a]\n", {"a", "k=\"x ;y\", \" z \""}, "[a]\nk=\"x ;y\", \" z \"\n"},
        {"BracketedValue", "[a]\n", {"a", "k=[x,y]"}, "[a]\nk=[x,y]\n"},
        {"QuoteAfterSemicolon", "[a]\nk=1 ;c\n", {"a", "k=x ;\"y"}, "[a]\nk=x ;\"y ;c\n"},
        {"BackslashesInPairs", "[a]\n", {"a", "k=x\\\\"}, "[a]\nk=x\\\\\n"},
        {"BackslashBeforeComment", "[a]\nk=1 ;c\n", {"a", "k=x\\"}, "[a]\nk=x\\ ;c\n"},
        {"DashKey", "[a]\n", {"--", "a", "-k=-1"}, "[a]\n-k=-1\n"},
        {"HighBytes", "[K\xF6ln]\n", {"K\xF6ln", "\xC3\xB6=\xE4"}, "[K\xF6ln]\n\xC3\xB6=\xE4\n"},
        {"NothingIsFolded",
         "[a]\n",
         {"a", "k=" + std::string(100, 'x')},
         "[a]\nk=" + std::string(100, 'x') + "\n"},
        {"Longest",
         "[a]\n",
         {"a", "k=" + std::string(508, 'x')},
         "[a]\nk=" + std::string(508, 'x') + "\n"},
        {"LongestCrLf",
         "[a]\r\n",
         {"a", "k=" + std::string(507, 'x')},
         "[a]\r\nk=" + std::string(507, 'x') + "\r\n"},
        {"BlanksAroundASection",
         "[ a ]\nk=1\n[b]\n",
         {" a ", "k=2", "l=3"},
         "[ a ]\nk=2\nl=3\n[b]\n"},
        {"BlanksAroundAnEmptySection", "[a ]\n", {" a", "k=2"}, "[a ]\nk=2\n"},
        {"SectionNameThatTheCheckRefuses", "", {"a[b", "k=1"}, "[a[b]\nk=1\n"},
        // Other lines stay as they are, whatever they are.
        {"LongLine",
         php,
         {"b", "m=1"},
         "[PHP]\n; " + std::string(200, 'x') + "\n\\\nk = a\n\n[b]\nl = 1\\\n2\nm = 1\n"},
        {"LineThatIsTooLong",
         "[a]\nx=" + std::string(600, 'x') + "\nk=1\n",
         {"a", "k=2"},
         "[a]\nx=" + std::string(600, 'x') + "\nk=2\n"},
        {"TooLongByContinuations",
         "[a]\nx=" + std::string(300, 'x') + "\\\n" + std::string(300, 'x') + "\nk=1\n",
         {"a", "k=2"},
         "[a]\nx=" + std::string(300, 'x') + "\\\n" + std::string(300, 'x') + "\nk=2\n"},
        {"EqualsInAJoinedLine", "[a]\n  k\\\n = 1\n", {"a", "l=2"}, "[a]\n  k\\\n = 1\nl=2\n"},
        {"OtherContinuation", "[a]\nk=1\\\n2\nl=3\n", {"a", "l=4"}, "[a]\nk=1\\\n2\nl=4\n"},
        {"MixedEndsReplaced", mixed, {"a", "k=2"}, "[a]\r\nk=2\n\r\nl=\xE4 \t\r\n\n[b]\rm=2"},
        {"MixedEndsInserted",
         mixed,
         {"a", "o=2"},
         "[a]\r\nk=1\n\r\nl=\xE4 \t\r\no=2\r\n\n[b]\rm=2"},
        {"MixedEndsBeforeABlankLine",
         "[a]\r\nk=1\n\r\n[b]\r\n",
         {"a", "l=2"},
         "[a]\r\nk=1\nl=2\n\r\n[b]\r\n"},
        {"ByteOrderMark", "\xEF\xBB\xBF[a]\nk=1\n", {"a", "k=2"}, "\xEF\xBB\xBF[a]\nk=2\n"},
        {"OnlyAByteOrderMark", "\xEF\xBB\xBF", {"a", "k=2"}, "\xEF\xBB\xBF[a]\nk=2\n"},
        {"UnreadableLines",
         "x\n[a]\nquick\nk=1\n!inc d\n: y\n",
         {"a", "k=2", "l=3"},
         "x\n[a]\nquick\nk=2\nl=3\n!inc d\n: y\n"},
        {"UnreadableLinesOnly", "[a]\nquick\n\n[b]\n", {"a", "l=3"}, "[a]\nquick\nl=3\n\n[b]\n"},
        {"UnreadableHeader", "[a] # x\nk=1\n[b]\nk=2\n", {"b", "k=3"}, "[a] # x\nk=1\n[b]\nk=3\n"},
        {"BeforeAnUnreadableHeader",
         "[b]\n[a] # x\nk=1\n",
         {"b", "k=3"},
         "[b]\nk=3\n[a] # x\nk=1\n"},
        // A value that continues: in lines joined by backslashes, or in indented lines, which other
        // programs read as part of it.
        {"Continued", "[a]\nk = x \\\n  y \\\n  z ;c\nl=1\n", {"a", "k=2"}, "[a]\nk = 2 ;c\nl=1\n"},
        {"ContinuedFromTheStart", "[a]\nk = \\\n  y\nl=1\n", {"a", "k=2"}, "[a]\nk = 2\nl=1\n"},
        {"ContinuedAtTheEnd", "[a]\nk=x\\", {"a", "k=2"}, "[a]\nk=2"},
        {"Indented",
         "[a]\nk = x\n  y\n\n  # c\n  z[q=1]\nl=1\n",
         {"a", "k=2"},
         "[a]\nk = 2\nl=1\n"},
        {"CommentsAmongIndentedLines",
         "[a]\nk =\n  # c\n  y\n# d\n  z\n  # e\n\nl=1\n",
         {"a", "k=2"},
         "[a]\nk =2\n# d\n  # e\n\nl=1\n"},
        {"IndentedLikeKeysAmongText",
         "[a]\nk = if x; then (\n      n=1\n      run \"$n\"\n      )\nl=1\n",
         {"a", "k=2"},
         "[a]\nk = 2\nl=1\n"},
        {"IndentedBelowAnEmptyValue", "[a]\nk =\n  y\nl=1\n", {"a", "k=2"}, "[a]\nk =2\nl=1\n"},
        {"IndentedSameFirstLine", "[a]\nk = x\n  y\n", {"a", "k=x"}, "[a]\nk = x\n"},
        {"NewKeyAfterIndentedLines",
         "[a]\nk = x\n  y\n  z=1\n\n[b]\n",
         {"a", "l=2"},
         "[a]\nk = x\n  y\n  z=1\nl = 2\n\n[b]\n"},
        // After a line end that a backslash escapes, an empty line ends at the same lone LF or CR;
        // the CR or LF after that belongs to the next line.
        {"EmptyJoinedLine", "[a]\nx=1\\\n\n\rk=1\n", {"a", "k=2"}, "[a]\nx=1\\\n\n\rk=2\n"},
        {"EmptyJoinedLineCr", "[a]\rx=1\\\r\r\nk=1\r", {"a", "k=2"}, "[a]\rx=1\\\r\r\nk=2\r"},
        {"NewKeyAfterAnEmptyJoinedLine",
         "[a]\nx=1\\\n\n\rk=1\n",
         {"a", "l=2"},
         "[a]\nx=1\\\n\n\rk=1\nl=2\n"},
        {"EmptyLineJoinedByItsBackslash",
         "[a]\nx=1\n\\\r\rk=1\nm=1\n",
         {"a", "k=2"},
         "[a]\nx=1\n\\\r\rk=2\nm=1\n"},
        {"NewSectionAfterAnEmptyJoinedLine",
         "x\\\n\n\rk=1\n",
         {"a", "k=2"},
         "x\\\n\n\rk=1\n[a]\nk=2\n"},
        // The layout of a new line.
        {"Tabs",
         "[core]\n\tname = x\n\temail = y\n[b]\n",
         {"core", "l=2"},
         "[core]\n\tname = x\n\temail = y\n\tl = 2\n[b]\n"},
        {"Columns",
         "[a]\nname    = x\nid      = 2\n",
         {"a", "longer=2", "longest-of-all=3"},
         "[a]\nname    = x\nid      = 2\nlonger  = 2\nlongest-of-all = 3\n"},
        {"AfterAnEmptyValue", "[a]\nk = \n", {"a", "l=2"}, "[a]\nk = \nl = 2\n"},
        {"NoKeyYet",
         "[a]\n# k=1\n\n[b]\n\tk = 1\n",
         {"a", "l=2"},
         "[a]\nl=2\n# k=1\n\n[b]\n\tk = 1\n"},
        {"NoKeyYetBeforeAnIndentedHeader", "[a]\n  [b]\n", {"a", "l=2"}, "[a]\n  l=2\n  [b]\n"},
        {"AfterTheLinesIndentedBelowAnUnreadableLine",
         "[a]\nother : x\n  k=v\n\n[b]\n",
         {"a", "l=2"},
         "[a]\nother : x\n  k=v\nl=2\n\n[b]\n"},
        {"AfterTheTextIndentedBelowAnUnreadableLine",
         "[a]\nother : x\n  text\n",
         {"a", "l=2"},
         "[a]\nother : x\n  text\nl=2\n"},
        {"AfterALineThatIsTooLongAndHasNoEnd",
         "[a]\nk=" + std::string(600, 'x'),
         {"a", "l=2"},
         "[a]\nk=" + std::string(600, 'x') + "\nl=2\n"},
        {"NewSectionIsLaidOutLikeTheLastKey",
         "[a]\n\tk = 1\n",
         {"b", "k=2"},
         "[a]\n\tk = 1\n[b]\n\tk = 2\n"},
    };
    for (const Change &change : changes) {
        SCOPED_TRACE(change.name);
        EXPECT_EQ(Set(change.before, change.arguments), change.after);
    }
}

struct Refusal {
    const char *name;
    std::string content;
    std::vector<std::string> arguments;
    std::vector<std::string> messages;
};

TEST_F(IniEditToolTest, SetRefusesWhatWouldBreakTheFile)
{
    const std::string plain = "[a]\nk=1\n";
    const Refusal refusals[] = {
        {"LineFeedInValue", plain, {"a", "k=x\ny"}, {"value of 'k' holds a line end"}},
        {"ReturnInValue", plain, {"a", "k=x\r"}, {"value of 'k' holds a line end"}},
        {"LineFeedInKey", plain, {"a", "k\n=x"}, {"key 'k\\x0a' holds a line end"}},
        {"LineFeedInSection", plain, {"a\nb", "k=x"}, {"section 'a\\x0ab' holds a line end"}},
        {"BracketInSection", plain, {"a]b", "k=x"}, {"']'"}},
        {"BracketedSection", plain, {"[a]", "k=x"}, {"']'", "without its brackets"}},
        {"EmptySection", plain, {"", "k=x"}, {"section's name is empty"}},
        {"BlankSection", plain, {" b", "k=x"}, {"begins or ends with a blank"}},
        {"EmptyKey", plain, {"a", "=x"}, {"key's name is empty"}},
        {"BlankAfterKey", plain, {"a", "k =x"}, {"begins or ends with a blank"}},
        {"TabBeforeKey", plain, {"a", "\tk=x"}, {"begins or ends with a blank"}},
        {"BlankBeforeValue", plain, {"a", "k= x"}, {"begins or ends with a blank"}},
        {"BlankAfterValue", plain, {"a", "k=x\t"}, {"begins or ends with a blank"}},
        {"BlankValue", plain, {"a", "k= "}, {"begins or ends with a blank"}},
        {"KeyLikeASection", plain, {"a", "[k=x"}, {"begins with '['"}},
        {"KeyLikeAComment", plain, {"a", ";k=x"}, {"begins like a comment"}},
        {"KeyLikeAnotherComment", plain, {"a", "#k=x"}, {"begins like a comment"}},
        {"KeyWithABackslash", plain, {"a", "\\k=x"}, {"begins with a backslash"}},
        {"CommentInValue", plain, {"a", "k=x ;y"}, {"' ;' in it begins a comment"}},
        {"CommentInNewValue", plain, {"a", "l=x ;y"}, {"' ;' in it begins a comment"}},
        {"CommentInValueBeforeComment",
         "[a]\nk=1 ;c\n",
         {"a", "k=x ;y"},
         {"' ;' in it begins a comment"}},
        {"BackslashAfterValue", plain, {"a", "k=x\\"}, {"ends in a backslash"}},
        {"BackslashAfterValueInside", "[a]\nk=1\nl=2\n", {"a", "k=x\\"}, {"ends in a backslash"}},
        {"SemicolonBeforeComment", "[a]\nk=1 ;c\n", {"a", "k=a;b"}, {"read back as 'a;b ;c'"}},
        {"QuotesBeforeComment", "[a]\nk=1 ;c\n", {"a", "k=\"a;b\""}, {"read back as '\"a;b\" ;c'"}},
        {"TooLong", plain, {"a", "k=" + std::string(509, 'x')}, {"too long", "511"}},
        {"NewLineTooLong", plain, {"a", "l=" + std::string(509, 'x')}, {"too long", "511"}},
        {"KeyTooLong", plain, {"a", std::string(600, 'l') + "=1"}, {"too long", "511"}},
        {"TooLongWithComment", "[a]\nk=1 ;c\n", {"a", "k=" + std::string(506, 'x')}, {"too long"}},
        {"SectionTooLong", plain, {std::string(508, 's'), "k=1"}, {"too long"}},
        {"Twice", plain, {"a", "k=1", "K=2"}, {"more than once"}},
        {"GoodBeforeBad", plain, {"a", "l=1", "k=x ;y"}, {"' ;'"}},
        {"NoSetting", plain, {"a"}, {"KEY=VALUE"}},
    };
    for (const Refusal &refusal : refusals) {
        SCOPED_TRACE(refusal.name);
        std::vector<std::string> arguments = {"set"};
        arguments.insert(arguments.end(), refusal.arguments.begin(), refusal.arguments.end());
        Refused(refusal.content, arguments, kUsage, refusal.messages);
    }
}

// If the library and other programs read a line differently, nobody can know for which program the
// file was written.
TEST_F(IniEditToolTest, RefusesWhatWouldBreakFilesForOtherPrograms)
{
    const std::string nested = "[a]\nk = 1\n  l = 2\n";
    const std::string joined = "[a]\nk=C:\\dir\\\nl=1\n[b]\nx=1\n";
    const Refusal refusals[] = {
        {"IndentedKey",
         nested,
         {"set", "a", "k=2"},
         {"line 3 is indented below key 'k' in line 2"}},
        {"IndentedHeaderWithARemark",
         "[a]\nk=v\n  [c] # remark\nz=1\n",
         {"set", "a", "k=2"},
         {"line 3 is indented below key 'k' in line 2"}},
        {"DeletedIndentedHeaderWithARemark",
         "[a]\nk=v\n  only text\n  [c] # remark\nz=1\n",
         {"del", "a", "k"},
         {"line 4 is indented below key 'k' in line 2"}},
        {"BelowAnIndentedHeaderWithARemark",
         "[a]\nk=v\n  [c] # remark\nz=1\n",
         {"set", "a", "m=2"},
         {"line 3, which looks like a header, is indented below line 2"}},
        {"DeletedAboveAnIndentedHeaderWithARemark",
         "[a]\nk=1\n  [b] # x\nm=2\n",
         {"del", "a"},
         {"line 3, which looks like a header, is indented below line 2"}},
        {"BelowAJoinedHeader",
         "[a]\r\ndir=C:\\temp\\\r\n[b]\r\nm=2\r\n",
         {"set", "a", "new=1"},
         {"the backslash before line 3", "a line of its own"}},
        {"IntoAnIndentedSection",
         "[a]\nk=1\n  [b]\nm=2\n",
         {"set", "b", "new=3"},
         {"line 3, the header, is indented below line 2"}},
        {"SectionLikeAnIndentedHeaderWithARemark",
         "[a]\nk=v\n  [c] # remark\nz=1\n",
         {"set", "c", "m=2"},
         {"line 3 looks like section 'c'"}},
        {"KeyInAValue", nested, {"set", "a", "l=3"}, {"'l' is in line 3", "below line 2"}},
        {"DeletedIndentedKey", nested, {"del", "a", "k"}, {"line 3 is indented below key 'k'"}},
        {"DeletedKeyInAValue", nested, {"del", "a", "l"}, {"'l' is in line 3"}},
        {"KeyInAValueAfterAHeader",
         "[a]\nk=1\n  [b]\n  l=2\n",
         {"set", "b", "l=3"},
         {"'l' is in line 4", "below line 2"}},
        {"KeyIndentedBelowAJoinedKey",
         "[a]\n  k=x \\\n l=1\n  m=2\n",
         {"del", "a", "m"},
         {"'m' is in line 4", "below line 2"}},
        {"BelowAJoinedKey",
         "[a]\n  k=x \\\nl=1\n",
         {"set", "a", "m=2"},
         {"the line of 'm' would be indented below line 2"}},
        {"BelowAKeyJoinedToAnIndentedLine",
         "[a]\n k=1\n  x \\\nl=1\n",
         {"set", "a", "m=2"},
         {"the line of 'm' would be indented below line 2"}},
        {"BeforeAHeaderIndentedMore",
         "[a]\n k \\\n  =1\n [b]\n",
         {"set", "a", "m=2"},
         {"line 4 would be indented below the line of 'm'"}},
        {"BelowAnotherHeaderWithARemark",
         "[a]\n  k=1\n  [b] # x\n  l=1\n",
         {"set", "a", "m=2"},
         {"line 3 looks like a header"}},
        {"DeletedAboveAnotherHeaderWithARemark",
         "[a]\n  k=1\n  [b] # x\n  l=1\n",
         {"del", "a"},
         {"line 3 looks like a header"}},
        {"IndentedKeyAndBare",
         "[a]\nk = 1\n  l = 2\n  quick\n  m = 3\n",
         {"set", "a", "k=2"},
         {"line 3 is indented below key 'k'"}},
        {"IndentedKeyAndDirective",
         "[a]\nk = 1\n  l = 2\n  !inc d\n  m = 3\n",
         {"set", "a", "k=2"},
         {"line 3 is indented below key 'k'"}},
        {"IndentedKeyAndColon",
         "[a]\nk = 1\n  l = 2\n  x y : z\n  m = 3\n",
         {"set", "a", "k=2"},
         {"line 3 is indented below key 'k'"}},
        {"IndentedKeyAndComment",
         "[a]\nk = 1\n  l = 2\n  # a b\n  m = 3\n",
         {"set", "a", "k=2"},
         {"line 3 is indented below key 'k'"}},
        {"IndentedHeader", "[a]\nk=1\n  [b]\nl=1\n", {"set", "a", "k=2"}, {"line 3 is indented"}},
        {"BelowAnIndentedHeader", "[a]\nk=1\n  [b]\nl=1\n", {"set", "b", "l=2"}, {"its header"}},
        {"DeletedBelowAnIndentedHeader",
         "[a]\nk=1\n  [b]\nl=1\n",
         {"del", "b", "l"},
         {"line 3, its header, is indented below line 2"}},
        {"BeforeAnIndentedHeader", "[a]\nk=1\n  [b]\n", {"set", "a", "m=2"}, {"the next header"}},
        {"DeletedIndentedHeader", "[a]\nk=1\n  [b]\nl=1\n", {"del", "b"}, {"line 3, a header"}},
        {"DeletedBeforeAnIndentedHeader",
         "[p]\nq=1\n[o]\nr=a\n  [b]\n  z=1\n",
         {"del", "o"},
         {"line 5, the next header, is indented below line 4"}},
        {"DeletedBetweenAKeyAndAnIndentedHeader",
         "[p]\nq=1\n[o]\n  [b]\n  z=1\n",
         {"del", "o"},
         {"line 4 would be indented below line 2"}},
        {"JoinedKey", joined, {"set", "a", "k=2"}, {"line 3", "a line of its own"}},
        {"KeyThatIsJoined", joined, {"set", "a", "l=2"}, {"line 3 looks like key 'l'"}},
        {"DeletedJoinedKey", joined, {"del", "a", "k"}, {"line 3", "a line of its own"}},
        {"JoinedHeader", "[a]\nk=1\\\n[b]\nx=1\n", {"set", "b", "y=1"}, {"line 3", "section 'b'"}},
        {"HeaderJoinedToAnIndentedLine",
         "[o]\nr = a\n  more text \\\n[next]\nz=1\n",
         {"set", "o", "r=2"},
         {"the backslash before line 4", "a line of its own"}},
        {"DeletedHeaderJoinedToAnIndentedLine",
         "[o]\nr = a\n  more text \\\n[next]\nz=1\n",
         {"del", "o", "r"},
         {"the backslash before line 4", "a line of its own"}},
        {"DeletedJoinedHeaderIndentedLikeItsKey",
         "[o]\n  r = a \\\n  [next]\nz=1\n",
         {"del", "o", "r"},
         {"the backslash before line 3", "a line of its own"}},
        {"KeyThatIsJoinedAndIndentedLikeItsKey",
         "[a]\n  k = x \\\n  l=1\n",
         {"set", "a", "l=2"},
         {"line 3 looks like key 'l'"}},
        {"HeaderJoinedToAnIndentedComment",
         "[o]\nk=1\n  ; c \\\n  [next]\nz=1\n",
         {"del", "o"},
         {"the backslash before line 4", "a line of its own"}},
        {"DeletedJoinedHeader", "[a]\nk=1\\\n[b]\nx=1\n", {"del", "a"}, {"a line of its own"}},
        {"BackslashFirst",
         "[a]\nk=1\n\\l\nm=1\n",
         {"set", "a", "k=2"},
         {"begins with a backslash"}},
        {"BareKey", "[a]\nquick\n", {"set", "a", "quick=1"}, {"line 2 looks like key 'quick'"}},
        {"KeyWithColon", "[a]\nk : 1\n", {"set", "a", "k=1"}, {"line 2 looks like key 'k'"}},
        {"KeyTooLong", "[a]\nk=" + std::string(600, 'x') + "\n", {"set", "a", "k=1"}, {"line 2"}},
        {"HeaderWithText", "[a] # x\nk=1\n", {"set", "a", "k=2"}, {"line 1", "section 'a'"}},
        {"NameThatIsJoined", "[a]\nk\\\n ey=1\n", {"set", "a", "k ey=2"}, {"inside its name"}},
        {"LastLineJoins",
         "[a]\nk=C:\\\\tmp\\\n",
         {"set", "a", "l=2"},
         {"line 2 ends in a backslash"}},
        {"OnlyABackslash",
         "\\",
         {"set", "a", "k=2"},
         {"key 'k' of section 'a' would not read back the same"}},
        // Lines that only the deleted line kept apart.
        {"LinesThatMeet",
         "[a]\nl=1\nk=1\r\n\\x=1\n",
         {"del", "a", "k"},
         {"line 2", "run together"}},
        {"LineEndsThatMeet", "[a]\rk=1\n\n[b]\n", {"del", "a", "k"}, {"line 1", "run together"}},
    };
    for (const Refusal &refusal : refusals) {
        SCOPED_TRACE(refusal.name);
        Refused(refusal.content, refusal.arguments, kUsage, refusal.messages);
    }
    Refused(std::string("[a]\nk=1\0lost\n", 13), {"set", "a", "k=2"}, kMalformed,
            {"f.ini:2: NUL byte"});
}

TEST_F(IniEditToolTest, StrictRefusesWhatIsOtherwiseWorkedAround)
{
    for (const std::string &line :
         {std::string("quick\n"), "x=" + std::string(600, 'x') + "\n", std::string("[c] # d\n")}) {
        Refused("[a]\nk=1\n" + line, {"set", "--strict", "a", "k=2"}, kMalformed, {"f.ini:3: "});
        Refused("[a]\nk=1\n" + line, {"del", "--strict", "a", "k"}, kMalformed, {"f.ini:3: "});
    }
    Refused("\xEF\xBB\xBF[a]\n", {"set", "--strict", "a", "k=2"}, kMalformed, {"byte-order mark"});
}

TEST_F(IniEditToolTest, WarnsAboutWhatTheCheckRefuses)
{
    const std::string name = Write("f.ini", "[a]\n");
    for (const char *const setting : {"k=a,b", "a b=1", "k=sip:x;transport=tls"}) {
        SCOPED_TRACE(setting);
        const Outcome outcome = Wyx({"ini", "set", name, "a", setting});
        EXPECT_EQ(outcome.code, kOk);
        EXPECT_TRUE(Mentions(outcome.err, {"warning", "wyx ini check"}));
        EXPECT_EQ(Wyx({"ini", "check", "-e", name}).code, kMalformed);
    }
    Write("f.ini", "[a]\n");
    const Outcome outcome = Wyx({"ini", "set", name, "b[c", "k=1"});
    EXPECT_EQ(outcome.code, kOk);
    EXPECT_TRUE(Mentions(outcome.err, {"warning: 'b[c' reads back", "(110)"}));
    EXPECT_EQ(Wyx({"ini", "check", "-e", name}).code, kMalformed);
}

TEST_F(IniEditToolTest, AcceptedInputReadsBack)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    constexpr std::string_view kBytes = "ab =;\"\\,[]#\t\xC3\xB6";
    int accepted = 0;
    for (int round = 0; round < 150; ++round) {
        const auto text = [&](std::uint64_t longest) {
            std::string value;
            for (std::uint64_t size = random.UpTo(longest); size > 0; --size) {
                value += kBytes[random.UpTo(kBytes.size() - 1)];
            }
            return value;
        };
        const std::string key = text(3);
        const std::string value = text(round % 2 == 0 ? 8 : 120);
        SCOPED_TRACE(testing::Message() << "key <" << key << "> value <" << value << ">");
        const std::string before = "[s]\n;c\nk=1 ;\"c\n[t]\nx=" + std::string(120, 'y') + "\n";
        const std::string name = Write("f.ini", before);
        const Outcome outcome = Wyx({"ini", "set", "--", name, "s", key + "=" + value});
        if (outcome.code != kOk) {
            ASSERT_EQ(outcome.code, kUsage) << outcome.err;
            ASSERT_EQ(Read(name), before);
            continue;
        }
        ++accepted;
        const std::string realKey = key.substr(0, key.find('='));
        const std::string realValue = (key + "=" + value).substr(realKey.size() + 1);
        ASSERT_EQ(Wyx({"ini", "get", "--", name, "s", realKey}).out, realValue + "\n");
        ASSERT_EQ(Wyx({"ini", "get", name, "t", "x"}).out, std::string(120, 'y') + "\n");
    }
    EXPECT_GT(accepted, 10);
}

TEST_F(IniEditToolTest, Create)
{
    const std::string name = Path("new.ini");
    const Outcome missing = Wyx({"ini", "set", name, "a", "k=1"});
    EXPECT_EQ(missing.code, kIo);
    EXPECT_TRUE(Mentions(missing.err, {"No such file", "--create"}));
    EXPECT_TRUE(Names().empty());
    EXPECT_EQ(Shell("umask 027; exec \"$WYX\" ini set --create new.ini a k=1 l=2",
                    {.directory = Directory()})
                  .code,
              kOk);
    EXPECT_EQ(Read(name), "[a]\nk=1\nl=2\n");
    struct stat status = {};
    ASSERT_EQ(stat(name.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
    EXPECT_EQ(Wyx({"ini", "set", "--create", name, "a", "k=2"}).code, kOk);
    EXPECT_EQ(Read(name), "[a]\nk=2\nl=2\n");
    EXPECT_EQ(Wyx({"ini", "set", "--create", Path("none/new.ini"), "a", "k=1"}).code, kIo);
    EXPECT_EQ(Wyx({"ini", "set", "--create", Path("refused.ini"), "a", "k= 1"}).code, kUsage);
    ASSERT_EQ(symlink("elsewhere", Path("dangling").c_str()), 0);
    EXPECT_EQ(Wyx({"ini", "set", "--create", Path("dangling"), "a", "k=1"}).code, kOk);
    EXPECT_EQ(Read(Path("elsewhere")), "[a]\nk=1\n");
    EXPECT_EQ(Names(), (std::vector<std::string>{"dangling", "elsewhere", "new.ini"}));
}

TEST_F(IniEditToolTest, NamesWithAndWithoutDots)
{
    ASSERT_EQ(mkdir(Path("d.ir").c_str(), 0777), 0);
    for (const char *const name :
         {"config", "d.ir/config", "a.b.c", ".hidden", "ends.", "[x]", "-dash", "blank name.ini"}) {
        SCOPED_TRACE(name);
        Write(name, "[a]\nk=1\n");
        const std::vector<std::string> before = Names();
        for (const std::string &spelled : {std::string(name), "./" + std::string(name),
                                           "d.ir/../" + std::string(name), Path(name)}) {
            EXPECT_EQ(Wyx({"ini", "set", "--", spelled, "a", "k=" + std::to_string(spelled.size())},
                          {.directory = Directory()})
                          .code,
                      kOk);
            EXPECT_EQ(Read(Path(name)), "[a]\nk=" + std::to_string(spelled.size()) + "\n");
        }
        EXPECT_EQ(Names(), before);
    }
    const std::string longest(255, 'n');
    Write(longest, "[a]\n");
    EXPECT_EQ(Wyx({"ini", "set", Path(longest), "a", "k=1"}).code, kOk);
}

TEST_F(IniEditToolTest, KeepsLinkModeOwnerAndAttributes)
{
    const std::string name = Write("f.ini", "[a]\nk=1\n");
    ASSERT_EQ(symlink("f.ini", Path("one").c_str()), 0);
    ASSERT_EQ(symlink(Path("one").c_str(), Path("two").c_str()), 0);
    const bool isRoot = geteuid() == 0 && chown(name.c_str(), 1234, 4321) == 0;
    const bool hasAttributes = setxattr(name.c_str(), "user.note", "kept", 4, 0) == 0;
    for (const mode_t mode : {0600U, 0644U, 0664U, 0755U, 0606U}) {
        SCOPED_TRACE(mode);
        ASSERT_EQ(chmod(name.c_str(), mode), 0);
        ASSERT_EQ(Wyx({"ini", "set", Path("two"), "a", "k=" + std::to_string(mode)}).code, kOk);
        EXPECT_EQ(Read(name), "[a]\nk=" + std::to_string(mode) + "\n");
        struct stat status = {};
        ASSERT_EQ(lstat(name.c_str(), &status), 0);
        EXPECT_TRUE(S_ISREG(status.st_mode));
        EXPECT_EQ(status.st_mode & 07777U, mode);
        if (isRoot) {
            EXPECT_EQ(status.st_uid, 1234U);
            EXPECT_EQ(status.st_gid, 4321U);
        }
        ASSERT_EQ(lstat(Path("two").c_str(), &status), 0);
        EXPECT_TRUE(S_ISLNK(status.st_mode));
    }
    if (hasAttributes) {
        char value[8] = {};
        EXPECT_EQ(getxattr(name.c_str(), "user.note", value, sizeof value), 4);
        EXPECT_EQ(std::string(value), "kept");
    }
}

TEST_F(IniEditToolTest, RefusesIfTheOwnerCannotBeKept)
{
    WYX_NEED_NOBODY();
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    const std::string name = Write("f.ini", "[a]\nk=1\n");
    ASSERT_EQ(chown(name.c_str(), 1234, 1234), 0);
    ASSERT_EQ(chmod(name.c_str(), 0666), 0);
    const Outcome outcome = Wyx({"ini", "set", name, "a", "k=2"}, {.isNobody = true});
    EXPECT_EQ(outcome.code, kIo);
    EXPECT_TRUE(Mentions(outcome.err, {"cannot keep the owner", "--in-place"}));
    EXPECT_EQ(Read(name), "[a]\nk=1\n");
    EXPECT_EQ(Names(), std::vector<std::string>{"f.ini"});
    struct stat before = {};
    ASSERT_EQ(stat(name.c_str(), &before), 0);
    EXPECT_EQ(Wyx({"ini", "set", "--in-place", name, "a", "k=22"}, {.isNobody = true}).code, kOk);
    EXPECT_EQ(Read(name), "[a]\nk=22\n");
    EXPECT_EQ(Wyx({"ini", "del", "--in-place", name, "a", "k"}, {.isNobody = true}).code, kOk);
    EXPECT_EQ(Read(name), "[a]\n");
    struct stat after = {};
    ASSERT_EQ(stat(name.c_str(), &after), 0);
    EXPECT_EQ(after.st_uid, 1234U);
    EXPECT_EQ(after.st_ino, before.st_ino);
}

TEST_F(IniEditToolTest, FilesThatCannotBeChanged)
{
    WYX_NEED_NOBODY();
    const std::string name = Write("f.ini", "[a]\nk=1\n");
    const Outcome directory = Wyx({"ini", "set", Directory(), "a", "k=2"});
    EXPECT_EQ(directory.code, kIo);
    EXPECT_TRUE(Mentions(directory.err, {"Is a directory"}));
    const Outcome device = Wyx({"ini", "set", "/dev/null", "a", "k=2"});
    EXPECT_EQ(device.code, kIo);
    EXPECT_TRUE(Mentions(device.err, {"not a regular file"}));
    EXPECT_EQ(Wyx({"ini", "del", Path("none"), "a"}).code, kIo);
    ASSERT_EQ(symlink("loop", Path("loop").c_str()), 0);
    EXPECT_EQ(Wyx({"ini", "set", Path("loop"), "a", "k=2"}).code, kIo);

    ASSERT_EQ(chmod(name.c_str(), 0444), 0);
    const Outcome readOnly = Wyx({"ini", "set", name, "a", "k=2"}, {.isNobody = true});
    EXPECT_EQ(readOnly.code, kIo);
    EXPECT_TRUE(Mentions(readOnly.err, {"Permission denied"}));
    ASSERT_EQ(chmod(name.c_str(), 0666), 0);
    ASSERT_EQ(chmod(Directory().c_str(), 0555), 0);
    const Outcome closed = Wyx({"ini", "set", name, "a", "k=2"}, {.isNobody = true});
    EXPECT_EQ(closed.code, kIo);
    EXPECT_TRUE(
        Mentions(closed.err, {"cannot write to the directory", "Permission denied", "--in-place"}));
    EXPECT_EQ(Read(name), "[a]\nk=1\n");
    const Outcome absent =
        Wyx({"ini", "set", "--create", Path("new.ini"), "a", "k=2"}, {.isNobody = true});
    EXPECT_EQ(absent.code, kIo);
    EXPECT_TRUE(Mentions(absent.err, {"cannot write to the directory", "Permission denied"}));
    EXPECT_FALSE(Mentions(absent.err, {"--in-place"})); // it would not help
}

TEST_F(IniEditToolTest, DirectoryThatCannotBeListed)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can open every directory to look at the result";
    }
    WYX_NEED_NOBODY();
    ASSERT_EQ(chmod(Directory().c_str(), 0333), 0);
    const std::string name = Path("new.ini");
    for (const char *const setting : {"k=1", "k=2"}) {
        const Outcome outcome =
            Wyx({"ini", "set", "--create", name, "a", setting}, {.isNobody = true});
        EXPECT_EQ(outcome.code, kOk) << outcome.err;
        EXPECT_EQ(Read(name), "[a]\n" + std::string(setting) + "\n");
    }
    ASSERT_EQ(chmod(name.c_str(), 0222), 0);
    const Outcome unreadable = Wyx({"ini", "set", name, "a", "k=3"}, {.isNobody = true});
    EXPECT_EQ(unreadable.code, kIo);
    EXPECT_TRUE(Mentions(unreadable.err, {"cannot open", "Permission denied"}));
    EXPECT_EQ(Read(name), "[a]\nk=2\n");
}

TEST_F(IniEditToolTest, EmptyNamesAndMissingFolders)
{
    const Outcome empty = Wyx({"ini", "set", "", "a", "k=1"});
    EXPECT_EQ(empty.code, kUsage);
    EXPECT_TRUE(Mentions(empty.err, {"the file's name is empty"}));
    for (const char *const verb : {"get", "del"}) {
        const Outcome outcome = Wyx({"ini", verb, Path("none/f.ini"), "a", "k"});
        EXPECT_EQ(outcome.code, kIo);
        EXPECT_TRUE(Mentions(outcome.err, {"cannot open", "No such file"}));
    }
    const Outcome folder = Wyx({"ini", "set", "--create", Path("none/"), "a", "k=1"});
    EXPECT_EQ(folder.code, kIo);
    EXPECT_TRUE(Mentions(folder.err, {"cannot make", "No such file"}));
    EXPECT_TRUE(Names().empty());
}

TEST_F(IniEditToolTest, FileSizeLimitLosesNothing)
{
    std::string content = "[a]\nk=1\n";
    for (int i = 0; i < 2000; ++i) {
        content += "key" + std::to_string(i) + "=value\n";
    }
    const std::string name = Write("f.ini", content);
    // Too small for the copy in memory, or for the new file.
    for (const rlim_t limit : {rlim_t{100}, rlim_t{content.size()}, rlim_t{content.size() + 5}}) {
        SCOPED_TRACE(limit);
        const Outcome outcome =
            Wyx({"ini", "set", name, "a", "new=longer"}, {.fileSizeLimit = limit});
        EXPECT_EQ(outcome.code, kIo);
        EXPECT_TRUE(Mentions(outcome.err, {"File too large"}));
        EXPECT_EQ(Read(name), content);
        EXPECT_EQ(Names(), std::vector<std::string>{"f.ini"});
    }
}

TEST_F(IniEditToolTest, FullAndReadOnlyFileSystems)
{
    // A file system of its own, in a mount namespace that ends with the shell.
    const std::string script =
        "exec unshare -m sh -c '"
        "mount -t tmpfs -o size=64k tmpfs . 2>/dev/null && cd \"$PWD\" || exit 77\n"
        "printf \"[a]\\nk=1\\n\" > f.ini\n"
        "dd if=/dev/zero of=filler bs=4k 2>/dev/null\n"
        "\"$WYX\" ini set f.ini a k=2; echo full $?\n"
        "cat f.ini; ls -A\n"
        "rm filler; mount -o remount,ro . || exit 77\n"
        "\"$WYX\" ini set f.ini a k=2; echo read-only $?\n"
        "cat f.ini; ls -A'";
    const Outcome outcome = Shell(script, {.directory = Directory()});
    if (outcome.code != 0) {
        GTEST_SKIP() << "cannot mount a file system here: " << outcome.err;
    }
    EXPECT_EQ(outcome.out,
              "full 3\n[a]\nk=1\nf.ini\nfiller\n"
              "read-only 3\n[a]\nk=1\nf.ini\n");
    EXPECT_TRUE(Mentions(outcome.err, {"No space left on device", "Read-only file system"}));
}

TEST_F(IniEditToolTest, MountPointIsOnlyChangedInPlace)
{
    const std::string script =
        "exec unshare -m sh -c '"
        "printf \"[a]\\nk=1\\n\" > f.ini; printf \"[a]\\nk=1\\n\" > source\n"
        "mount --bind source f.ini || exit 77\n"
        "\"$WYX\" ini set f.ini a k=2; echo $?; cat source; ls -A\n"
        "\"$WYX\" ini set --in-place f.ini a k=3; echo $?; cat source'";
    const Outcome outcome = Shell(script, {.directory = Directory()});
    if (outcome.code != 0) {
        GTEST_SKIP() << "cannot mount a file here: " << outcome.err;
    }
    EXPECT_EQ(outcome.out, "3\n[a]\nk=1\nf.ini\nsource\n0\n[a]\nk=3\n");
    EXPECT_TRUE(Mentions(outcome.err, {"cannot replace", "Device or resource busy", "--in-place"}));
}

TEST_F(IniEditToolTest, SameValueLeavesTheFileUntouched)
{
    const std::string name = Write("f.ini", "[a]\nk = 1 ;c\n");
    struct stat before = {};
    ASSERT_EQ(stat(name.c_str(), &before), 0);
    EXPECT_EQ(Wyx({"ini", "set", name, "a", "K=1"}).code, kOk);
    struct stat after = {};
    ASSERT_EQ(stat(name.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_ctim.tv_nsec, before.st_ctim.tv_nsec);
    EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
}

TEST_F(IniEditToolTest, WarnsAboutHardLinks)
{
    const std::string name = Write("f.ini", "[a]\nk=1\n");
    ASSERT_EQ(link(name.c_str(), Path("other").c_str()), 0);
    const Outcome outcome = Wyx({"ini", "set", name, "a", "k=2"});
    EXPECT_EQ(outcome.code, kOk);
    EXPECT_TRUE(Mentions(outcome.err, {"warning", "hard links"}));
    EXPECT_EQ(Read(Path("other")), "[a]\nk=1\n");
}

TEST_F(IniEditToolTest, ConcurrentEditsAreAllKept)
{
    Write("f.ini", "[a]\n");
    const Outcome outcome = Shell(
        "for i in 1 2 3 4 5 6 7 8; do \"$WYX\" ini set f.ini a k$i=$i & done; wait; "
        "exec \"$WYX\" ini keys f.ini a | wc -l",
        {.directory = Directory()});
    EXPECT_EQ(std::stoi(outcome.out), 8) << outcome.err;
}

TEST_F(IniEditToolTest, SetJson)
{
    const std::string name = Write("f.ini", "[a]\nk=1\n");
    const Outcome outcome = Wyx({"ini", "set", "--json", name, "a", "k=1", "l=2"});
    EXPECT_EQ(json::parse(outcome.out),
              json::parse(R"({"file": ")" + name + R"(", "changed": true, "settings": [
                   {"section": "a", "key": "k", "value": "1", "changed": false},
                   {"section": "a", "key": "l", "value": "2", "changed": true}]})"));
    EXPECT_EQ(json::parse(Wyx({"ini", "set", "--json", name, "a", "k=1"}).out)["changed"], false);
}

TEST_F(IniEditToolTest, Del)
{
    const std::string content = "; top\n[a]\n;c\nk=1\nl=2\n\n[b]\nk=1\n[A]\nk=3\nK=4\n";
    const std::string unread = "[a]\nquick\nk=1\n  y\n!inc d\n[b]\nx=1\n";
    const Change changes[] = {
        {"IndentedLinesGoWithTheirKey", unread, {"a", "k"}, "[a]\nquick\n!inc d\n[b]\nx=1\n"},
        {"DirectivesStay", unread, {"a"}, "!inc d\n[b]\nx=1\n"},
        {"OtherLinesStay", unread, {"b"}, "[a]\nquick\nk=1\n  y\n!inc d\n"},
        {"NoLineEnd", "[a]\nk=1\nl=2", {"a", "l"}, "[a]\nk=1\n"},
        {"NoLineEndStays", "[a]\nk=1\nl=2", {"a", "k"}, "[a]\nl=2"},
        {"Mark", "\xEF\xBB\xBF[a]\nk=1\n[b]\n", {"a"}, "\xEF\xBB\xBF[b]\n"},
        {"MixedEnds", "[a]\r\nk=1\n\r\n[b]\r\n", {"a", "k"}, "[a]\r\n\r\n[b]\r\n"},
        {"ContinuedLines", "[a]\nk=1\\\n 2\nl=1\n", {"a", "k"}, "[a]\nl=1\n"},
        {"Key", content, {"a", "k"}, "; top\n[a]\n;c\nl=2\n\n[b]\nk=1\n[A]\n"},
        {"Section", content, {"a"}, "; top\n[b]\nk=1\n"},
        {"AnotherSection", content, {"B"}, "; top\n[a]\n;c\nk=1\nl=2\n\n[A]\nk=3\nK=4\n"},
        {"All", "[a]\nk=1\n", {"a"}, ""},
    };
    for (const Change &change : changes) {
        SCOPED_TRACE(change.name);
        const std::string name = Write("f.ini", change.before);
        std::vector<std::string> command = {"ini", "del", name};
        command.insert(command.end(), change.arguments.begin(), change.arguments.end());
        const Outcome outcome = Wyx(command);
        EXPECT_EQ(outcome.code, kOk) << outcome.err;
        EXPECT_EQ(Read(name), change.after);
    }
}

TEST_F(IniEditToolTest, DelOfAMissingSectionOrKey)
{
    const std::string content = "[net]\nport=1\n";
    Refused(content, {"del", "b"}, kNo, {"no section 'b'"});
    Refused(content, {"del", "net", "prot"}, kNo, {"no key 'prot'", "did you mean 'port'?"});
    Refused(content, {"del", "net", ""}, kUsage, {"key's name is empty"});
    Refused("", {"del", "net"}, kNo, {"no section 'net'"});
    // The name of a header that cannot be read is a line end to the tool.
    Refused("[net] # text\nport=1\n", {"del", "\n"}, kNo, {"no section"});
    Refused("[net] # text\nport=1\n", {"del", "\n", "port"}, kNo, {"no section"});
}

TEST_F(IniEditToolTest, DelJson)
{
    const std::string name = Write("f.ini", "[a]\nk=1\nk=2\n");
    EXPECT_EQ(json::parse(Wyx({"ini", "del", "--json", name, "a", "k"}).out),
              json({{"file", name}, {"section", "a"}, {"changed", true}, {"deleted_lines", 2}}));
}

} // namespace

} // namespace wyx::test
