// Tests the hash table through its calls, and by looking at its head and chain nodes.
//
// Most keys are strings of one letter, and user nodes are letters. Expected tables are strings such
// as "[d]a|b|", which hash_calls.h explains.
#include "wyx_commlib/hash.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "bounded.h"
#include "hash_calls.h"
#include "letters.h"
#include "os_adapter.h"
#include "platform_double.h"
#include "random.h"
#include "walker.h"

namespace wyx::test::hash {
namespace {

constexpr char kFile[] = "src/commlib/hash/source/hash_arth.cpp";

struct Copy {
    const void *pDest;
    QAL_ULONG ulDestMax;
    const void *pSrc;
    QAL_ULONG ulCount;
};
std::vector<Copy> g_copies; // the calls of wyx_memcpy_s()

class HashTest : public PlatformTest {
  protected:
    void SetUp() override
    {
        PlatformTest::SetUp();
        ResetCallbacks();
        g_copies.clear();
    }

    void TearDown() override
    {
        Drop();
        PlatformTest::TearDown();
    }

    void Drop()
    {
        if (table != nullptr) {
            g_onRelease = nullptr;
            EXPECT_EQ(XELP_Hash_DeInit(table, XELP_HASH_FreeUserNode_Yes), 0U);
            table = nullptr;
        }
    }

    QAL_UINT32 Save(char ch)
    {
        Key key(ch);
        const QAL_UINT32 ulStatus = XELP_Hash_SaveNode(table, key.szText, 2, User(ch));
        key.szText[0] = '!'; // the table has its own copy
        return ulStatus;
    }

    QAL_UINT32 Query(char ch)
    {
        void *pResult = User(kUntouched);
        const QAL_UINT32 ulStatus = XELP_Hash_QueryNode(table, Key(ch).szText, &pResult);
        chResult = Letter(pResult);
        return ulStatus;
    }

    QAL_UINT32 Remove(char ch)
    {
        void *pResult = User(kUntouched);
        const QAL_UINT32 ulStatus = XELP_Hash_RemoveNode(table, Key(ch).szText, &pResult);
        chResult = Letter(pResult);
        return ulStatus;
    }

    QAL_UINT32 RemoveCur()
    {
        void *pResult = User(kUntouched);
        const QAL_UINT32 ulStatus = XELP_Hash_RemoveCurNode(table, &pResult);
        chResult = Letter(pResult);
        return ulStatus;
    }

    /// Creates a new table, saves the letters in order, and puts the cursor on @p chCursor, if it
    /// is given.
    void Build(QAL_UINT32 ulHashSize, std::string_view letters, char chCursor = '\0')
    {
        Drop();
        ASSERT_EQ(InitLetters(ulHashSize, &table), 0U);
        for (const char ch : letters) {
            ASSERT_EQ(Save(ch), 0U);
        }
        if (chCursor != '\0') {
            ASSERT_EQ(Query(chCursor), 0U);
        }
        g_calls.clear();
        g_copies.clear();
    }

    Hash_S_Head &Head() { return *static_cast<Hash_S_Head *>(table); }

    std::string Text() { return TextOf(table); }

    /// The recorded memory calls as text, such as "S 24, key, setNull, freeD": an allocation and
    /// its size, a release by the key callback, and the two kinds of release by the table.
    std::string MemoryCalls() const
    {
        std::string text;
        for (const Event &event : platform.Events()) {
            text += text.empty() ? "" : ", ";
            text += event.file != kFile    ? "key"
                    : event.what != "free" ? event.what + " " + std::to_string(event.size)
                    : event.setsNull       ? "setNull"
                                           : "freeD";
        }
        return text;
    }

    void *table = nullptr;
    char chResult = kUntouched; ///< the letter of the last call's result, if it has one
};

// ---- Init ----

using HashInit = HashTest;

TEST_F(HashInit, MakesAnEmptyTable)
{
    for (const QAL_UINT32 ulHashSize : {1U, 2U, 3U, 1000U}) {
        SCOPED_TRACE(ulHashSize);
        platform.StartRecording();
        ASSERT_EQ(InitLetters(ulHashSize, &table), 0U);
        EXPECT_EQ(MemoryCalls(), "S " + std::to_string(56 + 8 * ulHashSize));
        EXPECT_EQ(Text(), std::string(ulHashSize - 1, '|'));
        QAL_UINT32 ulSize = 0;
        QAL_UINT32 ulCount = 9;
        EXPECT_EQ(XELP_Hash_Get_ListSize(table, &ulSize), 0U);
        EXPECT_EQ(ulSize, ulHashSize);
        EXPECT_EQ(XELP_Hash_Get_NodeNumber(table, &ulCount), 0U);
        EXPECT_EQ(ulCount, 0U);
        Drop();
    }
    EXPECT_EQ(g_calls, "");
}

TEST_F(HashInit, NullOrZeroArgumentIsRefused)
{
    void *pTable = User(kUntouched);
    platform.StartRecording();
    EXPECT_EQ(InitLetters(3, nullptr), XELP_ERR_HASH_INVALID_PARA);
    EXPECT_EQ(InitLetters(0, &pTable), XELP_ERR_HASH_INVALID_PARA);
    EXPECT_EQ(XELP_Hash_Init(3, nullptr, CompareLetters, ReleaseKey, ReleaseNode, &pTable),
              XELP_ERR_HASH_INVALID_PARA);
    EXPECT_EQ(XELP_Hash_Init(3, HashLetter, nullptr, ReleaseKey, ReleaseNode, &pTable),
              XELP_ERR_HASH_INVALID_PARA);
    EXPECT_EQ(XELP_Hash_Init(3, HashLetter, CompareLetters, nullptr, ReleaseNode, &pTable),
              XELP_ERR_HASH_INVALID_PARA);
    EXPECT_EQ(XELP_Hash_Init(3, HashLetter, CompareLetters, ReleaseKey, nullptr, &pTable),
              XELP_ERR_HASH_INVALID_PARA);
    EXPECT_EQ(Letter(pTable), kUntouched);
    EXPECT_EQ(MemoryCalls(), "");
}

TEST_F(HashInit, WithoutMemoryLeavesTheHandle)
{
    void *pTable = User(kUntouched);
    platform.Fail(Service::kAllocate, 1);
    EXPECT_EQ(InitLetters(3, &pTable), XELP_ERR_HASH_MEMORY);
    EXPECT_EQ(Letter(pTable), kUntouched);
}

TEST_F(HashInit, WrappedSizeIsRequestedAndReturnsMemoryStatus)
{
    const struct {
        QAL_UINT32 ulHashSize;
        const char *pszCalls;
    } aCase[] = {
        {536870905, "S 0, freeD"},   // the first size that wraps
        {536870906, "S 8, freeD"},   // 8 bytes more
        {0x20000000, "S 56, freeD"}, // the head alone
        {0x20000001, "S 64, freeD"}, // the head and one bucket
        {0x40000000, "S 56, freeD"}, // wraps twice
        {0xFFFFFFFF, "S 48, freeD"}, // less than the head
    };
    for (const auto &c : aCase) {
        SCOPED_TRACE(c.ulHashSize);
        void *pTable = User(kUntouched);
        platform.StartRecording();
        EXPECT_EQ(InitLetters(c.ulHashSize, &pTable), XELP_ERR_HASH_MEMORY);
        EXPECT_EQ(MemoryCalls(), c.pszCalls);
        EXPECT_EQ(Letter(pTable), kUntouched);
        EXPECT_EQ(platform.LiveBlocks(), 0U);
    }
}

TEST_F(HashInit, LargestSizeIsRequestedWhole)
{
    void *pTable = User(kUntouched);
    platform.StartRecording();
    platform.Fail(Service::kAllocate, 1); // 4 GiB is too much for a test
    EXPECT_EQ(InitLetters(536870904, &pTable), XELP_ERR_HASH_MEMORY);
    EXPECT_EQ(MemoryCalls(), "S 4294967288");
    EXPECT_EQ(Letter(pTable), kUntouched);
}

// ---- DeInit ----

using HashDeInit = HashTest;

TEST_F(HashDeInit, NullIsRefused)
{
    EXPECT_EQ(XELP_Hash_DeInit(nullptr, XELP_HASH_FreeUserNode_Yes), XELP_ERR_HASH_INVALID_PARA);
}

TEST_F(HashDeInit, Flag0ReleasesKeysAndUserNodesInOrder)
{
    Build(3, "bacdef"); // "fc" is in the third bucket, "eb" in the second, "da" in the first
    ASSERT_EQ(Text(), "da|eb|[f]c");
    platform.StartRecording();
    g_onRelease = [&](char chWhat, char) {
        const auto releasedEntries =
            std::count(g_calls.begin(), g_calls.end(), 'n') - (chWhat == 'n' ? 1 : 0);
        // Both blocks of every earlier entry are released before this entry's key is.
        EXPECT_EQ(platform.Events().size(),
                  2 * static_cast<std::size_t>(releasedEntries) + (chWhat == 'n' ? 1U : 0U));
    };
    EXPECT_EQ(XELP_Hash_DeInit(table, XELP_HASH_FreeUserNode_Yes), 0U);
    table = nullptr;
    EXPECT_EQ(g_calls, "kd nd ka na ke ne kb nb kf nf kc nc ");
    EXPECT_EQ(MemoryCalls(),
              "key, setNull, key, setNull, key, setNull, key, setNull, key, setNull, "
              "key, setNull, setNull");
}

TEST_F(HashDeInit, OtherFlagsCallNeitherCallback)
{
    for (const QAL_UINT32 ulFlag : {1U, 2U, 3U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(ulFlag);
        Build(3, "adb");
        const std::vector<void *> copies = KeyCopiesOf(table);
        platform.StartRecording();
        EXPECT_EQ(XELP_Hash_DeInit(table, static_cast<XELP_E_HASH_FreeUserNode>(ulFlag)), 0U);
        table = nullptr;
        EXPECT_EQ(g_calls, "");
        EXPECT_EQ(MemoryCalls(), "setNull, setNull, setNull, setNull");
        EXPECT_EQ(platform.LiveBlocks(), 3U); // the key copies
        std::for_each(copies.begin(), copies.end(), FreeKeyCopy);
    }
}

TEST_F(HashDeInit, ReleasesAnEmptyTable)
{
    for (const QAL_UINT32 ulFlag : {0U, 1U}) {
        Build(2, "");
        platform.StartRecording();
        EXPECT_EQ(XELP_Hash_DeInit(table, static_cast<XELP_E_HASH_FreeUserNode>(ulFlag)), 0U);
        table = nullptr;
        EXPECT_EQ(MemoryCalls(), "setNull");
        EXPECT_EQ(g_calls, "");
    }
}

// ---- SaveNode ----

using HashSaveNode = HashTest;

TEST_F(HashSaveNode, SavesAKeyOnce)
{
    const struct {
        const char *pszSaved;
        char ch;
        QAL_UINT32 ulStatus;
        const char *pszAfter;
        const char *pszCalls;
        const char *pszMemory;
    } aCase[] = {
        {"", 'a', 0, "[a]||", "ha ", "S 2, S 24"},
        {"", 'f', 0, "||[f]", "hf ", "S 2, S 24"},
        {"a", 'b', 0, "a|[b]|", "hb ", "S 2, S 24"},
        {"a", 'd', 0, "[d]a||", "hd d=a ", "S 2, S 24"},
        {"adb", 'g', 0, "[g]da|b|", "hg g=d g=a ", "S 2, S 24"},
        {"adb", 'd', XELP_ERR_HASH_RESAVE, "da|[b]|", "hd d=d ", ""},
        {"adb", 'a', XELP_ERR_HASH_RESAVE, "da|[b]|", "ha a=d a=a ", ""},
    };
    for (const auto &c : aCase) {
        SCOPED_TRACE(std::string(c.pszSaved) + " and " + c.ch);
        Build(3, c.pszSaved);
        platform.StartRecording();
        EXPECT_EQ(Save(c.ch), c.ulStatus);
        EXPECT_EQ(Text(), c.pszAfter);
        EXPECT_EQ(g_calls, c.pszCalls);
        EXPECT_EQ(MemoryCalls(), c.pszMemory);
    }
}

TEST_F(HashSaveNode, NullOrZeroArgumentIsRefused)
{
    Build(3, "a");
    Key key('b');
    platform.StartRecording();
    EXPECT_EQ(XELP_Hash_SaveNode(nullptr, key.szText, 2, User('b')), XELP_ERR_HASH_INVALID_PARA);
    EXPECT_EQ(XELP_Hash_SaveNode(table, nullptr, 2, User('b')), XELP_ERR_HASH_INVALID_PARA);
    EXPECT_EQ(XELP_Hash_SaveNode(table, key.szText, 0, User('b')), XELP_ERR_HASH_INVALID_PARA);
    EXPECT_EQ(XELP_Hash_SaveNode(table, key.szText, 2, nullptr), XELP_ERR_HASH_INVALID_PARA);
    EXPECT_EQ(Text(), "[a]||");
    EXPECT_EQ(g_calls, "");
    EXPECT_EQ(MemoryCalls(), "");
}

TEST_F(HashSaveNode, FailingHashChangesNothing)
{
    Build(3, "a");
    platform.StartRecording();
    for (const QAL_UINT32 ulStatus : {1U, 0x80000000U}) {
        g_hashStatus = ulStatus;
        g_calls.clear();
        EXPECT_EQ(Save('b'), XELP_ERR_HASH_HASHVALUE);
        EXPECT_EQ(g_calls, "hb ");
    }
    EXPECT_EQ(Text(), "[a]||");
    EXPECT_EQ(MemoryCalls(), "");
}

TEST_F(HashSaveNode, AnyHashValueIsReducedToABucket)
{
    // Even the largest values are reduced as unsigned 32-bit numbers: 0xFFFFFFFF mod 7 is 3.
    g_hashBase = 0xFFFFFFFF;
    ASSERT_EQ(InitLetters(7, &table), 0U);
    ASSERT_EQ(Save('a'), 0U); // 0xFFFFFFFF
    ASSERT_EQ(Save('b'), 0U); // wraps to 0
    EXPECT_NE(Head().pstruBase[3], nullptr);
    EXPECT_NE(Head().pstruBase[0], nullptr);
    EXPECT_EQ(Query('a'), 0U);
    EXPECT_EQ(chResult, 'a');
}

TEST_F(HashSaveNode, CopiesTheKeyAsItIs)
{
    Build(1, "");
    char acKey[300];
    for (std::size_t i = 0; i < sizeof acKey; ++i) {
        acKey[i] = static_cast<char>('a' + i); // includes a NUL and bytes above 0x7F
    }
    for (const QAL_UINT32 ulKeyLen : {1U, 2U, 255U, 300U}) {
        SCOPED_TRACE(ulKeyLen);
        g_copies.clear();
        acKey[0] = static_cast<char>('a' + ulKeyLen % 20); // a different key each time
        platform.StartRecording();
        ASSERT_EQ(XELP_Hash_SaveNode(table, acKey, ulKeyLen, User('u')), 0U);
        EXPECT_EQ(MemoryCalls(), "S " + std::to_string(ulKeyLen) + ", S 24");
        const void *const pKey = Head().pstruNow->pstruKey;
        EXPECT_EQ(std::memcmp(pKey, acKey, ulKeyLen), 0);
        ASSERT_EQ(g_copies.size(), 1U);
        EXPECT_EQ(g_copies[0].pDest, pKey);
        EXPECT_EQ(g_copies[0].ulDestMax, ulKeyLen);
        EXPECT_EQ(g_copies[0].pSrc, acKey);
        EXPECT_EQ(g_copies[0].ulCount, ulKeyLen);
    }
}

TEST_F(HashSaveNode, EachAllocationFailingInTurn)
{
    const char *const apszCalls[] = {"S 2", "S 2, S 24, freeD"};
    for (QAL_UINT32 ulFailAt = 1; ulFailAt <= 2; ++ulFailAt) {
        SCOPED_TRACE(ulFailAt);
        Build(3, "adb", 'd');
        platform.StartRecording();
        platform.Fail(Service::kAllocate, ulFailAt);
        EXPECT_EQ(Save('g'), XELP_ERR_HASH_MEMORY);
        EXPECT_EQ(Text(), "[d]a|b|");
        EXPECT_EQ(MemoryCalls(), apszCalls[ulFailAt - 1]);
        EXPECT_EQ(platform.LiveBlocks(), 7U);
        EXPECT_EQ(Save('g'), 0U);
        EXPECT_EQ(Text(), "[g]da|b|");
    }
}

// ---- RemoveNode, DeleteNode, QueryNode ----

using HashSearch = HashTest;

TEST_F(HashSearch, FindsTheEntryOfAKey)
{
    const struct {
        const char *pszSaved;
        char chCursor;
        char ch;
        QAL_UINT32 ulStatus;
        const char *pszRemoved; // the table after a removal
        const char *pszQueried; // the table after a query
        const char *pszCalls;   // calls of the hash function and the comparator
    } aCase[] = {
        // an empty table is reported before the key is hashed
        {"", '\0', 'a', XELP_ERR_HASH_NULL, "||", "||", ""},
        {"a", 'a', 'b', XELP_ERR_HASH_FIND, "[a]||", "[a]||", "hb "},
        {"adb", 'b', 'g', XELP_ERR_HASH_FIND, "da|[b]|", "da|[b]|", "hg g=d g=a "},
        {"a", 'a', 'a', 0, "||", "[a]||", "ha a=a "},
        // the newest, a middle one and the oldest of a bucket
        {"adgb", 'b', 'g', 0, "[d]a|b|", "[g]da|b|", "hg g=g "},
        {"adgb", 'b', 'd', 0, "g[a]|b|", "g[d]a|b|", "hd d=g d=d "},
        {"adgb", 'b', 'a', 0, "gd|b|", "gd[a]|b|", "ha a=g a=d a=a "},
        {"adgb", 'a', 'b', 0, "gda||", "gda|[b]|", "hb b=b "},
    };
    for (const auto &c : aCase) {
        SCOPED_TRACE(std::string(c.pszSaved) + " for " + c.ch);
        const char chFound = c.ulStatus == 0 ? c.ch : kUntouched;
        const std::string keyRelease = c.ulStatus == 0 ? std::string{'k', c.ch, ' '} : "";
        const std::string nodeRelease = c.ulStatus == 0 ? std::string{'n', c.ch, ' '} : "";

        Build(3, c.pszSaved, c.chCursor);
        EXPECT_EQ(Query(c.ch), c.ulStatus);
        EXPECT_EQ(chResult, chFound);
        EXPECT_EQ(Text(), c.pszQueried);
        EXPECT_EQ(g_calls, c.pszCalls);

        Build(3, c.pszSaved, c.chCursor);
        platform.StartRecording();
        EXPECT_EQ(Remove(c.ch), c.ulStatus);
        EXPECT_EQ(chResult, chFound);
        EXPECT_EQ(Text(), c.pszRemoved);
        EXPECT_EQ(g_calls, c.pszCalls + keyRelease);
        EXPECT_EQ(MemoryCalls(), c.ulStatus == 0 ? "key, setNull" : "");

        Build(3, c.pszSaved, c.chCursor);
        platform.StartRecording();
        EXPECT_EQ(XELP_Hash_DeleteNode(table, Key(c.ch).szText), c.ulStatus);
        EXPECT_EQ(Text(), c.pszRemoved);
        EXPECT_EQ(g_calls, c.pszCalls + keyRelease + nodeRelease);
        EXPECT_EQ(MemoryCalls(), c.ulStatus == 0 ? "key, setNull" : "");
    }
}

TEST_F(HashSearch, NullArgumentIsRefusedFirst)
{
    for (const char *const pszSaved : {"", "a"}) {
        SCOPED_TRACE(pszSaved);
        Build(3, pszSaved);
        const std::string before = Text();
        Key key('a');
        void *pResult = User(kUntouched);
        for (const auto pfun : {XELP_Hash_RemoveNode, XELP_Hash_QueryNode}) {
            EXPECT_EQ(pfun(nullptr, key.szText, &pResult), XELP_ERR_HASH_INVALID_PARA);
            EXPECT_EQ(pfun(table, nullptr, &pResult), XELP_ERR_HASH_INVALID_PARA);
            EXPECT_EQ(pfun(table, key.szText, nullptr), XELP_ERR_HASH_INVALID_PARA);
        }
        EXPECT_EQ(XELP_Hash_DeleteNode(nullptr, key.szText), XELP_ERR_HASH_INVALID_PARA);
        EXPECT_EQ(XELP_Hash_DeleteNode(table, nullptr), XELP_ERR_HASH_INVALID_PARA);
        EXPECT_EQ(Letter(pResult), kUntouched);
        EXPECT_EQ(Text(), before);
        EXPECT_EQ(g_calls, "");
    }
}

TEST_F(HashSearch, FailingHashChangesNothing)
{
    Build(3, "adb", 'a');
    g_hashStatus = 7;
    EXPECT_EQ(Query('d'), XELP_ERR_HASH_HASHVALUE);
    EXPECT_EQ(chResult, kUntouched);
    EXPECT_EQ(Remove('d'), XELP_ERR_HASH_HASHVALUE);
    EXPECT_EQ(chResult, kUntouched);
    EXPECT_EQ(XELP_Hash_DeleteNode(table, Key('d').szText), XELP_ERR_HASH_HASHVALUE);
    EXPECT_EQ(g_calls, "hd hd hd ");
    EXPECT_EQ(Text(), "d[a]|b|");
}

TEST_F(HashSearch, ReleasesRunInTheDocumentedOrder)
{
    Build(3, "adgb");
    const Hash_S_Node *const pRemoved = Head().pstruBase[0]->pstruNNode;
    ASSERT_EQ(Letter(pRemoved->pstruUserNode), 'd');
    void *pResult = nullptr;
    g_onRelease = [&](char chWhat, char ch) {
        EXPECT_EQ((std::string{chWhat, ch}), "kd");
        // d is out of the chain and the cursor has moved on, but d is still counted and allocated
        EXPECT_EQ(Letter(Head().pstruBase[0]->pstruNNode->pstruUserNode), 'a');
        EXPECT_EQ(Letter(Head().pstruNow->pstruUserNode), 'a');
        EXPECT_EQ(Head().ulNodeNum, 4U);
        EXPECT_TRUE(platform.SizeOf(pRemoved).has_value());
        EXPECT_EQ(pResult, nullptr);
    };
    EXPECT_EQ(XELP_Hash_RemoveNode(table, Key('d').szText, &pResult), 0U);
    EXPECT_EQ(Letter(pResult), 'd');
    EXPECT_EQ(Text(), "g[a]|b|");
    EXPECT_FALSE(platform.SizeOf(pRemoved).has_value());

    g_onRelease = [&](char chWhat, char) {
        if (chWhat == 'n') { // the removal is complete: the callback may use the table
            EXPECT_EQ(Text(), "g|b|");
            EXPECT_EQ(Save('h'), 0U);
        }
    };
    EXPECT_EQ(XELP_Hash_DeleteNode(table, Key('a').szText), 0U);
    EXPECT_EQ(Text(), "g|[h]b|");
}

TEST_F(HashSearch, StoredKeyOfTheEntryIsAccepted)
{
    Build(3, "adg");
    void *pResult = nullptr;
    EXPECT_EQ(XELP_Hash_RemoveNode(table, Head().pstruNow->pstruKey, &pResult), 0U);
    EXPECT_EQ(Letter(pResult), 'g');
    EXPECT_EQ(Text(), "[d]a||");
}

// ---- RemoveCurNode, DeleteCurNode ----

using HashRemoveCurNode = HashTest;

TEST_F(HashRemoveCurNode, RemovesTheEntryAtTheCursor)
{
    const struct {
        const char *pszSaved;
        char chCursor;
        char ch;
        QAL_UINT32 ulStatus;
        const char *pszAfter;
    } aCase[] = {
        {"", '\0', kNull, XELP_ERR_HASH_NOW_NULL, "||"},
        {"a", 'a', 'a', 0, "||"},
        {"adgb", 'g', 'g', 0, "[d]a|b|"},
        {"adgb", 'd', 'd', 0, "g[a]|b|"},
        {"adgb", 'a', 'a', 0, "gd|b|"}, // the cursor does not move to the next bucket
        {"adgb", 'b', 'b', 0, "gda||"},
        {"adgb", '\0', 'b', 0, "gda||"}, // the cursor is on the entry saved last
    };
    for (const auto &c : aCase) {
        SCOPED_TRACE(std::string(c.pszSaved) + " at " + c.ch);
        const bool isFound = c.ulStatus == 0;
        Build(3, c.pszSaved, c.chCursor);
        platform.StartRecording();
        EXPECT_EQ(RemoveCur(), c.ulStatus);
        EXPECT_EQ(chResult, c.ch);
        EXPECT_EQ(Text(), c.pszAfter);
        EXPECT_EQ(g_calls, isFound ? (std::string{'h', c.ch, ' ', 'k', c.ch, ' '}) : "");
        EXPECT_EQ(MemoryCalls(), isFound ? "key, setNull" : "");

        Build(3, c.pszSaved, c.chCursor);
        EXPECT_EQ(XELP_Hash_DeleteCurNode(table), c.ulStatus);
        EXPECT_EQ(Text(), c.pszAfter);
        EXPECT_EQ(g_calls,
                  isFound ? (std::string{'h', c.ch, ' ', 'k', c.ch, ' ', 'n', c.ch, ' '}) : "");
    }
}

TEST_F(HashRemoveCurNode, NullIsRefused)
{
    Build(3, "a");
    void *pResult = User(kUntouched);
    EXPECT_EQ(XELP_Hash_RemoveCurNode(nullptr, &pResult), XELP_ERR_HASH_INVALID_PARA);
    EXPECT_EQ(Letter(pResult), kUntouched);
    EXPECT_EQ(XELP_Hash_RemoveCurNode(table, nullptr), XELP_ERR_HASH_INVALID_PARA);
    EXPECT_EQ(XELP_Hash_DeleteCurNode(nullptr), XELP_ERR_HASH_INVALID_PARA);
    EXPECT_EQ(Text(), "[a]||");
    EXPECT_EQ(g_calls, "");
}

TEST_F(HashRemoveCurNode, CursorIsNullIfTheLastEntryOfABucketIsRemoved)
{
    Build(3, "adb");
    EXPECT_EQ(Remove('a'), 0U);
    EXPECT_EQ(Text(), "d|b|");
    EXPECT_EQ(RemoveCur(), XELP_ERR_HASH_NOW_NULL);
    EXPECT_EQ(chResult, kNull);
    EXPECT_EQ(XELP_Hash_DeleteCurNode(table), XELP_ERR_HASH_NOW_NULL);
    EXPECT_EQ(Text(), "d|b|");
}

TEST_F(HashRemoveCurNode, FailingHashClearsTheResultOnly)
{
    Build(3, "adb", 'd');
    g_hashStatus = 1;
    EXPECT_EQ(RemoveCur(), XELP_ERR_HASH_HASHVALUE);
    EXPECT_EQ(chResult, kNull);
    EXPECT_EQ(XELP_Hash_DeleteCurNode(table), XELP_ERR_HASH_HASHVALUE);
    EXPECT_EQ(g_calls, "hd hd ");
    EXPECT_EQ(Text(), "[d]a|b|");
}

TEST_F(HashRemoveCurNode, EntryNotInItsBucketReturnsSuccessAndNull)
{
    // The hash function now leads to a bucket with another entry, and then to an empty bucket.
    for (const QAL_UINT32 ulBase : {1U, 2U}) {
        SCOPED_TRACE(ulBase);
        Build(3, "adb", 'd');
        g_hashBase = ulBase;
        platform.StartRecording();
        EXPECT_EQ(RemoveCur(), 0U);
        EXPECT_EQ(chResult, kNull);
        EXPECT_EQ(XELP_Hash_DeleteCurNode(table), 0U);
        g_hashBase = 0;
        EXPECT_EQ(Text(), "[d]a|b|");
        EXPECT_EQ(g_calls, "hd hd ");
        EXPECT_EQ(MemoryCalls(), "");
    }
}

// ---- the cursor ----

using HashCursor = HashTest;

TEST_F(HashCursor, DoesNotMoveToAnotherBucket)
{
    Build(3, "adgb", 'b');
    EXPECT_EQ(Remove('d'), 0U);
    EXPECT_EQ(Text(), "g[a]|b|");
    EXPECT_EQ(Remove('a'), 0U);
    EXPECT_EQ(Text(), "g|b|");
    EXPECT_EQ(Remove('g'), 0U);
    EXPECT_EQ(Text(), "|b|");
}

TEST_F(HashCursor, IsOnTheEntrySavedLast)
{
    Build(3, "adg");
    ASSERT_EQ(Save('b'), 0U);
    EXPECT_EQ(XELP_Hash_DeleteCurNode(table), 0U);
    EXPECT_EQ(Text(), "gda||");
    EXPECT_EQ(Query('b'), XELP_ERR_HASH_FIND);
}

// ---- numbers ----

using HashNumbers = HashTest;

TEST_F(HashNumbers, CountAndSize)
{
    Build(3, "adgb");
    QAL_UINT32 ulNumber = 0;
    EXPECT_EQ(XELP_Hash_Get_NodeNumber(table, &ulNumber), 0U);
    EXPECT_EQ(ulNumber, 4U);
    EXPECT_EQ(XELP_Hash_Get_ListSize(table, &ulNumber), 0U);
    EXPECT_EQ(ulNumber, 3U);
    EXPECT_EQ(Text(), "gda|[b]|");
}

TEST_F(HashNumbers, NullIsRefused)
{
    Build(3, "a");
    QAL_UINT32 ulNumber = 9;
    for (const auto pfun : {XELP_Hash_Get_NodeNumber, XELP_Hash_Get_ListSize}) {
        EXPECT_EQ(pfun(nullptr, &ulNumber), XELP_ERR_HASH_INVALID_PARA);
        EXPECT_EQ(pfun(table, nullptr), XELP_ERR_HASH_INVALID_PARA);
    }
    EXPECT_EQ(ulNumber, 9U);
}

// ---- walks ----

using Walker = test::Walker<XELP_Hash_Process_List>;
using HashWalk = HashTest;

TEST_F(HashWalk, NullsAndAnEmptyTableAreRefused)
{
    Walker walker;
    EXPECT_EQ(XELP_Hash_Process_List(nullptr, walker.Visit, &walker, nullptr),
              XELP_ERR_HASH_INVALID_PARA);
    Build(3, "");
    EXPECT_EQ(XELP_Hash_Process_List(table, nullptr, &walker, nullptr), XELP_ERR_HASH_INVALID_PARA);
    EXPECT_EQ(walker.Walk(table), XELP_ERR_HASH_NULL);
    EXPECT_EQ(walker.visited, "");
}

TEST_F(HashWalk, PassesItsArgumentsUnchecked)
{
    static std::vector<const void *> passed;
    const auto note = [](void *pCondition, void *pUserNode, void **ppOther) {
        passed.insert(passed.end(), {pCondition, pUserNode, ppOther});
        return QAL_UINT32{0};
    };
    passed.clear();
    Build(2, "ab");
    int condition = 0;
    void *pOther = nullptr;
    EXPECT_EQ(XELP_Hash_Process_List(table, note, &condition, &pOther), 0U);
    EXPECT_EQ(XELP_Hash_Process_List(table, note, nullptr, nullptr), 0U);
    const std::vector<const void *> expected = {&condition, User('a'), &pOther,   &condition,
                                                User('b'),  &pOther,   nullptr,   User('a'),
                                                nullptr,    nullptr,   User('b'), nullptr};
    EXPECT_EQ(passed, expected);
    EXPECT_EQ(g_calls, ""); // a walk neither hashes nor compares keys
}

TEST_F(HashWalk, PutsTheCursorOnEachEntry)
{
    Build(4, "aedhb");
    std::string texts;
    Walker walker{[&](char) {
        texts += Text() + " ";
        return 0U;
    }};
    EXPECT_EQ(walker.Walk(table), 0U);
    EXPECT_EQ(walker.visited, "eabhd");
    EXPECT_EQ(texts, "[e]a|b||hd e[a]|b||hd ea|[b]||hd ea|b||[h]d ea|b||h[d] ");
    EXPECT_EQ(Text(), "ea|b||h[d]");
}

TEST_F(HashWalk, StopsAtOnceWithTheCursorWhereTheCallbackLeftIt)
{
    for (const QAL_UINT32 ulStop : {1U, 0x80000000U, 0xFFFFFFFFU}) {
        Build(3, "adbc", 'a');
        Walker walker{[&](char ch) { return ch == 'b' ? ulStop : 0; }};
        EXPECT_EQ(walker.Walk(table), XELP_ERR_HASH_BREAK);
        EXPECT_EQ(walker.visited, "dab");
        EXPECT_EQ(Text(), "da|[b]|c");
    }
    Build(3, "adbc", 'b');
    Walker walker{[&](char ch) { return ch == 'd' ? XELP_Hash_DeleteCurNode(table) + 1 : 0; }};
    EXPECT_EQ(walker.Walk(table), XELP_ERR_HASH_BREAK);
    EXPECT_EQ(walker.visited, "d");
    EXPECT_EQ(Text(), "[a]|b|c");
}

TEST_F(HashWalk, ContinuesFromTheCursor)
{
    bool isDone = false; // set once the callback has acted, so that it acts only once
    const auto at = [&](char chAt, std::function<void()> act) {
        return [&isDone, chAt, act](char ch) {
            if (ch == chAt && !isDone) {
                isDone = true;
                act();
            }
            return QAL_UINT32{0};
        };
    };
    const auto deleteCurrent = [&] { EXPECT_EQ(XELP_Hash_DeleteCurNode(table), 0U); };
    const auto query = [&](char ch) { EXPECT_EQ(Query(ch), 0U); };
    const auto save = [&](char ch) { EXPECT_EQ(Save(ch), 0U); };
    const auto remove = [&](char ch) { EXPECT_EQ(Remove(ch), 0U); };
    const struct {
        const char *pszName;
        std::function<QAL_UINT32(char)> onVisit;
        const char *pszVisited;
        const char *pszAfter;
    } aCase[] = {
        {"does nothing", nullptr, "gdaebc", "gda|eb|[c]"},
        {"deletes each entry", [&](char) { return XELP_Hash_DeleteCurNode(table); }, "gdaebc",
         "||"},
        {"removes each entry", [&](char) { return RemoveCur(); }, "gdaebc", "||"},
        {"deletes each by its key",
         [&](char ch) { return XELP_Hash_DeleteNode(table, Key(ch).szText); }, "gdaebc", "||"},
        {"deletes the newest of a bucket", at('g', deleteCurrent), "gdaebc", "da|eb|[c]"},
        {"deletes a middle one", at('d', deleteCurrent), "gdaebc", "ga|eb|[c]"},
        {"deletes the oldest of a bucket", at('a', deleteCurrent), "gdaebc", "gd|eb|[c]"},
        {"deletes the last entry", at('c', deleteCurrent), "gdaebc", "gda|eb|"},
        {"removes the next one: continues with its successor", at('g', [&] { remove('d'); }),
         "gaebc", "ga|eb|[c]"},
        {"removes an entry of a later bucket: continues there, then visits all of that bucket",
         at('g', [&] { remove('e'); }), "gbbc", "gda|b|[c]"},
        {"removes the oldest of a later bucket: leaves its own bucket and begins the next",
         at('g', [&] { remove('b'); }), "gec", "gda|e|[c]"},
        {"queries the same entry", at('d', [&] { query('d'); }), "gdaebc", "gda|eb|[c]"},
        {"queries without a match", at('d', [&] { EXPECT_EQ(Query('z'), XELP_ERR_HASH_FIND); }),
         "gdaebc", "gda|eb|[c]"},
        {"queries an entry of a later bucket: continues there, then visits all of that bucket",
         at('g', [&] { query('b'); }), "gbebc", "gda|eb|[c]"},
        {"queries one of an earlier bucket: continues with it", at('e', [&] { query('d'); }),
         "gdaedac", "gda|eb|[c]"},
        {"saves to the same bucket: starts it again", at('d', [&] { save('j'); }), "gdjgdaebc",
         "jgda|eb|[c]"},
        {"saves to a later bucket: continues there", at('d', [&] { save('h'); }), "gdhebhebc",
         "gda|heb|[c]"},
        {"saves and comes back",
         at('d',
            [&] {
                save('h');
                query('d');
            }),
         "gdahebc", "gda|heb|[c]"},
        {"empties the table",
         at('d',
            [&] {
                for (const char ch : {'a', 'b', 'c', 'd', 'e', 'g'}) {
                    remove(ch);
                }
            }),
         "gd", "||"},
        {"makes a walk of its own: continues where the inner walk ended",
         at('g',
            [&] {
                Walker inner;
                EXPECT_EQ(inner.Walk(table), 0U);
                EXPECT_EQ(inner.visited, "gdaebc");
            }),
         "gcebc", "gda|eb|[c]"},
    };
    for (const auto &c : aCase) {
        SCOPED_TRACE(c.pszName);
        isDone = false;
        Build(3, "adgbec", 'e');
        Walker walker{c.onVisit};
        EXPECT_EQ(walker.Walk(table), 0U);
        EXPECT_EQ(walker.visited, c.pszVisited);
        EXPECT_EQ(Text(), c.pszAfter);
    }
}

/// What is visited depends on whether the new entry gets the address of the removed one.
TEST_F(HashWalk, ComparesAddressesWhenTheCurrentEntryIsReplaced)
{
    Build(3, "ad");
    bool isSameAddress = false;
    Walker walker{[&](char ch) {
        if (ch == 'd') {
            const auto uNode = reinterpret_cast<std::uintptr_t>(Head().pstruNow);
            EXPECT_EQ(XELP_Hash_DeleteCurNode(table), 0U);
            EXPECT_EQ(Save('g'), 0U);
            isSameAddress = reinterpret_cast<std::uintptr_t>(Head().pstruNow) == uNode;
        }
        return 0U;
    }};
    EXPECT_EQ(walker.Walk(table), 0U);
    EXPECT_EQ(walker.visited, isSameAddress ? "da" : "dga");
    EXPECT_EQ(Text(), "g[a]||");
}

// ---- memory ----

using HashMemory = HashTest;

TEST_F(HashMemory, EveryMemoryCallPassesItsOwnLine)
{
    platform.RecordEvents(true);
    Build(3, "ab");
    EXPECT_EQ(Remove('a'), 0U);
    platform.Fail(Service::kAllocate, 2);
    EXPECT_EQ(Save('c'), XELP_ERR_HASH_MEMORY);
    Drop();
    std::set<QAL_UINT32> lines;
    for (const Event &event : platform.Events()) {
        if (event.file == kFile) {
            lines.insert(event.line);
        }
    }
    // Three lines allocate: the table, a key copy, a chain node. Four release: a key copy if a save
    // fails, a chain node in a removal and in the teardown, and the table in the teardown.
    EXPECT_EQ(lines.size(), 7U);
}

// ---- everything at once ----

using HashRandom = HashTest;

TEST_F(HashRandom, CallsMatchAPlainModel)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    for (const QAL_UINT32 ulHashSize : {5U, 1U, 30U}) {
        SCOPED_TRACE(ulHashSize);
        Build(ulHashSize, "");
        RandomCalls calls(table, random);
        for (int i = 0; i < 4000 && !HasFailure(); ++i) {
            calls.Step();
        }
        calls.DeInit(static_cast<QAL_UINT32>(random.UpTo(2)));
        table = nullptr;
    }
}

} // namespace
} // namespace wyx::test::hash

/// Replaces the adapter's function, to record the calls.
extern "C" QAL_INT32 wyx_memcpy_s(void *pDest, QAL_ULONG ulDestMax, const void *pSrc,
                                  QAL_ULONG ulCount)
{
    wyx::test::hash::g_copies.push_back({pDest, ulDestMax, pSrc, ulCount});
    std::memcpy(pDest, pSrc, ulCount);
    return 0;
}
