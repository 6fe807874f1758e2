#include "station.hpp"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace bench {

namespace {

template <class... Numbers> std::string format(const char *pattern, Numbers... numbers) {
  char text[64];
  snprintf(text, sizeof text, pattern, numbers...);
  return text;
}

// The text as XML; of the special characters, the values hold only this one.
std::string escaped(std::string text) {
  for (size_t at = 0; (at = text.find('&', at)) != std::string::npos; at += 5) text.replace(at, 1, "&amp;");
  return text;
}

std::string element(const std::string &name, const std::string &text) {
  return "<" + name + ">" + text + "</" + name + ">";
}

std::string named(const std::string &name) { return " name=\"" + name + "\""; }

std::string operation(const std::string &verb, const std::string &attributes,
                      const std::string &content = "") {
  return element(verb, "<" + station_class + attributes + ">" + content + "</" + station_class + ">");
}

constexpr char all[] = " properties=\"all\"";

} // namespace

std::string station_name(size_t number) { return format("station-%06zu", number); }

Station make_station(size_t number) {
  constexpr const char *bands[] = {"2.4GHz", "5GHz", "6GHz"};
  constexpr const char *securities[] = {"wpa2-personal", "wpa3-personal", "wpa3-enterprise", "open"};
  constexpr const char *networks[] = {"guest-network", "office", "production-hall", "voice"};
  constexpr const char *places[] = {"Reception desk %zu, ground floor", "Research & Development, bench %zu",
                                    "Warehouse gate %zu, hand scanner", "Meeting room %zu, west wing",
                                    "Lent to visitors, locker %zu"};
  const size_t high = number >> 16 & 255, middle = number >> 8 & 255, low = number & 255;
  return {
      station_name(number),
      {format("02:00:5e:%02zx:%02zx:%02zx", high, middle, low), format("10.%zu.%zu.%zu", high, middle, low),
       format("laptop-%05zu.branch.example", number), networks[number % std::size(networks)],
       bands[number % std::size(bands)], securities[number % std::size(securities)],
       std::to_string(1000 + number % 3000), format("%zu kbit/s", 1000 * (1 + number % 50)),
       format("2000-%02zu-%02zuT%02zu:%02zu:00Z", 1 + number % 12, 1 + number % 28, number % 24, number % 60),
       format(places[number % std::size(places)], number)}};
}

size_t write_config(size_t stations) {
  std::string text = "<?xml version=\"1.0\"?>\n<config>\n";
  for (size_t number = 0; number < stations; ++number) {
    const Station station = make_station(number);
    text += "  <" + station_class + named(station.name) + ">\n";
    for (size_t i = 0; i < station.values.size(); ++i)
      text += "    " + element(station_properties[i], escaped(station.values[i])) + "\n";
    text += "  </" + station_class + ">\n";
  }
  text += "</config>\n";
  std::ofstream file(config_path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw std::runtime_error(std::string("cannot write ") + config_path);
  return text.size();
}

std::string lsql(const std::string &operation) { return element("lsql", operation); }
std::string in_transaction(const std::string &operation) { return element("write-transaction", operation); }
std::string select_one(const std::string &name) { return operation("select", named(name) + all); }
std::string select_all() { return operation("select", all); }
std::string delete_one(const std::string &name) { return operation("delete", named(name)); }

std::string update_one(const std::string &name, size_t number) {
  return operation("update", named(name), element("rateLimit", std::to_string(number) + " kbit/s"));
}

std::string insert_one(const std::string &name) {
  std::string properties;
  const Station station = make_station(0);
  for (size_t i = 0; i < station.values.size(); ++i)
    properties += element(station_properties[i], escaped(station.values[i]));
  return operation("insert", named(name), properties);
}

void require_success(const std::string &reply, size_t instances) {
  const std::string end = "<rc>0</rc><counter>" + std::to_string(instances) + "</counter></lsql_result>";
  if (reply.find(end) == std::string::npos)
    throw std::runtime_error("unexpected reply: " + reply.substr(0, 200));
}

} // namespace bench
