// Tests of the doubly linked list: the suite that both lists share, and what only this list does.
#include "wyx_commlib/dlink.h"

#include <set>

#include "dlink_list.h"
#include "os_adapter.h"

namespace wyx::test {
namespace {

class DLinkListTest : public ListTest<DLink> {
  protected:
    DLinkList_S_Head &Head() { return *static_cast<DLinkList_S_Head *>(list); }
};

constexpr char kFile[] = "src/commlib/dlink/source/dlinklist_arth.cpp";

INSTANTIATE_TYPED_TEST_SUITE_P(DLink, ListTest, DLink);

// ---- what counts as empty ----

using DLinkListEmptiness = DLinkListTest;

TEST_F(DLinkListEmptiness, IsDecidedByTheDocumentedField)
{
    const auto status = [&](const Call &call) {
        void *pResult = nullptr;
        return call.pfun(list, &pResult);
    };
    const char ch = 'b';
    void *pResult = nullptr;

    Build("a[b]c");
    Head().ulTotalNum = 0; // most calls look at the count
    for (const Call &call : {kGetCurNode, kPriorPtr, kNextPtr, kGetPriorNode, kGetNextNode}) {
        EXPECT_EQ(status(call), XELP_ERR_DLL_NULL) << call.pszName;
    }
    EXPECT_EQ(XELP_DLinkList_Query(list, &ch, nullptr, &pResult), XELP_ERR_DLL_NULL);
    EXPECT_EQ(XELP_DLinkList_Remove(list, &ch, nullptr, &pResult), XELP_ERR_DLL_NULL);
    EXPECT_EQ(Walker<DLink::Process_List>().Walk(list), XELP_ERR_DLL_NULL);
    const DLinkList_S_Head before = Head();
    EXPECT_EQ(XELP_DLinkList_Insert(list, User('x'), XELP_DLL_Insert_BUTT), 0U);
    EXPECT_EQ(Text(), "[x]"); // inserted as into an empty list
    EXPECT_EQ(XELP_DLinkList_Delete_CurNode(list), 0U);
    Head() = before;
    EXPECT_EQ(status(kGetHeadNode), 0U); // but these two do not
    EXPECT_EQ(status(kGetTailNode), 0U);
    Head().ulTotalNum = 3;

    DLinkList_S_Node *const pNow = Head().pstruNow;
    Head().pstruNow = nullptr;
    EXPECT_EQ(status(kRemoveCurNode), XELP_ERR_DLL_NULL);
    EXPECT_EQ(status(kDeleteCurNode), XELP_ERR_DLL_NULL);
    Head().pstruNow = pNow;

    DLinkList_S_Node *const pFirst = Head().pstruFirstNode;
    Head().pstruFirstNode = nullptr;
    for (const Call &call : {kGetHeadNode, kRemoveHeadNode, kDeleteHeadNode}) {
        EXPECT_EQ(status(call), XELP_ERR_DLL_NULL) << call.pszName;
    }
    Head().pstruFirstNode = pFirst;

    DLinkList_S_Node *const pLast = Head().pstruLastNode;
    Head().pstruLastNode = nullptr;
    for (const Call &call : {kGetTailNode, kRemoveTailNode, kDeleteTailNode}) {
        EXPECT_EQ(status(call), XELP_ERR_DLL_NULL) << call.pszName;
    }
    Head().pstruLastNode = pLast;
    EXPECT_EQ(Text(), "a[b]c");
}

// ---- the ends ----

using DLinkListEnds = DLinkListTest;

/// Here the links that lead out of the list at its ends are not null, although they should be.
TEST_F(DLinkListEnds, AreRemovedWithoutReadingTheirOutwardLink)
{
    for (const bool isDelete : {false, true}) {
        SCOPED_TRACE(isDelete);
        Build("abc[d]");
        DLinkList_S_Node *const pA = Head().pstruFirstNode;
        DLinkList_S_Node *const pB = pA->pstruNNode;
        DLinkList_S_Node *const pC = pB->pstruNNode;
        DLinkList_S_Node *const pD = pC->pstruNNode;
        Head().pstruFirstNode = pB; // but b still links back to a
        Head().ulTotalNum = 3;
        void *pResult = nullptr;
        EXPECT_EQ(isDelete ? XELP_DLinkList_Delete_HeadNode(list)
                           : XELP_DLinkList_Remove_HeadNode(list, &pResult),
                  0U);
        EXPECT_EQ(Head().pstruFirstNode, pC);
        EXPECT_EQ(Head().pstruNow, pC);
        EXPECT_EQ(pA->pstruNNode, pB); // untouched
        EXPECT_EQ(Text(), "[c]d");

        Head().pstruLastNode = pC; // but c still links on to d
        Head().ulTotalNum = 1;
        EXPECT_EQ(isDelete ? XELP_DLinkList_Delete_TailNode(list)
                           : XELP_DLinkList_Remove_TailNode(list, &pResult),
                  0U);
        EXPECT_EQ(Text(), "");
        EXPECT_EQ(pD->pstruPNode, pC); // untouched
        for (void *pNode : {pA, pD}) {
            XELP_MemFreeD(pNode, __LINE__, "a test");
        }
        Drop();
    }
}

// ---- memory ----

using DLinkListMemory = DLinkListTest;

TEST_F(DLinkListMemory, EachCallAllocatesAndReleasesAsDocumented)
{
    const char ch = 'b';
    void *pResult = nullptr;
    const struct {
        const char *pszCalls;
        std::function<void()> act;
    } aCase[] = {
        {"S 48", [&] { XELP_DLinkList_Init(IsLetter, Release, &list); }},
        {"S 24", [&] { XELP_DLinkList_Insert(list, User('a'), XELP_DLL_Insert_After_CurNode); }},
        {"S 24", [&] { XELP_DLinkList_Insert(list, User('b'), XELP_DLL_Insert_After_CurNode); }},
        {"S 24", [&] { XELP_DLinkList_Insert(list, User('c'), XELP_DLL_Insert_After_CurNode); }},
        {"S 24, freeD", [&] { XELP_DLinkList_Insert(list, User('x'), XELP_DLL_Insert_BUTT); }},
        {"", [&] { XELP_DLinkList_Query(list, &ch, nullptr, &pResult); }},
        {"setNull", [&] { XELP_DLinkList_Remove(list, &ch, nullptr, &pResult); }},
        {"", [&] { XELP_DLinkList_Remove(list, &ch, nullptr, &pResult); }},
        {"setNull", [&] { XELP_DLinkList_Delete_CurNode(list); }},
        {"setNull", [&] { XELP_DLinkList_Remove_HeadNode(list, &pResult); }},
        {"", [&] { XELP_DLinkList_Remove_TailNode(list, &pResult); }},
        {"S 24", [&] { XELP_DLinkList_Insert(list, User('a'), XELP_DLL_Insert_BUTT); }},
        {"S 24", [&] { XELP_DLinkList_Insert(list, User('b'), XELP_DLL_Insert_After_CurNode); }},
        {"setNull, setNull, setNull",
         [&] { XELP_DLinkList_Deinit(list, XELP_DLL_FreeUserNode_Yes); }},
    };
    for (const auto &c : aCase) {
        platform.StartRecording();
        c.act();
        EXPECT_EQ(MemoryCalls(platform, kFile), c.pszCalls);
    }
    list = nullptr;
}

TEST_F(DLinkListMemory, TeardownReleasesEachNodeAfterItsUserNodeAndTheHeadLast)
{
    Build("[a]bc");
    std::vector<const void *> expected;
    for (const std::uint64_t place : DLink::Observe(list).places) {
        expected.push_back(reinterpret_cast<const void *>(place));
    }
    expected.push_back(list);
    platform.StartRecording();
    g_onRelease = [&](char ch) {
        EXPECT_EQ(platform.Events().size(), static_cast<std::size_t>(ch - 'a'));
    };
    EXPECT_EQ(XELP_DLinkList_Deinit(list, XELP_DLL_FreeUserNode_Yes), 0U);
    list = nullptr;
    std::vector<const void *> released;
    for (const Event &event : platform.Events()) {
        released.push_back(event.pBlock);
    }
    EXPECT_EQ(released, expected);
    EXPECT_EQ(g_released, "abc");
}

TEST_F(DLinkListMemory, EveryMemoryCallPassesItsOwnLine)
{
    platform.RecordEvents(true);
    ASSERT_EQ(XELP_DLinkList_Init(IsLetter, Release, &list), 0U);
    for (const char ch : {'a', 'b', 'c'}) {
        ASSERT_EQ(XELP_DLinkList_Insert(list, User(ch), XELP_DLL_Insert_After_LastNode), 0U);
    }
    EXPECT_EQ(XELP_DLinkList_Insert(list, User('x'), XELP_DLL_Insert_BUTT),
              XELP_ERR_DLL_INVALID_PARA);
    EXPECT_EQ(XELP_DLinkList_Delete_HeadNode(list), 0U);
    EXPECT_EQ(XELP_DLinkList_Deinit(list, XELP_DLL_FreeUserNode_No), 0U);
    list = nullptr;
    std::set<QAL_UINT32> lines;
    for (const Event &event : platform.Events()) {
        lines.insert(event.line);
    }
    // One line allocates the head, and one releases it. One line allocates a node, and three
    // release nodes: after a refused insertion, in a removal and in the teardown.
    EXPECT_EQ(lines.size(), 6U);
}

TEST_F(DLinkListMemory, EachAllocationFailingInTurn)
{
    const auto fillAndDrain = [&] {
        void *pList = nullptr;
        QAL_UINT32 ulStatus = XELP_DLinkList_Init(IsLetter, Release, &pList);
        for (QAL_UINT32 i = 0; ulStatus == 0 && i < 4; ++i) {
            ulStatus =
                XELP_DLinkList_Insert(pList, User('a'), static_cast<XELP_E_DLL_Insert_Position>(i));
            QAL_UINT32 ulCount = 9;
            EXPECT_EQ(XELP_DLinkList_Get_NodeNumber(pList, &ulCount), 0U);
            EXPECT_EQ(ulCount, ulStatus == 0 ? i + 1 : i);
        }
        if (pList != nullptr) {
            EXPECT_EQ(XELP_DLinkList_Deinit(pList, XELP_DLL_FreeUserNode_Yes), 0U);
        }
        return ulStatus;
    };
    for (QAL_UINT32 ulFailAt = 1;; ++ulFailAt) { // ends with the first run in which nothing failed
        SCOPED_TRACE(ulFailAt);
        platform.Reset();
        platform.Fail(Service::kAllocate, ulFailAt);
        const QAL_UINT32 ulStatus = fillAndDrain();
        EXPECT_EQ(platform.LiveBlocks(), 0U);
        if (!platform.HasFailed()) {
            EXPECT_EQ(ulStatus, 0U);
            EXPECT_EQ(ulFailAt, 6U);
            break;
        }
        EXPECT_EQ(ulStatus, XELP_ERR_DLL_MEMORY);
    }
}

TEST_F(DLinkListMemory, FailedInsertChangesNothing)
{
    Build("a[b]c");
    platform.Fail(Service::kAllocate, 1);
    EXPECT_EQ(XELP_DLinkList_Insert(list, User('x'), XELP_DLL_Insert_BUTT), XELP_ERR_DLL_MEMORY);
    EXPECT_EQ(Text(), "a[b]c");
}

} // namespace
} // namespace wyx::test
