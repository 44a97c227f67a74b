// Strings. Length and searches come from the C library, where they are tuned for the CPU and ignore
// the locale. Case folding is our own: the C library's depends on the locale.
#include "os_adapter.h"

#include <cstring>

namespace {

/// The byte in lower case if it is an ASCII capital; every other byte is unchanged.
constexpr QAL_INT32 Fold(QAL_CHAR cByte)
{
    const QAL_UINT32 ulByte = static_cast<QAL_UINT8>(cByte);
    const bool isCapital = ulByte - 'A' <= 'Z' - 'A'; // wraps for bytes below 'A'
    return static_cast<QAL_INT32>(isCapital ? ulByte | 0x20U : ulByte);
}
static_assert(Fold('A') == 'a' && Fold('Z') == 'z' && Fold('@') == '@' && Fold('[') == '[');
static_assert(Fold('\xC4') == 0xC4, "only ASCII letters have a case");

} // namespace

extern "C" {

QAL_UINT32 XELP_StrLen(const QAL_CHAR *pszStr)
{
    return static_cast<QAL_UINT32>(std::strlen(pszStr));
}

QAL_CHAR *XELP_StrChr(const QAL_CHAR *pszStr, QAL_INT32 lChar)
{
    return const_cast<QAL_CHAR *>(std::strchr(pszStr, lChar));
}

QAL_CHAR *XELP_StrrChr(const QAL_CHAR *pszStr, QAL_INT32 lChar)
{
    return const_cast<QAL_CHAR *>(std::strrchr(pszStr, lChar));
}

QAL_CHAR *XELP_StrStr(const QAL_CHAR *pszStr, const QAL_CHAR *pszSub)
{
    return const_cast<QAL_CHAR *>(std::strstr(pszStr, pszSub));
}

QAL_INT32 XELP_StriCmp(const QAL_CHAR *pszLeft, const QAL_CHAR *pszRight)
{
    while (*pszLeft != '\0' && (*pszLeft == *pszRight || Fold(*pszLeft) == Fold(*pszRight))) {
        ++pszLeft;
        ++pszRight;
    }
    return Fold(*pszLeft) - Fold(*pszRight);
}

} // extern "C"
