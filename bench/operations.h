// The operations that the benchmarks measure, each constructed for a size.
#ifndef WYX_BENCH_OPERATIONS_H
#define WYX_BENCH_OPERATIONS_H

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "os_adapter.h"
#include "our_lists.h"
#include "wyx_commlib/commlib.h"

namespace wyx::bench {

template <typename T>
void Keep(const T &value)
{
    asm volatile("" : : "r"(&value) : "memory");
}

inline void Check(QAL_UINT32 ulStatus, const char *pszWhat)
{
    if (ulStatus != 0) {
        std::fprintf(stderr, "%s failed (%u)\n", pszWhat, ulStatus);
        std::abort();
    }
}

/// One operation, constructed for a size and destroyed before the next size.
using Operation = std::function<void()>;

// ---- bytes --------------------------------------------------------------------------------------

inline std::vector<QAL_UINT8> Bytes(std::size_t size)
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

inline Operation Md5(std::size_t size)
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

inline Operation Base64Encode(std::size_t size)
{
    return [bytes = Bytes(size)]() mutable {
        QAL_UINT8 *pucText = nullptr;
        MOX_BASE64Encode(bytes.data(), static_cast<QAL_INT32>(bytes.size()), &pucText);
        MOX_BASE64Free(&pucText);
    };
}

/// @p size is the number of bytes that the text encodes.
inline Operation Base64Decode(std::size_t size)
{
    QAL_UINT8 *pucEncoded = nullptr;
    const QAL_INT32 lLen =
        MOX_BASE64Encode(Bytes(size).data(), static_cast<QAL_INT32>(size), &pucEncoded);
    std::vector<QAL_UINT8> text(pucEncoded, pucEncoded + lLen + 1); // the NUL is read, too
    MOX_BASE64Free(&pucEncoded);
    return [text]() mutable {
        QAL_UINT8 *pucBytes = nullptr;
        MOX_BASE64Decode(text.data(), static_cast<QAL_INT32>(text.size() - 1), &pucBytes);
        MOX_BASE64Free(&pucBytes);
    };
}

// ---- containers ---------------------------------------------------------------------------------

inline QAL_UINT32 IsSame(const void *pWanted, void *pNumber)
{
    return pWanted != pNumber;
}

inline QAL_UINT32 Visit(void * /*condition*/, void *pNumber, void ** /*other*/)
{
    Keep(pNumber);
    return 0;
}

inline void LeaveAlone(void * /*pNumber*/) {}

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

inline QAL_UINT32 SpreadHash(void *pKey, QAL_UINT32 *pulHash)
{
    std::memcpy(pulHash, pKey, sizeof *pulHash);
    *pulHash *= 0x9E3779B1;
    return 0;
}

inline QAL_UINT32 OneBucket(void * /*pKey*/, QAL_UINT32 *pulHash)
{
    *pulHash = 0;
    return 0;
}

inline QAL_UINT32 CompareKeys(void *pKey, void *pStored)
{
    return std::memcmp(pKey, pStored, sizeof(std::uint32_t)) != 0;
}

inline void ReleaseKey(void *pKey)
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

inline Operation HashSaveAndRemove(std::size_t size)
{
    return [table = std::make_shared<Table<SpreadHash>>(size)] {
        table->Remove(&table->numbers.back());
        table->Save(&table->numbers.back());
    };
}

inline Operation HashFind(std::size_t size)
{
    return [table = std::make_shared<Table<SpreadHash>>(size)] {
        table->Find(&table->numbers.back());
    };
}

inline Operation HashFindInOneBucket(std::size_t size)
{
    return [table = std::make_shared<Table<OneBucket>>(size)] {
        table->Find(&table->numbers.front()); // the first key saved is the last of the chain
    };
}

// ---- INI ----------------------------------------------------------------------------------------

inline std::string Section(std::size_t i)
{
    return "section" + std::to_string(i);
}

inline std::string LastSection(std::size_t lines)
{
    return Section((lines - 1) / 10);
}

/// A folder in memory if possible, because the times of a disk vary.
inline std::string FolderOfFiles()
{
    const char *const pszMemory = "/dev/shm";
    return access(pszMemory, W_OK) == 0 ? pszMemory
                                        : std::filesystem::temp_directory_path().string();
}

/// An INI file with a header every ten lines and about 25 bytes per line.
class IniFile {
  public:
    explicit IniFile(std::size_t lines)
    {
        close(mkstemp(name_.data()));
        std::ofstream file(name_, std::ios::binary);
        for (std::size_t i = 0; i < lines; ++i) {
            if (i % 10 == 0) {
                file << "[" << Section(i / 10) << "]\n";
            } else {
                file << "key" << i % 10 << " = a value, number " << i << "\n";
            }
        }
    }
    ~IniFile() { std::remove(name_.c_str()); }
    IniFile(const IniFile &) = delete;
    const char *Name() const { return name_.c_str(); }

  private:
    // mkstemp() keeps this length: a longer name would cost more.
    std::string name_ = FolderOfFiles() + "/wyx_bench.XXXXXX";
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

inline void Set(Document &document, std::string section, std::string key)
{
    char szValue[] = "another";
    Check(XELP_IniSetKeyValue(&document.record, section.data(), key.data(), szValue), "set");
}

inline Operation IniLoad(std::size_t lines)
{
    return [file = std::make_shared<IniFile>(lines)] { const Document document(*file); };
}

inline Operation IniCheck(std::size_t lines)
{
    return [document = std::make_shared<Document>(lines)] {
        QAL_UINT32 ulLine = 0;
        Check(XELP_IniCheckFile(&document->record, &ulLine), "check");
    };
}

inline Operation LookUp(std::size_t lines, const std::string &section)
{
    return [document = std::make_shared<Document>(lines), section] {
        QAL_INT8 *pszValue = nullptr;
        Check(XELP_IniGetKeyValue(&document->record, section.c_str(), "key5", &pszValue),
              "look-up");
        XELP_MemFreeD(pszValue, __LINE__, __FILE__);
    };
}

inline Operation IniLookUpInLastSection(std::size_t lines)
{
    return LookUp(lines, LastSection(lines));
}

inline Operation IniLookUpInFirstSection(std::size_t lines)
{
    return LookUp(lines, Section(0));
}

inline Operation IniListSections(std::size_t lines)
{
    return [document = std::make_shared<Document>(lines)] {
        QAL_UINT32 ulCount = 0;
        QAL_INT8 **ppszNames = nullptr;
        Check(XELP_IniGetSectionList(&document->record, &ulCount, &ppszNames), "sections");
        XELP_IniFreeList(ppszNames);
    };
}

inline Operation IniListKeys(std::size_t lines)
{
    return [document = std::make_shared<Document>(lines), section = LastSection(lines)] {
        QAL_UINT32 ulCount = 0;
        QAL_INT8 **ppszNames = nullptr;
        Check(XELP_IniGetKeyList(&document->record, section.c_str(), &ulCount, &ppszNames), "keys");
        XELP_IniFreeList(ppszNames);
    };
}

inline Operation IniSetInLastSection(std::size_t lines)
{
    return [document = std::make_shared<Document>(lines), section = LastSection(lines)] {
        Set(*document, section, "key5");
    };
}

inline Operation IniAddAndDelete(std::size_t lines)
{
    return [document = std::make_shared<Document>(lines), section = LastSection(lines)] {
        Set(*document, section, "new");
        Check(XELP_IniDelKey(&document->record, section.c_str(), "new"), "delete");
    };
}

inline Operation IniSetInFirstSection(std::size_t lines)
{
    return [document = std::make_shared<Document>(lines)] { Set(*document, Section(0), "key5"); };
}

inline Operation IniLoadSetSave(std::size_t lines)
{
    return [file = std::make_shared<IniFile>(lines), section = LastSection(lines)] {
        Document document(*file);
        Set(document, section, "key5");
        Check(XELP_IniSaveFileContent(file->Name(), &document.record), "save");
    };
}

inline Operation IniSetManyNewKeys(std::size_t keys)
{
    return [keys] {
        Document document(std::size_t{10});
        for (std::size_t i = 0; i < keys; ++i) {
            Set(document, Section(0), "new" + std::to_string(i));
        }
    };
}

} // namespace wyx::bench

#endif
