/* The records of the recipes for containers. They hold names, whose first letters are noted when
 * the records are shown or released. */
#ifndef WYX_TESTS_DOCS_PERSONS_H
#define WYX_TESTS_DOCS_PERSONS_H

#include <string.h>

static char aSeen[72], aReleased[72];

static void Note(char *where, const void *person)
{
    const size_t length = strlen(where);
    where[length] = *(const char *)person;
    where[length + 1] = '\0';
}

static void ReleasePerson(void *person)
{
    Note(aReleased, person);
}

static void ShowPerson(const void *person)
{
    Note(aSeen, person);
}

#endif
