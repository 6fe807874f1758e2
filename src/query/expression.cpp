#include "query/expression.hpp"

#include "core/refuse.hpp"
#include "model/instance.h"
#include "xml/nodes.hpp"
#include <cstring>

// The depth of an expression is that of its document, which libxml2 limits.
namespace vorn {

namespace {

constexpr char true_text[] = "1";

const char *truth(bool value) { return value ? true_text : nullptr; }

const xmlNode *second_child(const xmlNode &node) {
  const xmlNode *first = first_child(node);
  return first ? first->next : nullptr;
}

const char *value(const xmlNode &node, const vorn_instance &) { return element_text(node); }

const char *property(const xmlNode &node, const vorn_instance &instance) {
  const char *name = element_text(node);
  return name ? vorn_instance_get_value(&instance, name) : nullptr;
}

const char *metadata(const xmlNode &node, const vorn_instance &instance) {
  const char *name = element_text(node);
  if (name && strcmp(name, "name") == 0) return vorn_instance_get_name(&instance);
  return refuse_aloud("Metadata other than \"name\" is not supported.\n");
}

const char *equal(const xmlNode &node, const vorn_instance &instance) {
  const char *left = evaluate_expression(first_child(node), instance);
  const char *right = evaluate_expression(second_child(node), instance);
  return truth(left && right && strcmp(left, right) == 0);
}

const char *negation(const xmlNode &node, const vorn_instance &instance) {
  return truth(!evaluate_expression(first_child(node), instance));
}

const char *conjunction(const xmlNode &node, const vorn_instance &instance) {
  for (const xmlNode *child = first_child(node); child; child = child->next)
    if (!evaluate_expression(child, instance)) return nullptr;
  return true_text;
}

const char *disjunction(const xmlNode &node, const vorn_instance &instance) {
  for (const xmlNode *child = first_child(node); child; child = child->next)
    if (evaluate_expression(child, instance)) return true_text;
  return nullptr;
}

constexpr int all_children = -1;

constexpr struct Expression {
  const char *name;
  const char *(*evaluate)(const xmlNode &, const vorn_instance &);
  int operands; // how many of its children are expressions themselves
} expressions[] = {
    {"value", value, 0},
    {"property", property, 0},
    {"metadata", metadata, 0},
    {"eq", equal, 2},
    {"not", negation, 1},
    {"and", conjunction, all_children},
    {"or", disjunction, all_children},
};

const Expression *find_expression(const xmlNode &node) {
  for (const Expression &expression : expressions)
    if (is_named(&node, expression.name)) return &expression;
  return nullptr;
}

} // namespace

const char *evaluate_expression(const xmlNode *node, const vorn_instance &instance) {
  if (!node) return nullptr;
  const Expression *expression = find_expression(*node);
  if (!expression)
    return refuse_aloud("%s: Unknown expression name \"%s\".\n", "eval_expr", node_name(*node));
  const char *result = expression->evaluate(*node, instance);
  vorn_debug_lprintf(4, "%s: %s evaluates to %s\n", "eval_expr", expression->name,
                     result ? true_text : "(null)");
  return result;
}

void refresh_expression(const xmlNode *node, vorn_refresh_info *info, const char *class_name,
                        const char *instance_name) {
  const Expression *expression = node ? find_expression(*node) : nullptr;
  if (!expression) return;
  if (expression->evaluate == property)
    vorn_refresh_info_add_property(info, class_name, instance_name, element_text(*node));
  int count = 0;
  for (const xmlNode *child = first_child(*node); child && count != expression->operands;
       child = child->next, ++count)
    refresh_expression(child, info, class_name, instance_name);
}

} // namespace vorn
