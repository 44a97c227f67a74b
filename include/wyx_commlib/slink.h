/**
 * @file slink.h
 * @brief List of a fixed capacity of the caller's records, with a cursor, in one block of memory.
 *
 * The list stores pointers to records of yours, the *user nodes*, in an order you choose. All its
 * elements lie in one array, the *slots*, which is allocated with the list: storing and removing
 * never allocates, and a full list refuses. Slots are named by their index; they are linked both
 * ways, so every move takes constant time. Comparing and releasing user nodes is done by callbacks.
 *
 * @code{.c}
 * void *list = NULL;
 * XELP_SLinkList_Init(64, CompareName, ReleasePerson, &list);
 * if (XELP_SLinkList_Insert(list, person, XELP_SLL_Insert_After_LastNode) != 0) {
 *     ReleasePerson(person); // full; the record is still ours
 * }
 * XELP_SLinkList_Deinit(list, XELP_SLL_FreeUserNode_Yes); // releases every person that is left
 * @endcode
 *
 * **Ownership.** A stored user node is *kept* until a Remove call *hands* it *over* to you again, a
 * Delete call or XELP_SLinkList_Deinit() with #XELP_SLL_FreeUserNode_Yes passes it to the list's
 * release callback, or XELP_SLinkList_Deinit() with another flag drops it. Query and Get calls only
 * show it: it stays stored. Storing one record twice is allowed; both elements then share it. The
 * list's one block belongs to the library until XELP_SLinkList_Deinit().
 *
 * **Cursor.** A list that is not empty always has its cursor on one of its elements; an empty one
 * has none. A failing call leaves the cursor where it is (a walk that is stopped excepted).
 * - Insert puts it on the new element, Query on the match, Set_CurPtr on the first element;
 * - PriorPtr, NextPtr, Get_PriorNode and Get_NextNode move it by one element;
 * - every Remove and every Delete puts it on the successor of the element that went, or on its
 *   predecessor if that was the last;
 * - Process_List leaves it on the element visited last, unless the callback moved it;
 * - the other Get calls leave it alone.
 *
 * A Remove or Delete moves the cursor even if it stood elsewhere: once the first element is taken
 * away it is on the new first, once the last is, on the new last.
 *
 * **Null result pointers and results on failure** differ from call to call. A null handle is
 * refused by all; beyond that:
 * - Get_HeadNode, Get_TailNode, Remove_HeadNode and Remove_TailNode refuse a null result pointer,
 *   and set the result to null before they look at anything else, the handle included.
 * - Remove and Query refuse it after all their other arguments; a refused argument leaves the
 *   result untouched, any other failure leaves null.
 * - Get_CurNode refuses it; no failure touches the result.
 * - Get_PriorNode refuses it. The result is null if the cursor is on the first element; a refused
 *   argument or an empty list leaves it untouched.
 * - Get_NextNode does not check it: it must not be null unless the list is empty. The result is
 *   null if the cursor is on the last element; a null handle or an empty list leaves it untouched.
 * - Remove_CurNode does not check it: it must not be null unless the list is empty. No failure
 *   touches the result.
 *
 * **Callbacks** run on the caller's thread, inside the call.
 * - A comparator must not change the list or move its cursor.
 * - The release callback of a Delete runs when the element is already out of the list: it may use
 *   the list, but not tear it down. In XELP_SLinkList_Deinit() it must not use the list at all.
 * - The callback of a walk may do anything with the list but tear it down; see
 *   XELP_SLinkList_Process_List() for where the walk then goes.
 *
 * **Cost and limits.** XELP_SLinkList_Init() is linear in the capacity; Remove, Delete and Query
 * with a condition are linear in the elements before the match, a walk and the teardown in all of
 * them; every other call takes constant time. The block takes 48 bytes and 16 for each slot, in one
 * request, the size of which has 32 bits: the largest capacity is 268435452.
 *
 * **Threads.** One list must not be used by two threads at once; different lists may.
 *
 * **Its siblings** in dlink.h (elements allocated one by one) and hash.h (found by key) look alike
 * and differ on purpose. Against dlink.h: the status #XELP_ERR_SLL_FULL at 30 moves all later ones
 * by 10; `ulTotalNum` of the head is the capacity, not the count; the searches, the cursor moves,
 * Get_CurNode and Remove_CurNode take the element count for emptiness, the calls for head and tail
 * the first and the last element; results are cleared as said above.
 */
#ifndef WYX_COMMLIB_SLINK_H
#define WYX_COMMLIB_SLINK_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/** Statuses of the list's calls; 0 is success. The values are ABI: never renumbered or reused. */
typedef enum xelpSLLErrCode WYX_ENUM32 {
    XELP_ERR_SLL_INVALID_PARA = 10, /**< a null or zero argument, no comparator, no such position */
    XELP_ERR_SLL_MEMORY = 20,       /**< no memory */
    XELP_ERR_SLL_FULL = 30,         /**< no free slot */
    XELP_ERR_SLL_FIND = 40,         /**< no element matches */
    XELP_ERR_SLL_HEAD = 50,         /**< the cursor is on the first element already */
    XELP_ERR_SLL_TAIL = 60,         /**< the cursor is on the last element already */
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

/** What becomes of the user nodes when the list is torn down. */
typedef enum xelpSLLFreeUserNode WYX_ENUM32 {
    XELP_SLL_FreeUserNode_Yes = 0, /**< each goes to the release callback */
    XELP_SLL_FreeUserNode_No = 1,  /**< they stay as they are; so with any other value but 0 */
    XELP_SLL_FreeUserNode_BUTT = 2 /**< end marker */
} XELP_E_SLL_FreeUserNode;

/**
 * @brief Compares a user node with what is looked for.
 *
 * @param[in] pCmpCondition  the condition given to the search
 * @param[in] pstruUserNode  a stored user node
 * @return 0 for a match, which ends the search; any other value lets it go on.
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
 * @param[in]     pProcessCondition  as given to the walk
 * @param[in]     pstruUserNode      the stored user node; the cursor is on its element
 * @param[in,out] pOther             as given to the walk
 * @return 0 to go on, any other value to stop the walk.
 */
typedef QAL_UINT32 (*XELP_SLinkList_ProcessFun)(void *pProcessCondition, void *pstruUserNode,
                                                void **pOther);

/** A slot. For reading only. The index 0xFFFFFFFF, here and in the head, means *none*. */
typedef struct xelpSLinkList_S_Node {
    QAL_UINT32 ulPNode;  /**< the previous element; none at the first */
    QAL_UINT32 ulNNode;  /**< the next element, or the next free slot; none at the last */
    void *pstruUserNode; /**< the user node; null in a free slot */
} SLinkList_S_Node;

/** The list behind a handle, with its slots right behind it. For reading only. */
typedef struct xelpSLinkList_S_Head {
    QAL_UINT32 ulFirstNode;               /**< the first element; none if the list is empty */
    QAL_UINT32 ulLastNode;                /**< the last element; none if the list is empty */
    QAL_UINT32 ulNow;                     /**< the cursor; none if the list is empty */
    QAL_UINT32 ulTotalNum;                /**< the capacity, *not* the number of elements */
    QAL_UINT32 ulUseNum;                  /**< number of elements */
    QAL_UINT32 ulFirstNoUseNode;          /**< the slot used next; none if the list is full */
    SLinkList_S_Node *pstruBase;          /**< slot 0 */
    XELP_SLinkList_NodeCmp pfunCmpNode;   /**< default comparator, may be null */
    XELP_SLinkList_FreeNode pfunFreeNode; /**< release callback, never null */
} SLinkList_S_Head;

/**
 * @brief Makes an empty list. Linear in the capacity.
 *
 * The first elements take the slots 0, 1, 2 and so on; after that, the slot freed last is used
 * first.
 *
 * @param[in]  ulNodeNum     capacity in elements, 1 to 268435452; for a larger one the size of the
 *                           block wraps, and the call fails as for want of memory
 * @param[in]  pfunCmpNode   comparator of the searches that are given none; null if each brings its
 *                           own
 * @param[in]  pfunFreeNode  release callback for user nodes; not null
 * @param[out] pstruHead     the handle, handed over: release it with XELP_SLinkList_Deinit();
 *                           untouched on failure
 * @return 0; #XELP_ERR_SLL_INVALID_PARA if @p ulNodeNum is 0, or @p pstruHead or @p pfunFreeNode is
 *         null; #XELP_ERR_SLL_MEMORY.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Init(QAL_UINT32 ulNodeNum, XELP_SLinkList_NodeCmp pfunCmpNode,
                                       XELP_SLinkList_FreeNode pfunFreeNode, void **pstruHead);

/**
 * @brief Tears a list down. Linear.
 *
 * @param[in] pstruHead  the handle, taken; your copy of it is not cleared and must not be used
 *                       again
 * @param[in] enFlag     0 (#XELP_SLL_FreeUserNode_Yes): every user node goes to the release
 *                       callback, first to last; any other value leaves the user nodes to you
 * @return 0, or #XELP_ERR_SLL_INVALID_PARA for a null handle.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Deinit(void *pstruHead, XELP_E_SLL_FreeUserNode enFlag);

/**
 * @brief Stores a user node. Constant time. The cursor goes to the new element.
 *
 * @param[in] pstruHead   the handle, borrowed
 * @param[in] pstruNode   the user node, not null; kept until it is removed, deleted or the list
 *                        torn down; still yours on failure
 * @param[in] enPosition  where; on an empty list it is not looked at, so any value succeeds
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null argument; #XELP_ERR_SLL_FULL if no slot is free;
 *         #XELP_ERR_SLL_INVALID_PARA for a value that is no position on a list that is neither full
 *         nor empty. A failure changes nothing.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Insert(void *pstruHead, void *pstruNode,
                                         XELP_E_SLL_Insert_Position enPosition);

/**
 * @brief Takes the first match out of the list. Linear. The cursor goes beside it.
 *
 * Elements are compared first to last until one matches. The arguments are checked in the order in
 * which the statuses name them.
 *
 * @param[in]  pstruHead      the handle, borrowed
 * @param[in]  pCmpCondition  what the comparator is given, borrowed; not null
 * @param[in]  pfunCmpNode    comparator of this search; null for the list's own
 * @param[out] pstruNode      the user node, handed over; null if nothing was removed; untouched for
 *                            a refused argument
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle, no comparator (neither here nor in the
 *         list), a null condition or a null @p pstruNode; #XELP_ERR_SLL_NULL for an empty list;
 *         #XELP_ERR_SLL_FIND if no element matches.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Remove(void *pstruHead, const void *pCmpCondition,
                                         XELP_SLinkList_NodeCmp pfunCmpNode, void **pstruNode);

/**
 * @brief Takes the first match out of the list and releases it. Linear. The cursor goes beside it.
 *
 * XELP_SLinkList_Remove(), and then the list's release callback on the user node.
 *
 * @param[in] pstruHead      the handle, borrowed
 * @param[in] pCmpCondition  what the comparator is given, borrowed; not null
 * @param[in] pfunCmpNode    comparator of this search; null for the list's own
 * @return as XELP_SLinkList_Remove(); the callback runs on success only.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Delete(void *pstruHead, const void *pCmpCondition,
                                         XELP_SLinkList_NodeCmp pfunCmpNode);

/**
 * @brief Finds the first match. Linear. The cursor goes to it.
 *
 * @param[in]  pstruHead      the handle, borrowed
 * @param[in]  pCmpCondition  what the comparator is given, borrowed; not null
 * @param[in]  pfunCmpNode    comparator of this search; null for the list's own
 * @param[out] pstruNode      the user node, still stored; null if there is none; untouched for a
 *                            refused argument
 * @return as XELP_SLinkList_Remove().
 */
WYX_API QAL_UINT32 XELP_SLinkList_Query(void *pstruHead, const void *pCmpCondition,
                                        XELP_SLinkList_NodeCmp pfunCmpNode, void **pstruNode);

/**
 * @brief The capacity, as given to XELP_SLinkList_Init(). Constant time. The cursor stays.
 *
 * @param[in]  pstruHead   the handle, borrowed
 * @param[out] ulListSize  capacity in elements; untouched on failure
 * @return 0, or #XELP_ERR_SLL_INVALID_PARA for a null argument.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Get_ListSize(void *pstruHead, QAL_UINT32 *ulListSize);

/**
 * @brief Counts the elements. Constant time. The cursor stays.
 *
 * @param[in]  pstruHead   the handle, borrowed
 * @param[out] ulTotalNum  number of elements; untouched on failure
 * @return 0, or #XELP_ERR_SLL_INVALID_PARA for a null argument.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Get_NodeNumber(void *pstruHead, QAL_UINT32 *ulTotalNum);

/**
 * @brief Puts the cursor on the first element. Constant time.
 *
 * An empty list is no error here: it has no cursor before and after.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0, or #XELP_ERR_SLL_INVALID_PARA for a null handle.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Set_CurPtr(void *pstruHead);

/**
 * @brief The user node at the cursor. Constant time. The cursor stays.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; untouched on failure
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null argument; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Get_CurNode(void *pstruHead, void **pstruNode);

/**
 * @brief Moves the cursor to the previous element. Constant time.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle; #XELP_ERR_SLL_NULL for an empty list;
 *         #XELP_ERR_SLL_HEAD if the cursor is on the first element, where it stays.
 */
WYX_API QAL_UINT32 XELP_SLinkList_PriorPtr(void *pstruHead);

/**
 * @brief Moves the cursor to the next element. Constant time.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle; #XELP_ERR_SLL_NULL for an empty list;
 *         #XELP_ERR_SLL_TAIL if the cursor is on the last element, where it stays.
 */
WYX_API QAL_UINT32 XELP_SLinkList_NextPtr(void *pstruHead);

/**
 * @brief Moves the cursor to the previous element and gives its user node. Constant time.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null at the first element; untouched by
 *                        another failure
 * @return as XELP_SLinkList_PriorPtr(), and #XELP_ERR_SLL_INVALID_PARA for a null @p pstruNode.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Get_PriorNode(void *pstruHead, void **pstruNode);

/**
 * @brief Moves the cursor to the next element and gives its user node. Constant time.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null at the last element; untouched by
 *                        another failure. Not checked: it must not be null unless the list is empty
 * @return as XELP_SLinkList_NextPtr().
 */
WYX_API QAL_UINT32 XELP_SLinkList_Get_NextNode(void *pstruHead, void **pstruNode);

/**
 * @brief The first user node. Constant time. The cursor stays.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null on failure
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null argument; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Get_HeadNode(void *pstruHead, void **pstruNode);

/**
 * @brief The last user node. Constant time. The cursor stays.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, still stored; null on failure
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null argument; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Get_TailNode(void *pstruHead, void **pstruNode);

/**
 * @brief Takes the element at the cursor out of the list. Constant time.
 *
 * The cursor goes to its successor, or to its predecessor if it was the last.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, handed over; untouched on failure. Not checked: it must not
 *                        be null unless the list is empty
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Remove_CurNode(void *pstruHead, void **pstruNode);

/**
 * @brief Takes the first element out of the list. Constant time. The cursor goes to the new first.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, handed over; null on failure
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null argument; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Remove_HeadNode(void *pstruHead, void **pstruNode);

/**
 * @brief Takes the last element out of the list. Constant time. The cursor goes to the new last.
 *
 * @param[in]  pstruHead  the handle, borrowed
 * @param[out] pstruNode  the user node, handed over; null on failure
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null argument; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Remove_TailNode(void *pstruHead, void **pstruNode);

/**
 * @brief Takes the element at the cursor out of the list and releases it. Constant time.
 *
 * XELP_SLinkList_Remove_CurNode(), and then the list's release callback on the user node.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Delete_CurNode(void *pstruHead);

/**
 * @brief Takes the first element out of the list and releases it. Constant time.
 *
 * XELP_SLinkList_Remove_HeadNode(), and then the list's release callback on the user node.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Delete_HeadNode(void *pstruHead);

/**
 * @brief Takes the last element out of the list and releases it. Constant time.
 *
 * XELP_SLinkList_Remove_TailNode(), and then the list's release callback on the user node.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle; #XELP_ERR_SLL_NULL for an empty list.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Delete_TailNode(void *pstruHead);

/**
 * @brief Visits the elements first to last. Linear, and what the callback costs.
 *
 * Before each visit the cursor is put on the element. After it, the walk looks where the cursor is:
 * - still on that element: it goes on with the element that now follows it, so what the callback
 *   inserted behind it and kept out of the cursor's way is visited, too;
 * - elsewhere: it goes on *with* the element under the cursor. After the callback removed or
 *   deleted the element it was called for, that is its successor, so nothing is missed. After
 *   removing the *last* element it is the predecessor, which is visited a second time. An element
 *   that the callback inserts, queries or moves to is visited next, as the cursor is then on it: a
 *   callback that does so without end makes a walk without end;
 * - nowhere, since the list is empty: the walk ends.
 *
 * "Still on that element" means the same slot: if the callback removes the element it was called
 * for and inserts another, that takes the slot just freed, and the walk goes on *behind* the new
 * element.
 *
 * @param[in]     pstruHead          the handle, borrowed
 * @param[in]     pfunProcess        the callback, not null
 * @param[in]     pProcessCondition  passed to the callback unchecked, may be null
 * @param[in,out] pOther             passed to the callback unchecked, may be null
 * @return 0; #XELP_ERR_SLL_INVALID_PARA for a null handle or callback; #XELP_ERR_SLL_NULL for an
 *         empty list; #XELP_ERR_SLL_BREAK at once when the callback returns another value than 0;
 *         the cursor is then where the callback left it.
 */
WYX_API QAL_UINT32 XELP_SLinkList_Process_List(void *pstruHead,
                                               XELP_SLinkList_ProcessFun pfunProcess,
                                               void *pProcessCondition, void **pOther);

/** @name Building blocks
 * What the calls above take and return slots with. A list whose slots were taken or returned by
 * hand counts elements that it does not have, or does not count some that it has. No call then
 * leaves the block or follows an index that is *none*: where the count says there are elements but
 * there is no cursor, the list is reported as empty (#XELP_ERR_SLL_NULL), a search finds nothing
 * (#XELP_ERR_SLL_FIND) and a walk visits nothing. @{ */

/**
 * @brief Takes a slot from the free chain without making an element of it. Constant time.
 *
 * The slot counts as an element until it is returned.
 *
 * @param[in] pstruHead  the handle, borrowed
 * @return the slot's index, handed over: return it with SLinkList_Insert_FreeNode(); 0xFFFFFFFF for
 *         a null handle or if no slot is free.
 */
WYX_API QAL_UINT32 SLinkList_Remove_FreeNode(void *pstruHead);

/**
 * @brief Returns a slot to the free chain, where it is the next to be taken. Constant time.
 *
 * @param[in] pstruHead   the handle, borrowed
 * @param[in] ulFreeNode  index of a slot that SLinkList_Remove_FreeNode() gave, taken. It is not
 *                        checked that it is neither free already nor an element's; one that is
 *                        ties the list into a knot
 * @return 0, or #XELP_ERR_SLL_INVALID_PARA for a null handle, the index 0xFFFFFFFF, or one that is
 *         not below the capacity.
 */
WYX_API QAL_UINT32 SLinkList_Insert_FreeNode(void *pstruHead, QAL_UINT32 ulFreeNode);

/** @} */

WYX_C_END

#endif
