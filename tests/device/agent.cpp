#include "device/agent.hpp"

#include <arpa/inet.h>
#include <csignal>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/un.h>
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
  const std::string from = getenv("VORN_TEST_PLUGINS");
  // By name: the repository itself may stand below /tmp.
  std::string command = "mkdir -p /usr/lib/vorn/plugins /etc/config && : > /dev/console && rm -rf "
                        "/usr/lib/vorn/plugins/* /etc/config/* /etc/*config.xml /etc/post-init /etc/rebuild "
                        "/var/log/*.log /var/run/vorn.* "
                        "/dev/watchdog /tmp/factory-reset /tmp/defaultconfig* /tmp/md5.gen /tmp/commits "
                        "/tmp/live /tmp/output /tmp/reply /tmp/slow /tmp/script /tmp/post-init";
  for (const char *plugin : plugins) command += " && cp " + from + "/" + plugin + " /usr/lib/vorn/plugins/";
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

template <class Address> int connect_to(int family, const Address &address) {
  Descriptor client(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const timeval limit = {20, 0};
  setsockopt(client.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  setsockopt(client.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  const auto try_once = [&] {
    return connect(client.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
  };
  return eventually(try_once) ? client.release() : -1; // it may be booting
}

} // namespace

Connection Connection::local(const char *name) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  strncpy(address.sun_path + 1, name, sizeof address.sun_path - 2);
  return Connection(connect_to(AF_UNIX, address));
}

Connection Connection::tcp(int port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return Connection(connect_to(AF_INET, address));
}

bool Connection::send(const std::string &bytes) const {
  for (size_t sent = 0; sent < bytes.size();) {
    const ssize_t count = ::send(socket_.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) return false;
    sent += static_cast<size_t>(count);
  }
  return true;
}

void Connection::end_sending() const { shutdown(socket_.get(), SHUT_WR); }

std::string Connection::receive(int until) {
  std::string text = std::exchange(unread_, {});
  for (size_t searched = 0; !ended;) {
    const size_t end = until < 0 ? std::string::npos : text.find(static_cast<char>(until), searched);
    if (end != std::string::npos) {
      unread_ = text.substr(end + 1);
      text.resize(end + 1);
      return text;
    }
    searched = text.size();
    char buffer[65536];
    const ssize_t count = recv(socket_.get(), buffer, sizeof buffer, 0);
    if (count < 0 && errno == EAGAIN) {
      ADD_FAILURE() << "nothing came for 20 seconds behind: " << text.substr(0, 1000);
      return text;
    }
    ended = count <= 0;
    if (count > 0) text.append(buffer, static_cast<size_t>(count));
  }
  return text;
}

std::string Connection::receive_now() {
  usleep(100000);
  char buffer[65536];
  const ssize_t count = recv(socket_.get(), buffer, sizeof buffer, MSG_DONTWAIT);
  return std::exchange(unread_, {}).append(buffer, count > 0 ? static_cast<size_t>(count) : 0);
}

std::string length_prefix(unsigned length) {
  return std::string(reinterpret_cast<char *>(&length), sizeof length);
}

std::string inform(const std::string &parameters) {
  Connection client = Connection::local("vorn_sock_inform");
  client.send(length_prefix(0) + length_prefix(static_cast<unsigned>(parameters.size())) + parameters);
  return client.receive();
}

std::string request(const std::string &text) {
  Connection client = Connection::local();
  client.send(length_prefix(static_cast<unsigned>(text.size())) + text);
  return client.receive();
}

std::string lsql(const std::string &operations) {
  std::string reply = request("<lsql origin=\"test\">" + operations + "</lsql>");
  const std::string head = "<?xml version=\"1.0\"?>\n<lsql_result>", tail = "</lsql_result>\n";
  if (!reply.starts_with(head) || !reply.ends_with(tail)) return reply;
  return reply.substr(head.size(), reply.size() - head.size() - tail.size());
}

} // namespace vorn::test
