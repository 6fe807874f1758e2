// The agent that a target feeds its input to: a schema of every kind of class, providers that commit, refresh
// and store passively, a running configuration that starts alike for each input, and what must hold after any
// of them.
#pragma once

#include "model/types.h"
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vorn::fuzz {

// An input, taken apart from its start. What is not there is 0 or empty.
class Input {
public:
  Input(const uint8_t *data, size_t size) : rest_(reinterpret_cast<const char *>(data), size) {}
  bool empty() const { return rest_.empty(); }
  uint8_t byte() { return static_cast<uint8_t>(take(1)[0]); }
  uint8_t below(size_t bound) { return static_cast<uint8_t>(byte() % bound); }
  std::string take(size_t count); // so many bytes, and where they end before, NULs
  std::string until(char end);
  std::string rest() { return until_size(rest_.size()); }

private:
  std::string until_size(size_t size);
  std::string_view rest_;
};

// Ends the process with the text when `holds` is false: a finding.
void require(bool holds, const char *text);

// Makes what is the process's, the first time: the schema, the providers, a log that goes nowhere.
void start();

// One input's agent.
class World {
public:
  World();
  ~World();
  World(const World &) = delete;
  World &operator=(const World &) = delete;

  // What holds after whatever came in.
  void check();
  // Plugins may store what no file can hold, and instances without what they need. Saving or loading drops
  // it.
  static void leave_out_what_cannot_be_saved();

  // A name for a file of the process's own, gone with it.
  static std::string path(const char *name);
  static void write(const std::string &path, const std::string &bytes);

  // Loads a file into the running configuration as a boot does. Returns false when it is not a configuration.
  static bool load(const std::string &path);
  // The file that saving writes.
  static std::string save();
};

// What is saved of a collection, in the order of its classes and instances, the values sorted.
std::string state(const vorn_instances *instances);

// Whether the identifier of each instance of a subclass names its class. A passive request may set it
// otherwise.
bool identifiers_hold();

// What the status file of the radios holds; a refresh turns it into passive updates.
extern std::string radio_status;

// The commits of this input so far, and what the next one must find as the state before it.
extern unsigned commits;
void expect_before(const std::string &state);

} // namespace vorn::fuzz
