#include "faults/tracer.hpp"

#include "core/handles.hpp"
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vorn::test {

namespace {

#ifdef __x86_64__
constexpr bool can_fail = true;
void set_call(pid_t child, long call) { ptrace(PTRACE_POKEUSER, child, offsetof(user, regs.orig_rax), call); }
void set_result(pid_t child, long result) {
  ptrace(PTRACE_POKEUSER, child, offsetof(user, regs.rax), result);
}
#else
constexpr bool can_fail = false;
void set_call(pid_t, long) {}
void set_result(pid_t, long) {}
#endif

Stop where(pid_t child) {
  __ptrace_syscall_info info = {};
  ptrace(static_cast<__ptrace_request>(PTRACE_GET_SYSCALL_INFO), child, sizeof info, &info);
  Stop stop = {child, -1, info.op == PTRACE_SYSCALL_INFO_ENTRY, {}};
  if (!stop.before) return stop;
  stop.call = static_cast<long>(info.entry.nr);
  for (size_t i = 0; i < 6; ++i) stop.arguments[i] = static_cast<unsigned long>(info.entry.args[i]);
  return stop;
}

int result_of(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }

int kill_child(pid_t child) {
  kill(child, SIGKILL);
  int status = 0;
  while (waitpid(child, &status, 0) == child && WIFSTOPPED(status)) continue;
  return result_of(status);
}

} // namespace

bool can_fail_calls() { return can_fail; }

int run_in_child(const std::function<int()> &act) {
  const pid_t child = fork();
  if (child == 0) _exit(act());
  int status = 0;
  waitpid(child, &status, 0);
  return result_of(status);
}

int run_traced(const std::function<void()> &prepare, const std::function<int()> &act,
               const std::function<Fate(const Stop &)> &decide) {
  const pid_t child = fork();
  if (child == 0) {
    prepare();
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    _exit(act());
  }
  int status = 0;
  waitpid(child, &status, 0);
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  int error = 0, signal = 0;
  for (;;) {
    ptrace(PTRACE_SYSCALL, child, nullptr, signal);
    if (waitpid(child, &status, 0) != child || !WIFSTOPPED(status)) return result_of(status);
    const bool at_call = WSTOPSIG(status) == (SIGTRAP | 0x80);
    signal = at_call ? 0 : WSTOPSIG(status);
    if (!at_call) continue;
    const Stop stop = where(child);
    if (!stop.before && error != 0) set_result(child, -error);
    const Fate fate = decide(stop);
    if (fate.killed) return kill_child(child);
    error = stop.before ? fate.error : 0;
    if (error != 0) set_call(child, -1);
  }
}

void write_half(const Stop &stop) {
  const std::string process = "/proc/" + std::to_string(stop.child), fd = std::to_string(stop.arguments[0]);
  std::string bytes(stop.arguments[2] / 2, '\0'), word;
  const Descriptor memory(open((process + "/mem").c_str(), O_RDONLY));
  if (pread(memory.get(), bytes.data(), bytes.size(), static_cast<off_t>(stop.arguments[1])) < 0) abort();
  off_t position = 0;
  std::ifstream(process + "/fdinfo/" + fd) >> word >> position; // "pos:" and where it stands
  const Descriptor file(open((process + "/fd/" + fd).c_str(), O_WRONLY));
  if (pwrite(file.get(), bytes.data(), bytes.size(), position) < 0) abort();
}

} // namespace vorn::test
