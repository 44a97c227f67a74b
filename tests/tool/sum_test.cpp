#include <nlohmann/json.hpp>

#include <algorithm>

#include "random.h"
#include "tool_runner.h"
#include "wyx_commlib/crc.h"

namespace wyx::test {

namespace {

class SumTest : public ToolTest {};

struct Vector {
    const char *option;
    const char *content;
    const char *digits;
};

constexpr Vector kVectors[] = {
    {"--crc16", "123456789", "31c3"},
    {"--crc16", "a", "7c87"},
    {"--crc16", "", "0000"},
    {"--crc32", "123456789", "2dfd2d88"},
    {"--crc32", "a", "3ab551ce"},
    {"--crc32", "", "00000000"},
    {"--md5", "", "d41d8cd98f00b204e9800998ecf8427e"},
    {"--md5", "abc", "900150983cd24fb0d6963f7d28e17f72"},
    {"--md5", "message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
};

TEST_F(SumTest, PublishedValues)
{
    for (const Vector &vector : kVectors) {
        SCOPED_TRACE(std::string(vector.option) + " " + vector.content);
        const std::string file = Write("file", vector.content);
        EXPECT_EQ(Wyx({"sum", vector.option, file}).out,
                  std::string(vector.digits) + "  " + file + "\n");
        Surroundings setup;
        setup.in = vector.content;
        EXPECT_EQ(Wyx({"sum", vector.option, "-"}, setup).out,
                  std::string(vector.digits) + "  -\n");
        EXPECT_EQ(Wyx({"sum", vector.option}, setup).out, std::string(vector.digits) + "  -\n");
    }
}

TEST_F(SumTest, FilesInPieces)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    // Sizes around that of the pieces in which the tool reads; and a pipe, which returns pieces of
    // any size.
    for (const std::size_t size : {262143U, 262144U, 262145U, 1000003U, 5000001U}) {
        const std::vector<QAL_UINT8> bytes = random.Bytes(size);
        const std::string text(bytes.begin(), bytes.end());
        const std::string file = Write("big", text);
        QAL_UINT32 ulCrc = 0;
        ASSERT_EQ(XELP_CRC_32(bytes.data(), static_cast<QAL_UINT32>(size), &ulCrc), 0U);
        char digits[16];
        std::snprintf(digits, sizeof digits, "%08x", ulCrc);
        EXPECT_EQ(Wyx({"sum", "--crc32", file}).out, std::string(digits) + "  " + file + "\n");
        Surroundings setup;
        setup.in = text;
        EXPECT_EQ(Wyx({"sum", "--crc32", "-"}, setup).out, std::string(digits) + "  -\n");
    }
}

TEST_F(SumTest, Json)
{
    const std::string file = Write("file", "123456789");
    const Outcome outcome = Wyx({"sum", "--crc16", "--json", file});
    EXPECT_EQ(outcome.code, kOk);
    EXPECT_EQ(nlohmann::json::parse(outcome.out),
              nlohmann::json::parse(R"([{"file": ")" + file +
                                    R"(", "algorithm": "crc16", "sum": "31c3", "bytes": 9}])"));
}

TEST_F(SumTest, ContinuesAfterAnUnreadableFile)
{
    const std::string file = Write("file", "a");
    const Outcome outcome = Wyx({"sum", "--crc32", Path("none"), Directory(), file});
    EXPECT_EQ(outcome.code, kIo);
    EXPECT_EQ(outcome.out, "3ab551ce  " + file + "\n");
    EXPECT_TRUE(Mentions(outcome.err, {"none': No such file", "': Is a directory"}));
}

TEST_F(SumTest, UnreadableFile)
{
    WYX_NEED_NOBODY();
    const std::string file = Write("file", "a");
    ASSERT_EQ(chmod(file.c_str(), 0), 0);
    Surroundings setup;
    setup.isNobody = true;
    const Outcome outcome = Wyx({"sum", "--crc32", file}, setup);
    EXPECT_EQ(outcome.code, kIo);
    EXPECT_TRUE(Mentions(outcome.err, {"Permission denied"}));
}

// Names that need escaping, and names that the argument parser could take for something else.
const std::vector<std::string> kNames = {
    "plain",       "with blank", "line\nfeed", "carriage\rreturn",
    "back\\slash", "-dash",      "[a,b]",      "[]",
    "sum",         "ini",        "*star",      " blank",
    "\\n",         "K\xF6ln",
};

TEST_F(SumTest, ListsVerifyForAnyNames)
{
    std::vector<std::string> arguments = {"sum", "--crc32", "--"};
    for (const std::string &name : kNames) {
        Write(name, name);
        arguments.push_back(name);
    }
    Surroundings setup;
    setup.directory = Directory();
    const Outcome list = Wyx(arguments, setup);
    ASSERT_EQ(list.code, kOk) << list.err;
    EXPECT_EQ(std::ranges::count(list.out, '\n'), std::ssize(kNames));
    Write("LIST", list.out);
    const Outcome outcome = Wyx({"sum", "-c", "LIST"}, setup);
    EXPECT_EQ(outcome.code, kOk) << outcome.err;
    EXPECT_EQ(std::ranges::count(outcome.out, '\n'), std::ssize(kNames));
    EXPECT_TRUE(Mentions(outcome.out, {"plain: OK\n", "\\line\\nfeed: OK\n", "[a,b]: OK\n"}));
    EXPECT_EQ(Wyx({"sum", "-c", "-q", "LIST"}, setup).out, "");

    Write("with blank", "changed");
    const Outcome changed = Wyx({"sum", "--crc32", "-c", "-q", "LIST"}, setup);
    EXPECT_EQ(changed.code, kNo);
    EXPECT_EQ(changed.out, "with blank: FAILED\n");
    EXPECT_TRUE(Mentions(changed.err, {"1 computed checksum did NOT match"}));
    const Outcome silent = Wyx({"sum", "-c", "-s", "LIST"}, setup);
    EXPECT_EQ(silent.code, kNo);
    EXPECT_EQ(silent.out + silent.err, "");

    remove(Path("plain").c_str());
    const Outcome missing = Wyx({"sum", "-c", "LIST"}, setup);
    EXPECT_EQ(missing.code, kIo);
    EXPECT_TRUE(Mentions(missing.out, {"plain: FAILED open or read\n", "with blank: FAILED\n"}));
}

TEST_F(SumTest, ListsAreExchangedWithTheCommonProgram)
{
    Surroundings setup;
    setup.directory = Directory();
    WYX_NEED_PROGRAM("md5sum", "coreutils");
    for (const std::string &name : kNames) {
        Write(name, name);
    }
    const std::string all = " -- [!L]* ";
    const Outcome theirs = Shell("\"$WYX\" sum --md5" + all + "> L && md5sum -c --strict L", setup);
    EXPECT_EQ(theirs.code, 0) << theirs.out << theirs.err;
    for (const char *const form : {"", "-b", "--tag"}) {
        SCOPED_TRACE(form);
        const Outcome ours =
            Shell("md5sum " + std::string(form) + all + "> L && \"$WYX\" sum --md5 -c L", setup);
        EXPECT_EQ(ours.code, kOk) << ours.out << ours.err;
        EXPECT_EQ(std::ranges::count(ours.out, '\n'), std::ssize(kNames));
    }
}

/// The outcomes of md5sum and of the tool for the same words. Their messages differ in the
/// program's name.
struct Both {
    Outcome theirs;
    Outcome ours;
};

Both RunBoth(const std::string &words, const Surroundings &setup)
{
    return {Shell("LC_ALL=C md5sum " + words, setup), Shell("\"$WYX\" sum --md5 " + words, setup)};
}

TEST_F(SumTest, OptionsMatchTheCommonProgram)
{
    Surroundings here;
    here.directory = Directory();
    WYX_NEED_PROGRAM("md5sum", "coreutils");
    for (const std::string &name : kNames) {
        Write(name, name);
    }
    // Lists, byte for byte.
    for (const char *const options :
         {"", "-b", "-t", "-b -t", "-t -b", "--tag", "-z", "--tag -z", "-b --tag", "--tag -b",
          "-t --tag", "-bz", "--binary --zero", "--text", "--tag --text -b"}) {
        SCOPED_TRACE(options);
        const Both both = RunBoth(std::string(options) + " -- *", here);
        EXPECT_EQ(both.theirs.code, 0) << both.theirs.err;
        EXPECT_EQ(both.ours.code, 0) << both.ours.err;
        EXPECT_EQ(both.ours.out, both.theirs.out);
    }
    // Verdicts, byte for byte, and whether anything was written to standard error.
    const std::string good = Shell("md5sum plain", here).out;
    const std::string bad = "00000000000000000000000000000000  plain\n";
    const std::string missing = "00000000000000000000000000000000  missing\n";
    const std::string escaped = Shell("md5sum line*", here).out;
    const std::vector<std::string> lists = {
        good,
        bad,
        missing,
        good + "x\n",
        good + missing,
        bad + "x",
        missing + "xy",
        good + escaped + "\n# comment\n",
        good + "\r\n",
        good + "d41d8cd98f00b204e9800998ecf8427e  -\n", // standard input, which is empty
        "",
        "x\n",
        bad + missing,
        good + bad + missing + "x\ny\n",
    };
    for (const std::string &list : lists) {
        Write("LIST", list);
        for (const char *const options :
             {"-c", "-c --quiet", "-c --status", "-c -w", "-c --strict", "-c --ignore-missing",
              "-c --ignore-missing --strict -w", "-c --ignore-missing --quiet", "-c --status -w",
              "-c -w --quiet", "-c --quiet -w", "--quiet --status -c", "--status --quiet --check",
              "-c --strict --status", "-c --ignore-missing --status"}) {
            SCOPED_TRACE(list + options);
            const Both both = RunBoth(std::string(options) + " LIST", here);
            EXPECT_EQ(both.ours.out, both.theirs.out);
            EXPECT_EQ(both.ours.code == 0, both.theirs.code == 0) << both.ours.err;
            EXPECT_EQ(both.ours.err.empty(), both.theirs.err.empty()) << both.ours.err;
            // The warnings at the end of a list use the same words.
            for (const char *const word : {"formatted", "read", "match", "verified"}) {
                EXPECT_EQ(both.ours.err.find(word) == std::string::npos,
                          both.theirs.err.find(word) == std::string::npos)
                    << word << "\n"
                    << both.ours.err << both.theirs.err;
            }
        }
    }
    // Options that make no sense together.
    Write("LIST", good);
    for (const char *const options :
         {"--tag -t", "--tag --text", "-c -b", "-c -t", "-c --tag", "-c -z", "-w", "--quiet",
          "--status", "--strict", "--ignore-missing", "-b -c --quiet"}) {
        SCOPED_TRACE(options);
        const Both both = RunBoth(std::string(options) + " LIST", here);
        EXPECT_EQ(both.theirs.code, 1);
        EXPECT_EQ(both.ours.code, kUsage);
        EXPECT_EQ(both.ours.out + both.theirs.out, "");
    }
}

TEST_F(SumTest, MalformedLines)
{
    Write("f", "123456789");
    const Surroundings list = {.in = "31c3  f\ngarbage\n\n31c3x\n", .directory = Directory()};
    const Outcome quiet = Wyx({"sum", "-c"}, list);
    EXPECT_EQ(quiet.code, kOk);
    EXPECT_EQ(quiet.out, "f: OK\n");
    EXPECT_EQ(quiet.err, "wyx: warning: 2 lines are improperly formatted\n");
    const Outcome warned = Wyx({"sum", "-c", "-w", "--strict"}, list);
    EXPECT_EQ(warned.code, kMalformed);
    EXPECT_TRUE(
        Mentions(warned.err, {"standard input:2: improperly formatted checksum line",
                              "standard input:4: improperly", "2 lines are improperly formatted"}));
    EXPECT_TRUE(Mentions(Wyx({"sum", "-cw", Write("L", list.in)}, list).err, {"L:2: improperly"}));

    // Otherwise the second file of such a list would pass unchecked.
    Write("g", "123456789");
    Write("Z", Wyx({"sum", "--crc16", "-z", "f", "g"}, list).out);
    const Outcome zeros = Wyx({"sum", "-c", "Z"}, list);
    EXPECT_EQ(zeros.code, kMalformed);
    EXPECT_EQ(zeros.out, "");
}

TEST_F(SumTest, LinesOfLists)
{
    struct Case {
        std::string line;
        int code;
    };
    Write("f", "123456789");
    Write("a) = b", "123456789");
    Surroundings setup;
    setup.directory = Directory();
    const Case cases[] = {
        {"31c3  f\n", kOk},
        {"31C3 *f\n", kOk},
        {"31c3  f", kOk},
        {"31c3  f\r\n", kOk},
        {"2dfd2d88  f\n\n31c3  f\n", kOk},
        {"CRC16 (f) = 31c3\n", kOk},
        {"CRC32 (a) = b) = 2DFD2D88\n", kOk},
        {"31c4  f\n", kNo},
        {"31c3 f\n", kOk},
        {"31c3\tf\n", kOk},
        {" \t31c3  f\n", kOk},
        {"# 31c4  f\n31c3  f\n", kOk},
        {"CRC16(f)= 31c3\n", kOk},
        {"CRC16 (f) =31c3\n", kOk},
        {"31c3  \n", kMalformed},
        {"31c3 *\n", kMalformed},
        {"# 31c3  f\n", kMalformed},
        {"CRC16 (f)\n", kMalformed},
        {"CRC16 (f) 31c3\n", kMalformed},
        {"CRC16 f) = 31c3\n", kMalformed},
        {"CRC16\n", kMalformed},
        {"31c  f\n", kMalformed},
        {"31c3x  f\n", kMalformed},
        {"CRC16 (f) = 31c\n", kMalformed},
        {"CRC16 () = 31c3\n", kMalformed},
        {"\\31c3  f\\t\n", kMalformed},
        {"\\31c3  f\\\n", kMalformed},
        {"31c3  f\ngarbage\n", kOk},
        {"31c4  f\ngarbage\n", kNo},
        {"31c3  none\ngarbage\n31c4  f\n", kIo},
        {"", kMalformed},
        {std::string("\0\1\2", 3), kMalformed},
    };
    for (const Case &sample : cases) {
        SCOPED_TRACE(sample.line);
        setup.in = sample.line;
        EXPECT_EQ(Wyx({"sum", "-c", "-"}, setup).code, sample.code);
    }
    setup.in = "31c3  f\n";
    EXPECT_EQ(Wyx({"sum", "--crc32", "-c"}, setup).code, kMalformed) << "the algorithm differs";
    EXPECT_EQ(Wyx({"sum", "--crc16", "-c", Path("none")}, setup).code, kIo);
}

TEST_F(SumTest, CheckJson)
{
    Write("f", "123456789");
    Surroundings setup;
    setup.directory = Directory();
    setup.in = "31c3  f\n2dfd2d89  f\n31c3  none\n";
    const Outcome outcome = Wyx({"sum", "-c", "--json"}, setup);
    EXPECT_EQ(outcome.code, kIo);
    const nlohmann::json json = nlohmann::json::parse(outcome.out);
    ASSERT_EQ(json.size(), 3U);
    EXPECT_EQ(json[0]["ok"], true);
    EXPECT_EQ(json[1]["ok"], false);
    EXPECT_EQ(json[1]["expected"], "2dfd2d89");
    EXPECT_EQ(json[1]["actual"], "2dfd2d88");
    EXPECT_EQ(json[2]["ok"], false);
    EXPECT_TRUE(Mentions(json[2]["error"], {"No such file"}));
}

} // namespace

} // namespace wyx::test
