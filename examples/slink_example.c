/* Keeps the last few log messages in a fixed-capacity list: once it exists, logging allocates
 * nothing, and the newest message replaces the oldest. */
#include <stdio.h>
#include <stdlib.h>

#include "wyx_commlib/slink.h"

#define KEPT_MESSAGES 3

/* The messages are static: there is nothing to release, but a list needs a callback. */
static void ReleaseNothing(void *userNode)
{
    (void)userNode;
}

/* User nodes are not const, since a callback may free them; the list never writes to one. */
static int Log(void *log, char *message)
{
    QAL_UINT32 status = XELP_SLinkList_Insert(log, message, XELP_SLL_Insert_After_LastNode);
    if (status == XELP_ERR_SLL_FULL) {
        XELP_SLinkList_Delete_HeadNode(log);
        status = XELP_SLinkList_Insert(log, message, XELP_SLL_Insert_After_LastNode);
    }
    return status == 0 ? 0 : -1;
}

int main(void)
{
    static char messages[5][8] = {"start", "open", "read", "close", "stop"};
    void *log = NULL;
    void *message = NULL;
    int isGood = 1;
    int i;

    /* No comparator: this list is never searched. */
    if (XELP_SLinkList_Init(KEPT_MESSAGES, NULL, ReleaseNothing, &log) != 0) {
        return EXIT_FAILURE;
    }
    for (i = 0; i < 5; ++i) {
        isGood = isGood && Log(log, messages[i]) == 0;
    }

    /* From the newest to the oldest, with the cursor: it is on the message inserted last. */
    if (isGood && XELP_SLinkList_Get_CurNode(log, &message) == 0) {
        do {
            printf("%s\n", (const char *)message);
        } while (XELP_SLinkList_Get_PriorNode(log, &message) == 0);
    }

    XELP_SLinkList_Deinit(log, XELP_SLL_FreeUserNode_No);
    return isGood ? EXIT_SUCCESS : EXIT_FAILURE;
}
