/**
 * @file ip4_ip6_parser.h
 * @brief IPv4 and IPv6 addresses with optional ports, from text.
 *
 * Each parser has its own grammar: it accepts some texts that the standard forms do not allow, and
 * refuses some that they do.
 *
 * @warning **Check the parsed address, not the text**, and pass it on instead of the text: another
 * parser may read the same text as a different address. Here `010.0.0.1` is 10.0.0.1, as leading
 * zeros do not make an octet octal. Octets may be hexadecimal (`0x0A.0.0.1`). An octet below 2^64
 * is reduced modulo 2^32 before its range is checked (`4294967297.0.0.1` is 1.0.0.1).
 *
 * @warning **XELP_Parse_IPV6() does not always read the whole text.** It ignores whatever follows a
 * port, and whatever follows a `]` unless the next character is a colon, so `::1]:80abc` and
 * `[::1]x` are accepted. After eight groups without `::`, it may also ignore a dot and whatever
 * follows the dot: `1:2:3:4:5:6:7:8.x` is accepted, but `1:2:3:4:5:6:7:88.x` is not, as `88.` may
 * begin a dotted quad. Other text directly after an address is not ignored: the status is 30 for
 * `::1x`, `::1 `, `::1%eth0` and `1::/64`.
 *
 * @warning **Ports are not range-checked:** `:70000` is port 4464. White space and a sign are
 * accepted before them (`:-1` is port 65535).
 *
 * Texts must be NUL-terminated and shorter than 2 GiB. No call allocates or keeps a pointer. Any
 * number of threads may call at once; see #QAL_CHARset for the one thing they share.
 *
 * @code{.c}
 * QAL_UINT32 addr;
 * QAL_UINT16 port;
 * switch (XELP_Parse_IPV4(text, &addr, &port)) {
 * case 0:                 return Connect(addr, defaultPort);
 * case XELP_OK_HAVE_PORT: return Connect(addr, port);
 * default:                return Refuse(text);
 * }
 * @endcode
 */
#ifndef WYX_COMMLIB_IP4_IP6_PARSER_H
#define WYX_COMMLIB_IP4_IP6_PARSER_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/**
 * Statuses of all calls here except core_td_convert_hex(); 0 is success. The values are ABI: never
 * renumbered, never reused.
 */
typedef enum xelpPARSE_IPV4V6_ErrCode WYX_ENUM32 {
    XELP_OK_HAVE_PORT = 1,                   /**< success, and the IPv4 text carried a port */
    XELP_ERR_PARSE_IPV4V6_INVALID_PARA = 10, /**< a pointer is null; nothing was written */
    XELP_ERR_PARSE_IPV4V6_MEMORY = 20,       /**< never returned */
    XELP_ERR_PARSE_IPV4V6_INVALID = 30,      /**< the text is malformed */
    XELP_ERR_IPV4V6_BUTT = 100               /**< end marker, never returned */
} xelpPARSE_IPV4V6_ErrCode;

/**
 * @brief Reads an IPv4 address, `a.b.c.d` or `a.b.c.d:port`.
 *
 * An octet is decimal with any number of leading zeros, or hexadecimal after `0x` or `0X`. An
 * octet of 2^64 or more is refused. A smaller one is reduced modulo 2^32, and must then be at most
 * 255. Nothing may come before the first octet, or between octets and dots.
 *
 * The port is decimal, or hexadecimal after `0x` or `0X`. core_td_u16() reads it, after that prefix
 * if there is one. So it may begin with white space and a sign, and is not range-checked. Nothing
 * may follow it.
 *
 * @param[in]  pszIPV4Addr  the text, borrowed
 * @param[out] pulAddr      the address as a number in host order: 0x0A000001 for `10.0.0.1`;
 *                          0 if the text is malformed; untouched for a null pointer
 * @param[out] puwPort      the port; 0 if there is none or the text is malformed; untouched for a
 *                          null pointer
 * @return 0 for an address without a port, #XELP_OK_HAVE_PORT for one with a port (which may be
 *         0), #XELP_ERR_PARSE_IPV4V6_INVALID_PARA for a null pointer,
 *         #XELP_ERR_PARSE_IPV4V6_INVALID for a malformed text.
 */
WYX_API QAL_UINT32 XELP_Parse_IPV4(QAL_CHAR *pszIPV4Addr, QAL_UINT32 *pulAddr, QAL_UINT16 *puwPort);

/**
 * @brief Reads an IPv6 address, with or without brackets, with or without a port.
 *
 * The text is an optional `[`, the address, an optional `]`, and optionally `:` and a decimal port.
 * Either bracket may appear without the other. Neither `]` nor a port may follow an address that
 * ends in a dotted quad.
 *
 * The address begins with the *head*: the groups that core_td_hexseq() reads, possibly none. A head
 * of eight groups is the whole address. Otherwise the characters after the head select one of the
 * forms in the table. There,
 * - *h* is a hexadecimal digit, the first character of what is listed after it,
 * - *run* is more groups, which core_td_hexseq() reads,
 * - *IPv4* is an address without a port, which XELP_Parse_IPV4() reads to the end of the text,
 * - *bad* means that core_td_hexseq() refuses the head or the run,
 * - *end* is the end of the text or a `]`.
 *
 * | After the head       | Example              | Outcome                                       |
 * |----------------------|----------------------|-----------------------------------------------|
 * | (bad head)           | `12345::`, `1:2:3x`  | refused                                       |
 * | `::` *h*, run, *end* | `1:2::3:4`           | accepted; the run ends at byte 15             |
 * | `::` *h*, run, `:`   | `::ffff:192.168.1.1` | failed; the run ends at byte 11               |
 * | `::` *h*, run, `.`   | `::ffff:1.2.3.4`     | refused                                       |
 * | `::` *h*, bad run    | `1::2g`, `::1 `      | failed; the run is dropped                    |
 * | `:::`                | `:::1.2.3.4`         | failed                                        |
 * | `.` *h*, IPv4        | `1:2.10.0.0.1`       | accepted; the four octets are bytes 12 to 15  |
 * | `.` *h*, other       | `1:2.10.0.0.1]`      | refused                                       |
 * | `::` *end*           | `1::`                | accepted                                      |
 * | anything else        | `1:2:3`, `1::/64`    | refused                                       |
 *
 * - *Refused*: status 30, outputs untouched.
 * - *Failed*: status 30, outputs written. But if the form ends in a colon and another colon
 *   follows, a port is read after that one, and the call succeeds: `1::2::3` is 1::2:0:0 with
 *   port 3, `::::80` is `::` with port 80.
 * - If there is no number where a port is read, the text is refused, whatever its form.
 *
 * So a dotted quad must follow a dot. The standard forms, in which it follows a colon, are not
 * accepted.
 *
 * The bytes of the head come first. The run or the four octets go where the table says, even over
 * bytes of the head: `1:2:3:4:5:6:7::8:9` and `1:2:3:4:5:6:7.1.2.3.4` lose their seventh group.
 * Bytes of a run that would be before byte 0 are dropped. The other bytes of the address are 0.
 *
 * @param[in]  pszIPV6Addr  the text, borrowed
 * @param[out] pucAddr      the 16 bytes of the address in network order; untouched for a null
 *                          pointer and if the text is refused, but written if it fails
 * @param[out] puwPort      the port, or 0 if there is none; written if and only if @p pucAddr is
 * @return 0, with or without a port: unlike XELP_Parse_IPV4(), this call never returns
 *         #XELP_OK_HAVE_PORT; #XELP_ERR_PARSE_IPV4V6_INVALID_PARA for a null pointer,
 *         #XELP_ERR_PARSE_IPV4V6_INVALID for a malformed text or port.
 */
WYX_API QAL_UINT32 XELP_Parse_IPV6(QAL_CHAR *pszIPV6Addr, QAL_UINT8 *pucAddr, QAL_UINT16 *puwPort);

/** @name Building blocks
 * Readers for the parts of an address, and their table of characters. The readers do not check
 * pointers. @{ */

/** A cursor: a reader's position in a NUL-terminated text. */
typedef struct xelpParse_Ipv4v6_S_BUF {
    QAL_CHAR *cur_bp;       /**< the next character to read */
    QAL_INT cur_bp_rem_len; /**< characters left before the terminating NUL */
} Parse_Ipv4v6_S_BUF;

/** A pointer to a cursor. */
typedef Parse_Ipv4v6_S_BUF *Parse_Ipv4v6_S_BUF_PTR;

/**
 * @brief The classes of each byte, indexed by the byte's unsigned value.
 *
 * | Bit    | Class                                                                               |
 * |--------|-------------------------------------------------------------------------------------|
 * | 0x01   | upper-case letter A-Z                                                               |
 * | 0x02   | lower-case letter a-z                                                               |
 * | 0x04   | decimal digit                                                                       |
 * | 0x08   | white space: TAB, LF, VT, FF, CR, space                                             |
 * | 0x10   | punctuation: every printable character except letters, digits and the space         |
 * | 0x20   | control character                                                                   |
 * | 0x40   | blank: the space alone, not TAB                                                     |
 * | 0x80   | hexadecimal digit                                                                   |
 * | 0x1000 | token character: letters, digits, `! $ % & ' ( ) * + - . / ? @ \ ^ _ | ~`, backquote |
 * | 0x2000 | delimiter: `# , : ; < = > [ ] { }`                                                  |
 *
 * Bytes from 0x80 on have no class.
 *
 * Changing bit 0x04 or 0x80 of an entry changes the parsers for every thread; do not do it while a
 * parser runs. Bit 0x04 decides which characters form a decimal octet. Bit 0x80 decides which
 * characters form a group of an IPv6 address, and which may follow the `0x` of a hexadecimal octet.
 *
 * The table does not hold the values of digits. So if a character that is no digit is classed as
 * one, then
 * - a decimal octet that contains it has the value that strtoul() reads,
 * - an octet in which it comes right after the `0x` is refused,
 * - core_td_hex4() counts it as 0, unless it ends the group.
 */
extern WYX_API QAL_UINT32 QAL_CHARset[256];

/**
 * @brief Reads a number and reduces it to 16 bits.
 *
 * Follows the rules of the C library's strtoul(): leading white space, a sign and, in base 16, a
 * `0x` or `0X` are accepted. There is no range check: `70000` is read as 4464, `-1` as 65535. A
 * number of 2^64 or more is read as 65535, with either sign.
 *
 * @param[out]    OUT_val     the number; untouched on failure
 * @param[in]     IN_base     the base, 10 or 16
 * @param[in,out] IN_dec_buf  the cursor, borrowed; moved past the number, not moved on failure
 * @return 0, or #XELP_ERR_PARSE_IPV4V6_INVALID if there is no number.
 */
WYX_API QAL_UINT32 core_td_u16(QAL_UINT16 *OUT_val, QAL_INT32 IN_base,
                               Parse_Ipv4v6_S_BUF_PTR IN_dec_buf);

/**
 * @brief Reads a group of one to four hexadecimal digits.
 *
 * A `.`, `:`, `]` or the end of the text must follow the group; it is not consumed.
 *
 * @param[out]    OUT_hex4    the value; 0 on failure
 * @param[in,out] IN_dec_buf  the cursor, borrowed; moved past the group; on failure, to the
 *                            character at fault: the digits before it stay consumed
 * @return 0, or #XELP_ERR_PARSE_IPV4V6_INVALID.
 */
WYX_API QAL_UINT32 core_td_hex4(QAL_UINT16 *OUT_hex4, Parse_Ipv4v6_S_BUF_PTR IN_dec_buf);

/**
 * @brief Reads a run of up to eight groups separated by single colons.
 *
 * If there is no hexadecimal digit at the cursor, the run is empty. Otherwise it ends at the end of
 * the text, or before a `.` or `]`, a colon after the eighth group, or a colon that no hexadecimal
 * digit follows, such as the first of `::`.
 *
 * The run also ends before a colon if the third or fourth character after the colon is a dot, as in
 * some dotted quads, unless
 * - fewer than five characters are left, counting the colon, or
 * - the first character after the colon is `0`, or
 * - the second is `.`, or
 * - any of the second to fourth is `:`.
 *
 * So after fewer than eight groups, a colon and a dotted quad are left to the caller if the first
 * octet has two or three characters and does not begin with `0`, as in `1:10.2.3.4`. Otherwise the
 * first octet is read as one more group: either the run ends before the dot, as in `1:1.2.3.4`, or
 * the call fails, as for `1:0x1.2.3.4`.
 *
 * @param[out]    OUT_hex_seq  two bytes for each group, the high one first; room for 16
 * @param[out]    OUT_len      the number of bytes written; set on failure, too
 * @param[in,out] IN_dec_buf   the cursor, borrowed; moved past the run; on failure, to the
 *                             character at fault
 * @return 0, or #XELP_ERR_PARSE_IPV4V6_INVALID if core_td_hex4() refuses a group.
 */
WYX_API QAL_UINT32 core_td_hexseq(QAL_UINT8 *OUT_hex_seq, QAL_UINT32 *OUT_len,
                                  Parse_Ipv4v6_S_BUF_PTR IN_dec_buf);

/**
 * @brief The value of a hexadecimal digit. Does not consult #QAL_CHARset.
 *
 * @param[in]  ch   the character
 * @param[out] hex  its value, 0 to 15; 0xFF for any other character
 * @return 0, or 1 for any other character: a plain flag, not one of the statuses.
 */
WYX_API QAL_UINT32 core_td_convert_hex(QAL_INT8 ch, QAL_UINT8 *hex);

/** @} */

WYX_C_END

#endif
