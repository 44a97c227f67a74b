/**
 * @file hash.h
 * @brief Hash table from keys to the caller's records, chained, with a fixed number of buckets.
 *
 * The table stores pointers to records of yours, the *user nodes*, each under a key: a string of
 * bytes that the table copies. It knows neither your hash function nor what makes keys equal, nor
 * how to release a key copy or a user node: four callbacks say so, and all four are mandatory.
 *
 * @code{.c}
 * static void ReleaseKey(void *pKey) { XELP_MemFreeD(pKey, __LINE__, __FILE__); } // os_adapter.h
 *
 * void *table = NULL;
 * XELP_Hash_Init(1021, HashName, CompareNames, ReleaseKey, ReleasePerson, &table);
 * XELP_Hash_SaveNode(table, name, strlen(name) + 1, person); // the table keeps person, not name
 * void *found = NULL;
 * if (XELP_Hash_QueryNode(table, name, &found) == 0) {
 *     // found is the record, still stored; the cursor is on it
 * }
 * XELP_Hash_DeInit(table, XELP_HASH_FreeUserNode_Yes); // releases every key and every person
 * @endcode
 *
 * **Keys.** The length of a key is used for copying it and for nothing else: neither the hash
 * function nor the comparator is told. So a key must show where it ends (copy the terminator of a
 * string, too), or have a length that both know. A copy has the alignment of an allocated block.
 *
 * **Ownership.** A call *borrows* the key you pass. The table *keeps* its copy of it until the
 * entry goes; the key callback *takes* the copy and must release it with XELP_MemFreeD(). It
 * *keeps* a stored user node until a Remove call *hands* it *over* to you again, a Delete call or
 * XELP_Hash_DeInit() with #XELP_HASH_FreeUserNode_Yes passes it to the node callback, or
 * XELP_Hash_DeInit() with another flag drops it. A query only shows it: it stays stored. The table
 * itself and its chain nodes belong to the library until XELP_Hash_DeInit().
 *
 * **Order.** In a bucket, the entry saved last comes first. The bucket is the hash value modulo the
 * number of buckets. Nothing is ever rehashed, so choose that number with the number of entries in
 * mind; a prime one forgives a weak hash function.
 *
 * **Cursor.** On an entry or nowhere; unlike the lists', it may be nowhere while there are entries.
 * A failing call leaves it where it is (a walk that is stopped excepted).
 * - SaveNode puts it on the new entry, QueryNode on the match;
 * - every Remove and every Delete puts it on the next entry of the same bucket, or nowhere if there
 *   is none: it never goes to another bucket;
 * - Process_List leaves it on the entry visited last, unless the callback moved it;
 * - the Get calls leave it alone; there is none that moves it.
 *
 * **Results.** XELP_Hash_RemoveCurNode() sets its result to null once its arguments are accepted.
 * XELP_Hash_RemoveNode() and XELP_Hash_QueryNode() leave it untouched on every failure.
 *
 * **Callbacks** run on the caller's thread, inside the call.
 * - The hash function and the comparator must not change the table or move its cursor, and must
 *   answer alike for a key and its copy, each time.
 * - The key callback must not use the table: it runs while an entry is half gone.
 * - The node callback of a Delete runs when the entry is already out of the table: it may use the
 *   table, but not tear it down. In XELP_Hash_DeInit() it must not use the table at all.
 * - The callback of a walk may do anything with the table but tear it down; see
 *   XELP_Hash_Process_List() for where the walk then goes.
 *
 * **Cost and limits.** A keyed call costs one call of the hash function and one comparison for each
 * entry of the bucket up to the match, so constant time while there are about as many buckets as
 * entries. Init is linear in the buckets, a walk and the teardown in buckets and entries. The table
 * costs one block of 56 bytes and 8 for each bucket, an entry one of 24 and its key copy. The size
 * of the table's block has 32 bits: the largest number of buckets is 536870904. A table holds up to
 * 4294967295 entries, which is not checked.
 *
 * **Threads.** One table must not be used by two threads at once, not even for queries, as they
 * move the cursor; different tables may.
 *
 * **Its siblings** in dlink.h and slink.h (lists) look alike and differ on purpose: here the
 * comparator is fixed and is given two keys, the statuses are numbered differently from 80 on, a
 * missing cursor has a status of its own, failing searches leave their result untouched, and
 * tearing the table down *without* its user nodes leaves the key copies alone as well.
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

/** What becomes of keys and user nodes when the table is torn down. */
typedef enum xelpHashFreeUserNode WYX_ENUM32 {
    XELP_HASH_FreeUserNode_Yes = 0, /**< each goes to its release callback */
    XELP_HASH_FreeUserNode_No = 1,  /**< both stay as they are; so with any other value but 0 */
    XELP_HASH_FreeUserNode_BUTT = 2 /**< end marker */
} XELP_E_HASH_FreeUserNode;

/**
 * @brief Hashes a key.
 *
 * @param[in]  pKeyValue    the caller's key, or the table's copy of one
 * @param[out] pulHashValue the value; any 32-bit number, the table reduces it to a bucket
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
 * @return 0 to go on, any other value to stop the walk.
 */
typedef QAL_UINT32 (*XELP_Hash_ProcessFun)(void *pProcessCondition, void *pstruUserNode,
                                           void **pOther);

/** The chain node of one entry. For reading only; it is gone with its entry. */
typedef struct xelpHash_S_Node {
    void *pstruKey;                     /**< the table's copy of the key, never null */
    void *pstruUserNode;                /**< the user node, never null */
    struct xelpHash_S_Node *pstruNNode; /**< the next entry of the bucket; null at the last */
} Hash_S_Node;

/** The table behind a handle, with its buckets right behind it. For reading only. */
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
 * @brief Makes an empty table.
 *
 * @param[in]  ulHashSize     number of buckets, 1 to 536870904; for a larger one the size of the
 *                            block wraps, and the call fails as for want of memory
 * @param[in]  pfunHash       hash function; not null
 * @param[in]  pfunNodeCmp    comparator of keys; not null
 * @param[in]  pfunFreeKey    release callback for key copies; not null
 * @param[in]  pfunFreeNode   release callback for user nodes; not null
 * @param[out] pstruHashHead  the handle, handed over: release it with XELP_Hash_DeInit(); untouched
 *                            on failure
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
 *                           to the key callback and then its user node to the node callback. Any
 *                           other value calls neither: the user nodes stay yours, *and the key
 *                           copies are yours now*. Nothing else points at them, so take the entries
 *                           out before, or have the hash function or the comparator note the copies
 * @return 0, or #XELP_ERR_HASH_INVALID_PARA for a null handle.
 */
WYX_API QAL_UINT32 XELP_Hash_DeInit(void *pstruHashHead, XELP_E_HASH_FreeUserNode enFlag);

/**
 * @brief Stores a user node under a key that has none yet. The cursor goes to the new entry.
 *
 * @param[in] pstruHashHead  the handle, borrowed
 * @param[in] pKeyValue      the key, borrowed; not null
 * @param[in] ulKeyLen       how much of it is copied, in bytes; not 0
 * @param[in] pstruNode      the user node, not null; kept until it is removed, deleted or the table
 *                           torn down; still yours on failure
 * @return 0; #XELP_ERR_HASH_INVALID_PARA for a null argument or a length of 0;
 *         #XELP_ERR_HASH_HASHVALUE; #XELP_ERR_HASH_RESAVE if the key is stored already;
 *         #XELP_ERR_HASH_MEMORY. A failure changes nothing.
 */
WYX_API QAL_UINT32 XELP_Hash_SaveNode(void *pstruHashHead, void *pKeyValue, QAL_UINT32 ulKeyLen,
                                      void *pstruNode);

/**
 * @brief Takes the entry of a key out of the table. The cursor goes to the next of the bucket.
 *
 * The key copy goes to the key callback.
 *
 * @param[in]  pstruHashHead  the handle, borrowed
 * @param[in]  pKeyValue      the key, borrowed; not null
 * @param[out] pstruNode      the user node, handed over; untouched on failure
 * @return 0; #XELP_ERR_HASH_INVALID_PARA for a null argument; #XELP_ERR_HASH_NULL for an empty
 *         table; #XELP_ERR_HASH_HASHVALUE; #XELP_ERR_HASH_FIND if no entry has the key.
 */
WYX_API QAL_UINT32 XELP_Hash_RemoveNode(void *pstruHashHead, void *pKeyValue, void **pstruNode);

/**
 * @brief Takes the entry of a key out of the table and releases it.
 *
 * XELP_Hash_RemoveNode(), and then the node callback on the user node.
 *
 * @param[in] pstruHashHead  the handle, borrowed
 * @param[in] pKeyValue      the key, borrowed; not null
 * @return as XELP_Hash_RemoveNode(); the node callback runs on success only.
 */
WYX_API QAL_UINT32 XELP_Hash_DeleteNode(void *pstruHashHead, void *pKeyValue);

/**
 * @brief Takes the entry at the cursor out of the table. The cursor goes to the next of the bucket.
 *
 * The entry's own key copy is hashed to find its bucket, where the entry itself is looked for, not
 * its key; no comparator runs. The key copy goes to the key callback. Where the hash function now
 * gives another bucket than when the entry was saved, nothing is found there: the call returns 0
 * and changes nothing, and the result is null.
 *
 * @param[in]  pstruHashHead  the handle, borrowed
 * @param[out] pstruNode      the user node, handed over; null if nothing was removed; untouched for
 *                            a refused argument
 * @return 0; #XELP_ERR_HASH_INVALID_PARA for a null argument; #XELP_ERR_HASH_NOW_NULL if the cursor
 *         is nowhere; #XELP_ERR_HASH_HASHVALUE.
 */
WYX_API QAL_UINT32 XELP_Hash_RemoveCurNode(void *pstruHashHead, void **pstruNode);

/**
 * @brief Takes the entry at the cursor out of the table and releases it.
 *
 * XELP_Hash_RemoveCurNode(), and then the node callback on the user node, if there is one.
 *
 * @param[in] pstruHashHead  the handle, borrowed
 * @return 0; #XELP_ERR_HASH_INVALID_PARA for a null handle; #XELP_ERR_HASH_NOW_NULL if the cursor
 *         is nowhere; #XELP_ERR_HASH_HASHVALUE.
 */
WYX_API QAL_UINT32 XELP_Hash_DeleteCurNode(void *pstruHashHead);

/**
 * @brief Finds the entry of a key. The cursor goes to it.
 *
 * @param[in]  pstruHashHead  the handle, borrowed
 * @param[in]  pKeyValue      the key, borrowed; not null
 * @param[out] pstruNode      the user node, still stored; untouched on failure
 * @return as XELP_Hash_RemoveNode().
 */
WYX_API QAL_UINT32 XELP_Hash_QueryNode(void *pstruHashHead, void *pKeyValue, void **pstruNode);

/**
 * @brief Visits the entries, bucket by bucket, each from its newest to its oldest.
 *
 * Before each visit the cursor is put on the entry. After it, the walk looks where the cursor is:
 * - still on that entry: it goes on with the next of the bucket;
 * - on another: it goes on *with* that entry. After the callback removed or deleted the entry it
 *   was called for, that is the next of the bucket, so nothing is missed or visited twice. An entry
 *   that the callback saves or queries is visited next, and after it the rest of *its* bucket: a
 *   callback that does so without end makes a walk without end;
 * - nowhere: the bucket is done.
 *
 * When a bucket is done, the walk goes on with the one after the bucket it had come to itself,
 * wherever the cursor has been meanwhile.
 *
 * "Still on that entry" is a comparison of addresses: if the callback removes the entry it was
 * called for and saves another, the new chain node may lie at the old one's address. The walk then
 * goes on behind the new entry, otherwise with it; rely on neither.
 *
 * @param[in]     pstruHashHead      the handle, borrowed
 * @param[in]     pfunProcess        the callback, not null
 * @param[in]     pProcessCondition  passed to the callback unchecked, may be null
 * @param[in,out] pOther             passed to the callback unchecked, may be null
 * @return 0; #XELP_ERR_HASH_INVALID_PARA for a null handle or callback; #XELP_ERR_HASH_NULL for an
 *         empty table; #XELP_ERR_HASH_BREAK at once when the callback returns another value than 0;
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
