/**
 * @file hash.h
 * @brief Chained hash table of the caller's records, with a fixed number of buckets.
 *
 * The table stores pointers to records of yours, the *user nodes*, each under a key: a string of
 * bytes that the table copies. The key copy and the pointer make an *entry*. You must supply four
 * callbacks: the hash function, the comparator of keys, the *key callback* (releases a key copy)
 * and the *node callback* (releases a user node).
 *
 * The key callback usually looks like this:
 * @code{.c}
 * static void ReleaseKey(void *pKey)
 * {
 *     XELP_MemFreeD(pKey, __LINE__, __FILE__); // from os_adapter.h
 * }
 * @endcode
 * A table is used like this:
 * @code{.c}
 * void *table = NULL;
 * XELP_Hash_Init(1021, HashName, CompareNames, ReleaseKey, ReleasePerson, &table);
 * XELP_Hash_SaveNode(table, name, nameLen + 1, person); // + 1 for the NUL; the table keeps person
 * void *found = NULL;
 * if (XELP_Hash_QueryNode(table, name, &found) == 0) {
 *     // found is the record, still stored
 * }
 * XELP_Hash_DeInit(table, XELP_HASH_FreeUserNode_Yes); // releases all key copies and persons
 * @endcode
 *
 * **Keys.** The table uses the length of a key only to copy the key; neither the hash function nor
 * the comparator receives the length. So either a key marks its own end (count the NUL of a string
 * as part of the key), or both functions know its length. The key copy is aligned like any
 * allocated block.
 *
 * **Ownership**, in the words that types.h defines. A call *borrows* the key you pass. Its copy
 * belongs to the table until a Remove or Delete call, or XELP_Hash_DeInit() with
 * #XELP_HASH_FreeUserNode_Yes, passes it to the key callback. The key callback *takes* the copy and
 * must release it with XELP_MemFreeD(). The table *keeps* a stored user node until its entry leaves
 * the table. A Remove call *hands* the user node *over* to you. A Delete call or XELP_Hash_DeInit()
 * with #XELP_HASH_FreeUserNode_Yes passes the user node to the node callback. After
 * XELP_Hash_DeInit() with any other flag the user nodes are yours again, but the key copies leak. A
 * user node that a query returns stays in the table.
 *
 * **Buckets.** The bucket of an entry is the hash value of its key, modulo the number of buckets.
 * Within a bucket, the entry saved last comes first. The number of buckets never changes, so choose
 * it for the number of entries you expect; a prime number helps with a weak hash function.
 *
 * **Cursor.** The cursor is the table's current position: on an entry or nowhere. RemoveCurNode and
 * DeleteCurNode act on the entry at the cursor. The cursor may be nowhere even if there are
 * entries, unlike the cursors of dlink.h and slink.h.
 * - SaveNode puts the cursor on the new entry, QueryNode on the match;
 * - a Remove or Delete that removes an entry puts the cursor, wherever it was, on the entry that
 *   followed the removed one in its bucket, or nowhere if none followed;
 * - Process_List leaves the cursor on the last entry visited, unless the callback moved it;
 * - the Get calls leave the cursor alone;
 * - a call that fails leaves the cursor where it is, except a walk that its callback stops.
 *
 * **Callbacks** run on the caller's thread, inside the call.
 * - The hash function and the comparator must not change the table or move its cursor. They must
 *   treat a key and its copy alike.
 * - The key callback must not use the table, because it runs in the middle of a removal or of the
 *   teardown.
 * - A Delete calls the node callback last, when the entry has left the table and the cursor has
 *   moved. The node callback may use the table, but must not tear it down. During
 *   XELP_Hash_DeInit(), the node callback must not use the table at all.
 * - The callback of a walk may do anything with the table except tear it down;
 *   XELP_Hash_Process_List() tells how the walk then continues.
 *
 * **Cost and limits.** A call with a key calls the hash function at most once, and the comparator
 * at most once for each entry of the bucket, up to the match. With about as many buckets as entries
 * and a hash function that spreads the entries evenly, that is a constant number of comparisons on
 * average. XELP_Hash_RemoveCurNode() and XELP_Hash_DeleteCurNode() do the same, but compare
 * addresses instead of keys. Not counting your callbacks, Init is linear in the number of buckets,
 * a walk in the number of buckets plus the number of visits, and the teardown in the number of
 * buckets plus the number of entries. The table takes one block of 56 bytes plus 8 for each bucket;
 * each entry takes one block of 24 bytes and another for its key copy. The number of entries must
 * stay below 4294967296; no call checks this.
 *
 * **Threads.** Two threads must not use the same table at once, not even for queries, because a
 * query moves the cursor. Different tables are independent.
 *
 * **Siblings.** dlink.h and slink.h (lists) look much like this header, but differ on purpose.
 * Here, only XELP_Hash_Init() takes a comparator, and the comparator compares two keys. A cursor
 * that is nowhere has a status of its own, #XELP_ERR_HASH_NOW_NULL. A search that fails leaves its
 * result untouched. Statuses up to 70 have the same numbers as in dlink.h. In slink.h, the statuses
 * from 30 on have different numbers.
 */
#ifndef WYX_COMMLIB_HASH_H
#define WYX_COMMLIB_HASH_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/** Statuses of the table's calls; 0 is success. The values are ABI: never renumbered or reused. */
typedef enum xelpHashErrCode WYX_ENUM32 {
    XELP_ERR_HASH_INVALID_PARA = 10, /**< a null or zero argument */
    XELP_ERR_HASH_MEMORY = 20,       /**< no memory */
    XELP_ERR_HASH_FIND = 30,         /**< no entry has the key */
    XELP_ERR_HASH_HEAD = 40,         /**< reserved, never returned */
    XELP_ERR_HASH_TAIL = 50,         /**< reserved, never returned */
    XELP_ERR_HASH_NULL = 60,         /**< the table is empty */
    XELP_ERR_HASH_BREAK = 70,        /**< the callback stopped the walk */
    XELP_ERR_HASH_HASHVALUE = 80,    /**< the hash function failed */
    XELP_ERR_HASH_RESAVE = 90,       /**< an entry already has the key */
    XELP_ERR_HASH_NOW_NULL = 100,    /**< the cursor is nowhere */
    XELP_ERR_HASH_BUTT = 110         /**< end marker, never returned */
} xelpHashErrCode;

/** What happens to key copies and user nodes when the table is torn down. */
typedef enum xelpHashFreeUserNode WYX_ENUM32 {
    XELP_HASH_FreeUserNode_Yes = 0, /**< each goes to its release callback */
    XELP_HASH_FreeUserNode_No = 1,  /**< neither is released; any value but 0 does the same */
    XELP_HASH_FreeUserNode_BUTT = 2 /**< end marker */
} XELP_E_HASH_FreeUserNode;

/**
 * @brief Hashes a key.
 *
 * @param[in]  pKeyValue    the caller's key, or the table's copy of one
 * @param[out] pulHashValue the hash value, any 32-bit number
 * @return 0 if the hash value was written. Anything else is a failure: the call that needed the
 *         value then returns #XELP_ERR_HASH_HASHVALUE.
 */
typedef QAL_UINT32 (*XELP_Hash_Function)(void *pKeyValue, QAL_UINT32 *pulHashValue);

/**
 * @brief Compares two keys.
 *
 * @param[in] pKeyValue  the caller's key
 * @param[in] pstruKey   the table's copy of a stored key
 * @return 0 if the keys are equal; any other value if they are not.
 */
typedef QAL_UINT32 (*XELP_Hash_NodeCmp)(void *pKeyValue, void *pstruKey);

/**
 * @brief Releases the table's copy of a key, with XELP_MemFreeD().
 *
 * @param[in] pstruKey  the copy, taken; never null
 */
typedef void (*XELP_Hash_FreeKey)(void *pstruKey);

/**
 * @brief Releases a user node.
 *
 * @param[in] pstruUserNode  the user node, taken; never null
 */
typedef void (*XELP_Hash_FreeNode)(void *pstruUserNode);

/**
 * @brief Visits a user node during a walk.
 *
 * @param[in]     pProcessCondition  as passed to the walk
 * @param[in]     pstruUserNode      the stored user node; the cursor is on its entry
 * @param[in,out] pOther             as passed to the walk
 * @return 0 to continue, any other value to stop the walk.
 */
typedef QAL_UINT32 (*XELP_Hash_ProcessFun)(void *pProcessCondition, void *pstruUserNode,
                                           void **pOther);

/** The chain node of one entry, released when the entry leaves the table. For reading only. */
typedef struct xelpHash_S_Node {
    void *pstruKey;                     /**< the table's copy of the key, never null */
    void *pstruUserNode;                /**< the user node, never null */
    struct xelpHash_S_Node *pstruNNode; /**< the next entry of the bucket, or null */
} Hash_S_Node;

/**
 * The head of a table, which a handle points to. The buckets follow directly. For reading only.
 */
typedef struct xelpHash_S_Head {
    QAL_UINT32 ulHashSize;           /**< number of buckets */
    QAL_UINT32 ulNodeNum;            /**< number of entries */
    Hash_S_Node **pstruBase;         /**< the buckets: the first entry of each chain, or null */
    XELP_Hash_Function pfunHashFun;  /**< hash function, never null */
    XELP_Hash_NodeCmp pfunCmpNode;   /**< comparator, never null */
    XELP_Hash_FreeKey pfunFreeKey;   /**< release callback for key copies, never null */
    XELP_Hash_FreeNode pfunFreeNode; /**< release callback for user nodes, never null */
    Hash_S_Node *pstruNow;           /**< the cursor; null if it is nowhere */
} Hash_S_Head;

/**
 * @brief Creates an empty table.
 *
 * @param[in]  ulHashSize     number of buckets, 1 to 536870904; for a larger number the size of
 *                            the block wraps, and the call fails with #XELP_ERR_HASH_MEMORY
 * @param[in]  pfunHash       hash function; not null
 * @param[in]  pfunNodeCmp    comparator of keys; not null
 * @param[in]  pfunFreeKey    release callback for key copies; not null
 * @param[in]  pfunFreeNode   release callback for user nodes; not null
 * @param[out] pstruHashHead  the handle, handed over: release it with XELP_Hash_DeInit();
 *                            untouched on failure
 * @return 0; #XELP_ERR_HASH_INVALID_PARA for a null argument or 0 buckets; #XELP_ERR_HASH_MEMORY.
 */
WYX_API QAL_UINT32 XELP_Hash_Init(QAL_UINT32 ulHashSize, XELP_Hash_Function pfunHash,
                                  XELP_Hash_NodeCmp pfunNodeCmp, XELP_Hash_FreeKey pfunFreeKey,
                                  XELP_Hash_FreeNode pfunFreeNode, void **pstruHashHead);

/**
 * @brief Tears a table down.
 *
 * @param[in] pstruHashHead  the handle, taken; your copy of it is not cleared and must not be used
 *                           again
 * @param[in] enFlag         0 (#XELP_HASH_FreeUserNode_Yes): for each entry, bucket by bucket, the
 *                           key copy goes to the key callback, then the user node to the node
 *                           callback. With any other value neither callback is called: the user
 *                           nodes become yours again, *and the key copies leak*, because nothing
 *                           points to them any more. To keep the user nodes without a leak, remove
 *                           every entry first
 * @return 0, or #XELP_ERR_HASH_INVALID_PARA for a null handle.
 */
WYX_API QAL_UINT32 XELP_Hash_DeInit(void *pstruHashHead, XELP_E_HASH_FreeUserNode enFlag);

/**
 * @brief Stores a user node under a new key. The cursor moves to the new entry.
 *
 * @param[in] pstruHashHead  the handle, borrowed
 * @param[in] pKeyValue      the key, borrowed; not null
 * @param[in] ulKeyLen       how many bytes of the key are copied; not 0
 * @param[in] pstruNode      the user node, not null; kept until it is removed or deleted, or the
 *                           table is torn down; still yours on failure
 * @return 0; #XELP_ERR_HASH_INVALID_PARA for a null argument or a length of 0;
 *         #XELP_ERR_HASH_HASHVALUE; #XELP_ERR_HASH_RESAVE if the key is already stored;
 *         #XELP_ERR_HASH_MEMORY. A failure changes nothing.
 */
WYX_API QAL_UINT32 XELP_Hash_SaveNode(void *pstruHashHead, void *pKeyValue, QAL_UINT32 ulKeyLen,
                                      void *pstruNode);

/**
 * @brief Removes the entry of a key. The cursor is then on the bucket's next entry or nowhere.
 *
 * The key callback takes the key copy.
 *
 * @param[in]  pstruHashHead  the handle, borrowed
 * @param[in]  pKeyValue      the key, borrowed; not null
 * @param[out] pstruNode      the user node, handed over; untouched on failure
 * @return 0; #XELP_ERR_HASH_INVALID_PARA for a null argument; #XELP_ERR_HASH_NULL for an empty
 *         table; #XELP_ERR_HASH_HASHVALUE; #XELP_ERR_HASH_FIND if no entry has the key.
 */
WYX_API QAL_UINT32 XELP_Hash_RemoveNode(void *pstruHashHead, void *pKeyValue, void **pstruNode);

/**
 * @brief Removes the entry of a key and releases its user node.
 *
 * Calls XELP_Hash_RemoveNode(). If that removes an entry, passes its user node to the node
 * callback.
 *
 * @param[in] pstruHashHead  the handle, borrowed
 * @param[in] pKeyValue      the key, borrowed; not null
 * @return as for XELP_Hash_RemoveNode().
 */
WYX_API QAL_UINT32 XELP_Hash_DeleteNode(void *pstruHashHead, void *pKeyValue);

/**
 * @brief Removes the entry at the cursor. The cursor is then on the bucket's next entry or nowhere.
 *
 * The key callback takes the key copy.
 *
 * The call hashes the key copy to find the bucket; the comparator does not run. If the hash
 * function now leads to a different bucket than when the entry was saved, the entry is not found:
 * the call sets the result to null, changes nothing else and returns 0.
 *
 * @param[in]  pstruHashHead  the handle, borrowed
 * @param[out] pstruNode      the user node, handed over; untouched if an argument is refused,
 *                            otherwise null if nothing was removed
 * @return 0; #XELP_ERR_HASH_INVALID_PARA for a null argument; #XELP_ERR_HASH_NOW_NULL if the
 *         cursor is nowhere; #XELP_ERR_HASH_HASHVALUE.
 */
WYX_API QAL_UINT32 XELP_Hash_RemoveCurNode(void *pstruHashHead, void **pstruNode);

/**
 * @brief Removes the entry at the cursor and releases its user node.
 *
 * Calls XELP_Hash_RemoveCurNode(). If that removes an entry, passes its user node to the node
 * callback.
 *
 * @param[in] pstruHashHead  the handle, borrowed
 * @return 0; #XELP_ERR_HASH_INVALID_PARA for a null handle; #XELP_ERR_HASH_NOW_NULL if the cursor
 *         is nowhere; #XELP_ERR_HASH_HASHVALUE.
 */
WYX_API QAL_UINT32 XELP_Hash_DeleteCurNode(void *pstruHashHead);

/**
 * @brief Finds the entry of a key. The cursor moves to it.
 *
 * @param[in]  pstruHashHead  the handle, borrowed
 * @param[in]  pKeyValue      the key, borrowed; not null
 * @param[out] pstruNode      the user node, still stored; untouched on failure
 * @return as for XELP_Hash_RemoveNode().
 */
WYX_API QAL_UINT32 XELP_Hash_QueryNode(void *pstruHashHead, void *pKeyValue, void **pstruNode);

/**
 * @brief Visits the entries bucket by bucket; within a bucket, from the newest to the oldest.
 *
 * Before each visit the cursor moves to the entry. After the visit, the position of the cursor
 * decides how the walk continues:
 * - still on that entry: the walk continues with the next entry of the bucket.
 * - on another entry: the walk continues *with* that entry, and after it with the rest of *its*
 *   bucket.
 * - nowhere: the walk leaves the bucket.
 *
 * The walk takes the buckets in order, and each from its first entry. A different bucket into which
 * the cursor leads the walk is a detour: after it, the walk takes the bucket that would have come
 * next without the detour.
 *
 * So a callback may remove the entry it was called for, and the walk still visits each of the
 * others once. But SaveNode, QueryNode and the removal of another entry may move the cursor
 * elsewhere: the walk may then miss the rest of a bucket, visit entries again or never end.
 *
 * The walk recognises an entry by the address of its chain node. If the callback removes the entry
 * it was called for and saves another, the new chain node may get the address of the old one. So
 * the walk may continue with the new entry or after it: rely on neither.
 *
 * @param[in]     pstruHashHead      the handle, borrowed
 * @param[in]     pfunProcess        the callback, not null
 * @param[in]     pProcessCondition  passed to the callback unchecked; may be null
 * @param[in,out] pOther             passed to the callback unchecked; may be null
 * @return 0; #XELP_ERR_HASH_INVALID_PARA for a null handle or callback; #XELP_ERR_HASH_NULL for an
 *         empty table; #XELP_ERR_HASH_BREAK as soon as the callback returns a value other than 0,
 *         with the cursor where the callback left it.
 */
WYX_API QAL_UINT32 XELP_Hash_Process_List(void *pstruHashHead, XELP_Hash_ProcessFun pfunProcess,
                                          void *pProcessCondition, void **pOther);

/**
 * @brief Returns the number of buckets.
 *
 * @param[in]  pstruHashHead  the handle, borrowed
 * @param[out] ulListSize     number of buckets; untouched on failure
 * @return 0, or #XELP_ERR_HASH_INVALID_PARA for a null argument.
 */
WYX_API QAL_UINT32 XELP_Hash_Get_ListSize(void *pstruHashHead, QAL_UINT32 *ulListSize);

/**
 * @brief Returns the number of entries.
 *
 * @param[in]  pstruHashHead  the handle, borrowed
 * @param[out] ulTotalNum     number of entries; untouched on failure
 * @return 0, or #XELP_ERR_HASH_INVALID_PARA for a null argument.
 */
WYX_API QAL_UINT32 XELP_Hash_Get_NodeNumber(void *pstruHashHead, QAL_UINT32 *ulTotalNum);

WYX_C_END

#endif
