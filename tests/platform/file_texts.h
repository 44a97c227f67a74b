// Texts, and how the tests of the file services read and write them.
#ifndef WYX_TESTS_PLATFORM_FILE_TEXTS_H
#define WYX_TESTS_PLATFORM_FILE_TEXTS_H

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "os_adapter.h"

namespace wyx::test {

/// Bytes of every value, in a pattern that does not repeat within a buffer.
inline std::string SomeText(std::size_t size)
{
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        text[i] = static_cast<char>((i * 13 + i / 257) & 0xFF);
    }
    return text;
}

inline QAL_UINT32 Write(XELP_S_File *pstruFile, std::string_view text)
{
    return XELP_Fwrite(text.data(), 1, static_cast<QAL_UINT32>(text.size()), pstruFile);
}

/// Everything that XELP_Fgetc() returns until the end.
inline std::string ReadAll(XELP_S_File *pstruFile)
{
    std::string text;
    for (QAL_INT32 lByte; (lByte = XELP_Fgetc(pstruFile)) != -1;) {
        EXPECT_TRUE(lByte >= 0 && lByte <= 255) << lByte;
        text += static_cast<char>(lByte);
    }
    return text;
}

} // namespace wyx::test

#endif
