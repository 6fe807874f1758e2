// The operations of a request.
#pragma once

#include "commit/changes.h"
#include "commit/refresh_info.h"
#include "core/guard.hpp"
#include "model/types.h"
#include "query/expression.hpp"
#include "query/result.hpp"
#include "query/undo.hpp"

namespace vorn {

// One operation as the request gives it. All texts belong to the request document.
struct Operation {
  const xmlNode *first_class = nullptr;    // the class element; an insert has one for every instance
  const xmlNode *first_property = nullptr; // the class element's first child
  const xmlNode *where = nullptr;          // the expression, null without one
  const char *class_name = nullptr;
  const char *instance_name = nullptr;               // the "name" attribute: only instances of that name
  const char *properties = nullptr;                  // the "properties" attribute of a select
  void (*consider)(const vorn_instance &) = nullptr; // told of each instance before its "where" is evaluated
  unsigned errors = 0;
  unsigned counter = 0; // instances selected, updated, deleted or inserted
};

// What the operations of a request share.
struct Context {
  Budget &budget;
  Result &result;
  bool passive = false;
  ExpressionContext expressions{budget};
  vorn_instances *target = nullptr; // the running configuration or a transaction's copy; null without one
  vorn_changes *changes = nullptr;
  vorn_refresh_info *refresh = nullptr;
  Undo *undo = nullptr;     // of the present operation
  MemoryWatch memory{};     // whether anything has failed in it that was not noticed
  bool irrevocable = false; // set by an operation that has begun what cannot be taken back
};

// Errors go to the result and are counted in the operation. Throw std::bad_alloc and LimitExceeded.
using OperationFunction = void (*)(Context &context, Operation &operation);

// A request is walked twice: first every operation collects, in `refresh`, what it will read, then every one
// is carried out.
struct OperationKind {
  const char *name;
  OperationFunction collect;
  OperationFunction carry_out;
  bool reads_only;
};

// The operation of that element name, or null.
const OperationKind *find_operation(const xmlNode &element);

} // namespace vorn
