/**
 * @file hash.h
 * @brief Chained hash table of the caller's records, with a fixed number of buckets.
 *
 * The table stores pointers to records of yours, the *user nodes*, each under a key: a string of
 * bytes that the table copies. You supply four callbacks, all of them mandatory: the hash
 * function, the comparator of keys, the *key callback*, which releases a key copy, and the *node
 * callback*, which releases a user node.
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
 * XELP_Hash_SaveNode(table, name, nameLen + 1, person); // with the NUL; the table keeps person
 * void *found = NULL;
 * if (XELP_Hash_QueryNode(table, name, &found) == 0) {
 *     // found is the record, still stored; the cursor is on it
 * }
 * XELP_Hash_DeInit(table, XELP_HASH_FreeUserNode_Yes); // releases every key copy and every person
 * @endcode
 *
 * **Keys.** The table uses the length of a key only to copy it; neither the hash function nor the
 * comparator receives it. So a key must mark its own end (copy the NUL of a string too), or have a
 * length that both functions know. A copy is aligned like any allocated block.
 *
 * **Ownership.** A call *borrows* the key you pass. The table *keeps* its copy until the entry is
 * removed; the key callback *takes* the copy and must release it with XELP_MemFreeD(). The table
 * *keeps* a stored user node until its entry leaves the table: a Remove call *hands* it *over*
 * to you, and a Delete call or XELP_Hash_DeInit() with #XELP_HASH_FreeUserNode_Yes passes it to the
 * node callback. After XELP_Hash_DeInit() with another flag it is yours again. A query only returns
 * a pointer to it: it stays stored. The table itself and its chain nodes belong to the library
 * until XELP_Hash_DeInit().
 *
 * **Order.** The bucket of an entry is its hash value modulo the number of buckets. Within a
 * bucket, the entry saved last comes first. Nothing is ever rehashed, so choose the number of
 * buckets for the number of entries you expect; a prime number helps with a weak hash function.
 *
 * **Cursor.** It is on an entry or nowhere; unlike the cursor of a list, it may be nowhere while
 * there are entries. A failing call leaves it where it is (except a walk stopped by its callback).
 * - SaveNode puts it on the new entry, QueryNode on the match;
 * - every Remove and every Delete puts it on the entry after the removed one, or nowhere if the
 *   removed one was the last of its bucket: the cursor does not go on to the next bucket;
 * - Process_List leaves it on the last entry visited, unless the callback moved it;
 * - the Get calls leave it alone, and there is no call that only moves it.
 *
 * **Results.** XELP_Hash_RemoveCurNode() sets its result to null once its arguments are accepted.
 * XELP_Hash_RemoveNode() and XELP_Hash_QueryNode() leave theirs untouched on every failure.
 *
 * **Callbacks** run on the caller's thread, inside the call.
 * - The hash function and the comparator must not change the table or move its cursor. They must
 *   always treat a key and its copy alike.
 * - The key callback must not use the table, because it runs while an entry is being removed.
 * - The node callback of a Delete runs last, when the entry has left the table and the cursor has
 *   moved: it may use the table, but must not tear it down. In XELP_Hash_DeInit() it must not use
 *   the table at all.
 * - The callback of a walk may do anything with the table except tear it down; see
 *   XELP_Hash_Process_List() for where the walk then continues.
 *
 * **Cost and limits.** A call with a key costs one call of the hash function and one comparison
 * for each entry of the bucket up to the match: constant time as long as there are about as many
 * buckets as entries and the hash function spreads the entries evenly. XELP_Hash_RemoveCurNode()
 * and XELP_Hash_DeleteCurNode() cost the same, but compare addresses instead of keys. Init is
 * linear in the buckets; a walk and the teardown are linear in the buckets and the entries. The
 * table takes one block of 56 bytes and 8 more for each bucket; an entry takes one block of 24
 * bytes and another for its key copy. The size of the table's block is a 32-bit number, so the
 * largest number of buckets is 536870904. The number of entries is not checked; it must stay below
 * 4294967296.
 *
 * **Threads.** Two threads must not use one table at once, not even for queries, which move the
 * cursor. Different tables are independent.
 *
 * **Siblings.** dlink.h and slink.h (lists) look much the same, but differ on purpose. Here the
 * comparator is fixed and compares two keys; a missing cursor has a status of its own; failing
 * searches leave their result untouched; and if a teardown does not release the user nodes, it does
 * not release the key copies either. Up to 70, statuses are numbered as in dlink.h; slink.h numbers
 * them differently from 30 on.
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
    XELP_ERR_HASH_RESAVE = 90,       /**< an entry has the key already */
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
 * @param[out] pulHashValue the value; any 32-bit number, which the table reduces to a bucket
 * @return 0 if the value was written; any other value is a failure, which the call reports as
 *         #XELP_ERR_HASH_HASHVALUE.
 */
typedef QAL_UINT32 (*XELP_Hash_Function)(void *pKeyValue, QAL_UINT32 *pulHashValue);

/**
 * @brief Compares two keys.
 *
 * @param[in] pKeyValue  the caller's key
 * @param[in] pstruKey   the table's copy of a stored key
 * @return 0 if they are equal, any other value if not.
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
 * @param[in]     pProcessCondition  as given to the walk
 * @param[in]     pstruUserNode      the stored user node; the cursor is on its entry
 * @param[in,out] pOther             as given to the walk
 * @return 0 to continue, any other value to stop the walk.
 */
typedef QAL_UINT32 (*XELP_Hash_ProcessFun)(void *pProcessCondition, void *pstruUserNode,
                                           void **pOther);

/** The chain node of one entry. For reading only; it is gone with its entry. */
typedef struct xelpHash_S_Node {
    void *pstruKey;                     /**< the table's copy of the key, never null */
    void *pstruUserNode;                /**< the user node, never null */
    struct xelpHash_S_Node *pstruNNode; /**< the next entry of the bucket; null at the last */
} Hash_S_Node;

/** What a handle points to; the buckets follow it directly. For reading only. */
typedef struct xelpHash_S_Head {
    QAL_UINT32 ulHashSize;           /**< number of buckets */
    QAL_UINT32 ulNodeNum;            /**< number of entries */
    Hash_S_Node **pstruBase;         /**< the buckets: each the first entry of its chain, or null */
    XELP_Hash_Function pfunHashFun;  /**< hash function, never null */
    XELP_Hash_NodeCmp pfunCmpNode;   /**< comparator, never null */
    XELP_Hash_FreeKey pfunFreeKey;   /**< release callback for key copies, never null */
    XELP_Hash_FreeNode pfunFreeNode; /**< release callback for user nodes, never null */
    Hash_S_Node *pstruNow;           /**< the cursor; null if it is nowhere */
} Hash_S_Head;

/**
 * @brief Creates an empty table.
 *
 * @param[in]  ulHashSize     number of buckets, 1 to 536870904; for a larger one the size of the
 *                            block wraps, and the call fails with #XELP_ERR_HASH_MEMORY
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
 * @param[in] enFlag         0 (#XELP_HASH_FreeUserNode_Yes): bucket by bucket, every key copy goes
 *                           to the key callback, then its user node to the node callback. With any
 *                           other value neither is called: the user nodes stay yours, *and the key
 *                           copies leak*, since nothing points to them any more. To keep the user
 *                           nodes without a leak, remove the entries first
 * @return 0, or #XELP_ERR_HASH_INVALID_PARA for a null handle.
 */
WYX_API QAL_UINT32 XELP_Hash_DeInit(void *pstruHashHead, XELP_E_HASH_FreeUserNode enFlag);

/**
 * @brief Stores a user node under a new key. The cursor moves to the new entry.
 *
 * @param[in] pstruHashHead  the handle, borrowed
 * @param[in] pKeyValue      the key, borrowed; not null
 * @param[in] ulKeyLen       how much of it is copied, in bytes; not 0
 * @param[in] pstruNode      the user node, not null; kept until it is removed or deleted, or the
 *                           table is torn down; still yours on failure
 * @return 0; #XELP_ERR_HASH_INVALID_PARA for a null argument or a length of 0;
 *         #XELP_ERR_HASH_HASHVALUE; #XELP_ERR_HASH_RESAVE if the key is stored already;
 *         #XELP_ERR_HASH_MEMORY. A failure changes nothing.
 */
WYX_API QAL_UINT32 XELP_Hash_SaveNode(void *pstruHashHead, void *pKeyValue, QAL_UINT32 ulKeyLen,
                                      void *pstruNode);

/**
 * @brief Removes the entry of a key. The cursor moves to the next entry of the bucket.
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
 * @brief Removes the entry of a key and releases it.
 *
 * Calls XELP_Hash_RemoveNode(), and then the node callback on the user node.
 *
 * @param[in] pstruHashHead  the handle, borrowed
 * @param[in] pKeyValue      the key, borrowed; not null
 * @return as XELP_Hash_RemoveNode(); the node callback runs on success only.
 */
WYX_API QAL_UINT32 XELP_Hash_DeleteNode(void *pstruHashHead, void *pKeyValue);

/**
 * @brief Removes the entry at the cursor. The cursor moves to the next entry of the bucket.
 *
 * The entry's key copy is hashed to find its bucket, and the entry is found there by its address;
 * no comparator runs. The key callback takes the key copy. If the hash function now leads to a
 * different bucket than when the entry was saved, the entry is not found: the call returns 0,
 * changes nothing, and sets the result to null.
 *
 * @param[in]  pstruHashHead  the handle, borrowed
 * @param[out] pstruNode      the user node, handed over; null if nothing was removed; untouched
 *                            for a refused argument
 * @return 0; #XELP_ERR_HASH_INVALID_PARA for a null argument; #XELP_ERR_HASH_NOW_NULL if the
 *         cursor is nowhere; #XELP_ERR_HASH_HASHVALUE.
 */
WYX_API QAL_UINT32 XELP_Hash_RemoveCurNode(void *pstruHashHead, void **pstruNode);

/**
 * @brief Removes the entry at the cursor and releases it.
 *
 * Calls XELP_Hash_RemoveCurNode(), and then the node callback on the user node, if there is one.
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
 * @return as XELP_Hash_RemoveNode().
 */
WYX_API QAL_UINT32 XELP_Hash_QueryNode(void *pstruHashHead, void *pKeyValue, void **pstruNode);

/**
 * @brief Visits the entries bucket by bucket; within a bucket, from the newest to the oldest.
 *
 * Before each visit the cursor moves to the entry. After the visit, the position of the cursor
 * decides how the walk continues:
 * - still on that entry: the walk continues with the next entry of the bucket.
 * - on another entry: the walk continues *with* that entry. If the callback removed or deleted the
 *   entry it was called for, the cursor is on the next one of the bucket, so nothing is missed or
 *   visited twice. An entry that the callback saves or queries is visited next, and after it the
 *   rest of *its* bucket. A callback that keeps doing so may never let the walk end.
 * - nowhere: the bucket is done.
 *
 * The walk starts once in each bucket, in order, even if the cursor has led it into other buckets
 * in between.
 *
 * "Still on that entry" is decided by address. If the callback removes the entry it was called for
 * and saves another, the new chain node may have the old one's address. If it has, the walk
 * continues after the new entry, otherwise with it: rely on neither.
 *
 * @param[in]     pstruHashHead      the handle, borrowed
 * @param[in]     pfunProcess        the callback, not null
 * @param[in]     pProcessCondition  passed to the callback unchecked; may be null
 * @param[in,out] pOther             passed to the callback unchecked; may be null
 * @return 0; #XELP_ERR_HASH_INVALID_PARA for a null handle or callback; #XELP_ERR_HASH_NULL for an
 *         empty table; #XELP_ERR_HASH_BREAK as soon as the callback returns a value other than 0;
 *         the cursor is then where the callback left it.
 */
WYX_API QAL_UINT32 XELP_Hash_Process_List(void *pstruHashHead, XELP_Hash_ProcessFun pfunProcess,
                                          void *pProcessCondition, void **pOther);

/**
 * @brief The number of buckets, as given to XELP_Hash_Init(). Constant time. The cursor stays.
 *
 * @param[in]  pstruHashHead  the handle, borrowed
 * @param[out] ulListSize     number of buckets; untouched on failure
 * @return 0, or #XELP_ERR_HASH_INVALID_PARA for a null argument.
 */
WYX_API QAL_UINT32 XELP_Hash_Get_ListSize(void *pstruHashHead, QAL_UINT32 *ulListSize);

/**
 * @brief Counts the entries. Constant time. The cursor stays.
 *
 * @param[in]  pstruHashHead  the handle, borrowed
 * @param[out] ulTotalNum     number of entries; untouched on failure
 * @return 0, or #XELP_ERR_HASH_INVALID_PARA for a null argument.
 */
WYX_API QAL_UINT32 XELP_Hash_Get_NodeNumber(void *pstruHashHead, QAL_UINT32 *ulTotalNum);

WYX_C_END

#endif
