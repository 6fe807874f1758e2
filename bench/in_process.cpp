// Figures of the agent's code without a process around it.
#include "core/handles.hpp"
#include "measures.hpp"
#include "plugins/vorn.h"
#include "reference.hpp"
#include "station.hpp"
#include <functional>
#include <malloc.h>
#include <stdexcept>
#include <unistd.h>

namespace bench {

namespace {

using std::string;
using vorn::CString;

constexpr char saved_path[] = "/etc/config/saved.xml", built_path[] = "/etc/config/built.xml";

// Opens the registries with the one class and the one provider, and closes them.
void set_up_agent() {
  if (vorn_providers_init() != 0 || !register_station() || vorn_classes_done_adding() != 0 ||
      vorn_providers_done_adding() != 0)
    throw std::runtime_error("the agent refuses the class or the provider");
}

void load_config() {
  if (vorn_config_copy_startup_to_running() != 0) throw std::runtime_error("the agent cannot load the file");
}

CString evaluate(const string &request) {
  CString reply(vorn_query_eval(request.c_str()));
  if (!reply) throw std::runtime_error("no reply to " + request);
  return reply;
}

// ---- Requests to the evaluator, without a socket, beside libxml2's work with their texts ----

constexpr double least_measured = 200e-6;   // what is quicker is done several times in a row
constexpr size_t numbers_each = 10'000'000; // a multiple of all sizes: each kind starts with station 0

// One side of a comparison, which answers the texts in turn.
struct Side {
  const Request &request;
  const std::vector<string> &texts;
  size_t matches;
  std::function<CString(const string &text)> answer_to;
  size_t next = 0;
  Samples times{};

  void answer_unit() {
    for (size_t step = 0; step < request.steps; ++step)
      require_success(answer_to(texts[next++ % texts.size()]).get(), matches);
  }

  void measure(size_t units) {
    const auto work = [this] { answer_unit(); };
    add_time(times, processor_seconds, work, units);
  }

  // How many units take so long that the clock's own cost is nothing beside them.
  size_t enough_units() {
    answer_unit(); // what comes first waits for memory
    size_t units = 1;
    for (measure(1); times.back() * static_cast<double>(units) < least_measured; measure(units)) units *= 2;
    times.clear();
    return units;
  }
};

void measure_request(const Request &request, size_t stations, Seconds seconds, size_t number,
                     Figures &figures) {
  std::vector<string> texts;
  const auto write_texts = [&](size_t units) {
    texts.clear();
    while (texts.size() < units * request.steps) texts.push_back(request.text(number++, stations));
  };
  const Content content = content_of(request, stations);
  Side agent{request, texts, content.matches, evaluate};
  Side reference{request, texts, content.matches, [&](const string &text) { return answer(text, content); }};

  write_texts(1);
  if (string(evaluate(texts[0]).get()) != reference.answer_to(texts[0]).get())
    throw std::runtime_error("the replies of the agent and the reference differ");
  for (size_t step = 1; step < request.steps; ++step) evaluate(texts[step]);
  const size_t units = agent.enough_units(), reference_units = reference.enough_units();
  repeat_for(seconds, [&] {
    write_texts(units);
    agent.measure(units);
    reference.answer_unit(); // not to pay for the memory that the agent's side has moved
    reference.measure(reference_units);
  });
  figures[request.name] = median(agent.times);
  figures[by_libxml2(request.name)] = median(reference.times);
}

void measure_table(size_t stations, Seconds seconds, size_t number, Figures &figures) {
  const char *columns[std::size(table_columns)];
  std::copy(std::begin(table_columns), std::end(table_columns), columns);
  Samples samples;
  repeat_for(seconds, [&] {
    string text = table_text(number += table_lines, stations);
    add_time(samples, processor_seconds,
             [&] { vorn_util_put2object(text.data(), columns, station_class.c_str()); });
  });
  const size_t last = number + table_lines - 1;
  if (string(evaluate(requests[0].text(last, stations)).get()).find(rate(last)) == string::npos)
    throw std::runtime_error("the text table has not set the last line's value");
  figures[table_figure] = median(samples);
}

// ---- Memory ----

double heap_in_use() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
}

} // namespace

Figures measure_files(size_t stations, Seconds seconds) {
  set_up_agent();
  parse_and_free(config_path); // the first time sets the library up
  Samples loads, parses, saves, builds;
  repeat_for(seconds, [&] {
    add_time(parses, processor_seconds, [] { parse_and_free(config_path); });
    vorn_instances_delete_all(vorn_config_get_running()); // a load leaves the one before to its users
    add_time(loads, processor_seconds, load_config);
  });
  const std::vector<Station> ready = make_stations(stations);
  repeat_for(seconds, [&] {
    add_time(builds, processor_seconds, [&] { build_save_and_free(built_path, ready); });
    add_time(saves, processor_seconds, [] { vorn_config_dump_running(saved_path); });
  });
  if (content_of(saved_path) != content_of(built_path)) // else comparing times means nothing
    throw std::runtime_error("the files that were saved and built differ");
  return {{load, median(loads)}, {parse, median(parses)}, {save, median(saves)}, {build, median(builds)}};
}

Figures measure_requests(size_t stations, Seconds seconds) {
  set_up_agent();
  load_config();
  Figures figures;
  size_t number = 0;
  for (const Request &request : requests) {
    measure_request(request, stations, seconds, number, figures);
    number += numbers_each; // no value is set twice
  }
  measure_table(stations, seconds, number, figures);
  return figures;
}

Figures measure_memory(size_t stations, Seconds) {
  set_up_agent();
  Figures figures;
  const auto count = static_cast<double>(stations);
  const double empty = figures["empty"] = resident_memory(getpid());
  const double empty_heap = heap_in_use();
  load_config();
  figures["loaded"] = resident_memory(getpid());
  figures["load peak"] = peak_memory(getpid());
  figures["bytes each"] = (figures["loaded"] - empty) / count;
  figures["heap each"] = (heap_in_use() - empty_heap) / count;
  for (const Request &request : requests)
    if (request.answer == Answer::without_instances) evaluate(request.text(0, stations));
  figures["update peak"] = peak_memory(getpid());
  return figures;
}

} // namespace bench
