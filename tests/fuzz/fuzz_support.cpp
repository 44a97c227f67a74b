#include "fuzz_support.h"

#include "platform_double.h"

namespace wyx::test::fuzz {

void RunTarget(Target target, std::string_view bytes)
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.Reset();
    target(Input(bytes));
    EXPECT_EQ(platform.LiveBlocks(), 0U) << "blocks are still held";
    EXPECT_EQ(platform.LiveFiles(), 0U) << "files are still open";
    EXPECT_EQ(platform.Misuses(), std::vector<std::string>{});
}

} // namespace wyx::test::fuzz
