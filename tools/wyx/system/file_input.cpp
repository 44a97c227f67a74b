#include "system/file_input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

namespace wyx::tool {

namespace {

constexpr std::size_t kPiece = 65536;
constexpr const char *kStandardInput = "-";

Descriptor OpenInput(const std::string &name)
{
    if (name == kStandardInput) {
        return Descriptor();
    }
    Descriptor file(open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!file.IsOpen()) {
        throw SystemFailure("cannot open " + Quoted(name), errno);
    }
    return file;
}

/// The size of a regular file, 0 for anything else. Refuses directories.
std::uint64_t SizeOf(int fd, const std::string &shown)
{
    struct stat status = {};
    if (fstat(fd, &status) != 0) {
        throw SystemFailure("cannot read " + shown, errno);
    }
    if (S_ISDIR(status.st_mode)) {
        throw SystemFailure("cannot read " + shown, EISDIR);
    }
    return S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : 0;
}

} // namespace

Descriptor::~Descriptor()
{
    if (fd_ != -1) {
        close(fd_);
    }
}

Descriptor &Descriptor::operator=(Descriptor &&other) noexcept
{
    std::swap(fd_, other.fd_);
    return *this;
}

FileInput::FileInput(const std::string &name)
    : shown_(ShownInput(name)),
      owned_(OpenInput(name)),
      fd_(owned_.IsOpen() ? owned_.Get() : STDIN_FILENO),
      progress_(shown_, SizeOf(fd_, shown_))
{}

FileInput::FileInput(const Descriptor &file, const std::string &name)
    : shown_(Quoted(name)), fd_(file.Get()), progress_(shown_, SizeOf(fd_, shown_))
{}

std::size_t FileInput::Read(std::span<unsigned char> buffer)
{
    std::size_t held = 0;
    while (held < buffer.size()) {
        const ssize_t now = read(fd_, buffer.data() + held, buffer.size() - held);
        if (now == -1 && errno == EINTR) {
            continue;
        }
        if (now == -1) {
            throw SystemFailure("cannot read " + shown_, errno);
        }
        if (now == 0) {
            break;
        }
        held += static_cast<std::size_t>(now);
    }
    done_ += held;
    progress_.Advance(done_);
    return held;
}

std::string ReadWhole(FileInput &&input, std::size_t limit)
{
    std::string text;
    std::vector<unsigned char> piece(kPiece);
    while (const std::size_t held = input.Read(piece)) {
        if (held > limit - text.size()) {
            throw Failure(ExitCode::kMalformed, input.ShownName() + " is too large: more than " +
                                                    std::to_string(limit >> 20) + " MiB");
        }
        text.append(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(held));
    }
    return text;
}

bool HoldsExactly(int fd, std::string_view bytes)
{
    std::vector<char> piece(kPiece);
    std::size_t at = 0;
    for (;;) {
        const ssize_t now = pread(fd, piece.data(), piece.size(), static_cast<off_t>(at));
        if (now == -1 && errno == EINTR) {
            continue;
        }
        if (now <= 0) {
            return now == 0 && at == bytes.size();
        }
        const auto held = static_cast<std::size_t>(now);
        if (bytes.substr(std::min(at, bytes.size()), held) !=
            std::string_view(piece.data(), held)) {
            return false;
        }
        at += held;
    }
}

bool WriteWhole(int fd, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t now = write(fd, text.data(), text.size());
        if (now == -1 && errno != EINTR) {
            return false;
        }
        text.remove_prefix(now > 0 ? static_cast<std::size_t>(now) : 0);
    }
    return true;
}

std::string ShownInput(const std::string &name)
{
    return name == kStandardInput ? "standard input" : Quoted(name);
}

} // namespace wyx::tool
