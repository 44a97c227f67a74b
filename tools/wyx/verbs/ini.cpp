// wyx ini: the family of verbs for INI files.
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "verbs/verbs.h"

namespace wyx::tool {

void AddIni(CLI::App &app, Action &chosen)
{
    CLI::App *const ini = app.add_subcommand("ini", "Look into INI files, check and change them");
    ini->require_subcommand(1);
    AddIniGet(*ini, chosen);
    AddIniSet(*ini, chosen);
    AddIniDel(*ini, chosen);
    AddIniSections(*ini, chosen);
    AddIniKeys(*ini, chosen);
    AddIniList(*ini, chosen);
    AddIniCheck(*ini, chosen);
    AddIniRecover(*ini, chosen);
    AddIniRoundtrip(*ini, chosen);
    ini->footer(
        "Examples:\n"
        "  wyx ini sections net.ini           what sections there are\n"
        "  wyx ini get net.ini net port       a value\n"
        "  wyx ini set net.ini net port=5061  change it\n"
        "  wyx ini check *.ini                all that is wrong with files\n"
        "\n"
        "Names are found whatever the case of their letters. Where a section stands in a file "
        "more\n"
        "than once, its last block counts; of a key in a block, the lowest line.\n"
        "'wyx ini VERB --help' tells more about a verb and shows examples.");
}

} // namespace wyx::tool
