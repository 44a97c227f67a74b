// The tool as a new user meets it: what it says about common mistakes, and its help.
#include <nlohmann/json.hpp>

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
    {"NoIniVerb", {"ini"}, kUsage, {"'wyx ini' needs a verb: get, set", "wyx ini --help"}},
    {"MisspeltVerb", {"smu", "net.ini"}, kUsage, {"'smu' is not a verb", "did you mean 'sum'?"}},
    {"MisspeltIniVerb", {"ini", "gte", "net.ini"}, kUsage, {"'gte'", "did you mean 'get'?"}},
    {"UnknownVerb", {"frobnicate"}, kUsage, {"the verbs are: sum, base64, addr, ini"}},
    {"VerbWithoutItsFamily", {"get", "net.ini"}, kUsage, {"'get'", "did you mean 'wyx ini get'?"}},
    {"OptionAsAVerb", {"md5", "net.ini"}, kUsage, {"'md5'", "did you mean 'wyx sum --md5'?"}},
    {"HelpForUnknownVerb", {"help", "gte"}, kUsage, {"'gte' is not a verb of 'wyx'"}},
    {"HelpForUnknownIniVerb", {"ini", "help", "gte"}, kUsage, {"did you mean 'get'?"}},
    {"HelpForAnOption", {"help", "--md5"}, kUsage, {"'--md5' is not a verb of 'wyx'"}},
    {"HelpForAnOptionOfAVerb",
     {"help", "sum", "--md5"},
     kUsage,
     {"'--md5' is not a verb of 'wyx sum'", "try 'wyx sum --help'"}},
    {"OptionWithoutVerb", {"--md5", "net.ini"}, kUsage, {"unknown option '--md5'", "wyx --help"}},
    {"MisspeltOption", {"sum", "--md6", "net.ini"}, kUsage, {"did you mean '--md5'?"}},
    {"AmbiguousOption", {"sum", "--s"}, kUsage, {"'--s' is ambiguous: --status, --strict"}},
    {"UnknownLetter",
     {"ini", "get", "-x.ini", "net"},
     kUsage,
     {"unknown option '-x'", "after '--'"}},
    {"ValueForAFlag", {"sum", "--md5=1", "net.ini"}, kUsage, {"--md5 takes no value"}},
    {"NoValueForAnOption", {"base64", "--wrap"}, kUsage, {"--wrap needs a value: N"}},
    {"NegativeNumber", {"base64", "-w", "-1"}, kUsage, {"--wrap '-1' is not a valid number\n"}},
    {"NoNumber", {"base64", "-w7x"}, kUsage, {"--wrap '7x' is not a valid number"}},
    {"HugeNumber", {"base64", "-w99999999999999999999"}, kUsage, {"is not a valid number"}},
    {"ConflictingOptions",
     {"ini", "check", "-e", "--strict", "net.ini"},
     kUsage,
     {"--errors and --strict cannot be used together"}},
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
    {"NoSetting", {"ini", "set", "net.ini", "port=1"}, kUsage, {"KEY=VALUE is required"}},
    {"NoSettingAtAll", {"ini", "set", "net.ini"}, kUsage, {"[SECTION.]KEY=VALUE is required"}},
    {"DottedAndPlain",
     {"ini", "set", "net.ini", "net.port=1", "user=x"},
     kUsage,
     {"'user=x' is not SECTION.KEY=VALUE"}},
    {"DottedWithoutValue",
     {"ini", "set", "net.ini", "net.port=1", "net.user"},
     kUsage,
     {"'net.user' is not SECTION.KEY=VALUE"}},
    {"SetTwice", {"ini", "set", "net.ini", "a.k=1", "A.K=2"}, kUsage, {"set more than once"}},
    {"SetTwiceInASection",
     {"ini", "set", "net.ini", "net", "k=1", "k=1"},
     kUsage,
     {"more than once"}},
    {"SetTwiceWithBlanks",
     {"ini", "set", "net.ini", " net .k=1", "net.k=2"},
     kUsage,
     {"set more than once"}},
    {"MissingAndExisting",
     {"ini", "set", "--if-missing", "--existing", "net.ini", "a", "k=1"},
     kUsage,
     {"cannot be used together"}},
    {"UnknownFormat",
     {"ini", "get", "--format=xml", "net.ini", "net"},
     kUsage,
     {"no format 'xml'", "sh, lines, json"}},
    {"MergeIntoStandardInput", {"ini", "merge", "-"}, kUsage, {"FILE cannot be '-'"}},
    {"BlanksBesideEquals",
     {"ini", "set", "net.ini", "net", "port", "=", "1"},
     kUsage,
     {"without blanks beside the '='"}},
    {"UnquotedValue",
     {"ini", "set", "net.ini", "net", "user=Alice", "Smith"},
     kUsage,
     {"quotation marks of the shell", "'user=Alice Smith'"}},
    {"SetInANewFile", {"ini", "set", "new.ini", "net", "port=1"}, kIo, {"--create"}},
};

TEST_F(MistakesTest, Messages)
{
    WYX_NEED_NOBODY();
    const std::string before = Read(Path("net.ini"));
    for (const Mistake &mistake : kMistakes) {
        SCOPED_TRACE(mistake.name);
        const bool isNobody = std::string_view(mistake.name) == "NoPermission";
        const Outcome outcome =
            Wyx(mistake.arguments, {.isNobody = isNobody, .directory = Directory()});
        EXPECT_EQ(outcome.code, mistake.code) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(outcome.err.starts_with("wyx: error: ")) << outcome.err;
        EXPECT_TRUE(Mentions(outcome.err, mistake.messages));
    }
    EXPECT_EQ(Read(Path("net.ini")), before);
}

TEST_F(MistakesTest, MissingFileArgumentDoesNotWaitForATerminal)
{
    WYX_NEED_TERMINALS();
    const Outcome outcome = Wyx({"sum", "--crc32"}, {.isInTerminal = true});
    EXPECT_EQ(outcome.code, kUsage);
    EXPECT_TRUE(Mentions(outcome.err, {"no FILE given", "'-' reads standard input"}));
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
        {"ini", "merge"},
        {"ini", "recover"},
        {"ini", "sections"},
        {"ini", "set"},
    };
    for (const std::vector<std::string> &verb : verbs) {
        std::string name = "wyx";
        for (const std::string &word : verb) {
            name += " " + word;
        }
        SCOPED_TRACE(name);
        std::vector<std::vector<std::string>> ways(3, verb);
        ways[0].emplace_back("--help");
        ways[1].emplace_back("-h");
        ways[2].insert(ways[2].begin(), "help");
        if (verb.size() == 2) {
            ways.push_back({verb[0], "help", verb[1]});
        }
        for (const std::vector<std::string> &way : ways) {
            const Outcome outcome = Wyx(way);
            EXPECT_EQ(outcome.code, kOk);
            EXPECT_EQ(outcome.err, "");
            EXPECT_TRUE(Mentions(outcome.out, {"Usage: " + name, "Example", "  " + name}));
            for (std::size_t begin = 0; begin < outcome.out.size();) {
                const std::size_t end = outcome.out.find('\n', begin);
                EXPECT_LE(end - begin, 80U) << outcome.out.substr(begin, end - begin);
                begin = end + 1;
            }
        }
    }
}

TEST_F(MistakesTest, FailureAsJson)
{
    const Surroundings here = {.directory = Directory()};
    const Outcome missing = Wyx({"ini", "get", "net.ini", "net", "prot", "--json"}, here);
    EXPECT_EQ(missing.code, kNo);
    EXPECT_EQ(nlohmann::json::parse(missing.out),
              nlohmann::json({{"error", "net.ini: no key 'prot' in section 'net'"},
                              {"hint", "did you mean 'port'?"},
                              {"exit_code", kNo}}));
    EXPECT_TRUE(Mentions(missing.err, {"no key 'prot'"}));
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"ini", "sections", "none.ini", "--json"},
          std::vector<std::string>{"sum", "--json", "--md6"},
          std::vector<std::string>{"sum", "--js", "--md6"},
          std::vector<std::string>{"ini", "get", "--format=sh", "net.ini", "net", "--json"},
          std::vector<std::string>{"ini", "get", "--format=sh", "net.ini", "net", "port", "--json"},
          std::vector<std::string>{"ini", "recover", "net.ini", "--show", "1", "--json"},
          std::vector<std::string>{"ini", "set", "-", "net", "k=1", "--json"},
          std::vector<std::string>{"ini", "--json"}}) {
        const Outcome outcome = Wyx(arguments, here);
        const nlohmann::json json = nlohmann::json::parse(outcome.out);
        EXPECT_EQ(json["exit_code"], outcome.code);
        EXPECT_TRUE(Mentions(outcome.err, {json["error"]}));
    }
    const Outcome file = Wyx({"ini", "get", "--", "--json", "net", "port"}, here);
    EXPECT_EQ(file.out, "") << "after '--', it is a file's name, not an option";
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"ini", "get", "--default", "--json", "none.ini", "net", "k"},
          std::vector<std::string>{"ini", "get", "--def", "--json", "none.ini", "net", "k"},
          std::vector<std::string>{"ini", "recover", "net.ini", "--show", "--json"},
          std::vector<std::string>{"base64", "-w", "--json"}}) {
        EXPECT_EQ(Wyx(arguments, here).out, "") << "it is the value of another option";
    }
    EXPECT_NE(Wyx({"ini", "get", "--default", "--", "--json", "none.ini", "net", "k"}, here).out,
              "")
        << "the '--' is a value";
    // A verb with several files has an item for each.
    const nlohmann::json sums =
        nlohmann::json::parse(Wyx({"sum", "--crc16", "--json", "none", "net.ini"}, here).out);
    EXPECT_TRUE(Mentions(sums.at(0)["error"], {"No such file"}));
    EXPECT_EQ(sums.at(1)["file"], "net.ini");
    const nlohmann::json checks =
        nlohmann::json::parse(Wyx({"ini", "check", "--json", "none", "net.ini"}, here).out);
    EXPECT_TRUE(Mentions(checks.at(0)["error"], {"No such file"}));
    EXPECT_EQ(checks.at(0)["ok"], false);
    EXPECT_EQ(checks.at(1)["ok"], true);
}

TEST_F(MistakesTest, OptionsMayAppearAnywhere)
{
    const Surroundings here = {.directory = Directory()};
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"base64", "-dw5", "-"},
          std::vector<std::string>{"base64", "-", "--wrap=5", "-d"},
          std::vector<std::string>{"base64", "-w", "5", "-d"},
          std::vector<std::string>{"base64", "--wrap", "7", "-w5", "--decode"}}) {
        EXPECT_EQ(Wyx(arguments, {.in = "TWFu"}).out, "Man");
    }
    EXPECT_EQ(Wyx({"ini", "get", "net.ini", "--", "net", "port"}, here).out, "5060\n");
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
