/* The example of slink.h. */
#include <string.h>

#include "wyx_commlib/slink.h"

int slink_example(void);

static int iReleased;

static QAL_UINT32 CompareName(const void *pCmpCondition, void *pstruUserNode)
{
    return strcmp((const char *)pCmpCondition, (const char *)pstruUserNode) != 0;
}

static void ReleasePerson(void *pstruUserNode)
{
    iReleased += *(const char *)pstruUserNode == 'A';
}

int slink_example(void)
{
    char person[] = "Ada";
#include "slink_1.inc"
    return iReleased != 1;
}
