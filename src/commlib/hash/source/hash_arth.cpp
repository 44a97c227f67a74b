// Chained hash table. One block holds the head and its buckets; each entry has a chain node and a
// copy of its key. A search finds the link that leads to an entry, because a removal has to
// change that link.
#include "wyx_commlib/hash.h"

#include <cstdint>

#include "blocks.h"
#include "bounded.h"

namespace wyx::hash {
namespace {

using Head = Hash_S_Head;
using Node = Hash_S_Node;

constexpr QAL_UINT64 BlockSize(QAL_UINT32 ulHashSize)
{
    return sizeof(Head) + QAL_UINT64{ulHashSize} * sizeof(Node *);
}

static_assert(BlockSize(536870904) <= kMaxBlockSize && BlockSize(536870905) > kMaxBlockSize,
              "hash.h states the largest number of buckets");

/// The bucket a key belongs to; null if the hash function fails.
Node **FindBucket(const Head &head, void *pKey)
{
    QAL_UINT32 ulValue = 0;
    if (head.pfunHashFun(pKey, &ulValue) != 0) {
        return nullptr;
    }
    return &head.pstruBase[ulValue % head.ulHashSize];
}

/// The link to the key's entry, or the null link that ends the chain.
Node **FindKey(const Head &head, Node **ppLink, void *pKey)
{
    while (*ppLink != nullptr && head.pfunCmpNode(pKey, (*ppLink)->pstruKey) != 0) {
        ppLink = &(*ppLink)->pstruNNode;
    }
    return ppLink;
}

/// The link to an entry, or the null link that ends the chain.
Node **FindNode(Node **ppLink, const Node *pNode)
{
    while (*ppLink != nullptr && *ppLink != pNode) {
        ppLink = &(*ppLink)->pstruNNode;
    }
    return ppLink;
}

/// Checks the arguments of a call that looks up a key, and finds the link to the key's entry.
/// Returns the status of the call.
QAL_UINT32 Search(void *pstruHashHead, void *pKeyValue, void **ppUserNode, Node **&ppLink)
{
    if (pstruHashHead == nullptr || pKeyValue == nullptr || ppUserNode == nullptr) {
        return XELP_ERR_HASH_INVALID_PARA;
    }
    const Head &head = *static_cast<const Head *>(pstruHashHead);
    if (head.ulNodeNum == 0) {
        return XELP_ERR_HASH_NULL;
    }
    Node **const ppBucket = FindBucket(head, pKeyValue);
    if (ppBucket == nullptr) {
        return XELP_ERR_HASH_HASHVALUE;
    }
    ppLink = FindKey(head, ppBucket, pKeyValue);
    return *ppLink != nullptr ? 0U : QAL_UINT32{XELP_ERR_HASH_FIND};
}

/// Removes the entry that a link leads to, releases its key and chain node, and returns its user
/// node.
void *Unlink(Head &head, Node **ppLink)
{
    Node *pNode = *ppLink;
    *ppLink = pNode->pstruNNode;
    // Kept: if the last entry of a chain is removed, the cursor becomes null; it does not move to
    // the next bucket (HashCursor.DoesNotMoveToAnotherBucket).
    head.pstruNow = pNode->pstruNNode;
    head.pfunFreeKey(pNode->pstruKey);
    // An adapter that keeps released blocks for inspection must not find a dangling pointer here.
    pNode->pstruKey = nullptr;
    void *const pUserNode = pNode->pstruUserNode;
    Release(pNode);
    --head.ulNodeNum;
    return pUserNode;
}

/// Does the work of a Delete call: makes the Remove call, then releases the user node of the
/// entry that it removed, if any.
template <typename Remove>
QAL_UINT32 DeleteBy(void *pstruHashHead, const Remove &remove)
{
    void *pUserNode = nullptr;
    const QAL_UINT32 ulStatus = remove(pstruHashHead, &pUserNode);
    if (pUserNode != nullptr) {
        static_cast<const Head *>(pstruHashHead)->pfunFreeNode(pUserNode);
    }
    return ulStatus;
}

} // namespace
} // namespace wyx::hash

using namespace wyx::hash;

extern "C" {

QAL_UINT32 XELP_Hash_Init(QAL_UINT32 ulHashSize, XELP_Hash_Function pfunHash,
                          XELP_Hash_NodeCmp pfunNodeCmp, XELP_Hash_FreeKey pfunFreeKey,
                          XELP_Hash_FreeNode pfunFreeNode, void **pstruHashHead)
{
    if (pstruHashHead == nullptr || ulHashSize == 0 || pfunHash == nullptr ||
        pfunNodeCmp == nullptr || pfunFreeKey == nullptr || pfunFreeNode == nullptr) {
        return XELP_ERR_HASH_INVALID_PARA;
    }
    void *const pBlock = wyx::AllocateArray(
        BlockSize(ulHashSize), [](QAL_UINT32 ulSize, QAL_UINT32 ulLine, const QAL_CHAR *pszFile) {
            return XELP_MemMallocS(ulSize, 0, ulLine, pszFile);
        });
    if (pBlock == nullptr) {
        return XELP_ERR_HASH_MEMORY;
    }
    auto *const pHead = static_cast<Head *>(pBlock);
    pHead->ulHashSize = ulHashSize;
    pHead->pstruBase = reinterpret_cast<Node **>(pHead + 1);
    pHead->pfunHashFun = pfunHash;
    pHead->pfunCmpNode = pfunNodeCmp;
    pHead->pfunFreeKey = pfunFreeKey;
    pHead->pfunFreeNode = pfunFreeNode;
    // The rest of the block is zero already: empty buckets, no entries, the cursor nowhere.
    *pstruHashHead = pHead;
    return 0;
}

QAL_UINT32 XELP_Hash_DeInit(void *pstruHashHead, XELP_E_HASH_FreeUserNode enFlag)
{
    if (pstruHashHead == nullptr) {
        return XELP_ERR_HASH_INVALID_PARA;
    }
    const Head &head = *static_cast<const Head *>(pstruHashHead);
    for (QAL_UINT32 i = 0; i < head.ulHashSize; ++i) {
        for (Node *pNode = head.pstruBase[i]; pNode != nullptr;) {
            // Kept: a flag that spares the user nodes leaks the key copies
            // (HashDeInit.OtherFlagsCallNeitherCallback).
            if (enFlag == XELP_HASH_FreeUserNode_Yes) {
                head.pfunFreeKey(pNode->pstruKey);
                head.pfunFreeNode(pNode->pstruUserNode);
            }
            Node *const pNext = pNode->pstruNNode;
            wyx::Release(pNode);
            pNode = pNext;
        }
    }
    wyx::Release(pstruHashHead);
    return 0;
}

QAL_UINT32 XELP_Hash_SaveNode(void *pstruHashHead, void *pKeyValue, QAL_UINT32 ulKeyLen,
                              void *pstruNode)
{
    if (pstruHashHead == nullptr || pKeyValue == nullptr || pstruNode == nullptr || ulKeyLen == 0) {
        return XELP_ERR_HASH_INVALID_PARA;
    }
    Head &head = *static_cast<Head *>(pstruHashHead);
    Node **const ppBucket = FindBucket(head, pKeyValue);
    if (ppBucket == nullptr) {
        return XELP_ERR_HASH_HASHVALUE;
    }
    if (*FindKey(head, ppBucket, pKeyValue) != nullptr) {
        return XELP_ERR_HASH_RESAVE;
    }
    void *const pKey = XELP_MemMallocS(ulKeyLen, 0, __LINE__, __FILE__);
    if (pKey == nullptr) {
        return XELP_ERR_HASH_MEMORY;
    }
    wyx_memcpy_s(pKey, ulKeyLen, pKeyValue, ulKeyLen);
    auto *const pNode = static_cast<Node *>(XELP_MemMallocS(sizeof(Node), 0, __LINE__, __FILE__));
    if (pNode == nullptr) {
        XELP_MemFreeD(pKey, __LINE__, __FILE__);
        return XELP_ERR_HASH_MEMORY;
    }
    pNode->pstruKey = pKey;
    pNode->pstruUserNode = pstruNode;
    pNode->pstruNNode = *ppBucket;
    *ppBucket = pNode;
    ++head.ulNodeNum;
    head.pstruNow = pNode;
    return 0;
}

// Not inlined into XELP_Hash_DeleteNode(): a second copy would only make the library larger.
[[gnu::noinline]] QAL_UINT32 XELP_Hash_RemoveNode(void *pstruHashHead, void *pKeyValue,
                                                  void **pstruNode)
{
    Node **ppLink = nullptr;
    const QAL_UINT32 ulStatus = Search(pstruHashHead, pKeyValue, pstruNode, ppLink);
    if (ulStatus == 0) {
        *pstruNode = Unlink(*static_cast<Head *>(pstruHashHead), ppLink);
    }
    return ulStatus;
}

QAL_UINT32 XELP_Hash_DeleteNode(void *pstruHashHead, void *pKeyValue)
{
    return DeleteBy(pstruHashHead, [=](void *pHead, void **ppUserNode) {
        return XELP_Hash_RemoveNode(pHead, pKeyValue, ppUserNode);
    });
}

// Not inlined into XELP_Hash_DeleteCurNode(): a second copy would only make the library larger.
[[gnu::noinline]] QAL_UINT32 XELP_Hash_RemoveCurNode(void *pstruHashHead, void **pstruNode)
{
    if (pstruHashHead == nullptr || pstruNode == nullptr) {
        return XELP_ERR_HASH_INVALID_PARA;
    }
    *pstruNode = nullptr;
    Head &head = *static_cast<Head *>(pstruHashHead);
    if (head.pstruNow == nullptr) {
        return XELP_ERR_HASH_NOW_NULL;
    }
    Node **const ppBucket = FindBucket(head, head.pstruNow->pstruKey);
    if (ppBucket == nullptr) {
        return XELP_ERR_HASH_HASHVALUE;
    }
    Node **const ppLink = FindNode(ppBucket, head.pstruNow);
    // Kept: it is not an error if the hash function now leads to a different bucket than when the
    // entry was saved (HashRemoveCurNode.EntryNotInItsBucketReturnsSuccessAndNull).
    if (*ppLink != nullptr) {
        *pstruNode = Unlink(head, ppLink);
    }
    return 0;
}

QAL_UINT32 XELP_Hash_DeleteCurNode(void *pstruHashHead)
{
    return DeleteBy(pstruHashHead, XELP_Hash_RemoveCurNode);
}

QAL_UINT32 XELP_Hash_QueryNode(void *pstruHashHead, void *pKeyValue, void **pstruNode)
{
    Node **ppLink = nullptr;
    const QAL_UINT32 ulStatus = Search(pstruHashHead, pKeyValue, pstruNode, ppLink);
    if (ulStatus == 0) {
        *pstruNode = (*ppLink)->pstruUserNode;
        static_cast<Head *>(pstruHashHead)->pstruNow = *ppLink;
    }
    return ulStatus;
}

QAL_UINT32 XELP_Hash_Process_List(void *pstruHashHead, XELP_Hash_ProcessFun pfunProcess,
                                  void *pProcessCondition, void **pOther)
{
    if (pstruHashHead == nullptr || pfunProcess == nullptr) {
        return XELP_ERR_HASH_INVALID_PARA;
    }
    Head &head = *static_cast<Head *>(pstruHashHead);
    if (head.ulNodeNum == 0) {
        return XELP_ERR_HASH_NULL;
    }
    for (QAL_UINT32 i = 0; i < head.ulHashSize; ++i) {
        Node *pNode = head.pstruBase[i];
        while (pNode != nullptr) {
            // A number, not a pointer: if the callback removes the entry, its node is released, and
            // a dangling pointer must not even be compared.
            const auto uVisited = reinterpret_cast<std::uintptr_t>(pNode);
            head.pstruNow = pNode;
            if (pfunProcess(pProcessCondition, pNode->pstruUserNode, pOther) != 0) {
                return XELP_ERR_HASH_BREAK;
            }
            pNode = head.pstruNow;
            if (reinterpret_cast<std::uintptr_t>(pNode) == uVisited) [[likely]] {
                pNode = pNode->pstruNNode;
            }
        }
    }
    return 0;
}

QAL_UINT32 XELP_Hash_Get_ListSize(void *pstruHashHead, QAL_UINT32 *ulListSize)
{
    if (pstruHashHead == nullptr || ulListSize == nullptr) {
        return XELP_ERR_HASH_INVALID_PARA;
    }
    *ulListSize = static_cast<const Head *>(pstruHashHead)->ulHashSize;
    return 0;
}

QAL_UINT32 XELP_Hash_Get_NodeNumber(void *pstruHashHead, QAL_UINT32 *ulTotalNum)
{
    if (pstruHashHead == nullptr || ulTotalNum == nullptr) {
        return XELP_ERR_HASH_INVALID_PARA;
    }
    *ulTotalNum = static_cast<const Head *>(pstruHashHead)->ulNodeNum;
    return 0;
}

} // extern "C"
