// The grammar of a line and the check of a document.
//
// The input is a document. Each line ends at a NUL, so it may hold anything else. A line that is a
// single byte 0xFF stands for a removed line.
#include "../ini_parser/ini_support.h"
#include "../ini_parser/models.h"
#include "fuzz_support.h"

namespace {

using namespace wyx::test;
using fuzz::Text;

void CompareParts(const model::Parts &expected, QAL_UINT32 ulStatus, QAL_INT8 *pszName,
                  QAL_INT8 *pszValue, QAL_INT8 *pszComment, const model::Heap &heap)
{
    EXPECT_EQ(ulStatus, expected.ulStatus);
    EXPECT_EQ(PlatformDouble::Instance().MemoryTrace(), heap.Trace());
    EXPECT_EQ(TakeText(pszName), expected.name);
    EXPECT_EQ(TakeText(pszValue), expected.value);
    EXPECT_EQ(TakeText(pszComment, expected.commentBlock), expected.comment);
}

/// Runs @p call with no allocation failing, and then with each allocation failing in turn.
template <typename Call>
void FailEach(Call call)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    for (QAL_UINT32 ulFailAt = 0;; ++ulFailAt) {
        platform.StartRecording();
        if (ulFailAt != 0) {
            platform.Fail(Service::kAllocate, ulFailAt);
        }
        model::Heap heap(ulFailAt);
        call(heap);
        if (ulFailAt != 0 && !platform.HasFailed()) {
            break;
        }
    }
    platform.StartRecording();
}

void CompareLine(std::string_view line)
{
    const Text text(line);
    QAL_INT8 *const pszLine = text.Get();
    if (!line.empty()) {
        XELP_INI_E_LINE_TYPE type = INI_LINE_BUTT;
        const QAL_UINT32 ulStatus = IniGetLineType(pszLine, &type);
        EXPECT_EQ(type, model::TypeOf(line));
        EXPECT_EQ(ulStatus, type == INI_ERROR_LINE ? kLineUnknown : kOk);
    }
    EXPECT_EQ(IniCheckSectionLine(pszLine), model::CheckSection(line));
    EXPECT_EQ(IniCheckKeyLine(pszLine), model::CheckKey(line));
    FailEach([&](model::Heap &heap) {
        QAL_INT8 *pszComment = Sentinel();
        const QAL_UINT32 ulStatus = IniParseCommentLine(pszLine, &pszComment);
        CompareParts(model::ParseComment(line, heap), ulStatus, nullptr, nullptr, pszComment, heap);
    });
    FailEach([&](model::Heap &heap) {
        QAL_INT8 *pszName = Sentinel();
        QAL_INT8 *pszComment = Sentinel();
        const QAL_UINT32 ulStatus = IniParseSectionLine(pszLine, &pszName, &pszComment);
        CompareParts(model::ParseSection(line, heap), ulStatus, pszName, nullptr, pszComment, heap);
    });
    FailEach([&](model::Heap &heap) {
        QAL_INT8 *pszName = Sentinel();
        QAL_INT8 *pszValue = Sentinel();
        QAL_INT8 *pszComment = Sentinel();
        const QAL_UINT32 ulStatus = IniParseKeyLine(pszLine, &pszName, &pszValue, &pszComment);
        CompareParts(model::ParseKey(line, heap), ulStatus, pszName, pszValue, pszComment, heap);
    });
}

} // namespace

WYX_FUZZ_TARGET(ini_parser_grammar)
{
    Lines lines;
    while (!input.IsEmpty() && lines.size() < 100) {
        const std::string_view line = input.Text();
        lines.push_back(line == "\xFF" ? Line{} : Line{line});
        CompareLine(line);
    }
    const Document doc(lines);
    QAL_UINT32 ulLineNo = 4711;
    QAL_UINT32 ulExpectedNo = 4711;
    const QAL_UINT32 ulStatus = XELP_IniCheckFile(&doc, &ulLineNo);
    EXPECT_EQ(ulStatus, model::CheckFile(Look(doc), ulExpectedNo));
    EXPECT_EQ(ulLineNo, ulExpectedNo);
}
