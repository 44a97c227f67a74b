// Texts of about 4 GiB. A length that wraps must not lead to a short or empty text, or to a block
// that is smaller than its content.
#include <cstring>

#include "ini_support.h"
#include "long_text.h"

namespace {

/// The text of a test, and its end. The calls below use this end, because the default adapter would
/// take half a second to find it.
const QAL_CHAR *pszLong = nullptr;
const QAL_CHAR *pszLongEnd = nullptr;

const QAL_CHAR *EndOf(const QAL_CHAR *psz)
{
    return psz >= pszLong && psz <= pszLongEnd ? pszLongEnd : psz + std::strlen(psz);
}

} // namespace

extern "C" {

QAL_UINT32 XELP_StrLen(const QAL_CHAR *pszStr)
{
    return static_cast<QAL_UINT32>(EndOf(pszStr) - pszStr);
}

QAL_CHAR *XELP_StrChr(const QAL_CHAR *pszStr, QAL_INT32 lChar)
{
    return const_cast<QAL_CHAR *>(lChar == 0 ? EndOf(pszStr) : std::strchr(pszStr, lChar));
}

} // extern "C"

namespace wyx::test {
namespace {

class IniLongTexts : public PlatformTest {
  protected:
    static void SetUpTestSuite() { pText_ = new LongText; }
    static void TearDownTestSuite() { delete pText_; }
    void SetUp() override
    {
        PlatformTest::SetUp();
        if (!pText_->IsThere()) {
            GTEST_SKIP() << "needs 4 GiB of addresses and 64 MiB of memory";
        }
        platform.StartRecording();
    }

    static char *Make(std::size_t len, const std::string &start = {}, const std::string &end = {})
    {
        char *const pszText = pText_->Make(len, start, end);
        pszLong = pszText;
        pszLongEnd = pszText + len;
        return pszText;
    }

  private:
    static LongText *pText_;
};

LongText *IniLongTexts::pText_ = nullptr;

// 2^32 - 1 bytes leave no room for the terminator. A wrapped length would store 2^32 bytes as an
// empty text, and 2^32 + 5 bytes as five.
constexpr std::size_t kTooLong[] = {k4Gib - 1, k4Gib, k4Gib + 5};

TEST_F(IniLongTexts, LineTooLongToStoreIsRefused)
{
    for (const std::size_t len : kTooLong) {
        SCOPED_TRACE(len);
        char *apszSlots[2] = {};
        XELP_IN_S_INI_FILE_STRUCT doc = {0, 1, 2, 1, apszSlots};
        EXPECT_EQ(::IniSaveStringToIniStruct(&doc, 1, Make(len)), kInternal);
        EXPECT_EQ(doc.ulLabel, 0U);
        EXPECT_EQ(doc.ulLineNum, 1U);
        EXPECT_EQ(apszSlots[1], nullptr);
    }
    EXPECT_EQ(platform.MemoryTrace(), "");
}

TEST_F(IniLongTexts, LongestLineIsRequestedWhole)
{
    char *pszSlot = nullptr;
    XELP_IN_S_INI_FILE_STRUCT doc = {0, 0, 1, 0, &pszSlot};
    platform.Fail(Service::kAllocate, 1);
    EXPECT_EQ(::IniSaveStringToIniStruct(&doc, 0, Make(k4Gib - 2)), kInternal);
    EXPECT_EQ(platform.MemoryTrace(), "D 4294967295");
}

TEST_F(IniLongTexts, BuiltLineIsRefusedAsTooLong)
{
    char szShort[] = "k";
    char *const pszTooLong = Make(k4Gib + 5);
    XELP_IN_S_INI_FILE_STRUCT doc = {};
    EXPECT_EQ(::IniSaveSectionToIniStruct(&doc, 0, pszTooLong, nullptr), kInputPara);
    EXPECT_EQ(::IniSaveKeyToIniStruct(&doc, 0, szShort, pszTooLong, nullptr), kInputPara);
    EXPECT_EQ(platform.MemoryTrace(), "");
}

// The name has 2^32 - 1 bytes.
TEST_F(IniLongTexts, SectionNameLeavesNoRoomForItsEnd)
{
    char *pszName = nullptr;
    char *pszComment = nullptr;
    EXPECT_EQ(::IniParseSectionLine(Make(k4Gib + 1, "[", "]"), &pszName, &pszComment), kInternal);
    EXPECT_EQ(pszName, nullptr);
    EXPECT_EQ(pszComment, nullptr);
    EXPECT_EQ(platform.MemoryTrace(), "");
}

TEST_F(IniLongTexts, PartsOfAKeyLineAreNotCut)
{
    const struct {
        const char *pszStart;
        const char *pszEnd;
        const char *pszTrace;
    } kLines[] = {
        {"", "=v ;c\n", ""},
        {"k=", "\n", "D 2, free"},
        {"k=v ;", "\n", "D 2, D 2, free, free"},
    };
    for (const auto &line : kLines) {
        SCOPED_TRACE(line.pszStart);
        const std::size_t len = std::strlen(line.pszStart) + k4Gib + 5 + std::strlen(line.pszEnd);
        char *pszName = nullptr;
        char *pszValue = nullptr;
        char *pszComment = nullptr;
        platform.StartRecording();
        EXPECT_EQ(::IniParseKeyLine(Make(len, line.pszStart, line.pszEnd), &pszName, &pszValue,
                                    &pszComment),
                  kInternal);
        EXPECT_EQ(pszName, nullptr);
        EXPECT_EQ(pszValue, nullptr);
        EXPECT_EQ(pszComment, nullptr);
        EXPECT_EQ(platform.MemoryTrace(), line.pszTrace);
    }
}

TEST_F(IniLongTexts, LineIsCheckedToItsEnd)
{
    EXPECT_EQ(::IniCheckSectionLine(Make(k4Gib + 1, "[a] ;")), kOk);
    EXPECT_EQ(::IniCheckKeyLine(Make(k4Gib + 2, "k=", ";")), kComment);
}

TEST_F(IniLongTexts, FileNameLeavesNoRoomForTheEnding)
{
    for (const std::size_t len : {std::size_t{0xFFFFFFF1}, k4Gib, k4Gib + 5}) {
        SCOPED_TRACE(len);
        XELP_IN_S_INI_FILE_STRUCT doc = {1, 0, 0, 0, nullptr};
        EXPECT_EQ(XELP_IniSaveFileContent(Make(len), &doc), kInternal);
        EXPECT_EQ(doc.ulLabel, 0U);
    }
    EXPECT_EQ(platform.Calls(Service::kAllocate), 0U);
    XELP_IN_S_INI_FILE_STRUCT doc = {1, 0, 0, 0, nullptr};
    platform.StartRecording();
    platform.Fail(Service::kAllocate, 1);
    EXPECT_EQ(XELP_IniSaveFileContent(Make(0xFFFFFFF0), &doc), kInternal);
    EXPECT_EQ(platform.MemoryTrace(), "D 4294967295");
}

TEST_F(IniLongTexts, LineIsNotCutInAFile)
{
    const auto &files = platform.UseMemoryDisk();
    XELP_S_File *const pstruFile = XELP_Fopen("f", "w");
    ASSERT_NE(pstruFile, nullptr);
    for (const std::size_t len : {k4Gib, k4Gib + 5}) {
        EXPECT_EQ(::IniSaveStringToIniFile(pstruFile, Make(len)), kWriteFile) << len;
    }
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(files.at("f"), "");
    platform.Reset();
}

} // namespace
} // namespace wyx::test
