// INI files beside inih, iniparser and GLib's GKeyFile: files of 40 and of 10,000 lines.
//
// The programs do not do the same. inih keeps nothing and calls back for every key; iniparser and
// GKeyFile build tables that later look-ups use; ours keeps the lines.
#include <glib.h>
#include <ini.h>
#include <iniparser/iniparser.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "harness.h"
#include "os_adapter.h"
#include "wyx_commlib/ini_parser.h"

namespace wyx::bench {
namespace {

constexpr int kLinesPerSection = 50;

/// Sections of keys with comments; as many lines as asked for.
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

struct Wanted {
    const char *pszSection;
    const char *pszKey;
    bool isFound = false;
};

int Find(void *user, const char *section, const char *name, const char * /*value*/)
{
    auto &wanted = *static_cast<Wanted *>(user);
    wanted.isFound = wanted.isFound || (std::string_view(section) == wanted.pszSection &&
                                        std::string_view(name) == wanted.pszKey);
    return 1;
}

void Require(bool isTrue, const char *pszWhat)
{
    if (!isTrue) {
        std::fprintf(stderr, "ini_compare: %s failed\n", pszWhat);
        std::exit(2);
    }
}

/// GKeyFile has a file of its own, as only '#' begins a comment there.
std::string GlibName(const std::string &name)
{
    return name + ".glib";
}

GKeyFile *LoadByGlib(const std::string &name)
{
    GKeyFile *const pFile = g_key_file_new();
    Require(g_key_file_load_from_file(pFile, GlibName(name).c_str(), G_KEY_FILE_KEEP_COMMENTS,
                                      nullptr) != 0,
            "GKeyFile");
    return pFile;
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
    const std::string lines = std::to_string(iLines) + " lines";
    report.Add("INI load and release", lines)
        .Ours([=] {
            XELP_IN_S_INI_FILE_STRUCT doc;
            Require(XELP_IniGetFileContent(name.c_str(), &doc) == 0, "load");
            XELP_IniFreeIniStruct(&doc);
        })
        .Peer(
            "inih, empty callback",
            [=] { Require(ini_parse(name.c_str(), Ignore, nullptr) == 0, "inih"); },
            targets.loadInih)
        .Peer(
            "GKeyFile", [=] { g_key_file_free(LoadByGlib(name)); }, targets.loadKeyFile)
        .Peer(
            "iniparser",
            [=] {
                dictionary *const pFile = iniparser_load(name.c_str());
                Require(pFile != nullptr, "iniparser");
                iniparser_freedict(pFile);
            },
            targets.loadIniparser);

    static XELP_IN_S_INI_FILE_STRUCT s_aDocs[2];
    XELP_IN_S_INI_FILE_STRUCT *const pDoc = &s_aDocs[iLines > 40 ? 1 : 0];
    Require(XELP_IniGetFileContent(name.c_str(), pDoc) == 0, "load");
    report.Add("INI look-up in the first section", lines)
        .Ours([=] {
            QAL_INT8 *pszValue = nullptr;
            Require(XELP_IniGetKeyValue(pDoc, "section0", "key5", &pszValue) == 0, "look-up");
            XELP_MemFreeD(pszValue, __LINE__, __FILE__);
        })
        .Peer(
            "inih, parsing for one key",
            [=] {
                Wanted wanted{"section0", "key5"};
                Require(ini_parse(name.c_str(), Find, &wanted) == 0 && wanted.isFound, "inih");
            },
            targets.lookup);

    report.Add("INI load, set, save", lines)
        .Ours([=] {
            XELP_IN_S_INI_FILE_STRUCT doc;
            Require(XELP_IniGetFileContent(name.c_str(), &doc) == 0, "load");
            char szSection[] = "section0";
            char szKey[] = "key5";
            char szValue[] = "another";
            Require(XELP_IniSetKeyValue(&doc, szSection, szKey, szValue) == 0, "set");
            Require(XELP_IniSaveFileContent(name.c_str(), &doc) == 0, "save");
        })
        .Peer(
            "GKeyFile",
            [=] {
                GKeyFile *const pFile = LoadByGlib(name);
                g_key_file_set_value(pFile, "section0", "key5", "another");
                // It flushes to the device, but a file system in memory has none.
                Require(g_key_file_save_to_file(pFile, GlibName(name).c_str(), nullptr) != 0,
                        "GKeyFile");
                g_key_file_free(pFile);
            },
            targets.save)
        .Peer("GKeyFile, in place", [=] {
            const std::string own = GlibName(name);
            GKeyFile *const pFile = LoadByGlib(name);
            g_key_file_set_value(pFile, "section0", "key5", "another");
            gsize size = 0;
            gchar *const pszText = g_key_file_to_data(pFile, &size, nullptr);
            std::remove(own.c_str()); // this way of writing does not shorten a file
            Require(g_file_set_contents_full(own.c_str(), pszText, static_cast<gssize>(size),
                                             G_FILE_SET_CONTENTS_NONE, 0666, nullptr) != 0,
                    "GKeyFile");
            g_free(pszText);
            g_key_file_free(pFile);
        });
}

/// Makes GKeyFile's file from ours.
void MakeGlibFile(const std::string &name)
{
    std::ifstream in(name);
    std::ofstream out(GlibName(name));
    for (std::string line; std::getline(in, line);) {
        out << (line.starts_with(';') ? "#" + line.substr(1) : line) << '\n';
    }
}

} // namespace
} // namespace wyx::bench

int main(int argc, char **argv)
{
    using namespace wyx::bench;
    Report report(argc, argv);
    // In memory: a disk would be what is measured.
    std::string folder = "/dev/shm/ini_compare.XXXXXX";
    Require(mkdtemp(folder.data()) != nullptr, "mkdtemp");
    const std::string few = folder + "/few.ini";
    const std::string many = folder + "/many.ini";
    AddFile(report, few, 40, {{1.0, {}}, {}, {}, {}, {1.0, {}}});
    AddFile(report, many, 10000, {{1.0, {}}, {1.5, {}}, {25.0, {}}, {28.0, {}}, {1.0, {}}});
    MakeGlibFile(few);
    MakeGlibFile(many);
    const int iStatus = report.Run();
    for (const std::string &name : {few, many, GlibName(few), GlibName(many)}) {
        std::remove(name.c_str());
    }
    rmdir(folder.c_str());
    return iStatus;
}
