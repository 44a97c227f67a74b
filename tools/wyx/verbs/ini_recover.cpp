// wyx ini recover: the content that an interrupted save left beside its file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <memory>
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

/// What is known of a leftover.
struct Candidate {
    Leftover leftover;
    std::size_t bytes = 0;
    std::size_t lines = 0;
    bool loads = false;
    bool isSame = false; // as the file itself
};

bool Exists(const std::string &path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

std::string BytesOf(const std::string &path)
{
    return Exists(path) ? IniSource(path).Bytes() : std::string();
}

Candidate Examine(const Leftover &leftover, const std::string &target)
{
    const IniSource source(leftover.path);
    const StoredLines stored = ReadStoredLines(source);
    Candidate candidate;
    candidate.leftover = leftover;
    candidate.bytes = source.Bytes().size();
    candidate.lines = stored.lines.size();
    candidate.loads = stored.IsLoadable() && source.Bytes().find('\0') == std::string::npos;
    candidate.isSame = Exists(target) && BytesOf(target) == source.Bytes();
    return candidate;
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

std::string Remark(const Candidate &candidate, bool isTargetThere)
{
    if (!candidate.loads) {
        return "does not load";
    }
    if (!isTargetThere) {
        return "whole: the file itself is missing";
    }
    return candidate.isSame ? "same as the file" : "differs from the file, may be cut off";
}

void PutRow(const std::string &number, const std::string &saved, const std::string &bytes,
            const std::string &lines, const std::string &rest)
{
    char row[96];
    std::snprintf(row, sizeof row, "%3s  %-19s  %8s  %6s  ", number.c_str(), saved.c_str(),
                  bytes.c_str(), lines.c_str());
    Put(row + rest + "\n");
}

ExitCode List(const std::string &target, const std::vector<Leftover> &leftovers, bool isJson)
{
    const bool isThere = Exists(target);
    Json document;
    SetText(document, "file", target);
    document["exists"] = isThere;
    document["leftovers"] = Json::array();
    if (!isJson && !leftovers.empty()) {
        PutRow("N", "SAVED", "BYTES", "LINES", "FILE");
    }
    for (std::size_t i = 0; i < leftovers.size(); ++i) {
        const Candidate candidate = Examine(leftovers[i], target);
        const Leftover &leftover = candidate.leftover;
        if (isJson) {
            Json item;
            item["number"] = i + 1;
            SetText(item, "file", leftover.path);
            item["saved"] = TimeOf(leftover.digits);
            item["bytes"] = candidate.bytes;
            item["lines"] = candidate.lines;
            item["loads"] = candidate.loads;
            item["same"] = candidate.isSame;
            document["leftovers"].push_back(std::move(item));
        } else {
            PutRow(std::to_string(i + 1), TimeOf(leftover.digits), std::to_string(candidate.bytes),
                   std::to_string(candidate.lines),
                   Shown(leftover.path) + " (" + Remark(candidate, isThere) + ")");
        }
    }
    if (isJson) {
        PutJson(document);
    }
    return leftovers.empty() ? ExitCode::kNo : ExitCode::kOk;
}

const Leftover &Choose(const std::vector<Leftover> &leftovers, const std::string &word)
{
    if (word == kNewest) {
        return leftovers.front();
    }
    const bool isNumber = !word.empty() && word.size() < 9 &&
                          word.find_first_not_of("0123456789") == std::string::npos;
    const std::size_t number = isNumber ? std::stoul(word) : 0;
    if (!isNumber) {
        throw Failure(ExitCode::kUsage,
                      Quoted(word) + " is neither a number nor '" + kNewest + "'");
    }
    if (number == 0 || number > leftovers.size()) {
        throw Failure(ExitCode::kNo, "there is no file number " + word,
                      "the numbers go from 1 to " + std::to_string(leftovers.size()));
    }
    return leftovers[number - 1];
}

/// Gives the present content of a file a name that is free.
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

ExitCode Restore(const Arguments &arguments, const Leftover &leftover)
{
    const std::string &name = arguments[0];
    const Target target(name, {.limit = kLargestFile, .mayBeMissing = true});
    const IniSource source(leftover.path);
    RequireText(source);
    const IniDocument document(source); // refuses what does not load
    const Descriptor file(open(leftover.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    if (!file.IsOpen()) {
        throw SystemFailure("cannot open " + Quoted(leftover.path), errno);
    }
    const std::string backup = target.Exists() ? KeepOld(target) : "";
    Replace(target, source.Bytes(), &file);
    unlink(leftover.path.c_str());
    if (arguments.Has("json")) {
        Json json;
        SetText(json, "file", name);
        SetText(json, "restored", leftover.path);
        json["kept"] = nullptr;
        if (!backup.empty()) {
            SetText(json, "kept", backup);
        }
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
    arguments.RequireOneOf({"show", "restore"});
    const std::string &target = arguments[0];
    const std::vector<Leftover> leftovers = FindLeftovers(target);
    const std::optional<std::string> show = arguments.Value("show");
    const std::optional<std::string> restore = arguments.Value("restore");
    if (leftovers.empty()) {
        throw Failure(ExitCode::kNo, "no interrupted save left a file beside " + Quoted(target));
    }
    if (restore) {
        return Restore(arguments, Choose(leftovers, *restore));
    }
    if (show) {
        Put(IniSource(Choose(leftovers, *show).path).Bytes());
        return ExitCode::kOk;
    }
    return List(target, leftovers, arguments.Has("json"));
}

} // namespace wyx::tool
