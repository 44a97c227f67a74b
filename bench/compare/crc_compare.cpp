// The checksums compared with zlib, libdeflate, ISA-L and the loop of one table look-up per byte.
#include <isa-l/crc.h>
#include <libdeflate.h>
#include <zlib.h>

#include <array>
#include <string>
#include <vector>

#include "harness.h"
#include "read_all.h"
#include "wyx_commlib/crc.h"

namespace wyx::bench {
namespace {

/// CRC-16 by one table look-up per byte.
QAL_UINT32 Crc16ByteLoop(const QAL_UINT8 *pucData, std::size_t size)
{
    static const auto s_aTable = [] {
        std::array<QAL_UINT16, 256> aTable{};
        for (std::size_t i = 0; i < aTable.size(); ++i) {
            const auto uc = static_cast<QAL_UINT8>(i);
            XELP_CRC_16(&uc, 1, &aTable[i]);
        }
        return aTable;
    }();
    const QAL_UINT16 *const puwTable = s_aTable.data();
    QAL_UINT32 ulCrc = 0;
    for (std::size_t i = 0; i < size; ++i) {
        ulCrc = puwTable[pucData[i] ^ (ulCrc >> 8)] ^ ((ulCrc << 8) & 0xFFFFU);
    }
    return ulCrc;
}

/// The others invert the CRC before and after. Started with this value, they compute the complement
/// of ours.
constexpr QAL_UINT32 kInverted = 0xFFFFFFFF;

template <typename Keeper>
void KeepInverted(const Keeper &keep, unsigned long uCrc)
{
    keep(uCrc, [=] { return static_cast<QAL_UINT32>(~uCrc); });
}

struct Size {
    const char *pszName;
    QAL_UINT32 ulBytes;
    Target zlib;
    Target libdeflate;
    Target isal;
    Target byteLoop;
    Target ourCrc32;
};

constexpr Size kSizes[] = {
    {"16 B", 16, {1.2, {}}, {}, {}, {}, {}},
    {"64 B", 64, {2.0, {}}, {{}, 1.0}, {}, {2.2, {}}, {{}, 0.5}},
    {"256 B", 256, {1.5, {}}, {{}, 1.0}, {}, {4.5, {}}, {{}, 0.5}},
    {"1 KiB", 1024, {1.25, {}}, {{}, 1.0}, {}, {13, {}}, {{}, 0.5}},
    {"16 KiB", 16 << 10, {2.0, {}}, {{}, 1.0}, {{}, 0.9}, {50, {}}, {{}, 0.5}},
    {"1 MiB", 1 << 20, {2.7, {}}, {{}, 1.0}, {{}, 0.9}, {60, {}}, {{}, 0.5}},
    {"13 B", 13, {}, {}, {}, {}, {}}, // from here on: no multiples of a word or vector
    {"79 B", 79, {}, {}, {}, {}, {}},
    {"301 B", 301, {}, {}, {}, {}, {}},
    {"1500 B", 1500, {}, {}, {}, {}, {}},
};

void AddSizes(Report &report, const QAL_UINT8 *pucData)
{
    for (const Size &size : kSizes) {
        const QAL_UINT32 ulBytes = size.ulBytes;
        const auto ours32 = [=](auto keep) {
            QAL_UINT32 ulCrc;
            XELP_CRC_32(pucData, ulBytes, &ulCrc);
            keep(ulCrc);
        };
        const auto ours16 = [=](auto keep) {
            QAL_UINT16 uwCrc;
            XELP_CRC_16(pucData, ulBytes, &uwCrc);
            keep(uwCrc);
        };
        const auto read = [=](auto keep) { keep(ReadAll(pucData, ulBytes)); };
        report.Add("CRC-32", size.pszName, ulBytes)
            .Ours(ours32)
            .Peer(
                "zlib",
                [=](auto keep) { KeepInverted(keep, crc32_z(kInverted, pucData, ulBytes)); },
                size.zlib)
            .Peer(
                "libdeflate",
                [=](auto keep) {
                    KeepInverted(keep, libdeflate_crc32(kInverted, pucData, ulBytes));
                },
                size.libdeflate)
            .Peer(
                "ISA-L",
                [=](auto keep) {
                    KeepInverted(keep, crc32_gzip_refl(kInverted, pucData, ulBytes));
                },
                size.isal)
            .Limit("reading", read);
        report.Add("CRC-16", size.pszName, ulBytes)
            .Ours(ours16)
            .Peer(
                "byte loop", [=](auto keep) { keep(Crc16ByteLoop(pucData, ulBytes)); },
                size.byteLoop)
            .Other("our CRC-32", ours32, size.ourCrc32)
            .Limit("reading", read);
    }
}

/// Small pieces of one message: each call waits for the result of the call before it.
void AddPieces(Report &report, const QAL_UINT8 *pucData)
{
    for (const QAL_UINT32 ulBytes : {16U, 64U, 256U}) {
        report.Add("CRC-32 in pieces", std::to_string(ulBytes) + " B", ulBytes)
            .Ours([=, ulCrc = QAL_UINT32{0}](auto keep) mutable {
                XELP_CRC_Accumulate_32(ulCrc, pucData, ulBytes, &ulCrc);
                keep(ulCrc);
            })
            .Peer("zlib",
                  [=, uCrc = uLong{kInverted}](auto keep) mutable {
                      uCrc = crc32_z(uCrc, pucData, ulBytes);
                      KeepInverted(keep, uCrc);
                  })
            .Peer("libdeflate", [=, ulCrc = kInverted](auto keep) mutable {
                ulCrc = libdeflate_crc32(ulCrc, pucData, ulBytes);
                KeepInverted(keep, ulCrc);
            });
    }
}

} // namespace
} // namespace wyx::bench

int main(int argc, char **argv)
{
    std::vector<QAL_UINT8> data((1 << 20) + 1);
    QAL_UINT32 ulState = 1;
    for (QAL_UINT8 &uc : data) {
        ulState = ulState * 1664525U + 1013904223U;
        uc = static_cast<QAL_UINT8>(ulState >> 24);
    }
    wyx::bench::Report report(argc, argv);
    wyx::bench::AddSizes(report, data.data() + 1); // unaligned
    wyx::bench::AddPieces(report, data.data() + 1);
    return report.Run();
}
