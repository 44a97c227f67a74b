// The table of character classes as seen by an executable that is not position-independent. The
// linker puts a copy of an exported variable into such a program, and the library then uses that
// copy as well.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>

#include <cstdint>

#include "wyx_commlib/ip4_ip6_parser.h"

namespace wyx::test {
namespace {

QAL_UINT32 StatusOf(const char *pszText)
{
    char achText[32];
    std::size_t len = 0;
    while ((achText[len] = pszText[len]) != '\0') {
        ++len;
    }
    QAL_UINT8 aucAddr[16];
    QAL_UINT16 uwPort = 0;
    return XELP_Parse_IPV6(achText, aucAddr, &uwPort);
}

TEST(CharsetCopy, ProgramAndLibraryShareOneTable)
{
    constexpr unsigned char kLetter = 'g';
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "QAL_CHARset"), QAL_CHARset);
    EXPECT_EQ(QAL_CHARset[kLetter], 0x1002U); // the copy was filled
    EXPECT_EQ(QAL_CHARset[0x20], 0x48U);
    EXPECT_EQ(StatusOf("::g"), 30U);
    QAL_CHARset[kLetter] |= 0x80;
    EXPECT_EQ(StatusOf("::g"), 0U);
    QAL_CHARset[kLetter] &= ~QAL_UINT32{0x80};
    EXPECT_EQ(StatusOf("::g"), 30U);
}

#ifdef WYX_TEST_EXPECTS_COPY
// Without a copy in the program, the test above would prove nothing.
TEST(CharsetCopy, TableLiesInTheProgram)
{
    Dl_info table;
    Dl_info program;
    ASSERT_NE(dladdr(QAL_CHARset, &table), 0);
    ASSERT_NE(dladdr(reinterpret_cast<void *>(&StatusOf), &program), 0);
    EXPECT_EQ(table.dli_fbase, program.dli_fbase);
}
#endif

} // namespace
} // namespace wyx::test
