// The two built libraries as files: what they export, what they need, and how they are laid out.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "elf_file.h"

namespace wyx::test {
namespace {

using Names = std::set<std::string>;

struct Library {
    const char *pszName;
    const char *pszFile;
    const char *pszExports; ///< paths of the lists, separated by ":"
    const char *pszHeaders; ///< paths of folders and files, separated by ":"
    Names needed;           ///< libraries that it needs, apart from the C library
};

void PrintTo(const Library &library, std::ostream *pOut)
{
    *pOut << library.pszName;
}

const Library kCommlib = {"libwyx_commlib",
                          WYX_COMMLIB_FILE,
                          WYX_COMMLIB_EXPORTS,
                          WYX_COMMLIB_HEADERS,
                          {"libwyx_os_adapter.so." WYX_MAJOR_VERSION}};
const Library kAdapter = {
    "libwyx_os_adapter", WYX_OS_ADAPTER_FILE, WYX_OS_ADAPTER_EXPORTS, WYX_OS_ADAPTER_HEADERS, {}};

// What compiler options make a library import. The libraries are linked without start files.
const Names kToolchainImports = {"__stack_chk_fail", "__stack_chk_guard"};

std::string ReadFile(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> Split(const std::string &text, char separator)
{
    std::vector<std::string> parts;
    std::size_t at = 0;
    for (std::size_t end; (end = text.find(separator, at)) != std::string::npos; at = end + 1) {
        parts.push_back(text.substr(at, end - at));
    }
    if (at < text.size()) {
        parts.push_back(text.substr(at));
    }
    return parts;
}

Names ListedExports(const Library &library)
{
    Names names;
    for (const std::string &path : Split(library.pszExports, ':')) {
        for (const std::string &name : Split(ReadFile(path), '\n')) {
            names.insert(name);
        }
    }
    return names;
}

/// The text of all of a library's headers, without comments and preprocessor lines.
std::string Declarations(const Library &library)
{
    std::string text;
    for (const std::string &where : Split(library.pszHeaders, ':')) {
        if (std::filesystem::is_regular_file(where)) {
            text += ReadFile(where);
            continue;
        }
        for (const auto &entry : std::filesystem::recursive_directory_iterator(where)) {
            if (entry.path().extension() == ".h") {
                text += ReadFile(entry.path());
            }
        }
    }
    std::string code; // no string in a header looks like a comment
    for (std::size_t i = 0; i < text.size();) {
        if (text.compare(i, 2, "/*") == 0) {
            i = std::min(text.size(), text.find("*/", i)) + 2;
        } else if (text.compare(i, 2, "//") == 0) {
            i = std::min(text.size(), text.find('\n', i));
        } else if (text[i] == '#' && (code.empty() || code.back() == '\n')) {
            i = std::min(text.size(), text.find('\n', i));
        } else {
            code += text[i++];
        }
    }
    return code;
}

/// Names of what the headers declare as exported.
Names DeclaredExports(const Library &library)
{
    static const std::regex declaration(R"(WYX_API\s+[^;(\[]*?(\w+)\s*[(\[;])");
    const std::string code = Declarations(library);
    Names names;
    for (std::sregex_iterator match(code.begin(), code.end(), declaration), end; match != end;
         ++match) {
        names.insert((*match)[1]);
    }
    return names;
}

Names Minus(const Names &left, const Names &right)
{
    Names difference;
    std::set_difference(left.begin(), left.end(), right.begin(), right.end(),
                        std::inserter(difference, difference.end()));
    return difference;
}

/// Counts the dynamic linker as part of the C library, some of whose symbols it holds.
bool IsCLibrary(const std::string &soname)
{
    return soname == "libc.so.6" || soname == "libc.so" || soname.rfind("ld-linux", 0) == 0;
}

class LibraryAbi : public ::testing::TestWithParam<Library> {
  protected:
    const Library &library = GetParam();
    const ElfFile elf = ElfFile(library.pszFile);

    /// An instrumented build links the instrumentation's run-time into both libraries.
    static constexpr bool kInstrumented = WYX_INSTRUMENTED;
};

INSTANTIATE_TEST_SUITE_P(Libraries, LibraryAbi, ::testing::Values(kCommlib, kAdapter),
                         [](const auto &item) { return std::string(item.param.pszName); });

TEST_P(LibraryAbi, ExportListsAreSortedWithoutDuplicates)
{
    for (const std::string &path : Split(library.pszExports, ':')) {
        const std::vector<std::string> names = Split(ReadFile(path), '\n');
        EXPECT_FALSE(names.empty()) << path;
        const auto wrong =
            std::adjacent_find(names.begin(), names.end(), [](auto &a, auto &b) { return a >= b; });
        EXPECT_EQ(wrong, names.end()) << path << ": out of order at " << *wrong;
    }
}

TEST_P(LibraryAbi, ExportsWhatTheListsSayAndNothingElse)
{
    const Names listed = ListedExports(library);
    const Names exported = elf.Exports();
    EXPECT_EQ(Minus(listed, exported), Names{}) << "listed, but not exported";
    EXPECT_EQ(Minus(exported, listed), Names{}) << "exported, but not listed";
}

TEST_P(LibraryAbi, ExportsFunctionsAndOneTable)
{
    for (const Symbol &symbol : elf.DynamicSymbols()) {
        if (symbol.IsExported()) {
            EXPECT_EQ(symbol.type, symbol.name == "QAL_CHARset" ? STT_OBJECT : STT_FUNC)
                << symbol.name;
            EXPECT_EQ(symbol.binding, STB_GLOBAL) << symbol.name;
        }
    }
}

TEST_P(LibraryAbi, HeadersDeclareWhatIsExportedAndNothingElse)
{
    const Names listed = ListedExports(library);
    const Names declared = DeclaredExports(library);
    EXPECT_EQ(Minus(listed, declared), Names{}) << "exported, but in no header";
    EXPECT_EQ(Minus(declared, listed), Names{}) << "in a header, but not exported";
}

TEST_P(LibraryAbi, SonameCarriesTheMajorVersion)
{
    EXPECT_EQ(elf.DynamicStrings(DT_SONAME),
              std::vector{library.pszName + std::string(".so." WYX_MAJOR_VERSION)});
}

TEST_P(LibraryAbi, DependsOnTheExpectedLibrariesOnly)
{
    if (kInstrumented) {
        GTEST_SKIP() << "instrumented build";
    }
    Names needed;
    for (const std::string &soname : elf.DynamicStrings(DT_NEEDED)) {
        if (!IsCLibrary(soname)) {
            needed.insert(soname);
        }
    }
    EXPECT_EQ(needed, library.needed);
}

// Debuggers and symbol servers find the debug information by the build-id; Android's debugger
// accepts no shorter one.
TEST_P(LibraryAbi, HasABuildIdOfTwentyBytes)
{
    std::size_t size = 0;
    for (const Section &section : elf.Sections()) {
        if (section.name == ".note.gnu.build-id") {
            size = section.header.sh_size;
        }
    }
    EXPECT_EQ(size, sizeof(Elf64_Nhdr) + sizeof "GNU" + 20);
}

TEST_P(LibraryAbi, LooksForLibrariesOnlyBesideItself)
{
    EXPECT_EQ(elf.DynamicStrings(DT_RPATH), std::vector<std::string>{});
    for (const std::string &path : elf.DynamicStrings(DT_RUNPATH)) {
        EXPECT_EQ(path, "$ORIGIN");
    }
}

TEST_P(LibraryAbi, HoldsNoCPlusPlusRuntime)
{
    if (kInstrumented) {
        GTEST_SKIP() << "instrumented build";
    }
    for (const std::string &name : elf.Imports()) {
        EXPECT_NE(name.rfind("_Z", 0), 0U) << name;
        EXPECT_NE(name.rfind("_Unwind", 0), 0U) << name;
        EXPECT_NE(name.rfind("__cxa_", 0), 0U) << name;
    }
    for (const Symbol &symbol : elf.AllSymbols()) {
        for (const char *const pszRtti : {"_ZTI", "_ZTS", "_ZTV"}) {
            EXPECT_NE(symbol.name.rfind(pszRtti, 0), 0U) << symbol.name;
        }
    }
    for (const Section &section : elf.Sections()) {
        EXPECT_NE(section.name.rfind(".gcc_except_table", 0), 0U) << "catches exceptions";
    }
}

TEST_P(LibraryAbi, RunsNothingAtLoadOrUnload)
{
    if (kInstrumented) {
        GTEST_SKIP() << "instrumented build";
    }
    for (const auto iTag : {DT_PREINIT_ARRAY, DT_INIT_ARRAY, DT_FINI_ARRAY, DT_INIT, DT_FINI}) {
        EXPECT_FALSE(elf.DynamicValue(iTag)) << iTag;
    }
    for (const char *const pszArray : {".init_array", ".fini_array"}) {
        EXPECT_TRUE(elf.PointersIn(pszArray).empty()) << pszArray;
    }
    for (const Section &section : elf.Sections()) {
        EXPECT_NE(section.name, ".ctors");
        EXPECT_NE(section.name, ".dtors");
    }
    for (const Symbol &symbol : elf.AllSymbols()) {
        EXPECT_NE(symbol.name.rfind("_GLOBAL__", 0), 0U) << symbol.name;
    }
}

// Android emulates such storage with memory that it allocates at first use, and aborts if there is
// none.
TEST_P(LibraryAbi, HoldsNoThreadLocalStorage)
{
    if (kInstrumented) {
        GTEST_SKIP() << "instrumented build";
    }
    for (const Elf64_Phdr &segment : elf.Segments()) {
        EXPECT_NE(segment.p_type, Elf64_Word{PT_TLS});
    }
    for (const std::string &name : elf.Imports()) {
        EXPECT_NE(name.rfind("__tls_", 0), 0U) << name;
        EXPECT_NE(name.rfind("__emutls", 0), 0U) << name;
    }
    for (const Symbol &symbol : elf.AllSymbols()) {
        EXPECT_NE(symbol.type, STT_TLS) << symbol.name;
        EXPECT_NE(symbol.name.rfind("__emutls", 0), 0U) << symbol.name;
    }
}

TEST_P(LibraryAbi, IsRelocatedAtLoadAndThenReadOnly)
{
    EXPECT_FALSE(elf.DynamicValue(DT_TEXTREL));
    const Elf64_Xword flags = elf.DynamicValue(DT_FLAGS).value_or(0);
    EXPECT_EQ(flags & DF_TEXTREL, 0U);
    EXPECT_NE(flags & DF_BIND_NOW, 0U);
    EXPECT_NE(elf.DynamicValue(DT_FLAGS_1).value_or(0) & DF_1_NOW, 0U);
    int iRelro = 0;
    int iStack = 0;
    for (const Elf64_Phdr &segment : elf.Segments()) {
        iRelro += segment.p_type == PT_GNU_RELRO ? 1 : 0;
        if (segment.p_type == PT_GNU_STACK) {
            ++iStack;
            EXPECT_EQ(segment.p_flags & PF_X, 0U) << "executable stack";
        }
        EXPECT_NE(segment.p_flags & (PF_W | PF_X), Elf64_Word{PF_W | PF_X})
            << "segment that is writable and executable";
    }
    EXPECT_EQ(iRelro, 1);
    EXPECT_EQ(iStack, 1);
}

TEST_P(LibraryAbi, LoadsOnSystemsWithLargePages)
{
    const Elf64_Xword page = elf.Machine() == EM_AARCH64 ? 0x4000 : 0x1000;
    for (const Elf64_Phdr &segment : elf.Segments()) {
        if (segment.p_type == PT_LOAD) {
            EXPECT_GE(segment.p_align, page);
            EXPECT_EQ((segment.p_vaddr - segment.p_offset) % page, 0U);
        }
        if (segment.p_type == PT_GNU_RELRO) {
            EXPECT_EQ((segment.p_vaddr + segment.p_memsz) % page, 0U)
                << "data that stays writable shares a page with data that does not";
        }
    }
}

TEST_P(LibraryAbi, NamesNoFolderOfTheBuild)
{
    if (kInstrumented) {
        GTEST_SKIP() << "instrumented build";
    }
    for (const char *const pszFolder : {WYX_SOURCE_FOLDER, WYX_BINARY_FOLDER}) {
        const std::size_t at = elf.Bytes().find(pszFolder);
        EXPECT_EQ(at, std::string::npos)
            << pszFolder << " in " << elf.Bytes().substr(at, 100).c_str();
    }
}

// An executable that happens to define a function of the same name must not be called instead.
TEST_P(LibraryAbi, BindsItsOwnCallsInside)
{
    Names own;
    for (const std::string &name : elf.RelocatedSymbols()) {
        if (elf.Exports().count(name) != 0) {
            own.insert(name);
        }
    }
    EXPECT_EQ(Minus(own, {"QAL_CHARset"}), Names{}); // data: an executable may hold the only copy
}

/// No function of the library has state of its own.
TEST(CommlibAbi, HoldsNoWritableDataOfItsOwn)
{
    if (WYX_INSTRUMENTED) {
        GTEST_SKIP() << "instrumented build";
    }
    const ElfFile elf(kCommlib.pszFile);
    for (const Symbol &symbol : elf.AllSymbols()) {
        const bool isWritable = symbol.section == ".data" || symbol.section == ".bss" ||
                                symbol.section == ".tdata" || symbol.section == ".tbss";
        if (isWritable && symbol.type == STT_OBJECT) {
            EXPECT_EQ(symbol.name, "QAL_CHARset");
        }
    }
}

// The platform's services, two functions of the C library, and what the toolchain adds: no memset
// or strlen that an optimiser made from a loop, and no service resolved inside the library.
TEST(CommlibAbi, ImportsThePlatformAndTwoFunctionsOfTheCLibrary)
{
    const ElfFile elf(kCommlib.pszFile);
    const Names platform = ListedExports(
        {"", "", WYX_PLATFORM_EXPORTS, "", {}}); // the contract, not what the adapter adds to it
    for (const Symbol &symbol : elf.AllSymbols()) {
        EXPECT_TRUE(symbol.section.empty() || platform.count(symbol.name) == 0)
            << symbol.name << " is resolved inside the library";
    }
    if (WYX_INSTRUMENTED) {
        GTEST_SKIP() << "instrumented build";
    }
    Names allowed = platform;
    allowed.insert(kToolchainImports.begin(), kToolchainImports.end());
    allowed.insert({"memcpy", "strtoul"});
    EXPECT_EQ(Minus(elf.Imports(), allowed), Names{});
}

/// The checks above would also pass on a file in which the reader finds nothing.
TEST(CommlibAbi, ElfReaderFindsWhatIsKnownToBeThere)
{
    const ElfFile elf(kCommlib.pszFile);
    EXPECT_EQ(elf.Exports().count("XELP_CRC_32"), 1U);
    EXPECT_EQ(elf.Imports().count("XELP_MemMallocD"), 1U);
    EXPECT_EQ(elf.RelocatedSymbols().count("XELP_MemMallocD"), 1U);
    EXPECT_FALSE(ElfFile(WYX_THIS_PROGRAM).PointersIn(".init_array").empty());
    EXPECT_FALSE(elf.AllSymbols().empty());
    EXPECT_EQ(DeclaredExports(kCommlib).count("XELP_CRC_32"), 1U);
}

} // namespace
} // namespace wyx::test
