// Believable stations, and a configuration file of them.
#ifndef VORN_BENCH_STATION_FILE_HPP
#define VORN_BENCH_STATION_FILE_HPP

#include "station.h"
#include <array>
#include <cstddef>
#include <string>

namespace bench {

inline constexpr char config_path[] = "/etc/config/config.xml";

struct Station {
  std::string name;
  std::array<std::string, STATION_PROPERTIES>
      values; // of 4 to 40 characters, in the order of station_properties
};

// The station of that number; the same one every time.
Station make_station(size_t number);

std::string station_name(size_t number);

// Writes the startup file with this many stations, as the agent itself would save them. Returns its size in
// bytes; throws when it cannot be written.
size_t write_config(size_t stations);

} // namespace bench

#endif
