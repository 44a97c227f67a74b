// Many threads at once: each with its own objects, and all reading one document.
//
// The checks here only see wrong results; built with the thread sanitizer (preset tsan), the test
// also reports accesses that are not ordered. It runs on the default adapter, because the services
// must be safe to call from any thread.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <barrier>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "number_keys.h"
#include "os_adapter.h"
#include "temp_folder.h"
#include "wyx_commlib/commlib.h"

namespace wyx::test {
namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 40;

thread_local bool g_flushFails = false; ///< makes the calling thread's fsync() fail
std::atomic<int> g_failedFlushes = 0;

} // namespace
} // namespace wyx::test

// Replaces the C library's fsync(), which the adapter calls.
extern "C" int fsync(int iFile)
{
    if (wyx::test::g_flushFails) {
        ++wyx::test::g_failedFlushes;
        errno = EIO;
        return -1;
    }
    return static_cast<int>(syscall(SYS_fsync, iFile));
}

namespace wyx::test {
namespace {

/// Runs @p work in several threads that start together; its argument is the thread's number.
template <typename Work>
void InThreads(Work work)
{
    std::atomic<int> ready = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            ++ready;
            while (ready < kThreads) {
                std::this_thread::yield();
            }
            work(i);
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

char *Arg(const char *psz)
{
    return const_cast<char *>(psz);
}

/// The value of a key; releases it.
std::string ValueOf(const XELP_IN_S_INI_FILE_STRUCT &doc, const char *pszSection,
                    const char *pszKey)
{
    char *pszValue = nullptr;
    if (XELP_IniGetKeyValue(&doc, pszSection, pszKey, &pszValue) != 0 || pszValue == nullptr) {
        return "(none)";
    }
    const std::string value = pszValue;
    XELP_MemFreeD(pszValue, __LINE__, "a test");
    return value;
}

TEST(Threads, ManyReadersOfOneDocument)
{
    const TempFolder folder;
    const std::string file = folder.File("shared.ini");
    {
        std::ofstream out(file);
        for (int i = 0; i < 20; ++i) {
            out << "[s" << i << "] ;section\n; about\nk=" << i << " ;note\nx = \"a ;b\"\n";
        }
    }
    XELP_IN_S_INI_FILE_STRUCT doc;
    ASSERT_EQ(XELP_IniGetFileContent(file.c_str(), &doc), 0U);
    InThreads([&](int) {
        for (int i = 0; i < kRounds; ++i) {
            const int at = i % 20;
            EXPECT_EQ(ValueOf(doc, ("S" + std::to_string(at)).c_str(), "K"), std::to_string(at));
            EXPECT_EQ(ValueOf(doc, "s3", "x"), "\"a ;b\"");
            QAL_UINT32 ulCount = 0;
            char **ppszNames = nullptr;
            EXPECT_EQ(XELP_IniGetSectionList(&doc, &ulCount, &ppszNames), 0U);
            EXPECT_EQ(ulCount, 20U);
            XELP_IniFreeList(ppszNames);
            EXPECT_EQ(XELP_IniGetKeyList(&doc, "s7", &ulCount, &ppszNames), 0U);
            EXPECT_EQ(ulCount, 2U);
            XELP_IniFreeList(ppszNames);
            QAL_UINT32 ulLineNo = 0;
            EXPECT_EQ(XELP_IniCheckFile(&doc, &ulLineNo), 0U);
        }
    });
    XELP_IniFreeIniStruct(&doc);
}

TEST(Threads, EachThreadHasADocument)
{
    const TempFolder folder;
    InThreads([&](int iThread) {
        const std::string file = folder.File("own" + std::to_string(iThread) + ".ini");
        std::ofstream(file) << "[a]\nk=0\n";
        for (int i = 1; i <= kRounds / 4; ++i) {
            XELP_IN_S_INI_FILE_STRUCT doc;
            EXPECT_EQ(XELP_IniGetFileContent(file.c_str(), &doc), 0U);
            EXPECT_EQ(ValueOf(doc, "a", "k"), std::to_string(i - 1));
            EXPECT_EQ(XELP_IniSetKeyValue(&doc, Arg("a"), Arg("k"), std::to_string(i).data()), 0U);
            EXPECT_EQ(XELP_IniSaveFileContent(file.c_str(), &doc), 0U);
        }
    });
}

// Only the threads whose flush failed get the failure from their next rename; the files of the
// other threads are renamed.
TEST(Threads, FailureToCloseStaysWithItsThread)
{
    const TempFolder folder;
    std::barrier everyone(kThreads);
    InThreads([&](int iThread) {
        const std::string name = folder.File("f" + std::to_string(iThread) + ".txt");
        const std::string newName = name + "x";
        for (int i = 0; i < kRounds; ++i) {
            const bool fails = (iThread + i) % 3 == 0;
            XELP_S_File *const pstruFile = XELP_Fopen(name.c_str(), "w");
            EXPECT_NE(pstruFile, nullptr);
            EXPECT_EQ(XELP_Fwrite("abc", 1, 3, pstruFile), 3U);
            g_flushFails = fails;
            EXPECT_EQ(XELP_Fclose(pstruFile) != 0, fails);
            g_flushFails = false;
            everyone.arrive_and_wait();
            EXPECT_EQ(XELP_Rename(name.c_str(), newName.c_str()) != 0, fails);
            if (fails) { // reported once
                EXPECT_EQ(XELP_Rename(name.c_str(), newName.c_str()), 0);
            }
            EXPECT_EQ(XELP_Remove(newName.c_str()), 0);
            everyone.arrive_and_wait();
        }
    });
    EXPECT_GT(g_failedFlushes, kThreads * kRounds / 4);
}

QAL_UINT32 IsSame(const void *pCondition, void *pUser)
{
    return pCondition == pUser ? 0 : 1;
}

void Increment(void *pUser)
{
    ++*static_cast<int *>(pUser);
}

TEST(Threads, EachThreadHasLists)
{
    InThreads([&](int) {
        for (int i = 0; i < kRounds; ++i) {
            std::array<int, 50> users{};
            void *pDouble = nullptr;
            void *pStatic = nullptr;
            EXPECT_EQ(XELP_DLinkList_Init(IsSame, Increment, &pDouble), 0U);
            EXPECT_EQ(XELP_SLinkList_Init(50, IsSame, Increment, &pStatic), 0U);
            for (int &user : users) {
                EXPECT_EQ(XELP_DLinkList_Insert(pDouble, &user, XELP_DLL_Insert_Front_CurNode), 0U);
                EXPECT_EQ(XELP_SLinkList_Insert(pStatic, &user, XELP_SLL_Insert_After_CurNode), 0U);
            }
            EXPECT_EQ(XELP_DLinkList_Delete(pDouble, &users[7], nullptr), 0U);
            EXPECT_EQ(XELP_SLinkList_Delete(pStatic, &users[7], nullptr), 0U);
            EXPECT_EQ(XELP_DLinkList_Deinit(pDouble, XELP_DLL_FreeUserNode_Yes), 0U);
            EXPECT_EQ(XELP_SLinkList_Deinit(pStatic, XELP_SLL_FreeUserNode_Yes), 0U);
            for (const int user : users) {
                EXPECT_EQ(user, 2);
            }
        }
    });
}

TEST(Threads, EachThreadHasATable)
{
    InThreads([&](int) {
        for (int i = 0; i < kRounds; ++i) {
            std::array<int, 50> users{};
            void *pTable = nullptr;
            EXPECT_EQ(XELP_Hash_Init(7, HashNumber, CompareNumbers, ReleaseKey, Increment, &pTable),
                      0U);
            for (QAL_UINT32 ul = 0; ul < users.size(); ++ul) {
                EXPECT_EQ(XELP_Hash_SaveNode(pTable, &ul, sizeof ul, &users[ul]), 0U);
            }
            QAL_UINT32 ulKey = 13;
            EXPECT_EQ(XELP_Hash_DeleteNode(pTable, &ulKey), 0U);
            EXPECT_EQ(XELP_Hash_DeInit(pTable, XELP_HASH_FreeUserNode_Yes), 0U);
            for (const int user : users) {
                EXPECT_EQ(user, 1);
            }
        }
    });
}

TEST(Threads, ChecksumsBase64AndAddresses)
{
    InThreads([&](int) {
        for (int i = 0; i < kRounds; ++i) {
            QAL_UINT8 aucDigits[] = "123456789";
            QAL_UINT16 uwCrc = 0;
            QAL_UINT32 ulCrc = 0;
            EXPECT_EQ(XELP_CRC_16(aucDigits, 9, &uwCrc), 0U);
            EXPECT_EQ(uwCrc, 0x31C3);
            EXPECT_EQ(XELP_CRC_32(aucDigits, 9, &ulCrc), 0U);
            EXPECT_EQ(ulCrc, 0x2DFD2D88U);
            MD5_S_CTX context;
            std::array<QAL_UINT8, 16> digest{};
            XELP_MD5_Init(&context);
            XELP_MD5_Update(&context, reinterpret_cast<const QAL_UINT8 *>("abc"), 3);
            XELP_MD5_Final(digest.data(), &context);
            EXPECT_EQ(digest[0], 0x90);
            QAL_UINT8 *pucText = nullptr;
            QAL_UINT8 *pucBytes = nullptr;
            EXPECT_EQ(MOX_BASE64Encode(aucDigits, 9, &pucText), 12);
            EXPECT_EQ(MOX_BASE64Decode(pucText, 12, &pucBytes), 9);
            EXPECT_EQ(std::memcmp(pucBytes, aucDigits, 9), 0);
            MOX_BASE64Free(&pucText);
            MOX_BASE64Free(&pucBytes);
            char szIpv4[] = "10.0.0.1:80";
            char szIpv6[] = "[1:2::3]:80";
            QAL_UINT32 ulAddr = 0;
            QAL_UINT16 uwPort = 0;
            std::array<QAL_UINT8, 16> address{};
            EXPECT_EQ(XELP_Parse_IPV4(szIpv4, &ulAddr, &uwPort), XELP_OK_HAVE_PORT);
            EXPECT_EQ(ulAddr, 0x0A000001U);
            EXPECT_EQ(XELP_Parse_IPV6(szIpv6, address.data(), &uwPort), 0U);
            EXPECT_EQ(uwPort, 80);
        }
    });
}

} // namespace
} // namespace wyx::test
