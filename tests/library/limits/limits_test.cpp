// Sizes at which small costs add up: a million lines, a million keys in one bucket, a line joined
// from a hundred thousand, lengths at the edge of 32 bits.
//
// The tests print the time they take. They run only with `ctest -C slow -L slow`.
#include <gtest/gtest.h>
#include <time.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "number_keys.h"
#include "os_adapter.h"
#include "temp_folder.h"
#include "wyx_commlib/commlib.h"

namespace wyx::test {
namespace {

constexpr QAL_UINT32 kMillion = 1000000;

/// Prints how much processor time its scope took; other programs do not add to it.
class Timed {
  public:
    explicit Timed(const char *pszWhat) : pszWhat_(pszWhat) {}
    ~Timed() { std::cout << "    " << pszWhat_ << ": " << Seconds() - start_ << " s" << std::endl; }
    Timed(const Timed &) = delete;
    Timed &operator=(const Timed &) = delete;

  private:
    static double Seconds()
    {
        timespec now;
        EXPECT_EQ(clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now), 0);
        return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
    }

    const char *pszWhat_;
    double start_ = Seconds();
};

char *Arg(const char *psz)
{
    return const_cast<char *>(psz);
}

// Loading grows the array by 50 slots at a time and copies it each time: 10^10 pointers in all for
// a million lines. An edit of the first section walks all lines.
TEST(Limits, MillionLines)
{
    const TempFolder folder;
    const std::string file = folder.File("big.ini");
    {
        std::ofstream out(file, std::ios::binary);
        out << "[first]\n";
        for (QAL_UINT32 i = 0; i + 3 < kMillion; ++i) {
            out << "key" << i << " = value ;note\n";
        }
        out << "[last]\nk=v\n";
    }
    XELP_IN_S_INI_FILE_STRUCT doc;
    {
        const Timed timed("load");
        ASSERT_EQ(XELP_IniGetFileContent(file.c_str(), &doc), 0U);
    }
    EXPECT_EQ(doc.ulLineNum, kMillion);
    EXPECT_EQ(doc.ulTotalLine, kMillion + 50);
    {
        const Timed timed("check");
        QAL_UINT32 ulLineNo = 0;
        EXPECT_EQ(XELP_IniCheckFile(&doc, &ulLineNo), 0U);
        EXPECT_EQ(ulLineNo, kMillion);
    }
    {
        const Timed timed("value of the first key");
        char *pszValue = nullptr;
        EXPECT_EQ(XELP_IniGetKeyValue(&doc, "first", "KEY0", &pszValue), 0U);
        EXPECT_STREQ(pszValue, "value");
        XELP_MemFreeD(pszValue, __LINE__, "a test");
    }
    {
        const Timed timed("list of keys");
        QAL_UINT32 ulCount = 0;
        char **ppszNames = nullptr;
        EXPECT_EQ(XELP_IniGetKeyList(&doc, "first", &ulCount, &ppszNames), 0U);
        EXPECT_EQ(ulCount, kMillion - 3);
        EXPECT_STREQ(ppszNames[ulCount - 1], ("key" + std::to_string(kMillion - 4)).c_str());
        XELP_IniFreeList(ppszNames);
    }
    {
        const Timed timed("insertion into the first section");
        EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg("first"), Arg("new"), Arg("1")), 0U);
        EXPECT_EQ(doc.ulLineNum, kMillion + 1);
    }
    {
        const Timed timed("deletion of the first section");
        EXPECT_EQ(XELP_IniDelSection(&doc, "first"), 0U);
    }
    {
        const Timed timed("save");
        EXPECT_EQ(XELP_IniSaveFileContent(file.c_str(), &doc), 0U);
    }
    std::ifstream in(file, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "[last]\nk=v\n");
}

TEST(Limits, LineOfAHundredThousandContinuations)
{
    constexpr int kLines = 100000;
    const TempFolder folder;
    const std::string file = folder.File("big.ini");
    {
        std::ofstream out(file, std::ios::binary);
        out << "[a]\nk=";
        for (int i = 0; i < kLines; ++i) {
            out << "\\\n";
        }
        out << "v\nx=1\n";
    }
    XELP_IN_S_INI_FILE_STRUCT doc;
    {
        const Timed timed("load");
        ASSERT_EQ(XELP_IniGetFileContent(file.c_str(), &doc), 0U);
    }
    EXPECT_EQ(doc.ulLineNum, 3U);
    EXPECT_EQ(doc.ulIniFileNum, 3U + kLines);
    EXPECT_STREQ(doc.pStrLine[1], "k=v\n");
    XELP_IniFreeIniStruct(&doc);

    // If each continued line adds a byte, the joined line is too long at the 512th.
    {
        std::ofstream out(file, std::ios::binary);
        for (int i = 0; i < kLines; ++i) {
            out << "x\\\n";
        }
    }
    EXPECT_EQ(XELP_IniGetFileContent(file.c_str(), &doc), XELP_ERR_INI_LINE_TOO_LONG);
    EXPECT_EQ(doc.pStrLine, nullptr);
}

// ---- the hash table ----

QAL_UINT32 HashToOneBucket(void *, QAL_UINT32 *pulHash)
{
    *pulHash = 7;
    return 0;
}

void ReleaseNothing(void *) {}

QAL_UINT32 Count(void *pCount, void *, void **)
{
    ++*static_cast<QAL_UINT32 *>(pCount);
    return 0;
}

// Each save compares the key with every key in its bucket: for a million keys that is 5 * 10^11
// comparisons, which take hours. So fewer are saved that way, and the bucket of a million is made
// by joining others.
TEST(Limits, MillionKeysInOneBucket)
{
    constexpr QAL_UINT32 kSaved = 20000;
    int iUser = 0;
    void *pTable = nullptr;
    ASSERT_EQ(
        XELP_Hash_Init(1, HashToOneBucket, CompareNumbers, ReleaseKey, ReleaseNothing, &pTable),
        0U);
    {
        const Timed timed("20,000 keys saved one after the other");
        for (QAL_UINT32 ul = 0; ul < kSaved; ++ul) {
            ASSERT_EQ(XELP_Hash_SaveNode(pTable, &ul, sizeof ul, &iUser), 0U);
        }
    }
    EXPECT_EQ(XELP_Hash_DeInit(pTable, XELP_HASH_FreeUserNode_Yes), 0U);

    ASSERT_EQ(
        XELP_Hash_Init(kMillion, HashNumber, CompareNumbers, ReleaseKey, ReleaseNothing, &pTable),
        0U);
    for (QAL_UINT32 ul = 0; ul < kMillion; ++ul) {
        ASSERT_EQ(XELP_Hash_SaveNode(pTable, &ul, sizeof ul, &iUser), 0U);
    }
    auto &head = *static_cast<Hash_S_Head *>(pTable);
    for (QAL_UINT32 ul = 1; ul < kMillion; ++ul) {
        head.pstruBase[ul]->pstruNNode = head.pstruBase[0];
        head.pstruBase[0] = head.pstruBase[ul];
        head.pstruBase[ul] = nullptr;
    }
    head.ulHashSize = 1;

    void *pUser = nullptr;
    QAL_UINT32 ulOldest = 0;
    {
        const Timed timed("search for the oldest of a million keys");
        EXPECT_EQ(XELP_Hash_QueryNode(pTable, &ulOldest, &pUser), 0U);
        EXPECT_EQ(pUser, &iUser);
    }
    {
        const Timed timed("one more key saved");
        QAL_UINT32 ulNew = kMillion;
        EXPECT_EQ(XELP_Hash_SaveNode(pTable, &ulNew, sizeof ulNew, &iUser), 0U);
    }
    {
        const Timed timed("walk");
        QAL_UINT32 ulCount = 0;
        EXPECT_EQ(XELP_Hash_Process_List(pTable, Count, &ulCount, nullptr), 0U);
        EXPECT_EQ(ulCount, kMillion + 1);
    }
    {
        const Timed timed("removal of the oldest");
        EXPECT_EQ(XELP_Hash_RemoveNode(pTable, &ulOldest, &pUser), 0U);
    }
    {
        const Timed timed("teardown");
        EXPECT_EQ(XELP_Hash_DeInit(pTable, XELP_HASH_FreeUserNode_Yes), 0U);
    }
}

// ---- the edges of 32 bits ----

/// How much memory the machine has available, in bytes.
std::uint64_t AvailableMemory()
{
    std::ifstream in("/proc/meminfo");
    for (std::string word; in >> word;) {
        if (word == "MemAvailable:") {
            std::uint64_t ullKib = 0;
            in >> ullKib;
            return ullKib * 1024;
        }
    }
    return 0;
}

constexpr std::uint64_t kGib = std::uint64_t{1} << 30;

#define WYX_NEEDS_MEMORY(gib)                                  \
    if (AvailableMemory() < (gib)*kGib) {                      \
        GTEST_SKIP() << "needs " << (gib) << " GiB of memory"; \
    }

QAL_UINT32 IsSame(const void *pCondition, void *pUser)
{
    return pCondition == pUser ? 0 : 1;
}

TEST(Limits, LargestTable)
{
    WYX_NEEDS_MEMORY(6);
    constexpr QAL_UINT32 kLargest = (0xFFFFFFFF - sizeof(Hash_S_Head)) / sizeof(Hash_S_Node *);
    void *pTable = nullptr;
    ASSERT_EQ(
        XELP_Hash_Init(kLargest, HashNumber, CompareNumbers, ReleaseKey, ReleaseNothing, &pTable),
        0U);
    int iUser = 0;
    void *pUser = nullptr;
    for (QAL_UINT32 ul : {0U, kLargest - 1, kLargest, 0xFFFFFFFFU}) {
        EXPECT_EQ(XELP_Hash_SaveNode(pTable, &ul, sizeof ul, &iUser), 0U);
        EXPECT_EQ(XELP_Hash_QueryNode(pTable, &ul, &pUser), 0U);
    }
    {
        const Timed timed("teardown of 536,870,904 buckets");
        EXPECT_EQ(XELP_Hash_DeInit(pTable, XELP_HASH_FreeUserNode_Yes), 0U);
    }
    // With one more bucket, the size no longer fits in 32 bits.
    EXPECT_EQ(XELP_Hash_Init(kLargest + 1, HashNumber, CompareNumbers, ReleaseKey, ReleaseNothing,
                             &pTable),
              XELP_ERR_HASH_MEMORY);
}

TEST(Limits, LargestList)
{
    WYX_NEEDS_MEMORY(6);
    constexpr QAL_UINT32 kLargest =
        (0xFFFFFFFF - sizeof(SLinkList_S_Head)) / sizeof(SLinkList_S_Node);
    void *pList = nullptr;
    {
        const Timed timed("268,435,452 slots chained");
        ASSERT_EQ(XELP_SLinkList_Init(kLargest, IsSame, ReleaseNothing, &pList), 0U);
    }
    int iUser = 0;
    void *pUser = nullptr;
    EXPECT_EQ(XELP_SLinkList_Insert(pList, &iUser, XELP_SLL_Insert_After_LastNode), 0U);
    EXPECT_EQ(SLinkList_Insert_FreeNode(pList, kLargest), XELP_ERR_SLL_INVALID_PARA);
    EXPECT_EQ(XELP_SLinkList_Remove_TailNode(pList, &pUser), 0U);
    EXPECT_EQ(pUser, &iUser);
    EXPECT_EQ(XELP_SLinkList_Deinit(pList, XELP_SLL_FreeUserNode_Yes), 0U);
    EXPECT_EQ(XELP_SLinkList_Init(kLargest + 1, IsSame, ReleaseNothing, &pList),
              XELP_ERR_SLL_MEMORY);
}

TEST(Limits, LongestBase64)
{
    WYX_NEEDS_MEMORY(11); // two blocks of 4 GiB, and the input
    constexpr QAL_INT32 kLongest = 1073741819;
    std::vector<QAL_UINT8> bytes(static_cast<std::size_t>(kLongest) + 1, QAL_UINT8{0xA7});
    QAL_UINT8 *pucText = nullptr;
    QAL_INT32 lTextLen = 0;
    {
        const Timed timed("1,073,741,819 bytes encoded");
        lTextLen = MOX_BASE64Encode(bytes.data(), kLongest, &pucText);
    }
    ASSERT_NE(pucText, nullptr);
    EXPECT_EQ(lTextLen, (kLongest + 2) / 3 * 4);
    // The decoder accepts two characters fewer: drop the padding and the character before it.
    QAL_UINT8 *pucBytes = nullptr;
    constexpr QAL_INT32 kLongestText = 1431655758;
    pucText[kLongestText] = '\0';
    {
        const Timed timed("1,431,655,758 characters decoded");
        const QAL_INT32 lLen = MOX_BASE64Decode(pucText, kLongestText, &pucBytes);
        ASSERT_NE(pucBytes, nullptr);
        EXPECT_GE(lLen, kLongest - 1);
        EXPECT_EQ(std::memcmp(pucBytes, bytes.data(), static_cast<std::size_t>(lLen)), 0);
    }
    MOX_BASE64Free(&pucBytes);
    MOX_BASE64Free(&pucText);
    EXPECT_EQ(MOX_BASE64Encode(bytes.data(), kLongest + 1, &pucText), 0);
    EXPECT_EQ(pucText, nullptr);
}

TEST(Limits, OctetOf256Mebibytes)
{
    std::string text = std::string(kGib / 4, '0') + "1.2.3.4:" + std::string(1000, '0') + "80";
    QAL_UINT32 ulAddr = 0;
    QAL_UINT16 uwPort = 0;
    const Timed timed("268,435,456 zeros read");
    EXPECT_EQ(XELP_Parse_IPV4(text.data(), &ulAddr, &uwPort), XELP_OK_HAVE_PORT);
    EXPECT_EQ(ulAddr, 0x01020304U);
    EXPECT_EQ(uwPort, 80);
}

} // namespace
} // namespace wyx::test
