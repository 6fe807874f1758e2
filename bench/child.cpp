#include "child.hpp"

#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace bench {

namespace {

int run_body(const std::function<int()> &body) {
  try {
    return body();
  } catch (const std::exception &error) {
    fprintf(stderr, "bench: %s\n", error.what());
    return 1;
  }
}

std::string read_all(int fd) {
  std::string text;
  char buffer[4096];
  for (ssize_t count; (count = read(fd, buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<size_t>(count));
  return text;
}

} // namespace

Child::Child(const std::function<int()> &body) {
  fflush(nullptr);
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("cannot fork");
  if (pid_ > 0) return;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  _exit(run_body(body));
}

Child::Child(Child &&other) noexcept : pid_(std::exchange(other.pid_, -1)) {}

Child::~Child() {
  if (pid_ > 0) end(SIGKILL);
}

bool Child::has_ended() {
  if (pid_ > 0 && waitpid(pid_, nullptr, WNOHANG) == pid_) pid_ = -1;
  return pid_ < 0;
}

void Child::end(int signal) {
  if (pid_ > 0) kill(pid_, signal);
  wait();
}

int Child::wait() {
  int status = -1;
  if (pid_ > 0) waitpid(std::exchange(pid_, -1), &status, 0);
  return status;
}

int execute(const std::vector<std::string> &command) {
  std::vector<char *> arguments;
  for (const std::string &argument : command) arguments.push_back(const_cast<char *>(argument.c_str()));
  arguments.push_back(nullptr);
  execv(arguments[0], arguments.data());
  perror(arguments[0]);
  return 127;
}

std::string output_of_self(std::vector<std::string> arguments) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("cannot make a pipe");
  arguments.insert(arguments.begin(), "/proc/self/exe");
  Child child([&] {
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
    return execute(arguments);
  });
  close(ends[1]);
  std::string text = read_all(ends[0]);
  close(ends[0]);
  if (child.wait() != 0) throw std::runtime_error("a measuring process has failed");
  return text;
}

} // namespace bench
