#include <algorithm>

#include "random.h"
#include "tool_runner.h"

namespace wyx::test {

namespace {

class Base64ToolTest : public ToolTest {};

Outcome Encode(const std::string &bytes, const std::string &width = "0")
{
    Surroundings setup;
    setup.in = bytes;
    return Wyx({"base64", "-w", width}, setup);
}

Outcome Decode(const std::string &text)
{
    Surroundings setup;
    setup.in = text;
    return Wyx({"base64", "-d"}, setup);
}

TEST_F(Base64ToolTest, PublishedValues)
{
    // RFC 4648, section 10
    const std::vector<std::pair<std::string, std::string>> vectors = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
    };
    for (const auto &[bytes, text] : vectors) {
        SCOPED_TRACE(bytes);
        EXPECT_EQ(Encode(bytes).out, text);
        EXPECT_EQ(Encode(bytes, "76").out, text.empty() ? "" : text + "\n");
        EXPECT_EQ(Decode(text).out, bytes);
        EXPECT_EQ(Decode(text).code, kOk);
    }
}

TEST_F(Base64ToolTest, StreamsOfAnySizeRoundTrip)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    // Around the tool's pieces of 196608 bytes, which are three quarters of as many characters.
    for (const std::size_t size :
         {147455U, 147456U, 147457U, 196607U, 196608U, 196609U, 1000000U}) {
        SCOPED_TRACE(size);
        const std::vector<QAL_UINT8> raw = random.Bytes(size);
        const std::string bytes(raw.begin(), raw.end());
        for (const char *const width : {"0", "1", "76", "77"}) {
            const Outcome text = Encode(bytes, width);
            EXPECT_EQ(text.code, kOk);
            EXPECT_TRUE(Decode(text.out).out == bytes) << width;
        }
        std::string urlSafe = Encode(bytes).out;
        std::ranges::replace(urlSafe, '+', '-');
        std::ranges::replace(urlSafe, '/', '_');
        EXPECT_TRUE(Decode(urlSafe).out == bytes);
    }
}

TEST_F(Base64ToolTest, LinesHaveTheRequestedWidth)
{
    const std::string line(76, 'A');
    EXPECT_EQ(Encode(std::string(57, '\0'), "76").out, line + "\n");
    EXPECT_EQ(Encode(std::string(60, '\0'), "76").out, line + "\nAAAA\n");
    EXPECT_EQ(Encode(std::string(3, '\0'), "3").out, "AAA\nA\n");
    Surroundings setup;
    setup.in = std::string(60, '\0');
    EXPECT_EQ(Wyx({"base64"}, setup).out, line + "\nAAAA\n");
    EXPECT_EQ(Wyx({"base64", "-"}, setup).out, line + "\nAAAA\n");
    EXPECT_EQ(Wyx({"base64", Write("file", setup.in)}).out, line + "\nAAAA\n");
}

TEST_F(Base64ToolTest, AsLenientAsTheDecoder)
{
    EXPECT_EQ(Decode("TWE").out, "Ma");
    EXPECT_EQ(Decode("TQ").out, "M");
    EXPECT_EQ(Decode("T\r\nW=F\nu").out, "Man");
    EXPECT_EQ(Decode(std::string("TW\0Fu", 5)).out, "Man");
    EXPECT_EQ(Decode("====").out, "");
    EXPECT_EQ(Decode("====").code, kOk);
}

TEST_F(Base64ToolTest, FirstBadCharacterIsReported)
{
    const Outcome blank = Decode("TWFu TWFu");
    EXPECT_EQ(blank.code, kMalformed);
    EXPECT_EQ(blank.out, "Man");
    EXPECT_TRUE(Mentions(blank.err, {"standard input: a blank at offset 4 "}));
    EXPECT_TRUE(Mentions(Decode("TW!u").err, {"'!' at offset 2 "}));
    EXPECT_TRUE(Mentions(Decode("TWFu\x80").err, {"byte 0x80 at offset 4 "}));
    const Outcome far = Decode(std::string(300000, 'A') + "\n*");
    EXPECT_TRUE(Mentions(far.err, {"'*' at offset 300001 "}));
    EXPECT_EQ(far.out, std::string(225000, '\0'));
    const Outcome file = Wyx({"base64", "-d", Write("bad", "?")});
    EXPECT_TRUE(Mentions(file.err, {"bad': '?' at offset 0 "}));
}

TEST_F(Base64ToolTest, OneLeftoverCharacterIsReportedAsCutOff)
{
    const Outcome outcome = Decode("TWFuT");
    EXPECT_EQ(outcome.code, kMalformed);
    EXPECT_EQ(outcome.out, "Man");
    EXPECT_TRUE(Mentions(outcome.err, {"cut off"}));
}

TEST_F(Base64ToolTest, IgnoreGarbageSkipsGarbage)
{
    const std::vector<std::string> decode = {"base64", "-d", "-i"};
    EXPECT_EQ(Wyx(decode, {.in = "T*W F\x80u\t"}).out, "Man");
    EXPECT_EQ(Wyx({"base64", "-di"}, {.in = "T*WFu"}).code, kOk);
    EXPECT_EQ(Wyx({"base64", "--decode", "--ignore-garbage"}, {.in = "!"}).out, "");
    EXPECT_EQ(Wyx(decode, {.in = "TWFu!T"}).code, kMalformed) << "still cut off";
    WYX_NEED_PROGRAM("base64", "coreutils");
    Random random;
    SCOPED_TRACE(random.Trace());
    const std::vector<QAL_UINT8> raw = random.Bytes(100000);
    std::string text;
    for (const char ch : Wyx({"base64"}, {.in = std::string(raw.begin(), raw.end())}).out) {
        text += ch;
        text += std::string(random.UpTo(2), "!*\t \x81"[random.UpTo(4)]);
    }
    Write("text", text);
    const Outcome theirs = Shell("base64 -di text", {.directory = Directory()});
    const Outcome ours = Shell("\"$WYX\" base64 -di text", {.directory = Directory()});
    EXPECT_EQ(ours.code, theirs.code);
    EXPECT_TRUE(ours.out == theirs.out);
}

// "timeout" ends with 124 if the tool is still running.
TEST_F(Base64ToolTest, StopsWhenItsOutputIsLost)
{
    const Outcome full = Shell("timeout 30 \"$WYX\" base64 /dev/zero > /dev/full");
    EXPECT_EQ(full.code, kIo);
    EXPECT_TRUE(Mentions(full.err, {"cannot write standard output: No space left"}));
    const Outcome gone =
        Shell("{ timeout 30 \"$WYX\" base64 /dev/zero; echo $? >&2; } | head -c 10");
    EXPECT_EQ(gone.out, "AAAAAAAAAA");
    EXPECT_EQ(gone.err, "141\n") << "SIGPIPE, and no message";
    const Outcome ignored =
        Shell("trap '' PIPE; { timeout 30 \"$WYX\" base64 /dev/zero; echo $? >&2; } | head -c 10");
    EXPECT_TRUE(Mentions(ignored.err, {"cannot write standard output: Broken pipe", "\n3\n"}));
    const Outcome decoded =
        Shell("{ yes TWFu | timeout 30 \"$WYX\" base64 -d; echo $? >&2; } | head -c 10");
    EXPECT_EQ(decoded.out, "ManManManM");
    EXPECT_EQ(decoded.err, "141\n");
}

TEST_F(Base64ToolTest, Failures)
{
    EXPECT_EQ(Wyx({"base64", Path("none")}).code, kIo);
    EXPECT_EQ(Wyx({"base64", Directory()}).code, kIo);
    EXPECT_EQ(Wyx({"base64", "-w", "x"}).code, kUsage);
    EXPECT_EQ(Wyx({"base64", "-w", "-1"}).code, kUsage);
    EXPECT_EQ(Wyx({"base64", "one", "two"}).code, kUsage);
    Surroundings setup;
    setup.in = std::string(1000000, 'x');
    setup.out = Channel::kFull;
    const Outcome full = Wyx({"base64"}, setup);
    EXPECT_EQ(full.code, kIo);
    EXPECT_TRUE(Mentions(full.err, {"No space left"}));
}

} // namespace

} // namespace wyx::test
