// The rows of the tables in docs/round-trips.md.
#ifndef WYX_TESTS_ROUND_TRIPS_GOLDEN_VECTORS_H
#define WYX_TESTS_ROUND_TRIPS_GOLDEN_VECTORS_H

#include <string>
#include <vector>

namespace wyx::test {

struct GoldenVector {
    std::string row; ///< as written on the page
    std::vector<std::string> stored;
    std::string file;
    std::vector<std::string> loaded;
    std::string
        warning; ///< the warning of `wyx ini check`; empty if no file loads as the stored lines
};

/// All rows. The test fails if a row cannot be read.
std::vector<GoldenVector> GoldenVectors();

} // namespace wyx::test

#endif
