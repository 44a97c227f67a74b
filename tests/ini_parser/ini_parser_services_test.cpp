// How the module calls the bounded routines: a client's own adapter may rely on the bounds.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bounded.h"
#include "ini_support.h"

namespace {

/// The calls: "memset 24 0 24" (bound, byte, count), "memcpy 480 80" (bound, count), and
/// "strcpy 4 ...", "strcat 20 ...", "sprintf 512 ..." (bound, then the text in quotation marks).
std::vector<std::string> calls;

void Record(const char *pszWhat, QAL_ULONG ulMax, const std::string &what)
{
    calls.push_back(pszWhat + (' ' + std::to_string(ulMax)) + ' ' + what);
}

} // namespace

extern "C" {

QAL_INT32 wyx_memcpy_s(void *pDest, QAL_ULONG ulDestMax, const void *pSrc, QAL_ULONG ulCount)
{
    Record("memcpy", ulDestMax, std::to_string(ulCount));
    std::memcpy(pDest, pSrc, ulCount);
    return 0;
}

QAL_INT32 wyx_memset_s(void *pDest, QAL_ULONG ulDestMax, QAL_INT32 lByte, QAL_ULONG ulCount)
{
    Record("memset", ulDestMax, std::to_string(lByte) + " " + std::to_string(ulCount));
    std::memset(pDest, lByte, ulCount);
    return 0;
}

QAL_INT32 wyx_strcpy_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszSrc)
{
    Record("strcpy", ulDestMax, wyx::test::Shown(pszSrc));
    std::memcpy(pszDest, pszSrc, std::strlen(pszSrc) + 1);
    return 0;
}

QAL_INT32 wyx_strcat_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszSrc)
{
    Record("strcat", ulDestMax, wyx::test::Shown(pszSrc));
    std::memcpy(pszDest + std::strlen(pszDest), pszSrc, std::strlen(pszSrc) + 1);
    return 0;
}

QAL_INT32 wyx_sprintf_s(QAL_CHAR *pszDest, QAL_ULONG ulDestMax, const QAL_CHAR *pszFormat, ...)
{
    va_list arguments;
    va_start(arguments, pszFormat);
    const int iLength = std::vsnprintf(pszDest, ulDestMax, pszFormat, arguments);
    va_end(arguments);
    Record("sprintf", ulDestMax, wyx::test::Shown(pszDest));
    return iLength;
}

} // extern "C"

namespace wyx::test {
namespace {

using Calls = std::vector<std::string>;

class IniServices : public PlatformTest {
  protected:
    void SetUp() override
    {
        PlatformTest::SetUp();
        platform.UseMemoryDisk();
        calls.clear();
    }
};

TEST_F(IniServices, Load)
{
    platform.MemoryDisk()->emplace("f", "a=1");
    Document doc;
    ASSERT_EQ(XELP_IniGetFileContent("f", &doc), kOk);
    EXPECT_EQ(calls, (Calls{"memset 1600 0 1600", "memset 514 0 514", "strcpy 4 \"a=1\\r\"",
                            "memset 514 0 514"}));
    calls.clear();
    XELP_IniFreeIniStruct(&doc);
    EXPECT_EQ(calls, Calls{"memset 24 0 24"});
}

TEST_F(IniServices, Grow)
{
    Document doc({"a\n"}, 10);
    calls.clear();
    ASSERT_EQ(::IniRemallocIniLine(&doc), kOk);
    EXPECT_EQ(calls, (Calls{"memset 480 0 480", "memcpy 480 80"}));
}

TEST_F(IniServices, Edit)
{
    Document doc({"[a]\n"});
    calls.clear();
    ASSERT_EQ(::IniInsertKeyInIniStruct(&doc, 0, Arg("k"), Arg("v"), Arg("c")), kOk);
    EXPECT_EQ(calls, (Calls{"sprintf 512 \"k=v ;c\\n\"", "strcpy 7 \"k=v ;c\\n\""}));
    calls.clear();
    ASSERT_EQ(::IniInsertSectionToIniStruct(&doc, Arg("b")), kOk);
    EXPECT_EQ(calls, (Calls{"sprintf 512 \"[b]\\n\"", "strcpy 4 \"[b]\\n\""}));
}

TEST_F(IniServices, List)
{
    const Document doc({"[a]\n", "[b]\n"});
    calls.clear();
    QAL_UINT32 ulCount = 0;
    QAL_INT8 **list = nullptr;
    ASSERT_EQ(XELP_IniGetSectionList(&doc, &ulCount, &list), kOk);
    EXPECT_EQ(calls[0], "memset 24 0 24");
    EXPECT_EQ(std::count_if(calls.begin(), calls.end(),
                            [](const std::string &call) { return call.starts_with("memset"); }),
              1);
    XELP_IniFreeList(list);
}

TEST_F(IniServices, Save)
{
    platform.SetTime(1700000000123);
    platform.MemoryDisk()->emplace("f.ini", "old");
    Document doc({"[a]\n"});
    doc.ulLabel = 1;
    calls.clear();
    ASSERT_EQ(XELP_IniSaveFileContent("f.ini", &doc), kOk);
    ASSERT_EQ(calls.size(), 5U);
    EXPECT_EQ(calls,
              (Calls{"strcpy 19 \"f.ini\"", "sprintf 22 \"1700000000123\"",
                     "strcat 20 \"1700000000123\"", "strcat 20 \".ibk\"", "memset 24 0 24"}));
}

/// If an adapter's formatter truncates a text instead of emptying it, the truncated line is stored.
TEST_F(IniServices, TruncatedLineIsStoredAsItIs)
{
    Document doc({"[a]\n"});
    const std::string value(506, 'v');
    EXPECT_EQ(::IniInsertKeyInIniStruct(&doc, 0, Arg("k"), Arg(value), Arg("c")), kOk);
    EXPECT_EQ(Look(doc).slots[1], "k=" + value + " ;c");
}

} // namespace
} // namespace wyx::test
