// The class that all figures are taken with, believable instances of it, and the requests that are measured.
#pragma once

#include <array>
#include <cstddef>
#include <string>

namespace bench {

inline constexpr char config_path[] = "/etc/config/config.xml";

// Unique-named and persistent; the properties are writable.
inline const std::string station_class = "Station";
inline constexpr std::array station_properties = {"macAddress", "ipAddress",  "hostName", "ssid",
                                                  "band",       "security",   "vlan",     "rateLimit",
                                                  "firstSeen",  "description"};

// Registers the class and a provider whose functions do nothing, so that commits and refreshes really walk.
// Returns false when anything was refused.
bool register_station();

struct Station {
  std::string name;
  std::array<std::string, station_properties.size()> values; // of 4 to 40 characters
};

std::string station_name(size_t number);

// The station of that number; the same one every time.
Station make_station(size_t number);

// Writes the startup file with this many stations, as the agent itself would save them. Returns its size in
// bytes; throws when it cannot be written.
size_t write_config(size_t stations);

// A request with one operation, and the operations.
std::string lsql(const std::string &operation);
std::string in_transaction(const std::string &operation);
std::string select_one(const std::string &name);
std::string select_all();
std::string update_one(const std::string &name, size_t number); // each number sets another value
std::string insert_one(const std::string &name);
std::string delete_one(const std::string &name);

// Throws unless the reply is one operation's without errors that matched this many instances.
void require_success(const std::string &reply, size_t instances);

} // namespace bench
