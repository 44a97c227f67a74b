// Parsing addresses, compared with inet_pton(). One repetition parses a whole set: 4,096 addresses,
// which a branch predictor can memorise, or 32,768, which it cannot.
#include <arpa/inet.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "harness.h"
#include "wyx_commlib/ip4_ip6_parser.h"

namespace wyx::bench {
namespace {

using Texts = std::vector<std::string>;

std::string RandomIpv4(std::mt19937 &random)
{
    const unsigned long value = random();
    std::string text;
    for (int iShift = 24; iShift >= 0; iShift -= 8) {
        // Random bytes alone would mostly have three digits.
        const unsigned long octet = value >> iShift & 0xFF;
        const unsigned long few[] = {octet % 10, octet % 100, octet};
        text += std::to_string(few[random() % 3]) + (iShift > 0 ? "." : "");
    }
    return text;
}

std::string RandomIpv6(std::mt19937 &random)
{
    unsigned char address[16] = {};
    for (unsigned char &byte : address) {
        byte = static_cast<unsigned char>(random());
    }
    if (random() % 2 == 0) { // about half of them with a gap
        const std::size_t first = random() % 6 * 2;
        std::memset(address + first, 0, 4 + random() % 2 * 2);
    }
    char szText[INET6_ADDRSTRLEN];
    return inet_ntop(AF_INET6, address, szText, sizeof szText);
}

char *Text(const std::string &text)
{
    return const_cast<char *>(text.c_str());
}

/// A host and a port, the way a program without our parser reads them.
bool SplitAndParse(const std::string &text, in_addr &address, unsigned &uPort)
{
    char szHost[INET_ADDRSTRLEN];
    const char *const pszColon = std::strchr(text.c_str(), ':');
    if (pszColon == nullptr || pszColon - text.c_str() >= INET_ADDRSTRLEN) {
        return false;
    }
    const auto hostLen = static_cast<std::size_t>(pszColon - text.c_str());
    std::memcpy(szHost, text.c_str(), hostLen);
    szHost[hostLen] = '\0';
    char *pszEnd = nullptr;
    uPort = static_cast<unsigned>(std::strtoul(pszColon + 1, &pszEnd, 10));
    return *pszEnd == '\0' && inet_pton(AF_INET, szHost, &address) == 1;
}

void AddSets(Report &report, std::size_t count, Target ipv4, Target withPort, Target ipv6)
{
    std::mt19937 random{static_cast<unsigned>(count)};
    Texts four(count);
    Texts ports(count);
    Texts six(count);
    for (std::size_t i = 0; i < count; ++i) {
        four[i] = RandomIpv4(random);
        ports[i] = four[i] + ":" + std::to_string(random() % 65536);
        six[i] = RandomIpv6(random);
    }
    const std::string name = std::to_string(count) + " addresses";
    const auto byOurs4 = [](const Texts &texts) {
        return [=](auto keep) {
            for (const std::string &text : texts) {
                QAL_UINT32 ulAddr;
                QAL_UINT16 uwPort;
                const QAL_UINT32 ulStatus = XELP_Parse_IPV4(Text(text), &ulAddr, &uwPort);
                keep(ulStatus, [=] { return ulStatus == 0 || ulStatus == XELP_OK_HAVE_PORT; });
                keep(ulAddr);
                keep(uwPort);
            }
        };
    };
    report.Add("IPv4", name)
        .Ours(byOurs4(four))
        .Peer(
            "inet_pton",
            [=](auto keep) {
                for (const std::string &text : four) {
                    in_addr address;
                    const int iStatus = inet_pton(AF_INET, text.c_str(), &address);
                    keep(iStatus, [=] { return iStatus == 1; });
                    keep(address, [=] { return ntohl(address.s_addr); });
                    keep(0); // no port
                }
            },
            ipv4);
    report.Add("IPv4 with port", name)
        .Ours(byOurs4(ports))
        .Peer(
            "split, inet_pton, strtoul",
            [=](auto keep) {
                for (const std::string &text : ports) {
                    in_addr address;
                    unsigned uPort;
                    keep(SplitAndParse(text, address, uPort));
                    keep(address, [=] { return ntohl(address.s_addr); });
                    keep(uPort);
                }
            },
            withPort);
    report.Add("IPv6", name)
        .Ours([=](auto keep) {
            for (const std::string &text : six) {
                std::array<QAL_UINT8, 16> address;
                QAL_UINT16 uwPort;
                const QAL_UINT32 ulStatus = XELP_Parse_IPV6(Text(text), address.data(), &uwPort);
                keep(ulStatus, [=] { return ulStatus == 0; });
                keep(address);
            }
        })
        .Peer(
            "inet_pton",
            [=](auto keep) {
                for (const std::string &text : six) {
                    std::array<QAL_UINT8, 16> address;
                    const int iStatus = inet_pton(AF_INET6, text.c_str(), address.data());
                    keep(iStatus, [=] { return iStatus == 1; });
                    keep(address);
                }
            },
            ipv6);
}

} // namespace
} // namespace wyx::bench

int main(int argc, char **argv)
{
    wyx::bench::Report report(argc, argv);
    // inet_pton() takes 13 or 26 ns for one of the 4,096, depending on whether the branch predictor
    // has learnt the set in this process.
    wyx::bench::AddSets(report, 4096, {{}, {}, false}, {}, {});
    wyx::bench::AddSets(report, 32768, {1.8, {}}, {1.6, {}}, {2.8, {}});
    return report.Run();
}
