/* Uses the library and the adapter; returns 0 if both work. */
#include <stdio.h>
#include <string.h>

#include "os_adapter.h"
#include "wyx_commlib/commlib.h"

int main(void)
{
    static const unsigned char text[] = "123456789";
    QAL_UINT32 crc = 0;
    XELP_IN_S_INI_FILE_STRUCT document;
    const char *const name = "consumer.ini";
    char *value = NULL;
    int ok;
    FILE *const file = fopen(name, "w");

    if (file == NULL || fputs("[net]\nport = 5060 ;sip\n", file) < 0 || fclose(file) != 0) {
        return 1;
    }
    ok = XELP_CRC_32(text, 9, &crc) == 0 && crc == 0x2DFD2D88U &&
         XELP_IniGetFileContent(name, &document) == XELP_ERR_INI_OK &&
         XELP_IniGetKeyValue(&document, "net", "port", &value) == XELP_ERR_INI_OK &&
         strcmp(value, "5060") == 0;
    if (ok) {
        XELP_MemFreeD(value, __LINE__, __FILE__);
        XELP_IniFreeIniStruct(&document);
    }
    return remove(name) == 0 && ok ? 0 : 1;
}
