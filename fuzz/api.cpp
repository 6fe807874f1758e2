// Calls of the exported interface in any order, with handles of any age and null ones. Only what belongs to
// whom is respected: what is freed is not used, what a collection owns is not freed. A model knows what each
// collection holds.
#include "commit/changes.h"
#include "commit/refresh_info.h"
#include "config/config.h"
#include "core/handles.hpp"
#include "model/class.h"
#include "model/classes.h"
#include "model/instance.h"
#include "model/instances.h"
#include "query/query.h"
#include "world.hpp"
#include <algorithm>
#include <cstring>
#include <set>
#include <vector>

using namespace vorn::fuzz;

namespace {

constexpr size_t most_collections = 3, most_instances = 12;

struct Collection {
  vorn_instances *handle = nullptr;
  std::set<vorn_instance *> members{};
  std::vector<vorn_changes *> recorders{};
};

struct Session {
  explicit Session(Input &bytes) : input(bytes) {}
  ~Session();
  Collection &collection() { return collections[input.below(most_collections)]; }
  vorn_instance *own() {
    return own_instances.empty() ? nullptr : own_instances[input.below(own_instances.size())];
  }
  vorn_instance *any();
  const char *class_name();
  std::string text() { return input.take(input.below(12)).c_str(); }
  void keep(vorn_instance *instance);
  void disown(vorn_instance *instance) { std::erase(own_instances, instance); }
  void free_recorders(Collection &of);

  Input &input;
  Collection collections[most_collections]{};
  std::vector<vorn_instance *> own_instances{}; // in no collection
};

// An instance of a collection or of no one, or null.
vorn_instance *Session::any() {
  const Collection &of = collection();
  if (of.members.empty() || input.below(4) == 0) return own();
  return *std::next(of.members.begin(), input.below(of.members.size()));
}

const char *Session::class_name() {
  static const char *const names[] = {"system", "clock", "server", "port",    "wire",    "air",
                                      "radio",  "rule",  "rule",   "station", "nothing", nullptr};
  return names[input.below(std::size(names))];
}

void Session::keep(vorn_instance *instance) {
  if (!instance) return;
  if (own_instances.size() < most_instances)
    own_instances.push_back(instance);
  else
    vorn_instance_delete(instance);
}

void Session::free_recorders(Collection &of) {
  while (!of.recorders.empty()) {
    const auto place = of.recorders.begin() + input.below(of.recorders.size()); // also out of turn
    vorn_changes_delete(*place);
    of.recorders.erase(place);
  }
}

Session::~Session() {
  for (Collection &of : collections) {
    free_recorders(of);
    vorn_instances_delete_all(of.handle);
  }
  for (vorn_instance *instance : own_instances) vorn_instance_delete(instance);
}

// ---- The operations ----

void make_collection(Session &s) {
  Collection &of = s.collection();
  const vorn_instances *from = s.collection().handle;
  if (of.handle) return;
  of.handle = s.input.below(2) ? vorn_instances_copy(from) : vorn_instances_new();
  vorn_instances_iterator *it = of.handle ? vorn_instances_new_iterator(of.handle) : nullptr;
  while (it && vorn_instances_iterator_has_next(it)) of.members.insert(vorn_instances_iterator_next(it));
  if (it) vorn_instances_delete_iterator(it);
}

void drop_collection(Session &s) {
  Collection &of = s.collection();
  s.free_recorders(of);
  switch (s.input.below(3)) {
  case 0: vorn_instances_delete_all(of.handle); break;
  case 1:
    vorn_instances_delete(of.handle);
    for (vorn_instance *instance : of.members) s.keep(instance);
    break;
  default: vorn_config_replace_running(of.handle);
  }
  of = Collection();
}

void make_instance(Session &s) {
  const std::string name = s.text();
  const char *cls = s.class_name();
  s.keep(vorn_instance_new(cls ? vorn_classes_get(cls) : nullptr, s.input.below(4) ? name.c_str() : nullptr));
}

void copy_instance(Session &s) { s.keep(vorn_instance_copy(s.any())); }

void delete_instance(Session &s) {
  vorn_instance *instance = s.own();
  vorn_instance_delete(instance);
  s.disown(instance);
}

void set_value(Session &s) {
  static const char *const names[] = {"host", "power", "mode", "address", "type", "pin", "nothing", nullptr};
  vorn_instance *instance = s.any();
  const char *name = names[s.input.below(std::size(names))];
  const std::string value = s.text();
  const std::string before = instance && name && vorn_instance_get_value(instance, name)
                                 ? vorn_instance_get_value(instance, name)
                                 : "";
  const bool set = vorn_instance_set_value(instance, name, s.input.below(8) ? value.c_str() : nullptr) == 0;
  if (set || before != "")
    require(vorn_instance_get_value(instance, name) == (set ? value : before), "a value is set or as before");
}

void add(Session &s) {
  Collection &to = s.collection();
  vorn_instance *instance = s.own();
  if (vorn_instances_add(to.handle, instance) != 0) return;
  to.members.insert(instance);
  s.disown(instance);
}

void remove(Session &s) {
  Collection &from = s.collection();
  vorn_instance *instance = s.any();
  const bool removed = vorn_instances_remove(from.handle, instance) == 0;
  require(removed == (from.members.erase(instance) == 1),
          "what a collection holds can be removed, and nothing else");
  if (removed) s.keep(instance);
}

// The instances that an iterator yields; it may remove each of them.
void walk(Session &s) {
  Collection &of = s.collection();
  const char *cls = s.class_name();
  const std::string group = s.text();
  vorn_instances_iterator *it = s.input.below(2)
                                    ? vorn_instances_new_class_iterator(of.handle, cls)
                                    : vorn_instances_new_group_iterator(of.handle, cls, group.c_str());
  std::vector<vorn_instance *> removed;
  while (vorn_instances_iterator_has_next(it)) {
    vorn_instance *instance = vorn_instances_iterator_next(it);
    require(of.members.count(instance) == 1, "an iterator yields what the collection holds");
    if (s.input.below(2) && vorn_instances_remove(of.handle, instance) == 0) removed.push_back(instance);
  }
  vorn_instances_delete_iterator(it);
  for (vorn_instance *instance : removed) {
    of.members.erase(instance);
    s.keep(instance);
  }
}

// A class goes whole. A recorder is not told of it, so there must be none.
void drop_class(Session &s) {
  Collection &of = s.collection();
  const char *cls = s.class_name();
  const bool free = s.input.below(2);
  s.free_recorders(of);
  std::vector<vorn_instance *> gone;
  for (vorn_instance *instance : of.members)
    if (cls && strcmp(vorn_class_get_name(vorn_instance_get_class(instance)), cls) == 0)
      gone.push_back(instance);
  if ((free ? vorn_instances_delete_class : vorn_instances_remove_class)(of.handle, cls) != 0) return;
  for (vorn_instance *instance : gone) {
    of.members.erase(instance);
    if (!free) s.keep(instance);
  }
}

void record(Session &s) {
  Collection &of = s.collection();
  if (of.recorders.size() == 3) s.free_recorders(of);
  if (vorn_changes *changes = vorn_changes_new(of.handle)) of.recorders.push_back(changes);
}

void ask_recorder(Session &s) {
  Collection &of = s.collection();
  const vorn_changes *changes =
      of.recorders.empty() ? nullptr : of.recorders[s.input.below(of.recorders.size())];
  const char *cls = s.class_name();
  vorn_changes_contains_class(changes, cls);
  vorn_changes_print(changes, stdout);
  for (const auto make :
       {vorn_changes_new_class_instances_iterator, vorn_changes_new_deleted_class_instances_iterator}) {
    vorn_instances_iterator *it = make(changes, cls);
    while (vorn_instances_iterator_has_next(it))
      vorn_instance_print(vorn_instances_iterator_next(it), stdout);
    vorn_instances_delete_iterator(it);
  }
  for (vorn_instance *instance : of.members) {
    const bool inserted = !vorn_changes_get_instance_before(changes, instance);
    if (changes && inserted)
      require(vorn_changes_contains_instance(changes, instance), "what is new is a change");
  }
}

void ask_instance(Session &s) {
  vorn_instance *instance = s.any();
  char *error = nullptr;
  const bool valid = vorn_instance_is_valid(s.collection().handle, instance, &error);
  require(!valid || !error, "what is valid has no fault");
  free(error);
  vorn_instance_get_status(instance);
  vorn_instance_get_name(instance);
  vorn_instance_print(instance, stdout);
}

void ask_refresh(Session &s) {
  vorn_refresh_info *info = vorn_refresh_info_new(s.collection().handle);
  const std::string name = s.text(), property = s.text();
  const char *maybe_name = s.input.below(2) ? name.c_str() : nullptr;
  vorn_refresh_info_add_property(info, s.class_name(), maybe_name, property.c_str());
  vorn_refresh_info_add_all_properties(info, s.class_name(), maybe_name);
  vorn_instance *instance = s.any();
  if (instance && vorn_refresh_info_contains_property(info, instance, property.c_str()))
    require(vorn_refresh_info_contains_instance(info, instance), "who needs a property needs its instance");
  vorn_refresh_info_print(info, stdout);
  vorn_refresh_info_delete(info);
}

void evaluate(Session &s) {
  static const char *const requests[] = {
      "<lsql><select><radio properties=\"all\"/></select></lsql>",
      "<lsql><delete><rule name=\"in\"/></delete><insert><rule "
      "name=\"in\"><action>on</action></rule></insert></lsql>",
      "<lsql><write-transaction><insert><radio "
      "name=\"r9\"><mode>a</mode></radio></insert></write-transaction></lsql>",
      "<lsql><update><radio><power>7</power></radio></update></lsql>", nullptr};
  const char *request = requests[s.input.below(std::size(requests))];
  free(s.input.below(2) ? vorn_query_eval(request) : vorn_query_eval_passive(request));
  vorn_query_action("radio", "restart", s.class_name(), s.input.below(2) ? "r0" : nullptr);
}

constexpr void (*operations[])(Session &) = {make_collection,
                                             drop_collection,
                                             make_instance,
                                             copy_instance,
                                             delete_instance,
                                             set_value,
                                             add,
                                             remove,
                                             walk,
                                             drop_class,
                                             record,
                                             ask_recorder,
                                             ask_instance,
                                             ask_refresh,
                                             evaluate,
                                             make_instance,
                                             set_value,
                                             add}; // what fills collections, more often

// The model's collections and the agent's hold the same.
void compare(const Collection &of) {
  if (!of.handle) return;
  size_t count = 0;
  vorn_instances_iterator *it = vorn_instances_new_iterator(of.handle);
  for (; vorn_instances_iterator_has_next(it); ++count)
    require(of.members.count(vorn_instances_iterator_next(it)) == 1, "a collection lists only what it holds");
  vorn_instances_delete_iterator(it);
  require(count == of.members.size(), "a collection lists all that it holds");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  World world;
  Input input(data, size);
  {
    Session session(input);
    while (!input.empty()) {
      operations[input.below(std::size(operations))](session);
      for (const Collection &of : session.collections) compare(of);
    }
  }
  World::leave_out_what_cannot_be_saved();
  world.check();
  return 0;
}
