// Times of the INI module on a file of a given number of lines, and of other INI readers beside it:
// GLib's key files, and inih, which only reads. They differ in what they keep: we keep every byte.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#ifdef WYX_HAVE_GLIB
#include <glib.h>
#endif
#ifdef WYX_HAVE_INIH
#include <ini.h>
#endif

#include "os_adapter.h"
#include "wyx_commlib/ini_parser.h"

namespace {

constexpr int kLinesOfSection = 10; // a header, a comment, eight keys

/// A file in a folder of its own, both removed in the end.
class IniFile {
  public:
    explicit IniFile(std::int64_t lines) : sections_(lines / kLinesOfSection)
    {
        char szFolder[] = "wyx_bench_XXXXXX"; // here, not on a file system that lives in memory
        if (mkdtemp(szFolder) == nullptr) {
            std::perror("mkdtemp");
            std::abort();
        }
        folder_ = szFolder;
        name_ = folder_ + "/client.ini";
        std::ofstream file(name_, std::ios::binary);
        for (std::int64_t section = 0; section < sections_; ++section) {
            file << '[' << Section(section) << "]\n# settings of this account\n";
            for (int key = 0; key < kLinesOfSection - 2; ++key) {
                file << "key" << key << " = value " << section * key << " ;note\n";
            }
        }
    }
    ~IniFile()
    {
        std::remove(name_.c_str());
        std::remove(folder_.c_str());
    }
    IniFile(const IniFile &) = delete;
    IniFile &operator=(const IniFile &) = delete;

    const char *Name() const { return name_.c_str(); }
    std::string First() const { return Section(0); }
    std::string Last() const { return Section(sections_ - 1); }

  private:
    static std::string Section(std::int64_t section) { return "account" + std::to_string(section); }

    std::int64_t sections_;
    std::string folder_;
    std::string name_;
};

void Check(bool isGood, const char *pszWhat)
{
    if (!isGood) {
        std::fprintf(stderr, "failed: %s\n", pszWhat);
        std::abort();
    }
}

XELP_IN_S_INI_FILE_STRUCT Load(const IniFile &file)
{
    XELP_IN_S_INI_FILE_STRUCT doc;
    Check(XELP_IniGetFileContent(file.Name(), &doc) == XELP_ERR_INI_OK, "load");
    return doc;
}

void Set(XELP_IN_S_INI_FILE_STRUCT *pDoc, std::string section, bool isFirst)
{
    char szKey[] = "key5";
    char szValue[2][8] = {"before", "after"};
    Check(XELP_IniSetKeyValue(pDoc, section.data(), szKey, szValue[isFirst ? 0 : 1]) ==
              XELP_ERR_INI_OK,
          "set");
}

void IniLoad(benchmark::State &state)
{
    const IniFile file(state.range(0));
    for (auto _ : state) {
        XELP_IN_S_INI_FILE_STRUCT doc = Load(file);
        XELP_IniFreeIniStruct(&doc);
    }
}

void Lookup(benchmark::State &state, const IniFile &file, const std::string &section)
{
    XELP_IN_S_INI_FILE_STRUCT doc = Load(file);
    for (auto _ : state) {
        char *pszValue = nullptr;
        Check(XELP_IniGetKeyValue(&doc, section.c_str(), "key5", &pszValue) == XELP_ERR_INI_OK,
              "lookup");
        XELP_MemFreeD(pszValue, __LINE__, __FILE__);
    }
    XELP_IniFreeIniStruct(&doc);
}

void IniLookupFirst(benchmark::State &state)
{
    const IniFile file(state.range(0));
    Lookup(state, file, file.First());
}

void IniLookupLast(benchmark::State &state)
{
    const IniFile file(state.range(0));
    Lookup(state, file, file.Last());
}

void IniSetLast(benchmark::State &state)
{
    const IniFile file(state.range(0));
    XELP_IN_S_INI_FILE_STRUCT doc = Load(file);
    bool isFirst = false;
    for (auto _ : state) {
        Set(&doc, file.Last(), isFirst = !isFirst);
    }
    XELP_IniFreeIniStruct(&doc);
}

/// Only the save, which releases the document, is timed.
void IniSave(benchmark::State &state)
{
    const IniFile file(state.range(0));
    bool isFirst = false;
    for (auto _ : state) {
        XELP_IN_S_INI_FILE_STRUCT doc = Load(file);
        Set(&doc, file.Last(), isFirst = !isFirst);
        const auto start = std::chrono::steady_clock::now();
        Check(XELP_IniSaveFileContent(file.Name(), &doc) == XELP_ERR_INI_OK, "save");
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
}

#ifdef WYX_HAVE_GLIB
GKeyFile *GlibLoaded(const IniFile &file)
{
    GKeyFile *const pKeys = g_key_file_new();
    Check(g_key_file_load_from_file(pKeys, file.Name(), G_KEY_FILE_KEEP_COMMENTS, nullptr) != FALSE,
          "GLib's load");
    return pKeys;
}

void GlibLoad(benchmark::State &state)
{
    const IniFile file(state.range(0));
    for (auto _ : state) {
        g_key_file_free(GlibLoaded(file));
    }
}

void GlibLookupLast(benchmark::State &state)
{
    const IniFile file(state.range(0));
    const std::string section = file.Last();
    GKeyFile *const pKeys = GlibLoaded(file);
    for (auto _ : state) {
        g_free(g_key_file_get_value(pKeys, section.c_str(), "key5", nullptr));
    }
    g_key_file_free(pKeys);
}

void GlibSave(benchmark::State &state)
{
    const IniFile file(state.range(0));
    const std::string section = file.Last();
    for (auto _ : state) {
        GKeyFile *const pKeys = GlibLoaded(file);
        g_key_file_set_value(pKeys, section.c_str(), "key5", "before");
        const auto start = std::chrono::steady_clock::now();
        Check(g_key_file_save_to_file(pKeys, file.Name(), nullptr) != FALSE, "GLib's save");
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        g_key_file_free(pKeys);
    }
}
#endif

#ifdef WYX_HAVE_INIH
void InihLoad(benchmark::State &state)
{
    const IniFile file(state.range(0));
    for (auto _ : state) {
        long keys = 0;
        const auto count = [](void *pUser, const char *, const char *, const char *) {
            ++*static_cast<long *>(pUser);
            return 1;
        };
        Check(ini_parse(file.Name(), count, &keys) == 0, "inih's load");
        benchmark::DoNotOptimize(keys);
    }
}
#endif

void Sizes(benchmark::internal::Benchmark *pBenchmark)
{
    pBenchmark->Arg(40)->Arg(10000)->ArgName("lines")->Unit(benchmark::kMicrosecond);
}

BENCHMARK(IniLoad)->Apply(Sizes);
BENCHMARK(IniLookupFirst)->Apply(Sizes);
BENCHMARK(IniLookupLast)->Apply(Sizes);
BENCHMARK(IniSetLast)->Apply(Sizes);
BENCHMARK(IniSave)->Apply(Sizes)->UseManualTime();
#ifdef WYX_HAVE_GLIB
BENCHMARK(GlibLoad)->Apply(Sizes);
BENCHMARK(GlibLookupLast)->Apply(Sizes);
BENCHMARK(GlibSave)->Apply(Sizes)->UseManualTime();
#endif
#ifdef WYX_HAVE_INIH
BENCHMARK(InihLoad)->Apply(Sizes);
#endif

} // namespace
