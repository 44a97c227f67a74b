// How the cost of an operation grows with its size: growth_bench [--only TEXT]
//
// Each row measures an operation at sizes that grow by kStep and compares the cost per element at
// neighbouring sizes. A cost in proportion to the size leaves it equal, except where the data
// outgrows a cache; a quadratic one multiplies it by kStep. The program fails if it grows by more
// than kBound between two sizes, except for rows whose growth is by design and says so. The last
// row is quadratic on purpose: the program fails, too, if it does not notice that.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "os_adapter.h"
#include "our_lists.h"
#include "wyx_commlib/commlib.h"

namespace {

constexpr std::size_t kStep = 32;
constexpr double kBound = 5; // caches alone reach 2 or 3
constexpr double kBatchSeconds = 0.002;
constexpr int kBatches = 7;

template <typename T>
void Keep(const T &value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

void Check(QAL_UINT32 ulStatus, const char *pszWhat)
{
    if (ulStatus != 0) {
        std::fprintf(stderr, "growth_bench: %s failed (%u)\n", pszWhat, ulStatus);
        std::abort();
    }
}

/// One operation, constructed for a size and destroyed before the next size.
using Operation = std::function<void()>;

enum class Cost { kPerCall, kPerElement };

struct Row {
    const char *pszName;
    Cost cost;
    std::vector<std::size_t> sizes;
    std::function<Operation(std::size_t)> make;
    const char *pszByDesign = nullptr; ///< why it may grow faster; null: it must not
};

double Seconds(const Operation &operation, std::size_t repeats)
{
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < repeats; ++i) {
        operation();
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Nanoseconds of one call in the fastest batch: other work on the machine only adds time.
double Fastest(const Operation &operation)
{
    std::size_t repeats = 1;
    double best = Seconds(operation, repeats);
    while (best * static_cast<double>(repeats) < kBatchSeconds) {
        repeats *= 2;
        best = Seconds(operation, repeats) / static_cast<double>(repeats);
    }
    for (int i = 0; i < kBatches; ++i) {
        best = std::min(best, Seconds(operation, repeats) / static_cast<double>(repeats));
    }
    return best * 1e9;
}

/// The largest growth of the cost between neighbouring sizes; prints the row.
double Measure(const Row &row)
{
    std::printf("%-34s", row.pszName);
    double growth = 0;
    double before = 0;
    for (const std::size_t size : row.sizes) {
        const double ns = Fastest(row.make(size)) /
                          (row.cost == Cost::kPerElement ? static_cast<double>(size) : 1);
        growth = before == 0 ? 0 : std::max(growth, ns / before);
        before = ns;
        std::printf(" %9.2f", ns);
    }
    std::printf("  x%.1f", growth);
    return growth;
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
Operation Crc(std::size_t size)
{
    return [bytes = Bytes(size)] {
        Value crc = 0;
        kCrc(bytes.data(), static_cast<QAL_UINT32>(bytes.size()), &crc);
        Keep(crc);
    };
}

Operation Md5(std::size_t size)
{
    return [bytes = Bytes(size)] {
        MD5_S_CTX context;
        QAL_UINT8 aucDigest[16];
        XELP_MD5_Init(&context);
        XELP_MD5_Update(&context, bytes.data(), static_cast<QAL_UINT>(bytes.size()));
        XELP_MD5_Final(aucDigest, &context);
        Keep(aucDigest);
    };
}

Operation Base64Encode(std::size_t size)
{
    return [bytes = Bytes(size)]() mutable {
        QAL_UINT8 *pucText = nullptr;
        MOX_BASE64Encode(bytes.data(), static_cast<QAL_INT32>(bytes.size()), &pucText);
        MOX_BASE64Free(&pucText);
    };
}

Operation Base64Decode(std::size_t size)
{
    std::vector<QAL_UINT8> text(size + 1, 'A'); // the byte after the text is read
    return [text]() mutable {
        QAL_UINT8 *pucBytes = nullptr;
        MOX_BASE64Decode(text.data(), static_cast<QAL_INT32>(text.size() - 1), &pucBytes);
        MOX_BASE64Free(&pucBytes);
    };
}

// ---- containers ---------------------------------------------------------------------------------

QAL_UINT32 IsSame(const void *pWanted, void *pNumber)
{
    return pWanted != pNumber;
}

QAL_UINT32 Visit(void * /*condition*/, void *pNumber, void ** /*other*/)
{
    Keep(pNumber);
    return 0;
}

void LeaveAlone(void * /*pNumber*/) {}

template <typename OurList>
struct List {
    explicit List(std::size_t size) : numbers(size), list(static_cast<QAL_UINT32>(size), IsSame)
    {
        for (std::uint32_t &number : numbers) {
            list.Append(&number);
        }
    }
    std::vector<std::uint32_t> numbers;
    OurList list;
};

using Linked = List<wyx::bench::OurLinked>;
using Indexed = List<wyx::bench::OurIndexed>;

template <typename List>
Operation TakeFirstAndAppend(std::size_t size)
{
    return [list = std::make_shared<List>(size)] { list->list.Append(list->list.TakeFirst()); };
}

template <typename List>
Operation FindLast(std::size_t size)
{
    return [list = std::make_shared<List>(size)] { Keep(list->list.Find(&list->numbers.back())); };
}

template <typename List>
Operation Walk(std::size_t size)
{
    return [list = std::make_shared<List>(size)] { list->list.Walk(Visit, nullptr); };
}

template <typename Container>
Operation FillAndRelease(std::size_t size)
{
    return [size] { const Container container(size); };
}

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
struct Table {
    explicit Table(std::size_t size) : numbers(size)
    {
        Check(XELP_Hash_Init(static_cast<QAL_UINT32>(size), pfunHash, CompareKeys, ReleaseKey,
                             LeaveAlone, &pTable),
              "XELP_Hash_Init");
        for (std::size_t i = 0; i < size; ++i) {
            numbers[i] = static_cast<std::uint32_t>(i);
            Save(&numbers[i]);
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
    std::vector<std::uint32_t> numbers;
    void *pTable = nullptr;
};

Operation HashSaveAndRemove(std::size_t size)
{
    return [table = std::make_shared<Table<SpreadHash>>(size)] {
        table->Remove(&table->numbers.back());
        table->Save(&table->numbers.back());
    };
}

Operation HashFind(std::size_t size)
{
    return [table = std::make_shared<Table<SpreadHash>>(size)] {
        table->Find(&table->numbers.back());
    };
}

Operation HashFindInOneBucket(std::size_t size)
{
    return [table = std::make_shared<Table<OneBucket>>(size)] {
        table->Find(&table->numbers.front()); // the first one saved is the last of the chain
    };
}

// ---- INI ----------------------------------------------------------------------------------------

/// A file in memory: a header every ten lines.
class IniFile {
  public:
    explicit IniFile(std::size_t lines)
        : name_("/dev/shm/growth_bench." + std::to_string(getpid()) + ".ini"), lines_(lines)
    {
        std::ofstream file(name_, std::ios::binary);
        for (std::size_t i = 0; i < lines; ++i) {
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
    static std::string Section(std::size_t i) { return "section" + std::to_string(i); }
    std::string LastSection() const { return Section((lines_ - 1) / 10); }

  private:
    std::string name_;
    std::size_t lines_;
};

struct Document {
    explicit Document(const IniFile &file)
    {
        Check(XELP_IniGetFileContent(file.Name(), &record), "load");
    }
    explicit Document(std::size_t lines) : Document(IniFile(lines)) {}
    ~Document() { XELP_IniFreeIniStruct(&record); }
    Document(const Document &) = delete;
    XELP_IN_S_INI_FILE_STRUCT record;
};

void Set(Document &document, std::string section, std::string key)
{
    char szValue[] = "another";
    Check(XELP_IniSetKeyValue(&document.record, section.data(), key.data(), szValue), "set");
}

Operation IniLoad(std::size_t lines)
{
    return [file = std::make_shared<IniFile>(lines)] { const Document document(*file); };
}

Operation IniCheck(std::size_t lines)
{
    return [document = std::make_shared<Document>(lines)] {
        QAL_UINT32 ulLine = 0;
        Check(XELP_IniCheckFile(&document->record, &ulLine), "check");
    };
}

Operation LookUp(std::size_t lines, const std::string &section)
{
    return [document = std::make_shared<Document>(lines), section] {
        QAL_INT8 *pszValue = nullptr;
        Check(XELP_IniGetKeyValue(&document->record, section.c_str(), "key5", &pszValue),
              "look-up");
        XELP_MemFreeD(pszValue, __LINE__, __FILE__);
    };
}

Operation IniLookUpInLastSection(std::size_t lines)
{
    return LookUp(lines, IniFile::Section((lines - 1) / 10));
}

Operation IniLookUpInFirstSection(std::size_t lines)
{
    return LookUp(lines, IniFile::Section(0));
}

Operation IniSetInFirstSection(std::size_t lines)
{
    return [document = std::make_shared<Document>(lines)] {
        Set(*document, IniFile::Section(0), "key5");
    };
}

Operation IniLoadSetSave(std::size_t lines)
{
    return [file = std::make_shared<IniFile>(lines)] {
        Document document(*file);
        Set(document, file->LastSection(), "key5");
        Check(XELP_IniSaveFileContent(file->Name(), &document.record), "save");
    };
}

Operation IniSetManyNewKeys(std::size_t keys)
{
    return [keys] {
        Document document(std::size_t{10});
        for (std::size_t i = 0; i < keys; ++i) {
            Set(document, IniFile::Section(0), "new" + std::to_string(i));
        }
    };
}

// ---- what must be noticed -----------------------------------------------------------------------

/// The last element of each prefix, found by walking it.
Operation Quadratic(std::size_t size)
{
    return [bytes = Bytes(size)] {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            QAL_UINT32 ulSum = 0;
            for (std::size_t j = 0; j < i; ++j) {
                ulSum = ulSum * 31 + bytes[j];
            }
            Keep(ulSum);
        }
    };
}

const std::vector<std::size_t> kBytes = {1000, 32000, 1024000};
const std::vector<std::size_t> kElements = {1000, 32000};
const std::vector<std::size_t> kFew = {30, 960};

const Row kRows[] = {
    {"CRC-16", Cost::kPerElement, kBytes, Crc<XELP_CRC_16, QAL_UINT16>},
    {"CRC-32", Cost::kPerElement, kBytes, Crc<XELP_CRC_32, QAL_UINT32>},
    {"MD5", Cost::kPerElement, kBytes, Md5},
    {"Base64 encode", Cost::kPerElement, kBytes, Base64Encode},
    {"Base64 decode", Cost::kPerElement, kBytes, Base64Decode},
    {"dlink take first and append", Cost::kPerCall, kElements, TakeFirstAndAppend<Linked>},
    {"dlink find last", Cost::kPerElement, kElements, FindLast<Linked>},
    {"dlink walk", Cost::kPerElement, kElements, Walk<Linked>},
    {"dlink fill and release", Cost::kPerElement, kElements, FillAndRelease<Linked>},
    {"slink take first and append", Cost::kPerCall, kElements, TakeFirstAndAppend<Indexed>},
    {"slink find last", Cost::kPerElement, kElements, FindLast<Indexed>},
    {"slink walk", Cost::kPerElement, kElements, Walk<Indexed>},
    {"slink fill and release", Cost::kPerElement, kElements, FillAndRelease<Indexed>},
    {"hash save and remove", Cost::kPerCall, kElements, HashSaveAndRemove},
    {"hash find", Cost::kPerCall, kElements, HashFind},
    {"hash fill and release", Cost::kPerElement, kElements, FillAndRelease<Table<SpreadHash>>},
    {"hash find in a chain of all", Cost::kPerElement, kFew, HashFindInOneBucket},
    {"hash fill one bucket", Cost::kPerElement, kFew, FillAndRelease<Table<OneBucket>>,
     "each save compares with the whole chain"},
    {"INI load", Cost::kPerElement, {30, 960, 30720}, IniLoad},
    {"INI check", Cost::kPerElement, kElements, IniCheck},
    {"INI look-up, last section", Cost::kPerCall, kElements, IniLookUpInLastSection},
    {"INI look-up, first section", Cost::kPerElement, kElements, IniLookUpInFirstSection},
    {"INI set, first section", Cost::kPerElement, kElements, IniSetInFirstSection},
    {"INI load, set, save", Cost::kPerElement, kElements, IniLoadSetSave},
    {"INI set many new keys", Cost::kPerElement, kFew, IniSetManyNewKeys,
     "each set searches the document and moves the lines after the new one"},
};

const Row kPlanted = {"planted: quadratic", Cost::kPerElement, kFew, Quadratic};

} // namespace

int main(int argc, char **argv)
{
    const char *const pszOnly = argc == 3 && std::strcmp(argv[1], "--only") == 0 ? argv[2] : "";
    std::printf("ns per element or call, at sizes that grow %zu-fold; bound: x%.0f\n", kStep,
                kBound);
    int iMeasured = 0;
    bool isGood = true;
    for (const Row &row : kRows) {
        if (std::strstr(row.pszName, pszOnly) == nullptr) {
            continue;
        }
        ++iMeasured;
        double growth = Measure(row);
        if (row.pszByDesign != nullptr) {
            std::printf("  by design: %s\n", row.pszByDesign);
            continue;
        }
        if (growth > kBound) { // again: a busy machine may have disturbed it
            std::printf("  again:\n");
            growth = Measure(row);
        }
        std::printf("%s\n", growth > kBound ? "  TOO MUCH" : "");
        isGood = isGood && growth <= kBound;
    }
    const double planted = Measure(kPlanted);
    std::printf("%s\n", planted > kBound ? "  noticed" : "  NOT NOTICED");
    if (iMeasured == 0) {
        std::fprintf(stderr, "growth_bench: no row has \"%s\" in its name\n", pszOnly);
        return 2;
    }
    return isGood && planted > kBound ? 0 : 1;
}
