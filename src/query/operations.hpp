// The operations of a request.
#pragma once

#include "commit/changes.h"
#include "commit/refresh_info.h"
#include "model/types.h"
#include "query/result.hpp"

namespace vorn {

// One operation as the request gives it. All texts belong to the request document.
struct Operation {
  const xmlNode *first_class = nullptr;    // the class element; an insert has one for every instance
  const xmlNode *first_property = nullptr; // the class element's first child
  const xmlNode *where = nullptr;          // the expression, null without one
  const char *class_name = nullptr;
  const char *instance_name = nullptr; // the "name" attribute: only instances of that name
  const char *properties = nullptr;    // the "properties" attribute of a select
  unsigned errors = 0;
  unsigned counter = 0; // instances selected, updated, deleted or inserted
};

// What the operations of a request share.
struct Context {
  bool passive = false;
  vorn_instances *target = nullptr; // the running configuration or a transaction's copy; null without one
  vorn_changes *changes = nullptr;
  vorn_refresh_info *refresh = nullptr;
  Result *result = nullptr;
};

// Errors go to the result and are counted in the operation.
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
