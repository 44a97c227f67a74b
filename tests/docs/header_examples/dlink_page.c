/* The recipes of the page on the doubly linked list. */
#include <string.h>

#include "wyx_commlib/dlink.h"

int dlink_page_example(void);

static char aSeen[16], aReleased[16];

static void Note(char *where, const void *person)
{
    const size_t length = strlen(where);
    where[length] = *(const char *)person;
    where[length + 1] = '\0';
}

static QAL_UINT32 CompareName(const void *pCmpCondition, void *pstruUserNode)
{
    return strcmp((const char *)pCmpCondition, (const char *)pstruUserNode) != 0;
}

static void ReleasePerson(void *person)
{
    Note(aReleased, person);
}

static void ShowPerson(const void *person)
{
    Note(aSeen, person);
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
