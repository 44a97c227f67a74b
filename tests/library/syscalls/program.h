// Starts programs for a test and finds the files that they leave.
#ifndef WYX_TESTS_SYSCALLS_PROGRAM_H
#define WYX_TESTS_SYSCALLS_PROGRAM_H

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "needs_proc.h"
#include "temp_folder.h"

namespace wyx::test {

using Words = std::vector<std::string>;

inline std::optional<std::string> Content(const std::filesystem::path &path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in.is_open()) {
        return std::nullopt;
    }
    return std::string(std::istreambuf_iterator<char>(in), {});
}

/// Starts a program with empty input and its output discarded.
inline pid_t Start(const Words &command, const Words &environment)
{
    std::vector<char *> words;
    for (const std::string &word : command) {
        words.push_back(const_cast<char *>(word.c_str()));
    }
    words.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        // LD_PRELOAD has only the library's name: a space in a path would act as a separator.
        setenv("LD_LIBRARY_PATH", WYX_FAULT_FOLDER, 1);
        for (const std::string &setting : environment) {
            putenv(const_cast<char *>(setting.c_str()));
        }
        const int null = open("/dev/null", O_RDWR);
        dup2(null, 0);
        dup2(null, 1);
        dup2(null, 2);
        execvp(words[0], words.data());
        _exit(127);
    }
    return child;
}

/// Waits until a program ends or stops; its status as waitpid() returns it.
inline int WaitFor(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, WUNTRACED) == -1 && errno == EINTR) {
    }
    return status;
}

inline int Execute(const Words &command, const Words &environment)
{
    return WaitFor(Start(command, environment));
}

/// A folder with a target in it, which a test resets for each of its runs.
class TargetFolder {
  public:
    std::filesystem::path Target() const { return folder_ / "conf.d" / "net.ini"; }
    std::filesystem::path Log() const { return folder_ / "log"; }

    /// Leaves a target with this content in the folder, and nothing else.
    void Reset(const std::string &content) const
    {
        std::filesystem::remove(Log());
        std::filesystem::remove_all(Target().parent_path());
        std::filesystem::create_directory(Target().parent_path());
        std::ofstream(Target(), std::ios::binary) << content;
    }

    /// The contents of the files beside the target.
    std::vector<std::string> Beside() const
    {
        std::vector<std::string> contents;
        for (const auto &entry : std::filesystem::directory_iterator(Target().parent_path())) {
            if (entry.path() != Target()) {
                contents.push_back(Content(entry.path()).value_or(""));
            }
        }
        return contents;
    }

  private:
    const TempFolder temp_;
    const std::filesystem::path folder_ = std::filesystem::canonical(temp_.Path());
};

} // namespace wyx::test

#endif
