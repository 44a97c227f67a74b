// What set, del, merge and get offer to those who come from crudini, git and diff.
#include <nlohmann/json.hpp>

#include "tool_runner.h"

namespace wyx::test {

namespace {

using nlohmann::json;

constexpr const char *kSample =
    "; top\n"
    "[net]\n"
    "  port = 5060 ; sip\n"
    "user=alice\n"
    "empty=\n"
    "\n"
    "[two words]\n"
    "a.b=1\n";

class IniOptionsTest : public ToolTest {
  protected:
    const std::string file = Write("f.ini", kSample);
    const Surroundings here = {.directory = Directory()};

    std::string AfterSet(const std::vector<std::string> &arguments)
    {
        Write("f.ini", kSample);
        std::vector<std::string> words = {"ini", "set", file};
        words.insert(words.end(), arguments.begin(), arguments.end());
        const Outcome outcome = Wyx(words);
        EXPECT_EQ(outcome.code, kOk) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        return Read(file);
    }

    static std::string With(std::string text, const std::string &old, const std::string &now)
    {
        return text.replace(text.find(old), old.size(), now);
    }
};

TEST_F(IniOptionsTest, Default)
{
    const auto get = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"ini", "get", "--default", "a  b"});
        return Wyx(words, here);
    };
    EXPECT_EQ(get({"f.ini", "net", "port"}).out, "5060\n");
    EXPECT_EQ(get({"f.ini", "net", "empty"}).out, "\n") << "the key is there, without a value";
    EXPECT_EQ(get({"f.ini", "net", "none"}).out, "a  b\n");
    EXPECT_EQ(get({"f.ini", "none", "port"}).out, "a  b\n");
    EXPECT_EQ(get({"f.ini", "none", "port"}).code, kOk);
    EXPECT_EQ(json::parse(get({"f.ini", "net", "none", "--json"}).out)["value"], "a  b");
    EXPECT_EQ(get({"none.ini", "net", "port"}).code, kIo) << "no default for an unreadable file";
    EXPECT_EQ(Wyx({"ini", "get", "--default=", "f.ini", "net", "none"}, here).out, "\n");
}

TEST_F(IniOptionsTest, FormatOfASection)
{
    const auto get = [&](const char *format, const std::vector<std::string> &rest) {
        std::vector<std::string> words = {"ini", "get", std::string("--format=") + format, "f.ini"};
        words.insert(words.end(), rest.begin(), rest.end());
        return Wyx(words, here);
    };
    EXPECT_EQ(get("sh", {"NET"}).out, "port=5060\nuser=alice\nempty=''\n");
    EXPECT_EQ(get("lines", {"net"}).out,
              "[ net ] port = 5060\n[ net ] user = alice\n[ net ] empty\n");
    EXPECT_EQ(get("json", {"net"}).out,
              "{\n  \"port\": \"5060\",\n  \"user\": \"alice\",\n  \"empty\": null\n}\n");
    EXPECT_EQ(get("sh", {"net", "user"}).out, "user=alice\n");
    EXPECT_EQ(get("json", {"two words", "a.b"}).out, "{\n  \"a.b\": \"1\"\n}\n");
    const Outcome name = get("sh", {"two words"});
    EXPECT_EQ(name.code, kMalformed);
    EXPECT_EQ(name.out, "");
    EXPECT_TRUE(Mentions(name.err, {"'a.b' cannot be the name of a shell variable"}));
    EXPECT_EQ(get("sh", {"none"}).code, kNo);
    Write("f.ini", "[a]\n1k=1\n");
    EXPECT_EQ(get("sh", {"a"}).code, kMalformed);
    EXPECT_EQ(get("sh", {"a", "", "--default=x"}).code, kMalformed);
    Write("f.ini", "[a]\n[b]\nk=1\nK=2\nl=3\nk=4\nw=\xF6\n");
    EXPECT_EQ(get("json", {"a"}).out, "{}\n");
    EXPECT_EQ(json::parse(get("json", {"b"}).out),
              json({{"k", "4"}, {"l", "3"}, {"w", "\xEF\xBF\xBD"}, {"w_hex", "f6"}}));
    Write("f.ini", "[a]\nk_hex=1\nk=2\nK_HEX_hex=3\n");
    EXPECT_EQ(json::parse(get("json", {"a"}).out),
              json({{"k", "2"}, {"k_hex", "1"}, {"K_HEX_hex", "3"}}));
    for (const char *const clash : {"k=\xF6\nk_hex=1\n", "k_hex=1\nk=\xF6\n", "\xF6=1\n\xFC=2\n"}) {
        Write("f.ini", std::string("[a]\n") + clash);
        const Outcome outcome = get("json", {"a"});
        EXPECT_EQ(outcome.code, kMalformed);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(Mentions(outcome.err, {"needs a JSON member", "'--format=lines'"}));
    }
}

TEST_F(IniOptionsTest, FormatMatchesTheCommonProgram)
{
    WYX_NEED_PROGRAM("crudini", "crudini");
    Write("f.ini", "[a b]\nplain=1\nblank=1 2\nquote=it's \"x\"\nall=%+-./:@_,\nodd=$(x)\nnone=\n");
    for (const char *const words : {"--format=sh f.ini 'a b'", "--format=lines f.ini 'a b'",
                                    "--format=sh f.ini 'a b' blank"}) {
        EXPECT_EQ(Shell(std::string("\"$WYX\" ini get ") + words, here).out,
                  Shell(std::string("crudini --get ") + words, here).out);
    }
}

TEST_F(IniOptionsTest, ShellReadsTheShellFormat)
{
    const std::vector<std::string> values = {"x", "a  b",        "it's",   "$HOME `id` \\ \"q\"",
                                             "*", "K\xC3\xB6ln", "a;b|c&d"};
    for (const std::string &value : values) {
        Write("f.ini", "[s]\nk=" + value + "\n");
        EXPECT_EQ(
            Shell("eval \"$(\"$WYX\" ini get --format=sh f.ini s)\" && printf %s \"$k\"", here).out,
            value);
    }
}

TEST_F(IniOptionsTest, SettingsWithTheirSections)
{
    EXPECT_EQ(AfterSet({"net.port=1", "two words.new=2", "third.k=3"}),
              With(With(kSample, "5060", "1"), "a.b=1\n", "a.b=1\nnew=2\n[third]\nk=3\n"));
    EXPECT_EQ(AfterSet({"x.y.z=a.b=c"}), std::string(kSample) + "[x.y]\nz=a.b=c\n");
    EXPECT_EQ(AfterSet({"two words", "a.b=2"}), With(kSample, "a.b=1", "a.b=2"))
        << "a dot in the key of a setting with a section of its own";
    const json result =
        json::parse(Wyx({"ini", "set", "--json", file, "net.port=7", "new.k=1"}).out);
    EXPECT_EQ(result["settings"][0],
              json({{"section", "net"}, {"key", "port"}, {"value", "7"}, {"changed", true}}));
    EXPECT_EQ(result["settings"][1]["section"], "new");
}

TEST_F(IniOptionsTest, IfMissing)
{
    EXPECT_EQ(AfterSet({"--if-missing", "net", "port=1", "PORT2=2", "user=x"}),
              With(kSample, "empty=\n", "empty=\nPORT2=2\n"));
    EXPECT_EQ(AfterSet({"--if-missing", "net.port=1"}), kSample);
    const json result = json::parse(
        Wyx({"ini", "set", "--if-missing", "--json", file, "net", "user=x", "n=1", "port=2"}).out);
    EXPECT_EQ(result["settings"][0]["changed"], false);
    EXPECT_EQ(result["settings"][1]["changed"], true);
    EXPECT_EQ(result["settings"][2]["changed"], false);
}

TEST_F(IniOptionsTest, Existing)
{
    EXPECT_EQ(AfterSet({"--existing", "net", "port=1"}), With(kSample, "5060", "1"));
    Write("f.ini", kSample);
    for (const char *const setting : {"net.none=1", "none.port=1"}) {
        const Outcome outcome =
            Wyx({"ini", "set", "--existing", file, "net.port=1", setting, "net.user=2"});
        EXPECT_EQ(outcome.code, kNo);
        EXPECT_TRUE(Mentions(outcome.err, {"no "}));
        EXPECT_EQ(Read(file), kSample) << "must not change if a key is missing";
    }
}

TEST_F(IniOptionsTest, StandardInputIsFiltered)
{
    const Surroundings in = {.in = kSample, .directory = Directory()};
    const std::vector<std::string> names = Names();
    EXPECT_EQ(Wyx({"ini", "set", "-", "net", "port=1"}, in).out, With(kSample, "5060", "1"));
    EXPECT_EQ(Wyx({"ini", "set", "-", "net.port=5060"}, in).out, kSample);
    EXPECT_EQ(Wyx({"ini", "del", "-", "net", "user"}, in).out, With(kSample, "user=alice\n", ""));
    const Outcome missing = Wyx({"ini", "del", "-", "none"}, in);
    EXPECT_EQ(missing.code, kNo);
    EXPECT_EQ(missing.out, "");
    EXPECT_TRUE(Mentions(missing.err, {"(standard input): no section 'none'"}));
    EXPECT_EQ(
        Wyx({"ini", "set", "-", "net", "port=1"}, {.in = kSample, .out = Channel::kFull}).code,
        kIo);
    EXPECT_EQ(Wyx({"ini", "set", "--strict", "-", "a", "k=1"}, {.in = "x\n"}).code, kMalformed);
    EXPECT_EQ(Names(), names) << "no file '-' may be made";
    // A file of this name can be reached as "./-".
    Write("-", kSample);
    EXPECT_EQ(Wyx({"ini", "set", "./-", "net", "port=1"}, here).code, kOk);
    EXPECT_EQ(Read(Path("-")), With(kSample, "5060", "1"));
}

TEST_F(IniOptionsTest, Merge)
{
    const auto merge = [&](const std::string &other, std::vector<std::string> words) {
        Write("f.ini", kSample);
        words.insert(words.begin(), {"ini", "merge"});
        words.push_back(file);
        return Wyx(words, {.in = other});
    };
    const std::string other =
        "; comment\n[empty]\n[NET]\nport=0\nPort=\"7\" ;x\n[two words]\nb=2\n[Net]\nuser=bob\n";
    EXPECT_EQ(merge(other, {}).code, kOk);
    EXPECT_EQ(Read(file), With(With(With(kSample, "5060", "\"7\""), "alice", "bob"), "a.b=1\n",
                               "a.b=1\nb=2\n"));
    EXPECT_EQ(merge(other, {"--if-missing"}).code, kOk);
    EXPECT_EQ(Read(file), With(kSample, "a.b=1\n", "a.b=1\nb=2\n"));
    EXPECT_EQ(merge(other, {"--existing"}).code, kNo);
    EXPECT_EQ(Read(file), kSample);
    EXPECT_EQ(merge("", {}).code, kOk);
    EXPECT_EQ(Read(file), kSample);
    const json result = json::parse(merge("[net]\nport=1\n", {"--json"}).out);
    EXPECT_EQ(result["changed"], true);
    EXPECT_EQ(result["settings"].size(), 1U);
    for (const char *const wrong :
         {"[a]\ngarbage\n", "[a\nk=1\n", "k=1\n", "\xEF\xBB\xBF[a]\nk=1\n"}) {
        const Outcome refused = merge(wrong, {});
        EXPECT_NE(refused.code, kOk) << wrong;
        EXPECT_EQ(refused.err.find("--strict"), std::string::npos) << refused.err;
        EXPECT_EQ(Read(file), kSample);
    }
    const Outcome early = merge("; c\nk=1\n", {});
    EXPECT_EQ(early.code, kUsage);
    EXPECT_TRUE(Mentions(early.err, {"(standard input):2: key before the first section header"}));
    EXPECT_TRUE(Mentions(merge("[a]\nx\n", {}).err, {"lists the lines that cannot be read"}));
    EXPECT_EQ(Wyx({"ini", "merge", Path("new.ini")}, {.in = other}).code, kIo);
    EXPECT_EQ(Wyx({"ini", "merge", "--create", Path("new.ini")}, {.in = "[a]\nk=1\n"}).code, kOk);
    EXPECT_EQ(Read(Path("new.ini")), "[a]\nk=1\n");
}

TEST_F(IniOptionsTest, DryRunChangesNothing)
{
    const struct stat before = [&] {
        struct stat status = {};
        stat(file.c_str(), &status);
        return status;
    }();
    const std::vector<std::string> names = Names();
    const Outcome outcome = Wyx({"ini", "set", "-n", "f.ini", "net", "port=1"}, here);
    EXPECT_EQ(outcome.code, kOk);
    EXPECT_EQ(outcome.out,
              "--- f.ini\n+++ f.ini\n@@ -1,6 +1,6 @@\n ; top\n [net]\n-  port = 5060 ; sip\n"
              "+  port = 1 ; sip\n user=alice\n empty=\n \n");
    EXPECT_EQ(Wyx({"ini", "set", "--dry-run", file, "net", "user=alice"}).out, "");
    EXPECT_EQ(Wyx({"ini", "del", "-n", file, "none"}).code, kNo);
    EXPECT_EQ(Wyx({"ini", "set", "-n", Path("new.ini"), "a", "k=1"}).code, kIo);
    EXPECT_EQ(Wyx({"ini", "set", "-n", "--create", "new.ini", "a", "k=1"}, here).out,
              "--- new.ini\n+++ new.ini\n@@ -0,0 +1,2 @@\n+[a]\n+k=1\n");
    EXPECT_EQ(Wyx({"ini", "set", "-n", "--create", "f.ini", "net", "user=alice"}, here).out, "");
    EXPECT_EQ(Wyx({"ini", "del", "-n", "-", "a"}, {.in = "[a]\nk=1"}).out,
              "--- -\n+++ -\n@@ -1,2 +0,0 @@\n-[a]\n-k=1\n\\ No newline at end of file\n");
    const json result =
        json::parse(Wyx({"ini", "set", "-n", "--json", "f.ini", "net", "port=1"}, here).out);
    EXPECT_EQ(result["diff"], outcome.out);
    EXPECT_EQ(result["changed"], true);
    EXPECT_EQ(Names(), names);
    struct stat after = {};
    stat(file.c_str(), &after);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_EQ(Read(file), kSample);
}

TEST_F(IniOptionsTest, DiffsMatchTheCommonPrograms)
{
    WYX_NEED_PROGRAM("diff", "diffutils");
    std::string text;
    for (int section = 0; section < 5; ++section) {
        text += "[s" + std::to_string(section) + "]\n";
        for (int key = 0; key < 6; ++key) {
            text += "k" + std::to_string(key) + "=" + std::to_string(section) + "\n";
        }
    }
    const std::vector<std::string> commands = {
        "set -- @ s0.k0=x",
        "set -- @ s4.k5=x",
        "set -- @ s0.k0=x s0.k5=x", // contexts that overlap
        "set -- @ s0.k0=x s1.k1=x", // contexts that do not touch
        "set -- @ s0.k0=x s1.k0=x", // contexts that just touch
        "set -- @ s0.new=1 s4.new=2",
        "set -- @ new.k=1",
        "set -- @ s1.k1=a s1.k2=b s1.k3=c s3.k1=d",
        "del -- @ s0",
        "del -- @ s4",
        "del -- @ s2 k3",
        "del -- @ s0 k0",
    };
    for (const std::string &content : {text, text.substr(0, text.size() - 1), text + text}) {
        Write("f.ini", content);
        for (const std::string &command : commands) {
            SCOPED_TRACE(command);
            const auto with = [&](const std::string &name) {
                std::string words = command;
                return "ini " + words.replace(words.find('@'), 1, name);
            };
            ASSERT_EQ(Shell("\"$WYX\" " + with("- < f.ini > after"), here).code, kOk);
            const Outcome theirs = Shell("diff -u --label f.ini --label f.ini f.ini after", here);
            const std::string dry = with("f.ini").insert(7, " -n");
            EXPECT_EQ(Shell("\"$WYX\" " + dry, here).out, theirs.out);
        }
    }
}

} // namespace

} // namespace wyx::test
