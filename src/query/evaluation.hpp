// The evaluation of one request.
#ifndef VORN_QUERY_EVALUATION_HPP
#define VORN_QUERY_EVALUATION_HPP

#include "commit/changes.hpp"
#include "commit/refresh_info.h"
#include "model/instances.hpp"
#include "query/result.hpp"
#include <libxml/tree.h>
#include <memory>
#include <optional>

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

// What the operations of a request share. A request is walked twice: the first pass only notes in `refresh`
// what will be read, the second one, without it, does the work.
struct Context {
  bool passive = false;
  vorn_instances *target =
      nullptr; // the running configuration or a transaction's copy; null when there is none
  vorn_changes *changes = nullptr;
  vorn_refresh_info *refresh = nullptr; // during the first pass only
  Result *result = nullptr;
};

// Carries one operation out, or notes what it will read. Errors go to the result and are counted in the
// operation.
using OperationFunction = void (*)(Context &context, Operation &operation);

struct OperationKind {
  const char *name;
  OperationFunction run;
};

// The operation of that element name, or null.
const OperationKind *find_operation(const xmlNode &element);

// Whether it is the one that changes nothing.
bool is_select(const OperationKind &kind);

// Refuses all requests with an origin from now on.
void prohibit_external_updates();

// Evaluates a request document. Throws std::bad_alloc, before the running configuration is replaced or
// committed.
XmlDocument evaluate_request(const xmlDoc &request, bool passive);

} // namespace vorn

#endif
