// Compares one of our calls with others for the same task on the same data.
//
// All contenders of a case run in one process and take turns: every round times a batch of each. A
// ratio compares two times of the same round, taken under about the same conditions. The median of
// the rounds is reported, with half the distance between the quartiles as its spread.
//
// Before anything is timed, all contenders that do the same work run once and must have the same
// result.
#ifndef WYX_BENCH_COMPARE_HARNESS_H
#define WYX_BENCH_COMPARE_HARNESS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace wyx::bench {

/// Makes the compiler believe that @p value is read, and that memory is read and written.
template <typename T>
inline void Keep(const T &value)
{
    asm volatile("" : : "r"(&value) : "memory");
}

/// Takes the results of an operation that is timed: they count as used.
struct Timed {
    template <typename T>
    void operator()(const T &value) const
    {
        Keep(value);
    }
    /// For a result that another contender returns in another form. @p show converts it to the
    /// common form, and is not called here, where it would be timed.
    template <typename T, typename Show>
    void operator()(const T &value, const Show & /*show*/) const
    {
        Keep(value);
    }
};

/// Takes the results of an operation that is checked.
class Shown {
  public:
    explicit Shown(std::string &text) : text_(text) {}

    template <typename T>
    void operator()(const T &value) const
    {
        if constexpr (std::is_convertible_v<T, std::string>) {
            text_ += value;
        } else if constexpr (std::is_integral_v<T>) {
            text_ += std::to_string(value);
        } else {
            static_assert(std::has_unique_object_representations_v<T>);
            text_.append(reinterpret_cast<const char *>(&value), sizeof value);
        }
        text_ += ';';
    }
    template <typename T, typename Show>
    void operator()(const T & /*value*/, const Show &show) const
    {
        (*this)(show());
    }

  private:
    std::string &text_;
};

/// What the ratio to a peer should reach in each of the two builds; without a value, there is no
/// target.
struct Target {
    std::optional<double> baseline;
    std::optional<double> best;
    bool isDecidable = true; ///< false: the peer's speed differs from run to run
};

/// Nanoseconds that this many repetitions of an operation take.
using Batch = std::function<double(std::uint64_t)>;

struct Contender {
    std::string name;
    const char *pszRole; ///< "ours", "peer" or "limit"
    Batch batch;
    std::function<std::string()> result; ///< of one repetition; none for different work
    Target target;
    std::vector<double> nsPerRound; ///< for one repetition
};

/// One size or kind of input. The operations are called as op(keep), as often as a batch needs, and
/// pass each result to keep.
class Case {
  public:
    Case(std::string name, std::size_t bytes) : name_(std::move(name)), bytes_(bytes) {}

    template <typename Op>
    Case &Ours(Op op)
    {
        return Add("ours", "ours", std::move(op), {}, true);
    }

    /// Another implementation of the same work; the ratio says how many times as fast ours is.
    template <typename Op>
    Case &Peer(std::string name, Op op, Target target = {})
    {
        return Add(std::move(name), "peer", std::move(op), target, true);
    }

    /// Different work to compare with; its result is not compared.
    template <typename Op>
    Case &Other(std::string name, Op op, Target target = {})
    {
        return Add(std::move(name), "peer", std::move(op), target, false);
    }

    /// The minimum that the work requires, such as reading its input once.
    template <typename Op>
    Case &Limit(std::string name, Op op)
    {
        return Add(std::move(name), "limit", std::move(op), {}, false);
    }

  private:
    friend class Report;

    template <typename Op>
    Case &Add(std::string name, const char *pszRole, Op op, Target target, bool isSameWork)
    {
        const auto shared = std::make_shared<Op>(std::move(op));
        Batch batch = [op = *shared](std::uint64_t ullRepeats) mutable {
            const auto start = std::chrono::steady_clock::now();
            for (std::uint64_t i = 0; i < ullRepeats; ++i) {
                op(Timed());
            }
            const auto end = std::chrono::steady_clock::now();
            return std::chrono::duration<double, std::nano>(end - start).count();
        };
        std::function<std::string()> result;
        if (isSameWork) {
            result = [shared] {
                std::string text;
                (*shared)(Shown(text));
                return text;
            };
        }
        contenders_.push_back(
            {std::move(name), pszRole, std::move(batch), std::move(result), target, {}});
        return *this;
    }

    std::string name_;
    std::size_t bytes_;
    std::vector<Contender> contenders_;
};

/// The tables of one program. The program's arguments: --level baseline|best, --rounds N (at least
/// 15, or 1 just to check that everything works), --json FILE, --only TEXT (the cases whose task or
/// name contains the text).
class Report {
  public:
    Report(int argc, char **argv);

    /// A case of @p task. Its rate is computed for @p bytes of input; 0 leaves the rate out. Add
    /// Ours() first.
    Case &Add(const std::string &task, std::string name, std::size_t bytes = 0);

    /// Compares all results, times everything, prints one table per task and writes the JSON.
    /// Returns the program's exit status: 1 on failure, as when contenders disagree.
    int Run();

  private:
    struct Task {
        std::string name;
        std::deque<Case> cases; ///< a deque, so that references to its cases last
    };

    bool IsWanted(const Task &task, const Case &c) const;
    /// Do all contenders of a case have the same result? Names those that do not.
    bool HasSameResults(const Task &task, const Case &c) const;
    void Time(Case &c) const;
    void Print(const Task &task) const;
    bool WriteJson() const;

    std::string level_ = "baseline";
    std::size_t rounds_ = 51;
    std::string json_;
    std::string only_;
    std::string date_;  ///< when the run began
    double others_ = 0; ///< how many processors were busy with other work during the run
    std::deque<Task> tasks_;
};

} // namespace wyx::bench

#endif
