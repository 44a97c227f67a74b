// Doubly linked list. Insertion and removal both use Join() to set the links on both sides of a
// gap. Only Unlink() removes an element.
#include "wyx_commlib/dlink.h"

#include <cstdint>

#include "blocks.h"

namespace wyx::dlink {
namespace {

using Head = DLinkList_S_Head;
using Node = DLinkList_S_Node;

/// A place between two neighbours. At an end of the list, the missing neighbour is null.
struct Gap {
    Node *pPrev;
    Node *pNext;
};

/// Links the neighbour before the gap forward to @p pAfterPrev, and the neighbour after the gap
/// back to @p pBeforeNext. At an end of the list, sets the head's link instead.
void Join(Head &head, Gap gap, Node *pAfterPrev, Node *pBeforeNext)
{
    (gap.pPrev != nullptr ? gap.pPrev->pstruNNode : head.pstruFirstNode) = pAfterPrev;
    (gap.pNext != nullptr ? gap.pNext->pstruPNode : head.pstruLastNode) = pBeforeNext;
}

/// Finds the gap for a position in a list that is not empty; returns false for an invalid position.
bool FindGap(const Head &head, XELP_E_DLL_Insert_Position enPosition, Gap &gap)
{
    // Checked first, because appending is the most common case.
    if (enPosition == XELP_DLL_Insert_After_LastNode) [[likely]] {
        gap = {head.pstruLastNode, nullptr};
        return true;
    }
    switch (enPosition) {
        case XELP_DLL_Insert_Front_FirstNode:
            gap = {nullptr, head.pstruFirstNode};
            return true;
        case XELP_DLL_Insert_Front_CurNode:
            gap = {head.pstruNow->pstruPNode, head.pstruNow};
            return true;
        case XELP_DLL_Insert_After_CurNode:
            gap = {head.pstruNow, head.pstruNow->pstruNNode};
            return true;
        default:
            return false;
    }
}

// The gap that an element leaves when it is removed. GapOfFirst() does not read the link to the
// previous element, and GapOfLast() does not read the link to the next. So even if somebody changed
// these links, the new first element gets no predecessor, and the new last element no successor.

Gap GapOf(const Node &node)
{
    return {node.pstruPNode, node.pstruNNode};
}

Gap GapOfFirst(const Node &node)
{
    return {nullptr, node.pstruNNode};
}

Gap GapOfLast(const Node &node)
{
    return {node.pstruPNode, nullptr};
}

/// Releases a link node. Not inlined: Release() passes the address of a local pointer to the
/// platform, so every caller would get a stack guard.
[[gnu::noinline]] void ReleaseNode(Node *pNode)
{
    Release(pNode);
}

/// Removes an element, puts the cursor beside the gap, and returns the element's user node.
void *Unlink(Head &head, Node *pNode, Gap gap)
{
    Join(head, gap, gap.pNext, gap.pPrev);
    // Kept: the cursor moves even if it was on another element
    // (ListTest.RemovalMovesTheCursorBesideTheGap).
    head.pstruNow = gap.pNext != nullptr ? gap.pNext : gap.pPrev;
    void *const pUserNode = pNode->pstruUserNode;
    ReleaseNode(pNode);
    --head.ulTotalNum;
    return pUserNode;
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

/// Sets a result to the user node of an element. Reports an empty list if @p pNode is null.
QAL_UINT32 Get(const Node *pNode, void **ppUserNode)
{
    if (pNode == nullptr) {
        return XELP_ERR_DLL_NULL;
    }
    *ppUserNode = pNode->pstruUserNode;
    return 0;
}

/// Moves the cursor along a link; returns @p ulAtEnd if the link is null.
QAL_UINT32 Step(void *pstruHead, Node *Node::*pLink, QAL_UINT32 ulAtEnd)
{
    if (pstruHead == nullptr) {
        return XELP_ERR_DLL_INVALID_PARA;
    }
    Head &head = *static_cast<Head *>(pstruHead);
    if (head.ulTotalNum == 0) {
        return XELP_ERR_DLL_NULL;
    }
    Node *const pTo = head.pstruNow->*pLink;
    if (pTo == nullptr) {
        return ulAtEnd;
    }
    head.pstruNow = pTo;
    return 0;
}

QAL_UINT32 StepAndGet(void *pstruHead, Node *Node::*pLink, QAL_UINT32 ulAtEnd, void **ppUserNode)
{
    const Head *const pHead = ClearAndOpen(pstruHead, ppUserNode);
    if (pHead == nullptr) {
        return XELP_ERR_DLL_INVALID_PARA;
    }
    const QAL_UINT32 ulStatus = Step(pstruHead, pLink, ulAtEnd);
    return ulStatus != 0 ? ulStatus : Get(pHead->pstruNow, ppUserNode);
}

/// Removes the element that a field of the head points to.
QAL_UINT32 RemoveAt(void *pstruHead, Node *Head::*pField, Gap (*pfunGap)(const Node &),
                    void **ppUserNode)
{
    Head *const pHead = ClearAndOpen(pstruHead, ppUserNode);
    if (pHead == nullptr) {
        return XELP_ERR_DLL_INVALID_PARA;
    }
    Node *const pNode = pHead->*pField;
    if (pNode == nullptr) {
        return XELP_ERR_DLL_NULL;
    }
    *ppUserNode = Unlink(*pHead, pNode, pfunGap(*pNode));
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
    Node *pNode; // null unless the status is 0
};

/// Checks the arguments of a search, sets the result to null and looks for the match. Not inlined:
/// two calls share one copy.
[[gnu::noinline]] Found Search(void *pstruHead, const void *pCmpCondition,
                               XELP_DLinkList_NodeCmp pfunCmpNode, void **ppUserNode)
{
    if (pstruHead == nullptr) {
        return {XELP_ERR_DLL_INVALID_PARA, nullptr};
    }
    const Head &head = *static_cast<const Head *>(pstruHead);
    if (pfunCmpNode == nullptr) {
        pfunCmpNode = head.pfunCmpNode;
    }
    if (pfunCmpNode == nullptr || pCmpCondition == nullptr || ppUserNode == nullptr) {
        return {XELP_ERR_DLL_INVALID_PARA, nullptr};
    }
    *ppUserNode = nullptr;
    if (head.ulTotalNum == 0) {
        return {XELP_ERR_DLL_NULL, nullptr};
    }
    for (Node *pNode = head.pstruFirstNode; pNode != nullptr; pNode = pNode->pstruNNode) {
        if (pfunCmpNode(pCmpCondition, pNode->pstruUserNode) == 0) {
            return {0, pNode};
        }
    }
    return {XELP_ERR_DLL_FIND, nullptr};
}

} // namespace
} // namespace wyx::dlink

using namespace wyx::dlink;

extern "C" {

QAL_UINT32 XELP_DLinkList_Init(XELP_DLinkList_NodeCmp pfunCmpNode,
                               XELP_DLinkList_FreeNode pfunFreeNode, void **pstruHead)
{
    if (pfunFreeNode == nullptr || pstruHead == nullptr) {
        return XELP_ERR_DLL_INVALID_PARA;
    }
    auto *const pHead = static_cast<Head *>(XELP_MemMallocS(sizeof(Head), 0, __LINE__, __FILE__));
    if (pHead == nullptr) {
        return XELP_ERR_DLL_MEMORY;
    }
    pHead->pfunCmpNode = pfunCmpNode; // the other fields are 0: the platform fills the block with 0
    pHead->pfunFreeNode = pfunFreeNode;
    *pstruHead = pHead;
    return 0;
}

QAL_UINT32 XELP_DLinkList_Deinit(void *pstruHead, XELP_E_DLL_FreeUserNode enFlag)
{
    if (pstruHead == nullptr) {
        return XELP_ERR_DLL_INVALID_PARA;
    }
    const Head &head = *static_cast<const Head *>(pstruHead);
    for (Node *pNode = head.pstruFirstNode; pNode != nullptr;) {
        if (enFlag == XELP_DLL_FreeUserNode_Yes) {
            head.pfunFreeNode(pNode->pstruUserNode);
        }
        Node *const pNext = pNode->pstruNNode;
        wyx::Release(pNode); // not ReleaseNode(): the teardown passes its own line number
        pNode = pNext;
    }
    wyx::Release(pstruHead);
    return 0;
}

QAL_UINT32 XELP_DLinkList_Insert(void *pstruHead, void *pstruNode,
                                 XELP_E_DLL_Insert_Position enPosition)
{
    if (pstruHead == nullptr || pstruNode == nullptr) {
        return XELP_ERR_DLL_INVALID_PARA;
    }
    // Kept: the node is allocated before the position is checked, so a failed allocation is
    // reported even if the position is invalid (DLinkListMemory.FailedInsertChangesNothing).
    auto *const pNode = static_cast<Node *>(XELP_MemMallocS(sizeof(Node), 0, __LINE__, __FILE__));
    if (pNode == nullptr) {
        return XELP_ERR_DLL_MEMORY;
    }
    Head &head = *static_cast<Head *>(pstruHead);
    Gap gap = {nullptr, nullptr};
    // Kept: an empty list accepts any position (ListTest.InsertPutsTheElementAtItsPosition).
    if (head.ulTotalNum != 0 && !FindGap(head, enPosition, gap)) {
        XELP_MemFreeD(pNode, __LINE__, __FILE__);
        return XELP_ERR_DLL_INVALID_PARA;
    }
    pNode->pstruPNode = gap.pPrev;
    pNode->pstruNNode = gap.pNext;
    pNode->pstruUserNode = pstruNode;
    Join(head, gap, pNode, pNode);
    head.pstruNow = pNode;
    ++head.ulTotalNum;
    return 0;
}

QAL_UINT32 XELP_DLinkList_Remove(void *pstruHead, const void *pCmpCondition,
                                 XELP_DLinkList_NodeCmp pfunCmpNode, void **pstruNode)
{
    const Found found = Search(pstruHead, pCmpCondition, pfunCmpNode, pstruNode);
    if (found.ulStatus == 0) {
        *pstruNode = Unlink(*static_cast<Head *>(pstruHead), found.pNode, GapOf(*found.pNode));
    }
    return found.ulStatus;
}

QAL_UINT32 XELP_DLinkList_Delete(void *pstruHead, const void *pCmpCondition,
                                 XELP_DLinkList_NodeCmp pfunCmpNode)
{
    return DeleteBy(pstruHead, [=](void *pHead, void **ppUserNode) {
        return XELP_DLinkList_Remove(pHead, pCmpCondition, pfunCmpNode, ppUserNode);
    });
}

QAL_UINT32 XELP_DLinkList_Query(void *pstruHead, const void *pCmpCondition,
                                XELP_DLinkList_NodeCmp pfunCmpNode, void **pstruNode)
{
    const Found found = Search(pstruHead, pCmpCondition, pfunCmpNode, pstruNode);
    if (found.ulStatus == 0) {
        *pstruNode = found.pNode->pstruUserNode;
        static_cast<Head *>(pstruHead)->pstruNow = found.pNode;
    }
    return found.ulStatus;
}

QAL_UINT32 XELP_DLinkList_Get_NodeNumber(void *pstruHead, QAL_UINT32 *ulTotalNum)
{
    if (pstruHead == nullptr || ulTotalNum == nullptr) {
        return XELP_ERR_DLL_INVALID_PARA;
    }
    *ulTotalNum = static_cast<const Head *>(pstruHead)->ulTotalNum;
    return 0;
}

QAL_UINT32 XELP_DLinkList_Set_CurPtr(void *pstruHead)
{
    if (pstruHead == nullptr) {
        return XELP_ERR_DLL_INVALID_PARA;
    }
    Head &head = *static_cast<Head *>(pstruHead);
    head.pstruNow = head.pstruFirstNode;
    return 0;
}

QAL_UINT32 XELP_DLinkList_Get_CurNode(void *pstruHead, void **pstruNode)
{
    const Head *const pHead = ClearAndOpen(pstruHead, pstruNode);
    if (pHead == nullptr) {
        return XELP_ERR_DLL_INVALID_PARA;
    }
    // Kept: the count decides whether the list is empty, even if there is a cursor
    // (DLinkListEmptiness.IsDecidedByTheDocumentedField).
    return Get(pHead->ulTotalNum != 0 ? pHead->pstruNow : nullptr, pstruNode);
}

QAL_UINT32 XELP_DLinkList_PriorPtr(void *pstruHead)
{
    return Step(pstruHead, &Node::pstruPNode, XELP_ERR_DLL_HEAD);
}

QAL_UINT32 XELP_DLinkList_NextPtr(void *pstruHead)
{
    return Step(pstruHead, &Node::pstruNNode, XELP_ERR_DLL_TAIL);
}

QAL_UINT32 XELP_DLinkList_Get_PriorNode(void *pstruHead, void **pstruNode)
{
    return StepAndGet(pstruHead, &Node::pstruPNode, XELP_ERR_DLL_HEAD, pstruNode);
}

QAL_UINT32 XELP_DLinkList_Get_NextNode(void *pstruHead, void **pstruNode)
{
    return StepAndGet(pstruHead, &Node::pstruNNode, XELP_ERR_DLL_TAIL, pstruNode);
}

QAL_UINT32 XELP_DLinkList_Get_HeadNode(void *pstruHead, void **pstruNode)
{
    const Head *const pHead = ClearAndOpen(pstruHead, pstruNode);
    return pHead != nullptr ? Get(pHead->pstruFirstNode, pstruNode) : XELP_ERR_DLL_INVALID_PARA;
}

QAL_UINT32 XELP_DLinkList_Get_TailNode(void *pstruHead, void **pstruNode)
{
    const Head *const pHead = ClearAndOpen(pstruHead, pstruNode);
    return pHead != nullptr ? Get(pHead->pstruLastNode, pstruNode) : XELP_ERR_DLL_INVALID_PARA;
}

QAL_UINT32 XELP_DLinkList_Remove_CurNode(void *pstruHead, void **pstruNode)
{
    return RemoveAt(pstruHead, &Head::pstruNow, GapOf, pstruNode);
}

QAL_UINT32 XELP_DLinkList_Delete_CurNode(void *pstruHead)
{
    return DeleteAt(pstruHead, XELP_DLinkList_Remove_CurNode);
}

QAL_UINT32 XELP_DLinkList_Remove_HeadNode(void *pstruHead, void **pstruNode)
{
    return RemoveAt(pstruHead, &Head::pstruFirstNode, GapOfFirst, pstruNode);
}

QAL_UINT32 XELP_DLinkList_Remove_TailNode(void *pstruHead, void **pstruNode)
{
    return RemoveAt(pstruHead, &Head::pstruLastNode, GapOfLast, pstruNode);
}

QAL_UINT32 XELP_DLinkList_Delete_HeadNode(void *pstruHead)
{
    return DeleteAt(pstruHead, XELP_DLinkList_Remove_HeadNode);
}

QAL_UINT32 XELP_DLinkList_Delete_TailNode(void *pstruHead)
{
    return DeleteAt(pstruHead, XELP_DLinkList_Remove_TailNode);
}

QAL_UINT32 XELP_DLinkList_Process_List(void *pstruHead, XELP_DLinkList_ProcessFun pfunProcess,
                                       void *pProcessCondition, void **pOther)
{
    if (pstruHead == nullptr || pfunProcess == nullptr) {
        return XELP_ERR_DLL_INVALID_PARA;
    }
    Head &head = *static_cast<Head *>(pstruHead);
    if (head.ulTotalNum == 0) {
        return XELP_ERR_DLL_NULL;
    }
    Node *pNode = head.pstruFirstNode;
    while (pNode != nullptr) {
        // A number, not a pointer: the callback may release the node, and a dangling pointer must
        // not even be compared.
        const auto uVisited = reinterpret_cast<std::uintptr_t>(pNode);
        head.pstruNow = pNode;
        if (pfunProcess(pProcessCondition, pNode->pstruUserNode, pOther) != 0) {
            return XELP_ERR_DLL_BREAK;
        }
        // Kept: if the callback removed the last element, the cursor is on its predecessor, which
        // is visited again (ListTest.WalkContinuesFromTheCursor).
        pNode = head.pstruNow;
        if (reinterpret_cast<std::uintptr_t>(pNode) == uVisited) [[likely]] {
            pNode = pNode->pstruNNode;
        }
    }
    return 0;
}

} // extern "C"
