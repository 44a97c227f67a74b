// Runs each operation for scripts/instructions.sh, which counts its instructions.
//
// A line of the output has the operation's name (in asterisks if it is not ours), the number to
// divide its counts by, and three counts of all instructions so far. The emulator's plug-in writes
// a count at each mark: after a round that warms up, after one more round, and after two more.
// Whatever else runs between two marks is the same both times, so the second difference minus the
// first is the cost of one round.
#include <arpa/inet.h>
#include <gnu/libc-version.h>
#include <sys/syscall.h>

#include <array>
#include <list>
#include <unordered_map>

#include "operations.h"

namespace {

using namespace wyx::bench;

constexpr long kMark = 0x77797800; // as in instructions_plugin.c
constexpr int kRound = 8;

void Execute(const Operation &operation, int iTimes)
{
    for (int i = 0; i < iTimes; ++i) {
        operation();
    }
    std::fflush(stdout);
    syscall(SYS_getpid, kMark);
}

void Count(const char *pszName, const Operation &operation, std::size_t elements = 1)
{
    std::printf("%s\t%zu", pszName, elements * kRound);
    Execute(operation, kRound);
    Execute(operation, kRound);
    Execute(operation, 2 * kRound);
    std::printf("\n");
}

/// Constructs the operation for a size and counts per element.
void CountEach(const char *pszName, Operation (*pfunMake)(std::size_t), std::size_t size)
{
    Count(pszName, pfunMake(size), size);
}

// ---- addresses ----------------------------------------------------------------------------------

template <typename ParseText>
Operation Parse(ParseText parse, const char *pszText)
{
    return [parse, text = std::string(pszText)]() mutable {
        std::array<QAL_UINT32, 4> address;
        Check(parse(text.data(), address.data()) ? 0 : 1, text.c_str());
        Keep(address);
    };
}

Operation Ipv4(const char *pszText)
{
    return Parse(
        [](QAL_CHAR *psz, QAL_UINT32 *pulAddr) {
            QAL_UINT16 uwPort;
            return XELP_Parse_IPV4(psz, pulAddr, &uwPort) <= XELP_OK_HAVE_PORT;
        },
        pszText);
}

Operation Ipv6(const char *pszText)
{
    return Parse(
        [](QAL_CHAR *psz, void *pAddr) {
            QAL_UINT16 uwPort;
            return XELP_Parse_IPV6(psz, static_cast<QAL_UINT8 *>(pAddr), &uwPort) == 0;
        },
        pszText);
}

template <int kFamily>
Operation ByLibc(const char *pszText)
{
    return Parse([](QAL_CHAR *psz, void *pAddr) { return inet_pton(kFamily, psz, pAddr) == 1; },
                 pszText);
}

// ---- the C++ library next to our containers -----------------------------------------------------

Operation StandardList(std::size_t size)
{
    return [list = std::list<void *>(size)]() mutable {
        list.push_back(list.front());
        list.pop_front();
    };
}

Operation StandardFind(std::size_t size)
{
    std::unordered_map<std::uint32_t, void *> map;
    for (std::size_t i = 0; i < size; ++i) {
        map[static_cast<std::uint32_t>(i)] = nullptr;
    }
    return [map, last = static_cast<std::uint32_t>(size - 1)] { Keep(map.find(last)); };
}

} // namespace

int main()
{
#if defined(__clang__)
    std::printf("Clang %d.%d.%d", __clang_major__, __clang_minor__, __clang_patchlevel__);
#else
    std::printf("GCC " __VERSION__);
#endif
    std::printf(", glibc %s\n", gnu_get_libc_version());

    Count("CRC-16, 64 bytes", Crc<XELP_CRC_16, QAL_UINT16>(64));
    Count("CRC-16, 1,024 bytes", Crc<XELP_CRC_16, QAL_UINT16>(1024));
    Count("CRC-16, 16,384 bytes", Crc<XELP_CRC_16, QAL_UINT16>(16384));
    Count("CRC-32, 64 bytes", Crc<XELP_CRC_32, QAL_UINT32>(64));
    Count("CRC-32, 1,024 bytes", Crc<XELP_CRC_32, QAL_UINT32>(1024));
    Count("CRC-32, 16,384 bytes", Crc<XELP_CRC_32, QAL_UINT32>(16384));
    Count("MD5, 64 bytes", Md5(64));
    Count("MD5, 1,024 bytes", Md5(1024));
    Count("MD5, 16,384 bytes", Md5(16384));
    Count("Base64 encode, 16 bytes", Base64Encode(16));
    Count("Base64 encode, 64 bytes", Base64Encode(64));
    Count("Base64 encode, 1,024 bytes", Base64Encode(1024));
    Count("Base64 decode, 16 bytes", Base64Decode(16));
    Count("Base64 decode, 64 bytes", Base64Decode(64));
    Count("Base64 decode, 1,024 bytes", Base64Decode(1024));
    Count("IPv4, 192.168.17.201", Ipv4("192.168.17.201"));
    Count("IPv4, 10.0.0.1:8080", Ipv4("10.0.0.1:8080"));
    Count("*inet_pton, 192.168.17.201*", ByLibc<AF_INET>("192.168.17.201"));
    Count("IPv6, 2001:db8:85a3::8a2e:370:7334", Ipv6("2001:db8:85a3::8a2e:370:7334"));
    Count("IPv6, fe80:1:22:333:4444:abcd:ef01:2", Ipv6("fe80:1:22:333:4444:abcd:ef01:2"));
    Count("*inet_pton, 2001:db8:85a3::8a2e:370:7334*",
          ByLibc<AF_INET6>("2001:db8:85a3::8a2e:370:7334"));
    Count("*inet_pton, fe80:1:22:333:4444:abcd:ef01:2*",
          ByLibc<AF_INET6>("fe80:1:22:333:4444:abcd:ef01:2"));
    Count("dlink, append and take first", TakeFirstAndAppend<Linked>(1000));
    CountEach("dlink, find last, per element", FindLast<Linked>, 1000);
    CountEach("dlink, walk, per element", Walk<Linked>, 1000);
    CountEach("dlink, fill and release, per element", FillAndRelease<Linked>, 1000);
    Count("slink, append and take first", TakeFirstAndAppend<Indexed>(1000));
    CountEach("slink, find last, per element", FindLast<Indexed>, 1000);
    CountEach("slink, walk, per element", Walk<Indexed>, 1000);
    CountEach("slink, fill and release, per element", FillAndRelease<Indexed>, 1000);
    Count("*std::list, append and take first*", StandardList(1000));
    Count("hash, save and remove", HashSaveAndRemove(1000));
    Count("hash, find", HashFind(1000));
    CountEach("hash, fill and release, per element", FillAndRelease<Table<SpreadHash>>, 1000);
    Count("*std::unordered_map, find*", StandardFind(1000));
    CountEach("INI load, per line of 40", IniLoad, 40);
    CountEach("INI load, per line of 1,000", IniLoad, 1000);
    CountEach("INI check, per line", IniCheck, 1000);
    CountEach("INI look-up in the first section, per line", IniLookUpInFirstSection, 1000);
    Count("INI look-up in the last section", IniLookUpInLastSection(1000));
    CountEach("INI list of sections, per line", IniListSections, 1000);
    Count("INI list of keys in the last section", IniListKeys(1000));
    Count("INI set in the last section", IniSetInLastSection(1000));
    Count("INI add and delete a key in the last section", IniAddAndDelete(1000));
    CountEach("INI load, set, save, per line of 40", IniLoadSetSave, 40);
    CountEach("INI load, set, save, per line of 1,000", IniLoadSetSave, 1000);
}
