#pragma once

#include <csignal>

namespace vorn {

// Keeps signals from being handled while it lives; they come afterwards.
class SignalBlock {
public:
  // Of all signals.
  SignalBlock() noexcept {
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &before_);
  }
  // Of one.
  explicit SignalBlock(int number) noexcept {
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, number);
    sigprocmask(SIG_BLOCK, &one, &before_);
  }
  ~SignalBlock() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
  SignalBlock(const SignalBlock &) = delete;
  SignalBlock &operator=(const SignalBlock &) = delete;

private:
  sigset_t before_;
};

} // namespace vorn
