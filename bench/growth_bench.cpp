// How the cost of an operation grows with its size: growth_bench [--only TEXT]
//
// Each row measures an operation at sizes that grow kStep-fold and compares the cost per element or
// per call at neighbouring sizes. The cost per element stays the same if the operation is linear,
// except where the data outgrows a cache, and grows kStep-fold if it is quadratic. Unless a row
// says why it may grow faster, it is measured again if its cost grows more than kBound-fold between
// two sizes, and the program fails if that happens twice. The last row is quadratic on purpose: the
// program also fails if it does not notice that.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <vector>

#include "operations.h"

namespace {

using namespace wyx::bench;

constexpr std::size_t kStep = 32;
constexpr double kBound = 5; // caches alone reach 2 or 3
constexpr double kBatchSeconds = 0.002;
constexpr int kBatches = 7;

enum class Cost { kPerCall, kPerElement };

struct Row {
    const char *pszName;
    Cost cost;
    std::vector<std::size_t> sizes;
    std::function<Operation(std::size_t)> make;
    const char *pszByDesign = nullptr; ///< why it may grow faster; null: it must not
};

/// Processor time: waiting for other work on the machine does not count.
double Seconds(const Operation &operation, std::size_t repeats)
{
    const std::clock_t start = std::clock();
    for (std::size_t i = 0; i < repeats; ++i) {
        operation();
    }
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

/// Nanoseconds of one call in the fastest batch: what other work does to the caches only adds time.
double Fastest(const Operation &operation)
{
    std::size_t repeats = 1;
    double best = Seconds(operation, repeats);
    while (best * static_cast<double>(repeats) < kBatchSeconds) {
        repeats *= 2;
        best = Seconds(operation, repeats) / static_cast<double>(repeats);
    }
    for (int i = 0; i < kBatches; ++i) {
        best = std::min(best, Seconds(operation, repeats) / static_cast<double>(repeats));
    }
    return best * 1e9;
}

/// The largest growth of the cost between neighbouring sizes; prints the row.
double Measure(const Row &row)
{
    std::printf("%-34s", row.pszName);
    double growth = 0;
    double before = 0;
    for (const std::size_t size : row.sizes) {
        const double ns = Fastest(row.make(size)) /
                          (row.cost == Cost::kPerElement ? static_cast<double>(size) : 1);
        growth = before == 0 ? 0 : std::max(growth, ns / before);
        before = ns;
        std::printf(" %9.2f", ns);
    }
    std::printf("  x%.1f", growth);
    return growth;
}

// ---- what must be noticed -----------------------------------------------------------------------

/// Computes a value from each prefix, starting over each time.
Operation Quadratic(std::size_t size)
{
    return [bytes = Bytes(size)] {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            QAL_UINT32 ulSum = 0;
            for (std::size_t j = 0; j < i; ++j) {
                ulSum = ulSum * 31 + bytes[j];
            }
            Keep(ulSum);
        }
    };
}

const std::vector<std::size_t> kBytes = {1000, 32000, 1024000};
const std::vector<std::size_t> kElements = {1000, 32000};
const std::vector<std::size_t> kFew = {30, 960};

const Row kRows[] = {
    {"CRC-16", Cost::kPerElement, kBytes, Crc<XELP_CRC_16, QAL_UINT16>},
    {"CRC-32", Cost::kPerElement, kBytes, Crc<XELP_CRC_32, QAL_UINT32>},
    {"MD5", Cost::kPerElement, kBytes, Md5},
    {"Base64 encode", Cost::kPerElement, kBytes, Base64Encode},
    {"Base64 decode", Cost::kPerElement, kBytes, Base64Decode},
    {"dlink take first and append", Cost::kPerCall, kElements, TakeFirstAndAppend<Linked>},
    {"dlink find last", Cost::kPerElement, kElements, FindLast<Linked>},
    {"dlink walk", Cost::kPerElement, kElements, Walk<Linked>},
    {"dlink fill and release", Cost::kPerElement, kElements, FillAndRelease<Linked>},
    {"slink take first and append", Cost::kPerCall, kElements, TakeFirstAndAppend<Indexed>},
    {"slink find last", Cost::kPerElement, kElements, FindLast<Indexed>},
    {"slink walk", Cost::kPerElement, kElements, Walk<Indexed>},
    {"slink fill and release", Cost::kPerElement, kElements, FillAndRelease<Indexed>},
    {"hash save and remove", Cost::kPerCall, kElements, HashSaveAndRemove},
    {"hash find", Cost::kPerCall, kElements, HashFind},
    {"hash fill and release", Cost::kPerElement, kElements, FillAndRelease<Table<SpreadHash>>},
    {"hash find in a chain of all", Cost::kPerElement, kFew, HashFindInOneBucket},
    {"hash fill one bucket", Cost::kPerElement, kFew, FillAndRelease<Table<OneBucket>>,
     "each save compares with the whole chain"},
    {"INI load", Cost::kPerElement, {30, 960, 30720}, IniLoad},
    {"INI check", Cost::kPerElement, kElements, IniCheck},
    {"INI look-up, last section", Cost::kPerCall, kElements, IniLookUpInLastSection},
    {"INI look-up, first section", Cost::kPerElement, kElements, IniLookUpInFirstSection},
    {"INI set, first section", Cost::kPerElement, kElements, IniSetInFirstSection},
    {"INI load, set, save", Cost::kPerElement, kElements, IniLoadSetSave},
    {"INI set many new keys", Cost::kPerElement, kFew, IniSetManyNewKeys,
     "each set searches the document and moves the lines after the new one"},
};

const Row kPlanted = {"planted: quadratic", Cost::kPerElement, kFew, Quadratic};

} // namespace

int main(int argc, char **argv)
{
    const char *const pszOnly = argc == 3 && std::strcmp(argv[1], "--only") == 0 ? argv[2] : "";
    std::printf("ns per element or call, at sizes that grow %zu-fold; bound: x%.0f\n", kStep,
                kBound);
    int iMeasured = 0;
    bool isGood = true;
    for (const Row &row : kRows) {
        if (std::strstr(row.pszName, pszOnly) == nullptr) {
            continue;
        }
        ++iMeasured;
        double growth = Measure(row);
        if (row.pszByDesign != nullptr) {
            std::printf("  by design: %s\n", row.pszByDesign);
            continue;
        }
        if (growth > kBound) { // again: a busy machine may have disturbed it
            std::printf("  again:\n");
            growth = Measure(row);
        }
        std::printf("%s\n", growth > kBound ? "  TOO MUCH" : "");
        isGood = isGood && growth <= kBound;
    }
    const double planted = Measure(kPlanted);
    std::printf("%s\n", planted > kBound ? "  noticed" : "  NOT NOTICED");
    if (iMeasured == 0) {
        std::fprintf(stderr, "growth_bench: no row has \"%s\" in its name\n", pszOnly);
        return 2;
    }
    return isGood && planted > kBound ? 0 : 1;
}
