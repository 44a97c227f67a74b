// Values, lists of sections and lists of keys.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ini_support.h"
#include "models.h"

namespace wyx::test {
namespace {

/// The result of looking up a value.
struct ValueResult {
    QAL_UINT32 ulStatus = 77;
    MaybeText value;
    bool isUntouched = false;
    bool operator==(const ValueResult &) const = default;
};

void PrintTo(const ValueResult &result, std::ostream *pOut)
{
    *pOut << result.ulStatus << " "
          << (result.isUntouched ? "untouched"
              : result.value     ? Shown(*result.value)
                                 : "null");
}

/// The result of listing names.
struct ListResult {
    QAL_UINT32 ulStatus = 77;
    QAL_UINT32 ulCount = 77;
    std::vector<std::string> names;
    bool operator==(const ListResult &) const = default;
};

void PrintTo(const ListResult &result, std::ostream *pOut)
{
    *pOut << result.ulStatus << ", " << result.ulCount << " names:";
    for (const std::string &name : result.names) {
        *pOut << ' ' << Shown(name);
    }
}

/// The value of an out-pointer before a call: an address that no list has.
QAL_INT8 **ListSentinel()
{
    return reinterpret_cast<QAL_INT8 **>(std::uintptr_t{0x5E});
}

class LookupTest : public PlatformTest {
  protected:
    ValueResult Get(const XELP_IN_S_INI_FILE_STRUCT &doc, const char *pszSection,
                    const char *pszKey)
    {
        QAL_INT8 *pszValue = Sentinel();
        const QAL_UINT32 ulStatus = XELP_IniGetKeyValue(&doc, pszSection, pszKey, &pszValue);
        trace_ = platform.MemoryTrace();
        hasFailed_ = platform.HasFailed();
        ExpectSites();
        if (pszValue == Sentinel()) {
            return {ulStatus, {}, true};
        }
        EXPECT_TRUE(ulStatus == kOk || pszValue == nullptr);
        return {ulStatus, TakeText(pszValue), false};
    }

    ListResult Sections(const XELP_IN_S_INI_FILE_STRUCT &doc)
    {
        ListResult result;
        QAL_INT8 **list = ListSentinel();
        result.ulStatus = XELP_IniGetSectionList(&doc, &result.ulCount, &list);
        TakeList(doc, list, result);
        return result;
    }

    ListResult Keys(const XELP_IN_S_INI_FILE_STRUCT &doc, const char *pszSection)
    {
        ListResult result;
        QAL_INT8 **list = ListSentinel();
        result.ulStatus = XELP_IniGetKeyList(&doc, pszSection, &result.ulCount, &list);
        TakeList(doc, list, result);
        return result;
    }

    std::string trace_;      // memory calls of the last lookup
    bool hasFailed_ = false; // true if an allocation failed

  private:
    /// Checks a list and releases it; after a failure, checks that it was released.
    void TakeList(const XELP_IN_S_INI_FILE_STRUCT &doc, QAL_INT8 **list, ListResult &result)
    {
        trace_ = platform.MemoryTrace();
        hasFailed_ = platform.HasFailed();
        ExpectSites();
        if (platform.Events().empty()) { // nothing was requested
            EXPECT_EQ(list, ListSentinel());
            return;
        }
        EXPECT_EQ(list, platform.Events()[0].pBlock); // null, or the list, released or not
        if (result.ulStatus != kOk) {
            EXPECT_EQ(platform.SizeOf(list), std::nullopt);
            return;
        }
        EXPECT_EQ(platform.SizeOf(list), (doc.ulLineNum + 1) * std::size_t{8});
        for (QAL_INT8 **pName = list; *pName != nullptr; ++pName) {
            result.names.emplace_back(*pName);
            EXPECT_EQ(platform.SizeOf(*pName), result.names.back().size() + 1);
        }
        platform.StartRecording();
        XELP_IniFreeList(list);
        EXPECT_EQ(platform.Events().size(), result.names.size() + 1);
        ASSERT_FALSE(platform.Events().empty());
        EXPECT_EQ(platform.Events().back().pBlock, list);
        ExpectSites();
    }
};

class IniGetKeyValue : public LookupTest {};

TEST_F(IniGetKeyValue, NullArgumentIs170AndLeavesTheValue)
{
    const Document doc({"[a]\n", "k=1\n"});
    const Document noLines(Lines{});
    Document noArray;
    noArray.ulLineNum = 2;
    QAL_INT8 *pszValue = Sentinel();
    EXPECT_EQ(XELP_IniGetKeyValue(nullptr, "a", "k", &pszValue), kInputPara);
    EXPECT_EQ(XELP_IniGetKeyValue(&noArray, "a", "k", &pszValue), kInputPara);
    EXPECT_EQ(XELP_IniGetKeyValue(&doc, nullptr, "k", &pszValue), kInputPara);
    EXPECT_EQ(XELP_IniGetKeyValue(&doc, "a", nullptr, &pszValue), kInputPara);
    EXPECT_EQ(XELP_IniGetKeyValue(&doc, "a", "k", nullptr), kInputPara);
    // These arguments are refused even for a document without lines.
    EXPECT_EQ(XELP_IniGetKeyValue(&noLines, nullptr, "k", &pszValue), kInputPara);
    EXPECT_EQ(XELP_IniGetKeyValue(&noLines, "a", nullptr, &pszValue), kInputPara);
    EXPECT_EQ(XELP_IniGetKeyValue(&noLines, "a", "k", nullptr), kInputPara);
    noArray.ulLineNum = 0;
    EXPECT_EQ(XELP_IniGetKeyValue(&noArray, "a", "k", &pszValue), kInputPara);
    EXPECT_EQ(pszValue, Sentinel());
    EXPECT_EQ(FullTrace(), "");
}

TEST_F(IniGetKeyValue, DocumentWithoutLinesIs130AndLeavesTheValue)
{
    const Document doc(Lines{});
    EXPECT_EQ(Get(doc, "a", "k"), (ValueResult{kFileEmpty, {}, true}));
    EXPECT_EQ(trace_, "");
}

struct ValueCase {
    const char *pszName;
    Lines lines;
    QAL_UINT32 ulStatus;
    MaybeText value;
    const char *pszSection = "a";
    const char *pszKey = "k";
};

class IniGetKeyValueTable : public LookupTest, public ::testing::WithParamInterface<ValueCase> {};

TEST_P(IniGetKeyValueTable, StatusAndValue)
{
    const ValueCase &c = GetParam();
    const Document doc(c.lines);
    EXPECT_EQ(Get(doc, c.pszSection, c.pszKey), (ValueResult{c.ulStatus, c.value, false}));
    EXPECT_EQ(Look(doc), Loaded(c.lines));
}

const ValueCase kValues[] = {
    {"Found", {"[a]\r\n", "j=0\r\n", "k = v w ;c\r\n", "l=2\r\n"}, kOk, "v w"},
    {"WithoutLineEnd", {"[a]", "k=1"}, kOk, "1"},
    {"NoSection", {"[b]\n", "k=1\n"}, kSectionNotFound, {}},
    {"NoKey", {"[a]\n", "j=1\n", "[b]\n", "k=1\n"}, kKeyNotFound, {}},
    {"EmptyBlock", {"[a]\n", "[b]\n", "k=1\n"}, kKeyNotFound, {}},
    {"EmptyLastBlock", {"[b]\n", "k=1\n", "[a]\n"}, kKeyNotFound, {}},
    {"KeyBeforeTheFirstSection", {"k=1\n"}, kSectionNotFound, {}},
    // Names.
    {"AnyCaseOfAsciiLetters", {"[aZ]\n", "kZ=1\n"}, kOk, "1", "Az", "Kz"},
    {"TrimmedNames", {"[ Net ]\n", " \tport\t = 1\n"}, kOk, "1", "net", "PORT"},
    {"CaseMattersBeyondAscii", {"[\xC4]\n", "k=1\n"}, kSectionNotFound, {}, "\xE4"},
    {"OnlyLettersHaveCase", {"[a]\n", "k@=1\n"}, kKeyNotFound, {}, "a", "k`"},
    {"PrefixOfSectionDoesNotMatch", {"[ab]\n", "k=1\n"}, kSectionNotFound, {}},
    {"LongerSectionDoesNotMatch", {"[a]\n", "k=1\n"}, kSectionNotFound, {}, "ab"},
    {"PrefixOfKeyDoesNotMatch", {"[a]\n", "kk=1\n"}, kKeyNotFound, {}},
    {"EmptySectionName", {"[a]\n", "k=1\n"}, kSectionNotFound, {}, ""},
    {"EmptyKeyName", {"[a]\n", "k=1\n"}, kKeyNotFound, {}, "a", ""},
    {"IndentedHeader", {"  [a] ;c\n", "k=1\n"}, kOk, "1"},
    // Repeated names.
    {"LastBlockWins", {"[a]\n", "k=1\n", "[b]\n", "k=2\n", "[A]\n", "k=3\n"}, kOk, "3"},
    {"EarlierBlocksAreInvisible", {"[a]\n", "k=1\n", "[a]\n", "j=2\n"}, kKeyNotFound, {}},
    {"LowestLineWins", {"[a]\n", "k=1\n", "K=2\n", "j=3\n"}, kOk, "2"},
    // Keys without a value.
    {"NoValueBeforeComment", {"[a]\n", "k= ;note\n"}, kOk, {}},
    {"NothingAfterEqual", {"[a]\n", "k="}, kOk, {}},
    {"LineEndAsValueLf", {"[a]\n", "k=\n"}, kOk, "\n"},
    {"LineEndAsValueCr", {"[a]\r\n", "k=\r\n"}, kOk, "\r"},
    // Lines that are skipped.
    {"CommentsAndBlanks", {"[a]\n", "k=1\n", ";k=2\n", "#k=3\n", "\n", "  ", "\t\r\n"}, kOk, "1"},
    {"Holes", {kHole, "[a]\n", kHole, "k=1\n", kHole}, kOk, "1"},
    {"OnlyHoles", {kHole, kHole}, kSectionNotFound, {}},
    // Lines that end a walk. The first walk goes from the document's end up to the header, and the
    // second goes from the block's end up to the key.
    {"UnknownLineBelow", {"[a]\n", "k=1\n", "[b]\n", "garbage\n"}, kLineUnknown, {}},
    {"UnknownLineInTheBlock", {"[a]\n", "garbage\n", "k=1\n"}, kLineUnknown, {}},
    {"UnknownLineAbove", {"garbage\n", "[a]\n", "k=1\n"}, kOk, "1"},
    {"UnknownLineAndNoSection", {"garbage\n", "[b]\n", "k=1\n"}, kLineUnknown, {}},
    {"EmptyTextBelow", {"[a]\n", "k=1\n", ""}, kInputPara, {}},
    {"EmptyTextAbove", {"", "[a]\n", "k=1\n"}, kOk, "1"},
    {"BadHeaderBelow", {"[a]\n", "k=1\n", "[ ]\n"}, kSection, {}},
    {"TextAfterAHeaderBelow", {"[a]\n", "k=1\n", "[b] x\n"}, kLineUnknown, {}},
    {"BadHeaderAbove", {"[]\n", "[a]\n", "k=1\n"}, kOk, "1"},
    {"BadKeyAfterTheKey", {"[a]\n", "k=1\n", "=2\n"}, kKeyName, {}},
    {"BadKeyBeforeTheKey", {"[a]\n", "=2\n", "k=1\n"}, kOk, "1"},
    {"BadKeyInAnotherSection", {"[a]\n", "k=1\n", "[b]\n", "=2\n"}, kOk, "1"},
};

INSTANTIATE_TEST_SUITE_P(Table, IniGetKeyValueTable, ::testing::ValuesIn(kValues), CaseName());

TEST_F(IniGetKeyValue, ParsesHeadersBottomUpThenKeysBottomUp)
{
    const Document doc({"[x]\n", "[a] ;cc\n", "k = 1 ;c\n", "long= ;d\n", "[b]\n", "k=2\n"});
    EXPECT_EQ(Get(doc, "A", "K"), (ValueResult{kOk, "1", false}));
    EXPECT_EQ(trace_,
              "D 2, free, "                 // [b]
              "D 2, D 3, free, free, "      // [a] ;cc
              "D 5, D 2, free, free, "      // long= ;d
              "D 2, D 2, D 2, free, free"); // k = 1 ;c: the value is handed over
}

class IniGetSectionList : public LookupTest {};

TEST_F(IniGetSectionList, NullArgumentIs170AndLeavesBothResults)
{
    const Document doc({"[a]\n"});
    const Document noLines(Lines{});
    Document noArray;
    noArray.ulLineNum = 2;
    QAL_UINT32 ulCount = 77;
    QAL_INT8 **list = ListSentinel();
    EXPECT_EQ(XELP_IniGetSectionList(nullptr, &ulCount, &list), kInputPara);
    EXPECT_EQ(XELP_IniGetSectionList(&noArray, &ulCount, &list), kInputPara);
    EXPECT_EQ(XELP_IniGetSectionList(&doc, nullptr, &list), kInputPara);
    EXPECT_EQ(XELP_IniGetSectionList(&doc, &ulCount, nullptr), kInputPara);
    EXPECT_EQ(XELP_IniGetSectionList(&noLines, nullptr, &list), kInputPara);
    EXPECT_EQ(XELP_IniGetSectionList(&noLines, &ulCount, nullptr), kInputPara);
    EXPECT_EQ(ulCount, 77U);
    EXPECT_EQ(list, ListSentinel());
    EXPECT_EQ(FullTrace(), "");
}

TEST_F(IniGetSectionList, DocumentWithoutLinesIs130AndLeavesBothResults)
{
    const Document doc(Lines{});
    EXPECT_EQ(Sections(doc), (ListResult{kFileEmpty, 77, {}}));
    EXPECT_EQ(trace_, "");
}

TEST_F(IniGetSectionList, AllNamesAsSpelledInTheDocumentsOrder)
{
    const Document doc(
        {"k=0\n", " [ B c ] ;x\n", kHole, "[a]\n", "k=1\n", ";[no]\n", "[A]\r\n", "[b C]\n", "\n"});
    EXPECT_EQ(Sections(doc), (ListResult{kOk, 4, {"B c", "a", "A", "b C"}}));
    EXPECT_EQ(trace_, "D 80, D 4, D 2, free, D 2, D 2, D 4");
}

TEST_F(IniGetSectionList, DocumentMayBeFull)
{
    const Document doc({"[a]\n", "[b]\n"}, 2);
    EXPECT_EQ(Sections(doc), (ListResult{kOk, 2, {"a", "b"}}));
}

TEST_F(IniGetSectionList, KeyLinesAreNotParsed)
{
    const Document doc({"[a]\n", "=1\n", " = \n"});
    EXPECT_EQ(Sections(doc), (ListResult{kOk, 1, {"a"}}));
}

TEST_F(IniGetSectionList, WithoutSectionIs10AndReleasesTheArray)
{
    for (const Lines &lines : {Lines{"k=1\n", "; c\n"}, Lines{kHole, kHole}}) {
        const Document doc(lines);
        EXPECT_EQ(Sections(doc), (ListResult{kSectionNotFound, 0, {}}));
        EXPECT_EQ(trace_, "D 24, free");
    }
}

TEST_F(IniGetSectionList, FailureLeavesTheListPointerDangling)
{
    struct {
        const char *pszLine;
        QAL_UINT32 ulStatus;
    } const cases[] = {
        {"garbage\n", kLineUnknown}, {"", kInputPara}, {"[]\n", kSection}, {"[a\n", kSection}};
    for (const auto &c : cases) {
        SCOPED_TRACE(Shown(c.pszLine));
        const Document doc({"[a]\n", "[b] ;c\n", c.pszLine, "[d]\n"});
        EXPECT_EQ(Sections(doc), (ListResult{c.ulStatus, 2, {}}));
        EXPECT_EQ(trace_, "D 40, D 2, D 2, D 2, free, free, free, free");
    }
    const Document doc({"[a]\n", "[b] x\n"});
    EXPECT_EQ(Sections(doc), (ListResult{kLineUnknown, 1, {}}));
    EXPECT_EQ(trace_, "D 24, D 2, D 2, free, free, free");
}

TEST_F(IniGetSectionList, HasRoomForANamePerLine)
{
    const Document doc(Lines(150, "[a]\n"));
    EXPECT_EQ(Sections(doc), (ListResult{kOk, 150, std::vector<std::string>(150, "a")}));
}

TEST_F(IniGetSectionList, TooManyLinesForAListIs80)
{
    // No line is read before there is a list, so the test only has to raise the count.
    Document doc({"[a]\n"});
    for (const QAL_UINT32 ulLineNum :
         {0x1FFFFFFFU, 0xFFFFFFFFU}) { // the list's size does not fit in 32 bits
        doc.ulLineNum = ulLineNum;
        QAL_UINT32 ulCount = 77;
        QAL_INT8 **list = ListSentinel();
        platform.StartRecording();
        EXPECT_EQ(XELP_IniGetSectionList(&doc, &ulCount, &list), kInternal);
        EXPECT_EQ(ulCount, 0U);
        EXPECT_EQ(list, nullptr);
        EXPECT_EQ(FullTrace(), "D 0, free");
    }
    doc.ulLineNum = 0x1FFFFFFE;
    platform.StartRecording();
    platform.Fail(Service::kAllocate, 1);
    EXPECT_EQ(Sections(doc), (ListResult{kInternal, 0, {}}));
    EXPECT_EQ(trace_, "D 4294967288");
    doc.ulLineNum = 1;
}

class IniGetKeyList : public LookupTest {};

TEST_F(IniGetKeyList, NullArgumentIs170AndLeavesBothResults)
{
    const Document doc({"[a]\n"});
    const Document noLines(Lines{});
    Document noArray;
    noArray.ulLineNum = 2;
    QAL_UINT32 ulCount = 77;
    QAL_INT8 **list = ListSentinel();
    EXPECT_EQ(XELP_IniGetKeyList(nullptr, "a", &ulCount, &list), kInputPara);
    EXPECT_EQ(XELP_IniGetKeyList(&noArray, "a", &ulCount, &list), kInputPara);
    EXPECT_EQ(XELP_IniGetKeyList(&doc, nullptr, &ulCount, &list), kInputPara);
    EXPECT_EQ(XELP_IniGetKeyList(&doc, "a", nullptr, &list), kInputPara);
    EXPECT_EQ(XELP_IniGetKeyList(&doc, "a", &ulCount, nullptr), kInputPara);
    EXPECT_EQ(XELP_IniGetKeyList(&noLines, nullptr, &ulCount, &list), kInputPara);
    EXPECT_EQ(XELP_IniGetKeyList(&noLines, "a", nullptr, &list), kInputPara);
    EXPECT_EQ(XELP_IniGetKeyList(&noLines, "a", &ulCount, nullptr), kInputPara);
    EXPECT_EQ(ulCount, 77U);
    EXPECT_EQ(list, ListSentinel());
    EXPECT_EQ(FullTrace(), "");
}

TEST_F(IniGetKeyList, DocumentWithoutLinesIs130AndLeavesBothResults)
{
    const Document doc(Lines{});
    EXPECT_EQ(Keys(doc, "a"), (ListResult{kFileEmpty, 77, {}}));
    EXPECT_EQ(trace_, "");
}

TEST_F(IniGetKeyList, NamesOfTheLastBlockInTheDocumentsOrder)
{
    const Document doc({"[a]\n", "old=0\n", "[A] ;x\n", " Z y = 1 ;c\n", kHole, "k=\n", ";n=1\n",
                        "K= ;c\n", "[b]\n", "no=1\n"});
    EXPECT_EQ(Keys(doc, "a"), (ListResult{kOk, 3, {"Z y", "k", "K"}}));
    EXPECT_EQ(trace_,
              "D 88, "
              "D 2, free, "                 // [b]
              "D 2, D 2, free, free, "      // [A] ;x
              "D 4, D 2, D 2, free, free, " // Z y = 1 ;c
              "D 2, D 2, free, "            // k=
              "D 2, D 2, free");            // K= ;c
}

TEST_F(IniGetKeyList, WithoutSectionIs10AndReleasesTheArray)
{
    for (const Lines &lines : {Lines{"k=1\n", "; c\n"}, Lines{kHole, kHole}}) {
        const Document doc(lines);
        EXPECT_EQ(Keys(doc, "a"), (ListResult{kSectionNotFound, 0, {}}));
        EXPECT_EQ(trace_, "D 24, free");
    }
}

TEST_F(IniGetKeyList, WithoutKeyIs20AndReleasesTheArray)
{
    for (const Lines &lines : {Lines{"[a]\n"}, Lines{"k=1\n", "[a]\n", "; c\n"},
                               Lines{"[a]\n", "k=1\n", "[a]\n", kHole}}) {
        const Document doc(lines);
        EXPECT_EQ(Keys(doc, "a"), (ListResult{kKeyNotFound, 0, {}}));
        EXPECT_TRUE(trace_.ends_with("D 2, free, free")) << trace_;
    }
}

TEST_F(IniGetKeyList, FailureLeavesTheListPointerDangling)
{
    struct {
        const char *pszName;
        Lines lines;
        ListResult result;
        const char *pszTrace;
    } const cases[] = {
        {"met on the way to the header",
         {"[a]\n", "k=1\n", "garbage\n"},
         {kLineUnknown, 0, {}},
         "D 32, free"},
        {"empty text", {"[a]\n", "", "k=1\n"}, {kInputPara, 0, {}}, "D 32, free"},
        {"after the block",
         {"[a]\n", "k=1\n", "[b]\n", "garbage\n"},
         {kLineUnknown, 0, {}},
         "D 40, free"},
        {"before the header",
         {"garbage\n", "[a]\n", "k=1\n"},
         {kOk, 1, {"k"}},
         "D 32, D 2, free, D 2, D 2, free"},
        {"header after it", {"[a]\n", "[]\n", "[b]\n"}, {kSection, 0, {}}, "D 32, D 2, free, free"},
        {"key in the block",
         {"[a]\n", "k=1\n", "j=\n", "=1\n", "l=1\n"},
         {kKeyName, 2, {}},
         "D 48, D 2, free, D 2, D 2, free, D 2, D 2, free, free, free, free"},
        {"key after the block",
         {"[a]\n", "k=1\n", "[b]\n", "=1\n"},
         {kOk, 1, {"k"}},
         "D 40, D 2, free, D 2, free, D 2, D 2, free"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.pszName);
        const Document doc(c.lines);
        EXPECT_EQ(Keys(doc, "a"), c.result);
        EXPECT_EQ(trace_, c.pszTrace);
        EXPECT_EQ(Look(doc), Loaded(c.lines));
    }
}

TEST_F(IniGetKeyList, HasRoomForANamePerLine)
{
    Lines lines(150, "k=1\n");
    lines[0] = "[a]\n";
    const Document doc(lines);
    EXPECT_EQ(Keys(doc, "a"), (ListResult{kOk, 149, std::vector<std::string>(149, "k")}));
}

TEST_F(IniGetKeyList, OutlivesTheDocument)
{
    QAL_UINT32 ulCount = 0;
    QAL_INT8 **list = nullptr;
    QAL_INT8 *pszValue = nullptr;
    {
        const Document doc({"[a]\n", "k=1\n", "l=2\n"});
        EXPECT_EQ(XELP_IniGetKeyList(&doc, "a", &ulCount, &list), kOk);
        EXPECT_EQ(XELP_IniGetKeyValue(&doc, "a", "k", &pszValue), kOk);
    }
    ASSERT_EQ(ulCount, 2U);
    EXPECT_STREQ(list[0], "k");
    EXPECT_STREQ(list[1], "l");
    EXPECT_EQ(list[2], nullptr);
    XELP_IniFreeList(list);
    EXPECT_EQ(TakeText(pszValue), "1");
}

class IniFreeList : public LookupTest {
  protected:
    /// A list in the double's memory.
    static QAL_INT8 **MakeList(std::size_t count)
    {
        auto **const list = static_cast<QAL_INT8 **>(XELP_MemMallocD(
            static_cast<QAL_UINT32>((count + 1) * sizeof(QAL_INT8 *)), 0, "a test"));
        for (std::size_t i = 0; i < count; ++i) {
            list[i] = static_cast<QAL_INT8 *>(XELP_MemMallocD(2, 0, "a test"));
        }
        list[count] = nullptr;
        return list;
    }
};

TEST_F(IniFreeList, NullDoesNothing)
{
    platform.StartRecording();
    XELP_IniFreeList(nullptr);
    EXPECT_EQ(FullTrace(), "");
}

TEST_F(IniFreeList, ReleasesNamesThenArray)
{
    for (const std::size_t count : {0U, 1U, 5U}) {
        QAL_INT8 **const list = MakeList(count);
        std::vector<const void *> blocks(list, list + count);
        blocks.push_back(list);
        platform.StartRecording();
        XELP_IniFreeList(list);
        std::vector<const void *> released;
        for (const Event &event : platform.Events()) {
            EXPECT_EQ(event.what, "free");
            EXPECT_FALSE(event.setsNull);
            released.push_back(event.pBlock);
        }
        EXPECT_EQ(released, blocks);
        ExpectSites();
    }
}

TEST_F(IniFreeList, StopsAtTheFirstNull)
{
    QAL_INT8 **const list = MakeList(3);
    QAL_INT8 *const pszMiddle = list[1];
    QAL_INT8 *const pszLast = list[2];
    list[1] = nullptr;
    platform.StartRecording();
    XELP_IniFreeList(list);
    EXPECT_EQ(FullTrace(), "free, free");
    EXPECT_EQ(platform.LiveBlocks(), 2U);
    XELP_MemFreeD(pszMiddle, 0, "a test");
    XELP_MemFreeD(pszLast, 0, "a test");
}

/// Compares random documents with the model, while each allocation fails in turn.
class IniLookupModel : public LookupTest {
  protected:
    void Compare(const Snapshot &snapshot, const std::string &section, const std::string &key)
    {
        const Document doc(snapshot);
        for (QAL_UINT32 ulFailAt = 0; !HasFailure(); ++ulFailAt) {
            SCOPED_TRACE(ulFailAt);
            const auto disturb = [&] {
                platform.StartRecording();
                if (ulFailAt != 0) {
                    platform.Fail(Service::kAllocate, ulFailAt);
                }
            };
            bool hasFailed = ulFailAt == 0;
            disturb();
            model::Heap valueHeap(ulFailAt);
            const model::Value value = model::GetValue(snapshot, section, key, valueHeap);
            EXPECT_EQ(Get(doc, section.c_str(), key.c_str()),
                      (ValueResult{value.ulStatus, value.value, value.ulStatus == kFileEmpty}));
            EXPECT_EQ(trace_, valueHeap.Trace());
            hasFailed |= hasFailed_;

            disturb();
            model::Heap sectionsHeap(ulFailAt);
            EXPECT_EQ(Sections(doc), Of(model::GetSections(snapshot, sectionsHeap)));
            EXPECT_EQ(trace_, sectionsHeap.Trace());
            hasFailed |= hasFailed_;

            disturb();
            model::Heap keysHeap(ulFailAt);
            EXPECT_EQ(Keys(doc, section.c_str()), Of(model::GetKeys(snapshot, section, keysHeap)));
            EXPECT_EQ(trace_, keysHeap.Trace());
            hasFailed |= hasFailed_;

            EXPECT_EQ(Look(doc), snapshot);
            if (!hasFailed) {
                break;
            }
        }
    }

  private:
    static ListResult Of(const model::Names &names)
    {
        return {names.ulStatus, names.ulStatus == kFileEmpty ? 77 : names.ulCount, names.names};
    }
};

TEST_F(IniLookupModel, RandomDocuments)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const Lines kinds = {kHole,      "[a]\n",     "[b] ;c\n", "k=1\n",  "k= ;c\n", "j=2 ;d\n",
                         " [A]\r\n", "K = \t3\n", "k=\n",     "; k=\n", "\n",      "[b]\n",
                         "bad\n",    "",          "[]\n",     "=1\n",   "[b] x\n", "  "};
    for (int i = 0; i < 2000 && !HasFailure(); ++i) {
        const Lines lines = RandomLines(random, kinds, 12);
        Compare(Loaded(lines, static_cast<QAL_UINT32>(lines.size()) + 2),
                random.UpTo(1) == 0 ? "a" : "B", random.UpTo(2) == 0 ? "J" : "k");
    }
}

} // namespace
} // namespace wyx::test
