#include "models.h"

#include <algorithm>
#include <utility>

namespace wyx::test::model {
namespace {

constexpr auto kNone = std::string_view::npos;
constexpr std::string_view kBlanks = "\t ";
constexpr std::string_view kWhite = "\t\n\r ";

bool IsOneOf(char c, std::string_view set)
{
    return set.find(c) != kNone;
}

/// The text without leading blanks and trailing white bytes. If all are white, one white byte is
/// left.
std::string_view Trimmed(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size() - 1));
    const std::size_t last = text.find_last_not_of(kWhite);
    return text.substr(0, last == kNone ? 1 : last + 1);
}

bool SameName(std::string_view left, std::string_view right)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [&](char l, char r) { return lower(l) == lower(r); });
}

/// Position of the first unescaped quotation mark from @p from on.
std::size_t QuoteFrom(std::string_view line, std::size_t from)
{
    std::size_t at = line.find('"', from);
    while (at != kNone && at > 0 && line[at - 1] == '\\') {
        at = line.find('"', at + 1);
    }
    return at;
}

void Discard(const Parts &parts, Heap &heap)
{
    for (const MaybeText *const pPart : {&parts.name, &parts.value, &parts.comment}) {
        heap.Give(*pPart ? 1 : 0);
    }
}

Parts Failed(QAL_UINT32 ulStatus, const Parts &sofar, Heap &heap)
{
    Discard(sofar, heap);
    Parts parts;
    parts.ulStatus = ulStatus;
    return parts;
}

} // namespace

bool Heap::Take(std::size_t size)
{
    calls_.push_back(size);
    ++ulTaken_;
    return ulFailAt_ == 0 || ulTaken_ < ulFailAt_ ||
           (ulTaken_ > ulFailAt_ && failure_ == Failure::kOnce);
}

void Heap::Give(std::size_t count)
{
    calls_.insert(calls_.end(), count, 0);
}

std::string Heap::Trace() const
{
    std::string trace;
    trace.reserve(8 * calls_.size());
    for (const std::size_t size : calls_) {
        trace += trace.empty() ? "" : ", ";
        trace += size == 0 ? "free" : "D " + std::to_string(size);
    }
    return trace;
}

ReadLine Read(std::string_view file, std::size_t at)
{
    using MaybeByte = std::optional<char>; // none after the end of the file
    const auto byteAt = [&](std::size_t i) { return i < file.size() ? file[i] : MaybeByte(); };
    const auto isEnd = [](MaybeByte byte) { return byte == '\n' || byte == '\r'; };

    ReadLine read;
    std::string text;
    std::size_t i = at;
    QAL_UINT32 ulLines = 1;
    bool hasMetEnd = false;
    for (bool isComplete = false; !isComplete && text.size() <= 511;) {
        const MaybeByte b0 = byteAt(i);
        const MaybeByte b1 = byteAt(i + 1);
        const MaybeByte b2 = byteAt(i + 2);
        if (!b0) {
            hasMetEnd = isComplete = true;
        } else if (isEnd(b0)) {
            text += *b0;
            ++i;
            if (text.size() > 511) {
                break;
            }
            if (!b1) {
                hasMetEnd = isComplete = true;
            } else if (isEnd(b1) && b1 != b0) {
                text += *b1;
                ++i;
                isComplete = true;
            } else if (b1 != '\\') { // a line that begins with a backslash is joined
                read.stepsBack = 1;
                isComplete = true;
            }
        } else if (b0 != '\\') {
            text += *b0;
            ++i;
        } else if (!b1) {
            ++i;
        } else if (!isEnd(b1)) {
            text += {*b0, *b1};
            i += 2;
        } else if (!b2) {
            i += 2;
        } else if (b2 == '\\') { // this backslash may begin the next continuation
            ++ulLines;
            i += 2;
        } else if (isEnd(b2) && b2 != b1) {
            ++ulLines;
            i += 3;
        } else {
            ++ulLines;
            text += *b2;
            i += 3;
            isComplete = isEnd(b2);
        }
    }
    read.next = i;
    read.reads = i - at + read.stepsBack + (hasMetEnd ? 1 : 0);
    if (text.size() > 511) {
        read.ulStatus = kLineTooLong;
        return read;
    }
    text = text.substr(0, text.find('\0'));
    if (text.empty()) {
        read.ulStatus = kFileEmpty;
        return read;
    }
    read.ulBytes = static_cast<QAL_UINT32>(text.size());
    read.ulLines = ulLines;
    read.line = isEnd(text.back()) ? text : text + '\r';
    return read;
}

QAL_UINT32 Load(std::string_view file, Snapshot &doc, Heap &heap)
{
    doc = {};
    if (!heap.Take(1600)) {
        return kInternal;
    }
    doc.ulTotalLine = 200;
    doc.slots.resize(200);
    QAL_UINT32 ulStatus = kOk;
    for (std::size_t at = 0; ulStatus == kOk;) {
        const ReadLine read = Read(file, at);
        at = read.next;
        ulStatus = read.ulStatus;
        if (ulStatus == kOk && !heap.Take(read.line.size() + 1)) {
            ulStatus = kInternal;
        }
        if (ulStatus == kOk) {
            doc.ulIniFileNum += read.ulLines;
            doc.slots[doc.ulLineNum++] = read.line;
            if (doc.ulLineNum + 1 >= doc.ulTotalLine) {
                ulStatus = Grow(doc, heap);
            }
        }
    }
    if (ulStatus == kFileEmpty) {
        return kOk;
    }
    heap.Give(doc.ulLineNum + 1);
    doc = {};
    return ulStatus;
}

QAL_UINT32 Grow(Snapshot &doc, Heap &heap)
{
    if (!heap.Take((doc.ulTotalLine + 50) * std::size_t{8})) {
        return kInternal;
    }
    heap.Give();
    doc.ulTotalLine += 50;
    doc.slots.resize(doc.ulTotalLine);
    return kOk;
}

XELP_INI_E_LINE_TYPE TypeOf(std::string_view line)
{
    const std::size_t first = line.find_first_not_of(kBlanks);
    if (first == kNone) {
        return INI_INVALID_LINE;
    }
    switch (line[first]) {
        case '[':
            return INI_SECTION_LINE;
        case '\n':
        case '\r':
            return INI_BLANK_LINE;
        case '#':
        case ';':
            return INI_COMENT_LINE;
        default:
            return line.find('=') != kNone ? INI_KEYVALUE_LINE : INI_ERROR_LINE;
    }
}

Parts ParseComment(std::string_view line, Heap &heap)
{
    Parts parts;
    const std::size_t at = line.find(" ;");
    if (at == kNone) {
        parts.ulStatus = kLineUnknown;
        return parts;
    }
    const std::string_view after = line.substr(at + 2);
    const std::string_view text = after.empty() ? after : Trimmed(after);
    parts.commentBlock = text.size() + 1;
    if (!heap.Take(parts.commentBlock)) {
        return Failed(kInternal, {}, heap);
    }
    parts.comment = text.empty() || IsOneOf(text[0], kWhite) ? "" : text;
    return parts;
}

Parts ParseSection(std::string_view line, Heap &heap)
{
    Parts parts;
    const std::size_t open = line.find('[');
    const std::size_t close = line.find(']');
    if (line.size() < 3 || open == kNone || close == kNone || close <= open + 1) {
        parts.ulStatus = kSection;
        return parts;
    }
    const std::string_view name = Trimmed(line.substr(open + 1, close - open - 1));
    if (IsOneOf(name[0], kBlanks)) {
        parts.ulStatus = kSection;
        return parts;
    }
    if (!heap.Take(name.size() + 1)) {
        return Failed(kInternal, {}, heap);
    }
    parts.name = name;
    const std::size_t rest = line.find_first_not_of(" \n\r", close + 1);
    if (rest == kNone) {
        return parts;
    }
    const Parts comment = ParseComment(line.substr(rest - 1), heap);
    if (comment.ulStatus != kOk) {
        return Failed(comment.ulStatus, parts, heap);
    }
    parts.comment = comment.comment;
    parts.commentBlock = comment.commentBlock;
    return parts;
}

namespace {

/// Position of the " ;" that ends the value that begins at @p begin, or kNone.
std::size_t CommentAfterValue(std::string_view line, std::size_t begin)
{
    if (begin == line.size() - 1) {
        return kNone; // a single byte is the value, whatever it is
    }
    const std::size_t semicolon = line.find(';', begin);
    if (semicolon == kNone || line[semicolon - 1] != ' ') {
        return kNone;
    }
    const std::size_t quote = QuoteFrom(line, semicolon + 1);
    if (quote == kNone) {
        return semicolon - 1;
    }
    return quote + 1 < line.size() - 1 ? CommentAfterValue(line, quote + 1) : kNone;
}

} // namespace

Parts ParseKey(std::string_view line, Heap &heap)
{
    Parts parts;
    const std::size_t equals = line.find('=');
    if (equals == kNone) {
        parts.ulStatus = kLineUnknown;
        return parts;
    }
    const std::string_view key = equals == 0 ? " " : Trimmed(line.substr(0, equals));
    if (IsOneOf(key[0], kWhite)) {
        parts.ulStatus = kKeyName;
        return parts;
    }
    if (!heap.Take(key.size() + 1)) {
        return Failed(kInternal, {}, heap);
    }
    parts.name = key;
    if (equals == line.size() - 1) {
        return parts;
    }

    const std::size_t begin =
        std::min(line.find_first_not_of(kBlanks, equals + 1), line.size() - 1);
    const std::size_t after = std::min(CommentAfterValue(line, begin), line.size());
    std::size_t next = after; // what follows the value
    if (after > begin) {
        const std::string_view value = Trimmed(line.substr(begin, after - begin));
        next = begin + value.size();
        if (!IsOneOf(value[0], kBlanks)) {
            if (!heap.Take(value.size() + 1)) {
                return Failed(kInternal, parts, heap);
            }
            parts.value = value;
        }
    }

    if (const std::size_t at = line.find(" ;", next); at != kNone) {
        const Parts comment = ParseComment(line.substr(at), heap);
        if (comment.ulStatus != kOk) {
            return Failed(comment.ulStatus, parts, heap);
        }
        parts.comment = comment.comment;
        parts.commentBlock = comment.commentBlock;
    }
    return parts;
}

QAL_UINT32 CheckSection(std::string_view line)
{
    const std::size_t close = line.find(']');
    if (line.size() < 3 || line[0] != '[' || close == kNone || close < 2) {
        return kSection;
    }
    const std::string_view name = Trimmed(line.substr(1, close - 1));
    if (name[0] == ' ' || name.find('[') != kNone) {
        return kSection;
    }
    const std::string_view after = line.substr(close + 1);
    if (after.empty()) {
        return kOk;
    }
    const std::string_view rest = Trimmed(after);
    if (rest == " " || rest == "\n" || rest == "\r") {
        return kOk;
    }
    return rest[0] == ';' && *(rest.data() - 1) == ' ' ? kOk : kSection;
}

namespace {

QAL_UINT32 CheckComment(std::string_view line, std::size_t semicolon)
{
    return IsOneOf(line[semicolon - 1], kBlanks) ? kOk : kComment;
}

QAL_UINT32 CheckItems(std::string_view line, std::size_t at);

/// Checks what follows an item that does not end at a comma.
QAL_UINT32 CheckAfterItem(std::string_view line, std::size_t at)
{
    at = line.find_first_not_of(kBlanks, at);
    if (at == kNone) {
        return kOk;
    }
    return line[at] == ';' ? CheckComment(line, at) : CheckItems(line, at);
}

/// Checks what follows a comma: a blank and an item.
QAL_UINT32 CheckAfterComma(std::string_view line, std::size_t comma)
{
    const std::size_t next = line.find_first_not_of(kBlanks, comma + 1);
    if (next == kNone || next == comma + 1 || IsOneOf(line[next], ",;")) {
        return kKeyValue;
    }
    return CheckItems(line, next);
}

QAL_UINT32 CheckItems(std::string_view line, std::size_t at)
{
    if (at >= line.size() - 1) {
        return kOk;
    }
    if (line[at] == '"') {
        const std::size_t close = QuoteFrom(line, at + 1);
        if (close == kNone) {
            return kKeyValue;
        }
        const std::size_t next = line.find_first_not_of(kBlanks, close + 1);
        return next != kNone && line[next] == ',' ? CheckAfterComma(line, next)
                                                  : CheckAfterItem(line, close + 1);
    }
    if (const std::size_t comma = line.find(',', at); comma != kNone) {
        return comma == at ? kKeyValue : CheckAfterComma(line, comma);
    }
    const std::size_t semicolon = line.find(';', at);
    return semicolon == kNone ? kOk : CheckAfterItem(line, semicolon);
}

} // namespace

QAL_UINT32 CheckKey(std::string_view line)
{
    const std::size_t equals = line.find('=');
    if (equals == kNone) {
        return kLineUnknown;
    }
    if (equals == 0) {
        return kKeyName;
    }
    const std::string_view key = Trimmed(line.substr(0, equals));
    if (IsOneOf(key[0], kWhite) || key.find(' ') != kNone) {
        return kKeyName;
    }
    if (equals == line.size() - 1) {
        return kOk;
    }
    const std::string_view value = Trimmed(line.substr(equals + 1));
    if (value.size() == 1 && IsOneOf(value[0], kWhite)) {
        return kOk;
    }
    const auto begin = static_cast<std::size_t>(value.data() - line.data());
    return value[0] == ';' ? CheckComment(line, begin) : CheckItems(line, begin);
}

QAL_UINT32 CheckFile(const Snapshot &doc, QAL_UINT32 &ulLineNo)
{
    QAL_UINT32 ulStatus = kFileEmpty;
    bool hasMetSection = false;
    for (QAL_UINT32 i = 0; i < doc.ulLineNum; ++i) {
        ulLineNo = i + 1;
        if (!doc.slots[i]) {
            continue;
        }
        const std::string &line = *doc.slots[i];
        if (line.empty()) {
            return kInputPara;
        }
        ulStatus = kOk;
        switch (TypeOf(line)) {
            case INI_SECTION_LINE:
                ulStatus = CheckSection(line);
                hasMetSection = true;
                break;
            case INI_KEYVALUE_LINE:
                ulStatus = hasMetSection ? CheckKey(line) : kFileFormat;
                break;
            case INI_ERROR_LINE:
                ulStatus = kLineUnknown;
                break;
            default:
                break;
        }
        if (ulStatus != kOk) {
            return ulStatus;
        }
    }
    return ulStatus;
}

namespace {

/// What a slot is to a walk.
enum class Kind { kSkip, kHeader, kKey, kBad };

Kind KindOf(const Line &line, QAL_UINT32 &ulStatus)
{
    if (!line) {
        return Kind::kSkip;
    }
    if (line->empty()) {
        ulStatus = kInputPara;
        return Kind::kBad;
    }
    switch (TypeOf(*line)) {
        case INI_SECTION_LINE:
            return Kind::kHeader;
        case INI_KEYVALUE_LINE:
            return Kind::kKey;
        case INI_ERROR_LINE:
            ulStatus = kLineUnknown;
            return Kind::kBad;
        default:
            return Kind::kSkip;
    }
}

/// The last block of a section: the slots from begin to end - 1.
struct Block {
    QAL_UINT32 ulStatus = kSectionNotFound;
    QAL_UINT32 ulBegin = 0;
    QAL_UINT32 ulEnd = 0;
};

Block FindBlock(const Snapshot &doc, std::string_view section, Heap &heap)
{
    Block block;
    block.ulEnd = doc.ulLineNum;
    for (QAL_UINT32 i = doc.ulLineNum; i-- > 0;) {
        const Kind kind = KindOf(doc.slots[i], block.ulStatus);
        if (kind == Kind::kBad) {
            return block;
        }
        if (kind == Kind::kHeader) {
            const Parts header = ParseSection(*doc.slots[i], heap);
            Discard(header, heap);
            if (header.ulStatus != kOk) {
                block.ulStatus = header.ulStatus;
                return block;
            }
            if (SameName(*header.name, section)) {
                block.ulStatus = kOk;
                block.ulBegin = i + 1;
                return block;
            }
            block.ulEnd = i;
        }
    }
    return block;
}

/// The last line of a key in a block, with its parts not yet released.
struct KeyLine {
    QAL_UINT32 ulStatus = kKeyNotFound;
    QAL_UINT32 ulAt = 0;
    Parts parts;
};

KeyLine FindKey(const Snapshot &doc, const Block &block, std::string_view key, Heap &heap)
{
    KeyLine found;
    for (QAL_UINT32 i = block.ulEnd; i-- > block.ulBegin;) {
        const Kind kind = KindOf(doc.slots[i], found.ulStatus);
        if (kind == Kind::kBad) {
            return found;
        }
        if (kind == Kind::kKey) {
            found.parts = ParseKey(*doc.slots[i], heap);
            if (found.parts.ulStatus != kOk) {
                found.ulStatus = found.parts.ulStatus;
                return found;
            }
            if (SameName(*found.parts.name, key)) {
                found.ulStatus = kOk;
                found.ulAt = i;
                return found;
            }
            Discard(found.parts, heap);
        }
    }
    return found;
}

Names Released(QAL_UINT32 ulStatus, const Names &names, Heap &heap)
{
    heap.Give(names.names.size() + 1);
    return {ulStatus, {}, static_cast<QAL_UINT32>(names.names.size())};
}

} // namespace

Value GetValue(const Snapshot &doc, std::string_view section, std::string_view key, Heap &heap)
{
    if (doc.ulLineNum == 0) {
        return {kFileEmpty, {}};
    }
    const Block block = FindBlock(doc, section, heap);
    if (block.ulStatus != kOk) {
        return {block.ulStatus, {}};
    }
    const KeyLine found = FindKey(doc, block, key, heap);
    if (found.ulStatus != kOk) {
        return {found.ulStatus, {}};
    }
    heap.Give(found.parts.comment ? 2 : 1);
    return {kOk, found.parts.value};
}

Names GetSections(const Snapshot &doc, Heap &heap)
{
    if (doc.ulLineNum == 0) {
        return {kFileEmpty, {}, 0};
    }
    if (!heap.Take((doc.ulLineNum + 1) * std::size_t{8})) {
        return {kInternal, {}, 0};
    }
    Names names;
    for (QAL_UINT32 i = 0; i < doc.ulLineNum; ++i) {
        QAL_UINT32 ulStatus = kOk;
        const Kind kind = KindOf(doc.slots[i], ulStatus);
        if (kind == Kind::kHeader) {
            const Parts header = ParseSection(*doc.slots[i], heap);
            ulStatus = header.ulStatus;
            if (ulStatus == kOk) {
                names.names.push_back(*header.name);
                heap.Give(header.comment ? 1 : 0);
            }
        }
        if (ulStatus != kOk) {
            return Released(ulStatus, names, heap);
        }
    }
    names.ulCount = static_cast<QAL_UINT32>(names.names.size());
    return names.names.empty() ? Released(kSectionNotFound, names, heap) : names;
}

Names GetKeys(const Snapshot &doc, std::string_view section, Heap &heap)
{
    if (doc.ulLineNum == 0) {
        return {kFileEmpty, {}, 0};
    }
    if (!heap.Take((doc.ulLineNum + 1) * std::size_t{8})) {
        return {kInternal, {}, 0};
    }
    Names names;
    const Block block = FindBlock(doc, section, heap);
    if (block.ulStatus != kOk) {
        return Released(block.ulStatus, names, heap);
    }
    for (QAL_UINT32 i = block.ulBegin; i < block.ulEnd; ++i) {
        QAL_UINT32 ulStatus = kOk;
        if (KindOf(doc.slots[i], ulStatus) == Kind::kKey) {
            const Parts key = ParseKey(*doc.slots[i], heap);
            ulStatus = key.ulStatus;
            if (ulStatus == kOk) {
                names.names.push_back(*key.name);
                heap.Give((key.value ? 1U : 0U) + (key.comment ? 1U : 0U));
            }
        }
        if (ulStatus != kOk) {
            return Released(ulStatus, names, heap);
        }
    }
    names.ulCount = static_cast<QAL_UINT32>(names.names.size());
    return names.names.empty() ? Released(kKeyNotFound, names, heap) : names;
}

QAL_UINT32 SaveString(Snapshot &doc, QAL_UINT32 ulAt, const MaybeText &text, Heap &heap)
{
    if (!text || text->empty()) {
        return kFileEmpty;
    }
    const bool stored = heap.Take(text->size() + 1);
    doc.slots[ulAt] = stored ? text : std::nullopt;
    doc.ulLabel = stored ? 1 : doc.ulLabel;
    return stored ? kOk : kInternal;
}

namespace {

/// Stores a line that was built in 512 bytes. A text that does not fit becomes empty, so it is
/// refused.
QAL_UINT32 SaveBuilt(Snapshot &doc, QAL_UINT32 ulAt, const std::string &text, Heap &heap)
{
    return SaveString(doc, ulAt, text.size() < 512 ? text : "", heap);
}

} // namespace

QAL_UINT32 SaveSection(Snapshot &doc, QAL_UINT32 ulAt, const MaybeText &name,
                       const MaybeText &comment, Heap &heap)
{
    if (!name || name->size() + comment.value_or("").size() > 507) {
        return kInputPara;
    }
    return SaveBuilt(doc, ulAt, "[" + *name + (comment ? "] ;" + *comment : "]") + "\n", heap);
}

QAL_UINT32 SaveKey(Snapshot &doc, QAL_UINT32 ulAt, const MaybeText &name, const MaybeText &value,
                   const MaybeText &comment, Heap &heap)
{
    if (!name || name->size() + value.value_or("").size() + comment.value_or("").size() > 508) {
        return kInputPara;
    }
    return SaveBuilt(doc, ulAt,
                     *name + "=" + value.value_or("") + (comment ? " ;" + *comment : "") + "\n",
                     heap);
}

QAL_UINT32 InsertKey(Snapshot &doc, QAL_UINT32 ulAfter, const MaybeText &name,
                     const MaybeText &value, const MaybeText &comment, Heap &heap)
{
    if (doc.ulLineNum + 1 >= doc.ulTotalLine) {
        if (const QAL_UINT32 ulStatus = Grow(doc, heap); ulStatus != kOk) {
            return ulStatus;
        }
    }
    const QAL_UINT32 ulAt = ulAfter + 1;
    if (doc.slots[ulAt]) {
        doc.slots.pop_back(); // an unused slot
        doc.slots.insert(doc.slots.begin() + ulAt, std::nullopt);
        ++doc.ulLineNum;
    } else if (ulAt == doc.ulLineNum) {
        ++doc.ulLineNum;
    }
    return SaveKey(doc, ulAt, name, value, comment, heap);
}

QAL_UINT32 InsertSection(Snapshot &doc, const MaybeText &name, Heap &heap)
{
    if (doc.ulLineNum + 1 >= doc.ulTotalLine) {
        if (const QAL_UINT32 ulStatus = Grow(doc, heap); ulStatus != kOk) {
            return ulStatus;
        }
    }
    const QAL_UINT32 ulStatus = SaveSection(doc, doc.ulLineNum, name, std::nullopt, heap);
    doc.ulLineNum += ulStatus == kOk ? 1 : 0;
    return ulStatus;
}

QAL_UINT32 SetValue(Snapshot &doc, std::string_view section, const MaybeText &key,
                    const MaybeText &value, Heap &heap)
{
    const Block block = FindBlock(doc, section, heap);
    if (block.ulStatus == kSectionNotFound) {
        const QAL_UINT32 ulStatus = InsertSection(doc, std::string(section), heap);
        return key ? InsertKey(doc, doc.ulLineNum - 1, key, value, std::nullopt, heap) : ulStatus;
    }
    if (block.ulStatus != kOk) {
        return block.ulStatus;
    }
    if (!key) {
        return kInputPara;
    }
    const KeyLine found = FindKey(doc, block, *key, heap);
    if (found.ulStatus == kKeyNotFound) {
        return InsertKey(doc, block.ulEnd - 1, key, value, std::nullopt, heap);
    }
    if (found.ulStatus != kOk) {
        return found.ulStatus;
    }
    heap.Give();
    doc.slots[found.ulAt].reset();
    const QAL_UINT32 ulStatus =
        SaveKey(doc, found.ulAt, found.parts.name, value, found.parts.comment, heap);
    Discard(found.parts, heap);
    return ulStatus;
}

namespace {

void Delete(Snapshot &doc, QAL_UINT32 ulAt, Heap &heap)
{
    heap.Give();
    doc.slots[ulAt].reset();
    doc.ulLabel = 1;
    --doc.ulIniFileNum;
}

/// Both deletions: walks every block of a section and deletes the lines of @p pKey, or all lines if
/// it is null.
QAL_UINT32 DeleteIn(Snapshot &doc, std::string_view section, const std::string_view *pKey,
                    Heap &heap)
{
    if (doc.ulLineNum == 0) {
        return kFileEmpty;
    }
    bool isInside = false;
    QAL_UINT32 ulResult = kSectionNotFound;
    for (QAL_UINT32 i = 0; i < doc.ulLineNum; ++i) {
        QAL_UINT32 ulStatus = kOk;
        const Kind kind = KindOf(doc.slots[i], ulStatus);
        if (kind == Kind::kBad) {
            return ulStatus;
        }
        if (kind == Kind::kHeader) {
            const Parts header = ParseSection(*doc.slots[i], heap);
            if (header.ulStatus != kOk) {
                return header.ulStatus;
            }
            isInside = SameName(*header.name, section);
            Discard(header, heap);
            if (isInside && ulResult == kSectionNotFound) {
                ulResult = pKey != nullptr ? kKeyNotFound : kOk;
            }
        }
        bool isDeleted = isInside && doc.slots[i] && pKey == nullptr;
        if (isInside && kind == Kind::kKey && pKey != nullptr) {
            const Parts parts = ParseKey(*doc.slots[i], heap);
            if (parts.ulStatus != kOk) {
                return parts.ulStatus;
            }
            isDeleted = SameName(*parts.name, *pKey);
            Discard(parts, heap);
        }
        if (isDeleted) {
            Delete(doc, i, heap);
            ulResult = kOk;
        }
    }
    return ulResult;
}

} // namespace

QAL_UINT32 DeleteSection(Snapshot &doc, std::string_view section, Heap &heap)
{
    return DeleteIn(doc, section, nullptr, heap);
}

QAL_UINT32 DeleteKey(Snapshot &doc, std::string_view section, std::string_view key, Heap &heap)
{
    return DeleteIn(doc, section, &key, heap);
}

std::vector<std::string> Fold(std::string_view line)
{
    std::vector<std::string> pieces;
    while (line.size() >= 80) {
        std::size_t run = 0; // number of non-ASCII bytes at the end of the first 78
        while (run < 78 && static_cast<unsigned char>(line[77 - run]) >= 0x80) {
            ++run;
        }
        const std::size_t length = 78 + run % 2;
        pieces.emplace_back(line.substr(0, length));
        pieces.emplace_back("\\\n");
        line.remove_prefix(length);
    }
    if (!line.empty()) {
        pieces.emplace_back(line);
    }
    return pieces;
}

std::string FileOf(const Snapshot &doc)
{
    std::string file;
    for (QAL_UINT32 i = 0; i < doc.ulLineNum; ++i) {
        for (const std::string &piece : Fold(doc.slots[i].value_or(""))) {
            file += piece;
        }
    }
    return file;
}

} // namespace wyx::test::model
