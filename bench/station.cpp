#include "station.hpp"

#include <cstdio>
#include <iterator>
#include <stdexcept>

namespace bench {

namespace {

template <class... Numbers> std::string format(const char *pattern, Numbers... numbers) {
  char text[64];
  snprintf(text, sizeof text, pattern, numbers...);
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

std::string station_name(size_t number) { return format("station-%06zu", number); }

// Far from its neighbours: no station finds its memory warmed by the one before.
std::string scattered(size_t number, size_t stations) { return station_name(number * 7919 % stations); }

std::string lsql(const std::string &operation) { return element("lsql", operation); }

std::string select(const std::string &name) { return operation("select", name + " properties=\"all\""); }

std::string update_one(size_t number, size_t stations) {
  return operation("update", named(scattered(number, stations)), element("rateLimit", rate(number)));
}

std::string insert_one() {
  std::string properties;
  const Station station = make_station(0); // nothing of it needs to be escaped
  for (size_t i = 0; i < station.values.size(); ++i)
    properties += element(station_properties[i], station.values[i]);
  return operation("insert", named("newcomer"), properties);
}

std::string delete_one() { return operation("delete", named("newcomer")); }

} // namespace

std::string rate(size_t number) { return format("%zu kbit/s", number); }

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
       std::to_string(1000 + number % 3000), rate(1000 * (1 + number % 50)),
       format("2000-%02zu-%02zuT%02zu:%02zu:00Z", 1 + number % 12, 1 + number % 28, number % 24, number % 60),
       format(places[number % std::size(places)], number)}};
}

const std::array<Request, request_count> requests = {{
    {"select one by name", [](size_t i, size_t n) { return lsql(select(named(scattered(i, n)))); },
     Answer::first_station},
    {"select all", [](size_t, size_t) { return lsql(select("")); }, Answer::all_stations},
    {"update one by name", [](size_t i, size_t n) { return lsql(update_one(i, n)); },
     Answer::without_instances},
    {"update one in a transaction",
     [](size_t i, size_t n) { return lsql(element("write-transaction", update_one(i, n))); },
     Answer::without_instances},
    {"insert and delete one", [](size_t i, size_t) { return lsql(i % 2 == 0 ? insert_one() : delete_one()); },
     Answer::without_instances, 2},
}};

std::string table_text(size_t number, size_t stations) {
  std::string text;
  for (size_t i = number; i < number + table_lines; ++i)
    text += scattered(i, stations) + " \"" + rate(i) + "\"\n";
  return text;
}

void require_success(std::string_view reply, size_t instances) {
  const std::string end = "<rc>0</rc><counter>" + std::to_string(instances) + "</counter></lsql_result>\n";
  if (!reply.ends_with(end))
    throw std::runtime_error("unexpected reply: " + std::string(reply.substr(0, 200)));
}

} // namespace bench
