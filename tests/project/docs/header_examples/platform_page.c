/* The recipe of the page on the platform adapter. */
#include <stddef.h>

#include "os_adapter.h"

int platform_page_example(void);

int platform_page_example(void)
{
    void *value = XELP_MemMallocD(1, __LINE__, __FILE__);
    const int isThere = value != NULL;
#include "platform_page_1.inc"
    value = NULL;
#include "platform_page_1.inc"
    return !isThere;
}
