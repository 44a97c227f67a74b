// Compares the MD5 of a message fed in pieces with the definition, and with an independent library
// if there is one.
#include "../md5/md5_models.h"
#include "fuzz_support.h"
#include "wyx_commlib/md5.h"

#ifdef WYX_HAVE_OPENSSL
#include <openssl/evp.h>
#endif

using namespace wyx::test;

WYX_FUZZ_TARGET(md5)
{
    // The bytes up to the first NUL are the lengths of the pieces; the last piece takes the rest.
    const std::string_view lengths = input.Text();
    const fuzz::Block message(input.Rest());
    std::string_view rest(reinterpret_cast<const char *>(message.Data()), message.Size());

    MD5_S_CTX context;
    XELP_MD5_Init(&context);
    for (std::size_t i = 0; i <= lengths.size(); ++i) {
        const auto length = i < lengths.size() ? static_cast<QAL_UINT8>(lengths[i]) : rest.size();
        const fuzz::Block piece(rest.substr(0, length));
        rest.remove_prefix(piece.Size());
        XELP_MD5_Update(&context, piece.Data(), static_cast<QAL_UINT>(piece.Size()));
    }
    Digest digest{};
    XELP_MD5_Final(digest.data(), &context);
    EXPECT_EQ(digest, ModelMd5(Bytes(message.Data(), message.Size())));
    const std::string_view wiped(reinterpret_cast<const char *>(&context), sizeof context);
    EXPECT_EQ(wiped.find_first_not_of('\0'), std::string_view::npos);

#ifdef WYX_HAVE_OPENSSL
    Digest other{};
    EXPECT_EQ(EVP_Digest(message.Data(), message.Size(), other.data(), nullptr, EVP_md5(), nullptr),
              1);
    EXPECT_EQ(digest, other);
#endif
}
