#include "ini/text.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "ini/library_text.h"
#include "os_adapter.h"
#include "system/terminal.h"

namespace wyx::tool {

namespace {

bool IsLineEnd(char ch)
{
    return ch == '\n' || ch == '\r';
}

/// Copies bytes to a file in memory, which can be opened by a name.
Descriptor CopyInMemory(const std::string &bytes)
{
    Descriptor copy(memfd_create("wyx", MFD_CLOEXEC));
    if (!copy.IsOpen() || !WriteWhole(copy.Get(), bytes)) {
        throw SystemFailure("cannot keep the input in memory", errno);
    }
    return copy;
}

/// The name by which an open file of this process can be opened again.
std::string NameOf(const Descriptor &file)
{
    if (access(file.Path().c_str(), F_OK) != 0) {
        throw Failure(ExitCode::kIo, "cannot read INI files without /proc",
                      "to mount it: mount -t proc proc /proc");
    }
    return file.Path();
}

/// An open file of the library.
class LibraryFile {
  public:
    explicit LibraryFile(const IniSource &source)
        : pstruFile_(XELP_Fopen(source.LoadName().c_str(), "r"))
    {
        if (pstruFile_ == nullptr) {
            throw SystemFailure("cannot read " + Quoted(source.Name()), errno);
        }
    }
    ~LibraryFile() { XELP_Fclose(pstruFile_); }
    LibraryFile(const LibraryFile &) = delete;
    LibraryFile &operator=(const LibraryFile &) = delete;

    XELP_S_File *Get() const { return pstruFile_; }

  private:
    XELP_S_File *pstruFile_;
};

/// Does a trailing backslash join the next line to this one?
bool IsContinued(std::string_view bytes, const RawLine &line)
{
    return line.endLen > 0 &&
           EndsInBackslash(bytes.substr(line.begin, line.end - line.endLen - line.begin));
}

/// Number of the last physical line that the library joins to line @p number. It joins a line after
/// a trailing backslash. After a lone LF or CR, it also joins a line that begins with a backslash,
/// but not after an empty joined line, and not a last line that is a backslash alone.
std::size_t LastJoined(std::string_view bytes, const std::vector<RawLine> &raw, std::size_t number)
{
    const auto isJoined = [&](const RawLine &line, const RawLine &next) {
        const bool isAlone = next.end == bytes.size() && next.end - next.endLen <= next.begin + 1;
        return IsContinued(bytes, line) ||
               (line.endLen == 1 && !line.isEmptyJoined && bytes[next.begin] == '\\' && !isAlone);
    };
    while (number < raw.size() && isJoined(raw[number - 1], raw[number])) {
        ++number;
    }
    return number;
}

} // namespace

IniSource::IniSource(const std::string &name)
    : IniSource(name == "-" ? "(standard input)" : Shown(name),
                ReadWhole(FileInput(name), kLargestFile))
{}

IniSource IniSource::OfBytes(const std::string &name, std::string bytes)
{
    return {Shown(name), std::move(bytes)};
}

IniSource::IniSource(std::string name, std::string bytes)
    : name_(std::move(name)),
      bytes_(std::move(bytes)),
      copy_(CopyInMemory(bytes_)),
      loadName_(NameOf(copy_))
{}

bool IniSource::IsUtf16() const
{
    return bytes_.starts_with("\xFF\xFE") || bytes_.starts_with("\xFE\xFF");
}

std::vector<RawLine> SplitLines(std::string_view bytes)
{
    std::vector<RawLine> lines;
    for (std::size_t begin = 0; begin < bytes.size();) {
        const std::size_t at = std::min(bytes.find_first_of("\r\n", begin), bytes.size());
        const bool isEmptyJoined = at == begin && begin > 0 && bytes[at] == bytes[at - 1] &&
                                   lines.back().endLen == 1 && IsContinued(bytes, lines.back());
        std::size_t endLen = at < bytes.size() ? 1 : 0;
        if (!isEmptyJoined && at + 1 < bytes.size() && IsLineEnd(bytes[at + 1]) &&
            bytes[at + 1] != bytes[at]) {
            endLen = 2;
        }
        lines.push_back({begin, at + endLen, endLen, isEmptyJoined});
        begin = at + endLen;
    }
    return lines;
}

std::size_t LineEndLength(std::string_view text)
{
    const std::size_t size = text.size();
    if (size == 0 || !IsLineEnd(text[size - 1])) {
        return 0;
    }
    return size > 1 && IsLineEnd(text[size - 2]) && text[size - 2] != text[size - 1] ? 2 : 1;
}

bool EndsInBackslash(std::string_view text)
{
    return (text.size() - (text.find_last_not_of('\\') + 1)) % 2 == 1; // npos + 1 is 0
}

std::string_view Trimmed(std::string_view text)
{
    constexpr std::string_view kSpace = " \t\r\n";
    text.remove_prefix(std::min(text.find_first_not_of(kSpace), text.size()));
    return text.substr(0, text.find_last_not_of(kSpace) + 1);
}

bool StoredLines::IsLoadable() const
{
    return std::ranges::none_of(lines, &StoredLine::isTooLong);
}

StoredLines ReadStoredLines(const IniSource &source, ByteOrderMark mark)
{
    const LibraryFile file(source);
    if (mark == ByteOrderMark::kSkipped && source.HasByteOrderMark()) {
        static_cast<void>(XELP_Fseek(file.Get(), kByteOrderMark.size(), 0));
    }
    const std::vector<RawLine> raw = SplitLines(source.Bytes());
    StoredLines stored;
    std::size_t next = 1;
    for (;;) {
        QAL_INT8 *pszText = nullptr;
        QAL_UINT32 ulBytes = 0;
        QAL_UINT32 ulLines = 0;
        const QAL_UINT32 ulStatus = IniGetOneLine(&pszText, file.Get(), &ulBytes, &ulLines);
        const LibraryText owned(pszText);
        if (ulStatus == XELP_ERR_INI_FILE_EMPTY) {
            stored.rest = next <= raw.size() ? next : 0;
            return stored;
        }
        StoredLine line;
        const std::size_t last = LastJoined(source.Bytes(), raw, next);
        line.first = next;
        line.count = last - next + 1;
        if (ulStatus == XELP_ERR_INI_OK) {
            line.text = pszText;
            line.lacksEnd = line.text.size() > ulBytes;
        } else if (ulStatus == XELP_ERR_INI_LINE_TOO_LONG && next <= raw.size()) {
            line.isTooLong = true;
            if (XELP_Fseek(file.Get(), static_cast<QAL_LONG>(raw[last - 1].end), 0) != 0) {
                throw SystemFailure("cannot read " + Quoted(source.Name()), errno);
            }
        } else {
            throw std::bad_alloc();
        }
        next = last + 1;
        stored.lines.push_back(std::move(line));
    }
}

LineParts ParseLine(const StoredLine &line)
{
    LineParts parts;
    if (line.isTooLong) {
        parts.status = XELP_ERR_INI_LINE_TOO_LONG;
        return parts;
    }
    std::string copy = line.text; // the library takes a writable line, but does not write to it
    parts.status = IniGetLineType(copy.data(), &parts.kind);
    QAL_INT8 *pszName = nullptr;
    QAL_INT8 *pszValue = nullptr;
    QAL_INT8 *pszComment = nullptr;
    if (parts.kind == INI_SECTION_LINE) {
        parts.status = IniParseSectionLine(copy.data(), &pszName, &pszComment);
    } else if (parts.kind == INI_KEYVALUE_LINE) {
        parts.status = IniParseKeyLine(copy.data(), &pszName, &pszValue, &pszComment);
    }
    if (parts.status == XELP_ERR_INI_INTERNAL) {
        throw std::bad_alloc(); // a line that can be read must not be hidden
    }
    const LibraryText name(pszName);
    const LibraryText value(pszValue);
    const LibraryText comment(pszComment);
    if (name) {
        parts.name = name.get();
    }
    parts.value = ValueOf(value.get());
    if (comment) {
        parts.comment = comment.get();
    }
    return parts;
}

std::optional<std::string> ValueOf(const QAL_INT8 *strValue)
{
    if (strValue == nullptr) {
        return std::nullopt;
    }
    const std::string value(strValue);
    return value == "\n" || value == "\r" ? std::nullopt : std::optional(value);
}

bool IsSameName(const std::string &left, const std::string &right)
{
    return XELP_StriCmp(left.c_str(), right.c_str()) == 0;
}

std::string LineStatusText(QAL_UINT32 status)
{
    switch (status) {
        case XELP_ERR_INI_FILE_FORMAT:
            return "key before the first section header";
        case XELP_ERR_INI_SECTION:
            return "malformed section header: it is '[name]' from the first byte of the line, "
                   "without a further bracket; only a blank and a ';' comment may follow it";
        case XELP_ERR_INI_KEY_NAME:
            return "malformed key: there is none, or it holds a blank";
        case XELP_ERR_INI_KEY_VALUE:
            return "malformed value: a '\"' is not closed, or a ',' lacks the item before it, or "
                   "the blank and the item after it";
        case XELP_ERR_INI_COMMENT:
            return "';' without a blank before it";
        case XELP_ERR_INI_LINE_TOO_LONG:
            return "line of more than 511 bytes: the file does not load";
        default: // XELP_ERR_INI_LINE_UNKNOWN
            return "neither a section, a key, a comment nor blank";
    }
}

const char *KindName(const LineParts &parts)
{
    if (parts.IsUnreadable()) {
        return "error";
    }
    switch (parts.kind) {
        case INI_SECTION_LINE:
            return "section";
        case INI_KEYVALUE_LINE:
            return "key";
        case INI_COMENT_LINE:
            return "comment";
        default: // INI_BLANK_LINE or INI_INVALID_LINE
            return "blank";
    }
}

} // namespace wyx::tool
