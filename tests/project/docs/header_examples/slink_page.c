/* The recipes of the page on the fixed-capacity list, and those of the doubly linked list that
 * it refers to. */
#include <string.h>

#include "persons.h"
#include "wyx_commlib/slink.h"

#define XELP_DLinkList_Set_CurPtr XELP_SLinkList_Set_CurPtr
#define XELP_DLinkList_Get_CurNode XELP_SLinkList_Get_CurNode
#define XELP_DLinkList_Get_NextNode XELP_SLinkList_Get_NextNode
#define XELP_DLinkList_Query XELP_SLinkList_Query
#define XELP_DLinkList_Remove XELP_SLinkList_Remove
#define XELP_DLinkList_Delete XELP_SLinkList_Delete

int slink_page_example(void);

static QAL_UINT32 CompareName(const void *pCmpCondition, void *pstruUserNode)
{
    return strcmp((const char *)pCmpCondition, (const char *)pstruUserNode) != 0;
}

static int NoMemory(void)
{
    return 1;
}

static QAL_UINT32 Add(void *list, char *person)
{
#include "slink_page_2.inc"
    return status;
}

static QAL_UINT32 Walk(void *list)
{
#include "dlink_page_2.inc"
    return status;
}

int slink_page_example(void)
{
    char ada[] = "Ada", bob[] = "Bob", eve[] = "Eve", kim[] = "Kim";
    int i;
#include "slink_page_1.inc"
    for (i = 0; i < 62; ++i) {
        if (Add(list, kim) != 0) {
            return 1;
        }
    }
    if (Add(list, ada) != 0 || Add(list, bob) != 0 || strcmp(aReleased, "") != 0 ||
        Add(list, eve) != 0 || strcmp(aReleased, "K") != 0 || Walk(list) != XELP_ERR_SLL_TAIL) {
        return 1;
    }
#include "dlink_page_3.inc"
#include "dlink_page_4.inc"
#include "slink_page_3.inc"
    return strlen(aSeen) != 65 || strcmp(aSeen + 60, "KABEA") != 0 || strlen(aReleased) != 65 ||
           strncmp(aReleased, "KABK", 4) != 0;
}
