// The expressions of "where".
#pragma once

#include "commit/refresh_info.h"
#include "model/types.h"
#include "query/budget.hpp"
#include <array>
#include <libxml/tree.h>

namespace vorn {

// What the expressions of a request share.
class ExpressionContext {
public:
  explicit ExpressionContext(Budget &budget) noexcept : budget_(budget) {}

  void step() { budget_.step(); }

  // Whether an unknown part of an expression is to be logged: once, however many instances it is evaluated
  // for, and not each of too many.
  bool is_to_be_logged(const xmlNode &node) noexcept;

private:
  Budget &budget_;
  std::array<const xmlNode *, max_logged_unknown> logged_{};
};

// Evaluates an expression for one instance: a text, which belongs to the document or the instance, or null
// for false. An absent expression is false. Throws LimitExceeded.
const char *evaluate_expression(const xmlNode *node, const vorn_instance &instance,
                                ExpressionContext &context);

// Notes the properties that the expression reads.
void refresh_expression(const xmlNode *node, vorn_refresh_info *info, const char *class_name,
                        const char *instance_name);

} // namespace vorn
