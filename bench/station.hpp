// The class that all figures are taken with, believable instances of it, and the requests that are measured.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

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

// The station of that number; the same one every time.
Station make_station(size_t number);

// What a request is to be answered with.
enum class Answer { without_instances, first_station, all_stations };

// A kind of request that is measured.
struct Request {
  const char *name;
  std::string (*text)(size_t number, size_t stations); // each number for another station, with another value
  Answer answer;                                       // to number 0, in a configuration that is as written
  size_t steps = 1;                                    // so many, in a row, are one measured unit
};

// Those that change nothing come first; the first few are measured over sockets, too.
inline constexpr size_t request_count = 5, socket_request_count = 3;
extern const std::array<Request, request_count> requests;

inline size_t matches_of(const Request &request, size_t stations) {
  return request.answer == Answer::all_stations ? stations : 1;
}

// The value that a number sets.
std::string rate(size_t number);

// Lines for a text table with the columns "name" and "rateLimit": as many stations get values of their own.
inline constexpr size_t table_lines = 100;
inline constexpr const char *table_columns[] = {"name", "rateLimit", nullptr};
std::string table_text(size_t number, size_t stations);

// Throws unless the reply is one operation's without errors that matched this many instances.
void require_success(std::string_view reply, size_t instances);

} // namespace bench
