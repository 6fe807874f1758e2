// The agent itself as a process of the private device.
#ifndef VORN_BENCH_AGENT_HPP
#define VORN_BENCH_AGENT_HPP

#include "child.hpp"

namespace bench {

// Lets the agent load this plugin at its next start.
void install_plugin(const std::string &path);

// An agent with a session of its own, since it signals its whole process group when it is asked to end.
class Agent {
public:
  // Starts it and waits until it answers; throws when it does not.
  explicit Agent(const std::string &program);
  ~Agent();
  pid_t pid() const { return child_.pid(); }

private:
  void wait_until_it_listens();
  Child child_;
};

} // namespace bench

#endif
