// A second implementation of the address parsers' grammar, over whole strings and without regard to
// speed.
#ifndef WYX_TESTS_IP4_IP6_PARSER_ADDRESS_MODEL_H
#define WYX_TESTS_IP4_IP6_PARSER_ADDRESS_MODEL_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "wyx_commlib/types.h"

namespace wyx::test {

/// What strtoul() reads at the start of a text.
struct Number {
    std::uint64_t value = 0;
    std::size_t consumed = 0; ///< 0: there is no number
};
Number ModelNumber(std::string_view text, int iBase);

/// What a reader returns, and where it leaves the cursor.
struct GroupRun {
    QAL_UINT32 status = 0;
    std::string bytes = {}; ///< what was read, high byte first
    std::size_t end = 0;    ///< where the cursor is
    bool operator==(const GroupRun &) const = default;
};
GroupRun ModelGroup(std::string_view text, std::size_t at);
GroupRun ModelGroups(std::string_view text, std::size_t at);

struct Ipv4 {
    QAL_UINT32 status = 30;
    QAL_UINT32 address = 0;
    QAL_UINT16 port = 0;
    bool operator==(const Ipv4 &) const = default;
};
Ipv4 ModelIpv4(std::string_view text);

struct Ipv6Output {
    std::array<QAL_UINT8, 16> address = {};
    QAL_UINT16 port = 0;
    bool operator==(const Ipv6Output &) const = default;
};
struct Ipv6 {
    QAL_UINT32 status = 30;
    std::optional<Ipv6Output> output = {}; ///< nullopt: untouched
    bool operator==(const Ipv6 &) const = default;
};
Ipv6 ModelIpv6(std::string_view text);

} // namespace wyx::test

#endif
