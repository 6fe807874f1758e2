#include "agent.hpp"

#include "clients.hpp"
#include "samples.hpp"
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

namespace bench {

namespace {

constexpr char plugin_directory[] = "/usr/lib/vorn/plugins";
constexpr double patience_seconds = 20;

int run_agent(const std::string &program) {
  setsid();
  const int console = open("/dev/console", O_WRONLY | O_APPEND);
  for (const int output : {STDOUT_FILENO, STDERR_FILENO}) dup2(console, output); // not among the tables
  return execute({program, "-f"});
}

// What the agent has to say goes to the console, which is a file on a private device.
[[noreturn]] void give_up(const char *what) {
  std::ifstream console("/dev/console");
  throw std::runtime_error(std::string(what) + "\n" +
                           std::string(std::istreambuf_iterator<char>(console), {}));
}

} // namespace

void install_plugin(const std::string &path) {
  namespace fs = std::filesystem;
  fs::create_directories(plugin_directory);
  fs::copy(path, plugin_directory, fs::copy_options::overwrite_existing);
}

Agent::Agent(const std::string &program) : child_([&] { return run_agent(program); }) {
  wait_until_it_listens();
  // The request waits at the socket until the loop runs.
  local_client(agent_local_name)->exchange("<lsql/>");
}

Agent::~Agent() { child_.end(SIGTERM); }

void Agent::wait_until_it_listens() {
  for (const auto start = Clock::now(); seconds_since(start) < patience_seconds;) {
    if (child_.has_ended()) give_up("the agent has ended");
    if (connect_local(agent_local_name)) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  give_up("the agent does not open its socket");
}

} // namespace bench
