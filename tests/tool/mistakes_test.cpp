// The tool as a new user tries it: what it says to the commonest mistakes, and its help.
#include "tool_runner.h"

namespace wyx::test {

namespace {

class MistakesTest : public ToolTest {
  protected:
    void SetUp() override
    {
        Write("net.ini", "[Net]\nport=5060\nuser=alice\n");
        Write("secret.ini", "[a]\n");
        chmod(Path("secret.ini").c_str(), 0);
        mkdir(Path("conf.d").c_str(), 0777);
    }
};

struct Mistake {
    const char *name;
    std::vector<std::string> arguments;
    int code;
    std::vector<std::string> messages;
};

const Mistake kMistakes[] = {
    {"NoVerb", {}, kUsage, {"'wyx' needs a verb: sum, base64, addr, ini", "wyx --help"}},
    {"NoVerbOfIni", {"ini"}, kUsage, {"'wyx ini' needs a verb: get, set", "wyx ini --help"}},
    {"MisspeltVerb", {"smu", "net.ini"}, kUsage, {"'smu' is no verb", "did you mean 'sum'?"}},
    {"MisspeltVerbOfIni", {"ini", "gte", "net.ini"}, kUsage, {"'gte'", "did you mean 'get'?"}},
    {"UnknownVerb", {"frobnicate"}, kUsage, {"the verbs are: sum, base64, addr, ini"}},
    {"HelpAsAVerb", {"help"}, kUsage, {"wyx --help"}},
    {"UnknownOption", {"sum", "--sha1", "net.ini"}, kUsage, {"--sha1", "wyx sum --help"}},
    {"NoAlgorithm", {"sum", "net.ini"}, kUsage, {"--crc16, --crc32 or --md5", "for example"}},
    {"TwoAlgorithms", {"sum", "--crc16", "--md5", "net.ini"}, kUsage, {"more than one"}},
    {"QuietWithoutCheck", {"sum", "--crc16", "-q", "net.ini"}, kUsage, {"--quiet", "--check"}},
    {"MissingFile", {"ini", "get", "nte.ini", "net", "port"}, kIo, {"'nte.ini'", "No such file"}},
    {"Directory", {"ini", "check", "conf.d"}, kIo, {"'conf.d'", "Is a directory"}},
    {"NoPermission", {"ini", "list", "secret.ini"}, kIo, {"'secret.ini'", "Permission denied"}},
    {"FileLast", {"ini", "get", "net", "port", "net.ini"}, kIo, {"the file comes first"}},
    {"MissingKey", {"ini", "get", "net.ini", "net"}, kUsage, {"KEY is required"}},
    {"TooManyWords", {"ini", "get", "net.ini", "net", "port", "x"}, kUsage, {"not expected: x"}},
    {"BracketsInGet",
     {"ini", "get", "net.ini", "[net]", "port"},
     kNo,
     {"without its brackets", "'net'"}},
    {"BracketsInSet", {"ini", "set", "net.ini", "[net]", "a=1"}, kUsage, {"without its brackets"}},
    {"MisspeltSection", {"ini", "get", "net.ini", "nett", "port"}, kNo, {"did you mean 'Net'?"}},
    {"MisspeltKey", {"ini", "get", "net.ini", "net", "prot"}, kNo, {"did you mean 'port'?"}},
    {"NoEquals",
     {"ini", "set", "net.ini", "net", "port"},
     kUsage,
     {"'port' is not KEY=VALUE", "'port='"}},
    {"BlanksBesideEquals",
     {"ini", "set", "net.ini", "net", "port", "=", "1"},
     kUsage,
     {"without blanks beside the '='"}},
    {"UnquotedValue",
     {"ini", "set", "net.ini", "net", "user=Alice", "Smith"},
     kUsage,
     {"quotation marks of the shell", "'user=Alice Smith'"}},
    {"SetOfANewFile", {"ini", "set", "new.ini", "net", "port=1"}, kIo, {"--create"}},
};

TEST_F(MistakesTest, Messages)
{
    const std::string before = Read(Path("net.ini"));
    for (const Mistake &mistake : kMistakes) {
        SCOPED_TRACE(mistake.name);
        const Outcome outcome =
            Wyx(mistake.arguments, {.isNobody = true, .directory = Directory()});
        EXPECT_EQ(outcome.code, mistake.code) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(outcome.err.starts_with("wyx: error: ")) << outcome.err;
        EXPECT_TRUE(Mentions(outcome.err, mistake.messages));
    }
    EXPECT_EQ(Read(Path("net.ini")), before);
}

TEST_F(MistakesTest, FileThatTheTerminalWaitsFor)
{
    const Outcome outcome = Wyx({"sum", "--crc32"}, {.isInTerminal = true});
    EXPECT_EQ(outcome.code, kUsage);
    EXPECT_TRUE(Mentions(outcome.err, {"no file given", "'-' reads standard input"}));
}

TEST_F(MistakesTest, HelpOfEveryVerbHasAnExample)
{
    const std::vector<std::vector<std::string>> verbs = {
        {},
        {"sum"},
        {"base64"},
        {"addr"},
        {"ini"},
        {"ini", "check"},
        {"ini", "del"},
        {"ini", "get"},
        {"ini", "keys"},
        {"ini", "list"},
        {"ini", "recover"},
        {"ini", "roundtrip"},
        {"ini", "sections"},
        {"ini", "set"},
    };
    for (const std::vector<std::string> &verb : verbs) {
        std::string name = "wyx";
        for (const std::string &word : verb) {
            name += " " + word;
        }
        SCOPED_TRACE(name);
        for (const char *const option : {"--help", "-h"}) {
            std::vector<std::string> arguments = verb;
            arguments.emplace_back(option);
            const Outcome outcome = Wyx(arguments);
            EXPECT_EQ(outcome.code, kOk);
            EXPECT_EQ(outcome.err, "");
            EXPECT_TRUE(Mentions(outcome.out, {"Usage: " + name, "Example", "  " + name}));
        }
    }
}

TEST_F(MistakesTest, Version)
{
    for (const char *const option : {"--version", "-V"}) {
        const Outcome outcome = Wyx({option});
        EXPECT_EQ(outcome.code, kOk);
        EXPECT_EQ(outcome.out, "wyx " WYX_VERSION "\n");
    }
}

} // namespace

} // namespace wyx::test
