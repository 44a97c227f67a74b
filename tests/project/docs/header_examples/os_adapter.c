/* The example of os_adapter.h, on files in the working directory. */
#include "os_adapter.h"

#include <string.h>

int os_adapter_example(void);

static char aShown[16];
static size_t shown;

static void Show(QAL_INT32 byte)
{
    if (shown < sizeof aShown - 1) {
        aShown[shown++] = (char)byte;
    }
}

int os_adapter_example(void)
{
    const char *text = "a\nb\n";
    QAL_INT32 status = -1;
    memset(aShown, 0, sizeof aShown);
    shown = 0;
#include "os_adapter_1.inc"
    return status != 0 || strcmp(aShown, text) != 0;
}
