// Describes the doubly linked list to the test suite that both lists share.
#ifndef WYX_TESTS_DLINK_DLINK_LIST_H
#define WYX_TESTS_DLINK_DLINK_LIST_H

#include "list_suite.h"
#include "wyx_commlib/dlink.h"

namespace wyx::test {

struct DLink {
    using Head = DLinkList_S_Head;
    using NodeCmp = XELP_DLinkList_NodeCmp;
    using Position = XELP_E_DLL_Insert_Position;
    using Flag = XELP_E_DLL_FreeUserNode;

    static constexpr QAL_UINT32 kErrInvalid = XELP_ERR_DLL_INVALID_PARA;
    static constexpr QAL_UINT32 kErrMemory = XELP_ERR_DLL_MEMORY;
    static constexpr QAL_UINT32 kErrFull = XELP_ERR_DLL_BUTT; // never returned: there is no limit
    static constexpr QAL_UINT32 kErrFind = XELP_ERR_DLL_FIND;
    static constexpr QAL_UINT32 kErrHead = XELP_ERR_DLL_HEAD;
    static constexpr QAL_UINT32 kErrTail = XELP_ERR_DLL_TAIL;
    static constexpr QAL_UINT32 kErrNull = XELP_ERR_DLL_NULL;
    static constexpr QAL_UINT32 kErrBreak = XELP_ERR_DLL_BREAK;
    static constexpr Position kFrontFirst = XELP_DLL_Insert_Front_FirstNode;
    static constexpr Position kAfterLast = XELP_DLL_Insert_After_LastNode;
    static constexpr Position kFrontCur = XELP_DLL_Insert_Front_CurNode;
    static constexpr Position kAfterCur = XELP_DLL_Insert_After_CurNode;
    static constexpr Flag kYes = XELP_DLL_FreeUserNode_Yes;
    static constexpr Flag kNo = XELP_DLL_FreeUserNode_No;

    static constexpr std::size_t kCapacity = 0; // no limit
    /// What calls that need a cursor leave in the result for an empty list or a null handle.
    static constexpr char kResultWithoutCursor = kNull;
    static constexpr bool kRefusesEveryNullResult = true;

    static constexpr auto Init = XELP_DLinkList_Init;
    WYX_EACH_LIST_CALL(WYX_LIST_CALL, XELP_DLinkList)

    static std::vector<std::uint64_t> UnusedAtFirst() { return {}; }

    /// Reads the list of a handle and checks all its links.
    static Observed Observe(const void *pList)
    {
        const auto &head = *static_cast<const Head *>(pList);
        Observed observed;
        const DLinkList_S_Node *pPrev = nullptr;
        for (const DLinkList_S_Node *p = head.pstruFirstNode; p != nullptr; p = p->pstruNNode) {
            EXPECT_EQ(p->pstruPNode, pPrev);
            if (p == head.pstruNow) {
                observed.cursor = observed.users.size();
            }
            observed.users.push_back(p->pstruUserNode);
            observed.places.push_back(reinterpret_cast<std::uintptr_t>(p));
            pPrev = p;
            if (observed.users.size() > head.ulTotalNum) {
                ADD_FAILURE() << "more elements than the list counts";
                break;
            }
        }
        EXPECT_EQ(head.pstruLastNode, pPrev);
        EXPECT_EQ(head.ulTotalNum, observed.users.size());
        EXPECT_EQ(head.pstruNow != nullptr, !observed.users.empty());
        EXPECT_EQ(observed.cursor != kNowhere, !observed.users.empty());
        return observed;
    }
};

} // namespace wyx::test

#endif
