// Holds back SIGINT, SIGTERM, SIGHUP and SIGQUIT until a change to a file is finished.
#ifndef WYX_TOOL_SIGNAL_BLOCK_H
#define WYX_TOOL_SIGNAL_BLOCK_H

#include <csignal>

namespace wyx::tool {

class SignalBlock {
  public:
    SignalBlock()
    {
        sigset_t signals = {};
        sigemptyset(&signals);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
            sigaddset(&signals, signal);
        }
        sigprocmask(SIG_BLOCK, &signals, &before_);
    }
    ~SignalBlock() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    SignalBlock(const SignalBlock &) = delete;
    SignalBlock &operator=(const SignalBlock &) = delete;

  private:
    sigset_t before_ = {};
};

} // namespace wyx::tool

#endif
