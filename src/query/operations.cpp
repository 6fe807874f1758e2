// The four operations of a request.
#include "query/operations.hpp"

#include "config/config.h"
#include "core/debug.hpp"
#include "model/classes.h"
#include "model/instances.hpp"
#include "query/expression.hpp"
#include "xml/nodes.hpp"
#include <cstring>

namespace vorn {

namespace {

template <class... Arguments>
bool fail(Context &context, Operation &operation, const char *format, Arguments... args) {
  context.result->add_error(error_size, format, args...);
  ++operation.errors;
  return false;
}

using Iterator = std::unique_ptr<vorn_instances_iterator, Closer<vorn_instances_delete_iterator>>;

// The instances of the operation's class, of one name when it gives one. None where there is nothing to walk,
// which is reported by the collection.
Iterator candidates(const Context &context, const Operation &operation) {
  if (!context.target) return nullptr;
  return Iterator(
      vorn_instances_new_group_iterator(context.target, operation.class_name, operation.instance_name));
}

// Calls `visit` for every instance that the operation is about, until it returns false.
template <class Visit> void for_each_match(const Context &context, const Operation &operation, Visit visit) {
  const auto it = candidates(context, operation);
  while (it && it->has_next()) {
    vorn_instance &instance = *it->next();
    if (operation.where && !evaluate_expression(operation.where, instance)) continue;
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
  context.result->begin_dataset();
  if (!vorn_classes_get(operation.class_name)) return;
  if (selects_all(operation))
    vorn_refresh_info_add_all_properties(context.refresh, operation.class_name, operation.instance_name);
  else
    for (const xmlNode *property = operation.first_property; property; property = property->next)
      vorn_refresh_info_add_property(context.refresh, operation.class_name, operation.instance_name,
                                     node_name(*property));
  collect_where(context, operation);
}

void add_all_values(Result &result, const vorn_class &cls, const vorn_instance &instance) {
  vorn_class_property_iterator it(cls);
  while (const vorn_property *property = it.next()) {
    const char *name = property->name.c_str();
    result.add_value(name, vorn_instance_get_value(&instance, name));
  }
}

void add_named_values(Result &result, const xmlNode *property, const vorn_instance &instance) {
  for (; property; property = property->next)
    if (property->name)
      result.add_value(node_name(*property), vorn_instance_get_value(&instance, node_name(*property)));
}

void select(Context &context, Operation &operation) {
  Result &result = *context.result;
  result.begin_dataset();
  const vorn_class *cls = vorn_classes_get(operation.class_name);
  if (!cls) return;
  for_each_match(context, operation, [&](const vorn_instance &instance) {
    ++operation.counter;
    result.add_instance(operation.class_name, instance.name.get());
    if (selects_all(operation)) {
      add_all_values(result, *cls, instance);
    } else if (operation.properties) {
      result.add_error(short_error_size, "Invalid properties=\"%s\".", operation.properties);
      ++operation.errors;
      return false;
    } else {
      add_named_values(result, operation.first_property, instance);
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
  if (!keeps_class(to.instance, *property, value) || vorn_instance_set_value(&to.instance, name, value) != 0)
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
  for_each_match(context, operation, [&](vorn_instance &instance) {
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

void remove(Context &context, Operation &operation) {
  if (!vorn_classes_get(operation.class_name)) return;
  const auto it = candidates(context, operation);
  while (it && it->has_next()) {
    vorn_instance *instance = it->next();
    if (vorn_debug_get() >= 4) {
      vorn_debug_lprintf(4, "Considering deleting:\n");
      vorn_instance_print(instance, vorn_debug_get_stream());
    }
    if (operation.where && !evaluate_expression(operation.where, *instance)) continue;
    if (vorn_instances_remove(context.target, instance) != 0) continue;
    vorn_changes_instance_deleted(context.changes, instance);
    vorn_instance_delete(instance);
    ++operation.counter;
  }
}

// Makes an instance of an element; null, with the error added, when it is refused.
OwnedInstance build_instance(Context &context, Operation &operation, const char *class_name,
                             const xmlNode &element) {
  const char *name = vorn_util_xmlGetProp(&element, "name");
  OwnedInstance instance(vorn_instance_new(vorn_classes_get(class_name), name));
  if (!instance) {
    fail(context, operation, "Bad instance name \"%s\" of class \"%s\".", or_null(name), class_name);
    return nullptr;
  }
  const Assignment to = {*instance, node_name(element), true};
  if (!set_properties(context, operation, to, first_child(element))) return nullptr;
  return instance;
}

bool insert_instance(Context &context, Operation &operation, const xmlNode &element) {
  const char *class_name = vorn_config_get_class_name(element.doc, &element);
  if (!class_name) return fail(context, operation, "Unknown class \"%s\".", node_name(element));
  OwnedInstance instance = build_instance(context, operation, class_name, element);
  if (!instance) return false;
  char *reason = nullptr;
  const bool valid = !context.target || vorn_instance_is_valid(context.target, instance.get(), &reason);
  const CString owned_reason(reason);
  if (!valid) return fail(context, operation, "Instance is invalid: %s", or_null(reason));
  if (vorn_instances_add(context.target, instance.get()) != 0)
    return fail(context, operation, "Couldn't add instance \"%s\" of class \"%s\".",
                or_null(instance->name.get()), class_name);
  vorn_changes_instance_inserted(context.changes, instance.release());
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
