// MD5 compared with OpenSSL's and nettle's.
#define OPENSSL_SUPPRESS_DEPRECATED // for the calls that do the same as ours
#include <nettle/md5.h>
#include <openssl/evp.h>
#include <openssl/md5.h>

#include <array>
#include <vector>

#include "harness.h"
#include "read_all.h"
#include "wyx_commlib/md5.h"

namespace wyx::bench {
namespace {

struct Size {
    const char *pszName;
    QAL_UINT ulBytes;
    Target openssl;
};

constexpr Size kSizes[] = {
    {"16 B", 16, {}},         {"64 B", 64, {1.03, {}}},
    {"256 B", 256, {}},       {"1 KiB", 1024, {1.04, {}}},
    {"16 KiB", 16 << 10, {}}, {"1 MiB", 1 << 20, {1.05, 1.0}},
};

void AddSizes(Report &report, const QAL_UINT8 *pucData)
{
    for (const Size &size : kSizes) {
        const QAL_UINT ulBytes = size.ulBytes;
        report.Add("MD5", size.pszName, ulBytes)
            .Ours([=](auto keep) {
                std::array<QAL_UINT8, 16> digest;
                MD5_S_CTX context;
                XELP_MD5_Init(&context);
                XELP_MD5_Update(&context, pucData, ulBytes);
                XELP_MD5_Final(digest.data(), &context);
                keep(digest);
            })
            .Peer(
                "OpenSSL",
                [=](auto keep) {
                    std::array<QAL_UINT8, 16> digest;
                    MD5_CTX context;
                    MD5_Init(&context);
                    MD5_Update(&context, pucData, ulBytes);
                    MD5_Final(digest.data(), &context);
                    keep(digest);
                },
                size.openssl)
            .Peer("OpenSSL EVP",
                  [=](auto keep) {
                      std::array<QAL_UINT8, 16> digest;
                      EVP_Digest(pucData, ulBytes, digest.data(), nullptr, EVP_md5(), nullptr);
                      keep(digest);
                  })
            .Peer("nettle",
                  [=](auto keep) {
                      std::array<QAL_UINT8, 16> digest;
                      md5_ctx context;
                      md5_init(&context);
                      md5_update(&context, ulBytes, pucData);
                      md5_digest(&context, digest.size(), digest.data());
                      keep(digest);
                  })
            .Limit("reading", [=](auto keep) { keep(ReadAll(pucData, ulBytes)); });
    }
}

} // namespace
} // namespace wyx::bench

int main(int argc, char **argv)
{
    wyx::bench::Report report(argc, argv);
    const std::vector<QAL_UINT8> data(1 << 20, 'x');
    wyx::bench::AddSizes(report, data.data());
    return report.Run();
}
