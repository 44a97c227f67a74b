/* The recipes of the page on addresses. */
#if !defined(_GNU_SOURCE)
#define _GNU_SOURCE
#endif
#include <arpa/inet.h>
#include <netinet/in.h>
#include <string.h>
#include <sys/socket.h>

#include "wyx_commlib/ip4_ip6_parser.h"

int ip4_ip6_parser_page_example(void);

static char aText[64];

static int Refuse(const char *text)
{
    return *text == '\0' ? -3 : -2;
}

static int Ipv4(char *text)
{
    struct sockaddr_in to;
#include "ip4_ip6_parser_page_1.inc"
    return inet_ntop(AF_INET, &to.sin_addr, aText, sizeof aText) != NULL ? ntohs(to.sin_port) : -1;
}

static int Ipv6(char *text)
{
    struct sockaddr_in6 to;
#include "ip4_ip6_parser_page_2.inc"
    return inet_ntop(AF_INET6, &to.sin6_addr, aText, sizeof aText) != NULL ? ntohs(to.sin6_port)
                                                                           : -1;
}

int ip4_ip6_parser_page_example(void)
{
    char withPort[] = "10.0.0.1:8080", without[] = "10.0.0.1", malformed[] = "10.0.0.1 ";
    char ipv6WithPort[] = "[2001:db8::1]:443", ipv6[] = "2001:db8::1", refused[] = "2001:db8";
    return Ipv4(withPort) != 8080 || strcmp(aText, "10.0.0.1") != 0 || Ipv4(without) != 80 ||
           Ipv4(malformed) != -2 || Ipv6(ipv6WithPort) != 443 ||
           strcmp(aText, "2001:db8::1") != 0 || Ipv6(ipv6) != 80 || Ipv6(refused) != -2;
}
