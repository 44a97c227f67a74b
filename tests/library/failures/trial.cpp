#include "trial.h"

namespace wyx::test {

std::set<std::string> &Trial::Tried()
{
    static std::set<std::string> tried;
    return tried;
}

void Trial::Begin()
{
    PlatformDouble &platform = PlatformDouble::Instance();
    platform.StartRecording();
    const QAL_UINT32 ulBefore = calls_[static_cast<std::size_t>(fault_.service)];
    if (fault_.n > ulBefore) {
        platform.Fail(fault_.service, fault_.n - ulBefore, fault_.failure, fault_.ulWritten);
    } else if (fault_.n != 0 && fault_.failure == Failure::kFromThere) {
        platform.Fail(fault_.service, 1, fault_.failure, fault_.ulWritten);
    }
}

void Trial::End()
{
    PlatformDouble &platform = PlatformDouble::Instance();
    wasStruck_ = platform.HasFailed();
    wasEverStruck_ = wasEverStruck_ || wasStruck_;
    for (std::size_t i = 0; i < calls_.size(); ++i) {
        lastCalls_[i] = platform.Calls(static_cast<Service>(i));
        calls_[i] += lastCalls_[i];
    }
    platform.StartRecording(); // what the scenario does between its calls is not disturbed
}

} // namespace wyx::test
