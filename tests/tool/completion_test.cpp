// What the tool answers when a shell asks for the completions of a word.
#include "tool_runner.h"

namespace wyx::test {

namespace {

class CompletionTest : public ToolTest {
  protected:
    CompletionTest() { Write("f.ini", "[net]\nport=1\nproxy=2\n[two words]\nk=1\n[odd\tname]\n"); }

    /// The first column of what is offered.
    std::string Offered(std::vector<std::string> words) const
    {
        words.insert(words.begin(), "__complete");
        const Outcome outcome = Wyx(words, {.directory = Directory()});
        EXPECT_EQ(outcome.code, kOk);
        EXPECT_EQ(outcome.err, "");
        std::string offered;
        for (std::size_t begin = 0; begin < outcome.out.size();) {
            const std::size_t end = outcome.out.find('\n', begin);
            const std::string line = outcome.out.substr(begin, end - begin);
            offered += line.substr(0, line.find('\t')) + "|";
            begin = end + 1;
        }
        return offered;
    }
};

TEST_F(CompletionTest, Verbs)
{
    EXPECT_EQ(Offered({""}), "sum|base64|addr|ini|help|");
    EXPECT_EQ(Offered({"b"}), "base64|");
    EXPECT_EQ(Offered({"x"}), "");
    EXPECT_EQ(Offered({"ini", "s"}), "set|sections|");
    EXPECT_EQ(Offered({"help", "i"}), "ini|");
    EXPECT_EQ(Offered({"help", "ini", "k"}), "keys|");
    EXPECT_EQ(Offered({"help", "sum", ""}), "");
    EXPECT_EQ(Offered({}), "");
}

TEST_F(CompletionTest, Options)
{
    EXPECT_EQ(Offered({"-"}), "--help|-h|--version|-V|");
    EXPECT_EQ(Offered({"sum", "--i"}), "--ignore-missing|");
    EXPECT_EQ(Offered({"base64", "-w"}), "-w|");
    EXPECT_EQ(Offered({"ini", "check", "f.ini", "--s"}), "--strict|");
    EXPECT_EQ(Offered({"sum", "--", "--i"}), "files|");
    EXPECT_EQ(Offered({"sum", "--frob", "-z", "--i"}), "--ignore-missing|");
}

TEST_F(CompletionTest, Values)
{
    EXPECT_EQ(Offered({"ini", "recover", "--show", ""}), "newest|");
    EXPECT_EQ(Offered({"ini", "get", "--format", ""}), "sh|lines|json|");
    EXPECT_EQ(Offered({"ini", "get", "--form", ""}), "sh|lines|json|");
    EXPECT_EQ(Offered({"base64", "-w", ""}), "");
    EXPECT_EQ(Offered({"base64", "-w", "5", ""}), "files|");
    EXPECT_EQ(Offered({"base64", "-w", "--", ""}), "files|");
}

TEST_F(CompletionTest, Operands)
{
    EXPECT_EQ(Offered({"ini", "get", ""}), "files|");
    EXPECT_EQ(Offered({"ini", "check", "f.ini", ""}), "files|");
    EXPECT_EQ(Offered({"ini", "get", "f.ini", ""}), "net|two words|");
    EXPECT_EQ(Offered({"ini", "get", "f.ini", "n"}), "net|");
    EXPECT_EQ(Offered({"ini", "get", "--json", "f.ini", "NET", ""}), "port|proxy|");
    EXPECT_EQ(Offered({"ini", "get", "f.ini", "net", "port", ""}), "");
    EXPECT_EQ(Offered({"ini", "set", "f.ini", "net", "p"}), "port=|proxy=|");
    EXPECT_EQ(Offered({"ini", "set", "f.ini", "net", "port=1", "pr"}), "proxy=|");
    EXPECT_EQ(Offered({"ini", "get", "none.ini", ""}), "");
    EXPECT_EQ(Offered({"ini", "get", "f.ini", "none", ""}), "");
    EXPECT_EQ(Offered({"addr", ""}), "");
}

TEST_F(CompletionTest, Descriptions)
{
    EXPECT_EQ(Wyx({"__complete", "ba"}).out, "base64\tBase64 of a file, and back\n");
    EXPECT_EQ(Wyx({"__complete", "base64", "-d"}).out, "-d\tdecode instead of encoding\n");
}

} // namespace

} // namespace wyx::test
