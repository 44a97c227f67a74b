/* The recipes of the page on the hash table. */
#include <string.h>

#include "os_adapter.h"
#include "persons.h"
#include "wyx_commlib/hash.h"

int hash_page_example(void);

#include "hash_page_1.inc"

static QAL_UINT32 ShowEach(void *condition, void *person, void **other)
{
    ShowPerson(person);
    return condition != NULL || other != NULL;
}

static int NoMemory(void)
{
    return 1;
}

int hash_page_example(void)
{
    char name[] = "ada", otherName[] = "bob", person[] = "Ada", bob[] = "Bob", eve[] = "Eve";
    char third[] = "eve";
#include "hash_page_2.inc"
    if (status != 0 || XELP_Hash_SaveNode(table, otherName, sizeof otherName, bob) != 0 ||
        XELP_Hash_SaveNode(table, third, sizeof third, eve) != 0 ||
        XELP_Hash_SaveNode(table, name, sizeof name, person) != XELP_ERR_HASH_RESAVE) {
        return 1;
    }
#include "hash_page_3.inc"
#include "hash_page_4.inc"
#include "hash_page_5.inc"
#include "hash_page_6.inc"
    return strcmp(aSeen, "AE") != 0 || strcmp(aReleased, "ABE") != 0;
}
