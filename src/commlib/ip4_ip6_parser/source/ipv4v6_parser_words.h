// The usual form of a dotted address, read in words of four and eight characters.
#ifndef WYX_COMMLIB_IPV4V6_PARSER_WORDS_H
#define WYX_COMMLIB_IPV4V6_PARSER_WORDS_H

#include "wyx_commlib/ip4_ip6_parser.h"

namespace wyx::address {

constexpr QAL_UINT32 kNotUsual = XELP_ERR_IPV4V6_BUTT;

/// Reads four octets of one to three decimal digits each, none above 255, with dots between them,
/// and optionally a colon and a port of one to six digits. Returns the status of XELP_Parse_IPV4().
/// For any other text, valid or not, returns kNotUsual and leaves the outputs untouched. If a
/// caller has changed which of '0' to '9', '.' and ':' are decimal digits in QAL_CHARset, no text
/// is usual.
QAL_UINT32 ReadUsualIpv4(const QAL_CHAR *pszText, QAL_UINT32 ulLen, QAL_UINT32 &ulAddr,
                         QAL_UINT16 &uwPort);

} // namespace wyx::address

#endif
