#include "ini_support.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <ostream>
#include <utility>

namespace wyx::test {
namespace {

constexpr char kSite[] = "a test";

QAL_INT8 *MakeLine(const std::string &text)
{
    auto *const pszLine = static_cast<QAL_INT8 *>(
        XELP_MemMallocD(static_cast<QAL_UINT32>(text.size() + 1), 0, kSite));
    std::memcpy(pszLine, text.c_str(), text.size() + 1);
    return pszLine;
}

bool IsMemory(const Event &event)
{
    return event.what == "D" || event.what == "S" || event.what.starts_with("free");
}

template <typename Filter>
std::string TraceOf(Filter filter)
{
    std::string trace;
    for (const Event &event : PlatformDouble::Instance().Events()) {
        if (!filter(event)) {
            continue;
        }
        trace += trace.empty() ? "" : ", ";
        trace += event.what;
        if (event.what == "D" || event.what == "S" || event.what == "write") {
            trace += ' ';
            trace += std::to_string(event.size);
        } else if (event.what.starts_with("open") || event.what == "remove" ||
                   event.what == "rename") {
            trace += ' ';
            trace += event.file.empty() ? "\"\"" : event.file;
        }
    }
    return trace;
}

} // namespace

std::string Shown(std::string_view bytes)
{
    std::string shown = "\"";
    for (const char c : bytes) {
        const auto uc = static_cast<unsigned char>(c);
        switch (c) {
            case '\n':
                shown += "\\n";
                break;
            case '\r':
                shown += "\\r";
                break;
            case '\t':
                shown += "\\t";
                break;
            case '\\':
                shown += "\\\\";
                break;
            case '"':
                shown += "\\\"";
                break;
            default:
                if (uc >= 0x20 && uc < 0x7F) {
                    shown += c;
                } else {
                    shown += "\\x";
                    shown += "0123456789ABCDEF"[uc >> 4];
                    shown += "0123456789ABCDEF"[uc & 15];
                }
        }
    }
    return shown + '"';
}

void PrintTo(const Snapshot &snapshot, std::ostream *pOut)
{
    *pOut << "label " << snapshot.ulLabel << ", " << snapshot.ulLineNum << " of "
          << snapshot.ulTotalLine << " slots, " << snapshot.ulIniFileNum << " physical lines";
    for (std::size_t i = 0; i < snapshot.slots.size(); ++i) {
        if (i < snapshot.ulLineNum || snapshot.slots[i]) {
            *pOut << "\n  " << i << ": "
                  << (snapshot.slots[i] ? Shown(*snapshot.slots[i]) : "(none)");
        }
    }
}

Snapshot Loaded(Lines lines, QAL_UINT32 ulCapacity)
{
    Snapshot snapshot;
    snapshot.ulLineNum = static_cast<QAL_UINT32>(lines.size());
    snapshot.ulTotalLine = ulCapacity;
    snapshot.ulIniFileNum = snapshot.ulLineNum;
    snapshot.slots = std::move(lines);
    snapshot.slots.resize(ulCapacity);
    return snapshot;
}

Snapshot Look(const XELP_IN_S_INI_FILE_STRUCT &record)
{
    const PlatformDouble &platform = PlatformDouble::Instance();
    Snapshot snapshot{
        record.ulLabel, record.ulLineNum, record.ulTotalLine, record.ulIniFileNum, {}};
    if (record.pStrLine == nullptr) {
        return snapshot;
    }
    EXPECT_EQ(platform.SizeOf(record.pStrLine), std::size_t{record.ulTotalLine} * 8);
    snapshot.slots.reserve(record.ulTotalLine);
    for (QAL_UINT32 i = 0; i < record.ulTotalLine; ++i) {
        const QAL_INT8 *const pszLine = record.pStrLine[i];
        snapshot.slots.emplace_back();
        if (pszLine != nullptr) {
            snapshot.slots.back() = pszLine;
            EXPECT_EQ(platform.SizeOf(pszLine), snapshot.slots.back()->size() + 1) << "slot " << i;
        }
    }
    return snapshot;
}

Document::Document(const Lines &lines, QAL_UINT32 ulCapacity) : Document(Loaded(lines, ulCapacity))
{}

Document::Document(const Snapshot &snapshot)
    : XELP_IN_S_INI_FILE_STRUCT{snapshot.ulLabel, snapshot.ulLineNum, snapshot.ulTotalLine,
                                snapshot.ulIniFileNum, nullptr}
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.StartRecording(); // no earlier planned failure applies here
    if (ulTotalLine != 0) {
        pStrLine = static_cast<QAL_INT8 **>(
            XELP_MemMallocD(ulTotalLine * QAL_UINT32{sizeof *pStrLine}, 0, kSite));
    }
    for (QAL_UINT32 i = 0; i < ulTotalLine; ++i) {
        pStrLine[i] = snapshot.slots[i] ? MakeLine(*snapshot.slots[i]) : nullptr;
    }
    platform.StartRecording();
}

Document::~Document()
{
    for (QAL_UINT32 i = 0; i < ulTotalLine; ++i) {
        XELP_MemFreeD(pStrLine[i], 0, kSite);
    }
    XELP_MemFreeD(pStrLine, 0, kSite);
}

MaybeText TakeText(QAL_INT8 *pszText, std::size_t blockSize)
{
    if (pszText == nullptr) {
        return std::nullopt;
    }
    const auto size = PlatformDouble::Instance().SizeOf(pszText);
    if (!size) {
        ADD_FAILURE() << "not a block of the allocator";
        return std::nullopt;
    }
    std::string text = pszText;
    EXPECT_EQ(*size, blockSize != 0 ? blockSize : text.size() + 1) << Shown(text);
    XELP_MemFreeD(pszText, 0, kSite);
    return text;
}

std::string FullTrace()
{
    return TraceOf([](const Event &) { return true; });
}

std::string FileTrace()
{
    return TraceOf([](const Event &event) { return !IsMemory(event); });
}

void ExpectSites()
{
    for (const Event &event : PlatformDouble::Instance().Events()) {
        if (IsMemory(event) && event.file != kSite) {
            EXPECT_TRUE(event.file.starts_with("src/commlib/ini_parser/source/ini_parser") &&
                        event.file.ends_with(".cpp") && event.line != 0)
                << event.what << " by " << event.file << ":" << event.line;
        }
        EXPECT_NE(event.what, "S") << "an allocator the module does not use";
    }
}

std::string RandomText(Random &random, std::string_view bytes, std::size_t maxSize)
{
    std::string text;
    for (std::size_t left = random.UpTo(maxSize); left > 0; --left) {
        text += bytes[random.UpTo(bytes.size() - 1)];
    }
    return text;
}

Lines RandomLines(Random &random, const Lines &kinds, std::size_t common)
{
    Lines lines;
    for (std::size_t left = random.UpTo(12); left > 0; --left) {
        lines.push_back(kinds[random.UpTo(random.UpTo(9) == 0 ? kinds.size() - 1 : common - 1)]);
    }
    return lines;
}

} // namespace wyx::test
