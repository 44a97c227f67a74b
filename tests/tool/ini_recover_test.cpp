#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "tool_runner.h"

namespace wyx::test {

namespace {

using nlohmann::json;

constexpr const char *kOld = "net1700000000123.ibk";
constexpr const char *kNew = "net1700000100456.ibk";

class IniRecoverTest : public ToolTest {
  protected:
    const std::string target = Path("net.ini");
};

TEST_F(IniRecoverTest, NothingLeft)
{
    Write("net.ini", "[a]\n");
    Write("net.ibk", "x");
    Write("net12x.ibk", "x");
    Write("net12.ibk2", "x");
    Write("other1700000000123.ibk", "x");
    const Outcome outcome = Wyx({"ini", "recover", target});
    EXPECT_EQ(outcome.code, kNo);
    EXPECT_EQ(outcome.out, "");
    EXPECT_TRUE(Mentions(outcome.err, {"no interrupted save"}));
    EXPECT_EQ(json::parse(Wyx({"ini", "recover", "--json", target}).out)["leftovers"].size(), 0U);
    EXPECT_EQ(Wyx({"ini", "recover", target, "--restore", "newest"}).code, kNo);
    EXPECT_EQ(Wyx({"ini", "recover", Path("none/net.ini")}).code, kIo);
}

TEST_F(IniRecoverTest, ListAndShow)
{
    Write(kOld, "[a]\nk=1\n");
    Write(kNew, "[a]\nk=2\n; c\n");
    Write("net99.ibk", "[a]\n");
    const Surroundings utc = {.environment = {{"TZ", "UTC"}}, .directory = Directory()};
    const Outcome list = Wyx({"ini", "recover", "net.ini"}, utc);
    EXPECT_EQ(list.code, kOk);
    EXPECT_EQ(list.out,
              "  N  SAVED                   BYTES   LINES  FILE\n"
              "  1  2023-11-14 22:15:00        12       3  net1700000100456.ibk "
              "(complete if its save removed the file)\n"
              "  2  2023-11-14 22:13:20         8       2  net1700000000123.ibk "
              "(of an earlier save, may be cut off)\n"
              "  3  ?                           4       1  net99.ibk "
              "(of an earlier save, may be cut off)\n");
    const json document = json::parse(Wyx({"ini", "recover", "--json", "net.ini"}, utc).out);
    EXPECT_EQ(document["exists"], false);
    EXPECT_EQ(document["leftovers"][0], json::parse(R"({"number": 1, "file": "net1700000100456.ibk",
                              "saved": "2023-11-14 22:15:00", "bytes": 12, "lines": 3,
                              "loads": true, "truncated": false,
                              "trusted": true, "same": false})"));
    EXPECT_EQ(Wyx({"ini", "recover", target, "--show", "newest"}).out, "[a]\nk=2\n; c\n");
    EXPECT_EQ(Wyx({"ini", "recover", target, "--show", "2"}).out, "[a]\nk=1\n");
    EXPECT_EQ(Wyx({"ini", "recover", target, "--show", "4"}).code, kNo);
    EXPECT_EQ(Wyx({"ini", "recover", target, "--show", "0"}).code, kNo);
    EXPECT_EQ(Wyx({"ini", "recover", target, "--show", "99999999999999999999"}).code, kNo);
    EXPECT_EQ(Wyx({"ini", "recover", target, "--show", "x"}).code, kUsage);

    Write("net.ini", "[a]\nk=1\n");
    EXPECT_TRUE(Mentions(Wyx({"ini", "recover", target}).out,
                         {"(same as the file)", "(differs from the file, may be cut off)"}));
    EXPECT_EQ(json::parse(Wyx({"ini", "recover", "--json", target}).out)["exists"], true);
}

TEST_F(IniRecoverTest, RestoreAMissingFile)
{
    Write(kOld, "[a]\nk=1\n");
    Write(kNew, "[a]\nk=2\n");
    const Outcome outcome = Wyx({"ini", "recover", target, "--restore", "newest"});
    EXPECT_EQ(outcome.code, kOk) << outcome.err;
    EXPECT_TRUE(Mentions(outcome.out, {"restored from"}));
    EXPECT_EQ(Read(target), "[a]\nk=2\n");
    EXPECT_EQ(Names(), (std::vector<std::string>{"net.ini", kOld}));
}

TEST_F(IniRecoverTest, RestoreKeepsTheCurrentContentAndItsMode)
{
    Write("net.ini", "[a]\nk=0\n");
    ASSERT_EQ(chmod(target.c_str(), 0640), 0);
    Write("net.ini.old", "taken");
    Write(kOld, "[a]\nk=1\n");
    Write(kNew, "[a]\nk=2\n");
    const json document =
        json::parse(Wyx({"ini", "recover", "--json", target, "--restore", "2"}).out);
    EXPECT_EQ(document["restored"], Path(kOld));
    EXPECT_EQ(document["kept"], Path("net.ini.old1"));
    EXPECT_EQ(Read(target), "[a]\nk=1\n");
    EXPECT_EQ(Read(Path("net.ini.old1")), "[a]\nk=0\n");
    EXPECT_EQ(Read(Path("net.ini.old")), "taken");
    struct stat status = {};
    ASSERT_EQ(stat(target.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
    EXPECT_EQ(Names(), (std::vector<std::string>{"net.ini", "net.ini.old", "net.ini.old1", kNew}));
}

TEST_F(IniRecoverTest, RestoreRefusesAFileThatDoesNotLoad)
{
    Write("net.ini", "[a]\nk=0\n");
    for (const std::string &content :
         {"[a]\nk=" + std::string(600, 'x') + "\n", std::string("[a]\nk=\0\n", 8)}) {
        Write(kNew, content);
        const char *const why = content.size() == 8 ? "has a NUL byte" : "does not load";
        EXPECT_TRUE(Mentions(Wyx({"ini", "recover", target}).out, {"(" + std::string(why) + ")"}));
        EXPECT_EQ(
            json::parse(Wyx({"ini", "recover", "--json", target}).out)["leftovers"][0]["loads"],
            false);
        const Outcome outcome = Wyx({"ini", "recover", target, "--restore", "1", "--force"});
        EXPECT_EQ(outcome.code, kMalformed);
        EXPECT_TRUE(Mentions(outcome.err, {why}));
        EXPECT_EQ(Read(target), "[a]\nk=0\n");
        EXPECT_EQ(Names(), (std::vector<std::string>{"net.ini", kNew}));
    }
}

TEST_F(IniRecoverTest, RestoresNothingIfNoNameIsFreeForTheOldContent)
{
    Write("net.ini", "[a]\nk=0\n");
    Write(kNew, "[a]\nk=2\n");
    Write("net.ini.old", "x");
    for (int i = 1; i < 1000; ++i) {
        Write("net.ini.old" + std::to_string(i), "x");
    }
    const std::vector<std::string> before = Names();
    const Outcome outcome = Wyx({"ini", "recover", target, "--restore", "1"});
    EXPECT_EQ(outcome.code, kIo);
    EXPECT_TRUE(Mentions(outcome.err, {"too many files", "net.ini.old*"}));
    EXPECT_EQ(Names(), before);
    EXPECT_EQ(Read(target), "[a]\nk=0\n");
    const Outcome number = Wyx({"ini", "recover", target, "--restore", "2"});
    EXPECT_EQ(number.code, kNo);
    EXPECT_TRUE(Mentions(number.err, {"there is no file number 2", "from 1 to 1"}));
}

TEST_F(IniRecoverTest, WithoutPermissionNothingIsRestored)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give the files to another user";
    }
    for (const char *const file : {"net.ini", kNew}) {
        ASSERT_EQ(chown(Write(file, "[a]\nk=0\n").c_str(), 65534, 65534), 0);
    }
    Write("net.ini", "[a]\nk=1\n");
    ASSERT_EQ(chmod(Directory().c_str(), 0555), 0);
    const Outcome outcome = Wyx({"ini", "recover", target, "--restore", "1"}, {.isNobody = true});
    EXPECT_EQ(outcome.code, kIo);
    EXPECT_TRUE(Mentions(outcome.err, {"cannot keep the present content", "Permission denied"}));
    ASSERT_EQ(chmod(Path(kNew).c_str(), 0), 0);
    const Outcome closed = Wyx({"ini", "recover", target}, {.isNobody = true});
    EXPECT_EQ(closed.code, kIo);
    EXPECT_TRUE(Mentions(closed.err, {"cannot open", "Permission denied"}));
    EXPECT_EQ(Read(target), "[a]\nk=1\n");
}

// What cannot be read is listed with its reason, and does not stand in the way of the others.
TEST_F(IniRecoverTest, ALeftoverThatCannotBeReadDoesNotHideTheOthers)
{
    Write(kOld, "[a]\nk=1\n");
    Write(kNew, std::string((std::size_t{16} << 20) + 1, '\n'));
    const Outcome list = Wyx({"ini", "recover", target});
    EXPECT_EQ(list.code, kMalformed);
    EXPECT_TRUE(Mentions(list.out, {"?       ?  " + Path(kNew) + " (cannot be read)",
                                    Path(kOld) + " (of an earlier save, may be cut off)"}));
    EXPECT_TRUE(Mentions(list.err, {Path(kNew), "too large"}));
    const Outcome asJson = Wyx({"ini", "recover", "--json", target});
    EXPECT_EQ(asJson.code, kMalformed);
    const json leftovers = json::parse(asJson.out)["leftovers"];
    EXPECT_EQ(leftovers.size(), 2U);
    EXPECT_EQ(leftovers[0].count("loads"), 0U);
    EXPECT_TRUE(Mentions(leftovers[0]["error"], {"too large"}));
    EXPECT_EQ(leftovers[1]["loads"], true);
    EXPECT_EQ(Wyx({"ini", "recover", target, "--show", "newest"}).out, "[a]\nk=1\n");
    for (const char *const option : {"--show", "--restore"}) {
        const Outcome outcome = Wyx({"ini", "recover", target, option, "1"});
        EXPECT_EQ(outcome.code, kMalformed);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(Mentions(outcome.err, {"too large"}));
    }
    EXPECT_EQ(Wyx({"ini", "recover", target, "--restore", "newest"}).code, kOk);
    EXPECT_EQ(Read(target), "[a]\nk=1\n");
}

// Of three leftovers, the newest is empty and the next one is cut off: neither is restored without
// --force.
TEST_F(IniRecoverTest, EmptyAndTruncatedLeftoversAreNotTrusted)
{
    Write(kOld, "[a]\nk=1\n");
    Write("net1700000050000.ibk", "[a]\nk=1");
    Write(kNew, "");
    EXPECT_TRUE(Mentions(Wyx({"ini", "recover", target}).out,
                         {"0       0  " + Path(kNew) + " (empty)",
                          "net1700000050000.ibk (looks truncated)", "(of an earlier save"}));
    EXPECT_EQ(Wyx({"ini", "recover", target, "--show", "newest"}).out, "[a]\nk=1\n");
    for (const char *const number : {"1", "2"}) {
        const Outcome outcome = Wyx({"ini", "recover", target, "--restore", number});
        EXPECT_EQ(outcome.code, kUsage);
        EXPECT_TRUE(Mentions(outcome.err, {"is not restored", "--force"}));
    }
    EXPECT_EQ(Names().size(), 3U);
    EXPECT_EQ(Wyx({"ini", "recover", target, "--restore", "newest"}).code, kOk);
    EXPECT_EQ(Read(target), "[a]\nk=1\n");
    EXPECT_EQ(Wyx({"ini", "recover", target, "--restore", "newest"}).code, kNo);
    EXPECT_EQ(Read(target), "[a]\nk=1\n");
    EXPECT_EQ(Wyx({"ini", "recover", target, "--restore", "2", "--force"}).code, kOk);
    EXPECT_EQ(Read(target), "[a]\nk=1");
    Write(kOld, "[a]\nk=x\\\n"); // cut off at a fold
    EXPECT_TRUE(Mentions(Wyx({"ini", "recover", target}).out, {"(looks truncated)"}));
    EXPECT_EQ(Wyx({"ini", "recover", target, "--force"}).code, kUsage);
}

TEST_F(IniRecoverTest, ForeignAndLinkedLeftoversAreNotTrusted)
{
    Write(kNew, "[a]\nk=2\n");
    ASSERT_EQ(link(Path(kNew).c_str(), Path("other").c_str()), 0);
    ASSERT_EQ(chmod(Path("other").c_str(), 0600), 0);
    EXPECT_TRUE(Mentions(Wyx({"ini", "recover", target}).out, {"further hard links"}));
    EXPECT_EQ(Wyx({"ini", "recover", target, "--restore", "newest"}).code, kNo);
    EXPECT_EQ(Wyx({"ini", "recover", target, "--restore", "1"}).code, kUsage);
    Write("net.ini", "[a]\n");
    ASSERT_EQ(chmod(target.c_str(), 0644), 0);
    EXPECT_EQ(Wyx({"ini", "recover", target, "--restore", "1", "--force"}).code, kOk);
    struct stat status = {};
    ASSERT_EQ(stat(Path("other").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U); // the other name is a different file now
    EXPECT_EQ(Names(), (std::vector<std::string>{"net.ini", "net.ini.old", "other"}));
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    Write(kNew, "[a]\nk=3\n");
    ASSERT_EQ(chown(Path(kNew).c_str(), 1234, 1234), 0);
    EXPECT_TRUE(Mentions(Wyx({"ini", "recover", target}).out, {"somebody else's"}));
    EXPECT_EQ(Wyx({"ini", "recover", target, "--restore", "newest"}).code, kNo);
    ASSERT_EQ(chown(target.c_str(), 1234, 1234), 0); // its owner could change the file anyway
    EXPECT_EQ(Wyx({"ini", "recover", target, "--restore", "newest"}).code, kOk);
}

// A save never leaves a symbolic link. A link that somebody planted does not hide a real leftover.
TEST_F(IniRecoverTest, SymbolicLinksAreNotLeftovers)
{
    Write("secret", "[a]\nk=secret\n");
    ASSERT_EQ(symlink("secret", Path(kNew).c_str()), 0);
    EXPECT_EQ(Wyx({"ini", "recover", target}).code, kNo);
    Write(kOld, "[a]\nk=1\n");
    EXPECT_EQ(Wyx({"ini", "recover", target, "--show", "newest"}).out, "[a]\nk=1\n");
    EXPECT_EQ(Wyx({"ini", "recover", target, "--show", "2"}).code, kNo);
}

TEST_F(IniRecoverTest, NamesAreCutAsInASave)
{
    ASSERT_EQ(mkdir(Path("my.dir").c_str(), 0777), 0);
    Write("my1700000000123.ibk", "[a]\n"); // left beside my.dir by a save of a file without a dot
    Write("a.b1700000000123.ibk", "[a]\n");
    Write("plain1700000000123.ibk", "[a]\n");
    const Surroundings here = {.directory = Directory()};
    EXPECT_TRUE(
        Mentions(Wyx({"ini", "recover", "my.dir/config"}, here).out, {"my1700000000123.ibk"}));
    EXPECT_TRUE(Mentions(Wyx({"ini", "recover", "a.b.ini"}, here).out, {"a.b1700000000123.ibk"}));
    EXPECT_TRUE(Mentions(Wyx({"ini", "recover", "plain"}, here).out, {"plain1700000000123.ibk"}));
    EXPECT_EQ(Wyx({"ini", "recover", "a.ini"}, here).code, kNo);
}

TEST_F(IniRecoverTest, OtherVerbsPointToIt)
{
    Write(kNew, "[a]\nk=2\n");
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"ini", "get", target, "a", "k"},
          std::vector<std::string>{"ini", "set", target, "a", "k=1"}}) {
        const Outcome outcome = Wyx(arguments);
        EXPECT_EQ(outcome.code, kIo);
        EXPECT_TRUE(Mentions(outcome.err, {"No such file", "wyx ini recover"}));
    }
}

} // namespace

} // namespace wyx::test
