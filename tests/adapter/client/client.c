/*
 * A client of the library that takes a document through its whole life. Only the adapter beside
 * this source can open its file: the client succeeds only if the library's calls and its own all go
 * to that adapter.
 */
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "os_adapter.h"
#include "wyx_commlib/commlib.h"

static const char kFileName[] = "/no/such/folder/net.ini";
static const char kContent[] = "; from memory\n[net]\nport = 5060 ;sip\n";

static int Write(void)
{
    XELP_S_File *const file = XELP_Fopen(kFileName, "w");
    const QAL_UINT32 length = (QAL_UINT32)strlen(kContent);
    return file != NULL && XELP_Fwrite(kContent, 1, length, file) == length &&
           XELP_Fclose(file) == 0;
}

static int HasValue(const XELP_IN_S_INI_FILE_STRUCT *doc, const char *key, const char *expected)
{
    char *value = NULL;
    const int isSame = XELP_IniGetKeyValue(doc, "net", key, &value) == XELP_ERR_INI_OK &&
                       value != NULL && strcmp(value, expected) == 0;
    XELP_MemFreeD(value, 1, "client");
    return isSame;
}

int main(void)
{
    XELP_IN_S_INI_FILE_STRUCT doc;
    char section[] = "net", key[] = "host", value[] = "example.net";

    if (!Write() || access(kFileName, F_OK) == 0 ||
        XELP_IniGetFileContent(kFileName, &doc) != XELP_ERR_INI_OK ||
        !HasValue(&doc, "port", "5060") ||
        XELP_IniSetKeyValue(&doc, section, key, value) != XELP_ERR_INI_OK ||
        XELP_IniSaveFileContent(kFileName, &doc) != XELP_ERR_INI_OK ||
        XELP_IniGetFileContent(kFileName, &doc) != XELP_ERR_INI_OK ||
        !HasValue(&doc, "host", "example.net") || !HasValue(&doc, "port", "5060")) {
        puts("client: failed");
        return 1;
    }
    XELP_IniFreeIniStruct(&doc);
    puts("client: passed");
    return 0;
}
