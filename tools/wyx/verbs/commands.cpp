// The grammar of the command line. scripts/make_tool_man.py reads this file, too, and understands
// only what it contains now: string literals, character literals, braces, and the constants below.
#include "verbs/commands.h"

#include <algorithm>

#include "verbs/verbs.h"

namespace wyx::tool {

namespace {

constexpr Option kHelp = {'h', "help", "", "explain the verb, with examples, and exit"};
constexpr Option kJson = {'\0', "json", "", "write JSON"};
constexpr Option kStrict = {'\0', "strict", "",
                            "refuse a file with a byte-order mark, or with lines that cannot be "
                            "read, instead of working around them"};
constexpr Option kInPlace = {'\0', "in-place", "",
                             "write into the file itself, for a file that is somebody else's or a "
                             "mount point. A crash may leave half of the change"};
constexpr Option kCreate = {'\0', "create", "", "make the file if it does not exist"};
constexpr Option kDryRun = {'n', "dry-run", "", "change nothing, and write the change as a diff"};
constexpr Option kExisting = {'\0', "existing", "", "change nothing and fail if a key is missing"};
constexpr Option kIfMissing = {'\0', "if-missing", "", "change no key that exists"};
constexpr Option kWait = {'\0', "wait", "SECONDS",
                          "how long to wait for a file that another program has locked, 10 by "
                          "default"};

constexpr Command kCommands[] = {
    {
        .name = "",
        .summary = "Checksums, INI files, addresses and Base64 from the command line",
        .operands = "VERB [ARGUMENT...]",
        .text = "Exit codes:\n"
                "  0  ok\n"
                "  1  not found, or a sum that does not match\n"
                "  2  a command line that makes no sense, or a change that is refused\n"
                "  3  something cannot be read or written\n"
                "  4  a malformed file or address\n"
                "\n"
                "'wyx help VERB' explains a verb and shows examples.",
        .examples = "  wyx sum --crc32 FILE               a checksum\n"
                    "  wyx ini get net.ini net port       a value\n"
                    "  wyx ini set net.ini net port=5061  change it\n"
                    "  wyx addr '[::1]:443'               what an address means\n",
        .options = {kHelp, {'V', "version", "", "print the version and exit"}},
        .run = nullptr,
    },
    {
        .name = "sum",
        .summary = "Checksums of files, and their verification",
        .operands = "[FILE...]",
        .text = "Writes a line for each FILE: the sum in hexadecimal digits, two spaces and the "
                "name. '-' or no FILE is standard input; without the '-', it must not be a "
                "terminal. If a name holds a line end or a backslash, its line begins with a "
                "backslash, and the name has \\n, \\r and \\\\ in their place. With --md5, the "
                "lists are those of md5sum.",
        .examples = "  wyx sum --crc32 *.ini > LIST    make a list\n"
                    "  wyx sum -c LIST                 verify it: exit code 1 if a file differs\n"
                    "  md5sum * | wyx sum --md5 -c     verify another program's list\n"
                    "  tar c dir | wyx sum --crc16 -   the sum of piped data\n",
        .options =
            {
                {'\0', "crc16", "", "CRC-16: polynomial 0x1021, initial value 0"},
                {'\0', "crc32", "",
                 "CRC-32: polynomial 0x04C11DB7, initial value 0, not inverted: not that of zlib"},
                {'\0', "md5", "", "MD5, which detects accidental changes, not forgeries"},
                {'c', "check", "",
                 "read lists of sums from the FILEs and verify them; the number of digits selects "
                 "the algorithm"},
                {'b', "binary", "", "write '*' before each name"},
                {'t', "text", "", "write a space before each name (the default)"},
                {'\0', "tag", "", "write lines 'MD5 (NAME) = SUM'"},
                {'z', "zero", "", "end each line with a NUL byte, and escape no name"},
                {'\0', "ignore-missing", "",
                 "with -c: do not report files that are missing; fail if no file was verified"},
                {'q', "quiet", "", "with -c: do not report files that match, except in JSON"},
                {'s', "status", "",
                 "with -c: write errors only, except in JSON; the exit code says whether all "
                 "sums match"},
                {'\0', "strict", "", "with -c: fail if a line is improperly formatted"},
                {'w', "warn", "", "with -c: warn about each improperly formatted line"},
                kJson,
                kHelp,
            },
        .run = RunSum,
    },
    {
        .name = "base64",
        .summary = "Base64 of a file, and back",
        .operands = "[FILE]",
        .text = "'-' or no FILE is standard input; without the '-', it must not be a terminal. "
                "Decoding also takes the URL-safe '-' and '_', and skips padding, line ends and "
                "NUL bytes. Any other character is an error, unless -i skips it.",
        .examples = "  wyx base64 picture.png > picture.txt\n"
                    "  wyx base64 -d picture.txt | cmp - picture.png\n"
                    "  printf secret | wyx base64 -w 0\n",
        .options = {{'d', "decode", "", "decode instead of encoding"},
                    {'i', "ignore-garbage", "", "with -d: skip characters that are not Base64"},
                    {'w', "wrap", "N",
                     "length of an output line, 76 by default; 0 writes one line"},
                    kHelp},
        .run = RunBase64,
    },
    {
        .name = "addr",
        .summary = "What IPv4 and IPv6 addresses mean to the library",
        .operands = "[TEXT...]",
        .text = "For each TEXT, writes the family, the address and the port, or what is wrong and "
                "at which offset. '-' or no TEXT reads a list from standard input, one address "
                "per line; without the '-', it must not be a terminal. Notes warn about texts "
                "that other parsers read differently, such as a leading zero. An IPv6 address "
                "with port 0 is shown like one without a port.",
        .examples = "  wyx addr 10.0.0.1:5060 '[2001:db8::1]:443'\n"
                    "  wyx addr --json 010.0.0.1\n"
                    "  wyx addr < LIST\n",
        .options = {kJson, kHelp},
        .run = RunAddr,
    },
    {
        .name = "ini",
        .summary = "Read, check and change INI files",
        .operands = "VERB [ARGUMENT...]",
        .text = "The case of ASCII letters in names does not matter. If a section is in a file "
                "more than once, lookups use its last block; if a key is in a block more than "
                "once, its last line.",
        .examples = "  wyx ini sections net.ini           what sections there are\n"
                    "  wyx ini get net.ini net port       a value\n"
                    "  wyx ini set net.ini net port=5061  change it\n"
                    "  wyx ini check *.ini                what is wrong with files\n",
        .options = {kHelp},
        .run = nullptr,
    },
    {
        .name = "ini get",
        .summary = "The value of a key, or a whole section",
        .operands = "FILE SECTION [KEY]",
        .text = "Writes the value as the library reads it, quotation marks included, and an empty "
                "line for a key without a value (null in JSON).\n"
                "\n"
                "With --format, writes KEY, or all keys of the section: 'sh' as assignments that "
                "a shell can read, 'lines' as '[ SECTION ] KEY = VALUE' (without ' = VALUE' if "
                "there is none), 'json' as one object.",
        .examples = "  wyx ini get net.ini net port\n"
                    "  port=$(wyx ini get --default 5060 net.ini net port)\n"
                    "  eval \"$(wyx ini get --format=sh net.ini net)\"\n",
        .options = {{'\0', "default", "VALUE", "write VALUE if the key or its section is missing"},
                    {'\0', "format", "sh|lines|json", "how to write keys and values"},
                    kStrict,
                    kJson,
                    kHelp},
        .run = RunIniGet,
    },
    {
        .name = "ini set",
        .summary = "Set one or more keys",
        .operands = "FILE [SECTION] [SECTION.]KEY=VALUE...",
        .text = "In the line of a key that exists, only what 'wyx ini get' writes is replaced; "
                "indented lines that continue the old value are removed. A new key goes into its "
                "section's last block, a new section to the end of the file. 'KEY=' sets an empty "
                "value. With '-' for FILE, standard input is changed, and written to standard "
                "output.\n"
                "\n"
                "Without the operand SECTION, each setting names its section: in "
                "SECTION.KEY=VALUE, the section ends at the last dot before the '='.\n"
                "\n"
                "The file is replaced in one step (but see --in-place), and keeps its mode and "
                "owner. A name or value that would not read back the same is refused, and so are "
                "some changes that would be right for one program and damage for another.",
        .examples = "  wyx ini set net.ini net port=5061\n"
                    "  wyx ini set net.ini sip user=alice 'display=\"Alice ;-)\"' proxy=\n"
                    "  wyx ini set net.ini net.port=5061 sip.user=alice\n"
                    "  wyx ini set -n net.ini net port=5061    what it would change\n"
                    "  wyx ini set --create new.ini net -- -key=value\n",
        .options = {kCreate, kIfMissing, kExisting, kDryRun, kInPlace, kWait, kStrict, kJson,
                    kHelp},
        .run = RunIniSet,
    },
    {
        .name = "ini del",
        .summary = "Delete a key, or a whole section",
        .operands = "FILE SECTION [KEY]",
        .text = "Deletes every line of the key in every block of the section, with the indented "
                "lines that continue its value; without a KEY, every block of the section, with "
                "all lines up to the next header except directives such as '!include FILE'.",
        .examples = "  wyx ini del net.ini net port\n"
                    "  wyx ini del net.ini net\n"
                    "  wyx ini del - net < net.ini > less.ini\n",
        .options = {kDryRun, kInPlace, kWait, kStrict, kJson, kHelp},
        .run = RunIniDel,
    },
    {
        .name = "ini merge",
        .summary = "Set the keys that standard input has",
        .operands = "FILE",
        .text = "Sets each key of an INI file on standard input, as 'wyx ini set' does; comments "
                "and sections without keys are not copied. If a section has a key more than once, "
                "its last line counts. Input with a byte-order mark, a line that cannot be read "
                "or a key before the first section is refused.",
        .examples = "  wyx ini merge net.ini < changes.ini\n"
                    "  wyx ini merge --if-missing net.ini < defaults.ini\n"
                    "  wyx ini merge -n net.ini < changes.ini    what it would change\n",
        .options = {kCreate, kIfMissing, kExisting, kDryRun, kInPlace, kWait, kStrict, kJson,
                    kHelp},
        .run = RunIniMerge,
    },
    {
        .name = "ini sections",
        .summary = "The names of the sections",
        .operands = "FILE",
        .text = "A section that is in the file more than once is listed each time.",
        .examples = "  wyx ini sections net.ini\n"
                    "  wyx ini sections net.ini | sort -f | uniq -di    more than one block\n",
        .options = {kStrict, kJson, kHelp},
        .run = RunIniSections,
    },
    {
        .name = "ini keys",
        .summary = "The names of the keys in a section's last block",
        .operands = "FILE SECTION",
        .text = "",
        .examples = "  wyx ini keys net.ini net\n",
        .options = {kStrict, kJson, kHelp},
        .run = RunIniKeys,
    },
    {
        .name = "ini list",
        .summary = "Every stored line with its kind",
        .operands = "FILE",
        .text = "A stored line is one or more lines of the file, joined by backslashes; its number "
                "is that of the first. The kinds are section, key, comment, blank and error.",
        .examples = "  wyx ini list net.ini\n"
                    "  wyx ini list --json net.ini | jq '.lines[] | select(.kind == \"error\")'\n",
        .options = {kJson, kHelp},
        .run = RunIniList,
    },
    {
        .name = "ini check",
        .summary = "What is wrong with files, and what a save would change",
        .operands = "FILE...",
        .text = "Errors have the form 'FILE:LINE: MESSAGE (CODE)', with the library's status for "
                "a code; a file with errors is malformed (exit code 4). Warnings have the form "
                "'FILE:LINE: warning: MESSAGE (WORD)': they point out what a person may read "
                "differently than lookups do, and what a save by the library would change.",
        .examples = "  wyx ini check net.ini\n"
                    "  wyx ini check --errors *.ini && echo fine\n"
                    "  wyx ini check --json - < net.ini\n",
        .options = {{'e', "errors", "", "report errors only, no warnings"},
                    {'\0', "strict", "", "let warnings count as errors"},
                    kJson,
                    kHelp},
        .run = RunIniCheck,
    },
    {
        .name = "ini recover",
        .summary = "What an interrupted save left beside a file",
        .operands = "FILE",
        .text = "A save of the library writes the new content to a file '<FILE up to its last "
                "dot><time>.ibk', removes FILE, and renames. A crash can leave the '.ibk' file. "
                "Lists the files that may come from such a save, the newest first. The newest "
                "that a save of FILE left is complete if FILE existed when that save began, is "
                "gone now, and nothing else removed it; any other may end too early.\n"
                "\n"
                "--restore keeps what FILE holds as FILE.old, or as FILE.old1, FILE.old2, ... if "
                "that is taken; for a symbolic link, beside the file it leads to. It refuses "
                "content that does not load or has a NUL byte. 'newest' is the newest file that "
                "can be restored without --force.",
        .examples = "  wyx ini recover net.ini\n"
                    "  wyx ini recover net.ini --show newest | diff net.ini -\n"
                    "  wyx ini recover net.ini --restore newest\n",
        .options =
            {{'\0', "show", "N|newest", "write the content of number N to standard output"},
             {'\0', "restore", "N|newest", "put number N in the file's place"},
             {'\0', "force", "",
              "with --restore N: restore a file even if it is empty, looks truncated or may be "
              "somebody else's"},
             kJson,
             kHelp},
        .run = RunIniRecover,
    },
};

} // namespace

std::span<const Option> Command::Options() const
{
    const auto *const end =
        std::ranges::find_if(options, [](const Option &option) { return option.text.empty(); });
    return {options, end};
}

bool Command::IsBelow(const Command &family) const
{
    const std::size_t end = family.name.size();
    return name != family.name && name.starts_with(family.name) &&
           name.find(' ', end == 0 ? 0 : end + 1) == std::string_view::npos;
}

std::span<const Command> Commands()
{
    return kCommands;
}

std::string FullName(const Command &command)
{
    return "wyx" + std::string(command.name.empty() ? "" : " ") + std::string(command.name);
}

} // namespace wyx::tool
