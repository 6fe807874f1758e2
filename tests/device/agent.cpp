#include "device/agent.hpp"

#include <chrono>
#include <csignal>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <poll.h>
#include <sstream>
#include <sys/wait.h>
#include <vector>

namespace vorn::test {

std::string read_file(const std::string &path) {
  std::ostringstream text;
  std::ifstream file(path);
  if (file.peek() != EOF) text << file.rdbuf();
  return text.str();
}

void write_file(const std::string &path, const std::string &text) { std::ofstream(path) << text; }

void append_file(const std::string &path, const std::string &text) {
  std::ofstream(path, std::ios::app) << text;
}

bool exists(const std::string &path) { return access(path.c_str(), F_OK) == 0; }

void prepare_device(std::initializer_list<const char *> plugins, const std::string &config) {
  const char *from = getenv("VORN_TEST_PLUGINS");
  ASSERT_NE(from, nullptr) << "where the tests' plugins lie";
  // By name: the repository itself may stand below /tmp.
  std::string command = "mkdir -p /usr/lib/vorn/plugins /etc/config && : > /dev/console && rm -rf "
                        "/usr/lib/vorn/plugins/* /etc/config/* /etc/*config.xml /etc/post-init /etc/rebuild "
                        "/var/log/*.log /var/run/vorn.* "
                        "/dev/watchdog /tmp/factory-reset /tmp/defaultconfig* /tmp/md5.gen /tmp/commits "
                        "/tmp/live /tmp/output /tmp/reply /tmp/slow /tmp/script /tmp/post-init";
  for (const char *plugin : plugins)
    command += " && cp " + std::string(from) + "/" + plugin + " /usr/lib/vorn/plugins/";
  ASSERT_EQ(system(command.c_str()), 0);
  if (!config.empty()) write_file(config_path, config);
}

Agent::Agent(std::initializer_list<const char *> options, Streams streams) : pid_(fork()) {
  if (pid_ != 0) return;
  setpgid(0, 0);
  const int output = open("/tmp/output", O_WRONLY | O_CREAT | O_TRUNC, 0600);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  close(output);
  if (streams == Streams::closed)
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) close(stream);
  std::vector<char *> arguments = {const_cast<char *>("vorn")};
  for (const char *option : options) arguments.push_back(const_cast<char *>(option));
  arguments.push_back(nullptr);
  execv("/usr/sbin/vorn", arguments.data());
  _exit(126);
}

Agent::~Agent() {
  if (pid_ <= 0) return;
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
}

void Agent::signal(int number) const { kill(pid_, number); }

int Agent::wait(int seconds) {
  int status = -1;
  if (!eventually([&] { return waitpid(pid_, &status, WNOHANG) == pid_; }, seconds)) return -1;
  pid_ = 0;
  return status;
}

int Agent::descriptors() const {
  const Directory directory(opendir(("/proc/" + std::to_string(pid_) + "/fd").c_str()));
  int count = 0;
  while (directory && readdir(directory.get())) ++count;
  return count;
}

namespace {

client::Connection connect_to(const client::Endpoint &agent) {
  std::optional<client::Connection> connection;
  const auto try_once = [&] {
    try {
      connection.emplace(agent, std::chrono::seconds(20));
    } catch (const client::Unreachable &) {
    }
    return connection.has_value();
  };
  if (!eventually(try_once)) throw client::Unreachable("nobody listens at " + agent.description);
  return *std::move(connection);
}

} // namespace

Connection::Connection(const client::Endpoint &agent) : client::Connection(connect_to(agent)) {}

Connection Connection::local(const char *name) { return Connection(client::local_endpoint(name)); }

Connection Connection::tcp(int port) { return Connection(client::tcp_endpoint(static_cast<uint16_t>(port))); }

std::string Connection::receive(int until) {
  std::string message;
  try {
    const char end = static_cast<char>(until);
    if (until >= 0 && receive_message(end, unread_, message)) return message + end;
    while (client::Connection::receive(unread_)) continue;
    ended = true;
  } catch (const client::Unreachable &error) {
    ADD_FAILURE() << error.what() << ", after: " << unread_.substr(0, 1000);
  }
  return std::exchange(unread_, {});
}

std::string Connection::receive_now() {
  usleep(100000);
  pollfd ready = {descriptor(), POLLIN, 0};
  if (poll(&ready, 1, 0) > 0) client::Connection::receive(unread_);
  return std::exchange(unread_, {});
}

std::string inform(const std::string &parameters) {
  Connection connection = Connection::local(client::inform_socket);
  connection.send(length_prefix(client::inform_version) + with_length(parameters));
  return connection.receive();
}

std::string request(const std::string &text) {
  Connection connection = Connection::local();
  connection.send(with_length(text));
  return connection.receive();
}

std::string lsql(const std::string &operations) {
  std::string reply = request("<lsql origin=\"test\">" + operations + "</lsql>");
  const std::string head = "<?xml version=\"1.0\"?>\n<lsql_result>", tail = "</lsql_result>\n";
  if (!reply.starts_with(head) || !reply.ends_with(tail)) return reply;
  return reply.substr(head.size(), reply.size() - head.size() - tail.size());
}

} // namespace vorn::test
