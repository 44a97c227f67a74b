// A second implementation of the INI module, slow and obvious: it uses strings instead of pointers,
// and looks ahead instead of keeping a state. The tests compare everything that a caller can see of
// the two, including allocations.
#ifndef WYX_TESTS_INI_PARSER_MODELS_H
#define WYX_TESTS_INI_PARSER_MODELS_H

#include <string>
#include <string_view>
#include <vector>

#include "ini_support.h"

namespace wyx::test::model {

/// What a call requests from the allocator, in the form of PlatformDouble::MemoryTrace().
class Heap {
  public:
    /// The @p ulFailAt-th request fails (counted from 1; 0: none does). With Failure::kFromThere,
    /// all later requests fail, too.
    explicit Heap(QAL_UINT32 ulFailAt = 0, Failure failure = Failure::kOnce)
        : ulFailAt_(ulFailAt), failure_(failure)
    {}

    /// Requests one block; false if there is no memory.
    bool Take(std::size_t size);
    void Give(std::size_t count = 1);
    std::string Trace() const;

  private:
    std::vector<std::size_t> calls_; // sizes; 0: a release
    QAL_UINT32 ulFailAt_;
    Failure failure_;
    QAL_UINT32 ulTaken_ = 0;
};

/// One line read from a file.
struct ReadLine {
    QAL_UINT32 ulStatus = 0;
    std::string line;       ///< as stored
    QAL_UINT32 ulBytes = 0; ///< without an appended CR
    QAL_UINT32 ulLines = 0; ///< physical lines
    std::size_t next = 0;   ///< where the next line begins
    std::size_t reads = 0;  ///< calls that read a byte or reached the end
    std::size_t stepsBack = 0;
};

/// Reads the line at @p at as if there were memory for its block.
ReadLine Read(std::string_view file, std::size_t at);

/// Loads a file into a document.
QAL_UINT32 Load(std::string_view file, Snapshot &doc, Heap &heap);

QAL_UINT32 Grow(Snapshot &doc, Heap &heap);

/// The parts of a line.
struct Parts {
    QAL_UINT32 ulStatus = 0;
    MaybeText name;
    MaybeText value;
    MaybeText comment;
    std::size_t commentBlock = 0; ///< size of the comment's block; an empty comment may need less
};

XELP_INI_E_LINE_TYPE TypeOf(std::string_view line); // not empty
Parts ParseComment(std::string_view line, Heap &heap);
Parts ParseSection(std::string_view line, Heap &heap);
Parts ParseKey(std::string_view line, Heap &heap);
QAL_UINT32 CheckSection(std::string_view line);
QAL_UINT32 CheckKey(std::string_view line);
QAL_UINT32 CheckFile(const Snapshot &doc, QAL_UINT32 &ulLineNo);

struct Value {
    QAL_UINT32 ulStatus = 0;
    MaybeText value;
};
Value GetValue(const Snapshot &doc, std::string_view section, std::string_view key, Heap &heap);

struct Names {
    QAL_UINT32 ulStatus = 0;
    std::vector<std::string> names;
    QAL_UINT32 ulCount = 0; ///< names found, even if they were released again
};
Names GetSections(const Snapshot &doc, Heap &heap);
Names GetKeys(const Snapshot &doc, std::string_view section, Heap &heap);

QAL_UINT32 SaveString(Snapshot &doc, QAL_UINT32 ulAt, const MaybeText &text, Heap &heap);
QAL_UINT32 SaveSection(Snapshot &doc, QAL_UINT32 ulAt, const MaybeText &name,
                       const MaybeText &comment, Heap &heap);
QAL_UINT32 SaveKey(Snapshot &doc, QAL_UINT32 ulAt, const MaybeText &name, const MaybeText &value,
                   const MaybeText &comment, Heap &heap);
QAL_UINT32 InsertKey(Snapshot &doc, QAL_UINT32 ulAfter, const MaybeText &name,
                     const MaybeText &value, const MaybeText &comment, Heap &heap);
QAL_UINT32 InsertSection(Snapshot &doc, const MaybeText &name, Heap &heap);
QAL_UINT32 SetValue(Snapshot &doc, std::string_view section, const MaybeText &key,
                    const MaybeText &value, Heap &heap);
QAL_UINT32 DeleteSection(Snapshot &doc, std::string_view section, Heap &heap);
QAL_UINT32 DeleteKey(Snapshot &doc, std::string_view section, std::string_view key, Heap &heap);

/// The pieces in which a line is written to a file.
std::vector<std::string> Fold(std::string_view line);
/// A document as it is written to a file.
std::string FileOf(const Snapshot &doc);

} // namespace wyx::test::model

#endif
