/**
 * @file dlink.h
 * @brief Doubly linked list of the caller's records, with a cursor.
 *
 * The list stores pointers to records of yours, the *user nodes*, in an order you choose. It
 * allocates one small link node for each and never looks into your records: your callbacks compare
 * and release them.
 *
 * @code{.c}
 * void *list = NULL;
 * XELP_DLinkList_Init(CompareName, ReleasePerson, &list);
 * XELP_DLinkList_Insert(list, person, XELP_DLL_Insert_After_LastNode); // the list keeps person
 * void *found = NULL;
 * if (XELP_DLinkList_Query(list, "Ada", NULL, &found) == 0) {
 *     // found is the record, still stored; the cursor is on it
 * }
 * XELP_DLinkList_Deinit(list, XELP_DLL_FreeUserNode_Yes); // releases every person that is left
 * @endcode
 *
 * **Ownership.** A stored user node is *kept* until it leaves the list: a Remove call *hands*
 * it *over* to you, and a Delete call or XELP_DLinkList_Deinit() with #XELP_DLL_FreeUserNode_Yes
 * passes it to the list's release callback. After XELP_DLinkList_Deinit() with another flag it is
 * yours again. Query and Get calls only return a pointer to it: it stays stored. One record may be
 * stored twice; both elements then share it, and deleting both releases it twice. The list itself
 * and its link nodes belong to the library until XELP_DLinkList_Deinit().
 *
 * **Cursor.** A list that is not empty always has its cursor on one of its elements; an empty one
 * has none. A failing call leaves the cursor where it is (except a walk stopped by its callback).
 *
 * - Insert puts it on the new element, Query on the match, Set_CurPtr on the first element;
 * - PriorPtr, NextPtr, Get_PriorNode and Get_NextNode move it by one element;
 * - every Remove and every Delete puts it on the successor of the removed element, or on its
 *   predecessor if it was the last;
 * - Process_List leaves it on the last element visited, unless the callback moved it;
 * - Get_CurNode, Get_HeadNode, Get_TailNode and Get_NodeNumber leave it alone.
 *
 * A Remove or Delete moves the cursor even if it was on another element: removing the first element
 * puts it on the new first one, removing the last puts it on the new last one.
 *
 * **Results.** The calls that return a user node set the result to null before they look at
 * anything else, the handle included, so a failure leaves null in it. Two calls differ:
 * XELP_DLinkList_Remove() and XELP_DLinkList_Query() check all their arguments first, and a
 * refused argument leaves the result untouched.
 *
 * **Callbacks** run on the caller's thread, inside the call.
 * - A comparator must not change the list or move its cursor.
 * - The release callback of a Delete runs last, when the element has left the list and the cursor
 *   has moved: it may use the list, but must not tear it down. In XELP_DLinkList_Deinit() it must
 *   not use the list at all.
 * - The callback of a walk may do anything with the list except tear it down; see
 *   XELP_DLinkList_Process_List() for where the walk then continues.
 *
 * **Cost and limits.** The searches (XELP_DLinkList_Remove(), XELP_DLinkList_Delete() and
 * XELP_DLinkList_Query()) are linear in the elements up to the match; a walk and the teardown are
 * linear in all of them; every other call takes constant time. An element takes one block of 24
 * bytes, the list one of 48. A list holds up to 4294967295 elements, which is not checked.
 *
 * **Threads.** Two threads must not use one list at once, not even for queries, which move the
 * cursor. Different lists are independent.
 *
 * **Siblings.** slink.h (elements in one block of a fixed capacity) and hash.h (records found by
 * a key) look much the same, but differ on purpose. In slink.h, the statuses from 30 on have
 * different numbers: no match is 30 here and 40 there. The headers also differ in when a call sets
 * its result to null.
 *
 * **Emptiness.** How a call decides that the list is empty matters only if somebody changed its
 * head or link nodes by hand. Insert, Get_CurNode, the cursor moves, the searches and the walk look
 * at the element count; Remove_CurNode and Delete_CurNode look at the cursor; the calls for head
 * and tail look at the first or the last element.
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
    XELP_ERR_DLL_HEAD = 40,         /**< the cursor is on the first element already */
    XELP_ERR_DLL_TAIL = 50,         /**< the cursor is on the last element already */
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
    XELP_DLL_FreeUserNode_No = 1,  /**< they stay yours; any value but 0 does the same */
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
 * @param[in]     pProcessCondition  as given to the walk
 * @param[in]     pstruUserNode      the stored user node; the cursor is on its element
 * @param[in,out] pOther             as given to the walk
 * @return 0 to continue, any other value to stop the walk.
 */
typedef QAL_UINT32 (*XELP_DLinkList_ProcessFun)(void *pProcessCondition, void *pstruUserNode,
                                                void **pOther);

/** The link node of one element. For reading only; it is gone with its element. */
typedef struct xelpDLinkList_S_Node {
    struct xelpDLinkList_S_Node *pstruPNode; /**< the previous link node; null at the first */
    struct xelpDLinkList_S_Node *pstruNNode; /**< the next link node; null at the last */
    void *pstruUserNode;                     /**< the user node, never null */
} DLinkList_S_Node;

/** What a handle points to. For reading only. */
typedef struct xelpDLinkList_S_Head {
    DLinkList_S_Node *pstruFirstNode;     /**< the first link node; null if the list is empty */
    DLinkList_S_Node *pstruLastNode;      /**< the last link node; null if the list is empty */
    DLinkList_S_Node *pstruNow;           /**< the cursor; null if the list is empty */
    QAL_UINT32 ulTotalNum;                /**< number of elements */
    XELP_DLinkList_NodeCmp pfunCmpNode;   /**< default comparator, may be null */
    XELP_DLinkList_FreeNode pfunFreeNode; /**< release callback, never null */
} DLinkList_S_Head;

/**
 * @brief Creates an empty list. Constant time.
 *
 * @param[in]  pfunCmpNode   comparator for searches that pass none; null if every search passes
 *                           its own
 * @param[in]  pfunFreeNode  release callback for user nodes; not null
 * @param[out] pstruHead     the handle, handed over: release it with XELP_DLinkList_Deinit();
 *                           untouched on failure
 * @return 0; #XELP_ERR_DLL_INVALID_PARA if @p pfunFreeNode or @p pstruHead is null;
 *         #XELP_ERR_DLL_MEMORY.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Init(XELP_DLinkList_NodeCmp pfunCmpNode,
                                       XELP_DLinkList_FreeNode pfunFreeNode, void **pstruHead);

/**
 * @brief Tears a list down. Linear.
 *
 * @param[in] pstruHead  the handle, taken; your copy of it is not cleared and must not be used
 *                       again
 * @param[in] enFlag     0 (#XELP_DLL_FreeUserNode_Yes): every user node goes to the release
 *                       callback, first to last; with any other value they stay yours
 * @return 0, or #XELP_ERR_DLL_INVALID_PARA for a null handle.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Deinit(void *pstruHead, XELP_E_DLL_FreeUserNode enFlag);

/**
 * @brief Stores a user node. Constant time. The cursor moves to the new element.
 *
 * @param[in] pstruHead   the handle, borrowed
 * @param[in] pstruNode   the user node, not null; kept until it is removed or deleted, or the list
 *                        is torn down; still yours on failure
 * @param[in] enPosition  where; ignored on an empty list, so any value succeeds there
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null argument, or for an invalid position on a list
 *         that is not empty; #XELP_ERR_DLL_MEMORY. A failure changes nothing.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Insert(void *pstruHead, void *pstruNode,
                                         XELP_E_DLL_Insert_Position enPosition);

/**
 * @brief Removes the first match from the list. Linear. The cursor moves to its successor.
 *
 * Elements are compared first to last until one matches. If the match was the last element, the
 * cursor moves to its predecessor. The arguments are checked in the order listed with the statuses.
 *
 * @param[in]  pstruHead      the handle, borrowed
 * @param[in]  pCmpCondition  passed to the comparator, borrowed; not null
 * @param[in]  pfunCmpNode    comparator for this search; null for the list's own
 * @param[out] pstruNode      the user node, handed over; null if nothing was removed; untouched
 *                            for a refused argument
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null handle, no comparator (neither here nor in the
 *         list), a null condition or a null @p pstruNode; #XELP_ERR_DLL_NULL for an empty list;
 *         #XELP_ERR_DLL_FIND if no element matches.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Remove(void *pstruHead, const void *pCmpCondition,
                                         XELP_DLinkList_NodeCmp pfunCmpNode, void **pstruNode);

/**
 * @brief Removes the first match and releases it. Linear. The cursor moves as for Remove.
 *
 * Calls XELP_DLinkList_Remove(), and then the list's release callback on the user node.
 *
 * @param[in] pstruHead      the handle, borrowed
 * @param[in] pCmpCondition  passed to the comparator, borrowed; not null
 * @param[in] pfunCmpNode    comparator for this search; null for the list's own
 * @return as XELP_DLinkList_Remove(); the callback runs on success only.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Delete(void *pstruHead, const void *pCmpCondition,
                                         XELP_DLinkList_NodeCmp pfunCmpNode);

/**
 * @brief Finds the first match. Linear. The cursor moves to it.
 *
 * @param[in]  pstruHead      the handle, borrowed
 * @param[in]  pCmpCondition  passed to the comparator, borrowed; not null
 * @param[in]  pfunCmpNode    comparator for this search; null for the list's own
 * @param[out] pstruNode      the user node, still stored; null if there is none; untouched for a
 *                            refused argument
 * @return as XELP_DLinkList_Remove().
 */
WYX_API QAL_UINT32 XELP_DLinkList_Query(void *pstruHead, const void *pCmpCondition,
                                        XELP_DLinkList_NodeCmp pfunCmpNode, void **pstruNode);

/**
 * @brief Counts the elements. Constant time. The cursor stays.
 *
 * @param[in]  pstruHead   the handle, borrowed
 * @param[out] ulTotalNum  number of elements; untouched on failure
 * @return 0, or #XELP_ERR_DLL_INVALID_PARA for a null argument.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Get_NodeNumber(void *pstruHead, QAL_UINT32 *ulTotalNum);

/**
 * @brief Puts the cursor on the first element. Constant time.
 *
 * An empty list is not an error: it still has no cursor.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0, or #XELP_ERR_DLL_INVALID_PARA for a null handle.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Set_CurPtr(void *pstruHead);

/**
 * @brief The user node at the cursor. Constant time. The cursor stays.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null on failure
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null argument; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Get_CurNode(void *pstruHead, void **pstruNode);

/**
 * @brief Moves the cursor to the previous element. Constant time.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null handle; #XELP_ERR_DLL_NULL for an empty list;
 *         #XELP_ERR_DLL_HEAD if the cursor is on the first element, where it stays.
 */
WYX_API QAL_UINT32 XELP_DLinkList_PriorPtr(void *pstruHead);

/**
 * @brief Moves the cursor to the next element. Constant time.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null handle; #XELP_ERR_DLL_NULL for an empty list;
 *         #XELP_ERR_DLL_TAIL if the cursor is on the last element, where it stays.
 */
WYX_API QAL_UINT32 XELP_DLinkList_NextPtr(void *pstruHead);

/**
 * @brief Moves the cursor to the previous element and returns its user node. Constant time.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null on failure
 * @return as XELP_DLinkList_PriorPtr(), and #XELP_ERR_DLL_INVALID_PARA for a null @p pstruNode.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Get_PriorNode(void *pstruHead, void **pstruNode);

/**
 * @brief Moves the cursor to the next element and returns its user node. Constant time.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null on failure
 * @return as XELP_DLinkList_NextPtr(), and #XELP_ERR_DLL_INVALID_PARA for a null @p pstruNode.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Get_NextNode(void *pstruHead, void **pstruNode);

/**
 * @brief The first user node. Constant time. The cursor stays.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null on failure
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null argument; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Get_HeadNode(void *pstruHead, void **pstruNode);

/**
 * @brief The last user node. Constant time. The cursor stays.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null on failure
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null argument; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Get_TailNode(void *pstruHead, void **pstruNode);

/**
 * @brief Removes the element at the cursor. Constant time.
 *
 * The cursor moves to its successor, or to its predecessor if it was the last.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, handed over; null on failure
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null argument; #XELP_ERR_DLL_NULL if there is no
 *         cursor.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Remove_CurNode(void *pstruHead, void **pstruNode);

/**
 * @brief Removes the element at the cursor and releases it. Constant time.
 *
 * Calls XELP_DLinkList_Remove_CurNode(), and then the list's release callback on the user node.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null handle; #XELP_ERR_DLL_NULL if there is no
 *         cursor.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Delete_CurNode(void *pstruHead);

/**
 * @brief Removes the first element. Constant time. The cursor moves to the new first.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, handed over; null on failure
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null argument; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Remove_HeadNode(void *pstruHead, void **pstruNode);

/**
 * @brief Removes the last element. Constant time. The cursor moves to the new last.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, handed over; null on failure
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null argument; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Remove_TailNode(void *pstruHead, void **pstruNode);

/**
 * @brief Removes the first element and releases it. Constant time.
 *
 * Calls XELP_DLinkList_Remove_HeadNode(), and then the list's release callback on the user node.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null handle; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Delete_HeadNode(void *pstruHead);

/**
 * @brief Removes the last element and releases it. Constant time.
 *
 * Calls XELP_DLinkList_Remove_TailNode(), and then the list's release callback on the user node.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null handle; #XELP_ERR_DLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Delete_TailNode(void *pstruHead);

/**
 * @brief Visits the elements first to last. Linear, plus the cost of the callback.
 *
 * Before each visit the cursor moves to the element. After the visit, the position of the cursor
 * decides how the walk continues:
 * - still on that element: the walk continues with the element that now follows it. If the
 *   callback inserted an element there and moved the cursor back, the new one is visited too.
 * - on another element: the walk continues *with* that element. If the callback removed or deleted
 *   the element it was called for, the cursor is on the successor, so nothing is missed. The *last*
 *   element has no successor: after its removal the walk returns to its predecessor, even if that
 *   was visited before. An element that the callback inserts, queries or moves to is visited next,
 *   because the cursor is then on it. A callback that keeps doing so may never let the walk end.
 * - on no element, because the list is empty: the walk ends.
 *
 * "Still on that element" is decided by address. If the callback removes the element it was called
 * for and inserts another, the new link node may have the old one's address. If it has, the walk
 * continues after the new element, otherwise with it: rely on neither.
 *
 * @param[in]     pstruHead          the handle, borrowed
 * @param[in]     pfunProcess        the callback, not null
 * @param[in]     pProcessCondition  passed to the callback unchecked; may be null
 * @param[in,out] pOther             passed to the callback unchecked; may be null
 * @return 0; #XELP_ERR_DLL_INVALID_PARA for a null handle or callback; #XELP_ERR_DLL_NULL for an
 *         empty list; #XELP_ERR_DLL_BREAK as soon as the callback returns a value other than 0;
 *         the cursor is then where the callback left it.
 */
WYX_API QAL_UINT32 XELP_DLinkList_Process_List(void *pstruHead,
                                               XELP_DLinkList_ProcessFun pfunProcess,
                                               void *pProcessCondition, void **pOther);

WYX_C_END

#endif
