// Operations that call no service that can fail: CRC, MD5, the scanner, the address parsers, and
// the parts of the INI grammar that only read. A failure of the platform cannot reach them.
#include <array>
#include <cstring>

#include "../../../src/commlib/md5/source/md5_arth_internal.h"
#include "trial.h"
#include "wyx_commlib/crc.h"
#include "wyx_commlib/ini_parser.h"
#include "wyx_commlib/ip4_ip6_parser.h"
#include "wyx_commlib/md5.h"

namespace {

const auto *const kDigits = reinterpret_cast<const QAL_UINT8 *>("123456789");

/// Expects that the last call used no service that can fail.
void ExpectPure(const wyx::test::Trial &trial)
{
    for (std::size_t i = 0; i < static_cast<std::size_t>(wyx::test::Service::kCount); ++i) {
        EXPECT_EQ(trial.Calls(static_cast<wyx::test::Service>(i)), 0U);
    }
}

} // namespace

WYX_SCENARIO(Crc)
{
    QAL_UINT16 uwCrc = 0;
    EXPECT_EQ(WYX_CALL(XELP_CRC_16, kDigits, 4, &uwCrc), 0U);
    ExpectPure(trial);
    EXPECT_EQ(WYX_CALL(XELP_CRC_Accumulate_16, uwCrc, kDigits + 4, 5, &uwCrc), 0U);
    ExpectPure(trial);
    EXPECT_EQ(uwCrc, 0x31C3);
    QAL_UINT32 ulCrc = 0;
    EXPECT_EQ(WYX_CALL(XELP_CRC_32, kDigits, 4, &ulCrc), 0U);
    ExpectPure(trial);
    EXPECT_EQ(WYX_CALL(XELP_CRC_Accumulate_32, ulCrc, kDigits + 4, 5, &ulCrc), 0U);
    ExpectPure(trial);
    EXPECT_EQ(ulCrc, 0x2DFD2D88U);
}

WYX_SCENARIO(Md5)
{
    MD5_S_CTX context;
    WYX_CALL(XELP_MD5_Init, &context);
    ExpectPure(trial);
    WYX_CALL(XELP_MD5_Update, &context, reinterpret_cast<const QAL_UINT8 *>("abc"), 3);
    ExpectPure(trial);
    std::array<QAL_UINT8, 16> digest{};
    WYX_CALL(XELP_MD5_Final, digest.data(), &context);
    ExpectPure(trial);
    static constexpr std::array<QAL_UINT8, 16> kExpected = {0x90, 0x01, 0x50, 0x98, 0x3C, 0xD2,
                                                            0x4F, 0xB0, 0xD6, 0x96, 0x3F, 0x7D,
                                                            0x28, 0xE1, 0x7F, 0x72};
    EXPECT_EQ(digest, kExpected);
}

WYX_SCENARIO(Md5BuildingBlocks)
{
    // The block of the empty message, from the first chaining values to its digest.
    std::array<QAL_UINT8, 64> block{0x80};
    std::array<QAL_UINT32, 4> chain = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
    WYX_CALL(MD5Transform, chain.data(), block.data());
    ExpectPure(trial);
    std::array<QAL_UINT8, 16> digest{};
    WYX_CALL(Encode, digest.data(), chain.data(), 16);
    ExpectPure(trial);
    EXPECT_EQ(digest[0], 0xD4);
    EXPECT_EQ(digest[15], 0x7E);
    std::array<QAL_UINT32, 4> words{};
    WYX_CALL(Decode, words.data(), digest.data(), 16);
    ExpectPure(trial);
    EXPECT_EQ(words, chain);
}

WYX_SCENARIO(Scanner)
{
    char szText[] = "80]12:ffff:1";
    Parse_Ipv4v6_S_BUF buf = {szText, static_cast<QAL_INT>(std::strlen(szText))};
    QAL_UINT16 uwValue = 0;
    EXPECT_EQ(WYX_CALL(core_td_u16, &uwValue, 10, &buf), 0U);
    ExpectPure(trial);
    EXPECT_EQ(uwValue, 80);
    buf = {szText + 3, static_cast<QAL_INT>(std::strlen(szText) - 3)};
    EXPECT_EQ(WYX_CALL(core_td_hex4, &uwValue, &buf), 0U);
    ExpectPure(trial);
    EXPECT_EQ(uwValue, 0x12);
    buf = {szText + 3, static_cast<QAL_INT>(std::strlen(szText) - 3)};
    std::array<QAL_UINT8, 16> bytes{};
    QAL_UINT32 ulLen = 0;
    EXPECT_EQ(WYX_CALL(core_td_hexseq, bytes.data(), &ulLen, &buf), 0U);
    ExpectPure(trial);
    EXPECT_EQ(ulLen, 6U);
    QAL_UINT8 ucHex = 0;
    EXPECT_EQ(WYX_CALL(core_td_convert_hex, 'F', &ucHex), 0U);
    ExpectPure(trial);
    EXPECT_EQ(ucHex, 15);
}

WYX_SCENARIO(Addresses)
{
    char szIpv4[] = "1.2.3.4:80";
    QAL_UINT32 ulAddr = 0;
    QAL_UINT16 uwPort = 0;
    EXPECT_EQ(WYX_CALL(XELP_Parse_IPV4, szIpv4, &ulAddr, &uwPort), XELP_OK_HAVE_PORT);
    ExpectPure(trial);
    EXPECT_EQ(ulAddr, 0x01020304U);
    EXPECT_EQ(uwPort, 80);
    char szIpv6[] = "[::1]:81";
    std::array<QAL_UINT8, 16> address{};
    EXPECT_EQ(WYX_CALL(XELP_Parse_IPV6, szIpv6, address.data(), &uwPort), 0U);
    ExpectPure(trial);
    EXPECT_EQ(address[15], 1);
    EXPECT_EQ(uwPort, 81);
}

WYX_SCENARIO(IniLooks)
{
    EXPECT_EQ(WYX_CALL(INI_StrLen, "abc"), 3U);
    ExpectPure(trial);
    char szLine[] = "  k = v \n";
    char *pszAt = szLine;
    WYX_CALL(IniSkimBeginSpace, &pszAt, szLine + 8);
    ExpectPure(trial);
    EXPECT_EQ(pszAt, szLine + 2);
    pszAt = szLine + 8;
    WYX_CALL(IniSkimEndSpaceAndEnd, &pszAt, szLine);
    ExpectPure(trial);
    EXPECT_EQ(pszAt, szLine + 6);
    XELP_INI_E_LINE_TYPE type = INI_LINE_BUTT;
    EXPECT_EQ(WYX_CALL(IniGetLineType, szLine, &type), 0U);
    ExpectPure(trial);
    EXPECT_EQ(type, INI_KEYVALUE_LINE);
    EXPECT_EQ(WYX_CALL(IniCheckKeyLine, szLine), 0U);
    ExpectPure(trial);
    EXPECT_EQ(WYX_CALL(IniCheckSectionLine, "[a]"), 0U);
    ExpectPure(trial);
    char szHeader[] = "[a]\n";
    char *apszLine[] = {szHeader, szLine};
    const XELP_IN_S_INI_FILE_STRUCT doc = {0, 2, 2, 2, apszLine};
    QAL_UINT32 ulLineNo = 0;
    EXPECT_EQ(WYX_CALL(XELP_IniCheckFile, &doc, &ulLineNo), 0U);
    ExpectPure(trial);
    EXPECT_EQ(ulLineNo, 2U);
}
