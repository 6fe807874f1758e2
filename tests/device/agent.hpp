// The agent under test, on the private device root that the tests run in, and its clients.
#pragma once

#include "exchange.hpp"
#include <initializer_list>
#include <string>
#include <sys/types.h>

namespace vorn::test {

constexpr char config_path[] = "/etc/config/config.xml";
using client::length_prefix, client::with_length, client::terminator;

std::string read_file(const std::string &path);
void write_file(const std::string &path, const std::string &text);
void append_file(const std::string &path, const std::string &text);
bool exists(const std::string &path);

inline bool contains(const std::string &text, const std::string &part) {
  return text.find(part) != std::string::npos;
}

// Makes the device as it is before a boot: no files of earlier runs, these plugins, this configuration.
void prepare_device(std::initializer_list<const char *> plugins, const std::string &config);

// Waits until a condition holds, at most `seconds`. Returns whether it does.
template <class Condition> bool eventually(Condition condition, int seconds = 20) {
  for (int i = 0; i < seconds * 100; ++i) {
    if (condition()) return true;
    usleep(10000);
  }
  return condition();
}

enum class Streams { open, closed };

// A running agent, in a process group of its own since it signals its group.
class Agent {
public:
  explicit Agent(std::initializer_list<const char *> options = {"-f"}, Streams streams = Streams::open);
  ~Agent(); // ends it when a test has not

  pid_t pid() const { return pid_; }
  void signal(int number) const;
  // Waits for its end; returns its status as of waitpid(2), or -1 when it does not end.
  int wait(int seconds = 20);
  // What it has logged so far, and what it has written to its standard output and error.
  static std::string log() { return read_file("/dev/console"); }
  static std::string output() { return read_file("/tmp/output"); }
  // The number of its open descriptors.
  int descriptors() const;

private:
  pid_t pid_;
};

// A connection, with a limit of 20 seconds on everything that it waits for.
class Connection : public client::Connection {
public:
  static Connection local(const char *name = client::lsql_socket);
  static Connection tcp(int port);
  // Reads until the end of the stream or, where given, through a byte. `ended` tells whether the stream did.
  std::string receive(int until = -1);
  // Reads what comes within a tenth of a second.
  std::string receive_now();
  bool ended = false;

private:
  explicit Connection(const client::Endpoint &agent);
  std::string unread_; // received after the byte that a call looked for
};

// Sends parameters to the inform socket and returns the answer.
std::string inform(const std::string &parameters);

// Sends a request to the local socket and returns the reply, "" when there is none.
std::string request(const std::string &text);
// As above, with the operations only; returns what stands in the result's root.
std::string lsql(const std::string &operations);

} // namespace vorn::test
