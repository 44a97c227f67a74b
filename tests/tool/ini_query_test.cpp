// wyx ini sections, keys, get, list.
#include <nlohmann/json.hpp>

#include "tool_runner.h"

#ifndef __has_feature
#define __has_feature(feature) 0 // GCC has a macro of its own
#endif

namespace wyx::test {

namespace {

using nlohmann::json;

constexpr std::string_view kSample =
    "; top\n"
    "[ Net ] ;main\n"
    "port = 5060 ;sip\n"
    "list=\"a ;b\", c ;x\n"
    "none= ;c\n"
    "empty=\n"
    "  \n"
    "[b]\n"
    "long=aaa\\\n"
    "bbb\n"
    "k=1\n"
    "k=2\n";

class IniQueryTest : public ToolTest {
  protected:
    const std::string file = Write("sample.ini", kSample);
};

TEST_F(IniQueryTest, Sections)
{
    EXPECT_EQ(Wyx({"ini", "sections", file}).out, "Net\nb\n");
    EXPECT_EQ(Wyx({"ini", "sections", Write("twice.ini", "[a]\n[B]\n[A]\n")}).out, "a\nB\nA\n");
    EXPECT_EQ(json::parse(Wyx({"ini", "sections", "--json", file}).out),
              json({{"file", file}, {"sections", {"Net", "b"}}}));
}

TEST_F(IniQueryTest, BlanksAroundASectionDoNotCount)
{
    const std::string name = Write("blanks.ini", "[ a ]\nk=1\n");
    for (const char *const section : {"a", " a ", "\ta"}) {
        EXPECT_EQ(Wyx({"ini", "get", name, section, "k"}).out, "1\n");
        EXPECT_EQ(Wyx({"ini", "keys", name, section}).out, "k\n");
    }
}

TEST_F(IniQueryTest, KeyBeforeTheFirstSectionIsInNone)
{
    const Outcome outcome = Wyx({"ini", "get", Write("top.ini", "k=1\n[a]\nl=1\n"), "a", "k"});
    EXPECT_EQ(outcome.code, kNo);
    EXPECT_EQ(outcome.err.find("earlier block"), std::string::npos) << outcome.err;
}

TEST_F(IniQueryTest, OnlyWordsOfUpTo64BytesAreSuggested)
{
    const auto isSuggested = [&](const std::string &name, const std::string &asked) {
        const std::string path = Write("long.ini", "[" + name + "]\nk=1\n");
        const Outcome outcome = Wyx({"ini", "get", path, asked, "k"});
        EXPECT_EQ(outcome.code, kNo);
        return outcome.err.find("did you mean '" + name + "'?") != std::string::npos;
    };
    const std::string most(63, 'n');
    EXPECT_TRUE(isSuggested(most + "a", most + "b"));
    EXPECT_FALSE(isSuggested(most + "an", most + "a"));
    EXPECT_FALSE(isSuggested(most + "a", most + "an"));
}

TEST_F(IniQueryTest, ListWarnsAboutNulBytes)
{
    const std::string name = Write("nul.ini", std::string_view("[a]\nk=1\0x\nl=1\n", 14));
    const Outcome outcome = Wyx({"ini", "list", name});
    EXPECT_EQ(outcome.code, kOk);
    EXPECT_EQ(outcome.out, "1  section  [a]\n2  key      k=1\n3  key      l=1\n");
    EXPECT_TRUE(Mentions(outcome.err, {"warning: ", "nul.ini holds NUL bytes"}));
    EXPECT_EQ(Wyx({"ini", "list", file}).err, "");
}

TEST_F(IniQueryTest, Keys)
{
    EXPECT_EQ(Wyx({"ini", "keys", file, "NET"}).out, "port\nlist\nnone\nempty\n");
    EXPECT_EQ(Wyx({"ini", "keys", file, "b"}).out, "long\nk\nk\n");
    EXPECT_EQ(json::parse(Wyx({"ini", "keys", "--json", file, "b"}).out),
              json({{"file", file}, {"section", "b"}, {"keys", {"long", "k", "k"}}}));
    EXPECT_EQ(Wyx({"ini", "keys", file, "c"}).code, kNo);
}

struct Value {
    const char *section;
    const char *key;
    const char *value; // null for none
};

constexpr Value kValues[] = {
    {"net", "port", "5060"},  {"NET", "PORT", "5060"},   {"net", "list", "\"a ;b\", c"},
    {"net", "none", nullptr}, {"net", "empty", nullptr}, {"b", "long", "aaabbb"},
    {"b", "k", "2"},
};

TEST_F(IniQueryTest, Get)
{
    for (const Value &value : kValues) {
        SCOPED_TRACE(value.key);
        const Outcome text = Wyx({"ini", "get", file, value.section, value.key});
        EXPECT_EQ(text.code, kOk);
        EXPECT_EQ(text.out, std::string(value.value != nullptr ? value.value : "") + "\n");
        const json expected = value.value != nullptr ? json(value.value) : json(nullptr);
        const json object =
            json::parse(Wyx({"ini", "get", "--json", file, value.section, value.key}).out);
        EXPECT_EQ(object["value"], expected);
        EXPECT_EQ(object["file"], file);
        EXPECT_EQ(object["section"], value.section);
        EXPECT_EQ(object["key"], value.key);
    }
}

TEST_F(IniQueryTest, GetFromEveryKindOfInput)
{
    Surroundings setup;
    setup.in = kSample;
    EXPECT_EQ(Wyx({"ini", "get", "-", "net", "port"}, setup).out, "5060\n");
    EXPECT_EQ(Wyx({"ini", "get", "/dev/stdin", "net", "port"}, setup).out, "5060\n");
    ASSERT_EQ(mkfifo(Path("fifo").c_str(), 0600), 0);
    EXPECT_EQ(Shell("cat sample.ini > fifo & exec \"$WYX\" ini get fifo net port",
                    {.directory = Directory()})
                  .out,
              "5060\n");
    ASSERT_EQ(symlink("sample.ini", Path("link").c_str()), 0);
    EXPECT_EQ(Wyx({"ini", "get", Path("link"), "net", "port"}).out, "5060\n");
    for (const char *const name : {"[x].ini", "get", "-n", " x "}) {
        SCOPED_TRACE(name);
        Write(name, kSample);
        EXPECT_EQ(Wyx({"ini", "get", "--", name, "net", "port"}, {.directory = Directory()}).out,
                  "5060\n");
    }
}

TEST_F(IniQueryTest, FileOfManyLines)
{
    std::string content = "[a]\n";
    std::string keys;
    for (int i = 0; i < 3000; ++i) {
        content += "k" + std::to_string(i) + "=" + std::to_string(i) + "\n";
        keys += "k" + std::to_string(i) + "\n";
    }
    const std::string name = Write("many.ini", content);
    EXPECT_EQ(Wyx({"ini", "keys", name, "a"}).out, keys);
    EXPECT_EQ(Wyx({"ini", "get", name, "a", "k2999"}).out, "2999\n");
}

TEST_F(IniQueryTest, LineEndsOfEveryKind)
{
    for (const char *const end : {"\n", "\r\n", "\r", "\n\r"}) {
        const std::string text = std::string("[a]") + end + "k=v" + end + "e=" + end;
        const std::string name = Write("ends.ini", text);
        EXPECT_EQ(Wyx({"ini", "get", name, "a", "k"}).out, "v\n");
        EXPECT_EQ(Wyx({"ini", "get", name, "a", "e"}).out, "\n");
        EXPECT_EQ(Wyx({"ini", "get", Write("open.ini", text + "l=w"), "a", "l"}).out, "w\n");
    }
}

TEST_F(IniQueryTest, NotFound)
{
    const Outcome key = Wyx({"ini", "get", file, "net", "prot"});
    EXPECT_EQ(key.code, kNo);
    EXPECT_EQ(key.out, "");
    EXPECT_TRUE(Mentions(key.err, {"no key 'prot' in section 'net'", "did you mean 'port'?"}));
    const Outcome section = Wyx({"ini", "get", file, "nte", "port"});
    EXPECT_EQ(section.code, kNo);
    EXPECT_TRUE(Mentions(section.err, {"no section 'nte'", "did you mean 'Net'?"}));
    const std::string blocks = Write("blocks.ini", "[a]\nk=1\n[b]\n[a]\nl : 2\n[c] x\n");
    for (const char *const name : {"a", " a "}) {
        const Outcome hidden = Wyx({"ini", "get", blocks, name, "k"});
        EXPECT_EQ(hidden.code, kNo);
        EXPECT_TRUE(Mentions(hidden.err, {"line 2 has it", "the last one counts"}));
        const Outcome unread = Wyx({"ini", "get", blocks, name, "l"});
        EXPECT_TRUE(Mentions(unread.err, {"line 5 looks like it"}));
    }
    const Outcome header = Wyx({"ini", "get", blocks, " c ", "k"});
    EXPECT_TRUE(Mentions(header.err, {"line 6 looks like it"}));
    EXPECT_EQ(Wyx({"ini", "get", Write("empty.ini", ""), "a", "k"}).code, kNo);
}

TEST_F(IniQueryTest, InvalidUtf8IsExactInHexadecimal)
{
    const std::string name = Write("latin.ini", "[a]\nstadt=K\xF6ln\nort=K\xC3\xB6ln\n");
    EXPECT_EQ(Wyx({"ini", "get", name, "a", "stadt"}).out, "K\xF6ln\n");
    const json latin = json::parse(Wyx({"ini", "get", "--json", name, "a", "stadt"}).out);
    EXPECT_EQ(latin["value"], "K\xEF\xBF\xBDln");
    EXPECT_EQ(latin["value_hex"], "4bf66c6e");
    const json utf8 = json::parse(Wyx({"ini", "get", "--json", name, "a", "ort"}).out);
    EXPECT_EQ(utf8["value"], "K\xC3\xB6ln");
    EXPECT_FALSE(utf8.contains("value_hex"));
    const json keys = json::parse(
        Wyx({"ini", "keys", "--json", Write("key.ini", "[a]\n\xF6=1\nb=2\n"), "a"}).out);
    EXPECT_EQ(keys["keys_hex"], json({"f6", "62"}));
}

TEST_F(IniQueryTest, List)
{
    EXPECT_EQ(Wyx({"ini", "list", file}).out,
              " 1  comment  ; top\n"
              " 2  section  [ Net ] ;main\n"
              " 3  key      port = 5060 ;sip\n"
              " 4  key      list=\"a ;b\", c ;x\n"
              " 5  key      none= ;c\n"
              " 6  key      empty=\n"
              " 7  blank      \n"
              " 8  section  [b]\n"
              " 9  key      long=aaabbb\n"
              "11  key      k=1\n"
              "12  key      k=2\n");
    const Outcome odd = Wyx({"ini", "list", Write("odd.ini", "garbage\n\n[\nk=\x01\n\\x=1\n")});
    EXPECT_EQ(odd.code, kOk);
    EXPECT_EQ(odd.out,
              "1  error    garbage\n"
              "2  blank\n"
              "3  error    [\n"
              "4  key      k=\\x01\\x0a\\x=1\n");
}

TEST_F(IniQueryTest, ListOfOnlyErrors)
{
    EXPECT_EQ(Wyx({"ini", "list", Write("shadow", "root:*:1\ndaemon:*:2\n")}).code, kMalformed);
    EXPECT_EQ(Wyx({"ini", "list", "--json", Path("shadow")}).code, kMalformed);
    EXPECT_EQ(Wyx({"ini", "list", Write("some", "root:*:1\n; ok\n")}).code, kOk);
}

TEST_F(IniQueryTest, EmptyFileIsNotAnError)
{
    const std::string empty = Write("empty.ini", "");
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"ini", "sections", empty},
          std::vector<std::string>{"ini", "list", empty},
          std::vector<std::string>{"ini", "check", empty},
          std::vector<std::string>{"ini", "check", "--strict", empty}}) {
        const Outcome outcome = Wyx(arguments);
        EXPECT_EQ(outcome.code, kOk) << arguments[1];
        EXPECT_EQ(outcome.out + outcome.err, "");
    }
    EXPECT_EQ(json::parse(Wyx({"ini", "sections", "--json", empty}).out)["sections"],
              json::array());
    EXPECT_EQ(Wyx({"ini", "keys", Write("bare.ini", "[a]\n"), "a"}).code, kOk);
    EXPECT_EQ(Wyx({"ini", "keys", empty, "a"}).code, kNo) << "no such section";
}

TEST_F(IniQueryTest, JsonOfEveryByte)
{
    std::string text;
    for (int i = 1; i < 256; ++i) {
        text += i == '\n' || i == '\r' || i == '\\' ? "" : std::string(1, static_cast<char>(i));
    }
    // Characters of each length, the smallest and the largest; surrogates; truncated characters.
    for (const char *const bytes :
         {"\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xEF\xBF\xBF", "\xF0\x90\x80\x80",
          "\xF4\x8F\xBF\xBF", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
          "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xE2\x82", "\xC3(", "\xE2(\xA1",
          "\xED\x9F\xBF", "\xEE\x80\x80", "\xED\xBF\xBF"}) {
        text += std::string("\n[a]\nk=") + bytes;
    }
    const std::string name = Write("bytes.ini", "; " + text + "\nend=\xF0\x9F");
    const Outcome outcome = Wyx({"ini", "list", "--json", name});
    const json list = json::parse(outcome.out);
    std::size_t exact = 0;
    for (const json &line : list["lines"]) {
        const bool isValid = !line.contains("text_hex");
        EXPECT_NO_THROW(static_cast<void>(json(line["text"]).dump()));
        EXPECT_EQ(line["text"].get<std::string>().find("\xEF\xBF\xBD") == std::string::npos,
                  isValid);
        exact += isValid ? 1 : 0;
        if (isValid) {
            continue;
        }
        // On the other lines, no byte above ASCII belongs to a character.
        std::string replaced;
        const std::string hex = line["text_hex"];
        for (std::size_t i = 0; i < hex.size(); i += 2) {
            const int byte = std::stoi(hex.substr(i, 2), nullptr, 16);
            replaced += byte < 0x80 ? std::string(1, static_cast<char>(byte)) : "\xEF\xBF\xBD";
        }
        EXPECT_EQ(line["text"], replaced);
    }
    EXPECT_EQ(exact, 18U + 8U) << "headers, and the values that are valid";
}

TEST_F(IniQueryTest, ListJson)
{
    const json list = json::parse(Wyx({"ini", "list", "--json", file}).out);
    EXPECT_EQ(list["file"], file);
    ASSERT_EQ(list["lines"].size(), 11U);
    EXPECT_EQ(list["lines"][0],
              json({{"line", 1}, {"lines", 1}, {"kind", "comment"}, {"text", "; top\n"}}));
    EXPECT_EQ(list["lines"][1], json({{"line", 2},
                                      {"lines", 1},
                                      {"kind", "section"},
                                      {"text", "[ Net ] ;main\n"},
                                      {"name", "Net"},
                                      {"comment", "main"}}));
    EXPECT_EQ(list["lines"][4], json({{"line", 5},
                                      {"lines", 1},
                                      {"kind", "key"},
                                      {"text", "none= ;c\n"},
                                      {"name", "none"},
                                      {"value", nullptr},
                                      {"comment", "c"}}));
    EXPECT_EQ(list["lines"][8], json({{"line", 9},
                                      {"lines", 2},
                                      {"kind", "key"},
                                      {"text", "long=aaabbb\n"},
                                      {"name", "long"},
                                      {"value", "aaabbb"}}));
    const json error = json::parse(Wyx({"ini", "list", "--json", Write("e.ini", "garbage\n")}).out);
    EXPECT_EQ(error["lines"][0]["kind"], "error");
    EXPECT_EQ(error["lines"][0]["code"], 160);
    const json header = json::parse(Wyx({"ini", "list", "--json", Write("h.ini", "[a] t\n")}).out);
    EXPECT_EQ(header["lines"][0]["kind"], "error");
}

TEST_F(IniQueryTest, ListContinuesAfterATooLongLine)
{
    const std::string half(300, 'x');
    const std::string name =
        Write("long.ini", "[a]\nk=" + half + "\\\n" + half + "\\\n" + half + "\nl=1\n");
    const Outcome outcome = Wyx({"ini", "list", name});
    EXPECT_EQ(outcome.code, kMalformed);
    EXPECT_EQ(outcome.out,
              "1  section  [a]\n"
              "2  error    line of more than 511 bytes: the file does not load\n"
              "5  key      l=1\n");
    const json list = json::parse(Wyx({"ini", "list", "--json", name}).out);
    EXPECT_EQ(list["lines"][1],
              json({{"line", 2}, {"lines", 3}, {"kind", "error"}, {"code", 140}}));
}

// Verbs that read or change a file say what is wrong with one that they cannot read.
struct BadFile {
    const char *name;
    std::string content;
    std::vector<std::string> messages;
};

TEST_F(IniQueryTest, MalformedFiles)
{
    const BadFile files[] = {
        {"nul.ini", std::string("[a]\nk=\0v\n", 9), {"nul.ini:2: ", "NUL byte", "binary"}},
        {"utf16.ini", std::string("\xFF\xFE[\0a\0]\0", 8), {"UTF-16", "iconv"}},
    };
    for (const BadFile &bad : files) {
        SCOPED_TRACE(bad.name);
        const std::string name = Write(bad.name, bad.content);
        for (const std::vector<std::string> &arguments :
             {std::vector<std::string>{"ini", "get", name, "x", "k"},
              std::vector<std::string>{"ini", "sections", name},
              std::vector<std::string>{"ini", "keys", name, "x"},
              std::vector<std::string>{"ini", "set", name, "x", "k=1"},
              std::vector<std::string>{"ini", "del", name, "x"}}) {
            const Outcome outcome = Wyx(arguments);
            EXPECT_EQ(outcome.code, kMalformed) << arguments[1];
            EXPECT_EQ(outcome.out, "");
            EXPECT_TRUE(Mentions(outcome.err, bad.messages));
        }
        EXPECT_EQ(Read(name), bad.content);
    }
}

// Lines that the library cannot read are skipped; --strict reports the first of them.
TEST_F(IniQueryTest, LinesThatCannotBeRead)
{
    const BadFile files[] = {
        {"long.ini", "[a]\nk=1\nl=" + std::string(510, 'x') + "\n[b]\n", {":3: ", "511", "(140)"}},
        {"unknown.ini", "[a]\nk=1\nx\n[b]\ny\n", {":3: ", "(160)", "ini check"}},
        {"colon.ini", "[a]\nk=1\nl : 2\n[b]\n", {":3: ", "(160)"}},
        {"first.ini", "garbage\n[a]\nk=1\n[b]\n", {":1: ", "(160)"}},
        {"mark.ini", "\xEF\xBB\xBF[a]\nk=1\n[b]\n", {":1: ", "byte-order mark"}},
        {"header.ini", "[]\nk=2\n[a]\nk=1\n[b]\n", {":1: ", "malformed section header", "(110)"}},
        {"text.ini", "[a]\nk=1\n[b]\n[c] # d\nk=2\n", {":4: ", "(160)"}},
    };
    for (const BadFile &bad : files) {
        SCOPED_TRACE(bad.name);
        const std::string name = Write(bad.name, bad.content);
        EXPECT_EQ(Wyx({"ini", "get", name, "a", "k"}).out, "1\n");
        EXPECT_EQ(Wyx({"ini", "sections", name}).out, "a\nb\n");
        EXPECT_EQ(Wyx({"ini", "keys", name, "a"}).out, "k\n");
        EXPECT_EQ(Wyx({"ini", "keys", name, "b"}).out, "");
        for (const std::vector<std::string> &arguments :
             {std::vector<std::string>{"ini", "get", "--strict", name, "a", "k"},
              std::vector<std::string>{"ini", "sections", "--strict", name},
              std::vector<std::string>{"ini", "keys", "--strict", name, "a"}}) {
            const Outcome outcome = Wyx(arguments);
            EXPECT_EQ(outcome.code, kMalformed) << arguments[1];
            EXPECT_EQ(outcome.out, "");
            EXPECT_TRUE(Mentions(outcome.err, bad.messages));
        }
        EXPECT_EQ(Wyx({"ini", "check", "-e", name}).code, kMalformed);
    }
    EXPECT_TRUE(Mentions(Wyx({"ini", "get", Path("colon.ini"), "a", "l"}).err,
                         {"no key 'l'", "line 3 looks like it"}));
    EXPECT_TRUE(Mentions(Wyx({"ini", "get", Path("text.ini"), "c", "k"}).err,
                         {"no section 'c'", "line 4 looks like it"}));
}

TEST_F(IniQueryTest, FilesThatCannotBeRead)
{
    WYX_NEED_NOBODY();
    for (const char *const verb : {"sections", "list", "check"}) {
        SCOPED_TRACE(verb);
        const Outcome missing = Wyx({"ini", verb, Path("none.ini")});
        EXPECT_EQ(missing.code, kIo);
        EXPECT_TRUE(Mentions(missing.err, {"none.ini': No such file"}));
        const Outcome directory = Wyx({"ini", verb, Directory()});
        EXPECT_EQ(directory.code, kIo);
        EXPECT_TRUE(Mentions(directory.err, {"Is a directory"}));
        ASSERT_EQ(chmod(file.c_str(), 0), 0);
        const Outcome unreadable = Wyx({"ini", verb, file}, {.isNobody = true});
        EXPECT_EQ(unreadable.code, kIo);
        EXPECT_TRUE(Mentions(unreadable.err, {"Permission denied"}));
        const Outcome endless = Wyx({"ini", verb, "/dev/zero"});
        EXPECT_EQ(endless.code, kMalformed);
        EXPECT_TRUE(Mentions(endless.err, {"too large"}));
    }
    const Outcome closed = Wyx({"ini", "list", "-"}, {.isInClosed = true});
    EXPECT_EQ(closed.code, kIo);
    EXPECT_TRUE(Mentions(closed.err, {"standard input"}));
    // The '-' for standard input comes first, so the hint for a misplaced file is not given.
    const Outcome input = Wyx({"ini", "get", "-", "net", file}, {.isInClosed = true});
    EXPECT_EQ(input.code, kIo);
    EXPECT_EQ(input.err.find("comes first"), std::string::npos) << input.err;
}

TEST_F(IniQueryTest, MessageMentionsProcIfItIsMissing)
{
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
    GTEST_SKIP() << "the sanitizer itself needs /proc";
#endif
    // An empty file system covers /proc, in a mount namespace that ends with the shell.
    const Outcome outcome = Shell(
        "exec unshare -rm sh -c '"
        "mount -t tmpfs none /proc 2>/dev/null || exit 77\n"
        "\"$WYX\" ini sections sample.ini; echo $?'",
        {.directory = Directory()});
    if (outcome.code != 0) {
        GTEST_SKIP() << "cannot mount a file system here: " << outcome.err;
    }
    EXPECT_EQ(outcome.out, "3\n");
    EXPECT_TRUE(Mentions(outcome.err, {"cannot read INI files without /proc", "mount -t proc"}));
}

} // namespace

} // namespace wyx::test
