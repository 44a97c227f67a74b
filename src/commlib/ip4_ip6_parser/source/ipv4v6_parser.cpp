// The address parsers. The usual form of a dotted address is read several characters at a time; any
// other, by ScanIpv4(), character by character. What follows the head of an IPv6 text selects a
// form; the parser tries the forms in the order of the table in the header. A gap is a `::`.
#include "wyx_commlib/ip4_ip6_parser.h"

#include <cstdlib>
#include <utility>

#include "bounded.h"
#include "ipv4v6_parser_internal.h"
#include "ipv4v6_parser_words.h"
#include "os_adapter.h"

using namespace wyx::address;

namespace {

constexpr QAL_INT32 kDec = 10;
constexpr QAL_INT32 kHex = 16;
constexpr QAL_UINT32 kGroupBufferLen = 20; // core_td_hexseq() needs 16

/// Sets the cursor to the start of a text. False if the text's length does not fit in 32 bits:
/// XELP_StrLen() has then wrapped, and the character at the index that it returned is not the
/// terminator.
bool StartAt(QAL_CHAR *pszText, Parse_Ipv4v6_S_BUF &struBuf)
{
    const QAL_UINT32 ulLen = XELP_StrLen(pszText);
    struBuf = {pszText, static_cast<QAL_INT>(ulLen)};
    return pszText[ulLen] == '\0';
}

/// Steps over the character at the cursor if it is @p chExpected.
bool StepOver(Parse_Ipv4v6_S_BUF &struBuf, QAL_CHAR chExpected)
{
    if (*struBuf.cur_bp != chExpected) {
        return false;
    }
    Advance(struBuf, 1);
    return true;
}

bool HasHexPrefix(const QAL_CHAR *pszText)
{
    return pszText[0] == '0' && (pszText[1] | 0x20) == 'x';
}

/// Does the character at the cursor belong to the class? The terminator does not, whatever the
/// table says about it.
bool IsAt(QAL_UINT32 ulClass, const Parse_Ipv4v6_S_BUF &struBuf)
{
    return struBuf.cur_bp_rem_len != 0 && IsOf(ulClass, *struBuf.cur_bp);
}

bool ReadOctet(Parse_Ipv4v6_S_BUF &struBuf, QAL_UINT8 &ucOctet)
{
    QAL_CHAR *const pszFirst = struBuf.cur_bp;
    QAL_CHAR *pszEnd = pszFirst;
    QAL_ULONG ulValue = 0;
    if (HasHexPrefix(pszFirst)) {
        Advance(struBuf, 2);
        if (!IsAt(kHexDigit, struBuf)) {
            return false;
        }
        ulValue = std::strtoul(pszFirst, &pszEnd, kHex);
        Advance(struBuf, pszEnd - struBuf.cur_bp);
    } else {
        if (!IsAt(kDecDigit, struBuf)) {
            return false;
        }
        ulValue = std::strtoul(pszFirst, &pszEnd, kDec);
        while (IsAt(kDecDigit, struBuf)) {
            Advance(struBuf, 1);
        }
    }
    // Kept: the value is reduced to 32 bits before its range is checked
    // (ParseIpv4.OctetIsReducedTo32Bits).
    const auto ulReduced = static_cast<QAL_UINT32>(ulValue);
    ucOctet = static_cast<QAL_UINT8>(ulReduced);
    return ulReduced <= 0xFF;
}

/// Reads an address of any form, character by character. The outputs are untouched on failure. Not
/// inlined, so that an address of the usual form pays for no stack guard.
[[gnu::noinline]] QAL_UINT32 ScanIpv4(Parse_Ipv4v6_S_BUF struBuf, QAL_UINT32 &ulAddr,
                                      QAL_UINT16 &uwPort)
{
    QAL_UINT8 aucOctets[kIp4Len]; // in text order
    for (QAL_UINT32 i = 0; i < kIp4Len; ++i) {
        if (i > 0 && !StepOver(struBuf, '.')) {
            return XELP_ERR_PARSE_IPV4V6_INVALID;
        }
        if (!ReadOctet(struBuf, aucOctets[i])) {
            return XELP_ERR_PARSE_IPV4V6_INVALID;
        }
    }

    const bool hasPort = StepOver(struBuf, ':');
    QAL_UINT16 uwPortRead = 0;
    if (hasPort) {
        const bool isHex = HasHexPrefix(struBuf.cur_bp);
        Advance(struBuf, isHex ? 2 : 0);
        const QAL_UINT32 ulStatus = core_td_u16(&uwPortRead, isHex ? kHex : kDec, &struBuf);
        if (ulStatus != 0) {
            return ulStatus;
        }
    }
    if (struBuf.cur_bp_rem_len != 0) {
        return XELP_ERR_PARSE_IPV4V6_INVALID;
    }

    std::swap(aucOctets[0], aucOctets[3]);
    std::swap(aucOctets[1], aucOctets[2]);
    wyx_memcpy_s(&ulAddr, kIp4Len, aucOctets, kIp4Len);
    uwPort = uwPortRead; // after the address, which it may overlap (ParseIpv4.PortIsWrittenLast)
    return hasPort ? QAL_UINT32{XELP_OK_HAVE_PORT} : 0;
}

/// The state of parsing one IPv6 text.
struct Ipv6Work {
    Parse_Ipv4v6_S_BUF struBuf;
    QAL_UINT8 aucAddr[kIp6Len]; // in network order
    QAL_UINT16 uwPort;
    QAL_UINT16 uwQuadPort;   // written by XELP_Parse_IPV4(), not used
    QAL_UINT32 ulQuadOctets; // stays 0, see TryQuadAfterGap()
    QAL_UINT8 aucRun[kGroupBufferLen];
    QAL_UINT32 ulRunLen; // of the head, then of the run after the gap
    bool isQuadTaken;    // a dotted quad has filled the last four bytes
    QAL_UINT32 ulResult; // the status so far; reading a port sets it to 0
};

/// Writes the run into the address so that it ends before byte @p ulEnd. Kept: where the run and
/// the head overlap, the run wins, and whatever would come before the first byte is dropped
/// (ParseIpv6.RunIsWrittenOverTheHead, ParseIpv6.RunBeforeTheFirstByteIsDropped).
void PlaceRun(Ipv6Work &work, QAL_UINT32 ulEnd)
{
    const QAL_UINT32 ulDropped = work.ulRunLen > ulEnd ? work.ulRunLen - ulEnd : 0;
    const QAL_UINT32 ulKept = work.ulRunLen - ulDropped;
    wyx_memcpy_s(work.aucAddr + (ulEnd - ulKept), ulKept, work.aucRun + ulDropped, ulKept);
}

/// Reads the rest of the text as a dotted quad, but never accepts it. Kept: nothing sets
/// ulQuadOctets, so the text fails unless the rest begins with the colon of a port
/// (ParseIpv6.DottedQuadAfterGapFails, ParseIpv6.PortMakesUpForAFailure).
[[gnu::cold]] void TryQuadAfterGap(Ipv6Work &work)
{
    QAL_UINT32 ulAddr = 0;
    const QAL_UINT32 ulStatus = XELP_Parse_IPV4(work.struBuf.cur_bp, &ulAddr, &work.uwQuadPort);
    work.ulResult = XELP_ERR_PARSE_IPV4V6_INVALID;
    if (ulStatus == 0 && work.ulQuadOctets == kIp4Len) {            // never: the count stays 0
        wyx_memcpy_s(work.aucAddr + 12, kIp4Len, &ulAddr, kIp4Len); // never: as above
        work.ulResult = 0;                                          // never: as above
        work.isQuadTaken = true;                                    // never: as above
    }
}

// One function for each way a text can go on after its head. Each returns false to refuse the text
// at once, with the outputs untouched. After true, the outputs are written, even if ulResult is a
// failure, unless a port is malformed.

/// `::h`, and what follows the run
bool TakeGapAndRun(Ipv6Work &work)
{
    Advance(work.struBuf, 2);
    work.ulResult = core_td_hexseq(work.aucRun, &work.ulRunLen, &work.struBuf);
    if (work.ulResult != 0) {
        return true; // Kept: the outputs are written (ParseIpv6.BadRunWritesTheOutputs)
    }
    switch (*work.struBuf.cur_bp) {
        case '\0':
        case ']':
            PlaceRun(work, kIp6Len);
            return true;
        case ':':
            Advance(work.struBuf, 1);
            TryQuadAfterGap(work);
            PlaceRun(work, kIp6Len - kIp4Len);
            return true;
        default:
            return false;
    }
}

/// `:::`
bool TakeThreeColons(Ipv6Work &work)
{
    Advance(work.struBuf, 3);
    TryQuadAfterGap(work);
    return true;
}

/// `.h`: unlike a dotted quad after a gap, this one is accepted. Where it and the head overlap, the
/// quad wins.
bool TakeDottedQuad(Ipv6Work &work)
{
    Advance(work.struBuf, 1);
    QAL_UINT32 ulAddr = 0;
    // A quad with a port is refused, too: its status is not 0.
    if (XELP_Parse_IPV4(work.struBuf.cur_bp, &ulAddr, &work.uwQuadPort) != 0) {
        return false;
    }
    const QAL_UINT32 ulNetworkOrder = __builtin_bswap32(ulAddr);
    __builtin_memcpy(work.aucAddr + kIp6Len - kIp4Len, &ulNetworkOrder, kIp4Len);
    work.isQuadTaken = true;
    return true;
}

/// `::` at the end of the text or before a `]`
bool TakeGapAtEnd(Ipv6Work &work)
{
    Advance(work.struBuf, 2);
    return true;
}

/// Takes what follows a head of fewer than eight groups: the first form that fits.
bool TakeForm(Ipv6Work &work)
{
    const QAL_CHAR *const pszText = work.struBuf.cur_bp; // nothing after a NUL is read
    const bool hasGap = pszText[0] == ':' && pszText[1] == ':';
    if (hasGap && IsOf(kHexDigit, pszText[2])) {
        return TakeGapAndRun(work);
    }
    if (hasGap && pszText[2] == ':') {
        return TakeThreeColons(work);
    }
    if (pszText[0] == '.' && IsOf(kHexDigit, pszText[1])) {
        return TakeDottedQuad(work);
    }
    if (hasGap && (pszText[2] == '\0' || pszText[2] == ']')) {
        return TakeGapAtEnd(work);
    }
    return false;
}

} // namespace

extern "C" {

QAL_UINT32 XELP_Parse_IPV4(QAL_CHAR *pszIPV4Addr, QAL_UINT32 *pulAddr, QAL_UINT16 *puwPort)
{
    if (pszIPV4Addr == nullptr || pulAddr == nullptr || puwPort == nullptr) {
        return XELP_ERR_PARSE_IPV4V6_INVALID_PARA;
    }
    *pulAddr = 0;
    *puwPort = 0;
    Parse_Ipv4v6_S_BUF struBuf;
    if (!StartAt(pszIPV4Addr, struBuf)) {
        return XELP_ERR_PARSE_IPV4V6_INVALID;
    }
    const QAL_UINT32 ulStatus = ReadUsualIpv4(
        struBuf.cur_bp, static_cast<QAL_UINT32>(struBuf.cur_bp_rem_len), *pulAddr, *puwPort);
    return ulStatus != kNotUsual ? ulStatus : ScanIpv4(struBuf, *pulAddr, *puwPort);
}

// Kept: success is 0, with or without a port (ParseIpv6.SuccessIs0WithOrWithoutAPort).
QAL_UINT32 XELP_Parse_IPV6(QAL_CHAR *pszIPV6Addr, QAL_UINT8 *pucAddr, QAL_UINT16 *puwPort)
{
    if (pszIPV6Addr == nullptr || pucAddr == nullptr || puwPort == nullptr) {
        return XELP_ERR_PARSE_IPV4V6_INVALID_PARA;
    }
    Ipv6Work work = {};
    Parse_Ipv4v6_S_BUF &struBuf = work.struBuf;
    if (!StartAt(pszIPV6Addr, struBuf)) {
        return XELP_ERR_PARSE_IPV4V6_INVALID;
    }
    StepOver(struBuf, '[');

    if (IsOf(kHexDigit, *struBuf.cur_bp)) {
        const QAL_UINT32 ulStatus = core_td_hexseq(work.aucAddr, &work.ulRunLen, &struBuf);
        if (ulStatus != 0) {
            return ulStatus;
        }
    }
    if (work.ulRunLen < kIp6Len && !TakeForm(work)) {
        return XELP_ERR_PARSE_IPV4V6_INVALID;
    }

    if (!work.isQuadTaken && work.ulResult == 0) {
        StepOver(struBuf, ']');
    }
    // Kept: a port makes up for a failure before it (ParseIpv6.PortMakesUpForAFailure).
    if (!work.isQuadTaken && StepOver(struBuf, ':')) {
        if (core_td_u16(&work.uwPort, kDec, &struBuf) != 0) {
            return XELP_ERR_PARSE_IPV4V6_INVALID;
        }
        work.ulResult = 0;
    }
    __builtin_memcpy(pucAddr, work.aucAddr, kIp6Len);
    *puwPort = work.uwPort;
    return work.ulResult;
}

} // extern "C"
