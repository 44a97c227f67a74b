/* Shows a configuration, changes a key of it and saves it: ini_parser_example FILE */
#include <stdio.h>
#include <stdlib.h>

#include "os_adapter.h" /* for the release of values */
#include "wyx_commlib/ini_parser.h"

static void ShowSection(const XELP_IN_S_INI_FILE_STRUCT *doc, const char *section)
{
    char **keys = NULL;
    char *value = NULL;
    QAL_UINT32 count = 0, i;

    if (XELP_IniGetKeyList(doc, section, &count, &keys) != XELP_ERR_INI_OK) {
        return; /* such as for a section without keys; there is no list to use or release */
    }
    for (i = 0; i < count; ++i) {
        if (XELP_IniGetKeyValue(doc, section, keys[i], &value) == XELP_ERR_INI_OK) {
            printf("%s.%s: %s\n", section, keys[i], value != NULL ? value : "(no value)");
            XELP_MemFreeD(value, __LINE__, __FILE__);
        }
    }
    XELP_IniFreeList(keys);
}

int main(int argc, char **argv)
{
    /* Arguments of the edits are not const, but are only read. */
    char section[] = "net", key[] = "port", newValue[] = "5061";
    XELP_IN_S_INI_FILE_STRUCT doc;
    char **sections = NULL;
    QAL_UINT32 count = 0, line = 0, i, status;

    if (argc != 2 || XELP_IniGetFileContent(argv[1], &doc) != XELP_ERR_INI_OK) {
        fprintf(stderr, "usage: ini_parser_example FILE, an INI file that can be read\n");
        return EXIT_FAILURE;
    }
    /* From here on, every return releases the document. Lookups are more lenient than the check. */
    status = XELP_IniCheckFile(&doc, &line);
    if (status != XELP_ERR_INI_OK) {
        printf("line %u: status %u\n", line, status);
    }
    if (XELP_IniGetSectionList(&doc, &count, &sections) == XELP_ERR_INI_OK) {
        for (i = 0; i < count; ++i) {
            ShowSection(&doc, sections[i]);
        }
        XELP_IniFreeList(sections);
    }
    if (XELP_IniSetKeyValue(&doc, section, key, newValue) != XELP_ERR_INI_OK) {
        XELP_IniFreeIniStruct(&doc);
        return EXIT_FAILURE;
    }
    status = XELP_IniSaveFileContent(argv[1], &doc); /* releases the document, even if it fails */
    if (status != XELP_ERR_INI_OK) {
        fprintf(stderr, "not saved: status %u\n", status);
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
