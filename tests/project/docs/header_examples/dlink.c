/* The example of dlink.h. */
#include <string.h>

#include "wyx_commlib/dlink.h"

int dlink_example(void);

static int iReleased;

static QAL_UINT32 CompareName(const void *pCmpCondition, void *pstruUserNode)
{
    return strcmp((const char *)pCmpCondition, (const char *)pstruUserNode) != 0;
}

static void ReleasePerson(void *pstruUserNode)
{
    iReleased += *(const char *)pstruUserNode == 'A';
}

int dlink_example(void)
{
    char person[] = "Ada";
#include "dlink_1.inc"
    return found != person || iReleased != 1;
}
