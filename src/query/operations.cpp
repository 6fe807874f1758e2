// The four operations of a request.
#include "config/config.h"
#include "core/debug.h"
#include "model/classes.h"
#include "query/evaluation.hpp"
#include "query/expression.hpp"
#include "xml/nodes.hpp"
#include <cstdlib>
#include <cstring>

namespace vorn {

namespace {

constexpr size_t message_size = 160;      // of most error texts, with their end
constexpr size_t short_message_size = 80; // of those that name an attribute

template <class... Arguments>
bool fail(Context &context, Operation &operation, const char *format, Arguments... args) {
  context.result->add_error(message_size, format, args...);
  ++operation.errors;
  return false;
}

const char *or_null(const char *text) { return text ? text : "(null)"; }

// The instances of the operation's class, of one name when it gives one. The iterator is empty where there is
// nothing to walk, which is reported by the collection.
struct IteratorDeleter {
  void operator()(vorn_instances_iterator *it) const noexcept { vorn_instances_delete_iterator(it); }
};
std::unique_ptr<vorn_instances_iterator, IteratorDeleter> candidates(const Context &context,
                                                                     const Operation &operation) {
  return std::unique_ptr<vorn_instances_iterator, IteratorDeleter>(
      context.target
          ? vorn_instances_new_group_iterator(context.target, operation.class_name, operation.instance_name)
          : nullptr);
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

void refresh_where(Context &context, const Operation &operation) {
  refresh_expression(operation.where, context.refresh, operation.class_name, operation.instance_name);
}

bool selects_all(const Operation &operation) {
  return operation.properties && strcmp(operation.properties, "all") == 0;
}

void refresh_selected(Context &context, const Operation &operation) {
  if (selects_all(operation))
    vorn_refresh_info_add_all_properties(context.refresh, operation.class_name, operation.instance_name);
  else
    for (const xmlNode *property = operation.first_property; property; property = property->next)
      vorn_refresh_info_add_property(context.refresh, operation.class_name, operation.instance_name,
                                     node_name(*property));
  refresh_where(context, operation);
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
  if (context.refresh) return refresh_selected(context, operation);
  for_each_match(context, operation, [&](const vorn_instance &instance) {
    ++operation.counter;
    result.add_instance(operation.class_name, instance.name.get());
    if (selects_all(operation)) {
      add_all_values(result, *cls, instance);
    } else if (operation.properties) {
      result.add_error(short_message_size, "Invalid properties=\"%s\".", operation.properties);
      ++operation.errors;
      return false;
    } else {
      add_named_values(result, operation.first_property, instance);
    }
    return true;
  });
}

// Sets one property of an update or an insert. `inserting` lets what is required be set though it is not
// writable.
bool set_property(Context &context, Operation &operation, const char *class_name, vorn_instance &instance,
                  const xmlNode &element, bool inserting) {
  const char *name = node_name(element);
  const char *text = element_text(element);
  const char *value = text ? text : "";
  const vorn_property *property = vorn_class_get_property(instance.cls, name);
  if (!property)
    return fail(context, operation, "Property \"%s\" is not valid for class \"%s\".", name, class_name);
  const bool writable = property->writable || (inserting && property->required_on_insert);
  if (!context.passive && !writable)
    return fail(context, operation, "Property \"%s\" of class \"%s\" is not writable.", name, class_name);
  if (vorn_instance_set_value(&instance, name, value) != 0)
    return fail(context, operation, "Value \"%s\" is not valid for property \"%s\" of class \"%s\".", value,
                name, class_name);
  return true;
}

bool set_properties(Context &context, Operation &operation, const char *class_name, vorn_instance &instance,
                    const xmlNode *property, bool inserting) {
  for (; property; property = property->next)
    if (!set_property(context, operation, class_name, instance, *property, inserting)) return false;
  return true;
}

void update(Context &context, Operation &operation) {
  if (!vorn_classes_get(operation.class_name)) {
    fail(context, operation, "Unknown class \"%s\".", operation.class_name);
    return;
  }
  if (context.refresh) return refresh_where(context, operation);
  for_each_match(context, operation, [&](vorn_instance &instance) {
    vorn_changes_instance_updated(context.changes, &instance);
    if (!set_properties(context, operation, operation.class_name, instance, operation.first_property, false))
      return false;
    ++operation.counter;
    return true;
  });
}

void remove(Context &context, Operation &operation) {
  if (!vorn_classes_get(operation.class_name)) return;
  if (context.refresh) return refresh_where(context, operation);
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
  if (!set_properties(context, operation, node_name(element), *instance, first_child(element), true))
    return nullptr;
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

void insert(Context &context, Operation &operation) {
  if (context.refresh) return; // it reads nothing
  for (const xmlNode *element = operation.first_class; element; element = element->next)
    if (!insert_instance(context, operation, *element)) return;
}

constexpr OperationKind kinds[] = {
    {"select", select}, {"update", update}, {"delete", remove}, {"insert", insert}};

} // namespace

const OperationKind *find_operation(const xmlNode &element) {
  for (const OperationKind &kind : kinds)
    if (is_named(&element, kind.name)) return &kind;
  return nullptr;
}

bool is_select(const OperationKind &kind) { return kind.run == select; }

} // namespace vorn
