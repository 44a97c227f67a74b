#include <nlohmann/json.hpp>

#include "tool_runner.h"

namespace wyx::test {

namespace {

struct Good {
    const char *text;
    const char *result;
    const char *note; // part of its only note; null for no note
};

constexpr Good kGood[] = {
    {"10.0.0.1", "IPv4 10.0.0.1", nullptr},
    {"255.255.255.255:5060", "IPv4 255.255.255.255 port 5060", nullptr},
    {"1.2.3.4:0", "IPv4 1.2.3.4 port 0", nullptr},
    {"0.0.0.0", "IPv4 0.0.0.0", nullptr},
    {"010.0.0.1", "IPv4 10.0.0.1", "decimal here, but octal or refused elsewhere"},
    {"1.2.3.00", "IPv4 1.2.3.0", "decimal here, but octal or refused elsewhere"},
    {"0x7f.0.0.1", "IPv4 127.0.0.1", "hexadecimal octets"},
    {"4294967297.0.0.1", "IPv4 1.0.0.1", "reduced modulo 2^32"},
    {"1.2.3.4:70000", "IPv4 1.2.3.4 port 4464", "the port '70000' is read as 4464"},
    {"1.2.3.4:-1", "IPv4 1.2.3.4 port 65535", "the port '-1' is read as 65535"},
    {"1.2.3.4: 80", "IPv4 1.2.3.4 port 80", "the port ' 80' is read as 80"},
    {"1.2.3.4:0x50", "IPv4 1.2.3.4 port 80", "the port '0x50' is read as 80"},
    {"::", "IPv6 ::", nullptr},
    {"::0", "IPv6 ::", nullptr},
    {"[::]", "IPv6 ::", nullptr},
    {"[::1]", "IPv6 ::1", nullptr},
    {"1::", "IPv6 1::", nullptr},
    {"2001:DB8:0:0:1:0:0:1", "IPv6 2001:db8::1:0:0:1", nullptr},
    {"1:0:0:2:0:0:0:3", "IPv6 1:0:0:2::3", nullptr},
    {"1:2:3:4:5:6:0:8", "IPv6 1:2:3:4:5:6:0:8", nullptr},
    {"[2001:db8::1]:443", "IPv6 2001:db8::1 port 443", nullptr},
    {"1:2:3:4:5:6:7:8:80", "IPv6 1:2:3:4:5:6:7:8 port 80", "not a standard form"},
    {"[1:2:3:4:5:6:7:8]:80", "IPv6 1:2:3:4:5:6:7:8 port 80", nullptr},
    {"[::1]:65536", "IPv6 ::1", "the port '65536' is read as 0"},
    {"[::1]:131072", "IPv6 ::1", "the port '131072' is read as 0"},
    {"[::1]:70000", "IPv6 ::1 port 4464", "the port '70000' is read as 4464"},
    {"[::1]:-1", "IPv6 ::1 port 65535", "the port '-1' is read as 65535"},
    {"[::1]:80:99", "IPv6 ::1 port 80", "from offset 8 on is ignored: ':99'"},
    {"::1]", "IPv6 ::1", "not a standard form"},
    {"[::1", "IPv6 ::1", "not a standard form"},
    {"[::1]:00", "IPv6 ::1", nullptr},
    {"[::1]xyz", "IPv6 ::1", "from offset 5 on is ignored: 'xyz'"},
    {"[::1]:80abc", "IPv6 ::1 port 80", "from offset 8 on is ignored: 'abc'"},
    {"[::1]x9", "IPv6 ::1", "from offset 5 on is ignored: 'x9'"},
    {"::1]:80", "IPv6 ::1 port 80", "not a standard form"},
    {"[::1:80", "IPv6 ::1:80", "not a standard form"},
    {"1::2::3", "IPv6 1::2:0:0 port 3", "not a standard form"},
    {"1.2.3.4.5", "IPv6 1::203:405", "not a standard form"},
    {"1:2.1.2.3.4", "IPv6 1:2::102:304", "not a standard form"},
    {"1:2:3:4:5:6:7::8:9", "IPv6 1:2:3:4:5:6:8:9", "not a standard form"},
};

TEST(AddrToolTest, Addresses)
{
    for (const Good &good : kGood) {
        SCOPED_TRACE(good.text);
        const Outcome outcome = Wyx({"addr", good.text});
        EXPECT_EQ(outcome.code, kOk) << outcome.err;
        const std::string line = std::string(good.text) + ": " + good.result + "\n";
        EXPECT_TRUE(outcome.out.starts_with(line)) << outcome.out;
        const std::string notes = outcome.out.substr(line.size());
        EXPECT_EQ(std::ranges::count(notes, '\n'), good.note != nullptr ? 1 : 0) << notes;
        if (good.note != nullptr) {
            EXPECT_TRUE(Mentions(notes, {"  note: ", good.note}));
        }
    }
}

struct Bad {
    const char *text;
    int offset;
    const char *what;
};

constexpr Bad kBad[] = {
    {"", 0, "the text is empty"},
    {"abc", 0, "a digit is expected, not 'a'"},
    {" 1.2.3.4", 0, "a digit is expected, not ' '"},
    {"1.2.3", 5, "'.' is expected, but the text ends"},
    {"1.2.x.4", 4, "a digit is expected, not 'x'"},
    {"256.1.1.1", 0, "more than 255"},
    {"1.2.3.999", 6, "more than 255"},
    {"0x.1.2.3", 2, "a hexadecimal digit is expected, not '.'"},
    {"1.2.3.4:", 8, "a port is expected, but the text ends"},
    {"1.2.3.4:p", 8, "a port is expected, not 'p'"},
    {"1.2.3.4:80x", 10, "the end is expected, not 'x'"},
    {"1.2.3.4 ", 7, "':' and a port, is expected, not ' '"},
    {"1:2:3", 5, "only 3 groups"},
    {"[1:2:3:4:5:6:7]", 14, "only 7 groups"},
    {"[", 1, "a hexadecimal digit or '::' is expected, but the text ends"},
    {":1:2", 0, "a hexadecimal digit or '::' is expected, not ':'"},
    {"1:2:3:x", 6, "not 'x'"},
    {"1:2:3x", 5, "':' and a group, or '::', is expected, not 'x'"},
    {"0X1.2", 5, "'.' is expected, but the text ends"},
    {"g::1", 0, "not 'g'"},
    {"12345::", 4, "a group has at most 4 digits"},
    {"1::2g", 4, "not 'g'"},
    {"::g", 2, "not 'g'"},
    {"[::1]:", 6, "a port is expected"},
    {"1:2:3:4:5:6:7:8:x", 16, "a port is expected"},
    {"::ffff:1.2.3.4", 7, "a dotted quad is not accepted here"},
    {"::ffff:192.168.1.1", 7, "a dotted quad is not accepted here"},
    {"1::2::", 4, "a second '::'"},
    {"1::2::x", 4, "a second '::'"},
    {"1:2:3:4:5:6:7:8:", 16, "a port is expected, but the text ends"},
    {"1:2:3:4:5:6:7:8::", 16, "a port is expected, not ':'"},
    {"1:2:3:4:5:6:7:8::1", 16, "a port is expected, not ':'"},
    {"[::1]::4", 6, "a port is expected, not ':'"},
    {"1:2.1.2.3.4:5", 2, "a dotted quad is not accepted here"},
    {"fe80::1%eth0", 7, "a zone is not accepted"},
    {"10.0.0.0/8", 8, "a prefix length is not accepted"},
    {"2001:db8::/32", 10, "a prefix length is not accepted"},
};

TEST(AddrToolTest, FaultsAreFound)
{
    for (const Bad &bad : kBad) {
        SCOPED_TRACE(bad.text);
        const Outcome outcome = Wyx({"addr", bad.text});
        EXPECT_EQ(outcome.code, kMalformed);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(
            Mentions(outcome.err, {"at offset " + std::to_string(bad.offset) + ", ", bad.what}));
        const nlohmann::json json =
            nlohmann::json::parse(Wyx({"addr", "--json", bad.text}).out).at(0);
        EXPECT_EQ(json["text"], bad.text);
        EXPECT_EQ(json["ok"], false);
        EXPECT_EQ(json["offset"], bad.offset);
    }
}

TEST(AddrToolTest, ContinuesAfterABadText)
{
    const Outcome outcome = Wyx({"addr", "1.2.3", "1.2.3.4", "--", "-1", "::1"});
    EXPECT_EQ(outcome.code, kMalformed);
    EXPECT_EQ(outcome.out, "1.2.3.4: IPv4 1.2.3.4\n::1: IPv6 ::1\n");
}

TEST(AddrToolTest, ListFromStandardInput)
{
    const Surroundings list = {.in = "1.2.3.4:5\n\n::1\nx\n[::1]"};
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"addr"}, std::vector<std::string>{"addr", "-"}}) {
        const Outcome outcome = Wyx(arguments, list);
        EXPECT_EQ(outcome.code, kMalformed);
        EXPECT_EQ(outcome.out, "1.2.3.4:5: IPv4 1.2.3.4 port 5\n::1: IPv6 ::1\n[::1]: IPv6 ::1\n");
        EXPECT_TRUE(Mentions(outcome.err, {"'x' is not an address"}));
    }
    EXPECT_EQ(Wyx({"addr", "10.0.0.1", "-"}, {.in = "::2\n"}).out,
              "10.0.0.1: IPv4 10.0.0.1\n::2: IPv6 ::2\n");
    EXPECT_EQ(nlohmann::json::parse(Wyx({"addr", "--json"}, list).out).size(), 4U);
    EXPECT_EQ(Wyx({"addr"}, {.in = ""}).code, kOk);
    EXPECT_EQ(Wyx({"addr"}, {.isInClosed = true}).code, kIo);
    const Outcome binary = Wyx({"addr"}, {.in = std::string(2000000, 'x')});
    EXPECT_EQ(binary.code, kMalformed);
    EXPECT_TRUE(Mentions(binary.err, {"standard input has a line of more than 1 MiB"}));
}

TEST(AddrToolTest, DoesNotWaitForATerminal)
{
    WYX_NEED_TERMINALS();
    EXPECT_EQ(Wyx({"addr"}, {.isInTerminal = true}).code, kUsage);
}

TEST(AddrToolTest, Json)
{
    const nlohmann::json json =
        nlohmann::json::parse(Wyx({"addr", "--json", "010.0.0.1:53", "[::1]"}).out);
    ASSERT_EQ(json.size(), 2U);
    EXPECT_EQ(json[0]["text"], "010.0.0.1:53");
    EXPECT_EQ(json[0]["ok"], true);
    EXPECT_EQ(json[0]["family"], "IPv4");
    EXPECT_EQ(json[0]["address"], "10.0.0.1");
    EXPECT_EQ(json[0]["port"], 53);
    EXPECT_EQ(json[0]["notes"].size(), 1U);
    EXPECT_EQ(json[1]["family"], "IPv6");
    EXPECT_TRUE(json[1]["port"].is_null());
    EXPECT_TRUE(json[1]["notes"].empty());
}

} // namespace

} // namespace wyx::test
