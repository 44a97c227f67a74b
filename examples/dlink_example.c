/* A queue of jobs in a doubly linked list: urgent jobs go to the front, one job is looked up and
 * taken back, and a walk deletes the jobs that are done. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "wyx_commlib/dlink.h"

struct job {
    char name[16];
    int isDone;
};

/* Returns 0 for a match, as strcmp() does. */
static QAL_UINT32 CompareName(const void *condition, void *userNode)
{
    const struct job *job = userNode;
    return strcmp(condition, job->name) != 0;
}

static void ReleaseJob(void *userNode)
{
    free(userNode);
}

/* The list keeps the job; if it cannot, the job is released here. */
static int AddJob(void *list, const char *name, int isDone, XELP_E_DLL_Insert_Position position)
{
    struct job *job = malloc(sizeof *job);
    if (job == NULL) {
        return -1;
    }
    snprintf(job->name, sizeof job->name, "%s", name);
    job->isDone = isDone;
    if (XELP_DLinkList_Insert(list, job, position) != 0) {
        ReleaseJob(job);
        return -1;
    }
    return 0;
}

/* May delete the job it is called for: the walk continues with the next job. If the last job was
 * deleted, the one before it is visited again, which does no harm here. */
static QAL_UINT32 DeleteIfDone(void *list, void *userNode, void **other)
{
    const struct job *job = userNode;
    (void)other;
    if (job->isDone) {
        XELP_DLinkList_Delete_CurNode(list);
    }
    return 0; /* continue */
}

static QAL_UINT32 Print(void *condition, void *userNode, void **other)
{
    const struct job *job = userNode;
    (void)condition;
    (void)other;
    printf("%s\n", job->name);
    return 0;
}

int main(void)
{
    void *list = NULL;
    void *found = NULL;
    int isGood;

    if (XELP_DLinkList_Init(CompareName, ReleaseJob, &list) != 0) {
        return EXIT_FAILURE;
    }
    isGood = AddJob(list, "compile", 1, XELP_DLL_Insert_After_LastNode) == 0 &&
             AddJob(list, "test", 0, XELP_DLL_Insert_After_LastNode) == 0 &&
             AddJob(list, "tidy up", 0, XELP_DLL_Insert_After_LastNode) == 0 &&
             AddJob(list, "put out fire", 0, XELP_DLL_Insert_Front_FirstNode) == 0;

    /* Once removed, the job is ours again. */
    isGood = isGood && XELP_DLinkList_Remove(list, "tidy up", NULL, &found) == 0;
    ReleaseJob(found); /* null if nothing was found */
    isGood = isGood && XELP_DLinkList_Process_List(list, DeleteIfDone, list, NULL) == 0 &&
             XELP_DLinkList_Process_List(list, Print, NULL, NULL) == 0;

    XELP_DLinkList_Deinit(list, XELP_DLL_FreeUserNode_Yes); /* releases the jobs that are left */
    return isGood ? EXIT_SUCCESS : EXIT_FAILURE;
}
