#include "world.hpp"

#include "commit/committer.h"
#include "commit/providers.h"
#include "commit/refresher.h"
#include "config/config.h"
#include "config/config_reader.hpp"
#include "config/running.hpp"
#include "core/handles.hpp"
#include "model/classes.h"
#include "model/classes.hpp"
#include "model/instances.hpp"
#include "query/query.h"
#include "support/input.h"
#include "support/text_table.h"
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <libxml/xmlerror.h>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <type_traits>

namespace vorn::fuzz {

std::string radio_status;
unsigned commits = 0;

namespace {

FILE *report = stderr; // where findings go: the log's stream is another one
constexpr int most_radios = 6;

// What the collection was before the request that is being evaluated, where it is known.
std::optional<std::string> before_commit;

// ---- The schema ----

int length(const char *value) { return static_cast<int>(strlen(value)); }
int any(const char *) { return 1; }
int word(const char *value) { return vorn_input_is_word(value, length(value)); }
int address(const char *value) { return vorn_input_is_ip_or_domain_name(value, length(value)); }
int channel(const char *value) { return vorn_input_is_channel(value, length(value), "g", 2); }
int on_off(const char *value) { return vorn_input_is_on_off(value, length(value)); }

constexpr struct ClassRow {
  const char *name, *superclass;
  unsigned type;
  bool abstract, persistent;
} class_rows[] = {
    {"system", nullptr, VORN_CLASS_SINGLETON, false, true},
    {"clock", nullptr, VORN_CLASS_SINGLETON, false, false},
    {"server", nullptr, VORN_CLASS_ANONYMOUS, false, true},
    {"wire", "port", VORN_CLASS_UNIQUE_NAMED, false, true},
    {"port", nullptr, VORN_CLASS_UNIQUE_NAMED, true, true},
    {"air", "port", VORN_CLASS_UNIQUE_NAMED, false, true},
    {"radio", nullptr, VORN_CLASS_UNIQUE_NAMED, false, true},
    {"rule", nullptr, VORN_CLASS_GROUP_NAMED, false, true},
    {"station", nullptr, VORN_CLASS_UNIQUE_NAMED, false, false},
};

enum Kind { plain, required, read_only, transient };

constexpr struct PropertyRow {
  const char *cls, *name;
  int (*valid)(const char *);
  Kind kind;
} property_rows[] = {
    {"system", "host", word, plain},       {"system", "motto", any, plain},
    {"system", "serial", word, read_only}, {"clock", "now", any, read_only},
    {"clock", "zone", word, plain},        {"server", "address", address, required},
    {"server", "state", any, plain},       {"port", "mtu", any, plain},
    {"wire", "speed", word, plain},        {"air", "channel", channel, plain},
    {"radio", "mode", word, required},     {"radio", "power", any, plain},
    {"radio", "pin", any, transient},      {"rule", "action", on_off, plain},
    {"rule", "note", any, plain},          {"station", "heard", any, plain},
};

// The instances that each input starts with.
constexpr struct SeedRow {
  const char *cls, *name;
  const char *values[5];
} seed_rows[] = {
    {"system", nullptr, {"host", "ap-1", "motto", "a & b"}},
    {"clock", nullptr, {"now", "0"}},
    {"server", nullptr, {"address", "10.0.0.1", "state", ""}},
    {"server", nullptr, {"address", "time.example"}},
    {"wire", "p0", {"type", "wire", "speed", "100"}},
    {"air", "p1", {"type", "air", "channel", "6"}},
    {"radio", "r0", {"mode", "b", "power", "5"}},
    {"radio", "r1", {"mode", "g", "pin", "1"}},
    {"rule", "in", {"action", "on"}},
    {"rule", "out", {"action", "off"}},
    {"rule", "in", {"action", "off", "note", "<second>"}},
};

int few_radios(vorn_instances *collection, vorn_instance *) {
  if (!collection) return 1;
  vorn_instances_iterator it(*collection, *vorn_classes_get("radio"));
  int count = 0;
  for (; it.has_next(); it.next()) ++count;
  return count < most_radios;
}

int not_the_name(vorn_instance *instance, const char *value) {
  return strcmp(vorn_instance_get_name(instance), value) != 0;
}

vorn_property *make_property(const PropertyRow &row) {
  vorn_property *property = vorn_property_new(row.name);
  vorn_property_set_is_valid_fn(property, row.valid);
  if (strcmp(row.name, "power") == 0) vorn_property_set_is_instance_valid_fn(property, not_the_name);
  vorn_property_set_writable(property, row.kind != read_only);
  vorn_property_set_required_on_insert(property, row.kind == required);
  if (row.kind == transient) vorn_property_set_persistence(property, 0);
  return property;
}

vorn_class *make_class(const ClassRow &row) {
  vorn_class *cls = vorn_class_new(row.name);
  vorn_class_set_type(cls, row.type);
  vorn_class_set_persistence(cls, row.persistent);
  if (row.superclass) vorn_class_set_superclass(cls, row.superclass);
  if (row.abstract) {
    vorn_class_set_abstract(cls, 1);
    vorn_class_set_subclass_identifier(cls, vorn_property_new("type"));
  }
  if (strcmp(row.name, "radio") == 0) vorn_class_set_instance_validate_fn(cls, few_radios);
  for (const PropertyRow &property : property_rows)
    if (strcmp(property.cls, row.name) == 0) vorn_class_add_property(cls, make_property(property));
  return cls;
}

// ---- The providers ----

const char *radio_columns[] = {"name", "#clients", "", "signal", nullptr};
vorn_util_txt_table radio_table = {0,
                                   [](void *, char *buffer, int size) {
                                     return snprintf(buffer, static_cast<size_t>(size), "%s",
                                                     radio_status.c_str());
                                   },
                                   nullptr,
                                   vorn_util_put2object,
                                   "radio",
                                   radio_columns};
vorn_util_txt_table *radio_tables[] = {&radio_table, nullptr};

// Looks at what every commit hands out, and stores what it has seen, as a plugin does.
int note_commit(vorn_commit_info *info) {
  ++commits;
  vorn_instances *before = vorn_commit_info_get_before(info);
  require(before && vorn_commit_info_get_after(info) == vorn_config_get_running(),
          "a commit is of the running one");
  if (before_commit) require(state(before) == *before_commit, "a commit knows what was before");
  free(
      vorn_query_eval_passive("<lsql><delete><station name=\"last\"/></delete><insert><station name=\"last\">"
                              "<heard>a commit</heard></station></insert><update><clock><now>0</now></clock>"
                              "</update></lsql>"));
  return 0;
}

vorn_committer *make_committer() {
  vorn_committer *committer = vorn_committer_new();
  for (const ClassRow &row : class_rows) {
    vorn_committer_set_instance_create_fn(
        committer, row.name, [](vorn_instance *instance) { return vorn_instance_get_status(instance); });
    vorn_committer_set_instance_change_fn(
        committer, row.name,
        [](vorn_instance *after, vorn_instance *before, vorn_commit_info *) {
          require(after || before, "a change is of an instance");
          return vorn_instance_get_status(after ? after : before);
        },
        1);
  }
  for (const PropertyRow &row : property_rows)
    vorn_committer_set_property_change_fn(
        committer, row.cls, row.name,
        [](vorn_instance *instance, const char *name, const char *value, const char *) {
          require(vorn_instance_get_value(instance, name) == value, "a change tells the new value");
          return 0;
        });
  vorn_committer_set_group_change_fn(
      committer, "rule", [](vorn_instances *after, const char *cls, const char *group, vorn_commit_info *) {
        return vorn_instances_delete_iterator(vorn_instances_new_group_iterator(after, cls, group));
      });
  return committer;
}

vorn_refresher *make_refresher(const char *cls) {
  vorn_refresher *refresher = vorn_refresher_new(cls);
  if (strcmp(cls, "radio") == 0)
    vorn_util_txt_tables_add_refresh(radio_tables, refresher,
                                     [](vorn_instance *instance, const char *name, vorn_refresh_info *) {
                                       return vorn_util_txt_tables_get_val(instance, radio_tables, name);
                                     });
  else
    vorn_refresher_set_property_fn(refresher, "now",
                                   [](vorn_instance *, const char *, vorn_refresh_info *) { return "0"; });
  return refresher;
}

void add_providers() {
  vorn_providers_init();
  for (const char *name : {"committer", "notes", "radio", "clock"}) {
    vorn_provider *provider = vorn_provider_new(name);
    if (strcmp(name, "committer") == 0)
      vorn_provider_set_commit_fn(provider, vorn_committer_fn, make_committer());
    else if (strcmp(name, "notes") == 0)
      vorn_provider_set_commit_fn(provider, note_commit, nullptr);
    else
      vorn_provider_set_refresh_fn(provider, vorn_refresher_fn, make_refresher(name));
    vorn_providers_add(provider);
  }
  vorn_providers_order("committer", "notes");
  require(vorn_providers_done_adding() == 0, "the providers are good");
}

// ---- What is the process's ----

std::string folder;

void say_nothing(void *, const char *, ...) {}

bool set_up() {
  FILE *const nowhere = fopen("/dev/null", "w");
  stdout = stderr = nowhere; // the log and what libraries print
  xmlSetGenericErrorFunc(nullptr, say_nothing);
  folder = (std::filesystem::temp_directory_path() / "vorn.XXXXXX").string();
  require(mkdtemp(folder.data()) != nullptr, "there is a folder for files");
  atexit([] { std::filesystem::remove_all(folder); });
  for (const ClassRow &row : class_rows) {
    vorn_class *cls = make_class(row);
    if (strcmp(row.name, "radio") == 0) vorn_util_txt_tables_add_properties(radio_tables, cls);
    vorn_classes_add(cls);
  }
  require(vorn_classes_done_adding() == 0, "the classes are good");
  add_providers();
  return true;
}

void add(vorn_instances *instances, vorn_instance *instance) {
  require(instance && vorn_instances_add(instances, instance) == 0, "the world's own instances are good");
}

// ---- What must hold ----

void check_value(const vorn_instance &instance, const char *name, const char *value) {
  const vorn_property *property = vorn_class_get_property(instance.cls, name);
  require(property != nullptr, "a value is one of a property of the class");
  require(!property->is_valid || property->is_valid(value), "a value passes its check");
  require(vorn_instance_get_value(&instance, name) == value, "a value that is listed is found");
}

bool is_listed_in(const vorn_instances &instances, const vorn_instance &instance) {
  vorn_instances_iterator it(instances, *instance.cls, instance.name);
  while (it.has_next())
    if (it.next() == &instance) return true;
  return false;
}

void check_instance(const vorn_instances &instances, vorn_instance &instance) {
  const char *cls = instance.cls->name.c_str(), *name = instance.name;
  require(vorn_classes_get(cls) == instance.cls && instance.cls->abstract == 0,
          "an instance is of a concrete class");
  const bool named = instance.cls->type >= VORN_CLASS_UNIQUE_NAMED;
  require(named == (name != nullptr), "an instance has a name when its class has names");
  if (instance.cls->type == VORN_CLASS_SINGLETON)
    require(vorn_instances_get_singleton(&instances, cls) == &instance, "a singleton is found, once");
  if (instance.cls->type == VORN_CLASS_UNIQUE_NAMED)
    require(vorn_instances_get(&instances, cls, name) == &instance, "a unique name is found, once");
  if (instance.cls->superclass)
    require(vorn_instances_get(&instances, instance.cls->superclass->name.c_str(), name) == &instance,
            "a name is unique in its family");
  if (named) require(is_listed_in(instances, instance), "what is listed is found by its name");
  for (const Value &value : instance.values)
    check_value(instance, value.property()->name.c_str(), value.text());
}

void check_collection(const vorn_instances &instances) {
  require(instances.recorder == nullptr && !instances.source, "no recorder is left, and no transaction");
  size_t count = 0;
  for (vorn_instances_iterator it(instances); it.has_next(); ++count) check_instance(instances, *it.next());
  require((count == 0) == (vorn_instances_is_empty(&instances) == 1),
          "a collection knows whether it is empty");
  for (const auto &cls : vorn::classes())
    for (vorn_instances_iterator it(instances, *cls.value); it.has_next() && cls.value->abstract == 0;
         --count)
      it.next();
  require(count == 0, "classes list what the collection lists");
}

std::string saved_values(const vorn_instance &instance) {
  std::map<std::string, std::string> values;
  for (const Value &value : instance.values)
    if (value.property()->persistence) values[value.property()->name] = value.text();
  std::string text = instance.cls->name + " " + (instance.name ? instance.name : "") + "\n";
  for (const auto &[name, value] : values) text.append(" " + name + "=" + value + "\n");
  return text;
}

// Loading makes the singletons that a file lacks.
void add_missing_singletons(vorn_instances *running) {
  for (const auto &cls : vorn::classes())
    if (cls.value->type == VORN_CLASS_SINGLETON && !vorn_instances_get_singleton(running, cls.name()))
      add(running, vorn_instance_new(cls.value, nullptr));
}

void check_saving() {
  add_missing_singletons(vorn_config_get_running());
  const std::string saved = World::save();
  static std::set<std::string> seen; // most inputs leave what others have left
  if (seen.size() > 1000) seen.clear();
  if (!seen.insert(saved).second) return;
  const std::string before = state(vorn_config_get_running());
  require(World::load(World::path("saved.xml")), "what was saved can be loaded");
  check_collection(*vorn_config_get_running());
  require(state(vorn_config_get_running()) == before, "what was saved comes back");
  require(World::save() == saved, "what was saved, loaded and saved again is the same");
}

} // namespace

std::string Input::until_size(size_t size) {
  std::string bytes(rest_.substr(0, size));
  rest_.remove_prefix(bytes.size());
  return bytes;
}

std::string Input::take(size_t count) {
  std::string bytes = until_size(count);
  bytes.resize(count);
  return bytes;
}

std::string Input::until(char end) {
  std::string bytes = until_size(rest_.find(end));
  if (!rest_.empty()) rest_.remove_prefix(1);
  return bytes;
}

void require(bool holds, const char *text) {
  if (holds) return;
  fprintf(report, "This does not hold: %s.\n", text);
  fflush(report);
  abort();
}

void start() {
  static const bool done = set_up();
  (void)done;
}

World::World() {
  start();
  vorn_instances *running = vorn_instances_new();
  for (const SeedRow &row : seed_rows) {
    vorn_instance *instance = vorn_instance_new(vorn_classes_get(row.cls), row.name);
    for (const char *const *value = row.values; *value; value += 2)
      require(vorn_instance_set_value(instance, value[0], value[1]) == 0, "the world's own values are good");
    add(running, instance);
  }
  vorn_config_replace_running(running);
  radio_status = "r0 3 - \"-40 dBm\"\nr1 0 - -70\n";
  commits = 0;
}

World::~World() {
  vorn_instances_delete_all(vorn_config_get_running());
  set_running(nullptr);
}

void World::check() {
  before_commit.reset();
  check_collection(*vorn_config_get_running());
  if (identifiers_hold()) check_saving();
}

void World::leave_out_what_cannot_be_saved() {
  check_collection(*vorn_config_get_running());
  save();
  require(load(path("saved.xml")), "what was saved can be loaded");
}

std::string World::path(const char *name) { return folder + "/" + name; }

void World::write(const std::string &path, const std::string &bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

bool World::load(const std::string &path) {
  ReadConfig file = open_config(path.c_str());
  if (!file.draft) return false;
  vorn_instances *before = vorn_config_get_running();
  before_commit = "";
  require(load_config(std::move(file.draft)) == 0, "a configuration is loaded");
  before_commit.reset();
  vorn_instances_delete_all(before);
  return true;
}

std::string World::save() {
  const std::string file = path("saved.xml");
  require(vorn_config_dump_running(file.c_str()) == 0, "the running configuration can be saved");
  std::ostringstream text;
  text << std::ifstream(file, std::ios::binary).rdbuf();
  return text.str();
}

void expect_before(const std::string &state) { before_commit = state; }

std::string state(const vorn_instances *instances) {
  std::string text;
  for (const auto &cls : vorn::classes())
    if (cls.value->abstract == 0 && cls.value->persistence)
      for (vorn_instances_iterator it(*instances, *cls.value); it.has_next();)
        text += saved_values(*it.next());
  return text;
}

bool identifiers_hold() {
  for (vorn_instances_iterator it(*vorn_config_get_running()); it.has_next();) {
    const vorn_instance &instance = *it.next();
    if (!instance.cls->superclass) continue;
    const char *identifier = instance.cls->superclass->subclass_identifier->name.c_str();
    const char *value = vorn_instance_get_value(&instance, identifier);
    if (!value || instance.cls->name != value) return false;
  }
  return true;
}

} // namespace vorn::fuzz
