// wyx ini recover: the content that an interrupted save left beside its file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "ini/document.h"
#include "ini/recovery.h"
#include "ini/text.h"
#include "system/file_replace.h"
#include "system/json.h"
#include "system/terminal.h"
#include "verbs/arguments.h"
#include "verbs/verbs.h"

namespace wyx::tool {

namespace {

constexpr const char *kNewest = "newest";
constexpr int kMostBackups = 1000;

/// What is known of a leftover. It may be incomplete: a save that dies while it writes leaves the
/// first part of the content, and nothing in the file says how much was still to come.
struct Candidate {
    Leftover leftover;
    std::optional<Failure> failure; // why it could not be read; then the rest means nothing
    Descriptor file;
    std::string bytes;
    std::size_t lines = 0;
    bool loads = false;
    bool hasNul = false;      // the library would cut a line there
    bool isTruncated = false; // no line end, or a backslash before it, as if a save was cut off
    bool isTrusted = false;   // this user's or the target's owner's, without another hard link
    bool isSame = false;      // the same content as the target
};

/// Is this the whole content of the file?
bool IsContentOf(const std::string &target, const std::string &bytes)
{
    const Descriptor file(open(target.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    return file.IsOpen() && HoldsExactly(file.Get(), bytes);
}

/// A leftover is examined, shown and restored through one descriptor, so that it is the same file
/// each time.
/// @throws Failure if it cannot be read
void Examine(Candidate &candidate, const std::string &target)
{
    const Leftover &leftover = candidate.leftover;
    candidate.file = Descriptor(
        open(leftover.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    if (!candidate.file.IsOpen() || fstat(candidate.file.Get(), &status) != 0) {
        throw SystemFailure("cannot open " + Quoted(leftover.path), errno);
    }
    candidate.bytes = ReadWhole(FileInput(candidate.file, leftover.path), kLargestFile);
    const std::string &bytes = candidate.bytes;
    const IniSource source = IniSource::OfBytes(leftover.path, bytes);
    const StoredLines stored = ReadStoredLines(source);
    candidate.lines = stored.lines.size();
    candidate.loads = stored.IsLoadable();
    candidate.hasNul = source.HasNul();
    candidate.isTruncated =
        !bytes.empty() && (LineEndLength(bytes) == 0 || WithoutLineEnd(bytes).ends_with('\\'));
    struct stat present = {};
    const bool isThere = stat(target.c_str(), &present) == 0;
    candidate.isTrusted =
        S_ISREG(status.st_mode) && status.st_nlink == 1 &&
        (status.st_uid == geteuid() || (isThere && status.st_uid == present.st_uid));
    candidate.isSame = isThere && IsContentOf(target, bytes);
}

std::vector<Candidate> ExamineAll(const std::string &target)
{
    std::vector<Candidate> candidates;
    for (const Leftover &leftover : FindLeftovers(target)) {
        Candidate &candidate = candidates.emplace_back();
        candidate.leftover = leftover;
        try {
            Examine(candidate, target);
        } catch (const Failure &failure) {
            candidate.failure = failure;
        }
    }
    return candidates;
}

/// "2026-11-21 12:31:07" of milliseconds since 1970.
std::string TimeOf(const std::string &digits)
{
    constexpr std::size_t kMilliseconds = 3;
    if (digits.size() <= kMilliseconds || digits.size() > 15) {
        return "?";
    }
    const std::time_t seconds = std::stoll(digits.substr(0, digits.size() - kMilliseconds));
    std::tm local = {};
    char text[32];
    localtime_r(&seconds, &local);
    return std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local) > 0 ? text : "?";
}

/// Why a leftover is never restored; empty if it can be.
std::string Obstacle(const Candidate &candidate)
{
    if (candidate.failure) {
        return "cannot be read";
    }
    if (candidate.hasNul) {
        return "has a NUL byte";
    }
    return candidate.loads ? "" : "does not load";
}

/// Why a leftover is not restored, or only if the user insists; empty if there is no objection.
std::string Flaw(const Candidate &candidate)
{
    const std::string obstacle = Obstacle(candidate);
    if (!obstacle.empty()) {
        return obstacle;
    }
    if (!candidate.isTrusted) {
        return "somebody else's, or has further hard links";
    }
    if (candidate.bytes.empty()) {
        return "empty";
    }
    return candidate.isTruncated ? "looks truncated" : "";
}

std::string Remark(const Candidate &candidate, bool isTargetThere, bool isNewest)
{
    const std::string flaw = Flaw(candidate);
    if (!flaw.empty()) {
        return flaw;
    }
    if (candidate.isSame) {
        return "same as the file";
    }
    if (isTargetThere) {
        return "differs from the file, may be cut off";
    }
    // Only the last save can have removed the file.
    return isNewest ? "complete if its save removed the file"
                    : "of an earlier save, may be cut off";
}

void PutRow(const std::string &number, const std::string &saved, const std::string &bytes,
            const std::string &lines, const std::string &rest)
{
    char row[96];
    std::snprintf(row, sizeof row, "%3s  %-19s  %8s  %6s  ", number.c_str(), saved.c_str(),
                  bytes.c_str(), lines.c_str());
    Put(row + rest + "\n");
}

Json ToJson(const Candidate &candidate, std::size_t number)
{
    Json item;
    item["number"] = number;
    SetText(item, "file", candidate.leftover.path);
    item["saved"] = TimeOf(candidate.leftover.digits);
    if (candidate.failure) {
        SetText(item, "error", candidate.failure->what());
        return item;
    }
    item["bytes"] = candidate.bytes.size();
    item["lines"] = candidate.lines;
    item["loads"] = candidate.loads && !candidate.hasNul;
    item["truncated"] = candidate.isTruncated;
    item["trusted"] = candidate.isTrusted;
    item["same"] = candidate.isSame;
    return item;
}

ExitCode List(const std::string &target, const std::vector<Candidate> &candidates, bool isJson)
{
    const bool isThere = access(target.c_str(), F_OK) == 0;
    Json document;
    SetText(document, "file", target);
    document["exists"] = isThere;
    document["leftovers"] = Json::array();
    if (!isJson) {
        PutRow("N", "SAVED", "BYTES", "LINES", "FILE");
    }
    ExitCode code = ExitCode::kOk;
    std::size_t number = 0;
    for (const Candidate &candidate : candidates) {
        const Leftover &leftover = candidate.leftover;
        const auto &failure = candidate.failure;
        ++number;
        if (isJson) {
            document["leftovers"].push_back(ToJson(candidate, number));
        } else {
            PutRow(std::to_string(number), TimeOf(leftover.digits),
                   failure ? "?" : std::to_string(candidate.bytes.size()),
                   failure ? "?" : std::to_string(candidate.lines),
                   Shown(leftover.path) + " (" + Remark(candidate, isThere, number == 1) + ")");
        }
        if (failure) {
            Report(*failure);
            code = Worse(code, failure->Code());
        }
    }
    if (isJson) {
        PutJson(document);
    }
    return code;
}

const Candidate &Choose(const std::vector<Candidate> &candidates, const std::string &word)
{
    if (word == kNewest) {
        const auto sound = std::ranges::find_if(
            candidates, [](const Candidate &candidate) { return Flaw(candidate).empty(); });
        if (sound == candidates.end()) {
            throw Failure(ExitCode::kNo, "none of the files looks complete",
                          "name one by its number");
        }
        return *sound;
    }
    if (word.empty() || word.find_first_not_of("0123456789") != std::string::npos) {
        throw Failure(ExitCode::kUsage,
                      Quoted(word) + " is neither a number nor '" + kNewest + "'");
    }
    const std::size_t number = word.size() < 9 ? std::stoul(word) : 0;
    if (number == 0 || number > candidates.size()) {
        throw Failure(ExitCode::kNo, "there is no file number " + word,
                      "the numbers go from 1 to " + std::to_string(candidates.size()));
    }
    const Candidate &candidate = candidates[number - 1];
    if (candidate.failure) {
        throw *candidate.failure;
    }
    return candidate;
}

/// Keeps the present content of a file under a name that is free.
std::string KeepOld(const Target &target)
{
    for (int i = 0; i < kMostBackups; ++i) {
        const std::string backup = target.Path() + ".old" + (i == 0 ? "" : std::to_string(i));
        if (KeepAs(target, backup)) {
            return backup;
        }
        if (errno != EEXIST) {
            throw SystemFailure("cannot keep the present content as " + Quoted(backup), errno);
        }
    }
    throw Failure(ExitCode::kIo, "too many files " + Quoted(target.Path() + ".old*"));
}

ExitCode Restore(const Arguments &arguments, const Candidate &candidate)
{
    const std::string &name = arguments[0];
    const Leftover &leftover = candidate.leftover;
    if (!Obstacle(candidate).empty()) {
        throw Failure(ExitCode::kMalformed, Quoted(leftover.path) + " " + Obstacle(candidate),
                      "'wyx ini check' lists what is wrong with it");
    }
    if (!Flaw(candidate).empty() && !arguments.Has("force")) {
        throw Failure(ExitCode::kUsage,
                      Quoted(leftover.path) + " is not restored: " + Flaw(candidate),
                      "--force restores it anyway");
    }
    const Target target(name, {.limit = kLargestFile, .mayBeMissing = true});
    const std::string backup = target.Exists() ? KeepOld(target) : "";
    Replace(target, candidate.bytes, &candidate.file);
    unlink(leftover.path.c_str());
    if (arguments.Has("json")) {
        Json json;
        SetText(json, "file", name);
        SetText(json, "restored", leftover.path);
        SetOptional(json, "kept", backup.empty() ? std::nullopt : std::optional(backup));
        PutJson(json);
    } else {
        Put(Shown(name) + ": restored from " + Shown(leftover.path) +
            (backup.empty() ? "" : "; its old content is in " + Shown(backup)) + "\n");
    }
    return ExitCode::kOk;
}

} // namespace

ExitCode RunIniRecover(const Arguments &arguments)
{
    arguments.RequireAtMostOneOf({"show", "restore"});
    arguments.RequireAtMostOneOf({"show", "json"});
    arguments.RequireWith("restore", {"force"});
    const std::string &target = arguments[0];
    const std::vector<Candidate> candidates = ExamineAll(target);
    if (candidates.empty()) {
        throw Failure(ExitCode::kNo, "no interrupted save left a file beside " + Quoted(target));
    }
    if (const auto restore = arguments.Value("restore")) {
        return Restore(arguments, Choose(candidates, *restore));
    }
    if (const auto show = arguments.Value("show")) {
        Put(Choose(candidates, *show).bytes);
        return ExitCode::kOk;
    }
    return List(target, candidates, arguments.Has("json"));
}

} // namespace wyx::tool
