// Tests of the fixed-capacity list: the suite that both lists share, and what only this list does.
#include "wyx_commlib/slink.h"

#include <cstring>

#include "bounded.h"
#include "slink_list.h"

namespace wyx::test {
namespace {

constexpr char kFile[] = "src/commlib/slink/source/slinklist_arth.cpp";

/// A call of wyx_memset_s().
struct Fill {
    QAL_ULONG ulDestMax;
    QAL_INT32 lByte;
    QAL_ULONG ulCount;
    bool operator==(const Fill &) const = default;
};
std::vector<Fill> g_fills;

class SLinkListTest : public ListTest<SLink> {
  protected:
    SLinkList_S_Head &Head() { return *static_cast<SLinkList_S_Head *>(list); }

    /// Makes a call, stores the letter of its result in chResult and returns the status.
    QAL_UINT32 Status(const Call &call)
    {
        void *pResult = User(kUntouched);
        const QAL_UINT32 ulStatus = call.pfun(list, &pResult);
        chResult = Letter(pResult);
        return ulStatus;
    }

    char chResult = kUntouched;
};

INSTANTIATE_TYPED_TEST_SUITE_P(SLink, ListTest, SLink);

// ---- Init and the capacity ----

using SLinkListInit = SLinkListTest;

TEST_F(SLinkListInit, CapacityOf0IsRefused)
{
    void *pList = User(kUntouched);
    platform.RecordEvents(true);
    EXPECT_EQ(XELP_SLinkList_Init(0, IsLetter, Release, &pList), XELP_ERR_SLL_INVALID_PARA);
    EXPECT_EQ(Letter(pList), kUntouched);
    EXPECT_TRUE(platform.Events().empty());
}

TEST_F(SLinkListInit, CapacityIsTheListSize)
{
    for (const QAL_UINT32 ulNodeNum : {1U, 2U, 3U, 1000U}) {
        SCOPED_TRACE(ulNodeNum);
        platform.StartRecording();
        ASSERT_EQ(XELP_SLinkList_Init(ulNodeNum, IsLetter, Release, &list), 0U);
        EXPECT_EQ(MemoryCalls(platform, kFile), "S " + std::to_string(48 + 16 * ulNodeNum));
        QAL_UINT32 ulSize = 0;
        QAL_UINT32 ulCount = 9;
        EXPECT_EQ(XELP_SLinkList_Get_ListSize(list, &ulSize), 0U);
        EXPECT_EQ(ulSize, ulNodeNum);
        EXPECT_EQ(XELP_SLinkList_Get_NodeNumber(list, &ulCount), 0U);
        EXPECT_EQ(ulCount, 0U);

        platform.StartRecording();
        for (QAL_UINT32 i = 0; i < ulNodeNum; ++i) {
            ASSERT_EQ(XELP_SLinkList_Insert(list, User('a'), SLink::kAfterLast), 0U);
            ASSERT_EQ(Head().ulNow, i);
        }
        EXPECT_EQ(XELP_SLinkList_Get_ListSize(list, &ulSize), 0U);
        EXPECT_EQ(ulSize, ulNodeNum);
        EXPECT_EQ(XELP_SLinkList_Get_NodeNumber(list, &ulCount), 0U);
        EXPECT_EQ(ulCount, ulNodeNum);
        const Observed full = SLink::Observe(list);
        for (const auto enPosition : {SLink::kFrontFirst, XELP_SLL_Insert_BUTT}) {
            EXPECT_EQ(XELP_SLinkList_Insert(list, User('x'), enPosition), XELP_ERR_SLL_FULL);
        }
        EXPECT_EQ(SLink::Observe(list), full);
        for (QAL_UINT32 i = 0; i < ulNodeNum; ++i) {
            ASSERT_EQ(XELP_SLinkList_Delete_TailNode(list), 0U);
        }
        EXPECT_EQ(MemoryCalls(platform, kFile), ""); // nothing is allocated or released after Init
        platform.StartRecording();
        Drop();
        EXPECT_EQ(MemoryCalls(platform, kFile), "setNull");
    }
}

TEST_F(SLinkListInit, ListSizeRefusesNulls)
{
    Build("[a]");
    QAL_UINT32 ulSize = 9;
    EXPECT_EQ(XELP_SLinkList_Get_ListSize(nullptr, &ulSize), XELP_ERR_SLL_INVALID_PARA);
    EXPECT_EQ(ulSize, 9U);
    EXPECT_EQ(XELP_SLinkList_Get_ListSize(list, nullptr), XELP_ERR_SLL_INVALID_PARA);
}

TEST_F(SLinkListInit, WrappedSizeIsRequestedAndReturnsMemoryStatus)
{
    const struct {
        QAL_UINT32 ulNodeNum;
        const char *pszCalls;
    } aCase[] = {
        {268435453, "S 0, freeD"},   // the first size that wraps
        {268435454, "S 16, freeD"},  // less than the head
        {0x10000000, "S 48, freeD"}, // the head alone
        {0x10000001, "S 64, freeD"}, // the head and one slot
        {0x20000000, "S 48, freeD"}, // wraps twice
        {0x80000003, "S 96, freeD"}, // wraps eight times
        {0xFFFFFFFF, "S 32, freeD"}, // the largest number
    };
    for (const auto &c : aCase) {
        SCOPED_TRACE(c.ulNodeNum);
        void *pList = User(kUntouched);
        platform.StartRecording();
        EXPECT_EQ(XELP_SLinkList_Init(c.ulNodeNum, IsLetter, Release, &pList), XELP_ERR_SLL_MEMORY);
        EXPECT_EQ(MemoryCalls(platform, kFile), c.pszCalls);
        EXPECT_EQ(Letter(pList), kUntouched);
        EXPECT_EQ(platform.LiveBlocks(), 0U);
    }
}

TEST_F(SLinkListInit, LargestCapacityIsRequestedWhole)
{
    void *pList = User(kUntouched);
    platform.StartRecording();
    platform.Fail(Service::kAllocate, 1); // 4 GiB is too much for a test
    EXPECT_EQ(XELP_SLinkList_Init(268435452, IsLetter, Release, &pList), XELP_ERR_SLL_MEMORY);
    EXPECT_EQ(MemoryCalls(platform, kFile), "S 4294967280");
    EXPECT_EQ(Letter(pList), kUntouched);
}

// ---- results after a failure, and null result pointers ----

using SLinkListResults = SLinkListTest;

TEST_F(SLinkListResults, AreLeftAsDocumented)
{
    const Case aCase[] = {
        {"", kGetCurNode, XELP_ERR_SLL_NULL, kUntouched, ""},
        {"", kGetPriorNode, XELP_ERR_SLL_NULL, kUntouched, ""},
        {"", kGetNextNode, XELP_ERR_SLL_NULL, kUntouched, ""},
        {"", kRemoveCurNode, XELP_ERR_SLL_NULL, kUntouched, ""},
        {"[a]b", kGetPriorNode, XELP_ERR_SLL_HEAD, kNull, "[a]b"},
        {"a[b]", kGetNextNode, XELP_ERR_SLL_TAIL, kNull, "a[b]"},
        {"", kGetHeadNode, XELP_ERR_SLL_NULL, kNull, ""},
        {"", kGetTailNode, XELP_ERR_SLL_NULL, kNull, ""},
        {"", kRemoveHeadNode, XELP_ERR_SLL_NULL, kNull, ""},
        {"", kRemoveTailNode, XELP_ERR_SLL_NULL, kNull, ""},
    };
    for (const Case &c : aCase) {
        Run(c);
    }
}

using SLinkListArguments = SLinkListTest;

TEST_F(SLinkListArguments, NullResultIsAllowedOnAnEmptyList)
{
    Build("");
    EXPECT_EQ(XELP_SLinkList_Get_NextNode(list, nullptr), XELP_ERR_SLL_NULL);
    EXPECT_EQ(XELP_SLinkList_Remove_CurNode(list, nullptr), XELP_ERR_SLL_NULL);
    for (const Call &call : {kGetCurNode, kGetPriorNode, kGetHeadNode, kGetTailNode,
                             kRemoveHeadNode, kRemoveTailNode}) {
        EXPECT_EQ(call.pfun(list, nullptr), XELP_ERR_SLL_INVALID_PARA) << call.pszName;
    }
}

// ---- slots ----

using SLinkListSlots = SLinkListTest;

TEST_F(SLinkListSlots, LastOneFreedIsTakenFirst)
{
    Build("abcd[e]"); // in the slots 0 to 4
    for (const char ch : {'b', 'd', 'a'}) {
        ASSERT_EQ(XELP_SLinkList_Delete(list, &ch, nullptr), 0U);
    }
    EXPECT_EQ(SLink::Observe(list).unused,
              (std::vector<std::uint64_t>{0, 3, 1, 5, 6, 7, 8, 9, 10, 11}));
    for (const char ch : {'x', 'y', 'z'}) {
        ASSERT_EQ(XELP_SLinkList_Insert(list, User(ch), SLink::kAfterLast), 0U);
    }
    EXPECT_EQ(Text(), "cexy[z]");
    EXPECT_EQ(SLink::Observe(list).places, (std::vector<std::uint64_t>{2, 4, 0, 3, 1}));
}

TEST_F(SLinkListSlots, RefusedPositionReturnsTheSlot)
{
    Build("a[b]");
    const Observed before = SLink::Observe(list);
    g_fills.clear();
    EXPECT_EQ(XELP_SLinkList_Insert(list, User('x'), static_cast<SLink::Position>(5)),
              XELP_ERR_SLL_INVALID_PARA);
    EXPECT_EQ(SLink::Observe(list), before);
    EXPECT_EQ(g_fills, (std::vector<Fill>{{16, 0, 16}}));
}

TEST_F(SLinkListSlots, AreWipedWhenReturned)
{
    Build("a[b]c");
    for (const Call &call : {kRemoveCurNode, kDeleteHeadNode, kRemoveTailNode}) {
        g_fills.clear();
        EXPECT_EQ(Status(call), 0U);
        EXPECT_EQ(g_fills, (std::vector<Fill>{{16, 0, 16}})) << call.pszName;
    }
    EXPECT_EQ(Text(), "");
}

TEST_F(SLinkListSlots, CanBeTakenAndReturnedByHand)
{
    EXPECT_EQ(SLinkList_Remove_FreeNode(nullptr), kNone);
    EXPECT_EQ(SLinkList_Insert_FreeNode(nullptr, 0), XELP_ERR_SLL_INVALID_PARA);

    Build("a[b]");
    const Observed before = SLink::Observe(list);
    for (const QAL_UINT32 ulNode : {SLink::kCapacity, SLink::kCapacity + 1, 0x80000000U, kNone}) {
        EXPECT_EQ(SLinkList_Insert_FreeNode(list, ulNode), XELP_ERR_SLL_INVALID_PARA) << ulNode;
    }
    EXPECT_EQ(SLink::Observe(list), before);

    for (QAL_UINT32 i = 2; i < SLink::kCapacity; ++i) {
        ASSERT_EQ(SLinkList_Remove_FreeNode(list), i);
        EXPECT_EQ(Head().ulUseNum, i + 1);
        EXPECT_EQ(Head().pstruBase[i].ulPNode, kNone);
        EXPECT_EQ(Head().pstruBase[i].ulNNode, kNone);
    }
    EXPECT_EQ(SLinkList_Remove_FreeNode(list), kNone);
    EXPECT_EQ(Head().ulUseNum, SLink::kCapacity);
    EXPECT_EQ(XELP_SLinkList_Insert(list, User('x'), SLink::kAfterLast), XELP_ERR_SLL_FULL);

    for (QAL_UINT32 i = SLink::kCapacity; i-- > 2;) {
        Head().pstruBase[i].pstruUserNode = User('u'); // whatever a caller left there
        g_fills.clear();
        EXPECT_EQ(SLinkList_Insert_FreeNode(list, i), 0U);
        EXPECT_EQ(g_fills, (std::vector<Fill>{{16, 0, 16}}));
    }
    EXPECT_EQ(SLink::Observe(list), before);
}

TEST_F(SLinkListSlots, ListIsEmptyThoughASlotWasTakenByHand)
{
    Build("");
    ASSERT_EQ(SLinkList_Remove_FreeNode(list), 0U); // slot 0 counts, but holds no element
    const SLinkList_S_Head before = Head();
    const struct {
        Call call;
        char chResult;
    } aCase[] = {
        {kGetCurNode, kUntouched},     {kPriorPtr, kUntouched},    {kNextPtr, kUntouched},
        {kGetPriorNode, kUntouched},   {kGetNextNode, kUntouched}, {kRemoveCurNode, kUntouched},
        {kDeleteCurNode, kUntouched},  {kGetHeadNode, kNull},      {kGetTailNode, kNull},
        {kRemoveHeadNode, kNull},      {kRemoveTailNode, kNull},   {kDeleteHeadNode, kUntouched},
        {kDeleteTailNode, kUntouched},
    };
    for (const auto &c : aCase) {
        EXPECT_EQ(Status(c.call), XELP_ERR_SLL_NULL) << c.call.pszName;
        EXPECT_EQ(chResult, c.chResult) << c.call.pszName;
    }
    EXPECT_EQ(Status(kSetCurPtr), 0U);
    const char ch = 'a';
    void *pResult = User(kUntouched);
    EXPECT_EQ(XELP_SLinkList_Query(list, &ch, nullptr, &pResult), XELP_ERR_SLL_FIND);
    EXPECT_EQ(Letter(pResult), kNull);
    EXPECT_EQ(XELP_SLinkList_Delete(list, &ch, nullptr), XELP_ERR_SLL_FIND);
    Walker<SLink::Process_List> walker;
    EXPECT_EQ(walker.Walk(list), 0U);
    EXPECT_EQ(walker.visited, "");
    QAL_UINT32 ulCount = 0;
    EXPECT_EQ(XELP_SLinkList_Get_NodeNumber(list, &ulCount), 0U);
    EXPECT_EQ(ulCount, 1U);
    EXPECT_EQ(std::memcmp(&before, &Head(), sizeof before), 0);

    // There is no element yet, so any position is accepted, whatever the count.
    EXPECT_EQ(XELP_SLinkList_Insert(list, User('a'), XELP_SLL_Insert_BUTT), 0U);
    EXPECT_EQ(Head().ulFirstNode, 1U);
    EXPECT_EQ(Head().ulUseNum, 2U);
    EXPECT_EQ(XELP_SLinkList_Deinit(list, SLink::kYes), 0U);
    list = nullptr;
    EXPECT_EQ(g_released, "a");
}

TEST_F(SLinkListSlots, CountOf0MeansEmptyThoughAnElementIsLeft)
{
    Build("[a]");
    ASSERT_EQ(SLinkList_Insert_FreeNode(list, SLink::kCapacity - 1), 0U); // already free
    EXPECT_EQ(Head().ulUseNum, 0U);
    for (const Call &call : {kGetCurNode, kPriorPtr, kNextPtr, kGetPriorNode, kGetNextNode,
                             kRemoveCurNode, kDeleteCurNode}) {
        EXPECT_EQ(Status(call), XELP_ERR_SLL_NULL) << call.pszName;
        EXPECT_EQ(chResult, kUntouched) << call.pszName;
    }
    const char ch = 'a';
    void *pResult = User(kUntouched);
    EXPECT_EQ(XELP_SLinkList_Query(list, &ch, nullptr, &pResult), XELP_ERR_SLL_NULL);
    EXPECT_EQ(Letter(pResult), kNull);
    EXPECT_EQ(Walker<SLink::Process_List>().Walk(list), XELP_ERR_SLL_NULL);
    EXPECT_EQ(Status(kGetHeadNode), 0U); // the ends are still there
    EXPECT_EQ(chResult, 'a');
    EXPECT_EQ(XELP_SLinkList_Deinit(list, SLink::kYes), 0U);
    list = nullptr;
    EXPECT_EQ(g_released, "");
}

/// Returning a slot while its element is still in the list overwrites both links of the element.
/// Even then, removing the first element must not read its link to the previous element, and
/// removing the last must not read its link to the next.
TEST_F(SLinkListSlots, EndIsRemovedWithoutReadingItsOutwardLink)
{
    for (const bool isDelete : {false, true}) {
        SCOPED_TRACE(isDelete);
        void *pResult = nullptr;
        ASSERT_EQ(XELP_SLinkList_Init(3, IsLetter, Release, &list), 0U);
        ASSERT_EQ(XELP_SLinkList_Insert(list, User('a'), SLink::kAfterLast), 0U);
        EXPECT_EQ(SLinkList_Insert_FreeNode(list, 0), 0U);
        EXPECT_EQ(isDelete ? XELP_SLinkList_Delete_HeadNode(list)
                           : XELP_SLinkList_Remove_HeadNode(list, &pResult),
                  0U);
        EXPECT_EQ(Head().ulFirstNode, 1U);
        EXPECT_EQ(Head().ulNow, 1U);
        EXPECT_EQ(Head().pstruBase[1].ulPNode, kNone);
        EXPECT_EQ(Head().ulLastNode, 0U);
        Drop();

        // Here the last of two elements links on to a free slot, and back to the first element.
        ASSERT_EQ(XELP_SLinkList_Init(3, IsLetter, Release, &list), 0U);
        ASSERT_EQ(XELP_SLinkList_Insert(list, User('a'), SLink::kAfterLast), 0U);
        ASSERT_EQ(XELP_SLinkList_Insert(list, User('b'), SLink::kAfterLast), 0U);
        EXPECT_EQ(SLinkList_Insert_FreeNode(list, 1), 0U);
        // Following the last element's forward link would write here.
        Head().pstruBase[2].ulPNode = 7;
        EXPECT_EQ(isDelete ? XELP_SLinkList_Delete_TailNode(list)
                           : XELP_SLinkList_Remove_TailNode(list, &pResult),
                  0U);
        EXPECT_EQ(Head().ulLastNode, 0U);
        EXPECT_EQ(Head().ulNow, 0U);
        EXPECT_EQ(Head().pstruBase[0].ulNNode, kNone);
        EXPECT_EQ(Head().pstruBase[2].ulPNode, 7U);
        Drop();
    }
}

/// The slots returned by hand may hold elements, so the links may lead anywhere within the block.
TEST_F(SLinkListSlots, RandomCallsStayInTheBlockWhenSlotsAreTakenByHand)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    const Call aCall[] = {kSetCurPtr,      kGetCurNode,     kPriorPtr,       kNextPtr,
                          kGetPriorNode,   kGetNextNode,    kGetHeadNode,    kGetTailNode,
                          kRemoveCurNode,  kRemoveHeadNode, kRemoveTailNode, kDeleteCurNode,
                          kDeleteHeadNode, kDeleteTailNode};
    for (int iRun = 0; iRun < 300 && !HasFailure(); ++iRun) {
        Build("ab[c]");
        for (int i = 0; i < 60; ++i) {
            switch (random.UpTo(3)) {
                case 0:
                    SLinkList_Remove_FreeNode(list);
                    break;
                case 1:
                    SLinkList_Insert_FreeNode(list, static_cast<QAL_UINT32>(random.UpTo(12)));
                    break;
                case 2:
                    XELP_SLinkList_Insert(list, User('x'),
                                          static_cast<SLink::Position>(random.UpTo(4)));
                    break;
                default:
                    Status(aCall[random.UpTo(std::size(aCall) - 1)]);
            }
            for (const QAL_UINT32 ulNode :
                 {Head().ulFirstNode, Head().ulLastNode, Head().ulNow, Head().ulFirstNoUseNode}) {
                EXPECT_TRUE(ulNode == kNone || ulNode < SLink::kCapacity) << ulNode;
            }
        }
    }
}

// ---- what counts as empty ----

using SLinkListEmptiness = SLinkListTest;

TEST_F(SLinkListEmptiness, IsDecidedByTheDocumentedField)
{
    Build("a[b]c");
    Head().ulFirstNode = kNone;
    for (const Call &call : {kGetHeadNode, kRemoveHeadNode, kDeleteHeadNode}) {
        EXPECT_EQ(Status(call), XELP_ERR_SLL_NULL) << call.pszName;
    }
    EXPECT_EQ(Walker<SLink::Process_List>().Walk(list), 0U);
    Head().ulFirstNode = 0;

    Head().ulLastNode = kNone;
    for (const Call &call : {kGetTailNode, kRemoveTailNode, kDeleteTailNode}) {
        EXPECT_EQ(Status(call), XELP_ERR_SLL_NULL) << call.pszName;
    }
    Head().ulLastNode = 2;
    EXPECT_EQ(Text(), "a[b]c");

    Head().ulFirstNode = kNone; // Insert looks at the first element
    EXPECT_EQ(XELP_SLinkList_Insert(list, User('x'), XELP_SLL_Insert_BUTT), 0U);
    EXPECT_EQ(Head().ulFirstNode, 3U);
    EXPECT_EQ(Head().ulLastNode, 3U);
    EXPECT_EQ(Head().ulNow, 3U);
}

// ---- teardown ----

using SLinkListTeardown = SLinkListTest;

TEST_F(SLinkListTeardown, ClearsEachSlotAndReleasesTheOneBlockLast)
{
    Build("[a]bc");
    platform.StartRecording();
    const void *const pBlock = list;
    g_onRelease = [&](char ch) {
        EXPECT_TRUE(platform.Events().empty());
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(Head().pstruBase[i].pstruUserNode == nullptr, i < ch - 'a');
        }
    };
    EXPECT_EQ(XELP_SLinkList_Deinit(list, SLink::kYes), 0U);
    list = nullptr;
    EXPECT_EQ(g_released, "abc");
    EXPECT_EQ(MemoryCalls(platform, kFile), "setNull");
    EXPECT_EQ(platform.Events().at(0).pBlock, pBlock);
}

} // namespace
} // namespace wyx::test

/// Replaces the adapter's function, to record the calls.
extern "C" QAL_INT32 wyx_memset_s(void *pDest, QAL_ULONG ulDestMax, QAL_INT32 lByte,
                                  QAL_ULONG ulCount)
{
    wyx::test::g_fills.push_back({ulDestMax, lByte, ulCount});
    std::memset(pDest, lByte, ulCount);
    return 0;
}
