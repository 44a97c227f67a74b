// Our two lists for the benchmarks. One template wraps both: the calls that it makes take the same
// arguments under different names.
#ifndef WYX_BENCH_OUR_LISTS_H
#define WYX_BENCH_OUR_LISTS_H

#include "wyx_commlib/dlink.h"
#include "wyx_commlib/slink.h"

namespace wyx::bench {

/// A list that releases no element.
template <auto kInsert, auto kFrontFirst, auto kAfterLast, auto kRemoveHead, auto kRemoveTail,
          auto kQuery, auto kProcess, auto kDeinit, auto kLeaveNodes>
class OurList {
  public:
    ~OurList() { kDeinit(pList_, kLeaveNodes); }
    OurList(const OurList &) = delete;
    void Append(void *pElement) { kInsert(pList_, pElement, kAfterLast); }
    void Prepend(void *pElement) { kInsert(pList_, pElement, kFrontFirst); }

    // These return null if there is no such element.
    void *TakeFirst()
    {
        void *pElement = nullptr;
        kRemoveHead(pList_, &pElement);
        return pElement;
    }
    void *TakeLast()
    {
        void *pElement = nullptr;
        kRemoveTail(pList_, &pElement);
        return pElement;
    }
    void *Find(const void *pCondition)
    {
        void *pElement = nullptr;
        kQuery(pList_, pCondition, nullptr, &pElement);
        return pElement;
    }

    void Walk(QAL_UINT32 (*pfunVisit)(void *, void *, void **), void *pCondition)
    {
        kProcess(pList_, pfunVisit, pCondition, nullptr);
    }

  protected:
    OurList() = default;
    static void LeaveAlone(void * /*pElement*/) {}

    void *pList_ = nullptr;
};

using Compare = QAL_UINT32 (*)(const void *, void *);

struct OurLinked
    : OurList<XELP_DLinkList_Insert, XELP_DLL_Insert_Front_FirstNode,
              XELP_DLL_Insert_After_LastNode, XELP_DLinkList_Remove_HeadNode,
              XELP_DLinkList_Remove_TailNode, XELP_DLinkList_Query, XELP_DLinkList_Process_List,
              XELP_DLinkList_Deinit, XELP_DLL_FreeUserNode_No> {
    OurLinked(QAL_UINT32 /*ulCapacity*/, Compare pfunCompare)
    {
        XELP_DLinkList_Init(pfunCompare, LeaveAlone, &pList_);
    }
};

struct OurIndexed
    : OurList<XELP_SLinkList_Insert, XELP_SLL_Insert_Front_FirstNode,
              XELP_SLL_Insert_After_LastNode, XELP_SLinkList_Remove_HeadNode,
              XELP_SLinkList_Remove_TailNode, XELP_SLinkList_Query, XELP_SLinkList_Process_List,
              XELP_SLinkList_Deinit, XELP_SLL_FreeUserNode_No> {
    OurIndexed(QAL_UINT32 ulCapacity, Compare pfunCompare)
    {
        XELP_SLinkList_Init(ulCapacity, pfunCompare, LeaveAlone, &pList_);
    }
};

} // namespace wyx::bench

#endif
