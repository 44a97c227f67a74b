/* The example of ip4_ip6_parser.h. */
#include "wyx_commlib/ip4_ip6_parser.h"

int ip4_ip6_parser_example(void);

static int Connect(QAL_UINT32 addr, QAL_UINT16 port)
{
    return addr == 0x0A000001 ? port : -1;
}

static int Refuse(const char *text)
{
    return *text == '\0' ? -3 : -2;
}

static int Open(char *text, QAL_UINT16 defaultPort)
{
#include "ip4_ip6_parser_1.inc"
}

int ip4_ip6_parser_example(void)
{
    char withPort[] = "10.0.0.1:8080";
    char without[] = "10.0.0.1";
    char malformed[] = "10.0.0.1 ";
    return Open(withPort, 80) != 8080 || Open(without, 80) != 80 || Open(malformed, 80) != -2;
}
