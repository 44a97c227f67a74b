// The INI module. The models compute the document after a call that ran out of memory.
#include <cstring>

#include "../../ini_parser/ini_support.h"
#include "../../ini_parser/models.h"
#include "trial.h"

namespace {

using namespace wyx::test;

constexpr QAL_UINT64 kTime = 1700000000123;
constexpr char kTarget[] = "conf.ini";
constexpr char kNewFile[] = "conf1700000000123.ibk";

const Lines kDocument = {"; about\n", "[a] ;one\n", "k = 1 ;note\n", std::nullopt,
                         "x=y\n",     "[b]\r\n",    "k=2\r\n"};

/// The model's memory for the next call of a trial.
model::Heap HeapOf(const Trial &trial)
{
    const Fault &fault = trial.TheFault();
    return fault.service == Service::kAllocate ? model::Heap(fault.n, fault.failure)
                                               : model::Heap();
}

/// Compares a document with its model, after a disturbed call and after an undisturbed one.
template <typename Call, typename Model>
void Compare(Trial &trial, const Lines &lines, QAL_UINT32 ulCapacity, Call call, Model model)
{
    Document doc(lines, ulCapacity);
    Snapshot expected = Look(doc);
    for (int iRound = 0; iRound < 2; ++iRound) {
        model::Heap heap = HeapOf(trial);
        const QAL_UINT32 ulStatus = call(doc);
        EXPECT_EQ(ulStatus, model(expected, heap));
        EXPECT_EQ(Look(doc), expected);
        trial.Lift();
    }
}

} // namespace

// ---- files ----

namespace {

constexpr std::string_view kFile = "[a]\r\nk=1\nx=\\\n2\n\r\n\ny=\\\\z\\";

/// The result of loading if the @p n-th read reports the end of the file, once or for good.
Snapshot LoadedUpTo(QAL_UINT32 n, Failure failure)
{
    Snapshot doc;
    model::Heap heap;
    std::size_t at = 0;
    for (QAL_UINT32 ulReads = 0;;) {
        const model::ReadLine line = model::Read(kFile, at);
        if (ulReads + line.reads >= n) {
            const std::size_t end = at + n - ulReads - 1;
            const std::string_view read = kFile.substr(0, end);
            model::Load(read, doc, heap);
            // A line cut off there counts as a line, and the load goes on; without one, it ends.
            if (failure == Failure::kOnce && model::Read(read, at).ulStatus == kOk) {
                Snapshot rest;
                model::Load(kFile.substr(end), rest, heap);
                for (QAL_UINT32 i = 0; i < rest.ulLineNum; ++i) {
                    doc.slots[doc.ulLineNum++] = rest.slots[i];
                }
                doc.ulIniFileNum += rest.ulIniFileNum;
            }
            return doc;
        }
        ulReads += static_cast<QAL_UINT32>(line.reads);
        at = line.next;
    }
}

} // namespace

WYX_SCENARIO(IniLoad)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.UseMemoryDisk()[kTarget] = kFile;
    for (int iRound = 0; iRound < 2; ++iRound) {
        XELP_IN_S_INI_FILE_STRUCT doc;
        std::memset(&doc, 0xA5, sizeof doc);
        const Fault &fault = trial.TheFault();
        model::Heap heap = HeapOf(trial);
        Snapshot expected;
        QAL_UINT32 ulExpected = model::Load(kFile, expected, heap);
        const QAL_UINT32 ulStatus = WYX_CALL(XELP_IniGetFileContent, kTarget, &doc);
        if (trial.Struck(Service::kOpen)) {
            expected = {};
            ulExpected = kOpenFile;
        } else if (trial.Struck(Service::kSeek)) {
            expected = {};
            ulExpected = kInternal;
        } else if (trial.Struck(Service::kRead)) { // looks like the end of the file
            expected = LoadedUpTo(fault.n, fault.failure);
        }
        EXPECT_EQ(ulStatus, ulExpected);
        EXPECT_EQ(Look(doc), expected);
        EXPECT_EQ(platform.LiveFiles(), 0U);
        WYX_CALL(XELP_IniFreeIniStruct, &doc);
        EXPECT_EQ(Look(doc), Snapshot{});
        trial.Lift();
    }
}

WYX_SCENARIO(IniLoadGrowing)
{
    std::string file;
    for (int i = 0; i < 250; ++i) {
        file += "k=v\n";
    }
    PlatformDouble::Instance().UseMemoryDisk()[kTarget] = file;
    if (trial.TheFault().service != Service::kAllocate) {
        trial.Lift(); // IniLoad disturbs the file calls; here there are a thousand of them
    }
    for (int iRound = 0; iRound < 2; ++iRound) {
        XELP_IN_S_INI_FILE_STRUCT doc{};
        model::Heap heap = HeapOf(trial);
        Snapshot expected;
        const QAL_UINT32 ulStatus = WYX_CALL(XELP_IniGetFileContent, kTarget, &doc);
        EXPECT_EQ(ulStatus, model::Load(file, expected, heap));
        EXPECT_EQ(Look(doc), expected);
        WYX_CALL(XELP_IniFreeIniStruct, &doc);
        trial.Lift();
    }
}

WYX_SCENARIO(IniGetOneLine)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.UseMemoryDisk()[kTarget] = "ab\\\ncd\nx";
    for (int iRound = 0; iRound < 2; ++iRound) {
        XELP_S_File *const pstruFile = XELP_Fopen(kTarget, "r");
        QAL_INT8 *pszLine = Sentinel();
        QAL_UINT32 ulBytes = 7;
        QAL_UINT32 ulLines = 7;
        const QAL_UINT32 ulStatus =
            WYX_CALL(IniGetOneLine, &pszLine, pstruFile, &ulBytes, &ulLines);
        if (trial.Struck(Service::kAllocate)) {
            EXPECT_EQ(ulStatus, kInternal);
            EXPECT_EQ(pszLine, nullptr);
        } else if (trial.Struck(Service::kSeek)) {
            EXPECT_EQ(ulStatus, kInternal);
            EXPECT_EQ(pszLine, Sentinel());
        } else if (trial.Struck(Service::kRead) && trial.TheFault().n == 1) {
            EXPECT_EQ(ulStatus, kFileEmpty);
            EXPECT_EQ(pszLine, Sentinel());
        } else {
            const QAL_UINT32 n = trial.Struck(Service::kRead) ? trial.TheFault().n : 8;
            const model::ReadLine expected =
                model::Read(std::string_view("ab\\\ncd\nx").substr(0, n - 1), 0);
            EXPECT_EQ(ulStatus, kOk);
            EXPECT_EQ(ulBytes, expected.ulBytes);
            EXPECT_EQ(ulLines, expected.ulLines);
            EXPECT_EQ(TakeText(pszLine), expected.line);
        }
        if (ulStatus != kOk) {
            EXPECT_EQ(ulBytes, 0U);
            EXPECT_EQ(ulLines, 0U);
        }
        XELP_Fclose(pstruFile);
        trial.Lift();
    }
}

namespace {

/// Saves a changed document under a fault, then again without one.
void Save(Trial &trial, bool isNewFileThere)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    std::map<std::string, std::string> &disk = platform.UseMemoryDisk();
    platform.SetTime(kTime);
    const std::string longLine = "k=" + std::string(200, 'v') + "\n"; // several writes
    const std::string whole = model::FileOf(Loaded({"[a]\n", longLine, "x=y\n"}));
    for (int iRound = 0; iRound < 2; ++iRound) {
        disk = {{kTarget, "old"}};
        if (isNewFileThere) {
            disk[kNewFile] = "somebody else's";
        }
        std::map<std::string, std::string> expected = disk;
        Document doc(Lines{"[a]\n", std::nullopt, longLine, "x=y\n"});
        doc.ulLabel = 1;
        const QAL_UINT32 ulStatus = WYX_CALL(XELP_IniSaveFileContent, kTarget, &doc);

        QAL_UINT32 ulExpected = kOk;
        const bool isFirst = trial.TheFault().n == 1;
        if (trial.Struck(Service::kAllocate)) {
            ulExpected = kInternal;
        } else if (trial.Struck(Service::kOpen) &&
                   !(isFirst && trial.TheFault().failure == Failure::kOnce)) {
            ulExpected = kCreateFile;
        } else if (isNewFileThere && !trial.Struck(Service::kOpen)) {
            ulExpected = kWriteFile;
        } else if (trial.Struck(Service::kWrite)) {
            ulExpected = kWriteFile;
        } else if (trial.Struck(Service::kRemove) && isFirst) {
            ulExpected = kCreateFile;
            expected[kNewFile] = whole;
        } else if (trial.Struck(Service::kRename)) {
            ulExpected = kCreateFile;
            expected = {{kNewFile, whole}};
        } else { // the probe, a close, and the removal after the renaming may fail unnoticed
            expected = {{kTarget, whole}};
        }
        EXPECT_EQ(ulStatus, ulExpected);
        EXPECT_EQ(disk, expected);
        EXPECT_EQ(Look(doc), Snapshot{}) << "the document is released whatever happens";
        trial.Lift();
    }
}

} // namespace

WYX_SCENARIO(IniSave)
{
    Save(trial, false);
}

WYX_SCENARIO(IniSaveOntoALeftover)
{
    Save(trial, true);
}

WYX_SCENARIO(IniSaveUnchanged)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.UseMemoryDisk()[kTarget] = "old";
    Document doc(kDocument);
    EXPECT_EQ(WYX_CALL(XELP_IniSaveFileContent, kTarget, &doc), kOk);
    EXPECT_EQ((*platform.MemoryDisk())[kTarget], "old");
    EXPECT_EQ(Look(doc), Snapshot{});
}

WYX_SCENARIO(IniSaveStringToIniFile)
{
    std::map<std::string, std::string> &disk = PlatformDouble::Instance().UseMemoryDisk();
    const std::string line = std::string(170, 'v') + "\n";
    for (int iRound = 0; iRound < 2; ++iRound) {
        XELP_S_File *const pstruFile = XELP_Fopen(kTarget, "w");
        const QAL_UINT32 ulStatus = WYX_CALL(IniSaveStringToIniFile, pstruFile, Arg(line));
        EXPECT_EQ(ulStatus, trial.Struck(Service::kWrite) ? kWriteFile : kOk);
        std::string whole;
        for (const std::string &piece : model::Fold(line)) {
            whole += piece;
        }
        if (trial.Struck()) {
            EXPECT_TRUE(whole.starts_with(disk[kTarget])); // and nothing after the short write
            EXPECT_LT(disk[kTarget].size(), whole.size());
        } else {
            EXPECT_EQ(disk[kTarget], whole);
        }
        XELP_Fclose(pstruFile);
        trial.Lift();
    }
}

// ---- the grammar ----

WYX_SCENARIO(IniParseLines)
{
    for (int iRound = 0; iRound < 2; ++iRound) {
        QAL_INT8 *pszName = Sentinel();
        QAL_INT8 *pszValue = Sentinel();
        QAL_INT8 *pszComment = Sentinel();
        QAL_UINT32 ulStatus =
            WYX_CALL(IniParseKeyLine, Arg("k = 1 ;c\n"), &pszName, &pszValue, &pszComment);
        const bool struck = trial.Struck();
        EXPECT_EQ(ulStatus, struck ? kInternal : kOk);
        EXPECT_EQ(TakeText(pszName), struck ? MaybeText() : "k");
        EXPECT_EQ(TakeText(pszValue), struck ? MaybeText() : "1");
        EXPECT_EQ(TakeText(pszComment), struck ? MaybeText() : "c");

        ulStatus = WYX_CALL(IniParseSectionLine, "[a] ;c\n", &pszName, &pszComment);
        EXPECT_EQ(ulStatus, trial.Struck() ? kInternal : kOk);
        EXPECT_EQ(TakeText(pszName), trial.Struck() ? MaybeText() : "a");
        EXPECT_EQ(TakeText(pszComment), trial.Struck() ? MaybeText() : "c");

        for (const char *const pszLine : {"x ;c\n", "x ;"}) {
            ulStatus = WYX_CALL(IniParseCommentLine, pszLine, &pszComment);
            EXPECT_EQ(ulStatus, trial.Struck() ? kInternal : kOk);
            EXPECT_EQ(TakeText(pszComment), trial.Struck()       ? MaybeText()
                                            : pszLine[3] == '\0' ? ""
                                                                 : "c");
        }
        trial.Lift();
    }
}

// ---- lookups ----

WYX_SCENARIO(IniGetKeyValue)
{
    const Document doc(kDocument);
    const Snapshot before = Look(doc);
    for (int iRound = 0; iRound < 2; ++iRound) {
        QAL_INT8 *pszValue = Sentinel();
        const QAL_UINT32 ulStatus = WYX_CALL(XELP_IniGetKeyValue, &doc, "A", "K", &pszValue);
        EXPECT_EQ(ulStatus, trial.Struck() ? kInternal : kOk);
        EXPECT_EQ(TakeText(pszValue), trial.Struck() ? MaybeText() : "1");
        EXPECT_EQ(Look(doc), before);
        trial.Lift();
    }
}

namespace {

void CheckNames(const Trial &trial, QAL_UINT32 ulStatus, QAL_UINT32 ulCount, QAL_INT8 **ppszNames,
                const model::Names &names)
{
    EXPECT_EQ(ulStatus, names.ulStatus);
    EXPECT_EQ(ulStatus, trial.Struck() ? kInternal : kOk);
    EXPECT_EQ(ulCount, names.ulCount);
    for (std::size_t i = 0; ulStatus == kOk && i <= names.names.size(); ++i) {
        EXPECT_EQ(ppszNames[i] == nullptr, i == names.names.size());
        if (i < names.names.size() && ppszNames[i] != nullptr) {
            EXPECT_EQ(ppszNames[i], names.names[i]);
        }
    }
}

/// Compares a list of names with the model's, from a disturbed call and from an undisturbed one.
template <typename Call, typename Model>
void CompareNames(Trial &trial, Call call, Model model)
{
    const Document doc(kDocument);
    const Snapshot before = Look(doc);
    for (int iRound = 0; iRound < 2; ++iRound) {
        QAL_UINT32 ulCount = 77;
        QAL_INT8 **ppszNames = nullptr;
        model::Heap heap = HeapOf(trial);
        const model::Names names = model(before, heap);
        const QAL_UINT32 ulStatus = call(doc, ulCount, ppszNames);
        CheckNames(trial, ulStatus, ulCount, ppszNames, names);
        if (ulStatus == kOk) {
            WYX_CALL(XELP_IniFreeList, ppszNames);
        }
        EXPECT_EQ(Look(doc), before);
        trial.Lift();
    }
}

} // namespace

WYX_SCENARIO(IniGetSectionList)
{
    CompareNames(
        trial,
        [&](const Document &doc, QAL_UINT32 &ulCount, QAL_INT8 **&ppszNames) {
            return WYX_CALL(XELP_IniGetSectionList, &doc, &ulCount, &ppszNames);
        },
        [](const Snapshot &doc, model::Heap &heap) { return model::GetSections(doc, heap); });
}

WYX_SCENARIO(IniGetKeyList)
{
    CompareNames(
        trial,
        [&](const Document &doc, QAL_UINT32 &ulCount, QAL_INT8 **&ppszNames) {
            return WYX_CALL(XELP_IniGetKeyList, &doc, "a", &ulCount, &ppszNames);
        },
        [](const Snapshot &doc, model::Heap &heap) { return model::GetKeys(doc, "a", heap); });
}

// ---- edits ----

namespace {

void CompareSet(Trial &trial, const Lines &lines, QAL_UINT32 ulCapacity, const char *pszSection,
                const char *pszKey)
{
    Compare(
        trial, lines, ulCapacity,
        [&](Document &doc) {
            return WYX_CALL(XELP_IniSetKeyValue, &doc, Arg(pszSection), Arg(pszKey), Arg("new"));
        },
        [&](Snapshot &doc, model::Heap &heap) {
            return model::SetValue(doc, pszSection, pszKey, "new", heap);
        });
}

} // namespace

WYX_SCENARIO(IniSetReplaces)
{
    CompareSet(trial, kDocument, 8, "A", "K");
}

WYX_SCENARIO(IniSetInserts)
{
    // One slot is left: the array has to grow.
    CompareSet(trial, kDocument, 8, "a", "q");
}

WYX_SCENARIO(IniSetAddsASection)
{
    CompareSet(trial, kDocument, 8, "c", "q");
}

WYX_SCENARIO(IniSetInAnEmptyDocument)
{
    CompareSet(trial, {}, 200, "c", "q");
}

WYX_SCENARIO(IniDelSection)
{
    Compare(
        trial, kDocument, 8, [&](Document &doc) { return WYX_CALL(XELP_IniDelSection, &doc, "a"); },
        [](Snapshot &doc, model::Heap &heap) { return model::DeleteSection(doc, "a", heap); });
}

WYX_SCENARIO(IniDelKey)
{
    Compare(
        trial, kDocument, 8,
        [&](Document &doc) { return WYX_CALL(XELP_IniDelKey, &doc, "a", "k"); },
        [](Snapshot &doc, model::Heap &heap) { return model::DeleteKey(doc, "a", "k", heap); });
}

WYX_SCENARIO(IniInsertKey)
{
    Compare(
        trial, kDocument, 8,
        [&](Document &doc) {
            return WYX_CALL(IniInsertKeyInIniStruct, &doc, 1, Arg("q"), Arg("v"), Arg("c"));
        },
        [](Snapshot &doc, model::Heap &heap) {
            return model::InsertKey(doc, 1, "q", "v", "c", heap);
        });
}

WYX_SCENARIO(IniInsertSection)
{
    Compare(
        trial, kDocument, 8,
        [&](Document &doc) { return WYX_CALL(IniInsertSectionToIniStruct, &doc, Arg("c")); },
        [](Snapshot &doc, model::Heap &heap) { return model::InsertSection(doc, "c", heap); });
}

WYX_SCENARIO(IniGrow)
{
    Compare(
        trial, kDocument, 8, [&](Document &doc) { return WYX_CALL(IniRemallocIniLine, &doc); },
        [](Snapshot &doc, model::Heap &heap) { return model::Grow(doc, heap); });
}

namespace {

/// Stores a line in an emptied slot: whatever a slot holds, the caller must release first.
template <typename Call, typename Model>
void CompareStore(Trial &trial, Call call, Model model)
{
    Compare(
        trial, kDocument, 8,
        [&](Document &doc) {
            XELP_MemFreeD(doc.pStrLine[3], 0, "a test");
            doc.pStrLine[3] = nullptr;
            return call(doc);
        },
        [&](Snapshot &doc, model::Heap &heap) {
            doc.slots[3].reset();
            return model(doc, heap);
        });
}

} // namespace

WYX_SCENARIO(IniStoreString)
{
    CompareStore(
        trial,
        [&](Document &doc) { return WYX_CALL(IniSaveStringToIniStruct, &doc, 3, "; text\n"); },
        [](Snapshot &doc, model::Heap &heap) {
            return model::SaveString(doc, 3, "; text\n", heap);
        });
}

WYX_SCENARIO(IniStoreSection)
{
    CompareStore(
        trial,
        [&](Document &doc) {
            return WYX_CALL(IniSaveSectionToIniStruct, &doc, 3, Arg("n"), Arg("c"));
        },
        [](Snapshot &doc, model::Heap &heap) {
            return model::SaveSection(doc, 3, "n", "c", heap);
        });
}

WYX_SCENARIO(IniStoreKey)
{
    CompareStore(
        trial,
        [&](Document &doc) {
            return WYX_CALL(IniSaveKeyToIniStruct, &doc, 3, Arg("n"), Arg("v"), Arg("c"));
        },
        [](Snapshot &doc, model::Heap &heap) {
            return model::SaveKey(doc, 3, "n", "v", "c", heap);
        });
}
