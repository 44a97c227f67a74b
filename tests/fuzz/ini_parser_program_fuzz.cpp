// The life of a document, directed by the input: load, look up, edit, save and load again. Each
// step is compared with the model, and some allocations and file calls fail.
#include "../ini_parser/ini_support.h"
#include "../ini_parser/models.h"
#include "fuzz_support.h"

namespace {

using namespace wyx::test;
using fuzz::Input;
using fuzz::Text;

constexpr char kTarget[] = "dir.d/conf.ini";
constexpr char kNewFile[] = "dir.d/conf1700000000123.ibk";
constexpr QAL_UINT64 kTime = 1700000000123;

/// A name or value, often one of a few, so that steps find each other's lines.
MaybeText TextOf(Input &input)
{
    static constexpr std::string_view kFew[] = {"a", "A", "b",   "k",  "key", " x ",
                                                "",  "=", "v;w", "\n", "\\",  "\x80\xFF"};
    const QAL_UINT32 ulChoice = input.Below(24);
    if (ulChoice < std::size(kFew)) {
        return std::string(kFew[ulChoice]);
    }
    if (ulChoice < 20) {
        return std::string(input.Text());
    }
    if (ulChoice < 23) { // about as long as a fold, half a line or a whole line
        static constexpr QAL_UINT32 kLengths[] = {74, 249, 498};
        return std::string(kLengths[ulChoice - 20] + input.Below(16),
                           static_cast<char>('a' + input.Below(4)));
    }
    return std::nullopt;
}

class Life {
  public:
    explicit Life(Input input) : input_(input)
    {
        platform_.UseMemoryDisk()[kTarget] = input_.Text();
        platform_.SetTime(kTime);
    }
    ~Life() { XELP_IniFreeIniStruct(&doc_); }
    Life(const Life &) = delete;
    Life &operator=(const Life &) = delete;

    void Run()
    {
        Load();
        for (int i = 0; i < 64 && !input_.IsEmpty() && !::testing::Test::HasFailure(); ++i) {
            Step();
        }
    }

  private:
    /// In about one step out of four, makes an allocation of the step fail.
    model::Heap Plan()
    {
        const QAL_UINT32 ulPlan = input_.Below(64);
        platform_.StartRecording();
        if (ulPlan == 0 || ulPlan > 16) {
            return model::Heap();
        }
        const QAL_UINT32 ulFailAt = (ulPlan + 1) / 2;
        const Failure failure = ulPlan % 2 == 0 ? Failure::kOnce : Failure::kFromThere;
        platform_.Fail(Service::kAllocate, ulFailAt, failure);
        return model::Heap(ulFailAt, failure);
    }

    /// Expects the model's status, document and memory calls.
    void Compare(QAL_UINT32 ulStatus, QAL_UINT32 ulExpected, const model::Heap &heap)
    {
        EXPECT_EQ(ulStatus, ulExpected);
        EXPECT_EQ(platform_.MemoryTrace(), heap.Trace());
        EXPECT_EQ(Look(doc_), expected_);
    }

    std::map<std::string, std::string> &Disk() { return *platform_.MemoryDisk(); }

    void Load()
    {
        XELP_IniFreeIniStruct(&doc_);
        model::Heap heap = Plan();
        const QAL_UINT32 ulStatus = XELP_IniGetFileContent(kTarget, &doc_);
        Compare(ulStatus, model::Load(Disk()[kTarget], expected_, heap), heap);
        if (doc_.pStrLine == nullptr) { // the next steps need a document
            Disk()[kTarget] = "[a]\r\nk = 1 ;one\r\n; two\r\n\r\n[A]\nk=2\nkey = \\\n3";
            platform_.StartRecording();
            model::Heap enough;
            EXPECT_EQ(XELP_IniGetFileContent(kTarget, &doc_), kOk);
            model::Load(Disk()[kTarget], expected_, enough);
        }
    }

    void Step()
    {
        const QAL_UINT32 ulStep = input_.Below(16);
        switch (ulStep) {
            case 0:
            case 1:
            case 2:
            case 3:
                return Set();
            case 4:
                return DeleteSection();
            case 5:
                return DeleteKey();
            case 6:
                return GetValue();
            case 7:
                return GetSections();
            case 8:
                return GetKeys();
            case 9:
                return InsertKey();
            case 10:
                return InsertSection();
            case 11:
                return Check();
            case 12:
            case 13:
                return Replace();
            default:
                Save();
                return Load();
        }
    }

    void Set()
    {
        const Text section(TextOf(input_).value_or(""));
        const MaybeText key = TextOf(input_);
        const MaybeText value = TextOf(input_);
        const Text keyText(key.value_or(""));
        const Text valueText(value.value_or(""));
        model::Heap heap = Plan();
        const QAL_UINT32 ulStatus = XELP_IniSetKeyValue(
            &doc_, section.Get(), key ? keyText.Get() : nullptr, value ? valueText.Get() : nullptr);
        Compare(ulStatus, model::SetValue(expected_, section.Get(), key, value, heap), heap);
    }

    void DeleteSection()
    {
        const Text section(TextOf(input_).value_or(""));
        model::Heap heap = Plan();
        const QAL_UINT32 ulStatus = XELP_IniDelSection(&doc_, section.Get());
        Compare(ulStatus, model::DeleteSection(expected_, section.Get(), heap), heap);
    }

    void DeleteKey()
    {
        const Text section(TextOf(input_).value_or(""));
        const Text key(TextOf(input_).value_or(""));
        model::Heap heap = Plan();
        const QAL_UINT32 ulStatus = XELP_IniDelKey(&doc_, section.Get(), key.Get());
        Compare(ulStatus, model::DeleteKey(expected_, section.Get(), key.Get(), heap), heap);
    }

    void GetValue()
    {
        const Text section(TextOf(input_).value_or(""));
        const Text key(TextOf(input_).value_or(""));
        model::Heap heap = Plan();
        QAL_INT8 *pszValue = Sentinel();
        const QAL_UINT32 ulStatus = XELP_IniGetKeyValue(&doc_, section.Get(), key.Get(), &pszValue);
        const model::Value value = model::GetValue(expected_, section.Get(), key.Get(), heap);
        Compare(ulStatus, value.ulStatus, heap);
        if (ulStatus == kFileEmpty) {
            EXPECT_EQ(pszValue, Sentinel());
        } else {
            EXPECT_EQ(TakeText(pszValue), value.value);
        }
    }

    void CompareNames(QAL_UINT32 ulStatus, QAL_UINT32 ulCount, QAL_INT8 **ppszNames,
                      const model::Names &names, const model::Heap &heap)
    {
        Compare(ulStatus, names.ulStatus, heap);
        if (ulStatus != kFileEmpty) {
            EXPECT_EQ(ulCount, names.ulCount);
        }
        if (ulStatus == kOk) {
            std::vector<std::string> got;
            for (QAL_UINT32 i = 0; ppszNames[i] != nullptr; ++i) {
                got.emplace_back(ppszNames[i]);
            }
            EXPECT_EQ(got, names.names);
            XELP_IniFreeList(ppszNames);
        }
    }

    void GetSections()
    {
        model::Heap heap = Plan();
        QAL_UINT32 ulCount = 0;
        QAL_INT8 **ppszNames = nullptr;
        const QAL_UINT32 ulStatus = XELP_IniGetSectionList(&doc_, &ulCount, &ppszNames);
        const model::Names names = model::GetSections(expected_, heap);
        CompareNames(ulStatus, ulCount, ppszNames, names, heap);
    }

    void GetKeys()
    {
        const Text section(TextOf(input_).value_or(""));
        model::Heap heap = Plan();
        QAL_UINT32 ulCount = 0;
        QAL_INT8 **ppszNames = nullptr;
        const QAL_UINT32 ulStatus = XELP_IniGetKeyList(&doc_, section.Get(), &ulCount, &ppszNames);
        const model::Names names = model::GetKeys(expected_, section.Get(), heap);
        CompareNames(ulStatus, ulCount, ppszNames, names, heap);
    }

    void InsertKey()
    {
        if (doc_.ulLineNum == 0) {
            return;
        }
        const QAL_UINT32 ulAfter = input_.Word() % doc_.ulLineNum;
        const MaybeText name = TextOf(input_);
        const MaybeText value = TextOf(input_);
        const MaybeText comment = TextOf(input_);
        model::Heap heap = Plan();
        const QAL_UINT32 ulStatus =
            IniInsertKeyInIniStruct(&doc_, ulAfter, Arg(name), Arg(value), Arg(comment));
        Compare(ulStatus, model::InsertKey(expected_, ulAfter, name, value, comment, heap), heap);
    }

    void InsertSection()
    {
        const MaybeText name = TextOf(input_);
        model::Heap heap = Plan();
        const QAL_UINT32 ulStatus = IniInsertSectionToIniStruct(&doc_, Arg(name));
        Compare(ulStatus, model::InsertSection(expected_, name, heap), heap);
    }

    void Check()
    {
        platform_.StartRecording();
        QAL_UINT32 ulLineNo = 4711;
        QAL_UINT32 ulExpectedNo = 4711;
        const QAL_UINT32 ulStatus = XELP_IniCheckFile(&doc_, &ulLineNo);
        Compare(ulStatus, model::CheckFile(expected_, ulExpectedNo), model::Heap());
        EXPECT_EQ(ulLineNo, ulExpectedNo);
    }

    /// Releases a line, and stores another in its slot.
    void Replace()
    {
        if (doc_.ulLineNum == 0) {
            return;
        }
        const QAL_UINT32 ulAt = input_.Word() % doc_.ulLineNum;
        XELP_MemFreeD(doc_.pStrLine[ulAt], 0, "a target");
        doc_.pStrLine[ulAt] = nullptr;
        expected_.slots[ulAt].reset();
        const MaybeText name = TextOf(input_);
        const MaybeText comment = TextOf(input_);
        const bool isSection = input_.Below(2) == 0;
        model::Heap heap = Plan();
        if (isSection) {
            const QAL_UINT32 ulStatus =
                IniSaveSectionToIniStruct(&doc_, ulAt, Arg(name), Arg(comment));
            Compare(ulStatus, model::SaveSection(expected_, ulAt, name, comment, heap), heap);
        } else {
            const QAL_UINT32 ulStatus = IniSaveStringToIniStruct(&doc_, ulAt, Arg(name));
            Compare(ulStatus, model::SaveString(expected_, ulAt, name, heap), heap);
        }
    }

    /// Saves, perhaps with one call to the platform failing, and checks the disk.
    void Save()
    {
        const std::string old = Disk()[kTarget];
        const std::string whole = model::FileOf(expected_);
        const bool isChanged = doc_.ulLabel == 1;
        platform_.StartRecording();
        const QAL_UINT32 ulPlan = input_.Below(16);
        switch (ulPlan) {
            case 0:
                platform_.Fail(Service::kAllocate, 1);
                break;
            case 1: // the first open only looks whether the new file exists
                platform_.Fail(Service::kOpen, 2);
                break;
            case 2:
                platform_.Fail(Service::kWrite, 1 + input_.Byte(), Failure::kOnce, input_.Byte());
                break;
            case 3:
                platform_.Fail(Service::kRemove, 1);
                break;
            case 4:
                platform_.Fail(Service::kRename, 1);
                break;
            case 5:
                platform_.Fail(Service::kRemove, 2);
                break;
            case 6:
                platform_.Fail(Service::kClose, 1);
                break;
            case 7:
                Disk()[kNewFile] = "somebody else's";
                break;
            default:
                break;
        }
        const QAL_UINT32 ulStatus = XELP_IniSaveFileContent(kTarget, &doc_);
        QAL_UINT32 ulExpected = kOk;
        std::map<std::string, std::string> disk = {{kTarget, old}};
        if (ulPlan == 7) {
            disk[kNewFile] = "somebody else's";
        }
        if (isChanged) {
            switch (platform_.HasFailed() || ulPlan == 7 ? ulPlan : 16) {
                case 0:
                    ulExpected = kInternal;
                    break;
                case 1:
                    ulExpected = kCreateFile;
                    break;
                case 2:
                case 7:
                    ulExpected = kWriteFile;
                    break;
                case 3:
                    ulExpected = kCreateFile;
                    disk[kNewFile] = whole;
                    break;
                case 4:
                    ulExpected = kCreateFile;
                    disk = {{kNewFile, whole}};
                    break;
                default:
                    disk = {{kTarget, whole}};
                    break;
            }
        }
        EXPECT_EQ(ulStatus, ulExpected);
        EXPECT_EQ(Disk(), disk);
        expected_ = {};
        EXPECT_EQ(Look(doc_), expected_);
        if (!Disk().contains(kTarget)) {
            Disk()[kTarget] = Disk()[kNewFile];
        }
        Disk().erase(kNewFile);
    }

    PlatformDouble &platform_ = PlatformDouble::Instance();
    Input input_;
    XELP_IN_S_INI_FILE_STRUCT doc_{};
    Snapshot expected_;
};

} // namespace

WYX_FUZZ_TARGET(ini_parser_program)
{
    Life(input).Run();
}
