// Processes that a program starts and ends itself.
#ifndef VORN_BENCH_CHILD_HPP
#define VORN_BENCH_CHILD_HPP

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace bench {

// A child process, which ends with its owner or its parent.
class Child {
public:
  Child() = default;
  // Runs `body` in the child; the child's status is what it returns. Throws when no child can be had.
  explicit Child(const std::function<int()> &body);
  Child(Child &&other) noexcept;
  Child &operator=(Child &&) = delete;
  ~Child();

  pid_t pid() const { return pid_; }
  bool has_ended();
  // Sends the signal and waits for the end.
  void end(int signal);
  // Waits for the end and returns the status of waitpid(2).
  int wait();

private:
  pid_t pid_ = -1;
};

// Replaces the process; does not return unless that fails, and then returns 127.
int execute(const std::vector<std::string> &command);

// Runs this program again with other arguments and returns what it prints; throws when it fails. Whatever it
// does to its memory is its own.
std::string output_of_self(std::vector<std::string> arguments);

} // namespace bench

#endif
