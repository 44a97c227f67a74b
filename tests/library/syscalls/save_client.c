/* A typical client of the library: it loads a file, sets a value, and saves.
 *
 * save_client FILE SECTION KEY VALUE; exits with the status divided by 10. */
#include "wyx_commlib/commlib.h"

int main(int argc, char **argv)
{
    XELP_IN_S_INI_FILE_STRUCT doc;
    QAL_UINT32 status;
    if (argc != 5) {
        return 100;
    }
    status = XELP_IniGetFileContent(argv[1], &doc);
    if (status != XELP_ERR_INI_OK) {
        return (int)(status / 10);
    }
    status = XELP_IniSetKeyValue(&doc, argv[2], argv[3], argv[4]);
    if (status != XELP_ERR_INI_OK) {
        XELP_IniFreeIniStruct(&doc);
        return (int)(status / 10);
    }
    return (int)(XELP_IniSaveFileContent(argv[1], &doc) / 10);
}
