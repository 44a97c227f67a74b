// Reading a file, piece by piece or whole, and writing to a file descriptor.
#ifndef WYX_TOOL_FILE_INPUT_H
#define WYX_TOOL_FILE_INPUT_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "system/terminal.h"

namespace wyx::tool {

/// Owns a file descriptor.
class Descriptor {
  public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    ~Descriptor();
    Descriptor(Descriptor &&other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
    Descriptor &operator=(Descriptor &&other) noexcept;

    int Get() const { return fd_; }
    bool IsOpen() const { return fd_ != -1; }
    /// The name by which this process can open or link the same file again.
    std::string Path() const { return "/proc/self/fd/" + std::to_string(fd_); }

  private:
    int fd_;
};

/// A file to read, or standard input for the name "-".
class FileInput {
  public:
    /// @throws Failure with a message that says what is wrong with the file.
    explicit FileInput(const std::string &name);
    /// Reads an open file, which must outlive the object.
    FileInput(const Descriptor &file, const std::string &name);

    /// Reads the next piece, which fills the buffer unless the file ends.
    /// @return its length, 0 at the end
    /// @throws Failure
    std::size_t Read(std::span<unsigned char> buffer);

    /// The file's name in messages.
    const std::string &ShownName() const { return shown_; }

  private:
    std::string shown_;
    Descriptor owned_;
    int fd_;
    std::uint64_t done_ = 0;
    Progress progress_;
};

/// Reads a file to its end.
/// @throws Failure if reading fails or the file has more than @p limit bytes
std::string ReadWhole(FileInput &&input, std::size_t limit);

/// Does a regular file hold exactly these bytes?
bool HoldsExactly(int fd, std::string_view bytes);

/// Writes all of a text.
/// @return false, with errno set, if that fails
bool WriteWhole(int fd, std::string_view text);

/// The name of an input in messages: in quotation marks, or standard input.
std::string ShownInput(const std::string &name);

} // namespace wyx::tool

#endif
