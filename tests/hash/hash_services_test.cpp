// Tests what the hash table leaves in the blocks it releases. This executable replaces
// XELP_MemFreeSetNullD(), with which the table releases its chain nodes and its head, with a
// function that keeps the blocks, as an adapter may do in order to inspect them.
#include <gtest/gtest.h>

#include <vector>

#include "number_keys.h"
#include "os_adapter.h"
#include "wyx_commlib/hash.h"

namespace {

std::vector<void *> blocks; // what the library released, but the adapter keeps

void ReleaseNothing(void *) {}

} // namespace

extern "C" void XELP_MemFreeSetNullD(void **ppBlock, QAL_UINT32, const QAL_CHAR *)
{
    blocks.push_back(*ppBlock);
    *ppBlock = nullptr;
}

namespace wyx::test {
namespace {

TEST(HashServices, RemovedNodePointsToNoKey)
{
    void *pTable = nullptr;
    ASSERT_EQ(XELP_Hash_Init(1, HashNumber, CompareNumbers, ReleaseKey, ReleaseNothing, &pTable),
              0U);
    QAL_UINT32 aulKey[] = {1, 2};
    for (QAL_UINT32 &ulKey : aulKey) {
        ASSERT_EQ(XELP_Hash_SaveNode(pTable, &ulKey, sizeof ulKey, &ulKey), 0U);
    }
    void *pUser = nullptr;
    ASSERT_EQ(XELP_Hash_RemoveNode(pTable, &aulKey[0], &pUser), 0U);
    ASSERT_EQ(XELP_Hash_DeleteCurNode(pTable), XELP_ERR_HASH_NOW_NULL);
    ASSERT_EQ(XELP_Hash_QueryNode(pTable, &aulKey[1], &pUser), 0U);
    ASSERT_EQ(XELP_Hash_DeleteCurNode(pTable), 0U);
    ASSERT_EQ(blocks.size(), 2U);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const auto &node = *static_cast<const Hash_S_Node *>(blocks[i]);
        EXPECT_EQ(node.pstruKey, nullptr);
        EXPECT_EQ(node.pstruUserNode, &aulKey[i]);
    }
    EXPECT_EQ(XELP_Hash_DeInit(pTable, XELP_HASH_FreeUserNode_No), 0U);
    for (void *const pBlock : blocks) {
        XELP_MemFreeD(pBlock, __LINE__, __FILE__);
    }
}

} // namespace
} // namespace wyx::test
