// The form for any CPU folds by sparse multiples of the polynomials, and the form with AArch64's
// CRC-32 instructions joins its parts by such a multiple. This meet-in-the-middle search found
// those that are not powers of the CRC-16 polynomial. A polynomial x^a + x^b + ... is a multiple of
// P if the remainders of its terms add up to 0. So the search tabulates the remainders of all sums
// of a few terms; two sums with the same remainder make a multiple.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <unordered_map>
#include <vector>

#include "wyx_commlib/types.h"

namespace wyx::test {
namespace {

using Exponents = std::vector<unsigned>; ///< those of a polynomial's terms, highest first

/// The remainders of x^0 to x^uHighest, divided by the polynomial of degree @p uWidth whose lower
/// coefficients are @p ulLower.
std::vector<QAL_UINT32> Remainders(unsigned uWidth, QAL_UINT32 ulLower, unsigned uHighest)
{
    std::vector<QAL_UINT32> remainders;
    QAL_UINT64 ull = 1;
    for (unsigned i = 0; i <= uHighest; ++i) {
        remainders.push_back(static_cast<QAL_UINT32>(ull));
        ull <<= 1;
        ull = (ull >> uWidth) != 0 ? ull ^ (QAL_UINT64{1} << uWidth) ^ ulLower : ull;
    }
    return remainders;
}

const std::vector<QAL_UINT32> kCrc16 = Remainders(16, 0x1021, 96);
const std::vector<QAL_UINT32> kCrc32 = Remainders(32, 0x04C11DB7, 300);

/// Calls visit(exponents, remainder) for every sum of @p count terms out of x^1 to x^uHighest. The
/// terms are appended to @p exponents, and @p ulSum is added to the remainder.
template <typename Visit>
void ForEachSum(const std::vector<QAL_UINT32> &remainders, unsigned uHighest, unsigned count,
                Exponents &exponents, QAL_UINT32 ulSum, const Visit &visit)
{
    if (count == 0) {
        visit(exponents, ulSum);
        return;
    }
    for (unsigned u = uHighest; u >= count; --u) {
        exponents.push_back(u);
        ForEachSum(remainders, u - 1, count - 1, exponents, ulSum ^ remainders[u], visit);
        exponents.pop_back();
    }
}

/// The sums of a given number of terms up to a given degree, looked up by their remainders.
class Sums {
  public:
    Sums(const std::vector<QAL_UINT32> &remainders, unsigned uHighest, unsigned count)
        : filter_(std::size_t{1} << 22)
    {
        Exponents exponents;
        ForEachSum(remainders, uHighest, count, exponents, 0,
                   [&](const Exponents &terms, QAL_UINT32 ulSum) {
                       sums_.emplace(ulSum, terms);
                       filter_[ulSum % filter_.size()] = true;
                   });
    }

    /// Calls visit(exponents) for every sum with this remainder.
    template <typename Visit>
    void Find(QAL_UINT32 ulSum, const Visit &visit) const
    {
        if (filter_[ulSum % filter_.size()]) { // false in nearly all look-ups
            for (auto [it, end] = sums_.equal_range(ulSum); it != end; ++it) {
                visit(it->second);
            }
        }
    }

  private:
    std::unordered_multimap<QAL_UINT32, Exponents> sums_;
    std::vector<bool> filter_;
};

/// Calls visit(exponents), highest first, for every sum of terms with the remainder @p ulWanted:
/// each is a sum of @p count terms up to x^uHighest, plus one of the @p sums.
template <typename Visit>
void ForEachSumLike(QAL_UINT32 ulWanted, const std::vector<QAL_UINT32> &remainders,
                    unsigned uHighest, unsigned count, const Sums &sums, const Visit &visit)
{
    Exponents exponents;
    ForEachSum(remainders, uHighest, count, exponents, ulWanted,
               [&](const Exponents &terms, QAL_UINT32 ulSum) {
                   sums.Find(ulSum, [&](const Exponents &rest) {
                       Exponents all = terms;
                       all.insert(all.end(), rest.begin(), rest.end());
                       std::sort(all.rbegin(), all.rend());
                       if (std::adjacent_find(all.begin(), all.end()) == all.end()) {
                           visit(all);
                       }
                   });
               });
}

/// All multiples up to degree @p uHighest that have @p count terms, one of them the constant, and
/// whose second-highest exponent is at least @p uGap below the highest.
std::set<Exponents> Multiples(const std::vector<QAL_UINT32> &remainders, unsigned uHighest,
                              unsigned count, unsigned uGap)
{
    std::set<Exponents> multiples;
    const unsigned others = count - 2; // besides the highest and the constant
    const Sums sums(remainders, uHighest - uGap, others / 2);
    for (unsigned uDegree = uGap + others; uDegree <= uHighest; ++uDegree) {
        ForEachSumLike(remainders[uDegree] ^ remainders[0], remainders, uDegree - uGap,
                       others - others / 2, sums, [&](Exponents all) {
                           all.insert(all.begin(), uDegree);
                           all.push_back(0);
                           if (all[1] + uGap <= uDegree) {
                               multiples.insert(all);
                           }
                       });
    }
    return multiples;
}

constexpr unsigned kHalfWord = 32;

TEST(SparseMultiples, Crc16PowersHaveFourTerms)
{
    // Squaring doubles the exponents and adds no term.
    const auto remainders = Remainders(16, 0x1021, 256);
    for (const unsigned uPower : {1U, 2U, 4U, 8U, 16U}) {
        EXPECT_EQ(remainders[16 * uPower] ^ remainders[12 * uPower] ^ remainders[5 * uPower], 1U);
    }
}

TEST(SparseMultiples, Crc16Short)
{
    EXPECT_EQ(Multiples(kCrc16, 73, 4, kHalfWord), (std::set<Exponents>{{73, 36, 26, 0}}));
    for (const unsigned count : {2U, 3U}) {
        EXPECT_EQ(Multiples(kCrc16, 96, count, kHalfWord), std::set<Exponents>{});
    }
}

TEST(SparseMultiples, Crc32Long)
{
    for (const unsigned count : {2U, 3U, 4U}) {
        EXPECT_EQ(Multiples(kCrc32, 300, count, 1), std::set<Exponents>{});
    }
    EXPECT_EQ(Multiples(kCrc32, 300, 5, 1), (std::set<Exponents>{{300, 155, 117, 89, 0}}));
}

TEST(SparseMultiples, Crc32Short)
{
    // Above degree 96, folding the last word but one would pass the 32 zero bits after the message.
    for (unsigned count = 2; count <= 8; ++count) {
        EXPECT_EQ(Multiples(kCrc32, 96, count, kHalfWord), std::set<Exponents>{}) << count;
    }
    EXPECT_EQ(Multiples(kCrc32, 85, 9, kHalfWord),
              (std::set<Exponents>{{85, 48, 41, 39, 17, 13, 6, 3, 0}}));
}

/// All sums of @p count terms out of x^0 to x^96 that have the remainder of x^uDegree.
std::set<Exponents> SumsLike(unsigned uDegree, unsigned count)
{
    // Multiplied by x, so that the constant is a term like the others.
    const auto remainders = Remainders(32, 0x04C11DB7, uDegree + 1);
    const Sums sums(remainders, 97, count / 2);
    std::set<Exponents> found;
    ForEachSumLike(remainders[uDegree + 1], remainders, 97, count - count / 2, sums,
                   [&](Exponents all) {
                       for (unsigned &uExponent : all) {
                           --uExponent;
                       }
                       found.insert(all);
                   });
    return found;
}

TEST(SparseMultiples, Crc32Join)
{
    // The lengths of a part that the loop can process: steps of 48 bytes, and then 16 bytes.
    for (unsigned uPart = 48 + 16; uPart < 640; uPart += 48) {
        for (unsigned count = 1; count <= 5; ++count) {
            EXPECT_EQ(SumsLike(8 * uPart - 32, count), std::set<Exponents>{}) << uPart;
        }
    }
    EXPECT_EQ(SumsLike(8 * 640 - 32, 5), (std::set<Exponents>{{95, 78, 62, 43, 26}}));
}

} // namespace
} // namespace wyx::test
