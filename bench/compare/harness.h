// Compares one of our calls with others that do the same work on the same data.
//
// All contenders of a case run in one process and take turns: every round times a batch of each,
// and a ratio is taken within the round, where both met the same machine. The median of the rounds
// is what is reported, with half the distance between the quartiles as its spread.
#ifndef WYX_BENCH_COMPARE_HARNESS_H
#define WYX_BENCH_COMPARE_HARNESS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace wyx::bench {

/// Makes the compiler believe that @p value is used, and memory with it.
template <typename T>
inline void Keep(const T &value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

/// What the ratio to a peer should reach, in each of the two builds; nothing where none is set.
struct Target {
    std::optional<double> baseline;
    std::optional<double> best;
};

/// Nanoseconds that so many repetitions of an operation take.
using Batch = std::function<double(std::uint64_t)>;

struct Contender {
    std::string name;
    const char *pszRole; ///< "ours", "peer" or "limit"
    Batch batch;
    Target target;
    std::vector<double> nsPerRound; ///< for one repetition
};

/// One size or kind of input. The operations are called as op(), as often as a batch needs.
class Case {
  public:
    Case(std::string name, std::size_t bytes) : name_(std::move(name)), bytes_(bytes) {}

    template <typename Op>
    Case &Ours(Op op)
    {
        return Add("ours", "ours", std::move(op), {});
    }

    /// Somebody else's way to do the same work; the ratio says how many times as fast ours is.
    template <typename Op>
    Case &Peer(std::string name, Op op, Target target = {})
    {
        return Add(std::move(name), "peer", std::move(op), target);
    }

    /// What the work cannot do without, such as reading its input once.
    template <typename Op>
    Case &Limit(std::string name, Op op)
    {
        return Add(std::move(name), "limit", std::move(op), {});
    }

  private:
    friend class Report;

    template <typename Op>
    Case &Add(std::string name, const char *pszRole, Op op, Target target)
    {
        Batch batch = [op = std::move(op)](std::uint64_t ullRepeats) mutable {
            const auto start = std::chrono::steady_clock::now();
            for (std::uint64_t i = 0; i < ullRepeats; ++i) {
                op();
            }
            const auto end = std::chrono::steady_clock::now();
            return std::chrono::duration<double, std::nano>(end - start).count();
        };
        contenders_.push_back({std::move(name), pszRole, std::move(batch), target, {}});
        return *this;
    }

    std::string name_;
    std::size_t bytes_;
    std::vector<Contender> contenders_;
};

/// The tables of one program. Its arguments: --level baseline|best, --rounds N, --json FILE,
/// --only TEXT (the cases whose task or name contains it).
class Report {
  public:
    Report(int argc, char **argv);

    /// A case of @p task; @p bytes of input make its rate, 0 leaves that out. The first operation
    /// to be added is Ours().
    Case &Add(const std::string &task, std::string name, std::size_t bytes = 0);

    /// Times everything, prints one table per task and writes the JSON; the program's exit status.
    int Run();

  private:
    struct Task {
        std::string name;
        std::deque<Case> cases; ///< a deque, so that references to its cases last
    };

    bool IsWanted(const Task &task, const Case &c) const;
    void Time(Case &c) const;
    void Print(const Task &task) const;
    bool WriteJson() const;

    std::string level_ = "baseline";
    std::size_t rounds_ = 51;
    std::string json_;
    std::string only_;
    std::string date_;  ///< when the run began
    double others_ = 0; ///< how many processors were busy with something else meanwhile
    std::deque<Task> tasks_;
};

} // namespace wyx::bench

#endif
