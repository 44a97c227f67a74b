/* The recipes of the page on the doubly linked list. */
#include <string.h>

#include "persons.h"
#include "wyx_commlib/dlink.h"

int dlink_page_example(void);

static QAL_UINT32 CompareName(const void *pCmpCondition, void *pstruUserNode)
{
    return strcmp((const char *)pCmpCondition, (const char *)pstruUserNode) != 0;
}

static void Serve(const void *person)
{
    Note(aSeen, person);
}

static int NoMemory(void)
{
    return 1;
}

int dlink_page_example(void)
{
    char ada[] = "Ada", bob[] = "Bob", eve[] = "Eve", kim[] = "Kim";
    char *person = ada;
#include "dlink_page_1.inc"
    if (XELP_DLinkList_Insert(list, bob, XELP_DLL_Insert_After_LastNode) != 0 ||
        XELP_DLinkList_Insert(list, eve, XELP_DLL_Insert_After_LastNode) != 0 ||
        XELP_DLinkList_Insert(list, kim, XELP_DLL_Insert_After_LastNode) != 0) {
        return 1;
    }
#include "dlink_page_2.inc"
    if (status != XELP_ERR_DLL_TAIL) {
        return 1;
    }
#include "dlink_page_3.inc"
#include "dlink_page_4.inc"
#include "dlink_page_5.inc"
#include "dlink_page_6.inc"
    return strcmp(aSeen, "ABEKAE") != 0 || strcmp(aReleased, "ABK") != 0;
}
