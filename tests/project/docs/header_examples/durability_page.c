/* The example of docs/durability.md, in which nothing can be locked. */
#if !defined(_GNU_SOURCE)
#define _GNU_SOURCE
#endif
#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

int durability_page_example(void);

int durability_page_example(void)
{
#include "durability_page_1.inc"
    return 0;
}
