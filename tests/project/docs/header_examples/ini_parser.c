/* The example of ini_parser.h, on a file in the working directory. */
#include <stdio.h>
#include <string.h>

#include "os_adapter.h"
#include "wyx_commlib/ini_parser.h"

int ini_parser_example(void);

static char aPort[8];

static void UsePort(const char *value)
{
    if (value != NULL && strlen(value) < sizeof aPort) {
        strcpy(aPort, value);
    }
}

int ini_parser_example(void)
{
    static const char before[] = "# of the client\n[net]\nport = 5060 ;sip\n";
    static const char after[] = "# of the client\n[net]\nport=5061 ;sip\n";
    char section[] = "net";
    char key[] = "port";
    char newValue[] = "5061";
    char content[64] = "";
    QAL_UINT32 status = XELP_ERR_INI_OPEN_FILE;

    FILE *file = fopen("net.ini", "wb");
    if (file == NULL || fputs(before, file) == EOF || fclose(file) != 0) {
        return 1;
    }
    {
#include "ini_parser_1.inc"
    } file = fopen("net.ini", "rb");
    if (file == NULL) {
        return 1;
    }
    content[fread(content, 1, sizeof content - 1, file)] = '\0';
    fclose(file);
    return status != XELP_ERR_INI_OK || strcmp(aPort, "5060") != 0 || strcmp(content, after) != 0;
}
