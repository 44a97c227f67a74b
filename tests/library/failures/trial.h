// Every exported operation under every failure of the platform.
//
// A scenario is a function that sets something up, calls operations of one module, and checks what
// they promise. It runs once undisturbed, then with the first, the second, ... call of each service
// failing, once alone and once with all that follow, until the failure no longer occurs. Only calls
// made through WYX_CALL are disturbed, and the operation of each is recorded in Tried().
#ifndef WYX_TESTS_FAILURES_TRIAL_H
#define WYX_TESTS_FAILURES_TRIAL_H

#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "platform_double.h"

namespace wyx::test {

/// The n-th call of a service within a scenario fails.
struct Fault {
    Service service = Service::kAllocate;
    QAL_UINT32 n = 0; ///< 0: no call fails
    Failure failure = Failure::kOnce;
    QAL_UINT32 ulWritten = 0; ///< how many items a failing write still writes
};

/// One run of a scenario.
class Trial {
  public:
    explicit Trial(const Fault &fault) : fault_(fault) {}

    /// Calls an operation and returns its result.
    template <typename Call>
    auto Do(const char *pszOperation, Call call)
    {
        Tried().insert(pszOperation);
        Begin();
        if constexpr (std::is_void_v<decltype(call())>) {
            call();
            End();
        } else {
            const auto result = call();
            End();
            return result;
        }
    }

    /// Did the last call meet the failure?
    bool Struck() const { return wasStruck_; }
    bool Struck(Service service) const { return wasStruck_ && fault_.service == service; }
    /// Has any call met it so far?
    bool EverStruck() const { return wasEverStruck_; }
    const Fault &TheFault() const { return fault_; }
    /// From here on nothing fails.
    void Lift() { fault_.n = 0; }
    /// Calls of a service that the last call made.
    QAL_UINT32 Calls(Service service) const
    {
        return lastCalls_[static_cast<std::size_t>(service)];
    }

    /// The operations that were called, in all trials.
    static std::set<std::string> &Tried();

  private:
    void Begin();
    void End();

    Fault fault_;
    std::array<QAL_UINT32, static_cast<std::size_t>(Service::kCount)> calls_{};
    std::array<QAL_UINT32, static_cast<std::size_t>(Service::kCount)> lastCalls_{};
    bool wasStruck_ = false;
    bool wasEverStruck_ = false;
};

using Scenario = void (*)(Trial &trial);

/// All scenarios, by name.
inline std::map<std::string, Scenario> &Scenarios()
{
    static std::map<std::string, Scenario> scenarios;
    return scenarios;
}

} // namespace wyx::test

/// Calls an exported operation in a scenario.
#define WYX_CALL(operation, ...) trial.Do(#operation, [&] { return operation(__VA_ARGS__); })

/// Begins the definition of a scenario; its argument is called `trial`.
#define WYX_SCENARIO(name)                                              \
    static void Scenario_##name(wyx::test::Trial &trial);               \
    [[maybe_unused]] static const bool isRegistered_##name =            \
        wyx::test::Scenarios().emplace(#name, &Scenario_##name).second; \
    static void Scenario_##name(wyx::test::Trial &trial)

#endif
