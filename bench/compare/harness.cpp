// Timing in turns, and the tables and JSON of the comparisons.
#include "harness.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <thread>

namespace wyx::bench {
namespace {

constexpr std::size_t kMinRounds = 15;
// Long enough for the clock to be exact; short enough that a busy machine interrupts only a few
// batches, which the median ignores.
constexpr double kBatchNs = 2e5;

struct Estimate {
    double median;
    double spread; ///< half the distance between the quartiles
};

Estimate EstimateOf(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const auto at = [&](double share) {
        const double place = share * static_cast<double>(values.size() - 1);
        const auto below = static_cast<std::size_t>(place);
        const std::size_t above = std::min(below + 1, values.size() - 1);
        return std::lerp(values[below], values[above], place - static_cast<double>(below));
    };
    return {at(0.5), (at(0.75) - at(0.25)) / 2};
}

/// How many times as fast the first is as the second, round by round.
Estimate RatioOf(const Contender &ours, const Contender &other)
{
    std::vector<double> ratios(ours.nsPerRound.size());
    for (std::size_t i = 0; i < ratios.size(); ++i) {
        ratios[i] = other.nsPerRound[i] / ours.nsPerRound[i];
    }
    return EstimateOf(std::move(ratios));
}

/// Peers in hand-written assembly may return with the upper halves of the vector registers in use,
/// which slows down the SSE code that runs next.
#if defined(__x86_64__)
void ClearUpperVectorHalves()
{
    static const bool hasAvx = __builtin_cpu_supports("avx") != 0;
    if (hasAvx) {
        asm volatile("vzeroupper" : : : "memory");
    }
}
#else
void ClearUpperVectorHalves() {}
#endif

double TimeBatch(Contender &contender, std::uint64_t ullRepeats)
{
    const double ns = contender.batch(ullRepeats);
    ClearUpperVectorHalves();
    return ns;
}

/// The number of repetitions that fill a batch. Finding it warms up the caches.
std::uint64_t CalibrateRepeats(Contender &contender)
{
    std::uint64_t ullRepeats = 1;
    double ns = TimeBatch(contender, ullRepeats);
    while (ns < kBatchNs / 4) {
        ullRepeats *= 2;
        ns = TimeBatch(contender, ullRepeats);
    }
    const double fitting = kBatchNs / ns * static_cast<double>(ullRepeats);
    return std::max<std::uint64_t>(1, static_cast<std::uint64_t>(fitting));
}

std::string Format(double value, int decimals)
{
    char acText[64];
    std::snprintf(acText, sizeof acText, "%.*f", decimals, value);
    return acText;
}

std::string FormatTime(double ns)
{
    if (ns < 1e4) {
        return Format(ns, ns < 100 ? 1 : 0) + " ns";
    }
    return ns < 1e7 ? Format(ns / 1e3, 1) + " us" : Format(ns / 1e6, 1) + " ms";
}

#if defined(__clang__)
constexpr char kCompiler[] = "Clang " __clang_version__;
#else
constexpr char kCompiler[] = "GCC " __VERSION__;
#endif

std::string CpuName()
{
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);) {
        if (line.starts_with("model name")) {
            return line.substr(std::min(line.size(), line.find(':') + 2));
        }
    }
    return "unknown";
}

/// Now, to the minute.
std::string Date()
{
    const std::time_t now = std::time(nullptr);
    char acText[64] = "";
    std::strftime(acText, sizeof acText, "%Y-%m-%d %H:%M UTC", std::gmtime(&now));
    return acText;
}

/// How long the machine's processors have been at work since it was started, in seconds, summed
/// over all of them; 0 if the system does not report it.
double MachineSeconds()
{
    std::ifstream info("/proc/stat");
    std::string name;
    double user = 0, nice = 0, system = 0, idle = 0, wait = 0, irq = 0, softIrq = 0, steal = 0;
    info >> name >> user >> nice >> system >> idle >> wait >> irq >> softIrq >> steal;
    return (user + nice + system + irq + softIrq + steal) /
           static_cast<double>(sysconf(_SC_CLK_TCK));
}

double OwnSeconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

std::string Quoted(const std::string &text)
{
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
        }
        quoted += c;
    }
    return quoted + '"';
}

} // namespace

Report::Report(int argc, char **argv)
{
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        const char *const pszValue = argv[i + 1];
        if (option == "--level") {
            level_ = pszValue;
        } else if (option == "--rounds") {
            rounds_ = static_cast<std::size_t>(std::atoi(pszValue));
            rounds_ = rounds_ == 1 ? 1 : std::max(kMinRounds, rounds_);
        } else if (option == "--json") {
            json_ = pszValue;
        } else if (option == "--only") {
            only_ = pszValue;
        } else {
            std::fprintf(stderr, "unknown option %s\n", option.c_str());
            std::exit(2);
        }
    }
}

Case &Report::Add(const std::string &task, std::string name, std::size_t bytes)
{
    const auto it = std::find_if(tasks_.begin(), tasks_.end(),
                                 [&](const Task &known) { return known.name == task; });
    Task &owner = it != tasks_.end() ? *it : tasks_.emplace_back(Task{task, {}});
    return owner.cases.emplace_back(std::move(name), bytes);
}

bool Report::IsWanted(const Task &task, const Case &c) const
{
    return task.name.find(only_) != std::string::npos || c.name_.find(only_) != std::string::npos;
}

bool Report::HasSameResults(const Task &task, const Case &c) const
{
    bool isSame = true;
    const std::string expected = c.contenders_[0].result();
    for (const Contender &contender : c.contenders_) {
        if (expected.empty() || (contender.result && &contender != &c.contenders_[0] &&
                                 contender.result() != expected)) {
            std::fprintf(stderr, "%s, %s: the result of %s is %s\n", task.name.c_str(),
                         c.name_.c_str(), contender.name.c_str(),
                         expected.empty() ? "empty" : "different from ours");
            isSame = false;
        }
    }
    return isSame;
}

void Report::Time(Case &c) const
{
    std::vector<std::uint64_t> repeats;
    for (Contender &contender : c.contenders_) {
        repeats.push_back(CalibrateRepeats(contender));
        contender.nsPerRound.resize(rounds_);
    }
    for (std::size_t round = 0; round < rounds_; ++round) {
        for (std::size_t turn = 0; turn < repeats.size(); ++turn) {
            const std::size_t i = (round + turn) % repeats.size(); // another one begins each round
            Contender &contender = c.contenders_[i];
            contender.nsPerRound[round] =
                TimeBatch(contender, repeats[i]) / static_cast<double>(repeats[i]);
        }
    }
}

void Report::Print(const Task &task) const
{
    std::vector<std::string> others; // a column each, in the order of their first appearance
    for (const Case &c : task.cases) {
        for (std::size_t i = 1; i < c.contenders_.size(); ++i) {
            if (std::find(others.begin(), others.end(), c.contenders_[i].name) == others.end()) {
                others.push_back(c.contenders_[i].name);
            }
        }
    }
    std::printf("\n## %s, %s build\n\nHow many times as fast ours is; [target], ! if missed.\n\n",
                task.name.c_str(), level_.c_str());
    std::string head = "| case | ours | GB/s |";
    std::string rule = "|---|---|---|";
    for (const std::string &other : others) {
        head += ' ' + other + " |";
        rule += "---|";
    }
    std::printf("%s\n%s\n", head.c_str(), rule.c_str());
    for (const Case &c : task.cases) {
        if (c.contenders_.empty() || c.contenders_[0].nsPerRound.empty()) {
            continue;
        }
        const Contender &ours = c.contenders_[0];
        const double ns = EstimateOf(ours.nsPerRound).median;
        const std::string rate = c.bytes_ != 0 ? Format(static_cast<double>(c.bytes_) / ns, 2) : "";
        std::printf("| %s | %s | %s |", c.name_.c_str(), FormatTime(ns).c_str(), rate.c_str());
        for (const std::string &other : others) {
            const auto it =
                std::find_if(c.contenders_.begin() + 1, c.contenders_.end(),
                             [&](const Contender &contender) { return contender.name == other; });
            if (it == c.contenders_.end()) {
                std::printf(" |");
                continue;
            }
            const Estimate ratio = RatioOf(ours, *it);
            const auto target = level_ == "baseline" ? it->target.baseline : it->target.best;
            std::printf(" %.2f ±%.2f", ratio.median, ratio.spread);
            if (!it->target.isDecidable) {
                std::printf(" (one run cannot decide)");
            } else if (target) {
                std::printf(" [%.2f]%s", *target, ratio.median < *target ? " !" : "");
            }
            std::printf(" |");
        }
        std::printf("\n");
    }
    std::fflush(stdout);
}

bool Report::WriteJson() const
{
    std::ofstream out(json_);
    out << "{\"level\": " << Quoted(level_) << ", \"compiler\": " << Quoted(kCompiler)
        << ", \"cpu\": " << Quoted(CpuName())
        << ", \"cpus\": " << std::max(1U, std::thread::hardware_concurrency())
        << ", \"date\": " << Quoted(date_) << ", \"others\": " << others_
        << ", \"rounds\": " << rounds_ << ", \"cases\": [";
    const char *pszSeparator = "\n";
    for (const Task &task : tasks_) {
        for (const Case &c : task.cases) {
            for (const Contender &contender : c.contenders_) {
                if (contender.nsPerRound.empty()) {
                    continue;
                }
                const Estimate ratio = RatioOf(c.contenders_[0], contender);
                const auto target =
                    level_ == "baseline" ? contender.target.baseline : contender.target.best;
                out << pszSeparator << "  {\"task\": " << Quoted(task.name)
                    << ", \"case\": " << Quoted(c.name_) << ", \"bytes\": " << c.bytes_
                    << ", \"name\": " << Quoted(contender.name)
                    << ", \"role\": " << Quoted(contender.pszRole)
                    << ", \"ns\": " << EstimateOf(contender.nsPerRound).median
                    << ", \"ratio\": " << ratio.median << ", \"spread\": " << ratio.spread;
                if (target) {
                    out << ", \"target\": " << *target;
                }
                if (!contender.target.isDecidable) {
                    out << ", \"undecidable\": true";
                }
                out << "}";
                pszSeparator = ",\n";
            }
        }
    }
    out << "\n]}\n";
    out.flush();
    return out.good();
}

int Report::Run()
{
    date_ = Date();
    const auto start = std::chrono::steady_clock::now();
    const double otherWork = MachineSeconds() - OwnSeconds();
    std::printf("# %s, %s, %zu rounds\n", CpuName().c_str(), kCompiler, rounds_);
    std::size_t wanted = 0;
    bool isSame = true;
    for (const Task &task : tasks_) {
        for (const Case &c : task.cases) {
            if (IsWanted(task, c)) {
                ++wanted;
                isSame = HasSameResults(task, c) && isSame;
            }
        }
    }
    if (!isSame || (wanted == 0 && only_.empty())) {
        return 1;
    }
    std::printf("%zu cases, in each of which all contenders have the same result\n", wanted);
    for (Task &task : tasks_) {
        bool isAnyWanted = false;
        for (Case &c : task.cases) {
            if (IsWanted(task, c)) {
                isAnyWanted = true;
                Time(c);
            }
        }
        if (isAnyWanted) {
            Print(task);
        }
    }
    const std::chrono::duration<double> run = std::chrono::steady_clock::now() - start;
    others_ = std::max(0.0, (MachineSeconds() - OwnSeconds() - otherWork) / run.count());
    if (!json_.empty() && !WriteJson()) {
        std::fprintf(stderr, "cannot write %s\n", json_.c_str());
        return 1;
    }
    return 0;
}

} // namespace wyx::bench
