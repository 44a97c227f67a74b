// The file services as built without flushing to the device.
#include <gtest/gtest.h>

#include <cerrno>

#include "os_adapter.h"
#include "system_double.h"
#include "temp_folder.h"

namespace wyx::test {
namespace {

class FileUnflushed : public SystemTest {
  protected:
    const TempFolder folder;
};

TEST_F(FileUnflushed, CallsForNoFlush)
{
    const std::string name = folder.File("text");
    XELP_S_File *const pstruFile = XELP_Fopen(name.c_str(), "w");
    ASSERT_NE(pstruFile, nullptr);
    const std::string text(9000, 'x');
    EXPECT_EQ(XELP_Fwrite(text.data(), 1, 9000, pstruFile), 9000U);
    EXPECT_EQ(XELP_Fwrite("waits", 1, 5, pstruFile), 5U);
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(XELP_Rename(name.c_str(), folder.File("new").c_str()), 0);
    EXPECT_EQ(XELP_Remove(folder.File("new").c_str()), 0);
    EXPECT_EQ(system.Trace(folder.Path()),
              "open text, fallocate text, write text, ftruncate text, close text, "
              "rename text new, unlink new");
}

TEST_F(FileUnflushed, FailureAtCloseIsStillTold)
{
    for (const char *const pszCall : {"write", "close"}) {
        SCOPED_TRACE(pszCall);
        const std::string name = folder.File("text");
        XELP_S_File *const pstruFile = XELP_Fopen(name.c_str(), "w");
        ASSERT_NE(pstruFile, nullptr);
        const std::string text(9000, 'x');
        EXPECT_EQ(XELP_Fwrite(text.data(), 1, 9000, pstruFile), 9000U);
        EXPECT_EQ(XELP_Fwrite("waits", 1, 5, pstruFile), 5U);
        system.Fail(pszCall, 1, EIO);
        EXPECT_NE(XELP_Fclose(pstruFile), 0);
        EXPECT_NE(XELP_Remove(name.c_str()), 0);
        EXPECT_EQ(errno, EIO);
        EXPECT_TRUE(folder.Has("text"));
        EXPECT_EQ(XELP_Remove(name.c_str()), 0);
    }
}

} // namespace
} // namespace wyx::test
