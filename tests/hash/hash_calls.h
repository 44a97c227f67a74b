// A hash table of letters: its callbacks, and random calls that are compared with a plain model.
//
// A key begins with a letter, and only that letter counts. Its hash value is the letter's place in
// the alphabet, counted from 0. The text of a table lists the buckets with | between them, each
// from the newest entry to the oldest, and the entry at the cursor in brackets: a table of three
// buckets is "[d]a|b|" after a, b and d were saved.
#ifndef WYX_TESTS_HASH_HASH_CALLS_H
#define WYX_TESTS_HASH_HASH_CALLS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "letters.h"
#include "os_adapter.h"
#include "platform_double.h"
#include "random.h"
#include "wyx_commlib/hash.h"

namespace wyx::test::hash {

// ---- callbacks ----

/// The callbacks that were called, each followed by a space: "hX" hashes key X, "X=Y" compares two
/// keys, "kX" releases a key copy, and "nX" releases a user node.
inline std::string g_calls;
/// If set, called on each release, with 'k' or 'n' and the letter.
inline std::function<void(char, char)> g_onRelease;
inline QAL_UINT32 g_hashStatus = 0; ///< what the hash function returns
inline QAL_UINT32 g_hashBase = 0;   ///< what the hash function adds to each value

inline QAL_UINT32 HashOf(char ch)
{
    return g_hashBase + static_cast<QAL_UINT32>(ch - 'a');
}

inline QAL_UINT32 HashLetter(void *pKey, QAL_UINT32 *pulHash)
{
    g_calls += std::string{'h', Letter(pKey), ' '};
    if (g_hashStatus == 0) {
        *pulHash = HashOf(Letter(pKey));
    }
    return g_hashStatus;
}

inline QAL_UINT32 CompareLetters(void *pKey, void *pStored)
{
    g_calls += std::string{Letter(pKey), '=', Letter(pStored), ' '};
    return Letter(pKey) == Letter(pStored) ? 0U : 0x80000000U;
}

inline void RecordRelease(char chWhat, char ch)
{
    g_calls += std::string{chWhat, ch, ' '};
    if (g_onRelease) {
        g_onRelease(chWhat, ch);
    }
}

inline void FreeKeyCopy(void *pStored)
{
    XELP_MemFreeD(pStored, 1, "the test");
}

inline void ReleaseKey(void *pStored)
{
    RecordRelease('k', Letter(pStored));
    FreeKeyCopy(pStored);
}

inline void ReleaseNode(void *pUserNode)
{
    RecordRelease('n', Letter(pUserNode));
}

/// Resets what an earlier test set and recorded.
inline void ResetCallbacks()
{
    g_calls.clear();
    g_onRelease = nullptr;
    g_hashStatus = 0;
    g_hashBase = 0;
}

inline QAL_UINT32 InitLetters(QAL_UINT32 ulHashSize, void **ppTable)
{
    return XELP_Hash_Init(ulHashSize, HashLetter, CompareLetters, ReleaseKey, ReleaseNode, ppTable);
}

/// A key of one letter. The library's calls take pointers to non-const keys, but never write to
/// them.
struct Key {
    explicit Key(char ch) : szText{ch, '\0'} {}
    char szText[2];
};

// ---- what a caller can see of a table ----

inline const Hash_S_Head &HeadOf(const void *pTable)
{
    return *static_cast<const Hash_S_Head *>(pTable);
}

/// Visits the chain nodes, bucket by bucket.
inline void ForEachNode(const void *pTable,
                        const std::function<void(QAL_UINT32, const Hash_S_Node &)> &visit)
{
    const Hash_S_Head &head = HeadOf(pTable);
    for (QAL_UINT32 i = 0; i < head.ulHashSize; ++i) {
        for (const Hash_S_Node *p = head.pstruBase[i]; p != nullptr; p = p->pstruNNode) {
            visit(i, *p);
        }
    }
}

/// The text of a handle's table. Also checks what the text does not show.
inline std::string TextOf(const void *pTable)
{
    const Hash_S_Head &head = HeadOf(pTable);
    EXPECT_EQ(static_cast<const void *>(head.pstruBase), &head + 1);
    EXPECT_EQ(head.pfunHashFun, HashLetter);
    EXPECT_EQ(head.pfunCmpNode, CompareLetters);
    EXPECT_EQ(head.pfunFreeKey, ReleaseKey);
    EXPECT_EQ(head.pfunFreeNode, ReleaseNode);
    std::string text;
    QAL_UINT32 ulCount = 0;
    QAL_UINT32 ulBucket = 0;
    bool hasCursor = false;
    ForEachNode(pTable, [&](QAL_UINT32 i, const Hash_S_Node &node) {
        const char ch = Letter(node.pstruUserNode);
        EXPECT_EQ(Letter(node.pstruKey), ch);
        text.append(i - ulBucket, '|');
        ulBucket = i;
        const bool isCurrent = &node == head.pstruNow;
        hasCursor = hasCursor || isCurrent;
        text += isCurrent ? std::string{'[', ch, ']'} : std::string{ch};
        ++ulCount;
    });
    EXPECT_EQ(head.ulNodeNum, ulCount);
    EXPECT_EQ(hasCursor, head.pstruNow != nullptr);
    return text.append(head.ulHashSize - 1 - ulBucket, '|');
}

/// The key copies that a table holds, bucket by bucket.
inline std::vector<void *> KeyCopiesOf(const void *pTable)
{
    std::vector<void *> copies;
    ForEachNode(pTable,
                [&](QAL_UINT32, const Hash_S_Node &node) { copies.push_back(node.pstruKey); });
    return copies;
}

// ---- a plain model, and random calls compared with it ----

/// Makes random calls on a table, does the same to a model of plain vectors, and compares the two
/// after each call. At first the table must be empty, and hold the only block of the platform
/// double.
class RandomCalls {
  public:
    RandomCalls(void *pTable, Random &random)
        : table_(pTable), random_(random), buckets_(HeadOf(pTable).ulHashSize)
    {
        g_onRelease = [this](char chWhat, char) {
            if (chWhat == 'n') {
                NodeReleased();
            }
        };
    }

    /// Does one random thing, mostly a single call. The table grows for a while, then shrinks, and
    /// so on.
    void Step()
    {
        const char ch = static_cast<char>('a' + random_.UpTo(kLetters - 1));
        isGrowing_ = Count() == 0 || (isGrowing_ && Count() < kLetters * 3 / 4);
        g_calls.clear();
        switch (random_.UpTo(12)) {
            case 0:
            case 1:
            case 2:
                isGrowing_ ? Save(ch) : Remove(ch);
                break;
            case 3:
                Save(ch);
                break;
            case 4:
                Remove(ch);
                break;
            case 5:
                Query(ch);
                break;
            case 6:
                RemoveCurrent();
                break;
            case 7:
                RemoveCurrentWithAnotherHash();
                break;
            case 8:
                CallWithFailingHash(ch);
                break;
            case 9:
                SaveWithoutMemory(ch);
                break;
            case 10:
                CallWithNulls(ch);
                break;
            case 11:
                if (depth_ < kMaxDepth) {
                    Walk();
                    break;
                }
                [[fallthrough]];
            default:
                CountEntries();
        }
        Compare();
    }

    /// Tears the table down. If the flag makes the teardown leak the key copies, releases them
    /// here.
    void DeInit(QAL_UINT32 ulFlag)
    {
        std::string calls;
        for (const Bucket &bucket : buckets_) {
            for (const Entry &entry : bucket) {
                calls += std::string{'k', entry.ch, ' ', 'n', entry.ch, ' '};
            }
        }
        const std::vector<void *> copies = KeyCopiesOf(table_);
        g_calls.clear();
        g_onRelease = nullptr;
        EXPECT_EQ(XELP_Hash_DeInit(table_, static_cast<XELP_E_HASH_FreeUserNode>(ulFlag)), 0U);
        EXPECT_EQ(g_calls, ulFlag == 0 ? calls : "");
        EXPECT_EQ(platform_.LiveBlocks(), ulFlag == 0 ? 0U : copies.size());
        if (ulFlag != 0) {
            std::for_each(copies.begin(), copies.end(), FreeKeyCopy);
        }
    }

  private:
    static constexpr QAL_UINT32 kLetters = 20;
    static constexpr int kMaxDepth = 2;   // of calls made in callbacks
    static constexpr int kMaxVisits = 30; // else a callback might move the walk back forever

    struct Entry {
        char ch;
        std::string key;
    };
    using Bucket = std::vector<Entry>; // from the newest to the oldest

    struct Outcome {
        QAL_UINT32 ulStatus;
        std::size_t place;
        std::string calls; // of the hash function and the comparator
    };

    std::size_t Count() const
    {
        std::size_t count = 0;
        for (const Bucket &bucket : buckets_) {
            count += bucket.size();
        }
        return count;
    }

    Bucket &BucketOf(char ch) { return buckets_[HashOf(ch) % buckets_.size()]; }

    /// The place of a letter in a bucket; the bucket's size if the letter is not there.
    static std::size_t PlaceIn(const Bucket &bucket, char ch)
    {
        const auto it = std::find_if(bucket.begin(), bucket.end(),
                                     [&](const Entry &entry) { return entry.ch == ch; });
        return static_cast<std::size_t>(it - bucket.begin());
    }

    /// What a search for a key must find, and which callbacks it must call.
    Outcome OutcomeInBucket(char ch)
    {
        Outcome expected = {XELP_ERR_HASH_HASHVALUE, 0, {'h', ch, ' '}};
        if (g_hashStatus == 0) {
            const Bucket &bucket = BucketOf(ch);
            expected.place = PlaceIn(bucket, ch);
            const bool isFound = expected.place < bucket.size();
            expected.ulStatus = isFound ? 0U : QAL_UINT32{XELP_ERR_HASH_FIND};
            for (std::size_t i = 0; i < expected.place + (isFound ? 1U : 0U); ++i) {
                expected.calls += std::string{ch, '=', bucket[i].ch, ' '};
            }
        }
        return expected;
    }

    /// The same for the calls that first check whether the table is empty.
    Outcome OutcomeInTable(char ch)
    {
        return Count() != 0 ? OutcomeInBucket(ch) : Outcome{XELP_ERR_HASH_NULL, 0, ""};
    }

    void Compare()
    {
        std::string text;
        std::vector<std::string> keys;
        for (const Bucket &bucket : buckets_) {
            text += &bucket != &buckets_.front() ? "|" : "";
            for (const Entry &entry : bucket) {
                text +=
                    entry.ch == cursor_ ? std::string{'[', entry.ch, ']'} : std::string{entry.ch};
                keys.push_back(entry.key);
            }
        }
        EXPECT_EQ(TextOf(table_), text);
        std::vector<std::string> stored;
        for (const void *const pCopy : KeyCopiesOf(table_)) {
            stored.emplace_back(static_cast<const char *>(pCopy),
                                platform_.SizeOf(pCopy).value_or(0));
        }
        EXPECT_EQ(stored, keys);
        // One block for the table, and a key copy and a chain node for each entry.
        EXPECT_EQ(platform_.LiveBlocks(), 1 + 2 * keys.size());
    }

    /// Saves a letter. If @p ulFailAt is 1 or 2, the first or second allocation fails; if it is 0,
    /// none fails.
    void Save(char ch, QAL_UINT32 ulFailAt = 0)
    {
        const Outcome expected = OutcomeInBucket(ch);
        const QAL_UINT32 ulExpected = expected.ulStatus == 0 ? QAL_UINT32{XELP_ERR_HASH_RESAVE}
                                      : expected.ulStatus != XELP_ERR_HASH_FIND ? expected.ulStatus
                                      : ulFailAt != 0 ? QAL_UINT32{XELP_ERR_HASH_MEMORY}
                                                      : 0U;
        std::vector<char> key(1 + random_.UpTo(40)); // the table must copy exactly this many bytes
        for (std::size_t i = 0; i < key.size(); ++i) {
            key[i] = static_cast<char>(static_cast<unsigned char>(ch) + 7 * i);
        }
        const Entry entry = {ch, {key.begin(), key.end()}};
        platform_.StartRecording();
        platform_.Fail(Service::kAllocate, ulFailAt);
        EXPECT_EQ(
            XELP_Hash_SaveNode(table_, key.data(), static_cast<QAL_UINT32>(key.size()), User(ch)),
            ulExpected);
        EXPECT_EQ(g_calls, expected.calls);
        EXPECT_EQ(platform_.Calls(Service::kAllocate), ulExpected == 0 ? 2U
                                                       : ulExpected == XELP_ERR_HASH_MEMORY
                                                           ? ulFailAt
                                                           : 0U);
        platform_.StartRecording();
        std::fill(key.begin(), key.end(), '!'); // the table has its own copy
        if (ulExpected == 0) {
            Bucket &bucket = BucketOf(ch);
            bucket.insert(bucket.begin(), entry);
            cursor_ = ch;
        }
    }

    void SaveWithoutMemory(char ch) { Save(ch, static_cast<QAL_UINT32>(1 + random_.UpTo(1))); }

    void Query(char ch)
    {
        const Outcome expected = OutcomeInTable(ch);
        void *pResult = User(kUntouched);
        EXPECT_EQ(XELP_Hash_QueryNode(table_, Key(ch).szText, &pResult), expected.ulStatus);
        EXPECT_EQ(Letter(pResult), expected.ulStatus == 0 ? ch : kUntouched);
        EXPECT_EQ(g_calls, expected.calls);
        cursor_ = expected.ulStatus == 0 ? ch : cursor_;
    }

    /// Removes an entry from the model. The cursor is then on the next entry of the
    /// bucket, or nowhere.
    void Forget(Bucket &bucket, std::size_t place)
    {
        bucket.erase(bucket.begin() + static_cast<std::ptrdiff_t>(place));
        cursor_ = place < bucket.size() ? bucket[place].ch : '\0';
    }

    /// Makes a Delete call and checks it. The call must release the user node last.
    void Delete(const std::function<QAL_UINT32()> &deleteCall, QAL_UINT32 ulStatus, bool isFound,
                char ch, const std::string &calls)
    {
        awaited_ = isFound ? calls + std::string{'n', ch, ' '} : "";
        EXPECT_EQ(deleteCall(), ulStatus);
        EXPECT_EQ(awaited_, "") << "the user node was not released";
        if (!isFound) {
            EXPECT_EQ(g_calls, calls);
        }
    }

    /// The entry has left the table, so the callback may use the table: it may make a random
    /// call.
    void NodeReleased()
    {
        EXPECT_NE(awaited_, "");
        EXPECT_EQ(g_calls, awaited_);
        awaited_.clear();
        Compare();
        StepInCallback(1);
    }

    void StepInCallback(std::uint64_t ullMost)
    {
        if (depth_ < kMaxDepth) {
            ++depth_;
            for (std::uint64_t i = random_.UpTo(ullMost); i != 0; --i) {
                Step();
            }
            --depth_;
        }
    }

    void Remove(char ch)
    {
        const Outcome expected = OutcomeInTable(ch);
        const bool isFound = expected.ulStatus == 0;
        const std::string calls = expected.calls + (isFound ? std::string{'k', ch, ' '} : "");
        if (isFound) {
            Forget(BucketOf(ch), expected.place);
        }
        if (random_.UpTo(1) != 0) {
            Delete([&] { return XELP_Hash_DeleteNode(table_, Key(ch).szText); }, expected.ulStatus,
                   isFound, ch, calls);
            return;
        }
        void *pResult = User(kUntouched);
        EXPECT_EQ(XELP_Hash_RemoveNode(table_, Key(ch).szText, &pResult), expected.ulStatus);
        EXPECT_EQ(Letter(pResult), isFound ? ch : kUntouched);
        EXPECT_EQ(g_calls, calls);
    }

    /// @p isInBucket says whether the hash function still leads to the bucket of the entry.
    void RemoveCurrent(bool isInBucket = true)
    {
        const char ch = cursor_;
        const QAL_UINT32 ulStatus = ch == '\0'          ? QAL_UINT32{XELP_ERR_HASH_NOW_NULL}
                                    : g_hashStatus != 0 ? QAL_UINT32{XELP_ERR_HASH_HASHVALUE}
                                                        : 0U;
        const bool isFound = ulStatus == 0 && isInBucket;
        std::string calls = ch != '\0' ? std::string{'h', ch, ' '} : "";
        if (isFound) {
            calls += std::string{'k', ch, ' '};
            Bucket &bucket = BucketOf(ch);
            Forget(bucket, PlaceIn(bucket, ch));
        }
        if (random_.UpTo(1) != 0) {
            Delete([&] { return XELP_Hash_DeleteCurNode(table_); }, ulStatus, isFound, ch, calls);
            return;
        }
        void *pResult = User(kUntouched);
        EXPECT_EQ(XELP_Hash_RemoveCurNode(table_, &pResult), ulStatus);
        EXPECT_EQ(Letter(pResult), isFound ? ch : kNull);
        EXPECT_EQ(g_calls, calls);
    }

    /// Tries to remove the entry at the cursor while the hash function leads to a different bucket
    /// than when the entry was saved.
    void RemoveCurrentWithAnotherHash()
    {
        const QAL_UINT32 ulBase = g_hashBase;
        const Bucket *const pBucket = cursor_ != '\0' ? &BucketOf(cursor_) : nullptr;
        g_hashBase += static_cast<QAL_UINT32>(1 + random_.UpTo(buckets_.size()));
        if (pBucket == nullptr || pBucket != &BucketOf(cursor_)) {
            RemoveCurrent(false);
        }
        g_hashBase = ulBase;
    }

    void CallWithFailingHash(char ch)
    {
        g_hashStatus = random_.UpTo(1) != 0 ? 1 : 0x80000000;
        switch (random_.UpTo(3)) {
            case 0:
                Save(ch);
                break;
            case 1:
                Remove(ch);
                break;
            case 2:
                Query(ch);
                break;
            default:
                RemoveCurrent();
        }
        g_hashStatus = 0;
    }

    void CallWithNulls(char ch)
    {
        Key key(ch);
        void *pResult = User(kUntouched);
        QAL_UINT32 ulNumber = 99;
        const QAL_UINT32 aulStatus[] = {
            InitLetters(0, &pResult),
            InitLetters(1, nullptr),
            XELP_Hash_DeInit(nullptr, XELP_HASH_FreeUserNode_Yes),
            XELP_Hash_SaveNode(nullptr, key.szText, 2, User(ch)),
            XELP_Hash_SaveNode(table_, nullptr, 2, User(ch)),
            XELP_Hash_SaveNode(table_, key.szText, 0, User(ch)),
            XELP_Hash_SaveNode(table_, key.szText, 2, nullptr),
            XELP_Hash_RemoveNode(nullptr, key.szText, &pResult),
            XELP_Hash_RemoveNode(table_, nullptr, &pResult),
            XELP_Hash_RemoveNode(table_, key.szText, nullptr),
            XELP_Hash_DeleteNode(nullptr, key.szText),
            XELP_Hash_DeleteNode(table_, nullptr),
            XELP_Hash_QueryNode(nullptr, key.szText, &pResult),
            XELP_Hash_QueryNode(table_, nullptr, &pResult),
            XELP_Hash_QueryNode(table_, key.szText, nullptr),
            XELP_Hash_RemoveCurNode(nullptr, &pResult),
            XELP_Hash_RemoveCurNode(table_, nullptr),
            XELP_Hash_DeleteCurNode(nullptr),
            XELP_Hash_Process_List(nullptr, Visit, nullptr, nullptr),
            XELP_Hash_Process_List(table_, nullptr, nullptr, nullptr),
            XELP_Hash_Get_ListSize(nullptr, &ulNumber),
            XELP_Hash_Get_ListSize(table_, nullptr),
            XELP_Hash_Get_NodeNumber(nullptr, &ulNumber),
            XELP_Hash_Get_NodeNumber(table_, nullptr),
        };
        for (const QAL_UINT32 &ulStatus : aulStatus) {
            EXPECT_EQ(ulStatus, XELP_ERR_HASH_INVALID_PARA) << "call " << &ulStatus - aulStatus;
        }
        EXPECT_EQ(Letter(pResult), kUntouched);
        EXPECT_EQ(ulNumber, 99U);
        EXPECT_EQ(g_calls, "");
    }

    void CountEntries()
    {
        QAL_UINT32 ulNumber = 99;
        EXPECT_EQ(XELP_Hash_Get_NodeNumber(table_, &ulNumber), 0U);
        EXPECT_EQ(ulNumber, Count());
        EXPECT_EQ(XELP_Hash_Get_ListSize(table_, &ulNumber), 0U);
        EXPECT_EQ(ulNumber, buckets_.size());
    }

    /// A walk whose callback makes random calls. The callback stops it at random, or if it gets too
    /// long.
    struct WalkState {
        RandomCalls &owner;
        char chNext = '\0';         ///< the next entry of the current chain; '\0' if none
        std::size_t nextBucket = 0; ///< the bucket that the walk starts after that chain
        int visits = 0;
        bool hasStopped = false;
        void *pOther = nullptr;

        /// The letter that the walk must visit next; '\0' if it must end.
        char Expected()
        {
            while (chNext == '\0' && nextBucket < owner.buckets_.size()) {
                const Bucket &bucket = owner.buckets_[nextBucket++];
                chNext = bucket.empty() ? '\0' : bucket[0].ch;
            }
            return chNext;
        }
    };

    void Walk()
    {
        WalkState walk{*this};
        const bool isEmpty = Count() == 0;
        const QAL_UINT32 ulStatus = XELP_Hash_Process_List(table_, Visit, &walk, &walk.pOther);
        EXPECT_EQ(ulStatus, isEmpty           ? QAL_UINT32{XELP_ERR_HASH_NULL}
                            : walk.hasStopped ? QAL_UINT32{XELP_ERR_HASH_BREAK}
                                              : 0U);
        EXPECT_EQ(g_calls, "") << "a walk neither hashes nor compares keys";
        if (ulStatus == 0) {
            EXPECT_EQ(walk.Expected(), '\0');
        }
    }

    static QAL_UINT32 Visit(void *pWalk, void *pUserNode, void **ppOther)
    {
        WalkState &walk = *static_cast<WalkState *>(pWalk);
        EXPECT_EQ(ppOther, &walk.pOther);
        return walk.owner.Visited(walk, Letter(pUserNode));
    }

    QAL_UINT32 Visited(WalkState &walk, char ch)
    {
        EXPECT_EQ(g_calls, "");
        EXPECT_EQ(ch, walk.Expected());
        cursor_ = ch;
        Compare();
        const Hash_S_Head &head = HeadOf(table_);
        const auto uVisited = reinterpret_cast<std::uintptr_t>(head.pstruNow);
        StepInCallback(2);
        g_calls.clear();
        // A walk compares addresses only: it mistakes a new entry at the old address for the old
        // entry.
        walk.chNext = cursor_;
        if (cursor_ != '\0' && reinterpret_cast<std::uintptr_t>(head.pstruNow) == uVisited) {
            const Bucket &bucket = BucketOf(cursor_);
            const std::size_t next = PlaceIn(bucket, cursor_) + 1;
            walk.chNext = next < bucket.size() ? bucket[next].ch : '\0';
        }
        walk.hasStopped =
            ++walk.visits == kMaxVisits || random_.UpTo(30) == 0 || ::testing::Test::HasFailure();
        return walk.hasStopped ? 0xFFFFFFFF : 0;
    }

    PlatformDouble &platform_ = PlatformDouble::Instance();
    void *table_;
    Random &random_;
    std::vector<Bucket> buckets_;
    char cursor_ = '\0';  // '\0': nowhere
    std::string awaited_; // what g_calls must be when a user node is released; "" if none is due
    bool isGrowing_ = true;
    int depth_ = 0;
};

} // namespace wyx::test::hash

#endif
