/* The example of status_text.h, on a file that does not exist. */
#include <stdio.h>
#include <string.h>

#include "wyx_commlib/ini_parser.h"
#include "wyx_commlib/status_text.h"

int status_text_example(void);

int status_text_example(void)
{
    XELP_IN_S_INI_FILE_STRUCT doc;
    remove("net.ini");
#include "status_text_1.inc"
    return status != XELP_ERR_INI_OPEN_FILE;
}
