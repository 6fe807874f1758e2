#include "core/eloop.hpp"

#include "core/guard.hpp"
#include "core/immortal.hpp"
#include "core/signal_block.hpp"
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <forward_list>
#include <iterator>
#include <sys/select.h>
#include <sys/times.h>
#include <unistd.h>
#include <vector>

namespace {

// Clock ticks wrap around within months (at 100 Hz): they are compared by their signed difference only.
using Ticks = uint32_t;

constexpr Ticks signal_sweep_seconds = 60;

struct Reader {
  uint64_t number; // in the order of registration
  int sock;
  void *eloop_data;
  void *user_data;
  eloop_sock_handler handler;
};

struct Timeout {
  Ticks expiry;
  void *eloop_data;
  void *user_data;
  eloop_timeout_handler handler;
};

struct Signal {
  int number;
  void *user_data;
  eloop_signal_handler handler;
  volatile sig_atomic_t signalled;
};

struct Loop {
  void *user_data = nullptr;
  int max_sock = -1;
  std::vector<Reader> readers;         // in registration order
  std::forward_list<Timeout> timeouts; // soonest first
  std::vector<Signal> signals;         // in registration order
  long ticks_per_second = 100;
  bool terminate = false;
  bool readers_changed = false; // a reader was removed: the running pass stops
  Ticks last_sweep = 0;
};

vorn::Immortal<Loop> loop;
uint64_t registrations = 0; // of readers, ever
volatile sig_atomic_t pending_signals = 0;

Ticks now() { return static_cast<Ticks>(times(nullptr)); }

int32_t ticks_until(Ticks expiry, Ticks moment) { return static_cast<int32_t>(expiry - moment); }

Ticks ticks_of(unsigned secs, unsigned usecs) {
  const auto per_second = static_cast<Ticks>(loop->ticks_per_second);
  return per_second * secs + usecs / (1000000 / per_second);
}

// The only code that runs in signal context: it counts.
void catch_signal(int number) {
  pending_signals = pending_signals + 1;
  for (Signal &signal : loop->signals) {
    if (signal.number != number) continue;
    signal.signalled = signal.signalled + 1;
    return;
  }
}

bool sweep_is_due(Ticks moment) {
  if (loop->last_sweep == 0) loop->last_sweep = moment;
  const auto interval = static_cast<int32_t>(ticks_of(signal_sweep_seconds, 0));
  if (ticks_until(moment, loop->last_sweep) <= interval) return false;
  loop->last_sweep = moment;
  return true;
}

void dispatch_signals(Ticks moment) {
  const bool sweep = sweep_is_due(moment);
  if (!sweep && pending_signals == 0) return;
  pending_signals = 0;
  // By index: a handler may register further signals.
  for (size_t i = 0; i < loop->signals.size(); ++i) {
    Signal &signal = loop->signals[i];
    if (signal.signalled == 0 && !(sweep && signal.number == SIGCHLD)) continue;
    signal.signalled = 0;
    signal.handler(signal.number, loop->user_data, signal.user_data);
  }
}

void dispatch_timeout(Ticks moment) {
  if (loop->timeouts.empty() || ticks_until(loop->timeouts.front().expiry, moment) > 0) return;
  const Timeout due = loop->timeouts.front();
  loop->timeouts.pop_front();
  due.handler(due.eloop_data, due.user_data);
}

// Tells whether a descriptor was registered after the wait. What was found ready under its number may have
// been another file, closed meanwhile: nothing is known of this one before the next wait.
bool is_unknown(int sock, uint64_t last_waited_for) {
  for (auto it = loop->readers.rbegin(); it != loop->readers.rend() && it->number > last_waited_for; ++it)
    if (it->sock == sock) return true;
  return false;
}

void dispatch_readers(const fd_set &ready, uint64_t last_waited_for) {
  loop->readers_changed = false;
  for (size_t i = 0; i < loop->readers.size() && !loop->readers_changed; ++i) {
    const Reader reader = loop->readers[i];
    if (FD_ISSET(reader.sock, &ready) && !is_unknown(reader.sock, last_waited_for))
      reader.handler(reader.sock, reader.eloop_data, reader.user_data);
  }
}

// Waits for the readers, not longer than the next timeout; the result is that of select(2).
int wait_for_readers(fd_set &ready) {
  FD_ZERO(&ready);
  for (const Reader &reader : loop->readers) FD_SET(reader.sock, &ready);
  if (loop->timeouts.empty()) return select(loop->max_sock + 1, &ready, nullptr, nullptr, nullptr);

  const long wait = std::max(ticks_until(loop->timeouts.front().expiry, now()), 0);
  timeval limit = {wait / loop->ticks_per_second,
                   (1000000 / loop->ticks_per_second) * (wait % loop->ticks_per_second)};
  return select(loop->max_sock + 1, &ready, nullptr, nullptr, &limit);
}

bool matches(void *given, void *registered) {
  return given == registered || given == reinterpret_cast<void *>(static_cast<intptr_t>(-1));
}

} // namespace

void eloop_init(void *user_data) noexcept {
  eloop_destroy();
  *loop = Loop{};
  loop->user_data = user_data;
  const long ticks = sysconf(_SC_CLK_TCK);
  if (ticks > 0) loop->ticks_per_second = ticks;
}

int eloop_register_read_sock(int sock, eloop_sock_handler handler, void *eloop_data,
                             void *user_data) noexcept {
  if (sock < 0 || sock >= FD_SETSIZE || !handler) return -1;
  return vorn::guarded(-1, [&] {
    loop->readers.push_back({registrations + 1, sock, eloop_data, user_data, handler});
    ++registrations;
    loop->max_sock = std::max(loop->max_sock, sock);
    return 0;
  });
}

int eloop_unregister_read_sock(int sock) noexcept {
  const auto found = std::find_if(loop->readers.begin(), loop->readers.end(),
                                  [sock](const Reader &reader) { return reader.sock == sock; });
  if (found == loop->readers.end()) return -1;
  loop->readers.erase(found);
  loop->readers_changed = true;
  return 0;
}

int eloop_register_timeout(unsigned secs, unsigned usecs, eloop_timeout_handler handler, void *eloop_data,
                           void *user_data) noexcept {
  if (!handler) return -1;
  return vorn::guarded(-1, [&] {
    const Ticks expiry = now() + ticks_of(secs, usecs);
    auto before = loop->timeouts.before_begin();
    for (auto next = std::next(before);
         next != loop->timeouts.end() && ticks_until(next->expiry, expiry) <= 0; ++next)
      before = next;
    loop->timeouts.insert_after(before, {expiry, eloop_data, user_data, handler});
    return 0;
  });
}

int eloop_cancel_timeout(eloop_timeout_handler handler, void *eloop_data, void *user_data) noexcept {
  return static_cast<int>(loop->timeouts.remove_if([&](const Timeout &timeout) {
    return timeout.handler == handler && matches(eloop_data, timeout.eloop_data) &&
           matches(user_data, timeout.user_data);
  }));
}

int eloop_register_signal(int sig, eloop_signal_handler handler, void *user_data) noexcept {
  if (!handler) return -1;
  return vorn::guarded(-1, [&] {
    const vorn::SignalBlock held; // its table is what the catcher walks
    loop->signals.push_back({sig, user_data, handler, 0});
    if (signal(sig, catch_signal) != SIG_ERR) return 0;
    loop->signals.pop_back();
    return -1;
  });
}

bool vorn::run_loop_once() noexcept {
  if (loop->terminate || (loop->timeouts.empty() && loop->readers.empty())) return false;
  fd_set ready;
  const uint64_t last_waited_for = registrations;
  const int count = wait_for_readers(ready);
  if (count < 0 && errno != EINTR) {
    perror("select");
    return false;
  }
  const Ticks moment = now();
  dispatch_signals(moment);
  dispatch_timeout(moment);
  if (count > 0) dispatch_readers(ready, last_waited_for);
  return true;
}

void eloop_run() noexcept {
  while (vorn::run_loop_once()) continue;
}

int eloop_terminate() noexcept {
  loop->terminate = true;
  return 0;
}

int eloop_terminated() noexcept { return loop->terminate ? 1 : 0; }

void eloop_destroy() noexcept {
  const vorn::SignalBlock held; // its table is what the catcher walks
  loop->readers = {};
  loop->timeouts.clear();
  loop->signals = {};
}

void *eloop_get_user_data() noexcept { return loop->user_data; }
