// List in one block, which holds the head and an array of slots. Links are slot indexes. The free
// slots form a chain. Insertion and removal both use Join() to set the links on both sides of a
// gap. Only Unlink() removes an element.
#include "wyx_commlib/slink.h"

#include "blocks.h"
#include "bounded.h"

namespace wyx::slink {
namespace {

using Head = SLinkList_S_Head;
using Node = SLinkList_S_Node;

constexpr QAL_UINT32 kNone = 0xFFFFFFFF;

constexpr QAL_UINT64 BlockSize(QAL_UINT32 ulNodeNum)
{
    return sizeof(Head) + QAL_UINT64{ulNodeNum} * sizeof(Node);
}

static_assert(BlockSize(268435452) <= kMaxBlockSize && BlockSize(268435453) > kMaxBlockSize,
              "slink.h states the largest capacity");

/// A place between two neighbours. At an end of the list, the missing neighbour is kNone.
struct Gap {
    QAL_UINT32 ulPrev;
    QAL_UINT32 ulNext;
};

/// Links the neighbour before the gap forward to @p ulAfterPrev, and the neighbour after the gap
/// back to @p ulBeforeNext. At an end of the list, sets the head's link instead.
void Join(Head &head, Gap gap, QAL_UINT32 ulAfterPrev, QAL_UINT32 ulBeforeNext)
{
    Node *const pBase = head.pstruBase;
    if (gap.ulPrev != kNone) {
        pBase[gap.ulPrev].ulNNode = ulAfterPrev;
    } else {
        head.ulFirstNode = ulAfterPrev;
    }
    if (gap.ulNext != kNone) {
        pBase[gap.ulNext].ulPNode = ulBeforeNext;
    } else {
        head.ulLastNode = ulBeforeNext;
    }
}

/// Finds the gap for a position in a list that is not empty; returns false for an invalid position.
bool FindGap(const Head &head, XELP_E_SLL_Insert_Position enPosition, Gap &gap)
{
    // Checked first, because appending is the most common case.
    if (enPosition == XELP_SLL_Insert_After_LastNode) [[likely]] {
        gap = {head.ulLastNode, kNone};
        return true;
    }
    switch (enPosition) {
        case XELP_SLL_Insert_Front_FirstNode:
            gap = {kNone, head.ulFirstNode};
            return true;
        case XELP_SLL_Insert_Front_CurNode:
            gap = {head.pstruBase[head.ulNow].ulPNode, head.ulNow};
            return true;
        case XELP_SLL_Insert_After_CurNode:
            gap = {head.ulNow, head.pstruBase[head.ulNow].ulNNode};
            return true;
        default:
            return false;
    }
}

/// Takes a slot from the free chain, which must not be empty.
QAL_UINT32 TakeSlot(Head &head)
{
    const QAL_UINT32 ulNode = head.ulFirstNoUseNode;
    Node &node = head.pstruBase[ulNode];
    head.ulFirstNoUseNode = node.ulNNode;
    ++head.ulUseNum;
    node.ulPNode = kNone;
    node.ulNNode = kNone;
    return ulNode;
}

/// Returns a slot to the free chain, as the next to be taken. @p node is slot @p ulNode: if its
/// address were computed here, every removal would compute it twice.
void ReturnSlot(Head &head, Node &node, QAL_UINT32 ulNode)
{
    wyx_memset_s(&node, sizeof node, 0, sizeof node);
    node.ulNNode = head.ulFirstNoUseNode;
    head.ulFirstNoUseNode = ulNode;
    --head.ulUseNum;
}

/// Returns a slot to the free chain, and @p ulStatus to the caller. Not inlined: a caller that
/// makes no other call makes this one as a tail call, and needs no stack frame.
[[gnu::noinline]] QAL_UINT32 ReturnSlotAndStatus(Head &head, QAL_UINT32 ulNode, QAL_UINT32 ulStatus)
{
    // Hides the value from Clang, which would otherwise have each caller return the constant, and
    // so give up the tail call.
    __asm__("" : "+r"(ulStatus));
    ReturnSlot(head, head.pstruBase[ulNode], ulNode);
    return ulStatus;
}

// The gap that an element leaves when it is removed. GapOfFirst() does not read the link to the
// previous element, and GapOfLast() does not read the link to the next. So even if somebody changed
// these links, the new first element gets no predecessor, and the new last element no successor.

Gap GapOf(const Node &node)
{
    return {node.ulPNode, node.ulNNode};
}

Gap GapOfFirst(const Node &node)
{
    return {kNone, node.ulNNode};
}

Gap GapOfLast(const Node &node)
{
    return {node.ulPNode, kNone};
}

/// Removes an element, puts the cursor beside the gap, and hands over the element's user node.
void Unlink(Head &head, QAL_UINT32 ulNode, Gap gap, void **ppUserNode)
{
    Node &node = head.pstruBase[ulNode];
    Join(head, gap, gap.ulNext, gap.ulPrev);
    // Kept: the cursor moves even if it was on another element
    // (ListTest.RemovalMovesTheCursorBesideTheGap).
    head.ulNow = gap.ulNext != kNone ? gap.ulNext : gap.ulPrev;
    *ppUserNode = node.pstruUserNode;
    ReturnSlot(head, node, ulNode);
}

/// Removes an element, wherever it is in the list. Not inlined: two calls share one copy.
[[gnu::noinline]] void UnlinkAnywhere(Head &head, QAL_UINT32 ulNode, void **ppUserNode)
{
    Unlink(head, ulNode, GapOf(head.pstruBase[ulNode]), ppUserNode);
}

/// The cursor, or kNone if the count is 0. The count includes slots taken by hand, so the list may
/// be empty even if the count is not 0; the cursor is then kNone, too
/// (SLinkListSlots.ListIsEmptyThoughASlotWasTakenByHand).
QAL_UINT32 Cursor(const Head &head)
{
    return head.ulUseNum != 0 ? head.ulNow : kNone;
}

/// Sets a result to null and returns the list of a handle, or null if either pointer is null.
Head *ClearAndOpen(void *pstruHead, void **ppUserNode)
{
    if (ppUserNode == nullptr) {
        return nullptr;
    }
    *ppUserNode = nullptr;
    return static_cast<Head *>(pstruHead);
}

/// Sets a result to the user node of an element. Reports an empty list if @p ulNode is kNone.
QAL_UINT32 Get(const Head &head, QAL_UINT32 ulNode, void **ppUserNode)
{
    if (ulNode == kNone) {
        return XELP_ERR_SLL_NULL;
    }
    *ppUserNode = head.pstruBase[ulNode].pstruUserNode;
    return 0;
}

/// Moves the cursor along a link; returns @p ulAtEnd if the link is kNone.
QAL_UINT32 Step(Head &head, QAL_UINT32 Node::*pLink, QAL_UINT32 ulAtEnd)
{
    const QAL_UINT32 ulFrom = Cursor(head);
    if (ulFrom == kNone) {
        return XELP_ERR_SLL_NULL;
    }
    const QAL_UINT32 ulTo = head.pstruBase[ulFrom].*pLink;
    if (ulTo == kNone) {
        return ulAtEnd;
    }
    head.ulNow = ulTo;
    return 0;
}

QAL_UINT32 StepOnly(void *pstruHead, QAL_UINT32 Node::*pLink, QAL_UINT32 ulAtEnd)
{
    return pstruHead != nullptr ? Step(*static_cast<Head *>(pstruHead), pLink, ulAtEnd)
                                : XELP_ERR_SLL_INVALID_PARA;
}

// Kept: the result is set to null if there is no further element, but not if the list is empty
// (SLinkListResults.AreLeftAsDocumented).
QAL_UINT32 StepAndGet(Head &head, QAL_UINT32 Node::*pLink, QAL_UINT32 ulAtEnd, void **ppUserNode)
{
    const QAL_UINT32 ulStatus = Step(head, pLink, ulAtEnd);
    if (ulStatus == ulAtEnd) {
        *ppUserNode = nullptr;
    }
    return ulStatus != 0 ? ulStatus : Get(head, head.ulNow, ppUserNode);
}

QAL_UINT32 RemoveEnd(void *pstruHead, QAL_UINT32 Head::*pField, Gap (*pfunGap)(const Node &),
                     void **ppUserNode)
{
    Head *const pHead = ClearAndOpen(pstruHead, ppUserNode);
    if (pHead == nullptr) {
        return XELP_ERR_SLL_INVALID_PARA;
    }
    const QAL_UINT32 ulNode = pHead->*pField;
    if (ulNode == kNone) {
        return XELP_ERR_SLL_NULL;
    }
    Unlink(*pHead, ulNode, pfunGap(pHead->pstruBase[ulNode]), ppUserNode);
    return 0;
}

/// Does the work of a Delete call: makes the Remove call, then releases the user node, if any.
template <typename Remove>
QAL_UINT32 DeleteBy(void *pstruHead, const Remove &remove)
{
    void *pUserNode = nullptr;
    const QAL_UINT32 ulStatus = remove(pstruHead, &pUserNode);
    if (pUserNode != nullptr) {
        static_cast<const Head *>(pstruHead)->pfunFreeNode(pUserNode);
    }
    return ulStatus;
}

/// Deletes the element at the cursor or at an end. Not inlined, so that three calls share one copy.
[[gnu::noinline]] QAL_UINT32 DeleteAt(void *pstruHead, QAL_UINT32 (*pfunRemove)(void *, void **))
{
    return DeleteBy(pstruHead, pfunRemove);
}

struct Found {
    QAL_UINT32 ulStatus;
    QAL_UINT32 ulNode; // kNone unless the status is 0
};

/// Checks the arguments of a search, sets the result to null and looks for the match. Not inlined:
/// two calls share one copy.
[[gnu::noinline]] Found Search(void *pstruHead, const void *pCmpCondition,
                               XELP_SLinkList_NodeCmp pfunCmpNode, void **ppUserNode)
{
    if (pstruHead == nullptr) {
        return {XELP_ERR_SLL_INVALID_PARA, kNone};
    }
    const Head &head = *static_cast<const Head *>(pstruHead);
    if (pfunCmpNode == nullptr) {
        pfunCmpNode = head.pfunCmpNode;
    }
    if (pfunCmpNode == nullptr || pCmpCondition == nullptr || ppUserNode == nullptr) {
        return {XELP_ERR_SLL_INVALID_PARA, kNone};
    }
    *ppUserNode = nullptr;
    if (head.ulUseNum == 0) {
        return {XELP_ERR_SLL_NULL, kNone};
    }
    for (QAL_UINT32 i = head.ulFirstNode; i != kNone; i = head.pstruBase[i].ulNNode) {
        if (pfunCmpNode(pCmpCondition, head.pstruBase[i].pstruUserNode) == 0) {
            return {0, i};
        }
    }
    return {XELP_ERR_SLL_FIND, kNone};
}

} // namespace
} // namespace wyx::slink

using namespace wyx::slink;

extern "C" {

QAL_UINT32 XELP_SLinkList_Init(QAL_UINT32 ulNodeNum, XELP_SLinkList_NodeCmp pfunCmpNode,
                               XELP_SLinkList_FreeNode pfunFreeNode, void **pstruHead)
{
    if (ulNodeNum == 0 || pstruHead == nullptr || pfunFreeNode == nullptr) {
        return XELP_ERR_SLL_INVALID_PARA;
    }
    void *const pBlock = wyx::AllocateArray(
        BlockSize(ulNodeNum), [](QAL_UINT32 ulSize, QAL_UINT32 ulLine, const QAL_CHAR *pszFile) {
            return XELP_MemMallocS(ulSize, 0, ulLine, pszFile);
        });
    if (pBlock == nullptr) {
        return XELP_ERR_SLL_MEMORY;
    }
    auto *const pHead = static_cast<Head *>(pBlock);
    auto *const pBase = reinterpret_cast<Node *>(pHead + 1);
    pHead->ulFirstNode = kNone;
    pHead->ulLastNode = kNone;
    pHead->ulNow = kNone;
    pHead->ulTotalNum = ulNodeNum;
    pHead->ulUseNum = 0;
    pHead->ulFirstNoUseNode = 0;
    pHead->pstruBase = pBase;
    pHead->pfunCmpNode = pfunCmpNode;
    pHead->pfunFreeNode = pfunFreeNode;
    // In the slots, only the links of the free chain are set: the platform fills the block with 0.
    for (QAL_UINT32 i = 0; i < ulNodeNum; ++i) {
        pBase[i].ulNNode = i + 1;
    }
    pBase[ulNodeNum - 1].ulNNode = kNone;
    *pstruHead = pHead;
    return 0;
}

QAL_UINT32 XELP_SLinkList_Deinit(void *pstruHead, XELP_E_SLL_FreeUserNode enFlag)
{
    if (pstruHead == nullptr) {
        return XELP_ERR_SLL_INVALID_PARA;
    }
    const Head &head = *static_cast<const Head *>(pstruHead);
    if (enFlag == XELP_SLL_FreeUserNode_Yes && head.ulUseNum != 0) {
        for (QAL_UINT32 i = head.ulFirstNode; i != kNone; i = head.pstruBase[i].ulNNode) {
            head.pfunFreeNode(head.pstruBase[i].pstruUserNode);
            head.pstruBase[i].pstruUserNode = nullptr;
        }
    }
    wyx::Release(pstruHead);
    return 0;
}

QAL_UINT32 XELP_SLinkList_Insert(void *pstruHead, void *pstruNode,
                                 XELP_E_SLL_Insert_Position enPosition)
{
    if (pstruHead == nullptr || pstruNode == nullptr) {
        return XELP_ERR_SLL_INVALID_PARA;
    }
    Head &head = *static_cast<Head *>(pstruHead);
    if (head.ulFirstNoUseNode == kNone) {
        return XELP_ERR_SLL_FULL;
    }
    // Kept: the slot is taken before the position is checked, so an invalid position wipes it
    // (SLinkListSlots.RefusedPositionReturnsTheSlot).
    const QAL_UINT32 ulNode = TakeSlot(head);
    Gap gap = {kNone, kNone};
    // Kept: an empty list accepts any position (ListTest.InsertPutsTheElementAtItsPosition).
    if (head.ulFirstNode != kNone && !FindGap(head, enPosition, gap)) [[unlikely]] {
        return ReturnSlotAndStatus(head, ulNode, XELP_ERR_SLL_INVALID_PARA);
    }
    Node &node = head.pstruBase[ulNode];
    node.ulPNode = gap.ulPrev;
    node.ulNNode = gap.ulNext;
    Join(head, gap, ulNode, ulNode);
    head.ulNow = ulNode;
    node.pstruUserNode = pstruNode;
    return 0;
}

QAL_UINT32 XELP_SLinkList_Remove(void *pstruHead, const void *pCmpCondition,
                                 XELP_SLinkList_NodeCmp pfunCmpNode, void **pstruNode)
{
    const Found found = Search(pstruHead, pCmpCondition, pfunCmpNode, pstruNode);
    if (found.ulStatus == 0) {
        Head &head = *static_cast<Head *>(pstruHead);
        UnlinkAnywhere(head, found.ulNode, pstruNode);
    }
    return found.ulStatus;
}

QAL_UINT32 XELP_SLinkList_Delete(void *pstruHead, const void *pCmpCondition,
                                 XELP_SLinkList_NodeCmp pfunCmpNode)
{
    return DeleteBy(pstruHead, [=](void *pHead, void **ppUserNode) {
        return XELP_SLinkList_Remove(pHead, pCmpCondition, pfunCmpNode, ppUserNode);
    });
}

QAL_UINT32 XELP_SLinkList_Query(void *pstruHead, const void *pCmpCondition,
                                XELP_SLinkList_NodeCmp pfunCmpNode, void **pstruNode)
{
    const Found found = Search(pstruHead, pCmpCondition, pfunCmpNode, pstruNode);
    if (found.ulStatus == 0) {
        Head &head = *static_cast<Head *>(pstruHead);
        *pstruNode = head.pstruBase[found.ulNode].pstruUserNode;
        head.ulNow = found.ulNode;
    }
    return found.ulStatus;
}

QAL_UINT32 XELP_SLinkList_Get_ListSize(void *pstruHead, QAL_UINT32 *ulListSize)
{
    if (pstruHead == nullptr || ulListSize == nullptr) {
        return XELP_ERR_SLL_INVALID_PARA;
    }
    *ulListSize = static_cast<const Head *>(pstruHead)->ulTotalNum;
    return 0;
}

QAL_UINT32 XELP_SLinkList_Get_NodeNumber(void *pstruHead, QAL_UINT32 *ulTotalNum)
{
    if (pstruHead == nullptr || ulTotalNum == nullptr) {
        return XELP_ERR_SLL_INVALID_PARA;
    }
    *ulTotalNum = static_cast<const Head *>(pstruHead)->ulUseNum;
    return 0;
}

QAL_UINT32 XELP_SLinkList_Set_CurPtr(void *pstruHead)
{
    if (pstruHead == nullptr) {
        return XELP_ERR_SLL_INVALID_PARA;
    }
    Head &head = *static_cast<Head *>(pstruHead);
    head.ulNow = head.ulFirstNode;
    return 0;
}

// Kept: no failure touches the result (SLinkListResults.AreLeftAsDocumented).
QAL_UINT32 XELP_SLinkList_Get_CurNode(void *pstruHead, void **pstruNode)
{
    if (pstruHead == nullptr || pstruNode == nullptr) {
        return XELP_ERR_SLL_INVALID_PARA;
    }
    const Head &head = *static_cast<const Head *>(pstruHead);
    return Get(head, Cursor(head), pstruNode);
}

QAL_UINT32 XELP_SLinkList_PriorPtr(void *pstruHead)
{
    return StepOnly(pstruHead, &Node::ulPNode, XELP_ERR_SLL_HEAD);
}

QAL_UINT32 XELP_SLinkList_NextPtr(void *pstruHead)
{
    return StepOnly(pstruHead, &Node::ulNNode, XELP_ERR_SLL_TAIL);
}

QAL_UINT32 XELP_SLinkList_Get_PriorNode(void *pstruHead, void **pstruNode)
{
    if (pstruHead == nullptr || pstruNode == nullptr) {
        return XELP_ERR_SLL_INVALID_PARA;
    }
    return StepAndGet(*static_cast<Head *>(pstruHead), &Node::ulPNode, XELP_ERR_SLL_HEAD,
                      pstruNode);
}

// Kept: only the handle is checked, so an empty list is reported even if the result pointer is null
// (SLinkListArguments.NullResultIsAllowedOnAnEmptyList).
QAL_UINT32 XELP_SLinkList_Get_NextNode(void *pstruHead, void **pstruNode)
{
    if (pstruHead == nullptr) {
        return XELP_ERR_SLL_INVALID_PARA;
    }
    return StepAndGet(*static_cast<Head *>(pstruHead), &Node::ulNNode, XELP_ERR_SLL_TAIL,
                      pstruNode);
}

QAL_UINT32 XELP_SLinkList_Get_HeadNode(void *pstruHead, void **pstruNode)
{
    const Head *const pHead = ClearAndOpen(pstruHead, pstruNode);
    return pHead != nullptr ? Get(*pHead, pHead->ulFirstNode, pstruNode)
                            : XELP_ERR_SLL_INVALID_PARA;
}

QAL_UINT32 XELP_SLinkList_Get_TailNode(void *pstruHead, void **pstruNode)
{
    const Head *const pHead = ClearAndOpen(pstruHead, pstruNode);
    return pHead != nullptr ? Get(*pHead, pHead->ulLastNode, pstruNode) : XELP_ERR_SLL_INVALID_PARA;
}

// Kept: only the handle is checked, so an empty list is reported even if the result pointer is null
// (SLinkListArguments.NullResultIsAllowedOnAnEmptyList).
QAL_UINT32 XELP_SLinkList_Remove_CurNode(void *pstruHead, void **pstruNode)
{
    if (pstruHead == nullptr) {
        return XELP_ERR_SLL_INVALID_PARA;
    }
    Head &head = *static_cast<Head *>(pstruHead);
    const QAL_UINT32 ulNode = Cursor(head);
    if (ulNode == kNone) {
        return XELP_ERR_SLL_NULL;
    }
    UnlinkAnywhere(head, ulNode, pstruNode);
    return 0;
}

QAL_UINT32 XELP_SLinkList_Remove_HeadNode(void *pstruHead, void **pstruNode)
{
    return RemoveEnd(pstruHead, &Head::ulFirstNode, GapOfFirst, pstruNode);
}

QAL_UINT32 XELP_SLinkList_Remove_TailNode(void *pstruHead, void **pstruNode)
{
    return RemoveEnd(pstruHead, &Head::ulLastNode, GapOfLast, pstruNode);
}

QAL_UINT32 XELP_SLinkList_Delete_CurNode(void *pstruHead)
{
    return DeleteAt(pstruHead, XELP_SLinkList_Remove_CurNode);
}

QAL_UINT32 XELP_SLinkList_Delete_HeadNode(void *pstruHead)
{
    return DeleteAt(pstruHead, XELP_SLinkList_Remove_HeadNode);
}

QAL_UINT32 XELP_SLinkList_Delete_TailNode(void *pstruHead)
{
    return DeleteAt(pstruHead, XELP_SLinkList_Remove_TailNode);
}

QAL_UINT32 XELP_SLinkList_Process_List(void *pstruHead, XELP_SLinkList_ProcessFun pfunProcess,
                                       void *pProcessCondition, void **pOther)
{
    if (pstruHead == nullptr || pfunProcess == nullptr) {
        return XELP_ERR_SLL_INVALID_PARA;
    }
    Head &head = *static_cast<Head *>(pstruHead);
    if (head.ulUseNum == 0) {
        return XELP_ERR_SLL_NULL;
    }
    for (QAL_UINT32 ulNode = head.ulFirstNode; ulNode != kNone;) {
        head.ulNow = ulNode;
        if (pfunProcess(pProcessCondition, head.pstruBase[ulNode].pstruUserNode, pOther) != 0) {
            return XELP_ERR_SLL_BREAK;
        }
        if (head.ulNow == ulNode) [[likely]] {
            ulNode = head.pstruBase[ulNode].ulNNode;
        } else {
            // Kept: if the callback removed the last element, the cursor is on its predecessor,
            // which is visited again (ListTest.WalkContinuesFromTheCursor).
            ulNode = head.ulNow;
        }
    }
    return 0;
}

QAL_UINT32 SLinkList_Remove_FreeNode(void *pstruHead)
{
    if (pstruHead == nullptr) {
        return kNone;
    }
    Head &head = *static_cast<Head *>(pstruHead);
    return head.ulFirstNoUseNode != kNone ? TakeSlot(head) : kNone;
}

QAL_UINT32 SLinkList_Insert_FreeNode(void *pstruHead, QAL_UINT32 ulFreeNode)
{
    if (pstruHead == nullptr) {
        return XELP_ERR_SLL_INVALID_PARA;
    }
    Head &head = *static_cast<Head *>(pstruHead);
    if (ulFreeNode >= head.ulTotalNum) {
        return XELP_ERR_SLL_INVALID_PARA;
    }
    return ReturnSlotAndStatus(head, ulFreeNode, 0);
}

} // extern "C"
