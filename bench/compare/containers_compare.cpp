// The containers compared with GLib's, the standard library's and the system's tail queue.
//
// Every contender stores pointers to the caller's records. The lists visit and compare them through
// a function pointer, as ours must: code inlined into the caller would be faster, but a call into a
// shared library cannot be inlined. The standard hash table hashes and compares inline.
#include <glib.h>
#include <malloc.h>
#include <sys/queue.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <list>
#include <memory>
#include <memory_resource>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "harness.h"
#include "os_adapter.h"
#include "our_lists.h"
#include "wyx_commlib/hash.h"

namespace wyx::bench {
namespace {

// ---- records and callbacks ----

struct Record {
    std::uint64_t ullNumber;
    char szKey[24];
};

std::vector<Record> MakeRecords(std::size_t count)
{
    std::vector<Record> records(count);
    for (std::size_t i = 0; i < count; ++i) {
        records[i].ullNumber = i;
        std::snprintf(records[i].szKey, sizeof records[i].szKey, "key%zu", i);
    }
    return records;
}

void LeaveAlone(void *) {}

QAL_UINT32 IsNumber(const void *pNumber, void *pRecord)
{
    return *static_cast<const std::uint64_t *>(pNumber) !=
           static_cast<Record *>(pRecord)->ullNumber;
}

QAL_UINT32 AddNumber(void *pSum, void *pRecord, void **)
{
    *static_cast<std::uint64_t *>(pSum) += static_cast<Record *>(pRecord)->ullNumber;
    return 0;
}

/// The callbacks for contenders that are not libraries. The pointers are read again for every
/// element, so that the compiler inlines nothing.
QAL_UINT32 (*volatile g_pfunIsNumber)(const void *, void *) = IsNumber;
QAL_UINT32 (*volatile g_pfunAddNumber)(void *, void *, void **) = AddNumber;

// ---- lists: each with the same few operations ----

template <typename List>
struct OurRecords {
    explicit OurRecords(std::size_t count) : list(static_cast<QAL_UINT32>(count), IsNumber) {}
    void Append(Record &record) { list.Append(&record); }
    void Prepend(Record &record) { list.Prepend(&record); }
    void *TakeFirst() { return list.TakeFirst(); }
    void *TakeLast() { return list.TakeLast(); }
    std::uint64_t Sum()
    {
        std::uint64_t ullSum = 0;
        list.Walk(AddNumber, &ullSum);
        return ullSum;
    }
    void *Find(std::uint64_t ullNumber) { return list.Find(&ullNumber); }
    List list;
};

/// A tail queue with one zeroed allocation per node, as one would write it without a library.
struct TailQueue {
    struct Node {
        TAILQ_ENTRY(Node) links;
        void *pRecord;
    };
    explicit TailQueue(std::size_t) { TAILQ_INIT(&head); }
    TailQueue(const TailQueue &) = delete;
    ~TailQueue()
    {
        while (!TAILQ_EMPTY(&head)) {
            TakeFirst();
        }
    }
    static Node *NewNode(Record &record)
    {
        auto *const pNode = static_cast<Node *>(std::calloc(1, sizeof(Node)));
        if (pNode == nullptr) {
            std::abort();
        }
        pNode->pRecord = &record;
        return pNode;
    }
    void Append(Record &record)
    {
        Node *const pNode = NewNode(record);
        TAILQ_INSERT_TAIL(&head, pNode, links);
    }
    void Prepend(Record &record)
    {
        Node *const pNode = NewNode(record);
        TAILQ_INSERT_HEAD(&head, pNode, links);
    }
    void *Take(Node *pNode)
    {
        TAILQ_REMOVE(&head, pNode, links);
        void *const pRecord = pNode->pRecord;
        std::free(pNode);
        return pRecord;
    }
    void *TakeFirst() { return Take(TAILQ_FIRST(&head)); }
    void *TakeLast() { return Take(TAILQ_LAST(&head, Head)); }
    std::uint64_t Sum()
    {
        std::uint64_t ullSum = 0;
        Node *pNode;
        TAILQ_FOREACH(pNode, &head, links)
        {
            g_pfunAddNumber(&ullSum, pNode->pRecord, nullptr);
        }
        return ullSum;
    }
    void *Find(std::uint64_t ullNumber)
    {
        Node *pNode;
        TAILQ_FOREACH(pNode, &head, links)
        {
            if (g_pfunIsNumber(&ullNumber, pNode->pRecord) == 0) {
                return pNode->pRecord;
            }
        }
        return nullptr;
    }
    TAILQ_HEAD(Head, Node) head;
};

template <typename List>
struct StdList {
    template <typename... Arguments>
    explicit StdList(Arguments... arguments) : list(arguments...)
    {}
    void Append(Record &record) { list.push_back(&record); }
    void Prepend(Record &record) { list.push_front(&record); }
    void *TakeFirst()
    {
        void *const pRecord = list.front();
        list.pop_front();
        return pRecord;
    }
    void *TakeLast()
    {
        void *const pRecord = list.back();
        list.pop_back();
        return pRecord;
    }
    std::uint64_t Sum()
    {
        std::uint64_t ullSum = 0;
        for (void *const pRecord : list) {
            g_pfunAddNumber(&ullSum, pRecord, nullptr);
        }
        return ullSum;
    }
    void *Find(std::uint64_t ullNumber)
    {
        for (void *const pRecord : list) {
            if (g_pfunIsNumber(&ullNumber, pRecord) == 0) {
                return pRecord;
            }
        }
        return nullptr;
    }
    List list;
};

struct StandardList : StdList<std::list<void *>> {
    explicit StandardList(std::size_t) {}
};

struct Pool {
    explicit Pool(std::size_t bytes)
        : buffer(bytes), block(buffer.data(), buffer.size()), nodes(&block)
    {}
    std::vector<std::byte> buffer;
    std::pmr::monotonic_buffer_resource block;
    std::pmr::unsynchronized_pool_resource nodes;
};

/// Nodes from a pool over one block, which holds them all: the closest thing to slots in an array.
struct PooledList : Pool, StdList<std::pmr::list<void *>> {
    explicit PooledList(std::size_t count)
        : Pool(count * 64 + 65536), StdList<std::pmr::list<void *>>(&nodes)
    {}
};

struct GlibQueue {
    explicit GlibQueue(std::size_t) : pQueue(g_queue_new()) {}
    GlibQueue(const GlibQueue &) = delete;
    ~GlibQueue() { g_queue_free(pQueue); }
    void Append(Record &record) { g_queue_push_tail(pQueue, &record); }
    void Prepend(Record &record) { g_queue_push_head(pQueue, &record); }
    void *TakeFirst() { return g_queue_pop_head(pQueue); }
    void *TakeLast() { return g_queue_pop_tail(pQueue); }
    std::uint64_t Sum()
    {
        std::uint64_t ullSum = 0;
        g_queue_foreach(
            pQueue, [](gpointer pRecord, gpointer pSum) { AddNumber(pSum, pRecord, nullptr); },
            &ullSum);
        return ullSum;
    }
    void *Find(std::uint64_t ullNumber)
    {
        GList *const pNode = g_queue_find_custom(
            pQueue, &ullNumber, [](gconstpointer pRecord, gconstpointer pNumber) {
                const auto ull = *static_cast<const std::uint64_t *>(pNumber);
                return static_cast<gint>(ull != static_cast<const Record *>(pRecord)->ullNumber);
            });
        return pNode->data;
    }
    GQueue *pQueue;
};

/// GLib's plain list, without a queue's head. To append, it would walk to the last element.
struct GlibList {
    explicit GlibList(std::size_t) {}
    GlibList(const GlibList &) = delete;
    ~GlibList() { g_list_free(pFirst); }
    void Prepend(Record &record) { pFirst = g_list_prepend(pFirst, &record); }
    void *TakeFirst()
    {
        void *const pRecord = pFirst->data;
        pFirst = g_list_delete_link(pFirst, pFirst);
        return pRecord;
    }
    GList *pFirst = nullptr;
};

// ---- the cases of a list ----

constexpr std::size_t kFew = 1000;
constexpr std::size_t kMany = 100000;

enum class End { kFirst, kLast };

/// Fills the list with all records and takes them out again.
template <typename List, End add, End take>
auto FillAndDrain(std::vector<Record> &records)
{
    return [&records, list = std::make_shared<List>(records.size())](auto keep) {
        for (Record &record : records) {
            if constexpr (add == End::kFirst) {
                list->Prepend(record);
            } else {
                list->Append(record);
            }
        }
        for (std::size_t i = 0; i < records.size(); ++i) {
            if constexpr (take == End::kFirst) {
                keep(list->TakeFirst());
            } else {
                keep(list->TakeLast());
            }
        }
    };
}

template <typename List>
std::shared_ptr<List> Filled(std::vector<Record> &records)
{
    auto list = std::make_shared<List>(records.size());
    for (Record &record : records) {
        list->Append(record);
    }
    return list;
}

template <typename List>
auto Walk(std::vector<Record> &records)
{
    return [list = Filled<List>(records)](auto keep) { keep(list->Sum()); };
}

template <typename List>
auto FindMiddle(std::vector<Record> &records)
{
    return [list = Filled<List>(records), ullNumber = records.size() / 2](auto keep) {
        keep(list->Find(ullNumber));
    };
}

template <typename List>
auto AppendTakeFirst(std::vector<Record> &records)
{
    return FillAndDrain<List, End::kLast, End::kFirst>(records);
}

template <typename List>
auto AppendTakeLast(std::vector<Record> &records)
{
    return FillAndDrain<List, End::kLast, End::kLast>(records);
}

template <typename List>
auto PrependTakeFirst(std::vector<Record> &records)
{
    return FillAndDrain<List, End::kFirst, End::kFirst>(records);
}

template <typename List>
auto PrependTakeLast(std::vector<Record> &records)
{
    return FillAndDrain<List, End::kFirst, End::kLast>(records);
}

void AddLists(Report &report, std::vector<Record> &records)
{
    const std::string count = ", " + std::to_string(records.size());
    const Target fill = {0.72, 0.72};
    const Target queue = {1.0, 1.0};
    const auto linked = [&](const char *pszName) -> Case & {
        return report.Add("Doubly linked list", pszName + count);
    };
    linked("append, take first")
        .Ours(AppendTakeFirst<OurRecords<OurLinked>>(records))
        .Peer("TAILQ", AppendTakeFirst<TailQueue>(records), fill)
        .Peer("std::list", AppendTakeFirst<StandardList>(records))
        .Peer("GQueue", AppendTakeFirst<GlibQueue>(records), queue);
    linked("append, take last")
        .Ours(AppendTakeLast<OurRecords<OurLinked>>(records))
        .Peer("TAILQ", AppendTakeLast<TailQueue>(records), fill)
        .Peer("std::list", AppendTakeLast<StandardList>(records))
        .Peer("GQueue", AppendTakeLast<GlibQueue>(records), queue);
    linked("prepend, take first")
        .Ours(PrependTakeFirst<OurRecords<OurLinked>>(records))
        .Peer("TAILQ", PrependTakeFirst<TailQueue>(records), fill)
        .Peer("std::list", PrependTakeFirst<StandardList>(records))
        .Peer("GQueue", PrependTakeFirst<GlibQueue>(records), queue)
        .Peer("GList", PrependTakeFirst<GlibList>(records));
    linked("prepend, take last")
        .Ours(PrependTakeLast<OurRecords<OurLinked>>(records))
        .Peer("TAILQ", PrependTakeLast<TailQueue>(records), fill)
        .Peer("std::list", PrependTakeLast<StandardList>(records))
        .Peer("GQueue", PrependTakeLast<GlibQueue>(records), queue);
    linked("walk")
        .Ours(Walk<OurRecords<OurLinked>>(records))
        .Peer("TAILQ", Walk<TailQueue>(records))
        .Peer("std::list", Walk<StandardList>(records))
        .Peer("GQueue", Walk<GlibQueue>(records));
    linked("find the middle one")
        .Ours(FindMiddle<OurRecords<OurLinked>>(records))
        .Peer("TAILQ", FindMiddle<TailQueue>(records))
        .Peer("std::list", FindMiddle<StandardList>(records))
        .Peer("GQueue", FindMiddle<GlibQueue>(records));

    const Target pooledFill = {1.5, 1.5};
    const auto indexed = [&](const char *pszName) -> Case & {
        return report.Add("Fixed-capacity list", pszName + count);
    };
    indexed("append, take first")
        .Ours(AppendTakeFirst<OurRecords<OurIndexed>>(records))
        .Peer("std::pmr::list", AppendTakeFirst<PooledList>(records), pooledFill)
        .Peer("TAILQ", AppendTakeFirst<TailQueue>(records));
    indexed("append, take last")
        .Ours(AppendTakeLast<OurRecords<OurIndexed>>(records))
        .Peer("std::pmr::list", AppendTakeLast<PooledList>(records), pooledFill)
        .Peer("TAILQ", AppendTakeLast<TailQueue>(records));
    indexed("prepend, take first")
        .Ours(PrependTakeFirst<OurRecords<OurIndexed>>(records))
        .Peer("std::pmr::list", PrependTakeFirst<PooledList>(records), pooledFill)
        .Peer("TAILQ", PrependTakeFirst<TailQueue>(records));
    indexed("prepend, take last")
        .Ours(PrependTakeLast<OurRecords<OurIndexed>>(records))
        .Peer("std::pmr::list", PrependTakeLast<PooledList>(records), pooledFill)
        .Peer("TAILQ", PrependTakeLast<TailQueue>(records));
    indexed("walk")
        .Ours(Walk<OurRecords<OurIndexed>>(records))
        .Peer("std::pmr::list", Walk<PooledList>(records))
        .Peer("TAILQ", Walk<TailQueue>(records));
    indexed("find the middle one")
        .Ours(FindMiddle<OurRecords<OurIndexed>>(records))
        .Peer("std::pmr::list", FindMiddle<PooledList>(records))
        .Peer("TAILQ", FindMiddle<TailQueue>(records));
}

// ---- hash tables: string keys, which each of them copies, and one hash function for all ----

QAL_UINT32 Fnv1a(const char *psz)
{
    QAL_UINT32 ulHash = 0x811C9DC5;
    for (; *psz != '\0'; ++psz) {
        ulHash = (ulHash ^ static_cast<unsigned char>(*psz)) * 0x01000193;
    }
    return ulHash;
}

/// As many buckets as there will be entries: a load factor of 1.
struct OurHash {
    explicit OurHash(std::size_t count)
    {
        XELP_Hash_Init(static_cast<QAL_UINT32>(count), Hash, Compare, ReleaseKey, LeaveAlone,
                       &pTable);
    }
    OurHash(const OurHash &) = delete;
    ~OurHash() { XELP_Hash_DeInit(pTable, XELP_HASH_FreeUserNode_Yes); }
    static QAL_UINT32 Hash(void *pKey, QAL_UINT32 *pulHash)
    {
        *pulHash = Fnv1a(static_cast<const char *>(pKey));
        return 0;
    }
    static QAL_UINT32 Compare(void *pKey, void *pStored)
    {
        return std::strcmp(static_cast<const char *>(pKey), static_cast<const char *>(pStored)) !=
               0;
    }
    static void ReleaseKey(void *pStored) { XELP_MemFreeD(pStored, __LINE__, __FILE__); }
    void Save(Record &record)
    {
        XELP_Hash_SaveNode(pTable, record.szKey,
                           static_cast<QAL_UINT32>(std::strlen(record.szKey) + 1), &record);
    }
    void *Remove(char *pszKey)
    {
        void *pRecord = nullptr;
        XELP_Hash_RemoveNode(pTable, pszKey, &pRecord);
        return pRecord;
    }
    void *Query(char *pszKey)
    {
        void *pRecord = nullptr;
        XELP_Hash_QueryNode(pTable, pszKey, &pRecord);
        return pRecord;
    }
    std::uint64_t Sum()
    {
        std::uint64_t ullSum = 0;
        XELP_Hash_Process_List(pTable, AddNumber, &ullSum, nullptr);
        return ullSum;
    }
    void *pTable = nullptr;
};

struct GlibHash {
    explicit GlibHash(std::size_t)
        : pTable(g_hash_table_new_full(
              [](gconstpointer pKey) { return Fnv1a(static_cast<const char *>(pKey)); },
              [](gconstpointer pLeft, gconstpointer pRight) -> gboolean {
                  return std::strcmp(static_cast<const char *>(pLeft),
                                     static_cast<const char *>(pRight)) == 0;
              },
              g_free, nullptr))
    {}
    GlibHash(const GlibHash &) = delete;
    ~GlibHash() { g_hash_table_destroy(pTable); }
    void Save(Record &record) { g_hash_table_insert(pTable, g_strdup(record.szKey), &record); }
    /// Returns the value, as ours does, with one look-up. The key then belongs to the caller.
    void *Remove(char *pszKey)
    {
        gpointer pStolenKey = nullptr;
        gpointer pRecord = nullptr;
        g_hash_table_steal_extended(pTable, pszKey, &pStolenKey, &pRecord);
        g_free(pStolenKey);
        return pRecord;
    }
    void *Query(char *pszKey) { return g_hash_table_lookup(pTable, pszKey); }
    std::uint64_t Sum()
    {
        std::uint64_t ullSum = 0;
        g_hash_table_foreach(
            pTable,
            [](gpointer, gpointer pRecord, gpointer pSum) { AddNumber(pSum, pRecord, nullptr); },
            &ullSum);
        return ullSum;
    }
    GHashTable *pTable;
};

/// @tparam Wanted  the type that a key is looked up as: std::string_view, or std::string, which is
///                 constructed for each call, as in a program that was not tuned.
template <typename Wanted>
struct StandardHash {
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view key) const { return Fnv1a(key.data()); }
    };
    struct Equal {
        using is_transparent = void;
        bool operator()(std::string_view left, std::string_view right) const
        {
            return left == right;
        }
    };
    explicit StandardHash(std::size_t count)
    {
        table.max_load_factor(1);
        table.reserve(count);
    }
    void Save(Record &record) { table.emplace(record.szKey, &record); }
    void *Remove(char *pszKey)
    {
        const auto it = table.find(Wanted(pszKey));
        void *const pRecord = it->second;
        table.erase(it);
        return pRecord;
    }
    void *Query(char *pszKey)
    {
        const auto it = table.find(Wanted(pszKey));
        return it != table.end() ? it->second : nullptr;
    }
    std::uint64_t Sum()
    {
        std::uint64_t ullSum = 0;
        for (const auto &entry : table) {
            g_pfunAddNumber(&ullSum, entry.second, nullptr);
        }
        return ullSum;
    }
    std::unordered_map<std::string, void *, Hash, Equal> table;
};

template <typename Table>
auto SaveAndRemove(std::vector<Record> &records)
{
    return [&records, table = std::make_shared<Table>(records.size())](auto keep) {
        for (Record &record : records) {
            table->Save(record);
        }
        for (Record &record : records) {
            keep(table->Remove(record.szKey));
        }
    };
}

template <typename Table>
std::shared_ptr<Table> FilledTable(std::vector<Record> &records)
{
    auto table = std::make_shared<Table>(records.size());
    for (Record &record : records) {
        table->Save(record);
    }
    return table;
}

/// Looks for the keys of @p wanted in a table of all @p records.
template <typename Table>
auto QueryAll(std::vector<Record> &records, std::vector<Record> &wanted)
{
    return [&wanted, table = FilledTable<Table>(records)](auto keep) {
        for (Record &record : wanted) {
            keep(table->Query(record.szKey));
        }
    };
}

template <typename Table>
auto WalkTable(std::vector<Record> &records)
{
    return [table = FilledTable<Table>(records)](auto keep) { keep(table->Sum()); };
}

void AddTables(Report &report, std::vector<Record> &records, std::vector<Record> &shuffled,
               std::vector<Record> &absent)
{
    const std::string count = ", " + std::to_string(records.size());
    using Transparent = StandardHash<std::string_view>;
    using StringPerCall = StandardHash<std::string>;
    const char *const pszStringPerCall = "unordered_map, a string made per call";
    // Each size has one peer with targets: GLib for few keys, and the standard library for a table
    // that fits in no cache.
    const bool isSmall = records.size() == kFew;
    const auto glib = [&](double target) { return isSmall ? Target{target, {}} : Target{}; };
    const auto standard = [&](double target) { return isSmall ? Target{} : Target{target, {}}; };
    const auto table = [&](const char *pszName) -> Case & {
        return report.Add("Hash table", pszName + count);
    };
    table("save all, remove all")
        .Ours(SaveAndRemove<OurHash>(records))
        .Peer("GHashTable", SaveAndRemove<GlibHash>(records), glib(1.4))
        .Peer(pszStringPerCall, SaveAndRemove<StringPerCall>(records), standard(1.6))
        .Peer("unordered_map, transparent", SaveAndRemove<Transparent>(records));
    table("query all, at random")
        .Ours(QueryAll<OurHash>(records, shuffled))
        .Peer("GHashTable", QueryAll<GlibHash>(records, shuffled), glib(0.9))
        .Peer(pszStringPerCall, QueryAll<StringPerCall>(records, shuffled), standard(2.4))
        .Peer("unordered_map, transparent", QueryAll<Transparent>(records, shuffled));
    table("query as many that are not there")
        .Ours(QueryAll<OurHash>(records, absent))
        .Peer("GHashTable", QueryAll<GlibHash>(records, absent), glib(0.72))
        .Peer(pszStringPerCall, QueryAll<StringPerCall>(records, absent), standard(1.8))
        .Peer("unordered_map, transparent", QueryAll<Transparent>(records, absent));
    table("walk")
        .Ours(WalkTable<OurHash>(records))
        .Peer("GHashTable", WalkTable<GlibHash>(records))
        .Peer("unordered_map", WalkTable<Transparent>(records));
}

// ---- memory ----

std::size_t BytesHeld()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Prints what a filled container holds for each element, the allocator's own overhead included.
template <typename Fill>
void PrintBytes(const char *pszName, std::size_t count, const Fill &fill)
{
    const std::size_t before = BytesHeld();
    const auto filled = fill();
    const auto bytes = static_cast<double>(BytesHeld() - before);
    std::printf("| %s | %.1f |\n", pszName, bytes / static_cast<double>(count));
}

void PrintMemory()
{
    std::vector<Record> records = MakeRecords(kMany);
    std::printf("\n## Bytes held for each of %zu elements\n\n| container | bytes |\n|---|---|\n",
                records.size());
    const std::size_t count = records.size();
    PrintBytes("our doubly linked list", count,
               [&] { return Filled<OurRecords<OurLinked>>(records); });
    PrintBytes("TAILQ", count, [&] { return Filled<TailQueue>(records); });
    PrintBytes("std::list", count, [&] { return Filled<StandardList>(records); });
    PrintBytes("GQueue", count, [&] { return Filled<GlibQueue>(records); });
    PrintBytes("our fixed-capacity list", count,
               [&] { return Filled<OurRecords<OurIndexed>>(records); });
    PrintBytes("our hash table, with keys", count, [&] { return FilledTable<OurHash>(records); });
    PrintBytes("GHashTable, with keys", count, [&] { return FilledTable<GlibHash>(records); });
    PrintBytes("unordered_map, with keys", count,
               [&] { return FilledTable<StandardHash<std::string_view>>(records); });
}

} // namespace
} // namespace wyx::bench

int main(int argc, char **argv)
{
    using namespace wyx::bench;
    Report report(argc, argv);
    PrintMemory();                        // before any memory has been used and released
    std::deque<std::vector<Record>> held; // must outlive the report
    for (const std::size_t count : {kFew, kMany}) {
        std::vector<Record> &records = held.emplace_back(MakeRecords(count));
        std::vector<Record> &shuffled = held.emplace_back(records);
        std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(1));
        std::vector<Record> &absent = held.emplace_back(shuffled);
        for (Record &record : absent) {
            record.szKey[0] = 'K';
        }
        AddLists(report, records);
        AddTables(report, records, shuffled, absent);
    }
    return report.Run();
}
