// Requests to the evaluator, without a socket.
#include "agent_state.hpp"
#include "figures.hpp"
#include "requests.hpp"
#include "samples.hpp"
#include "station_file.hpp"

namespace bench {

namespace {

constexpr double seconds_each = 1.5;

// One request or more, made for the station of a number that runs through all of them.
struct Case {
  const char *name;
  void (*run)(size_t number, size_t stations);
};

// Far from its neighbours: no station finds its memory warmed by the one before.
size_t scattered(size_t number, size_t stations) { return number * 7919 % stations; }

constexpr Case cases[] = {
    {"select one by name",
     [](size_t i, size_t n) { evaluate(select_one(station_name(scattered(i, n))), 1); }},
    {"select all", [](size_t, size_t n) { evaluate(select_all(), n); }},
    {"update one by name",
     [](size_t i, size_t n) { evaluate(update_one(station_name(scattered(i, n)), i), 1); }},
    {"update one in a transaction",
     [](size_t i, size_t n) { evaluate(in_transaction(update_one(station_name(scattered(i, n)), i)), 1); }},
    {"insert and delete one",
     [](size_t, size_t) {
       evaluate(insert_one("newcomer"), 1);
       evaluate(delete_one("newcomer"), 1);
     }},
};

double measure(const Case &request, size_t stations) {
  Samples samples;
  size_t number = 0;
  request.run(number++, stations);
  for (Repetitions repetitions(seconds_each); repetitions.next(); ++number)
    samples.add(processor_seconds_of([&] { request.run(number, stations); }));
  return samples.median();
}

} // namespace

std::vector<std::string> request_names() {
  std::vector<std::string> names;
  for (const Case &request : cases) names.emplace_back(request.name);
  return names;
}

Figures measure_requests(size_t stations) {
  Figures figures;
  set_up_agent();
  load_config();
  for (const Case &request : cases) figures[request.name] = measure(request, stations);
  return figures;
}

} // namespace bench
