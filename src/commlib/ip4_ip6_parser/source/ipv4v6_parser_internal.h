// What the address parsers share with each other and with the scanner under them: the character
// classes, how the cursor moves, and the lengths of addresses.
#ifndef WYX_COMMLIB_IPV4V6_PARSER_INTERNAL_H
#define WYX_COMMLIB_IPV4V6_PARSER_INTERNAL_H

#include "wyx_commlib/ip4_ip6_parser.h"

namespace wyx::address {

// The classes of QAL_CHARset.
constexpr QAL_UINT32 kUpper = 0x01;
constexpr QAL_UINT32 kLower = 0x02;
constexpr QAL_UINT32 kDecDigit = 0x04;
constexpr QAL_UINT32 kSpace = 0x08;
constexpr QAL_UINT32 kPunct = 0x10;
constexpr QAL_UINT32 kControl = 0x20;
constexpr QAL_UINT32 kBlank = 0x40; // the space character alone
constexpr QAL_UINT32 kHexDigit = 0x80;
constexpr QAL_UINT32 kToken = 0x1000;
constexpr QAL_UINT32 kDelimiter = 0x2000;

/// Reads the table each time: callers may have changed it.
inline bool IsOf(QAL_UINT32 ulClass, QAL_CHAR ch)
{
    return (QAL_CHARset[static_cast<QAL_UINT8>(ch)] & ulClass) != 0;
}

/// Moves the cursor, backwards if @p lCount is negative, and updates the number of characters left.
/// That number has 32 bits, and wraps.
inline void Advance(Parse_Ipv4v6_S_BUF &struBuf, QAL_LONG lCount)
{
    struBuf.cur_bp += lCount;
    struBuf.cur_bp_rem_len = static_cast<QAL_INT>(static_cast<QAL_UINT>(struBuf.cur_bp_rem_len) -
                                                  static_cast<QAL_UINT>(lCount));
}

constexpr QAL_UINT16 kIp4Len = 4;  // bytes of an IPv4 address
constexpr QAL_UINT16 kIp6Len = 16; // bytes of an IPv6 address

} // namespace wyx::address

#endif
