/* Checks the header in plain C99, included twice: layouts, enumerators, calls with C linkage. */
#include "wyx_commlib/dlink.h"

#include <stddef.h>

#include "header_callbacks.h"
#include "header_check.h"

/* included again */
#include "wyx_commlib/dlink.h"

WYX_CHECK(sizeof(xelpDLLErrCode) == 4);
WYX_CHECK(XELP_ERR_DLL_INVALID_PARA == 10);
WYX_CHECK(XELP_ERR_DLL_MEMORY == 20);
WYX_CHECK(XELP_ERR_DLL_FIND == 30);
WYX_CHECK(XELP_ERR_DLL_HEAD == 40);
WYX_CHECK(XELP_ERR_DLL_TAIL == 50);
WYX_CHECK(XELP_ERR_DLL_NULL == 60);
WYX_CHECK(XELP_ERR_DLL_BREAK == 70);
WYX_CHECK(XELP_ERR_DLL_BUTT == 100);

WYX_CHECK(sizeof(XELP_E_DLL_Insert_Position) == 4);
WYX_CHECK(XELP_DLL_Insert_Front_FirstNode == 0);
WYX_CHECK(XELP_DLL_Insert_After_LastNode == 1);
WYX_CHECK(XELP_DLL_Insert_Front_CurNode == 2);
WYX_CHECK(XELP_DLL_Insert_After_CurNode == 3);
WYX_CHECK(XELP_DLL_Insert_BUTT == 4);

WYX_CHECK(sizeof(XELP_E_DLL_FreeUserNode) == 4);
WYX_CHECK(XELP_DLL_FreeUserNode_Yes == 0);
WYX_CHECK(XELP_DLL_FreeUserNode_No == 1);
WYX_CHECK(XELP_DLL_FreeUserNode_BUTT == 2);

WYX_CHECK(sizeof(DLinkList_S_Node) == 24);
WYX_CHECK(offsetof(struct xelpDLinkList_S_Node, pstruPNode) == 0);
WYX_CHECK(offsetof(struct xelpDLinkList_S_Node, pstruNNode) == 8);
WYX_CHECK(offsetof(struct xelpDLinkList_S_Node, pstruUserNode) == 16);

WYX_CHECK(sizeof(DLinkList_S_Head) == 48);
WYX_CHECK(offsetof(struct xelpDLinkList_S_Head, pstruFirstNode) == 0);
WYX_CHECK(offsetof(struct xelpDLinkList_S_Head, pstruLastNode) == 8);
WYX_CHECK(offsetof(struct xelpDLinkList_S_Head, pstruNow) == 16);
WYX_CHECK(offsetof(struct xelpDLinkList_S_Head, ulTotalNum) == 24);
WYX_CHECK(offsetof(struct xelpDLinkList_S_Head, pfunCmpNode) == 32);
WYX_CHECK(offsetof(struct xelpDLinkList_S_Head, pfunFreeNode) == 40);

/* Each enumeration also has a tag, which names a type of the same size. */
WYX_CHECK(sizeof(enum xelpDLLErrCode) == sizeof(xelpDLLErrCode));
WYX_CHECK(sizeof(enum xelpDLLInsertPosition) == sizeof(XELP_E_DLL_Insert_Position));
WYX_CHECK(sizeof(enum xelpDLLFreeUserNode) == sizeof(XELP_E_DLL_FreeUserNode));

static QAL_UINT32 IsSame(const void *pCmpCondition, void *pstruUserNode)
{
    return pCmpCondition != pstruUserNode;
}

int main(void)
{
    int aiUser[3] = {1, 20, 300};
    int iSum = 0;
    QAL_UINT32 ulTotalNum = 0;
    void *pList = NULL;
    void *pUser = NULL;
    void *pLast = NULL;
    int isBad = XELP_DLinkList_Init(IsSame, Zero, &pList) != 0;

    isBad |= XELP_DLinkList_Insert(pList, &aiUser[1], XELP_DLL_Insert_After_LastNode) != 0;
    isBad |= XELP_DLinkList_Insert(pList, &aiUser[0], XELP_DLL_Insert_Front_FirstNode) != 0;
    isBad |= XELP_DLinkList_Query(pList, &aiUser[1], NULL, &pUser) != 0 || pUser != &aiUser[1];
    isBad |= XELP_DLinkList_Insert(pList, &aiUser[2], XELP_DLL_Insert_After_CurNode) != 0;
    isBad |= XELP_DLinkList_Process_List(pList, Add, &iSum, &pLast) != 0 || iSum != 321 ||
             pLast != &aiUser[2];
    isBad |= XELP_DLinkList_Get_PriorNode(pList, &pUser) != 0 || pUser != &aiUser[1];
    isBad |= XELP_DLinkList_Delete(pList, &aiUser[0], IsSame) != 0 || aiUser[0] != 0;
    isBad |= XELP_DLinkList_Get_NodeNumber(pList, &ulTotalNum) != 0 || ulTotalNum != 2;
    isBad |= XELP_DLinkList_Remove_TailNode(pList, &pUser) != 0 || pUser != &aiUser[2];
    isBad |= XELP_DLinkList_Deinit(pList, XELP_DLL_FreeUserNode_Yes) != 0;
    return isBad || aiUser[1] != 0 || aiUser[2] != 300;
}
