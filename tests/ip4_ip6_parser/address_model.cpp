#include "address_model.h"

#include <algorithm>

namespace wyx::test {
namespace {

constexpr QAL_UINT32 kInvalid = 30;
constexpr std::string_view kDec = "0123456789";
constexpr std::string_view kHex = "0123456789abcdefABCDEF";

/// The character at an index; NUL after the end.
char At(std::string_view text, std::size_t at)
{
    return at < text.size() ? text[at] : '\0';
}

bool IsHexAt(std::string_view text, std::size_t at)
{
    return at < text.size() && kHex.find(text[at]) != std::string_view::npos;
}

std::string_view From(std::string_view text, std::size_t at)
{
    return text.substr(std::min(at, text.size()));
}

/// The characters at the start of a text that are in @p set.
std::string_view Leading(std::string_view text, std::string_view set)
{
    return text.substr(0, std::min(text.find_first_not_of(set), text.size()));
}

bool HasHexPrefix(std::string_view text)
{
    return text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
}

unsigned int ValueOf(char chDigit)
{
    const auto at = static_cast<unsigned int>(kHex.find(chDigit));
    return at < 16 ? at : at - 6;
}

struct Sum {
    std::uint64_t value;
    bool overflows; ///< then the value is the largest that fits in 64 bits
};

Sum SumOf(std::string_view digits, unsigned int base)
{
    unsigned __int128 value = 0;
    for (const char chDigit : digits) {
        value = value * base + ValueOf(chDigit);
        if (value > UINT64_MAX) {
            return {UINT64_MAX, true};
        }
    }
    return {static_cast<std::uint64_t>(value), false};
}

} // namespace

Number ModelNumber(std::string_view text, int iBase)
{
    std::size_t at = Leading(text, " \t\n\v\f\r").size();
    const bool isNegative = At(text, at) == '-';
    if (isNegative || At(text, at) == '+') {
        ++at;
    }
    if (iBase == 16 && HasHexPrefix(From(text, at)) && IsHexAt(text, at + 2)) {
        at += 2;
    }
    const std::string_view digits = Leading(From(text, at), iBase == 16 ? kHex : kDec);
    if (digits.empty()) {
        return {};
    }
    const Sum sum = SumOf(digits, static_cast<unsigned int>(iBase));
    return {isNegative && !sum.overflows ? 0 - sum.value : sum.value, at + digits.size()};
}

GroupRun ModelGroup(std::string_view text, std::size_t at)
{
    const std::string_view digits = Leading(From(text, at), kHex);
    const char chNext = At(text, at + digits.size());
    const bool isEnd = chNext == '.' || chNext == ':' || chNext == ']' || chNext == '\0';
    if (digits.empty() || digits.size() > 4 || !isEnd) {
        return {kInvalid, "", at + std::min(digits.size(), std::size_t{4})};
    }
    const std::uint64_t value = SumOf(digits, 16).value;
    return {0, {static_cast<char>(value >> 8), static_cast<char>(value)}, at + digits.size()};
}

GroupRun ModelGroups(std::string_view text, std::size_t at)
{
    GroupRun run = {0, "", at};
    if (!IsHexAt(text, at)) {
        return run;
    }
    for (;;) {
        const GroupRun group = ModelGroup(text, run.end);
        run = {group.status, run.bytes + group.bytes, group.end};
        if (run.status != 0 || At(text, run.end) != ':' || !IsHexAt(text, run.end + 1) ||
            run.bytes.size() == 16) {
            return run;
        }
        const char c1 = At(text, run.end + 1);
        const char c2 = At(text, run.end + 2);
        const char c3 = At(text, run.end + 3);
        const char c4 = At(text, run.end + 4);
        if (c2 == '.' || c3 == '.' || c4 == '.') {
            const std::size_t left = text.size() - run.end;
            if (!(left < 5 || c2 == ':' || c1 == '0' || c2 == '.' || c3 == ':' || c4 == ':')) {
                return run;
            }
        }
        ++run.end;
    }
}

Ipv4 ModelIpv4(std::string_view text)
{
    QAL_UINT32 address = 0;
    std::size_t at = 0;
    for (int iOctet = 0; iOctet < 4; ++iOctet) {
        if (iOctet > 0 && At(text, at++) != '.') {
            return {};
        }
        const bool isHex = HasHexPrefix(From(text, at));
        at += isHex ? 2 : 0;
        const std::string_view digits = Leading(From(text, at), isHex ? kHex : kDec);
        if (digits.empty()) {
            return {};
        }
        const std::uint64_t value = SumOf(digits, isHex ? 16 : 10).value & 0xFFFFFFFF;
        if (value > 255) {
            return {};
        }
        address = address << 8 | static_cast<QAL_UINT32>(value);
        at += digits.size();
    }
    if (at == text.size()) {
        return {0, address, 0};
    }
    if (text[at++] != ':') {
        return {};
    }
    const bool isHex = HasHexPrefix(From(text, at));
    at += isHex ? 2 : 0;
    const Number port = ModelNumber(From(text, at), isHex ? 16 : 10);
    if (port.consumed == 0 || at + port.consumed != text.size()) {
        return {};
    }
    return {1, address, static_cast<QAL_UINT16>(port.value)};
}

Ipv6 ModelIpv6(std::string_view text)
{
    Ipv6Output output;
    const auto place = [&](const std::string &bytes, std::size_t end) {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            if (end + i >= bytes.size()) { // the others would come before the first byte
                output.address[end + i - bytes.size()] = static_cast<QAL_UINT8>(bytes[i]);
            }
        }
    };

    std::size_t at = At(text, 0) == '[' ? 1 : 0;
    const GroupRun head = ModelGroups(text, at);
    if (head.status != 0) {
        return {};
    }
    place(head.bytes, head.bytes.size());
    at = head.end;

    QAL_UINT32 status = 0;
    bool hasTail = false;
    if (head.bytes.size() < 16) {
        const std::string_view rest = From(text, at);
        if (rest.substr(0, 2) == "::" && IsHexAt(rest, 2)) {
            const GroupRun run = ModelGroups(text, at + 2);
            at = run.end;
            status = run.status;
            if (status == 0) {
                const char chNext = At(text, at);
                if (chNext == '\0' || chNext == ']') {
                    place(run.bytes, 16);
                } else if (chNext == ':') {
                    ++at;
                    status = kInvalid; // unless a port follows
                    place(run.bytes, 12);
                } else {
                    return {};
                }
            }
        } else if (rest.substr(0, 3) == ":::") {
            at += 3;
            status = kInvalid;
        } else if (At(rest, 0) == '.' && IsHexAt(rest, 1)) {
            const Ipv4 quad = ModelIpv4(rest.substr(1));
            if (quad.status != 0) {
                return {};
            }
            for (std::size_t i = 0; i < 4; ++i) {
                output.address[12 + i] = static_cast<QAL_UINT8>(quad.address >> (24 - 8 * i));
            }
            hasTail = true;
        } else if (rest == "::" || rest.substr(0, 3) == "::]") {
            at += 2;
        } else {
            return {};
        }
    }
    if (!hasTail) {
        if (At(text, at) == ']' && status == 0) {
            ++at;
        }
        if (At(text, at) == ':') {
            const Number port = ModelNumber(From(text, at + 1), 10);
            if (port.consumed == 0) {
                return {};
            }
            output.port = static_cast<QAL_UINT16>(port.value);
            status = 0;
        }
    }
    return {status, output};
}

} // namespace wyx::test
