// The file services as built without flushing to the device.
#include <gtest/gtest.h>

#include <cerrno>

#include "file_texts.h"
#include "system_double.h"
#include "temp_folder.h"

namespace wyx::test {
namespace {

class FileUnflushed : public SystemTest {
  protected:
    /// Opens a file for writing and writes to it.
    XELP_S_File *OpenAndWrite()
    {
        XELP_S_File *const pstruFile = XELP_Fopen(name.c_str(), "w");
        EXPECT_NE(pstruFile, nullptr);
        EXPECT_EQ(Write(pstruFile, SomeText(9000)), 9000U);
        EXPECT_EQ(Write(pstruFile, "buffered"), 8U);
        return pstruFile;
    }

    const TempFolder folder;
    const std::string name = folder.File("text");
};

TEST_F(FileUnflushed, FlushesNothing)
{
    XELP_S_File *const pstruFile = OpenAndWrite();
    EXPECT_EQ(XELP_Fclose(pstruFile), 0);
    EXPECT_EQ(XELP_Rename(name.c_str(), folder.File("new").c_str()), 0);
    EXPECT_EQ(XELP_Remove(folder.File("new").c_str()), 0);
    EXPECT_EQ(system.Trace(folder.Path()),
              "open text, fallocate text, write text, ftruncate text, close text, "
              "rename text new, unlink new");
}

TEST_F(FileUnflushed, CloseFailureIsStillReported)
{
    for (const char *const pszCall : {"write", "close"}) {
        SCOPED_TRACE(pszCall);
        XELP_S_File *const pstruFile = OpenAndWrite();
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
