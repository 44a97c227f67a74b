/* The example of bounded.h, with a value that fits and one that does not. */
#include "bounded.h"

#include <string.h>

int bounded_example(void);

static int refused;

static void Refuse(const char *key)
{
    (void)key;
    ++refused;
}

static int Matches(const char *key, const char *value, const char *expected)
{
#include "bounded_1.inc"
    return strcmp(line, expected) == 0;
}

int bounded_example(void)
{
    refused = 0;
    return !Matches("port", "5060", "port=5060") || refused != 0 ||
           !Matches("proxy", "sip.example.org", "") || refused != 1;
}
