// How the cost of each operation grows with its size, up to a thousand times the smallest.
//
// Each benchmark states the growth that its header promises, and Google Benchmark fits that curve
// to the times: behind the factor stands by how much the times miss it.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "os_adapter.h"
#include "our_lists.h"
#include "wyx_commlib/commlib.h"

namespace {

void Check(QAL_UINT32 ulStatus, const char *pszWhat)
{
    if (ulStatus != 0) {
        std::fprintf(stderr, "growth_bench: %s failed (%u)\n", pszWhat, ulStatus);
        std::abort();
    }
}

/// The size of a run, which is told to the fit, too.
QAL_UINT32 SizeOf(benchmark::State &state)
{
    state.SetComplexityN(state.range(0));
    return static_cast<QAL_UINT32>(state.range(0));
}

// ---- bytes --------------------------------------------------------------------------------------

std::vector<QAL_UINT8> Bytes(std::size_t size)
{
    std::vector<QAL_UINT8> bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<QAL_UINT8>(i * 7 + i / 256);
    }
    return bytes;
}

template <auto kCrc, typename Value>
void Crc(benchmark::State &state)
{
    const auto bytes = Bytes(SizeOf(state));
    for (auto _ : state) {
        Value crc = 0;
        kCrc(bytes.data(), SizeOf(state), &crc);
        benchmark::DoNotOptimize(crc);
    }
}

void Md5(benchmark::State &state)
{
    const auto bytes = Bytes(SizeOf(state));
    for (auto _ : state) {
        MD5_S_CTX context;
        QAL_UINT8 aucDigest[16];
        XELP_MD5_Init(&context);
        XELP_MD5_Update(&context, bytes.data(), SizeOf(state));
        XELP_MD5_Final(aucDigest, &context);
        benchmark::DoNotOptimize(aucDigest);
    }
}

void Base64Encode(benchmark::State &state)
{
    auto bytes = Bytes(SizeOf(state));
    for (auto _ : state) {
        QAL_UINT8 *pucText = nullptr;
        MOX_BASE64Encode(bytes.data(), static_cast<QAL_INT32>(bytes.size()), &pucText);
        MOX_BASE64Free(&pucText);
    }
}

void Base64Decode(benchmark::State &state)
{
    std::vector<QAL_UINT8> text(SizeOf(state) + 1, 'A'); // a byte behind the length is read
    for (auto _ : state) {
        QAL_UINT8 *pucBytes = nullptr;
        MOX_BASE64Decode(text.data(), static_cast<QAL_INT32>(text.size() - 1), &pucBytes);
        MOX_BASE64Free(&pucBytes);
    }
}

// ---- containers ---------------------------------------------------------------------------------

QAL_UINT32 IsSame(const void *pWanted, void *pNumber)
{
    return pWanted != pNumber;
}

QAL_UINT32 Visit(void * /*condition*/, void *pNumber, void ** /*other*/)
{
    benchmark::DoNotOptimize(pNumber);
    return 0;
}

void LeaveAlone(void * /*pNumber*/) {}

/// A list of the numbers below the size, kept elsewhere.
class Numbers {
  public:
    explicit Numbers(QAL_UINT32 ulSize) : numbers_(ulSize) {}
    QAL_UINT32 Size() const { return static_cast<QAL_UINT32>(numbers_.size()); }
    std::uint32_t *At(std::size_t i) { return &numbers_[i]; }
    std::uint32_t *Last() { return &numbers_.back(); }

  private:
    std::vector<std::uint32_t> numbers_;
};

template <typename OurList>
class List : public Numbers {
  public:
    explicit List(QAL_UINT32 ulSize) : Numbers(ulSize), list_(ulSize, IsSame)
    {
        for (QAL_UINT32 i = 0; i < ulSize; ++i) {
            list_.Append(At(i));
        }
    }
    void TakeFirstAndAppend()
    {
        void *const pFirst = list_.TakeFirst();
        Check(pFirst == nullptr, "take");
        list_.Append(pFirst);
    }
    void FindLast() { Check(list_.Find(Last()) != Last(), "find"); }
    void Walk() { list_.Walk(Visit, nullptr); }

  private:
    OurList list_;
};

using Linked = List<wyx::bench::OurLinked>;
using Indexed = List<wyx::bench::OurIndexed>;

QAL_UINT32 SpreadHash(void *pKey, QAL_UINT32 *pulHash)
{
    std::memcpy(pulHash, pKey, sizeof *pulHash);
    *pulHash *= 0x9E3779B1;
    return 0;
}

QAL_UINT32 OneBucket(void * /*pKey*/, QAL_UINT32 *pulHash)
{
    *pulHash = 0;
    return 0;
}

QAL_UINT32 CompareKeys(void *pKey, void *pStored)
{
    return std::memcmp(pKey, pStored, sizeof(std::uint32_t)) != 0;
}

void ReleaseKey(void *pKey)
{
    XELP_MemFreeD(pKey, __LINE__, __FILE__);
}

template <XELP_Hash_Function pfunHash>
struct Table : Numbers {
    explicit Table(QAL_UINT32 ulSize) : Numbers(ulSize)
    {
        Check(XELP_Hash_Init(ulSize, pfunHash, CompareKeys, ReleaseKey, LeaveAlone, &pTable),
              "XELP_Hash_Init");
        for (QAL_UINT32 i = 0; i < ulSize; ++i) {
            *At(i) = i;
            Save(At(i));
        }
    }
    ~Table() { XELP_Hash_DeInit(pTable, XELP_HASH_FreeUserNode_Yes); }
    Table(const Table &) = delete;
    void Save(std::uint32_t *pulNumber)
    {
        Check(XELP_Hash_SaveNode(pTable, pulNumber, sizeof *pulNumber, pulNumber), "save");
    }
    void Remove(std::uint32_t *pulNumber)
    {
        void *pFound = nullptr;
        Check(XELP_Hash_RemoveNode(pTable, pulNumber, &pFound), "remove");
    }
    void Find(std::uint32_t *pulNumber)
    {
        void *pFound = nullptr;
        Check(XELP_Hash_QueryNode(pTable, pulNumber, &pFound), "query");
    }
    void *pTable = nullptr;
};

template <typename List>
void TakeFirstAndAppend(benchmark::State &state)
{
    List list(SizeOf(state));
    for (auto _ : state) {
        list.TakeFirstAndAppend();
    }
}

template <typename List>
void FindLast(benchmark::State &state)
{
    List list(SizeOf(state));
    for (auto _ : state) {
        list.FindLast();
    }
}

template <typename List>
void Walk(benchmark::State &state)
{
    List list(SizeOf(state));
    for (auto _ : state) {
        list.Walk();
    }
}

template <typename List>
void FillAndRelease(benchmark::State &state)
{
    for (auto _ : state) {
        const List list(SizeOf(state));
    }
}

void HashSaveAndRemove(benchmark::State &state)
{
    Table<SpreadHash> table(SizeOf(state));
    for (auto _ : state) {
        table.Remove(table.Last());
        table.Save(table.Last());
    }
}

void HashFind(benchmark::State &state)
{
    Table<SpreadHash> table(SizeOf(state));
    for (auto _ : state) {
        table.Find(table.Last());
    }
}

void HashFindInOneBucket(benchmark::State &state)
{
    Table<OneBucket> table(SizeOf(state));
    for (auto _ : state) {
        table.Find(table.At(0)); // the first to be saved stands last in the chain
    }
}

// ---- INI ----------------------------------------------------------------------------------------

/// A file of so many lines in memory: a header every ten.
class IniFile {
  public:
    explicit IniFile(QAL_UINT32 ulLines) : name_("/dev/shm/growth_bench.ini"), lines_(ulLines)
    {
        std::ofstream file(name_, std::ios::binary);
        for (QAL_UINT32 i = 0; i < ulLines; ++i) {
            if (i % 10 == 0) {
                file << "[" << Section(i / 10) << "]\n";
            } else {
                file << "key" << i % 10 << " = value " << i << "\n";
            }
        }
    }
    ~IniFile() { std::remove(name_.c_str()); }
    IniFile(const IniFile &) = delete;
    const char *Name() const { return name_.c_str(); }
    static std::string Section(QAL_UINT32 i) { return "section" + std::to_string(i); }
    std::string LastSection() const { return Section((lines_ - 1) / 10); }

  private:
    std::string name_;
    QAL_UINT32 lines_;
};

class Document {
  public:
    explicit Document(const IniFile &file)
    {
        Check(XELP_IniGetFileContent(file.Name(), &record_), "load");
    }
    ~Document() { XELP_IniFreeIniStruct(&record_); }
    Document(const Document &) = delete;
    XELP_IN_S_INI_FILE_STRUCT *Record() { return &record_; }

  private:
    XELP_IN_S_INI_FILE_STRUCT record_;
};

void IniLoad(benchmark::State &state)
{
    const IniFile file(SizeOf(state));
    for (auto _ : state) {
        const Document document(file);
    }
}

void IniCheck(benchmark::State &state)
{
    const IniFile file(SizeOf(state));
    Document document(file);
    for (auto _ : state) {
        QAL_UINT32 ulLine = 0;
        Check(XELP_IniCheckFile(document.Record(), &ulLine), "check");
    }
}

void LookUp(benchmark::State &state, const IniFile &file, const std::string &section)
{
    Document document(file);
    for (auto _ : state) {
        QAL_INT8 *pszValue = nullptr;
        Check(XELP_IniGetKeyValue(document.Record(), section.c_str(), "key5", &pszValue),
              "look-up");
        XELP_MemFreeD(pszValue, __LINE__, __FILE__);
    }
}

void IniLookUpInLastSection(benchmark::State &state)
{
    const IniFile file(SizeOf(state));
    LookUp(state, file, file.LastSection());
}

void IniLookUpInFirstSection(benchmark::State &state)
{
    const IniFile file(SizeOf(state));
    LookUp(state, file, IniFile::Section(0));
}

void IniSetInFirstSection(benchmark::State &state)
{
    const IniFile file(SizeOf(state));
    Document document(file);
    std::string section = IniFile::Section(0);
    char szKey[] = "key5";
    char szValue[] = "another";
    for (auto _ : state) {
        Check(XELP_IniSetKeyValue(document.Record(), section.data(), szKey, szValue), "set");
    }
}

void IniLoadSetSave(benchmark::State &state)
{
    const IniFile file(SizeOf(state));
    std::string section = file.LastSection();
    char szKey[] = "key5";
    char szValue[] = "another";
    for (auto _ : state) {
        XELP_IN_S_INI_FILE_STRUCT record;
        Check(XELP_IniGetFileContent(file.Name(), &record), "load");
        Check(XELP_IniSetKeyValue(&record, section.data(), szKey, szValue), "set");
        Check(XELP_IniSaveFileContent(file.Name(), &record), "save");
    }
}

void FromThousand(benchmark::internal::Benchmark *pBenchmark)
{
    pBenchmark->Arg(1000)->Arg(30000)->Arg(1000000);
}

/// For files, and for a bucket whose filling takes the square of the size.
void FromThirty(benchmark::internal::Benchmark *pBenchmark)
{
    pBenchmark->Arg(30)->Arg(1000)->Arg(30000);
}

} // namespace

BENCHMARK(Crc<XELP_CRC_16, QAL_UINT16>)->Apply(FromThousand)->Complexity(benchmark::oN);
BENCHMARK(Crc<XELP_CRC_32, QAL_UINT32>)->Apply(FromThousand)->Complexity(benchmark::oN);
BENCHMARK(Md5)->Apply(FromThousand)->Complexity(benchmark::oN);
BENCHMARK(Base64Encode)->Apply(FromThousand)->Complexity(benchmark::oN);
BENCHMARK(Base64Decode)->Apply(FromThousand)->Complexity(benchmark::oN);

BENCHMARK(TakeFirstAndAppend<Linked>)->Apply(FromThousand)->Complexity(benchmark::o1);
BENCHMARK(FindLast<Linked>)->Apply(FromThousand)->Complexity(benchmark::oN);
BENCHMARK(Walk<Linked>)->Apply(FromThousand)->Complexity(benchmark::oN);
BENCHMARK(FillAndRelease<Linked>)->Apply(FromThousand)->Complexity(benchmark::oN);
BENCHMARK(TakeFirstAndAppend<Indexed>)->Apply(FromThousand)->Complexity(benchmark::o1);
BENCHMARK(FindLast<Indexed>)->Apply(FromThousand)->Complexity(benchmark::oN);
BENCHMARK(Walk<Indexed>)->Apply(FromThousand)->Complexity(benchmark::oN);
BENCHMARK(FillAndRelease<Indexed>)->Apply(FromThousand)->Complexity(benchmark::oN);
BENCHMARK(HashSaveAndRemove)->Apply(FromThousand)->Complexity(benchmark::o1);
BENCHMARK(HashFind)->Apply(FromThousand)->Complexity(benchmark::o1);
BENCHMARK(FillAndRelease<Table<SpreadHash>>)->Apply(FromThousand)->Complexity(benchmark::oN);
BENCHMARK(HashFindInOneBucket)->Apply(FromThirty)->Complexity(benchmark::oN);

BENCHMARK(IniLoad)->Apply(FromThirty)->Complexity(benchmark::oN);
BENCHMARK(IniCheck)->Apply(FromThirty)->Complexity(benchmark::oN);
BENCHMARK(IniLookUpInLastSection)->Apply(FromThirty)->Complexity(benchmark::o1);
BENCHMARK(IniLookUpInFirstSection)->Apply(FromThirty)->Complexity(benchmark::oN);
BENCHMARK(IniSetInFirstSection)->Apply(FromThirty)->Complexity(benchmark::oN);
BENCHMARK(IniLoadSetSave)->Apply(FromThirty)->Complexity(benchmark::oN);
