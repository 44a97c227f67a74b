/* Callbacks of the containers for tests in plain C99, whose user nodes are ints. */
#ifndef WYX_TESTS_SUPPORT_HEADER_CALLBACKS_H
#define WYX_TESTS_SUPPORT_HEADER_CALLBACKS_H

#include "wyx_commlib/types.h"

/* A release that leaves a trace. */
static void Zero(void *pstruUserNode)
{
    *(int *)pstruUserNode = 0;
}

/* The callback of a walk: adds up the user nodes, and stores the last one. */
static QAL_UINT32 Add(void *pProcessCondition, void *pstruUserNode, void **pOther)
{
    *(int *)pProcessCondition += *(int *)pstruUserNode;
    *pOther = pstruUserNode;
    return 0;
}

#endif
