/**
 * @file ip4_ip6_parser.h
 * @brief IPv4 and IPv6 addresses with optional ports, from text.
 *
 * Both parsers have a grammar of their own, which stored configuration depends on. It is wider than
 * the standard text forms in some places and narrower in others, so mind three things:
 *
 * @warning **Decide on the parsed address, never on the text.** Texts accepted here mean something
 * else to other parsers: a leading zero is decimal here and octal elsewhere (`010.0.0.1` is
 * 10.0.0.1), octets may be hexadecimal, and an octet is reduced modulo 2^32 before its range is
 * tested (`4294967297.0.0.1` is 1.0.0.1). An access decision made here and a connection opened from
 * the same text by somebody else can concern two different hosts. Pass on the number instead.
 *
 * @warning **XELP_Parse_IPV6() ignores text after the address**: `[::1]x` and `::1]:80abc` succeed.
 * Success does not mean that the text is an address and nothing else.
 *
 * @warning **Ports are not range-tested**: they are reduced to 16 bits (`:70000` is port 4464), and
 * white space and a sign are taken before them (`:-1` is port 65535).
 *
 * Texts are NUL-terminated and shorter than 2 GiB; nothing behind the terminator is read. No call
 * allocates or keeps a pointer. All calls may run on any number of threads; see #QAL_CHARset for
 * the one thing they share.
 *
 * @code{.c}
 * QAL_UINT32 addr;
 * QAL_UINT16 port;
 * switch (XELP_Parse_IPV4(text, &addr, &port)) {
 * case 0:                 return connectTo(addr, defaultPort);
 * case XELP_OK_HAVE_PORT: return connectTo(addr, port);
 * default:                return refuse(text);
 * }
 * @endcode
 */
#ifndef WYX_COMMLIB_IP4_IP6_PARSER_H
#define WYX_COMMLIB_IP4_IP6_PARSER_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/** Statuses of all calls here; 0 is success. The values are ABI: never renumbered, never reused. */
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
 * An octet is decimal, with any number of leading zeros, or hexadecimal behind `0x` or `0X`. Its
 * value is reduced modulo 2^32 and then must not exceed 255; one that does not even fit 64 bits is
 * refused. Nothing may stand before the first octet or between octets and dots.
 *
 * The port is decimal, or hexadecimal behind `0x` or `0X`, and is read like core_td_u16() reads:
 * white space and a sign may precede it, and its low 16 bits count. Nothing may follow it.
 *
 * @param[in]  pszIPV4Addr  the text, borrowed
 * @param[out] pulAddr      the address as a number in host order on a little-endian machine:
 *                          `10.0.0.1` gives 0x0A000001; convert it where network order is needed.
 *                          0 if the text is malformed; untouched for a null pointer
 * @param[out] puwPort      the port; 0 without one, or if the text is malformed; untouched for a
 *                          null pointer
 * @return 0 for an address without a port, #XELP_OK_HAVE_PORT for one with a port (which may be 0),
 *         #XELP_ERR_PARSE_IPV4V6_INVALID_PARA for a null pointer,
 *         #XELP_ERR_PARSE_IPV4V6_INVALID for a malformed text.
 */
WYX_API QAL_UINT32 XELP_Parse_IPV4(QAL_CHAR *pszIPV4Addr, QAL_UINT32 *pulAddr, QAL_UINT16 *puwPort);

/**
 * @brief Reads an IPv6 address, also in brackets, also with a port.
 *
 * The text is one `[` or none, the address, one `]` or none, and `:` with a decimal port or none;
 * neither bracket needs the other. What stands behind the address, its bracket and its port is
 * ignored.
 *
 * The address begins with the *head*, the run of groups that core_td_hexseq() reads, which may be
 * empty. A head of eight groups is the whole address. Otherwise the characters behind it tell the
 * form; *h* is a hexadecimal digit, *end* the end of the text or `]`:
 *
 * | Behind the head      | Example              | Outcome                                       |
 * |----------------------|----------------------|-----------------------------------------------|
 * | `::` *h*, run, *end* | `1:2::3:4`           | accepted; the run ends at byte 15             |
 * | `::` *h*, run, `:`   | `::ffff:192.168.1.1` | failed; the run ends at byte 11               |
 * | `::` *h*, run, other | `::ffff:1.2.3.4`     | refused                                       |
 * | `::` *h*, bad run    | `1::2g`              | failed; the run is dropped                    |
 * | `:::`                | `:::1.2.3.4`         | failed                                        |
 * | `.` *h*, IPv4        | `1:2.10.0.0.1`       | accepted; the four octets are bytes 12 to 15  |
 * | `.` *h*, other       | `1:2.10.0.0.1:80`    | refused                                       |
 * | `::` *end*           | `1::`                | accepted                                      |
 * | anything else        | `1:2:3`, `[`         | refused                                       |
 *
 * All bytes not mentioned are those of the head, or 0 behind it. A run is written over the head's
 * bytes where they meet (`1:2:3:4:5:6:7::8:9` loses its seventh group), and what would stand before
 * byte 0 is dropped.
 *
 * - *Refused*: status 30, outputs untouched.
 * - *Failed*: status 30, outputs written. But one more colon there is taken for that of a port, and
 *   if a port can be read, the call succeeds: `1::2::3` is 1::2:0:0 with port 3, `::::80` is `::`
 *   with port 80.
 * - A port that cannot be read refuses the text, whatever the form.
 *
 * So the standard forms that end in a dotted quad behind `::` fail, and a text ending in a dotted
 * quad is accepted only where the run before it stops on the dot: see core_td_hexseq().
 *
 * @param[in]  pszIPV6Addr  the text, borrowed
 * @param[out] pucAddr      receives the 16 bytes of the address in network order; untouched by a
 *                          null pointer and where the text is refused, but written where it fails
 * @param[out] puwPort      the port, 0 without one; written if and only if @p pucAddr is
 * @return 0, with or without a port: unlike XELP_Parse_IPV4(), this call never returns
 *         #XELP_OK_HAVE_PORT; #XELP_ERR_PARSE_IPV4V6_INVALID_PARA for a null pointer,
 *         #XELP_ERR_PARSE_IPV4V6_INVALID for a malformed text or port.
 */
WYX_API QAL_UINT32 XELP_Parse_IPV6(QAL_CHAR *pszIPV6Addr, QAL_UINT8 *pucAddr, QAL_UINT16 *puwPort);

/** @name Building blocks
 * What the parsers are made of: readers that consume what they understand of a text and leave the
 * cursor behind it. They check no pointers. @{ */

/** Where a reader stands in a NUL-terminated text. */
typedef struct xelpParse_Ipv4v6_S_BUF {
    QAL_CHAR *cur_bp;       /**< the next character to read */
    QAL_INT cur_bp_rem_len; /**< characters left before the terminating NUL */
} Parse_Ipv4v6_S_BUF;

/** A pointer to the above. */
typedef Parse_Ipv4v6_S_BUF *Parse_Ipv4v6_S_BUF_PTR;

/**
 * @brief The classes of every byte, indexed by its unsigned value.
 *
 * | Bit    | Class                                                                               |
 * |--------|-------------------------------------------------------------------------------------|
 * | 0x01   | upper-case letter A-Z                                                               |
 * | 0x02   | lower-case letter a-z                                                               |
 * | 0x04   | decimal digit                                                                       |
 * | 0x08   | white space: TAB, LF, VT, FF, CR, space                                             |
 * | 0x10   | punctuation: every printable character that is no letter, digit or space            |
 * | 0x20   | control character                                                                   |
 * | 0x40   | blank: the space alone, not TAB                                                     |
 * | 0x80   | hexadecimal digit                                                                   |
 * | 0x1000 | token character: letters, digits, `! $ % & ' ( ) * + - . / ? @ \ ^ _ | ~`, backquote |
 * | 0x2000 | delimiter: `# , : ; < = > [ ] { }`                                                  |
 *
 * The space is no control character, and the double quote neither token nor delimiter. Bytes from
 * 0x80 on are of no class.
 *
 * The table is a variable, and the library never writes it. Bits 0x04 and 0x80 decide what the
 * parsers take for a digit: a caller who changes them changes the parsers for every thread, and
 * must not do so while a parser runs. A digit's value is not in the table: what is no digit to
 * strtoul() ends the number there, and counts as 0 in a group of core_td_hex4().
 */
extern WYX_API QAL_UINT32 QAL_CHARset[256];

/**
 * @brief Reads a number, of which the low 16 bits count.
 *
 * Reads by the rules of the C library's strtoul(): leading white space, a sign and, in base 16, a
 * `0x` are taken. There is no range test: `70000` gives 4464, `-1` gives 65535.
 *
 * @param[out]    OUT_val     the number; untouched on failure
 * @param[in]     IN_base     its base, 10 or 16
 * @param[in,out] IN_dec_buf  the text, borrowed; moved behind the number, unmoved on failure
 * @return 0, or #XELP_ERR_PARSE_IPV4V6_INVALID where no number stands.
 */
WYX_API QAL_UINT32 core_td_u16(QAL_UINT16 *OUT_val, QAL_INT32 IN_base,
                               Parse_Ipv4v6_S_BUF_PTR IN_dec_buf);

/**
 * @brief Reads a group of one to four hexadecimal digits.
 *
 * The group must be followed by `.`, `:`, `]` or the end of the text, which is not consumed.
 *
 * @param[out]    OUT_hex4    the value; 0 on failure
 * @param[in,out] IN_dec_buf  the text, borrowed; moved behind the group, on failure to the
 *                            character at fault: digits once read are not given back
 * @return 0, or #XELP_ERR_PARSE_IPV4V6_INVALID.
 */
WYX_API QAL_UINT32 core_td_hex4(QAL_UINT16 *OUT_hex4, Parse_Ipv4v6_S_BUF_PTR IN_dec_buf);

/**
 * @brief Reads a run of up to eight groups separated by single colons.
 *
 * The run ends where no hexadecimal digit follows, as at a `::`, or with the eighth group; a colon
 * behind it is not consumed. A text without a digit at the cursor is an empty run.
 *
 * A dotted quad behind a colon is left to the caller, with the cursor on that colon, if its first
 * octet has two or three characters and does not begin with `0` (`...:10.2.3.4`). Any other is
 * taken for one more group, and the run ends on its first dot (`...:1.2.3.4`). What decides is
 * whether a dot is among the second to fourth characters behind the colon. Even then the colon is
 * consumed if fewer than five characters are left, itself included, if the first behind it is `0`,
 * the second is `.`, or any of the second to fourth is `:`.
 *
 * @param[out]    OUT_hex_seq  receives two bytes a group, the high one first; room for 16
 * @param[out]    OUT_len      the number of bytes written, also on failure
 * @param[in,out] IN_dec_buf   the text, borrowed; moved behind the run, on failure to the character
 *                             at fault
 * @return 0, or #XELP_ERR_PARSE_IPV4V6_INVALID where core_td_hex4() refuses a group.
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
