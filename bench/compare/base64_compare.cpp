// Base64 both ways, compared with GLib and with OpenSSL's block functions. OpenSSL's functions
// allocate nothing, so a buffer is allocated for each of their calls: our calls allocate one, too.
#include <glib.h>
#include <openssl/evp.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "harness.h"
#include "wyx_commlib/base64.h"

namespace wyx::bench {
namespace {

struct Size {
    const char *pszName;
    QAL_INT32 lBytes;
    Target encode;
    Target decode;
    Target glib;
};

constexpr Size kSizes[] = {
    {"16 B", 16, {1.0, {}}, {0.85, {}}, {}},
    {"64 B", 64, {1.5, {}}, {1.2, {}}, {}},
    {"1 KiB", 1024, {2.4, 8.0}, {1.8, 7.0}, {2.0, 6.0}},
    {"64 KiB", 64 << 10, {2.5, 8.0}, {1.8, 7.0}, {2.0, 6.0}},
    {"1 MiB", 1 << 20, {{}, 8.0}, {{}, 7.0}, {2.0, 6.0}},
};

unsigned char *AsBytes(const std::string &text)
{
    return reinterpret_cast<unsigned char *>(const_cast<char *>(text.data()));
}

std::string Encoded(const std::string &bytes)
{
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    EVP_EncodeBlock(AsBytes(text), AsBytes(bytes), static_cast<int>(bytes.size()));
    text.pop_back();
    return text;
}

std::string InLines(const std::string &text)
{
    std::string lines;
    for (std::size_t at = 0; at < text.size(); at += 76) {
        lines += text.substr(at, 76) + "\r\n";
    }
    return lines;
}

/// Takes a result of this many bytes.
template <typename Keeper, typename Size>
void KeepBytes(const Keeper &keep, const void *pBytes, Size size)
{
    keep(size, [=] {
        return std::string(static_cast<const char *>(pBytes), static_cast<std::size_t>(size));
    });
}

template <typename Keeper>
void DecodeByOurs(const Keeper &keep, const std::string &text)
{
    QAL_UINT8 *pucBytes = nullptr;
    const QAL_INT32 lSize =
        MOX_BASE64Decode(AsBytes(text), static_cast<QAL_INT32>(text.size()), &pucBytes);
    KeepBytes(keep, pucBytes, lSize);
    MOX_BASE64Free(&pucBytes);
}

template <typename Keeper>
void DecodeByGlib(const Keeper &keep, const std::string &text)
{
    gsize size = 0;
    guchar *const pBytes = g_base64_decode(text.c_str(), &size);
    KeepBytes(keep, pBytes, size);
    g_free(pBytes);
}

void AddSizes(Report &report)
{
    for (const Size &size : kSizes) {
        std::string bytes(static_cast<std::size_t>(size.lBytes), '\0');
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<char>(i * i * 31 >> 4);
        }
        const std::string text = Encoded(bytes);
        const std::string lines = InLines(text);
        const auto lBytes = size.lBytes;
        const auto lText = static_cast<int>(text.size());

        report.Add("Base64 encoding", size.pszName, bytes.size())
            .Ours([=](auto keep) {
                QAL_UINT8 *pucText = nullptr;
                const QAL_INT32 lSize = MOX_BASE64Encode(AsBytes(bytes), lBytes, &pucText);
                KeepBytes(keep, pucText, lSize);
                MOX_BASE64Free(&pucText);
            })
            .Peer(
                "OpenSSL",
                [=](auto keep) {
                    auto *const pucText =
                        static_cast<unsigned char *>(std::malloc(text.size() + 1));
                    const int iSize = EVP_EncodeBlock(pucText, AsBytes(bytes), lBytes);
                    KeepBytes(keep, pucText, iSize);
                    std::free(pucText);
                },
                size.encode)
            .Peer("GLib",
                  [=](auto keep) {
                      gchar *const pszText = g_base64_encode(AsBytes(bytes), bytes.size());
                      keep(pszText, [=] { return std::string(pszText); });
                      g_free(pszText);
                  })
            .Limit("copying", [=](auto keep) {
                void *const pCopy = std::malloc(text.size() + 1);
                std::memcpy(pCopy, text.data(), text.size());
                keep(pCopy);
                std::free(pCopy);
            });
        report.Add("Base64 decoding", size.pszName, text.size())
            .Ours([=](auto keep) { DecodeByOurs(keep, text); })
            .Peer(
                "OpenSSL",
                [=](auto keep) {
                    auto *const pucBytes = static_cast<unsigned char *>(std::malloc(text.size()));
                    // The size also counts the bytes that padding replaces.
                    const int iSize = EVP_DecodeBlock(pucBytes, AsBytes(text), lText);
                    KeepBytes(keep, pucBytes, std::min(iSize, lBytes));
                    std::free(pucBytes);
                },
                size.decode)
            .Peer("GLib", [=](auto keep) { DecodeByGlib(keep, text); })
            .Limit("copying", [=](auto keep) {
                void *const pCopy = std::malloc(text.size());
                std::memcpy(pCopy, text.data(), text.size());
                keep(pCopy);
                std::free(pCopy);
            });
        report.Add("Base64 decoding, lines of 76", size.pszName, lines.size())
            .Ours([=](auto keep) { DecodeByOurs(keep, lines); })
            .Peer(
                "GLib", [=](auto keep) { DecodeByGlib(keep, lines); }, size.glib);
    }
}

} // namespace
} // namespace wyx::bench

int main(int argc, char **argv)
{
    wyx::bench::Report report(argc, argv);
    wyx::bench::AddSizes(report);
    return report.Run();
}
