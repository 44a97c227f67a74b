/**
 * @file dlink.h
 * @brief Doubly linked list of the caller's records, with a cursor.
 *
 * The list stores pointers to records of yours, the *user nodes*, in an order you choose. Each
 * stored pointer is an *element*; the list allocates a small *link node* for it. The list never
 * looks into your records: your callbacks compare and release them.
 *
 * @code{.c}
 * void *list = NULL;
 * XELP_DLinkList_Init(CompareName, ReleasePerson, &list);
 * XELP_DLinkList_Insert(list, person, XELP_DLL_Insert_After_LastNode); // the list keeps person
 * void *found = NULL;
 * if (XELP_DLinkList_Query(list, "Ada", NULL, &found) == 0) {
 *     // found is the record, still stored
 * }
 * XELP_DLinkList_Deinit(list, XELP_DLL_FreeUserNode_Yes); // releases every person still stored
 * @endcode
 *
 * **Ownership**, in the words that types.h defines. The list *keeps* a stored user node until it
 * leaves the list. A Remove call *hands* the user node *over* to you. A Delete call or
 * XELP_DLinkList_Deinit() with #XELP_DLL_FreeUserNode_Yes passes the user node to the list's
 * release callback. After XELP_DLinkList_Deinit() with any other flag the user nodes are yours
 * again. A user node that a Query or Get call returns stays in the list. One record may be stored
 * twice; both elements then share it, and deleting both releases it twice.
 *
 * **Cursor.** The cursor is the list's current position: it is on one of the elements, or nowhere
 * if the list is empty.
 * - Insert puts the cursor on the new element, Query on the match, Set_CurPtr on the first element;
 * - PriorPtr, NextPtr, Get_PriorNode and Get_NextNode move the cursor by one element;
 * - a Remove or Delete that removes an element puts the cursor, wherever it was, on the successor
 *   of the removed element or, if there is no successor, on the predecessor;
 * - Process_List leaves the cursor on the last element visited, unless the callback moved it;
 * - the other Get calls leave the cursor alone;
 * - a call that fails leaves the cursor where it is, except a walk that its callback stops.
 *
 * **Callbacks** run on the caller's thread, inside the call.
 * - A comparator must not change the list or move its cursor.
 * - A Delete calls the release callback last, when the element has left the list and the cursor has
 *   moved. The release callback may use the list, but must not tear it down. During
 *   XELP_DLinkList_Deinit(), the release callback must not use the list at all.
 * - The callback of a walk may do anything with the list except tear it down;
 *   XELP_DLinkList_Process_List() tells how the walk then continues.
 *
 * **Cost and limits.** Not counting your callbacks, the searches (XELP_DLinkList_Remove(),
 * XELP_DLinkList_Delete() and XELP_DLinkList_Query()) are linear in the number of elements up to
 * the match, a walk in the number of visits, and the teardown in the number of elements; every
 * other call takes constant time. Each element takes one block of 24 bytes, and the list itself
 * takes one of 48. A list can hold up to 4294967295 elements; no call checks this limit.
 *
 * **Threads.** Two threads must not use the same list at once, not even for queries, because a
 * query moves the cursor. Different lists are independent.
 *
 * **Siblings.** slink.h (elements in one block of a fixed capacity) and hash.h (records found by a
 * key) look much like this header, but differ on purpose. In slink.h, the statuses from 30 on have
 * different numbers: no match is 30 here and 40 there. Some calls of slink.h leave something else
 * in the result when they fail.
 *
 * **Emptiness.** Not every call looks at the same field to see whether the list is empty. This
 * matters only if somebody changed the head or the link nodes by hand. Remove_CurNode and
 * Delete_CurNode look at the cursor; the HeadNode calls look at the first element, the TailNode
 * calls at the last; Insert, Get_CurNode, the searches, the walk and the calls that move the cursor
 * by one element look at the element count.
 */
#ifndef WYX_COMMLIB_DLINK_H
#define WYX_COMMLIB_DLINK_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/** Statuses of the list's calls; 0 is success. The values are ABI: never renumbered or reused. */
typedef enum xelpDLLErrCode WYX_ENUM32 {
    XELP_ERR_DLL_INVALID_PARA = 10, /**< a null argument, no comparator, or an invalid position */
    XELP_ERR_DLL_MEMORY = 20,       /**< no memory */
    XELP_ERR_DLL_FIND = 30,         /**< no element matches */
    XELP_ERR_DLL_HEAD = 40,         /**< the cursor is already on the first element */
    XELP_ERR_DLL_TAIL = 50,         /**< the cursor is already on the last element */
    XELP_ERR_DLL_NULL = 60,         /**< the list is empty */
    XELP_ERR_DLL_BREAK = 70,        /**< the callback stopped the walk */
    XELP_ERR_DLL_BUTT = 100         /**< end marker, never returned */
} xelpDLLErrCode;

/** Where XELP_DLinkList_Insert() puts an element. */
typedef enum xelpDLLInsertPosition WYX_ENUM32 {
    XELP_DLL_Insert_Front_FirstNode = 0, /**< before the first element */
    XELP_DLL_Insert_After_LastNode = 1,  /**< after the last element */
    XELP_DLL_Insert_Front_CurNode = 2,   /**< before the cursor */
    XELP_DLL_Insert_After_CurNode = 3,   /**< after the cursor */
    XELP_DLL_Insert_BUTT = 4             /**< end marker, not a position */
} XELP_E_DLL_Insert_Position;

/** What happens to the user nodes when the list is torn down. */
typedef enum xelpDLLFreeUserNode WYX_ENUM32 {
    XELP_DLL_FreeUserNode_Yes = 0, /**< each goes to the release callback */
    XELP_DLL_FreeUserNode_No = 1,  /**< they become yours again; any value but 0 does the same */
    XELP_DLL_FreeUserNode_BUTT = 2 /**< end marker */
} XELP_E_DLL_FreeUserNode;

/**
 * @brief Compares a user node with the condition of a search.
 *
 * @param[in] pCmpCondition  the condition passed to the search
 * @param[in] pstruUserNode  a stored user node
 * @return 0 for a match, which ends the search; any other value continues it.
 */
typedef QAL_UINT32 (*XELP_DLinkList_NodeCmp)(const void *pCmpCondition, void *pstruUserNode);

/**
 * @brief Releases a user node.
 *
 * @param[in] pstruUserNode  the user node, taken; never null
 */
typedef void (*XELP_DLinkList_FreeNode)(void *pstruUserNode);

/**
 * @brief Visits a user node during a walk.
 *
 * @param[in]     pProcessCondition  as passed to the walk
 * @param[in]     pstruUserNode      the stored user node; the cursor is on its element
 * @param[in,out] pOther             as passed to the walk
 * @return 0 to continue, any other value to stop the walk.
 */
typedef QAL_UINT32 (*XELP_DLinkList_ProcessFun)(void *pProcessCondition, void *pstruUserNode,
                                                void **pOther);

/** The link node of one element, released when the element leaves the list. For reading only. */
typedef struct xelpDLinkList_S_Node {
    struct xelpDLinkList_S_Node *pstruPNode; /**< the previous link node, or null */
    struct xelpDLinkList_S_Node *pstruNNode; /**< the next link node, or null */
    void *pstruUserNode;                     /**< the user node, never null */
} DLinkList_S_Node;

/** The head of a list, which a handle points to. For reading only. */
typedef struct xelpDLinkList_S_Head {
    DLinkList_S_Node *pstruFirstNode;     /**< the first link node; null if the list is empty */
    DLinkList_S_Node *pstruLastNode;      /**< the last link node; null if the list is empty */
    DLinkList_S_Node *pstruNow;           /**< the cursor; null if the list is empty */
    QAL_UINT32 ulTotalNum;                /**< number of elements */
    XELP_DLinkList_NodeCmp pfunCmpNode;   /**< default comparator, may be null */
    XELP_DLinkList_FreeNode pfunFreeNode; /**< release callback, never null */
} DLinkList_S_Head;

/**
 * @brief Creates an empty list.
 *
 * @param[in]  pfunCmpNode   comparator for searches that pass none; may be null if every search
 *                           passes one
 * @param[in]  pfunFreeNode  release callback for user nodes; not null
 * @param[out] pstruHead     the handle, handed over: release it with XELP_DLinkList_Deinit();
 *                           untouched on failure
 * @return 0; #XELP_ERR_DLL_INVALID_PARA if @p pfunFreeNode or @p pstruHead is null;
 *         #XELP_ERR_DLL_MEMORY.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Init(XELP_DLinkList_NodeCmp pfunCmpNode,
                                       XELP_DLinkList_FreeNode pfunFreeNode, void **pstruHead);

/**
 * @brief Tears a list down.
 *
 * @param[in] pstruHead  the handle, taken; your copy of it is not cleared and must not be used
 *                       again
 * @param[in] enFlag     0 (#XELP_DLL_FreeUserNode_Yes): every user node goes to the release
 *                       callback, from first to last; with any other value the user nodes become
 *                       yours again
 * @return 0, or #XELP_ERR_DLL_INVALID_PARA for a null handle.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Deinit(void *pstruHead, XELP_E_DLL_FreeUserNode enFlag);

/**
 * @brief Stores a user node. The cursor moves to the new element.
 *
 * @param[in] pstruHead   the handle, borrowed
 * @param[in] pstruNode   the user node, not null; kept until it is removed or deleted, or the list
 *                        is torn down; still yours on failure
 * @param[in] enPosition  where to put it; an empty list accepts any value
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null argument, or for an invalid position on a list
 *         that is not empty; #XELP_ERR_DLL_MEMORY. A failure changes nothing.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Insert(void *pstruHead, void *pstruNode,
                                         XELP_E_DLL_Insert_Position enPosition);

/**
 * @brief Removes the first match.
 *
 * All arguments are checked first, even if the list is empty. Elements are compared from first to
 * last. The cursor moves to the successor of the match or, if there is no successor, to the
 * predecessor.
 *
 * @param[in]  pstruHead      the handle, borrowed
 * @param[in]  pCmpCondition  passed to the comparator, borrowed; not null
 * @param[in]  pfunCmpNode    comparator for this search; null to use the list's own
 * @param[out] pstruNode      the user node, handed over; null during the search and if nothing
 *                            matches; untouched if an argument is refused
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null handle, no comparator (neither in the call nor
 *         in the list), a null condition or a null @p pstruNode;
 *         #XELP_ERR_DLL_NULL for an empty list; #XELP_ERR_DLL_FIND if no element matches.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Remove(void *pstruHead, const void *pCmpCondition,
                                         XELP_DLinkList_NodeCmp pfunCmpNode, void **pstruNode);

/**
 * @brief Removes the first match and releases its user node.
 *
 * Calls XELP_DLinkList_Remove(), then passes the user node, if there is one, to the release
 * callback.
 *
 * @param[in] pstruHead      the handle, borrowed
 * @param[in] pCmpCondition  passed to the comparator, borrowed; not null
 * @param[in] pfunCmpNode    comparator for this search; null to use the list's own
 * @return as for XELP_DLinkList_Remove().
 */
WYX_API QAL_UINT32 XELP_DLinkList_Delete(void *pstruHead, const void *pCmpCondition,
                                         XELP_DLinkList_NodeCmp pfunCmpNode);

/**
 * @brief Finds the first match. The cursor moves to it.
 *
 * @param[in]  pstruHead      the handle, borrowed
 * @param[in]  pCmpCondition  passed to the comparator, borrowed; not null
 * @param[in]  pfunCmpNode    comparator for this search; null to use the list's own
 * @param[out] pstruNode      the user node, still stored; null during the search and if nothing
 *                            matches; untouched if an argument is refused
 * @return as for XELP_DLinkList_Remove().
 */
WYX_API QAL_UINT32 XELP_DLinkList_Query(void *pstruHead, const void *pCmpCondition,
                                        XELP_DLinkList_NodeCmp pfunCmpNode, void **pstruNode);

/**
 * @brief Returns the number of elements.
 *
 * @param[in]  pstruHead   the handle, borrowed
 * @param[out] ulTotalNum  number of elements; untouched on failure
 * @return 0, or #XELP_ERR_DLL_INVALID_PARA for a null argument.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Get_NodeNumber(void *pstruHead, QAL_UINT32 *ulTotalNum);

/**
 * @brief Puts the cursor on the first element.
 *
 * On an empty list the call succeeds and does nothing.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0, or #XELP_ERR_DLL_INVALID_PARA for a null handle.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Set_CurPtr(void *pstruHead);

/**
 * @brief Returns the user node at the cursor. The cursor does not move.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null on failure
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null argument; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Get_CurNode(void *pstruHead, void **pstruNode);

/**
 * @brief Moves the cursor to the previous element.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null handle; #XELP_ERR_DLL_NULL for an empty list;
 *         #XELP_ERR_DLL_HEAD if the cursor is on the first element, where it stays.
 */
WYX_API QAL_UINT32 XELP_DLinkList_PriorPtr(void *pstruHead);

/**
 * @brief Moves the cursor to the next element.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null handle; #XELP_ERR_DLL_NULL for an empty list;
 *         #XELP_ERR_DLL_TAIL if the cursor is on the last element, where it stays.
 */
WYX_API QAL_UINT32 XELP_DLinkList_NextPtr(void *pstruHead);

/**
 * @brief Moves the cursor to the previous element and returns its user node.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null on failure
 * @return as for XELP_DLinkList_PriorPtr(), and #XELP_ERR_DLL_INVALID_PARA for a null @p pstruNode.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Get_PriorNode(void *pstruHead, void **pstruNode);

/**
 * @brief Moves the cursor to the next element and returns its user node.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null on failure
 * @return as for XELP_DLinkList_NextPtr(), and #XELP_ERR_DLL_INVALID_PARA for a null @p pstruNode.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Get_NextNode(void *pstruHead, void **pstruNode);

/**
 * @brief Returns the first user node. The cursor does not move.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null on failure
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null argument; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Get_HeadNode(void *pstruHead, void **pstruNode);

/**
 * @brief Returns the last user node. The cursor does not move.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null on failure
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null argument; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Get_TailNode(void *pstruHead, void **pstruNode);

/**
 * @brief Removes the element at the cursor.
 *
 * The cursor moves to the successor of the removed element or, if there is no successor, to the
 * predecessor.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, handed over; null on failure
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null argument; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Remove_CurNode(void *pstruHead, void **pstruNode);

/**
 * @brief Removes the element at the cursor and releases its user node.
 *
 * Calls XELP_DLinkList_Remove_CurNode(), then passes the user node, if there is one, to the release
 * callback.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null handle; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Delete_CurNode(void *pstruHead);

/**
 * @brief Removes the first element. The cursor moves to the new first element.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, handed over; null on failure
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null argument; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Remove_HeadNode(void *pstruHead, void **pstruNode);

/**
 * @brief Removes the last element. The cursor moves to the new last element.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, handed over; null on failure
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null argument; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Remove_TailNode(void *pstruHead, void **pstruNode);

/**
 * @brief Removes the first element and releases its user node.
 *
 * Calls XELP_DLinkList_Remove_HeadNode(), then passes the user node, if there is one, to the
 * release callback.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null handle; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Delete_HeadNode(void *pstruHead);

/**
 * @brief Removes the last element and releases its user node.
 *
 * Calls XELP_DLinkList_Remove_TailNode(), then passes the user node, if there is one, to the
 * release callback.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null handle; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Delete_TailNode(void *pstruHead);

/**
 * @brief Visits the elements from first to last.
 *
 * Before each visit the cursor moves to the element. After the visit, the position of the cursor
 * decides how the walk continues:
 * - still on that element: the walk continues with the element that now follows it.
 * - on another element: the walk continues *with* that element.
 * - nowhere, because the list is empty: the walk ends.
 *
 * So if the callback removes the element it was called for, the walk continues with the successor.
 * The *last* element has no successor: if the callback removes it, the walk continues with the
 * predecessor, even if that was visited before.
 *
 * Insert, Query and the removal of another element may move the cursor elsewhere: the walk may then
 * miss elements, visit elements again or never end.
 *
 * The walk recognises an element by the address of its link node. If the callback removes the
 * element it was called for and inserts another, the new link node may get the address of the old
 * one. So the walk may continue with the new element or after it: rely on neither.
 *
 * @param[in]     pstruHead          the handle, borrowed
 * @param[in]     pfunProcess        the callback, not null
 * @param[in]     pProcessCondition  passed to the callback unchecked; may be null
 * @param[in,out] pOther             passed to the callback unchecked; may be null
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null handle or callback; #XELP_ERR_DLL_NULL for an
 *         empty list; #XELP_ERR_DLL_BREAK as soon as the callback returns a value other than 0,
 *         with the cursor where the callback left it.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Process_List(void *pstruHead,
                                               XELP_DLinkList_ProcessFun pfunProcess,
                                               void *pProcessCondition, void **pOther);

WYX_C_END

#endif
