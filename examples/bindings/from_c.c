/* Reads net.port of an INI file, changes it and saves the file: from_c FILE */
#include <stdio.h>

#include "os_adapter.h" /* XELP_MemFreeD */
#include "wyx_commlib/ini_parser.h"

int main(int argc, char **argv)
{
    char section[] = "net", key[] = "port", newPort[] = "5061"; /* only read, but not const */
    char *port = NULL;
    XELP_IN_S_INI_FILE_STRUCT doc;
    QAL_UINT32 status;

    if (argc != 2 || XELP_IniGetFileContent(argv[1], &doc) != XELP_ERR_INI_OK) {
        fprintf(stderr, "usage: from_c FILE\n");
        return 1;
    }
    if (XELP_IniGetKeyValue(&doc, section, key, &port) == XELP_ERR_INI_OK && port != NULL) {
        printf("port: %s\n", port);
    }
    XELP_MemFreeD(port, __LINE__, __FILE__);
    status = XELP_IniSetKeyValue(&doc, section, key, newPort);
    if (status == XELP_ERR_INI_OK) {
        status = XELP_IniSaveFileContent(argv[1], &doc); /* releases doc, even if it fails */
    } else {
        XELP_IniFreeIniStruct(&doc);
    }
    return status == XELP_ERR_INI_OK ? 0 : 1;
}
