// What the page on round trips says about the tool: `wyx ini check` warns about a file that a save
// would change.
#include "../../tool/tool_runner.h"
#include "golden_vectors.h"

namespace wyx::test {
namespace {

using RoundTripWarnings = ToolTest;

TEST_F(RoundTripWarnings, MatchThePage)
{
    for (const GoldenVector &vector : GoldenVectors()) {
        if (vector.warning.empty()) {
            continue;
        }
        SCOPED_TRACE(vector.row);
        std::string file;
        for (const std::string &line : vector.stored) {
            file += line;
        }
        const Outcome outcome = Wyx({"ini", "check", Write("f.ini", file)});
        EXPECT_TRUE(Mentions(outcome.out, {"(" + vector.warning + ")"}));
    }
}

} // namespace
} // namespace wyx::test
