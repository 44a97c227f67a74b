/* Checks the header in plain C99, included twice: layouts, enumerators, calls with C linkage. */
#include "wyx_commlib/hash.h"

#include <stddef.h>

#include "header_callbacks.h"
#include "header_check.h"
#include "os_adapter.h"

/* included again */
#include "wyx_commlib/hash.h"

WYX_CHECK(sizeof(xelpHashErrCode) == 4);
WYX_CHECK(XELP_ERR_HASH_INVALID_PARA == 10);
WYX_CHECK(XELP_ERR_HASH_MEMORY == 20);
WYX_CHECK(XELP_ERR_HASH_FIND == 30);
WYX_CHECK(XELP_ERR_HASH_HEAD == 40);
WYX_CHECK(XELP_ERR_HASH_TAIL == 50);
WYX_CHECK(XELP_ERR_HASH_NULL == 60);
WYX_CHECK(XELP_ERR_HASH_BREAK == 70);
WYX_CHECK(XELP_ERR_HASH_HASHVALUE == 80);
WYX_CHECK(XELP_ERR_HASH_RESAVE == 90);
WYX_CHECK(XELP_ERR_HASH_NOW_NULL == 100);
WYX_CHECK(XELP_ERR_HASH_BUTT == 110);

WYX_CHECK(sizeof(XELP_E_HASH_FreeUserNode) == 4);
WYX_CHECK(XELP_HASH_FreeUserNode_Yes == 0);
WYX_CHECK(XELP_HASH_FreeUserNode_No == 1);
WYX_CHECK(XELP_HASH_FreeUserNode_BUTT == 2);

WYX_CHECK(sizeof(Hash_S_Node) == 24);
WYX_CHECK(offsetof(struct xelpHash_S_Node, pstruKey) == 0);
WYX_CHECK(offsetof(struct xelpHash_S_Node, pstruUserNode) == 8);
WYX_CHECK(offsetof(struct xelpHash_S_Node, pstruNNode) == 16);

WYX_CHECK(sizeof(Hash_S_Head) == 56);
WYX_CHECK(offsetof(struct xelpHash_S_Head, ulHashSize) == 0);
WYX_CHECK(offsetof(struct xelpHash_S_Head, ulNodeNum) == 4);
WYX_CHECK(offsetof(struct xelpHash_S_Head, pstruBase) == 8);
WYX_CHECK(offsetof(struct xelpHash_S_Head, pfunHashFun) == 16);
WYX_CHECK(offsetof(struct xelpHash_S_Head, pfunCmpNode) == 24);
WYX_CHECK(offsetof(struct xelpHash_S_Head, pfunFreeKey) == 32);
WYX_CHECK(offsetof(struct xelpHash_S_Head, pfunFreeNode) == 40);
WYX_CHECK(offsetof(struct xelpHash_S_Head, pstruNow) == 48);

/* Each enumeration also has a tag, which names a type of the same size. */
WYX_CHECK(sizeof(enum xelpHashErrCode) == sizeof(xelpHashErrCode));
WYX_CHECK(sizeof(enum xelpHashFreeUserNode) == sizeof(XELP_E_HASH_FreeUserNode));

static QAL_UINT32 HashInt(void *pKeyValue, QAL_UINT32 *pulHashValue)
{
    *pulHashValue = (QAL_UINT32) * (int *)pKeyValue;
    return 0;
}

static QAL_UINT32 CompareInts(void *pKeyValue, void *pstruKey)
{
    return *(int *)pKeyValue != *(int *)pstruKey;
}

static void ReleaseKey(void *pstruKey)
{
    XELP_MemFreeD(pstruKey, __LINE__, __FILE__);
}

int main(void)
{
    int aiUser[3] = {1, 20, 300};
    int iKey;
    int iSum = 0;
    QAL_UINT32 ulNumber = 0;
    void *pTable = NULL;
    void *pUser = NULL;
    void *pLast = NULL;
    int isBad = XELP_Hash_Init(2, HashInt, CompareInts, ReleaseKey, Zero, &pTable) != 0;

    for (iKey = 0; iKey < 3; ++iKey) {
        isBad |= XELP_Hash_SaveNode(pTable, &iKey, sizeof iKey, &aiUser[iKey]) != 0;
    }
    iKey = 1;
    isBad |= XELP_Hash_SaveNode(pTable, &iKey, sizeof iKey, &aiUser[2]) != XELP_ERR_HASH_RESAVE;
    isBad |= XELP_Hash_QueryNode(pTable, &iKey, &pUser) != 0 || pUser != &aiUser[1];
    isBad |= XELP_Hash_Process_List(pTable, Add, &iSum, &pLast) != 0 || iSum != 321 ||
             pLast != &aiUser[1];
    isBad |= XELP_Hash_Get_NodeNumber(pTable, &ulNumber) != 0 || ulNumber != 3;
    isBad |= XELP_Hash_Get_ListSize(pTable, &ulNumber) != 0 || ulNumber != 2;
    isBad |= XELP_Hash_DeleteCurNode(pTable) != 0 || aiUser[1] != 0;
    isBad |= XELP_Hash_RemoveNode(pTable, &iKey, &pUser) != XELP_ERR_HASH_FIND;
    iKey = 2;
    isBad |= XELP_Hash_RemoveNode(pTable, &iKey, &pUser) != 0 || pUser != &aiUser[2];
    isBad |= XELP_Hash_RemoveCurNode(pTable, &pUser) != 0 || pUser != &aiUser[0];
    isBad |= XELP_Hash_RemoveCurNode(pTable, &pUser) != XELP_ERR_HASH_NOW_NULL;
    iKey = 0;
    isBad |= XELP_Hash_DeleteNode(pTable, &iKey) != XELP_ERR_HASH_NULL;
    isBad |= XELP_Hash_DeInit(pTable, XELP_HASH_FreeUserNode_Yes) != 0;
    return isBad || aiUser[0] != 1 || aiUser[2] != 300;
}
