/* Checks the header in plain C99, included twice: layouts, enumerators, calls with C linkage. */
#include "wyx_commlib/slink.h"

#include <stddef.h>

#include "header_callbacks.h"
#include "header_check.h"

/* included again */
#include "wyx_commlib/slink.h"

WYX_CHECK(sizeof(xelpSLLErrCode) == 4);
WYX_CHECK(XELP_ERR_SLL_INVALID_PARA == 10);
WYX_CHECK(XELP_ERR_SLL_MEMORY == 20);
WYX_CHECK(XELP_ERR_SLL_FULL == 30);
WYX_CHECK(XELP_ERR_SLL_FIND == 40);
WYX_CHECK(XELP_ERR_SLL_HEAD == 50);
WYX_CHECK(XELP_ERR_SLL_TAIL == 60);
WYX_CHECK(XELP_ERR_SLL_NULL == 70);
WYX_CHECK(XELP_ERR_SLL_BREAK == 80);
WYX_CHECK(XELP_ERR_SLL_BUTT == 100);

WYX_CHECK(sizeof(XELP_E_SLL_Insert_Position) == 4);
WYX_CHECK(XELP_SLL_Insert_Front_FirstNode == 0);
WYX_CHECK(XELP_SLL_Insert_After_LastNode == 1);
WYX_CHECK(XELP_SLL_Insert_Front_CurNode == 2);
WYX_CHECK(XELP_SLL_Insert_After_CurNode == 3);
WYX_CHECK(XELP_SLL_Insert_BUTT == 4);

WYX_CHECK(sizeof(XELP_E_SLL_FreeUserNode) == 4);
WYX_CHECK(XELP_SLL_FreeUserNode_Yes == 0);
WYX_CHECK(XELP_SLL_FreeUserNode_No == 1);
WYX_CHECK(XELP_SLL_FreeUserNode_BUTT == 2);

WYX_CHECK(sizeof(SLinkList_S_Node) == 16);
WYX_CHECK(offsetof(struct xelpSLinkList_S_Node, ulPNode) == 0);
WYX_CHECK(offsetof(struct xelpSLinkList_S_Node, ulNNode) == 4);
WYX_CHECK(offsetof(struct xelpSLinkList_S_Node, pstruUserNode) == 8);

WYX_CHECK(sizeof(SLinkList_S_Head) == 48);
WYX_CHECK(offsetof(struct xelpSLinkList_S_Head, ulFirstNode) == 0);
WYX_CHECK(offsetof(struct xelpSLinkList_S_Head, ulLastNode) == 4);
WYX_CHECK(offsetof(struct xelpSLinkList_S_Head, ulNow) == 8);
WYX_CHECK(offsetof(struct xelpSLinkList_S_Head, ulTotalNum) == 12);
WYX_CHECK(offsetof(struct xelpSLinkList_S_Head, ulUseNum) == 16);
WYX_CHECK(offsetof(struct xelpSLinkList_S_Head, ulFirstNoUseNode) == 20);
WYX_CHECK(offsetof(struct xelpSLinkList_S_Head, pstruBase) == 24);
WYX_CHECK(offsetof(struct xelpSLinkList_S_Head, pfunCmpNode) == 32);
WYX_CHECK(offsetof(struct xelpSLinkList_S_Head, pfunFreeNode) == 40);

/* Each enumeration also has a tag, which names a type of the same size. */
WYX_CHECK(sizeof(enum xelpSLLErrCode) == sizeof(xelpSLLErrCode));
WYX_CHECK(sizeof(enum xelpSLLInsertPosition) == sizeof(XELP_E_SLL_Insert_Position));
WYX_CHECK(sizeof(enum xelpSLLFreeUserNode) == sizeof(XELP_E_SLL_FreeUserNode));

static QAL_UINT32 IsSame(const void *pCmpCondition, void *pstruUserNode)
{
    return pCmpCondition != pstruUserNode;
}

int main(void)
{
    int aiUser[3] = {1, 20, 300};
    int iSum = 0;
    QAL_UINT32 ulNumber = 0;
    void *pList = NULL;
    void *pUser = NULL;
    void *pLast = NULL;
    int isBad = XELP_SLinkList_Init(3, IsSame, Zero, &pList) != 0;

    isBad |= XELP_SLinkList_Insert(pList, &aiUser[1], XELP_SLL_Insert_After_LastNode) != 0;
    isBad |= XELP_SLinkList_Insert(pList, &aiUser[0], XELP_SLL_Insert_Front_FirstNode) != 0;
    isBad |= XELP_SLinkList_Query(pList, &aiUser[1], NULL, &pUser) != 0 || pUser != &aiUser[1];
    isBad |= XELP_SLinkList_Insert(pList, &aiUser[2], XELP_SLL_Insert_After_CurNode) != 0;
    isBad |= SLinkList_Remove_FreeNode(pList) != 0xFFFFFFFFU;
    isBad |= SLinkList_Insert_FreeNode(pList, 3) != XELP_ERR_SLL_INVALID_PARA;
    isBad |= XELP_SLinkList_Process_List(pList, Add, &iSum, &pLast) != 0 || iSum != 321 ||
             pLast != &aiUser[2];
    isBad |= XELP_SLinkList_Get_PriorNode(pList, &pUser) != 0 || pUser != &aiUser[1];
    isBad |= XELP_SLinkList_Delete(pList, &aiUser[0], IsSame) != 0 || aiUser[0] != 0;
    isBad |= XELP_SLinkList_Get_NodeNumber(pList, &ulNumber) != 0 || ulNumber != 2;
    isBad |= XELP_SLinkList_Get_ListSize(pList, &ulNumber) != 0 || ulNumber != 3;
    isBad |= XELP_SLinkList_Remove_TailNode(pList, &pUser) != 0 || pUser != &aiUser[2];
    isBad |= XELP_SLinkList_Deinit(pList, XELP_SLL_FreeUserNode_Yes) != 0;
    return isBad || aiUser[1] != 0 || aiUser[2] != 300;
}
