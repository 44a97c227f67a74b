/* Counts how often each word of standard input occurs, with a hash table from words to counters. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "os_adapter.h" /* for the release of key copies */
#include "wyx_commlib/hash.h"

#define BUCKETS 1021 /* a prime, near the number of different words expected */

/* FNV-1a, 32 bits. A key is a string; the table does not pass its length. */
static QAL_UINT32 HashWord(void *key, QAL_UINT32 *value)
{
    const unsigned char *byte;
    QAL_UINT32 hash = 0x811C9DC5U;
    for (byte = key; *byte != '\0'; ++byte) {
        hash = (hash ^ *byte) * 0x01000193U;
    }
    *value = hash;
    return 0;
}

static QAL_UINT32 CompareWords(void *key, void *storedKey)
{
    return strcmp(key, storedKey) != 0;
}

/* The table allocated the copy, so XELP_MemFreeD() releases it. */
static void ReleaseWord(void *storedKey)
{
    XELP_MemFreeD(storedKey, __LINE__, __FILE__);
}

static void ReleaseCounter(void *userNode)
{
    free(userNode);
}

static int CountWord(void *table, char *word)
{
    void *found = NULL;
    unsigned long *counter;

    if (XELP_Hash_QueryNode(table, word, &found) == 0) {
        counter = found;
        ++*counter;
        return 0;
    }
    counter = malloc(sizeof *counter);
    if (counter == NULL) {
        return -1;
    }
    *counter = 1;
    /* The table keeps the counter and a copy of the word with its NUL. */
    if (XELP_Hash_SaveNode(table, word, (QAL_UINT32)strlen(word) + 1, counter) != 0) {
        ReleaseCounter(counter);
        return -1;
    }
    return 0;
}

int main(void)
{
    void *table = NULL;
    void *found = NULL;
    QAL_UINT32 words = 0;
    char the[] = "the"; /* not const, because the calls take a void * */
    char word[64];      /* scanf() splits words that are longer */
    int isGood = 1;

    if (XELP_Hash_Init(BUCKETS, HashWord, CompareWords, ReleaseWord, ReleaseCounter, &table) != 0) {
        return EXIT_FAILURE;
    }
    while (isGood && scanf("%63s", word) == 1) {
        isGood = CountWord(table, word) == 0;
    }

    XELP_Hash_Get_NodeNumber(table, &words);
    printf("%u different words\n", words);
    if (XELP_Hash_QueryNode(table, the, &found) == 0) {
        printf("\"the\": %lu\n", *(unsigned long *)found);
        XELP_Hash_DeleteCurNode(table); /* the query put the cursor on it */
    }

    XELP_Hash_DeInit(table, XELP_HASH_FreeUserNode_Yes); /* releases every word and counter */
    return isGood ? EXIT_SUCCESS : EXIT_FAILURE;
}
