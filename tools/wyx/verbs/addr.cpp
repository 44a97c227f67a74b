// wyx addr: what an address text means to the library, or what is wrong with it.
//
// What counts is what the library's parsers say. Only where they refuse a text is it walked once
// more, with their building blocks, to tell where.
#include <arpa/inet.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "system/json.h"
#include "system/terminal.h"
#include "verbs/operand.h"
#include "verbs/verbs.h"
#include "wyx_commlib/ip4_ip6_parser.h"

namespace wyx::tool {

namespace {

constexpr std::size_t kGroups = 8;
constexpr QAL_UINT32 kDigit = 0x04;    // of QAL_CHARset
constexpr QAL_UINT32 kHexDigit = 0x80; // of QAL_CHARset
constexpr unsigned long kLargestOctet = 255;
constexpr unsigned long kLargestPort = 65535;

struct Options {
    std::vector<Operand> texts;
    bool isJson = false;
};

/// An address, as far as the library tells.
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
    std::array<unsigned, kGroups> groups = {};
    for (std::size_t i = 0; i < kGroups; ++i) {
        groups[i] = static_cast<unsigned>(bytes[2 * i] << 8 | bytes[2 * i + 1]);
    }
    std::size_t best = kGroups;
    std::size_t bestLength = 1;
    for (std::size_t i = 0; i < kGroups; ++i) {
        std::size_t end = i;
        while (end < kGroups && groups[end] == 0) {
            ++end;
        }
        if (end - i > bestLength) {
            best = i;
            bestLength = end - i;
        }
    }
    std::string text;
    for (std::size_t i = 0; i < kGroups; ++i) {
        if (i == best) {
            text += "::";
            i += bestLength - 1;
            continue;
        }
        char group[8];
        std::snprintf(group, sizeof group, "%x", groups[i]);
        text += (text.empty() || text.back() == ':' ? "" : ":") + std::string(group);
    }
    return text;
}

std::optional<Address> Parse(std::string text)
{
    QAL_UINT32 ulAddr = 0;
    QAL_UINT16 uwPort = 0;
    const QAL_UINT32 ulIpv4 = XELP_Parse_IPV4(text.data(), &ulAddr, &uwPort);
    if (ulIpv4 == 0) {
        return Address{4, Ipv4Text(ulAddr), std::nullopt};
    }
    if (ulIpv4 == XELP_OK_HAVE_PORT) {
        return Address{4, Ipv4Text(ulAddr), uwPort};
    }
    std::array<QAL_UINT8, 2 *kGroups> bytes = {};
    if (XELP_Parse_IPV6(text.data(), bytes.data(), &uwPort) == 0) {
        // This parser does not tell port 0 from none.
        return Address{6, Ipv6Text(bytes), uwPort != 0 ? std::optional(uwPort) : std::nullopt};
    }
    return std::nullopt;
}

/// A reader of the library over a text.
class Cursor {
  public:
    explicit Cursor(std::string text) : text_(std::move(text))
    {
        buffer_.cur_bp = text_.data();
        buffer_.cur_bp_rem_len = static_cast<QAL_INT>(text_.size());
    }

    /// The character so many behind the cursor; NUL behind the end.
    char At(std::size_t ahead = 0) const
    {
        return Offset() + ahead < text_.size() ? text_[Offset() + ahead] : '\0';
    }
    bool IsAtEnd() const { return buffer_.cur_bp_rem_len == 0; }
    bool Is(QAL_UINT32 ulClass, std::size_t ahead = 0) const
    {
        return (QAL_CHARset[static_cast<unsigned char>(At(ahead))] & ulClass) != 0;
    }
    std::size_t Offset() const { return static_cast<std::size_t>(buffer_.cur_bp - text_.data()); }
    void Skip(std::size_t count)
    {
        buffer_.cur_bp += count;
        buffer_.cur_bp_rem_len -= static_cast<QAL_INT>(count);
    }
    Parse_Ipv4v6_S_BUF_PTR Get() { return &buffer_; }

    Fault Here(const std::string &what) const { return {Offset(), what}; }
    /// A fault of the character at the cursor.
    Fault Instead(const std::string &expected) const
    {
        return Here(
            expected + " is expected" +
            (IsAtEnd() ? ", but the text ends" : ", not " + Quoted(text_.substr(Offset(), 1))));
    }

  private:
    std::string text_;
    Parse_Ipv4v6_S_BUF buffer_ = {};
};

bool IsHexPrefix(const Cursor &cursor)
{
    return cursor.At() == '0' && (cursor.At(1) == 'x' || cursor.At(1) == 'X');
}

/// Skips a run of digits, of base 16 behind "0x", and gives its text.
std::string TakeNumber(Cursor &cursor)
{
    const bool isHex = IsHexPrefix(cursor);
    std::string digits = isHex ? "0x" : "";
    cursor.Skip(digits.size());
    while (cursor.Is(isHex ? kHexDigit : kDigit)) {
        digits += cursor.At();
        cursor.Skip(1);
    }
    return digits;
}

unsigned long ValueOf(const std::string &number)
{
    return std::strtoul(number.c_str(), nullptr, number.starts_with("0x") ? 16 : 10);
}

/// Why a text is no IPv4 address with or without a port.
Fault Ipv4Fault(const std::string &text)
{
    Cursor cursor(text);
    for (int octet = 1; octet <= 4; ++octet) {
        if (octet > 1) {
            if (cursor.At() != '.') {
                return cursor.Instead("'.'");
            }
            cursor.Skip(1);
        }
        const bool isHex = IsHexPrefix(cursor);
        if (!cursor.Is(isHex ? kHexDigit : kDigit, isHex ? 2 : 0)) {
            cursor.Skip(isHex ? 2 : 0);
            return cursor.Instead(isHex ? "a hexadecimal digit" : "a digit");
        }
        const Fault start = cursor.Here("this octet is more than 255");
        if ((ValueOf(TakeNumber(cursor)) & 0xFFFFFFFFUL) > kLargestOctet) {
            return start;
        }
    }
    if (cursor.At() != ':') {
        return cursor.Instead("the end, or ':' and a port,");
    }
    cursor.Skip(1);
    const bool isHex = IsHexPrefix(cursor);
    cursor.Skip(isHex ? 2 : 0);
    QAL_UINT16 uwPort = 0;
    if (core_td_u16(&uwPort, isHex ? 16 : 10, cursor.Get()) != 0) {
        return cursor.Instead("a port");
    }
    return cursor.Instead("the end");
}

/// Why a text is no IPv6 address with or without a port.
Fault Ipv6Fault(const std::string &text)
{
    Cursor cursor(text);
    cursor.Skip(cursor.At() == '[' ? 1 : 0);
    QAL_UINT8 aucGroups[20];
    QAL_UINT32 ulHead = 0;
    if (core_td_hexseq(aucGroups, &ulHead, cursor.Get()) != 0) {
        return cursor.Instead("a hexadecimal digit, ':' or the end of a group of at most 4 digits");
    }
    const bool isCompressed = cursor.At() == ':' && cursor.At(1) == ':';
    if (ulHead < 2 * kGroups && cursor.At() == '.') {
        return cursor.Here("a dotted quad is accepted only if nothing follows it");
    }
    if (ulHead < 2 * kGroups && !isCompressed) {
        return cursor.IsAtEnd() || cursor.At() == ']'
                   ? cursor.Here("only " + std::to_string(ulHead / 2) +
                                 " groups: 8, or '::', are needed")
                   : cursor.Instead("':' and a group, or '::',");
    }
    if (isCompressed && ulHead < 2 * kGroups) {
        cursor.Skip(2);
        QAL_UINT32 ulTail = 0;
        if (core_td_hexseq(aucGroups, &ulTail, cursor.Get()) != 0) {
            return cursor.Instead(
                "a hexadecimal digit, ':' or the end of a group of at most 4 digits");
        }
        if (cursor.At() == '.') {
            return cursor.Here("a dotted quad behind '::' is not accepted");
        }
        const bool isEnd = cursor.IsAtEnd() || cursor.At() == ']' || cursor.At() == ':';
        if (!isEnd) {
            return cursor.Instead("':' and a group, ']' or the end");
        }
        if (cursor.At() == ':') {
            const bool isQuad = text.find('.', cursor.Offset()) != std::string::npos;
            return cursor.Here(isQuad ? "a dotted quad behind '::' is not accepted"
                                      : "a second '::', or a port without digits");
        }
    }
    const std::size_t colon = text.find(':', cursor.Offset());
    return {colon == std::string::npos ? cursor.Offset() : colon + 1, "a port is expected"};
}

Fault FaultOf(const std::string &text)
{
    if (text.empty()) {
        return {0, "the text is empty"};
    }
    const bool isIpv6 = text.front() == '[' || std::ranges::count(text, ':') > 1;
    return isIpv6 ? Ipv6Fault(text) : Ipv4Fault(text);
}

/// How much of an accepted text matters: the characters behind are never looked at.
std::size_t LengthThatMatters(const std::string &text, const Address &address)
{
    std::string changed = text;
    for (std::size_t length = text.size(); length > 0; --length) {
        // A digit could be followed by another one without a difference, were it a leading zero.
        const char other = changed[length - 1] == '9' ? '8' : '9';
        const bool isDigit =
            (QAL_CHARset[static_cast<unsigned char>(changed[length - 1])] & kDigit) != 0;
        changed[length - 1] = '\x01';
        bool isIgnored = Parse(changed) == address;
        if (isDigit) {
            changed[length - 1] = other;
            isIgnored = isIgnored && Parse(changed) == address;
        }
        if (!isIgnored) {
            return length;
        }
        changed.resize(length - 1);
        if (Parse(changed) != address) {
            return length;
        }
    }
    return text.size();
}

void NoteOctets(const std::string &text, std::vector<std::string> &notes)
{
    bool hasZero = false;
    bool hasHex = false;
    bool isReduced = false;
    Cursor cursor(text);
    for (int octet = 0; octet < 4; ++octet) {
        const std::string number = TakeNumber(cursor);
        hasHex = hasHex || number.starts_with("0x");
        hasZero = hasZero || (number.size() > 1 && number[0] == '0' && number[1] != 'x');
        isReduced = isReduced || ValueOf(number) > kLargestOctet;
        cursor.Skip(octet < 3 ? 1 : 0);
    }
    if (hasZero) {
        notes.emplace_back(
            "leading zeros are decimal here, but octal elsewhere: another parser may "
            "read another address");
    }
    if (hasHex) {
        notes.emplace_back("hexadecimal octets are refused elsewhere");
    }
    if (isReduced) {
        notes.emplace_back("an octet was reduced modulo 2^32; elsewhere it is refused");
    }
}

/// Does the standard reader of IPv6 addresses read a text as this address?
bool IsStandardIpv6(const std::string &text, const Address &address)
{
    std::array<QAL_UINT8, 2 *kGroups> bytes = {};
    return inet_pton(AF_INET6, text.c_str(), bytes.data()) == 1 && Ipv6Text(bytes) == address.text;
}

/// The address in a text that holds brackets or a port beside it.
std::string BareIpv6(std::string text, bool hasPort)
{
    const std::size_t bracket = text.find(']');
    if (bracket != std::string::npos) {
        text.resize(bracket);
    } else if (hasPort) {
        text.resize(text.rfind(':'));
    }
    return text.starts_with('[') ? text.substr(1) : text;
}

std::vector<std::string> NotesOf(const std::string &text, const Address &address)
{
    std::vector<std::string> notes;
    if (address.family == 4) {
        NoteOctets(text, notes);
    }
    const std::size_t length = LengthThatMatters(text, address);
    if (length < text.size()) {
        notes.push_back("the text from offset " + std::to_string(length) +
                        " on is ignored: " + Quoted(text.substr(length)));
    }
    const bool isUnpaired =
        (text.find('[') == std::string::npos) != (text.find(']') == std::string::npos);
    if (address.family == 6 &&
        (isUnpaired ||
         !IsStandardIpv6(BareIpv6(text.substr(0, length), address.port.has_value()), address))) {
        notes.emplace_back(
            "not a standard form: another parser may refuse it or read another address");
    }
    const std::size_t colon = text.rfind(':', length);
    if (address.port && colon != std::string::npos) {
        const std::string port = text.substr(colon + 1, length - colon - 1);
        const bool isPlain = !port.empty() && std::ranges::all_of(port, [](char ch) {
            return (QAL_CHARset[static_cast<unsigned char>(ch)] & kDigit) != 0;
        });
        if (!isPlain || ValueOf(port) > kLargestPort) {
            notes.push_back("the port " + Quoted(port) + " is read as " +
                            std::to_string(*address.port) + ", and refused elsewhere");
        }
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
    item["port"] = nullptr;
    if (address.port) {
        item["port"] = *address.port;
    }
    item["notes"] = notes;
    return item;
}

ExitCode Run(const Options &options)
{
    ExitCode worst = ExitCode::kOk;
    Json document = Json::array();
    for (const std::string &text : Texts(options.texts)) {
        const std::optional<Address> address = Parse(text);
        if (address) {
            const std::vector<std::string> notes = NotesOf(text, *address);
            if (options.isJson) {
                document.push_back(ToJson(text, *address, notes));
            } else {
                PutAddress(text, *address, notes);
            }
            continue;
        }
        worst = ExitCode::kMalformed;
        const Fault fault = FaultOf(text);
        if (options.isJson) {
            Json item;
            SetText(item, "text", text);
            item["ok"] = false;
            item["offset"] = fault.offset;
            item["error"] = fault.what;
            document.push_back(std::move(item));
        } else {
            PutError(Quoted(text) + " is no address: at offset " + std::to_string(fault.offset) +
                     ", " + fault.what);
        }
    }
    if (options.isJson) {
        PutJson(document);
    }
    return worst;
}

} // namespace

void AddAddr(CLI::App &app, Action &chosen)
{
    CLI::App *const verb =
        app.add_subcommand("addr", "What IPv4 and IPv6 addresses mean to the library");
    const auto options = std::make_shared<Options>();
    verb->add_option("TEXT", options->texts, "addresses, with or without a port")
        ->required()
        ->type_name("");
    verb->add_flag("--json", options->isJson, "write JSON");
    verb->footer(
        "Tells family, address in canonical form and port, or what is wrong and at which offset\n"
        "(exit code 4). Notes warn of texts that other parsers read otherwise. An IPv6 address\n"
        "with port 0 is shown like one without a port.\n"
        "\n"
        "Examples:\n"
        "  wyx addr 10.0.0.1:5060 '[2001:db8::1]:443'\n"
        "  wyx addr --json 010.0.0.1");
    verb->callback([options, &chosen] { chosen = [options] { return Run(*options); }; });
}

} // namespace wyx::tool
