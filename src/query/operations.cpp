// The four operations of a request.
#include "query/operations.hpp"

#include "config/config.h"
#include "core/debug.hpp"
#include "model/classes.h"
#include "model/instances.hpp"
#include "xml/nodes.hpp"
#include <cstring>
#include <optional>
#include <vector>

namespace vorn {

namespace {

// What failed because memory ran out is not reported as something else.
void expect_memory(const Context &context) {
  if (context.memory.has_failed()) throw std::bad_alloc();
}

template <class... Arguments>
bool fail(Context &context, Operation &operation, const char *format, Arguments... args) {
  expect_memory(context);
  context.result.add_error(error_size, format, args...);
  ++operation.errors;
  return false;
}

// Calls `visit` for every instance of the operation's class, of one name when it gives one, that its "where"
// holds for, until it returns false. Where there is nothing to walk, the collection reports it.
template <class Visit> void for_each_match(Context &context, const Operation &operation, Visit visit) {
  if (!context.target) return;
  auto walk = walk_group(context.target, operation.class_name, operation.instance_name);
  while (walk && walk->has_next()) {
    vorn_instance &instance = *walk->next();
    context.budget.step();
    if (operation.consider) operation.consider(instance);
    if (operation.where && !evaluate_expression(operation.where, instance, context.expressions)) continue;
    if (!visit(instance)) return;
  }
}

void collect_where(Context &context, Operation &operation) {
  refresh_expression(operation.where, context.refresh, operation.class_name, operation.instance_name);
}

bool selects_all(const Operation &operation) {
  return operation.properties && strcmp(operation.properties, "all") == 0;
}

void collect_select(Context &context, Operation &operation) {
  context.result.begin_dataset();
  if (!vorn_classes_get(operation.class_name)) return;
  if (selects_all(operation))
    vorn_refresh_info_add_all_properties(context.refresh, operation.class_name, operation.instance_name);
  else
    for (const xmlNode *property = operation.first_property; property; property = property->next)
      vorn_refresh_info_add_property(context.refresh, operation.class_name, operation.instance_name,
                                     node_name(*property));
  collect_where(context, operation);
}

// The property may be null: an unknown one has no value.
void add_value(Context &context, const vorn_instance &instance, const char *name,
               const vorn_property *property) {
  context.budget.step();
  const Value *value = property ? instance.find(*property) : nullptr;
  context.result.add_value(name, value ? value->text() : nullptr);
}

void add_all_values(Context &context, const vorn_class &cls, const vorn_instance &instance) {
  vorn_class_property_iterator it(cls);
  while (const vorn_property *property = it.next())
    add_value(context, instance, property->name.c_str(),
              property->owner == &cls || instance.cls == &cls
                  ? property
                  : vorn_class_get_property(instance.cls, property->name.c_str()));
}

void add_named_values(Context &context, const xmlNode *property, const vorn_instance &instance) {
  for (; property; property = property->next)
    if (property->name)
      add_value(context, instance, node_name(*property),
                vorn_class_get_property(instance.cls, node_name(*property)));
}

void select(Context &context, Operation &operation) {
  Result &result = context.result;
  result.begin_dataset();
  const vorn_class *cls = vorn_classes_get(operation.class_name);
  if (!cls) return;
  for_each_match(context, operation, [&](const vorn_instance &instance) {
    ++operation.counter;
    result.add_instance(operation.class_name, instance.name);
    if (selects_all(operation)) {
      add_all_values(context, *cls, instance);
    } else if (operation.properties) {
      result.add_error(short_error_size, "Invalid properties=\"%s\".", operation.properties);
      ++operation.errors;
      return false;
    } else {
      add_named_values(context, operation.first_property, instance);
    }
    return true;
  });
}

// What an update or an insert sets values of.
struct Assignment {
  vorn_instance &instance;
  const char *class_name; // for errors
  bool inserting;         // lets what is required be set though it is not writable
};

// Has a value recorded and sets it; what could not be recorded is taken back in the end. False when the
// property's validators refuse it.
bool store(Context &context, const Assignment &to, const vorn_property &property, const char *value) {
  context.budget.step();
  context.budget.add_stored(strlen(value) + value_overhead);
  const char *name = property.name.c_str();
  if (!to.inserting) vorn_changes_add_property(context.changes, &to.instance, name);
  std::optional<Budget::PluginTime> validating;
  if (property.is_valid || property.is_instance_valid) validating.emplace(context.budget);
  return vorn_instance_set_value(&to.instance, name, value) == 0;
}

bool set_property(Context &context, Operation &operation, const Assignment &to, const xmlNode &element) {
  const char *name = node_name(element);
  const char *text = element_text(element);
  const char *value = text ? text : "";
  const vorn_property *property = vorn_class_get_property(to.instance.cls, name);
  if (!property)
    return fail(context, operation, "Property \"%s\" is not valid for class \"%s\".", name, to.class_name);
  const bool writable = property->writable || (to.inserting && property->required_on_insert);
  if (!context.passive && !writable)
    return fail(context, operation, "Property \"%s\" of class \"%s\" is not writable.", name, to.class_name);
  if (!keeps_class(to.instance, *property, value) || !store(context, to, *property, value))
    return fail(context, operation, "Value \"%s\" is not valid for property \"%s\" of class \"%s\".", value,
                name, to.class_name);
  return true;
}

bool set_properties(Context &context, Operation &operation, const Assignment &to, const xmlNode *property) {
  for (; property; property = property->next)
    if (!set_property(context, operation, to, *property)) return false;
  return true;
}

bool knows_class(Context &context, Operation &operation) {
  return vorn_classes_get(operation.class_name) ||
         fail(context, operation, "Unknown class \"%s\".", operation.class_name);
}

void collect_update(Context &context, Operation &operation) {
  if (knows_class(context, operation)) collect_where(context, operation);
}

void update(Context &context, Operation &operation) {
  if (!knows_class(context, operation)) return;
  for_each_match(context, operation, [&](vorn_instance &shown) {
    vorn_instance &instance = own(*context.target, shown);
    context.undo->will_set_values(instance);
    vorn_changes_instance_updated(context.changes, &instance);
    const Assignment to = {instance, operation.class_name, false};
    if (!set_properties(context, operation, to, operation.first_property)) return false;
    ++operation.counter;
    return true;
  });
}

void collect_delete(Context &context, Operation &operation) {
  if (vorn_classes_get(operation.class_name)) collect_where(context, operation);
}

void log_consideration(const vorn_instance &instance) {
  if (vorn_debug_get() < 4) return;
  vorn_debug_lprintf(4, "Considering deleting:\n");
  vorn_instance_print(&instance, vorn_debug_get_stream());
}

// First all that can fail, then what cannot be taken back.
void remove(Context &context, Operation &operation) {
  if (!vorn_classes_get(operation.class_name)) return;
  std::vector<vorn_instance *> matches;
  operation.consider = log_consideration;
  for_each_match(context, operation, [&](vorn_instance &instance) {
    matches.push_back(&instance);
    return true;
  });
  context.budget.check_time();
  for (vorn_instance *instance : matches) prepare_deletion(*context.target, *instance);
  expect_memory(context);
  context.irrevocable = true;
  for (vorn_instance *instance : matches) delete_prepared(*context.target, *instance);
  operation.counter = static_cast<unsigned>(matches.size());
}

// Makes an instance of an element; null, with the error added, when it is refused.
OwnedInstance build_instance(Context &context, Operation &operation, const char *class_name,
                             const xmlNode &element) {
  const char *name = vorn_util_xmlGetProp(&element, "name");
  ValueRoom room;
  for (const xmlNode *property = first_child(element); property; property = property->next)
    if (const char *text = element_text(*property)) room.add(strlen(text));
  OwnedInstance instance(new_instance(vorn_classes_get(class_name), name, room));
  if (!instance) {
    fail(context, operation, "Bad instance name \"%s\" of class \"%s\".", or_null(name), class_name);
    return nullptr;
  }
  const Assignment to = {*instance, node_name(element), true};
  if (!set_properties(context, operation, to, first_child(element))) return nullptr;
  return instance;
}

bool is_valid(Context &context, vorn_instance &instance, CString &reason) {
  if (!context.target) return true;
  std::optional<Budget::PluginTime> validating;
  if (instance.cls->instance_validate) validating.emplace(context.budget);
  char *text = nullptr;
  const bool valid = vorn_instance_is_valid(context.target, &instance, &text);
  reason.reset(text);
  return valid;
}

bool insert_instance(Context &context, Operation &operation, const xmlNode &element) {
  context.budget.step();
  context.budget.add_stored(instance_overhead);
  const char *class_name = vorn_config_get_class_name(element.doc, &element);
  if (!class_name) return fail(context, operation, "Unknown class \"%s\".", node_name(element));
  OwnedInstance instance = build_instance(context, operation, class_name, element);
  if (!instance) return false;
  CString reason;
  if (!is_valid(context, *instance, reason))
    return fail(context, operation, "Instance is invalid: %s", or_null(reason.get()));
  context.undo->will_insert();
  if (vorn_instances_add(context.target, instance.get()) != 0)
    return fail(context, operation, "Couldn't add instance \"%s\" of class \"%s\".", or_null(instance->name),
                class_name);
  vorn_instance *const inserted = instance.release();
  context.undo->inserted(*inserted);
  vorn_changes_instance_inserted(context.changes, inserted);
  ++operation.counter;
  return true;
}

void collect_nothing(Context &, Operation &) {}

void insert(Context &context, Operation &operation) {
  for (const xmlNode *element = operation.first_class; element; element = element->next)
    if (!insert_instance(context, operation, *element)) return;
}

constexpr OperationKind kinds[] = {
    {"select", collect_select, select, true},
    {"update", collect_update, update, false},
    {"delete", collect_delete, remove, false},
    {"insert", collect_nothing, insert, false},
};

} // namespace

const OperationKind *find_operation(const xmlNode &element) {
  for (const OperationKind &kind : kinds)
    if (is_named(&element, kind.name)) return &kind;
  return nullptr;
}

} // namespace vorn
