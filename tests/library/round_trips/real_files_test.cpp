// Takes real files through the round trip of a client: load, check, look up every value, change a
// key, save, load again. No real file is written: the saves go to a disk in memory.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "../../ini_parser/ini_support.h"

namespace wyx::test {
namespace {

namespace fs = std::filesystem;

constexpr const char *kName = "f.ini";
constexpr std::uintmax_t kLargest = 1 << 20;

/// A key line that lookups see.
struct Key {
    std::string section;
    std::string name;
    std::string value; // empty if there is none
    QAL_UINT32 ulSlot = 0;
};

/// Copies and releases a text that the library handed over. A lone CR or LF becomes empty: it
/// is the value of a line that has none.
std::string Take(QAL_INT8 *psz)
{
    const std::string text = psz != nullptr ? psz : "";
    XELP_MemFreeD(psz, __LINE__, __FILE__);
    return text == "\n" || text == "\r" ? "" : text;
}

bool IsSame(const std::string &left, const std::string &right)
{
    return XELP_StriCmp(left.c_str(), right.c_str()) == 0;
}

/// Reads the key lines one by one, and keeps those that lookups find: the last line of a key in the
/// last block of a section.
std::vector<Key> VisibleKeys(const Document &doc)
{
    std::vector<Key> keys;
    std::string section;
    for (QAL_UINT32 i = 0; i < doc.ulLineNum; ++i) {
        std::string line = doc.pStrLine[i];
        XELP_INI_E_LINE_TYPE kind = INI_ERROR_LINE;
        QAL_INT8 *pszName = nullptr;
        QAL_INT8 *pszValue = nullptr;
        QAL_INT8 *pszComment = nullptr;
        EXPECT_EQ(IniGetLineType(line.data(), &kind), kOk);
        if (kind == INI_SECTION_LINE) {
            EXPECT_EQ(IniParseSectionLine(line.data(), &pszName, &pszComment), kOk);
            section = Take(pszName);
            std::erase_if(keys, [&](const Key &key) { return IsSame(key.section, section); });
        } else if (kind == INI_KEYVALUE_LINE) {
            EXPECT_EQ(IniParseKeyLine(line.data(), &pszName, &pszValue, &pszComment), kOk);
            const Key now = {section, Take(pszName), Take(pszValue), i};
            std::erase_if(keys, [&](const Key &key) {
                return IsSame(key.section, section) && IsSame(key.name, now.name);
            });
            keys.push_back(now);
        }
        Take(pszComment);
    }
    return keys;
}

void ExpectValue(const Document &doc, const Key &key, const std::string &value)
{
    QAL_INT8 *pszValue = nullptr;
    EXPECT_EQ(XELP_IniGetKeyValue(&doc, key.section.c_str(), key.name.c_str(), &pszValue), kOk);
    EXPECT_EQ(Take(pszValue), value) << key.name;
}

Lines StoredLines(const Document &doc)
{
    return {doc.pStrLine, doc.pStrLine + doc.ulLineNum};
}

struct Count {
    int files = 0;
    int keys = 0;
    int refused = 0;
    int folded = 0; // files that did not come back as they were; the page on round trips says why
};

class RealFiles : public PlatformTest {
  protected:
    void Try(const fs::path &path)
    {
        SCOPED_TRACE(path);
        std::ifstream file(path, std::ios::binary);
        std::map<std::string, std::string> &disk = platform.UseMemoryDisk();
        disk = {{kName, std::string(std::istreambuf_iterator<char>(file), {})}};
        Document doc;
        QAL_UINT32 ulLine = 0;
        if (disk[kName].find('\0') != std::string::npos ||
            XELP_IniGetFileContent(kName, &doc) != kOk || XELP_IniCheckFile(&doc, &ulLine) != kOk) {
            ++count.refused;
            return;
        }
        const std::vector<Key> keys = VisibleKeys(doc);
        for (const Key &key : keys) {
            ExpectValue(doc, key, key.value);
        }
        ++count.files;
        count.keys += static_cast<int>(keys.size());
        if (!keys.empty()) {
            ChangeAndSave(doc, keys[keys.size() / 2]);
        }
    }

    void ChangeAndSave(Document &doc, const Key &key)
    {
        Lines lines = StoredLines(doc);
        std::string section = key.section;
        std::string name = key.name;
        std::string value = "changed";
        ASSERT_EQ(XELP_IniSetKeyValue(&doc, section.data(), name.data(), value.data()), kOk);
        ASSERT_EQ(doc.ulLineNum, lines.size());
        lines[key.ulSlot] = doc.pStrLine[key.ulSlot];
        EXPECT_EQ(StoredLines(doc), lines) << "another line was changed";
        ASSERT_EQ(XELP_IniSaveFileContent(kName, &doc), kOk);
        Document again;
        if (XELP_IniGetFileContent(kName, &again) == kOk && StoredLines(again) == lines) {
            ExpectValue(again, key, value);
        } else {
            ++count.folded;
        }
    }

    Count count;
};

TEST_F(RealFiles, FromTheExamplesRoundTrip)
{
    for (const fs::directory_entry &entry : fs::directory_iterator(WYX_EXAMPLE_FILES)) {
        if (entry.path().extension() == ".ini") {
            Try(entry.path());
        }
    }
    EXPECT_GT(count.keys, 0);
    EXPECT_EQ(count.refused, 0);
    EXPECT_EQ(count.folded, 1) << "recording.ini, in which a fold falls after a backslash";
}

TEST_F(RealFiles, FromThisMachineAreLookedUpAndChanged)
{
    constexpr std::string_view kKinds[] = {".ini", ".conf", ".desktop", ".service"};
    constexpr auto kQuietly = fs::directory_options::skip_permission_denied;
    for (const char *const folder : {"/etc", "/usr/lib", "/usr/share"}) {
        std::error_code error;
        for (fs::recursive_directory_iterator entry(folder, kQuietly, error), end;
             error == std::error_code() && entry != end; entry.increment(error)) {
            const bool isKind =
                std::ranges::find(kKinds, entry->path().extension()) != std::end(kKinds);
            if (isKind && entry->is_regular_file(error) && entry->file_size(error) < kLargest) {
                Try(entry->path());
            }
        }
    }
    std::cout << count.files << " files with " << count.keys << " keys; " << count.refused
              << " other files were refused; " << count.folded
              << " did not come back from the save as they were\n";
    if (count.files == 0) {
        GTEST_SKIP() << "there are no INI files on this machine";
    }
}

} // namespace
} // namespace wyx::test
