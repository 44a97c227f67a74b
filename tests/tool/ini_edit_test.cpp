// wyx ini set, del.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "random.h"
#include "tool_runner.h"

namespace wyx::test {

namespace {

using nlohmann::json;

class IniEditToolTest : public ToolTest {
  protected:
    /// Sets in a file of this content; the content afterwards, or what went wrong.
    std::string Set(const std::string &content, const std::vector<std::string> &arguments)
    {
        const std::string name = Write("f.ini", content);
        std::vector<std::string> command = {"ini", "set", name};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const Outcome outcome = Wyx(command);
        EXPECT_EQ(outcome.code, kOk) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(Names(), std::vector<std::string>{"f.ini"});
        return Read(name);
    }

    /// Expects that a change is refused with a message, and nothing done.
    void Refused(const std::string &content, const std::vector<std::string> &arguments, int code,
                 const std::vector<std::string> &messages)
    {
        const std::string name = Write("f.ini", content);
        std::vector<std::string> command = arguments;
        command.insert(command.begin(), "ini");
        command.insert(command.begin() + 2, name);
        const Outcome outcome = Wyx(command);
        EXPECT_EQ(outcome.code, code);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(Mentions(outcome.err, messages));
        EXPECT_EQ(Read(name), content);
        EXPECT_EQ(Names(), std::vector<std::string>{"f.ini"});
    }
};

struct Change {
    const char *name;
    std::string before;
    std::vector<std::string> arguments;
    std::string after;
};

TEST_F(IniEditToolTest, Set)
{
    const std::string spaces = "[a]\n  k = 1  ;c\n; end\n[b]\nk=1\n";
    const Change changes[] = {
        {"Replace", spaces, {"a", "k=2"}, "[a]\nk=2 ;c\n; end\n[b]\nk=1\n"},
        {"ReplaceIgnoringCase", spaces, {"A", "K=2"}, "[a]\nk=2 ;c\n; end\n[b]\nk=1\n"},
        {"SameValueTouchesNothing", spaces, {"a", "k=1"}, spaces},
        {"Insert", spaces, {"a", "l=2"}, "[a]\n  k = 1  ;c\n; end\nl=2\n[b]\nk=1\n"},
        {"NewSection", spaces, {"c", "l=2"}, spaces + "[c]\nl=2\n"},
        {"Several", spaces, {"a", "k=2", "l=3", "m=4"}, "[a]\nk=2 ;c\n; end\nl=3\nm=4\n[b]\nk=1\n"},
        {"SeveralInANewSection", "", {"c", "k=1", "l=2"}, "[c]\nk=1\nl=2\n"},
        {"Empty", spaces, {"a", "k="}, "[a]\nk= ;c\n; end\n[b]\nk=1\n"},
        {"EmptyWithoutComment", "[a]\nk=1\n", {"a", "k="}, "[a]\nk=\n"},
        {"LastBlockCounts", "[a]\nk=1\n[A]\nk=2\n", {"a", "k=3"}, "[a]\nk=1\n[A]\nk=3\n"},
        {"LowestKeyCounts", "[a]\nk=1\nk=2\n", {"a", "k=3"}, "[a]\nk=1\nk=3\n"},
        {"CrLfStays", "[a]\r\nk=1\r\n", {"a", "k=2", "l=3"}, "[a]\r\nk=2\r\nl=3\r\n"},
        {"CrLfStaysInANewSection", "[a]\r\n", {"b", "k=1"}, "[a]\r\n[b]\r\nk=1\r\n"},
        {"CrStays", "[a]\rk=1\r", {"a", "l=2"}, "[a]\rk=1\rl=2\r"},
        {"MixedEndsTakeLf", "[a]\r\nk=1\n", {"a", "l=2"}, "[a]\r\nk=1\nl=2\n"},
        {"NoLineEnd", "[a]\nk=1", {"a", "l=2"}, "[a]\nk=1\nl=2\n"},
        {"NoLineEndCrLf", "[a]\r\nk=1", {"a", "l=2"}, "[a]\r\nk=1\r\nl=2\r\n"},
        {"ValueWithEquals", "[a]\n", {"a", "k=x=y"}, "[a]\nk=x=y\n"},
        {"QuotedValue", "[a]\n", {"a", "k=\"x ;y\", \" z \""}, "[a]\nk=\"x ;y\", \" z \"\n"},
        {"BracketedValue", "[a]\n", {"a", "k=[x,y]"}, "[a]\nk=[x,y]\n"},
        {"QuoteBehindSemicolon", "[a]\nk=1 ;c\n", {"a", "k=x ;\"y"}, "[a]\nk=x ;\"y ;c\n"},
        {"BackslashesInPairs", "[a]\n", {"a", "k=x\\\\"}, "[a]\nk=x\\\\\n"},
        {"BackslashBeforeComment", "[a]\nk=1 ;c\n", {"a", "k=x\\"}, "[a]\nk=x\\ ;c\n"},
        {"DashKey", "[a]\n", {"--", "a", "-k=-1"}, "[a]\n-k=-1\n"},
        {"HighBytes", "[K\xF6ln]\n", {"K\xF6ln", "\xC3\xB6=\xE4"}, "[K\xF6ln]\n\xC3\xB6=\xE4\n"},
        {"Continuation", "[a]\nk=1\\\n2\nl=3\n", {"a", "l=4"}, "[a]\nk=12\nl=4\n"},
        {"Folded",
         "[a]\n",
         {"a", "k=" + std::string(100, 'x')},
         "[a]\nk=" + std::string(76, 'x') + "\\\n" + std::string(24, 'x') + "\n"},
        {"Longest", "[a]\n", {"a", "k=" + std::string(507, 'x')}, {}},
        {"LongestCrLf", "[a]\r\n", {"a", "k=" + std::string(507, 'x')}, {}},
        {"SectionNameThatTheCheckRefuses", "", {"a[b", "k=1"}, "[a[b]\nk=1\n"},
    };
    for (const Change &change : changes) {
        SCOPED_TRACE(change.name);
        const std::string after = Set(change.before, change.arguments);
        if (!change.after.empty()) {
            EXPECT_EQ(after, change.after);
        } else {
            const Outcome value = Wyx({"ini", "get", Path("f.ini"), "a", "k"});
            EXPECT_EQ(value.out, std::string(507, 'x') + "\n");
        }
    }
}

struct Refusal {
    const char *name;
    std::string content;
    std::vector<std::string> arguments;
    std::vector<std::string> messages;
};

TEST_F(IniEditToolTest, SetRefusesWhatWouldBreakTheFile)
{
    const std::string plain = "[a]\nk=1\n";
    const Refusal refusals[] = {
        {"LineFeedInValue", plain, {"a", "k=x\ny"}, {"value of 'k' holds a line end"}},
        {"ReturnInValue", plain, {"a", "k=x\r"}, {"value of 'k' holds a line end"}},
        {"LineFeedInKey", plain, {"a", "k\n=x"}, {"key 'k\\x0a' holds a line end"}},
        {"LineFeedInSection", plain, {"a\nb", "k=x"}, {"section 'a\\x0ab' holds a line end"}},
        {"BracketInSection", plain, {"a]b", "k=x"}, {"']'"}},
        {"BracketedSection", plain, {"[a]", "k=x"}, {"']'", "without its brackets"}},
        {"EmptySection", plain, {"", "k=x"}, {"section's name is empty"}},
        {"BlankSection", plain, {" a", "k=x"}, {"begins or ends with a blank"}},
        {"EmptyKey", plain, {"a", "=x"}, {"key's name is empty"}},
        {"BlankBehindKey", plain, {"a", "k =x"}, {"begins or ends with a blank"}},
        {"TabBeforeKey", plain, {"a", "\tk=x"}, {"begins or ends with a blank"}},
        {"BlankBeforeValue", plain, {"a", "k= x"}, {"begins or ends with a blank"}},
        {"BlankBehindValue", plain, {"a", "k=x\t"}, {"begins or ends with a blank"}},
        {"BlankValue", plain, {"a", "k= "}, {"begins or ends with a blank"}},
        {"KeyLikeASection", plain, {"a", "[k=x"}, {"begins with '['"}},
        {"KeyLikeAComment", plain, {"a", ";k=x"}, {"begins like a comment"}},
        {"KeyLikeAnotherComment", plain, {"a", "#k=x"}, {"begins like a comment"}},
        {"KeyWithABackslash", plain, {"a", "\\k=x"}, {"begins with a backslash"}},
        {"CommentInValue", plain, {"a", "k=x ;y"}, {"' ;' in it begins a comment"}},
        {"CommentInNewValue", plain, {"a", "l=x ;y"}, {"' ;' in it begins a comment"}},
        {"CommentInValueBeforeComment",
         "[a]\nk=1 ;c\n",
         {"a", "k=x ;y"},
         {"' ;' in it begins a comment"}},
        {"BackslashBehindValue", plain, {"a", "k=x\\"}, {"ends in a backslash"}},
        {"BackslashAtTheFold",
         plain,
         {"a", "k=" + std::string(75, 'x') + "\\xxxx"},
         {"folds it behind a backslash, byte 78"}},
        {"TooLong", plain, {"a", "k=" + std::string(508, 'x')}, {"too long", "511"}},
        {"TooLongWithComment", "[a]\nk=1 ;c\n", {"a", "k=" + std::string(506, 'x')}, {"too long"}},
        {"SectionTooLong", plain, {std::string(508, 's'), "k=1"}, {"too long"}},
        {"Twice", plain, {"a", "k=1", "K=2"}, {"more than once"}},
        {"GoodBeforeBad", plain, {"a", "l=1", "k=x ;y"}, {"' ;'"}},
        {"NoSetting", plain, {"a"}, {"KEY=VALUE"}},
    };
    for (const Refusal &refusal : refusals) {
        SCOPED_TRACE(refusal.name);
        std::vector<std::string> arguments = {"set"};
        arguments.insert(arguments.end(), refusal.arguments.begin(), refusal.arguments.end());
        Refused(refusal.content, arguments, kUsage, refusal.messages);
    }
}

TEST_F(IniEditToolTest, SetRefusesToLoseOtherLines)
{
    const std::string fold = "[a]\nl=" + std::string(75, 'x') + "\\xxxx\nk=1\n";
    Refused(fold, {"set", "a", "k=2"}, kMalformed,
            {"f.ini: the line 'l=x", "folds it behind a backslash", "nothing was changed"});
    Refused(fold, {"del", "a", "k"}, kMalformed, {"folds it behind a backslash"});
    Refused(std::string("[a]\nk=1\0lost\n", 13), {"set", "a", "k=2"}, kMalformed,
            {"f.ini:2: NUL byte"});
    // What the deleted line kept apart.
    Refused("[a]\nl=1\nk=1\r\n\\x=1\n", {"del", "a", "k"}, kMalformed, {"runs together"});
    Refused("[a]\rk=1\n\n[b]\n", {"del", "a", "k"}, kMalformed, {"runs together"});
}

TEST_F(IniEditToolTest, RefusedOnlyWhereTheSaveLosesSomething)
{
    // The CR LF of a line of 80 bytes falls to the fold and comes back as LF: a change of the line
    // end alone, which is told and not refused.
    const std::string line = "k=" + std::string(76, 'x') + "\r\n";
    const std::string name = Write("f.ini", "[a]\r\n" + line + "l=1\r\n");
    const Outcome outcome = Wyx({"ini", "set", name, "a", "l=2"});
    EXPECT_EQ(outcome.code, kOk);
    EXPECT_TRUE(Mentions(outcome.err, {"warning", "another line end"}));
    EXPECT_EQ(Wyx({"ini", "get", name, "a", "k"}).out, std::string(76, 'x') + "\n");
    EXPECT_EQ(Wyx({"ini", "get", name, "a", "l"}).out, "2\n");
}

TEST_F(IniEditToolTest, WarnsOfWhatTheCheckRefuses)
{
    const std::string name = Write("f.ini", "[a]\n");
    for (const char *const setting : {"k=a,b", "a b=1", "k=sip:x;transport=tls"}) {
        SCOPED_TRACE(setting);
        const Outcome outcome = Wyx({"ini", "set", name, "a", setting});
        EXPECT_EQ(outcome.code, kOk);
        EXPECT_TRUE(Mentions(outcome.err, {"warning", "wyx ini check"}));
        EXPECT_EQ(Wyx({"ini", "check", "-e", name}).code, kMalformed);
    }
}

TEST_F(IniEditToolTest, WhateverIsAcceptedReadsBack)
{
    Random random;
    SCOPED_TRACE(random.Trace());
    constexpr std::string_view kBytes = "ab =;\"\\,[]#\t\xC3\xB6";
    int accepted = 0;
    for (int round = 0; round < 150; ++round) {
        const auto text = [&](std::uint64_t longest) {
            std::string value;
            for (std::uint64_t size = random.UpTo(longest); size > 0; --size) {
                value += kBytes[random.UpTo(kBytes.size() - 1)];
            }
            return value;
        };
        const std::string key = text(3);
        const std::string value = text(round % 2 == 0 ? 8 : 120);
        SCOPED_TRACE(testing::Message() << "key <" << key << "> value <" << value << ">");
        const std::string before = "[s]\n;c\nk=1 ;\"c\n[t]\nx=" + std::string(120, 'y') + "\n";
        const std::string name = Write("f.ini", before);
        const Outcome outcome = Wyx({"ini", "set", "--", name, "s", key + "=" + value});
        if (outcome.code != kOk) {
            ASSERT_EQ(outcome.code, kUsage) << outcome.err;
            ASSERT_EQ(Read(name), before);
            continue;
        }
        ++accepted;
        const std::string realKey = key.substr(0, key.find('='));
        const std::string realValue = (key + "=" + value).substr(realKey.size() + 1);
        ASSERT_EQ(Wyx({"ini", "get", "--", name, "s", realKey}).out, realValue + "\n");
        ASSERT_EQ(Wyx({"ini", "get", name, "t", "x"}).out, std::string(120, 'y') + "\n");
    }
    EXPECT_GT(accepted, 10);
}

TEST_F(IniEditToolTest, Create)
{
    const std::string name = Path("new.ini");
    const Outcome missing = Wyx({"ini", "set", name, "a", "k=1"});
    EXPECT_EQ(missing.code, kIo);
    EXPECT_TRUE(Mentions(missing.err, {"No such file", "--create"}));
    EXPECT_TRUE(Names().empty());
    EXPECT_EQ(
        Shell("umask 027; exec $WYX ini set --create new.ini a k=1 l=2", {.directory = Directory()})
            .code,
        kOk);
    EXPECT_EQ(Read(name), "[a]\nk=1\nl=2\n");
    struct stat status = {};
    ASSERT_EQ(stat(name.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
    EXPECT_EQ(Wyx({"ini", "set", "--create", name, "a", "k=2"}).code, kOk);
    EXPECT_EQ(Read(name), "[a]\nk=2\nl=2\n");
    EXPECT_EQ(Wyx({"ini", "set", "--create", Path("none/new.ini"), "a", "k=1"}).code, kIo);
    EXPECT_EQ(Wyx({"ini", "set", "--create", Path("refused.ini"), "a", "k= 1"}).code, kUsage);
    ASSERT_EQ(symlink("elsewhere", Path("dangling").c_str()), 0);
    EXPECT_EQ(Wyx({"ini", "set", "--create", Path("dangling"), "a", "k=1"}).code, kOk);
    EXPECT_EQ(Read(Path("elsewhere")), "[a]\nk=1\n");
    EXPECT_EQ(Names(), (std::vector<std::string>{"dangling", "elsewhere", "new.ini"}));
}

TEST_F(IniEditToolTest, NamesWithAndWithoutDots)
{
    ASSERT_EQ(mkdir(Path("d.ir").c_str(), 0777), 0);
    for (const char *const name :
         {"config", "d.ir/config", "a.b.c", ".hidden", "ends.", "[x]", "-dash", "blank name.ini"}) {
        SCOPED_TRACE(name);
        Write(name, "[a]\nk=1\n");
        const std::vector<std::string> before = Names();
        for (const std::string &spelled : {std::string(name), "./" + std::string(name),
                                           "d.ir/../" + std::string(name), Path(name)}) {
            EXPECT_EQ(Wyx({"ini", "set", "--", spelled, "a", "k=" + std::to_string(spelled.size())},
                          {.directory = Directory()})
                          .code,
                      kOk);
            EXPECT_EQ(Read(Path(name)), "[a]\nk=" + std::to_string(spelled.size()) + "\n");
        }
        EXPECT_EQ(Names(), before);
    }
    const std::string longest(255, 'n');
    Write(longest, "[a]\n");
    EXPECT_EQ(Wyx({"ini", "set", Path(longest), "a", "k=1"}).code, kOk);
}

TEST_F(IniEditToolTest, KeepsLinkModeOwnerAndAttributes)
{
    const std::string name = Write("f.ini", "[a]\nk=1\n");
    ASSERT_EQ(symlink("f.ini", Path("one").c_str()), 0);
    ASSERT_EQ(symlink(Path("one").c_str(), Path("two").c_str()), 0);
    const bool isRoot = geteuid() == 0;
    if (isRoot) {
        ASSERT_EQ(chown(name.c_str(), 1234, 4321), 0);
    }
    const bool hasAttributes = setxattr(name.c_str(), "user.note", "kept", 4, 0) == 0;
    for (const mode_t mode : {0600U, 0644U, 0664U, 0755U, 0606U}) {
        SCOPED_TRACE(mode);
        ASSERT_EQ(chmod(name.c_str(), mode), 0);
        ASSERT_EQ(Wyx({"ini", "set", Path("two"), "a", "k=" + std::to_string(mode)}).code, kOk);
        EXPECT_EQ(Read(name), "[a]\nk=" + std::to_string(mode) + "\n");
        struct stat status = {};
        ASSERT_EQ(lstat(name.c_str(), &status), 0);
        EXPECT_TRUE(S_ISREG(status.st_mode));
        EXPECT_EQ(status.st_mode & 07777U, mode);
        if (isRoot) {
            EXPECT_EQ(status.st_uid, 1234U);
            EXPECT_EQ(status.st_gid, 4321U);
        }
        ASSERT_EQ(lstat(Path("two").c_str(), &status), 0);
        EXPECT_TRUE(S_ISLNK(status.st_mode));
    }
    if (hasAttributes) {
        char value[8] = {};
        EXPECT_EQ(getxattr(name.c_str(), "user.note", value, sizeof value), 4);
        EXPECT_EQ(std::string(value), "kept");
    }
}

TEST_F(IniEditToolTest, RefusesWhereTheOwnerCannotBeKept)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    const std::string name = Write("f.ini", "[a]\nk=1\n");
    ASSERT_EQ(chown(name.c_str(), 1234, 1234), 0);
    ASSERT_EQ(chmod(name.c_str(), 0666), 0);
    const Outcome outcome = Wyx({"ini", "set", name, "a", "k=2"}, {.isNobody = true});
    EXPECT_EQ(outcome.code, kIo);
    EXPECT_TRUE(Mentions(outcome.err, {"cannot keep the owner"}));
    EXPECT_EQ(Read(name), "[a]\nk=1\n");
    EXPECT_EQ(Names(), std::vector<std::string>{"f.ini"});
}

TEST_F(IniEditToolTest, WhatCannotBeChanged)
{
    const std::string name = Write("f.ini", "[a]\nk=1\n");
    const Outcome directory = Wyx({"ini", "set", Directory(), "a", "k=2"});
    EXPECT_EQ(directory.code, kIo);
    EXPECT_TRUE(Mentions(directory.err, {"Is a directory"}));
    const Outcome device = Wyx({"ini", "set", "/dev/null", "a", "k=2"});
    EXPECT_EQ(device.code, kIo);
    EXPECT_TRUE(Mentions(device.err, {"not a regular file"}));
    EXPECT_EQ(Wyx({"ini", "del", Path("none"), "a"}).code, kIo);
    ASSERT_EQ(symlink("loop", Path("loop").c_str()), 0);
    EXPECT_EQ(Wyx({"ini", "set", Path("loop"), "a", "k=2"}).code, kIo);

    ASSERT_EQ(chmod(name.c_str(), 0444), 0);
    const Outcome readOnly = Wyx({"ini", "set", name, "a", "k=2"}, {.isNobody = true});
    EXPECT_EQ(readOnly.code, kIo);
    EXPECT_TRUE(Mentions(readOnly.err, {"Permission denied"}));
    ASSERT_EQ(chmod(name.c_str(), 0666), 0);
    ASSERT_EQ(chmod(Directory().c_str(), 0555), 0);
    const Outcome closed = Wyx({"ini", "set", name, "a", "k=2"}, {.isNobody = true});
    EXPECT_EQ(closed.code, kIo);
    EXPECT_TRUE(Mentions(closed.err, {"cannot write to the directory", "Permission denied"}));
    EXPECT_EQ(Read(name), "[a]\nk=1\n");
}

TEST_F(IniEditToolTest, FullDiskLosesNothing)
{
    std::string content = "[a]\nk=1\n";
    for (int i = 0; i < 2000; ++i) {
        content += "key" + std::to_string(i) + "=value\n";
    }
    const std::string name = Write("f.ini", content);
    // Too small for the working copy, and for the file that the save makes beside it.
    for (const rlim_t limit : {rlim_t{100}, rlim_t{content.size()}, rlim_t{content.size() + 5}}) {
        SCOPED_TRACE(limit);
        const Outcome outcome =
            Wyx({"ini", "set", name, "a", "new=longer"}, {.fileSizeLimit = limit});
        EXPECT_EQ(outcome.code, kIo);
        EXPECT_TRUE(Mentions(outcome.err, {"File too large"}));
        EXPECT_EQ(Read(name), content);
        EXPECT_EQ(Names(), std::vector<std::string>{"f.ini"});
    }
}

TEST_F(IniEditToolTest, FullAndReadOnlyFileSystems)
{
    // A file system of its own, in a name space that ends with the shell.
    const std::string script =
        "exec unshare -m sh -c '"
        "mount -t tmpfs -o size=64k tmpfs . 2>/dev/null && cd \"$PWD\" || exit 77\n"
        "printf \"[a]\\nk=1\\n\" > f.ini\n"
        "dd if=/dev/zero of=filler bs=4k 2>/dev/null\n"
        "$WYX ini set f.ini a k=2; echo full $?\n"
        "cat f.ini; ls -A\n"
        "rm filler; mount -o remount,ro . || exit 77\n"
        "$WYX ini set f.ini a k=2; echo read-only $?\n"
        "cat f.ini; ls -A'";
    const Outcome outcome = Shell(script, {.directory = Directory()});
    if (outcome.code != 0) {
        GTEST_SKIP() << "cannot mount a file system here: " << outcome.err;
    }
    EXPECT_EQ(outcome.out,
              "full 3\n[a]\nk=1\nf.ini\nfiller\n"
              "read-only 3\n[a]\nk=1\nf.ini\n");
    EXPECT_TRUE(Mentions(outcome.err, {"No space left on device", "Read-only file system"}));
}

TEST_F(IniEditToolTest, HardLinksAreTold)
{
    const std::string name = Write("f.ini", "[a]\nk=1\n");
    ASSERT_EQ(link(name.c_str(), Path("other").c_str()), 0);
    const Outcome outcome = Wyx({"ini", "set", name, "a", "k=2"});
    EXPECT_EQ(outcome.code, kOk);
    EXPECT_TRUE(Mentions(outcome.err, {"warning", "hard links"}));
    EXPECT_EQ(Read(Path("other")), "[a]\nk=1\n");
}

TEST_F(IniEditToolTest, EditsAtOnceAreAllKept)
{
    Write("f.ini", "[a]\n");
    const Outcome outcome = Shell(
        "for i in 1 2 3 4 5 6 7 8; do $WYX ini set f.ini a k$i=$i & done; wait; "
        "exec $WYX ini keys f.ini a | wc -l",
        {.directory = Directory()});
    EXPECT_EQ(std::stoi(outcome.out), 8) << outcome.err;
}

TEST_F(IniEditToolTest, SetJson)
{
    const std::string name = Write("f.ini", "[a]\nk=1\n");
    const Outcome outcome = Wyx({"ini", "set", "--json", name, "a", "k=1", "l=2"});
    EXPECT_EQ(json::parse(outcome.out),
              json::parse(R"({"file": ")" + name + R"(", "section": "a", "changed": true,
                   "settings": [{"key": "k", "value": "1", "changed": false},
                                {"key": "l", "value": "2", "changed": true}]})"));
    EXPECT_EQ(json::parse(Wyx({"ini", "set", "--json", name, "a", "k=1"}).out)["changed"], false);
}

TEST_F(IniEditToolTest, Del)
{
    const std::string content = "; top\n[a]\n;c\nk=1\nl=2\n\n[b]\nk=1\n[A]\nk=3\nK=4\n";
    const Change changes[] = {
        {"Key", content, {"a", "k"}, "; top\n[a]\n;c\nl=2\n\n[b]\nk=1\n[A]\n"},
        {"Section", content, {"a"}, "; top\n[b]\nk=1\n"},
        {"AnotherSection", content, {"B"}, "; top\n[a]\n;c\nk=1\nl=2\n\n[A]\nk=3\nK=4\n"},
        {"All", "[a]\nk=1\n", {"a"}, ""},
    };
    for (const Change &change : changes) {
        SCOPED_TRACE(change.name);
        const std::string name = Write("f.ini", change.before);
        std::vector<std::string> command = {"ini", "del", name};
        command.insert(command.end(), change.arguments.begin(), change.arguments.end());
        const Outcome outcome = Wyx(command);
        EXPECT_EQ(outcome.code, kOk) << outcome.err;
        EXPECT_EQ(Read(name), change.after);
    }
}

TEST_F(IniEditToolTest, DelOfWhatIsNotThere)
{
    const std::string content = "[net]\nport=1\n";
    Refused(content, {"del", "b"}, kNo, {"no section 'b'"});
    Refused(content, {"del", "net", "prot"}, kNo, {"no key 'prot'", "did you mean 'port'?"});
    Refused(content, {"del", "net", ""}, kUsage, {"key's name is empty"});
    Refused(content + "garbage\n", {"del", "net"}, kMalformed, {"f.ini:3: ", "(160)"});
    Refused("", {"del", "net"}, kNo, {"no section 'net'"});
}

TEST_F(IniEditToolTest, DelJson)
{
    const std::string name = Write("f.ini", "[a]\nk=1\nk=2\n");
    EXPECT_EQ(json::parse(Wyx({"ini", "del", "--json", name, "a", "k"}).out),
              json({{"file", name}, {"section", "a"}, {"changed", true}, {"deleted_lines", 2}}));
}

} // namespace

} // namespace wyx::test
