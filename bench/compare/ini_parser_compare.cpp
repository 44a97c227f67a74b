// INI files compared with inih, iniparser and GLib's GKeyFile: files of 40 and of 10,000 lines.
//
// The libraries do different work. inih keeps nothing and calls back for every key; iniparser and
// GKeyFile build tables that later look-ups use; ours keeps the lines. Before the timing, all
// sections, keys and values are compared.
#include <glib.h>
#include <ini.h>
#include <iniparser/iniparser.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "harness.h"
#include "os_adapter.h"
#include "wyx_commlib/ini_parser.h"

namespace wyx::bench {
namespace {

constexpr int kLinesPerSection = 50;

/// Sections of keys with comments, @p iLines lines in all.
void MakeFile(const std::string &name, int iLines)
{
    std::ofstream file(name);
    for (int i = 0; i < iLines; ++i) {
        if (i % kLinesPerSection == 0) {
            file << "[section" << i / kLinesPerSection << "]\n";
        } else if (i % 10 == 1) {
            file << "; what the next keys are for\n";
        } else {
            file << "key" << i << " = value of it " << i << "\n";
        }
    }
}

int Ignore(void * /*user*/, const char * /*section*/, const char * /*name*/, const char * /*value*/)
{
    return 1;
}

/// A key to look up, and a copy of its value, because ours hands over a copy.
struct Wanted {
    const char *pszSection;
    const char *pszKey;
    std::string value;
};

int Find(void *user, const char *section, const char *name, const char *value)
{
    auto &wanted = *static_cast<Wanted *>(user);
    if (wanted.value.empty() && std::string_view(section) == wanted.pszSection &&
        std::string_view(name) == wanted.pszKey) {
        wanted.value = value;
    }
    return 1;
}

void Require(bool isTrue, const char *pszWhat)
{
    if (!isTrue) {
        std::fprintf(stderr, "ini_parser_compare: %s failed\n", pszWhat);
        std::exit(2);
    }
}

/// GKeyFile has a separate file, because it only accepts '#' comments.
std::string GlibName(const std::string &name)
{
    return name + ".glib";
}

void MakeGlibFile(const std::string &name)
{
    std::ifstream in(name);
    std::ofstream out(GlibName(name));
    for (std::string line; std::getline(in, line);) {
        out << (line.starts_with(';') ? "#" + line.substr(1) : line) << '\n';
    }
}

GKeyFile *LoadByGlib(const std::string &name)
{
    GKeyFile *const pFile = g_key_file_new();
    Require(g_key_file_load_from_file(pFile, GlibName(name).c_str(), G_KEY_FILE_KEEP_COMMENTS,
                                      nullptr) != 0,
            "GKeyFile");
    return pFile;
}

// ---- what a contender has loaded: every section, key and value, in order ----

std::string Shown(const XELP_IN_S_INI_FILE_STRUCT &doc)
{
    std::string text;
    QAL_UINT32 ulSections = 0;
    QAL_INT8 **ppszSections = nullptr;
    Require(XELP_IniGetSectionList(&doc, &ulSections, &ppszSections) == 0, "sections");
    for (QAL_UINT32 i = 0; i < ulSections; ++i) {
        QAL_UINT32 ulKeys = 0;
        QAL_INT8 **ppszKeys = nullptr;
        Require(XELP_IniGetKeyList(&doc, ppszSections[i], &ulKeys, &ppszKeys) == 0, "keys");
        for (QAL_UINT32 j = 0; j < ulKeys; ++j) {
            QAL_INT8 *pszValue = nullptr;
            Require(XELP_IniGetKeyValue(&doc, ppszSections[i], ppszKeys[j], &pszValue) == 0, "key");
            text += std::string(ppszSections[i]) + ":" + ppszKeys[j] + "=" + pszValue + "\n";
            XELP_MemFreeD(pszValue, __LINE__, __FILE__);
        }
        XELP_IniFreeList(ppszKeys);
    }
    XELP_IniFreeList(ppszSections);
    return text;
}

std::string Shown(GKeyFile *pFile)
{
    std::string text;
    gchar **const ppszGroups = g_key_file_get_groups(pFile, nullptr);
    for (gchar **ppszGroup = ppszGroups; *ppszGroup != nullptr; ++ppszGroup) {
        gchar **const ppszKeys = g_key_file_get_keys(pFile, *ppszGroup, nullptr, nullptr);
        for (gchar **ppszKey = ppszKeys; *ppszKey != nullptr; ++ppszKey) {
            gchar *const pszValue = g_key_file_get_value(pFile, *ppszGroup, *ppszKey, nullptr);
            text += std::string(*ppszGroup) + ":" + *ppszKey + "=" + pszValue + "\n";
            g_free(pszValue);
        }
        g_strfreev(ppszKeys);
    }
    g_strfreev(ppszGroups);
    return text;
}

std::string Shown(dictionary *pFile)
{
    std::string text;
    for (int i = 0; i < iniparser_getnsec(pFile); ++i) {
        const char *const pszSection = iniparser_getsecname(pFile, i);
        std::vector<const char *> keys(
            static_cast<std::size_t>(iniparser_getsecnkeys(pFile, pszSection)));
        iniparser_getseckeys(pFile, pszSection, keys.data());
        for (const char *const pszKey : keys) { // "section:key"
            text += std::string(pszKey) + "=" + iniparser_getstring(pFile, pszKey, "") + "\n";
        }
    }
    return text;
}

/// What inih reads in a file.
std::string ShownByInih(const std::string &name)
{
    std::string text;
    const auto add = [](void *pText, const char *section, const char *key, const char *value) {
        *static_cast<std::string *>(pText) += std::string(section) + ":" + key + "=" + value + "\n";
        return 1;
    };
    Require(ini_parse(name.c_str(), add, &text) == 0, "inih");
    return text;
}

struct Targets {
    Target loadInih;
    Target loadKeyFile;
    Target loadIniparser;
    Target lookup;
    Target save;
};

void AddFile(Report &report, const std::string &name, int iLines, const Targets &targets)
{
    MakeFile(name, iLines);
    MakeGlibFile(name);
    const std::string lines = std::to_string(iLines) + " lines";
    report.Add("INI load and release", lines)
        .Ours([=](auto keep) {
            XELP_IN_S_INI_FILE_STRUCT doc;
            Require(XELP_IniGetFileContent(name.c_str(), &doc) == 0, "load");
            keep(doc.pStrLine, [&] { return Shown(doc); });
            XELP_IniFreeIniStruct(&doc);
        })
        .Peer(
            "inih, empty callback",
            [=](auto keep) {
                const int iStatus = ini_parse(name.c_str(), Ignore, nullptr);
                Require(iStatus == 0, "inih");
                keep(iStatus, [&] { return ShownByInih(name); });
            },
            targets.loadInih)
        .Peer(
            "GKeyFile",
            [=](auto keep) {
                GKeyFile *const pFile = LoadByGlib(name);
                keep(pFile, [&] { return Shown(pFile); });
                g_key_file_free(pFile);
            },
            targets.loadKeyFile)
        .Peer(
            "iniparser",
            [=](auto keep) {
                dictionary *const pFile = iniparser_load(name.c_str());
                Require(pFile != nullptr, "iniparser");
                keep(pFile, [&] { return Shown(pFile); });
                iniparser_freedict(pFile);
            },
            targets.loadIniparser);

    static XELP_IN_S_INI_FILE_STRUCT s_aDocs[2];
    XELP_IN_S_INI_FILE_STRUCT *const pDoc = &s_aDocs[iLines > 40 ? 1 : 0];
    Require(XELP_IniGetFileContent(name.c_str(), pDoc) == 0, "load");
    report.Add("INI look-up in the first section", lines)
        .Ours([=](auto keep) {
            QAL_INT8 *pszValue = nullptr;
            Require(XELP_IniGetKeyValue(pDoc, "section0", "key5", &pszValue) == 0, "look-up");
            keep(pszValue, [=] { return std::string(pszValue); });
            XELP_MemFreeD(pszValue, __LINE__, __FILE__);
        })
        .Peer(
            "inih, parsing for one key",
            [=](auto keep) {
                Wanted wanted{"section0", "key5", {}};
                Require(ini_parse(name.c_str(), Find, &wanted) == 0, "inih");
                keep(wanted.value);
            },
            targets.lookup);

    // Both do what they do by default: a new file, flushed to the device, replaces the old one.
    report.Add("INI load, set, save", lines)
        .Ours([=](auto keep) {
            XELP_IN_S_INI_FILE_STRUCT doc;
            Require(XELP_IniGetFileContent(name.c_str(), &doc) == 0, "load");
            char szSection[] = "section0";
            char szKey[] = "key5";
            char szValue[] = "another";
            Require(XELP_IniSetKeyValue(&doc, szSection, szKey, szValue) == 0, "set");
            const QAL_UINT32 ulStatus = XELP_IniSaveFileContent(name.c_str(), &doc);
            Require(ulStatus == 0, "save");
            keep(ulStatus, [&] { return ShownByInih(name); });
        })
        .Peer(
            "GKeyFile",
            [=](auto keep) {
                GKeyFile *const pFile = LoadByGlib(name);
                g_key_file_set_value(pFile, "section0", "key5", "another");
                const gboolean isSaved =
                    g_key_file_save_to_file(pFile, GlibName(name).c_str(), nullptr);
                Require(isSaved != FALSE, "GKeyFile");
                keep(isSaved, [&] { return ShownByInih(GlibName(name)); });
                g_key_file_free(pFile);
            },
            targets.save);
}

} // namespace
} // namespace wyx::bench

int main(int argc, char **argv)
{
    using namespace wyx::bench;
    Report report(argc, argv);
    // A folder in memory: otherwise the disk would be measured.
    std::string folder = "/dev/shm/ini_parser_compare.XXXXXX";
    Require(mkdtemp(folder.data()) != nullptr, "mkdtemp");
    const std::string few = folder + "/few.ini";
    const std::string many = folder + "/many.ini";
    AddFile(report, few, 40, {{1.1, {}}, {}, {}, {}, {0.92, {}}});
    AddFile(report, many, 10000, {{1.0, {}}, {1.5, {}}, {25.0, {}}, {26.0, {}}, {1.0, {}}});
    const int iStatus = report.Run();
    for (const std::string &name : {few, many, GlibName(few), GlibName(many)}) {
        std::remove(name.c_str());
    }
    rmdir(folder.c_str());
    return iStatus;
}
