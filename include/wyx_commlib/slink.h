/**
 * @file slink.h
 * @brief Fixed-capacity list of the caller's records, with a cursor, in one block of memory.
 *
 * The list stores pointers to records of yours, the *user nodes*, in an order you choose. Each
 * stored pointer is an *element* and takes one *slot* of an array that is allocated with the list.
 * So storing and removing never allocate, and a full list refuses another element. The list never
 * looks into your records: your callbacks compare and release them.
 *
 * @code{.c}
 * void *list = NULL;
 * XELP_SLinkList_Init(64, CompareName, ReleasePerson, &list);
 * if (XELP_SLinkList_Insert(list, person, XELP_SLL_Insert_After_LastNode) != 0) {
 *     ReleasePerson(person); // full; the record is still ours
 * }
 * XELP_SLinkList_Deinit(list, XELP_SLL_FreeUserNode_Yes); // releases every person still stored
 * @endcode
 *
 * **Ownership**, in the words that types.h defines. The list *keeps* a stored user node until it
 * leaves the list. A Remove call *hands* the user node *over* to you. A Delete call or
 * XELP_SLinkList_Deinit() with #XELP_SLL_FreeUserNode_Yes passes the user node to the list's
 * release callback. After XELP_SLinkList_Deinit() with any other flag the user nodes are yours
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
 * **Results.** What a call does with a null result pointer, and what it leaves in the result when
 * it fails, differs from call to call: see each call.
 *
 * **Callbacks** run on the caller's thread, inside the call.
 * - A comparator must not change the list or move its cursor.
 * - A Delete calls the release callback last, when the element has left the list and the cursor has
 *   moved. The release callback may use the list, but must not tear it down. During
 *   XELP_SLinkList_Deinit(), the release callback must not use the list at all.
 * - The callback of a walk may do anything with the list except tear it down;
 *   XELP_SLinkList_Process_List() tells how the walk then continues.
 *
 * **Cost.** Not counting your callbacks, the following calls take linear time, and every other call
 * takes constant time:
 * - XELP_SLinkList_Init(), in the capacity;
 * - the searches (XELP_SLinkList_Remove(), XELP_SLinkList_Delete() and XELP_SLinkList_Query()), in
 *   the number of elements up to the match;
 * - a walk, in the number of visits;
 * - a teardown that releases the user nodes, in the number of elements.
 *
 * The list takes one block of 48 bytes plus 16 for each slot.
 *
 * **Threads.** Two threads must not use the same list at once, not even for queries, because a
 * query moves the cursor. Different lists are independent.
 *
 * **Siblings.** dlink.h (elements allocated one by one) and hash.h (records found by a key) look
 * much like this header, but differ on purpose. In dlink.h, the statuses from FIND to BREAK are 10
 * lower, `ulTotalNum` of the head is the number of elements, and some calls leave something else in
 * the result when they fail.
 *
 * **Emptiness.** Not every call looks at the same field to see whether the list is empty. This
 * matters only if somebody took or returned slots by hand, or changed the head or the slots. Insert
 * and the HeadNode calls look at the first element, the TailNode calls at the last. The searches
 * and the walk look at the element count; the calls that need a cursor look at the count and the
 * cursor.
 */
#ifndef WYX_COMMLIB_SLINK_H
#define WYX_COMMLIB_SLINK_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/** Statuses of the list's calls; 0 is success. The values are ABI: never renumbered or reused. */
typedef enum xelpSLLErrCode WYX_ENUM32 {
    XELP_ERR_SLL_INVALID_PARA = 10, /**< a null, zero or out-of-range argument, or no comparator */
    XELP_ERR_SLL_MEMORY = 20,       /**< no memory */
    XELP_ERR_SLL_FULL = 30,         /**< no free slot */
    XELP_ERR_SLL_FIND = 40,         /**< no element matches */
    XELP_ERR_SLL_HEAD = 50,         /**< the cursor is already on the first element */
    XELP_ERR_SLL_TAIL = 60,         /**< the cursor is already on the last element */
    XELP_ERR_SLL_NULL = 70,         /**< the list is empty */
    XELP_ERR_SLL_BREAK = 80,        /**< the callback stopped the walk */
    XELP_ERR_SLL_BUTT = 100         /**< end marker, never returned */
} xelpSLLErrCode;

/** Where XELP_SLinkList_Insert() puts an element. */
typedef enum xelpSLLInsertPosition WYX_ENUM32 {
    XELP_SLL_Insert_Front_FirstNode = 0, /**< before the first element */
    XELP_SLL_Insert_After_LastNode = 1,  /**< after the last element */
    XELP_SLL_Insert_Front_CurNode = 2,   /**< before the cursor */
    XELP_SLL_Insert_After_CurNode = 3,   /**< after the cursor */
    XELP_SLL_Insert_BUTT = 4             /**< end marker, not a position */
} XELP_E_SLL_Insert_Position;

/** What happens to the user nodes when the list is torn down. */
typedef enum xelpSLLFreeUserNode WYX_ENUM32 {
    XELP_SLL_FreeUserNode_Yes = 0, /**< each goes to the release callback */
    XELP_SLL_FreeUserNode_No = 1,  /**< they become yours again; any value but 0 does the same */
    XELP_SLL_FreeUserNode_BUTT = 2 /**< end marker */
} XELP_E_SLL_FreeUserNode;

/**
 * @brief Compares a user node with the condition of a search.
 *
 * @param[in] pCmpCondition  the condition passed to the search
 * @param[in] pstruUserNode  a stored user node
 * @return 0 for a match, which ends the search; any other value continues it.
 */
typedef QAL_UINT32 (*XELP_SLinkList_NodeCmp)(const void *pCmpCondition, void *pstruUserNode);

/**
 * @brief Releases a user node.
 *
 * @param[in] pstruUserNode  the user node, taken; never null
 */
typedef void (*XELP_SLinkList_FreeNode)(void *pstruUserNode);

/**
 * @brief Visits a user node during a walk.
 *
 * @param[in]     pProcessCondition  as passed to the walk
 * @param[in]     pstruUserNode      the stored user node; the cursor is on its element
 * @param[in,out] pOther             as passed to the walk
 * @return 0 to continue, any other value to stop the walk.
 */
typedef QAL_UINT32 (*XELP_SLinkList_ProcessFun)(void *pProcessCondition, void *pstruUserNode,
                                                void **pOther);

/**
 * A slot. For reading only. Elements are linked by slot indexes; the index 0xFFFFFFFF, here and in
 * the head, means *none*.
 */
typedef struct xelpSLinkList_S_Node {
    QAL_UINT32 ulPNode;  /**< the previous element, or none; 0 in a free slot */
    QAL_UINT32 ulNNode;  /**< the next element or the next free slot, or none */
    void *pstruUserNode; /**< the user node; null in a free slot */
} SLinkList_S_Node;

/** The head of a list, which a handle points to. The slots follow directly. For reading only. */
typedef struct xelpSLinkList_S_Head {
    QAL_UINT32 ulFirstNode;               /**< the first element; none if the list is empty */
    QAL_UINT32 ulLastNode;                /**< the last element; none if the list is empty */
    QAL_UINT32 ulNow;                     /**< the cursor; none if the list is empty */
    QAL_UINT32 ulTotalNum;                /**< the capacity, *not* the number of elements */
    QAL_UINT32 ulUseNum;                  /**< number of elements */
    QAL_UINT32 ulFirstNoUseNode;          /**< the first free slot; none if the list is full */
    SLinkList_S_Node *pstruBase;          /**< slot 0 */
    XELP_SLinkList_NodeCmp pfunCmpNode;   /**< default comparator, may be null */
    XELP_SLinkList_FreeNode pfunFreeNode; /**< release callback, never null */
} SLinkList_S_Head;

/**
 * @brief Creates an empty list.
 *
 * The first elements take the slots 0, 1, 2 and so on. The slot freed last is reused first, before
 * any slot that was never used.
 *
 * @param[in]  ulNodeNum     capacity in elements, 1 to 268435452; for a larger capacity the size of
 *                           the block does not fit in 32 bits, and the call fails with
 *                           #XELP_ERR_SLL_MEMORY
 * @param[in]  pfunCmpNode   comparator for searches that pass none; may be null if every search
 *                           passes one
 * @param[in]  pfunFreeNode  release callback for user nodes; not null
 * @param[out] pstruHead     the handle, handed over: release it with XELP_SLinkList_Deinit();
 *                           untouched on failure
 * @return 0; #XELP_ERR_SLL_INVALID_PARA if @p ulNodeNum is 0, or @p pstruHead or @p pfunFreeNode
 *         is null; #XELP_ERR_SLL_MEMORY.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Init(QAL_UINT32 ulNodeNum, XELP_SLinkList_NodeCmp pfunCmpNode,
                                       XELP_SLinkList_FreeNode pfunFreeNode, void **pstruHead);

/**
 * @brief Tears a list down.
 *
 * @param[in] pstruHead  the handle, taken; your copy of it is not cleared and must not be used
 *                       again
 * @param[in] enFlag     0 (#XELP_SLL_FreeUserNode_Yes): every user node goes to the release
 *                       callback, from first to last; with any other value the user nodes become
 *                       yours again
 * @return 0, or #XELP_ERR_SLL_INVALID_PARA for a null handle.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Deinit(void *pstruHead, XELP_E_SLL_FreeUserNode enFlag);

/**
 * @brief Stores a user node. The cursor moves to the new element.
 *
 * @param[in] pstruHead   the handle, borrowed
 * @param[in] pstruNode   the user node, not null; kept until it is removed or deleted, or the list
 *                        is torn down; still yours on failure
 * @param[in] enPosition  where to put it; an empty list accepts any value
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null argument; #XELP_ERR_SLL_FULL if no slot is
 *         free; #XELP_ERR_SLL_INVALID_PARA for an invalid position on a list that is neither full
 *         nor empty. A failure changes nothing.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Insert(void *pstruHead, void *pstruNode,
                                         XELP_E_SLL_Insert_Position enPosition);

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
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle, no comparator (neither in the call nor
 *         in the list), a null condition or a null @p pstruNode;
 *         #XELP_ERR_SLL_NULL for an empty list; #XELP_ERR_SLL_FIND if no element matches.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Remove(void *pstruHead, const void *pCmpCondition,
                                         XELP_SLinkList_NodeCmp pfunCmpNode, void **pstruNode);

/**
 * @brief Removes the first match and releases its user node.
 *
 * Calls XELP_SLinkList_Remove(), then passes the user node, if there is one, to the release
 * callback.
 *
 * @param[in] pstruHead      the handle, borrowed
 * @param[in] pCmpCondition  passed to the comparator, borrowed; not null
 * @param[in] pfunCmpNode    comparator for this search; null to use the list's own
 * @return as for XELP_SLinkList_Remove().
 */
WYX_API QAL_UINT32 XELP_SLinkList_Delete(void *pstruHead, const void *pCmpCondition,
                                         XELP_SLinkList_NodeCmp pfunCmpNode);

/**
 * @brief Finds the first match. The cursor moves to it.
 *
 * @param[in]  pstruHead      the handle, borrowed
 * @param[in]  pCmpCondition  passed to the comparator, borrowed; not null
 * @param[in]  pfunCmpNode    comparator for this search; null to use the list's own
 * @param[out] pstruNode      the user node, still stored; null during the search and if nothing
 *                            matches; untouched if an argument is refused
 * @return as for XELP_SLinkList_Remove().
 */
WYX_API QAL_UINT32 XELP_SLinkList_Query(void *pstruHead, const void *pCmpCondition,
                                        XELP_SLinkList_NodeCmp pfunCmpNode, void **pstruNode);

/**
 * @brief Returns the capacity.
 *
 * @param[in]  pstruHead   the handle, borrowed
 * @param[out] ulListSize  capacity in elements; untouched on failure
 * @return 0, or #XELP_ERR_SLL_INVALID_PARA for a null argument.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Get_ListSize(void *pstruHead, QAL_UINT32 *ulListSize);

/**
 * @brief Returns the number of elements.
 *
 * @param[in]  pstruHead   the handle, borrowed
 * @param[out] ulTotalNum  number of elements; untouched on failure
 * @return 0, or #XELP_ERR_SLL_INVALID_PARA for a null argument.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Get_NodeNumber(void *pstruHead, QAL_UINT32 *ulTotalNum);

/**
 * @brief Puts the cursor on the first element.
 *
 * On an empty list the call succeeds and does nothing.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0, or #XELP_ERR_SLL_INVALID_PARA for a null handle.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Set_CurPtr(void *pstruHead);

/**
 * @brief Returns the user node at the cursor. The cursor does not move.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; untouched on failure
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null argument; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Get_CurNode(void *pstruHead, void **pstruNode);

/**
 * @brief Moves the cursor to the previous element.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle; #XELP_ERR_SLL_NULL for an empty list;
 *         #XELP_ERR_SLL_HEAD if the cursor is on the first element, where it stays.
 */
WYX_API QAL_UINT32 XELP_SLinkList_PriorPtr(void *pstruHead);

/**
 * @brief Moves the cursor to the next element.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle; #XELP_ERR_SLL_NULL for an empty list;
 *         #XELP_ERR_SLL_TAIL if the cursor is on the last element, where it stays.
 */
WYX_API QAL_UINT32 XELP_SLinkList_NextPtr(void *pstruHead);

/**
 * @brief Moves the cursor to the previous element and returns its user node.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null if the cursor is on the first element;
 *                        untouched by any other failure
 * @return as for XELP_SLinkList_PriorPtr(), and #XELP_ERR_SLL_INVALID_PARA for a null @p pstruNode.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Get_PriorNode(void *pstruHead, void **pstruNode);

/**
 * @brief Moves the cursor to the next element and returns its user node.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null if the cursor is on the last element;
 *                        untouched by any other failure. The result pointer is not checked: it
 *                        must not be null unless the list is empty
 * @return as for XELP_SLinkList_NextPtr().
 */
WYX_API QAL_UINT32 XELP_SLinkList_Get_NextNode(void *pstruHead, void **pstruNode);

/**
 * @brief Returns the first user node. The cursor does not move.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null on failure
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null argument; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Get_HeadNode(void *pstruHead, void **pstruNode);

/**
 * @brief Returns the last user node. The cursor does not move.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null on failure
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null argument; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Get_TailNode(void *pstruHead, void **pstruNode);

/**
 * @brief Removes the element at the cursor.
 *
 * The cursor moves to the successor of the removed element or, if there is no successor, to the
 * predecessor.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, handed over; untouched on failure. The result pointer is
 *                        not checked: it must not be null unless the list is empty
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Remove_CurNode(void *pstruHead, void **pstruNode);

/**
 * @brief Removes the first element. The cursor moves to the new first element.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, handed over; null on failure
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null argument; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Remove_HeadNode(void *pstruHead, void **pstruNode);

/**
 * @brief Removes the last element. The cursor moves to the new last element.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, handed over; null on failure
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null argument; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Remove_TailNode(void *pstruHead, void **pstruNode);

/**
 * @brief Removes the element at the cursor and releases its user node.
 *
 * Calls XELP_SLinkList_Remove_CurNode(), then passes the user node, if there is one, to the release
 * callback.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Delete_CurNode(void *pstruHead);

/**
 * @brief Removes the first element and releases its user node.
 *
 * Calls XELP_SLinkList_Remove_HeadNode(), then passes the user node, if there is one, to the
 * release callback.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Delete_HeadNode(void *pstruHead);

/**
 * @brief Removes the last element and releases its user node.
 *
 * Calls XELP_SLinkList_Remove_TailNode(), then passes the user node, if there is one, to the
 * release callback.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Delete_TailNode(void *pstruHead);

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
 * The walk recognises an element by its slot, and the slot freed last is reused first. So if the
 * callback removes the element it was called for and at once inserts another, the walk continues
 * *after* the new element, unless the callback then moves the cursor away.
 *
 * @param[in]     pstruHead          the handle, borrowed
 * @param[in]     pfunProcess        the callback, not null
 * @param[in]     pProcessCondition  passed to the callback unchecked; may be null
 * @param[in,out] pOther             passed to the callback unchecked; may be null
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle or callback; #XELP_ERR_SLL_NULL for an
 *         empty list; #XELP_ERR_SLL_BREAK as soon as the callback returns a value other than 0,
 *         with the cursor where the callback left it.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Process_List(void *pstruHead,
                                               XELP_SLinkList_ProcessFun pfunProcess,
                                               void *pProcessCondition, void **pOther);

/** @name Building blocks
 * XELP_SLinkList_Insert() takes a free slot, and a Remove call returns one. With the two calls
 * below you take and return slots yourself. Until you return a slot, the list counts it as an
 * element. While you hold a slot and the list stores no user node, a search reports
 * #XELP_ERR_SLL_FIND, a walk visits nothing and returns 0, and the other calls that need an element
 * report an empty list (#XELP_ERR_SLL_NULL).
 * @{ */

/**
 * @brief Takes a free slot without storing an element in it.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return the slot's index, handed over: return it with SLinkList_Insert_FreeNode(); 0xFFFFFFFF
 *         for a null handle or if no slot is free.
 */
WYX_API QAL_UINT32 SLinkList_Remove_FreeNode(void *pstruHead);

/**
 * @brief Returns a slot that you took.
 *
 * @param[in] pstruHead   the handle, borrowed
 * @param[in] ulFreeNode  the slot's index from SLinkList_Remove_FreeNode(), taken. If the slot is
 *                        already free or holds an element, the call corrupts the list
 * @return 0, or #XELP_ERR_SLL_INVALID_PARA for a null handle or for an index that is not below the
 *         capacity, such as 0xFFFFFFFF.
 */
WYX_API QAL_UINT32 SLinkList_Insert_FreeNode(void *pstruHead, QAL_UINT32 ulFreeNode);

/** @} */

WYX_C_END

#endif
