// wyx sum: checksums of files, and the verification of lists of them.
//
// A line of a list is the sum in hexadecimal digits, two spaces (or a space and a "*") and the
// file's name; the number of digits selects the algorithm. With --tag it is "CRC32 (NAME) = HEX".
// If the name holds a line feed, a carriage return or a backslash, the line begins with a backslash
// and the name has \n, \r and \\ in their place, except with --zero. Options and lists follow
// md5sum.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "system/file_input.h"
#include "system/json.h"
#include "system/line_input.h"
#include "system/terminal.h"
#include "verbs/arguments.h"
#include "verbs/verbs.h"
#include "wyx_commlib/crc.h"
#include "wyx_commlib/md5.h"

namespace wyx::tool {

namespace {

constexpr std::size_t kPiece = 262144;
constexpr std::size_t kMd5Length = 16;

enum class Kind { kCrc16, kCrc32, kMd5 };

struct Algorithm {
    Kind kind;
    std::string_view name;
    std::string_view tag; // in lines of the form "TAG (NAME) = HEX"
    std::size_t digits;
};

constexpr std::array kAlgorithms = {
    Algorithm{Kind::kCrc16, "crc16", "CRC16", 4},
    Algorithm{Kind::kCrc32, "crc32", "CRC32", 8},
    Algorithm{Kind::kMd5, "md5", "MD5", 32},
};

class Sum {
  public:
    explicit Sum(const Algorithm &algorithm) : algorithm_(algorithm) { XELP_MD5_Init(&md5_); }

    void Add(std::span<const unsigned char> piece)
    {
        const auto ulLen = static_cast<QAL_UINT32>(piece.size());
        switch (algorithm_.kind) {
            case Kind::kCrc16:
                XELP_CRC_Accumulate_16(uwCrc_, piece.data(), ulLen, &uwCrc_);
                break;
            case Kind::kCrc32:
                XELP_CRC_Accumulate_32(ulCrc_, piece.data(), ulLen, &ulCrc_);
                break;
            case Kind::kMd5:
                XELP_MD5_Update(&md5_, piece.data(), ulLen);
                break;
        }
    }

    /// Finishes the sum.
    std::string Digits()
    {
        if (algorithm_.kind == Kind::kMd5) {
            std::string digest(kMd5Length, 0);
            XELP_MD5_Final(reinterpret_cast<QAL_UINT8 *>(digest.data()), &md5_);
            return Hex(digest);
        }
        const int digits = static_cast<int>(algorithm_.digits);
        const QAL_UINT32 ulSum = algorithm_.kind == Kind::kCrc16 ? uwCrc_ : ulCrc_;
        char text[16];
        std::snprintf(text, sizeof text, "%0*x", digits, ulSum);
        return text;
    }

  private:
    const Algorithm &algorithm_;
    QAL_UINT16 uwCrc_ = 0;
    QAL_UINT32 ulCrc_ = 0;
    MD5_S_CTX md5_ = {};
};

struct FileSum {
    std::string digits;
    std::uint64_t bytes = 0;
};

FileSum SumOf(const std::string &name, const Algorithm &algorithm)
{
    FileInput input(name);
    std::vector<unsigned char> piece(kPiece);
    Sum sum(algorithm);
    FileSum result;
    while (const std::size_t held = input.Read(piece)) {
        sum.Add({piece.data(), held});
        result.bytes += held;
    }
    result.digits = sum.Digits();
    return result;
}

/// A line of a list.
struct Entry {
    const Algorithm *algorithm;
    std::string digits;
    std::string name;
};

constexpr std::string_view kEscaped = "\n\r\\"; // escaped in names
constexpr std::string_view kCodes = "nr\\";     // what follows the backslash, in the same order

bool NeedsEscape(std::string_view name)
{
    return name.find_first_of(kEscaped) != std::string_view::npos;
}

std::string Escaped(std::string_view name)
{
    std::string escaped;
    for (const char ch : name) {
        const std::size_t at = kEscaped.find(ch);
        escaped += at == std::string_view::npos ? std::string{ch} : std::string{'\\', kCodes[at]};
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
        const std::size_t at = ++i < name.size() ? kCodes.find(name[i]) : std::string_view::npos;
        if (at == std::string_view::npos) {
            return std::nullopt;
        }
        plain += kEscaped[at];
    }
    return plain;
}

enum class Form { kPlain, kStarred, kTagged };

std::string ListLine(const Algorithm &algorithm, const std::string &digits, const std::string &name,
                     Form form, bool isZero)
{
    const bool isEscaped = !isZero && NeedsEscape(name);
    const std::string shown = isEscaped ? Escaped(name) : name;
    return (isEscaped ? "\\" : "") +
           (form == Form::kTagged ? std::string(algorithm.tag) + " (" + shown + ") = " + digits
                                  : digits + (form == Form::kStarred ? " *" : "  ") + shown) +
           (isZero ? '\0' : '\n');
}

std::size_t LeadingDigits(std::string_view text)
{
    return std::min(text.find_first_not_of("0123456789abcdefABCDEF"), text.size());
}

std::string Lower(std::string_view text)
{
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), [](char ch) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    });
    return lower;
}

std::string_view WithoutBlanks(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    return text;
}

/// "HEX  NAME", "HEX *NAME" or "HEX NAME"
std::optional<Entry> ParsePlain(std::string_view line)
{
    const std::size_t digits = LeadingDigits(line);
    const auto algorithm = std::ranges::find(kAlgorithms, digits, &Algorithm::digits);
    std::string_view rest = line.substr(digits);
    if (algorithm == kAlgorithms.end() || WithoutBlanks(rest).size() == rest.size()) {
        return std::nullopt;
    }
    rest.remove_prefix(1);
    rest.remove_prefix(rest.starts_with(' ') || rest.starts_with('*') ? 1 : 0);
    if (rest.empty()) {
        return std::nullopt;
    }
    return Entry{&*algorithm, Lower(line.substr(0, digits)), std::string(rest)};
}

/// "CRC32 (NAME) = HEX", with or without its spaces
std::optional<Entry> ParseTagged(std::string_view line)
{
    for (const Algorithm &algorithm : kAlgorithms) {
        const std::size_t close = line.rfind(')');
        if (!line.starts_with(algorithm.tag) || close == std::string_view::npos) {
            continue;
        }
        std::string_view name = line.substr(0, close).substr(algorithm.tag.size());
        name.remove_prefix(name.starts_with(' ') ? 1 : 0);
        const std::string_view equals = WithoutBlanks(line.substr(close + 1));
        const std::string_view digits = WithoutBlanks(equals.substr(equals.empty() ? 0 : 1));
        if (name.size() > 1 && name.front() == '(' && equals.starts_with('=') &&
            digits.size() == algorithm.digits && LeadingDigits(digits) == digits.size()) {
            return Entry{&algorithm, Lower(digits), std::string(name.substr(1))};
        }
    }
    return std::nullopt;
}

std::optional<Entry> ParseLine(std::string_view line)
{
    if (line.find('\0') != std::string_view::npos) {
        return std::nullopt; // no file's name holds a NUL
    }
    line = WithoutBlanks(line);
    if (line.ends_with('\r')) {
        line.remove_suffix(1); // the line ended in CR LF; our lists escape a CR in a name
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
    const Algorithm *only = nullptr; // the one chosen
    Form form = Form::kPlain;
    bool isZero = false;
    std::string_view report; // the last one given of "quiet", "status" and "warn"
    bool isMissingIgnored = false;
    bool isStrict = false;
    bool isJson = false;
};

/// What the JSON item of a file begins with.
Json ItemOf(const std::string &name, const Algorithm &algorithm)
{
    Json item;
    SetText(item, "file", name);
    item["algorithm"] = algorithm.name;
    return item;
}

ExitCode MakeSums(Words names, const Algorithm &algorithm, const Options &options)
{
    Results results(options.isJson);
    for (const std::string &name : names) {
        Json item = ItemOf(name, algorithm);
        results.Try(item, [&] {
            const FileSum sum = SumOf(name, algorithm);
            item["sum"] = sum.digits;
            item["bytes"] = sum.bytes;
            if (!options.isJson) {
                Put(ListLine(algorithm, sum.digits, name, options.form, options.isZero));
            }
            return ExitCode::kOk;
        });
        results.Add(std::move(item));
    }
    return results.Finish();
}

/// Verifies the sums that lists contain.
class Checker {
  public:
    explicit Checker(const Options &options) : options_(options), results_(options.isJson) {}

    ExitCode Check(Words lists)
    {
        for (const std::string &list : lists) {
            Json none; // a list has no item of its own
            results_.Try(none, [&] { return CheckList(list); });
        }
        return results_.Finish();
    }

  private:
    ExitCode CheckList(const std::string &list)
    {
        count_ = {};
        LineInput lines(list);
        std::string line;
        for (std::size_t number = 1; lines.Next(line); ++number) {
            if (line.empty() || line == "\r" || line.starts_with('#')) {
                continue;
            }
            const std::optional<Entry> entry = ParseLine(line);
            if (entry && (options_.only == nullptr || entry->algorithm == options_.only)) {
                ++count_.entries;
                CheckEntry(*entry);
                continue;
            }
            ++count_.malformed;
            if (options_.report == "warn") {
                PutWarning((list == "-" ? "standard input" : Shown(list)) + ":" +
                           std::to_string(number) + ": improperly formatted checksum line");
            }
        }
        if (count_.entries == 0) {
            throw Failure(ExitCode::kMalformed,
                          ShownInput(list) + ": no properly formatted checksum lines found",
                          "make a list with: wyx sum --crc32 FILE... > LIST");
        }
        return SumUp(list);
    }

    /// What the check of a list found.
    struct Count {
        std::size_t entries = 0;
        std::size_t malformed = 0;
        std::size_t unreadable = 0;
        std::size_t matches = 0;
        std::size_t mismatches = 0;
    };

    bool IsSilent() const { return options_.report == "status"; }

    void Warn(std::size_t count, const char *one, const char *many) const
    {
        if (count > 0 && !IsSilent()) {
            PutWarning(std::to_string(count) + " " + (count == 1 ? one : many));
        }
    }

    ExitCode SumUp(const std::string &list) const
    {
        Warn(count_.malformed, "line is improperly formatted", "lines are improperly formatted");
        Warn(count_.unreadable, "listed file could not be read", "listed files could not be read");
        Warn(count_.mismatches, "computed checksum did NOT match",
             "computed checksums did NOT match");
        const bool isNoneVerified = options_.isMissingIgnored && count_.matches == 0;
        if (isNoneVerified && !IsSilent()) {
            PutError(ShownInput(list) + ": no file was verified");
        }
        ExitCode worst = count_.mismatches > 0 || isNoneVerified ? ExitCode::kNo : ExitCode::kOk;
        if (count_.malformed > 0 && options_.isStrict) {
            worst = Worse(worst, ExitCode::kMalformed);
        }
        return Worse(worst, count_.unreadable > 0 ? ExitCode::kIo : ExitCode::kOk);
    }

    static bool IsMissing(const std::string &name)
    {
        return name != "-" && access(name.c_str(), F_OK) != 0 && errno == ENOENT;
    }

    void CheckEntry(const Entry &entry)
    {
        if (options_.isMissingIgnored && IsMissing(entry.name)) {
            return;
        }
        Json item = ItemOf(entry.name, *entry.algorithm);
        item["expected"] = entry.digits;
        try {
            const std::string digits = SumOf(entry.name, *entry.algorithm).digits;
            const bool isSame = digits == entry.digits;
            item["actual"] = digits;
            item["ok"] = isSame;
            ++(isSame ? count_.matches : count_.mismatches);
            PutVerdict(entry.name, isSame ? "" : "FAILED");
        } catch (const Failure &failure) {
            Report(failure);
            SetError(item, failure);
            ++count_.unreadable;
            PutVerdict(entry.name, "FAILED open or read");
        }
        results_.Add(std::move(item));
    }

    /// @param fault  empty for a sum that matches
    void PutVerdict(const std::string &name, const std::string &fault) const
    {
        if (options_.isJson || IsSilent() || (fault.empty() && options_.report == "quiet")) {
            return;
        }
        Put((NeedsEscape(name) ? "\\" + Escaped(name) : name) + ": " +
            (fault.empty() ? "OK" : Painted(Stream::kOut, Colour::kError, fault)) + "\n");
    }

    const Options &options_;
    Results results_;
    Count count_;
};

Options OptionsOf(const Arguments &arguments)
{
    Options options;
    for (const Algorithm &algorithm : kAlgorithms) {
        if (arguments.Has(algorithm.name)) {
            if (options.only != nullptr) {
                throw arguments.Misuse("more than one algorithm chosen");
            }
            options.only = &algorithm;
        }
    }
    const std::string_view form = arguments.Last({"binary", "text", "tag"});
    if (arguments.Has("tag") && form == "text") {
        throw arguments.Misuse("--tag does not support --text");
    }
    options.form = arguments.Has("tag") ? Form::kTagged
                   : form == "binary"   ? Form::kStarred
                                        : Form::kPlain;
    options.isZero = arguments.Has("zero");
    options.report = arguments.Last({"quiet", "status", "warn"});
    options.isMissingIgnored = arguments.Has("ignore-missing");
    options.isStrict = arguments.Has("strict");
    options.isJson = arguments.Has("json");
    return options;
}

} // namespace

ExitCode RunSum(const Arguments &arguments)
{
    const Options options = OptionsOf(arguments);
    const std::vector<std::string> names = arguments.Inputs();
    if (arguments.Has("check")) {
        for (const char *const option : {"binary", "text", "tag", "zero"}) {
            arguments.RequireAtMostOneOf({"check", option});
        }
        return Checker(options).Check(names);
    }
    arguments.RequireWith("check", {"ignore-missing", "quiet", "status", "strict", "warn"});
    if (options.only == nullptr) {
        throw Failure(ExitCode::kUsage, "no algorithm chosen: --crc16, --crc32 or --md5",
                      "for example: wyx sum --crc32 " + Shown(names.front()));
    }
    return MakeSums(names, *options.only, options);
}

} // namespace wyx::tool
