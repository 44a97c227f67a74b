/* The examples of hash.h: a callback, and the calls that use it. */
#include <string.h>

#include "os_adapter.h"
#include "wyx_commlib/hash.h"

int hash_example(void);

#include "hash_1.inc"

static int iReleased;

static QAL_UINT32 HashName(void *pKeyValue, QAL_UINT32 *pulHashValue)
{
    *pulHashValue = *(const QAL_UINT8 *)pKeyValue;
    return 0;
}

static QAL_UINT32 CompareNames(void *pKeyValue, void *pstruKey)
{
    return strcmp((const char *)pKeyValue, (const char *)pstruKey) != 0;
}

static void ReleasePerson(void *pstruUserNode)
{
    iReleased += *(const char *)pstruUserNode == 'A';
}

int hash_example(void)
{
    char person[] = "A person";
    char name[] = "Ada";
    const QAL_UINT32 nameLen = sizeof name - 1;
#include "hash_2.inc"
    return found != person || iReleased != 1;
}
