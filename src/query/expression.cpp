#include "query/expression.hpp"

#include "core/debug.h"
#include "core/log_text.hpp"
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

const char *value(const xmlNode &node, const vorn_instance &, ExpressionContext &) {
  return element_text(node);
}

const char *property(const xmlNode &node, const vorn_instance &instance, ExpressionContext &) {
  const char *name = element_text(node);
  return name ? vorn_instance_get_value(&instance, name) : nullptr;
}

const char *metadata(const xmlNode &node, const vorn_instance &instance, ExpressionContext &context) {
  const char *name = element_text(node);
  if (name && strcmp(name, "name") == 0) return vorn_instance_get_name(&instance);
  if (context.is_to_be_logged(node)) vorn_debug_eprintf("Metadata other than \"name\" is not supported.\n");
  return nullptr;
}

const char *equal(const xmlNode &node, const vorn_instance &instance, ExpressionContext &context) {
  const char *left = evaluate_expression(first_child(node), instance, context);
  const char *right = evaluate_expression(second_child(node), instance, context);
  return truth(left && right && strcmp(left, right) == 0);
}

const char *negation(const xmlNode &node, const vorn_instance &instance, ExpressionContext &context) {
  return truth(!evaluate_expression(first_child(node), instance, context));
}

const char *conjunction(const xmlNode &node, const vorn_instance &instance, ExpressionContext &context) {
  for (const xmlNode *child = first_child(node); child; child = child->next)
    if (!evaluate_expression(child, instance, context)) return nullptr;
  return true_text;
}

const char *disjunction(const xmlNode &node, const vorn_instance &instance, ExpressionContext &context) {
  for (const xmlNode *child = first_child(node); child; child = child->next)
    if (evaluate_expression(child, instance, context)) return true_text;
  return nullptr;
}

constexpr int all_children = -1;

constexpr struct Expression {
  const char *name;
  const char *(*evaluate)(const xmlNode &, const vorn_instance &, ExpressionContext &);
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

bool ExpressionContext::is_to_be_logged(const xmlNode &node) noexcept {
  for (const xmlNode *&place : logged_) {
    if (place == &node) return false;
    if (place) continue;
    place = &node;
    return true;
  }
  return false;
}

const char *evaluate_expression(const xmlNode *node, const vorn_instance &instance,
                                ExpressionContext &context) {
  if (!node) return nullptr;
  context.step();
  const Expression *expression = find_expression(*node);
  if (!expression) {
    if (context.is_to_be_logged(*node))
      vorn_debug_eprintf("%s: Unknown expression name \"%s\".\n", "eval_expr",
                         Excerpt(node_name(*node)).get());
    return nullptr;
  }
  const char *result = expression->evaluate(*node, instance, context);
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
