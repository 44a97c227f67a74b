/* Reads "address" or "address:port" of either family, as a configuration might have it. */
#include <stdio.h>
#include <stdlib.h>

#include "wyx_commlib/ip4_ip6_parser.h"

enum { DEFAULT_PORT = 5060 };

static int describe(char *text)
{
    QAL_UINT32 addr;
    QAL_UINT8 addr6[16];
    QAL_UINT16 port;
    int i;

    /* Keep the number, not the text: other programs may read 010.0.0.1 differently. */
    switch (XELP_Parse_IPV4(text, &addr, &port)) {
        case 0:
            port = DEFAULT_PORT;
            /* fall through */
        case XELP_OK_HAVE_PORT:
            printf("%s: IPv4 %u.%u.%u.%u, port %u\n", text, addr >> 24, addr >> 16 & 255,
                   addr >> 8 & 255, addr & 255, (unsigned int)port);
            return 1;
        default:
            break;
    }
    if (XELP_Parse_IPV6(text, addr6, &port) == 0) {
        if (port == 0) { /* the status does not say whether the text has a port */
            port = DEFAULT_PORT;
        }
        printf("%s: IPv6 ", text);
        for (i = 0; i < 16; i += 2) {
            printf("%s%x", i > 0 ? ":" : "", (unsigned int)(addr6[i] << 8 | addr6[i + 1]));
        }
        printf(", port %u\n", (unsigned int)port);
        return 1;
    }
    printf("%s: no address\n", text);
    return 0;
}

int main(void)
{
    char plain[] = "192.0.2.1", withPort[] = "010.0.0.1:0x1F90", bracketed[] = "[2001:db8::1]:80",
         name[] = "example.org";

    return describe(plain) && describe(withPort) && describe(bracketed) && !describe(name)
               ? EXIT_SUCCESS
               : EXIT_FAILURE;
}
