/* The recipes of the page on INI files, on a file in the working directory. */
#include <stdio.h>
#include <string.h>

#include "os_adapter.h"
#include "wyx_commlib/ini_parser.h"
#include "wyx_commlib/status_text.h"

int ini_parser_page_example(void);

static char aSeen[32];

static void UsePort(const char *value)
{
    strcpy(aSeen, strlen(value) < sizeof aSeen ? value : "");
}

static void ShowName(const char *name)
{
    strcat(aSeen, strlen(aSeen) + strlen(name) < sizeof aSeen ? name : "");
}

static int Write(const char *text)
{
    FILE *file = fopen("net.ini", "wb");
    return file != NULL && fputs(text, file) != EOF && fclose(file) == 0;
}

static int Holds(const char *text)
{
    char content[128] = "";
    FILE *file = fopen("net.ini", "rb");
    if (file == NULL) {
        return 0;
    }
    content[fread(content, 1, sizeof content - 1, file)] = '\0';
    fclose(file);
    return strcmp(content, text) == 0;
}

static int ReadsKey(void)
{
#include "ini_parser_page_1.inc"
    return strcmp(aSeen, "5060") == 0;
}

static int Changes(void)
{
    XELP_IN_S_INI_FILE_STRUCT doc;
#include "ini_parser_page_2.inc"
    return status == XELP_ERR_INI_OK && doc.pStrLine == NULL;
}

static int Lists(void)
{
    XELP_IN_S_INI_FILE_STRUCT doc;
    aSeen[0] = '\0';
    if (XELP_IniGetFileContent("net.ini", &doc) != XELP_ERR_INI_OK) {
        return 0;
    }
#include "ini_parser_page_3.inc"
    XELP_IniFreeIniStruct(&doc);
    return strcmp(aSeen, "netold") == 0;
}

static int Deletes(void)
{
    XELP_IN_S_INI_FILE_STRUCT doc;
    QAL_UINT32 status = XELP_IniGetFileContent("net.ini", &doc);
    if (status != XELP_ERR_INI_OK) {
        return 0;
    }
#include "ini_parser_page_4.inc"
    return status == XELP_ERR_INI_OK && XELP_IniSaveFileContent("net.ini", &doc) == XELP_ERR_INI_OK;
}

static int Checks(void)
{
    XELP_IN_S_INI_FILE_STRUCT doc;
    if (XELP_IniGetFileContent("net.ini", &doc) != XELP_ERR_INI_OK) {
        return 0;
    }
#include "ini_parser_page_5.inc"
    XELP_IniFreeIniStruct(&doc);
    return found == XELP_ERR_INI_LINE_UNKNOWN && line == 2;
}

int ini_parser_page_example(void)
{
    return !Write("[net]\nport = 5060 ;sip\nproxy=p\n[old]\nx=1\n") || !ReadsKey() || !Changes() ||
           !Holds("[net]\nport=5061 ;sip\nproxy=p\n[old]\nx=1\n") || !Lists() || !Deletes() ||
           !Holds("[net]\nport=5061 ;sip\n") || !Write("[net]\nport\n") || !Checks();
}
