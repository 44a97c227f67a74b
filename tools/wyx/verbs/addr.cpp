// wyx addr: what an address text means to the library, or what is wrong with it.
//
// The library's parsers decide. A text that they refuse is parsed once more here, only to say where
// it is wrong.
#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "system/json.h"
#include "system/line_input.h"
#include "system/terminal.h"
#include "verbs/arguments.h"
#include "verbs/verbs.h"
#include "wyx_commlib/ip4_ip6_parser.h"

namespace wyx::tool {

namespace {

constexpr std::size_t kGroups = 8;
constexpr std::size_t kMostGroupDigits = 4;
constexpr unsigned long kLargestOctet = 255;
constexpr unsigned long kLargestPort = 65535;
constexpr const char *kDigits = "0123456789";
constexpr const char *kHexDigits = "0123456789abcdefABCDEF";

/// An address, as far as the library reports it.
struct Address {
    int family = 0; // 4 or 6
    std::string text;
    std::optional<QAL_UINT16> port;
    bool operator==(const Address &) const = default;
};

/// What is wrong with a text, and where.
struct Fault {
    std::size_t offset = 0;
    std::string what;
};

std::string Ipv4Text(QAL_UINT32 ulAddr)
{
    char text[16];
    std::snprintf(text, sizeof text, "%u.%u.%u.%u", ulAddr >> 24, ulAddr >> 16 & 0xFF,
                  ulAddr >> 8 & 0xFF, ulAddr & 0xFF);
    return text;
}

/// Groups without leading zeros, the longest run of two or more zero groups as "::".
std::string Ipv6Text(const std::array<QAL_UINT8, 2 * kGroups> &bytes)
{
    std::string text = ":"; // a colon before and after each group
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        char group[8];
        std::snprintf(group, sizeof group, "%x:", unsigned{bytes[i]} << 8 | bytes[i + 1]);
        text += group;
    }
    std::string zeros = ":0:0:0:0:0:0:0:0:";
    while (zeros.size() > 3 && text.find(zeros) == std::string::npos) {
        zeros.resize(zeros.size() - 2);
    }
    if (zeros.size() > 3) {
        text.replace(text.find(zeros), zeros.size(), "::");
    }
    const std::size_t begin = text.starts_with("::") ? 0 : 1;
    return text.substr(begin, text.size() - begin - (text.ends_with("::") ? 0 : 1));
}

std::optional<Address> Parse(std::string text)
{
    QAL_UINT32 ulAddr = 0;
    QAL_UINT16 uwPort = 0;
    const QAL_UINT32 ulIpv4 = XELP_Parse_IPV4(text.data(), &ulAddr, &uwPort);
    if (ulIpv4 == 0 || ulIpv4 == XELP_OK_HAVE_PORT) {
        return Address{4, Ipv4Text(ulAddr), ulIpv4 == 0 ? std::nullopt : std::optional(uwPort)};
    }
    std::array<QAL_UINT8, 2 *kGroups> bytes = {};
    if (XELP_Parse_IPV6(text.data(), bytes.data(), &uwPort) == 0) {
        // This parser reports port 0 as no port.
        return Address{6, Ipv6Text(bytes), uwPort != 0 ? std::optional(uwPort) : std::nullopt};
    }
    return std::nullopt;
}

/// The fault at an offset where @p what was expected.
Fault Expected(const std::string &text, std::size_t at, const std::string &what)
{
    if (at >= text.size()) {
        return {at, what + " is expected, but the text ends"};
    }
    const std::string found = text.substr(at, 1);
    return {at, found == "%"   ? "a zone is not accepted"
                : found == "/" ? "a prefix length is not accepted"
                               : what + " is expected, not " + Quoted(found)};
}

std::size_t EndOfRun(const std::string &text, std::size_t at, const char *characters)
{
    return std::min(text.find_first_not_of(characters, at), text.size());
}

bool IsHexPrefix(const std::string &text, std::size_t at)
{
    return text.substr(at, 2) == "0x" || text.substr(at, 2) == "0X";
}

/// The end of a number at @p at, in base 16 after "0x"; @p at itself if there are no digits.
std::size_t EndOfNumber(const std::string &text, std::size_t at)
{
    if (!IsHexPrefix(text, at)) {
        return EndOfRun(text, at, kDigits);
    }
    const std::size_t end = EndOfRun(text, at + 2, kHexDigits);
    return end == at + 2 ? at : end;
}

unsigned long ValueOf(const std::string &number)
{
    return std::strtoul(number.c_str(), nullptr, IsHexPrefix(number, 0) ? 16 : 10);
}

/// Why a text is not an IPv4 address with or without a port.
Fault Ipv4Fault(const std::string &text)
{
    std::size_t at = 0;
    for (int octet = 1; octet <= 4; ++octet) {
        if (octet > 1 && text[at++] != '.') {
            return Expected(text, at - 1, "'.'");
        }
        const std::size_t end = EndOfNumber(text, at);
        if (end == at) {
            return IsHexPrefix(text, at) ? Expected(text, at + 2, "a hexadecimal digit")
                                         : Expected(text, at, "a digit");
        }
        if ((ValueOf(text.substr(at, end - at)) & 0xFFFFFFFFUL) > kLargestOctet) {
            return {at, "this octet is more than 255"};
        }
        at = end;
    }
    if (text[at] != ':') {
        return Expected(text, at, "the end, or ':' and a port,");
    }
    const std::size_t end = EndOfNumber(text, at + 1);
    return Expected(text, end, end == at + 1 ? "a port" : "the end");
}

/// Why a text is not an IPv6 address with or without a port.
Fault Ipv6Fault(const std::string &text)
{
    std::size_t at = text.starts_with('[') ? 1 : 0;
    std::size_t groups = 0;
    bool isCompressed = false;
    for (bool isGroupDue = true; isGroupDue && groups < kGroups;) {
        if (!isCompressed && text.substr(at, 2) == "::") {
            isCompressed = true;
            at += 2;
            isGroupDue = EndOfRun(text, at, kHexDigits) > at;
            continue;
        }
        const std::size_t end = EndOfRun(text, at, kHexDigits);
        if (end == at) {
            return Expected(text, at, "a hexadecimal digit or '::'");
        }
        if (end - at > kMostGroupDigits) {
            return {at + kMostGroupDigits, "a group has at most 4 digits"};
        }
        if (text[end] == '.') {
            return {at, "a dotted quad is not accepted here"};
        }
        at = end;
        ++groups;
        const bool isColons = text.substr(at, 2) == "::";
        isGroupDue = text[at] == ':' && !(isColons && isCompressed);
        at += isGroupDue && !isColons && groups < kGroups ? 1 : 0;
    }
    const bool isEnd = at >= text.size() || text[at] == ']';
    if (!isCompressed && groups < kGroups) {
        return isEnd
                   ? Fault{at, "only " + std::to_string(groups) + " groups: 8, or '::', are needed"}
                   : Expected(text, at, "':' and a group, or '::',");
    }
    if (groups < kGroups && text.substr(at, 2) == "::") {
        return {at, "a second '::'"};
    }
    if (!isEnd && text[at] != ':') {
        return Expected(text, at, "':' and a group, ']' or the end");
    }
    for (const char ch : {']', ':'}) {
        at += at < text.size() && text[at] == ch ? 1U : 0U;
    }
    return Expected(text, at, "a port");
}

Fault FaultOf(const std::string &text)
{
    if (text.empty()) {
        return {0, "the text is empty"};
    }
    const bool isIpv6 = text.front() == '[' || std::ranges::count(text, ':') > 1;
    return isIpv6 ? Ipv6Fault(text) : Ipv4Fault(text);
}

/// The length of an accepted text without its ignored rest. To find the rest, the text is cut after
/// each character in turn: it begins with the first one after which "?", "1" and ":1" can all
/// follow without changing the result.
std::size_t LengthThatMatters(const std::string &text, const Address &address)
{
    std::size_t length = 0;
    while (length < text.size() &&
           !std::ranges::all_of(std::array{"?", "1", ":1"}, [&](const char *other) {
               return Parse(text.substr(0, length + 1) + other) == address;
           })) {
        ++length;
    }
    return length;
}

void NoteOctets(const std::string &text, std::vector<std::string> &notes)
{
    bool hasZero = false;
    bool hasHex = false;
    bool isReduced = false;
    std::size_t at = 0;
    for (int octet = 0; octet < 4; ++octet) {
        const std::size_t end = EndOfNumber(text, at);
        const std::string number = text.substr(at, end - at);
        at = end + 1;
        hasHex = hasHex || IsHexPrefix(number, 0);
        hasZero = hasZero || (number.size() > 1 && number[0] == '0' && !IsHexPrefix(number, 0));
        isReduced = isReduced || ValueOf(number) > kLargestOctet;
    }
    if (hasZero) {
        notes.emplace_back(
            "leading zeros are decimal here, but octal or refused elsewhere: "
            "another parser may read another address");
    }
    if (hasHex) {
        notes.emplace_back("hexadecimal octets are refused elsewhere");
    }
    if (isReduced) {
        notes.emplace_back("an octet was reduced modulo 2^32; elsewhere it is refused");
    }
}

/// The port's text, after the colon; empty if there is no port.
std::string PortText(const std::string &text, const Address &address)
{
    const std::size_t bracket = text.find("]:");
    const std::size_t colon = bracket != std::string::npos ? bracket + 1
                              : address.port               ? text.rfind(':')
                                                           : text.size() - 1;
    return text.substr(colon + 1);
}

/// Is this "ADDRESS", "[ADDRESS]" or "[ADDRESS]:PORT", and does inet_pton() read the same address?
bool IsStandardIpv6(const std::string &text, const Address &address)
{
    const std::string port = PortText(text, address);
    std::string bare = port.empty() ? text : text.substr(0, text.size() - port.size() - 1);
    if (bare.starts_with('[') && bare.ends_with(']')) {
        bare = bare.substr(1, bare.size() - 2);
    } else if (!port.empty()) {
        return false;
    }
    std::array<QAL_UINT8, 2 *kGroups> bytes = {};
    return inet_pton(AF_INET6, bare.c_str(), bytes.data()) == 1 && Ipv6Text(bytes) == address.text;
}

std::vector<std::string> NotesOf(const std::string &whole, const Address &address)
{
    std::vector<std::string> notes;
    const std::string text = whole.substr(0, LengthThatMatters(whole, address));
    if (address.family == 4) {
        NoteOctets(text, notes);
    }
    if (text.size() < whole.size()) {
        notes.push_back("the text from offset " + std::to_string(text.size()) +
                        " on is ignored: " + Quoted(whole.substr(text.size())));
    }
    if (address.family == 6 && !IsStandardIpv6(text, address)) {
        notes.emplace_back(
            "not a standard form: another parser may refuse it or read another address");
    }
    const std::string port = PortText(text, address);
    const bool isPlain = port.find_first_not_of(kDigits) == std::string::npos;
    if (!isPlain || ValueOf(port) > kLargestPort) {
        notes.push_back("the port " + Quoted(port) + " is read as " +
                        std::to_string(address.port.value_or(0)) + ", and refused elsewhere");
    }
    return notes;
}

void PutAddress(const std::string &text, const Address &address,
                const std::vector<std::string> &notes)
{
    std::string line = Shown(text) + ": " +
                       Painted(Stream::kOut, Colour::kName,
                               "IPv" + std::to_string(address.family) + " " + address.text);
    if (address.port) {
        line += " port " + std::to_string(*address.port);
    }
    Put(line + "\n");
    for (const std::string &note : notes) {
        Put("  " + Painted(Stream::kOut, Colour::kWarning, "note:") + " " + note + "\n");
    }
}

Json ToJson(const std::string &text, const Address &address, const std::vector<std::string> &notes)
{
    Json item;
    SetText(item, "text", text);
    item["ok"] = true;
    item["family"] = "IPv" + std::to_string(address.family);
    item["address"] = address.text;
    item["port"] = address.port ? Json(*address.port) : Json();
    item["notes"] = notes;
    return item;
}

Json ToJson(const std::string &text, const Fault &fault)
{
    Json item;
    SetText(item, "text", text);
    item["ok"] = false;
    item["offset"] = fault.offset;
    SetText(item, "error", fault.what);
    return item;
}

void Explain(const std::string &text, Results &results)
{
    if (const std::optional<Address> address = Parse(text)) {
        const std::vector<std::string> notes = NotesOf(text, *address);
        results.IsJson() ? results.Add(ToJson(text, *address, notes))
                         : PutAddress(text, *address, notes);
        return;
    }
    results.Note(ExitCode::kMalformed);
    const Fault fault = FaultOf(text);
    results.IsJson() ? results.Add(ToJson(text, fault))
                     : PutError(Quoted(text) + " is not an address: at offset " +
                                std::to_string(fault.offset) + ", " + fault.what);
}

} // namespace

ExitCode RunAddr(const Arguments &arguments)
{
    Results results(arguments.Has("json"));
    for (const std::string &text : arguments.Inputs()) {
        if (text != "-") {
            Explain(text, results);
            continue;
        }
        LineInput lines(text);
        for (std::string line; lines.Next(line);) {
            if (!line.empty()) {
                Explain(line, results);
            }
        }
    }
    return results.Finish();
}

} // namespace wyx::tool
