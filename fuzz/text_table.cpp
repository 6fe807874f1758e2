// A text table: its first byte chooses the columns, the rest is the text. Whatever a line holds, only the
// values of its columns may change.
#include "support/text_table.h"
#include "config/config.h"
#include "model/instances.hpp"
#include "query/query.h"
#include "world.hpp"
#include <algorithm>
#include <cstring>
#include <vector>

using namespace vorn::fuzz;

namespace {

constexpr int most_columns = 5;

struct Table {
  const char *cls;
  const char *columns[most_columns];
} tables[] = {
    {"radio", {"name", "#clients", "", "signal", nullptr}},
    {"radio", {"*name", "power", "*mode", nullptr}},
    {"radio", {"*mode", "*power", "pin", nullptr}},
    {"radio", {"power", nullptr}},
    {"station", {"name", "heard", nullptr}},
    {"rule", {"*action", "name", "note", nullptr}},
    {"port", {"name", "#mtu", nullptr}},
    {"server", {"*address", "state", nullptr}},
    {"system", {"motto", "host", nullptr}},
    {"nothing", {"name", "x", nullptr}},
};

bool is_stored(const Table &table, const vorn_instance &instance, const char *property) {
  const vorn_class &cls = *instance.cls;
  if (cls.name != table.cls && (!cls.superclass || cls.superclass->name != table.cls)) return false;
  return std::any_of(table.columns, table.columns + most_columns, [&](const char *column) {
    return column && *column != '*' && strcmp(column + (*column == '#'), property) == 0;
  });
}

// Everything but the values that the table may store.
std::string the_others(const Table &table) {
  std::string text;
  for (vorn_instances_iterator it(*vorn_config_get_running()); it.has_next();) {
    const vorn_instance &instance = *it.next();
    text.append(instance.cls->name).append(" ").append(instance.name ? instance.name : "").append("\n");
    for (const vorn::Value &value : instance.values)
      if (const std::string &name = value.property()->name; !is_stored(table, instance, name.c_str()))
        text.append(name).append("=").append(value.text()).append("\n");
  }
  return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  World world;
  Input input(data, size);
  Table &table = tables[input.below(std::size(tables))];
  radio_status = input.rest();
  const std::string before = the_others(table);
  std::vector<char> text(radio_status.c_str(), radio_status.c_str() + strlen(radio_status.c_str()) + 1);
  const int result = vorn_util_put2object(text.data(), table.columns, table.cls);
  require(result == 0 || result == 4, "the result is one of two");
  require(commits == 0, "what was read is not committed");
  require(the_others(table) == before, "only the values of the columns change");
  // The same text as the radios' status, read by a refresh.
  const std::string radios = the_others(tables[0]);
  free(vorn_query_eval("<lsql><select><radio properties=\"all\"/></select></lsql>"));
  require(the_others(tables[0]) == radios, "only the values of the columns are refreshed");
  world.check();
  return 0;
}
