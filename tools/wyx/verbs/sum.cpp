// wyx sum: checksums of files, and the verification of a list of them.
//
// A line of a list is the sum in lower-case hexadecimal digits, two spaces (or a space and a "*")
// and the file's name: the format of the common sum programs. Where the name holds a line feed, a
// carriage return or a backslash, the line begins with a backslash and the name has \n, \r and
// \\ in their place. The number of digits tells the algorithm. Lines such as "CRC32 (NAME) = HEX"
// are read, too.
#include <unistd.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "system/file_input.h"
#include "system/json.h"
#include "system/terminal.h"
#include "verbs/operand.h"
#include "verbs/verbs.h"
#include "wyx_commlib/crc.h"
#include "wyx_commlib/md5.h"

namespace wyx::tool {

namespace {

constexpr std::size_t kPiece = 262144;
constexpr std::size_t kMd5Length = 16;
constexpr std::size_t kLargestList = std::size_t{1} << 30;

enum class Algorithm { kCrc16, kCrc32, kMd5 };

struct AlgorithmName {
    Algorithm algorithm;
    std::string_view name;
    std::string_view tag; // in lines of the form "TAG (NAME) = HEX"
    std::size_t digits;
    std::string_view text; // for the help
};

constexpr std::array kAlgorithms = {
    AlgorithmName{Algorithm::kCrc16, "crc16", "CRC16", 4,
                  "CRC-16: polynomial 0x1021, initial value 0"},
    AlgorithmName{Algorithm::kCrc32, "crc32", "CRC32", 8,
                  "CRC-32: polynomial 0x04C11DB7, initial value 0, not inverted; not that of zlib"},
    AlgorithmName{Algorithm::kMd5, "md5", "MD5", 32, "MD5; lists are those of md5sum"},
};

const AlgorithmName &NameOf(Algorithm algorithm)
{
    return *std::ranges::find(kAlgorithms, algorithm, &AlgorithmName::algorithm);
}

/// A sum under way.
class Sum {
  public:
    explicit Sum(Algorithm algorithm) : algorithm_(algorithm) { XELP_MD5_Init(&md5_); }

    void Add(std::span<const unsigned char> piece)
    {
        const auto ulLen = static_cast<QAL_UINT32>(piece.size());
        switch (algorithm_) {
            case Algorithm::kCrc16:
                XELP_CRC_Accumulate_16(uwCrc_, piece.data(), ulLen, &uwCrc_);
                break;
            case Algorithm::kCrc32:
                XELP_CRC_Accumulate_32(ulCrc_, piece.data(), ulLen, &ulCrc_);
                break;
            case Algorithm::kMd5:
                XELP_MD5_Update(&md5_, piece.data(), ulLen);
                break;
        }
    }

    /// Ends the sum.
    std::string Digits()
    {
        if (algorithm_ == Algorithm::kMd5) {
            std::string digest(kMd5Length, 0);
            XELP_MD5_Final(reinterpret_cast<QAL_UINT8 *>(digest.data()), &md5_);
            return Hex(digest);
        }
        const int digits = static_cast<int>(NameOf(algorithm_).digits);
        const QAL_UINT32 ulSum = algorithm_ == Algorithm::kCrc16 ? uwCrc_ : ulCrc_;
        char text[16];
        std::snprintf(text, sizeof text, "%0*x", digits, ulSum);
        return text;
    }

  private:
    Algorithm algorithm_;
    QAL_UINT16 uwCrc_ = 0;
    QAL_UINT32 ulCrc_ = 0;
    MD5_S_CTX md5_ = {};
};

struct FileSum {
    std::string digits;
    std::uint64_t bytes = 0;
};

FileSum SumOf(const std::string &name, Algorithm algorithm)
{
    FileInput input(name);
    std::vector<unsigned char> piece(kPiece);
    Sum sum(algorithm);
    FileSum result;
    for (;;) {
        const std::size_t held = input.Read(piece);
        if (held == 0) {
            break;
        }
        sum.Add({piece.data(), held});
        result.bytes += held;
    }
    result.digits = sum.Digits();
    return result;
}

/// A line of a list.
struct Entry {
    Algorithm algorithm = Algorithm::kCrc32;
    std::string digits;
    std::string name;
};

bool NeedsEscape(std::string_view name)
{
    return name.find_first_of("\n\r\\") != std::string_view::npos;
}

std::string Escaped(std::string_view name)
{
    std::string escaped;
    for (const char ch : name) {
        switch (ch) {
            case '\n':
                escaped += "\\n";
                break;
            case '\r':
                escaped += "\\r";
                break;
            case '\\':
                escaped += "\\\\";
                break;
            default:
                escaped += ch;
        }
    }
    return escaped;
}

std::optional<std::string> Unescaped(std::string_view name)
{
    std::string plain;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name[i] != '\\') {
            plain += name[i];
            continue;
        }
        const char code = i + 1 < name.size() ? name[++i] : '\0';
        switch (code) {
            case 'n':
                plain += '\n';
                break;
            case 'r':
                plain += '\r';
                break;
            case '\\':
                plain += '\\';
                break;
            default:
                return std::nullopt;
        }
    }
    return plain;
}

std::string ListLine(const std::string &digits, const std::string &name)
{
    return NeedsEscape(name) ? "\\" + digits + "  " + Escaped(name) : digits + "  " + name;
}

std::size_t LeadingDigits(std::string_view text)
{
    return static_cast<std::size_t>(
        std::ranges::find_if_not(
            text, [](char ch) { return std::isxdigit(static_cast<unsigned char>(ch)) != 0; }) -
        text.begin());
}

std::string Lower(std::string_view text)
{
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), [](char ch) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    });
    return lower;
}

/// "HEX  NAME" or "HEX *NAME"
std::optional<Entry> ParsePlain(std::string_view line)
{
    const std::size_t digits = LeadingDigits(line);
    const auto algorithm = std::ranges::find(kAlgorithms, digits, &AlgorithmName::digits);
    const std::string_view rest = line.substr(digits);
    if (algorithm == kAlgorithms.end() || rest.size() < 3 || rest[0] != ' ' ||
        (rest[1] != ' ' && rest[1] != '*')) {
        return std::nullopt;
    }
    return Entry{algorithm->algorithm, Lower(line.substr(0, digits)), std::string(rest.substr(2))};
}

/// "CRC32 (NAME) = HEX"
std::optional<Entry> ParseTagged(std::string_view line)
{
    static constexpr std::string_view kOpen = " (";
    static constexpr std::string_view kClose = ") = ";
    for (const AlgorithmName &algorithm : kAlgorithms) {
        const std::size_t close = line.rfind(kClose);
        const std::size_t name = algorithm.tag.size() + kOpen.size();
        if (!line.starts_with(algorithm.tag) || close == std::string_view::npos || close <= name ||
            line.substr(algorithm.tag.size(), kOpen.size()) != kOpen) {
            continue;
        }
        const std::string_view digits = line.substr(close + kClose.size());
        if (digits.size() == algorithm.digits && LeadingDigits(digits) == digits.size()) {
            return Entry{algorithm.algorithm, Lower(digits),
                         std::string(line.substr(name, close - name))};
        }
    }
    return std::nullopt;
}

std::optional<Entry> ParseLine(std::string_view line)
{
    if (line.ends_with('\r')) {
        line.remove_suffix(1); // a list that went through an editor; in a name it would be escaped
    }
    const bool isEscaped = line.starts_with('\\');
    if (isEscaped) {
        line.remove_prefix(1);
    }
    std::optional<Entry> entry = ParsePlain(line);
    if (!entry) {
        entry = ParseTagged(line);
    }
    if (entry && isEscaped) {
        const std::optional<std::string> name = Unescaped(entry->name);
        if (!name) {
            return std::nullopt;
        }
        entry->name = *name;
    }
    return entry;
}

struct Options {
    std::vector<Algorithm> algorithms; // those that were named
    bool isCheck = false;
    bool isQuiet = false;
    bool isStatus = false;
    bool isJson = false;
    std::vector<Operand> files;

    std::optional<Algorithm> Chosen() const
    {
        return algorithms.empty() ? std::nullopt : std::optional(algorithms.front());
    }
};

ExitCode MakeSums(const std::vector<std::string> &names, Algorithm algorithm, bool isJson)
{
    ExitCode worst = ExitCode::kOk;
    Json document = Json::array();
    for (const std::string &name : names) {
        try {
            const FileSum sum = SumOf(name, algorithm);
            if (isJson) {
                Json item;
                SetText(item, "file", name);
                item["algorithm"] = NameOf(algorithm).name;
                item["sum"] = sum.digits;
                item["bytes"] = sum.bytes;
                document.push_back(std::move(item));
            } else {
                Put(ListLine(sum.digits, name) + "\n");
            }
        } catch (const Failure &failure) {
            Report(failure);
            worst = Graver(worst, failure.Code());
        }
    }
    if (isJson) {
        PutJson(document);
    }
    return worst;
}

/// Verifies the sums of lists.
class Checker {
  public:
    explicit Checker(const Options &options) : options_(options), only_(options.Chosen()) {}

    void CheckList(const std::string &list)
    {
        const std::string text = ReadWhole(list, kLargestList);
        std::size_t entries = 0;
        std::size_t number = 0;
        for (std::size_t begin = 0; begin < text.size();) {
            const std::size_t end = std::min(text.find('\n', begin), text.size());
            const std::string_view line(text.data() + begin, end - begin);
            begin = end + 1;
            ++number;
            const std::optional<Entry> entry = ParseLine(line);
            if (entry && (!only_ || entry->algorithm == *only_)) {
                ++entries;
                CheckEntry(*entry);
            } else if (!line.empty()) {
                ++malformed_;
                PutWarning(Where(list, number) + "not a line of a list of sums");
            }
        }
        if (entries == 0) {
            throw Failure(ExitCode::kMalformed, ShownInput(list) + " holds no line 'HEX  NAME'",
                          "make a list with: wyx sum --crc32 FILE... > LIST");
        }
    }

    /// Sums up after the last list.
    ExitCode Finish()
    {
        if (options_.isJson) {
            PutJson(document_);
        }
        if (!options_.isStatus) {
            Warn(malformed_, "line is malformed", "lines are malformed");
            Warn(unreadable_, "listed file could not be read", "listed files could not be read");
            Warn(mismatches_, "sum does NOT match", "sums do NOT match");
        }
        ExitCode worst = mismatches_ > 0 ? ExitCode::kNo : ExitCode::kOk;
        worst = Graver(worst, malformed_ > 0 ? ExitCode::kMalformed : ExitCode::kOk);
        return Graver(worst, unreadable_ > 0 ? ExitCode::kIo : ExitCode::kOk);
    }

  private:
    static std::string Where(const std::string &list, std::size_t number)
    {
        return (list == "-" ? "standard input" : Shown(list)) + ":" + std::to_string(number) + ": ";
    }

    static void Warn(std::size_t count, const char *one, const char *many)
    {
        if (count > 0) {
            PutWarning(std::to_string(count) + " " + (count == 1 ? one : many));
        }
    }

    void CheckEntry(const Entry &entry)
    {
        Json item;
        SetText(item, "file", entry.name);
        item["algorithm"] = NameOf(entry.algorithm).name;
        item["expected"] = entry.digits;
        std::string verdict;
        try {
            const std::string digits = SumOf(entry.name, entry.algorithm).digits;
            const bool isSame = digits == entry.digits;
            verdict = isSame ? "OK" : "FAILED";
            item["actual"] = digits;
            item["ok"] = isSame;
            mismatches_ += isSame ? 0 : 1;
        } catch (const Failure &failure) {
            Report(failure);
            verdict = "FAILED to read";
            item["ok"] = false;
            item["error"] = failure.what();
            ++unreadable_;
        }
        const bool isWanted = !options_.isStatus && (verdict != "OK" || !options_.isQuiet);
        if (options_.isJson) {
            document_.push_back(std::move(item));
        } else if (isWanted) {
            const bool isEscaped = NeedsEscape(entry.name);
            Put((isEscaped ? "\\" + Escaped(entry.name) : entry.name) + ": " +
                (verdict == "OK" ? verdict : Painted(Stream::kOut, Colour::kError, verdict)) +
                "\n");
        }
    }

    const Options &options_;
    std::optional<Algorithm> only_;
    Json document_ = Json::array();
    std::size_t malformed_ = 0;
    std::size_t unreadable_ = 0;
    std::size_t mismatches_ = 0;
};

ExitCode CheckLists(const std::vector<std::string> &lists, const Options &options)
{
    Checker checker(options);
    ExitCode worst = ExitCode::kOk;
    for (const std::string &list : lists) {
        try {
            checker.CheckList(list);
        } catch (const Failure &failure) {
            Report(failure);
            worst = Graver(worst, failure.Code());
        }
    }
    return Graver(worst, checker.Finish());
}

ExitCode Run(const Options &options)
{
    if (options.algorithms.size() > 1) {
        throw Failure(ExitCode::kUsage, "more than one algorithm chosen");
    }
    std::vector<std::string> names = Texts(options.files);
    if (names.empty()) {
        if (isatty(STDIN_FILENO) != 0) {
            throw Failure(ExitCode::kUsage, "no file given", "'-' reads standard input");
        }
        names.emplace_back("-");
    }
    if (options.isCheck) {
        return CheckLists(names, options);
    }
    const std::optional<Algorithm> algorithm = options.Chosen();
    if (!algorithm) {
        throw Failure(ExitCode::kUsage, "no algorithm chosen: --crc16, --crc32 or --md5",
                      "for example: wyx sum --crc32 " + Shown(names.front()));
    }
    return MakeSums(names, *algorithm, options.isJson);
}

} // namespace

void AddSum(CLI::App &app, Action &chosen)
{
    CLI::App *const sum = app.add_subcommand("sum", "Checksums of files, and their verification");
    const auto options = std::make_shared<Options>();
    for (const AlgorithmName &algorithm : kAlgorithms) {
        sum->add_flag_callback(
            "--" + std::string(algorithm.name),
            [options, &algorithm] { options->algorithms.push_back(algorithm.algorithm); },
            std::string(algorithm.text));
    }
    CLI::Option *const check = sum->add_flag("-c,--check", options->isCheck,
                                             "read lists of sums from the FILEs and verify them");
    sum->add_flag("-q,--quiet", options->isQuiet, "with -c: do not report files that match")
        ->needs(check);
    sum->add_flag("-s,--status", options->isStatus, "with -c: report by the exit code only")
        ->needs(check);
    sum->add_flag("--json", options->isJson, "write JSON");
    sum->add_option("FILE", options->files, "files to sum; '-' is standard input")->type_name("");
    sum->footer(
        "A list has a line 'HEX  NAME' a file, as the common sum programs write it; a name with\n"
        "line ends or backslashes is escaped, and its line begins with a backslash.\n"
        "\n"
        "Examples:\n"
        "  wyx sum --crc32 *.ini > LIST    make a list\n"
        "  wyx sum -c LIST                 verify it: exit code 1 if a file has changed\n"
        "  md5sum * | wyx sum --md5 -c     verify another program's list\n"
        "  tar c dir | wyx sum --crc16 -   sum what a pipe brings");
    sum->callback([options, &chosen] { chosen = [options] { return Run(*options); }; });
}

} // namespace wyx::tool
