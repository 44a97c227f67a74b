#include <gtest/gtest.h>

#include <fstream>
#include <iostream>

#include "trial.h"

namespace wyx::test {
namespace {

const char *NameOf(Service service)
{
    static constexpr const char *kNames[] = {"allocation", "open",  "read",    "seek",
                                             "write",      "close", "removal", "renaming"};
    return kNames[static_cast<std::size_t>(service)];
}

/// Runs a scenario with a fault; false if the fault did not occur.
bool RunWith(const std::string &name, const Fault &fault)
{
    SCOPED_TRACE(name + ": " + NameOf(fault.service) + " " + std::to_string(fault.n) + " fails" +
                 (fault.failure == Failure::kFromThere ? ", and all that follow" : "") +
                 (fault.ulWritten != 0 ? ", having written some" : ""));
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.Reset();
    Trial trial(fault);
    Scenarios().at(name)(trial);
    EXPECT_EQ(platform.LiveBlocks(), 0U) << "blocks are still held";
    EXPECT_EQ(platform.LiveFiles(), 0U) << "files are still open";
    EXPECT_EQ(platform.Misuses(), std::vector<std::string>{});
    return trial.EverStruck();
}

/// Runs the faults of one kind, one after the other; returns their number.
std::size_t RunAll(const std::string &name, Fault fault)
{
    for (fault.n = 1; !::testing::Test::HasFailure() && RunWith(name, fault); ++fault.n) {
    }
    return fault.n - 1;
}

TEST(Failures, EveryScenarioUnderEveryFault)
{
    std::size_t faults = 0;
    for (const auto &[name, scenario] : Scenarios()) {
        RunWith(name, {});
        for (std::size_t i = 0; i < static_cast<std::size_t>(Service::kCount); ++i) {
            const auto service = static_cast<Service>(i);
            for (const Failure failure : {Failure::kOnce, Failure::kFromThere}) {
                faults += RunAll(name, {service, 0, failure});
                if (service == Service::kWrite) {
                    faults += RunAll(name, {service, 0, failure, 1});
                }
            }
        }
        ASSERT_FALSE(::testing::Test::HasFailure());
    }
    std::cout << Scenarios().size() << " scenarios, " << faults << " faults" << std::endl;
}

TEST(Failures, EveryExportedFunctionIsCalled)
{
    for (const auto &[name, scenario] : Scenarios()) {
        RunWith(name, {});
    }
    std::ifstream exports(WYX_COMMLIB_EXPORTS);
    ASSERT_TRUE(exports.is_open());
    std::set<std::string> untried;
    for (std::string symbol; std::getline(exports, symbol);) {
        if (!Trial::Tried().contains(symbol) && symbol != "QAL_CHARset") { // a table of data
            untried.insert(symbol);
        }
    }
    EXPECT_EQ(untried, std::set<std::string>{});
}

} // namespace
} // namespace wyx::test
