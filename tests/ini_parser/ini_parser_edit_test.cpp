// Setting and deleting, and the line store below them.
#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ini_support.h"
#include "models.h"

namespace wyx::test {
namespace {

constexpr std::nullopt_t kNull = std::nullopt; // a null argument

/// A document with these lines, marked as edited.
Snapshot Edited(Lines lines, QAL_UINT32 ulIniFileNum, QAL_UINT32 ulCapacity = 200)
{
    Snapshot snapshot = Loaded(std::move(lines), ulCapacity);
    snapshot.ulLabel = 1;
    snapshot.ulIniFileNum = ulIniFileNum;
    return snapshot;
}

std::string Text(std::size_t size, char c = 'x')
{
    return std::string(size, c);
}

using RealEdit = std::function<QAL_UINT32(XELP_IN_S_INI_FILE_STRUCT *)>;
using ModelEdit = std::function<QAL_UINT32(Snapshot &, model::Heap &)>;

class EditTest : public PlatformTest {
  protected:
    /// Makes the same edit in a document and in its model, with no allocation failing, and then
    /// with each failing in turn, alone and together with all later ones.
    void Compare(const Snapshot &before, const RealEdit &edit, const ModelEdit &modelEdit)
    {
        for (const Failure failure : {Failure::kOnce, Failure::kFromThere}) {
            for (QAL_UINT32 ulFailAt = 0;; ++ulFailAt) {
                SCOPED_TRACE("allocation " + std::to_string(ulFailAt) + " fails");
                Document doc(before);
                if (ulFailAt != 0) {
                    platform.Fail(Service::kAllocate, ulFailAt, failure);
                }
                Snapshot expected = before;
                model::Heap heap(ulFailAt, failure);
                const QAL_UINT32 ulExpected = modelEdit(expected, heap);
                EXPECT_EQ(edit(&doc), ulExpected);
                EXPECT_EQ(platform.MemoryTrace(), heap.Trace());
                EXPECT_EQ(Look(doc), expected);
                ExpectSites();
                if (HasFailure()) {
                    return;
                }
                if (ulFailAt != 0 && !platform.HasFailed()) {
                    break;
                }
            }
        }
    }
};

class IniSaveStringToIniStruct : public EditTest {};

TEST_F(IniSaveStringToIniStruct, StoresACopyAndMarksTheDocument)
{
    Document doc({"[a]\n", kHole, "k=1\n"});
    EXPECT_EQ(::IniSaveStringToIniStruct(&doc, 1, "text\xFF"), kOk);
    EXPECT_EQ(FullTrace(), "D 6");
    ExpectSites();
    EXPECT_EQ(Look(doc), Edited({"[a]\n", "text\xFF", "k=1\n"}, 3));

    EXPECT_EQ(::IniSaveStringToIniStruct(&doc, 3, "after the last\n"), kOk);
    Snapshot expected = Edited({"[a]\n", "text\xFF", "k=1\n"}, 3);
    expected.slots[3] = "after the last\n";
    EXPECT_EQ(Look(doc), expected); // the caller has to raise the count
}

TEST_F(IniSaveStringToIniStruct, StoresAnyLength)
{
    Document doc({"[a]\n", kHole});
    const std::string text = Text(5000);
    EXPECT_EQ(::IniSaveStringToIniStruct(&doc, 1, text.c_str()), kOk);
    EXPECT_EQ(Look(doc), Edited({"[a]\n", text}, 2));
}

TEST_F(IniSaveStringToIniStruct, NullOrEmptyIs130AndChangesNothing)
{
    Document doc({"[a]\n", kHole});
    for (const char *pszLine : {static_cast<const char *>(nullptr), ""}) {
        EXPECT_EQ(::IniSaveStringToIniStruct(&doc, 0, pszLine), kFileEmpty);
        EXPECT_EQ(::IniSaveStringToIniStruct(&doc, 1, pszLine), kFileEmpty);
    }
    EXPECT_EQ(Look(doc), Loaded({"[a]\n", kHole}));
    EXPECT_EQ(FullTrace(), "");
}

TEST_F(IniSaveStringToIniStruct, DoesNotReleaseWhatTheSlotHeld)
{
    Document doc({"old\n"});
    QAL_INT8 *pszOld = doc.pStrLine[0];
    EXPECT_EQ(::IniSaveStringToIniStruct(&doc, 0, pszOld + 1), kOk); // part of the old line
    EXPECT_EQ(FullTrace(), "D 4");
    EXPECT_EQ(Look(doc), Edited({"ld\n"}, 1));
    EXPECT_EQ(TakeText(pszOld), "old\n");

    pszOld = doc.pStrLine[0];
    doc.ulLabel = 0;
    platform.StartRecording();
    platform.Fail(Service::kAllocate, 1);
    EXPECT_EQ(::IniSaveStringToIniStruct(&doc, 0, "new\n"), kInternal);
    EXPECT_EQ(FullTrace(), "D 5");
    EXPECT_EQ(Look(doc), Loaded({kHole})); // without memory the slot loses its line, too
    EXPECT_EQ(TakeText(pszOld), "ld\n");
}

class IniSaveSectionToIniStruct : public EditTest {
  protected:
    struct BuildCase {
        MaybeText name;
        MaybeText comment;
        QAL_UINT32 ulStatus;
        Line line;
    };

    static void Check(const BuildCase &c)
    {
        SCOPED_TRACE(Shown(c.name.value_or("null")) + Shown(c.comment.value_or("null")));
        Document doc({"k=1\n", kHole});
        EXPECT_EQ(::IniSaveSectionToIniStruct(&doc, 1, Arg(c.name), Arg(c.comment)), c.ulStatus);
        EXPECT_EQ(FullTrace(), c.line ? "D " + std::to_string(c.line->size() + 1) : "");
        EXPECT_EQ(Look(doc), c.line ? Edited({"k=1\n", c.line}, 2) : Loaded({"k=1\n", kHole}));
        ExpectSites();
    }
};

TEST_F(IniSaveSectionToIniStruct, BuildsALine)
{
    const BuildCase cases[] = {
        {"Net", kNull, kOk, "[Net]\n"},
        {"Net", "main", kOk, "[Net] ;main\n"},
        {"Net", "", kOk, "[Net] ;\n"}, // an empty comment is written
        {"", kNull, kOk, "[]\n"},
        {"", "", kOk, "[] ;\n"},
        {" ]\n%s\xFF", "%n;\n", kOk, "[ ]\n%s\xFF] ;%n;\n\n"}, // written as given
        {kNull, kNull, kInputPara, kHole},
        {kNull, "c", kInputPara, kHole},
    };
    for (const auto &c : cases) {
        Check(c);
    }
}

TEST_F(IniSaveSectionToIniStruct, AtTheLimit)
{
    // 507 bytes together fit, but only 506 if there is a comment.
    const BuildCase cases[] = {
        {Text(507), kNull, kOk, "[" + Text(507) + "]\n"},
        {Text(508), kNull, kInputPara, kHole},
        {Text(500), Text(6, 'c'), kOk, "[" + Text(500) + "] ;" + Text(6, 'c') + "\n"},
        {Text(506), "", kOk, "[" + Text(506) + "] ;\n"},
        {Text(500), Text(7), kFileEmpty, kHole},
        {Text(507), "", kFileEmpty, kHole},
        {Text(500), Text(8), kInputPara, kHole},
        {"", Text(507), kFileEmpty, kHole},
        {kNull, Text(508), kInputPara, kHole},
        {Text(70000), Text(70000), kInputPara, kHole},
    };
    for (const auto &c : cases) {
        Check(c);
    }
}

TEST_F(IniSaveSectionToIniStruct, RefusedLineLeavesTheSlot)
{
    Document doc({"k=1\n"});
    EXPECT_EQ(::IniSaveSectionToIniStruct(&doc, 0, nullptr, nullptr), kInputPara);
    EXPECT_EQ(::IniSaveSectionToIniStruct(&doc, 0, Arg(Text(508)), nullptr), kInputPara);
    EXPECT_EQ(::IniSaveSectionToIniStruct(&doc, 0, Arg(Text(507)), Arg("")), kFileEmpty);
    EXPECT_EQ(Look(doc), Loaded({"k=1\n"}));
}

TEST_F(IniSaveSectionToIniStruct, FailedAllocationIs80)
{
    Document doc(Lines{kHole});
    platform.Fail(Service::kAllocate, 1);
    EXPECT_EQ(::IniSaveSectionToIniStruct(&doc, 0, Arg("a"), nullptr), kInternal);
    EXPECT_EQ(Look(doc), Loaded({kHole}));
}

class IniSaveKeyToIniStruct : public EditTest {
  protected:
    struct BuildCase {
        MaybeText name;
        MaybeText value;
        MaybeText comment;
        QAL_UINT32 ulStatus;
        Line line;
    };

    static void Check(const BuildCase &c)
    {
        SCOPED_TRACE(Shown(c.name.value_or("null")) + Shown(c.value.value_or("null")) +
                     Shown(c.comment.value_or("null")));
        Document doc({"[a]\n", kHole});
        EXPECT_EQ(::IniSaveKeyToIniStruct(&doc, 1, Arg(c.name), Arg(c.value), Arg(c.comment)),
                  c.ulStatus);
        EXPECT_EQ(FullTrace(), c.line ? "D " + std::to_string(c.line->size() + 1) : "");
        EXPECT_EQ(Look(doc), c.line ? Edited({"[a]\n", c.line}, 2) : Loaded({"[a]\n", kHole}));
        ExpectSites();
    }
};

TEST_F(IniSaveKeyToIniStruct, BuildsALine)
{
    const BuildCase cases[] = {
        {"k", "v", "c", kOk, "k=v ;c\n"},
        {"k", "v", kNull, kOk, "k=v\n"},
        {"k", kNull, "c", kOk, "k= ;c\n"},
        {"k", kNull, kNull, kOk, "k=\n"},
        // An empty comment is not the same as none, but an empty value is.
        {"k", "", "", kOk, "k= ;\n"},
        {"k", "", kNull, kOk, "k=\n"},
        {"k", kNull, "", kOk, "k= ;\n"},
        {"", "", kNull, kOk, "=\n"},
        {"", kNull, kNull, kOk, "=\n"},
        {"a=b;[\n", "%s ;\"\n\xFF", kNull, kOk, "a=b;[\n=%s ;\"\n\xFF\n"}, // written as given
        {kNull, kNull, kNull, kInputPara, kHole},
        {kNull, "v", kNull, kInputPara, kHole},
        {kNull, kNull, "c", kInputPara, kHole},
        {kNull, "v", "c", kInputPara, kHole},
    };
    for (const auto &c : cases) {
        Check(c);
    }
}

TEST_F(IniSaveKeyToIniStruct, AtTheLimit)
{
    // 508 bytes together fit, but only 507 if there is a comment.
    const BuildCase cases[] = {
        {Text(508), kNull, kNull, kOk, Text(508) + "=\n"},
        {Text(8), Text(500, 'v'), kNull, kOk, Text(8) + "=" + Text(500, 'v') + "\n"},
        {Text(509), kNull, kNull, kInputPara, kHole},
        {Text(9), Text(500), kNull, kInputPara, kHole},
        {"k", Text(500, 'v'), Text(6, 'c'), kOk,
         "k=" + Text(500, 'v') + " ;" + Text(6, 'c') + "\n"},
        {"k", Text(506, 'v'), "", kOk, "k=" + Text(506, 'v') + " ;\n"},
        {"k", kNull, Text(506, 'c'), kOk, "k= ;" + Text(506, 'c') + "\n"},
        {"k", Text(500), Text(7), kFileEmpty, kHole},
        {"k", Text(507), "", kFileEmpty, kHole},
        {"k", kNull, Text(507), kFileEmpty, kHole},
        {"k", Text(500), Text(8), kInputPara, kHole},
        {"k", kNull, Text(508), kInputPara, kHole},
        {kNull, Text(509), kNull, kInputPara, kHole},
    };
    for (const auto &c : cases) {
        Check(c);
    }
}

TEST_F(IniSaveKeyToIniStruct, RefusedLineLeavesTheSlot)
{
    Document doc({"k=1\n"});
    EXPECT_EQ(::IniSaveKeyToIniStruct(&doc, 0, nullptr, Arg("v"), nullptr), kInputPara);
    EXPECT_EQ(::IniSaveKeyToIniStruct(&doc, 0, Arg("k"), Arg(Text(508)), nullptr), kInputPara);
    EXPECT_EQ(::IniSaveKeyToIniStruct(&doc, 0, Arg("k"), Arg(Text(507)), Arg("")), kFileEmpty);
    EXPECT_EQ(Look(doc), Loaded({"k=1\n"}));
}

TEST_F(IniSaveKeyToIniStruct, FailedAllocationIs80)
{
    Document doc(Lines{kHole});
    platform.Fail(Service::kAllocate, 1);
    EXPECT_EQ(::IniSaveKeyToIniStruct(&doc, 0, Arg("k"), nullptr, nullptr), kInternal);
    EXPECT_EQ(Look(doc), Loaded({kHole}));
}

constexpr QAL_UINT32 kBeforeTheFirst = 0xFFFFFFFF;

class IniInsertKeyInIniStruct : public EditTest {};

TEST_F(IniInsertKeyInIniStruct, InsertsAfterASlot)
{
    struct {
        const char *pszName;
        Lines before;
        QAL_UINT32 ulAfter;
        Lines after;
    } const cases[] = {
        {"at the end", {"0", "1"}, 1, {"0", "1", "k=v\n"}},
        {"in the middle", {"0", "1", "2"}, 0, {"0", "k=v\n", "1", "2"}},
        {"before the last", {"0", "1", "2"}, 1, {"0", "1", "k=v\n", "2"}},
        {"in a hole", {"0", kHole, "2"}, 0, {"0", "k=v\n", "2"}},
        {"in a hole at the end", {"0", kHole}, 0, {"0", "k=v\n"}},
        {"after a hole at the end", {"0", kHole}, 1, {"0", kHole, "k=v\n"}},
        {"after a hole", {"0", kHole, "2"}, 1, {"0", kHole, "k=v\n", "2"}},
        {"holes further down move", {"0", "1", kHole, "3"}, 0, {"0", "k=v\n", "1", kHole, "3"}},
        {"in a document without lines", {}, kBeforeTheFirst, {"k=v\n"}},
        {"before the first", {"0", "1"}, kBeforeTheFirst, {"k=v\n", "0", "1"}},
        {"in a hole at the start", {kHole, "1"}, kBeforeTheFirst, {"k=v\n", "1"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.pszName);
        const auto ulPhysical = static_cast<QAL_UINT32>(c.before.size());
        {
            Document doc(c.before);
            EXPECT_EQ(::IniInsertKeyInIniStruct(&doc, c.ulAfter, Arg("k"), Arg("v"), nullptr), kOk);
            EXPECT_EQ(Look(doc), Edited(c.after, ulPhysical));
            EXPECT_EQ(FullTrace(), "D 5");
        }
        // If the line cannot be built, its slot is still made, and stays empty.
        Lines after = c.after;
        std::replace(after.begin(), after.end(), Line("k=v\n"), Line());
        Snapshot expected = Loaded(after);
        expected.ulIniFileNum = ulPhysical;
        Document doc(c.before);
        EXPECT_EQ(::IniInsertKeyInIniStruct(&doc, c.ulAfter, nullptr, nullptr, nullptr),
                  kInputPara);
        EXPECT_EQ(Look(doc), expected);
        EXPECT_EQ(FullTrace(), "");
    }
}

TEST_F(IniInsertKeyInIniStruct, LineAfterTheCountIsLostWhenItsSlotIsTaken)
{
    Document doc({"[a]\n"});
    // A caller who stores a line there must keep a pointer to it, or raise the count.
    ASSERT_EQ(::IniSaveStringToIniStruct(&doc, 1, "x=1\n"), kOk);
    QAL_INT8 *const pszLine = doc.pStrLine[1];
    EXPECT_EQ(::IniInsertKeyInIniStruct(&doc, 0, nullptr, nullptr, nullptr), kInputPara);
    EXPECT_EQ(Look(doc), Edited({"[a]\n", kHole}, 1));
    XELP_MemFreeD(pszLine, __LINE__, __FILE__);
}

TEST_F(IniInsertKeyInIniStruct, WritesEveryPart)
{
    Document doc({"[a]\n"});
    EXPECT_EQ(::IniInsertKeyInIniStruct(&doc, 0, Arg("k"), Arg("v"), Arg("c")), kOk);
    EXPECT_EQ(::IniInsertKeyInIniStruct(&doc, 1, Arg("l"), nullptr, Arg("d")), kOk);
    EXPECT_EQ(::IniInsertKeyInIniStruct(&doc, 2, Arg(Text(8)), Arg(Text(500)), Arg("")),
              kFileEmpty);
    EXPECT_EQ(Look(doc), Edited({"[a]\n", "k=v ;c\n", "l= ;d\n", kHole}, 1));
}

TEST_F(IniInsertKeyInIniStruct, GrowsBeforeTheLastSlotIsTaken)
{
    for (const QAL_UINT32 ulCapacity : {3U, 4U, 5U}) {
        SCOPED_TRACE(ulCapacity);
        const Snapshot before = Loaded({"0", "1", "2"}, ulCapacity);
        for (const QAL_UINT32 ulAfter : {kBeforeTheFirst, 0U, 2U}) {
            Compare(
                before,
                [&](auto *pDoc) {
                    return ::IniInsertKeyInIniStruct(pDoc, ulAfter, Arg("k"), Arg("v"), Arg("c"));
                },
                [&](auto &doc, auto &heap) {
                    return model::InsertKey(doc, ulAfter, "k", "v", "c", heap);
                });
        }
    }
    Document doc({"0", "1", "2"}, 4);
    EXPECT_EQ(::IniInsertKeyInIniStruct(&doc, 2, Arg("k"), nullptr, nullptr), kOk);
    EXPECT_EQ(FullTrace(), "D 432, free, D 4");
    EXPECT_EQ(Look(doc), Edited({"0", "1", "2", "k=\n"}, 3, 54));
}

TEST_F(IniInsertKeyInIniStruct, FailedGrowthIs80AndChangesNothing)
{
    Document doc({"0", "1"}, 3);
    platform.Fail(Service::kAllocate, 1);
    EXPECT_EQ(::IniInsertKeyInIniStruct(&doc, 0, Arg("k"), nullptr, nullptr), kInternal);
    EXPECT_EQ(Look(doc), Loaded({"0", "1"}, 3));
}

class IniInsertSectionToIniStruct : public EditTest {};

TEST_F(IniInsertSectionToIniStruct, AppendsAtTheEnd)
{
    Document doc({"k=1\n", kHole});
    EXPECT_EQ(::IniInsertSectionToIniStruct(&doc, Arg("Net")), kOk);
    EXPECT_EQ(FullTrace(), "D 7");
    EXPECT_EQ(Look(doc), Edited({"k=1\n", kHole, "[Net]\n"}, 2)); // the hole is not used
    EXPECT_EQ(::IniInsertSectionToIniStruct(&doc, Arg("")), kOk);
    EXPECT_EQ(Look(doc), Edited({"k=1\n", kHole, "[Net]\n", "[]\n"}, 2));

    Document empty(Lines{});
    EXPECT_EQ(::IniInsertSectionToIniStruct(&empty, Arg(Text(507))), kOk);
    EXPECT_EQ(Look(empty), Edited({"[" + Text(507) + "]\n"}, 0));
}

TEST_F(IniInsertSectionToIniStruct, RefusedNameIs170AndChangesNothing)
{
    Document doc({"k=1\n"});
    EXPECT_EQ(::IniInsertSectionToIniStruct(&doc, nullptr), kInputPara);
    EXPECT_EQ(::IniInsertSectionToIniStruct(&doc, Arg(Text(508))), kInputPara);
    EXPECT_EQ(Look(doc), Loaded({"k=1\n"}));
    EXPECT_EQ(FullTrace(), "");
}

TEST_F(IniInsertSectionToIniStruct, GrowsFirst)
{
    for (const QAL_UINT32 ulCapacity : {2U, 3U, 4U}) {
        SCOPED_TRACE(ulCapacity);
        for (const std::size_t size : {1U, 508U}) { // the array grows even if the name is refused
            Compare(
                Loaded({"0", "1"}, ulCapacity),
                [&](auto *pDoc) { return ::IniInsertSectionToIniStruct(pDoc, Arg(Text(size))); },
                [&](auto &doc, auto &heap) { return model::InsertSection(doc, Text(size), heap); });
        }
    }
}

// 2^32 - 1 is the highest count of lines. One more wraps to 0, which must not look like free room.
TEST_F(IniInsertSectionToIniStruct, FullCountGrows)
{
    Document doc({"0"}, 1);
    doc.ulLineNum = doc.ulTotalLine = 0xFFFFFFFF;
    EXPECT_EQ(::IniInsertSectionToIniStruct(&doc, Arg("a")), kInternal);
    EXPECT_EQ(FullTrace(), "D 392, free");
    doc.ulLineNum = doc.ulTotalLine = 1;
    EXPECT_EQ(Look(doc), Loaded({"0"}, 1));
}

TEST_F(IniInsertSectionToIniStruct, EveryAllocationFailing)
{
    Document doc({"0", "1"}, 3);
    platform.Fail(Service::kAllocate, 1);
    EXPECT_EQ(::IniInsertSectionToIniStruct(&doc, Arg("a")), kInternal);
    EXPECT_EQ(Look(doc), Loaded({"0", "1"}, 3));
    platform.Fail(Service::kAllocate, 2);
    EXPECT_EQ(::IniInsertSectionToIniStruct(&doc, Arg("a")), kInternal);
    EXPECT_EQ(Look(doc), Loaded({"0", "1"}, 53)); // only the array has grown
}

class IniSetKeyValue : public EditTest {};

TEST_F(IniSetKeyValue, NullArgumentIs170AndChangesNothing)
{
    Document doc({"[a]\n", "k=1\n"});
    Document noArray;
    noArray.ulLineNum = 1;
    EXPECT_EQ(XELP_IniSetKeyValue(nullptr, Arg("a"), Arg("k"), Arg("v")), kInputPara);
    EXPECT_EQ(XELP_IniSetKeyValue(&noArray, Arg("a"), Arg("k"), Arg("v")), kInputPara);
    EXPECT_EQ(XELP_IniSetKeyValue(&doc, nullptr, Arg("k"), Arg("v")), kInputPara);
    EXPECT_EQ(XELP_IniSetKeyValue(&doc, nullptr, nullptr, nullptr), kInputPara);
    EXPECT_EQ(Look(doc), Loaded({"[a]\n", "k=1\n"}));
    EXPECT_EQ(FullTrace(), "");
}

struct SetCase {
    const char *pszName;
    Lines before;
    MaybeText key;
    MaybeText value;
    QAL_UINT32 ulStatus;
    Lines after; // if equal to `before`, the document is not marked as edited
    std::string section = "a";
};

class IniSetKeyValueTable : public EditTest, public ::testing::WithParamInterface<SetCase> {};

TEST_P(IniSetKeyValueTable, StatusAndLines)
{
    const SetCase &c = GetParam();
    const auto ulPhysical = static_cast<QAL_UINT32>(c.before.size());
    const Snapshot before = Loaded(c.before);
    {
        Document doc(before);
        EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg(c.section), Arg(c.key), Arg(c.value)), c.ulStatus);
        EXPECT_EQ(Look(doc), c.after == c.before ? before : Edited(c.after, ulPhysical));
    }
    Compare(
        before,
        [&](auto *pDoc) {
            return XELP_IniSetKeyValue(pDoc, Arg(c.section), Arg(c.key), Arg(c.value));
        },
        [&](auto &doc, auto &heap) {
            return model::SetValue(doc, c.section, c.key, c.value, heap);
        });
}

const SetCase kSets[] = {
    // New sections.
    {"NoLines", {}, "k", "v", kOk, {"[a]\n", "k=v\n"}},
    {"NewSection", {"[b]\r\n", "k=1\r\n"}, "k", "v", kOk, {"[b]\r\n", "k=1\r\n", "[a]\n", "k=v\n"}},
    {"NewSectionAfterHole", {"[b]\n", kHole}, "k", "v", kOk, {"[b]\n", kHole, "[a]\n", "k=v\n"}},
    {"NewSectionWithoutKey", {"k=1\n"}, kNull, "v", kOk, {"k=1\n", "[a]\n"}},
    {"NewSectionAsGiven", {}, "k", kNull, kOk, {"[ b] ;\n]\n", "k=\n"}, " b] ;\n"},
    {"NewSectionWithEmptyName", {}, "k", "v", kOk, {"[]\n", "k=v\n"}, ""},
    {"SectionWithEmptyNameExists", {"[]\n", "k=v\n"}, "k", "w", kSection, {"[]\n", "k=v\n"}, ""},
    {"LongestSection", {}, kNull, kNull, kOk, {"[" + Text(507) + "]\n"}, Text(507)},
    {"TooLongSectionWithoutKey", {"[z]\n"}, kNull, kNull, kInputPara, {"[z]\n"}, Text(508)},
    // New keys go after the last line of the section's last block.
    {"NewKeyInEmptyBlock", {"[a]\n"}, "k", "v", kOk, {"[a]\n", "k=v\n"}},
    {"NewKeyBeforeTheNextSection",
     {"[a]\n", "x=1\n", "; end of a\n", "\n", "[b]\n", "y=2\n"},
     "y",
     "v",
     kOk,
     {"[a]\n", "x=1\n", "; end of a\n", "\n", "y=v\n", "[b]\n", "y=2\n"}},
    {"NewKeyInTheLastBlock",
     {"[a]\n", "k=1\n", "[a]\n", "[b]\n"},
     "k",
     "v",
     kOk,
     {"[a]\n", "k=1\n", "[a]\n", "k=v\n", "[b]\n"}},
    {"NewKeyAfterTrailingHole",
     {"[a]\n", "x=1\n", kHole, "[b]\n"},
     "k",
     "v",
     kOk,
     {"[a]\n", "x=1\n", kHole, "k=v\n", "[b]\n"}},
    {"NewKeyAfterHoleAtTheEnd", {"[a]\n", kHole}, "k", "v", kOk, {"[a]\n", kHole, "k=v\n"}},
    {"NewKeyAsGiven", {"[a]\n"}, "k=[;\n", " v ;\n", kOk, {"[a]\n", "k=[;\n= v ;\n\n"}},
    {"NewKeyWithEmptyName", {"[a]\n"}, "", "v", kOk, {"[a]\n", "=v\n"}},
    {"NewKeyWithoutValue", {"[a]\n"}, "k", kNull, kOk, {"[a]\n", "k=\n"}},
    {"NewKeyWithEmptyValue", {"[a]\n"}, "k", "", kOk, {"[a]\n", "k=\n"}},
    {"NewKeyIsPrefixOfAnother", {"[a]\n", "kk=1\n"}, "k", "v", kOk, {"[a]\n", "kk=1\n", "k=v\n"}},
    // An existing key keeps its spelling and comment, and its line becomes canonical.
    {"Replaced", {"[a]\r\n", "k=1\r\n", "l=2\r\n"}, "k", "v", kOk, {"[a]\r\n", "k=v\n", "l=2\r\n"}},
    {"ReplacedInItsSpelling", {"[A]\n", " \tKey = 1\r\n"}, "kEY", "v", kOk, {"[A]\n", "Key=v\n"}},
    {"ReplacedWithComment",
     {"[a]\n", "  K y\t= 1   ; c d\t\r\n"},
     "k Y",
     "v",
     kOk,
     {"[a]\n", "K y=v ;c d\n"}},
    {"ReplacedWithEmptyComment", {"[a]\n", "k=1 ;\n"}, "k", "v", kOk, {"[a]\n", "k=v ;\n"}},
    {"ValueRemoved", {"[a]\n", "k=1\n"}, "k", kNull, kOk, {"[a]\n", "k=\n"}},
    {"ValueRemovedBeforeComment", {"[a]\n", "k=1 ;c\n"}, "k", kNull, kOk, {"[a]\n", "k= ;c\n"}},
    {"ValueAddedBeforeComment", {"[a]\n", "k= ;c\n"}, "k", "v", kOk, {"[a]\n", "k=v ;c\n"}},
    {"ValueOfTheSameLength",
     {"[a]\n", "k=v ;c\n", "; d\n"},
     "k",
     "w",
     kOk,
     {"[a]\n", "k=w ;c\n", "; d\n"}},
    {"LowestLineReplaced",
     {"[a]\n", "k=1\n", "k=2\n", "l=3\n"},
     "k",
     "v",
     kOk,
     {"[a]\n", "k=1\n", "k=v\n", "l=3\n"}},
    {"LastBlockReplaced",
     {"[a]\n", "k=1\n", "[a]\n", "k=2\n", "[b]\n", "k=3\n"},
     "k",
     "v",
     kOk,
     {"[a]\n", "k=1\n", "[a]\n", "k=v\n", "[b]\n", "k=3\n"}},
    // Refused.
    {"NullKeyInExistingSection", {"[a]\n", "k=1\n"}, kNull, "v", kInputPara, {"[a]\n", "k=1\n"}},
    {"UnknownLineBelow",
     {"[a]\n", "k=1\n", "x\n"},
     "k",
     "v",
     kLineUnknown,
     {"[a]\n", "k=1\n", "x\n"}},
    {"UnknownLineAbove", {"x\n", "[a]\n", "k=1\n"}, "k", "v", kOk, {"x\n", "[a]\n", "k=v\n"}},
    {"UnknownLineAndNoSection", {"x\n"}, "k", "v", kLineUnknown, {"x\n"}},
    {"EmptyText", {"[a]\n", "k=1\n", ""}, "k", "v", kInputPara, {"[a]\n", "k=1\n", ""}},
    {"BadHeaderBelow", {"[a]\n", "k=1\n", "[]\n"}, "k", "v", kSection, {"[a]\n", "k=1\n", "[]\n"}},
    {"BadHeaderComment", {"[a]\n", "[b]x\n"}, "k", "v", kLineUnknown, {"[a]\n", "[b]x\n"}},
    {"BadKeyBelow", {"[a]\n", "k=1\n", "=2\n"}, "k", "v", kKeyName, {"[a]\n", "k=1\n", "=2\n"}},
    {"BadKeyAbove", {"[a]\n", "=2\n", "k=1\n"}, "k", "v", kOk, {"[a]\n", "=2\n", "k=v\n"}},
    {"NullKeyBeforeBadKey", {"[a]\n", "=2\n"}, kNull, "v", kInputPara, {"[a]\n", "=2\n"}},
};

INSTANTIATE_TEST_SUITE_P(Table, IniSetKeyValueTable, ::testing::ValuesIn(kSets), CaseName());

TEST_F(IniSetKeyValue, NewLineTooLongLeavesAHole)
{
    struct {
        std::size_t size;
        QAL_UINT32 ulStatus;
    } const cases[] = {{507, kOk}, {508, kInputPara}, {600, kInputPara}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.size);
        Document doc({"[a]\n", "[b]\n"});
        const std::string value = Text(c.size);
        EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg("a"), Arg("k"), Arg(value)), c.ulStatus);
        Snapshot expected = Edited({"[a]\n", "k=" + value + "\n", "[b]\n"}, 2);
        if (c.ulStatus != kOk) {
            expected.slots[1].reset();
            expected.ulLabel = 0; // nothing was stored
        }
        EXPECT_EQ(Look(doc), expected);
    }
}

TEST_F(IniSetKeyValue, ReplacedLineTooLongLosesTheOldOne)
{
    struct {
        const char *pszOld;
        std::size_t size;
        QAL_UINT32 ulStatus;
        const char *pszEnd;
    } const cases[] = {
        {"k=1\n", 507, kOk, "\n"},      // 508 bytes with the key
        {"k=1\n", 508, kInputPara, ""}, // 509 bytes
        {"k=1 ;c\n", 505, kOk, " ;c\n"},
        {"k=1 ;c\n", 506, kFileEmpty, ""}, // 508 bytes with key and comment
        {"k=1 ;c\n", 507, kInputPara, ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.size);
        Document doc({"[a]\n", c.pszOld, "[b]\n"});
        const std::string value = Text(c.size);
        EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg("a"), Arg("K"), Arg(value)), c.ulStatus);
        Snapshot expected = Edited({"[a]\n", "k=" + value + c.pszEnd, "[b]\n"}, 3);
        if (c.ulStatus != kOk) {
            expected.slots[1].reset();
            expected.ulLabel = 0;
        }
        EXPECT_EQ(Look(doc), expected);
        Compare(
            Loaded({"[a]\n", c.pszOld, "[b]\n"}),
            [&](auto *pDoc) { return XELP_IniSetKeyValue(pDoc, Arg("a"), Arg("k"), Arg(value)); },
            [&](auto &m, auto &heap) { return model::SetValue(m, "a", "k", value, heap); });
    }
}

TEST_F(IniSetKeyValue, FailedReplacementLosesTheOldLine)
{
    Document doc({"[a]\n", "k=1 ;c\n"});
    platform.Fail(Service::kAllocate, 5); // the first four are for a, k, 1 and c
    EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg("a"), Arg("k"), Arg("v")), kInternal);
    EXPECT_EQ(FullTrace(), "D 2, free, D 2, D 2, D 2, free, D 8, free, free, free");
    EXPECT_EQ(Look(doc), Loaded({"[a]\n", kHole}));
    // k's line is now a hole, so the key is new.
    EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg("a"), Arg("k"), Arg("v")), kOk);
    EXPECT_EQ(Look(doc), Edited({"[a]\n", kHole, "k=v\n"}, 2));
}

TEST_F(IniSetKeyValue, RefusedHeaderStillAddsKey)
{
    const std::string tooLong = Text(508, 's');
    Document doc({"[z]\n", "x=1\n"});
    EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg(tooLong), Arg("k"), Arg("v")), kOk);
    EXPECT_EQ(Look(doc), Edited({"[z]\n", "x=1\n", "k=v\n"}, 2));
    EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg(tooLong), Arg("k"), Arg(Text(508))), kInputPara);
    EXPECT_EQ(Look(doc), Edited({"[z]\n", "x=1\n", "k=v\n", kHole}, 2));

    Document noMemory({"[z]\n"});
    platform.Fail(Service::kAllocate, 2); // the first is for z
    EXPECT_EQ(XELP_IniSetKeyValue(&noMemory, Arg("a"), Arg("k"), Arg("v")), kOk);
    EXPECT_EQ(FullTrace(), "D 2, free, D 5, D 5");
    EXPECT_EQ(Look(noMemory), Edited({"[z]\n", "k=v\n"}, 1));
}

TEST_F(IniSetKeyValue, RefusedHeaderStillAddsKeyToADocumentWithoutLines)
{
    Document doc(Lines{});
    EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg(Text(508)), Arg("k"), Arg("v")), kOk);
    EXPECT_EQ(Look(doc), Edited({"k=v\n"}, 0));

    Document noMemory(Lines{});
    platform.Fail(Service::kAllocate, 1);
    EXPECT_EQ(XELP_IniSetKeyValue(&noMemory, Arg("a"), Arg("k"), Arg("v")), kOk);
    EXPECT_EQ(Look(noMemory), Edited({"k=v\n"}, 0));
}

TEST_F(IniSetKeyValue, GrowsForHeaderAndKey)
{
    for (QAL_UINT32 ulCapacity = 2; ulCapacity <= 6; ++ulCapacity) {
        SCOPED_TRACE(ulCapacity);
        for (const char *pszSection : {"a", "b", "c"}) {
            SCOPED_TRACE(pszSection);
            Compare(
                Loaded({"[a]\n", "[b]\n"}, ulCapacity),
                [&](auto *pDoc) {
                    return XELP_IniSetKeyValue(pDoc, Arg(pszSection), Arg("k"), Arg("v"));
                },
                [&](auto &doc, auto &heap) {
                    return model::SetValue(doc, pszSection, "k", "v", heap);
                });
        }
    }
}

TEST_F(IniSetKeyValue, ManyKeysInOneSection)
{
    Document doc(Lines{});
    Lines lines = {"[a]\n"};
    for (int i = 0; i < 300; ++i) {
        const std::string key = std::to_string(i);
        ASSERT_EQ(XELP_IniSetKeyValue(&doc, Arg("a"), Arg(key), Arg("v")), kOk);
        lines.push_back(key + "=v\n");
    }
    EXPECT_EQ(Look(doc), Edited(lines, 0, 350));
}

TEST_F(IniSetKeyValue, ArgumentsMayPointIntoTheReplacedLine)
{
    const auto set = [&](const char *pszLine, std::ptrdiff_t section, std::ptrdiff_t key,
                         std::ptrdiff_t value) {
        Document doc({"[a]\n", pszLine});
        QAL_INT8 *const pszOld = doc.pStrLine[1];
        const auto arg = [&](std::ptrdiff_t at, const char *pszElse) {
            return at >= 0 ? pszOld + at : Arg(pszElse);
        };
        EXPECT_EQ(XELP_IniSetKeyValue(&doc, arg(section, "a"), arg(key, "k"), arg(value, "v")),
                  kOk);
        EXPECT_EQ(Look(doc).slots[0], "[a]\n");
        EXPECT_EQ(Look(doc).ulLineNum, 2U);
        return Look(doc).slots[1];
    };
    EXPECT_EQ(set("k=old ;c\n", -1, -1, 2), "k=old ;c\n ;c\n");
    EXPECT_EQ(set("k=old", -1, -1, 0), "k=k=old\n");
    EXPECT_EQ(set("k=k", -1, 2, -1), "k=v\n");
    EXPECT_EQ(set("k=a", 2, -1, -1), "k=v\n");
    EXPECT_EQ(set("a=a", 2, 2, 2), "a=a\n");
}

TEST_F(IniSetKeyValue, ArgumentsMayPointIntoLinesThatMove)
{
    Document doc({"[a]\n", "[b]\n", "x=a"}, 4); // the array grows, and the last lines move down
    QAL_INT8 *const pszLine = doc.pStrLine[2];
    EXPECT_EQ(XELP_IniSetKeyValue(&doc, pszLine + 2, pszLine, pszLine + 1), kOk);
    EXPECT_EQ(Look(doc), Edited({"[a]\n", "x=a==a\n", "[b]\n", "x=a"}, 3, 54));
}

struct DeleteCase {
    const char *pszName;
    Lines before;
    QAL_UINT32 ulStatus;
    Lines after;
};

/// Checks a deletion against a table, and against the model, also with failing allocations.
class DeleteTest : public EditTest {
  protected:
    void Check(const DeleteCase &c, const RealEdit &edit, const ModelEdit &modelEdit)
    {
        SCOPED_TRACE(c.pszName);
        Snapshot expected = Loaded(c.after);
        for (std::size_t i = 0; i < c.before.size(); ++i) {
            if (c.before[i] && !c.after[i]) {
                expected.ulLabel = 1;
                --expected.ulIniFileNum;
            }
        }
        {
            Document doc(c.before);
            EXPECT_EQ(edit(&doc), c.ulStatus);
            EXPECT_EQ(Look(doc), expected);
        }
        Compare(Loaded(c.before), edit, modelEdit);
    }
};

class IniDelSection : public DeleteTest {};

TEST_F(IniDelSection, NullArgumentIs170AndChangesNothing)
{
    Document doc({"[a]\n"});
    Document noLines(Lines{});
    Document noArray;
    noArray.ulLineNum = 1;
    EXPECT_EQ(XELP_IniDelSection(nullptr, "a"), kInputPara);
    EXPECT_EQ(XELP_IniDelSection(&noArray, "a"), kInputPara);
    EXPECT_EQ(XELP_IniDelSection(&doc, nullptr), kInputPara);
    EXPECT_EQ(XELP_IniDelSection(&noLines, nullptr), kInputPara);
    EXPECT_EQ(XELP_IniDelSection(&noLines, "a"), kFileEmpty);
    EXPECT_EQ(Look(doc), Loaded({"[a]\n"}));
    EXPECT_EQ(Look(noLines), Loaded({}));
    EXPECT_EQ(FullTrace(), "");
}

TEST_F(IniDelSection, EveryBlockIsDeletedWithAllItsLines)
{
    const DeleteCase cases[] = {
        {"all lines of a block",
         {"; top\n", "[b]\n", "k=1\n", "[A] ;x\n", "k=2\n", "; c\n", "\n", "  ", kHole, "=\n",
          "[c]\n"},
         kOk,
         {"; top\n", "[b]\n", "k=1\n", kHole, kHole, kHole, kHole, kHole, kHole, kHole, "[c]\n"}},
        {"every block",
         {"[a]\n", "k=1\n", "[b]\n", "k=2\n", "[a]\n", "[A]\n", "k=3\n"},
         kOk,
         {kHole, kHole, "[b]\n", "k=2\n", kHole, kHole, kHole}},
        {"a header alone", {"[a]\n"}, kOk, {kHole}},
        {"what is above stays", {"k=0\n", "[a]\n", "k=1\n"}, kOk, {"k=0\n", kHole, kHole}},
        {"a later block with a bad key", {"[a]\n", "[b]\n", "=\n"}, kOk, {kHole, "[b]\n", "=\n"}},
        {"not found", {"[b]\n", "a=1\n", ";[a]\n"}, kSectionNotFound, {"[b]\n", "a=1\n", ";[a]\n"}},
        {"holes alone", {kHole, kHole}, kSectionNotFound, {kHole, kHole}},
        // The section's lines before a bad line are gone.
        {"unknown line in the block",
         {"[a]\n", "k=1\n", "x\n", "l=2\n"},
         kLineUnknown,
         {kHole, kHole, "x\n", "l=2\n"}},
        {"empty text in the block", {"[a]\n", "k=1\n", ""}, kInputPara, {kHole, kHole, ""}},
        {"unknown line below", {"[a]\n", "[b]\n", "x\n"}, kLineUnknown, {kHole, "[b]\n", "x\n"}},
        {"empty text below", {"[a]\n", "[b]\n", ""}, kInputPara, {kHole, "[b]\n", ""}},
        {"bad header below", {"[a]\n", "k=1\n", "[]\n"}, kSection, {kHole, kHole, "[]\n"}},
        {"bad header comment", {"[a]\n", "[a]x\n"}, kLineUnknown, {kHole, "[a]x\n"}},
        {"unknown line above", {"x\n", "[a]\n"}, kLineUnknown, {"x\n", "[a]\n"}},
    };
    for (const DeleteCase &c : cases) {
        Check(
            c, [](auto *pDoc) { return XELP_IniDelSection(pDoc, "a"); },
            [](auto &doc, auto &heap) { return model::DeleteSection(doc, "a", heap); });
    }
}

TEST_F(IniDelSection, ReleaseSetsTheSlotsToNull)
{
    Document doc({"[a] ;c\n", "k=1\n"});
    const void *const lines[] = {doc.pStrLine[0], doc.pStrLine[1]};
    EXPECT_EQ(XELP_IniDelSection(&doc, "a"), kOk);
    ASSERT_EQ(platform.MemoryTrace(), "D 2, D 2, free, free, free, free");
    EXPECT_EQ(platform.Events()[4].pBlock, lines[0]);
    EXPECT_EQ(platform.Events()[5].pBlock, lines[1]);
    EXPECT_TRUE(platform.Events()[4].setsNull);
    EXPECT_TRUE(platform.Events()[5].setsNull);
}

TEST_F(IniDelSection, PhysicalLinesWrapBelowZero)
{
    Document doc(Lines{});
    EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg("a"), Arg("k"), Arg("v")), kOk);
    EXPECT_EQ(doc.ulIniFileNum, 0U);
    EXPECT_EQ(XELP_IniDelSection(&doc, "a"), kOk);
    EXPECT_EQ(Look(doc), Edited({kHole, kHole}, 0xFFFFFFFE));
}

TEST_F(IniDelSection, DocumentMayBeFull)
{
    Document doc({"[b]\n", "[a]\n"}, 2);
    EXPECT_EQ(XELP_IniDelSection(&doc, "a"), kOk);
    EXPECT_EQ(Look(doc).slots, (Lines{"[b]\n", kHole}));
}

TEST_F(IniDelSection, NameMayPointIntoDeletedLines)
{
    {
        Document doc({"[s]\n", "x=s", "[t]\n", "[s]\n", "k=1\n"});
        QAL_INT8 *const pszLine = doc.pStrLine[1];
        EXPECT_EQ(XELP_IniDelSection(&doc, pszLine + 2), kOk);
        std::vector<Event> released = platform.Events();
        EXPECT_EQ(Look(doc), Edited({kHole, kHole, "[t]\n", kHole, kHole}, 1));
        EXPECT_EQ(platform.MemoryTrace(), // the name is not copied: its line is released last
                  "D 2, free, free, D 2, free, D 2, free, free, free, free");
        std::erase_if(released, [](const Event &event) { return event.pBlock == nullptr; });
        ASSERT_FALSE(released.empty());
        EXPECT_EQ(released.back().pBlock, pszLine);
    }
    EXPECT_EQ(platform.LiveBlocks(), 0U);
    {
        Document doc({"[s] ;s", "k=1\n", "[s]\n"});
        EXPECT_EQ(XELP_IniDelSection(&doc, doc.pStrLine[0] + 5), kOk);
        EXPECT_EQ(Look(doc), Edited({kHole, kHole, kHole}, 0));
    }
    EXPECT_EQ(platform.LiveBlocks(), 0U);
    {
        Document doc({"[;s]\n", ";s", "[;s]\n"}); // the name is a whole line
        EXPECT_EQ(XELP_IniDelSection(&doc, doc.pStrLine[1]), kOk);
        EXPECT_EQ(Look(doc), Edited({kHole, kHole, kHole}, 0));
    }
    EXPECT_EQ(platform.LiveBlocks(), 0U);
    for (const auto &[pszBad, ulStatus] :
         {std::pair{"garbage\n", kLineUnknown}, {"", kInputPara}, {"[]\n", kSection}}) {
        Document doc({"[s] ;s", "k=1\n", pszBad});
        EXPECT_EQ(XELP_IniDelSection(&doc, doc.pStrLine[0] + 5), ulStatus);
        EXPECT_EQ(Look(doc), Edited({kHole, kHole, pszBad}, 1));
    }
    EXPECT_EQ(platform.LiveBlocks(), 0U); // released even if the deletion ends early
}

class IniDelKey : public DeleteTest {};

TEST_F(IniDelKey, NullArgumentIs170AndChangesNothing)
{
    Document doc({"[a]\n", "k=1\n"});
    Document noLines(Lines{});
    Document noArray;
    noArray.ulLineNum = 1;
    EXPECT_EQ(XELP_IniDelKey(nullptr, "a", "k"), kInputPara);
    EXPECT_EQ(XELP_IniDelKey(&noArray, "a", "k"), kInputPara);
    EXPECT_EQ(XELP_IniDelKey(&doc, nullptr, "k"), kInputPara);
    EXPECT_EQ(XELP_IniDelKey(&doc, "a", nullptr), kInputPara);
    EXPECT_EQ(XELP_IniDelKey(&noLines, nullptr, "k"), kInputPara);
    EXPECT_EQ(XELP_IniDelKey(&noLines, "a", nullptr), kInputPara);
    EXPECT_EQ(XELP_IniDelKey(&noLines, "a", "k"), kFileEmpty);
    EXPECT_EQ(Look(doc), Loaded({"[a]\n", "k=1\n"}));
    EXPECT_EQ(FullTrace(), "");
}

TEST_F(IniDelKey, EveryLineInEveryBlockIsDeleted)
{
    const DeleteCase cases[] = {
        {"one line",
         {"[a]\n", "j=1\n", " K = 2 ;c\n", "; k=\n", "\n", "l=3\n"},
         kOk,
         {"[a]\n", "j=1\n", kHole, "; k=\n", "\n", "l=3\n"}},
        {"every line of every block",
         {"k=0\n", "[a]\n", "k=1\n", "k=2\n", "[b]\n", "k=3\n", "[A]\n", kHole, "K=4\n"},
         kOk,
         {"k=0\n", "[a]\n", kHole, kHole, "[b]\n", "k=3\n", "[A]\n", kHole, kHole}},
        {"in the first of two blocks",
         {"[a]\n", "k=1\n", "[a]\n", "j=2\n"},
         kOk,
         {"[a]\n", kHole, "[a]\n", "j=2\n"}},
        {"no such key",
         {"[a]\n", "kk=1\n", "[b]\n", "k=1\n"},
         kKeyNotFound,
         {"[a]\n", "kk=1\n", "[b]\n", "k=1\n"}},
        {"empty block", {"[a]\n"}, kKeyNotFound, {"[a]\n"}},
        {"no such section",
         {"k=1\n", "[b]\n", "k=2\n"},
         kSectionNotFound,
         {"k=1\n", "[b]\n", "k=2\n"}},
        {"holes alone", {kHole}, kSectionNotFound, {kHole}},
        {"bad keys elsewhere",
         {"=\n", "[b]\n", "=\n", "[a]\n", "k=\n", "[c]\n", "=\n"},
         kOk,
         {"=\n", "[b]\n", "=\n", "[a]\n", kHole, "[c]\n", "=\n"}},
        // The key's lines before a bad line are gone.
        {"bad key in the block",
         {"[a]\n", "k=1\n", "=\n", "k=2\n"},
         kKeyName,
         {"[a]\n", kHole, "=\n", "k=2\n"}},
        {"unknown line in the block",
         {"[a]\n", "k=1\n", "x\n", "k=2\n"},
         kLineUnknown,
         {"[a]\n", kHole, "x\n", "k=2\n"}},
        {"empty text in the block", {"[a]\n", "k=1\n", ""}, kInputPara, {"[a]\n", kHole, ""}},
        {"unknown line below",
         {"[a]\n", "k=1\n", "[b]\n", "x\n"},
         kLineUnknown,
         {"[a]\n", kHole, "[b]\n", "x\n"}},
        {"empty text below",
         {"[a]\n", "k=1\n", "[b]\n", ""},
         kInputPara,
         {"[a]\n", kHole, "[b]\n", ""}},
        {"bad header below", {"[a]\n", "k=1\n", "[]\n"}, kSection, {"[a]\n", kHole, "[]\n"}},
        {"bad header comment",
         {"[a]\n", "k=1\n", "[a];\n"},
         kLineUnknown,
         {"[a]\n", kHole, "[a];\n"}},
        {"unknown line above", {"x\n", "[a]\n", "k=1\n"}, kLineUnknown, {"x\n", "[a]\n", "k=1\n"}},
        {"empty text above", {"", "[a]\n", "k=1\n"}, kInputPara, {"", "[a]\n", "k=1\n"}},
    };
    for (const DeleteCase &c : cases) {
        Check(
            c, [](auto *pDoc) { return XELP_IniDelKey(pDoc, "a", "k"); },
            [](auto &doc, auto &heap) { return model::DeleteKey(doc, "a", "k", heap); });
    }
}

TEST_F(IniDelKey, ReleaseSetsTheSlotsToNull)
{
    Document doc({"[a]\n", "k=1 ;c\n"});
    const void *const pLine = doc.pStrLine[1];
    EXPECT_EQ(XELP_IniDelKey(&doc, "a", "k"), kOk);
    EXPECT_EQ(platform.MemoryTrace(), "D 2, free, D 2, D 2, D 2, free, free, free, free");
    std::size_t found = 0;
    for (const Event &event : platform.Events()) {
        if (event.pBlock == pLine) {
            ++found;
            EXPECT_TRUE(event.setsNull);
        }
    }
    EXPECT_EQ(found, 1U);
}

TEST_F(IniDelKey, NamesMayPointIntoDeletedLines)
{
    {
        Document doc({"[s]\n", "k=k", "k=2\n", "[s]\n", "k=3\n"});
        EXPECT_EQ(XELP_IniDelKey(&doc, "s", doc.pStrLine[1] + 2), kOk);
        EXPECT_EQ(Look(doc), Edited({"[s]\n", kHole, kHole, "[s]\n", kHole}, 2));
    }
    {
        Document doc({"[s]\n", "k=s", "k=k", "j=0\n", "[s]\n", "k=1\n"});
        EXPECT_EQ(XELP_IniDelKey(&doc, doc.pStrLine[1] + 2, doc.pStrLine[2] + 2), kOk);
        EXPECT_EQ(Look(doc), Edited({"[s]\n", kHole, kHole, "j=0\n", "[s]\n", kHole}, 3));
    }
    {
        Document doc({"[s]\n", "s=s", "s=2\n", "[s]\n", "s=3\n"});
        QAL_INT8 *const pszName = doc.pStrLine[1] + 2;
        EXPECT_EQ(XELP_IniDelKey(&doc, pszName, pszName), kOk);
        EXPECT_EQ(Look(doc), Edited({"[s]\n", kHole, kHole, "[s]\n", kHole}, 2));
    }
    {
        Document doc({"[k=1]\n", "k=1", "[k=1]\n", "k=2\n"}); // the name is a whole line
        EXPECT_EQ(XELP_IniDelKey(&doc, doc.pStrLine[1], "k"), kOk);
        EXPECT_EQ(Look(doc), Edited({"[k=1]\n", kHole, "[k=1]\n", kHole}, 2));
    }
    EXPECT_EQ(platform.LiveBlocks(), 0U);
    for (const auto &[pszBad, ulStatus] : {std::pair{"garbage\n", kLineUnknown},
                                           {"", kInputPara},
                                           {"[]\n", kSection},
                                           {"=\n", kKeyName}}) {
        Document doc({"[s]\n", "k=s", "k=k", pszBad});
        EXPECT_EQ(XELP_IniDelKey(&doc, doc.pStrLine[1] + 2, doc.pStrLine[2] + 2), ulStatus);
        EXPECT_EQ(Look(doc), Edited({"[s]\n", kHole, kHole, pszBad}, 2));
    }
    EXPECT_EQ(platform.LiveBlocks(), 0U);
}

class IniEdit : public EditTest {};

TEST_F(IniEdit, DeletedLastKeyIsAddedBackAfterItsHole)
{
    Document doc({"[a]\n", "j=1\n", "k=2\n", "[b]\n"});
    EXPECT_EQ(XELP_IniDelKey(&doc, "a", "k"), kOk);
    EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg("a"), Arg("k"), Arg("3")), kOk);
    EXPECT_EQ(Look(doc), Edited({"[a]\n", "j=1\n", kHole, "k=3\n", "[b]\n"}, 3));
}

TEST_F(IniEdit, DeletedSectionIsAddedBackAtTheEnd)
{
    Document doc({"[a]\n", "k=1\n", "[b]\n"});
    EXPECT_EQ(XELP_IniDelSection(&doc, "a"), kOk);
    EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg("a"), Arg("k"), Arg("2")), kOk);
    EXPECT_EQ(Look(doc), Edited({kHole, kHole, "[b]\n", "[a]\n", "k=2\n"}, 1));
}

TEST_F(IniEdit, RandomProgramsMatchTheModel)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<std::string> sections = {"a", "A", "b", "net", "c d"};
    const std::vector<MaybeText> keys = {"k", "K", "port", "x y", "l", kNull};
    const std::vector<MaybeText> values = {"1",    kNull,     "",       "two words",
                                           "a ;b", Text(504), Text(507)};
    const Lines starts = {"[a]\n", "k=1 ;c\n", " Port = 2\n", "; c\n", "\n", "[b] ;x\r\n",
                          "k=3\n", kHole,      "x y=4 ;\n",   "[A]\n", "  ", "bad\n"};
    for (int i = 0; i < 300 && !HasFailure(); ++i) {
        const Lines lines = RandomLines(random, starts, starts.size() - 1);
        Snapshot expected =
            Loaded(lines, static_cast<QAL_UINT32>(lines.size() + random.UpTo(4)) + 1);
        Document doc(expected);
        for (int step = 0; step < 60 && !HasFailure(); ++step) {
            const std::string &section = sections[random.UpTo(sections.size() - 1)];
            const MaybeText &key = keys[random.UpTo(keys.size() - 1)];
            const MaybeText &value = values[random.UpTo(values.size() - 1)];
            const auto ulFailAt =
                static_cast<QAL_UINT32>(random.UpTo(4) == 0 ? random.UpTo(20) : 0);
            platform.StartRecording();
            if (ulFailAt != 0) {
                platform.Fail(Service::kAllocate, ulFailAt);
            }
            model::Heap heap(ulFailAt);
            const auto edit = key ? random.UpTo(9) : 9;
            SCOPED_TRACE((edit == 0  ? "delete section "
                          : edit < 3 ? "delete key "
                                     : "set ") +
                         section + " " + key.value_or("null"));
            if (edit == 0) {
                EXPECT_EQ(XELP_IniDelSection(&doc, section.c_str()),
                          model::DeleteSection(expected, section, heap));
            } else if (edit < 3) {
                EXPECT_EQ(XELP_IniDelKey(&doc, section.c_str(), key->c_str()),
                          model::DeleteKey(expected, section, *key, heap));
            } else {
                EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg(section), Arg(key), Arg(value)),
                          model::SetValue(expected, section, key, value, heap));
            }
            EXPECT_EQ(platform.MemoryTrace(), heap.Trace());
            EXPECT_EQ(Look(doc), expected);
        }
    }
}

} // namespace
} // namespace wyx::test
