#include "station_file.hpp"

#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace bench {

namespace {

[[gnu::format(printf, 1, 2)]] std::string format(const char *pattern, ...) {
  char text[64];
  va_list arguments;
  va_start(arguments, pattern);
  vsnprintf(text, sizeof text, pattern, arguments);
  va_end(arguments);
  return text;
}

std::string description(size_t number) {
  constexpr const char *places[] = {"Reception desk %zu, ground floor", "Research & Development, bench %zu",
                                    "Warehouse gate %zu, hand scanner", "Meeting room %zu, west wing",
                                    "Lent to visitors, locker %zu"};
  std::string text(64, '\0');
  const int length = snprintf(text.data(), text.size(), places[number % std::size(places)], number);
  text.resize(static_cast<size_t>(length));
  return text;
}

// The text as XML; of the special characters, the values hold only this one.
std::string escaped(std::string text) {
  for (size_t at = 0; (at = text.find('&', at)) != std::string::npos; at += 5) text.replace(at, 1, "&amp;");
  return text;
}

void append_station(std::string &text, const Station &station) {
  text += "  <" STATION_CLASS " name=\"" + station.name + "\">\n";
  for (size_t i = 0; i < STATION_PROPERTIES; ++i) {
    const std::string property = station_properties[i];
    text += "    <" + property + ">" + escaped(station.values[i]) + "</" + property + ">\n";
  }
  text += "  </" STATION_CLASS ">\n";
}

} // namespace

std::string station_name(size_t number) { return format("station-%06zu", number); }

Station make_station(size_t number) {
  constexpr const char *bands[] = {"2.4GHz", "5GHz", "6GHz"};
  constexpr const char *securities[] = {"wpa2-personal", "wpa3-personal", "wpa3-enterprise", "open"};
  constexpr const char *networks[] = {"guest-network", "office", "production-hall", "voice"};
  const size_t high = number >> 16 & 255, middle = number >> 8 & 255, low = number & 255;
  return {
      station_name(number),
      {format("02:00:5e:%02zx:%02zx:%02zx", high, middle, low), format("10.%zu.%zu.%zu", high, middle, low),
       format("laptop-%05zu.branch.example", number), networks[number % std::size(networks)],
       bands[number % std::size(bands)], securities[number % std::size(securities)],
       std::to_string(1000 + number % 3000), format("%zu kbit/s", 1000 * (1 + number % 50)),
       format("2000-%02zu-%02zuT%02zu:%02zu:00Z", 1 + number % 12, 1 + number % 28, number % 24, number % 60),
       description(number)}};
}

size_t write_config(size_t stations) {
  std::string text = "<?xml version=\"1.0\"?>\n<config>\n";
  for (size_t i = 0; i < stations; ++i) append_station(text, make_station(i));
  text += "</config>\n";
  std::ofstream file(config_path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw std::runtime_error(std::string("cannot write ") + config_path);
  return text.size();
}

} // namespace bench
