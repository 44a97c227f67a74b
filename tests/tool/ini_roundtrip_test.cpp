#include <nlohmann/json.hpp>

#include "tool_runner.h"

namespace wyx::test {

namespace {

using nlohmann::json;

class IniRoundtripTest : public ToolTest {};

TEST_F(IniRoundtripTest, Json)
{
    const std::string content = "[a]\nk=1\\\n2\nl=3\n[b]\nk=1\n";
    const std::string same = Write("same.ini", content);
    const std::string fold = "[a]\nk=" + std::string(75, 'x') + "\\xxxx\nl=1\nm=2\n";
    const std::string changed = Write("changed.ini", fold);
    const std::string refused = Write("refused.conf", "a,b\n");
    const std::string ends =
        Write("ends.ini", "[a]\r\nk=1\r\nm=1\r\nl=" + std::string(76, 'x') + "\r\n");
    const Outcome outcome = Wyx({"ini", "roundtrip", "--json", same, changed, refused, ends});
    EXPECT_EQ(outcome.code, kNo) << outcome.err;
    const json document = json::parse(outcome.out);
    EXPECT_EQ(document["kinds"]["*.ini"], json({{"files", 3},
                                                {"lines", 14},
                                                {"sections", 4},
                                                {"keys", 9},
                                                {"same", 1},
                                                {"changed", 2},
                                                {"refused", 0}}));
    EXPECT_EQ(document["kinds"]["*.conf"]["refused"], 1);
    ASSERT_EQ(document["changed"].size(), 2U);
    EXPECT_EQ(document["changed"][0]["file"], changed);
    EXPECT_TRUE(Mentions(document["changed"][0]["why"], {"behind a backslash"}));
    EXPECT_TRUE(Mentions(document["changed"][1]["why"], {"line end"}));
    EXPECT_EQ(Read(same), content);
    EXPECT_EQ(Read(changed), fold);
}

TEST_F(IniRoundtripTest, Table)
{
    const std::string same = Write("same.ini", "[a]\nk=1\n");
    const Outcome outcome = Wyx({"ini", "roundtrip", same, Write("no", "x\n")});
    EXPECT_EQ(outcome.code, kOk);
    EXPECT_EQ(outcome.out,
              "               files    lines  sections    keys    same  changed  not INI\n"
              "(other)            0        0         0       0       0        0        1\n"
              "*.ini              1        2         1       1       1        0        0\n"
              "all                1        2         1       1       1        0        1\n"
              "\n"
              "Not INI by the library's check, and left out:\n"
              "      1  neither a section, a key, a comment nor blank (160)\n");
}

TEST_F(IniRoundtripTest, NamesFromAList)
{
    const std::string names = Write("a b.ini", "[a]\nk=1\n") + std::string(1, '\0') +
                              Write("line\nfeed.ini", "[a]\nk=1\n") + std::string(1, '\0');
    const Outcome outcome =
        Wyx({"ini", "roundtrip", "--json", "--files0-from", "-"}, {.in = names});
    EXPECT_EQ(json::parse(outcome.out)["all"]["same"], 2);
    EXPECT_EQ(Wyx({"ini", "roundtrip", Path("none.ini")}).code, kIo);
}

} // namespace

} // namespace wyx::test
