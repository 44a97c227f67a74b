/* Checks the header in plain C99, included twice: sizes, offsets, enumerators, C linkage. */
#include "wyx_commlib/ip4_ip6_parser.h"

#include <stddef.h>

#include "header_check.h"

/* once more */
#include "wyx_commlib/ip4_ip6_parser.h"

WYX_CHECK(sizeof(xelpPARSE_IPV4V6_ErrCode) == 4);
WYX_CHECK(XELP_OK_HAVE_PORT == 1);
WYX_CHECK(XELP_ERR_PARSE_IPV4V6_INVALID_PARA == 10);
WYX_CHECK(XELP_ERR_PARSE_IPV4V6_MEMORY == 20);
WYX_CHECK(XELP_ERR_PARSE_IPV4V6_INVALID == 30);
WYX_CHECK(XELP_ERR_IPV4V6_BUTT == 100);

WYX_CHECK(sizeof(Parse_Ipv4v6_S_BUF) == 16);
WYX_CHECK(offsetof(Parse_Ipv4v6_S_BUF, cur_bp) == 0);
WYX_CHECK(offsetof(Parse_Ipv4v6_S_BUF, cur_bp_rem_len) == 8);
WYX_CHECK(sizeof(((Parse_Ipv4v6_S_BUF *)0)->cur_bp_rem_len) == 4);
WYX_CHECK(sizeof(Parse_Ipv4v6_S_BUF_PTR) == 8);
WYX_CHECK(sizeof(QAL_CHARset) == 1024);

int main(void)
{
    QAL_CHAR achText[] = "1.2.3.4:80", achText6[] = "[::1]:80", achRun[] = "1:2";
    QAL_UINT32 ulAddr = 0, ulLen = 0;
    QAL_UINT16 uwPort = 0, uwPort6 = 0, uwNumber = 0, uwGroup = 0;
    QAL_UINT8 aucAddr[16] = {0}, aucRun[16] = {0}, ucDigit = 0;
    Parse_Ipv4v6_S_BUF struNumber, struGroup, struRun;
    Parse_Ipv4v6_S_BUF_PTR pstruRun = &struRun;

    struNumber.cur_bp = struGroup.cur_bp = struRun.cur_bp = achRun;
    struNumber.cur_bp_rem_len = struGroup.cur_bp_rem_len = struRun.cur_bp_rem_len = 3;
    return XELP_Parse_IPV4(achText, &ulAddr, &uwPort) != XELP_OK_HAVE_PORT ||
           ulAddr != 0x01020304 || uwPort != 80 ||
           XELP_Parse_IPV6(achText6, aucAddr, &uwPort6) != 0 || aucAddr[15] != 1 || uwPort6 != 80 ||
           core_td_u16(&uwNumber, 10, &struNumber) != 0 || uwNumber != 1 ||
           core_td_hex4(&uwGroup, &struGroup) != 0 || uwGroup != 1 ||
           core_td_hexseq(aucRun, &ulLen, pstruRun) != 0 || ulLen != 4 || aucRun[3] != 2 ||
           core_td_convert_hex('f', &ucDigit) != 0 || ucDigit != 15 || QAL_CHARset['f'] != 0x1082;
}
