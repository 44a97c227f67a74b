#include <cstring>
#include <string>

#include "trial.h"
#include "wyx_commlib/base64.h"

using wyx::test::Trial;

namespace {

/// Without memory, a converter returns 0 and null; otherwise, it returns the text.
template <typename Convert>
void Check(Trial &trial, Convert convert, const char *pszExpected)
{
    for (int iRound = 0; iRound < 2; ++iRound) {
        QAL_UINT8 ucJunk = 0;
        QAL_UINT8 *pucOutput = &ucJunk;
        const QAL_INT32 lLen = convert(&pucOutput);
        if (trial.Struck()) {
            EXPECT_EQ(lLen, 0);
            EXPECT_EQ(pucOutput, nullptr);
        } else {
            EXPECT_EQ(std::string(reinterpret_cast<const char *>(pucOutput)), pszExpected);
            EXPECT_EQ(lLen, static_cast<QAL_INT32>(std::strlen(pszExpected)));
        }
        WYX_CALL(MOX_BASE64Free, &pucOutput);
        EXPECT_EQ(pucOutput, nullptr);
        WYX_CALL(MOX_BASE64Free, &pucOutput); // a second release does no harm
        trial.Lift();
    }
}

} // namespace

WYX_SCENARIO(Base64Encode)
{
    QAL_UINT8 aucBytes[] = {'M', 'a'};
    Check(
        trial, [&](QAL_UINT8 **pp) { return WYX_CALL(MOX_BASE64Encode, aucBytes, 2, pp); }, "TWE=");
}

WYX_SCENARIO(Base64EncodeOfNothing)
{
    QAL_UINT8 ucJunk = 0;
    QAL_UINT8 *pucOutput = &ucJunk;
    EXPECT_EQ(WYX_CALL(MOX_BASE64Encode, nullptr, 2, &pucOutput), 0);
    EXPECT_EQ(pucOutput, nullptr);
}

WYX_SCENARIO(Base64Decode)
{
    QAL_UINT8 aucText[] = "TWE";
    Check(
        trial, [&](QAL_UINT8 **pp) { return WYX_CALL(MOX_BASE64Decode, aucText, 3, pp); }, "Ma");
}

WYX_SCENARIO(Base64DecodeOfSomethingElse)
{
    QAL_UINT8 aucText[] = "TW!u";
    QAL_UINT8 ucJunk = 0;
    QAL_UINT8 *pucOutput = &ucJunk;
    EXPECT_EQ(WYX_CALL(MOX_BASE64Decode, aucText, 4, &pucOutput), 0);
    EXPECT_EQ(pucOutput, nullptr);
}
