// wyx base64: encoding and decoding streams of any size.
//
// The library works on whole buffers, so the input is cut into pieces: for the encoder after a
// multiple of three bytes, for the decoder after a multiple of four characters with a value. The
// results then just follow each other. The decoder itself is asked which characters it accepts, and
// which of them have a value.
#include "wyx_commlib/base64.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "system/file_input.h"
#include "system/terminal.h"
#include "verbs/arguments.h"
#include "verbs/verbs.h"

namespace wyx::tool {

namespace {

constexpr std::size_t kPiece = 3 * 65536; // a multiple of three bytes
constexpr std::size_t kQuad = 4;
constexpr std::size_t kUsualWidth = 76;

/// Releases a result of the library.
struct Release {
    void operator()(QAL_UINT8 *puc) const { MOX_BASE64Free(&puc); }
};
using Buffer = std::unique_ptr<QAL_UINT8, Release>;

std::string_view View(const Buffer &buffer, QAL_INT32 lLen)
{
    return {reinterpret_cast<const char *>(buffer.get()), static_cast<std::size_t>(lLen)};
}

/// Writes text in lines of a given width; 0 means one line without a line end.
class LineWriter {
  public:
    explicit LineWriter(std::size_t width) : width_(width) {}

    void Write(std::string_view text)
    {
        while (width_ != 0 && text.size() > width_ - column_) {
            Put(text.substr(0, width_ - column_));
            Put("\n");
            text.remove_prefix(width_ - column_);
            column_ = 0;
        }
        Put(text);
        column_ += text.size();
    }

    void Finish()
    {
        if (width_ != 0 && column_ != 0) {
            Put("\n");
        }
    }

  private:
    std::size_t width_;
    std::size_t column_ = 0;
};

ExitCode Encode(const std::string &file, std::size_t width)
{
    FileInput input(file);
    LineWriter lines(width);
    std::vector<unsigned char> piece(kPiece);
    while (const std::size_t held = input.Read(piece)) {
        QAL_UINT8 *pucText = nullptr;
        const QAL_INT32 lLen =
            MOX_BASE64Encode(piece.data(), static_cast<QAL_INT32>(held), &pucText);
        const Buffer text(pucText);
        if (!text) {
            throw std::bad_alloc();
        }
        lines.Write(View(text, lLen));
    }
    lines.Finish();
    return ExitCode::kOk;
}

enum class Character { kValue, kSkipped, kRefused };

/// What the decoder makes of each character.
std::array<Character, 256> AskDecoder()
{
    std::array<Character, 256> characters = {};
    for (std::size_t i = 0; i < characters.size(); ++i) {
        QAL_UINT8 aucQuad[] = {'A', 'A', 'A', static_cast<QAL_UINT8>(i), 0};
        QAL_UINT8 *pucBytes = nullptr;
        const QAL_INT32 lLen = MOX_BASE64Decode(aucQuad, kQuad, &pucBytes);
        const Buffer bytes(pucBytes);
        characters[i] = !bytes      ? Character::kRefused
                        : lLen == 3 ? Character::kValue
                                    : Character::kSkipped;
    }
    return characters;
}

/// Decodes and writes the first characters of a text, and removes them from it.
void DecodeFront(std::vector<unsigned char> &text, std::size_t count)
{
    if (count == 0) {
        return;
    }
    // The decoder reads one character beyond those it decodes, so there must be one.
    text.push_back(0);
    QAL_UINT8 *pucBytes = nullptr;
    const QAL_INT32 lLen = MOX_BASE64Decode(text.data(), static_cast<QAL_INT32>(count), &pucBytes);
    const Buffer bytes(pucBytes);
    if (!bytes) {
        throw std::bad_alloc();
    }
    Put(View(bytes, lLen));
    text.pop_back();
    text.erase(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(count));
}

std::string ShownCharacter(unsigned char character)
{
    char text[16];
    const bool isPrintable = character > 0x20 && character < 0x7F;
    std::snprintf(text, sizeof text, isPrintable ? "'%c'" : "byte 0x%02x", character);
    return character == ' ' ? "a blank" : text;
}

/// @param isLenient  skip characters that are not Base64
ExitCode Decode(const std::string &file, bool isLenient)
{
    FileInput input(file);
    const std::array<Character, 256> characters = AskDecoder();
    std::vector<unsigned char> piece(kPiece);
    std::vector<unsigned char> text; // characters with a value that have not been decoded yet
    std::uint64_t offset = 0;
    while (const std::size_t held = input.Read(piece)) {
        for (std::size_t i = 0; i < held; ++i) {
            const unsigned char character = piece[i];
            if (characters[character] == Character::kRefused && !isLenient) {
                DecodeFront(text, text.size() / kQuad * kQuad);
                throw Failure(ExitCode::kMalformed,
                              input.ShownName() + ": " + ShownCharacter(character) + " at offset " +
                                  std::to_string(offset + i) + " is not Base64");
            }
            if (characters[character] == Character::kValue) {
                text.push_back(character);
            }
        }
        offset += held;
        DecodeFront(text, text.size() / kQuad * kQuad);
    }
    const bool isCut = text.size() == 1;
    DecodeFront(text, text.size());
    if (isCut) {
        throw Failure(ExitCode::kMalformed,
                      input.ShownName() + " is cut off: one character is left over at its end");
    }
    return ExitCode::kOk;
}

} // namespace

ExitCode RunBase64(const Arguments &arguments)
{
    const std::string file = arguments.Inputs().front();
    const std::size_t width = arguments.Number("wrap").value_or(kUsualWidth);
    return arguments.Has("decode") ? Decode(file, arguments.Has("ignore-garbage"))
                                   : Encode(file, width);
}

} // namespace wyx::tool
