// Describes the fixed-capacity list to the test suite that both lists share.
#ifndef WYX_TESTS_SLINK_SLINK_LIST_H
#define WYX_TESTS_SLINK_SLINK_LIST_H

#include <numeric>

#include "list_suite.h"
#include "wyx_commlib/slink.h"

namespace wyx::test {

inline constexpr QAL_UINT32 kNone = 0xFFFFFFFF;

struct SLink {
    using Head = SLinkList_S_Head;
    using NodeCmp = XELP_SLinkList_NodeCmp;
    using Position = XELP_E_SLL_Insert_Position;
    using Flag = XELP_E_SLL_FreeUserNode;

    static constexpr QAL_UINT32 kErrInvalid = XELP_ERR_SLL_INVALID_PARA;
    static constexpr QAL_UINT32 kErrMemory = XELP_ERR_SLL_MEMORY;
    static constexpr QAL_UINT32 kErrFull = XELP_ERR_SLL_FULL;
    static constexpr QAL_UINT32 kErrFind = XELP_ERR_SLL_FIND;
    static constexpr QAL_UINT32 kErrHead = XELP_ERR_SLL_HEAD;
    static constexpr QAL_UINT32 kErrTail = XELP_ERR_SLL_TAIL;
    static constexpr QAL_UINT32 kErrNull = XELP_ERR_SLL_NULL;
    static constexpr QAL_UINT32 kErrBreak = XELP_ERR_SLL_BREAK;
    static constexpr Position kFrontFirst = XELP_SLL_Insert_Front_FirstNode;
    static constexpr Position kAfterLast = XELP_SLL_Insert_After_LastNode;
    static constexpr Position kFrontCur = XELP_SLL_Insert_Front_CurNode;
    static constexpr Position kAfterCur = XELP_SLL_Insert_After_CurNode;
    static constexpr Flag kYes = XELP_SLL_FreeUserNode_Yes;
    static constexpr Flag kNo = XELP_SLL_FreeUserNode_No;

    static constexpr QAL_UINT32 kCapacity = 12;
    /// What calls that need a cursor leave in the result for an empty list or a null handle.
    static constexpr char kResultWithoutCursor = kUntouched;
    static constexpr bool kRefusesEveryNullResult = false;

    static QAL_UINT32 Init(NodeCmp pfunCmpNode, XELP_SLinkList_FreeNode pfunFreeNode,
                           void **pstruHead)
    {
        return XELP_SLinkList_Init(kCapacity, pfunCmpNode, pfunFreeNode, pstruHead);
    }
    WYX_EACH_LIST_CALL(WYX_LIST_CALL, XELP_SLinkList)

    static std::vector<std::uint64_t> UnusedAtFirst()
    {
        std::vector<std::uint64_t> unused(kCapacity);
        std::iota(unused.begin(), unused.end(), 0U);
        return unused;
    }

    /// Reads the list of a handle and checks all its links, including those of the free slots.
    static Observed Observe(const void *pList)
    {
        const auto &head = *static_cast<const Head *>(pList);
        EXPECT_EQ(static_cast<const void *>(head.pstruBase), &head + 1);
        Observed observed;
        QAL_UINT32 ulPrev = kNone;
        for (QAL_UINT32 i = head.ulFirstNode; i != kNone; i = head.pstruBase[i].ulNNode) {
            if (i >= head.ulTotalNum || observed.users.size() == head.ulTotalNum) {
                ADD_FAILURE() << "a bad link, or too many elements, at slot " << i;
                return observed;
            }
            EXPECT_EQ(head.pstruBase[i].ulPNode, ulPrev);
            if (i == head.ulNow) {
                observed.cursor = observed.users.size();
            }
            observed.users.push_back(head.pstruBase[i].pstruUserNode);
            observed.places.push_back(i);
            ulPrev = i;
        }
        EXPECT_EQ(head.ulLastNode, ulPrev);
        EXPECT_EQ(head.ulUseNum, observed.users.size());
        EXPECT_EQ(head.ulNow != kNone, !observed.users.empty());
        EXPECT_EQ(observed.cursor != kNowhere, !observed.users.empty());
        for (QAL_UINT32 i = head.ulFirstNoUseNode; i != kNone; i = head.pstruBase[i].ulNNode) {
            if (i >= head.ulTotalNum || observed.unused.size() == head.ulTotalNum) {
                ADD_FAILURE() << "a bad link, or too many free slots, at slot " << i;
                return observed;
            }
            EXPECT_EQ(head.pstruBase[i].ulPNode, 0U);
            EXPECT_EQ(head.pstruBase[i].pstruUserNode, nullptr);
            observed.unused.push_back(i);
        }
        EXPECT_EQ(observed.users.size() + observed.unused.size(), head.ulTotalNum);
        return observed;
    }
};

} // namespace wyx::test

#endif
